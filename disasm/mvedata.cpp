// MVE data processing: one table of bit patterns in the order of the architecture
// manual's encoding groups. A row names the mnemonic, the fields that give the
// operands and the rule that gives the element type; the first row whose fixed bits
// match and whose fields are valid decodes the instruction. Rows with a fixed size
// stand before the rows whose size field they take over (the floating-point forms of
// size 3, the 32-bit reductions in place of RdaHi 111).
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// Where the operands come from.
enum Fields : uint8_t {
    QdQnQm,       // qd 15..13, qn 19..17, qm 3..1
    QdQmQn,       // the shifts by a vector: the shifted vector qm first
    Orr,          // VORR, VMOV when both sources are one register
    QdQm,         // qd, qm
    QdQnRm,       // qd, qn, rm 3..0
    QdaRm,        // the shifts by a core register: qda, rm
    RotateOne,    // qd, qn, qm, #90 or #270 by bit 12
    RotateCmul,   // #0 to #270 by bits 12 and 0
    RotateCadd,   // #90 or #270 by bit 24
    RotateCmla,   // #0 to #270 by bits 24..23
    ShiftRight,   // qd, qm, #(2 * esize - imm6)
    ShiftLeft,    // qd, qm, #(imm6 - esize)
    FixedPoint,   // qd, qm, #(64 - imm6)
    ShiftLong,    // qd, qm, #shift of VSHLL
    ShiftWhole,   // qd, qm, #esize of VSHLL
    Narrow,       // qd, qm, #shift of the narrowing shifts
    ShiftCarry,   // VSHLC: qda, rdm, #1..32
    Modified,     // qd, #modified immediate
    RdaQm,        // even rda 15..13, qm
    RdaAnyQm,     // rda 15..12, qm
    RdaPairQm,    // rdaLo 15..13, rdaHi 22..20, qm
    RdaQnQm,      // even rda, qn, qm
    RdaAnyQnQm,   // rda 15..12, qn, qm
    RdaPairQnQm,  // rdaLo, rdaHi, qn, qm
    Increment,    // qd, rn 19..17, #1..8
    WrapIncrement,// qd, rn, rm 3..1, #1..8
    NoOperands,
};

// How the element type is read.
enum Types : uint8_t {
    NoType,
    SignedUnsigned20, Signed20, SignedReserved20, Integer20, Unsigned20, Plain20,
    Float20,      // bit 20: f16 when set
    FloatWide20,  // bit 20: f32 when set
    Float28,      // bit 28: f16 when set
    FloatWide28,  // bit 28: f32 when set
    Polynomial28, // p8, p16
    Signed28,     // s16, s32
    Integer32, SignedUnsigned32, Signed32,
    SignedUnsigned8, SignedUnsigned16,
    SignedUnsigned18, Signed18, Integer18, Plain18, Plain18Two, Plain18One, Float18,
    SignedUnsigned18Narrow, Signed18Narrow, Integer18Narrow, // 16 or 32, the wider type
    SignedUnsigned18Long,  // 8 or 16 by bit 18
    ToInteger, FromInteger, HalfConversion,
    ShiftSignedUnsigned, ShiftSigned, ShiftInteger, ShiftPlain, // size by imm6
    Fixed,
    LongSignedUnsigned, // VSHLL by imm5
    NarrowSignedUnsigned, NarrowSigned, NarrowInteger,
    Dual, DualSigned, DualSubtract, // VMLADAV, VMLSDAV sizes
    LongDual, LongDualSigned,       // VMLALDAV sizes
    ModifiedType,
};

// Registers that may not be the destination: the forms whose results are written
// while their sources are still read (32-bit elements, or the 64-bit reversal).
enum Overlap : uint8_t {
    AnyOverlap,
    WideApart,   // 32-bit elements: qd differs from qn and qm
    WideApartM,  // 32-bit elements: qd differs from qm
    WideApartN,  // 32-bit elements: qd differs from qn
    ApartM,      // qd differs from qm
};

struct Row {
    uint32_t mask, value;
    const char* name;
    Fields fields;
    Types types;
    Overlap overlap;
};

constexpr uint32_t U = 1u << 28, SZ = 3u << 20, S18 = 3u << 18, QN = 7u << 17, QD = 7u << 13, QM = 7u << 1,
                   RM = 0xFu, B0 = 1u, B5 = 1u << 5, B7 = 1u << 7, B8 = 1u << 8, B12 = 1u << 12, B16 = 1u << 16,
                   B18 = 1u << 18, B20 = 1u << 20, B24 = 1u << 24, IMM6 = 0x3Fu << 16, IMM5 = 0x1Fu << 16,
                   RDA4 = 0xFu << 12, RDAHI = 7u << 20, MODIMM = U | 7u << 16 | QD | 0xFu;

constexpr Row row(uint32_t value, uint32_t variable, const char* name, Fields fields, Types types,
                  Overlap overlap = AnyOverlap)
{
    return Row{~variable, value, name, fields, types, overlap};
}

