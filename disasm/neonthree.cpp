// The three-register groups of Advanced SIMD (same length, different lengths) and
// the two registers with a scalar, in the A32 layout.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
using Neon = ARMInstructionSetDecoder::Neon;

// What an integer row of the same-length group allows.
enum Rule : uint8_t {
    Undefined,
    SignedSmall,  // .s/.u by U, 8 to 32 bits
    SignedAll,    // .s/.u by U, 8 to 64 bits
    IntegerAll,   // .i, 8 to 64 bits
    IntegerSmall, // .i, 8 to 32 bits
    PlainSmall,   // size only, 8 to 32 bits
    Logic,        // no type; the size field picks the operation
    Doubling,     // .s16 and .s32
    RoundingV81,  // .s16 and .s32, ARMv8.1
    Pairwise,     // .s/.u 8 to 32 bits, doublewords only
    PairwiseInt,  // .i 8 to 32 bits, doublewords only
    Polynomial8,  // .p8 alone
};

struct Row {
    uint8_t op;
    Rule rule;
};

// The integer rows by opcode (bits 11..8) and B (bit 4), for U 0 and 1; the
// opcodes 1100 to 1111 are the SHA and floating-point rows.
// clang-format off
const Row kSame[24][2] = {
    {{Neon::Vhadd, SignedSmall}, {Neon::Vhadd, SignedSmall}},
    {{Neon::Vqadd, SignedAll}, {Neon::Vqadd, SignedAll}},
    {{Neon::Vrhadd, SignedSmall}, {Neon::Vrhadd, SignedSmall}},
    {{Neon::Vand, Logic}, {Neon::Veor, Logic}},
    {{Neon::Vhsub, SignedSmall}, {Neon::Vhsub, SignedSmall}},
    {{Neon::Vqsub, SignedAll}, {Neon::Vqsub, SignedAll}},
    {{Neon::Vcgt, SignedSmall}, {Neon::Vcgt, SignedSmall}},
    {{Neon::Vcge, SignedSmall}, {Neon::Vcge, SignedSmall}},
    {{Neon::Vshl, SignedAll}, {Neon::Vshl, SignedAll}},
    {{Neon::Vqshl, SignedAll}, {Neon::Vqshl, SignedAll}},
    {{Neon::Vrshl, SignedAll}, {Neon::Vrshl, SignedAll}},
    {{Neon::Vqrshl, SignedAll}, {Neon::Vqrshl, SignedAll}},
    {{Neon::Vmax, SignedSmall}, {Neon::Vmax, SignedSmall}},
    {{Neon::Vmin, SignedSmall}, {Neon::Vmin, SignedSmall}},
    {{Neon::Vabd, SignedSmall}, {Neon::Vabd, SignedSmall}},
    {{Neon::Vaba, SignedSmall}, {Neon::Vaba, SignedSmall}},
    {{Neon::Vadd, IntegerAll}, {Neon::Vsub, IntegerAll}},
    {{Neon::Vtst, PlainSmall}, {Neon::Vceq, IntegerSmall}},
    {{Neon::Vmla, IntegerSmall}, {Neon::Vmls, IntegerSmall}},
    {{Neon::Vmul, IntegerSmall}, {Neon::Vmul, Polynomial8}},
    {{Neon::Vpmax, Pairwise}, {Neon::Vpmax, Pairwise}},
    {{Neon::Vpmin, Pairwise}, {Neon::Vpmin, Pairwise}},
    {{Neon::Vqdmulh, Doubling}, {Neon::Vqrdmulh, Doubling}},
    {{Neon::Vpadd, PairwiseInt}, {Neon::Vqrdmlah, RoundingV81}},
};
// clang-format on

// The logic operations by the size field, for U 0 and 1.
const uint8_t kLogic[2][4] = {{Neon::Vand, Neon::Vbic, Neon::Vorr, Neon::Vorn},
                              {Neon::Veor, Neon::Vbsl, Neon::Vbit, Neon::Vbif}};

// The floating-point rows by (opcode - 1100):B:U:bit 21; OpCount where none.
constexpr uint8_t kNone = Neon::OpCount;
const uint8_t kFloat[32] = {
    kNone,        kNone,         kNone,        kNone,        // 1100 B=0: SHA
    Neon::Vfma,   Neon::Vfms,    kNone,        kNone,        // 1100 B=1
    Neon::Vadd,   Neon::Vsub,    Neon::Vpadd,  Neon::Vabd,   // 1101 B=0
    Neon::Vmla,   Neon::Vmls,    Neon::Vmul,   kNone,        // 1101 B=1
    Neon::Vceq,   kNone,         Neon::Vcge,   Neon::Vcgt,   // 1110 B=0
    kNone,        kNone,         Neon::Vacge,  Neon::Vacgt,  // 1110 B=1
    Neon::Vmax,   Neon::Vmin,    Neon::Vpmax,  Neon::Vpmin,  // 1111 B=0
    Neon::Vrecps, Neon::Vrsqrts, Neon::Vmaxnm, Neon::Vminnm, // 1111 B=1
};

