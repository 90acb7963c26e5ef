#pragma once
#include <cstdint>

#include "dwarf/dwarfcursor.h"

// The DW_EH_PE pointer encodings of .eh_frame, .eh_frame_hdr and .gcc_except_table:
// a value format in the low four bits (how many bytes, signed or not) and an
// application in the high four (what the value is relative to).
namespace PointerEncoding {

// The augmentation of a CIE did not supply this encoding.
constexpr uint32_t notGiven = 0xFFFFFFFF;
// The value is not there at all.
constexpr uint32_t omit = 0xFF;

// The names the frame dumps print. Unknown formats and applications are written
// into one static buffer, so each name must be printed before the next is asked for.
const char* valueFormatName(uint32_t encoding);
const char* applicationName(uint32_t encoding);

// Bytes the value format takes at the least: 1 for the LEB128 forms, 0 for a format
// that is not known (and reads nothing).
unsigned minimumSize(uint32_t encoding, unsigned addressSize);

// The stored value, read by the value format alone; sign-extended for the signed
// formats. An unknown format (omit included) reads nothing and gives 0: without its
// size nothing after it can be found anyway, and the bounded cursor keeps going.
uint64_t readValue(DwarfCursor& c, uint32_t encoding, unsigned addressSize);

// What the applications are relative to. `section` is the address of the first
// byte of the data the cursor walks (its offset() is counted from there).
struct Bases {
    uint64_t section = 0;
    uint64_t data = 0;
};

// The value with its application: pcrel adds the address of the field itself,
// datarel adds the data base; the others (absolute, textrel, funcrel, aligned) add
// nothing, and the indirect bit is not followed. In a 32-bit file an address made
// by adding a base wraps at 32 bits.
uint64_t read(DwarfCursor& c, uint32_t encoding, unsigned addressSize, const Bases& bases);

} // namespace PointerEncoding
