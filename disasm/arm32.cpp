// The A32 instruction set (ARM state), decoded by the encoding groups of bits 27..25
// and 7..4. Encodings not handled here read as undefined, so the file output keeps
// their bytes.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;
using ArmBits::signExtend;

void ARMInstructionSetDecoder::decodeArm(uint32_t insn)
{
    const uint32_t cond = bits(insn, 31, 28);
    if (cond == 15) {
        decodeArmUnconditional(insn);
        return;
    }
    if (cond != 14)
        condition = int32_t(cond);
    switch (bits(insn, 27, 25)) {
    case 0:
        decodeArmDataMisc(insn);
        return;
    case 1: {
        // Bits 24..23 = 0b10 without S are MOVW/MOVT, MSR (immediate) and the hints.
        if (bits(insn, 24, 23) == 2 && !bit(insn, 20)) {
            // The hints came with v6K; before they were MSR with an empty mask.
            if (bits(insn, 22, 16) == 0x20 && bits(insn, 15, 8) == 0xF0 && hasThumb2()) {
                const uint32_t hint = bits(insn, 7, 0);
                if (hint <= 4) {
                    emitHint(int(hint), int(hint));
                    return;
                }
                // The Thumb-only pointer-authentication hints are plain numbered NOPs here;
                // SEVL, ESB and CSDB only unconditional, as objdump reads them.
                const bool named = hint == 5 || hint == 0x10 || hint == 0x14;
                if ((hintAllowed(hint) || hint == 0x0D || hint == 0x0F || hint == 0x1D || hint == 0x2D) &&
                    !(named && condition >= 0)) {
                    emitHintNumber(int(hint));
                    return;
                }
            }
            // MSR (immediate): a field mask and a modified immediate in its smallest
            // rotation, the only one the assembler writes.
            if (bit(insn, 21) && bits(insn, 19, 16) != 0 && bits(insn, 15, 12) == 15) {
                if (ArmBits::smallestRotation(bits(insn, 11, 0))) {
                    emitStatusWriteImmediate(bit(insn, 22), int(bits(insn, 19, 16)), bits(insn, 11, 0));
                    return;
                }
            }
            // MOVW and MOVT: imm4:imm12 into a register other than the PC.
            if (bit(insn, 21) == 0 && bits(insn, 15, 12) != 15 && hasThumb2()) {
                emitMoveWide(bit(insn, 22), int(bits(insn, 15, 12)), (bits(insn, 19, 16) << 12) | bits(insn, 11, 0));
                return;
            }
            emitUndefined();
            return;
        }
        const int op = int(bits(insn, 24, 21));
        const int rd = int(bits(insn, 15, 12));
        const int rn = int(bits(insn, 19, 16));
        // Compares have no destination and moves no first operand: both fields are
        // zero in the encodings the assembler makes.
        if ((op >= A32::Tst && op <= A32::Cmn && rd != 0) || ((op == A32::Mov || op == A32::Mvn) && rn != 0)) {
            emitUndefined();
            return;
        }
        // ADD from the PC reads as an address: the assembler takes a constant with the
        // top bit set as a negative offset and writes SUB (not with S, nor with the
        // rotation written out).
        if (rn == 15 && op == A32::Add && !bit(insn, 20) && ArmBits::smallestRotation(bits(insn, 11, 0))) {
            if (ArmBits::expandImmediate(bits(insn, 11, 0)) & 0x80000000u) {
                emitUndefined();
                return;
            }
        }
        emitDataImmediate(op, bit(insn, 20), rd, rn, bits(insn, 11, 0));
        return;
    }
    case 2:
    case 3:
        decodeArmLoadStore(insn);
        return;
    case 4: {
        // LDM/STM. The PC base and the empty list have no assembler text. A written-back
        // base inside the list is only taken for a store whose base is the lowest register
        // (it stores the unchanged value).
        const int rn = int(bits(insn, 19, 16));
        const uint32_t list = bits(insn, 15, 0);
        const bool w = bit(insn, 21);
        const bool load = bit(insn, 20);
        const bool baseInList = list & (1u << rn);
        if (list == 0 || rn == 15) {
            emitUndefined();
            return;
        }
        if (bit(insn, 22)) {
            // "^": the user registers, or with the PC loaded the exception return, where
            // only the latter may write the base back.
            if (w && (!load || !(list & 0x8000u) || baseInList)) {
                emitUndefined();
                return;
            }
            emitBlockTransferUser(load, int(bits(insn, 24, 23)), rn, list, w);
            return;
        }
        if (w && baseInList && (load || (list & ((1u << rn) - 1)))) {
            emitUndefined();
            return;
        }
        emitBlockTransfer(load, int(bits(insn, 24, 23)), rn, list, w);
        return;
    }
    case 5: {
        // B and BL: a signed word offset from the instruction address + 8.
        target = address + 8 + uint32_t(signExtend(bits(insn, 23, 0) << 2, 26));
        if (bit(insn, 24)) {
            armCall = true;
            emitBranchLink(false, target);
        } else {
            emitBranch(target);
        }
        return;
    }
    case 6:
        decodeCoprocessor(insn, false);
        return;
    case 7:
        if (bit(insn, 24)) {
            emitImmediateOnly(T16::Svc, bits(insn, 23, 0));
            return;
        }
        decodeCoprocessor(insn, false);
        return;
    default:
        emitUndefined();
        return;
    }
}