const uint8_t kSha[2][4] = {{Neon::Sha1c, Neon::Sha1p, Neon::Sha1m, Neon::Sha1su0},
                            {Neon::Sha256h, Neon::Sha256h2, Neon::Sha256su1, kNone}};
} // namespace

bool ARMInstructionSetDecoder::decodeNeonThreeSame(uint32_t insn)
{
    const bool quad = bit(insn, 6);
    const int vd = neonRegister(quad, neonD(insn)), vn = neonRegister(quad, neonN(insn));
    const int vm = neonRegister(quad, neonM(insn));
    if (vd < 0 || vn < 0 || vm < 0)
        return false;
    const uint32_t opcode = bits(insn, 11, 8), b = bit(insn, 4), u = bit(insn, 24), size = bits(insn, 21, 20);
    if (opcode == 12 && !b) {
        // SHA1 and SHA256 work on whole quadwords.
        const uint8_t op = kSha[u][size];
        if (op == kNone || !quad || !neonUnconditionalAllowed())
            return false;
        emitNeonThreeRegister(op, Neon::Plain, 32, vd, vn, vm);
        return true;
    }
    if (opcode >= 12 && !(opcode == 12 && u)) {
        const uint8_t op = kFloat[(opcode - 12) << 3 | b << 2 | u << 1 | bit(insn, 21)];
        // bit 20 chooses half precision over single.
        const bool half = bit(insn, 20);
        if (op == kNone || (half && !hasNeonHalf()) ||
            ((op == Neon::Vmaxnm || op == Neon::Vminnm) && !neonUnconditionalAllowed()))
            return false;
        if ((op == Neon::Vpadd || op == Neon::Vpmax || op == Neon::Vpmin) && quad)
            return false;
        emitNeonThreeRegister(op, Neon::F, half ? 16 : 32, vd, vn, vm);
        return true;
    }
    const Row row = opcode == 12 ? Row{Neon::Vqrdmlsh, RoundingV81} : kSame[opcode << 1 | b][u];
    const int signedType = u ? Neon::U : Neon::S;
    int op = row.op, type = signedType;
    switch (row.rule) {
    case SignedSmall:
        if (size == 3)
            return false;
        break;
    case SignedAll:
        break;
    case IntegerAll:
        type = Neon::I;
        break;
    case IntegerSmall:
        if (size == 3)
            return false;
        type = Neon::I;
        break;
    case PlainSmall:
        if (size == 3)
            return false;
        type = Neon::Plain;
        break;
    case Logic:
        emitNeonThreeRegister(kLogic[u][size], Neon::None, 0, vd, vn, vm);
        return true;
    case RoundingV81:
        if (!hasNeonV81())
            return false;
        [[fallthrough]];
    case Doubling:
        if (size == 0 || size == 3)
            return false;
        type = Neon::S;
        break;
    case Pairwise:
        if (size == 3 || quad)
            return false;
        break;
    case PairwiseInt:
        if (size == 3 || quad)
            return false;
        type = Neon::I;
        break;
    case Polynomial8:
        if (size != 0)
            return false;
        type = Neon::P;
        break;
    default:
        return false;
    }
    emitNeonThreeRegister(op, type, 8 << size, vd, vn, vm);
    return true;
}

namespace {
// The shapes of the different-length group: long (Qd, Dn, Dm), wide (Qd, Qn, Dm)
// and narrow (Dd, Qn, Qm).
enum Shape : uint8_t { Long, Wide, Narrow };
struct DifferentRow {
    uint8_t op[2]; // by U; kNone where U=1 has no form
    Shape shape;
    bool doubling; // .s16 and .s32 only
};
// clang-format off
const DifferentRow kDifferent[15] = {
    {{Neon::Vaddl, Neon::Vaddl}, Long, false},
    {{Neon::Vaddw, Neon::Vaddw}, Wide, false},
    {{Neon::Vsubl, Neon::Vsubl}, Long, false},
    {{Neon::Vsubw, Neon::Vsubw}, Wide, false},
    {{Neon::Vaddhn, Neon::Vraddhn}, Narrow, false},
    {{Neon::Vabal, Neon::Vabal}, Long, false},
    {{Neon::Vsubhn, Neon::Vrsubhn}, Narrow, false},
    {{Neon::Vabdl, Neon::Vabdl}, Long, false},
    {{Neon::Vmlal, Neon::Vmlal}, Long, false},
    {{Neon::Vqdmlal, kNone}, Long, true},
    {{Neon::Vmlsl, Neon::Vmlsl}, Long, false},
    {{Neon::Vqdmlsl, kNone}, Long, true},
    {{Neon::Vmull, Neon::Vmull}, Long, false},
    {{Neon::Vqdmull, kNone}, Long, true},
    {{Neon::Vmull, kNone}, Long, false}, // polynomial
};
// clang-format on
} // namespace

