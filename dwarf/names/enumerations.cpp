// The small enumerations that attribute values take: base type encodings,
// accessibility, virtuality, visibility, identifier case, calling conventions,
// inlining, array ordering and discriminant descriptors.
#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

constexpr CodeName baseTypeEncodings[] = {
    {0x01, "DW_ATE_address"},
    {0x02, "DW_ATE_boolean"},
    {0x03, "DW_ATE_complex_float"},
    {0x04, "DW_ATE_float"},
    {0x05, "DW_ATE_signed"},
    {0x06, "DW_ATE_signed_char"},
    {0x07, "DW_ATE_unsigned"},
    {0x08, "DW_ATE_unsigned_char"},
    {0x09, "DW_ATE_imaginary_float"},
    {0x0a, "DW_ATE_packed_decimal"},
    {0x0b, "DW_ATE_numeric_string"},
    {0x0c, "DW_ATE_edited"},
    {0x0d, "DW_ATE_signed_fixed"},
    {0x0e, "DW_ATE_unsigned_fixed"},
    {0x0f, "DW_ATE_decimal_float"},
    {0x10, "DW_ATE_UTF"},
    {0x11, "DW_ATE_UCS"},
    {0x12, "DW_ATE_ASCII"},
    {0x80, "DW_ATE_HP_float80"},
    {0x81, "DW_ATE_HP_complex_float80"},
    {0x82, "DW_ATE_HP_float128"},
    {0x83, "DW_ATE_HP_complex_float128"},
    {0x84, "DW_ATE_HP_floathpintel"},
    {0x85, "DW_ATE_HP_imaginary_float80"},
    {0x86, "DW_ATE_HP_imaginary_float128"},
};
static_assert(detail::strictlyIncreasing(baseTypeEncodings));

constexpr CodeName accessibilities[] = {
    {0x01, "DW_ACCESS_public"},
    {0x02, "DW_ACCESS_protected"},
    {0x03, "DW_ACCESS_private"},
};
static_assert(detail::strictlyIncreasing(accessibilities));

constexpr CodeName virtualities[] = {
    {0x00, "DW_VIRTUALITY_none"},
    {0x01, "DW_VIRTUALITY_virtual"},
    {0x02, "DW_VIRTUALITY_pure_virtual"},
};
static_assert(detail::strictlyIncreasing(virtualities));

constexpr CodeName visibilities[] = {
    {0x01, "DW_VIS_local"},
    {0x02, "DW_VIS_exported"},
    {0x03, "DW_VIS_qualified"},
};
static_assert(detail::strictlyIncreasing(visibilities));

constexpr CodeName identifierCases[] = {
    {0x00, "DW_ID_case_sensitive"},
    {0x01, "DW_ID_up_case"},
    {0x02, "DW_ID_down_case"},
    {0x03, "DW_ID_case_insensitive"},
};
static_assert(detail::strictlyIncreasing(identifierCases));

constexpr CodeName callingConventions[] = {
    {0x01, "DW_CC_normal"},
    {0x02, "DW_CC_program"},
    {0x03, "DW_CC_nocall"},
    {0x04, "DW_CC_pass_by_reference"},
    {0x05, "DW_CC_pass_by_value"},
    {0x40, "DW_CC_GNU_renesas_sh"},
    {0x41, "DW_CC_GNU_borland_fastcall_i386"},
    {0xb0, "DW_CC_BORLAND_safecall"},
    {0xb1, "DW_CC_BORLAND_stdcall"},
    {0xb2, "DW_CC_BORLAND_pascal"},
    {0xb3, "DW_CC_BORLAND_msfastcall"},
    {0xb4, "DW_CC_BORLAND_msreturn"},
    {0xb5, "DW_CC_BORLAND_thiscall"},
    {0xb6, "DW_CC_BORLAND_fastcall"},
    // clang names a function's convention when it is not the target's default,
    // e.g. a function declared pcs("aapcs-vfp") in a soft-float build.
    {0xc0, "DW_CC_LLVM_vectorcall"},
    {0xc1, "DW_CC_LLVM_Win64"},
    {0xc2, "DW_CC_LLVM_X86_64SysV"},
    {0xc3, "DW_CC_LLVM_AAPCS"},
    {0xc4, "DW_CC_LLVM_AAPCS_VFP"},
    {0xc5, "DW_CC_LLVM_IntelOclBicc"},
    {0xc6, "DW_CC_LLVM_SpirFunction"},
    {0xc7, "DW_CC_LLVM_OpenCLKernel"},
    {0xc8, "DW_CC_LLVM_Swift"},
    {0xc9, "DW_CC_LLVM_PreserveMost"},
    {0xca, "DW_CC_LLVM_PreserveAll"},
    {0xcb, "DW_CC_LLVM_X86RegCall"},
    {0xff, "DW_CC_GDB_IBM_OpenCL"},
};
static_assert(detail::strictlyIncreasing(callingConventions));

constexpr CodeName inlineCodes[] = {
    {0x00, "DW_INL_not_inlined"},
    {0x01, "DW_INL_inlined"},
    {0x02, "DW_INL_declared_not_inlined"},
    {0x03, "DW_INL_declared_inlined"},
};
static_assert(detail::strictlyIncreasing(inlineCodes));

constexpr CodeName orderings[] = {
    {0x00, "DW_ORD_row_major"},
    {0x01, "DW_ORD_col_major"},
};
static_assert(detail::strictlyIncreasing(orderings));

constexpr CodeName discriminants[] = {
    {0x00, "DW_DSC_label"},
    {0x01, "DW_DSC_range"},
};
static_assert(detail::strictlyIncreasing(discriminants));

} // namespace

const char* baseTypeEncoding(uint32_t code)
{
    return detail::lookup(baseTypeEncodings, code, "DW_ATE");
}

const char* accessibility(uint32_t code)
{
    return detail::lookup(accessibilities, code, "DW_ACCESS");
}

const char* virtuality(uint32_t code)
{
    return detail::lookup(virtualities, code, "DW_VIRTUALITY");
}

const char* visibility(uint32_t code)
{
    return detail::lookup(visibilities, code, "DW_VIS");
}

const char* identifierCase(uint32_t code)
{
    return detail::lookup(identifierCases, code, "DW_ID");
}

const char* callingConvention(uint32_t code)
{
    return detail::lookup(callingConventions, code, "DW_CC");
}

const char* inlineCode(uint32_t code)
{
    return detail::lookup(inlineCodes, code, "DW_INL");
}

const char* ordering(uint32_t code)
{
    return detail::lookup(orderings, code, "DW_ORD");
}

const char* discriminant(uint32_t code)
{
    return detail::lookup(discriminants, code, "DW_DSC");
}

} // namespace DwarfNames
