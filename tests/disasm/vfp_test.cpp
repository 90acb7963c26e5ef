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

namespace {

std::string arm(uint32_t word, uint32_t level = ArmLevel::Any, uint32_t address = 0)
{
    ARMDisassembler d(level, false, false);
    const uint8_t raw[4] = {uint8_t(word), uint8_t(word >> 8), uint8_t(word >> 16), uint8_t(word >> 24)};
    char text[160];
    const uint32_t n = d.disassembleInstruction(address, raw, false, text, sizeof text, 4, nullptr);
    return n ? std::string(text + 12) : std::string();
}

// A 32-bit Thumb encoding given as first halfword << 16 | second halfword.
std::string thumb(uint32_t encoding, uint32_t level = ArmLevel::Any)
{
    ARMDisassembler d(level, false, false);
    const uint8_t raw[4] = {uint8_t(encoding >> 16), uint8_t(encoding >> 24), uint8_t(encoding),
                            uint8_t(encoding >> 8)};
    char text[160];
    const uint32_t n = d.disassembleInstruction(0, raw, true, text, sizeof text, 4, nullptr);
    return n ? std::string(text + 12) : std::string();
}

struct Row {
    uint32_t word;
    const char* text;
};

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
        // The stack pointer is an operand of the core-register moves in Thumb from ARMv8 on.
        {true, ArmLevel::V7A, 0xEE00DA10, "undefined opcode"},
        {true, ArmLevel::V8A, 0xEE00DA10, "vmov s0, sp"},
        {false, ArmLevel::V7A, 0xEE00DA10, "vmov s0, sp"},
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
}

} // namespace
