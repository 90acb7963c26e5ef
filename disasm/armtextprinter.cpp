#include "disasm/armtextprinter.h"

namespace {
const char* const kConditions[16] = {"eq", "ne", "cs", "cc", "mi", "pl", "vs", "vc",
                                     "hi", "ls", "ge", "lt", "gt", "le", "al", "nv"};
const char* const kRegisters[16] = {"r0", "r1", "r2", "r3", "r4", "r5", "r6", "r7",
                                    "r8", "r9", "r10", "r11", "r12", "sp", "lr", "pc"};
} // namespace

const char* ARMInstructionSetDisassembler::conditionName(int c)
{
    return (c >= 0 && c < 16) ? kConditions[c] : "";
}

uint32_t ARMInstructionSetDisassembler::instructionAddress() const { return instructionStart; }

void ARMInstructionSetDisassembler::hex(uint32_t value, int minDigits, bool prefix)
{
    char digits[10];
    int n = 0;
    do {
        digits[n++] = "0123456789ABCDEF"[value & 0xF];
        value >>= 4;
    } while (value);
    // Whole bytes: an odd digit count gains one leading zero.
    if (n & 1)
        digits[n++] = '0';
    if (prefix)
        put("0x");
    for (int i = n; i < minDigits; ++i)
        put('0');
    while (n)
        put(digits[--n]);
}

void ARMInstructionSetDisassembler::immediate(int64_t value)
{
    put('#');
    if (value < 0) {
        put('-');
        value = -value;
    }
    if (value <= 32) {
        char digits[12];
        int n = 0;
        do {
            digits[n++] = char('0' + value % 10);
            value /= 10;
        } while (value);
        while (n)
            put(digits[--n]);
    } else {
        hex(uint32_t(value), 0, true);
    }
}

void ARMInstructionSetDisassembler::mnemonic(const char* name)
{
    // An MVE predication block (outside IT blocks) puts each instruction's "t" or
    // "e" before the first "." of its mnemonic, or at its end.
    if (predicationCount > 0 && !inItBlock()) {
        const char* s = name;
        while (*s && *s != '.')
            put(*s++);
        put(takePredicationLetter());
        put(s);
        return;
    }
    put(name);
    if (inItBlock()) {
        put(kConditions[itState >> 4]);
        advanceItState();
    } else if (condition >= 0 && condition <= 13) {
        put(kConditions[condition]);
    }
}

void ARMInstructionSetDisassembler::advanceItState()
{
    if (!inItBlock())
        return;
    // ITSTATE: the block ends when the low three bits are clear, otherwise bits 4..0
    // shift left and bits 7..5 keep the base condition.
    if ((itState & 7) == 0)
        itState = 0;
    else
        itState = (itState & 0xE0) | ((itState << 1) & 0x1F);
}

char ARMInstructionSetDisassembler::takePredicationLetter()
{
    const char letter = thenFlags[0] ? 't' : 'e';
    for (int i = 0; i < 3; ++i)
        thenFlags[i] = thenFlags[i + 1];
    --predicationCount;
    return letter;
}

void ARMInstructionSetDisassembler::reg(int r) { put(kRegisters[r & 15]); }

void ARMInstructionSetDisassembler::registerList(uint32_t registers)
{
    put('{');
    bool first = true;
    for (int r = 0; r < 16; ++r) {
        if (registers & (1u << r)) {
            if (!first)
                separator();
            reg(r);
            first = false;
        }
    }
    put('}');
}

void ARMInstructionSetDisassembler::printBranchTarget(uint32_t where) { hex(where, 8, true); }

bool ARMInstructionSetDisassembler::printLiteralAddress(uint32_t, int) { return false; }

void ARMInstructionSetDisassembler::emitUndefined()
{
    // An undefined encoding still takes its place in an IT or predication block.
    if (predicationCount > 0 && !inItBlock())
        takePredicationLetter();
    advanceItState();
    losesBytes = true;
    put("undefined opcode");
}

