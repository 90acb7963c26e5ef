#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

constexpr CodeName languages[] = {
    {0x0001, "DW_LANG_C89"},
    {0x0002, "DW_LANG_C"},
    {0x0003, "DW_LANG_Ada83"},
    {0x0004, "DW_LANG_C_plus_plus"},
    {0x0005, "DW_LANG_Cobol74"},
    {0x0006, "DW_LANG_Cobol85"},
    {0x0007, "DW_LANG_Fortran77"},
    {0x0008, "DW_LANG_Fortran90"},
    {0x0009, "DW_LANG_Pascal83"},
    {0x000a, "DW_LANG_Modula2"},
    {0x000b, "DW_LANG_Java"},
    {0x000c, "DW_LANG_C99"},
    {0x000d, "DW_LANG_Ada95"},
    {0x000e, "DW_LANG_Fortran95"},
    {0x000f, "DW_LANG_PLI"},
    {0x0010, "DW_LANG_ObjC"},
    {0x0011, "DW_LANG_ObjC_plus_plus"},
    {0x0012, "DW_LANG_UPC"},
    {0x0013, "DW_LANG_D"},
    {0x0014, "DW_LANG_Python"},
    {0x0015, "DW_LANG_OpenCL"},
    {0x0016, "DW_LANG_Go"},
    {0x0017, "DW_LANG_Modula3"},
    {0x0018, "DW_LANG_Haskell"},
    {0x0019, "DW_LANG_C_plus_plus_03"},
    {0x001a, "DW_LANG_C_plus_plus_11"},
    {0x001b, "DW_LANG_OCaml"},
    {0x001c, "DW_LANG_Rust"},
    {0x001d, "DW_LANG_C11"},
    {0x001e, "DW_LANG_Swift"},
    {0x001f, "DW_LANG_Julia"},
    {0x0020, "DW_LANG_Dylan"},
    {0x0021, "DW_LANG_C_plus_plus_14"},
    {0x0022, "DW_LANG_Fortran03"},
    {0x0023, "DW_LANG_Fortran08"},
    {0x0024, "DW_LANG_RenderScript"},
    {0x0025, "DW_LANG_BLISS"},
    // Registered since DWARF 5 was published; newer compilers already write
    // some of them. 0x29 was never assigned.
    {0x0026, "DW_LANG_Kotlin"},
    {0x0027, "DW_LANG_Zig"},
    {0x0028, "DW_LANG_Crystal"},
    {0x002a, "DW_LANG_C_plus_plus_17"},
    {0x002b, "DW_LANG_C_plus_plus_20"},
    {0x002c, "DW_LANG_C17"},
    {0x002d, "DW_LANG_Fortran18"},
    {0x002e, "DW_LANG_Ada2005"},
    {0x002f, "DW_LANG_Ada2012"},
    {0x0030, "DW_LANG_HIP"},
    {0x0031, "DW_LANG_Assembly"},
    {0x0032, "DW_LANG_C_sharp"},
    {0x0033, "DW_LANG_Mojo"},
    {0x0034, "DW_LANG_GLSL"},
    {0x0035, "DW_LANG_GLSL_ES"},
    {0x0036, "DW_LANG_HLSL"},
    {0x0037, "DW_LANG_OpenCL_CPP"},
    {0x0038, "DW_LANG_CPP_for_OpenCL"},
    {0x0039, "DW_LANG_SYCL"},
    {0x003a, "DW_LANG_C_plus_plus_23"},
    {0x003b, "DW_LANG_Odin"},
    {0x003c, "DW_LANG_P4"},
    {0x003d, "DW_LANG_Metal"},
    {0x003e, "DW_LANG_C23"},
    {0x003f, "DW_LANG_Fortran23"},
    {0x0040, "DW_LANG_Ruby"},
    {0x0041, "DW_LANG_Move"},
    {0x0042, "DW_LANG_Hylo"},
    {0x0043, "DW_LANG_V"},
    {0x0044, "DW_LANG_Algol68"},
    // Vendor range. GNU as marks its own units Mips_Assembler whatever the target.
    {0x8001, "DW_LANG_Mips_Assembler"},
    {0x8003, "DW_LANG_HP_Bliss"},
    {0x8004, "DW_LANG_HP_Basic91"},
    {0x8005, "DW_LANG_HP_Pascal91"},
    {0x8006, "DW_LANG_HP_IMacro"},
    {0x8007, "DW_LANG_HP_Assembler"},
    {0x8765, "DW_LANG_Upc"},
    {0x8e57, "DW_LANG_GOOGLE_RenderScript"},
    {0x9000, "DW_LANG_Rust_old"},
    {0x9001, "DW_LANG_SUN_Assembler"},
    {0x9101, "DW_LANG_ALTIUM_Assembler"},
    {0xb000, "DW_LANG_BORLAND_Delphi"},
};
static_assert(detail::strictlyIncreasing(languages));

} // namespace

const char* language(uint32_t code)
{
    return detail::lookup(languages, code, "DW_LANG");
}

} // namespace DwarfNames
