// .gcc_except_table: the language-specific data areas that GCC's C++ personality
// routine reads, one per function with handlers or cleanups, one after another.
//
// One area, as GCC lays it out:
//   LPStart encoding (byte), LPStart when that is not omit;
//   TType encoding (byte), when not omit a ULEB128 offset from just after it to the
//     end of the type table;
//   call-site encoding (byte), ULEB128 length of the call-site table;
//   call sites: start, length, landing pad (call-site encoding), action (ULEB128,
//     1 + the offset of its first action record, 0 for none);
//   action records: SLEB128 type filter, SLEB128 offset from this field to the next
//     record of the chain (0 ends it);
//   padding, then the type table, whose entry N (TType encoding) ends N entries
//     before the end of the table;
//   after the type table, the lists of allowed exceptions (throw lists): lists of ULEB128 type
//     indexes ending with 0, the one of filter -N starting N - 1 bytes in.
// Neither the action records nor the type table say how many they are. The action
// table is taken to end after the last record that any call site's chain reaches,
// and the type table to hold as many entries as the largest type index used. The
// area ends after the furthest of its parts; zero bytes after it are the padding
// that aligns the next area's type table (GCC never writes an LPStart encoding of
// 0), and the next area starts at the next byte that is not 0. Anything that does
// not fit (a table past the end of the section, an action outside the action table,
// a type index outside the type table) ends the walk of the section there.
#include <algorithm>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "dwarf/callframe.h"
#include "dwarf/dwarfcursor.h"
#include "dwarf/pointerencoding.h"
#include "qtx/textline.h"

using QTx::TextLine;
namespace PE = PointerEncoding;

namespace {

class ExceptionTableReader {
public:
    explicit ExceptionTableReader(const FrameSection& s) : s_(s), section_(s.data, s.data + s.size, s.bigEndian) {}

    void walk(TextLine& out);

private:
    DwarfCursor at(uint64_t offset, uint64_t end) const
    {
        DwarfCursor c = section_.limitedTo(end);
        c.seek(offset);
        return c;
    }
    uint64_t printArea(TextLine& out, uint64_t offset);
    bool followActions(const std::vector<uint64_t>& actions, uint64_t start, uint64_t limit, uint64_t& end) const;

