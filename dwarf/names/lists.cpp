// Entry kinds of the DWARF 5 location and range lists, and unit header types.
#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

constexpr CodeName locationListEntries[] = {
    {0x00, "DW_LLE_end_of_list"},
    {0x01, "DW_LLE_base_addressx"},
    {0x02, "DW_LLE_startx_endx"},
    {0x03, "DW_LLE_startx_length"},
    {0x04, "DW_LLE_offset_pair"},
    {0x05, "DW_LLE_default_location"},
    {0x06, "DW_LLE_base_address"},
    {0x07, "DW_LLE_start_end"},
    {0x08, "DW_LLE_start_length"},
    // GCC's extension for location views kept in the list itself.
    {0x09, "DW_LLE_GNU_view_pair"},
};
static_assert(detail::strictlyIncreasing(locationListEntries));

constexpr CodeName rangeListEntries[] = {
    {0x00, "DW_RLE_end_of_list"},
    {0x01, "DW_RLE_base_addressx"},
    {0x02, "DW_RLE_startx_endx"},
    {0x03, "DW_RLE_startx_length"},
    {0x04, "DW_RLE_offset_pair"},
    {0x05, "DW_RLE_base_address"},
    {0x06, "DW_RLE_start_end"},
    {0x07, "DW_RLE_start_length"},
};
static_assert(detail::strictlyIncreasing(rangeListEntries));

constexpr CodeName unitTypes[] = {
    {0x01, "DW_UT_compile"},
    {0x02, "DW_UT_type"},
    {0x03, "DW_UT_partial"},
    {0x04, "DW_UT_skeleton"},
    {0x05, "DW_UT_split_compile"},
    {0x06, "DW_UT_split_type"},
};
static_assert(detail::strictlyIncreasing(unitTypes));

} // namespace

const char* locationListEntry(uint32_t code)
{
    return detail::lookup(locationListEntries, code, "DW_LLE");
}

const char* rangeListEntry(uint32_t code)
{
    return detail::lookup(rangeListEntries, code, "DW_RLE");
}

const char* unitType(uint32_t code)
{
    return detail::lookup(unitTypes, code, "DW_UT");
}

} // namespace DwarfNames
