#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "elf/elfnames.h"
#include "qtx/textline.h"

#include <cstring>

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
    const int count = file.symbolCount();
    for (int i = 0; i < count; ++i) {
        const ElfSymbol* s = file.symbolAt(i);
        // Mapping symbols mark code and data inside sections; they are not listed.
        if (s->name == "$d" || s->name == "$t" || s->name == "$a")
            continue;
        std::string_view section = "*ABS*";
        if (s->st_shndx != ElfSym::SHN_ABS) {
            const ElfSection* sec = file.sectionOfSymbol(s);
            section = sec ? sec->name : "??";
        }
        // Everything but the two names fits in the claimed room.
        char* p = line.claim(160);
        *p++ = '\t';
        p = TextLine::writeDecimal(p, uint64_t(i));
        p = TextLine::put(p, ":\t0x");
        p = TextLine::writeHex(p, s->st_value, wide ? 16 : 8);
        *p++ = '\t';
        p = TextLine::writeDecimal(p, s->st_size);
        *p++ = '\t';
        p = TextLine::put(p, ElfNames::symbolType(s->type()));
        *p++ = '\t';
        p = TextLine::put(p, ElfNames::symbolBinding(s->binding()));
        *p++ = '\t';
        p = TextLine::put(p, ElfNames::symbolVisibility(s->st_other));
        *p++ = '\t';
        line.commit(p);
        line.str(section).ch('\t').str(s->name).ch('\n');
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
