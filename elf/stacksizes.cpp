#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "elf/byteorder.h"
#include "elf/elffile.h"
#include "elf/elflistings.h"

namespace {

// The function symbol a stack-size entry names: in an executable the function at the
// address; in an object the function at that offset of the section the entry links
// to. Labels and section markers at the same address are not functions.
const ElfSymbol* functionAt(const ElfFile& file, uint64_t address, const ElfSection* linked)
{
    const std::vector<ElfSymbol*>& defined = file.definedSymbols();
    auto it = std::lower_bound(defined.begin(), defined.end(), address,
                               [](const ElfSymbol* s, uint64_t a) { return s->address() < a; });
    for (; it != defined.end() && (*it)->address() == address; ++it) {
        if ((*it)->type() != ElfSym::STT_FUNC)
            continue;
        if (file.e_type == 2 || (linked && file.sectionOfSymbol(*it) == linked))
            return *it;
    }
    return nullptr;
}

} // namespace

void printStackSizes(const ElfFile& file, FILE* out)
{
    std::vector<std::string> lines;
    const uint64_t addressSize = file.is64() ? 8 : 4;
    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection& s = *file.sectionAt(i);
        if (s.name != ".stack_sizes")
            continue;
        if (lines.empty()) {
            lines.push_back("Stack Sizes:");
            lines.push_back("      Size    Functions");
        }
        if (!s.data)
            continue;
        const ElfSection* linked = file.e_type == 2 ? nullptr : file.sectionAt(s.sh_link);
        const uint8_t* p = s.data;
        const uint8_t* end = s.data + s.dataSize;
        while (uint64_t(end - p) > addressSize) {
            // The compiler writes the addresses little-endian.
            const uint64_t address = addressSize == 8 ? ElfBytes::u64(p, false) : ElfBytes::u32(p, false);
            p += addressSize;
            uint64_t size = 0;
            unsigned shift = 0;
            while (p < end) {
                const uint8_t b = *p++;
                if (shift < 64)
                    size |= uint64_t(b & 0x7F) << shift;
                shift += 7;
                if (!(b & 0x80))
                    break;
            }
            char buf[64];
            snprintf(buf, sizeof buf, "% 10lld", (long long)size);
            std::string line = buf;
            if (const ElfSymbol* f = functionAt(file, address, linked)) {
                line += "    ";
                line += f->name;
                line += " ";
            } else {
                snprintf(buf, sizeof buf, "    index %llx ", (unsigned long long)address);
                line += buf;
            }
            lines.push_back(std::move(line));
        }
    }
    for (const std::string& line : lines)
        fprintf(out, "%s\n", line.c_str());
}
