// The A32 DSP and media forms: halfword multiplies, saturating arithmetic and CRC32
// in the miscellaneous group; parallel add and subtract, packing, the signed and
// sum-of-differences multiplies and the divides in the media group. They print
// through the emit operations the 32-bit Thumb encodings of the same forms use.
// A register field naming the PC, and a should-be field the assembler would write
// differently, leave the word undefined so that its bytes are kept.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::hasArmDivide() const
{
    // A32 SDIV/UDIV: v7-R, v8 and the v7-A cores with the virtualization extension,
    // which is where v7-A code meets them.
    switch (architecture) {
    case ArmLevel::Any:
    case ArmLevel::V7R:
    case ArmLevel::V7A:
    case ArmLevel::V8A:
    case ArmLevel::V8R:
        return true;
    default:
        return false;
    }
}

bool ARMInstructionSetDecoder::hasArmCrc32() const
{
    // Optional in the first v8 profiles; v8-R code is read without it.
    return architecture == ArmLevel::Any || architecture == ArmLevel::V8A;
}

// cond 00010 op 0 | Rd Ra Rm 1 M N 0 Rn: SMLAxy, SMLAWy/SMULWy, SMLALxy, SMULxy by op
// (bits 22..21); N (bit 5) picks the half of Rn, M (bit 6) that of Rm.
void ARMInstructionSetDecoder::decodeArmHalfwordMultiply(uint32_t insn)
{
    const int rd = int(bits(insn, 19, 16));
    const int ra = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 11, 8));
    const int rn = int(bits(insn, 3, 0));
    const bool nTop = bit(insn, 5), mTop = bit(insn, 6);
    if (!hasV5() || rd == 15 || rm == 15 || rn == 15) {
        emitUndefined();
        return;
    }
    switch (bits(insn, 22, 21)) {
    case 0:
        if (ra == 15)
            break;
        emitHalfwordMultiply(Smla, nTop, mTop, rd, rn, rm, ra);
        return;
    case 1:
        // Bit 5 tells the accumulating word form from the plain one, whose Ra field is zero.
        if (!nTop && ra != 15) {
            emitHalfwordMultiply(Smlaw, false, mTop, rd, rn, rm, ra);
            return;
        }
        if (nTop && ra == 0) {
            emitHalfwordMultiply(Smulw, false, mTop, rd, rn, rm, 15);
            return;
        }
        break;
    case 2: // RdHi in bits 19..16, RdLo in bits 15..12
        if (ra == 15)
            break;
        emitHalfwordMultiply(Smlal, nTop, mTop, ra, rn, rm, rd);
        return;
    default:
        if (ra != 0)
            break;
        emitHalfwordMultiply(Smul, nTop, mTop, rd, rn, rm, 15);
        return;
    }
    emitUndefined();
}

// cond 00010 op 0 | Rn Rd 0000 0101 Rm: QADD, QSUB, QDADD, QDSUB by op (bits 22..21).
// cond 00010 sz 0 | Rn Rd 00 C 0 0100 Rm: CRC32 of a byte, halfword or word (sz),
// C the Castagnoli polynomial; only unconditional.
void ARMInstructionSetDecoder::decodeArmSaturatingCrc(uint32_t insn)
{
    const int rn = int(bits(insn, 19, 16));
    const int rd = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 3, 0));
    if (rd == 15 || rn == 15 || rm == 15) {
        emitUndefined();
        return;
    }
    if (bits(insn, 7, 4) == 5 && bits(insn, 11, 8) == 0 && hasV5()) {
        emitSaturatingArithmetic(int(bits(insn, 22, 21)), rd, rm, rn);
        return;
    }
    if (bits(insn, 7, 4) == 4 && bits(insn, 22, 21) != 3 && (bits(insn, 11, 8) & 0xD) == 0 && condition < 0 &&
        hasArmCrc32()) {
        emitCrc32(bit(insn, 9), int(bits(insn, 22, 21)), rd, rn, rm);
        return;
    }
    emitUndefined();
}

// cond 01100 op1 | Rn Rd 1111 op2 1 Rm: the parallel additions and subtractions.
// op1 (bits 22..20) is the prefix: s, q, sh (1..3), u, uq, uh (5..7); op2 (bits 7..5)
// the operation: add16, asx, sax, sub16, add8, -, -, sub8.
void ARMInstructionSetDecoder::decodeArmParallel(uint32_t insn)
{
    // The operation codes of the emit operation by op2.
    static const int operations[8] = {1, 2, 6, 5, 0, -1, -1, 4};
    const uint32_t prefix = bits(insn, 22, 20);
    const int operation = operations[bits(insn, 7, 5)];
    const int rn = int(bits(insn, 19, 16));
    const int rd = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 3, 0));
    if ((prefix & 3) == 0 || operation < 0 || bits(insn, 11, 8) != 15 || rn == 15 || rd == 15 || rm == 15) {
        emitUndefined();
        return;
    }
    emitParallelArithmetic(int((prefix & 3) - 1 + (prefix >> 2) * 3), operation, rd, rn, rm);
}

