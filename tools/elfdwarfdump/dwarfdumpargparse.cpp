#include "tools/elfdwarfdump/dwarfdumpargparse.h"

const char* const elfDwarfDumpRelease = "1.0.0";

DwarfDumpArgParse::DwarfDumpArgParse(QTx::ErrorReporter* reporter, FILE* standardOutput)
    : QTx::ArgParse(reporter), standardOutput_(standardOutput)
{
    addValue("-arch", &arch, "-arch 'arch': specify architecture for disassembly");
    addValue("-cmp", &compareFile, "-cmp 'elffile2': compare text sections or symbols of 'elffile' with 'elffile2'");
    addFlag("-demangle", &demangle, "-demangle: demangle symbol names");
    addFlag("-disassemble", &disassemble, "-disassemble: disassemble text sections");
    addFlag("-dwarf", &dwarf, "-dwarf: show dwarf debugging information");
    addFlag("-dwarf-frame", &dwarfFrame, "-dwarf-frame: show dwarf frame debugging information");
    addFlag("-flm", &flm, "-flm: show CMSIS flash loader header data");
    addFlag("-header", &header, "-header: show elf header");
    addHandler("-help", Flag, static_cast<Handler>(&DwarfDumpArgParse::help), "-help: show help text");
    addFlag("-ignoreDebugAranges", &ignoreDebugAranges, "-ignoreDebugAranges: do not use .debug_aranges section");
    addFlag("-ltosymbols", &ltoSymbols, "-ltosymbols: show LTO symbols");
    addValue("-memory-usage", &memoryUsage,
             "-memory-usage 'segments': show memory used in segments NAME1,START1,SIZE1,NAME2,START2,SIZE2 e.g. "
             "FLASH,0x08000000,0x10000,RAM,0x20000000,0x1000");
    addFlag("-programs", &programs, "-programs: show elf program headers");
    addFlag("-program-data", &programData, "-program-data: show program data when -programs is supplied");
    addFlag("-sections", &sections, "-sections: show elf section headers");
    addFlag("-section-data", &sectionData, "-section-data: show section data when -sections is supplied");
    addFlag("-symbols", &symbols, "-symbols: show elf symbols or compare if -cmp is supplied");
    addFlag("-symbols-sorted", &symbolsSorted, "-symbols-sorted: show symbols sorted by name");
    addFlag("-relocations", &relocations, "-relocations: show relocation sections");
    addFlag("-stack-sizes", &stackSizes, "-stack-sizes: show stack_sizes section");
    addFlag("-stldr", &stldr, "-stldr: show STLDR flash loader header data");
    addFlag("-unwind", &unwind, "-unwind: show unwind data");
    addFlag("-ARMAttributes", &armAttributes, "-ARMAttributes: display ARM attributes section");
    // Options that rewrite the input file in place are deliberately left out of the usage text.
    addFlag("-mm", &memoryMap, QString());
    addFlag("-setVFPflags", &setVFPflags, QString());
    addFlag("-setObject", &setObject, QString());
    addFlag("-deTISection", &deTISection, QString());
    addFlag("-ThumbSymbols", &thumbSymbols, QString());
}

void DwarfDumpArgParse::positional(const QString& argument)
{
    // The first name is the input; any later one is the output, the last one winning.
    if (positionalCount_++ == 0)
        elfFile = argument;
    else
        outputFile = argument;
}

void DwarfDumpArgParse::help(const QString&, const QString&)
{
    printUsage();
    throw UsageRequested();
}

void DwarfDumpArgParse::printUsage() const
{
    FILE* err = reporter()->stream();
    fprintf(err, "%s %s - Release %s\n", "KestoWorks for ARM", "elfdwarfdump", elfDwarfDumpRelease);
    fprintf(err, "Dumps ELF files, archives, DWARF debug information and ARM code.\n");
    fprintf(err, "This program comes with ABSOLUTELY NO WARRANTY.\n");
    fflush(err);
    FILE* out = standardOutput_;
    fprintf(out, "\nUsage: elfdwarfdump [options] elffile [outputfile]\n\n");
    for (const auto& [synopsis, description] : helpEntries())
        fprintf(out, "  %-32s %s\n", synopsis.toLocal8Bit().constData(), description.toLocal8Bit().constData());
    fflush(out);
}
