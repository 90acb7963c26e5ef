// 32-bit Thumb branches and miscellaneous control: branches and calls, special
// registers, hints, barriers, and the M-profile branch-future and loop forms.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;
using ArmBits::signExtend;

namespace {
// The M-profile special registers by SYSm: 1 in every profile level, 2 needs the
// Main Extension (not v6-M, not v8-M Baseline), 4 needs ARMv8-M.
int specialRegisterClass(uint32_t sysm)
{
    switch (sysm) {
    case 0: case 1: case 2: case 3: case 5: case 6: case 7: case 8: case 9: case 16: case 20:
        return 1;
    case 17: case 18: case 19:
        return 2;
    case 10: case 11: case 0x88: case 0x89: case 0x8A: case 0x8B: case 0x90: case 0x94: case 0x98:
        return 4;
    case 0x91: case 0x93:
        return 4 | 2;
    default:
        return 0;
    }
}

// The byte offset of the branch-future and loop forms: the high bits, then
// second-halfword bits 10..1, then bit 11, then a zero bit.
uint32_t futureOffset(uint32_t high, uint32_t second)
{
    return (high << 12) | (bits(second, 10, 1) << 2) | (bit(second, 11) << 1);
}

// The offset of BL and B.W: S:I1:I2:imm10:imm11:'0' with I1 = NOT(J1 XOR S),
// I2 = NOT(J2 XOR S).
int32_t wideBranchOffset(uint32_t first, uint32_t second)
{
    const uint32_t s = bit(first, 10);
    const uint32_t i1 = (~(bit(second, 13) ^ s)) & 1;
    const uint32_t i2 = (~(bit(second, 11) ^ s)) & 1;
    return signExtend((s << 24) | (i1 << 23) | (i2 << 22) | (bits(first, 9, 0) << 12) | (bits(second, 10, 0) << 1), 25);
}
} // namespace

bool ARMInstructionSetDecoder::specialRegisterAllowed(uint32_t sysm) const
{
    const int c = specialRegisterClass(sysm);
    if (c == 0)
        return false;
    const bool v8m = architecture == ArmLevel::Any || architecture >= ArmLevel::V8MBaseline;
    const bool main = architecture != ArmLevel::V6M && architecture != ArmLevel::V8MBaseline;
    return (!(c & 4) || v8m) && (!(c & 2) || main);
}

