// 32-bit Thumb data processing: modified and plain immediates, shifted registers,
// register forms, multiplies and divides.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// SP and PC as general operands are unpredictable in most 32-bit Thumb forms. SP is
// taken by the assembler from ARMv8 on and printed; PC is refused and stays undecoded.
// The long shifts and selects, which have no such history, keep both out.
constexpr bool badRegister(uint32_t r) { return r == 13 || r == 15; }
constexpr bool isPc(uint32_t r) { return r == 15; }

// ThumbExpandImm: a byte repeated in one of three patterns, or 1bcdefgh rotated right
// by bits 11..7. Returns false for the patterns that repeat a zero byte.
bool thumbExpandImmediate(uint32_t imm12, uint32_t& value)
{
    const uint32_t imm8 = imm12 & 0xFF;
    if (bits(imm12, 11, 10) == 0) {
        switch (bits(imm12, 9, 8)) {
        case 0:
            value = imm8;
            return true;
        case 1:
            value = imm8 * 0x00010001u;
            break;
        case 2:
            value = imm8 * 0x01000100u;
            break;
        default:
            value = imm8 * 0x01010101u;
            break;
        }
        return imm8 != 0;
    }
    const uint32_t unrotated = 0x80 | (imm12 & 0x7F);
    const unsigned rotation = bits(imm12, 11, 7);
    value = (unrotated >> rotation) | (unrotated << (32 - rotation));
    return true;
}
} // namespace

// 11110 i 0 op S Rn | 0 imm3 Rd imm8.
void ARMInstructionSetDecoder::decodeThumb32DataModifiedImmediate(uint32_t first, uint32_t second)
{
    const int op = int(bits(first, 8, 5));
    const bool s = bit(first, 4);
    const uint32_t rn = bits(first, 3, 0);
    const uint32_t rd = bits(second, 11, 8);
    uint32_t value = 0;
    if (!thumbExpandImmediate((bit(first, 10) << 11) | (bits(second, 14, 12) << 8) | bits(second, 7, 0), value)) {
        emitUndefined();
        return;
    }
    bool valid = false;
    switch (op) {
    case TAnd:
    case TEor:
    case TAdd:
    case TSub:
        // Rd = PC with S is TST/TEQ/CMN/CMP.
        valid = !isPc(rn) && (!isPc(rd) || s);
        break;
    case TOrr:
    case TOrn:
        // Rn = PC is MOV/MVN.
        valid = !isPc(rd);
        break;
    case TBic:
    case TAdc:
    case TSbc:
    case TRsb:
        valid = !isPc(rd) && !isPc(rn);
        break;
    default:
        break;
    }
    if (!valid) {
        emitUndefined();
        return;
    }
    emitThumbDataImmediate(op, s, int(rd), int(rn), value);
}

