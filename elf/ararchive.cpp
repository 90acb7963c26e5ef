#include "elf/ararchive.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "elf/byteorder.h"
#include "elf/nameorder.h"

namespace {
constexpr uint64_t headerSize = 60;
constexpr uint64_t magicSize = 8;

bool nameIs(const uint8_t* field, const char* name)
{
    const size_t n = strlen(name);
    if (memcmp(field, name, n) != 0)
        return false;
    for (size_t i = n; i < 16; ++i) {
        if (field[i] != ' ')
            return false;
    }
    return true;
}

// Leading spaces, then decimal digits up to the first other character.
uint64_t decimalField(const uint8_t* p, size_t width)
{
    size_t i = 0;
    while (i < width && p[i] == ' ')
        ++i;
    uint64_t v = 0;
    for (; i < width && p[i] >= '0' && p[i] <= '9'; ++i)
        v = v * 10 + uint64_t(p[i] - '0');
    return v;
}
} // namespace

bool ArArchive::isArchive(const uint8_t* image, uint64_t size)
{
    return size >= magicSize && memcmp(image, "!<arch>\n", magicSize) == 0;
}

void ArArchive::readIndex(const uint8_t* data, uint64_t size, bool wide)
{
    const uint64_t w = wide ? 8 : 4;
    if (size < w)
        return;
    const uint64_t count = wide ? ElfBytes::u64(data, true) : ElfBytes::u32(data, true);
    // The offsets must fit in the member before the count is believed.
    if (count > (size - w) / w)
        return;
    const uint8_t* offsets = data + w;
    const char* names = reinterpret_cast<const char*>(offsets + count * w);
    const char* end = reinterpret_cast<const char*>(data + size);
    index_.reserve(count);
    for (uint64_t i = 0; i < count && names < end; ++i) {
        const char* nul = static_cast<const char*>(memchr(names, 0, end - names));
        const char* stop = nul ? nul : end;
        const uint64_t offset = wide ? ElfBytes::u64(offsets + i * w, true) : ElfBytes::u32(offsets + i * w, true);
        index_.push_back({std::string_view(names, size_t(stop - names)), offset});
        names = stop + 1;
    }
    // Equal names (a weak symbol defined in two members) keep archive order.
    auto byOffset = [](const IndexEntry& a, const IndexEntry& b) { return a.memberOffset < b.memberOffset; };
    const bool plain = std::none_of(index_.begin(), index_.end(),
                                    [](const IndexEntry& e) { return mayOrderDifferentlyInUtf16(e.name); });
    if (!plain) {
        sortByName(index_.begin(), index_.end(), [](const IndexEntry& e) { return e.name; }, byOffset);
        return;
    }
    // A library's index holds thousands of names: their first eight bytes, as one
    // big-endian number, settle most comparisons without touching the names again.
    struct Keyed {
        uint64_t prefix;
        const IndexEntry* entry;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(index_.size());
    for (const IndexEntry& e : index_) {
        uint8_t bytes[8] = {0, 0, 0, 0, 0, 0, 0, 0};
        memcpy(bytes, e.name.data(), std::min<size_t>(8, e.name.size()));
        keyed.push_back({ElfBytes::u64(bytes, true), &e});
    }
    std::sort(keyed.begin(), keyed.end(), [&](const Keyed& a, const Keyed& b) {
        if (a.prefix != b.prefix)
            return a.prefix < b.prefix;
        // Equal prefixes: names hold no NUL, so both are at least eight bytes long or equal.
        const std::string_view na = a.entry->name, nb = b.entry->name;
        const int c = na.size() > 8 || nb.size() > 8 ? na.substr(std::min<size_t>(8, na.size())).compare(
                                                           nb.substr(std::min<size_t>(8, nb.size())))
                                                     : 0;
        return c != 0 ? c < 0 : byOffset(*a.entry, *b.entry);
    });
    std::vector<IndexEntry> sorted;
    sorted.reserve(index_.size());
    for (const Keyed& k : keyed)
        sorted.push_back(*k.entry);
    index_.swap(sorted);
}

bool ArArchive::parse(const uint8_t* image, uint64_t size, std::string* error)
{
    index_.clear();
    members_.clear();
    const uint8_t* longNames = nullptr;
    uint64_t longNamesSize = 0;
    bool first = true;
    uint64_t pos = magicSize;
    while (size >= headerSize && pos <= size - headerSize) {
        const uint8_t* header = image + pos;
        const uint64_t dataOffset = pos + headerSize;
        // A member that claims more than the file holds keeps what is there.
        const uint64_t memberSize = std::min(decimalField(header + 48, 10), size - dataOffset);
        const uint8_t* data = image + dataOffset;

        if (first && nameIs(header, "/")) {
            readIndex(data, memberSize, false);
        } else if (first && nameIs(header, "/SYM64/")) {
            readIndex(data, memberSize, true);
        } else if (nameIs(header, "//")) {
            longNames = data;
            longNamesSize = memberSize;
        } else {
            Member m;
            m.headerOffset = pos;
            m.data = data;
            m.size = memberSize;
            if (header[0] == '/') {
                const uint64_t offset = decimalField(header + 1, 15);
                if (offset >= longNamesSize) {
                    char message[64];
                    snprintf(message, sizeof message, "invalid long names table offset %llu\n", (unsigned long long)offset);
                    *error = message;
                    return false;
                }
                const uint8_t* start = longNames + offset;
                const uint8_t* slash =
                    static_cast<const uint8_t*>(memchr(start, '/', longNamesSize - offset));
                const uint8_t* stop = slash ? slash : longNames + longNamesSize;
                m.name.assign(reinterpret_cast<const char*>(start), stop - start);
            } else {
                const uint8_t* slash = static_cast<const uint8_t*>(memchr(header, '/', 16));
                if (!slash) {
                    *error = "invalid archive file name\n";
                    return false;
                }
                m.name.assign(reinterpret_cast<const char*>(header), slash - header);
            }
            members_.push_back(std::move(m));
        }
        first = false;
        pos = dataOffset + memberSize;
        // Members start on even offsets; the odd byte between them is a newline.
        if (pos < size && image[pos] == '\n')
            ++pos;
    }
    return true;
}
