// Advanced SIMD data processing and the cryptographic forms, in the A32 layout
// (1111 001U ...): the split into the architecture's groups, the levels that have
// them, and the small groups (modified immediate, VEXT, VTBL/VTBX, VDUP of a scalar).
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

// The A profile from ARMv7 and the R profile from ARMv8 have the unit, as for its
// loads and stores; ARMv8 adds rounding, directed conversions, VMAXNM/VMINNM and the
// cryptographic forms; the half-precision and BFloat16 arithmetic belongs to later
// A-profile versions only.
bool ARMInstructionSetDecoder::hasNeonV8() const
{
    return architecture == ArmLevel::Any || architecture == ArmLevel::V8A || architecture == ArmLevel::V8R;
}

bool ARMInstructionSetDecoder::hasNeonV81() const { return hasNeonV8(); }

bool ARMInstructionSetDecoder::hasNeonHalf() const
{
    return architecture == ArmLevel::Any || architecture == ArmLevel::V8A;
}

bool ARMInstructionSetDecoder::decodeNeonData(uint32_t insn)
{
    switch (architecture) {
    case ArmLevel::Any:
    case ArmLevel::V7A:
    case ArmLevel::V8A:
    case ArmLevel::V8R:
        break;
    default: // no Advanced SIMD unit before ARMv7, none in ARMv7-R or the M profile
        return false;
    }
    if (!bit(insn, 23))
        return decodeNeonThreeSame(insn);
    if (bit(insn, 4)) {
        // L (bit 7) or a shift field (bits 21..19) other than 000 makes a shift.
        if (bit(insn, 7) || bits(insn, 21, 19) != 0)
            return decodeNeonShift(insn);
        return decodeNeonImmediate(insn);
    }
    if (bits(insn, 21, 20) != 3)
        return bit(insn, 6) ? decodeNeonScalar(insn) : decodeNeonThreeDifferent(insn);
    if (bit(insn, 24) && !bit(insn, 11))
        return decodeNeonTwoRegister(insn);
    return decodeNeonTableDuplicateExtract(insn);
}

// One register and a modified immediate: op (bit 5) and cmode (bits 11..8) choose
// the operation and element, i:imm3:imm4 the byte.
bool ARMInstructionSetDecoder::decodeNeonImmediate(uint32_t insn)
{
    const uint32_t op = bit(insn, 5), cmode = bits(insn, 11, 8);
    const uint32_t imm8 = bit(insn, 24) << 7 | bits(insn, 18, 16) << 4 | bits(insn, 3, 0);
    const int vd = neonRegister(bit(insn, 6), neonD(insn));
    if (vd < 0)
        return false;
    // A zero byte is unpredictable wherever it would shift or fill: the value has
    // another encoding.
    if (imm8 == 0 && ((cmode >= 2 && cmode <= 7) || cmode == 10 || cmode == 11 || cmode == 12 || cmode == 13))
        return false;
    const uint64_t value = ArmBits::expandSimdImmediate(op, cmode, imm8);
    int operation = Neon::Vmov, type = Neon::I, esize = 32;
    if (cmode < 8 || (cmode & 0xC) == 8) {
        // Words (0xxx) and halfwords (10xx): the odd modes add or clear bits.
        esize = cmode < 8 ? 32 : 16;
        if (cmode & 1)
            operation = op ? Neon::Vbic : Neon::Vorr;
        else
            operation = op ? Neon::Vmvn : Neon::Vmov;
    } else if (cmode < 14) { // 110x: ones shifted in
        operation = op ? Neon::Vmvn : Neon::Vmov;
    } else if (cmode == 14) {
        esize = op ? 64 : 8;
    } else {
        if (op)
            return false;
        type = Neon::F;
    }
    const uint64_t element = esize == 64 ? value : value & ((uint64_t(1) << esize) - 1);
    emitNeonImmediate(operation, type, esize, vd, element, int(imm8));
    return true;
}

// The rest of the 1x11 space (bit 4 clear): VEXT (U clear), VTBL/VTBX (bits 11..10
// = 10) and VDUP of a scalar (bits 11..7 = 11000).
bool ARMInstructionSetDecoder::decodeNeonTableDuplicateExtract(uint32_t insn)
{
    const bool quad = bit(insn, 6);
    if (!bit(insn, 24)) {
        const uint32_t imm4 = bits(insn, 11, 8);
        const int vd = neonRegister(quad, neonD(insn)), vn = neonRegister(quad, neonN(insn));
        const int vm = neonRegister(quad, neonM(insn));
        if (vd < 0 || vn < 0 || vm < 0 || (!quad && imm4 > 7))
            return false;
        emitNeonExtract(vd, vn, vm, int(imm4));
        return true;
    }
    if (bits(insn, 11, 10) == 2) {
        // The list must stay within d0..d31.
        const uint32_t n = neonN(insn), length = bits(insn, 9, 8) + 1;
        if (n + length > 32)
            return false;
        emitNeonTable(bit(insn, 6), neonRegister(false, neonD(insn)), VReg::make(VReg::D, n), int(length),
                      neonRegister(false, neonM(insn)));
        return true;
    }
    if (bits(insn, 11, 7) != 0x18)
        return false;
    // imm4 (bits 19..16): the lowest set bit gives the size, the bits above it the index.
    const uint32_t imm4 = bits(insn, 19, 16);
    const int vd = neonRegister(quad, neonD(insn));
    if (vd < 0 || (imm4 & 7) == 0)
        return false;
    const int esize = (imm4 & 1) ? 8 : (imm4 & 2) ? 16 : 32;
    const int index = int(imm4 >> ((imm4 & 1) ? 1 : (imm4 & 2) ? 2 : 3));
    emitNeonDuplicateScalar(esize, vd, neonRegister(false, neonM(insn)), index);
    return true;
}
