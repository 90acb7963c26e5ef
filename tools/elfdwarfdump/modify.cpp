#include "tools/elfdwarfdump/modify.h"

#include "elf/elffile.h"
#include "tools/elfdwarfdump/dwarfdumpargparse.h"

namespace {
constexpr uint32_t vfpFlags = 0x600;           // EF_ARM_ABI_FLOAT_SOFT | EF_ARM_ABI_FLOAT_HARD, nothing else
constexpr uint32_t tiAttributesType = 0x7f000006; // the attributes section of TI's tools
constexpr uint32_t armAttributesType = 0x70000003;
} // namespace

void setVfpFlags(ElfFile& file)
{
    // The whole word is replaced, the EABI version included.
    file.e_flags = vfpFlags;
}

void setObjectType(ElfFile& file)
{
    file.e_type = 1; // ET_REL
}

void retagTiAttributes(ElfFile& file)
{
    for (int i = 0; i < file.sectionCount(); ++i) {
        ElfSection* s = file.sectionAt(i);
        if (s->sh_type == tiAttributesType)
            s->sh_type = armAttributesType;
    }
}

void setThumbBits(ElfFile& file)
{
    for (int i = 0; i < file.symbolCount(); ++i) {
        ElfSymbol* sym = file.symbolAt(i);
        const ElfSection* section = file.sectionOfSymbol(sym);
        if (!section || !section->name.starts_with(".text") || sym->type() != ElfSym::STT_FUNC)
            continue;
        const uint64_t value = sym->address();
        if ((value & 1) == 0)
            sym->st_value = value | 1;
    }
}

bool modifyElfFile(const DwarfDumpArgParse& args, ElfFile& file, bool inArchive, FILE* err)
{
    struct Step {
        bool selected;
        void (*apply)(ElfFile&);
    } steps[] = {
        {args.setVFPflags, setVfpFlags},
        {args.setObject, setObjectType},
        {args.deTISection, retagTiAttributes},
        {args.thumbSymbols, setThumbBits},
    };
    for (const Step& step : steps) {
        if (!step.selected)
            continue;
        // Writing one member's image over the whole library would destroy it.
        if (inArchive) {
            fprintf(err, "cannot write %s: a library member cannot be patched in place\n",
                    args.elfFile.toLocal8Bit().constData());
            return false;
        }
        step.apply(file);
        try {
            file.save(args.elfFile);
        } catch (const HException& e) {
            fprintf(err, "%s\n", e.message().c_str());
            return false;
        }
    }
    return true;
}
