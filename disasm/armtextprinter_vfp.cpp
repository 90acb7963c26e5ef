// Text of the floating-point data-processing forms, and the register and immediate
// operands that the vector printers share. The condition goes between the mnemonic
// and its type suffix ("vaddeq.f32"), as the unified syntax writes it.
#include <cstdio>

#include "disasm/armtextprinter.h"

namespace {
// Type suffixes by Vfp::Size.
const char* const kSize[4] = {"", ".f16", ".f32", ".f64"};

// The three-register group by o1:o2:o3.
const char* const kThreeRegister[16] = {"vmla", "vmls", "vnmls", "vnmla", "vmul", "vnmul", "vadd",  "vsub",
                                        "vdiv", nullptr, "vfnms", "vfnma", "vfma", "vfms",  nullptr, nullptr};

// The two-register group by opc2:o3; the fixed-point conversions (opc2 1x1x) are "vcvt".
const char* const kTwoRegister[32] = {
    "vmov",  "vabs",  "vneg",  "vsqrt", "vcvtb", "vcvtt", "vcvtb", "vcvtt", "vcmp",  "vcmpe", "vcmp",
    "vcmpe", "vrintr", "vrintz", "vrintx", "vcvt", "vcvt",  "vcvt",  nullptr, "vjcvt", "vcvt",  "vcvt",
    "vcvt",  "vcvt",  "vcvtr", "vcvt",  "vcvtr", "vcvt",  "vcvt",  "vcvt",  "vcvt",  "vcvt"};

// Conversion suffixes, destination type first, by size for each conversion group.
const char* const kFromHalf[4] = {"", "", ".f32.f16", ".f64.f16 "};
const char* const kToHalf[4] = {"", ".bf16.f32", ".f16.f32", ".f16.f64 "};
const char* const kSingleDouble[4] = {"", "", ".f64.f32", ".f32.f64"};
const char* const kFromUnsigned[4] = {"", ".f16.u32", ".f32.u32", ".f64.u32"};
const char* const kFromSigned[4] = {"", ".f16.s32", ".f32.s32", ".f64.s32"};
const char* const kToUnsigned[4] = {"", ".u32.f16", ".u32.f32", ".u32.f64"};
const char* const kToSigned[4] = {"", ".s32.f16", ".s32.f32", ".s32.f64"};

const char* const kV8[13] = {"vsel",   "vmaxnm", "vminnm", "vrinta", "vrintn", "vrintp", "vrintm",
                             "vcvta",  "vcvtn",  "vcvtp",  "vcvtm",  "vmovx",  "vins"};
const char* const kSelectConditions[4] = {"eq", "vs", "ge", "gt"};

// The magnitudes of the 8-bit floating-point immediates: row by the low four bits
// (the fraction), column by bits 6..4 (the exponent). Bits 6..4 = b:c:d give the
// exponent NOT(b):b:b:b:b:b:c:d of a single, so the column's power of two runs
// 1..4 for b = 0 and -3..0 for b = 1.
struct ImmediateTable {
    float value[16][8];
    constexpr ImmediateTable() : value()
    {
        for (int row = 0; row < 16; ++row)
            for (int column = 0; column < 8; ++column) {
                const int power = (column & 4) ? (column & 3) - 3 : (column & 3) + 1;
                float magnitude = 1.0f + float(row) / 16.0f;
                for (int i = 0; i < power; ++i)
                    magnitude *= 2.0f;
                for (int i = 0; i > power; --i)
                    magnitude /= 2.0f;
                value[row][column] = magnitude;
            }
    }
};
constexpr ImmediateTable kImmediates;
} // namespace

void ARMInstructionSetDisassembler::vectorRegister(int r)
{
    put(" sdq"[VReg::kind(r) & 3]);
    decimal(uint32_t(VReg::number(r)));
}

void ARMInstructionSetDisassembler::vectorRegisters(int a, int b)
{
    vectorRegister(a);
    separator();
    vectorRegister(b);
}

