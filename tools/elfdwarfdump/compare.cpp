#include "tools/elfdwarfdump/compare.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "elf/byteorder.h"
#include "elf/elffile.h"

const ElfSymbol* findSymbolLoose(const ElfFile& file, std::string_view name)
{
    if (const ElfSymbol* exact = file.symbolByName(name))
        return exact;
    const size_t dot = name.find('.');
    if (dot == std::string_view::npos)
        return nullptr;
    const std::string_view base = name.substr(0, dot);
    const std::vector<ElfSymbol*>& named = file.namedSymbols();
    auto it = std::lower_bound(named.begin(), named.end(), base,
                               [](const ElfSymbol* s, std::string_view n) { return nameLess(s->name, n); });
    if (it != named.end() && (*it)->name.starts_with(base))
        return *it;
    return nullptr;
}

namespace {

// 3-bit immediate form X (adds/subs Rd, Rn, #imm3 with Rn = Rd) against 8-bit form Y
// (adds/subs Rdn, #imm8) with the same register and value.
bool sameImmediateStep(uint16_t x, uint16_t y, uint16_t formX, uint16_t formY)
{
    if ((x & 0xFE00) != formX || (y & 0xF800) != formY)
        return false;
    const unsigned rd = x & 7, rn = (x >> 3) & 7, imm3 = (x >> 6) & 7;
    const unsigned rdn = (y >> 8) & 7, imm8 = y & 0xFF;
    return rn == rd && rdn == rd && imm8 == imm3;
}

bool isTrackedSection(const ElfSection& s)
{
    const bool contentType = s.sh_type == 1 || s.sh_type == 14 || s.sh_type == 15 || s.sh_type == 0x70000001;
    return contentType && (s.sh_flags & 6) != 0;
}

bool takesPart(const ElfSymbol* s)
{
    return s && s->address() != 0 && s->st_size != 0;
}

void compareSymbols(const ElfFile& first, const QString& firstPath, const ElfFile& second,
                    const QString& secondPath, FILE* out)
{
    // A partner that does not take part (no address or no size) counts as missing.
    auto partner = [](const ElfFile& other, const ElfSymbol* s) {
        const ElfSymbol* p = findSymbolLoose(other, s->name);
        return takesPart(p) ? p : nullptr;
    };
    for (const ElfSymbol* a : first.namedSymbols()) {
        if (!takesPart(a))
            continue;
        if (const ElfSymbol* b = partner(second, a)) {
            const int32_t difference = int32_t(uint32_t(b->st_size) - uint32_t(a->st_size));
            if (difference != 0)
                fprintf(out, "%.*s %ld %.*s %ld %d\n", int(a->name.size()), a->name.data(), long(a->st_size),
                        int(b->name.size()), b->name.data(), long(b->st_size), difference);
        }
    }
    const QByteArray firstName = firstPath.toLocal8Bit(), secondName = secondPath.toLocal8Bit();
    auto onlyIn = [&](const ElfFile& file, const ElfFile& other, const QByteArray& path) {
        for (const ElfSymbol* s : file.namedSymbols()) {
            if (takesPart(s) && !partner(other, s))
                fprintf(out, "%.*s %ld only in file '%s'\n", int(s->name.size()), s->name.data(), long(s->st_size),
                        path.constData());
        }
    };
    onlyIn(first, second, firstName);
    onlyIn(second, first, secondName);
}

void compareSections(const ElfFile& first, const ElfFile& second, FILE* err)
{
    const bool be = !first.isLittleEndian();
    for (int i = 0; i < first.sectionCount(); ++i) {
        const ElfSection& a = *first.sectionAt(i);
        if (!isTrackedSection(a))
            continue;
        const std::string name(a.name);
        const ElfSection* b = second.sectionByName(a.name);
        if (!b) {
            fprintf(err, "section %s not found\n", name.c_str());
            continue;
        }
        if (a.sh_addr != b->sh_addr) {
            fprintf(err, "section %s different start addresses\n", name.c_str());
            continue;
        }
        if (a.sh_size != b->sh_size)
            fprintf(err, "section %s different lengths %ld vs %ld\n", name.c_str(), long(a.sh_size),
                    long(b->sh_size));
        const uint64_t size = a.sh_size;
        // Bytes of each side that are really there: the second section may be shorter,
        // and a damaged file may end inside either.
        const uint64_t haveA = a.data ? std::min(a.dataSize, size) : 0;
        const uint64_t haveB = b->data ? std::min(b->dataSize, b->sh_size) : 0;
        if (size == 0 || (haveA == size && haveB >= size && memcmp(a.data, b->data, size) == 0))
            continue;
        // Past the bytes either file holds, a damaged size would make billions of
        // lines: the first address there is reported, and the comparison ends.
        const uint64_t present = std::max(haveA, haveB);
        auto report = [&](uint64_t offset) {
            const uint64_t address = a.sh_addr + offset;
            if (first.is64())
                fprintf(err, "section %s different contents at address 0x%016lX\n", name.c_str(),
                        (unsigned long)address);
            else
                fprintf(err, "section %s different contents at address 0x%08X\n", name.c_str(), unsigned(address));
        };
        for (uint64_t offset = 0; offset < size; offset += 2) {
            if (offset >= present + (present & 1)) {
                report(offset);
                break;
            }
            const uint64_t n = std::min<uint64_t>(2, size - offset);
            uint8_t x[2] = {0, 0}, y[2] = {0, 0};
            // Bytes one side lacks count as different.
            bool missing = false;
            for (uint64_t k = 0; k < n; ++k) {
                if (offset + k < haveA)
                    x[k] = a.data[offset + k];
                else
                    missing = true;
                if (offset + k < haveB)
                    y[k] = b->data[offset + k];
                else
                    missing = true;
            }
            const uint16_t ha = ElfBytes::u16(x, be), hb = ElfBytes::u16(y, be);
            if (!missing && (ha == hb || equivalentThumbHalfwords(ha, hb)))
                continue;
            report(offset);
        }
    }
}

} // namespace

bool equivalentThumbHalfwords(uint16_t a, uint16_t b)
{
    return sameImmediateStep(a, b, 0x1C00, 0x3000) || sameImmediateStep(b, a, 0x1C00, 0x3000) ||
           sameImmediateStep(a, b, 0x1E00, 0x3800) || sameImmediateStep(b, a, 0x1E00, 0x3800) ||
           (a == 0xBF00 && b == 0x46C0) || (a == 0x46C0 && b == 0xBF00);
}

void compareElfFiles(const ElfFile& first, const QString& firstPath, const ElfFile& second,
                     const QString& secondPath, bool symbols, FILE* out, FILE* err)
{
    if (symbols)
        compareSymbols(first, firstPath, second, secondPath, out);
    else
        compareSections(first, second, err);
}
