// Text of the 32-bit Thumb loads and stores (single, dual, exclusive, multiple) and
// the preloads, which A32 shares.
#include "disasm/armtextprinter.h"

namespace {
// A name with a suffix appended ("ldr" + "t"), in a caller's small buffer.
const char* joined(char (&buffer)[12], const char* name, const char* suffix)
{
    int n = 0;
    for (const char* p = name; *p && n < 11; ++p)
        buffer[n++] = *p;
    for (const char* p = suffix; *p && n < 11; ++p)
        buffer[n++] = *p;
    buffer[n] = '\0';
    return buffer;
}
} // namespace

void ARMInstructionSetDisassembler::literalOperand(uint32_t offset, bool add, int size)
{
    // The literal sits at Align(PC, 4) +/- offset, PC being the instruction address + 4
    // in Thumb state and + 8 in ARM state.
    const uint32_t base = isArm ? instructionAddress() + 8 : (instructionAddress() + 4) & ~3u;
    const uint32_t literal = add ? base + offset : base - offset;
    auto bracket = [&] {
        put("[pc");
        if (offset != 0 || !add) {
            separator();
            signedOffset(add, offset);
        }
        put(']');
    };
    if (usePcRelativeForm()) {
        bracket();
        printLiteralAddress(literal, size);
        return;
    }
    if (!printLiteralAddress(literal, size))
        bracket();
}

void ARMInstructionSetDisassembler::emitLoadStoreWide(int op, int rt, int rn, uint32_t imm, bool index, bool add,
                                                      bool writeback, bool unprivileged)
{
    static const int sizes[8] = {4, 2, 1, 1, 4, 2, 1, 2};
    char name[12];
    if (unprivileged) {
        mnemonic(joined(name, thumbLoadStoreName(op), "t"));
    } else {
        // Every one of these has a 16-bit twin in some form: objdump and the
        // assembler agree on ".w" for the 32-bit encoding.
        mnemonic(thumbLoadStoreName(op));
        put(".w");
    }
    put(' ');
    reg(rt);
    separator();
    if (rn == 15) {
        literalOperand(imm, add, sizes[op & 7]);
        return;
    }
    put('[');
    reg(rn);
    offsetAddressing(imm, index, add, writeback);
}

void ARMInstructionSetDisassembler::offsetAddressing(uint32_t imm, bool index, bool add, bool writeback)
{
    // "[rn]", "[rn, #imm]", "[rn, #imm]!", "[rn]!", "[rn], #imm"; "#-0" stays visible.
    if (!index) {
        put("], ");
        signedOffset(add, imm);
        return;
    }
    if (imm != 0 || !add) {
        separator();
        signedOffset(add, imm);
    }
    put(']');
    if (writeback)
        put('!');
}

void ARMInstructionSetDisassembler::emitLoadStoreWideRegister(int op, int rt, int rn, int rm, int shift)
{
    mnemonic(thumbLoadStoreName(op));
    put(".w ");
    reg(rt);
    put(", [");
    reg(rn);
    separator();
    reg(rm);
    shiftByImmediate(A32::Lsl, shift);
    put(']');
}

void ARMInstructionSetDisassembler::emitPreloadHint(int kind, int rn, bool registerForm, uint32_t immOrRm, bool add,
                                                    int type, int imm5)
{
    static const char* const names[3] = {"pld", "pldw", "pli"};
    mnemonic(names[kind]);
    put(" [");
    reg(rn);
    if (registerForm) {
        separator();
        if (!add)
            put('-');
        reg(int(immOrRm));
        shiftByImmediate(type, imm5);
    } else if (immOrRm != 0 || !add) {
        separator();
        signedOffset(add, immOrRm);
    }
    put(']');
}

void ARMInstructionSetDisassembler::emitLoadStoreDual(bool load, int rt, int rt2, int rn, uint32_t imm, bool index,
                                                      bool add, bool writeback)
{
    mnemonic(load ? "ldrd" : "strd");
    put(' ');
    reg(rt);
    separator();
    reg(rt2);
    separator();
    if (rn == 15 && index && !writeback) {
        literalOperand(imm, add, 8);
        return;
    }
    put('[');
    reg(rn);
    offsetAddressing(imm, index, add, writeback);
}

