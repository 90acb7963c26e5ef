// Opcodes of the line-number programs and the content types of the DWARF 5
// directory and file tables.
#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

constexpr CodeName standardOpcodes[] = {
    {0x01, "DW_LNS_copy"},
    {0x02, "DW_LNS_advance_pc"},
    {0x03, "DW_LNS_advance_line"},
    {0x04, "DW_LNS_set_file"},
    {0x05, "DW_LNS_set_column"},
    {0x06, "DW_LNS_negate_stmt"},
    {0x07, "DW_LNS_set_basic_block"},
    {0x08, "DW_LNS_const_add_pc"},
    {0x09, "DW_LNS_fixed_advance_pc"},
    {0x0a, "DW_LNS_set_prologue_end"},
    {0x0b, "DW_LNS_set_epilogue_begin"},
    {0x0c, "DW_LNS_set_isa"},
};
static_assert(detail::strictlyIncreasing(standardOpcodes));

constexpr CodeName extendedOpcodes[] = {
    {0x01, "DW_LNE_end_sequence"},
    {0x02, "DW_LNE_set_address"},
    {0x03, "DW_LNE_define_file"},
    {0x04, "DW_LNE_set_discriminator"},
    {0x11, "DW_LNE_HP_negate_is_UV_update"},
    {0x12, "DW_LNE_HP_push_context"},
    {0x13, "DW_LNE_HP_pop_context"},
    {0x14, "DW_LNE_HP_set_file_line_column"},
    {0x15, "DW_LNE_HP_set_routine_name"},
    {0x16, "DW_LNE_HP_set_sequence"},
    {0x17, "DW_LNE_HP_negate_post_semantics"},
    {0x18, "DW_LNE_HP_negate_function_exit"},
    {0x19, "DW_LNE_HP_negate_front_end_logical"},
    {0x20, "DW_LNE_HP_define_proc"},
    {0x80, "DW_LNE_HP_source_file_correlation"},
};
static_assert(detail::strictlyIncreasing(extendedOpcodes));

constexpr CodeName contentTypes[] = {
    {0x01, "DW_LNCT_path"},
    {0x02, "DW_LNCT_directory_index"},
    {0x03, "DW_LNCT_timestamp"},
    {0x04, "DW_LNCT_size"},
    {0x05, "DW_LNCT_MD5"},
    // clang's embedded source text (-gembed-source).
    {0x2001, "DW_LNCT_LLVM_source"},
};
static_assert(detail::strictlyIncreasing(contentTypes));

} // namespace

const char* lineStandardOpcode(uint32_t code)
{
    return detail::lookup(standardOpcodes, code, "DW_LNS");
}

const char* lineExtendedOpcode(uint32_t code)
{
    return detail::lookup(extendedOpcodes, code, "DW_LNE");
}

const char* lineContentType(uint32_t code)
{
    return detail::lookup(contentTypes, code, "DW_LNCT");
}

} // namespace DwarfNames
