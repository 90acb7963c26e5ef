#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"
#include "tools/elfdwarfdump/run.h"

int dumpElfFile(const DwarfDumpArgParse& args, ElfFile& file, FILE* out, FILE* err)
{
    const bool comparing = !args.compareFile.isEmpty();

    if (args.header)
        printElfHeader(file, out);

    if (args.programs)
        printProgramHeaders(file, args.programData, out, err);

    if (args.sections && !comparing)
        printSectionHeaders(file, args.sectionData, out, err);

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