// 11110 i 1 op Rn | 0 imm3 Rd imm8: wide add/subtract, MOVW/MOVT, saturation and bit
// fields.
void ARMInstructionSetDecoder::decodeThumb32DataPlainImmediate(uint32_t first, uint32_t second)
{
    const uint32_t op = bits(first, 8, 4);
    const uint32_t rn = bits(first, 3, 0);
    const uint32_t rd = bits(second, 11, 8);
    const uint32_t imm12 = (bit(first, 10) << 11) | (bits(second, 14, 12) << 8) | bits(second, 7, 0);
    switch (op) {
    case 0x00:
    case 0x0A:
        // ADDW/SUBW; from the PC it is ADR.
        if (isPc(rd))
            break;
        emitThumbWideAddSubtract(op == 0x0A, int(rd), int(rn), imm12);
        return;
    case 0x04:
    case 0x0C:
        if (isPc(rd))
            break;
        emitMoveWide(op == 0x0C, int(rd), (rn << 12) | imm12);
        return;
    default:
        break;
    }
    // The saturation and bit-field forms: bit 10 of the first halfword and bit 5 of the
    // second are zero; the shift or lsb is imm3:imm2.
    const int imm5 = int((bits(second, 14, 12) << 2) | bits(second, 7, 6));
    if (op < 0x10 || bit(first, 10) || bit(second, 5) || isPc(rd) || !hasThumb2()) {
        emitUndefined();
        return;
    }
    switch (op) {
    case 0x10:
    case 0x12:
    case 0x18:
    case 0x1A: {
        if (isPc(rn))
            break;
        const bool isUnsigned = op >= 0x18;
        const bool arithmetic = bit(first, 5);
        if (arithmetic && imm5 == 0) {
            // SSAT16/USAT16: a 4-bit saturation width.
            if (bit(second, 4))
                break;
            emitSaturate16(isUnsigned, int(rd), int(bits(second, 3, 0)) + (isUnsigned ? 0 : 1), int(rn));
            return;
        }
        emitSaturate(isUnsigned, int(rd), int(bits(second, 4, 0)) + (isUnsigned ? 0 : 1), int(rn), arithmetic, imm5);
        return;
    }
    case 0x14:
    case 0x1C: {
        const int width = int(bits(second, 4, 0)) + 1;
        if (isPc(rn) || imm5 + width > 32)
            break;
        emitBitField(op == 0x1C ? A32::Ubfx : A32::Sbfx, int(rd), int(rn), imm5, width);
        return;
    }
    case 0x16: {
        const int msb = int(bits(second, 4, 0));
        if (msb < imm5)
            break;
        emitBitField(rn == 15 ? A32::Bfc : A32::Bfi, int(rd), int(rn), imm5, msb - imm5 + 1);
        return;
    }
    default:
        break;
    }
    emitUndefined();
}

// The v8.1-M forms in the ORRS/MOVS space: long shifts where Rm would be SP or PC,
// conditional selects where bit 15 of the second halfword is set. Returns false when
// the encoding is none of them.
bool ARMInstructionSetDecoder::decodeLongShiftFields(uint32_t first, uint32_t second, int& op, int& rdaLo, int& rdaHi,
                                                     int& rm, int& amount) const
{
    const uint32_t low = bits(second, 3, 0);
    if (!bit(second, 8) || (low != 15 && low != 13))
        return false;
    const bool saturating = bit(first, 0);
    const bool single = bits(second, 11, 8) == 15;
    rdaLo = int(single ? bits(first, 3, 0) : bits(first, 3, 1) << 1);
    rdaHi = single ? -1 : int((bits(second, 11, 9) << 1) | 1);
    if (low == 15) {
        // Immediate: 0 imm3 RdaHi 1 imm2 op 1111; a shift of 0 is 32.
        if (bit(second, 15))
            return false;
        const int type = int(bits(second, 5, 4));
        const int imm = int((bits(second, 14, 12) << 2) | bits(second, 7, 6));
        if (single) {
            static const int ops[4] = {Uqshl, Urshr, Srshr, Sqshl};
            op = ops[type];
        } else if (saturating) {
            static const int ops[4] = {Uqshll, Urshrl, Srshrl, Sqshll};
            op = ops[type];
        } else {
            if (type == 3)
                return false;
            static const int ops[3] = {Lsll, Lsrl, Asrl};
            op = ops[type];
        }
        rm = -1;
        amount = imm == 0 ? 32 : imm;
        return true;
    }
    // Register: Rm RdaHi 1 sat 0 op 1101.
    rm = int(bits(second, 15, 12));
    if (bit(second, 6) || bit(second, 4))
        return false;
    const bool arithmetic = bit(second, 5);
    const bool narrow = bit(second, 7); // saturate at 48 bits
    if (single) {
        if (narrow)
            return false;
        op = arithmetic ? Sqrshr : Uqrshl;
    } else if (saturating) {
        op = arithmetic ? Sqrshrl : Uqrshll;
    } else {
        if (narrow)
            return false;
        op = arithmetic ? Asrl : Lsll;
    }
    amount = narrow ? 48 : 64;
    return true;
}

