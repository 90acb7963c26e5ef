#include "disasm/armdisassembler.h"
#include "dwarf/callframe.h"
#include "dwarf/dwarffile.h"
#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "tools/elfdwarfdump/compare.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"
#include "tools/elfdwarfdump/flashloader.h"
#include "tools/elfdwarfdump/memoryusage.h"
#include "tools/elfdwarfdump/modify.h"
#include "tools/elfdwarfdump/registermap.h"
#include "tools/elfdwarfdump/run.h"

int dumpElfFile(const DwarfDumpArgParse& args, ElfFile& file, bool inArchive, FILE* out, FILE* err)
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

    if (args.dwarf) {
        MyDwarfFile dwarf(err);
        dwarf.open(file, args.ignoreDebugAranges);
        // Reports of the reader go to the error stream: keep them after what came before.
        fflush(out);
        dwarf.dump(out);
    }

    if (args.disassemble && file.e_machine == ElfEm::EM_ARM) {
        fflush(out);
        disassembleForMachine(out, err, file, args.arch);
    }

    if (comparing) {
        // A second file that cannot be read ends the run like the first one would.
        ElfFile second(args.demangle);
        second.load(args.compareFile);
        fflush(out);
        compareElfFiles(file, args.elfFile, second, args.compareFile, args.symbols, out, err);
    }

    // The in-place changes: a failed save stops the run before anything else is printed.
    if (!modifyElfFile(args, file, inArchive, err))
        return 1;

    if (args.armAttributes)
        printArmAttributes(file, out);

    if (args.flm)
        printFlashAlgorithm(file, out);

    if (args.stldr)
        printExternalLoader(file, out);

    if (args.relocations)
        printRelocations(file, out, err);

    if (args.memoryMap) {
        fflush(out);
        printRegisterMap(file, out, err);
    }

    if (args.ltoSymbols)
        printLtoSymbols(file, out);

    if (args.stackSizes)
        printStackSizes(file, out);

    if (args.unwind)
        printUnwindTables(file, out);

    if (args.dwarfFrame)
        printDebugFrame(file, out);

    // Last of all: a region list that cannot be read ends the run with status 1.
    if (!args.memoryUsage.isEmpty() && !printMemoryUsage(file, args.memoryUsage, out, err))
        return 1;

    return 0;
}
