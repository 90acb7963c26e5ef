// Text of the branches and control forms of 32-bit Thumb (and their A32 twins):
// wide branches, special and banked registers, hints, exception calls and returns,
// and the ARMv8.1-M loop and branch-future forms.
#include "disasm/armtextprinter.h"

void ARMInstructionSetDisassembler::emitPlain(int op)
{
    static const char* const names[7] = {"sg", "clrex", "lctp", "ssbb", "pssbb", "sb", "eret"};
    // SG and LCTP never take a condition.
    if (op == T32::Sg || op == T32::Lctp) {
        advanceItState();
        put(names[op]);
        return;
    }
    mnemonic(names[op]);
}

void ARMInstructionSetDisassembler::emitBranchWide(uint32_t where)
{
    mnemonic("b");
    put(".w ");
    printBranchTarget(where);
}

void ARMInstructionSetDisassembler::emitHintNumber(int hint)
{
    static const char* const numbered[6] = {"nop", "yield", "wfe", "wfi", "sev", "sevl"};
    // The pointer-authentication hints work on the fixed registers r12, lr and sp.
    const char* name = nullptr;
    const char* operands = nullptr;
    // In A32 the pointer-authentication hints are plain numbered NOPs.
    switch (isArm && (hint & 0x0F) >= 0x0D ? -1 : hint) {
    case 0x0D:
        name = "pacbti";
        operands = " r12, lr, sp";
        break;
    case 0x0F:
        name = "bti";
        break;
    case 0x10:
        name = "esb";
        break;
    case 0x14:
        name = "csdb";
        break;
    case 0x1D:
        name = "pac";
        operands = " r12, lr, sp";
        break;
    case 0x2D:
        name = "aut";
        operands = " r12, lr, sp";
        break;
    default:
        break;
    }
    if (name) {
        mnemonic(name);
        if (operands)
            put(operands);
        return;
    }
    if (hint >= 0xF0) {
        mnemonic("dbg");
        put(' ');
        immediate(hint & 15);
        return;
    }
    mnemonic(hint <= 5 ? numbered[hint] : "nop");
    if (!isArm)
        put(".w");
    if (hint > 5) {
        // Unallocated hints execute as NOP; the number keeps the encoding.
        put(" {");
        decimal(uint32_t(hint));
        put('}');
    }
}

void ARMInstructionSetDisassembler::emitChangeProcessorState(int imod, int flags, int mode)
{
    advanceItState();
    if (imod == 0) {
        put("cps ");
        immediate(mode);
        return;
    }
    put(imod == 3 ? "cpsid" : "cpsie");
    // Without a mode a 16-bit CPS exists for the same text.
    if (!isArm && mode < 0)
        put(".w");
    put(' ');
    if (flags & 4)
        put('a');
    if (flags & 2)
        put('i');
    if (flags & 1)
        put('f');
    if (mode >= 0) {
        separator();
        immediate(mode);
    }
}

void ARMInstructionSetDisassembler::emitExceptionCall(int op, uint32_t imm)
{
    if (op == T32::Smc || (op == T32::Hvc && isArm)) {
        // The A32 HVC with a condition other than "always" is unpredictable, but the
        // assembler writes it with its condition.
        mnemonic(op == T32::Smc ? "smc" : "hvc");
    } else {
        // HVC (in Thumb), HLT and UDF are never conditional.
        advanceItState();
        put(op == T32::Hvc ? "hvc" : op == T32::Hlt ? "hlt" : "udf");
        if (op == T32::Udf && !isArm)
            put(".w");
    }
    put(' ');
    immediate(imm);
}

void ARMInstructionSetDisassembler::emitExceptionReturn(uint32_t imm)
{
    mnemonic("subs");
    put(" pc, lr, ");
    immediate(imm);
}

