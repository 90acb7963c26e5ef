#include <cstdio>
#include <cstring>

#include "elf/byteorder.h"
#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "elf/elfnames.h"

using namespace ElfBytes;

namespace {

struct RelocationSymbol {
    std::string_view name;
    std::string_view section;
};

// The symbol a relocation refers to, read from its 16-byte entry in .symtab. A name
// outside the string table is printed empty, a section index without a section as
// "*ABS*".
RelocationSymbol relocationSymbol(const ElfFile& file, const ElfSection* symtab, const ElfSection* strtab,
                                  uint64_t index)
{
    RelocationSymbol r{"", "*ABS*"};
    if (!symtab || !symtab->data || index >= symtab->dataSize / 16)
        return r;
    const uint8_t* entry = symtab->data + index * 16;
    const bool be = !file.isLittleEndian();
    const uint32_t nameOffset = u32(entry, be);
    const uint16_t shndx = u16(entry + 14, be);
    if (strtab && strtab->data && nameOffset < strtab->dataSize) {
        const char* s = reinterpret_cast<const char*>(strtab->data) + nameOffset;
        const void* nul = memchr(s, 0, strtab->dataSize - nameOffset);
        r.name = std::string_view(s, nul ? static_cast<const char*>(nul) - s : strtab->dataSize - nameOffset);
    }
    if (const ElfSection* section = file.sectionAt(shndx))
        r.section = section->name;
    return r;
}

} // namespace

void printRelocations(const ElfFile& file, FILE* out, FILE* err)
{
    const ElfSection* symtab = file.sectionByName(".symtab");
    const ElfSection* strtab = file.sectionByName(".strtab");
    const bool arm = file.e_machine == ElfEm::EM_ARM;
    const bool be = !file.isLittleEndian();
    const bool wide = file.is64();
    // ARM objects carry REL entries only; other machines are read as 12- or 24-byte
    // records (offset, info, and the symbol index taken from the third word).
    const uint64_t entrySize = arm ? 8 : (wide ? 24 : 12);

    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection& rel = *file.sectionAt(i);
        if (rel.sh_type != ElfSht::SHT_REL && rel.sh_type != ElfSht::SHT_RELA)
            continue;
        const ElfSection* target = file.sectionAt(rel.sh_info);
        // Relocations of debug sections and other unloaded data are not listed.
        if (!target || !(target->sh_flags & ElfShf::SHF_ALLOC))
            continue;
        fprintf(out, "relocations for %.*s\n", int(target->name.size()), target->name.data());
        if (!rel.data)
            continue;
        const uint64_t count = rel.sh_size / entrySize;
        for (uint64_t k = 0; k < count; ++k) {
            // A table running past the end of the file stops where the file does.
            if ((k + 1) * entrySize > rel.dataSize) {
                fprintf(err, "warning: %s: relocation section %d runs past the end of the file\n",
                        file.fileName().toLocal8Bit().constData(), i);
                break;
            }
            const uint8_t* e = rel.data + k * entrySize;
            uint64_t offset;
            uint32_t symbolIndex;
            char typeText[64];
            const char* type = nullptr;
            if (arm) {
                offset = u32(e, be);
                const uint32_t info = u32(e + 4, be);
                symbolIndex = info >> 8;
                const uint8_t t = uint8_t(info);
                const std::string_view name = ElfNames::armRelocationType(t);
                snprintf(typeText, sizeof typeText, "0x%02x %.*s", t, int(name.size()), name.data());
                type = typeText;
            } else if (wide) {
                offset = u64(e, be);
                symbolIndex = u32(e + 16, be);
            } else {
                offset = u32(e, be);
                symbolIndex = u32(e + 8, be);
            }
            const RelocationSymbol sym = relocationSymbol(file, symtab, strtab, symbolIndex);
            // Other machines have no type names: the column says so.
            fprintf(out, "0x%08llx %s value 0x%08x %.*s %.*s\n", (unsigned long long)offset,
                    type ? type : "(null)", symbolIndex, int(sym.name.size()), sym.name.data(),
                    int(sym.section.size()), sym.section.data());
        }
    }
}