constexpr Row kRows[] = {
    // Three registers of one length, laid out as Advanced SIMD (111U 1111 0).
    row(0xEF000040, U | SZ | QN | QD | QM, "vhadd", QdQnQm, SignedUnsigned20),
    row(0xEF000050, U | SZ | QN | QD | QM, "vqadd", QdQnQm, SignedUnsigned20),
    row(0xEF000140, U | SZ | QN | QD | QM, "vrhadd", QdQnQm, SignedUnsigned20),
    row(0xEF000150, QN | QD | QM, "vand", QdQnQm, NoType),
    row(0xEF100150, QN | QD | QM, "vbic", QdQnQm, NoType),
    row(0xEF200150, QN | QD | QM, "vorr", Orr, NoType),
    row(0xEF300150, QN | QD | QM, "vorn", QdQnQm, NoType),
    row(0xFF000150, QN | QD | QM, "veor", QdQnQm, NoType),
    row(0xEF000240, U | SZ | QN | QD | QM, "vhsub", QdQnQm, SignedUnsigned20),
    row(0xEF000250, U | SZ | QN | QD | QM, "vqsub", QdQnQm, SignedUnsigned20),
    row(0xEF000440, U | SZ | QN | QD | QM, "vshl", QdQmQn, SignedUnsigned20),
    row(0xEF000450, U | SZ | QN | QD | QM, "vqshl", QdQmQn, SignedUnsigned20),
    row(0xEF000540, U | SZ | QN | QD | QM, "vrshl", QdQmQn, SignedUnsigned20),
    row(0xEF000550, U | SZ | QN | QD | QM, "vqrshl", QdQmQn, SignedUnsigned20),
    row(0xEF000640, U | SZ | QN | QD | QM, "vmax", QdQnQm, SignedUnsigned20),
    row(0xEF000650, U | SZ | QN | QD | QM, "vmin", QdQnQm, SignedUnsigned20),
    row(0xEF000740, U | SZ | QN | QD | QM, "vabd", QdQnQm, SignedUnsigned20),
    row(0xEF000840, SZ | QN | QD | QM, "vadd", QdQnQm, Integer20),
    row(0xFF000840, SZ | QN | QD | QM, "vsub", QdQnQm, Integer20),
    row(0xEF000950, SZ | QN | QD | QM, "vmul", QdQnQm, Integer20),
    row(0xEF000B40, SZ | QN | QD | QM, "vqdmulh", QdQnQm, SignedReserved20),
    row(0xFF000B40, SZ | QN | QD | QM, "vqrdmulh", QdQnQm, SignedReserved20),
    row(0xEF000C50, B20 | QN | QD | QM, "vfma", QdQnQm, Float20),
    row(0xEF200C50, B20 | QN | QD | QM, "vfms", QdQnQm, Float20),
    row(0xEF000D40, B20 | QN | QD | QM, "vadd", QdQnQm, Float20),
    row(0xEF200D40, B20 | QN | QD | QM, "vsub", QdQnQm, Float20),
    row(0xFF200D40, B20 | QN | QD | QM, "vabd", QdQnQm, Float20),
    row(0xFF000D50, B20 | QN | QD | QM, "vmul", QdQnQm, Float20),
    row(0xFF000F50, B20 | QN | QD | QM, "vmaxnm", QdQnQm, Float20),
    row(0xFF200F50, B20 | QN | QD | QM, "vminnm", QdQnQm, Float20),
    // Two registers, miscellaneous (1111 1111 1 D 11 size A Qd 0 B Q M 0 Qm).
    row(0xFFB00040, S18 | QD | QM, "vrev64", QdQm, Plain18, ApartM),
    row(0xFFB000C0, S18 | QD | QM, "vrev32", QdQm, Plain18Two),
    row(0xFFB00140, S18 | QD | QM, "vrev16", QdQm, Plain18One),
    row(0xFFB00440, S18 | QD | QM, "vcls", QdQm, Signed18),
    row(0xFFB004C0, S18 | QD | QM, "vclz", QdQm, Integer18),
    row(0xFFB005C0, QD | QM, "vmvn", QdQm, NoType),
    row(0xFFB00740, S18 | QD | QM, "vqabs", QdQm, Signed18),
    row(0xFFB007C0, S18 | QD | QM, "vqneg", QdQm, Signed18),
    row(0xFFB10340, S18 | QD | QM, "vabs", QdQm, Signed18),
    row(0xFFB103C0, S18 | QD | QM, "vneg", QdQm, Signed18),
    row(0xFFB10740, S18 | QD | QM, "vabs", QdQm, Float18),
    row(0xFFB107C0, S18 | QD | QM, "vneg", QdQm, Float18),
    row(0xFFB20440, S18 | QD | QM, "vrintn", QdQm, Float18),
    row(0xFFB204C0, S18 | QD | QM, "vrintx", QdQm, Float18),
    row(0xFFB20540, S18 | QD | QM, "vrinta", QdQm, Float18),
    row(0xFFB205C0, S18 | QD | QM, "vrintz", QdQm, Float18),
    row(0xFFB206C0, S18 | QD | QM, "vrintm", QdQm, Float18),
    row(0xFFB207C0, S18 | QD | QM, "vrintp", QdQm, Float18),
    row(0xFFB30040, S18 | B7 | QD | QM, "vcvta", QdQm, ToInteger),
    row(0xFFB30140, S18 | B7 | QD | QM, "vcvtn", QdQm, ToInteger),
    row(0xFFB30240, S18 | B7 | QD | QM, "vcvtp", QdQm, ToInteger),
    row(0xFFB30340, S18 | B7 | QD | QM, "vcvtm", QdQm, ToInteger),
    row(0xFFB30640, S18 | B7 | QD | QM, "vcvt", QdQm, FromInteger),
    row(0xFFB30740, S18 | B7 | QD | QM, "vcvt", QdQm, ToInteger),
    // One register and a modified immediate (111i 1111 1 D 000 imm3 Qd 0 cmode 0 1 op 1 imm4).
    row(0xEF800050, MODIMM | 3u << 9, "vmov", Modified, ModifiedType),
    row(0xEF800150, MODIMM | 3u << 9, "vorr", Modified, ModifiedType),
    row(0xEF800850, MODIMM | 1u << 9, "vmov", Modified, ModifiedType),
    row(0xEF800950, MODIMM | 1u << 9, "vorr", Modified, ModifiedType),
    row(0xEF800C50, MODIMM | B8, "vmov", Modified, ModifiedType),
    row(0xEF800E50, MODIMM, "vmov", Modified, ModifiedType),
    row(0xEF800F50, MODIMM, "vmov", Modified, ModifiedType),
    row(0xEF800070, MODIMM | 3u << 9, "vmvn", Modified, ModifiedType),
    row(0xEF800170, MODIMM | 3u << 9, "vbic", Modified, ModifiedType),
    row(0xEF800870, MODIMM | 1u << 9, "vmvn", Modified, ModifiedType),
    row(0xEF800970, MODIMM | 1u << 9, "vbic", Modified, ModifiedType),
    row(0xEF800C70, MODIMM | B8, "vmvn", Modified, ModifiedType),
    row(0xEF800E70, MODIMM, "vmov", Modified, ModifiedType),
    // Two registers and a shift amount (111U 1111 1 D imm6 Qd 0 opc 0 1 M 1 Qm 0).
    row(0xEF800050, U | IMM6 | QD | QM, "vshr", ShiftRight, ShiftSignedUnsigned),
    row(0xEF800250, U | IMM6 | QD | QM, "vrshr", ShiftRight, ShiftSignedUnsigned),
    row(0xFF800450, IMM6 | QD | QM, "vsri", ShiftRight, ShiftPlain),
    row(0xEF800550, IMM6 | QD | QM, "vshl", ShiftLeft, ShiftInteger),
    row(0xFF800550, IMM6 | QD | QM, "vsli", ShiftLeft, ShiftPlain),
    row(0xFF800650, IMM6 | QD | QM, "vqshlu", ShiftLeft, ShiftSigned),
    row(0xEF800750, U | IMM6 | QD | QM, "vqshl", ShiftLeft, ShiftSignedUnsigned),
    row(0xEF800C50, U | IMM6 | 3u << 8 | QD | QM, "vcvt", FixedPoint, Fixed),
    // Complex floating point (1111 110 rot 1 D 0 S Qn 0 | Qd 0 1000 N 1 M 0 Qm 0).
    row(0xFC800840, B24 | B20 | QN | QD | QM, "vcadd", RotateCadd, FloatWide20, WideApartM),
    row(0xFC200840, 3u << 23 | B20 | QN | QD | QM, "vcmla", RotateCmla, FloatWide20, WideApart),
    // Vector by vector (111U 1110 0 D size Qn x | Qd x 111x 0 N 0 M 0 Qm x).
    row(0xEE310E00, U | QN | QD | QM, "vmullb", QdQnQm, Polynomial28),
    row(0xEE311E00, U | QN | QD | QM, "vmullt", QdQnQm, Polynomial28),
    row(0xEE010E00, U | SZ | QN | QD | QM, "vmullb", QdQnQm, SignedUnsigned20, WideApart),
    row(0xEE011E00, U | SZ | QN | QD | QM, "vmullt", QdQnQm, SignedUnsigned20, WideApart),
    row(0xEE010E01, U | SZ | QN | QD | QM, "vmulh", QdQnQm, SignedUnsigned20),
    row(0xEE011E01, U | SZ | QN | QD | QM, "vrmulh", QdQnQm, SignedUnsigned20),
    row(0xEE300E00, U | B12 | B0 | QN | QD | QM, "vcmul", RotateCmul, FloatWide28, WideApart),
    row(0xEE000E00, SZ | QN | QD | QM, "vqdmladh", QdQnQm, Signed20),
    row(0xEE001E00, SZ | QN | QD | QM, "vqdmladhx", QdQnQm, Signed20),
    row(0xEE000E01, SZ | QN | QD | QM, "vqrdmladh", QdQnQm, Signed20),
    row(0xEE001E01, SZ | QN | QD | QM, "vqrdmladhx", QdQnQm, Signed20),
    row(0xFE000E00, SZ | QN | QD | QM, "vqdmlsdh", QdQnQm, Signed20),
    row(0xFE001E00, SZ | QN | QD | QM, "vqdmlsdhx", QdQnQm, Signed20),
    row(0xFE000E01, SZ | QN | QD | QM, "vqrdmlsdh", QdQnQm, Signed20),
    row(0xFE001E01, SZ | QN | QD | QM, "vqrdmlsdhx", QdQnQm, Signed20),
    row(0xEE300F00, QN | QD | QM, "vadc", QdQnQm, Integer32),
    row(0xEE301F00, QN | QD | QM, "vadci", QdQnQm, Integer32),
    row(0xFE300F00, QN | QD | QM, "vsbc", QdQnQm, Integer32),
    row(0xFE301F00, QN | QD | QM, "vsbci", QdQnQm, Integer32),
    row(0xFE000F00, SZ | B12 | QN | QD | QM, "vcadd", RotateOne, Integer20, WideApartM),
    row(0xEE000F00, SZ | B12 | QN | QD | QM, "vhcadd", RotateOne, Signed20, WideApartM),
    row(0xEE300F01, U | QN | QD | QM, "vqdmullb", QdQnQm, Signed28, WideApart),
    row(0xEE301F01, U | QN | QD | QM, "vqdmullt", QdQnQm, Signed28, WideApart),
    // Vector by core register (111U 1110 0 D size Qn x | Qd x 111x 0 1 x 0 Rm).
    row(0xEE300F40, U | QN | QD | RM, "vadd", QdQnRm, Float28),
    row(0xEE301F40, U | QN | QD | RM, "vsub", QdQnRm, Float28),
    row(0xEE010F40, SZ | QN | QD | RM, "vadd", QdQnRm, Integer20),
    row(0xEE011F40, SZ | QN | QD | RM, "vsub", QdQnRm, Integer20),
    row(0xEE000F40, U | SZ | QN | QD | RM, "vhadd", QdQnRm, SignedUnsigned20),
    row(0xEE001F40, U | SZ | QN | QD | RM, "vhsub", QdQnRm, SignedUnsigned20),
    row(0xEE000F60, U | SZ | QN | QD | RM, "vqadd", QdQnRm, SignedUnsigned20),
    row(0xEE001F60, U | SZ | QN | QD | RM, "vqsub", QdQnRm, SignedUnsigned20),
    row(0xEE300F60, U | QN | QD | RM, "vqdmullb", QdQnRm, Signed28, WideApartN),
    row(0xEE301F60, U | QN | QD | RM, "vqdmullt", QdQnRm, Signed28, WideApartN),
    row(0xEE310E60, U | QN | QD | RM, "vmul", QdQnRm, Float28),
    row(0xEE310E40, U | QN | QD | RM, "vfma", QdQnRm, Float28),
    row(0xEE311E40, U | QN | QD | RM, "vfmas", QdQnRm, Float28),
    row(0xEE311E60, U | S18 | QD | RM, "vshl", QdaRm, SignedUnsigned18),
    row(0xEE331E60, U | S18 | QD | RM, "vrshl", QdaRm, SignedUnsigned18),
    row(0xEE311EE0, U | S18 | QD | RM, "vqshl", QdaRm, SignedUnsigned18),
    row(0xEE331EE0, U | S18 | QD | RM, "vqrshl", QdaRm, SignedUnsigned18),
    row(0xEE010E40, U | SZ | QN | QD | RM, "vmla", QdQnRm, SignedUnsigned20),
    row(0xEE011E40, U | SZ | QN | QD | RM, "vmlas", QdQnRm, SignedUnsigned20),
    row(0xEE000E40, SZ | QN | QD | RM, "vqrdmlah", QdQnRm, SignedReserved20),
    row(0xEE001E40, SZ | QN | QD | RM, "vqrdmlash", QdQnRm, SignedReserved20),
    row(0xEE000E60, SZ | QN | QD | RM, "vqdmlah", QdQnRm, SignedReserved20),
    row(0xEE001E60, SZ | QN | QD | RM, "vqdmlash", QdQnRm, SignedReserved20),
    row(0xEE010E60, SZ | QN | QD | RM, "vqdmulh", QdQnRm, Signed20),
    row(0xFE010E60, SZ | QN | QD | RM, "vqrdmulh", QdQnRm, Signed20),
    row(0xEE011E60, SZ | QN | QD | RM, "vmul", QdQnRm, Integer20),
    row(0xFE011E60, SZ | QN | QD | RM, "vbrsr", QdQnRm, Plain20),
    // One vector to another, widening and narrowing (111U 1110 0 D 11 x x x x | Qd T 111x x 0 0 0 Qm 1).
    row(0xEE310E01, U | B18 | QD | QM, "vshllb", ShiftWhole, SignedUnsigned18Long),
    row(0xEE311E01, U | B18 | QD | QM, "vshllt", ShiftWhole, SignedUnsigned18Long),
    row(0xFE310E81, B18 | QD | QM, "vmovnb", QdQm, Integer18Narrow),
    row(0xFE311E81, B18 | QD | QM, "vmovnt", QdQm, Integer18Narrow),
    row(0xEE3F0E01, U | QD | QM, "vcvtb", QdQm, HalfConversion),
    row(0xEE3F1E01, U | QD | QM, "vcvtt", QdQm, HalfConversion),
    row(0xEE330E01, U | B18 | QD | QM, "vqmovnb", QdQm, SignedUnsigned18Narrow),
    row(0xEE331E01, U | B18 | QD | QM, "vqmovnt", QdQm, SignedUnsigned18Narrow),
    row(0xEE310E81, B18 | QD | QM, "vqmovunb", QdQm, Signed18Narrow),
    row(0xEE311E81, B18 | QD | QM, "vqmovunt", QdQm, Signed18Narrow),
    row(0xEE3F0E81, U | QD | QM, "vmaxnma", QdQm, Float28),
    row(0xEE3F1E81, U | QD | QM, "vminnma", QdQm, Float28),
    row(0xEE330E81, S18 | QD | QM, "vmaxa", QdQm, Signed18),
    row(0xEE331E81, S18 | QD | QM, "vmina", QdQm, Signed18),
    // Shifts by an immediate in the 1110 space (111U 1110 1 D imm6 | Qd T 1111 x 1 0 0 Qm x).
    row(0xEEA80F40, U | QD | QM, "vmovlb", QdQm, SignedUnsigned8),
    row(0xEEA81F40, U | QD | QM, "vmovlt", QdQm, SignedUnsigned8),
    row(0xEEB00F40, U | QD | QM, "vmovlb", QdQm, SignedUnsigned16),
    row(0xEEB01F40, U | QD | QM, "vmovlt", QdQm, SignedUnsigned16),
    row(0xEEA00F40, U | IMM5 | QD | QM, "vshllb", ShiftLong, LongSignedUnsigned),
    row(0xEEA01F40, U | IMM5 | QD | QM, "vshllt", ShiftLong, LongSignedUnsigned),
    row(0xEEA00FC0, IMM5 | QD | RM, "vshlc", ShiftCarry, NoType),
    row(0xEE800FC1, IMM5 | QD | QM, "vshrnb", Narrow, NarrowInteger),
    row(0xEE801FC1, IMM5 | QD | QM, "vshrnt", Narrow, NarrowInteger),
    row(0xFE800FC1, IMM5 | QD | QM, "vrshrnb", Narrow, NarrowInteger),
    row(0xFE801FC1, IMM5 | QD | QM, "vrshrnt", Narrow, NarrowInteger),
    row(0xEE800F40, U | IMM5 | QD | QM, "vqshrnb", Narrow, NarrowSignedUnsigned),
    row(0xEE801F40, U | IMM5 | QD | QM, "vqshrnt", Narrow, NarrowSignedUnsigned),
    row(0xEE800F41, U | IMM5 | QD | QM, "vqrshrnb", Narrow, NarrowSignedUnsigned),
    row(0xEE801F41, U | IMM5 | QD | QM, "vqrshrnt", Narrow, NarrowSignedUnsigned),
    row(0xEE800FC0, IMM5 | QD | QM, "vqshrunb", Narrow, NarrowSigned),
    row(0xEE801FC0, IMM5 | QD | QM, "vqshrunt", Narrow, NarrowSigned),
    row(0xFE800FC0, IMM5 | QD | QM, "vqrshrunb", Narrow, NarrowSigned),
    row(0xFE801FC0, IMM5 | QD | QM, "vqrshrunt", Narrow, NarrowSigned),
    // Reductions to core registers (111U 1110 1 ...).
    row(0xEEF10F00, U | S18 | QD | QM, "vaddv", RdaQm, SignedUnsigned18),
    row(0xEEF10F20, U | S18 | QD | QM, "vaddva", RdaQm, SignedUnsigned18),
    row(0xEE890F00, U | RDAHI | QD | QM, "vaddlv", RdaPairQm, SignedUnsigned32),
    row(0xEE890F20, U | RDAHI | QD | QM, "vaddlva", RdaPairQm, SignedUnsigned32),
    row(0xEEEE0F00, U | RDA4 | QM, "vmaxnmv", RdaAnyQm, Float28),
    row(0xEEEE0F80, U | RDA4 | QM, "vminnmv", RdaAnyQm, Float28),
    row(0xEEEC0F00, U | RDA4 | QM, "vmaxnmav", RdaAnyQm, Float28),
    row(0xEEEC0F80, U | RDA4 | QM, "vminnmav", RdaAnyQm, Float28),
    row(0xEEE20F00, U | S18 | RDA4 | QM, "vmaxv", RdaAnyQm, SignedUnsigned18),
    row(0xEEE20F80, U | S18 | RDA4 | QM, "vminv", RdaAnyQm, SignedUnsigned18),
    row(0xEEE00F00, S18 | RDA4 | QM, "vmaxav", RdaAnyQm, Signed18),
    row(0xEEE00F80, S18 | RDA4 | QM, "vminav", RdaAnyQm, Signed18),
    // Multiply-accumulate across the vector: the 32-bit results (RdaHi 111) first.
    // The plain forms print as the aliases the listings use (vmlav, vmlalv, vrmlalvh).
    row(0xEEF00E00, U | QN | B16 | B8 | QD | QM, "vmlav", RdaQnQm, Dual),
    row(0xEEF00E20, U | QN | B16 | B8 | QD | QM, "vmlava", RdaQnQm, Dual),
    row(0xEEF01E00, QN | B16 | B8 | QD | QM, "vmladavx", RdaQnQm, DualSigned),
    row(0xEEF01E20, QN | B16 | B8 | QD | QM, "vmladavax", RdaQnQm, DualSigned),
    row(0xEEF00E01, U | QN | B16 | QD | QM, "vmlsdav", RdaQnQm, DualSubtract),
    row(0xEEF00E21, U | QN | B16 | QD | QM, "vmlsdava", RdaQnQm, DualSubtract),
    row(0xEEF01E01, U | QN | B16 | QD | QM, "vmlsdavx", RdaQnQm, DualSubtract),
    row(0xEEF01E21, U | QN | B16 | QD | QM, "vmlsdavax", RdaQnQm, DualSubtract),
    row(0xEE800E00, U | RDAHI | QN | B16 | QD | QM, "vmlalv", RdaPairQnQm, LongDual),
    row(0xEE800E20, U | RDAHI | QN | B16 | QD | QM, "vmlalva", RdaPairQnQm, LongDual),
    row(0xEE801E00, RDAHI | QN | B16 | QD | QM, "vmlaldavx", RdaPairQnQm, LongDualSigned),
    row(0xEE801E20, RDAHI | QN | B16 | QD | QM, "vmlaldavax", RdaPairQnQm, LongDualSigned),
    row(0xEE800E01, RDAHI | QN | B16 | QD | QM, "vmlsldav", RdaPairQnQm, LongDualSigned),
    row(0xEE800E21, RDAHI | QN | B16 | QD | QM, "vmlsldava", RdaPairQnQm, LongDualSigned),
    row(0xEE801E01, RDAHI | QN | B16 | QD | QM, "vmlsldavx", RdaPairQnQm, LongDualSigned),
    row(0xEE801E21, RDAHI | QN | B16 | QD | QM, "vmlsldavax", RdaPairQnQm, LongDualSigned),
    row(0xEE800F00, U | RDAHI | QN | QD | QM, "vrmlalvh", RdaPairQnQm, SignedUnsigned32),
    row(0xEE800F20, U | RDAHI | QN | QD | QM, "vrmlalvha", RdaPairQnQm, SignedUnsigned32),
    row(0xEE801F00, RDAHI | QN | QD | QM, "vrmlaldavhx", RdaPairQnQm, Signed32),
    row(0xEE801F20, RDAHI | QN | QD | QM, "vrmlaldavhax", RdaPairQnQm, Signed32),
    row(0xFE800E01, RDAHI | QN | QD | QM, "vrmlsldavh", RdaPairQnQm, Signed32),
    row(0xFE800E21, RDAHI | QN | QD | QM, "vrmlsldavha", RdaPairQnQm, Signed32),
    row(0xFE801E01, RDAHI | QN | QD | QM, "vrmlsldavhx", RdaPairQnQm, Signed32),
    row(0xFE801E21, RDAHI | QN | QD | QM, "vrmlsldavhax", RdaPairQnQm, Signed32),
    row(0xEE800F01, U | SZ | QN | RDA4 | QM, "vabav", RdaAnyQnQm, SignedUnsigned20),
    // Incrementing and decrementing duplicates (1110 1110 0 D size Rn 1 | Qd x 1111 imm 11 0 Rm imm).
    row(0xEE010F6E, SZ | QN | QD | B7 | B0, "vidup", Increment, Unsigned20),
    row(0xEE011F6E, SZ | QN | QD | B7 | B0, "vddup", Increment, Unsigned20),
    row(0xEE010F60, SZ | QN | QD | B7 | QM | B0, "viwdup", WrapIncrement, Unsigned20),
    row(0xEE011F60, SZ | QN | QD | B7 | QM | B0, "vdwdup", WrapIncrement, Unsigned20),
};

