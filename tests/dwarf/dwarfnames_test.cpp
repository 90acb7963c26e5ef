#include <gtest/gtest.h>

#include <string>

#include "dwarf/dwarfnames.h"

// Codes at the edges of each table and of the computed ranges, and vendor codes
// that GCC, clang and GNU as write for Cortex-M builds. dwarfnames_llvm_test.py
// holds every name against llvm-dwarfdump and readelf; these pin down what those
// tools cannot show: the computed runs, the call frame and pointer encoding rules,
// and the text for unknown codes.

namespace {

using NameFunction = const char* (*)(uint32_t);

struct NameCase {
    const char* family;
    NameFunction function;
    uint32_t code;
    const char* name;
};

const NameCase knownCodes[] = {
    {"tag", DwarfNames::tag, 0x01, "DW_TAG_array_type"},
    {"tag", DwarfNames::tag, 0x11, "DW_TAG_compile_unit"},
    {"tag", DwarfNames::tag, 0x4b, "DW_TAG_immutable_type"},
    {"tag", DwarfNames::tag, 0x4109, "DW_TAG_GNU_call_site"},
    {"tag", DwarfNames::tag, 0x410a, "DW_TAG_GNU_call_site_parameter"},
    {"tag", DwarfNames::tag, 0xb004, "DW_TAG_BORLAND_Delphi_variant"},
    {"attribute", DwarfNames::attribute, 0x01, "DW_AT_sibling"},
    {"attribute", DwarfNames::attribute, 0x8c, "DW_AT_loclists_base"},
    {"attribute", DwarfNames::attribute, 0x2007, "DW_AT_MIPS_linkage_name"},
    {"attribute", DwarfNames::attribute, 0x2111, "DW_AT_GNU_call_site_value"},
    {"attribute", DwarfNames::attribute, 0x2117, "DW_AT_GNU_all_call_sites"},
    {"attribute", DwarfNames::attribute, 0x2119, "DW_AT_GNU_macros"},
    {"attribute", DwarfNames::attribute, 0x2137, "DW_AT_GNU_locviews"},
    {"attribute", DwarfNames::attribute, 0x2138, "DW_AT_GNU_entry_view"},
    {"attribute", DwarfNames::attribute, 0x3fef, "DW_AT_APPLE_sdk"},
    {"form", DwarfNames::form, 0x01, "DW_FORM_addr"},
    {"form", DwarfNames::form, 0x2c, "DW_FORM_addrx4"},
    {"form", DwarfNames::form, 0x1f01, "DW_FORM_GNU_addr_index"},
    {"form", DwarfNames::form, 0x1f02, "DW_FORM_GNU_str_index"},
    {"form", DwarfNames::form, 0x1f20, "DW_FORM_GNU_ref_alt"},
    {"form", DwarfNames::form, 0x1f21, "DW_FORM_GNU_strp_alt"},
    {"language", DwarfNames::language, 0x0c, "DW_LANG_C99"},
    {"language", DwarfNames::language, 0x1d, "DW_LANG_C11"},
    {"language", DwarfNames::language, 0x2c, "DW_LANG_C17"},
    {"language", DwarfNames::language, 0x8001, "DW_LANG_Mips_Assembler"},
    {"baseTypeEncoding", DwarfNames::baseTypeEncoding, 0x06, "DW_ATE_signed_char"},
    {"baseTypeEncoding", DwarfNames::baseTypeEncoding, 0x10, "DW_ATE_UTF"},
    {"baseTypeEncoding", DwarfNames::baseTypeEncoding, 0x12, "DW_ATE_ASCII"},
    {"accessibility", DwarfNames::accessibility, 1, "DW_ACCESS_public"},
    {"accessibility", DwarfNames::accessibility, 3, "DW_ACCESS_private"},
    {"virtuality", DwarfNames::virtuality, 0, "DW_VIRTUALITY_none"},
    {"virtuality", DwarfNames::virtuality, 2, "DW_VIRTUALITY_pure_virtual"},
    {"visibility", DwarfNames::visibility, 3, "DW_VIS_qualified"},
    {"identifierCase", DwarfNames::identifierCase, 0, "DW_ID_case_sensitive"},
    {"callingConvention", DwarfNames::callingConvention, 1, "DW_CC_normal"},
    {"callingConvention", DwarfNames::callingConvention, 5, "DW_CC_pass_by_value"},
    {"callingConvention", DwarfNames::callingConvention, 0xc4, "DW_CC_LLVM_AAPCS_VFP"},
    {"inlineCode", DwarfNames::inlineCode, 3, "DW_INL_declared_inlined"},
    {"ordering", DwarfNames::ordering, 1, "DW_ORD_col_major"},
    {"discriminant", DwarfNames::discriminant, 1, "DW_DSC_range"},
    {"lineStandardOpcode", DwarfNames::lineStandardOpcode, 1, "DW_LNS_copy"},
    {"lineStandardOpcode", DwarfNames::lineStandardOpcode, 12, "DW_LNS_set_isa"},
    {"lineExtendedOpcode", DwarfNames::lineExtendedOpcode, 4, "DW_LNE_set_discriminator"},
    {"lineContentType", DwarfNames::lineContentType, 5, "DW_LNCT_MD5"},
    {"lineContentType", DwarfNames::lineContentType, 0x2001, "DW_LNCT_LLVM_source"},
    {"macroOpcode", DwarfNames::macroOpcode, 5, "DW_MACRO_define_strp"},
    {"macroOpcode", DwarfNames::macroOpcode, 0x0c, "DW_MACRO_undef_strx"},
    {"macinfoOpcode", DwarfNames::macinfoOpcode, 0xff, "DW_MACINFO_vendor_ext"},
    // The three computed runs, their ends and their neighbours.
    {"operation", DwarfNames::operation, 0x2f, "DW_OP_skip"},
    {"operation", DwarfNames::operation, 0x30, "DW_OP_lit0"},
    {"operation", DwarfNames::operation, 0x3a, "DW_OP_lit10"},
    {"operation", DwarfNames::operation, 0x4f, "DW_OP_lit31"},
    {"operation", DwarfNames::operation, 0x50, "DW_OP_reg0"},
    {"operation", DwarfNames::operation, 0x5d, "DW_OP_reg13"},
    {"operation", DwarfNames::operation, 0x6f, "DW_OP_reg31"},
    {"operation", DwarfNames::operation, 0x70, "DW_OP_breg0"},
    {"operation", DwarfNames::operation, 0x8f, "DW_OP_breg31"},
    {"operation", DwarfNames::operation, 0x90, "DW_OP_regx"},
    {"operation", DwarfNames::operation, 0xa9, "DW_OP_reinterpret"},
    {"operation", DwarfNames::operation, 0xe0, "DW_OP_GNU_push_tls_address"},
    {"operation", DwarfNames::operation, 0xf3, "DW_OP_GNU_entry_value"},
    {"operation", DwarfNames::operation, 0xfd, "DW_OP_GNU_variable_value"},
    {"locationListEntry", DwarfNames::locationListEntry, 0, "DW_LLE_end_of_list"},
    {"locationListEntry", DwarfNames::locationListEntry, 9, "DW_LLE_GNU_view_pair"},
    {"rangeListEntry", DwarfNames::rangeListEntry, 7, "DW_RLE_start_length"},
    {"unitType", DwarfNames::unitType, 6, "DW_UT_split_type"},
    // A primary call frame instruction keeps its operand in the low six bits.
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x00, "DW_CFA_nop"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x16, "DW_CFA_val_expression"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x1d, "DW_CFA_MIPS_advance_loc8"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x2d, "DW_CFA_GNU_window_save"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x2e, "DW_CFA_GNU_args_size"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x2f, "DW_CFA_GNU_negative_offset_extended"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x40, "DW_CFA_advance_loc"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x7f, "DW_CFA_advance_loc"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x80, "DW_CFA_offset"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x8e, "DW_CFA_offset"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0xbf, "DW_CFA_offset"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0xc0, "DW_CFA_restore"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0xff, "DW_CFA_restore"},
    // An encoding byte is named by its value format; the application bits do not
    // change the name, and 0xff means no value.
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x00, "DW_EH_PE_absptr"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x01, "DW_EH_PE_uleb128"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x0c, "DW_EH_PE_sdata8"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x1b, "DW_EH_PE_sdata4"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x9b, "DW_EH_PE_sdata4"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x30, "DW_EH_PE_absptr"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0xff, "DW_EH_PE_omit"},
};

