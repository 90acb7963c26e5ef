#include <cstdio>
#include <string_view>

#include "elf/armattributes.h"

namespace ArmAttributeNames {

namespace {

struct TagName {
    uint32_t tag;
    const char* name;
};

// Numbers from the ARM build-attributes addendum.
constexpr TagName tagNames[] = {
    {1, "Tag_File"},
    {2, "Tag_Section"},
    {3, "Tag_Symbol"},
    {4, "Tag_CPU_raw_name"},
    {5, "Tag_CPU_name"},
    {6, "Tag_CPU_arch"},
    {7, "Tag_CPU_arch_profile"},
    {8, "Tag_ARM_ISA_use"},
    {9, "Tag_THUMB_ISA_use"},
    {10, "Tag_FP_arch"},
    {11, "Tag_WMMX_arch"},
    {12, "Tag_Advanced_SIMD_arch"},
    {13, "Tag_PCS_config"},
    {14, "Tag_ABI_PCS_R9_use"},
    {15, "Tag_ABI_PCS_RW_data"},
    {16, "Tag_ABI_PCS_RO_data"},
    {17, "Tag_ABI_PCS_GOT_use"},
    {18, "Tag_ABI_PCS_wchar_t"},
    {19, "Tag_ABI_FP_rounding"},
    {20, "Tag_ABI_FP_denormal"},
    {21, "Tag_ABI_FP_exceptions"},
    {22, "Tag_ABI_FP_user_exceptions"},
    {23, "Tag_ABI_FP_number_model"},
    {24, "Tag_ABI_align_needed"},
    {25, "Tag_ABI_align8_preserved"},
    {26, "Tag_ABI_enum_size"},
    {27, "Tag_ABI_HardFP_use"},
    {28, "Tag_ABI_VFP_args"},
    {29, "Tag_ABI_WMMX_args"},
    {30, "Tag_ABI_optimization_goals"},
    {31, "Tag_ABI_FP_optimization_goals"},
    {32, "Tag_compatibility"},
    {34, "Tag_CPU_unaligned_access"},
    {36, "Tag_FP_HP_extension"},
    {38, "Tag_ABI_FP_16bit_format"},
    {42, "Tag_MPextension_use"},
    {44, "Tag_DIV_use"},
    {46, "Tag_DSP_extension"},
    {48, "Tag_MVE_arch"},
    {64, "Tag_nodefaults"},
    {65, "Tag_also_compatible_with"},
    {66, "Tag_T2EE_use"},
    {67, "Tag_conformance"},
    {68, "Tag_Virtualization_use"},
    {70, "Tag_MPExtension_use"},
};

constexpr const char* cpuArchNames[] = {
    "Pre-v4",     "ARM v4",     "ARM v4T",    "ARM v5T",          "ARM v5TE",           "ARM v5TEJ",
    "ARM v6",     "ARM v6KZ",   "ARM v6T2",   "ARM v6K",          "ARM v7",             "ARM v6-M",
    "ARM v6S-M",  "ARM v7E-M",  "ARM v8-A",   "ARM v8-R",         "ARM v8-M Baseline",  "ARM v8-M Mainline",
    "ARM v8.1-A", "ARM v8.2-A", "ARM v8.3-A", "ARM v8.1-M Mainline",
};
constexpr const char* fpArchNames[] = {"VFPv1", "VFPv2", "VFPv3", "VFPv4", "FP for ARMv8", "FPv5/FP-D16 for ARMv8"};
constexpr const char* simdArchNames[] = {"NEONv1", "NEONv1 with Fused-MAC", "NEON for ARMv8", "NEON for ARMv8.1"};
constexpr const char* mveArchNames[] = {"No MVE", "MVE Integer only", "MVE Integer and FP"};

// A named value is followed by its number, since the names of the FP and SIMD
// generations are easy to misread.
template <size_t N>
std::string named(const char* const (&names)[N], uint64_t index, const char* unknown, uint64_t value)
{
    if (index < N)
        return std::string(names[index]) + " (" + std::to_string(value) + ")";
    char buf[64];
    snprintf(buf, sizeof buf, unknown, (long long)value);
    return buf;
}

} // namespace

std::string tagName(uint32_t tag)
{
    for (const TagName& t : tagNames) {
        if (t.tag == tag)
            return t.name;
    }
    char buf[32];
    snprintf(buf, sizeof buf, "unknown tag %u", tag);
    return buf;
}

bool takesString(uint32_t tag)
{
    // Below 32 only the two CPU names are strings; from 32 on, odd tags take strings.
    if (tag == Tag_CPU_raw_name || tag == Tag_CPU_name)
        return true;
    return tag > 32 && (tag & 1);
}

std::string valueText(uint32_t tag, uint64_t value)
{
    switch (tag) {
    case Tag_CPU_arch:
        return named(cpuArchNames, value, "unknown arch %lld", value);
    case Tag_FP_arch:
        // Named from 1 up; 0 has no name.
        return named(fpArchNames, value == 0 ? UINT64_MAX : value - 1, "unknown fp arch %lld", value);
    case Tag_Advanced_SIMD_arch:
        return named(simdArchNames, value == 0 ? UINT64_MAX : value - 1, "unknown simd arch %lld", value);
    case Tag_MVE_arch:
        return named(mveArchNames, value, "unknown mve arch %lld", value);
    default:
        return std::to_string(value);
    }
}

} // namespace ArmAttributeNames