void ARMInstructionSetDisassembler::emitShiftImmediate(int op, int rd, int rm, int imm5)
{
    static const char* const flagSetting[3] = {"lsls", "lsrs", "asrs"};
    static const char* const plain[3] = {"lsl", "lsr", "asr"};
    // LSL #0 is the register move; LSR and ASR encode a shift of 32 as 0.
    if (op == T16::Lsl && imm5 == 0) {
        mnemonic(setFlags("movs", "mov"));
        put(' ');
        reg(rd);
        separator();
        reg(rm);
        return;
    }
    mnemonic(setFlags(flagSetting[op], plain[op]));
    put(' ');
    reg(rd);
    separator();
    reg(rm);
    separator();
    immediate(imm5 == 0 ? 32 : imm5);
}

void ARMInstructionSetDisassembler::emitAddSubtract(bool subtract, bool isImmediate, int rd, int rn, int rmOrImm3)
{
    mnemonic(subtract ? setFlags("subs", "sub") : setFlags("adds", "add"));
    put(' ');
    reg(rd);
    separator();
    reg(rn);
    separator();
    if (isImmediate)
        immediate(rmOrImm3);
    else
        reg(rmOrImm3);
}

void ARMInstructionSetDisassembler::emitImmediate8(int op, int rdn, int imm8)
{
    static const char* const flagSetting[4] = {"movs", "cmp", "adds", "subs"};
    static const char* const plain[4] = {"mov", "cmp", "add", "sub"};
    mnemonic(setFlags(flagSetting[op], plain[op]));
    put(' ');
    reg(rdn);
    separator();
    immediate(imm8);
}

void ARMInstructionSetDisassembler::emitDataProcessing(int op, int rdn, int rm)
{
    // Compares set the flags without an "s"; the others drop theirs inside IT blocks.
    static const char* const flagSetting[16] = {"ands", "eors", "lsls", "lsrs", "asrs", "adcs", "sbcs", "rors",
                                                "tst",  "rsbs", "cmp",  "cmn",  "orrs", "muls", "bics", "mvns"};
    static const char* const plain[16] = {"and", "eor", "lsl", "lsr", "asr", "adc", "sbc", "ror",
                                          "tst", "rsb", "cmp", "cmn", "orr", "mul", "bic", "mvn"};
    mnemonic(setFlags(flagSetting[op], plain[op]));
    put(' ');
    reg(rdn);
    separator();
    reg(rm);
    if (op == 9) // negate is the reverse subtraction from zero
        put(", #0");
    else if (op == 13) { // the multiply's destination is also its second source
        separator();
        reg(rdn);
    }
}

void ARMInstructionSetDisassembler::emitSpecialData(int op, int rdn, int rm)
{
    static const char* const names[3] = {"add", "cmp", "mov"};
    mnemonic(names[op]);
    put(' ');
    reg(rdn);
    separator();
    reg(rm);
}

void ARMInstructionSetDisassembler::emitBranchExchange(bool link, bool nonSecure, int rm)
{
    mnemonic(link ? (nonSecure ? "blxns" : "blx") : (nonSecure ? "bxns" : "bx"));
    put(' ');
    reg(rm);
}

void ARMInstructionSetDisassembler::emitLiteralLoad(int rt, uint32_t offset, bool add)
{
    mnemonic("ldr");
    put(' ');
    reg(rt);
    separator();
    // The literal sits at Align(PC, 4) +/- offset, PC being the instruction address + 4
    // in Thumb state and + 8 (always aligned) in ARM state.
    const uint32_t base = isArm ? instructionAddress() + 8 : (instructionAddress() + 4) & ~3u;
    const uint32_t literal = add ? base + offset : base - offset;
    auto bracket = [&] {
        put("[pc, #");
        if (!add)
            put('-');
        immediateNumber(offset);
        put(']');
    };
    if (usePcRelativeForm()) {
        bracket();
        printLiteralAddress(literal, 4);
        return;
    }
    if (printLiteralAddress(literal, 4))
        return;
    if (usePcRelativeForm())
        return;
    bracket();
}