// Bits 27..25 = 0b000: data processing with a register operand, multiplies, the
// miscellaneous group and the extra loads and stores.
void ARMInstructionSetDecoder::decodeArmDataMisc(uint32_t insn)
{
    const int rd = int(bits(insn, 15, 12));
    const int rn = int(bits(insn, 19, 16));
    const int rm = int(bits(insn, 3, 0));
    const int rs = int(bits(insn, 11, 8));
    if (bit(insn, 7) && bit(insn, 4)) {
        if (bits(insn, 7, 4) == 9 && !bit(insn, 24)) {
            // Multiplies: Rd (or RdHi) in bits 19..16, Ra (or RdLo) in bits 15..12.
            const int op = int(bits(insn, 23, 21));
            const bool s = bit(insn, 20);
            const bool accumulate = op != A32::Mul;
            const bool valid = (op != A32::Mul || rd == 0) && (op != A32::Umaal || (!s && hasV6())) &&
                               (op != A32::Mls || (!s && hasThumb2()));
            if (!valid || rn == 15 || rm == 15 || rs == 15 || (accumulate && rd == 15)) {
                emitUndefined();
                return;
            }
            emitMultiply(op, s, rn, rm, rs, rd);
            return;
        }
        if (bits(insn, 6, 5) != 0) {
            decodeArmExtraLoadStore(insn);
            return;
        }
        // SWP/SWPB (bit 22): no register the PC, the base apart from the others.
        if (bits(insn, 24, 23) == 2 && bits(insn, 21, 20) == 0 && bits(insn, 11, 4) == 9 && rn != 15 && rd != 15 &&
            rm != 15 && rn != rd && rn != rm) {
            emitSwap(bit(insn, 22), rd, rm, rn);
            return;
        }
        // ARMv8 acquire/release: bits 11..10 set, bit 9 the exclusive ones, bits 7..4
        // 0b1001; printed through the Thumb forms' op3 numbering (0x8 | size, 0xC |
        // size for the exclusives, size 0 byte, 1 halfword, 2 word, 3 doubleword).
        // Nothing older uses these encodings, so they are read at every level.
        if (bits(insn, 24, 23) == 3 && bits(insn, 11, 10) == 3 && !bit(insn, 8) && bits(insn, 7, 4) == 9 &&
            rn != 15) {
            static const int size[4] = {2, 3, 0, 1}; // bits 22..21: word, doubleword, byte, halfword
            const bool exclusive = bit(insn, 9);
            const int op = int(bits(insn, 22, 21));
            const int op3 = (exclusive ? 0xC : 0x8) | size[op];
            const bool pair = op == A32::Doubleword;
            // A doubleword pair starts at an even register below LR.
            const int first = bit(insn, 20) ? rd : rm;
            const bool armv8 = architecture == ArmLevel::Any || architecture >= ArmLevel::V8A;
            if (pair && (!exclusive || (first & 1) || first == 14 || !armv8)) {
                emitUndefined();
                return;
            }
            if (bit(insn, 20)) {
                if (rm == 15 && rd != 15) {
                    emitExclusiveWide(true, op3, 0, rd, pair ? rd + 1 : 0, rn, 0);
                    return;
                }
            } else if (!exclusive) {
                if (rd == 15 && rm != 15) {
                    emitExclusiveWide(false, op3, 0, rm, 0, rn, 0);
                    return;
                }
            } else if (rd != 15 && rm != 15 && rd != rn && rd != rm && (!pair || rd != rm + 1) &&
                       (op != A32::Word || armv8)) {
                // STLEX and the doubleword forms are read as such from ARMv8 on only.
                emitExclusiveWide(false, op3, rd, rm, pair ? rm + 1 : 0, rn, 0);
                return;
            }
            emitUndefined();
            return;
        }
        // Exclusive loads and stores: bits 11..4 = 0xF9, no register the PC, the
        // status register apart from the others; a doubleword pair starts at an
        // even register below LR.
        if (bits(insn, 24, 23) == 3 && bits(insn, 11, 4) == 0xF9 && hasV6() && rn != 15 && rd != 15) {
            const int op = int(bits(insn, 22, 21));
            const bool pair = op == A32::Doubleword;
            // Only the word forms are v6; the others came with v6K.
            if (op != A32::Word && !hasThumb2()) {
                emitUndefined();
                return;
            }
            if (bit(insn, 20) && rm == 15 && (!pair || ((rd & 1) == 0 && rd != 14))) {
                emitExclusive(true, op, 0, rd, rn);
                return;
            }
            if (!bit(insn, 20) && rm != 15 && rd != rn && rd != rm &&
                (!pair || ((rm & 1) == 0 && rm != 14 && rd != rm + 1))) {
                emitExclusive(false, op, rd, rm, rn);
                return;
            }
        }
        emitUndefined();
        return;
    }
    if (bits(insn, 24, 23) == 2 && !bit(insn, 20)) {
        if (bit(insn, 7))
            decodeArmHalfwordMultiply(insn);
        else
            decodeArmMisc(insn);
        return;
    }
    const int op = int(bits(insn, 24, 21));
    if ((op >= A32::Tst && op <= A32::Cmn && rd != 0) || ((op == A32::Mov || op == A32::Mvn) && rn != 0)) {
        emitUndefined();
        return;
    }
    if (!bit(insn, 4)) {
        emitDataRegister(op, bit(insn, 20), rd, rn, rm, int(bits(insn, 6, 5)), int(bits(insn, 11, 7)));
        return;
    }
    // A shift by a register naming the PC is refused by the assembler, but for the
    // moves it writes as the shift itself.
    if (op != A32::Mov && (rd == 15 || rn == 15 || rm == 15 || rs == 15)) {
        emitUndefined();
        return;
    }
    emitDataShiftedRegister(op, bit(insn, 20), rd, rn, rm, int(bits(insn, 6, 5)), rs);
}