namespace {
// M-profile special registers by SYSm, in objdump's capitals; APSR and XPSR spelled as
// the assembler takes them.
const char* specialRegisterName(int sysm)
{
    static const char* const low[21] = {"APSR", "IAPSR",   "EAPSR",  "XPSR",    "",        "IPSR",        "EPSR",
                                        "IEPSR", "MSP",    "PSP",    "MSPLIM",  "PSPLIM",  "",            "",
                                        "",      "",       "PRIMASK", "BASEPRI", "BASEPRI_MAX", "FAULTMASK", "CONTROL"};
    static const char* const nonSecure[17] = {"MSP_NS",     "PSP_NS", "MSPLIM_NS", "PSPLIM_NS",    "",
                                              "",           "",       "",          "PRIMASK_NS",   "BASEPRI_NS",
                                              "",           "FAULTMASK_NS", "CONTROL_NS", "", "", "", "SP_NS"};
    if (sysm >= 0 && sysm <= 20)
        return low[sysm];
    if (sysm >= 0x88 && sysm <= 0x98)
        return nonSecure[sysm - 0x88];
    return "";
}

// A/R-profile banked registers by SYSm (M:M1), and the saved status registers.
const char* bankedRegisterName(bool saved, int sysm)
{
    static const char* const names[32] = {
        "R8_usr", "R9_usr", "R10_usr", "R11_usr", "R12_usr", "SP_usr", "LR_usr", "",
        "R8_fiq", "R9_fiq", "R10_fiq", "R11_fiq", "R12_fiq", "SP_fiq", "LR_fiq", "",
        "LR_irq", "SP_irq", "LR_svc",  "SP_svc",  "LR_abt",  "SP_abt", "LR_und", "SP_und",
        "",       "",       "",        "",        "LR_mon",  "SP_mon", "ELR_hyp", "SP_hyp"};
    static const char* const savedNames[32] = {
        "", "", "", "", "", "", "", "", "", "", "", "", "", "", "SPSR_fiq", "",
        "SPSR_irq", "", "SPSR_svc", "", "SPSR_abt", "", "SPSR_und", "",
        "", "", "", "", "SPSR_mon", "", "SPSR_hyp", ""};
    return saved ? savedNames[sysm & 31] : names[sysm & 31];
}
} // namespace

void ARMInstructionSetDisassembler::emitSpecialRegisterRead(int rd, int sysm)
{
    mnemonic("mrs");
    put(' ');
    reg(rd);
    separator();
    put(specialRegisterName(sysm));
}

void ARMInstructionSetDisassembler::emitSpecialRegisterWrite(int mask, int sysm, int rn)
{
    static const char* const masks[4] = {"", "_g", "_nzcvq", "_nzcvqg"};
    mnemonic("msr");
    put(' ');
    put(specialRegisterName(sysm));
    // The APSR group takes the written fields as a suffix.
    if (sysm < 4)
        put(masks[mask & 3]);
    separator();
    reg(rn);
}

void ARMInstructionSetDisassembler::emitBankedRegister(bool write, bool saved, int sysm, int r)
{
    mnemonic(write ? "msr" : "mrs");
    put(' ');
    if (write) {
        put(bankedRegisterName(saved, sysm));
        separator();
        reg(r);
        return;
    }
    reg(r);
    separator();
    put(bankedRegisterName(saved, sysm));
}

void ARMInstructionSetDisassembler::emitLoop(int op, int size, int rn, uint32_t where)
{
    static const char* const sizes[4] = {".8", ".16", ".32", ".64"};
    advanceItState();
    switch (op) {
    case T32::Wls:
    case T32::Wlstp:
        put(op == T32::Wls ? "wls" : "wlstp");
        if (op == T32::Wlstp)
            put(sizes[size & 3]);
        put(" lr, ");
        reg(rn);
        separator();
        printBranchTarget(where);
        return;
    case T32::Dls:
    case T32::Dlstp:
        put(op == T32::Dls ? "dls" : "dlstp");
        if (op == T32::Dlstp)
            put(sizes[size & 3]);
        put(" lr, ");
        reg(rn);
        return;
    case T32::Le:
    case T32::Letp:
        put(op == T32::Le ? "le lr, " : "letp lr, ");
        printBranchTarget(where);
        return;
    case T32::LeNoLr:
        put("le ");
        printBranchTarget(where);
        return;
    default: // VCTP
        put("vctp");
        put(sizes[size & 3]);
        put(' ');
        reg(rn);
        return;
    }
}

void ARMInstructionSetDisassembler::emitBranchFuture(int op, uint32_t branchPoint, uint32_t where, int conditionOrRm,
                                                     uint32_t elseTarget)
{
    static const char* const names[5] = {"bf", "bfl", "bfx", "bflx", "bfcsel"};
    advanceItState();
    put(names[op]);
    put(' ');
    printBranchTarget(branchPoint);
    separator();
    if (op == T32::Bfx || op == T32::Bflx) {
        reg(conditionOrRm);
        return;
    }
    printBranchTarget(where);
    if (op == T32::Bfcsel) {
        separator();
        printBranchTarget(elseTarget);
        separator();
        put(conditionName(conditionOrRm));
    }
}