// The 16-bit Thumb loads and stores, by their 3-bit opcode.
static const char* const thumbLoadStoreNames[8] = {"str", "strh", "strb", "ldrsb", "ldr", "ldrh", "ldrb", "ldrsh"};

const char* ARMInstructionSetDisassembler::thumbLoadStoreName(int op) { return thumbLoadStoreNames[op & 7]; }

void ARMInstructionSetDisassembler::emitLoadStoreRegister(int op, int rt, int rn, int rm)
{
    mnemonic(thumbLoadStoreNames[op]);
    put(' ');
    reg(rt);
    put(", [");
    reg(rn);
    separator();
    reg(rm);
    put(']');
}

void ARMInstructionSetDisassembler::emitLoadStoreImmediate(int op, int rt, int rn, uint32_t offset)
{
    mnemonic(thumbLoadStoreNames[op]);
    put(' ');
    reg(rt);
    put(", [");
    reg(rn);
    separator();
    immediate(offset);
    put(']');
}

void ARMInstructionSetDisassembler::emitAddressOf(bool fromSp, int rd, uint32_t offset)
{
    mnemonic("add");
    put(' ');
    reg(rd);
    put(fromSp ? ", sp, " : ", pc, ");
    immediate(offset);
}

void ARMInstructionSetDisassembler::emitAdjustSp(bool subtract, uint32_t offset)
{
    mnemonic(subtract ? "sub" : "add");
    put(" sp, ");
    immediate(offset);
}

void ARMInstructionSetDisassembler::emitExtend(int op, int rd, int rm)
{
    static const char* const names[4] = {"sxth", "sxtb", "uxth", "uxtb"};
    mnemonic(names[op]);
    put(' ');
    reg(rd);
    separator();
    reg(rm);
}

void ARMInstructionSetDisassembler::emitReverse(int op, int rd, int rm)
{
    if (op == T16::RevReserved) {
        advanceItState();
        losesBytes = true;
        put("???");
        return;
    }
    static const char* const names[4] = {"rev", "rev16", "", "revsh"};
    mnemonic(names[op]);
    put(wideThumb() ? ".w " : " ");
    reg(rd);
    separator();
    reg(rm);
}

void ARMInstructionSetDisassembler::emitRegisterList(int op, int rn, uint32_t registers, bool writeback)
{
    static const char* const names[4] = {"push", "pop", "stmia", "ldmia"};
    mnemonic(names[op]);
    put(' ');
    if (op == T16::Stm || op == T16::Ldm) {
        reg(rn);
        put(writeback ? "!, " : ", ");
    }
    registerList(registers);
}

void ARMInstructionSetDisassembler::emitImmediateOnly(int op, uint32_t imm)
{
    static const char* const names[3] = {"bkpt", "svc", "udf"};
    // BKPT is never conditional, even inside an IT block.
    if (op == T16::Bkpt) {
        advanceItState();
        put(names[op]);
    }
    else
        mnemonic(names[op]);
    put(' ');
    immediate(imm);
}

void ARMInstructionSetDisassembler::emitSetEndian(bool bigEndian)
{
    advanceItState();
    put(bigEndian ? "setend be" : "setend le");
}

void ARMInstructionSetDisassembler::emitChangeState(bool disable, int flags)
{
    advanceItState();
    put(disable ? "cpsid " : "cpsie ");
    if (flags & 4)
        put('a');
    if (flags & 2)
        put('i');
    if (flags & 1)
        put('f');
}

void ARMInstructionSetDisassembler::emitCompareBranch(bool nonZero, int rn, uint32_t where)
{
    advanceItState();
    put(nonZero ? "cbnz " : "cbz ");
    reg(rn);
    separator();
    printBranchTarget(where);
}

