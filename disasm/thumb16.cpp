// The 16-bit Thumb instruction set, ARMv4T to ARMv8-M, decoded by the encoding
// groups of bits 15..10.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;
using ArmBits::signExtend;

void ARMInstructionSetDecoder::decodeThumb16(uint32_t insn)
{
    switch (bits(insn, 15, 12)) {
    case 0x0:
    case 0x1:
        if (bits(insn, 12, 11) != 3) // shift by immediate
            emitShiftImmediate(int(bits(insn, 12, 11)), int(bits(insn, 2, 0)), int(bits(insn, 5, 3)),
                               int(bits(insn, 10, 6)));
        else // add/subtract, register or 3-bit immediate
            emitAddSubtract(bit(insn, 9), bit(insn, 10), int(bits(insn, 2, 0)), int(bits(insn, 5, 3)),
                            int(bits(insn, 8, 6)));
        return;
    case 0x2:
    case 0x3:
        emitImmediate8(int(bits(insn, 12, 11)), int(bits(insn, 10, 8)), int(bits(insn, 7, 0)));
        return;
    case 0x4:
        if (bit(insn, 11)) { // literal load: the offset counts words from Align(PC, 4)
            emitLiteralLoad(int(bits(insn, 10, 8)), bits(insn, 7, 0) * 4, true);
            return;
        }
        if (bits(insn, 11, 10) == 0) {
            emitDataProcessing(int(bits(insn, 9, 6)), int(bits(insn, 2, 0)), int(bits(insn, 5, 3)));
            return;
        }
        if (bits(insn, 9, 8) == 3) { // branch and exchange
            const bool link = bit(insn, 7);
            const uint32_t low = bits(insn, 2, 0);
            if ((low == 0 && (!link || hasV5())) || (low == 4 && hasSecurityExtension()))
                emitBranchExchange(link, low == 4, int(bits(insn, 6, 3)));
            else
                emitUndefined();
            return;
        }
        emitSpecialData(int(bits(insn, 9, 8)), int((bit(insn, 7) << 3) | bits(insn, 2, 0)), int(bits(insn, 6, 3)));
        return;
    case 0x5: // register offset: op in bits 11..9
        emitLoadStoreRegister(int(bits(insn, 11, 9)), int(bits(insn, 2, 0)), int(bits(insn, 5, 3)),
                              int(bits(insn, 8, 6)));
        return;
    case 0x6: // word, offset in words
        emitLoadStoreImmediate(bit(insn, 11) ? T16::Ldr : T16::Str, int(bits(insn, 2, 0)), int(bits(insn, 5, 3)),
                               bits(insn, 10, 6) * 4);
        return;
    case 0x7: // byte
        emitLoadStoreImmediate(bit(insn, 11) ? T16::Ldrb : T16::Strb, int(bits(insn, 2, 0)), int(bits(insn, 5, 3)),
                               bits(insn, 10, 6));
        return;
    case 0x8: // halfword, offset in halfwords
        emitLoadStoreImmediate(bit(insn, 11) ? T16::Ldrh : T16::Strh, int(bits(insn, 2, 0)), int(bits(insn, 5, 3)),
                               bits(insn, 10, 6) * 2);
        return;
    case 0x9: // sp-relative word
        emitLoadStoreImmediate(bit(insn, 11) ? T16::Ldr : T16::Str, int(bits(insn, 10, 8)), 13, bits(insn, 7, 0) * 4);
        return;
    case 0xA:
        emitAddressOf(bit(insn, 11), int(bits(insn, 10, 8)), bits(insn, 7, 0) * 4);
        return;
    case 0xB:
        decodeThumb16Misc(insn);
        return;
    case 0xC: { // LDM writes the base back unless the base is in the list
        const bool load = bit(insn, 11);
        const int rn = int(bits(insn, 10, 8));
        const uint32_t list = bits(insn, 7, 0);
        if (list == 0) {
            emitUndefined();
            return;
        }
        emitRegisterList(load ? T16::Ldm : T16::Stm, rn, list, !load || !(list & (1u << rn)));
        return;
    }
    case 0xD: {
        const uint32_t cond = bits(insn, 11, 8);
        if (cond == 14) {
            emitImmediateOnly(T16::Udf, bits(insn, 7, 0));
        } else if (cond == 15) {
            emitImmediateOnly(T16::Svc, bits(insn, 7, 0));
        } else {
            condition = int32_t(cond);
            target = address + 4 + uint32_t(signExtend(bits(insn, 7, 0) << 1, 9));
            emitBranch(target);
        }
        return;
    }
    case 0xE: // bits 15..11 = 0b11100; the 32-bit prefixes never get here
        target = address + 4 + uint32_t(signExtend(bits(insn, 10, 0) << 1, 12));
        emitBranch(target);
        return;
    default:
        emitUndefined();
        return;
    }
}

