// Advanced SIMD data processing and the cryptographic forms: one row per form and
// data type with the text arm-none-eabi-objdump prints for the encoding (numbers
// written as this disassembler writes them: hex above 32; VSHL by an immediate typed
// .i as the architecture does, the floating-point immediate with six decimals), each
// checked in A32 and, moved to 111U 1111, in Thumb; then the reserved encodings, the
// levels, IT blocks and every modified immediate against its expansion.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "disasm/armdisassembler.h"
#include "tests/disasm/decode.h"

namespace {

using namespace DecodeTest;

// The Thumb encoding of an A32 word of the space: 1111 001U becomes 111U 1111.
uint32_t thumbOf(uint32_t word) { return 0xEF000000 | (word >> 24 & 1) << 28 | (word & 0x00FFFFFF); }

// The groups in the order of the architecture's table: three registers of one length,
// of different lengths, by a scalar, shifts, two registers, modified immediates,
// VEXT, VTBL/VTBX, VDUP; first and last data type of each operation.
const Row kForms[] = {
    {0xF20100AF, "vhadd.s8 d0, d17, d31"},
    {0xF242006E, "vhadd.s8 q8, q1, q15"},
    {0xF32100AF, "vhadd.u32 d0, d17, d31"},
    {0xF20101AF, "vrhadd.s8 d0, d17, d31"},
    {0xF242016E, "vrhadd.s8 q8, q1, q15"},
    {0xF32101AF, "vrhadd.u32 d0, d17, d31"},
    {0xF20102AF, "vhsub.s8 d0, d17, d31"},
    {0xF242026E, "vhsub.s8 q8, q1, q15"},
    {0xF32102AF, "vhsub.u32 d0, d17, d31"},
    {0xF20100BF, "vqadd.s8 d0, d17, d31"},
    {0xF242007E, "vqadd.s8 q8, q1, q15"},
    {0xF33100BF, "vqadd.u64 d0, d17, d31"},
    {0xF20102BF, "vqsub.s8 d0, d17, d31"},
    {0xF242027E, "vqsub.s8 q8, q1, q15"},
    {0xF33102BF, "vqsub.u64 d0, d17, d31"},
    {0xF20F04A1, "vshl.s8 d0, d17, d31"},
    {0xF24E04C2, "vshl.s8 q8, q1, q15"},
    {0xF33F04A1, "vshl.u64 d0, d17, d31"},
    {0xF20F04B1, "vqshl.s8 d0, d17, d31"},
    {0xF24E04D2, "vqshl.s8 q8, q1, q15"},
    {0xF33F04B1, "vqshl.u64 d0, d17, d31"},
    {0xF20F05A1, "vrshl.s8 d0, d17, d31"},
    {0xF24E05C2, "vrshl.s8 q8, q1, q15"},
    {0xF33F05A1, "vrshl.u64 d0, d17, d31"},
    {0xF20F05B1, "vqrshl.s8 d0, d17, d31"},
    {0xF24E05D2, "vqrshl.s8 q8, q1, q15"},
    {0xF33F05B1, "vqrshl.u64 d0, d17, d31"},
    {0xF20103AF, "vcgt.s8 d0, d17, d31"},
    {0xF242036E, "vcgt.s8 q8, q1, q15"},
    {0xF3310EAF, "vcgt.f16 d0, d17, d31"},
    {0xF20103BF, "vcge.s8 d0, d17, d31"},
    {0xF242037E, "vcge.s8 q8, q1, q15"},
    {0xF3110EAF, "vcge.f16 d0, d17, d31"},
    {0xF20106AF, "vmax.s8 d0, d17, d31"},
    {0xF242066E, "vmax.s8 q8, q1, q15"},
    {0xF2110FAF, "vmax.f16 d0, d17, d31"},
    {0xF20106BF, "vmin.s8 d0, d17, d31"},
    {0xF242067E, "vmin.s8 q8, q1, q15"},
    {0xF2310FAF, "vmin.f16 d0, d17, d31"},
    {0xF20107AF, "vabd.s8 d0, d17, d31"},
    {0xF242076E, "vabd.s8 q8, q1, q15"},
    {0xF3310DAF, "vabd.f16 d0, d17, d31"},
    {0xF20107BF, "vaba.s8 d0, d17, d31"},
    {0xF242077E, "vaba.s8 q8, q1, q15"},
    {0xF32107BF, "vaba.u32 d0, d17, d31"},
    {0xF20101BF, "vand d0, d17, d31"},
    {0xF242017E, "vand q8, q1, q15"},
    {0xF21101BF, "vbic d0, d17, d31"},
    {0xF252017E, "vbic q8, q1, q15"},
    {0xF381093A, "vbic.i16 d0, #0x9A"},
    {0xF22101BF, "vorr d0, d17, d31"},
    {0xF262017E, "vorr q8, q1, q15"},
    {0xF381091A, "vorr.i16 d0, #0x9A"},
    {0xF23101BF, "vorn d0, d17, d31"},
    {0xF272017E, "vorn q8, q1, q15"},
    {0xF30101BF, "veor d0, d17, d31"},
    {0xF342017E, "veor q8, q1, q15"},
    {0xF31101BF, "vbsl d0, d17, d31"},
    {0xF352017E, "vbsl q8, q1, q15"},
    {0xF32101BF, "vbit d0, d17, d31"},
    {0xF362017E, "vbit q8, q1, q15"},
    {0xF33101BF, "vbif d0, d17, d31"},
    {0xF372017E, "vbif q8, q1, q15"},
    {0xF20108AF, "vadd.i8 d0, d17, d31"},
    {0xF242086E, "vadd.i8 q8, q1, q15"},
    {0xF2110DAF, "vadd.f16 d0, d17, d31"},
    {0xF30108AF, "vsub.i8 d0, d17, d31"},
    {0xF342086E, "vsub.i8 q8, q1, q15"},
    {0xF2310DAF, "vsub.f16 d0, d17, d31"},
    {0xF20108BF, "vtst.8 d0, d17, d31"},
    {0xF242087E, "vtst.8 q8, q1, q15"},
    {0xF22108BF, "vtst.32 d0, d17, d31"},
    {0xF30108BF, "vceq.i8 d0, d17, d31"},
    {0xF342087E, "vceq.i8 q8, q1, q15"},
    {0xF2110EAF, "vceq.f16 d0, d17, d31"},
    {0xF20109AF, "vmla.i8 d0, d17, d31"},
    {0xF242096E, "vmla.i8 q8, q1, q15"},
    {0xF2110DBF, "vmla.f16 d0, d17, d31"},
    {0xF30109AF, "vmls.i8 d0, d17, d31"},
    {0xF342096E, "vmls.i8 q8, q1, q15"},
    {0xF2310DBF, "vmls.f16 d0, d17, d31"},
    {0xF20109BF, "vmul.i8 d0, d17, d31"},
    {0xF242097E, "vmul.i8 q8, q1, q15"},
    {0xF3110DBF, "vmul.f16 d0, d17, d31"},
    {0xF2010AAF, "vpmax.s8 d0, d17, d31"},
    {0xF3110FAF, "vpmax.f16 d0, d17, d31"},
    {0xF2010ABF, "vpmin.s8 d0, d17, d31"},
    {0xF3310FAF, "vpmin.f16 d0, d17, d31"},
    {0xF2010BBF, "vpadd.i8 d0, d17, d31"},
    {0xF3110DAF, "vpadd.f16 d0, d17, d31"},
    {0xF2110BAF, "vqdmulh.s16 d0, d17, d31"},
    {0xF2520B6E, "vqdmulh.s16 q8, q1, q15"},
    {0xF2210BAF, "vqdmulh.s32 d0, d17, d31"},
    {0xF3110BAF, "vqrdmulh.s16 d0, d17, d31"},
    {0xF3520B6E, "vqrdmulh.s16 q8, q1, q15"},
    {0xF3210BAF, "vqrdmulh.s32 d0, d17, d31"},
    {0xF3110BBF, "vqrdmlah.s16 d0, d17, d31"},
    {0xF3520B7E, "vqrdmlah.s16 q8, q1, q15"},
    {0xF3210BBF, "vqrdmlah.s32 d0, d17, d31"},
    {0xF3110CBF, "vqrdmlsh.s16 d0, d17, d31"},
    {0xF3520C7E, "vqrdmlsh.s16 q8, q1, q15"},
    {0xF3210CBF, "vqrdmlsh.s32 d0, d17, d31"},
    {0xF2010CBF, "vfma.f32 d0, d17, d31"},
    {0xF2420C7E, "vfma.f32 q8, q1, q15"},
    {0xF2110CBF, "vfma.f16 d0, d17, d31"},
    {0xF2210CBF, "vfms.f32 d0, d17, d31"},
    {0xF2620C7E, "vfms.f32 q8, q1, q15"},
    {0xF2310CBF, "vfms.f16 d0, d17, d31"},
    {0xF3010EBF, "vacge.f32 d0, d17, d31"},
    {0xF3420E7E, "vacge.f32 q8, q1, q15"},
    {0xF3110EBF, "vacge.f16 d0, d17, d31"},
    {0xF3210EBF, "vacgt.f32 d0, d17, d31"},
    {0xF3620E7E, "vacgt.f32 q8, q1, q15"},
    {0xF3310EBF, "vacgt.f16 d0, d17, d31"},
    {0xF2010FBF, "vrecps.f32 d0, d17, d31"},
    {0xF2420F7E, "vrecps.f32 q8, q1, q15"},
    {0xF2110FBF, "vrecps.f16 d0, d17, d31"},
    {0xF2210FBF, "vrsqrts.f32 d0, d17, d31"},
    {0xF2620F7E, "vrsqrts.f32 q8, q1, q15"},
    {0xF2310FBF, "vrsqrts.f16 d0, d17, d31"},
    {0xF3010FBF, "vmaxnm.f32 d0, d17, d31"},
    {0xF3420F7E, "vmaxnm.f32 q8, q1, q15"},
    {0xF3110FBF, "vmaxnm.f16 d0, d17, d31"},
    {0xF3210FBF, "vminnm.f32 d0, d17, d31"},
    {0xF3620F7E, "vminnm.f32 q8, q1, q15"},
    {0xF3310FBF, "vminnm.f16 d0, d17, d31"},
    {0xF2020C6E, "sha1c.32 q0, q1, q15"},
    {0xF2520CC4, "sha1p.32 q8, q9, q2"},
    {0xF22E0CCE, "sha1m.32 q0, q15, q7"},
    {0xF270EC42, "sha1su0.32 q15, q0, q1"},
    {0xF3042C46, "sha256h.32 q1, q2, q3"},
    {0xF35A8CEC, "sha256h2.32 q12, q13, q14"},
    {0xF3268CCC, "sha256su1.32 q4, q11, q6"},
    {0xF2C1002F, "vaddl.s8 q8, d1, d31"},
    {0xF3E1002F, "vaddl.u32 q8, d1, d31"},
    {0xF2C2012F, "vaddw.s8 q8, q1, d31"},
    {0xF3E2012F, "vaddw.u32 q8, q1, d31"},
    {0xF2C1022F, "vsubl.s8 q8, d1, d31"},
    {0xF3E1022F, "vsubl.u32 q8, d1, d31"},
    {0xF2C2032F, "vsubw.s8 q8, q1, d31"},
    {0xF3E2032F, "vsubw.u32 q8, q1, d31"},
    {0xF2C2042E, "vaddhn.i16 d16, q1, q15"},
    {0xF2E2042E, "vaddhn.i64 d16, q1, q15"},
    {0xF3C2042E, "vraddhn.i16 d16, q1, q15"},
    {0xF3E2042E, "vraddhn.i64 d16, q1, q15"},
    {0xF2C2062E, "vsubhn.i16 d16, q1, q15"},
    {0xF2E2062E, "vsubhn.i64 d16, q1, q15"},
    {0xF3C2062E, "vrsubhn.i16 d16, q1, q15"},
    {0xF3E2062E, "vrsubhn.i64 d16, q1, q15"},
    {0xF2C1052F, "vabal.s8 q8, d1, d31"},
    {0xF3E1052F, "vabal.u32 q8, d1, d31"},
    {0xF2C1072F, "vabdl.s8 q8, d1, d31"},
    {0xF3E1072F, "vabdl.u32 q8, d1, d31"},
    {0xF2C1082F, "vmlal.s8 q8, d1, d31"},
    {0xF3E1082F, "vmlal.u32 q8, d1, d31"},
    {0xF2C10A2F, "vmlsl.s8 q8, d1, d31"},
    {0xF3E10A2F, "vmlsl.u32 q8, d1, d31"},
    {0xF2D1092F, "vqdmlal.s16 q8, d1, d31"},
    {0xF2D103E7, "vqdmlal.s16 q8, d17, d7[2]"},
    {0xF2E1092F, "vqdmlal.s32 q8, d1, d31"},
    {0xF2D10B2F, "vqdmlsl.s16 q8, d1, d31"},
    {0xF2D107E7, "vqdmlsl.s16 q8, d17, d7[2]"},
    {0xF2E10B2F, "vqdmlsl.s32 q8, d1, d31"},
    {0xF2C10C2F, "vmull.s8 q8, d1, d31"},
    {0xF2E10E2F, "vmull.p64 q8, d1, d31"},
    {0xF2D10D2F, "vqdmull.s16 q8, d1, d31"},
    {0xF2D10BE7, "vqdmull.s16 q8, d17, d7[2]"},
    {0xF2E10D2F, "vqdmull.s32 q8, d1, d31"},
    {0xF28F003F, "vshr.s8 d0, d31, #1"},
    {0xF2C80052, "vshr.s8 q8, q1, #8"},
    {0xF3BF00BF, "vshr.u64 d0, d31, #1"},
    {0xF28F013F, "vsra.s8 d0, d31, #1"},
    {0xF2C80152, "vsra.s8 q8, q1, #8"},
    {0xF3BF01BF, "vsra.u64 d0, d31, #1"},
    {0xF28F023F, "vrshr.s8 d0, d31, #1"},
    {0xF2C80252, "vrshr.s8 q8, q1, #8"},
    {0xF3BF02BF, "vrshr.u64 d0, d31, #1"},
    {0xF28F033F, "vrsra.s8 d0, d31, #1"},
    {0xF2C80352, "vrsra.s8 q8, q1, #8"},
    {0xF3BF03BF, "vrsra.u64 d0, d31, #1"},
    {0xF38F043F, "vsri.8 d0, d31, #1"},
    {0xF3C80452, "vsri.8 q8, q1, #8"},
    {0xF3BF04BF, "vsri.64 d0, d31, #1"},
    {0xF388053F, "vsli.8 d0, d31, #0"},
    {0xF3CF0552, "vsli.8 q8, q1, #7"},
    {0xF38005BF, "vsli.64 d0, d31, #0"},
    {0xF388063F, "vqshlu.s8 d0, d31, #0"},
    {0xF3CF0652, "vqshlu.s8 q8, q1, #7"},
    {0xF38006BF, "vqshlu.s64 d0, d31, #0"},
    {0xF28F0830, "vshrn.i16 d0, q8, #1"},
    {0xF2C8F812, "vshrn.i16 d31, q1, #8"},
    {0xF2BF0830, "vshrn.i64 d0, q8, #1"},
    {0xF28F0870, "vrshrn.i16 d0, q8, #1"},
    {0xF2C8F852, "vrshrn.i16 d31, q1, #8"},
    {0xF2BF0870, "vrshrn.i64 d0, q8, #1"},
    {0xF28F0930, "vqshrn.s16 d0, q8, #1"},
    {0xF2C8F912, "vqshrn.s16 d31, q1, #8"},
    {0xF3BF0930, "vqshrn.u64 d0, q8, #1"},
    {0xF28F0970, "vqrshrn.s16 d0, q8, #1"},
    {0xF2C8F952, "vqrshrn.s16 d31, q1, #8"},
    {0xF3BF0970, "vqrshrn.u64 d0, q8, #1"},
    {0xF38F0830, "vqshrun.s16 d0, q8, #1"},
    {0xF3C8F812, "vqshrun.s16 d31, q1, #8"},
    {0xF3BF0830, "vqshrun.s64 d0, q8, #1"},
    {0xF38F0870, "vqrshrun.s16 d0, q8, #1"},
    {0xF3C8F852, "vqrshrun.s16 d31, q1, #8"},
    {0xF3BF0870, "vqrshrun.s64 d0, q8, #1"},
    {0xF2C90A11, "vshll.s8 q8, d1, #1"},
    {0xF3FAE300, "vshll.i32 q15, d0, #32"},
    {0xF2C80A11, "vmovl.s8 q8, d1"},
    {0xF3A00A3F, "vmovl.u32 q0, d31"},
    {0xF2BF0E3F, "vcvt.f32.s32 d0, d31, #1"},
    {0xF3BB062F, "vcvt.f32.s32 d0, d31"},
    {0xF3F6072F, "vcvt.f32.f16 q8, d31"},
    {0xF3B0002F, "vrev64.8 d0, d31"},
    {0xF3F0006E, "vrev64.8 q8, q15"},
    {0xF3B8002F, "vrev64.32 d0, d31"},
    {0xF3B000AF, "vrev32.8 d0, d31"},
    {0xF3F000EE, "vrev32.8 q8, q15"},
    {0xF3B400AF, "vrev32.16 d0, d31"},
    {0xF3B0012F, "vrev16.8 d0, d31"},
    {0xF3F0016E, "vrev16.8 q8, q15"},
    {0xF3B0022F, "vpaddl.s8 d0, d31"},
    {0xF3F0026E, "vpaddl.s8 q8, q15"},
    {0xF3B802AF, "vpaddl.u32 d0, d31"},
    {0xF3B0062F, "vpadal.s8 d0, d31"},
    {0xF3F0066E, "vpadal.s8 q8, q15"},
    {0xF3B806AF, "vpadal.u32 d0, d31"},
    {0xF3B0042F, "vcls.s8 d0, d31"},
    {0xF3F0046E, "vcls.s8 q8, q15"},
    {0xF3B8042F, "vcls.s32 d0, d31"},
    {0xF3B004AF, "vclz.i8 d0, d31"},
    {0xF3F004EE, "vclz.i8 q8, q15"},
    {0xF3B804AF, "vclz.i32 d0, d31"},
    {0xF3B0052F, "vcnt.8 d0, d31"},
    {0xF3F0056E, "vcnt.8 q8, q15"},
    {0xF3B005AF, "vmvn d0, d31"},
    {0xF3F005EE, "vmvn q8, q15"},
    {0xF381083A, "vmvn.i16 d0, #0x9A"},
    {0xF3B0072F, "vqabs.s8 d0, d31"},
    {0xF3F0076E, "vqabs.s8 q8, q15"},
    {0xF3B8072F, "vqabs.s32 d0, d31"},
    {0xF3B007AF, "vqneg.s8 d0, d31"},
    {0xF3F007EE, "vqneg.s8 q8, q15"},
    {0xF3B807AF, "vqneg.s32 d0, d31"},
    {0xF3B101AF, "vcle.s8 d0, d31, #0"},
    {0xF3F101EE, "vcle.s8 q8, q15, #0"},
    {0xF3B505AF, "vcle.f16 d0, d31, #0"},
    {0xF3B1022F, "vclt.s8 d0, d31, #0"},
    {0xF3F1026E, "vclt.s8 q8, q15, #0"},
    {0xF3B5062F, "vclt.f16 d0, d31, #0"},
    {0xF3B1032F, "vabs.s8 d0, d31"},
    {0xF3F1036E, "vabs.s8 q8, q15"},
    {0xF3B5072F, "vabs.f16 d0, d31"},
    {0xF3B103AF, "vneg.s8 d0, d31"},
    {0xF3F103EE, "vneg.s8 q8, q15"},
    {0xF3B507AF, "vneg.f16 d0, d31"},
    {0xF3B2002F, "vswp d0, d31"},
    {0xF3F2006E, "vswp q8, q15"},
    {0xF3B200AF, "vtrn.8 d0, d31"},
    {0xF3F200EE, "vtrn.8 q8, q15"},
    {0xF3BA00AF, "vtrn.32 d0, d31"},
    {0xF3B2012F, "vuzp.8 d0, d31"},
    {0xF3F2016E, "vuzp.8 q8, q15"},
    {0xF3FA016E, "vuzp.32 q8, q15"},
    {0xF3B201AF, "vzip.8 d0, d31"},
    {0xF3F201EE, "vzip.8 q8, q15"},
    {0xF3FA01EE, "vzip.32 q8, q15"},
    {0xF3B2022E, "vmovn.i16 d0, q15"},
    {0xF3FA0202, "vmovn.i64 d16, q1"},
    {0xF3B2026E, "vqmovun.s16 d0, q15"},
    {0xF3FA0242, "vqmovun.s64 d16, q1"},
    {0xF3B202AE, "vqmovn.s16 d0, q15"},
    {0xF3FA02C2, "vqmovn.u64 d16, q1"},
    {0xF3BA042F, "vrintn.f32 d0, d31"},
    {0xF3FA046E, "vrintn.f32 q8, q15"},
    {0xF3B6042F, "vrintn.f16 d0, d31"},
    {0xF3BA04AF, "vrintx.f32 d0, d31"},
    {0xF3FA04EE, "vrintx.f32 q8, q15"},
    {0xF3B604AF, "vrintx.f16 d0, d31"},
    {0xF3BA052F, "vrinta.f32 d0, d31"},
    {0xF3FA056E, "vrinta.f32 q8, q15"},
    {0xF3B6052F, "vrinta.f16 d0, d31"},
    {0xF3BA05AF, "vrintz.f32 d0, d31"},
    {0xF3FA05EE, "vrintz.f32 q8, q15"},
    {0xF3B605AF, "vrintz.f16 d0, d31"},
    {0xF3BA06AF, "vrintm.f32 d0, d31"},
    {0xF3FA06EE, "vrintm.f32 q8, q15"},
    {0xF3B606AF, "vrintm.f16 d0, d31"},
    {0xF3BA07AF, "vrintp.f32 d0, d31"},
    {0xF3FA07EE, "vrintp.f32 q8, q15"},
    {0xF3B607AF, "vrintp.f16 d0, d31"},
    {0xF3BB002F, "vcvta.s32.f32 d0, d31"},
    {0xF3FB006E, "vcvta.s32.f32 q8, q15"},
    {0xF3B700AF, "vcvta.u16.f16 d0, d31"},
    {0xF3BB012F, "vcvtn.s32.f32 d0, d31"},
    {0xF3FB016E, "vcvtn.s32.f32 q8, q15"},
    {0xF3B701AF, "vcvtn.u16.f16 d0, d31"},
    {0xF3BB022F, "vcvtp.s32.f32 d0, d31"},
    {0xF3FB026E, "vcvtp.s32.f32 q8, q15"},
    {0xF3B702AF, "vcvtp.u16.f16 d0, d31"},
    {0xF3BB032F, "vcvtm.s32.f32 d0, d31"},
    {0xF3FB036E, "vcvtm.s32.f32 q8, q15"},
    {0xF3B703AF, "vcvtm.u16.f16 d0, d31"},
    {0xF3BB042F, "vrecpe.u32 d0, d31"},
    {0xF3FB046E, "vrecpe.u32 q8, q15"},
    {0xF3B7052F, "vrecpe.f16 d0, d31"},
    {0xF3BB04AF, "vrsqrte.u32 d0, d31"},
    {0xF3FB04EE, "vrsqrte.u32 q8, q15"},
    {0xF3B705AF, "vrsqrte.f16 d0, d31"},
    {0xF3B0032E, "aese.8 q0, q15"},
    {0xF3F00342, "aesd.8 q8, q1"},
    {0xF3F0E380, "aesmc.8 q15, q0"},
    {0xF3B023E0, "aesimc.8 q1, q8"},
    {0xF3B902EE, "sha1h.32 q0, q15"},
    {0xF3FA0382, "sha1su1.32 q8, q1"},
    {0xF3FAE3C0, "sha256su0.32 q15, q0"},
    {0xF2810012, "vmov.i32 d0, #18"},
    {0xF2C30254, "vmov.i32 q8, #0x3400"},
    {0xF2874F10, "vmov.f32 d4, #1.000000"},
    {0xF2B100AF, "vext.8 d0, d17, d31, #0"},
    {0xF2B107AF, "vext.8 d0, d17, d31, #7"},
    {0xF3BF08A1, "vtbl.8 d0, {d31}, d17"},
    {0xF3F10900, "vtbl.8 d16, {d1-d2}, d0"},
    {0xF3BF08E1, "vtbx.8 d0, {d31}, d17"},
    {0xF3F10940, "vtbx.8 d16, {d1-d2}, d0"},
    {0xF3BF0C2F, "vdup.8 d0, d31[7]"},
    {0xF3F10C41, "vdup.8 q8, d1[0]"},
    {0xF3BC1C2E, "vdup.32 d1, d30[1]"},
};

// Every conversion, modified-immediate mode, table length and duplicate size.
const Row kDetails[] = {
    {0xF2D10C2F, "vmull.s16 q8, d1, d31"},
    {0xF2E10C2F, "vmull.s32 q8, d1, d31"},
    {0xF3C10C2F, "vmull.u8 q8, d1, d31"},
    {0xF3D10C2F, "vmull.u16 q8, d1, d31"},
    {0xF3E10C2F, "vmull.u32 q8, d1, d31"},
    {0xF2C10E2F, "vmull.p8 q8, d1, d31"},
    {0xF2D10AE7, "vmull.s16 q8, d17, d7[2]"},
    {0xF2AF0AEF, "vmull.s32 q0, d31, d15[1]"},
    {0xF3D10AE7, "vmull.u16 q8, d17, d7[2]"},
    {0xF3AF0AEF, "vmull.u32 q0, d31, d15[1]"},
    {0xF2AF0BEF, "vqdmull.s32 q0, d31, d15[1]"},
    {0xF38F0A3F, "vshll.u8 q0, d31, #7"},
    {0xF2DF0A11, "vshll.s16 q8, d1, #15"},
    {0xF3910A3F, "vshll.u16 q0, d31, #1"},
    {0xF2FF0A11, "vshll.s32 q8, d1, #31"},
    {0xF3B00A3F, "vshll.u32 q0, d31, #16"},
    {0xF3F20301, "vshll.i8 q8, d1, #8"},
    {0xF3B6032F, "vshll.i16 q0, d31, #16"},
    {0xF3E00E52, "vcvt.f32.u32 q8, q1, #32"},
    {0xF2A00F3F, "vcvt.s32.f32 d0, d31, #32"},
    {0xF3FF0F52, "vcvt.u32.f32 q8, q1, #1"},
    {0xF2BF0C3F, "vcvt.f16.s16 d0, d31, #1"},
    {0xF3F00C52, "vcvt.f16.u16 q8, q1, #16"},
    {0xF2B00D3F, "vcvt.s16.f16 d0, d31, #16"},
    {0xF3FF0D52, "vcvt.u16.f16 q8, q1, #1"},
    {0xF3B6062E, "vcvt.f16.f32 d0, q15"},
    {0xF3F6F660, "vcvt.bf16.f32 d31, q8"},
    {0xF3FB066E, "vcvt.f32.s32 q8, q15"},
    {0xF3BB06AF, "vcvt.f32.u32 d0, d31"},
    {0xF3FB06EE, "vcvt.f32.u32 q8, q15"},
    {0xF3BB072F, "vcvt.s32.f32 d0, d31"},
    {0xF3FB076E, "vcvt.s32.f32 q8, q15"},
    {0xF3BB07AF, "vcvt.u32.f32 d0, d31"},
    {0xF3FB07EE, "vcvt.u32.f32 q8, q15"},
    {0xF3B7062F, "vcvt.f16.s16 d0, d31"},
    {0xF3F7066E, "vcvt.f16.s16 q8, q15"},
    {0xF3B706AF, "vcvt.f16.u16 d0, d31"},
    {0xF3F706EE, "vcvt.f16.u16 q8, q15"},
    {0xF3B7072F, "vcvt.s16.f16 d0, d31"},
    {0xF3F7076E, "vcvt.s16.f16 q8, q15"},
    {0xF3B707AF, "vcvt.u16.f16 d0, d31"},
    {0xF3F707EE, "vcvt.u16.f16 q8, q15"},
    {0xF2C5F416, "vmov.i32 d31, #0x560000"},
    {0xF2C7E658, "vmov.i32 q15, #0x78000000"},
    {0xF381081A, "vmov.i16 d0, #0x9A"},
    {0xF3C30A5C, "vmov.i16 q8, #0xBC00"},
    {0xF3851C1E, "vmov.i32 d1, #0xDEFF"},
    {0xF3872D50, "vmov.i32 q1, #0xF0FFFF"},
    {0xF3822E15, "vmov.i8 d2, #0xA5"},
    {0xF2804E50, "vmov.i8 q2, #0"},
    {0xF3823E35, "vmov.i64 d3, #0xFF00FF0000FF00FF"},
    {0xF2806E70, "vmov.i64 q3, #0"},
    {0xF3848F50, "vmov.f32 q4, #-0.125000"},
    {0xF2835F1F, "vmov.f32 d5, #31.000000"},
    {0xF286AF50, "vmov.f32 q5, #0.500000"},
    {0xF2810032, "vmvn.i32 d0, #18"},
    {0xF2C30274, "vmvn.i32 q8, #0x3400"},
    {0xF2C5F436, "vmvn.i32 d31, #0x560000"},
    {0xF2C7E678, "vmvn.i32 q15, #0x78000000"},
    {0xF3C30A7C, "vmvn.i16 q8, #0xBC00"},
    {0xF3851C3E, "vmvn.i32 d1, #0xDEFF"},
    {0xF3872D70, "vmvn.i32 q1, #0xF0FFFF"},
    {0xF2810112, "vorr.i32 d0, #18"},
    {0xF2C30354, "vorr.i32 q8, #0x3400"},
    {0xF2C5F516, "vorr.i32 d31, #0x560000"},
    {0xF2C7E758, "vorr.i32 q15, #0x78000000"},
    {0xF3C30B5C, "vorr.i16 q8, #0xBC00"},
    {0xF2810132, "vbic.i32 d0, #18"},
    {0xF2C30374, "vbic.i32 q8, #0x3400"},
    {0xF2C5F536, "vbic.i32 d31, #0x560000"},
    {0xF2C7E778, "vbic.i32 q15, #0x78000000"},
    {0xF3C30B7C, "vbic.i16 q8, #0xBC00"},
    {0xF2F20F6E, "vext.8 q8, q1, q15, #15"},
    {0xF3BD1A82, "vtbl.8 d1, {d29-d31}, d2"},
    {0xF3F0FB2F, "vtbl.8 d31, {d0-d3}, d31"},
    {0xF3BD1AC2, "vtbx.8 d1, {d29-d31}, d2"},
    {0xF3FCFBEF, "vtbx.8 d31, {d28-d31}, d31"},
    {0xF3FEFC00, "vdup.16 d31, d0[3]"},
    {0xF3F6EC61, "vdup.16 q15, d17[1]"},
    {0xF3B42C42, "vdup.32 q1, d2[0]"},
};

TEST(Neon, FormsAsObjdumpPrintsThem)
{
    for (const Row& r : kForms) {
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
        EXPECT_EQ(thumb(thumbOf(r.word)), r.text) << "thumb " << std::hex << thumbOf(r.word);
    }
    for (const Row& r : kDetails) {
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
        EXPECT_EQ(thumb(thumbOf(r.word)), r.text) << "thumb " << std::hex << thumbOf(r.word);
    }
}

// What the architecture leaves undefined (or unpredictable in a way the assembler
// would not write back), most of which objdump prints anyway: quadwords at odd
// registers, reserved sizes and types, lists past d31.
TEST(Neon, ReservedEncodingsStayUndefined)
{
    const Row rows[] = {
        {0xF2001840, "undefined opcode"}, // vadd.i8 with Qd odd
        {0xF2010840, "undefined opcode"}, // Qn odd
        {0xF2000841, "undefined opcode"}, // Qm odd
        {0xF2300000, "undefined opcode"}, // vhadd of 64-bit elements
        {0xF2000B50, "undefined opcode"}, // pairwise add of quadwords
        {0xF2000C00, "undefined opcode"}, // sha1c of doublewords
        {0xF3100910, "undefined opcode"}, // vmul.p16
        {0xF2000B00, "undefined opcode"}, // vqdmulh.s8
        {0xF3800E00, "undefined opcode"}, // vmull.p8 with U set
        {0xF2900E00, "undefined opcode"}, // vmull.p16
        {0xF3900900, "undefined opcode"}, // vqdmlal with U set
        {0xF2B00800, "undefined opcode"}, // vext of doublewords by 8 bytes
        {0xF3BF0980, "undefined opcode"}, // vtbl {d31-d32}
        {0xF3BF0880, "vtbl.8 d0, {d31}, d0"},
        {0xF3B00C00, "undefined opcode"}, // vdup with no size
        {0xF3B80C00, "undefined opcode"},
        {0xF2800210, "undefined opcode"}, // a shifted zero byte: the value has another encoding
        {0xF2800010, "vmov.i32 d0, #0"},
        {0xF2800F30, "undefined opcode"}, // cmode 1111 with op set
        {0xF2AF0C10, "undefined opcode"}, // 17 fraction bits of a halfword
        {0xF2B00C10, "vcvt.f16.s16 d0, d0, #16"},
        {0xF29F0E10, "undefined opcode"}, // fixed point of a 16-bit shift field
        {0xF2880890, "undefined opcode"}, // vshrn of 64-bit elements
        {0xF2880810, "vshrn.i16 d0, q0, #8"},
        {0xF2880A50, "undefined opcode"}, // vshll with Q set
        {0xF3BA0100, "undefined opcode"}, // vuzp.32 of doublewords
        {0xF3BA0140, "vuzp.32 q0, q0"},
        {0xF3B40100, "undefined opcode"}, // vrev16.16
        {0xF3B70400, "undefined opcode"}, // vrecpe.u16
        {0xF3B10500, "undefined opcode"}, // floating-point compare of bytes
        {0xF3B40300, "undefined opcode"}, // aese of halfwords
        {0xF3B90280, "undefined opcode"}, // sha1h of doublewords
        {0xF3B902C0, "sha1h.32 q0, q0"},
        {0xF3B20340, "undefined opcode"}, // vshll by the size with Q set
        {0xF3B60740, "undefined opcode"}, // vcvt.f32.f16 with Q set
        {0xF3BA0600, "undefined opcode"}, // vcvt to half from doubles
        {0xF2800040, "undefined opcode"}, // by a scalar of bytes
        {0xF2880410, "undefined opcode"}, // vsri with U clear
        {0xF3B00180, "undefined opcode"}, // two-register opcode 0011
    };
    for (const Row& r : rows) {
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
        EXPECT_EQ(thumb(thumbOf(r.word)), r.text) << "thumb " << std::hex << thumbOf(r.word);
    }
}

// ARMv7-A and -R have the unit; ARMv8 adds its forms; the half-precision arithmetic
// and BFloat16 come with later A-profile versions; nothing before ARMv7 or in the M
// profile (v8.1-M gives this space to its own vector extension).
TEST(Neon, Levels)
{
    const struct {
        uint32_t word;
        uint32_t level;
        bool decoded;
    } rows[] = {
        {0xF2000800, ArmLevel::Any, true},           // vadd.i8
        {0xF2000800, ArmLevel::V4T, false},
        {0xF2000800, ArmLevel::V6, false},
        {0xF2000800, ArmLevel::V6T2, false},
        {0xF2000800, ArmLevel::V7R, false},
        {0xF2000800, ArmLevel::V7A, true},
        {0xF2000800, ArmLevel::V8A, true},
        {0xF2000800, ArmLevel::V8R, true},
        {0xF2000C10, ArmLevel::V7A, true},           // vfma.f32
        {0xF3B60600, ArmLevel::V7A, true},           // vcvt.f16.f32
        {0xF3000F10, ArmLevel::V7A, false},          // vmaxnm.f32
        {0xF3000F10, ArmLevel::V8R, true},
        {0xF3BA0400, ArmLevel::V7A, false},          // vrintn.f32
        {0xF3BB0000, ArmLevel::V7A, false},          // vcvta.s32.f32
        {0xF3B00300, ArmLevel::V7A, false},          // aese.8
        {0xF3B00300, ArmLevel::V8R, true},
        {0xF2A00E00, ArmLevel::V7A, false},          // vmull.p64
        {0xF2A00E00, ArmLevel::V8A, true},
        {0xF3100B10, ArmLevel::V7A, false},          // vqrdmlah.s16
        {0xF3100B10, ArmLevel::V8R, true},
        {0xF2100D00, ArmLevel::V8R, false},          // vadd.f16
        {0xF2100D00, ArmLevel::V8A, true},
        {0xF3B60640, ArmLevel::V8R, false},          // vcvt.bf16.f32
        {0xF3B60640, ArmLevel::V8A, true},
        {0xF2900040, ArmLevel::V8R, true},           // vmla.i16 by a scalar
        {0xF2900140, ArmLevel::V8R, false},          // vmla.f16 by a scalar
    };
    for (const auto& r : rows) {
        const std::string a = arm(r.word, r.level);
        EXPECT_EQ(a != "undefined opcode", r.decoded) << std::hex << r.word << " at " << r.level << ": " << a;
        if (r.level != ArmLevel::V4T && r.level != ArmLevel::V6) {
            const std::string t = thumb(thumbOf(r.word), r.level);
            EXPECT_EQ(t != "undefined opcode", r.decoded) << "thumb " << std::hex << r.word << " at " << r.level;
        }
    }
    for (uint32_t level : {ArmLevel::V7M, ArmLevel::V7EM, ArmLevel::V8MMainline, ArmLevel::V81MMainline})
        EXPECT_EQ(thumb(thumbOf(0xF2000800), level), "undefined opcode") << level;
}

// The condition of an IT block goes before the type suffix; the ARMv8 forms that the
// architecture makes unconditional are unpredictable there (the assembler refuses
// them), and stay undefined.
TEST(Neon, ItBlocks)
{
    EXPECT_EQ(thumbCode({0xBF08, 0xEF01, 0x0802}), "it eq;vaddeq.i8 d0, d1, d2;");
    EXPECT_EQ(thumbCode({0xBF14, 0xFFA2, 0x0962, 0xFFBB, 0x0701}),
              "ite ne;vmulne.f32 q0, q1, d2[1];vcvteq.s32.f32 d0, d1;");
    EXPECT_EQ(thumbCode({0xBF08, 0xEFA1, 0x0E02}), "it eq;vmulleq.p64 q0, d1, d2;");
    EXPECT_EQ(thumbCode({0xBF08, 0xFFB0, 0x0300}), "it eq;undefined opcode;");
    EXPECT_EQ(thumbCode({0xBF08, 0xFF01, 0x0F12}), "it eq;undefined opcode;");
    EXPECT_EQ(thumbCode({0xBF08, 0xFFBA, 0x0540}), "it eq;undefined opcode;");
    EXPECT_EQ(thumbCode({0xBF08, 0xFFBB, 0x0001}), "it eq;undefined opcode;");
    EXPECT_EQ(thumbCode({0xBF08, 0xEF02, 0x0C44}), "it eq;undefined opcode;");
    // After the block the same encodings decode.
    EXPECT_EQ(thumbCode({0xBF08, 0xBF00, 0xFFB0, 0x0300}), "it eq;nopeq;aese.8 q0, q0;");
}

// The modified immediate of each op, cmode and byte, as the architecture's table
// defines it, written as this disassembler writes numbers.
std::string expectedImmediate(uint32_t op, uint32_t cmode, uint32_t imm8)
{
    const char* name = nullptr;
    int size = 32;
    uint64_t value = 0;
    const bool odd = cmode & 1;
    if (cmode < 8) {
        name = op ? (odd ? "vbic" : "vmvn") : (odd ? "vorr" : "vmov");
        value = uint64_t(imm8) << (8 * (cmode >> 1));
        if (imm8 == 0 && cmode >= 2)
            return "undefined opcode";
    } else if (cmode < 12) {
        name = op ? (odd ? "vbic" : "vmvn") : (odd ? "vorr" : "vmov");
        size = 16;
        value = uint64_t(imm8) << (8 * ((cmode >> 1) & 1));
        if (imm8 == 0 && cmode >= 10)
            return "undefined opcode";
    } else if (cmode < 14) {
        name = op ? "vmvn" : "vmov";
        value = odd ? (uint64_t(imm8) << 16 | 0xFFFF) : (uint64_t(imm8) << 8 | 0xFF);
        if (imm8 == 0)
            return "undefined opcode";
    } else if (cmode == 14 && !op) {
        name = "vmov";
        size = 8;
        value = imm8;
    } else if (cmode == 14) {
        name = "vmov";
        size = 64;
        for (int i = 7; i >= 0; --i)
            value = value << 8 | ((imm8 >> i & 1) ? 0xFF : 0);
    } else if (!op) {
        // a:NOT(b):bbbbb:cdefgh and nineteen zeros, as a single.
        const uint32_t a = imm8 >> 7, b = imm8 >> 6 & 1;
        const uint32_t bits = a << 31 | (b ^ 1) << 30 | (b ? 0x3E000000u : 0u) | (imm8 & 0x3F) << 19;
        float f;
        memcpy(&f, &bits, sizeof f);
        char text[64];
        snprintf(text, sizeof text, "vmov.f32 d0, #%f", double(f));
        return text;
    } else {
        return "undefined opcode";
    }
    char text[64];
    if (value <= 32) {
        snprintf(text, sizeof text, "%s.i%d d0, #%u", name, size, unsigned(value));
        return text;
    }
    // Hex in whole bytes: an odd digit count gains a leading zero.
    char digits[32];
    const int n = snprintf(digits, sizeof digits, "%llX", static_cast<unsigned long long>(value));
    snprintf(text, sizeof text, "%s.i%d d0, #0x%s%s", name, size, (n & 1) ? "0" : "", digits);
    return text;
}

TEST(Neon, EveryModifiedImmediate)
{
    for (uint32_t op = 0; op < 2; ++op)
        for (uint32_t cmode = 0; cmode < 16; ++cmode)
            for (uint32_t imm8 = 0; imm8 < 256; ++imm8) {
                const uint32_t word = 0xF2800010 | (imm8 >> 7) << 24 | (imm8 >> 4 & 7) << 16 | cmode << 8 |
                                      op << 5 | (imm8 & 15);
                EXPECT_EQ(arm(word), expectedImmediate(op, cmode, imm8)) << std::hex << word;
            }
}

} // namespace