// 1110101 op S Rn | 0 imm3 Rd imm2 type Rm.
void ARMInstructionSetDecoder::decodeThumb32DataShiftedRegister(uint32_t first, uint32_t second)
{
    const int op = int(bits(first, 8, 5));
    const bool s = bit(first, 4);
    const uint32_t rn = bits(first, 3, 0);
    const uint32_t rd = bits(second, 11, 8);
    const uint32_t rm = bits(second, 3, 0);
    const int type = int(bits(second, 5, 4));
    const int imm5 = int((bits(second, 14, 12) << 2) | bits(second, 7, 6));
    if (op == TOrr && s && hasV81M()) {
        int shiftOp = 0, rdaLo = 0, rdaHi = 0, shiftRm = 0, amount = 0;
        if (decodeLongShiftFields(first, second, shiftOp, rdaLo, rdaHi, shiftRm, amount)) {
            // SP and PC are no operands; the register shift amount is apart from the pair.
            const bool bad = badRegister(uint32_t(rdaLo)) || (rdaHi >= 0 && rdaHi == 13) ||
                             (shiftRm >= 0 && (badRegister(uint32_t(shiftRm)) || shiftRm == rdaLo || shiftRm == rdaHi));
            if (bad)
                emitUndefined();
            else
                emitLongShift(shiftOp, rdaLo, rdaHi, shiftRm, amount);
            return;
        }
        if (bit(second, 15)) {
            // CSEL, CSINC, CSINV, CSNEG: 1 op Rd cond Rm; Rn/Rm = PC reads zero. NV has
            // no spelling.
            const int selectOp = int(bits(second, 14, 12));
            const uint32_t cond = bits(second, 7, 4);
            if (selectOp > 3 || badRegister(rd) || rn == 13 || rm == 13 || cond == 15) {
                emitUndefined();
                return;
            }
            emitConditionalSelect(selectOp, int(rd), int(rn), int(rm), int(cond));
            return;
        }
    }
    // ORRS with Rm = SP is the v8.1-M long shifts' space: the M-profile assembler
    // refuses it, and the same bytes in a v8.1-M file mean another instruction.
    if (bit(second, 15) || (op == TOrr && s && rm == 13)) {
        emitUndefined();
        return;
    }
    bool valid = false;
    switch (op) {
    case TAnd:
    case TEor:
        valid = !isPc(rn) && !isPc(rm) && (!isPc(rd) || s);
        break;
    case TOrr:
        if (rn == 15 && type == A32::Lsl && imm5 == 0) {
            valid = !isPc(rd) && !isPc(rm);
            break;
        }
        [[fallthrough]];
    case TOrn:
        valid = !isPc(rd) && !isPc(rm);
        break;
    case TBic:
    case TAdc:
    case TSbc:
    case TRsb:
        valid = !isPc(rd) && !isPc(rn) && !isPc(rm);
        break;
    case 6: // PKHBT/PKHTB: T (bit 5) picks the top half and ASR; no S, bit 4 clear.
        if (s || bit(second, 4) || isPc(rd) || isPc(rn) || isPc(rm))
            break;
        emitPack(bit(second, 5), int(rd), int(rn), int(rm), imm5);
        return;
    case TAdd:
    case TSub:
        // From SP to SP the assembler takes only LSL by up to 3.
        valid = !isPc(rn) && !isPc(rm) && (!isPc(rd) || s) &&
                !(rd == 13 && rn == 13 && (type != A32::Lsl || imm5 > 3));
        break;
    default:
        break;
    }
    if (!valid) {
        emitUndefined();
        return;
    }
    emitThumbDataRegister(op, s, int(rd), int(rn), int(rm), type, imm5);
}

