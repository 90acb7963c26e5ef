// MVE predication: VPT, VPST, VPNOT, VPSEL and the compares VCMP, vector against
// vector or against a core register (ZR in place of the PC).
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// The three fc bits of a compare as a condition code: integer compares read
// eq, ne, cs, hi, ge, lt, gt, le; the floating-point ones have no cs and hi.
constexpr int kCompareCondition[8] = {0, 1, 2, 8, 10, 11, 12, 13};
} // namespace

bool ARMInstructionSetDecoder::decodeMvePredicate(uint32_t insn)
{
    // VPST and VPNOT: the scalar compare's encoding with Qn 0 and the stack pointer.
    if ((insn & 0xFFBF1FFF) == 0xFE310F4D) {
        const int mask = int(bit(insn, 22) << 3 | bits(insn, 15, 13));
        if (mask == 0) {
            MveOperation op;
            op.name = "vpnot";
            emitMveData(op);
            return true;
        }
        emitMvePredicate(mask, nullptr);
        startPredicationBlock(mask);
        return true;
    }
    // VCMP and VPT: 111F 1110 0 M3 size Qn 1 | M2..M0 fc2 1111 fc0 scalar 0 0 Qm/Rm fc1.
    if ((insn & 0xEF810F10) != 0xEE010F00)
        return false;
    const bool scalar = bit(insn, 6);
    const uint32_t size = bits(insn, 21, 20);
    const bool isFloat = size == 3;
    if (!bit(insn, 28) && !isFloat)
        return false;
    if (!scalar && bit(insn, 5))
        return false;
    const int fc = int(bit(insn, 12) << 2 | (scalar ? bit(insn, 5) : bit(insn, 0)) << 1 | bit(insn, 7));
    const int mask = int(bit(insn, 22) << 3 | bits(insn, 15, 13));
    if (isFloat && (fc == 2 || fc == 3)) {
        // VPSEL takes the floating-point cs of the vector form (its "mask" is Qd).
        if (scalar || fc != 2 || !bit(insn, 28) || bit(insn, 22))
            return false;
        MveOperation op;
        op.name = "vpsel";
        op.count = 3;
        op.operands[0] = VReg::make(VReg::Q, bits(insn, 15, 13));
        op.operands[1] = VReg::make(VReg::Q, bits(insn, 19, 17));
        op.operands[2] = VReg::make(VReg::Q, bits(insn, 3, 1));
        emitMveData(op);
        return true;
    }
    MveOperation op;
    op.name = "vcmp";
    if (isFloat) {
        op.kind = "f";
        op.bits = bit(insn, 28) ? 16 : 32;
    } else {
        op.kind = fc < 2 ? "i" : fc < 4 ? "u" : "s";
        op.bits = 8 << size;
    }
    op.condition = kCompareCondition[fc];
    op.count = 2;
    op.operands[0] = VReg::make(VReg::Q, bits(insn, 19, 17));
    if (scalar) {
        const int rm = int(bits(insn, 3, 0));
        if (rm == 13)
            return false;
        op.operands[1] = rm == 15 ? kMveZeroRegister : rm;
    } else {
        op.operands[1] = VReg::make(VReg::Q, bits(insn, 3, 1));
    }
    if (mask == 0) {
        emitMveData(op);
        return true;
    }
    emitMvePredicate(mask, &op);
    startPredicationBlock(mask);
    return true;
}

void ARMInstructionSetDecoder::startPredicationBlock(int mask)
{
    // The lowest set bit of the mask ends the block.
    predicationCount = (mask & 1) ? 4 : (mask & 2) ? 3 : (mask & 4) ? 2 : 1;
    // The first instruction is a "then"; each later one flips when its mask bit
    // (M3, M2, M1 in turn) is set.
    thenFlags[0] = true;
    for (int i = 1; i < 4; ++i)
        thenFlags[i] = thenFlags[i - 1] != bool((mask >> (4 - i)) & 1);
}