void ARMInstructionSetDisassembler::emitIfThen(int firstCondition, int mask)
{
    put("it");
    // The block is as long as the lowest set mask bit says; each further
    // instruction is "then" when its mask bit equals firstcond's bit 0.
    const int length = (mask & 1) ? 4 : (mask & 2) ? 3 : (mask & 4) ? 2 : 1;
    for (int i = 1; i < length; ++i)
        put(((mask >> (4 - i)) & 1) == (firstCondition & 1) ? 't' : 'e');
    put(' ');
    put(kConditions[firstCondition]);
}

void ARMInstructionSetDisassembler::emitHint(int op, int value)
{
    static const char* const names[5] = {"nop", "yield", "wfe", "wfi", "sev"};
    if (op < T16::OtherHint) {
        mnemonic(names[op]);
        return;
    }
    // The unallocated hints execute as NOP.
    mnemonic("nop");
    put(" {");
    if (value >= 10)
        put('1');
    put(char('0' + value % 10));
    put('}');
}

void ARMInstructionSetDisassembler::emitBranch(uint32_t where)
{
    mnemonic("b");
    put(' ');
    printBranchTarget(where);
}

void ARMInstructionSetDisassembler::emitBranchLink(bool exchange, uint32_t where)
{
    mnemonic(exchange ? "blx" : "bl");
    put(' ');
    printBranchTarget(where);
}

// ---- A32 forms ----

namespace {
const char* const kDataNames[16] = {"and", "eor", "sub", "rsb", "add", "adc", "sbc", "rsc",
                                    "tst", "teq", "cmp", "cmn", "orr", "mov", "bic", "mvn"};
const char* const kDataFlagNames[16] = {"ands", "eors", "subs", "rsbs", "adds", "adcs", "sbcs", "rscs",
                                        "tst",  "teq",  "cmp",  "cmn",  "orrs", "movs", "bics", "mvns"};
const char* const kShiftNames[4] = {"lsl", "lsr", "asr", "ror"};
const char* const kShiftFlagNames[4] = {"lsls", "lsrs", "asrs", "rors"};
} // namespace

void ARMInstructionSetDisassembler::signedOffset(bool add, uint32_t magnitude)
{
    if (add) {
        immediate(magnitude);
        return;
    }
    put("#-");
    immediateNumber(magnitude);
}

void ARMInstructionSetDisassembler::wordByteMnemonic(bool load, bool byte, bool unprivileged)
{
    // Post-indexed with writeback requested is the unprivileged access ("t").
    static const char* const names[8] = {"str", "strb", "ldr", "ldrb", "strt", "strbt", "ldrt", "ldrbt"};
    mnemonic(names[(unprivileged ? 4 : 0) | (load ? 2 : 0) | (byte ? 1 : 0)]);
}

void ARMInstructionSetDisassembler::shiftByImmediate(int type, int imm5)
{
    if (type == A32::Lsl && imm5 == 0)
        return;
    if (type == A32::Ror && imm5 == 0) { // ROR #0 is the one-bit rotate through carry
        put(", rrx");
        return;
    }
    separator();
    put(kShiftNames[type]);
    put(' ');
    // LSR and ASR encode a shift of 32 as 0.
    immediate(imm5 == 0 ? 32 : imm5);
}

void ARMInstructionSetDisassembler::dataPrefix(int op, bool setFlags, int rd, int rn)
{
    mnemonic(setFlags ? kDataFlagNames[op] : kDataNames[op]);
    put(' ');
    if (op >= A32::Tst && op <= A32::Cmn) {
        reg(rn);
        separator();
        return;
    }
    reg(rd);
    separator();
    if (op != A32::Mov && op != A32::Mvn) {
        reg(rn);
        separator();
    }
}

void ARMInstructionSetDisassembler::emitBranchJazelle(int rm)
{
    mnemonic("bxj");
    put(' ');
    reg(rm);
}

