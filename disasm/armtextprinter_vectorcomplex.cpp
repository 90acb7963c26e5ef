// Text of the ARMv8 complex-number, dot-product, matrix and BFloat16 forms:
// "vcmla.f16 d0, d1, d2[1], #180", "vsdot.s8 q0, q1, d2[1]". In a Thumb IT block the
// condition goes before the type suffix, as the assembler takes it.
#include "disasm/armtextprinter.h"

namespace {
// By VectorProduct::Op: the mnemonic and its type suffix.
const char* const kProductNames[13][2] = {
    {"vfmal", ".f16"}, {"vfmsl", ".f16"}, {"vfmab", ".bf16"}, {"vfmat", ".bf16"}, {"vdot", ".bf16"},
    {"vsdot", ".s8"},  {"vudot", ".u8"},  {"vusdot", ".s8"},  {"vsudot", ".u8"},  {"vmmla", ".bf16"},
    {"vsmmla", ".s8"}, {"vummla", ".u8"}, {"vusmmla", ".s8"},
};
} // namespace

void ARMInstructionSetDisassembler::emitVectorComplex(bool add, int esize, int vd, int vn, int vm, int index,
                                                      int rotation)
{
    mnemonic(add ? "vcadd" : "vcmla");
    typeSuffix("f", esize);
    put(' ');
    vectorRegisters(vd, vn);
    separator();
    vectorLane(vm, index);
    // The rotation in degrees, always in decimal.
    put(", #");
    decimal(uint32_t(rotation));
}

void ARMInstructionSetDisassembler::emitVectorProduct(int op, int vd, int vn, int vm, int index)
{
    const char* const* name = kProductNames[unsigned(op) < 13 ? op : 0];
    mnemonic(name[0]);
    put(name[1]);
    put(' ');
    vectorRegisters(vd, vn);
    separator();
    vectorLane(vm, index);
}
