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
    if (predicationCount > 0)
        --predicationCount;
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
    // An undefined encoding still takes its place in an IT block.
    advanceItState();
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
    // The literal sits at Align(PC, 4) +/- offset, PC being the instruction address + 4.
    const uint32_t base = (instructionAddress() + 4) & ~3u;
    const uint32_t literal = add ? base + offset : base - offset;
    auto bracket = [&] {
        put("[pc, #");
        if (!add)
            put('-');
        if (offset <= 32) {
            char digits[12];
            int n = 0;
            uint32_t v = offset;
            do {
                digits[n++] = char('0' + v % 10);
                v /= 10;
            } while (v);
            while (n)
                put(digits[--n]);
        } else {
            hex(offset, 0, true);
        }
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

void ARMInstructionSetDisassembler::emitLoadStoreRegister(int op, int rt, int rn, int rm)
{
    static const char* const names[8] = {"str", "strh", "strb", "ldrsb", "ldr", "ldrh", "ldrb", "ldrsh"};
    mnemonic(names[op]);
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
    static const char* const names[8] = {"str", "strh", "strb", "ldrsb", "ldr", "ldrh", "ldrb", "ldrsh"};
    mnemonic(names[op]);
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
        put("???");
        return;
    }
    static const char* const names[4] = {"rev", "rev16", "", "revsh"};
    mnemonic(names[op]);
    put(' ');
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