// Bits 27..23 = 0b00010 without S, bit 7 clear: branch and exchange, CLZ, BKPT, the
// saturating additions and CRC32.
void ARMInstructionSetDecoder::decodeArmMisc(uint32_t insn)
{
    const uint32_t op = bits(insn, 22, 21);
    const uint32_t op2 = bits(insn, 7, 4);
    if (op2 == 4 || op2 == 5) {
        decodeArmSaturatingCrc(insn);
        return;
    }
    const int rm = int(bits(insn, 3, 0));
    if (op == 1 && bits(insn, 19, 8) == 0xFFF) {
        if (op2 == 1) {
            emitBranchExchange(false, false, rm);
            return;
        }
        if (op2 == 2 && hasV6()) { // Jazelle came with v5TEJ
            emitBranchJazelle(rm);
            return;
        }
        // BLX of the PC: useless, but the assembler writes it back (with a remark).
        if (op2 == 3 && hasV5()) {
            emitBranchExchange(true, false, rm);
            return;
        }
    }
    // MRS and MSR (register) with the CPSR or SPSR: bit 22 picks the saved one.
    if (op2 == 0 && bit(insn, 9) == 0) {
        if (!bit(insn, 21) && bits(insn, 19, 16) == 15 && bits(insn, 11, 0) == 0 && bits(insn, 15, 12) != 15) {
            emitStatusRead(bit(insn, 22), int(bits(insn, 15, 12)));
            return;
        }
        if (bit(insn, 21) && bits(insn, 15, 8) == 0xF0 && bits(insn, 19, 16) != 0 && rm != 15) {
            emitStatusWrite(bit(insn, 22), int(bits(insn, 19, 16)), rm);
            return;
        }
    }
    // Banked registers (bit 9): SYSm = M (bit 8) : M1 (bits 19..16); R (bit 22) the saved ones.
    if (op2 == 0 && bit(insn, 9)) {
        const int sysm = int((bit(insn, 8) << 4) | bits(insn, 19, 16));
        const bool saved = bit(insn, 22);
        if (!bit(insn, 21) && bits(insn, 11, 10) == 0 && rm == 0 && bits(insn, 15, 12) != 15 &&
            bankedRegisterAllowed(saved, sysm)) {
            emitBankedRegister(false, saved, sysm, int(bits(insn, 15, 12)));
            return;
        }
        // objdump reads the banked MSR as one with a shifted register before the
        // virtualization levels, a text the assembler refuses.
        const bool virtualizationLevel = architecture == ArmLevel::Any || architecture == ArmLevel::V7A ||
                                         architecture == ArmLevel::V8A || architecture == ArmLevel::V8R;
        if (bit(insn, 21) && bits(insn, 15, 10) == 0x3C && virtualizationLevel && bankedRegisterAllowed(saved, sysm)) {
            emitBankedRegister(true, saved, sysm, rm);
            return;
        }
    }
    const bool virtualization = architecture == ArmLevel::Any || architecture == ArmLevel::V7A ||
                                architecture == ArmLevel::V8A || architecture == ArmLevel::V8R;
    // SMC #imm4, HVC #imm16 (never conditional), ERET.
    if (op == 3 && op2 == 7 && bits(insn, 19, 8) == 0 && hasThumb2()) {
        emitExceptionCall(T32::Smc, bits(insn, 3, 0));
        return;
    }
    if (op == 2 && op2 == 7 && virtualization) {
        emitExceptionCall(T32::Hvc, (bits(insn, 19, 8) << 4) | bits(insn, 3, 0));
        return;
    }
    if (op == 3 && op2 == 6 && bits(insn, 19, 8) == 0 && rm == 14 && virtualization) {
        emitPlain(T32::Eret);
        return;
    }
    if (op == 3 && op2 == 1 && bits(insn, 19, 16) == 15 && bits(insn, 11, 8) == 15 && hasV5() && rm != 15 &&
        bits(insn, 15, 12) != 15) {
        emitCountLeadingZeros(int(bits(insn, 15, 12)), rm);
        return;
    }
    // HLT (ARMv8 A and R profiles), never conditional.
    if (op == 0 && op2 == 7 && condition < 0 && hasV8ApplicationOrRealTime()) {
        emitExceptionCall(T32::Hlt, (bits(insn, 19, 8) << 4) | bits(insn, 3, 0));
        return;
    }
    if (op == 1 && op2 == 7 && condition < 0 && hasV5()) {
        emitImmediateOnly(T16::Bkpt, (bits(insn, 19, 8) << 4) | bits(insn, 3, 0));
        return;
    }
    emitUndefined();
}

