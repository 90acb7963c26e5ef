// 32-bit Thumb branches and miscellaneous control: branches and calls, special
// registers, hints, barriers, and the M-profile branch-future and loop forms.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;
using ArmBits::signExtend;

void ARMInstructionSetDecoder::decodeThumb32BranchControl(uint32_t first, uint32_t second)
{
    const uint32_t start = address - 2; // the second half is decoded at its own address
    if (bit(second, 14) && bit(second, 12)) {
        // BL: I1 = NOT(J1 XOR S), I2 = NOT(J2 XOR S); the offset counts halfwords.
        const uint32_t s = bit(first, 10);
        const uint32_t i1 = (~(bit(second, 13) ^ s)) & 1;
        const uint32_t i2 = (~(bit(second, 11) ^ s)) & 1;
        const uint32_t imm =
            (s << 24) | (i1 << 23) | (i2 << 22) | (bits(first, 9, 0) << 12) | (bits(second, 10, 0) << 1);
        target = start + 4 + uint32_t(signExtend(imm, 25));
        thumbCall = true;
        emitBranchLink(false, target);
        return;
    }
    if (bit(second, 14) && !bit(second, 12) && bit(second, 0) == 0 && hasV5()) {
        // BLX to A32 code: the target is word aligned from the aligned PC.
        const uint32_t s = bit(first, 10);
        const uint32_t i1 = (~(bit(second, 13) ^ s)) & 1;
        const uint32_t i2 = (~(bit(second, 11) ^ s)) & 1;
        const uint32_t imm =
            (s << 24) | (i1 << 23) | (i2 << 22) | (bits(first, 9, 0) << 12) | (bits(second, 10, 1) << 2);
        target = ((start + 4) & ~3u) + uint32_t(signExtend(imm, 25));
        thumbCall = true;
        emitBranchLink(true, target);
        return;
    }
    emitUndefined();
}