int vector(uint32_t insn, unsigned lo) { return VReg::make(VReg::Q, bits(insn, lo + 2, lo)); }

// The element size of the Advanced SIMD style shifts by the leading one of imm6.
int shiftSize(uint32_t imm6) { return (imm6 & 0x20) ? 32 : (imm6 & 0x10) ? 16 : (imm6 & 0x08) ? 8 : 0; }

// The type rule of a row; false when the size field holds no size of the form.
bool elementType(Types types, uint32_t insn, ARMInstructionSetDecoder::MveOperation& op)
{
    const bool u = bit(insn, 28);
    const uint32_t size20 = bits(insn, 21, 20), size18 = bits(insn, 19, 18);
    auto set = [&](const char* kind, int bitCount) {
        op.kind = kind;
        op.bits = bitCount;
        return true;
    };
    switch (types) {
    case NoType:
        return true;
    case SignedUnsigned20:
        return size20 < 3 && set(u ? "u" : "s", 8 << size20);
    case Signed20:
        return size20 < 3 && set("s", 8 << size20);
    case SignedReserved20:
        // The reserved size of the saturating doubling forms is printed, not refused.
        return size20 < 3 ? set("s", 8 << size20) : set("???", 0);
    case Integer20:
        return size20 < 3 && set("i", 8 << size20);
    case Unsigned20:
        return size20 < 3 && set("u", 8 << size20);
    case Plain20:
        return size20 < 3 && set("", 8 << size20);
    case Float20:
        return set("f", bit(insn, 20) ? 16 : 32);
    case FloatWide20:
        return set("f", bit(insn, 20) ? 32 : 16);
    case Float28:
        return set("f", u ? 16 : 32);
    case FloatWide28:
        return set("f", u ? 32 : 16);
    case Polynomial28:
        return set("p", u ? 16 : 8);
    case Signed28:
        return set("s", u ? 32 : 16);
    case Integer32:
        return set("i", 32);
    case SignedUnsigned32:
        return set(u ? "u" : "s", 32);
    case Signed32:
        return set("s", 32);
    case SignedUnsigned8:
        return set(u ? "u" : "s", 8);
    case SignedUnsigned16:
        return set(u ? "u" : "s", 16);
    case SignedUnsigned18:
        return size18 < 3 && set(u ? "u" : "s", 8 << size18);
    case Signed18:
        return size18 < 3 && set("s", 8 << size18);
    case Integer18:
        return size18 < 3 && set("i", 8 << size18);
    case Plain18:
        return size18 < 3 && set("", 8 << size18);
    case Plain18Two:
        return size18 < 2 && set("", 8 << size18);
    case Plain18One:
        return size18 < 1 && set("", 8);
    case Float18:
        return (size18 == 1 || size18 == 2) && set("f", 8 << size18);
    case SignedUnsigned18Narrow:
        return size18 < 2 && set(u ? "u" : "s", 16 << size18);
    case Signed18Narrow:
        return size18 < 2 && set("s", 16 << size18);
    case Integer18Narrow:
        return size18 < 2 && set("i", 16 << size18);
    case SignedUnsigned18Long:
        return size18 < 2 && set(u ? "u" : "s", 8 << size18);
    case ToInteger:
        if (size18 != 1 && size18 != 2)
            return false;
        op.fromKind = "f";
        op.fromBits = 8 << size18;
        return set(bit(insn, 7) ? "u" : "s", 8 << size18);
    case FromInteger:
        if (size18 != 1 && size18 != 2)
            return false;
        op.fromKind = bit(insn, 7) ? "u" : "s";
        op.fromBits = 8 << size18;
        return set("f", 8 << size18);
    case HalfConversion:
        op.fromKind = "f";
        op.fromBits = u ? 16 : 32;
        return set("f", u ? 32 : 16);
    case ShiftSignedUnsigned:
        return shiftSize(bits(insn, 21, 16)) && set(u ? "u" : "s", shiftSize(bits(insn, 21, 16)));
    case ShiftSigned:
        return shiftSize(bits(insn, 21, 16)) && set("s", shiftSize(bits(insn, 21, 16)));
    case ShiftInteger:
        return shiftSize(bits(insn, 21, 16)) && set("i", shiftSize(bits(insn, 21, 16)));
    case ShiftPlain:
        return shiftSize(bits(insn, 21, 16)) && set("", shiftSize(bits(insn, 21, 16)));
    case Fixed: {
        // Bit 9: 32-bit elements; bit 8: to fixed point. Half precision takes 1 to 16
        // fraction bits, single 1 to 32.
        const int esize = bit(insn, 9) ? 32 : 16;
        if (bits(insn, 21, 16) < uint32_t(64 - esize))
            return false;
        const char* fixed = u ? "u" : "s";
        op.fromKind = bit(insn, 8) ? "f" : fixed;
        op.fromBits = esize;
        return set(bit(insn, 8) ? fixed : "f", esize);
    }
    case LongSignedUnsigned: {
        const uint32_t imm5 = bits(insn, 20, 16);
        return (imm5 & 0x18) && set(u ? "u" : "s", (imm5 & 0x10) ? 16 : 8);
    }
    case NarrowSignedUnsigned:
    case NarrowSigned:
    case NarrowInteger: {
        const uint32_t imm5 = bits(insn, 20, 16);
        if (!(imm5 & 0x18))
            return false;
        return set(types == NarrowInteger ? "i" : (types == NarrowSigned || !u) ? "s" : "u",
                   (imm5 & 0x10) ? 32 : 16);
    }
    case Dual:
    case DualSigned: {
        // bit 16 : bit 8 = 01 bytes, 00 halfwords, 10 words.
        const uint32_t sz = bit(insn, 16) << 1 | bit(insn, 8);
        return sz != 3 && set((types == Dual && u) ? "u" : "s", sz == 1 ? 8 : sz == 0 ? 16 : 32);
    }
    case DualSubtract: {
        // bit 28 : bit 16 = 10 bytes, 00 halfwords, 01 words.
        const uint32_t sz = bit(insn, 28) << 1 | bit(insn, 16);
        return sz != 3 && set("s", sz == 2 ? 8 : sz == 0 ? 16 : 32);
    }
    case LongDual:
        return set(u ? "u" : "s", bit(insn, 16) ? 32 : 16);
    case LongDualSigned:
        return set("s", bit(insn, 16) ? 32 : 16);
    case ModifiedType: {
        const uint32_t cmode = bits(insn, 11, 8);
        if (cmode == 0xF)
            return set("f", 32);
        if (cmode == 0xE)
            return set("i", bit(insn, 5) ? 64 : 8);
        return set("i", (cmode & 0xC) == 0x8 ? 16 : 32);
    }
    }
    return false;
}