const NameCase unknownCodes[] = {
    {"tag", DwarfNames::tag, 0x9999, "unexpected DW_TAG 0x9999"},
    {"tag", DwarfNames::tag, 0, "unexpected DW_TAG 0x0"},
    {"tag", DwarfNames::tag, 0x4c, "unexpected DW_TAG 0x4c"},
    {"attribute", DwarfNames::attribute, 0x3ffe, "unexpected DW_AT 0x3ffe"},
    {"attribute", DwarfNames::attribute, 0xffffffff, "unexpected DW_AT 0xffffffff"},
    {"form", DwarfNames::form, 0x02, "unexpected DW_FORM 0x2"},
    {"form", DwarfNames::form, 0x2d, "unexpected DW_FORM 0x2d"},
    {"language", DwarfNames::language, 0x29, "unexpected DW_LANG 0x29"},
    {"baseTypeEncoding", DwarfNames::baseTypeEncoding, 0x13, "unexpected DW_ATE 0x13"},
    {"accessibility", DwarfNames::accessibility, 0, "unexpected DW_ACCESS 0x0"},
    {"virtuality", DwarfNames::virtuality, 3, "unexpected DW_VIRTUALITY 0x3"},
    {"visibility", DwarfNames::visibility, 4, "unexpected DW_VIS 0x4"},
    {"identifierCase", DwarfNames::identifierCase, 4, "unexpected DW_ID 0x4"},
    {"callingConvention", DwarfNames::callingConvention, 0, "unexpected DW_CC 0x0"},
    {"inlineCode", DwarfNames::inlineCode, 4, "unexpected DW_INL 0x4"},
    {"ordering", DwarfNames::ordering, 2, "unexpected DW_ORD 0x2"},
    {"discriminant", DwarfNames::discriminant, 2, "unexpected DW_DSC 0x2"},
    {"lineStandardOpcode", DwarfNames::lineStandardOpcode, 0, "unexpected DW_LNS 0x0"},
    {"lineStandardOpcode", DwarfNames::lineStandardOpcode, 13, "unexpected DW_LNS 0xd"},
    {"lineExtendedOpcode", DwarfNames::lineExtendedOpcode, 5, "unexpected DW_LNE 0x5"},
    {"lineContentType", DwarfNames::lineContentType, 6, "unexpected DW_LNCT 0x6"},
    {"macroOpcode", DwarfNames::macroOpcode, 0x0d, "unexpected DW_MACRO 0xd"},
    {"macinfoOpcode", DwarfNames::macinfoOpcode, 5, "unexpected DW_MACINFO 0x5"},
    {"operation", DwarfNames::operation, 0x00, "unexpected DW_OP 0x0"},
    {"operation", DwarfNames::operation, 0xaa, "unexpected DW_OP 0xaa"},
    {"operation", DwarfNames::operation, 0x130, "unexpected DW_OP 0x130"},
    {"operation", DwarfNames::operation, 0xffffffff, "unexpected DW_OP 0xffffffff"},
    {"locationListEntry", DwarfNames::locationListEntry, 0x0a, "unexpected DW_LLE 0xa"},
    {"rangeListEntry", DwarfNames::rangeListEntry, 8, "unexpected DW_RLE 0x8"},
    {"unitType", DwarfNames::unitType, 0, "unexpected DW_UT 0x0"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x17, "unexpected DW_CFA 0x17"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x3f, "unexpected DW_CFA 0x3f"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x100, "unexpected DW_CFA 0x100"},
    {"callFrameInstruction", DwarfNames::callFrameInstruction, 0x140, "unexpected DW_CFA 0x140"},
    // Not a value format: the whole byte is reported, not only its low nibble.
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x05, "unexpected DW_EH_PE 0x5"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x1f, "unexpected DW_EH_PE 0x1f"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x7f, "unexpected DW_EH_PE 0x7f"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x100, "unexpected DW_EH_PE 0x100"},
    {"exceptionPointerEncoding", DwarfNames::exceptionPointerEncoding, 0x1ff, "unexpected DW_EH_PE 0x1ff"},
};

TEST(DwarfNames, KnownCodes)
{
    for (const NameCase& c : knownCodes)
        EXPECT_STREQ(c.function(c.code), c.name) << c.family << " 0x" << std::hex << c.code;
}

TEST(DwarfNames, UnknownCodes)
{
    for (const NameCase& c : unknownCodes)
        EXPECT_STREQ(c.function(c.code), c.name) << c.family << " 0x" << std::hex << c.code;
}

// All families write unknown codes into one buffer: the next unknown code, of
// whatever family, replaces the text, while known names stay valid.
TEST(DwarfNames, UnknownCodesShareOneBuffer)
{
    const char* known = DwarfNames::tag(0x34);
    const char* first = DwarfNames::tag(0x9999);
    ASSERT_STREQ(first, "unexpected DW_TAG 0x9999");
    const char* second = DwarfNames::callFrameInstruction(0x3e);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, "unexpected DW_CFA 0x3e");
    EXPECT_STREQ(DwarfNames::form(0x2d), "unexpected DW_FORM 0x2d");
    EXPECT_STREQ(second, "unexpected DW_FORM 0x2d");
    EXPECT_STREQ(known, "DW_TAG_variable");
    EXPECT_NE(known, first);
}

} // namespace
