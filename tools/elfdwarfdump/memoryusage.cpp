#include "tools/elfdwarfdump/memoryusage.h"

#include <QStringList>
#include <vector>

#include "elf/elffile.h"

namespace {

struct Region {
    QString name;
    uint64_t start = 0;
    uint64_t size = 0;
};

struct Range {
    uint64_t first = 0;
    uint64_t last = 0;
};

// One unit of the notation: whole units, and a tenth digit when it is not 0 (cut,
// never rounded up, so a region is never reported larger than it is).
std::string inUnit(uint64_t value, uint64_t unit, const char* suffix)
{
    const uint64_t whole = value / unit;
    const uint64_t tenth = (value % unit) * 10 / unit;
    char text[48];
    if (tenth == 0)
        snprintf(text, sizeof text, "%llu %s", (unsigned long long)whole, suffix);
    else
        snprintf(text, sizeof text, "%llu.%llu %s", (unsigned long long)whole, (unsigned long long)tenth, suffix);
    return text;
}

// The memory the target image takes: every section the reader counts as loaded.
// A section that wraps past the top of the address space fits no region and is left out.
std::vector<Range> occupiedRanges(const ElfFile& file)
{
    std::vector<Range> ranges;
    for (int i = 0; i < file.sectionCount(); ++i) {
        const ElfSection& s = *file.sectionAt(i);
        if (!s.memoryImage || s.sh_size == 0 || s.sh_size - 1 > UINT64_MAX - s.sh_addr)
            continue;
        ranges.push_back({s.sh_addr, s.sh_addr + s.sh_size - 1});
    }
    return ranges;
}

} // namespace

std::string memorySizeText(uint64_t value)
{
    if (value >= 1048576)
        return inUnit(value, 1048576, "MB");
    if (value >= 1024)
        return inUnit(value, 1024, "KB");
    char text[16];
    snprintf(text, sizeof text, "%u B", unsigned(value));
    return text;
}

bool parseRegionNumber(const QString& text, uint64_t* value)
{
    unsigned base = 10;
    qsizetype at = 0;
    if (text.size() > 1 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X')) {
        base = 16;
        at = 2;
    } else if (text.size() > 1 && text[0] == u'0') {
        base = 8;
        at = 1;
    }
    if (at >= text.size())
        return false;
    uint64_t v = 0;
    for (; at < text.size(); ++at) {
        const char16_t c = text[at].unicode();
        unsigned digit;
        if (c >= u'0' && c <= u'9')
            digit = c - u'0';
        else if (c >= u'a' && c <= u'f')
            digit = c - u'a' + 10;
        else if (c >= u'A' && c <= u'F')
            digit = c - u'A' + 10;
        else
            return false;
        if (digit >= base || v > (UINT64_MAX - digit) / base)
            return false;
        v = v * base + digit;
    }
    *value = v;
    return true;
}

bool printMemoryUsage(const ElfFile& file, const QString& regions, FILE* out, FILE* err)
{
    // The whole list is checked before anything is printed, so that a mistyped
    // argument gives the message alone rather than half a table.
    const QStringList pieces = regions.split(u',', Qt::SkipEmptyParts);
    if (pieces.size() % 3 != 0) {
        // No single region can be blamed for a miscount: the message names the whole list.
        fflush(out);
        fprintf(err, "invalid segment %s\n", regions.toLocal8Bit().constData());
        return false;
    }
    std::vector<Region> list;
    for (qsizetype i = 0; i < pieces.size(); i += 3) {
        Region r;
        r.name = pieces[i];
        if (!parseRegionNumber(pieces[i + 1], &r.start) || !parseRegionNumber(pieces[i + 2], &r.size)) {
            fflush(out);
            fprintf(err, "invalid segment %s\n", pieces.mid(i, 3).join(u',').toLocal8Bit().constData());
            return false;
        }
        list.push_back(r);
    }

    const std::vector<Range> ranges = occupiedRanges(file);
    fprintf(out, "Memory Region: Used Size: Region Size: %%age Used\n");
    for (const Region& r : list) {
        // A region of no size holds nothing, and its last address would lie before its first.
        if (r.size == 0)
            continue;
        // A region that would run past the top of the address space ends there.
        const uint64_t last = r.size - 1 > UINT64_MAX - r.start ? UINT64_MAX : r.start + r.size - 1;
        bool found = false;
        uint64_t highest = 0;
        for (const Range& s : ranges) {
            // Only sections wholly inside count: one that straddles the end belongs elsewhere.
            if (s.first >= r.start && s.last <= last && (!found || s.last > highest)) {
                highest = s.last;
                found = true;
            }
        }
        if (!found)
            continue;
        // Measured up to the highest used address, whose own byte is not counted: a region
        // filled to the end reads one byte short. Kept that way so that the figures stay
        // comparable with earlier reports of the same firmware.
        const uint64_t used = highest - r.start;
        // Tenths of a percent, rounded half up; 128 bits keep used * 1000 exact.
        const unsigned __int128 tenths =
            (static_cast<unsigned __int128>(used) * 2000 + r.size) / (static_cast<unsigned __int128>(r.size) * 2);
        char percent[32];
        snprintf(percent, sizeof percent, "%llu.%llu%%", (unsigned long long)(tenths / 10),
                 (unsigned long long)(tenths % 10));
        fprintf(out, "%13s %10s %12s %9s\n", r.name.toLocal8Bit().constData(),
                memorySizeText(uint32_t(used)).c_str(), memorySizeText(r.size).c_str(), percent);
    }
    return true;
}
