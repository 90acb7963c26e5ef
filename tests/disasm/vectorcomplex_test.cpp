// The ARMv8 complex-number, dot-product, BFloat16 and Int8 matrix forms and HLT:
// one row per form with the text arm-none-eabi-objdump prints for the encoding
// (numbers written as this disassembler writes them: hex above 32); the registers a
// quadword form cannot have, the patterns objdump reads loosely, and the levels, by
// the architecture manual's rules and the assembler's choices.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "disasm/armdisassembler.h"
#include "tests/disasm/decode.h"

namespace {

using namespace DecodeTest;

const Row kRows[] = {
    {0xFCA10802, "vcmla.f16 d0, d1, d2, #90"},
    {0xFDB20844, "vcmla.f32 q0, q1, q2, #270"},
    {0xFDF00844, "vcmla.f32 q8, q0, q2, #270"},
    {0xFE210822, "vcmla.f16 d0, d1, d2[1], #180"},
    {0xFE820842, "vcmla.f32 q0, q1, d2[0], #0"},
    // A single-precision pair takes M as the register's top bit, not as a lane.
    {0xFE820862, "vcmla.f32 q0, q1, d18[0], #0"},
    {0xFC810802, "vcadd.f16 d0, d1, d2, #90"},
    {0xFD920844, "vcadd.f32 q0, q1, q2, #270"},
    {0xFC200891, "vfmal.f16 d0, s1, s2"},
    {0xFCA10852, "vfmsl.f16 q0, d1, d2"},
    {0xFE000899, "vfmal.f16 d0, s1, s2[1]"},
    {0xFE0008B9, "vfmal.f16 d0, s1, s3[1]"},
    {0xFE11087A, "vfmsl.f16 q0, d1, d2[3]"},
    // The quadword form's lane is M:Vm<3>.
    {0xFE5008F9, "vfmsl.f16 q8, d16, d1[3]"},
    {0xFE0F8875, "vfmal.f16 q4, d15, d5[2]"},
    {0xFC210D02, "vsdot.s8 d0, d1, d2"},
    {0xFC220D54, "vudot.u8 q0, q1, q2"},
    {0xFE210D22, "vsdot.s8 d0, d1, d2[1]"},
    {0xFE220D52, "vudot.u8 q0, q1, d2[0]"},
    {0xFCA10D02, "vusdot.s8 d0, d1, d2"},
    {0xFE820D62, "vusdot.s8 q0, q1, d2[1]"},
    {0xFE820D72, "vsudot.u8 q0, q1, d2[1]"},
    {0xFE820D7F, "vsudot.u8 q0, q1, d15[1]"},
    {0xFC020C44, "vmmla.bf16 q0, q1, q2"},
    {0xFC220C44, "vsmmla.s8 q0, q1, q2"},
    {0xFC220C54, "vummla.u8 q0, q1, q2"},
    {0xFCA20C44, "vusmmla.s8 q0, q1, q2"},
    {0xFC010D02, "vdot.bf16 d0, d1, d2"},
    {0xFE020D62, "vdot.bf16 q0, q1, d2[1]"},
    {0xFC320814, "vfmab.bf16 q0, q1, q2"},
    {0xFE32087A, "vfmat.bf16 q0, q1, d2[3]"},
    {0xFE32E85C, "vfmat.bf16 q7, q1, d4[1]"},
};

TEST(VectorComplex, FormsAsObjdumpPrintsThem)
{
    for (const Row& r : kRows) {
        EXPECT_EQ(arm(r.word), r.text) << std::hex << r.word;
        EXPECT_EQ(thumb(r.word), r.text) << "thumb " << std::hex << r.word;
        EXPECT_EQ(arm(r.word, ArmLevel::V8A), r.text) << std::hex << r.word;
    }
}

TEST(VectorComplex, PatternsWithoutAFormAreUndefined)
{
    const uint32_t words[] = {
        0xFDB21844, // VCMLA of quadwords from an odd register
        0xFCA11852, // VFMSL into an odd quadword
        0xFC6F8D5F, // VUDOT of odd quadwords
        0xFC320815, // VFMAB of an odd quadword
        // VSDOT/VUDOT by element with op2 11 or op1 set: objdump reads them so, but
        // the assembler writes those texts with op2 10 and op1 clear.
        0xFE310D02,
        0xFEAF0D3F,
    };
    for (uint32_t w : words) {
        EXPECT_EQ(arm(w), "undefined opcode") << std::hex << w;
        EXPECT_EQ(thumb(w), "undefined opcode") << "thumb " << std::hex << w;
    }
}

TEST(VectorComplex, TheRestOfTheSpaceStaysGeneric)
{
    // VSMMLA's pattern without Q, and coprocessor 12's data operations, which no
    // vector form has, are the generic forms they look like.
    EXPECT_EQ(arm(0xFC220C04), "stc2 p12, c0, [r2], #-16");
    EXPECT_EQ(thumb(0xFC220C04), "stc2 p12, c0, [r2], #-16");
    EXPECT_EQ(arm(0xFE100C00), "cdp2 p12, 1, c0, c0, c0, 0");
    EXPECT_EQ(thumb(0xFE100C00), "cdp2 p12, 1, c0, c0, c0, 0");
}

TEST(VectorComplex, LevelsWithoutTheFormsReadTheGenericTransfers)
{
    // ARMv7 and ARMv8-R lack them: objdump -m armv7 and -m armv8-r read the generic
    // forms, which the assembler for those architectures writes to the same bytes.
    for (uint32_t level : {ArmLevel::V7A, ArmLevel::V8R}) {
        EXPECT_EQ(arm(0xFCA10802, level), "stc2 p8, c0, [r1], #8") << level;
        EXPECT_EQ(arm(0xFE0008B9, level), "mcr2 p8, 0, r0, c0, c9, 5") << level;
        EXPECT_EQ(thumb(0xFCA10802, level), "stc2 p8, c0, [r1], #8") << level;
    }
    EXPECT_EQ(thumb(0xFCA10802, ArmLevel::V8MMainline), "stc2 p8, c0, [r1], #8");
    // At v8.1-M the M-profile vector extension holds coprocessor 8's space but for
    // the two-register transfers; 12 and 13 stay generic.
    EXPECT_EQ(thumb(0xFE100800, ArmLevel::V81MMainline), "undefined opcode");
    EXPECT_EQ(thumb(0xFC520804, ArmLevel::V81MMainline), "mrrc2 p8, 0, r0, r2, c4");
    EXPECT_EQ(thumb(0xFE100C00, ArmLevel::V81MMainline), "cdp2 p12, 1, c0, c0, c0, 0");
    // (objdump -m armv8.1-m.main reads VSDOT here, which that assembler refuses.)
    EXPECT_EQ(thumb(0xFC220D04, ArmLevel::V81MMainline), "stc2 p13, c0, [r2], #-16");
}

TEST(VectorComplex, ConditionOfAnItBlockGoesBeforeTheSuffix)
{
    // it eq; vcmlaeq.f16 d0, d1, d2, #90
    EXPECT_EQ(thumbCode({0xBF08, 0xFCA1, 0x0802}, ArmLevel::V8A), "it eq;vcmlaeq.f16 d0, d1, d2, #90;");
}

TEST(Halt, ArmAndThumbAtTheArmV8Levels)
{
    EXPECT_EQ(arm(0xE1012374), "hlt #0x1234");
    EXPECT_EQ(arm(0xE10FFF7F, ArmLevel::V8R), "hlt #0xFFFF");
    EXPECT_EQ(arm(0xE1000070, ArmLevel::V8A), "hlt #0");
    EXPECT_EQ(thumbCode({0xBABF}, ArmLevel::Any), "hlt #0x3F;");
    EXPECT_EQ(thumbCode({0xBA81}, ArmLevel::V8A), "hlt #1;");
    // Never conditional: the assembler refuses "hlteq", and in an IT block it stays
    // "hlt" while the block moves on.
    EXPECT_EQ(arm(0x01012374), "undefined opcode");
    EXPECT_EQ(thumbCode({0xBF0C, 0xBA81, 0xBF00}, ArmLevel::V8A), "ite eq;hlt #1;nopne;");
    // Before ARMv8, and in the M profile, the A32 encoding is undefined and the 16-bit
    // one the reserved byte-reverse pattern.
    EXPECT_EQ(arm(0xE1012374, ArmLevel::V7A), "undefined opcode");
    EXPECT_EQ(thumbCode({0xBABF}, ArmLevel::V7A), "???;");
    EXPECT_EQ(thumbCode({0xBABF}, ArmLevel::V81MMainline), "???;");
}

} // namespace
