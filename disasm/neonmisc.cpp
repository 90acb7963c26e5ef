// The two-register miscellaneous group of Advanced SIMD (1111 0011 1x11 ...), with
// the AES and SHA forms that live in it, in the A32 layout. opc1 (bits 17..16) and
// opc2 (bits 10..7) choose the form, size (bits 19..18) the element, Q (bit 6) the
// register width.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
using Neon = ARMInstructionSetDecoder::Neon;

// What a row allows and how its registers are shaped.
enum Kind : uint8_t {
    Undefined,
    Sizes1,      // size 00 only
    Sizes2,      // 00, 01
    Sizes3,      // 00, 01, 10
    Signed3,     // .s/.u by bit 7, sizes 00..10
    FloatOrInt,  // bit 10 chooses .f16/.f32 (sizes 01, 10) over integers (00..10)
    Crypto,      // quadwords, size 00 (AES) or 10 (SHA)
    Zip,         // sizes 00..10, but not 32-bit elements of doublewords
    Narrow,      // Dd from Qm, sizes 00..10, printed at twice the size
    NarrowSat,   // the same, .s/.u by bit 6
    Lengthen,    // VSHLL by the size
    Round,       // ARMv8 floating-point rounding
    ConvertHalf, // the conversions between f16 (or bf16) and f32
};
struct MiscRow {
    uint8_t op;
    Kind kind;
    uint8_t type; // Neon::Type
};
constexpr uint8_t kNo = Neon::OpCount;

// By opc1 (bits 17..16) and opc2 (bits 10..7).
// clang-format off
const MiscRow kMisc[3][16] = {
    {
        {Neon::Vrev64, Sizes3, Neon::Plain},  {Neon::Vrev32, Sizes2, Neon::Plain},
        {Neon::Vrev16, Sizes1, Neon::Plain},  {kNo, Undefined, 0},
        {Neon::Vpaddl, Signed3, Neon::S},     {Neon::Vpaddl, Signed3, Neon::U},
        {Neon::Aese, Crypto, Neon::Plain},    {Neon::Aesmc, Crypto, Neon::Plain},
        {Neon::Vcls, Sizes3, Neon::S},        {Neon::Vclz, Sizes3, Neon::I},
        {Neon::Vcnt, Sizes1, Neon::Plain},    {Neon::Vmvn, Sizes1, Neon::None},
        {Neon::Vpadal, Signed3, Neon::S},     {Neon::Vpadal, Signed3, Neon::U},
        {Neon::Vqabs, Sizes3, Neon::S},       {Neon::Vqneg, Sizes3, Neon::S},
    },
    {
        {Neon::Vcgt, FloatOrInt, Neon::S},    {Neon::Vcge, FloatOrInt, Neon::S},
        {Neon::Vceq, FloatOrInt, Neon::I},    {Neon::Vcle, FloatOrInt, Neon::S},
        {Neon::Vclt, FloatOrInt, Neon::S},    {Neon::Sha1h, Crypto, Neon::Plain},
        {Neon::Vabs, FloatOrInt, Neon::S},    {Neon::Vneg, FloatOrInt, Neon::S},
        {Neon::Vcgt, FloatOrInt, Neon::S},    {Neon::Vcge, FloatOrInt, Neon::S},
        {Neon::Vceq, FloatOrInt, Neon::I},    {Neon::Vcle, FloatOrInt, Neon::S},
        {Neon::Vclt, FloatOrInt, Neon::S},    {kNo, Undefined, 0},
        {Neon::Vabs, FloatOrInt, Neon::S},    {Neon::Vneg, FloatOrInt, Neon::S},
    },
    {
        {Neon::Vswp, Sizes1, Neon::None},     {Neon::Vtrn, Sizes3, Neon::Plain},
        {Neon::Vuzp, Zip, Neon::Plain},       {Neon::Vzip, Zip, Neon::Plain},
        {Neon::Vmovn, Narrow, Neon::I},       {Neon::Vqmovn, NarrowSat, Neon::S},
        {Neon::Vshll, Lengthen, Neon::I},     {Neon::Sha1su1, Crypto, Neon::Plain},
        {Neon::Vrintn, Round, Neon::F},       {Neon::Vrintx, Round, Neon::F},
        {Neon::Vrinta, Round, Neon::F},       {Neon::Vrintz, Round, Neon::F},
        {Neon::Vcvt, ConvertHalf, Neon::F},   {Neon::Vrintm, Round, Neon::F},
        {Neon::Vcvt, ConvertHalf, Neon::F},   {Neon::Vrintp, Round, Neon::F},
    },
};
// clang-format on
} // namespace

