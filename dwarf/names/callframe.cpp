// Call frame instructions of .debug_frame / .eh_frame, and the pointer encodings
// of .eh_frame and the exception tables.
#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

// Instructions whose high two bits are zero: the whole byte is the opcode.
constexpr CodeName extendedInstructions[] = {
    {0x00, "DW_CFA_nop"},
    {0x01, "DW_CFA_set_loc"},
    {0x02, "DW_CFA_advance_loc1"},
    {0x03, "DW_CFA_advance_loc2"},
    {0x04, "DW_CFA_advance_loc4"},
    {0x05, "DW_CFA_offset_extended"},
    {0x06, "DW_CFA_restore_extended"},
    {0x07, "DW_CFA_undefined"},
    {0x08, "DW_CFA_same_value"},
    {0x09, "DW_CFA_register"},
    {0x0a, "DW_CFA_remember_state"},
    {0x0b, "DW_CFA_restore_state"},
    {0x0c, "DW_CFA_def_cfa"},
    {0x0d, "DW_CFA_def_cfa_register"},
    {0x0e, "DW_CFA_def_cfa_offset"},
    {0x0f, "DW_CFA_def_cfa_expression"},
    {0x10, "DW_CFA_expression"},
    {0x11, "DW_CFA_offset_extended_sf"},
    {0x12, "DW_CFA_def_cfa_sf"},
    {0x13, "DW_CFA_def_cfa_offset_sf"},
    {0x14, "DW_CFA_val_offset"},
    {0x15, "DW_CFA_val_offset_sf"},
    {0x16, "DW_CFA_val_expression"},
    {0x1d, "DW_CFA_MIPS_advance_loc8"},
    // 0x2d is also AArch64's negate_ra_state; it never occurs in 32-bit Arm frames.
    {0x2d, "DW_CFA_GNU_window_save"},
    {0x2e, "DW_CFA_GNU_args_size"},
    {0x2f, "DW_CFA_GNU_negative_offset_extended"},
};
static_assert(detail::strictlyIncreasing(extendedInstructions));

// The value formats, the low nibble of an encoding byte.
constexpr CodeName valueFormats[] = {
    {0x00, "DW_EH_PE_absptr"},
    {0x01, "DW_EH_PE_uleb128"},
    {0x02, "DW_EH_PE_udata2"},
    {0x03, "DW_EH_PE_udata4"},
    {0x04, "DW_EH_PE_udata8"},
    {0x08, "DW_EH_PE_signed"},
    {0x09, "DW_EH_PE_sleb128"},
    {0x0a, "DW_EH_PE_sdata2"},
    {0x0b, "DW_EH_PE_sdata4"},
    {0x0c, "DW_EH_PE_sdata8"},
};
static_assert(detail::strictlyIncreasing(valueFormats));

} // namespace

// The primary instructions carry an operand in their low six bits, so a whole
// 64-code block has one name.
const char* callFrameInstruction(uint32_t code)
{
    switch (code >> 6) {
    case 0: return detail::lookup(extendedInstructions, code, "DW_CFA");
    case 1: return "DW_CFA_advance_loc";
    case 2: return "DW_CFA_offset";
    case 3: return "DW_CFA_restore";
    default: return detail::unexpected("DW_CFA", code);
    }
}

// An encoding byte is an application (pcrel, datarel, ... in bits 4..6, indirect in
// bit 7) added to a value format (bits 0..3). This names only the format, which is
// what decides how many bytes to read. 0xff is not a format and an application
// but DW_EH_PE_omit: no value follows at all.
const char* exceptionPointerEncoding(uint32_t code)
{
    if (code == 0xff)
        return "DW_EH_PE_omit";
    if (code > 0xff)
        return detail::unexpected("DW_EH_PE", code);
    // An unknown format is reported with the whole byte, not just its low nibble.
    const char* name = detail::find(valueFormats, code & 0x0f);
    return name ? name : detail::unexpected("DW_EH_PE", code);
}

} // namespace DwarfNames
