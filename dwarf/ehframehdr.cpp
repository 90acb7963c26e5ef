// .eh_frame_hdr: where .eh_frame is, and the table of (initial location, FDE
// address) pairs that a runtime unwinder searches.
#include "dwarf/callframe.h"
#include "dwarf/dwarfcursor.h"
#include "dwarf/pointerencoding.h"
#include "qtx/textline.h"

namespace PE = PointerEncoding;

void printEhFrameHeader(QTx::TextLine& out, const FrameSection& s)
{
    DwarfCursor c(s.data, s.data + s.size, s.bigEndian);
    // pcrel is relative to each field, datarel to the start of this section.
    const PE::Bases bases{s.address, s.address};
    const uint8_t version = c.u8();
    const uint8_t framePointerEncoding = c.u8();
    const uint8_t countEncoding = c.u8();
    const uint8_t tableEncoding = c.u8();
    const uint64_t framePointer =
        framePointerEncoding == PE::omit ? 0 : PE::read(c, framePointerEncoding, s.addressSize, bases);
    out.str("\nversion: ").dec(version).str("\neh_frame_ptr: 0x").hex(framePointer).str("\nfde_count: ");
    if (countEncoding == PE::omit) {
        // No count, so no table to search either.
        out.str("0\n");
        return;
    }
    // The count is read with the table's encoding rather than its own. Where the
    // table is datarel the count shows the section's address added to it; the table
    // below is bounded by the bytes that are there, not by the count.
    const uint64_t count = PE::read(c, tableEncoding, s.addressSize, bases);
    out.dec(int64_t(count)).ch('\n');
    const unsigned entrySize = 2 * PE::minimumSize(tableEncoding, s.addressSize);
    if (entrySize == 0 || int64_t(count) <= 0)
        return;
    uint64_t entries = c.left() / entrySize;
    if (count < entries)
        entries = count;
    for (uint64_t i = 0; i < entries; ++i) {
        const uint64_t location = PE::read(c, tableEncoding, s.addressSize, bases);
        const uint64_t address = PE::read(c, tableEncoding, s.addressSize, bases);
        out.str("location 0x").hex(location).str(" address 0x").hex(address).ch('\n');
    }
}