void ARMInstructionSetDisassembler::emitExclusiveWide(bool load, int op, int rd, int rt, int rt2, int rn, uint32_t imm)
{
    // By op3 (bits 7..4): bit 3 acquire/release, bit 2 exclusive, bits 1..0 the size.
    static const char* const stores[16] = {"", "", "", "", "strexb", "strexh", "", "strexd",
                                           "stlb", "stlh", "stl", "", "stlexb", "stlexh", "stlex", "stlexd"};
    static const char* const loads[16] = {"", "", "", "", "ldrexb", "ldrexh", "", "ldrexd",
                                          "ldab", "ldah", "lda", "", "ldaexb", "ldaexh", "ldaex", "ldaexd"};
    mnemonic(op < 0 ? (load ? "ldrex" : "strex") : (load ? loads[op & 15] : stores[op & 15]));
    put(' ');
    if (!load && (op < 0 || (op & 4))) {
        reg(rd);
        separator();
    }
    reg(rt);
    separator();
    if (op >= 0 && (op & 3) == 3) {
        reg(rt2);
        separator();
    }
    put('[');
    reg(rn);
    if (imm != 0) {
        separator();
        immediate(imm);
    }
    put(']');
}

void ARMInstructionSetDisassembler::emitTableBranch(bool half, int rn, int rm)
{
    mnemonic(half ? "tbh" : "tbb");
    put(" [");
    reg(rn);
    separator();
    reg(rm);
    put(half ? ", lsl #1]" : "]");
}

void ARMInstructionSetDisassembler::emitTestTarget(int op, int rd, int rn)
{
    static const char* const names[4] = {"tt", "ttt", "tta", "ttat"};
    mnemonic(names[op & 3]);
    put(' ');
    reg(rd);
    separator();
    reg(rn);
}

void ARMInstructionSetDisassembler::emitLoadStoreMultipleWide(bool load, bool decrementBefore, int rn,
                                                              uint32_t registers, bool writeback)
{
    // Increment-after has 16-bit twins (LDM/STM/POP/PUSH); objdump keeps the
    // stack forms as LDMIA/STMDB rather than POP.W/PUSH.W.
    if (decrementBefore) {
        mnemonic(load ? "ldmdb" : "stmdb");
    } else {
        mnemonic(load ? "ldmia" : "stmia");
        put(".w");
    }
    put(' ');
    reg(rn);
    put(writeback ? "!, " : ", ");
    registerList(registers);
}

void ARMInstructionSetDisassembler::emitClearRegisters(uint32_t registers)
{
    mnemonic("clrm");
    put(" {");
    bool first = true;
    for (int r = 0; r < 16; ++r) {
        if (!(registers & (1u << r)))
            continue;
        if (!first)
            separator();
        first = false;
        if (r == 15) // bit 15 clears the flags
            put("APSR");
        else
            reg(r);
    }
    put('}');
}

void ARMInstructionSetDisassembler::emitReturnFromException(int mode, int rn, bool writeback)
{
    static const char* const names[4] = {"rfeda", "rfeia", "rfedb", "rfeib"};
    mnemonic(names[mode & 3]);
    put(' ');
    reg(rn);
    if (writeback)
        put('!');
}

void ARMInstructionSetDisassembler::emitStoreReturnState(int mode, bool writeback, int processorMode)
{
    static const char* const names[4] = {"srsda", "srsia", "srsdb", "srsib"};
    mnemonic(names[mode & 3]);
    put(writeback ? " sp!, " : " sp, ");
    immediate(processorMode);
}

void ARMInstructionSetDisassembler::emitExtraUnprivileged(int op, int rt, int rn, bool isImmediate, uint32_t imm8OrRm,
                                                         bool add)
{
    static const char* const names[8] = {"", "", "strht", "ldrht", "", "ldrsbt", "", "ldrsht"};
    mnemonic(names[op & 7]);
    put(' ');
    reg(rt);
    put(", [");
    reg(rn);
    put("], ");
    if (isImmediate) {
        signedOffset(add, imm8OrRm);
        return;
    }
    if (!add)
        put('-');
    reg(int(imm8OrRm));
}

void ARMInstructionSetDisassembler::emitBlockTransferUser(bool load, int mode, int rn, uint32_t registers,
                                                         bool writeback)
{
    // The ascending store keeps its "ia": that is the spelling objdump gives these forms.
    static const char* const loads[4] = {"ldmda", "ldm", "ldmdb", "ldmib"};
    static const char* const stores[4] = {"stmda", "stmia", "stmdb", "stmib"};
    mnemonic(load ? loads[mode & 3] : stores[mode & 3]);
    put(' ');
    reg(rn);
    put(writeback ? "!, " : ", ");
    registerList(registers);
    put('^');
}

void ARMInstructionSetDisassembler::emitPreloadIndexed(int kind, int rn, uint32_t imm8, bool index, bool add,
                                                       bool writeback)
{
    static const char* const names[3] = {"pld", "pldw", "pli"};
    mnemonic(names[kind]);
    put(" [");
    reg(rn);
    offsetAddressing(imm8, index, add, writeback);
}