// Bits 27..26 = 0b01: loads and stores of words and bytes.
void ARMInstructionSetDecoder::decodeArmLoadStore(uint32_t insn)
{
    const bool registerForm = bit(insn, 25);
    if (registerForm && bit(insn, 4)) {
        decodeArmMedia(insn);
        return;
    }
    const bool index = bit(insn, 24), add = bit(insn, 23), byte = bit(insn, 22), w = bit(insn, 21),
               load = bit(insn, 20);
    const int rn = int(bits(insn, 19, 16));
    const int rt = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 3, 0));
    const bool writeback = w || !index;
    // Post-indexed with W set is the unprivileged (T) form; writing back into the
    // transfer register or the PC is unpredictable.
    if ((writeback && (rn == 15 || rn == rt)) || (byte && rt == 15) || (registerForm && rm == 15) ||
        (!index && w && rt == 15 && load)) {
        emitUndefined();
        return;
    }
    if (!registerForm) {
        // The PC moves to or from a word the PC addresses only when word aligned.
        if (rt == 15 && rn == 15 && (insn & 3) != 0) {
            emitUndefined();
            return;
        }
        if (load && !byte && rn == 15) {
            emitLiteralLoad(rt, bits(insn, 11, 0), add);
            return;
        }
        emitWordByteImmediate(load, byte, rt, rn, bits(insn, 11, 0), index, add, w);
        return;
    }
    emitWordByteRegister(load, byte, rt, rn, rm, int(bits(insn, 6, 5)), int(bits(insn, 11, 7)), index, add, w);
}

