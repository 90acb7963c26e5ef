#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "elf/elfnames.h"
#include "qtx/textline.h"

using QTx::TextLine;

void printSectionHeader(const ElfSection& s, FILE* out)
{
    TextLine line(out);
    line.str("\nsection header\n");
    line.str("sh_name     : 0x").hex(s.sh_name).ch(' ').str(s.name).ch('\n');
    line.str("sh_type     : 0x").hex(s.sh_type).ch(' ').str(ElfNames::sectionType(s.sh_type)).ch('\n');
    line.str("sh_flags    : 0x").hex(s.sh_flags).ch(' ');
    bool named = false;
    if (s.sh_flags & ElfShf::SHF_WRITE) {
        line.str("SHF_WRITE");
        named = true;
    }
    if (s.sh_flags & ElfShf::SHF_ALLOC) {
        line.str(named ? "+SHF_ALLOC" : "SHF_ALLOC");
        named = true;
    }
    if (s.sh_flags & ElfShf::SHF_EXECINSTR)
        line.str(named ? "+SHF_EXECINSTR" : "SHF_EXECINSTR");
    line.ch('\n');
    line.labelHexLine("sh_addr     : 0x", s.sh_addr);
    line.labelHexLine("sh_offset   : 0x", s.sh_offset);
    line.labelHexLine("sh_size     : 0x", s.sh_size);
    line.labelHexLine("sh_link     : 0x", s.sh_link);
    line.labelHexLine("sh_info     : 0x", s.sh_info);
    line.labelHexLine("sh_addralign: 0x", s.sh_addralign);
    line.labelHexLine("sh_entsize  : 0x", s.sh_entsize);
}

void printProgramHeader(const ElfProgram& p, FILE* out)
{
    TextLine line(out);
    line.str("\nprogram header\n");
    line.str("p_type      : ");
    const std::string_view type = ElfNames::programType(p.p_type);
    if (type.empty())
        line.str("0x").hex(p.p_type);
    else
        line.str(type);
    line.ch('\n');
    line.labelHexLine("p_flags     : 0x", p.p_flags);
    line.labelHexLine("p_offset    : 0x", p.p_offset);
    line.labelHexLine("p_vaddr     : 0x", p.p_vaddr);
    line.labelHexLine("p_paddr     : 0x", p.p_paddr);
    line.labelHexLine("p_filesz    : 0x", p.p_filesz);
    line.labelHexLine("p_memsz     : 0x", p.p_memsz);
    line.labelHexLine("p_align     : 0x", p.p_align);
}

void printSummary(const ElfFile& file, FILE* out)
{
    fprintf(out, "Sections\n--------\n");
    for (int i = 0; i < file.sectionCount(); ++i)
        printSectionHeader(*file.sectionAt(i), out);
    fprintf(out, "Programs\n--------\n");
    for (int i = 0; i < file.programCount(); ++i)
        printProgramHeader(*file.programAt(i), out);
    TextLine line(out);
    line.str("Symbols by name\n---------------\n");
    for (const ElfSymbol* s : file.namedSymbols()) {
        line.str(s->name).str(":\n");
        line.str("  st_info : 0x").hex(s->st_info).ch('\n');
        line.str("  st_other: 0x").hex(s->st_other).ch('\n');
        line.str("  st_shndx: 0x").hex(s->st_shndx).ch('\n');
        line.str("  st_value: 0x").hex(s->st_value).ch('\n');
        line.str("  st_size : 0x").hex(s->st_size).ch('\n');
    }
    line.str("Symbols by address\n------------------\n");
    for (const ElfSymbol* s : file.definedSymbols())
        line.str("0x").hex(s->address()).str(" : ").str(s->name).ch('\n');
}