// Miscellaneous 16-bit instructions: bits 15..12 = 0b1011, grouped by bits 11..8.
void ARMInstructionSetDecoder::decodeThumb16Misc(uint32_t insn)
{
    const uint32_t op = bits(insn, 11, 8);
    switch (op) {
    case 0x0:
        emitAdjustSp(bit(insn, 7), bits(insn, 6, 0) * 4);
        return;
    case 0x1:
    case 0x3:
    case 0x9:
    case 0xB: // compare and branch on (non-)zero: forward only, i:imm5:'0'
        if (hasThumb2() || architecture == ArmLevel::V8MBaseline) {
            target = address + 4 + ((bit(insn, 9) << 6) | (bits(insn, 7, 3) << 1));
            emitCompareBranch(bit(insn, 11), int(bits(insn, 2, 0)), target);
        } else {
            emitUndefined();
        }
        return;
    case 0x2:
        if (hasV6())
            emitExtend(int(bits(insn, 7, 6)), int(bits(insn, 2, 0)), int(bits(insn, 5, 3)));
        else
            emitUndefined();
        return;
    case 0x4:
    case 0x5:
        emitRegisterList(T16::Push, 13, bits(insn, 7, 0) | (bit(insn, 8) << 14), true);
        return;
    case 0xC:
    case 0xD:
        emitRegisterList(T16::Pop, 13, bits(insn, 7, 0) | (bit(insn, 8) << 15), true);
        return;
    case 0x6:
        if (bits(insn, 7, 5) == 2 && !isMProfile() && hasV6()) {
            // SETEND: only bit 3 (E) may be set among bits 4..0 besides bit 4.
            if (bit(insn, 4) && (insn & 7) == 0)
                emitSetEndian(bit(insn, 3));
            else
                emitUndefined();
        } else if (bits(insn, 7, 5) == 3 && hasV6() && bit(insn, 3) == 0) {
            emitChangeState(bit(insn, 4), int(bits(insn, 2, 0)));
        } else {
            emitUndefined();
        }
        return;
    case 0xA:
        // 1011 1010 10: HLT from ARMv8 (A and R profiles); before, the reserved pattern.
        if (bits(insn, 7, 6) == 2 && hasV8ApplicationOrRealTime())
            emitExceptionCall(T32::Hlt, bits(insn, 5, 0));
        else if (hasV6())
            emitReverse(int(bits(insn, 7, 6)), int(bits(insn, 2, 0)), int(bits(insn, 5, 3)));
        else
            emitUndefined();
        return;
    case 0xE:
        if (hasV5())
            emitImmediateOnly(T16::Bkpt, bits(insn, 7, 0));
        else
            emitUndefined();
        return;
    case 0xF:
        if (bits(insn, 3, 0) != 0) {
            // IT: firstcond 15 is never valid, and AL only with a single instruction.
            const uint32_t firstCond = bits(insn, 7, 4);
            const uint32_t mask = bits(insn, 3, 0);
            if (!hasThumb2() || firstCond == 15 || (firstCond == 14 && mask != 8)) {
                emitUndefined();
                return;
            }
            emitIfThen(int(firstCond), int(mask));
            // The IT state alone gives the block's conditions; the predication
            // letters are the MVE blocks'.
            itState = (firstCond << 4) | mask;
            return;
        }
        if (hasThumb2() || architecture == ArmLevel::V6M || architecture == ArmLevel::V8MBaseline) {
            const uint32_t hint = bits(insn, 7, 4);
            emitHint(hint <= 4 ? int(hint) : T16::OtherHint, int(hint));
        } else {
            emitUndefined();
        }
        return;
    default:
        emitUndefined();
        return;
    }
}
