#include "tools/elfdwarfdump/run.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "elf/ararchive.h"
#include "elf/elffile.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"

namespace {

constexpr uint64_t maxInputSize = ElfFile::maxImageSize;
constexpr size_t outputBufferSize = size_t(1) << 16;

struct OutputFile {
    FILE* stream = nullptr;
    std::unique_ptr<char[]> buffer;
    ~OutputFile()
    {
        if (stream)
            fclose(stream);
    }
};

// The input file's bytes. A regular file is mapped rather than read, so a listing
// that needs only the headers of a large library never touches the rest of it.
struct InputImage {
    const uint8_t* data = nullptr;
    uint64_t size = 0;
    std::unique_ptr<uint8_t[]> owned;
    void* mapping = nullptr;
    ~InputImage()
    {
        if (mapping)
            munmap(mapping, size_t(size));
    }
};

enum class ReadResult { Read, Failed, TooBig };

ReadResult readStream(FILE* f, InputImage* input)
{
    std::vector<uint8_t> bytes;
    uint8_t chunk[1 << 16];
    size_t n;
    while ((n = fread(chunk, 1, sizeof chunk, f)) > 0) {
        if (bytes.size() + n >= maxInputSize)
            return ReadResult::TooBig;
        bytes.insert(bytes.end(), chunk, chunk + n);
    }
    if (ferror(f))
        return ReadResult::Failed;
    input->size = bytes.size();
    input->owned.reset(new uint8_t[bytes.size() + 1]);
    if (!bytes.empty())
        memcpy(input->owned.get(), bytes.data(), bytes.size());
    input->data = input->owned.get();
    return ReadResult::Read;
}

// Reads the whole input. Returns false after printing the reason.
bool readInput(const QByteArray& path, InputImage* input, FILE* err)
{
    FILE* f = fopen(path.constData(), "rb");
    if (!f) {
        fprintf(err, "cannot open %s\n", path.constData());
        return false;
    }
    struct stat st;
    ReadResult result = fstat(fileno(f), &st) == 0 ? ReadResult::Read : ReadResult::Failed;
    if (result == ReadResult::Read && S_ISREG(st.st_mode) && uint64_t(st.st_size) >= maxInputSize) {
        result = ReadResult::TooBig;
    } else if (result == ReadResult::Read && S_ISREG(st.st_mode) && st.st_size > 0) {
        void* m = mmap(nullptr, size_t(st.st_size), PROT_READ, MAP_PRIVATE, fileno(f), 0);
        if (m != MAP_FAILED) {
            input->mapping = m;
            input->data = static_cast<const uint8_t*>(m);
            input->size = uint64_t(st.st_size);
        } else {
            result = readStream(f, input);
        }
    } else if (result == ReadResult::Read) {
        // Pipes, devices, empty files: read what there is.
        result = readStream(f, input);
    }
    fclose(f);
    if (result == ReadResult::TooBig) {
        fprintf(err, "cannot read %s%s\n", path.constData(), ElfFile::tooBigMessage);
        return false;
    }
    if (result == ReadResult::Failed) {
        fprintf(err, "cannot read %s\n", path.constData());
        return false;
    }
    return true;
}

} // namespace

int runElfDwarfDump(const QStringList& arguments, FILE* standardOutput, FILE* standardError)
{
    QTx::ErrorReporter reporter(arguments.value(0), standardError);
    DwarfDumpArgParse args(&reporter, standardOutput);
    try {
        if (arguments.size() <= 1) {
            args.printUsage();
            return 0;
        }
        args.parse(arguments.mid(1), 1);
    } catch (const UsageRequested&) {
        return 0;
    }
    if (reporter.count() != 0)
        return 1;
    if (args.elfFile.isEmpty())
        return 1;

    OutputFile output;
    FILE* out = standardOutput;
    const QByteArray outputName = args.outputFile.toLocal8Bit();
    if (!args.outputFile.isEmpty()) {
        output.stream = fopen(outputName.constData(), "wt");
        if (!output.stream) {
            fprintf(standardError, "cannot create %s\n", outputName.constData());
            return 1;
        }
        output.buffer.reset(new char[outputBufferSize]);
        setvbuf(output.stream, output.buffer.get(), _IOFBF, outputBufferSize);
        out = output.stream;
    }

    const QByteArray inputName = args.elfFile.toLocal8Bit();
    InputImage input;
    if (!readInput(inputName, &input, standardError))
        return 1;

    int status;
    if (ArArchive::isArchive(input.data, input.size)) {
        status = dumpArchive(args, input.data, input.size, args.elfFile, out, standardError, input.mapping != nullptr);
    } else {
        ElfFile file(args.demangle);
        try {
            file.parseView(input.data, input.size, args.elfFile);
            status = dumpElfFile(args, file, false, out, standardError);
        } catch (const HException& e) {
            fflush(out);
            fprintf(standardError, "open error %s\n", e.message().c_str());
            status = 1;
        }
    }

    // A full disk or a closed pipe must not pass for a complete listing.
    if (fflush(out) != 0 || ferror(out)) {
        fprintf(standardError, "cannot write %s\n",
                args.outputFile.isEmpty() ? "standard output" : outputName.constData());
        status = 1;
    }
    return status;
}
