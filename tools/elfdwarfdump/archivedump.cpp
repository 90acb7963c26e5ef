#include <sys/mman.h>
#include <unistd.h>

#include "elf/ararchive.h"
#include "elf/elffile.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"
#include "tools/elfdwarfdump/run.h"
#include "qtx/textline.h"

namespace {

// Drops the pages wholly inside [begin, begin + size) from the process; a mapped file
// reads them back from the page cache if they are touched again.
void releasePages(const uint8_t* begin, uint64_t size)
{
    const uintptr_t page = uintptr_t(sysconf(_SC_PAGESIZE));
    const uintptr_t first = (uintptr_t(begin) + page - 1) & ~(page - 1);
    const uintptr_t last = (uintptr_t(begin) + size) & ~(page - 1);
    if (last > first)
        madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

} // namespace

int dumpArchive(const DwarfDumpArgParse& args, const uint8_t* image, uint64_t size, const QString& path,
                FILE* out, FILE* err, bool mapped)
{
    constexpr uint64_t releaseStep = uint64_t(1) << 20;
    uint64_t released = 0;
    // Pages of members already dumped are handed back a megabyte at a time. (Those the
    // walk over the member headers touched are kept: the dump needs them next.)
    auto releaseUpTo = [&](uint64_t done) {
        if (mapped && done - released >= releaseStep) {
            releasePages(image + released, done - released);
            released = done;
        }
    };
    ArArchive archive;
    std::string error;
    if (!archive.parse(image, size, &error)) {
        fputs(error.c_str(), err);
        return 1;
    }
    {
        QTx::TextLine line(out);
        for (const ArArchive::IndexEntry& e : archive.index())
            line.str(e.name).str(" 0x").hexLower(e.memberOffset, 8).ch('\n');
    }
    // Members are loaded one at a time, in place, so that a large library never
    // needs more than its own image and one member's tables in memory; the one file
    // object keeps its tables' storage from member to member.
    ElfFile file(args.demangle);
    for (const ArArchive::Member& m : archive.members()) {
        fprintf(out, "\noffset 0x%08llx %s\n", (unsigned long long)m.headerOffset, m.name.c_str());
        int status;
        try {
            file.parseView(m.data, m.size, path + QLatin1Char('(') + QString::fromLocal8Bit(m.name) + QLatin1Char(')'));
            status = dumpElfFile(args, file, true, out, err);
        } catch (const HException& e) {
            fflush(out);
            fprintf(err, "open error %s\n", e.message().c_str());
            return 1;
        }
        if (status != 0)
            return status;
        // Everything before the end of this member is done with, the index included.
        releaseUpTo(uint64_t(m.data - image) + m.size);
    }
    return 0;
}