// The operands of a row; false for registers the form cannot have.
bool operands(Fields fields, uint32_t insn, ARMInstructionSetDecoder::MveOperation& op)
{
    const int qd = vector(insn, 13), qn = vector(insn, 17), qm = vector(insn, 1);
    const int rm = int(bits(insn, 3, 0));
    auto take = [&](int a, int b, int c = -1, int d = -1) {
        op.operands[0] = a;
        op.operands[1] = b;
        op.operands[2] = c;
        op.operands[3] = d;
        op.count = c < 0 ? 2 : d < 0 ? 3 : 4;
        return true;
    };
    auto withImmediate = [&](uint64_t value) {
        op.tail = ARMInstructionSetDecoder::MveImmediateTail;
        op.immediate = value;
        return true;
    };
    auto withRotation = [&](uint32_t degrees) {
        op.tail = ARMInstructionSetDecoder::MveRotationTail;
        op.immediate = degrees;
        return true;
    };
    const uint32_t imm6 = bits(insn, 21, 16);
    switch (fields) {
    case QdQnQm:
        return take(qd, qn, qm);
    case QdQmQn:
        return take(qd, qm, qn);
    case Orr:
        if (qn == qm) {
            op.name = "vmov";
            return take(qd, qm);
        }
        return take(qd, qn, qm);
    case QdQm:
        return take(qd, qm);
    case QdQnRm:
        return rm != 13 && rm != 15 && take(qd, qn, rm);
    case QdaRm:
        return rm != 13 && rm != 15 && take(qd, rm);
    case RotateOne:
        return take(qd, qn, qm) && withRotation(bit(insn, 12) ? 270 : 90);
    case RotateCmul:
        return take(qd, qn, qm) && withRotation(90 * (bit(insn, 12) << 1 | bit(insn, 0)));
    case RotateCadd:
        return take(qd, qn, qm) && withRotation(bit(insn, 24) ? 270 : 90);
    case RotateCmla:
        return take(qd, qn, qm) && withRotation(90 * bits(insn, 24, 23));
    case ShiftRight:
        return take(qd, qm) && withImmediate(uint64_t(2 * shiftSize(imm6)) - imm6);
    case ShiftLeft:
        return take(qd, qm) && withImmediate(imm6 - uint64_t(shiftSize(imm6)));
    case FixedPoint:
        return take(qd, qm) && withImmediate(64 - imm6);
    case ShiftLong: {
        const uint32_t imm5 = bits(insn, 20, 16);
        return take(qd, qm) && withImmediate((imm5 & 0x10) ? imm5 & 0xF : imm5 & 0x7);
    }
    case ShiftWhole:
        return take(qd, qm) && withImmediate(bit(insn, 18) ? 16 : 8);
    case Narrow: {
        const uint32_t imm5 = bits(insn, 20, 16);
        return take(qd, qm) && withImmediate(((imm5 & 0x10) ? 32 : 16) - imm5);
    }
    case ShiftCarry: {
        const uint32_t imm5 = bits(insn, 20, 16);
        return rm != 13 && rm != 15 && take(qd, rm) && withImmediate(imm5 ? imm5 : 32);
    }
    case Modified: {
        const uint32_t cmode = bits(insn, 11, 8), opBit = bit(insn, 5);
        const uint32_t imm8 = bit(insn, 28) << 7 | bits(insn, 18, 16) << 4 | bits(insn, 3, 0);
        op.operands[0] = qd;
        op.count = 1;
        if (cmode == 0xF) {
            op.tail = ARMInstructionSetDecoder::MveFloatTail;
            op.immediate = imm8;
            return true;
        }
        // A zero byte shifted up is the unshifted zero to the assembler, which
        // writes it back with the lowest cmode of the size.
        if (imm8 == 0 && cmode != 0 && cmode != 1 && cmode != 8 && cmode != 9 && cmode != 0xE)
            return false;
        const uint64_t value = ArmBits::expandSimdImmediate(opBit, cmode, imm8);
        op.tail = ARMInstructionSetDecoder::MveModifiedTail;
        op.immediate = op.bits == 64 ? value : op.bits == 8 ? imm8 : op.bits == 16 ? value & 0xFFFF : value & 0xFFFFFFFF;
        return true;
    }
    case RdaQm:
        return take(int(bits(insn, 15, 13) << 1), qm);
    case RdaAnyQm: {
        const int rda = int(bits(insn, 15, 12));
        return rda != 13 && rda != 15 && take(rda, qm);
    }
    case RdaPairQm: {
        const int hi = int(bits(insn, 22, 20) << 1 | 1);
        return hi != 13 && hi != 15 && take(int(bits(insn, 15, 13) << 1), hi, qm);
    }
    case RdaQnQm:
        return take(int(bits(insn, 15, 13) << 1), qn, qm);
    case RdaAnyQnQm: {
        const int rda = int(bits(insn, 15, 12));
        return rda != 13 && rda != 15 && take(rda, qn, qm);
    }
    case RdaPairQnQm: {
        const int hi = int(bits(insn, 22, 20) << 1 | 1);
        return hi != 13 && hi != 15 && take(int(bits(insn, 15, 13) << 1), hi, qn, qm);
    }
    case Increment:
        return take(qd, int(bits(insn, 19, 17) << 1)) && withImmediate(1u << (bit(insn, 7) << 1 | bit(insn, 0)));
    case WrapIncrement: {
        const int rmOdd = int(bits(insn, 3, 1) << 1 | 1);
        return rmOdd != 13 && rmOdd != 15 && take(qd, int(bits(insn, 19, 17) << 1), rmOdd) &&
               withImmediate(1u << (bit(insn, 7) << 1 | bit(insn, 0)));
    }
    case NoOperands:
        op.count = 0;
        return true;
    }
    return false;
}
bool apart(Overlap overlap, const ARMInstructionSetDecoder::MveOperation& op)
{
    const int qd = op.operands[0], qn = op.operands[1], qm = op.operands[2];
    const bool wide = op.bits == 32;
    switch (overlap) {
    case AnyOverlap:
        return true;
    case WideApart:
        return !wide || (qd != qn && qd != qm);
    case WideApartM:
        return !wide || qd != qm;
    case WideApartN:
        return !wide || qd != qn;
    case ApartM:
        return qd != op.operands[1];
    }
    return true;
}
} // namespace

bool ARMInstructionSetDecoder::decodeMveData(uint32_t insn)
{
    for (const Row& r : kRows) {
        if ((insn & r.mask) != r.value)
            continue;
        MveOperation op;
        op.name = r.name;
        if (!elementType(r.types, insn, op) || !operands(r.fields, insn, op) || !apart(r.overlap, op))
            continue;
        emitMveData(op);
        return true;
    }
    return false;
}