void ARMInstructionSetDisassembler::emitDataImmediate(int op, bool setFlags, int rd, int rn, uint32_t imm12)
{
    const uint32_t imm8 = imm12 & 0xFF;
    const unsigned rotation = (imm12 >> 8) * 2;
    const uint32_t value = ArmBits::expandImmediate(imm12);
    dataPrefix(op, setFlags, rd, rn);
    // The assembler picks the smallest rotation that holds the value; any other
    // rotation is written out so the same encoding comes back.
    if (!ArmBits::smallestRotation(imm12)) {
        immediate(imm8);
        separator();
        decimal(rotation);
        return;
    }
    immediate(value);
}

void ARMInstructionSetDisassembler::emitDataRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int imm5)
{
    if (op == A32::Mov && !(type == A32::Lsl && imm5 == 0)) {
        // A shifted move is written as the shift itself.
        if (type == A32::Ror && imm5 == 0) {
            mnemonic(setFlags ? "rrxs" : "rrx");
            put(' ');
            reg(rd);
            separator();
            reg(rm);
            return;
        }
        mnemonic(setFlags ? kShiftFlagNames[type] : kShiftNames[type]);
        put(' ');
        reg(rd);
        separator();
        reg(rm);
        separator();
        immediate(imm5 == 0 ? 32 : imm5);
        return;
    }
    dataPrefix(op, setFlags, rd, rn);
    reg(rm);
    shiftByImmediate(type, imm5);
}

void ARMInstructionSetDisassembler::emitDataShiftedRegister(int op, bool setFlags, int rd, int rn, int rm, int type,
                                                           int rs)
{
    if (op == A32::Mov) {
        mnemonic(setFlags ? kShiftFlagNames[type] : kShiftNames[type]);
        put(' ');
        reg(rd);
        separator();
        reg(rm);
        separator();
        reg(rs);
        return;
    }
    dataPrefix(op, setFlags, rd, rn);
    reg(rm);
    separator();
    put(kShiftNames[type]);
    put(' ');
    reg(rs);
}

void ARMInstructionSetDisassembler::emitMultiply(int op, bool setFlags, int rd, int rn, int rm, int ra)
{
    static const char* const names[8] = {"mul", "mla", "umaal", "mls", "umull", "umlal", "smull", "smlal"};
    static const char* const flagNames[8] = {"muls", "mlas", "umaal", "mls", "umulls", "umlals", "smulls", "smlals"};
    mnemonic(setFlags ? flagNames[op] : names[op]);
    put(wideThumb() && op == A32::Mul ? ".w " : " ");
    if (op == A32::Umaal || op >= A32::Umull) { // RdLo, RdHi, Rn, Rm
        reg(ra);
        separator();
        reg(rd);
        separator();
        reg(rn);
        separator();
        reg(rm);
        return;
    }
    reg(rd);
    separator();
    reg(rn);
    separator();
    reg(rm);
    if (op != A32::Mul) {
        separator();
        reg(ra);
    }
}

void ARMInstructionSetDisassembler::emitWordByteImmediate(bool load, bool byte, int rt, int rn, uint32_t imm12,
                                                          bool index, bool add, bool writeback)
{
    // One register pushed or popped is written as PUSH/POP, which the assembler
    // turns back into this STR/LDR.
    if (rn == 13 && !byte && imm12 == 4 && (load ? (!index && add) : (index && !add && writeback))) {
        mnemonic(load ? "pop" : "push");
        put(" {");
        reg(rt);
        put('}');
        return;
    }
    wordByteMnemonic(load, byte, !index && writeback);
    put(' ');
    reg(rt);
    put(", [");
    reg(rn);
    if (!index) {
        put("], ");
        signedOffset(add, imm12);
        return;
    }
    // A zero offset added is left out unless written back; subtracted it stays ("#-0").
    if (imm12 != 0 || !add || writeback) {
        separator();
        signedOffset(add, imm12);
    }
    put(']');
    if (writeback)
        put('!');
}