// Bits 27..25 = 0b000 with bits 7 and 4 set and bits 6..5 non-zero: halfword,
// signed byte and doubleword transfers.
void ARMInstructionSetDecoder::decodeArmExtraLoadStore(uint32_t insn)
{
    const int op = int((bits(insn, 6, 5) << 1) | bit(insn, 20));
    const bool index = bit(insn, 24), add = bit(insn, 23), immediateForm = bit(insn, 22), w = bit(insn, 21);
    const int rn = int(bits(insn, 19, 16));
    const int rt = int(bits(insn, 15, 12));
    const int rm = int(bits(insn, 3, 0));
    const bool pair = op == A32::Ldrd || op == A32::Strd;
    const bool writeback = w || !index;
    // Post-indexed with W set: LDRHT, STRHT, LDRSBT, LDRSHT (ARMv6T2).
    if (!index && w && !pair) {
        if (!hasThumb2() || rt == 15 || rn == 15 || rn == rt ||
            (!immediateForm && (bits(insn, 11, 8) != 0 || rm == 15))) {
            emitUndefined();
            return;
        }
        emitExtraUnprivileged(op, rt, rn, immediateForm,
                              immediateForm ? ((bits(insn, 11, 8) << 4) | bits(insn, 3, 0)) : uint32_t(rm), add);
        return;
    }
    // Post-indexed with W set is the unprivileged form; a pair starts at an even
    // register below LR; the PC and the transferred registers are never written back.
    if ((!index && w) || rt == 15 || (pair && ((rt & 1) || rt == 14 || !hasV5())) ||
        (writeback && (rn == 15 || rn == rt || (pair && rn == rt + 1))) ||
        (!immediateForm && (bits(insn, 11, 8) != 0 || rm == 15 || (pair && (rm == rt || rm == rt + 1))))) {
        emitUndefined();
        return;
    }
    const uint32_t offset = immediateForm ? ((bits(insn, 11, 8) << 4) | bits(insn, 3, 0)) : uint32_t(rm);
    emitExtraLoadStore(op, rt, rn, immediateForm, offset, index, add, w);
}

// The unconditional space (condition 0b1111): BLX (immediate), the barriers and PLD.
void ARMInstructionSetDecoder::decodeArmUnconditional(uint32_t insn)
{
    // 1111 001x: Advanced SIMD data processing; 1111 0100 xxx0: its loads and stores.
    if (bits(insn, 27, 25) == 1) {
        if (!decodeNeonData(insn))
            emitUndefined();
        return;
    }
    if (bits(insn, 27, 24) == 4 && !bit(insn, 20)) {
        if (!decodeNeonLoadStore(insn))
            emitUndefined();
        return;
    }
    if (bits(insn, 27, 25) == 6 || bits(insn, 27, 24) == 0xE) {
        decodeCoprocessor(insn, true);
        return;
    }
    if (bits(insn, 27, 25) == 5 && hasV5()) {
        // H (bit 24) adds a halfword to the word offset: the target is Thumb code.
        const uint32_t imm = (bits(insn, 23, 0) << 2) | (bit(insn, 24) << 1);
        target = address + 8 + uint32_t(signExtend(imm, 26));
        emitBranchLink(true, target);
        return;
    }
    if (bits(insn, 27, 8) == 0x57FF0) {
        const uint32_t op = bits(insn, 7, 4);
        const uint32_t option = bits(insn, 3, 0);
        // DSB 0 and 4 are the speculation barriers, which objdump reads at every level.
        if (op == 4 && (option == 0 || option == 4)) {
            emitPlain(option == 0 ? T32::Ssbb : T32::Pssbb);
            return;
        }
        if (op == 1 && option == 15 && (hasThumb2() || architecture == ArmLevel::Any)) {
            emitPlain(T32::Clrex);
            return;
        }
        // DSB 12 has no text the assembler takes back.
        if (op >= 4 && op <= 6 && hasThumb2() && !(op == 4 && option == 12)) {
            emitBarrier(int(op - 4), int(option));
            return;
        }
    }
    // PLD (immediate and literal), 0b1111'0101'U101 Rn 1111 imm12.
    if (bits(insn, 27, 24) == 5 && bits(insn, 22, 20) == 5 && bits(insn, 15, 12) == 15 && hasV5()) {
        emitPreload(int(bits(insn, 19, 16)), bits(insn, 11, 0), bit(insn, 23));
        return;
    }
    decodeArmUnconditionalControl(insn);
}