// 11111010 op1 Rn | 1111 Rd op2 Rm: shifts by register, extends, parallel arithmetic,
// saturating arithmetic, reverses, SEL, CLZ and CRC32.
void ARMInstructionSetDecoder::decodeThumb32DataRegister(uint32_t first, uint32_t second)
{
    const uint32_t op1 = bits(first, 7, 4);
    const uint32_t op2 = bits(second, 7, 4);
    const uint32_t rn = bits(first, 3, 0);
    const uint32_t rd = bits(second, 11, 8);
    const uint32_t rm = bits(second, 3, 0);
    if (bits(second, 15, 12) != 15 || isPc(rd) || isPc(rm)) {
        emitUndefined();
        return;
    }
    if (!bit(op1, 3)) {
        if (op2 == 0 && !isPc(rn)) {
            // LSL, LSR, ASR, ROR by register (op1 bits 2..1), S in bit 0.
            emitShiftRegister(int(bits(op1, 2, 1)), bit(op1, 0), int(rd), int(rn), int(rm));
            return;
        }
        if (bits(op2, 3, 2) == 2 && op1 <= 5) {
            // Extends: op1 picks the form (sxth, uxth, sxtb16, uxtb16, sxtb, uxtb), given
            // on as the A32 codes of the same forms; Rn = PC extends without adding.
            static const int forms[6] = {3, 7, 0, 4, 2, 6};
            emitExtendRotate(forms[op1], int(rd), int(rn), int(rm), int(bits(op2, 1, 0)) * 8);
            return;
        }
        emitUndefined();
        return;
    }
    if (isPc(rn)) {
        emitUndefined();
        return;
    }
    if (!bit(op2, 3)) {
        // Parallel add and subtract: op1 bits 2..0 the operation, op2 bits 1..0 the
        // prefix (s, q, sh; u, uq, uh with op2 bit 2).
        const uint32_t operation = bits(op1, 2, 0);
        const uint32_t prefix = bits(op2, 1, 0);
        if (operation == 3 || operation == 7 || prefix == 3 || bit(op2, 3)) {
            emitUndefined();
            return;
        }
        emitParallelArithmetic(int(prefix + (bit(op2, 2) ? 3 : 0)), int(operation), int(rd), int(rn), int(rm));
        return;
    }
    const uint32_t sel = bits(op2, 1, 0);
    if (bits(op2, 3, 2) == 2) {
        switch (bits(op1, 2, 0)) {
        case 0: { // QADD, QDADD, QSUB, QDSUB
            static const int ops[4] = {0, 2, 1, 3};
            emitSaturatingArithmetic(ops[sel], int(rd), int(rm), int(rn));
            return;
        }
        case 1: // REV, REV16, RBIT, REVSH: Rm given twice
            if (rn != rm)
                break;
            if (sel == 2)
                emitReverseBits(int(rd), int(rm));
            else
                emitReverse(sel == 0 ? T16::Rev : sel == 1 ? T16::Rev16 : T16::Revsh, int(rd), int(rm));
            return;
        case 2:
            if (sel == 0) {
                emitSelectBytes(int(rd), int(rn), int(rm));
                return;
            }
            break;
        case 3:
            if (sel == 0 && rn == rm) {
                emitCountLeadingZeros(int(rd), int(rm));
                return;
            }
            break;
        case 4:
        case 5:
            if (sel != 3) {
                emitCrc32(bit(op1, 0), int(sel), int(rd), int(rn), int(rm));
                return;
            }
            break;
        default:
            break;
        }
    }
    emitUndefined();
}

