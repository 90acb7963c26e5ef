#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "elf/elfnames.h"
#include "qtx/textline.h"

#include <cstring>

using QTx::TextLine;

namespace {

char* putHexLine(char* p, std::string_view label, uint64_t v)
{
    p = TextLine::put(p, label);
    p = TextLine::writeHex(p, v);
    *p++ = '\n';
    return p;
}
} // namespace

// A large library has tens of thousands of sections: each block is written straight
// into the line buffer, the name (of any length) apart.
void printSectionHeader(const ElfSection& s, TextLine& line)
{
    char* p = line.claim(64);
    p = TextLine::put(p, "\nsection header\nsh_name     : 0x");
    p = TextLine::writeHex(p, s.sh_name);
    *p++ = ' ';
    line.commit(p);
    line.str(s.name);

    p = line.claim(440);
    *p++ = '\n';
    p = putHexLine(p, "sh_type     : 0x", s.sh_type);
    p[-1] = ' ';
    p = TextLine::put(p, ElfNames::sectionType(s.sh_type));
    *p++ = '\n';
    p = putHexLine(p, "sh_flags    : 0x", s.sh_flags);
    p[-1] = ' ';
    bool named = false;
    if (s.sh_flags & ElfShf::SHF_WRITE) {
        p = TextLine::put(p, "SHF_WRITE");
        named = true;
    }
    if (s.sh_flags & ElfShf::SHF_ALLOC) {
        p = TextLine::put(p, named ? "+SHF_ALLOC" : "SHF_ALLOC");
        named = true;
    }
    if (s.sh_flags & ElfShf::SHF_EXECINSTR)
        p = TextLine::put(p, named ? "+SHF_EXECINSTR" : "SHF_EXECINSTR");
    *p++ = '\n';
    p = putHexLine(p, "sh_addr     : 0x", s.sh_addr);
    p = putHexLine(p, "sh_offset   : 0x", s.sh_offset);
    p = putHexLine(p, "sh_size     : 0x", s.sh_size);
    p = putHexLine(p, "sh_link     : 0x", s.sh_link);
    p = putHexLine(p, "sh_info     : 0x", s.sh_info);
    p = putHexLine(p, "sh_addralign: 0x", s.sh_addralign);
    p = putHexLine(p, "sh_entsize  : 0x", s.sh_entsize);
    line.commit(p);
}

void printProgramHeader(const ElfProgram& p, TextLine& line)
{
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

// A damaged file may end inside a section or segment; only the bytes that are
// there get dumped, and the user is told what is missing.
static void warnTruncated(FILE* err, const ElfFile& file, const char* what, int index, uint64_t present,
                          uint64_t size)
{
    fprintf(err, "warning: %s: %s %d has 0x%lX of its 0x%lX bytes in the file\n",
            file.fileName().toLocal8Bit().constData(), what, index, (unsigned long)present, (unsigned long)size);
}

void printProgramHeaders(const ElfFile& file, bool withData, FILE* out, FILE* err)
{
    TextLine line(out);
    for (int i = 0; i < file.programCount(); ++i) {
        const ElfProgram& p = *file.programAt(i);
        printProgramHeader(p, line);
        // Segment contents are addressed from where they are loaded (the physical address).
        if (withData && p.p_filesz != 0 && p.data) {
            line.ch('\n');
            printHexRows(p.data, p.dataSize, p.p_paddr, line);
            if (p.isTruncated())
                warnTruncated(err, file, "segment", i, p.dataSize, p.p_filesz);
        }
    }
}

void printSectionHeaders(const ElfFile& file, bool withData, FILE* out, FILE* err)
{
    TextLine line(out);
    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection& s = *file.sectionAt(i);
        printSectionHeader(s, line);
        if (withData && s.sh_size != 0 && s.data) {
            line.ch('\n');
            printHexRows(s.data, s.dataSize, s.sh_addr, line);
            if (s.isTruncated())
                warnTruncated(err, file, "section", i, s.dataSize, s.sh_size);
        }
    }
}

void printSummary(const ElfFile& file, FILE* out)
{
    TextLine line(out);
    line.str("Sections\n--------\n");
    for (int i = 0; i < file.sectionCount(); ++i)
        printSectionHeader(*file.sectionAt(i), line);
    line.str("Programs\n--------\n");
    for (int i = 0; i < file.programCount(); ++i)
        printProgramHeader(*file.programAt(i), line);
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
