// Floating-point data processing of coprocessors 9 (half precision), 10 (single)
// and 11 (double): the conditional three-register, two-register and immediate groups,
// and the unconditional ARMv8 forms. Bits 27..0 are laid out alike in A32 and in
// 32-bit Thumb.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// Opcodes of the two-register group, opc2:o3.
enum TwoRegister {
    MovAbs = 0x0,       // 0000: vmov, vabs
    NegSqrt = 0x1,      // 0001: vneg, vsqrt
    FromHalf = 0x2,     // 0010: vcvtb/vcvtt from half precision
    ToHalf = 0x3,       // 0011: vcvtb/vcvtt to half precision (BFloat16 at size half)
    Compare = 0x4,      // 0100: vcmp, vcmpe
    CompareZero = 0x5,  // 0101: vcmp, vcmpe with #0
    RoundRZ = 0x6,      // 0110: vrintr, vrintz
    RoundXConvert = 0x7, // 0111: vrintx, vcvt between single and double
    FromInteger = 0x8,  // 1000: vcvt from a 32-bit integer
    Javascript = 0x9,   // 1001: vjcvt
    ToInteger = 0xC,    // 110x: vcvtr, vcvt to a 32-bit integer
};
} // namespace

bool ARMInstructionSetDecoder::decodeVfpData(uint32_t insn)
{
    const int size = int(bits(insn, 9, 8));
    const bool isDouble = size == Vfp::Double;
    const bool half = size == Vfp::Half;
    // Half precision is ARMv8.2's, and unpredictable when conditional; its one
    // exception is the BFloat16 conversion (opc2 0011), which has a feature of its own.
    const bool bfloat = half && bit(insn, 23) && bits(insn, 21, 20) == 3 && bits(insn, 19, 16) == 3 && bit(insn, 6);
    if (half && !bfloat && (!vfpHas(Vfp::HalfPrecision) || vfpConditionalHalf(insn)))
        return false;
    const int vd = vfpRegister(isDouble, bits(insn, 15, 12), bit(insn, 22));
    const int vn = vfpRegister(isDouble, bits(insn, 19, 16), bit(insn, 7));
    const int vm = vfpRegister(isDouble, bits(insn, 3, 0), bit(insn, 5));
    const uint32_t o1 = bit(insn, 23), o2 = bits(insn, 21, 20), o3 = bit(insn, 6);
    if (!(o1 && o2 == 3)) {
        const int op = int(o1 << 3 | o2 << 1 | o3);
        // o1:o2:o3 = 1:00:1 is unallocated; 1:01:x and 1:10:x are the fused forms of VFPv4.
        if (op == 9 || (op >= 10 && !vfpHas(Vfp::Vfpv3)) || !vfpRegisterExists(vd) || !vfpRegisterExists(vn) ||
            !vfpRegisterExists(vm))
            return false;
        emitVfpThreeRegister(op, size, vd, vn, vm);
        return true;
    }
    if (!o3) {
        // VMOV immediate (VFPv3): bits 7 and 5 are zero, the immediate is bits 19..16:3..0.
        if (bit(insn, 7) || bit(insn, 5) || !vfpHas(Vfp::Vfpv3) || !vfpRegisterExists(vd))
            return false;
        emitVfpImmediate(size, vd, int(bits(insn, 19, 16) << 4 | bits(insn, 3, 0)));
        return true;
    }
    const uint32_t opc2 = bits(insn, 19, 16), op7 = bit(insn, 7);
    // The operands whose kind differs from the element size.
    const int singleD = vfpRegister(false, bits(insn, 15, 12), bit(insn, 22));
    const int singleM = vfpRegister(false, bits(insn, 3, 0), bit(insn, 5));
    const int doubleD = vfpRegister(true, bits(insn, 15, 12), bit(insn, 22));
    int d = vd, m = vm, fbits = 0;
    switch (opc2) {
    case MovAbs:
        if (half && !op7) // no register move in half precision
            return false;
        break;
    case NegSqrt:
    case Compare:
        break;
    case CompareZero:
        if (bit(insn, 5) || bits(insn, 3, 0))
            return false;
        m = 0;
        break;
    case RoundRZ:
        if (!vfpHas(Vfp::Armv8))
            return false;
        break;
    case FromHalf:
        // To single from VFPv3's half-precision extension, to double from ARMv8.
        if (half || (isDouble && !vfpHas(Vfp::Armv8)))
            return false;
        m = singleM;
        break;
    case ToHalf:
        if ((half && !vfpHas(Vfp::BFloat16)) || (isDouble && !vfpHas(Vfp::Armv8)))
            return false;
        d = singleD;
        break;
    case RoundXConvert:
        if (op7) {
            // VCVT between single and double.
            if (half)
                return false;
            d = isDouble ? singleD : doubleD;
        } else if (!vfpHas(Vfp::Armv8)) { // VRINTX
            return false;
        }
        break;
    case FromInteger:
        m = singleM;
        break;
    case Javascript:
        if (!op7 || !isDouble || !vfpHas(Vfp::Javascript))
            return false;
        d = singleD;
        break;
    case ToInteger:
    case ToInteger | 1:
        d = singleD;
        break;
    default: {
        // Fixed point (opc2 1x1x, VFPv3): the register is both source and destination;
        // bit 7 picks a 32-bit or 16-bit fixed-point value, imm4:i the bits it keeps.
        const int imm = int(bits(insn, 3, 0) << 1 | bit(insn, 5));
        fbits = (op7 ? 32 : 16) - imm;
        // The assembler has no 16-bit fixed-point form of half precision.
        if ((opc2 & 0xA) != 0xA || fbits < 0 || (half && !op7) || !vfpHas(Vfp::Vfpv3))
            return false;
        m = d;
        break;
    }
    }
    if (!vfpRegisterExists(d) || !vfpRegisterExists(m))
        return false;
    emitVfpTwoRegister(int(opc2 << 1 | op7), size, d, m, fbits);
    return true;
}