    const FrameSection s_;
    const DwarfCursor section_;
    const PE::Bases bases_{s_.address, 0};
};

void ExceptionTableReader::walk(TextLine& out)
{
    uint64_t offset = 0;
    while (offset < s_.size) {
        DwarfCursor c = at(offset, s_.size);
        if (c.u8() == 0) {
            ++offset;
            continue;
        }
        const uint64_t end = printArea(out, offset);
        if (end <= offset)
            return;
        offset = end;
    }
}

// The end of the action records that the call sites' chains reach, in `end`. Every
// record is visited once at most, so a chain that loops back ends there. False when
// a chain leaves [start, limit).
bool ExceptionTableReader::followActions(const std::vector<uint64_t>& actions, uint64_t start, uint64_t limit,
                                         uint64_t& end) const
{
    // A set rather than a map of the whole range: the range may be the rest of a
    // large section for each of many small areas.
    std::unordered_set<uint64_t> seen;
    end = start;
    for (uint64_t action : actions) {
        if (action - 1 >= limit - start)
            return false;
        uint64_t record = start + action - 1;
        while (seen.insert(record).second) {
            DwarfCursor c = at(record, limit);
            c.sleb();
            const uint64_t next = c.offset();
            const int64_t displacement = c.sleb();
            end = std::max(end, c.offset());
            if (displacement == 0)
                break;
            const uint64_t target = next + uint64_t(displacement);
            if (target < start || target >= limit)
                return false;
            record = target;
        }
    }
    return true;
}

// One area from `offset`; returns its end, or 0 when the walk must stop.
uint64_t ExceptionTableReader::printArea(TextLine& out, uint64_t offset)
{
    const uint64_t size = s_.size;
    DwarfCursor c = at(offset, size);
    const uint8_t lpStartEncoding = c.u8();
    if (lpStartEncoding != PE::omit)
        out.str("LPStart 0x").hexLower(uint32_t(PE::read(c, lpStartEncoding, s_.addressSize, bases_))).ch('\n');
    const uint8_t typeEncoding = c.u8();
    const bool hasTypes = typeEncoding != PE::omit;
    uint64_t typesEnd = 0;
    if (hasTypes) {
        const uint64_t length = c.uleb();
        if (length > c.left())
            return 0;
        typesEnd = c.offset() + length;
    }
    const uint8_t callSiteEncoding = c.u8();
    const uint64_t callSitesLength = c.uleb();
    if (callSitesLength > c.left())
        return 0;
    const uint64_t callSitesEnd = c.offset() + callSitesLength;
    if (hasTypes && typesEnd < callSitesEnd)
        return 0;

    // Every call site reads at least its action's byte, so the loop ends.
    std::vector<uint64_t> actions;
    DwarfCursor sites = at(c.offset(), callSitesEnd);
    while (!sites.atEnd()) {
        const uint64_t start = PE::read(sites, callSiteEncoding, s_.addressSize, bases_);
        const uint64_t length = PE::read(sites, callSiteEncoding, s_.addressSize, bases_);
        const uint64_t landingPad = PE::read(sites, callSiteEncoding, s_.addressSize, bases_);
        const uint64_t action = sites.uleb();
        out.str("start ").dec(int32_t(start)).str(" length ").dec(int32_t(length));
        out.str(" landingPad ").dec(int32_t(landingPad)).str(" action ").dec(int32_t(action)).ch('\n');
        if (action)
            actions.push_back(action);
    }

    const uint64_t actionsLimit = hasTypes ? typesEnd : size;
    uint64_t actionsEnd = callSitesEnd;
    if (!followActions(actions, callSitesEnd, actionsLimit, actionsEnd))
        return 0;
    // The records in table order; the filters say how much of the other tables is used.
    int64_t types = 0;
    std::vector<uint64_t> throwLists;
    for (DwarfCursor a = at(callSitesEnd, actionsEnd); !a.atEnd();) {
        const int64_t filter = a.sleb();
        a.sleb();
        out.str("action type filter ").dec(int32_t(filter)).ch('\n');
        if (filter > 0)
            types = std::max(types, filter);
        else if (filter < 0)
            throwLists.push_back(uint64_t(-(filter + 1)));
    }
    uint64_t end = std::max(actionsEnd, typesEnd);
    if (!hasTypes)
        return end;

    // The lists of allowed exceptions (throw lists): their lists run from the end of the type table to
    // the terminator of the list that starts last.
    uint64_t lastList = 0;
    for (uint64_t s : throwLists)
        lastList = std::max(lastList, s);
    uint64_t throwListsEnd = typesEnd;
    if (!throwLists.empty()) {
        if (lastList >= size - typesEnd)
            return 0;
        DwarfCursor l = at(typesEnd, size);
        while (!l.atEnd()) {
            const uint64_t index = l.uleb();
            types = std::max(types, int64_t(index > uint64_t(INT64_MAX) ? INT64_MAX : index));
            if (index == 0 && l.offset() > typesEnd + lastList)
                break;
        }
        throwListsEnd = l.offset();
    }

    // Type entries are found by counting back from the end, so they need a fixed size.
    const unsigned entrySize = PE::minimumSize(typeEncoding, s_.addressSize);
    const bool fixedSize = entrySize && (typeEncoding & 0x0f) != 0x01 && (typeEncoding & 0x0f) != 0x09;
    bool fits = true;
    if (types > 0 && fixedSize) {
        if (uint64_t(types) > (typesEnd - actionsEnd) / entrySize) {
            types = int64_t((typesEnd - actionsEnd) / entrySize);
            fits = false;
        }
        for (int64_t i = 1; i <= types; ++i) {
            DwarfCursor t = at(typesEnd - uint64_t(i) * entrySize, typesEnd);
            out.str("type info 0x").hexLower(uint32_t(PE::read(t, typeEncoding, s_.addressSize, bases_))).ch('\n');
        }
    }
    for (DwarfCursor l = at(typesEnd, throwListsEnd); !l.atEnd();) {
        if (const uint64_t index = l.uleb())
            out.str("type index 0x").hexLower(uint32_t(index)).ch('\n');
    }
    end = std::max(end, throwListsEnd);
    return fits ? end : 0;
}

} // namespace

void printExceptionTable(TextLine& out, const FrameSection& section)
{
    ExceptionTableReader reader(section);
    reader.walk(out);
}