bool ARMInstructionSetDecoder::decodeNeonTwoRegister(uint32_t insn)
{
    const uint32_t size = bits(insn, 19, 18), opc1 = bits(insn, 17, 16), opc2 = bits(insn, 10, 7);
    const bool quad = bit(insn, 6);
    const uint32_t d = neonD(insn), m = neonM(insn);
    const int vd = neonRegister(quad, d), vm = neonRegister(quad, m);
    if (opc1 == 3) {
        // Reciprocal estimates and the conversions between floating point and
        // integers; bit 10 clear: VCVTA..VCVTM (ARMv8), rounding mode in bits 9..8.
        const bool half = size == 1;
        if (vd < 0 || vm < 0 || (size != 1 && size != 2) || (half && !hasNeonHalf()))
            return false;
        const int fsize = half ? 16 : 32;
        if (!bit(insn, 10)) {
            if (!neonUnconditionalAllowed())
                return false;
            emitNeonConvert(Neon::Vcvta + int(bits(insn, 9, 8)), bit(insn, 7) ? Neon::U : Neon::S, fsize, Neon::F,
                            fsize, vd, vm, 0);
            return true;
        }
        if (!bit(insn, 9)) {
            // VRECPE, VRSQRTE: bit 8 floating point, else unsigned words only.
            const int op = bit(insn, 7) ? Neon::Vrsqrte : Neon::Vrecpe;
            if (bit(insn, 8))
                emitNeonTwoRegister(op, Neon::F, fsize, vd, vm);
            else if (!half)
                emitNeonTwoRegister(op, Neon::U, 32, vd, vm);
            else
                return false;
            return true;
        }
        // op (bits 8..7): from signed, from unsigned, to signed, to unsigned.
        const int integer = bit(insn, 7) ? Neon::U : Neon::S;
        if (bit(insn, 8))
            emitNeonConvert(Neon::Vcvt, integer, fsize, Neon::F, fsize, vd, vm, 0);
        else
            emitNeonConvert(Neon::Vcvt, Neon::F, fsize, integer, fsize, vd, vm, 0);
        return true;
    }
    const MiscRow& row = kMisc[opc1][opc2];
    int op = row.op, type = row.type;
    switch (row.kind) {
    case Undefined:
        return false;
    case Sizes1:
    case Sizes2:
    case Sizes3: // one, two or three sizes from 00
        if (size > uint32_t(row.kind - Sizes1) || vd < 0 || vm < 0)
            return false;
        emitNeonTwoRegister(op, type, type == Neon::None ? 0 : 8 << size, vd, vm);
        return true;
    case Signed3:
        if (size == 3 || vd < 0 || vm < 0)
            return false;
        emitNeonTwoRegister(op, type, 8 << size, vd, vm);
        return true;
    case FloatOrInt:
        if (vd < 0 || vm < 0)
            return false;
        if (bit(insn, 10)) {
            if ((size != 1 && size != 2) || (size == 1 && !hasNeonHalf()))
                return false;
            emitNeonTwoRegister(op, Neon::F, 8 << size, vd, vm);
        } else {
            if (size == 3)
                return false;
            emitNeonTwoRegister(op, type, 8 << size, vd, vm);
        }
        return true;
    case Crypto: {
        // Bit 6 picks AESD over AESE, AESIMC over AESMC and SHA256SU0 over SHA1SU1;
        // SHA1H has it set.
        const int qd = neonRegister(true, d), qm = neonRegister(true, m);
        if (qd < 0 || qm < 0 || !neonUnconditionalAllowed())
            return false;
        if (op == Neon::Aese || op == Neon::Aesmc) {
            if (size != 0)
                return false;
            emitNeonTwoRegister(op + (quad ? 1 : 0), Neon::Plain, 8, qd, qm);
            return true;
        }
        if (size != 2 || (op == Neon::Sha1h && !quad))
            return false;
        if (op == Neon::Sha1su1)
            op = quad ? Neon::Sha256su0 : Neon::Sha1su1;
        emitNeonTwoRegister(op, Neon::Plain, 32, qd, qm);
        return true;
    }
    case Zip:
        if (size == 3 || (size == 2 && !quad) || vd < 0 || vm < 0)
            return false;
        emitNeonTwoRegister(op, type, 8 << size, vd, vm);
        return true;
    case Narrow:
    case NarrowSat: {
        // VMOVN and VQMOVUN by bit 6, VQMOVN signed or unsigned by bit 6.
        const int qm = neonRegister(true, m);
        if (size == 3 || qm < 0)
            return false;
        if (row.kind == Narrow && quad) {
            op = Neon::Vqmovun;
            type = Neon::S;
        } else if (row.kind == NarrowSat && quad) {
            type = Neon::U;
        }
        emitNeonTwoRegister(op, type, 16 << size, neonRegister(false, d), qm);
        return true;
    }
    case Lengthen: {
        const int qd = neonRegister(true, d);
        if (size == 3 || quad || qd < 0)
            return false;
        emitNeonShift(op, type, 8 << size, qd, neonRegister(false, m), 8 << size);
        return true;
    }
    case Round:
        if ((size != 1 && size != 2) || (size == 1 && !hasNeonHalf()) || !neonUnconditionalAllowed() || vd < 0 ||
            vm < 0)
            return false;
        emitNeonTwoRegister(op, Neon::F, 8 << size, vd, vm);
        return true;
    case ConvertHalf: {
        // opc2 1100: to half (Q clear) or to BFloat16 (Q set), Dd from Qm;
        // opc2 1110: from half, Qd from Dm (Q clear).
        if (size != 1)
            return false;
        if (opc2 == 12) {
            const int qm = neonRegister(true, m);
            if (qm < 0 || (quad && !hasNeonHalf()))
                return false;
            emitNeonConvert(op, quad ? Neon::Bf : Neon::F, 16, Neon::F, 32, neonRegister(false, d), qm, 0);
            return true;
        }
        const int qd = neonRegister(true, d);
        if (quad || qd < 0)
            return false;
        emitNeonConvert(op, Neon::F, 32, Neon::F, 16, qd, neonRegister(false, m), 0);
        return true;
    }
    }
    return false;
}
