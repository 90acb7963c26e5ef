// An ELF image (or anything else) through every listing, ARM-section, DWARF, frame,
// memory-usage, flash-loader and register-map step, compared with itself, and
// patched in place.
#include "fuzz/fuzzinput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string& path = Fuzz::inputPath();
    if (!Fuzz::writeInput(path, data, size))
        return 0;
    const QString file = QString::fromStdString(path);
    Fuzz::run({"-header", "-programs", "-program-data", "-sections", "-section-data", "-symbols", "-symbols-sorted",
               "-ltosymbols", "-demangle", "-relocations", "-ARMAttributes", "-stack-sizes", "-dwarf", "-flm",
               "-stldr", "-unwind", "-dwarf-frame", "-mm", "-memory-usage",
               "FLASH,0x08000000,0x100000,RAM,0x20000000,0x20000", file});
    Fuzz::run({"-cmp", file, file});
    Fuzz::run({"-symbols", "-cmp", file, file});
    Fuzz::run({"-setVFPflags", "-setObject", "-deTISection", "-ThumbSymbols", file});
    return 0;
}