void ARMInstructionSetDecoder::decodeThumb32BranchControl(uint32_t first, uint32_t second)
{
    const uint32_t start = address - 2; // the second half is decoded at its own address
    if (bit(second, 14) && bit(second, 12)) {
        target = start + 4 + uint32_t(wideBranchOffset(first, second));
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
    if (bit(second, 14)) { // bit 0 set: ARMv8.1-M branch future and low-overhead loops
        decodeThumb32BranchFuture(first, second);
        return;
    }
    if (bit(second, 12)) {
        // B.W: the offset as BL's; inside an IT block only as its last instruction.
        if (inItBlock() && (itState & 0xF) != 8) {
            emitUndefined();
            return;
        }
        target = start + 4 + uint32_t(wideBranchOffset(first, second));
        emitBranchWide(target);
        return;
    }
    if (bits(first, 9, 7) != 7) {
        // B<c>.W: S:J2:J1:imm6:imm11:'0'; never inside an IT block.
        if (inItBlock()) {
            emitUndefined();
            return;
        }
        const uint32_t imm = (bit(first, 10) << 20) | (bit(second, 11) << 19) | (bit(second, 13) << 18) |
                             (bits(first, 5, 0) << 12) | (bits(second, 10, 0) << 1);
        target = start + 4 + uint32_t(signExtend(imm, 21));
        condition = int32_t(bits(first, 9, 6));
        emitBranchWide(target);
        return;
    }
    if (bit(first, 10)) {
        decodeThumb32ExceptionCalls(first, second);
        return;
    }
    if (bit(second, 13)) {
        emitUndefined();
        return;
    }
    decodeThumb32Miscellaneous(first, second);
}

// First halfword 1111 0111 111x imm4: SMC, HVC and the permanently undefined UDF.W.
void ARMInstructionSetDecoder::decodeThumb32ExceptionCalls(uint32_t first, uint32_t second)
{
    const uint32_t op = bits(first, 10, 4);
    const uint32_t imm4 = bits(first, 3, 0);
    const bool aProfile = !isMProfile();
    if (op == 0x7F && bits(second, 14, 12) == 2) {
        emitExceptionCall(T32::Udf, (imm4 << 12) | bits(second, 11, 0));
        return;
    }
    if (op == 0x7F && bits(second, 14, 12) == 0 && bits(second, 11, 0) == 0 && aProfile && architecture != ArmLevel::V6T2) {
        emitExceptionCall(T32::Smc, imm4);
        return;
    }
    // HVC shares its encoding with nothing else: objdump reads it at every level.
    if (op == 0x7E && bits(second, 14, 12) == 0 && !inItBlock()) {
        emitExceptionCall(T32::Hvc, (imm4 << 12) | bits(second, 11, 0));
        return;
    }
    emitUndefined();
}

// First halfword 1111 0011 1xxx: MSR, MRS, hints, CPS, barriers, BXJ, SUBS PC, LR.
void ARMInstructionSetDecoder::decodeThumb32Miscellaneous(uint32_t first, uint32_t second)
{
    const uint32_t op = bits(first, 10, 4);
    const int rn = int(bits(first, 3, 0));
    const int rd = int(bits(second, 11, 8));
    const bool mProfile = isMProfile();
    const bool any = architecture == ArmLevel::Any;
    const auto bad = [](int r) { return r == 13 || r == 15; };
    switch (op) {
    case 0x38:
    case 0x39: {
        const bool saved = bit(first, 4);
        if (bad(rn)) {
            emitUndefined();
            return;
        }
        const uint32_t sysm = bits(second, 7, 0);
        // M-profile: MSR <spec_reg>, Rn with the APSR mask in bits 11..10.
        if (mProfile || (any && !saved && bits(second, 7, 5) == 0 && sysm != 0)) {
            const uint32_t mask = bits(second, 11, 10);
            const bool dsp = architecture == ArmLevel::Any || architecture == ArmLevel::V7EM ||
                             architecture >= ArmLevel::V8MMainline;
            if (saved || bits(second, 9, 8) != 0 || !specialRegisterAllowed(sysm) || mask == 0 ||
                (mask != 2 && (sysm > 3 || !dsp))) {
                emitUndefined();
                return;
            }
            emitSpecialRegisterWrite(int(mask), int(sysm), rn);
            return;
        }
        const uint32_t mask = bits(second, 11, 8);
        if (bit(second, 5)) { // banked register: SYSm = M:M1
            const int sysm5 = int((bit(second, 4) << 4) | mask);
            if (bits(second, 7, 6) != 0 || bits(second, 3, 0) != 0 || !bankedRegisterAllowed(saved, sysm5)) {
                emitUndefined();
                return;
            }
            emitBankedRegister(true, saved, sysm5, rn);
            return;
        }
        if (mask == 0 || sysm != 0) {
            emitUndefined();
            return;
        }
        // At no particular level the flag and GE fields are written as APSR, which
        // both the A/R- and the M-profile assembler take for these bytes.
        if (any && !saved && (mask == 8 || mask == 4 || mask == 12)) {
            emitSpecialRegisterWrite(mask == 8 ? 2 : (mask == 4 ? 1 : 3), 0, rn);
            return;
        }
        emitStatusWrite(saved, int(mask), rn);
        return;
    }
    case 0x3A: {
        // Hints (bits 10..8 clear) and CPS; the fixed bits as the assembler writes them.
        if (rn != 15 || bit(second, 11)) {
            emitUndefined();
            return;
        }
        if (bits(second, 10, 8) == 0) {
            const uint32_t hint = bits(second, 7, 0);
            if (!hintAllowed(hint)) {
                emitUndefined();
                return;
            }
            emitHintNumber(int(hint));
            return;
        }
        const uint32_t imod = bits(second, 10, 9);
        const bool changeMode = bit(second, 8);
        const uint32_t flags = bits(second, 7, 5);
        const uint32_t mode = bits(second, 4, 0);
        // No CPS inside an IT block (M-profile has only the 16-bit CPS, but objdump
        // reads the wide one there too and the assembler writes it back).
        if (inItBlock() || imod == 1 || (imod == 0 && (flags != 0 || !changeMode)) ||
            (imod != 0 && flags == 0) || (!changeMode && mode != 0)) {
            emitUndefined();
            return;
        }
        emitChangeProcessorState(int(imod), int(flags), changeMode ? int(mode) : -1);
        return;
    }
    case 0x3B: {
        const uint32_t option = bits(second, 3, 0);
        if (bits(second, 11, 8) != 15 || rn != 15) {
            emitUndefined();
            return;
        }
        switch (bits(second, 7, 4)) {
        case 2: // CLREX: not in ARMv6-M
            if (option == 15 && architecture != ArmLevel::V6M) {
                emitPlain(T32::Clrex);
                return;
            }
            break;
        case 4:
        case 5:
        case 6:
            // DSB 0 and 4 are the speculation barriers; DSB 12 has no text the assembler
            // takes back. objdump reads them all at every level.
            if (bits(second, 7, 4) == 4 && (option == 0 || option == 4)) {
                emitPlain(option == 0 ? T32::Ssbb : T32::Pssbb);
                return;
            }
            if (!(bits(second, 7, 4) == 4 && option == 12)) {
                emitBarrier(int(bits(second, 7, 4)) - 4, int(option));
                return;
            }
            break;
        default:
            break;
        }
        emitUndefined();
        return;
    }
    case 0x3C: // BXJ, A/R profile
        if (!mProfile && bits(second, 11, 0) == 0xF00 && !bad(rn)) {
            emitBranchJazelle(rn);
            return;
        }
        emitUndefined();
        return;
    case 0x3D: // SUBS PC, LR, #imm8 (ERET when zero), A/R profile
        if (!mProfile && rn == 14 && bits(second, 11, 8) == 15) {
            emitExceptionReturn(bits(second, 7, 0));
            return;
        }
        emitUndefined();
        return;
    case 0x3E:
    case 0x3F: {
        const bool saved = bit(first, 4);
        if (bad(rd) || bit(second, 13)) {
            emitUndefined();
            return;
        }
        const uint32_t sysm = bits(second, 7, 0);
        if (mProfile || (any && !saved && rn == 15 && bits(second, 7, 5) == 0 && sysm != 0)) {
            if (saved || rn != 15 || !specialRegisterAllowed(sysm)) {
                emitUndefined();
                return;
            }
            emitSpecialRegisterRead(rd, int(sysm));
            return;
        }
        if (bit(second, 5)) {
            const int sysm5 = int((bit(second, 4) << 4) | uint32_t(rn));
            if (bits(second, 7, 6) != 0 || bits(second, 3, 0) != 0 || !bankedRegisterAllowed(saved, sysm5)) {
                emitUndefined();
                return;
            }
            emitBankedRegister(false, saved, sysm5, rd);
            return;
        }
        if (rn != 15 || sysm != 0) {
            emitUndefined();
            return;
        }
        if (any && !saved) {
            emitSpecialRegisterRead(rd, 0);
            return;
        }
        emitStatusRead(saved, rd);
        return;
    }
    default:
        emitUndefined();
        return;
    }
}

// Second halfword 11x0 ... 1 (ARMv8.1-M): with a zero branch-point offset the
// low-overhead loops and VCTP, otherwise the branch-future forms.
void ARMInstructionSetDecoder::decodeThumb32BranchFuture(uint32_t first, uint32_t second)
{
    // Only ARMv8.1-M has these, but no other form shares their encodings: they read
    // the same at every level that has 32-bit Thumb.
    if (inItBlock() || !bit(second, 0)) {
        emitUndefined();
        return;
    }
    const uint32_t start = address - 2;
    const uint32_t pc = start + 4;
    const uint32_t boff = bits(first, 10, 7);
    const int rn = int(bits(first, 3, 0));
    const uint32_t f = bits(first, 6, 4);
    const bool wide = bit(second, 13); // 0b1110 rather than 0b1100
    if (boff == 0) {
        if (!wide) {
            const uint32_t offset = futureOffset(0, second);
            if (rn == 15) {
                // LE (with or without LR) and LETP branch back.
                static const int ops[3] = {T32::Le, T32::Letp, T32::LeNoLr};
                if (f > 2 || bit(first, 6)) {
                    emitUndefined();
                    return;
                }
                target = pc - offset;
                emitLoop(ops[f], 0, 15, target);
                return;
            }
            if (rn == 13 || f > 4) {
                emitUndefined();
                return;
            }
            target = pc + offset;
            emitLoop(f == 4 ? T32::Wls : T32::Wlstp, int(f & 3), rn, target);
            return;
        }
        if (second == 0xE001) {
            if (rn == 15 && f == 0) {
                emitPlain(T32::Lctp);
                return;
            }
            if (rn == 13 || rn == 15 || f > 4) {
                emitUndefined();
                return;
            }
            emitLoop(f == 4 ? T32::Dls : T32::Dlstp, int(f & 3), rn, 0);
            return;
        }
        if (second == 0xE801 && f < 4 && rn != 13 && rn != 15) {
            emitLoop(T32::Vctp, int(f), rn, 0);
            return;
        }
        emitUndefined();
        return;
    }
    const uint32_t branchPoint = pc + boff * 2;
    if (!wide) { // BFL: 19-bit offset
        target = pc + uint32_t(signExtend(futureOffset(bits(first, 6, 0), second), 19));
        emitBranchFuture(T32::Bfl, branchPoint, target, 0, 0);
        return;
    }
    if (!bit(first, 6)) { // BFCSEL: 13-bit offset, the else target 2 or 4 past the branch point
        const int cond = int(bits(first, 5, 2));
        if (cond == 15) {
            emitUndefined();
            return;
        }
        target = pc + uint32_t(signExtend(futureOffset(bit(first, 0), second), 13));
        emitBranchFuture(T32::Bfcsel, branchPoint, target, cond, branchPoint + (bit(first, 1) ? 4 : 2));
        return;
    }
    if (!bit(first, 5)) { // BF: 17-bit offset
        target = pc + uint32_t(signExtend(futureOffset(bits(first, 4, 0), second), 17));
        emitBranchFuture(T32::Bf, branchPoint, target, 0, 0);
        return;
    }
    // BFX and BFLX (0b110 and 0b111 with the second halfword 0xE001, as the assembler
    // writes them) stay undecoded: objdump reads that encoding as undefined, so the
    // text would have no second opinion; their bytes are kept as data.
    emitUndefined();
}

bool ARMInstructionSetDecoder::hintAllowed(uint32_t hint) const
{
    const bool v8 = architecture == ArmLevel::Any || architecture == ArmLevel::V8A || architecture == ArmLevel::V8R ||
                    architecture >= ArmLevel::V8MBaseline;
    if (hint <= 4 || (hint >= 0xF0))
        return true;
    switch (hint) {
    case 5: // SEVL, not in ARMv8-M
        return architecture == ArmLevel::Any || architecture == ArmLevel::V8A || architecture == ArmLevel::V8R;
    case 0x14: // CSDB
        return v8;
    case 0x10: // ESB (ARMv8.2 RAS), beyond the v8 levels
        return architecture == ArmLevel::Any;
    case 0x0D: // PACBTI r12, lr, sp
    case 0x0F: // BTI
    case 0x1D: // PAC r12, lr, sp
    case 0x2D: // AUT r12, lr, sp
        return architecture == ArmLevel::Any || architecture == ArmLevel::V81MMainline;
    default:
        return true; // executes as NOP
    }
}

bool ARMInstructionSetDecoder::bankedRegisterAllowed(bool saved, int sysm) const
{
    // In A32 the banked forms take space that no older form uses: objdump reads
    // them at every level (the A32 decoder keeps the MSR to the levels where
    // objdump's text is the assembler's).
    if (isMProfile() || (!isArm && architecture != ArmLevel::Any && architecture != ArmLevel::V7A &&
                         architecture != ArmLevel::V8A && architecture != ArmLevel::V8R))
        return false;
    if (saved)
        return sysm == 14 || sysm == 16 || sysm == 18 || sysm == 20 || sysm == 22 || sysm == 28 || sysm == 30;
    return sysm != 7 && sysm != 15 && !(sysm >= 24 && sysm <= 27);
}