// The rest of the unconditional space: CPS, SETEND, PLI, PLDW, the register preloads,
// SRS and RFE.
void ARMInstructionSetDecoder::decodeArmUnconditionalControl(uint32_t insn)
{
    const int rn = int(bits(insn, 19, 16));
    const int rm = int(bits(insn, 3, 0));
    const bool multiprocessing = architecture == ArmLevel::Any || architecture == ArmLevel::V7A ||
                                 architecture == ArmLevel::V7R || architecture == ArmLevel::V8A ||
                                 architecture == ArmLevel::V8R;
    const bool v7 = hasThumb2() && architecture != ArmLevel::V6T2;
    if (bits(insn, 27, 20) == 0x10 && hasV6()) {
        if (bit(insn, 16)) { // SETEND: only E (bit 9) varies
            if ((insn & ~(1u << 9)) == 0xF1010000) {
                emitSetEndian(bit(insn, 9));
                return;
            }
            emitUndefined();
            return;
        }
        const uint32_t imod = bits(insn, 19, 18);
        const bool changeMode = bit(insn, 17);
        const uint32_t flags = bits(insn, 8, 6);
        const uint32_t mode = bits(insn, 4, 0);
        if (bits(insn, 15, 9) == 0 && !bit(insn, 5) && imod != 1 && !(imod == 0 && (flags != 0 || !changeMode)) &&
            !(imod != 0 && flags == 0) && (changeMode || mode == 0)) {
            emitChangeProcessorState(int(imod), int(flags), changeMode ? int(mode) : -1);
            return;
        }
        emitUndefined();
        return;
    }
    if (bits(insn, 15, 12) == 15 && bits(insn, 27, 26) == 1) {
        const bool add = bit(insn, 23);
        if (!bit(insn, 25)) {
            // PLI (bit 24 clear, 0b101) and PLDW (bit 24 set, 0b001), immediate offset.
            if (!bit(insn, 24) && bits(insn, 22, 20) == 5 && v7) {
                emitPreloadHint(T32::Pli, rn, false, bits(insn, 11, 0), add, 0, 0);
                return;
            }
            if (bit(insn, 24) && bits(insn, 22, 20) == 1 && multiprocessing) {
                emitPreloadHint(T32::Pldw, rn, false, bits(insn, 11, 0), add, 0, 0);
                return;
            }
        } else if (!bit(insn, 4) && rm != 15) {
            // Register offsets: PLD (0b1111'0111'U101), PLDW (U001), PLI (0b1111'0110'U101).
            const int type = int(bits(insn, 6, 5)), imm5 = int(bits(insn, 11, 7));
            if (bit(insn, 24) && bits(insn, 22, 20) == 5 && hasV5()) {
                emitPreloadHint(T32::Pld, rn, true, uint32_t(rm), add, type, imm5);
                return;
            }
            if (bit(insn, 24) && bits(insn, 22, 20) == 1 && multiprocessing) {
                emitPreloadHint(T32::Pldw, rn, true, uint32_t(rm), add, type, imm5);
                return;
            }
            if (!bit(insn, 24) && bits(insn, 22, 20) == 5 && v7) {
                emitPreloadHint(T32::Pli, rn, true, uint32_t(rm), add, type, imm5);
                return;
            }
        }
        emitUndefined();
        return;
    }
    if (bits(insn, 27, 25) == 4 && hasV6()) {
        const int mode = int(bits(insn, 24, 23)); // P:U
        const bool writeback = bit(insn, 21);
        if ((insn & 0x0E5FFFE0) == 0x084D0500) { // SRS
            emitStoreReturnState(mode, writeback, int(bits(insn, 4, 0)));
            return;
        }
        if ((insn & 0x0E50FFFF) == 0x08100A00 && rn != 15) { // RFE
            emitReturnFromException(mode, rn, writeback);
            return;
        }
    }
    emitUndefined();
}