bool ARMInstructionSetDecoder::decodeNeonThreeDifferent(uint32_t insn)
{
    const uint32_t opcode = bits(insn, 11, 8), u = bit(insn, 24), size = bits(insn, 21, 20);
    if (opcode == 15)
        return false;
    const DifferentRow& row = kDifferent[opcode];
    const uint8_t op = row.op[u];
    const int vd = neonRegister(row.shape != Narrow, neonD(insn));
    const int vn = neonRegister(row.shape != Long, neonN(insn));
    const int vm = neonRegister(row.shape == Narrow, neonM(insn));
    if (op == kNone || vd < 0 || vn < 0 || vm < 0 || (row.doubling && size == 0))
        return false;
    if (opcode == 14) {
        // VMULL.P8, and VMULL.P64 of the cryptographic extension.
        if (size == 1 || (size == 2 && !hasNeonV8()))
            return false;
        emitNeonThreeRegister(op, Neon::P, size ? 64 : 8, vd, vn, vm);
        return true;
    }
    if (row.shape == Narrow)
        emitNeonThreeRegister(op, Neon::I, 16 << size, vd, vn, vm);
    else
        emitNeonThreeRegister(op, row.doubling ? int(Neon::S) : u ? int(Neon::U) : int(Neon::S), 8 << size, vd, vn, vm);
    return true;
}

namespace {
// The scalar group by opcode (bits 11..8): the operation, and its kind.
enum ScalarKind : uint8_t {
    Integer,     // .i16/.i32, quadwords by U
    Float,       // .f16/.f32, quadwords by U
    LongSigned,  // .s/.u by U, long
    LongDouble,  // .s16/.s32, long, U clear
    HighHalf,    // .s16/.s32, quadwords by U
    HighHalfV81, // the same, ARMv8.1
};
struct ScalarRow {
    uint8_t op;
    ScalarKind kind;
};
const ScalarRow kScalar[16] = {
    {Neon::Vmla, Integer},     {Neon::Vmla, Float},        {Neon::Vmlal, LongSigned},     {Neon::Vqdmlal, LongDouble},
    {Neon::Vmls, Integer},     {Neon::Vmls, Float},        {Neon::Vmlsl, LongSigned},     {Neon::Vqdmlsl, LongDouble},
    {Neon::Vmul, Integer},     {Neon::Vmul, Float},        {Neon::Vmull, LongSigned},     {Neon::Vqdmull, LongDouble},
    {Neon::Vqdmulh, HighHalf}, {Neon::Vqrdmulh, HighHalf}, {Neon::Vqrdmlah, HighHalfV81}, {Neon::Vqrdmlsh, HighHalfV81},
};
} // namespace

bool ARMInstructionSetDecoder::decodeNeonScalar(uint32_t insn)
{
    const uint32_t u = bit(insn, 24), size = bits(insn, 21, 20);
    const ScalarRow row = kScalar[bits(insn, 11, 8)];
    if (size == 0)
        return false;
    // The scalar: d0..d7 with a two-bit index for halfwords, d0..d15 with a one-bit
    // index for words.
    const int dm = VReg::make(VReg::D, size == 1 ? bits(insn, 2, 0) : bits(insn, 3, 0));
    const int index = int(size == 1 ? (bit(insn, 5) << 1 | bit(insn, 3)) : bit(insn, 5));
    const bool isLong = row.kind == LongSigned || row.kind == LongDouble;
    // U is Q for the forms that are not long.
    const int vd = neonRegister(isLong || u, neonD(insn)), vn = neonRegister(!isLong && u, neonN(insn));
    if (vd < 0 || vn < 0)
        return false;
    int type = Neon::I;
    switch (row.kind) {
    case Integer:
        break;
    case Float:
        if (size == 1 && !hasNeonHalf())
            return false;
        type = Neon::F;
        break;
    case LongSigned:
        type = u ? Neon::U : Neon::S;
        break;
    case LongDouble:
        if (u)
            return false;
        type = Neon::S;
        break;
    case HighHalfV81:
        if (!hasNeonV81())
            return false;
        [[fallthrough]];
    case HighHalf:
        type = Neon::S;
        break;
    }
    emitNeonScalar(row.op, type, 8 << size, vd, vn, dm, index);
    return true;
}
