// Floating-point forms: one row per form family with the text arm-none-eabi-objdump
// prints for the encoding (numbers written as this disassembler writes them: hex
// above 32, "#0" for the compare with zero), the immediate expansion checked against
// the architecture's bit-level definition, and the rules objdump does not share
// (invalid register lists, the legacy stack names).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "disasm/armdisassembler.h"
#include "tests/disasm/decode.h"
#include "elf/elffile.h"

namespace {

using namespace DecodeTest;

// A32 encodings; the same forms in Thumb carry the same bits 27..0.
const Row kRows[] = {
    {0xEE300A80, "vadd.f32 s0, s1, s0"},
    {0x0E300A80, "vaddeq.f32 s0, s1, s0"},
    {0xEE710BA2, "vadd.f64 d16, d17, d18"},
    {0xEE000A00, "vmla.f32 s0, s0, s0"},
    {0xEE000A40, "vmls.f32 s0, s0, s0"},
    {0xEE100A00, "vnmls.f32 s0, s0, s0"},
    {0xEE100A40, "vnmla.f32 s0, s0, s0"},
    {0xEE200A00, "vmul.f32 s0, s0, s0"},
    {0xEE200A40, "vnmul.f32 s0, s0, s0"},
    {0xEE800A00, "vdiv.f32 s0, s0, s0"},
    {0xEE900A00, "vfnms.f32 s0, s0, s0"},
    {0xEE900A40, "vfnma.f32 s0, s0, s0"},
    {0xEEA00A00, "vfma.f32 s0, s0, s0"},
    {0xEEA00A40, "vfms.f32 s0, s0, s0"},
    {0xEEB00A40, "vmov.f32 s0, s0"},
    {0xEEB00AC0, "vabs.f32 s0, s0"},
    {0xEEB10A40, "vneg.f32 s0, s0"},
    {0xEEB10AC0, "vsqrt.f32 s0, s0"},
    {0xEEB40A60, "vcmp.f32 s0, s1"},
    {0xEEB40AE0, "vcmpe.f32 s0, s1"},
    {0xEEB50AC0, "vcmpe.f32 s0, #0"},
    {0xEEB60A40, "vrintr.f32 s0, s0"},
    {0xEEB60AC0, "vrintz.f32 s0, s0"},
    {0xEEB70A40, "vrintx.f32 s0, s0"},
    {0xEEB70AC0, "vcvt.f64.f32 d0, s0"},
    {0xEEB70BC0, "vcvt.f32.f64 s0, d0"},
    {0xEEB80A40, "vcvt.f32.u32 s0, s0"},
    {0xEEB80BC0, "vcvt.f64.s32 d0, s0"},
    {0xEEB90BC0, "vjcvt.s32.f64 s0, d0"},
    {0xEEBC0A40, "vcvtr.u32.f32 s0, s0"},
    {0xEEBC0AC0, "vcvt.u32.f32 s0, s0"},
    {0xEEBD0BC0, "vcvt.s32.f64 s0, d0"},
    {0xEEBA0A60, "vcvt.f32.s16 s0, s0, #15"},
    {0xEEBF0BE0, "vcvt.u32.f64 d0, d0, #31"},
    // The conversions between double and half precision keep a blank after their suffix.
    {0xEEB20B40, "vcvtb.f64.f16  d0, s0"},
    {0xEEB30BC0, "vcvtt.f16.f64  s0, d0"},
    {0xEEB30940, "vcvtb.bf16.f32 s0, s0"},
    {0xEEB009C0, "vabs.f16 s0, s0"},
    {0xEE300900, "vadd.f16 s0, s0, s0"},
    {0xEEB809C0, "vcvt.f16.s32 s0, s0"},
    {0xEEBD09C0, "vcvt.s32.f16 s0, s0"},
    {0xFE000A00, "vseleq.f32 s0, s0, s0"},
    {0xFE100A00, "vselvs.f32 s0, s0, s0"},
    {0xFE200B00, "vselge.f64 d0, d0, d0"},
    {0xFE300900, "vselgt.f16 s0, s0, s0"},
    {0xFE800A00, "vmaxnm.f32 s0, s0, s0"},
    {0xFE800A40, "vminnm.f32 s0, s0, s0"},
    {0xFEB80A40, "vrinta.f32 s0, s0"},
    {0xFEBB0B40, "vrintm.f64 d0, d0"},
    {0xFEBC0AC0, "vcvta.s32.f32 s0, s0"},
    {0xFEBF0B40, "vcvtm.u32.f64 s0, d0"},
    {0xFEB00A40, "vmovx.f16 s0, s0"},
    {0xFEB00AC0, "vins.f16 s0, s0"},
    {0xED900A01, "vldr s0, [r0, #4]"},
    {0xED100B40, "vldr d0, [r0, #-0x0100]"},
    {0xED9F0A01, "vldr s0, [pc, #4]"},
    {0xED1F0B00, "vldr d0, [pc, #-0]"},
    {0xED800903, "vstr.16 s0, [r0, #6]"},
    {0xECB00A04, "vldmia r0!, {s0-s3}"},
    {0xED2D8B10, "vpush {d8-d15}"},
    {0xECBD8B10, "vpop {d8-d15}"},
    {0xED200A02, "vstmdb r0!, {s0-s1}"},
    {0xEC800B03, "fstmiax r0, {d0}"},
    {0xEE000A10, "vmov s0, r0"},
    {0xEE100A90, "vmov r0, s1"},
    {0xEE000910, "vmov.f16 s0, r0"},
    {0xEEF1FA10, "vmrs APSR_nzcv, fpscr"},
    {0xEEF10A10, "vmrs r0, fpscr"},
    {0xEEE10A10, "vmsr fpscr, r0"},
    {0xEEF80A10, "vmrs r0, fpexc"},
    {0xEEF70A10, "vmrs r0, mvfr0"},
    {0xEE400BB0, "vmov.8 d16[1], r0"},
    {0xEE000B30, "vmov.16 d0[0], r0"},
    {0xEE200B10, "vmov.32 d0[1], r0"},
    {0xEED00BB0, "vmov.u8 r0, d16[1]"},
    {0xEE900B30, "vmov.u16 r0, d0[0]"},
    {0xEE300B10, "vmov.32 r0, d0[1]"},
    {0xEEA20B10, "vdup.32 q1, r0"},
    {0xEEC00B30, "undefined opcode"},
    {0xEEE00B10, "vdup.8 q0, r0"},
    {0xEC410A10, "vmov s0, s1, r0, r1"},
    {0xEC510A30, "vmov r0, r1, s1, s2"},
    {0xEC432B17, "vmov d7, r2, r3"},
    {0xEC532B17, "vmov r2, r3, d7"},
    // Conversions of every kind, both directions, every size.
    {0xEEB80B40, "vcvt.f64.u32 d0, s0"},
    {0xEEBA0BC0, "vcvt.f64.s32 d0, d0, #32"},
    {0xEEBB0A40, "vcvt.f32.u16 s0, s0, #16"},
    {0xEEBA09E0, "vcvt.f16.s32 s0, s0, #31"},
    {0xEEBE09E0, "vcvt.s32.f16 s0, s0, #31"},
    {0xEEB80940, "vcvt.f16.u32 s0, s0"},
    {0xEEB30A40, "vcvtb.f16.f32 s0, s0"},
    {0xEEB30AC0, "vcvtt.f16.f32 s0, s0"},
    {0xEEB20AC0, "vcvtt.f32.f16 s0, s0"},
    {0xEEB309C0, "vcvtt.bf16.f32 s0, s0"},
    {0xEEB70BC0, "vcvt.f32.f64 s0, d0"},
    {0xEEBD0A40, "vcvtr.s32.f32 s0, s0"},
    {0xEEBD0B40, "vcvtr.s32.f64 s0, d0"},
    {0xEEB70B40, "vrintx.f64 d0, d0"},
    {0xEEB60B40, "vrintr.f64 d0, d0"},
    {0xEEB10B40, "vneg.f64 d0, d0"},
    {0xEEB40BC0, "vcmpe.f64 d0, d0"},
    // Half precision: moves to and from core registers, loads and stores in halfwords.
    {0xEE000990, "vmov.f16 s1, r0"},
    {0xEE100990, "vmov.f16 r0, s1"},
    {0xED900900, "vldr.16 s0, [r0]"},
    {0xFE000900, "vseleq.f16 s0, s0, s0"},
    {0xFE100900, "vselvs.f16 s0, s0, s0"},
    {0xFE200A00, "vselge.f32 s0, s0, s0"},
    {0xFEB80940, "vrinta.f16 s0, s0"},
    // Lanes and VDUP of every size; system registers by name.
    {0xEE000B10, "vmov.32 d0[0], r0"},
    {0xEE900B70, "vmov.u16 r0, d0[1]"},
    {0xEE800B30, "vdup.16 d0, r0"},
    {0xEEA20B30, "vdup.16 q1, r0"},
    {0xEEF60A10, "vmrs r0, mvfr1"},
    {0xEEF50A10, "vmrs r0, mvfr2"},
    {0xEEE80A10, "vmsr fpexc, r0"},
    {0xEEE00A10, "vmsr fpsid, r0"},
    {0xED800A01, "vstr s0, [r0, #4]"},
    {0xED9F0B02, "vldr d0, [pc, #8]"},
    {0xEC9D0B04, "vldmia sp, {d0-d1}"},
    {0xEC510B10, "vmov r0, r1, d0"},
    // The PC and SP as operands: unpredictable, but objdump prints them and the
    // assembler writes these words from the texts.
    {0xEE00FA10, "vmov s0, pc"},
    {0xEE10FA10, "vmov pc, s0"},
    {0xEE00DA10, "vmov s0, sp"},
    {0xEC5D0B10, "vmov r0, sp, d0"},
    {0xEE00DB10, "vmov.32 d0[0], sp"},
    {0xEE10F910, "vmov.f16 pc, s0"},
    {0xECBF0A01, "vldmia pc!, {s0}"},
};

TEST(Vfp, FormsAsObjdumpPrintsThem)
{
    for (const Row& r : kRows) {
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
        // Thumb: the unconditional forms start 0xFE.., the others 0xEE...
        if ((r.word >> 28) == 0xE || (r.word >> 28) == 0xF) {
            EXPECT_EQ(thumb(r.word), r.text) << "thumb " << std::hex << r.word;
        }
    }
}

// VFPExpandImm, bit by bit: sign a, exponent NOT(b):b:b:b:b:b:c:d, fraction efgh.
std::string expandedImmediate(int imm8)
{
    const uint32_t a = imm8 >> 7 & 1, b = imm8 >> 6 & 1, cd = imm8 >> 4 & 3, efgh = imm8 & 15;
    const uint32_t exponent = (b ^ 1) << 7 | (b ? 0x7C : 0) | cd;
    const uint32_t bits = a << 31 | exponent << 23 | efgh << 19;
    float value;
    memcpy(&value, &bits, sizeof value);
    char text[32];
    snprintf(text, sizeof text, "#%f", double(value));
    return text;
}

TEST(Vfp, EveryImmediateExpandsAsTheArchitectureDefinesIt)
{
    for (int imm8 = 0; imm8 < 256; ++imm8) {
        const uint32_t word = 0xEEB00A00 | uint32_t(imm8 >> 4) << 16 | uint32_t(imm8 & 15);
        EXPECT_EQ(arm(word), "vmov.f32 s0, " + expandedImmediate(imm8)) << imm8;
    }
    EXPECT_EQ(arm(0xEEB70A00), "vmov.f32 s0, #1.000000");
    EXPECT_EQ(arm(0xEEBF0A00), "vmov.f32 s0, #-1.000000");
    EXPECT_EQ(arm(0xEEB70B00), "vmov.f64 d0, #1.000000");
    EXPECT_EQ(arm(0xEEB00900), "vmov.f16 s0, #2.000000");
    // Bits 7 and 5 belong to no immediate.
    EXPECT_EQ(arm(0xEEB00A80), "undefined opcode");
}

TEST(Vfp, RegisterListsTheInstructionCannotHave)
{
    const Row rows[] = {
        {0xECB00A00, "vldmia r0!, invalid register list"},  // no register
        {0xECF0FA02, "vldmia r0!, invalid register list"},  // s31 and s32
        {0xECF0FA01, "vldmia r0!, {s31}"},
        {0xECB00B22, "vldmia r0!, invalid register list"},  // 17 doubles
        {0xECF00B20, "vldmia r0!, {d16-d31}"},
        {0xECF01B20, "vldmia r0!, invalid register list"},  // d17 to d32
        {0xED2D0A00, "vpush invalid register list"},
        // The legacy forms count the registers as the unit's doublewords plus one.
        {0xECBD8B11, "fldmfdx sp!, {d8-d15}"},
        {0xED2D8B11, "fstmfdx sp!, {d8-d15}"},
        {0xED3D8B03, "fldmeax sp!, {d8}"},
        {0xECAD8B03, "fstmeax sp!, {d8}"},
        {0xED308B03, "fldmdbx r0!, {d8}"},
        {0x0C908B03, "fldmiaxeq r0, {d8}"},
        {0xECB00B01, "fldmiax r0!, invalid register list"},
    };
    for (const Row& r : rows)
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
    // The M profile's unit has sixteen doublewords.
    EXPECT_EQ(thumb(0xECB00B20, ArmLevel::V8MMainline), "vldmia r0!, {d0-d15}");
    EXPECT_EQ(thumb(0xECB08B12, ArmLevel::V8MMainline), "vldmia r0!, invalid register list");
}

// Encodings whose text the assembler would not turn back into their bytes, or
// that are not floating-point forms at all. Expected texts from objdump where it
// prints a generic form; "undefined opcode" where its text does not assemble (an
// unpredictable register, should-be-zero bits set, a condition the form cannot
// have).
TEST(Vfp, EncodingsTheAssemblerCannotWriteStayUndefined)
{
    const Row rows[] = {
        // No register move in half precision; VRINT with the reserved opcode.
        {0xEEB00940, "undefined opcode"},
        {0xEEB709C0, "undefined opcode"},
        // Half precision with a condition other than AL is unpredictable; the
        // BFloat16 conversion of the same coprocessor may be conditional.
        {0x0E300900, "undefined opcode"},
        {0xAE2009C1, "undefined opcode"},
        {0x0D910900, "undefined opcode"},
        {0xAEB80940, "undefined opcode"},
        {0x0EB30940, "vcvtbeq.bf16.f32 s0, s0"},
        // A conditional move of a half to the PC is the generic read into the flags.
        {0x0E10F910, "mrceq p9, 0, APSR_nzcv, c0, c0, 0"},
        // The assembler refuses a condition on the 8- and 16-bit lane reads.
        {0x5E121B70, "undefined opcode"},
        {0xEE121B70, "vmov.s16 r1, d2[1]"},
        // Should-be-zero bits of a lane move set: objdump's lane text would lose them.
        {0xEE418B94, "undefined opcode"},
        {0xEE5AFBB2, "mrc p11, 2, APSR_nzcv, c10, c2, 5"},
        // VMRS to the PC of anything but FPSCR, VMSR from the PC, FPSCR_nzcvqc and
        // the other M-profile registers in A32.
        {0xEEF7FA10, "undefined opcode"},
        {0xEEE1FA10, "undefined opcode"},
        {0xEEF20A10, "undefined opcode"},
        {0xEEFC0A10, "undefined opcode"},
        // The implementation-defined registers 3, 4, 9 to 11.
        {0xEEF30A10, "undefined opcode"},
        // A doubleword list based on the PC and written back, a 16-bit fixed point
        // keeping more bits than it has.
        {0xED3F0B02, "undefined opcode"},
        {0x0EBB5A4C, "undefined opcode"},
        // Coprocessor 9's unconditional transfers and plain-offset loads are generic
        // (offsets in halfwords); its written-back offsets the assembler reads in words.
        {0xFEBE29BD, "mrc2 p9, 5, r2, c14, c13, 5"},
        {0xFD8EC999, "stc2 p9, c12, [lr, #0x0132]"},
        {0xFCA26934, "undefined opcode"},
        {0xFC21F900, "stc2 p9, c15, [r1], #-0"},
    };
    for (const Row& r : rows)
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
}

// The M profile's forms in 32-bit Thumb, texts as objdump -m armv8.1-m.main prints
// them but for the names FPCXT_NS and FPCXT_S (objdump: FPCXTNS, FPCXTS), which keep
// the architecture's underscore as VMRS prints them.
TEST(Vfp, MProfileForms)
{
    const Row rows[] = {
        {0xEC300A00, "vlldm r0"},
        {0xEC2D0A00, "vlstm sp"},
        {0xEC9F0B00, "vscclrm {vpr }"},
        {0xEC9F0A01, "vscclrm {s0, vpr }"},
        {0xEC9F0A20, "vscclrm {s0-s31, vpr }"},
        {0xEC9F0B20, "vscclrm {d0-d15, vpr }"},
        {0xECDFFA01, "vscclrm {s31, vpr }"},
        {0xECDF0A02, "vscclrm {s1-s2, vpr }"},
        {0xEC9F8B12, "vscclrm invalid register list"},
        // The doubleword form counts in even numbers, and "{vpr}" alone is the
        // assembler's doubleword form from d0.
        {0xEC9F0B01, "undefined opcode"},
        {0xEC9F0A00, "undefined opcode"},
        {0xECDF0B00, "undefined opcode"},
        {0xED802F80, "vstr FPSCR, [r0]"},
        {0xED204F81, "vstr FPSCR_nzcvqc, [r0, #-4]!"},
        {0xECF08F82, "vldr VPR, [r0], #8"},
        {0xEDD0AFFF, "vldr P0, [r0, #0x01FC]"},
        {0xED6DCF82, "vstr FPCXT_NS, [sp, #-8]!"},
        {0xECFDEF81, "vldr FPCXT_S, [sp], #4"},
        {0xEDBD2F81, "vldr FPSCR, [sp, #4]!"},
        // Kept: objdump drops a zero post-index, and its text assembles to the offset form.
        {0xECBD2F80, "vldr FPSCR, [sp], #0"},
        // Registers without a name, the PC as base, unindexed.
        {0xED9A8FFC, "undefined opcode"},
        {0xED9F2F81, "undefined opcode"},
        {0xEC802F80, "undefined opcode"},
        {0xEEF20A10, "vmrs r0, fpscr_nzcvqc"},
        {0xEEFC0A10, "vmrs r0, vpr"},
        {0xEEFD0A10, "vmrs r0, p0"},
        {0xEEFF0A10, "vmrs r0, fpcxt_s"},
        {0xEEEE0A10, "vmsr fpcxt_ns, r0"},
        {0xEEED0A10, "vmsr p0, r0"},
        {0xEE300900, "vadd.f16 s0, s0, s0"},
        {0xEE000910, "vmov.f16 s0, r0"},
        {0xFEB00AC0, "vins.f16 s0, s0"},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(thumb(r.word, ArmLevel::V81MMainline), r.text) << std::hex << r.word;
        EXPECT_EQ(thumb(r.word), r.text) << "any level " << std::hex << r.word;
    }
    // With bit 7 clear the encoding is no system register's: the vector extension's
    // store where there is one.
    EXPECT_EQ(thumb(0xED802F00, ArmLevel::V81MMainline), "vstrb.32 q1, [r0, #0]");
    EXPECT_EQ(thumb(0xED802F00), "undefined opcode");
    // VLLDM with the PC, or with its other fields set.
    EXPECT_EQ(thumb(0xEC3F0A00, ArmLevel::V81MMainline), "undefined opcode");
    EXPECT_EQ(thumb(0xEC300A80, ArmLevel::V81MMainline), "undefined opcode");
    EXPECT_EQ(thumb(0xEC301A00, ArmLevel::V81MMainline), "undefined opcode");
}

TEST(Vfp, LevelsAndReservedEncodings)
{
    const struct {
        bool isThumb;
        uint32_t level;
        uint32_t word;
        const char* text;
    } rows[] = {
        // d16 and up, the byte and halfword lanes and VDUP are not the M profile's.
        {true, ArmLevel::V7EM, 0xEE710BA2, "undefined opcode"},
        {true, ArmLevel::V7EM, 0xEE310B02, "vadd.f64 d0, d1, d2"},
        {true, ArmLevel::V7EM, 0xEE400BB0, "undefined opcode"},
        {true, ArmLevel::V7EM, 0xEE200B10, "vmov.32 d0[1], r0"},
        {true, ArmLevel::V7EM, 0xEEA20B10, "undefined opcode"},
        {true, ArmLevel::V81MMainline, 0xEEF10A10, "vmrs r0, fpscr"},
        {true, ArmLevel::V81MMainline, 0xEEFC0A10, "vmrs r0, vpr"},
        {true, ArmLevel::V81MMainline, 0xEEE20A10, "vmsr fpscr_nzcvqc, r0"},
        {true, ArmLevel::V81MMainline, 0xEEEE0A10, "vmsr fpcxt_ns, r0"},
        {true, ArmLevel::V7A, 0xEEF10A10, "vmrs r0, fpscr"},
        // The stack pointer in Thumb: the assembler takes it in the moves at every
        // level, VMSR from it only for ARMv8's A profile, VMRS into it never.
        {true, ArmLevel::V7A, 0xEE00DA10, "vmov s0, sp"},
        {true, ArmLevel::V7EM, 0xEE00DA10, "vmov s0, sp"},
        {true, ArmLevel::V7A, 0xEEE1DA10, "undefined opcode"},
        {true, ArmLevel::V8A, 0xEEE1DA10, "vmsr fpscr, sp"},
        {true, ArmLevel::V8MMainline, 0xEEE1DA10, "undefined opcode"},
        {true, ArmLevel::Any, 0xEEF1DA10, "undefined opcode"},
        {false, ArmLevel::V7A, 0xEEF1DA10, "vmrs sp, fpscr"},
        // The A-profile PC base of a list of singles without writeback; Thumb's is
        // VSCCLRM where the level has it.
        {false, ArmLevel::V7A, 0xEC9F0A01, "vldmia pc, {s0}"},
        {true, ArmLevel::V7EM, 0xEC9F0A01, "vldmia pc, {s0}"},
        {true, ArmLevel::V7EM, 0xEC9F0B02, "undefined opcode"},
        // The read into the flags is written as objdump and the unified syntax write it
        // at every level, the oldest included (the assembler takes "fmstat" as well).
        {false, ArmLevel::V5TE, 0xEEF1FA10, "vmrs APSR_nzcv, fpscr"},
        {true, ArmLevel::V7EM, 0xEEF1FA10, "vmrs APSR_nzcv, fpscr"},
        // VFPv2 (ARMv5TE, ARMv6): no VFPv3/v4 forms, sixteen doublewords, no lanes
        // but the 32-bit ones, no MVFR2.
        {false, ArmLevel::V5TE, 0xEE300A80, "vadd.f32 s0, s1, s0"},
        {false, ArmLevel::V5TE, 0xEEA00A00, "undefined opcode"},
        {false, ArmLevel::V6, 0xEEB70A00, "undefined opcode"},
        {false, ArmLevel::V6, 0xEEBA0A60, "undefined opcode"},
        {false, ArmLevel::V6, 0xEE710BA2, "undefined opcode"},
        {false, ArmLevel::V6, 0xECD00B02, "vldmia r0, invalid register list"},
        {false, ArmLevel::V5TE, 0xEE400B30, "undefined opcode"},
        {false, ArmLevel::V5TE, 0xEE000B10, "vmov.32 d0[0], r0"},
        {false, ArmLevel::V5TE, 0xEEF50A10, "undefined opcode"},
        {false, ArmLevel::V5TE, 0xEEB30A40, "vcvtb.f16.f32 s0, s0"},
        {false, ArmLevel::V5TE, 0xEC800B03, "fstmiax r0, {d0}"},
        // ARMv7: VFPv4 and the Advanced SIMD moves, none of ARMv8's forms.
        {false, ArmLevel::V7A, 0xEEA00A00, "vfma.f32 s0, s0, s0"},
        {false, ArmLevel::V7A, 0xEE710BA2, "vadd.f64 d16, d17, d18"},
        {false, ArmLevel::V7R, 0xEE400B30, "vmov.8 d0[1], r0"},
        {false, ArmLevel::V7A, 0xFE000A00, "undefined opcode"},
        {false, ArmLevel::V7A, 0xEEB60A40, "undefined opcode"},
        {false, ArmLevel::V7A, 0xEEB20B40, "undefined opcode"},
        {false, ArmLevel::V7A, 0xEE300900, "undefined opcode"},
        {false, ArmLevel::V7A, 0xEEF50A10, "undefined opcode"},
        {false, ArmLevel::V7A, 0xEEB30940, "undefined opcode"},
        // ARMv8: all of them.
        {false, ArmLevel::V8A, 0xFE000A00, "vseleq.f32 s0, s0, s0"},
        {false, ArmLevel::V8A, 0xEE300900, "vadd.f16 s0, s0, s0"},
        {false, ArmLevel::V8A, 0xEEB90BC0, "vjcvt.s32.f64 s0, d0"},
        {false, ArmLevel::V8R, 0xEEB30940, "vcvtb.bf16.f32 s0, s0"},
        {false, ArmLevel::V8A, 0xEEB20B40, "vcvtb.f64.f16  d0, s0"},
        // No unit at ARMv7-M, ARMv6-M and ARMv8-M baseline (whose 32-bit set lacks it).
        {true, ArmLevel::V7M, 0xEE300A80, "undefined opcode"},
        {true, ArmLevel::V7M, 0xED900A01, "undefined opcode"},
        {true, ArmLevel::V6M, 0xEE300A80, "undefined opcode"},
        {true, ArmLevel::V8MBaseline, 0xEE300A80, "undefined opcode"},
        // FPv5 from ARMv7E-M: ARMv8's forms, no half precision, no VJCVT or BFloat16,
        // no lazy state before ARMv8-M mainline, none of ARMv8.1-M's additions before it.
        {true, ArmLevel::V7EM, 0xFE000A00, "vseleq.f32 s0, s0, s0"},
        {true, ArmLevel::V7EM, 0xFEBF0B40, "vcvtm.u32.f64 s0, d0"},
        {true, ArmLevel::V7EM, 0xFEFDEBCC, "vcvtn.s32.f64 s29, d12"},
        {true, ArmLevel::V7EM, 0xEEF50A10, "vmrs r0, mvfr2"},
        {true, ArmLevel::V7EM, 0xEE300900, "undefined opcode"},
        {true, ArmLevel::V8MMainline, 0xFEB00AC0, "undefined opcode"},
        {true, ArmLevel::V8MMainline, 0xEEB90BC0, "undefined opcode"},
        {true, ArmLevel::V81MMainline, 0xEEB30940, "undefined opcode"},
        {true, ArmLevel::V7EM, 0xEC300A00, "undefined opcode"},
        {true, ArmLevel::V8MMainline, 0xEC300A00, "vlldm r0"},
        {true, ArmLevel::V8MMainline, 0xEC9F0B00, "undefined opcode"},
        {true, ArmLevel::V8MMainline, 0xED802F80, "undefined opcode"},
        {true, ArmLevel::V8MMainline, 0xEEFC0A10, "undefined opcode"},
        {true, ArmLevel::V7A, 0xEEFC0A10, "undefined opcode"},
        {true, ArmLevel::V7A, 0xED802F80, "undefined opcode"},
        {true, ArmLevel::V7A, 0xEC300A00, "undefined opcode"},
        // The generic two-register transfers at the M profile, but not of the SP.
        {true, ArmLevel::V7EM, 0xEC5A9AE0, "mrrc p10, 14, r9, r10, c0"},
        {true, ArmLevel::V7EM, 0xFC4D1A42, "undefined opcode"},
        {true, ArmLevel::V7A, 0xFC4D1A42, "mcrr2 p10, 4, r1, sp, c2"},
        // Reserved: a 32-bit lane read unsigned, VDUP with b:e = 11, VJCVT of a single,
        // a 16-bit fixed point of more fraction bits than it has.
        {false, ArmLevel::Any, 0xEEB00B90, "undefined opcode"},
        {false, ArmLevel::Any, 0xEEC00B30, "undefined opcode"},
        {false, ArmLevel::Any, 0xEEB90AC0, "undefined opcode"},
        {false, ArmLevel::Any, 0xEEBA0A68, "undefined opcode"},
        // The compare with zero has no register.
        {false, ArmLevel::Any, 0xEEB50A41, "undefined opcode"},
        // vmrs into the flags from anything but the status register, vmsr from the PC.
        {false, ArmLevel::Any, 0xEEF8FA10, "undefined opcode"},
        {false, ArmLevel::Any, 0xEEE1FA10, "undefined opcode"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(r.isThumb ? thumb(r.word, r.level) : arm(r.word, r.level), r.text) << std::hex << r.word;
}

// The file output is assembled again: what the assembler cannot turn back into its
// bytes is written as them. The corpus holds an immediate that six decimals cannot
// hold (0.1328125) and register lists that no instruction can have.
TEST(Vfp, FileOutputKeepsTheBytesOfTextsTheAssemblerCannotTake)
{
    ElfFile file;
    file.load(QString::fromStdString(std::string(EDD_SOURCE_DIR) + "/tests/fixtures/disasm/vector-vfp.o"));
    ARMDisassembler d(ArmLevel::Any, false, false);
    char* text = nullptr;
    size_t size = 0;
    FILE* out = open_memstream(&text, &size);
    ASSERT_NE(out, nullptr);
    d.disassembleFile(out, file);
    fclose(out);
    const std::string listing(text, size);
    free(text);
    for (const char* line : {"\t.inst 0xEEF4AA01\n", "\t.inst.w 0xEEF4AA01\n", "\t.inst 0xECB00A00\n",
                             "\t.inst 0xECB04B41\n", "\t.inst.w 0xED2D0A00\n", "\tvmov.f32 s18, #0.125000\n",
                             "\tvmov.f64 d19, #-5.750000\n", "\tfldmfdx sp!, {d8-d15}\n"})
        EXPECT_NE(listing.find(line), std::string::npos) << line;
    EXPECT_EQ(listing.find("invalid register list"), std::string::npos);
    EXPECT_EQ(listing.find("#0.132812"), std::string::npos);
}

TEST(Vfp, ConditionsInItBlocksGoBeforeTheTypeSuffix)
{
    ARMDisassembler d(ArmLevel::V7EM, false, false);
    // ite ne; vaddne.f32 s0, s1, s0; vsubeq.f64 d0, d1, d2
    const uint8_t code[] = {0x14, 0xBF, 0x30, 0xEE, 0x80, 0x0A, 0x31, 0xEE, 0x42, 0x0B};
    const uint32_t steps[][2] = {{0, 2}, {2, 4}, {6, 4}};
    std::string out;
    for (const auto& [at, size] : steps) {
        char text[160];
        ASSERT_GT(d.disassembleInstruction(at, code + at, true, text, sizeof text, size, nullptr), 0u);
        out += std::string(text + 12) + ";";
    }
    EXPECT_EQ(out, "ite ne;vaddne.f32 s0, s1, s0;vsubeq.f64 d0, d1, d2;");

    // Half precision inside an IT block is unpredictable: undefined, and the block
    // goes on past it. itt eq; vadd.f16 s0, s0, s0; vaddeq.f32 s0, s0, s0
    ARMDisassembler h(ArmLevel::V81MMainline, false, false);
    const uint8_t half[] = {0x04, 0xBF, 0x30, 0xEE, 0x00, 0x09, 0x30, 0xEE, 0x00, 0x0A};
    out.clear();
    for (const auto& [at, size] : steps) {
        char text[160];
        ASSERT_GT(h.disassembleInstruction(at, half + at, true, text, sizeof text, size, nullptr), 0u);
        out += std::string(text + 12) + ";";
    }
    EXPECT_EQ(out, "itt eq;undefined opcode;vaddeq.f32 s0, s0, s0;");
}

} // namespace
