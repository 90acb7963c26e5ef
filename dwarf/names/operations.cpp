// Location expression operations.
#include "dwarf/dwarfnames.h"
#include "dwarf/names/unknown.h"

namespace DwarfNames {
namespace {

using detail::CodeName;

// DW_OP_lit0..31, DW_OP_reg0..31 and DW_OP_breg0..31 are runs of 32 codes whose
// names differ only in the number; they are built once at compile time rather
// than written out 96 times.
struct NumberedRun {
    uint32_t first;
    char names[32][16];
};

constexpr NumberedRun numberedRun(uint32_t first, const char* prefix)
{
    NumberedRun run{first, {}};
    for (int n = 0; n < 32; ++n) {
        char* out = run.names[n];
        int len = 0;
        for (const char* p = prefix; *p; ++p)
            out[len++] = *p;
        if (n >= 10)
            out[len++] = char('0' + n / 10);
        out[len++] = char('0' + n % 10);
        out[len] = '\0';
    }
    return run;
}

constexpr NumberedRun numberedRuns[] = {
    numberedRun(0x30, "DW_OP_lit"),
    numberedRun(0x50, "DW_OP_reg"),
    numberedRun(0x70, "DW_OP_breg"),
};

constexpr CodeName operations[] = {
    {0x03, "DW_OP_addr"},
    {0x06, "DW_OP_deref"},
    {0x08, "DW_OP_const1u"},
    {0x09, "DW_OP_const1s"},
    {0x0a, "DW_OP_const2u"},
    {0x0b, "DW_OP_const2s"},
    {0x0c, "DW_OP_const4u"},
    {0x0d, "DW_OP_const4s"},
    {0x0e, "DW_OP_const8u"},
    {0x0f, "DW_OP_const8s"},
    {0x10, "DW_OP_constu"},
    {0x11, "DW_OP_consts"},
    {0x12, "DW_OP_dup"},
    {0x13, "DW_OP_drop"},
    {0x14, "DW_OP_over"},
    {0x15, "DW_OP_pick"},
    {0x16, "DW_OP_swap"},
    {0x17, "DW_OP_rot"},
    {0x18, "DW_OP_xderef"},
    {0x19, "DW_OP_abs"},
    {0x1a, "DW_OP_and"},
    {0x1b, "DW_OP_div"},
    {0x1c, "DW_OP_minus"},
    {0x1d, "DW_OP_mod"},
    {0x1e, "DW_OP_mul"},
    {0x1f, "DW_OP_neg"},
    {0x20, "DW_OP_not"},
    {0x21, "DW_OP_or"},
    {0x22, "DW_OP_plus"},
    {0x23, "DW_OP_plus_uconst"},
    {0x24, "DW_OP_shl"},
    {0x25, "DW_OP_shr"},
    {0x26, "DW_OP_shra"},
    {0x27, "DW_OP_xor"},
    {0x28, "DW_OP_bra"},
    {0x29, "DW_OP_eq"},
    {0x2a, "DW_OP_ge"},
    {0x2b, "DW_OP_gt"},
    {0x2c, "DW_OP_le"},
    {0x2d, "DW_OP_lt"},
    {0x2e, "DW_OP_ne"},
    {0x2f, "DW_OP_skip"},
    // 0x30..0x8f: the numbered runs above.
    {0x90, "DW_OP_regx"},
    {0x91, "DW_OP_fbreg"},
    {0x92, "DW_OP_bregx"},
    {0x93, "DW_OP_piece"},
    {0x94, "DW_OP_deref_size"},
    {0x95, "DW_OP_xderef_size"},
    {0x96, "DW_OP_nop"},
    {0x97, "DW_OP_push_object_address"},
    {0x98, "DW_OP_call2"},
    {0x99, "DW_OP_call4"},
    {0x9a, "DW_OP_call_ref"},
    {0x9b, "DW_OP_form_tls_address"},
    {0x9c, "DW_OP_call_frame_cfa"},
    {0x9d, "DW_OP_bit_piece"},
    {0x9e, "DW_OP_implicit_value"},
    {0x9f, "DW_OP_stack_value"},
    {0xa0, "DW_OP_implicit_pointer"},
    {0xa1, "DW_OP_addrx"},
    {0xa2, "DW_OP_constx"},
    {0xa3, "DW_OP_entry_value"},
    {0xa4, "DW_OP_const_type"},
    {0xa5, "DW_OP_regval_type"},
    {0xa6, "DW_OP_deref_type"},
    {0xa7, "DW_OP_xderef_type"},
    {0xa8, "DW_OP_convert"},
    {0xa9, "DW_OP_reinterpret"},
    // Vendor range. GCC still writes the GNU forms of the DWARF 5 operations
    // (entry_value, implicit_pointer, ...) when asked for DWARF 4 or older.
    {0xe0, "DW_OP_GNU_push_tls_address"},
    {0xe1, "DW_OP_HP_is_value"},
    {0xe2, "DW_OP_HP_fltconst4"},
    {0xe3, "DW_OP_HP_fltconst8"},
    {0xe4, "DW_OP_HP_mod_range"},
    {0xe5, "DW_OP_HP_unmod_range"},
    {0xe6, "DW_OP_HP_tls"},
    {0xe8, "DW_OP_INTEL_bit_piece"},
    {0xed, "DW_OP_WASM_location"},
    {0xee, "DW_OP_WASM_location_int"},
    {0xf0, "DW_OP_GNU_uninit"},
    {0xf1, "DW_OP_GNU_encoded_addr"},
    {0xf2, "DW_OP_GNU_implicit_pointer"},
    {0xf3, "DW_OP_GNU_entry_value"},
    {0xf4, "DW_OP_GNU_const_type"},
    {0xf5, "DW_OP_GNU_regval_type"},
    {0xf6, "DW_OP_GNU_deref_type"},
    {0xf7, "DW_OP_GNU_convert"},
    {0xf8, "DW_OP_PGI_omp_thread_num"},
    {0xf9, "DW_OP_GNU_reinterpret"},
    {0xfa, "DW_OP_GNU_parameter_ref"},
    {0xfb, "DW_OP_GNU_addr_index"},
    {0xfc, "DW_OP_GNU_const_index"},
    {0xfd, "DW_OP_GNU_variable_value"},
};
static_assert(detail::strictlyIncreasing(operations));

} // namespace

const char* operation(uint32_t code)
{
    for (const NumberedRun& run : numberedRuns) {
        if (code - run.first < 32)
            return run.names[code - run.first];
    }
    return detail::lookup(operations, code, "DW_OP");
}

} // namespace DwarfNames