bool ARMInstructionSetDecoder::decodeVfpV8(uint32_t insn)
{
    const int size = int(bits(insn, 9, 8));
    if (!vfpHas(Vfp::Armv8) || (size == Vfp::Half && !vfpHas(Vfp::HalfPrecision)))
        return false;
    const bool isDouble = size == Vfp::Double;
    const int vd = vfpRegister(isDouble, bits(insn, 15, 12), bit(insn, 22));
    const int vn = vfpRegister(isDouble, bits(insn, 19, 16), bit(insn, 7));
    const int vm = vfpRegister(isDouble, bits(insn, 3, 0), bit(insn, 5));
    const int singleD = vfpRegister(false, bits(insn, 15, 12), bit(insn, 22));
    // Only VSEL, VMAXNM and VMINNM have a second source; VCVTA..VCVTM (opc2 11xx)
    // write a single whatever the size.
    const bool twoSources = !bit(insn, 23) || bits(insn, 21, 20) == 0;
    const bool toInteger = !twoSources && (bits(insn, 19, 16) & 0xC) == 0xC;
    if (!vfpRegisterExists(toInteger ? singleD : vd) || (twoSources && !vfpRegisterExists(vn)) ||
        !vfpRegisterExists(vm))
        return false;
    const uint32_t op6 = bit(insn, 6);
    if (!bit(insn, 23)) {
        if (op6)
            return false;
        emitVfpV8(Vfp::Vsel, size, vd, vn, vm, int(bits(insn, 21, 20)));
        return true;
    }
    if (bits(insn, 21, 20) == 0) {
        emitVfpV8(op6 ? Vfp::Vminnm : Vfp::Vmaxnm, size, vd, vn, vm, 0);
        return true;
    }
    if (bits(insn, 21, 20) != 3 || !op6)
        return false;
    const uint32_t opc2 = bits(insn, 19, 16);
    if (opc2 == 0) {
        // VMOVX and VINS move half-precision values within single registers.
        if (size != Vfp::Single || !vfpHas(Vfp::HalfPrecision))
            return false;
        emitVfpV8(bit(insn, 7) ? Vfp::Vins : Vfp::Vmovx, size, vd, 0, vm, 0);
        return true;
    }
    if ((opc2 & 0xC) == 0x8) {
        if (bit(insn, 7))
            return false;
        emitVfpV8(Vfp::Vrinta + int(opc2 & 3), size, vd, 0, vm, 0);
        return true;
    }
    if ((opc2 & 0xC) == 0xC) {
        // The result is a 32-bit integer in a single register; bit 7 set: signed.
        emitVfpV8(Vfp::Vcvta + int(opc2 & 3), size, singleD, 0, vm, int(bit(insn, 7)));
        return true;
    }
    return false;
}
