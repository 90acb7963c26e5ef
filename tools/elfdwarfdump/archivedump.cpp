#include "elf/ararchive.h"
#include "elf/elffile.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"
#include "tools/elfdwarfdump/run.h"
#include "qtx/textline.h"

int dumpArchive(const DwarfDumpArgParse& args, const uint8_t* image, uint64_t size, const QString& path,
                FILE* out, FILE* err)
{
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
    }
    return 0;
}