void ARMInstructionSetDisassembler::vectorLane(int r, int index)
{
    vectorRegister(r);
    if (index >= 0) {
        put('[');
        decimal(uint32_t(index));
        put(']');
    }
}

void ARMInstructionSetDisassembler::vectorRange(int first, int count)
{
    vectorRegister(first);
    if (count > 1) {
        put('-');
        vectorRegister(first + count - 1);
    }
}

void ARMInstructionSetDisassembler::typeSuffix(const char* kind, int bits)
{
    put('.');
    put(kind);
    decimal(uint32_t(bits));
}

void ARMInstructionSetDisassembler::floatImmediate(int imm8)
{
    const double value = kImmediates.value[imm8 & 15][imm8 >> 4 & 7];
    char text[32];
    snprintf(text, sizeof text, "%s%f", (imm8 & 0x80) ? "-" : "", value);
    put('#');
    put(text);
    // The values are multiples of 1/128: eight magnitudes need a seventh decimal,
    // and their rounded text is no value the assembler can encode.
    if (value * 1e6 != double(int64_t(value * 1e6)))
        losesBytes = true;
}

void ARMInstructionSetDisassembler::emitVfpThreeRegister(int op, int size, int vd, int vn, int vm)
{
    mnemonic(kThreeRegister[op & 15]);
    put(kSize[size & 3]);
    put(' ');
    vectorRegisters(vd, vn);
    separator();
    vectorRegister(vm);
}

void ARMInstructionSetDisassembler::emitVfpTwoRegister(int op, int size, int vd, int vm, int fbits)
{
    mnemonic(kTwoRegister[op & 31]);
    const int opc2 = op >> 1 & 15;
    size &= 3;
    switch (opc2) {
    case 2:
        put(kFromHalf[size]);
        break;
    case 3:
        put(kToHalf[size]);
        break;
    case 7:
        put((op & 1) ? kSingleDouble[size] : kSize[size]);
        break;
    case 8:
        put((op & 1) ? kFromSigned[size] : kFromUnsigned[size]);
        break;
    case 9:
        put(".s32.f64");
        break;
    case 12:
        put(kToUnsigned[size]);
        break;
    case 13:
        put(kToSigned[size]);
        break;
    case 10:
    case 11:
    case 14:
    case 15: {
        // Fixed point: opc2 bit 2 converts to it, bit 0 makes it unsigned, o3 picks
        // 32 bits over 16.
        char fixed[5] = {'.', (opc2 & 1) ? 'u' : 's', (op & 1) ? '3' : '1', (op & 1) ? '2' : '6', '\0'};
        if (opc2 & 4) {
            put(fixed);
            put(kSize[size]);
        } else {
            put(kSize[size]);
            put(fixed);
        }
        put(' ');
        vectorRegisters(vd, vd);
        separator();
        immediate(fbits);
        return;
    }
    default:
        put(kSize[size]);
        break;
    }
    put(' ');
    vectorRegister(vd);
    separator();
    if (opc2 == 5)
        put("#0");
    else
        vectorRegister(vm);
}

void ARMInstructionSetDisassembler::emitVfpImmediate(int size, int vd, int imm8)
{
    mnemonic("vmov");
    put(kSize[size & 3]);
    put(' ');
    vectorRegister(vd);
    separator();
    floatImmediate(imm8);
}

void ARMInstructionSetDisassembler::emitVfpV8(int op, int size, int vd, int vn, int vm, int cc)
{
    mnemonic(kV8[op]);
    if (op == Vfp::Vsel)
        put(kSelectConditions[cc & 3]);
    if (op >= Vfp::Vcvta && op <= Vfp::Vcvtm)
        put(cc ? ".s32" : ".u32");
    // VMOVX and VINS move halves of single registers.
    put(op == Vfp::Vmovx || op == Vfp::Vins ? ".f16" : kSize[size & 3]);
    put(' ');
    vectorRegister(vd);
    separator();
    if (op <= Vfp::Vminnm) {
        vectorRegister(vn);
        separator();
    }
    vectorRegister(vm);
}