// cond 01101 op1 | ...: with the extends, reverses and SSAT/USAT (decoded with the
// media group) come PKHBT/PKHTB, SEL, SSAT16, USAT16 and RBIT. Returns false for the
// encodings left to the caller.
bool ARMInstructionSetDecoder::decodeArmPackSaturate(uint32_t insn)
{
    const int rn = int(bits(insn, 19, 16));
    const int rd = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 3, 0));
    const uint32_t op1 = bits(insn, 22, 20);
    const uint32_t op2 = bits(insn, 7, 5);
    if (op1 == 0 && !bit(insn, 5)) {
        // PKHBT (bit 6 clear, LSL) and PKHTB (ASR): Rn, Rd, imm5, Rm.
        if (rn == 15 || rd == 15 || rm == 15)
            emitUndefined();
        else
            emitPack(bit(insn, 6), rd, rn, rm, int(bits(insn, 11, 7)));
        return true;
    }
    if (bits(insn, 11, 8) != 15)
        return false;
    if (op1 == 0 && op2 == 5) {
        if (rn == 15 || rd == 15 || rm == 15)
            emitUndefined();
        else
            emitSelectBytes(rd, rn, rm);
        return true;
    }
    if (op2 != 1)
        return false;
    if (op1 == 2 || op1 == 6) {
        // SSAT16 saturates to bits 19..16 plus one bits, USAT16 to bits 19..16.
        if (rd == 15 || rm == 15)
            emitUndefined();
        else
            emitSaturate16(op1 == 6, rd, int(bits(insn, 19, 16)) + (op1 == 2 ? 1 : 0), rm);
        return true;
    }
    if (op1 == 7 && rn == 15) {
        if (rm == 15 || !hasThumb2())
            emitUndefined();
        else
            emitReverseBits(rd, rm);
        return true;
    }
    return false;
}

// cond 01110 op1 | Rd Ra Rm op2 1 Rn: the dual and most-significant-word multiplies,
// the long dual multiplies (RdHi in bits 19..16, RdLo in 15..12), the divides and
// USAD8/USADA8. Ra = PC is the form without accumulation. Bit 5 is the exchange
// ("x") or rounding ("r") variant.
void ARMInstructionSetDecoder::decodeArmSignedMultiply(uint32_t insn)
{
    const uint32_t op1 = bits(insn, 22, 20);
    const uint32_t op2 = bits(insn, 7, 5);
    const int rd = int(bits(insn, 19, 16));
    const int ra = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 11, 8));
    const int rn = int(bits(insn, 3, 0));
    const bool variant = bit(insn, 5);
    const bool accumulate = ra != 15;
    if (rd == 15 || rm == 15 || rn == 15) {
        emitUndefined();
        return;
    }
    if (!bit(insn, 23)) {
        switch (op1) {
        case 0: // SMLAD/SMUAD, SMLSD/SMUSD
            if (op2 < 4) {
                const bool subtract = bit(insn, 6);
                emitMediaMultiply(subtract ? (accumulate ? Smlsd : Smusd) : (accumulate ? Smlad : Smuad), variant, rd,
                                  rn, rm, ra);
                return;
            }
            break;
        case 1:
        case 3:
            if (op2 == 0 && ra == 15 && hasArmDivide()) {
                emitMediaMultiply(op1 == 1 ? Sdiv : Udiv, false, rd, rn, rm, 15);
                return;
            }
            break;
        case 4: // SMLALD, SMLSLD
            if (op2 < 4 && accumulate) {
                emitMediaMultiply(bit(insn, 6) ? Smlsld : Smlald, variant, ra, rn, rm, rd);
                return;
            }
            break;
        case 5: // SMMLA/SMMUL, SMMLS
            if (op2 < 2) {
                emitMediaMultiply(accumulate ? Smmla : Smmul, variant, rd, rn, rm, ra);
                return;
            }
            if (op2 >= 6 && accumulate) {
                emitMediaMultiply(Smmls, variant, rd, rn, rm, ra);
                return;
            }
            break;
        default:
            break;
        }
    } else if (op1 == 0 && op2 == 0) {
        emitMediaMultiply(accumulate ? Usada8 : Usad8, false, rd, rn, rm, ra);
        return;
    }
    emitUndefined();
}
