// What the floating-point unit of each architecture level has: VFPv2 with the
// ARMv5TE and ARMv6 cores, VFPv3/v4 with 32 doublewords and the Advanced SIMD moves
// from ARMv7, the ARMv8 forms, half precision, VJCVT and BFloat16 conversion with
// the ARMv8 levels; the M profile's FPv5 (16 doublewords, no Advanced SIMD) from
// ARMv7E-M, its lazy state saving from ARMv8-M mainline and the ARMv8.1-M additions.
// ARMv6-M, ARMv7-M and ARMv8-M baseline have no unit.
#include "disasm/armdecoder.h"

using ArmBits::bits;

bool ARMInstructionSetDecoder::vfpHas(int feature) const
{
    // One row per level: bit n set when the level has Vfp::Feature n.
    constexpr uint32_t vfpv2 = 1u << Vfp::Vfpv2;
    constexpr uint32_t vfpv4 = vfpv2 | 1u << Vfp::Vfpv3 | 1u << Vfp::D32 | 1u << Vfp::Simd;
    constexpr uint32_t armv8 = vfpv4 | 1u << Vfp::Armv8 | 1u << Vfp::HalfPrecision | 1u << Vfp::Javascript |
                               1u << Vfp::BFloat16;
    constexpr uint32_t fpv5 = vfpv2 | 1u << Vfp::Vfpv3 | 1u << Vfp::Armv8;
    constexpr uint32_t v8m = fpv5 | 1u << Vfp::LazyState;
    constexpr uint32_t v81m = v8m | 1u << Vfp::HalfPrecision | 1u << Vfp::Mainline81;
    uint32_t has;
    switch (architecture) {
    case ArmLevel::V4T:
    case ArmLevel::V5TE:
    case ArmLevel::V6:
    case ArmLevel::V6T2:
        has = vfpv2;
        break;
    case ArmLevel::V7R:
    case ArmLevel::V7A:
        has = vfpv4;
        break;
    case ArmLevel::V8A:
    case ArmLevel::V8R:
        has = armv8;
        break;
    case ArmLevel::V7EM:
        has = fpv5;
        break;
    case ArmLevel::V8MMainline:
        has = v8m;
        break;
    case ArmLevel::V81MMainline:
        has = v81m;
        break;
    case ArmLevel::V6M:
    case ArmLevel::V7M:
    case ArmLevel::V8MBaseline:
        has = 0;
        break;
    default:
        has = ~0u;
        break;
    }
    return (has >> feature) & 1;
}

bool ARMInstructionSetDecoder::vfpSystemRegisterExists(uint32_t reg) const
{
    switch (reg) {
    case 0: // FPSID
    case 1: // FPSCR
    case 6: // MVFR1
    case 7: // MVFR0
    case 8: // FPEXC
        return true;
    case 5: // MVFR2
        return vfpHas(Vfp::Armv8);
    case 2:  // FPSCR_nzcvqc
    case 12: // VPR
    case 13: // P0
    case 14: // FPCXT_NS
    case 15: // FPCXT_S
        // The M profile's, in Thumb only.
        return !isArm && vfpHas(Vfp::Mainline81);
    default:
        // 3, 4 and 9 to 11 are implementation defined: no assembler names them alike.
        return false;
    }
}

bool ARMInstructionSetDecoder::vfpConditionalHalf(uint32_t insn) const
{
    return isArm ? bits(insn, 31, 28) != 14 : inItBlock();
}
