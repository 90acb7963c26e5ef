// Advanced SIMD shifts by an immediate and the fixed-point conversions, in the A32
// layout. L:imm6 (bits 7 and 21..16) give the element size by its highest set bit
// and the shift amount by what lies below it.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
using Neon = ARMInstructionSetDecoder::Neon;

enum Direction : uint8_t { Right, Left, Narrow, Lengthen, Fixed, None };
struct ShiftRow {
    uint8_t op[2]; // by U
    Direction direction;
    uint8_t type[2]; // by U
};
constexpr uint8_t kNo = Neon::OpCount;
// By opcode (bits 11..8); the narrowing rows pick their rounding forms by bit 6.
// clang-format off
const ShiftRow kShift[12] = {
    {{Neon::Vshr, Neon::Vshr}, Right, {Neon::S, Neon::U}},
    {{Neon::Vsra, Neon::Vsra}, Right, {Neon::S, Neon::U}},
    {{Neon::Vrshr, Neon::Vrshr}, Right, {Neon::S, Neon::U}},
    {{Neon::Vrsra, Neon::Vrsra}, Right, {Neon::S, Neon::U}},
    {{kNo, Neon::Vsri}, Right, {Neon::Plain, Neon::Plain}},
    {{Neon::Vshl, Neon::Vsli}, Left, {Neon::I, Neon::Plain}},
    {{kNo, Neon::Vqshlu}, Left, {Neon::S, Neon::S}},
    {{Neon::Vqshl, Neon::Vqshl}, Left, {Neon::S, Neon::U}},
    {{Neon::Vshrn, Neon::Vqshrun}, Narrow, {Neon::I, Neon::S}},
    {{Neon::Vqshrn, Neon::Vqshrn}, Narrow, {Neon::S, Neon::U}},
    {{Neon::Vshll, Neon::Vshll}, Lengthen, {Neon::S, Neon::U}},
    {{kNo, kNo}, None, {0, 0}},
};
// clang-format on
} // namespace

bool ARMInstructionSetDecoder::decodeNeonShift(uint32_t insn)
{
    const uint32_t opcode = bits(insn, 11, 8), u = bit(insn, 24), imm6 = bits(insn, 21, 16);
    const bool wide = bit(insn, 7), quad = bit(insn, 6);
    const int esize = wide ? 64 : imm6 >= 32 ? 32 : imm6 >= 16 ? 16 : 8;
    if (opcode >= 12) {
        // Fixed-point conversions: 110x half precision, 111x single; bit 8 converts
        // to fixed point. The fraction bits are 64 - imm6, at most the element's
        // width: imm6 is at least 32, and at least 48 for half precision.
        const bool half = opcode < 14, toFixed = bit(insn, 8);
        const int vd = neonRegister(quad, neonD(insn)), vm = neonRegister(quad, neonM(insn));
        if (wide || imm6 < (half ? 48u : 32u) || vd < 0 || vm < 0 || (half && !hasNeonHalf()))
            return false;
        const int fixed = u ? Neon::U : Neon::S, size = half ? 16 : 32;
        if (toFixed)
            emitNeonConvert(Neon::Vcvt, fixed, size, Neon::F, size, vd, vm, int(64 - imm6));
        else
            emitNeonConvert(Neon::Vcvt, Neon::F, size, fixed, size, vd, vm, int(64 - imm6));
        return true;
    }
    const ShiftRow& row = kShift[opcode];
    int op = row.op[u];
    if (op == kNo)
        return false;
    const int right = (wide ? 64 : 2 * esize) - int(imm6), left = int(imm6) - (wide ? 0 : esize);
    switch (row.direction) {
    case Right:
    case Left: {
        const int vd = neonRegister(quad, neonD(insn)), vm = neonRegister(quad, neonM(insn));
        if (vd < 0 || vm < 0)
            return false;
        emitNeonShift(op, row.type[u], esize, vd, vm, row.direction == Right ? right : left);
        return true;
    }
    case Narrow: {
        // Dd from Qm; bit 6 picks the rounding form.
        const int vm = neonRegister(true, neonM(insn));
        if (wide || vm < 0)
            return false;
        if (quad)
            op = op == Neon::Vshrn ? Neon::Vrshrn : op == Neon::Vqshrun ? Neon::Vqrshrun : Neon::Vqrshrn;
        emitNeonShift(op, row.type[u], 2 * esize, neonRegister(false, neonD(insn)), vm, right);
        return true;
    }
    case Lengthen: {
        // Qd from Dm; a zero shift is VMOVL.
        const int vd = neonRegister(true, neonD(insn));
        if (wide || quad || vd < 0)
            return false;
        emitNeonShift(left ? Neon::Vshll : Neon::Vmovl, row.type[u], esize, vd, neonRegister(false, neonM(insn)), left);
        return true;
    }
    default:
        return false;
    }
}