void ARMInstructionSetDisassembler::emitWordByteRegister(bool load, bool byte, int rt, int rn, int rm, int type,
                                                         int imm5, bool index, bool add, bool writeback)
{
    wordByteMnemonic(load, byte, !index && writeback);
    put(' ');
    reg(rt);
    put(", [");
    reg(rn);
    put(index ? ", " : "], ");
    if (!add)
        put('-');
    reg(rm);
    shiftByImmediate(type, imm5);
    if (index) {
        put(']');
        if (writeback)
            put('!');
    }
}

void ARMInstructionSetDisassembler::emitCountLeadingZeros(int rd, int rm)
{
    mnemonic("clz");
    put(' ');
    reg(rd);
    separator();
    reg(rm);
}

void ARMInstructionSetDisassembler::emitExtraLoadStore(int op, int rt, int rn, bool isImmediate, uint32_t imm8OrRm,
                                                       bool index, bool add, bool writeback)
{
    static const char* const names[8] = {"", "", "strh", "ldrh", "ldrd", "ldrsb", "strd", "ldrsh"};
    mnemonic(names[op]);
    put(' ');
    reg(rt);
    put(", [");
    reg(rn);
    if (!index)
        put(']');
    if (isImmediate) {
        if (!index || imm8OrRm != 0 || !add || writeback) {
            separator();
            signedOffset(add, imm8OrRm);
        }
    } else {
        separator();
        if (!add)
            put('-');
        reg(int(imm8OrRm));
    }
    if (index) {
        put(']');
        if (writeback)
            put('!');
    }
}

void ARMInstructionSetDisassembler::emitBlockTransfer(bool load, int mode, int rn, uint32_t registers, bool writeback)
{
    static const char* const loads[4] = {"ldmda", "ldm", "ldmdb", "ldmib"};
    static const char* const stores[4] = {"stmda", "stm", "stmdb", "stmib"};
    // Objdump spells the written-back ascending store in full.
    const bool single = (registers & (registers - 1)) == 0;
    // The stack forms: several registers are PUSH/POP; a single one keeps the
    // full-descending name, as PUSH/POP of one register assemble to STR/LDR.
    if (rn == 13 && writeback && ((load && mode == A32::Ia) || (!load && mode == A32::Db))) {
        if (!single) {
            mnemonic(load ? "pop" : "push");
            put(' ');
            registerList(registers);
            return;
        }
        mnemonic(load ? "ldmfd" : "stmfd");
    } else if (!load && mode == A32::Ia && writeback) {
        mnemonic("stmia");
    } else {
        mnemonic(load ? loads[mode] : stores[mode]);
    }
    put(' ');
    reg(rn);
    put(writeback ? "!, " : ", ");
    registerList(registers);
}

void ARMInstructionSetDisassembler::emitMoveWide(bool top, int rd, uint32_t imm16)
{
    mnemonic(top ? "movt" : "movw");
    put(' ');
    reg(rd);
    separator();
    immediate(imm16);
}

void ARMInstructionSetDisassembler::emitExtendRotate(int op, int rd, int rn, int rm, int rotation)
{
    static const char* const names[8] = {"sxtb16", "", "sxtb", "sxth", "uxtb16", "", "uxtb", "uxth"};
    static const char* const adding[8] = {"sxtab16", "", "sxtab", "sxtah", "uxtab16", "", "uxtab", "uxtah"};
    mnemonic(rn == 15 ? names[op & 7] : adding[op & 7]);
    // The 32-bit Thumb byte and halfword extends have 16-bit twins.
    put(wideThumb() && rn == 15 && (op & 2) ? ".w " : " ");
    reg(rd);
    separator();
    if (rn != 15) {
        reg(rn);
        separator();
    }
    reg(rm);
    if (rotation) {
        put(", ror ");
        immediate(rotation);
    }
}

