// Text of the generic coprocessor forms, in the assembler's notation: "p<n>" for the
// coprocessor, "c<n>" for its registers, opcodes as plain numbers.
#include "disasm/armtextprinter.h"

namespace {
// The mnemonic with its "2" (the unconditional encodings) and "l" (long transfer).
void coprocessorMnemonic(char* out, const char* base, bool two, bool longForm)
{
    while (*base)
        *out++ = *base++;
    if (two)
        *out++ = '2';
    if (longForm)
        *out++ = 'l';
    *out = '\0';
}
} // namespace

void ARMInstructionSetDisassembler::coprocessorRegister(int n)
{
    put('c');
    decimal(uint32_t(n));
}

void ARMInstructionSetDisassembler::coprocessorHead(const char* name, int coproc, int opc1)
{
    mnemonic(name);
    put(" p");
    decimal(uint32_t(coproc));
    separator();
    decimal(uint32_t(opc1));
    separator();
}

void ARMInstructionSetDisassembler::emitCoprocessorData(bool two, int coproc, int opc1, int crd, int crn, int crm,
                                                        int opc2)
{
    coprocessorHead(two ? "cdp2" : "cdp", coproc, opc1);
    coprocessorRegister(crd);
    separator();
    coprocessorRegister(crn);
    separator();
    coprocessorRegister(crm);
    separator();
    decimal(uint32_t(opc2));
}

void ARMInstructionSetDisassembler::emitCoprocessorRegister(bool two, bool load, int coproc, int opc1, int rt, int crn,
                                                            int crm, int opc2)
{
    char name[8];
    coprocessorMnemonic(name, load ? "mrc" : "mcr", two, false);
    coprocessorHead(name, coproc, opc1);
    // A read into r15 sets the condition flags (the unconditional form keeps "pc").
    if (load && rt == 15 && !two)
        put("APSR_nzcv");
    else
        reg(rt);
    separator();
    coprocessorRegister(crn);
    separator();
    coprocessorRegister(crm);
    separator();
    decimal(uint32_t(opc2));
}

void ARMInstructionSetDisassembler::emitCoprocessorRegisterPair(bool two, bool load, int coproc, int opc1, int rt,
                                                                int rt2, int crm)
{
    char name[8];
    coprocessorMnemonic(name, load ? "mrrc" : "mcrr", two, false);
    coprocessorHead(name, coproc, opc1);
    reg(rt);
    separator();
    reg(rt2);
    separator();
    coprocessorRegister(crm);
}

void ARMInstructionSetDisassembler::emitCoprocessorLoadStore(bool two, bool load, bool longForm, int coproc, int crd,
                                                             int rn, uint32_t imm8, bool index, bool add,
                                                             bool writeback)
{
    char name[8];
    coprocessorMnemonic(name, load ? "ldc" : "stc", two, longForm);
    mnemonic(name);
    put(" p");
    decimal(uint32_t(coproc));
    separator();
    coprocessorRegister(crd);
    put(", [");
    reg(rn);
    // Coprocessor 9 (the half-precision unit's) counts its offsets in halfwords.
    const uint32_t offset = imm8 * (coproc == 9 ? 2 : 4);
    if (index && add && imm8 == 0 && !writeback) {
        put(']');
    } else if (index) {
        separator();
        signedOffset(add, offset);
        put(writeback ? "]!" : "]");
    } else if (writeback) {
        put("], ");
        signedOffset(add, offset);
    } else {
        // Unindexed: the 8-bit value goes to the coprocessor as it is.
        put("], {");
        decimal(imm8);
        put('}');
    }
}
