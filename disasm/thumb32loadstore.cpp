// 32-bit Thumb loads and stores: single, dual, exclusive, multiple, and the
// ARMv8-M security forms that share their space.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// More than one register in a list.
bool several(uint32_t list) { return (list & (list - 1)) != 0; }
} // namespace

// First halfword 1110 100 op(2) 0 W L Rn: LDM/STM, PUSH/POP, RFE, SRS and CLRM.
void ARMInstructionSetDecoder::decodeThumb32LoadStoreMultiple(uint32_t first, uint32_t second)
{
    const uint32_t op = bits(first, 8, 7);
    const bool writeback = bit(first, 5), load = bit(first, 4);
    const int rn = int(bits(first, 3, 0));
    const bool mProfile = isMProfile();
    if (op == 0 || op == 3) {
        // RFE and SRS are A/R-profile only.
        const int mode = op == 3 ? A32::Ia : A32::Db;
        if (mProfile) {
            emitUndefined();
            return;
        }
        if (load && second == 0xC000 && rn != 15) {
            emitReturnFromException(mode, rn, writeback);
            return;
        }
        if (!load && rn == 13 && bits(second, 15, 5) == 0x600) {
            emitStoreReturnState(mode, writeback, int(bits(second, 4, 0)));
            return;
        }
        emitUndefined();
        return;
    }
    if (op == 1 && load && rn == 15 && !writeback) {
        // CLRM (ARMv8.1-M): bit 15 stands for APSR, SP never cleared.
        // ARMv8.1-M's, but the encoding (LDM from the PC) means nothing else anywhere.
        if (second != 0 && !bit(second, 13)) {
            emitClearRegisters(second);
            return;
        }
        emitUndefined();
        return;
    }
    // The list has at least two registers, never SP; a store never has PC, a load not
    // both PC and LR; a base written back is not in the list.
    const uint32_t list = second;
    if (rn == 15 || !several(list) || bit(list, 13) || (!load && bit(list, 15)) ||
        (load && bit(list, 15) && bit(list, 14)) || (writeback && bit(list, uint32_t(rn)))) {
        emitUndefined();
        return;
    }
    emitLoadStoreMultipleWide(load, op == 2, rn, list, writeback);
}

// First halfword 1110 100 P U 1 W L Rn: LDRD/STRD, the exclusives, table branches,
// acquire/release, SG and TT.
void ARMInstructionSetDecoder::decodeThumb32LoadStoreDualExclusive(uint32_t first, uint32_t second)
{
    const uint32_t op1 = bits(first, 8, 7), op2 = bits(first, 5, 4);
    const bool load = bit(first, 4);
    const int rn = int(bits(first, 3, 0));
    const int rt = int(bits(second, 15, 12)), rt2 = int(bits(second, 11, 8)), rd = int(bits(second, 3, 0));
    const auto bad = [](int r) { return r == 13 || r == 15; };
    // SG and TT: the ARMv8-M security extension.
    const bool securityForms = architecture == ArmLevel::Any || (isMProfile() && hasSecurityExtension());
    if (first == 0xE97F && second == 0xE97F) {
        if (securityForms) {
            emitPlain(T32::Sg);
            return;
        }
        emitUndefined();
        return;
    }
    if (op1 == 0 && op2 == 0) {
        // STREX Rd, Rt, [Rn, #imm8 * 4]; Rt = PC is the test-target form.
        if (rt == 15) {
            if (securityForms && bits(second, 5, 0) == 0 &&
                !bad(int(bits(second, 11, 8))) && rn != 15) {
                emitTestTarget(int(bits(second, 7, 6)), int(bits(second, 11, 8)), rn);
                return;
            }
            emitUndefined();
            return;
        }
        const int status = int(bits(second, 11, 8));
        // The status register may repeat another: unpredictable, but the assembler
        // takes the text and writes these bytes.
        if (status == 15 || rt == 15 || rn == 15) {
            emitUndefined();
            return;
        }
        emitExclusiveWide(false, -1, status, rt, 0, rn, bits(second, 7, 0) * 4);
        return;
    }
    if (op1 == 0 && op2 == 1) {
        if (bits(second, 11, 8) != 15 || rt == 15 || rn == 15) {
            emitUndefined();
            return;
        }
        emitExclusiveWide(true, -1, 0, rt, 0, rn, bits(second, 7, 0) * 4);
        return;
    }
    if (op1 == 1 && (op2 == 0 || op2 == 1)) {
        const uint32_t op3 = bits(second, 7, 4);
        const bool exclusive = bit(op3, 2);
        const bool pair = (op3 & 3) == 3;
        if (load && op3 <= 1) { // TBB, TBH
            if (bits(second, 15, 8) != 0xF0 || rn == 13 || bad(rd)) {
                emitUndefined();
                return;
            }
            emitTableBranch(op3 == 1, rn, rd);
            return;
        }
        // Acquire/release (op3 8 and up) came with v8 and the doubleword exclusives
        // belong to the A/R profile, but nothing else uses their encodings: objdump
        // reads them at every level.
        // The allocated op3 values: 4, 5, 7 and their acquire/release twins, STL/LDA.
        const bool formOk = bit(0xF7B0, op3);
        if (!formOk || rn == 15 || rt == 15) {
            emitUndefined();
            return;
        }
        if (load) {
            if ((pair ? (rt2 == 15 || rt2 == rt) : rt2 != 15) || rd != 15) {
                emitUndefined();
                return;
            }
            emitExclusiveWide(true, int(op3), 0, rt, pair ? rt2 : 0, rn, 0);
            return;
        }
        if (!exclusive) { // STL, STLB, STLH
            if (rt2 != 15 || rd != 15) {
                emitUndefined();
                return;
            }
            emitExclusiveWide(false, int(op3), 0, rt, 0, rn, 0);
            return;
        }
        if ((pair ? rt2 == 15 : rt2 != 15) || rd == 15 || rd == rn || rd == rt || (pair && rd == rt2)) {
            emitUndefined();
            return;
        }
        emitExclusiveWide(false, int(op3), rd, rt, pair ? rt2 : 0, rn, 0);
        return;
    }
    // LDRD/STRD: P = bit 8, U = bit 7, W = bit 5; P = 0 needs W = 1.
    const bool index = bit(first, 8), add = bit(first, 7), writeback = bit(first, 5);
    if ((!index && !writeback) || rt == 15 || rt2 == 15 ||
        (writeback && (rn == 15 || rn == rt || rn == rt2)) || (!load && rn == 15) ||
        (!add && bits(second, 7, 0) == 0 && rn != 15)) {
        emitUndefined();
        return;
    }
    emitLoadStoreDual(load, rt, rt2, rn, bits(second, 7, 0) * 4, index, add, writeback);
}

