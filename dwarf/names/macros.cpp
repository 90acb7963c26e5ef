// Macro entry opcodes: .debug_macro (DWARF 5, and GCC's version 4 extension of it)
// and the older .debug_macinfo.
#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

// GCC's version 4 .debug_macro uses the same opcodes 0x01..0x0a under
// DW_MACRO_GNU_* names (define_indirect for define_strp, transparent_include for
// import, the _alt ones for _sup). A code alone cannot tell the two apart, and the
// entries mean the same, so the standard names serve both.
constexpr CodeName macroOpcodes[] = {
    {0x01, "DW_MACRO_define"},
    {0x02, "DW_MACRO_undef"},
    {0x03, "DW_MACRO_start_file"},
    {0x04, "DW_MACRO_end_file"},
    {0x05, "DW_MACRO_define_strp"},
    {0x06, "DW_MACRO_undef_strp"},
    {0x07, "DW_MACRO_import"},
    {0x08, "DW_MACRO_define_sup"},
    {0x09, "DW_MACRO_undef_sup"},
    {0x0a, "DW_MACRO_import_sup"},
    {0x0b, "DW_MACRO_define_strx"},
    {0x0c, "DW_MACRO_undef_strx"},
};
static_assert(detail::strictlyIncreasing(macroOpcodes));

constexpr CodeName macinfoOpcodes[] = {
    {0x01, "DW_MACINFO_define"},
    {0x02, "DW_MACINFO_undef"},
    {0x03, "DW_MACINFO_start_file"},
    {0x04, "DW_MACINFO_end_file"},
    {0xff, "DW_MACINFO_vendor_ext"},
};
static_assert(detail::strictlyIncreasing(macinfoOpcodes));

} // namespace

const char* macroOpcode(uint32_t code)
{
    return detail::lookup(macroOpcodes, code, "DW_MACRO");
}

const char* macinfoOpcode(uint32_t code)
{
    return detail::lookup(macinfoOpcodes, code, "DW_MACINFO");
}

} // namespace DwarfNames
