#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "elf/elfnames.h"
#include "qtx/textline.h"

using QTx::TextLine;

void printSymbolTable(const ElfFile& file, FILE* out)
{
    const ElfSection* symtab = file.symbolTable();
    if (!symtab)
        return;
    // The loader has refused a zero entry size, so the division is safe.
    fprintf(out, "Symbol table '.symtab' contains %ld entries:\n", long(symtab->sh_size / symtab->sh_entsize));
    fprintf(out, "\tNum:\tValue\tSize\tType\tBind\tVis\tNdx\tName\n");
    const bool wide = file.is64();
    TextLine line(out);
    for (int i = 0; i < file.symbolCount(); ++i) {
        const ElfSymbol* s = file.symbolAt(i);
        // Mapping symbols mark code and data inside sections; they are not listed.
        if (s->name == "$d" || s->name == "$t" || s->name == "$a")
            continue;
        line.ch('\t').dec(i).str(":\t0x").hex(s->st_value, wide ? 16 : 8).ch('\t').udec(s->st_size).ch('\t');
        line.str(ElfNames::symbolType(s->type())).ch('\t');
        line.str(ElfNames::symbolBinding(s->binding())).ch('\t');
        line.str(ElfNames::symbolVisibility(s->st_other)).ch('\t');
        if (s->st_shndx == ElfSym::SHN_ABS) {
            line.str("*ABS*");
        } else {
            const ElfSection* section = file.sectionOfSymbol(s);
            line.str(section ? section->name : "??");
        }
        line.ch('\t').str(s->name).ch('\n');
    }
}

void printSymbolsSorted(const ElfFile& file, FILE* out)
{
    const bool wide = file.is64();
    TextLine line(out);
    if (wide)
        line.str("\t  Address64                      Size64   Type  Name\n");
    else
        line.str("\t  Address      Size     Type  Name\n");
    for (const ElfSymbol* s : file.namedSymbols()) {
        if (s->address() == 0 || s->st_size == 0)
            continue;
        const ElfSection* section = file.sectionOfSymbol(s);
        const uint64_t flags = section ? section->sh_flags : 0;
        std::string_view kind = "Data";
        if (flags & ElfShf::SHF_EXECINSTR)
            kind = "Code";
        else if ((flags & (ElfShf::SHF_WRITE | ElfShf::SHF_ALLOC)) == ElfShf::SHF_ALLOC)
            kind = "Const";
        line.str("\t0x").hex(s->address(), wide ? 16 : 8).ch(' ');
        line.spaceSignedDec(int64_t(s->st_size), wide ? 20 : 10).ch(' ');
        line.rightAligned(kind, 6).str("  ").str(s->name).ch('\n');
    }
}