// 111110110 op1 Rn | Ra Rd op2 Rm: 32-bit multiplies and multiply-accumulates.
void ARMInstructionSetDecoder::decodeThumb32Multiply(uint32_t first, uint32_t second)
{
    const uint32_t op1 = bits(first, 6, 4);
    const uint32_t rn = bits(first, 3, 0);
    const uint32_t ra = bits(second, 15, 12);
    const uint32_t rd = bits(second, 11, 8);
    const uint32_t rm = bits(second, 3, 0);
    const uint32_t op2 = bits(second, 7, 4);
    // The pointer authentication forms: PACG where SMMLS would have Ra = PC, AUTG and
    // BXAUT where SMMLA would have Rd = PC.
    if (bits(op2, 3, 1) == 0 && rm != 15) {
        if (op1 == 6 && ra == 15 && op2 == 0 && !isPc(rd)) {
            emitPointerAuthentication(Pacg, int(rd), int(rn), int(rm));
            return;
        }
        if (op1 == 5 && rd == 15 && !isPc(ra)) {
            emitPointerAuthentication(op2 ? Bxaut : Autg, int(ra), int(rn), int(rm));
            return;
        }
    }
    if (isPc(rd) || isPc(rn) || isPc(rm)) {
        emitUndefined();
        return;
    }
    const bool accumulate = ra != 15;
    switch (op1) {
    case 0:
        if (op2 == 0) {
            emitMultiply(accumulate ? A32::Mla : A32::Mul, false, int(rd), int(rn), int(rm), int(ra));
            return;
        }
        if (op2 == 1 && accumulate) {
            emitMultiply(A32::Mls, false, int(rd), int(rn), int(rm), int(ra));
            return;
        }
        break;
    case 1:
        if (bits(op2, 3, 2) != 0)
            break;
        emitHalfwordMultiply(accumulate ? Smla : Smul, bit(op2, 1), bit(op2, 0), int(rd), int(rn), int(rm), int(ra));
        return;
    case 3:
        if (bits(op2, 3, 1) != 0)
            break;
        emitHalfwordMultiply(accumulate ? Smlaw : Smulw, false, bit(op2, 0), int(rd), int(rn), int(rm), int(ra));
        return;
    case 2:
    case 4:
    case 5:
    case 6:
    case 7: {
        if (bits(op2, 3, 1) != 0)
            break;
        int op = 0;
        switch (op1) {
        case 2:
            op = accumulate ? Smlad : Smuad;
            break;
        case 4:
            op = accumulate ? Smlsd : Smusd;
            break;
        case 5:
            op = accumulate ? Smmla : Smmul;
            break;
        case 6:
            if (!accumulate)
                goto undefined;
            op = Smmls;
            break;
        default:
            if (op2 != 0)
                goto undefined;
            op = accumulate ? Usada8 : Usad8;
            break;
        }
        emitMediaMultiply(op, bit(op2, 0), int(rd), int(rn), int(rm), int(ra));
        return;
    }
    default:
        break;
    }
undefined:
    emitUndefined();
}

// 111110111 op1 Rn | RdLo RdHi op2 Rm: long multiplies and the divides.
void ARMInstructionSetDecoder::decodeThumb32LongMultiply(uint32_t first, uint32_t second)
{
    const uint32_t op1 = bits(first, 6, 4);
    const uint32_t rn = bits(first, 3, 0);
    const uint32_t rdLo = bits(second, 15, 12);
    const uint32_t rdHi = bits(second, 11, 8);
    const uint32_t rm = bits(second, 3, 0);
    const uint32_t op2 = bits(second, 7, 4);
    if (isPc(rdHi) || isPc(rn) || isPc(rm)) {
        emitUndefined();
        return;
    }
    if ((op1 == 1 || op1 == 3) && op2 == 15) {
        if (rdLo != 15) {
            emitUndefined();
            return;
        }
        emitMediaMultiply(op1 == 1 ? Sdiv : Udiv, false, int(rdHi), int(rn), int(rm), 15);
        return;
    }
    if (isPc(rdLo)) {
        emitUndefined();
        return;
    }
    switch (op1) {
    case 0:
    case 2:
    case 6:
        if (op2 == 0) {
            static const int ops[7] = {A32::Smull, 0, A32::Umull, 0, 0, 0, A32::Umlal};
            emitMultiply(ops[op1], false, int(rdHi), int(rn), int(rm), int(rdLo));
            return;
        }
        if (op1 == 6 && op2 == 6) {
            emitMultiply(A32::Umaal, false, int(rdHi), int(rn), int(rm), int(rdLo));
            return;
        }
        break;
    case 4:
        if (op2 == 0) {
            emitMultiply(A32::Smlal, false, int(rdHi), int(rn), int(rm), int(rdLo));
            return;
        }
        if (bits(op2, 3, 2) == 2) {
            emitHalfwordMultiply(Smlal, bit(op2, 1), bit(op2, 0), int(rdLo), int(rn), int(rm), int(rdHi));
            return;
        }
        if (bits(op2, 3, 1) == 6) {
            emitMediaMultiply(Smlald, bit(op2, 0), int(rdLo), int(rn), int(rm), int(rdHi));
            return;
        }
        break;
    case 5:
        if (bits(op2, 3, 1) == 6) {
            emitMediaMultiply(Smlsld, bit(op2, 0), int(rdLo), int(rn), int(rm), int(rdHi));
            return;
        }
        break;
    default:
        break;
    }
    emitUndefined();
}