// First halfword 1111 100 S U size L Rn: single loads and stores, and the preloads
// (loads of bytes and halfwords into the PC).
void ARMInstructionSetDecoder::decodeThumb32LoadStoreSingle(uint32_t first, uint32_t second)
{
    const bool sign = bit(first, 8), up = bit(first, 7), load = bit(first, 4);
    const uint32_t size = bits(first, 6, 5);
    const int rn = int(bits(first, 3, 0));
    const int rt = int(bits(second, 15, 12));
    const uint32_t imm12 = bits(second, 11, 0), imm8 = bits(second, 7, 0);
    const bool imm8Form = bit(second, 11);
    const bool registerForm = bits(second, 11, 6) == 0;
    const int rm = int(bits(second, 3, 0));
    if (size == 3 || (sign && (size == 2 || !load))) {
        emitUndefined();
        return;
    }
    if (load && rt == 15 && size < 2) {
        // PLD (byte), PLI (signed byte), PLDW (halfword, A/R multiprocessing only).
        const int kind = size == 0 ? (sign ? T32::Pli : T32::Pld) : T32::Pldw;
        if (size == 1 && sign) {
            emitUndefined();
            return;
        }
        if (rn == 15 || up) {
            emitPreloadHint(kind, rn, false, imm12, rn == 15 ? up : true, 0, 0);
            return;
        }
        if (bits(second, 11, 8) == 0xC) {
            emitPreloadHint(kind, rn, false, imm8, false, 0, 0);
            return;
        }
        // The other 8-bit offset forms: pre-indexed with writeback, and post-indexed.
        if (imm8Form && bit(second, 8)) {
            emitPreloadIndexed(kind, rn, imm8, bit(second, 10), bit(second, 9), true);
            return;
        }
        if (registerForm && rm != 15) {
            emitPreloadHint(kind, rn, true, uint32_t(rm), true, A32::Lsl, int(bits(second, 5, 4)));
            return;
        }
        emitUndefined();
        return;
    }
    static const int loadOps[2][3] = {{T16::Ldrb, T16::Ldrh, T16::Ldr}, {T16::Ldrsb, T16::Ldrsh, -1}};
    static const int storeOps[3] = {T16::Strb, T16::Strh, T16::Str};
    const int op = load ? loadOps[sign][size] : storeOps[size];
    // Bytes and halfwords never move SP or PC; a store never stores PC.
    if ((size < 2 && rt == 15) || (!load && rt == 15)) {
        emitUndefined();
        return;
    }
    if (rn == 15) {
        if (!load) {
            emitUndefined();
            return;
        }
        // The PC loads only a word-aligned literal.
        if (rt == 15 && (imm12 & 3) != 0) {
            emitUndefined();
            return;
        }
        emitLoadStoreWide(op, rt, rn, imm12, true, up, false, false);
        return;
    }
    if (up) {
        emitLoadStoreWide(op, rt, rn, imm12, true, true, false, false);
        return;
    }
    if (imm8Form) {
        const bool index = bit(second, 10), add = bit(second, 9), writeback = bit(second, 8);
        const bool unprivileged = index && add && !writeback;
        // A subtracted zero reads as an added one: no text gives these bytes.
        // M-profile does not load SP with writeback (interrupts may see either value).
        if ((!index && !writeback) || (writeback && rn == rt) || (unprivileged && rt == 15) || (!add && imm8 == 0)) {
            emitUndefined();
            return;
        }
        emitLoadStoreWide(op, rt, rn, imm8, index, add, writeback, unprivileged);
        return;
    }
    if (registerForm && rm != 15) {
        emitLoadStoreWideRegister(op, rt, rn, rm, int(bits(second, 5, 4)));
        return;
    }
    emitUndefined();
}
