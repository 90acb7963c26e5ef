// Text of the Advanced SIMD data-processing and cryptographic forms. The condition
// (of a Thumb IT block) goes between the mnemonic and its type suffix
// ("vaddeq.i32"), as the unified syntax writes it.
#include <utility>

#include "disasm/armtextprinter.h"

namespace {
using Neon = ARMInstructionSetDecoder::Neon;

// Mnemonics by Neon::Op.
const char* const kNames[] = {
    "vhadd",    "vqadd",   "vrhadd",    "vand",    "vbic",    "vorr",     "vorn",      "veor",   "vbsl",
    "vbit",     "vbif",    "vhsub",     "vqsub",   "vcgt",    "vcge",     "vshl",      "vqshl",  "vrshl",
    "vqrshl",   "vmax",    "vmin",      "vabd",    "vaba",    "vadd",     "vsub",      "vtst",   "vceq",
    "vmla",     "vmls",    "vmul",      "vpmax",   "vpmin",   "vqdmulh",  "vqrdmulh",  "vpadd",  "vqrdmlah",
    "vqrdmlsh", "vfma",    "vfms",      "vacge",   "vacgt",   "vrecps",   "vrsqrts",   "vmaxnm", "vminnm",
    "sha1c",    "sha1p",   "sha1m",     "sha1su0", "sha256h", "sha256h2", "sha256su1", "vaddl",  "vaddw",
    "vsubl",    "vsubw",   "vaddhn",    "vraddhn", "vsubhn",  "vrsubhn",  "vabal",     "vabdl",  "vmlal",
    "vmlsl",    "vqdmlal", "vqdmlsl",   "vmull",   "vqdmull", "vshr",     "vsra",      "vrshr",  "vrsra",
    "vsri",     "vsli",    "vqshlu",    "vshrn",   "vrshrn",  "vqshrun",  "vqrshrun",  "vqshrn", "vqrshrn",
    "vshll",    "vmovl",   "vrev64",    "vrev32",  "vrev16",  "vpaddl",   "vpadal",    "vcls",   "vclz",
    "vcnt",     "vmvn",    "vqabs",     "vqneg",   "vcle",    "vclt",     "vabs",      "vneg",   "vswp",
    "vtrn",     "vuzp",    "vzip",      "vmovn",   "vqmovun", "vqmovn",   "vrintn",    "vrintx", "vrinta",
    "vrintz",   "vrintm",  "vrintp",    "vrecpe",  "vrsqrte", "aese",     "aesd",      "aesmc",  "aesimc",
    "sha1h",    "sha1su1", "sha256su0", "vcvt",    "vcvta",   "vcvtn",    "vcvtp",     "vcvtm",  "vmov",
};
static_assert(sizeof kNames / sizeof kNames[0] == Neon::OpCount, "one name per operation");

// Type letters by Neon::Type.
const char* const kTypes[] = {"", "", "i", "s", "u", "f", "p", "bf"};

// The register shifts take the shift amounts from Vn and write it last.
bool shiftsByRegister(int op)
{
    return op == Neon::Vshl || op == Neon::Vqshl || op == Neon::Vrshl || op == Neon::Vqrshl;
}
} // namespace

void ARMInstructionSetDisassembler::neonMnemonic(int op, int type, int esize)
{
    mnemonic(kNames[op]);
    if (type != Neon::None)
        typeSuffix(kTypes[type], esize);
    put(' ');
}

void ARMInstructionSetDisassembler::emitNeonThreeRegister(int op, int type, int esize, int vd, int vn, int vm)
{
    neonMnemonic(op, type, esize);
    if (shiftsByRegister(op))
        std::swap(vn, vm);
    vectorRegisters(vd, vn);
    separator();
    vectorRegister(vm);
}

void ARMInstructionSetDisassembler::emitNeonScalar(int op, int type, int esize, int vd, int vn, int dm, int index)
{
    neonMnemonic(op, type, esize);
    vectorRegisters(vd, vn);
    separator();
    vectorLane(dm, index);
}

void ARMInstructionSetDisassembler::emitNeonShift(int op, int type, int esize, int vd, int vm, int amount)
{
    neonMnemonic(op, type, esize);
    vectorRegisters(vd, vm);
    if (op != Neon::Vmovl) {
        separator();
        immediate(amount);
    }
}

void ARMInstructionSetDisassembler::emitNeonTwoRegister(int op, int type, int esize, int vd, int vm)
{
    neonMnemonic(op, type, esize);
    vectorRegisters(vd, vm);
    if (op == Neon::Vcgt || op == Neon::Vcge || op == Neon::Vceq || op == Neon::Vcle || op == Neon::Vclt)
        put(", #0");
}

void ARMInstructionSetDisassembler::emitNeonConvert(int op, int toType, int toSize, int fromType, int fromSize, int vd,
                                                    int vm, int fbits)
{
    mnemonic(kNames[op]);
    typeSuffix(kTypes[toType], toSize);
    typeSuffix(kTypes[fromType], fromSize);
    put(' ');
    vectorRegisters(vd, vm);
    if (fbits) {
        separator();
        immediate(fbits);
    }
}

void ARMInstructionSetDisassembler::emitNeonImmediate(int op, int type, int esize, int vd, uint64_t value, int imm8)
{
    neonMnemonic(op, type, esize);
    vectorRegister(vd);
    separator();
    if (type == Neon::F) {
        floatImmediate(imm8);
    } else if (value >> 32) {
        // Only .i64 has bits above 32: its hex in whole bytes, like every number here.
        put("#0x");
        hex(uint32_t(value >> 32), 0, false);
        hex(uint32_t(value), 8, false);
    } else {
        immediate(int64_t(value));
    }
}

void ARMInstructionSetDisassembler::emitNeonExtract(int vd, int vn, int vm, int imm)
{
    mnemonic("vext");
    put(".8 ");
    vectorRegisters(vd, vn);
    separator();
    vectorRegister(vm);
    separator();
    immediate(imm);
}

void ARMInstructionSetDisassembler::emitNeonTable(bool extension, int vd, int dn, int length, int dm)
{
    mnemonic(extension ? "vtbx" : "vtbl");
    put(".8 ");
    vectorRegister(vd);
    put(", {");
    vectorRange(dn, length);
    put("}, ");
    vectorRegister(dm);
}

void ARMInstructionSetDisassembler::emitNeonDuplicateScalar(int esize, int vd, int dm, int index)
{
    mnemonic("vdup");
    put('.');
    decimal(uint32_t(esize));
    put(' ');
    vectorRegister(vd);
    separator();
    vectorLane(dm, index);
}
