#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"
#include "tools/elfdwarfdump/run.h"

// A damaged file may end inside a section or segment; only the bytes that are
// there get dumped, and the user is told what is missing.
static void warnTruncated(FILE* err, const ElfFile& file, const char* what, unsigned index, uint64_t present,
                          uint64_t size)
{
    fprintf(err, "warning: %s: %s %u has 0x%lX of its 0x%lX bytes in the file\n",
            file.fileName().toLocal8Bit().constData(), what, index, (unsigned long)present, (unsigned long)size);
}

int dumpElfFile(const DwarfDumpArgParse& args, ElfFile& file, FILE* out, FILE* err)
{
    const bool comparing = !args.compareFile.isEmpty();

    if (args.header)
        printElfHeader(file, out);

    if (args.programs) {
        for (int i = 0; i < file.programCount(); ++i) {
            const ElfProgram& p = *file.programAt(i);
            printProgramHeader(p, out);
            if (args.programData && p.p_filesz != 0 && p.data) {
                fputc('\n', out);
                printHexRows(p.data, p.dataSize, p.p_paddr, out);
                if (p.isTruncated())
                    warnTruncated(err, file, "segment", unsigned(i), p.dataSize, p.p_filesz);
            }
        }
    }

    if (args.sections && !comparing) {
        for (int i = 0; i < file.sectionCount(); ++i) {
            const ElfSection& s = *file.sectionAt(i);
            printSectionHeader(s, out);
            if (args.sectionData && s.sh_size != 0 && s.data) {
                fputc('\n', out);
                printHexRows(s.data, s.dataSize, s.sh_addr, out);
                if (s.isTruncated())
                    warnTruncated(err, file, "section", unsigned(i), s.dataSize, s.sh_size);
            }
        }
    }

    if (args.symbols && !comparing)
        printSymbolTable(file, out);

    if (args.symbolsSorted)
        printSymbolsSorted(file, out);

    // DWARF, disassembly, comparison, in-place changes, ARM sections, flash loaders,
    // the register map, unwind tables and memory usage run here as they are added.

    if (args.ltoSymbols)
        printLtoSymbols(file, out);

    return 0;
}