// Bits 27..25 = 0b011 with bit 4 set: the media group, by bits 24..23: parallel
// arithmetic; packing, extends, reverses and saturation; the signed multiplies and
// divides; sums of differences, bit fields and UDF.
void ARMInstructionSetDecoder::decodeArmMedia(uint32_t insn)
{
    const int rd = int(bits(insn, 15, 12));
    const int rn = int(bits(insn, 19, 16));
    const int rm = int(bits(insn, 3, 0));
    const uint32_t op1 = bits(insn, 24, 20);
    const uint32_t op2 = bits(insn, 7, 5);
    if (op1 == 0x1F && op2 == 7 && condition < 0) {
        emitImmediateOnly(T16::Udf, (bits(insn, 19, 8) << 4) | bits(insn, 3, 0));
        return;
    }
    if (!hasV6()) {
        emitUndefined();
        return;
    }
    if (bits(insn, 24, 23) == 0) {
        decodeArmParallel(insn);
        return;
    }
    // The multiplies have Ra, not Rd, in bits 15..12.
    if (bits(insn, 24, 23) == 2 || (op1 == 0x18 && op2 == 0)) {
        decodeArmSignedMultiply(insn);
        return;
    }
    if (bits(insn, 24, 23) == 3 && bit(insn, 21) && (op2 & 3) == 2 && hasThumb2()) {
        // SBFX/UBFX: lsb in bits 11..7, width - 1 in bits 20..16; the field ends by bit
        // 31. The assembler takes the PC in either register here.
        const int lsb = int(bits(insn, 11, 7));
        const int width = int(bits(insn, 20, 16)) + 1;
        if (lsb + width <= 32) {
            emitBitField(bit(insn, 22) ? A32::Ubfx : A32::Sbfx, rd, rm, lsb, width);
            return;
        }
        emitUndefined();
        return;
    }
    // The PC as destination is refused by the assembler, but for RBIT.
    if (rd == 15 && (insn & 0x0FFF0FF0) != 0x06FF0F30) {
        emitUndefined();
        return;
    }
    if (bits(insn, 24, 23) == 1 && rm != 15) { // packing, extends, reverses, saturation
        const uint32_t sel = bits(insn, 22, 20);
        if (bit(insn, 21) && !bit(insn, 5)) {
            // SSAT/USAT: the saturation width is bits 20..16, plus one when signed.
            const bool isUnsigned = bit(insn, 22);
            if (bit(insn, 6) && bits(insn, 11, 7) == 0) { // ASR #0 has no spelling
                emitUndefined();
                return;
            }
            emitSaturate(isUnsigned, rd, int(bits(insn, 20, 16)) + (isUnsigned ? 0 : 1), rm, bit(insn, 6),
                         int(bits(insn, 11, 7)));
            return;
        }
        if (op2 == 3 && bits(insn, 9, 8) == 0 && sel != 1 && sel != 5) {
            // The extends, by bits 22..20; Rn other than the PC adds to the result.
            emitExtendRotate(int(sel), rd, rn, rm, int(bits(insn, 11, 10)) * 8);
            return;
        }
        if (rn == 15 && bits(insn, 11, 8) == 15 && (op2 == 1 || op2 == 5)) {
            // REV, REV16 (bit 22 clear) and REVSH (set).
            if (sel == 3) {
                emitReverse(op2 == 1 ? T16::Rev : T16::Rev16, rd, rm);
                return;
            }
            if (sel == 7 && op2 == 5) {
                emitReverse(T16::Revsh, rd, rm);
                return;
            }
        }
        if (!decodeArmPackSaturate(insn))
            emitUndefined();
        return;
    }
    if (bits(insn, 24, 21) == 0xE && (op2 & 3) == 0 && hasThumb2()) {
        // BFI/BFC: lsb in bits 11..7, msb in bits 20..16; Rn = PC means clear.
        const int lsb = int(bits(insn, 11, 7));
        const int msb = int(bits(insn, 20, 16));
        if (msb >= lsb) {
            emitBitField(rm == 15 ? A32::Bfc : A32::Bfi, rd, rm, lsb, msb - lsb + 1);
            return;
        }
    }
    emitUndefined();
}