void ARMInstructionSetDisassembler::emitBitField(int op, int rd, int rn, int lsb, int width)
{
    static const char* const names[5] = {"", "sbfx", "bfi", "ubfx", "bfc"};
    mnemonic(names[op]);
    put(' ');
    reg(rd);
    separator();
    if (op != A32::Bfc) {
        reg(rn);
        separator();
    }
    immediate(lsb);
    separator();
    immediate(width);
}

void ARMInstructionSetDisassembler::emitSaturate(bool isUnsigned, int rd, int saturateTo, int rn, bool arithmeticShift,
                                                 int imm5)
{
    mnemonic(isUnsigned ? "usat" : "ssat");
    put(' ');
    reg(rd);
    separator();
    immediate(saturateTo);
    separator();
    reg(rn);
    shiftByImmediate(arithmeticShift ? A32::Asr : A32::Lsl, imm5);
}

void ARMInstructionSetDisassembler::emitBarrier(int op, int option)
{
    static const char* const names[3] = {"dsb", "dmb", "isb"};
    static const char* const options[16] = {"", "oshld", "oshst", "osh", "", "nshld", "nshst", "nsh",
                                            "", "ishld", "ishst", "ish", "", "ld", "st", "sy"};
    // Conditional inside a Thumb IT block. Options without a name, and every ISB
    // option but SY, are written as numbers.
    mnemonic(names[op]);
    put(' ');
    if (op == 2 ? option == 15 : *options[option & 15] != '\0')
        put(options[option & 15]);
    else
        immediate(uint32_t(option & 15));
}

void ARMInstructionSetDisassembler::emitExclusive(bool load, int op, int rd, int rt, int rn)
{
    static const char* const loads[4] = {"ldrex", "ldrexd", "ldrexb", "ldrexh"};
    static const char* const stores[4] = {"strex", "strexd", "strexb", "strexh"};
    mnemonic(load ? loads[op] : stores[op]);
    put(' ');
    if (!load) {
        reg(rd);
        separator();
    }
    reg(rt);
    put(", [");
    reg(rn);
    put(']');
}

void ARMInstructionSetDisassembler::emitStatusRead(bool saved, int rd)
{
    mnemonic("mrs");
    put(' ');
    reg(rd);
    put(saved ? ", SPSR" : ", CPSR");
}

void ARMInstructionSetDisassembler::emitStatusWriteImmediate(bool saved, int mask, uint32_t imm12)
{
    emitStatusWrite(saved, mask, -1);
    immediate(ArmBits::expandImmediate(imm12));
}

void ARMInstructionSetDisassembler::emitStatusWrite(bool saved, int mask, int rn)
{
    mnemonic("msr");
    put(saved ? " SPSR_" : " CPSR_");
    // The field letters in the assembler's order: flags, status, extension, control.
    if (mask & 8)
        put('f');
    if (mask & 4)
        put('s');
    if (mask & 2)
        put('x');
    if (mask & 1)
        put('c');
    separator();
    if (rn >= 0) // the immediate form writes its value after
        reg(rn);
}

void ARMInstructionSetDisassembler::emitPreload(int rn, uint32_t imm12, bool add)
{
    put("pld [");
    reg(rn);
    if (imm12 != 0 || !add) {
        separator();
        signedOffset(add, imm12);
    }
    put(']');
}

void ARMInstructionSetDisassembler::emitSwap(bool byte, int rt, int rt2, int rn)
{
    mnemonic(byte ? "swpb" : "swp");
    put(' ');
    reg(rt);
    separator();
    reg(rt2);
    put(", [");
    reg(rn);
    put(']');
}

void ARMInstructionSetDisassembler::decimal(uint64_t value)
{
    char digits[20];
    int n = 0;
    do {
        digits[n++] = char('0' + value % 10);
        value /= 10;
    } while (value);
    while (n)
        put(digits[--n]);
}
