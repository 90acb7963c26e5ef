#pragma once
#include <cstdint>

// Names of DWARF codes as the standard spells them, the vendor codes of its tables
// included. An unknown code gives "unexpected DW_XXX 0x<code>" in one shared buffer
// that the next unknown code overwrites.
namespace DwarfNames {

const char* tag(uint32_t code);               // DW_TAG_*
const char* attribute(uint32_t code);         // DW_AT_*
const char* form(uint32_t code);              // DW_FORM_*
const char* language(uint32_t code);          // DW_LANG_*
const char* baseTypeEncoding(uint32_t code);  // DW_ATE_*
const char* accessibility(uint32_t code);     // DW_ACCESS_*
const char* virtuality(uint32_t code);        // DW_VIRTUALITY_*
const char* visibility(uint32_t code);        // DW_VIS_*
const char* identifierCase(uint32_t code);    // DW_ID_*
const char* callingConvention(uint32_t code); // DW_CC_*
const char* inlineCode(uint32_t code);        // DW_INL_*
const char* ordering(uint32_t code);          // DW_ORD_*
const char* discriminant(uint32_t code);      // DW_DSC_*
const char* lineStandardOpcode(uint32_t code);  // DW_LNS_*
const char* lineExtendedOpcode(uint32_t code);  // DW_LNE_*
const char* lineContentType(uint32_t code);     // DW_LNCT_*
const char* macroOpcode(uint32_t code);         // DW_MACRO_*
const char* macinfoOpcode(uint32_t code);       // DW_MACINFO_*
const char* operation(uint32_t code);           // DW_OP_*
const char* locationListEntry(uint32_t code);   // DW_LLE_*
const char* rangeListEntry(uint32_t code);      // DW_RLE_*
const char* unitType(uint32_t code);            // DW_UT_*
const char* callFrameInstruction(uint32_t code); // DW_CFA_*
const char* exceptionPointerEncoding(uint32_t code); // DW_EH_PE_* value formats and applications

} // namespace DwarfNames
