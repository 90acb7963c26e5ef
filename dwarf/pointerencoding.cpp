#include "dwarf/pointerencoding.h"

#include <cstdio>

namespace PointerEncoding {
namespace {

enum : uint32_t {
    DW_EH_PE_absptr = 0x00,
    DW_EH_PE_uleb128 = 0x01,
    DW_EH_PE_udata2 = 0x02,
    DW_EH_PE_udata4 = 0x03,
    DW_EH_PE_udata8 = 0x04,
    DW_EH_PE_sleb128 = 0x09,
    DW_EH_PE_sdata2 = 0x0a,
    DW_EH_PE_sdata4 = 0x0b,
    DW_EH_PE_sdata8 = 0x0c,
    DW_EH_PE_pcrel = 0x10,
    DW_EH_PE_datarel = 0x30,
};

// One buffer for both unexpected texts: the dumps print each name as soon as it is made.
char unexpectedText[1024];

const char* unexpected(const char* what, uint32_t encoding)
{
    snprintf(unexpectedText, sizeof unexpectedText, "unexpected %s 0x%x", what, encoding);
    return unexpectedText;
}

} // namespace

const char* valueFormatName(uint32_t encoding)
{
    switch (encoding & 0x0f) {
    case DW_EH_PE_absptr: return "DW_EH_PE_absptr";
    case DW_EH_PE_uleb128: return "DW_EH_PE_uleb128";
    case DW_EH_PE_udata2: return "DW_EH_PE_udata2";
    case DW_EH_PE_udata4: return "DW_EH_PE_udata4";
    case DW_EH_PE_udata8: return "DW_EH_PE_udata8";
    case DW_EH_PE_sleb128: return "DW_EH_PE_sleb128";
    case DW_EH_PE_sdata2: return "DW_EH_PE_sdata2";
    case DW_EH_PE_sdata4: return "DW_EH_PE_sdata4";
    case DW_EH_PE_sdata8: return "DW_EH_PE_sdata8";
    default: return unexpected("DW_EH_PE_value", encoding);
    }
}

// The whole high nibble is compared, so an indirect pointer (bit 7) is never one of
// the named applications, and neither is a plain absolute one (0x00): both print as
// unexpected with the whole byte, which shows exactly what the encoding was.
const char* applicationName(uint32_t encoding)
{
    switch (encoding & ~0x0fu) {
    case 0x10: return "DW_EH_PE_pcrel";
    case 0x20: return "DW_EH_PE_textrel";
    case 0x30: return "DW_EH_PE_datarel";
    case 0x40: return "DW_EH_PE_funcrel";
    case 0x50: return "DW_EH_PE_aligned";
    default: return unexpected("DW_EH_PE_format", encoding);
    }
}

unsigned minimumSize(uint32_t encoding, unsigned addressSize)
{
    if (encoding == notGiven)
        return 0;
    switch (encoding & 0x0f) {
    case DW_EH_PE_absptr: return addressSize;
    case DW_EH_PE_uleb128:
    case DW_EH_PE_sleb128: return 1;
    case DW_EH_PE_udata2:
    case DW_EH_PE_sdata2: return 2;
    case DW_EH_PE_udata4:
    case DW_EH_PE_sdata4: return 4;
    case DW_EH_PE_udata8:
    case DW_EH_PE_sdata8: return 8;
    default: return 0;
    }
}

uint64_t readValue(DwarfCursor& c, uint32_t encoding, unsigned addressSize)
{
    // notGiven is no byte at all: its low nibble must not read as a format.
    if (encoding == notGiven)
        return 0;
    switch (encoding & 0x0f) {
    case DW_EH_PE_absptr: return c.fixed(addressSize);
    case DW_EH_PE_uleb128: return c.uleb();
    case DW_EH_PE_udata2: return c.u16();
    case DW_EH_PE_udata4: return c.u32();
    case DW_EH_PE_udata8: return c.u64();
    case DW_EH_PE_sleb128: return uint64_t(c.sleb());
    case DW_EH_PE_sdata2: return uint64_t(int64_t(int16_t(c.u16())));
    case DW_EH_PE_sdata4: return uint64_t(int64_t(int32_t(c.u32())));
    case DW_EH_PE_sdata8: return c.u64();
    default: return 0;
    }
}

uint64_t read(DwarfCursor& c, uint32_t encoding, unsigned addressSize, const Bases& bases)
{
    const uint64_t field = bases.section + c.offset();
    if (minimumSize(encoding, addressSize) == 0)
        return 0;
    uint64_t value = readValue(c, encoding, addressSize);
    uint64_t base = 0;
    switch (encoding & 0x70) {
    case DW_EH_PE_pcrel: base = field; break;
    case DW_EH_PE_datarel: base = bases.data; break;
    default: return value;
    }
    value += base;
    return addressSize == 4 ? uint32_t(value) : value;
}

} // namespace PointerEncoding
