// M-profile vector extension at v8.1-M: one row per form and type with the text
// arm-none-eabi-objdump -m armv8.1-m.main prints for the encoding (numbers written
// as this disassembler writes them: hex above 32, rotations in degrees), llvm-objdump
// 14's text where objdump's is wrong, the reserved sizes the output fixes, and the
// then/else letters of predication blocks as objdump prints a VPT/VPST block.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "disasm/armdisassembler.h"
#include "tests/disasm/decode.h"

namespace {

// At v8.1-M, where the vector extension is.
std::vector<std::string> thumbRun(const std::vector<uint32_t>& encodings, uint32_t level = ArmLevel::V81MMainline)
{
    return DecodeTest::thumbRun(encodings, level);
}

std::string thumb(uint32_t encoding, uint32_t level = ArmLevel::V81MMainline)
{
    return DecodeTest::thumb(encoding, level);
}

using DecodeTest::Row;

// objdump's texts, one row for each mnemonic with its type.
const Row kForms[] = {
    {0xEF020744, "vabd.s8 q0, q1, q2"},
    {0xFF120744, "vabd.u16 q0, q1, q2"},
    {0xFF220D44, "vabd.f32 q0, q1, q2"},
    {0xFF320D44, "vabd.f16 q0, q1, q2"},
    {0xEF020844, "vadd.i8 q0, q1, q2"},
    {0xEF120D44, "vadd.f16 q0, q1, q2"},
    {0xFF020844, "vsub.i8 q0, q1, q2"},
    {0xEF220D44, "vsub.f32 q0, q1, q2"},
    {0xEF020044, "vhadd.s8 q0, q1, q2"},
    {0xFF220044, "vhadd.u32 q0, q1, q2"},
    {0xEF020244, "vhsub.s8 q0, q1, q2"},
    {0xFF020144, "vrhadd.u8 q0, q1, q2"},
    {0xEF020054, "vqadd.s8 q0, q1, q2"},
    {0xFF020054, "vqadd.u8 q0, q1, q2"},
    {0xEF020254, "vqsub.s8 q0, q1, q2"},
    {0xEF020644, "vmax.s8 q0, q1, q2"},
    {0xFF020654, "vmin.u8 q0, q1, q2"},
    {0xEF020954, "vmul.i8 q0, q1, q2"},
    {0xFF020D54, "vmul.f32 q0, q1, q2"},
    {0xEE030E05, "vmulh.s8 q0, q1, q2"},
    {0xFE030E05, "vmulh.u8 q0, q1, q2"},
    {0xEE031E05, "vrmulh.s8 q0, q1, q2"},
    {0xEE030E04, "vmullb.s8 q0, q1, q2"},
    {0xFE131E04, "vmullt.u16 q0, q1, q2"},
    {0xEE330E04, "vmullb.p8 q0, q1, q2"},
    {0xFE331E04, "vmullt.p16 q0, q1, q2"},
    {0xEF020B44, "vqdmulh.s8 q0, q1, q2"},
    {0xFF020B44, "vqrdmulh.s8 q0, q1, q2"},
    {0xEE020E04, "vqdmladh.s8 q0, q1, q2"},
    {0xEE021E04, "vqdmladhx.s8 q0, q1, q2"},
    {0xEE020E05, "vqrdmladh.s8 q0, q1, q2"},
    {0xEE021E05, "vqrdmladhx.s8 q0, q1, q2"},
    {0xFE020E04, "vqdmlsdh.s8 q0, q1, q2"},
    {0xFE021E04, "vqdmlsdhx.s8 q0, q1, q2"},
    {0xFE020E05, "vqrdmlsdh.s8 q0, q1, q2"},
    {0xFE021E05, "vqrdmlsdhx.s8 q0, q1, q2"},
    {0xEE320F05, "vqdmullb.s16 q0, q1, q2"},
    {0xFE321F05, "vqdmullt.s32 q0, q1, q2"},
    {0xEF040442, "vshl.s8 q0, q1, q2"},
    {0xFF040442, "vshl.u8 q0, q1, q2"},
    {0xEF040452, "vqshl.s8 q0, q1, q2"},
    {0xEF040542, "vrshl.s8 q0, q1, q2"},
    {0xEF040552, "vqrshl.s8 q0, q1, q2"},
    {0xEF020154, "vand q0, q1, q2"},
    {0xEF120154, "vbic q0, q1, q2"},
    {0xEF220154, "vorr q0, q1, q2"},
    {0xEF320154, "vorn q0, q1, q2"},
    {0xFF020154, "veor q0, q1, q2"},
    {0xFE020F04, "vcadd.i8 q0, q1, q2, #90"},
    {0xEE020F04, "vhcadd.s8 q0, q1, q2, #90"},
    {0xFC820844, "vcadd.f16 q0, q1, q2, #90"},
    {0xFD920844, "vcadd.f32 q0, q1, q2, #270"},
    {0xFC220844, "vcmla.f16 q0, q1, q2, #0"},
    {0xFCB20844, "vcmla.f32 q0, q1, q2, #90"},
    {0xEE320E04, "vcmul.f16 q0, q1, q2, #0"},
    {0xFE320E05, "vcmul.f32 q0, q1, q2, #90"},
    {0xEF120C54, "vfma.f16 q0, q1, q2"},
    {0xEF220C54, "vfms.f32 q0, q1, q2"},
    {0xFF120F54, "vmaxnm.f16 q0, q1, q2"},
    {0xFF220F54, "vminnm.f32 q0, q1, q2"},
    {0xEE320F04, "vadc.i32 q0, q1, q2"},
    {0xEE321F04, "vadci.i32 q0, q1, q2"},
    {0xFE320F04, "vsbc.i32 q0, q1, q2"},
    {0xFE321F04, "vsbci.i32 q0, q1, q2"},
    {0xFE031E62, "vbrsr.8 q0, q1, r2"},
    {0xFE231E62, "vbrsr.32 q0, q1, r2"},
    {0xEE230F42, "vadd.i32 q0, q1, r2"},
    {0xEE320F42, "vadd.f32 q0, q1, r2"},
    {0xFE330E62, "vmul.f16 q0, q1, r2"},
    {0xFE020F42, "vhadd.u8 q0, q1, r2"},
    {0xFE120F62, "vqadd.u16 q0, q1, r2"},
    {0xFE021F62, "vqsub.u8 q0, q1, r2"},
    {0xEE030E42, "vmla.s8 q0, q1, r2"},
    {0xFE030E42, "vmla.u8 q0, q1, r2"},
    {0xFE131E42, "vmlas.u16 q0, q1, r2"},
    {0xEE020E62, "vqdmlah.s8 q0, q1, r2"},
    {0xEE020E42, "vqrdmlah.s8 q0, q1, r2"},
    {0xEE021E62, "vqdmlash.s8 q0, q1, r2"},
    {0xEE021E42, "vqrdmlash.s8 q0, q1, r2"},
    {0xEE330E42, "vfma.f32 q0, q1, r2"},
    {0xFE331E42, "vfmas.f16 q0, q1, r2"},
    {0xEE331E42, "vfmas.f32 q0, q1, r2"},
    {0xFE351E62, "vshl.u16 q0, r2"},
    {0xFE3B1EE2, "vqrshl.u32 q0, r2"},
    {0xEEE02B10, "vdup.8 q0, r2"},
    {0xEEA02B30, "vdup.16 q0, r2"},
    {0xEEA22B10, "vdup.32 q1, r2"},
    {0xFE330F42, "vcmp.f16 eq, q1, r2"},
    {0xFE030F42, "vcmp.i8 eq, q1, r2"},
    {0xFE031F62, "vcmp.s8 gt, q1, r2"},
    {0xFE030FE2, "vcmp.u8 hi, q1, r2"},
    {0xEE330F04, "vcmp.f32 eq, q1, q2"},
    {0xFE430F04, "vpt.i8 eq, q1, q2"},
    {0xFE431F42, "vpt.s8 ge, q1, r2"},
    {0xEE731FE2, "vpt.f32 le, q1, r2"},
    {0xFE731F85, "vpt.f16 le, q1, q2"},
    {0xFE710F4D, "vpst"},
    {0xFE330F05, "vpsel q0, q1, q2"},
    {0xEE030F6E, "vidup.u8 q0, r2, #1"},
    {0xEE130FEF, "vidup.u16 q0, r2, #8"},
    {0xEE231FEE, "vddup.u32 q0, r2, #4"},
    {0xEE030F65, "viwdup.u8 q0, r2, r5, #2"},
    {0xEE131F65, "vdwdup.u16 q0, r2, r5, #2"},
    {0xEC014F00, "vmov r0, r1, q2[2], q2[0]"},
    {0xEE602B30, "vmov.8 d0[5], r2"},
    {0xEE012B70, "vmov.16 d1[1], r2"},
    {0xEE232B10, "vmov.32 d3[1], r2"},
    {0xEE532B30, "vmov.s8 r2, d3[1]"},
    {0xEED32B30, "vmov.u8 r2, d3[1]"},
    {0xEE932B70, "vmov.u16 r2, d3[1]"},
    {0xFFB10342, "vabs.s8 q0, q1"},
    {0xFFB90342, "vabs.s32 q0, q1"},
    {0xFFB50742, "vabs.f16 q0, q1"},
    {0xFFB90742, "vabs.f32 q0, q1"},
    {0xFFB103C2, "vneg.s8 q0, q1"},
    {0xFFB907C2, "vneg.f32 q0, q1"},
    {0xFFB407C2, "vqneg.s16 q0, q1"},
    {0xFFB00442, "vcls.s8 q0, q1"},
    {0xFFB004C2, "vclz.i8 q0, q1"},
    {0xFFB804C2, "vclz.i32 q0, q1"},
    {0xFFB005C2, "vmvn q0, q1"},
    {0xFFB00142, "vrev16.8 q0, q1"},
    {0xFFB000C2, "vrev32.8 q0, q1"},
    {0xFFB400C2, "vrev32.16 q0, q1"},
    {0xFFB00042, "vrev64.8 q0, q1"},
    {0xFFB80042, "vrev64.32 q0, q1"},
    {0xEEA80F42, "vmovlb.s8 q0, q1"},
    {0xFEA81F42, "vmovlt.u8 q0, q1"},
    {0xEEB00F42, "vmovlb.s16 q0, q1"},
    {0xFEB01F42, "vmovlt.u16 q0, q1"},
    {0xFE310E83, "vmovnb.i16 q0, q1"},
    {0xFE351E83, "vmovnt.i32 q0, q1"},
    {0xEE330E03, "vqmovnb.s16 q0, q1"},
    {0xFE371E03, "vqmovnt.u32 q0, q1"},
    {0xEE310E83, "vqmovunb.s16 q0, q1"},
    {0xEE351E83, "vqmovunt.s32 q0, q1"},
    {0xFFB70742, "vcvt.s16.f16 q0, q1"},
    {0xFFB707C2, "vcvt.u16.f16 q0, q1"},
    {0xFFB70642, "vcvt.f16.s16 q0, q1"},
    {0xFFB706C2, "vcvt.f16.u16 q0, q1"},
    {0xFFBB0742, "vcvt.s32.f32 q0, q1"},
    {0xFFBB07C2, "vcvt.u32.f32 q0, q1"},
    {0xFFBB0642, "vcvt.f32.s32 q0, q1"},
    {0xFFBB06C2, "vcvt.f32.u32 q0, q1"},
    {0xEE3F0E03, "vcvtb.f16.f32 q0, q1"},
    {0xEE3F1E03, "vcvtt.f16.f32 q0, q1"},
    {0xFE3F0E03, "vcvtb.f32.f16 q0, q1"},
    {0xFE3F1E03, "vcvtt.f32.f16 q0, q1"},
    {0xFFB70042, "vcvta.s16.f16 q0, q1"},
    {0xFFBB00C2, "vcvta.u32.f32 q0, q1"},
    {0xFFB70142, "vcvtn.s16.f16 q0, q1"},
    {0xFFB70242, "vcvtp.s16.f16 q0, q1"},
    {0xFFB703C2, "vcvtm.u16.f16 q0, q1"},
    {0xFFB60542, "vrinta.f16 q0, q1"},
    {0xFFBA06C2, "vrintm.f32 q0, q1"},
    {0xFFB60442, "vrintn.f16 q0, q1"},
    {0xFFB607C2, "vrintp.f16 q0, q1"},
    {0xFFB604C2, "vrintx.f16 q0, q1"},
    {0xFFB605C2, "vrintz.f16 q0, q1"},
    {0xEF8F0052, "vshr.s8 q0, q1, #1"},
    {0xFF900052, "vshr.u16 q0, q1, #16"},
    {0xEFA00052, "vshr.s32 q0, q1, #32"},
    {0xEF8D0252, "vrshr.s8 q0, q1, #3"},
    {0xFFBD0252, "vrshr.u32 q0, q1, #3"},
    {0xEF880552, "vshl.i8 q0, q1, #0"},
    {0xEF930552, "vshl.i16 q0, q1, #3"},
    {0xEFBF0552, "vshl.i32 q0, q1, #31"},
    {0xFF8B0752, "vqshl.u8 q0, q1, #3"},
    {0xFF8B0652, "vqshlu.s8 q0, q1, #3"},
    {0xFFA30652, "vqshlu.s32 q0, q1, #3"},
    {0xFF8B0552, "vsli.8 q0, q1, #3"},
    {0xFFA00552, "vsli.32 q0, q1, #0"},
    {0xFF8D0452, "vsri.8 q0, q1, #3"},
    {0xFF900452, "vsri.16 q0, q1, #16"},
    {0xEEAB0F42, "vshllb.s8 q0, q1, #3"},
    {0xFEA91F42, "vshllt.u8 q0, q1, #1"},
    {0xEEBF0F42, "vshllb.s16 q0, q1, #15"},
    {0xFE351E03, "vshllt.u16 q0, q1, #16"},
    {0xEE8D0FC3, "vshrnb.i16 q0, q1, #3"},
    {0xEE901FC3, "vshrnt.i32 q0, q1, #16"},
    {0xFE8D0FC3, "vrshrnb.i16 q0, q1, #3"},
    {0xFE9D1FC3, "vrshrnt.i32 q0, q1, #3"},
    {0xEEA10FC2, "vshlc q0, r2, #1"},
    {0xEF850E5A, "vmov.i8 q0, #0x5A"},
    {0xEF850A5A, "vmov.i16 q0, #0x5A00"},
    {0xEF85005A, "vmov.i32 q0, #0x5A"},
    {0xFF820E7A, "vmov.i64 q0, #0xFF00FF00FF00FF00"},
    {0xEF870F50, "vmov.f32 q0, #1.000000"},
    {0xEF85087A, "vmvn.i16 q0, #0x5A"},
    {0xEF85027A, "vmvn.i32 q0, #0x5A00"},
    {0xEF85095A, "vorr.i16 q0, #0x5A"},
    {0xEF85055A, "vorr.i32 q0, #0x5A0000"},
    {0xEF850B7A, "vbic.i16 q0, #0x5A00"},
    {0xEF85017A, "vbic.i32 q0, #0x5A"},
    {0xEEF10F02, "vaddv.s8 r0, q1"},
    {0xFEF92F02, "vaddv.u32 r2, q1"},
    {0xEEF50F22, "vaddva.s16 r0, q1"},
    {0xEE890F02, "vaddlv.s32 r0, r1, q1"},
    {0xFE890F02, "vaddlv.u32 r0, r1, q1"},
    {0xEE992F22, "vaddlva.s32 r2, r3, q1"},
    {0xEEE20F02, "vmaxv.s8 r0, q1"},
    {0xFEE60F02, "vmaxv.u16 r0, q1"},
    {0xEEEA0F82, "vminv.s32 r0, q1"},
    {0xFEE20F82, "vminv.u8 r0, q1"},
    {0xEEE00F02, "vmaxav.s8 r0, q1"},
    {0xEEE40F82, "vminav.s16 r0, q1"},
    {0xFEEE0F02, "vmaxnmv.f16 r0, q1"},
    {0xEEEE0F02, "vmaxnmv.f32 r0, q1"},
    {0xFEEE0F82, "vminnmv.f16 r0, q1"},
    {0xEEEC0F02, "vmaxnmav.f32 r0, q1"},
    {0xFEEC0F82, "vminnmav.f16 r0, q1"},
    {0xEE330E83, "vmaxa.s8 q0, q1"},
    {0xEE371E83, "vmina.s16 q0, q1"},
    {0xFE3F0E83, "vmaxnma.f16 q0, q1"},
    {0xEE3F1E83, "vminnma.f32 q0, q1"},
    {0xEEF20F04, "vmlav.s8 r0, q1, q2"},
    {0xFEF20E04, "vmlav.u16 r0, q1, q2"},
    {0xEEF30E24, "vmlava.s32 r0, q1, q2"},
    {0xEEF21F04, "vmladavx.s8 r0, q1, q2"},
    {0xEEF21E24, "vmladavax.s16 r0, q1, q2"},
    {0xFEF20E05, "vmlsdav.s8 r0, q1, q2"},
    {0xEEF20E25, "vmlsdava.s16 r0, q1, q2"},
    {0xEEF31E05, "vmlsdavx.s32 r0, q1, q2"},
    {0xFEF21E25, "vmlsdavax.s8 r0, q1, q2"},
    {0xEE820E04, "vmlalv.s16 r0, r1, q1, q2"},
    {0xFE830E04, "vmlalv.u32 r0, r1, q1, q2"},
    {0xEE820E24, "vmlalva.s16 r0, r1, q1, q2"},
    {0xEE831E04, "vmlaldavx.s32 r0, r1, q1, q2"},
    {0xEE821E24, "vmlaldavax.s16 r0, r1, q1, q2"},
    {0xEE820E05, "vmlsldav.s16 r0, r1, q1, q2"},
    {0xEE830E25, "vmlsldava.s32 r0, r1, q1, q2"},
    {0xEE821E05, "vmlsldavx.s16 r0, r1, q1, q2"},
    {0xEE831E25, "vmlsldavax.s32 r0, r1, q1, q2"},
    {0xEE820F04, "vrmlalvh.s32 r0, r1, q1, q2"},
    {0xFE820F04, "vrmlalvh.u32 r0, r1, q1, q2"},
    {0xEE820F24, "vrmlalvha.s32 r0, r1, q1, q2"},
    {0xEE821F04, "vrmlaldavhx.s32 r0, r1, q1, q2"},
    {0xEE821F24, "vrmlaldavhax.s32 r0, r1, q1, q2"},
    {0xFE820E05, "vrmlsldavh.s32 r0, r1, q1, q2"},
    {0xFE820E25, "vrmlsldavha.s32 r0, r1, q1, q2"},
    {0xFE821E05, "vrmlsldavhx.s32 r0, r1, q1, q2"},
    {0xFE821E25, "vrmlsldavhax.s32 r0, r1, q1, q2"},
    {0xEE820F05, "vabav.s8 r0, q1, q2"},
    {0xFEA20F05, "vabav.u32 r0, q1, q2"},
    {0xED911E00, "vldrb.u8 q0, [r1, #0]"},
    {0xED910E83, "vldrb.s16 q0, [r1, #3]"},
    {0xFD910E83, "vldrb.u16 q0, [r1, #3]"},
    {0xED910F03, "vldrb.s32 q0, [r1, #3]"},
    {0xFD310F03, "vldrb.u32 q0, [r1, #-3]!"},
    {0xED911EFF, "vldrh.u16 q0, [r1, #0xFE]"},
    {0xED990F01, "vldrh.s32 q0, [r1, #2]"},
    {0xFC390F01, "vldrh.u32 q0, [r1], #-2"},
    {0xED911F7F, "vldrw.u32 q0, [r1, #0x01FC]"},
    {0xED811E03, "vstrb.8 q0, [r1, #3]"},
    {0xEDA10E83, "vstrb.16 q0, [r1, #3]!"},
    {0xECA10F03, "vstrb.32 q0, [r1], #3"},
    {0xED811E81, "vstrh.16 q0, [r1, #2]"},
    {0xED890F01, "vstrh.32 q0, [r1, #2]"},
    {0xED811F01, "vstrw.32 q0, [r1, #4]"},
    {0xFC910FD4, "vldrd.u64 q0, [r1, q2]"},
    {0xEC810FD5, "vstrd.64 q0, [r1, q2, uxtw #3]"},
    {0xFC911E00, "vld20.8 { q0, q1 }, [r1]"},
    {0xFCB11EA0, "vld21.16 { q0, q1 }, [r1]!"},
    {0xFC91DF00, "vld20.32 { q6, q7 }, [r1]"},
    {0xFC911E01, "vld40.8 { q0, q1, q2, q3 }, [r1]"},
    {0xFCB11EA1, "vld41.16 { q0, q1, q2, q3 }, [r1]!"},
    {0xFC911F41, "vld42.32 { q0, q1, q2, q3 }, [r1]"},
    {0xFC919E61, "vld43.8 { q4, q5, q6, q7 }, [r1]"},
    {0xFC811E00, "vst20.8 { q0, q1 }, [r1]"},
    {0xFCA11F20, "vst21.32 { q0, q1 }, [r1]!"},
    {0xFC811E01, "vst40.8 { q0, q1, q2, q3 }, [r1]"},
    {0xFCA11EE1, "vst43.16 { q0, q1, q2, q3 }, [r1]!"},
    {0xED910900, "vldr.16 s0, [r1]"},
};

TEST(MveForms, PrintAsObjdump)
{
    for (const Row& row : kForms)
        EXPECT_EQ(thumb(row.word), row.text) << std::hex << row.word;
}

// Where objdump is wrong: it reads the count of the saturating narrowing shifts
// from the wrong bits and prints a third register for VQABS/VQNEG. The texts are
// llvm-objdump 14's (which gives the architecture's reading).
const Row kObjdumpWrong[] = {
    {0xEE8D0F42, "vqshrnb.s16 q0, q1, #3"},   {0xEE8D0F43, "vqrshrnb.s16 q0, q1, #3"},
    {0xFE9D1F42, "vqshrnt.u32 q0, q1, #3"},   {0xFE9D1F43, "vqrshrnt.u32 q0, q1, #3"},
    {0xEE8D0FC2, "vqshrunb.s16 q0, q1, #3"},  {0xFE8D0FC2, "vqrshrunb.s16 q0, q1, #3"},
    {0xEE9D1FC2, "vqshrunt.s32 q0, q1, #3"},  {0xFE9D1FC2, "vqrshrunt.s32 q0, q1, #3"},
    {0xFFB00742, "vqabs.s8 q0, q1"},          {0xFFB407C2, "vqneg.s16 q0, q1"},
};

TEST(MveForms, FollowTheArchitectureWhereObjdumpIsWrong)
{
    for (const Row& row : kObjdumpWrong)
        EXPECT_EQ(thumb(row.word), row.text) << std::hex << row.word;
}

// Reserved sizes are printed: the interleaving loads and stores with size 3 as
// "??", the saturating doubling forms with size 3 as ".???".
const Row kReserved[] = {
    {0xFC911F80, "vld20.?? { q0, q1 }, [r1]"},
    {0xFC811F81, "vst40.?? { q0, q1, q2, q3 }, [r1]"},
    {0xEF320B44, "vqdmulh.??? q0, q1, q2"},
    {0xFF320B44, "vqrdmulh.??? q0, q1, q2"},
    {0xEE320E62, "vqdmlah.??? q0, q1, r2"},
    {0xEE321E42, "vqrdmlash.??? q0, q1, r2"},
};

TEST(MveForms, ReservedSizesArePrinted)
{
    for (const Row& row : kReserved)
        EXPECT_EQ(thumb(row.word), row.text) << std::hex << row.word;
}

// Encodings the architecture forbids or the assembler cannot write back: left
// undefined so that the file output keeps their bytes.
const uint32_t kUndefined[] = {
    0xED110E00, // widening load of bytes into bytes
    0xED111E00, // immediate offset "#-0": the assembler writes #0
    0xEDBD1E48, // writeback to SP
    0xFC912E02, // gather into its own offset vector
    0xFD323E01, // vector base into its own base register
    0xEE210E00, // vmullb.s32 with qd = qn
    0xFE320E01, // vcmul.f32 with qd = qm
    0xFFB80040, // vrev64.32 in place
    0xEE030F4D, // vadd with SP
    0xEC000F00, // vmov to r0 twice
    0xFC91BF01, // vld4 past q7
    0xEF800350, // vorr.i32 #0 with a shifted cmode (the assembler writes cmode 1)
};

TEST(MveForms, ForbiddenEncodingsStayUndefined)
{
    for (uint32_t encoding : kUndefined)
        EXPECT_EQ(thumb(encoding), "undefined opcode") << std::hex << encoding;
}

TEST(MveForms, OnlyAtV81M)
{
    // vadd.i32 q0, q1, q2 is an Advanced SIMD encoding elsewhere; below v8.1-M the
    // M profile has no vector unit.
    EXPECT_NE(thumb(0xEF220844, ArmLevel::V8MMainline), "vadd.i32 q0, q1, q2");
    EXPECT_EQ(thumb(0xEC014F00, ArmLevel::V8MMainline).find("vmov"), std::string::npos);
}

// VPT/VPST blocks: texts as objdump prints an assembled block.
TEST(MvePredication, LettersBeforeTheFirstDot)
{
    const std::vector<std::string> expected = {
        "vpstete",           "vaddt.i32 q0, q1, q2",   "vande q0, q1, q2",
        "vldrwt.u32 q0, [r1, #4]", "vmove.i32 q0, #0",  "vpte.s8 ge, q1, r2",
        "vshlct q0, r1, #3", "vmlave.s8 r0, q1, q2",   "vpst",
        "vpselt q0, q1, q2", "vptt.i8 eq, q1, q2",     "vmaxnmvt.f32 r2, q1",
        "vcmpt.i8 ne, q1, q2",
    };
    EXPECT_EQ(thumbRun({0xFE71EF4D, 0xEF220844, 0xEF020154, 0xED911F01, 0xEF800050, 0xFE439F42, 0xEEA30FC1,
                        0xEEF20F04, 0xFE710F4D, 0xFE330F05, 0xFE038F04, 0xEEEE2F02, 0xFE030F84}),
              expected);
}

struct Mask {
    uint32_t vpst; // VPST with the mask
    const char* name;
    const char* letters; // of the instructions in the block
};

// The assembler's encodings of every VPST mask.
const Mask kMasks[] = {
    {0xFE710F4D, "vpst", "t"},     {0xFE318F4D, "vpstt", "tt"},      {0xFE718F4D, "vpste", "te"},
    {0xFE314F4D, "vpsttt", "ttt"}, {0xFE31CF4D, "vpstte", "tte"},    {0xFE71CF4D, "vpstet", "tet"},
    {0xFE714F4D, "vpstee", "tee"}, {0xFE312F4D, "vpstttt", "tttt"},  {0xFE712F4D, "vpsteee", "teee"},
    {0xFE71EF4D, "vpstete", "tete"}, {0xFE31EF4D, "vpsttet", "ttet"}, {0xFE716F4D, "vpsteet", "teet"},
};

TEST(MvePredication, EveryMaskGivesItsLetters)
{
    for (const Mask& m : kMasks) {
        std::vector<uint32_t> run = {m.vpst};
        std::vector<std::string> expected = {m.name};
        for (const char* l = m.letters; *l; ++l) {
            run.push_back(0xEF220844);
            expected.push_back(std::string("vadd") + *l + ".i32 q0, q1, q2");
        }
        run.push_back(0xEF220844); // the block is over
        expected.push_back("vadd.i32 q0, q1, q2");
        EXPECT_EQ(thumbRun(run), expected) << m.name;
    }
}

TEST(MvePredication, UndefinedInstructionsUseUpTheirPlace)
{
    EXPECT_EQ(thumbRun({0xFE318F4D, 0xED110E00, 0xEF220844, 0xEF220844}),
              (std::vector<std::string>{"vpstt", "undefined opcode", "vaddt.i32 q0, q1, q2", "vadd.i32 q0, q1, q2"}));
}

TEST(MvePredication, ItBlocksTakeConditionsNotLetters)
{
    // itt eq; adds/mov inside take "eq", the MVE instruction after it no letter.
    EXPECT_EQ(thumbRun({0xBF04, 0x1C08, 0x4608, 0xEF220844}),
              (std::vector<std::string>{"itt eq", "addeq r0, r1, #0", "moveq r0, r1", "vadd.i32 q0, q1, q2"}));
}

TEST(MvePredication, NewCodeStretchEndsTheBlock)
{
    ARMDisassembler d(ArmLevel::V81MMainline, false, false);
    const uint8_t vpstt[4] = {0x31, 0xFE, 0x4D, 0x8F}, vadd[4] = {0x22, 0xEF, 0x44, 0x08};
    char text[160];
    d.disassembleInstruction(0, vpstt, true, text, sizeof text, 4, nullptr);
    d.decoder().resetState();
    d.disassembleInstruction(4, vadd, true, text, sizeof text, 4, nullptr);
    EXPECT_STREQ(text + 12, "vadd.i32 q0, q1, q2");
}

} // namespace
