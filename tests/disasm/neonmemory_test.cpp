// Advanced SIMD element and structure loads and stores: one row per form, size,
// spacing and alignment with the text arm-none-eabi-objdump prints for the encoding,
// its register ranges ("{d0-d3}", "{d0[]-d1[]}") written out register by register as
// this disassembler lists them; the reserved encodings by the architecture manual's
// rules; the levels that have Advanced SIMD.
#include <gtest/gtest.h>

#include <string>

#include "disasm/armdisassembler.h"
#include "tests/disasm/decode.h"

namespace {

using DecodeTest::arm;
using DecodeTest::Row;

// The Thumb encoding of an A32 word of this space: 1111 0100 becomes 1111 1001.
std::string thumb(uint32_t word, uint32_t level = ArmLevel::Any)
{
    return DecodeTest::thumb(0xF9000000 | (word & 0x00FFFFFF), level);
}

const Row kMultiple[] = {
    // Every type field: VLD4 and VLD4 spaced, VLD1 of four, VLD2 of two pairs, VLD3
    // and VLD3 spaced, VLD1 of three and of one, VLD2 and VLD2 spaced, VLD1 of two.
    {0xF421000F, "vld4.8 { d0, d1, d2, d3 }, [r1]"},
    {0xF421015D, "vld4.16 { d0, d2, d4, d6 }, [r1 :64]!"},
    {0xF42212B3, "vld1.32 { d1, d2, d3, d4 }, [r2 :256], r3"},
    {0xF420432F, "vld2.8 { d4, d5, d6, d7 }, [r0 :128]"},
    {0xF420545F, "vld3.16 { d5, d6, d7 }, [r0 :64]"},
    {0xF420558D, "vld3.32 { d5, d7, d9 }, [r0]!"},
    {0xF460D6DC, "vld1.64 { d29, d30, d31 }, [r0 :64], r12"},
    {0xF46DF70F, "vld1.8 { d31 }, [sp]"},
    {0xF46408AF, "vld2.32 { d16, d17 }, [r4 :128]"},
    {0xF464095E, "vld2.16 { d16, d18 }, [r4 :64], lr"},
    {0xF4200A6F, "vld1.16 { d0, d1 }, [r0 :128]"},
    {0xF40100BF, "vst4.32 { d0, d1, d2, d3 }, [r1 :256]"},
    {0xF40007DD, "vst1.64 { d0 }, [r0 :64]!"},
    {0xF4000901, "vst2.8 { d0, d2 }, [r0], r1"},
    {0xF400040F, "vst3.8 { d0, d1, d2 }, [r0]"},
};

const Row kAllLanes[] = {
    {0xF4A00C0F, "vld1.8 { d0[] }, [r0]"},
    {0xF4A00C7D, "vld1.16 { d0[], d1[] }, [r0 :16]!"},
    {0xF4A00C92, "vld1.32 { d0[] }, [r0 :32], r2"},
    {0xF4A00D1F, "vld2.8 { d0[], d1[] }, [r0 :16]"},
    {0xF4A00D7F, "vld2.16 { d0[], d2[] }, [r0 :32]"},
    {0xF4E0ED9F, "vld2.32 { d30[], d31[] }, [r0 :64]"},
    {0xF4A00E0F, "vld3.8 { d0[], d1[], d2[] }, [r0]"},
    {0xF4A00EAD, "vld3.32 { d0[], d2[], d4[] }, [r0]!"},
    {0xF4A00F1F, "vld4.8 { d0[], d1[], d2[], d3[] }, [r0 :32]"},
    {0xF4A00F7F, "vld4.16 { d0[], d2[], d4[], d6[] }, [r0 :64]"},
    {0xF4A00F9F, "vld4.32 { d0[], d1[], d2[], d3[] }, [r0 :64]"},
    // Size 11 with the align bit: 32-bit elements on a 128-bit boundary.
    {0xF4A00FDF, "vld4.32 { d0[], d1[], d2[], d3[] }, [r0 :128]"},
};

const Row kOneLane[] = {
    {0xF4A000EF, "vld1.8 { d0[7] }, [r0]"},
    {0xF4A004DF, "vld1.16 { d0[3] }, [r0 :16]"},
    {0xF4A008BD, "vld1.32 { d0[1] }, [r0 :32]!"},
    {0xF4C91808, "vst1.32 { d17[0] }, [r9], r8"},
    {0xF4A001BF, "vld2.8 { d0[5], d1[5] }, [r0 :16]"},
    {0xF4A005BF, "vld2.16 { d0[2], d2[2] }, [r0 :32]"},
    {0xF4A009DF, "vld2.32 { d0[1], d2[1] }, [r0 :64]"},
    {0xF480090F, "vst2.32 { d0[0], d1[0] }, [r0]"},
    {0xF4A002EF, "vld3.8 { d0[7], d1[7], d2[7] }, [r0]"},
    {0xF4A006EF, "vld3.16 { d0[3], d2[3], d4[3] }, [r0]"},
    {0xF4801ACD, "vst3.32 { d1[1], d3[1], d5[1] }, [r0]!"},
    {0xF4A0033F, "vld4.8 { d0[1], d1[1], d2[1], d3[1] }, [r0 :32]"},
    {0xF4A0077F, "vld4.16 { d0[1], d2[1], d4[1], d6[1] }, [r0 :64]"},
    {0xF4A00BEF, "vld4.32 { d0[1], d2[1], d4[1], d6[1] }, [r0 :128]"},
    {0xF4C0CB15, "vst4.32 { d28[0], d29[0], d30[0], d31[0] }, [r0 :64], r5"},
};

void expectRows(const Row* rows, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        EXPECT_EQ(arm(rows[i].word), rows[i].text) << std::hex << rows[i].word;
        EXPECT_EQ(thumb(rows[i].word), rows[i].text) << "thumb " << std::hex << rows[i].word;
    }
}

TEST(NeonMemory, MultipleStructuresOfEveryType)
{
    expectRows(kMultiple, std::size(kMultiple));
}

TEST(NeonMemory, OneStructureToAllLanes)
{
    expectRows(kAllLanes, std::size(kAllLanes));
}

TEST(NeonMemory, OneStructureToOneLane)
{
    expectRows(kOneLane, std::size(kOneLane));
}

TEST(NeonMemory, ReservedEncodingsAreUndefined)
{
    const uint32_t reserved[] = {
        0xF4200B0F, // type 1011
        0xF42008CF, // VLD2 of 64-bit elements
        0xF420072F, // VLD1 of one register, align<1> set
        0xF420083F, // VLD2, align 11
        0xF4800C0F, // a store to all lanes
        0xF4A00C1F, // VLD1 of bytes to all lanes, aligned
        0xF4A00E1F, // VLD3 to all lanes, aligned
        0xF4A00FCF, // VLD4 of size 11 without the align bit
        0xF4A0001F, // VLD1 of a byte lane, index_align<0> set
        0xF4A0081F, // VLD1 of a word lane, alignment 01
        0xF4A0092F, // VLD2 of a word lane, index_align<1> set
        0xF4A0061F, // VLD3 of a halfword lane, index_align<0> set
        0xF4A00B3F, // VLD4 of a word lane, alignment 11
        0xF460E00F, // d30 to d33: past d31
        0xF42F070F, // PC as base: the assembler refuses it
    };
    for (uint32_t w : reserved) {
        EXPECT_EQ(arm(w), "undefined opcode") << std::hex << w;
        EXPECT_EQ(thumb(w), "undefined opcode") << "thumb " << std::hex << w;
    }
}

TEST(NeonMemory, OnlyLevelsWithAdvancedSimd)
{
    const uint32_t word = 0xF420070F;
    for (uint32_t level : {ArmLevel::Any, ArmLevel::V7A, ArmLevel::V8A, ArmLevel::V8R}) {
        EXPECT_EQ(arm(word, level), "vld1.8 { d0 }, [r0]") << level;
        EXPECT_EQ(thumb(word, level), "vld1.8 { d0 }, [r0]") << level;
    }
    for (uint32_t level : {ArmLevel::V6T2, ArmLevel::V7R, ArmLevel::V7M, ArmLevel::V7EM, ArmLevel::V8MMainline,
                           ArmLevel::V81MMainline})
        EXPECT_EQ(thumb(word, level), "undefined opcode") << level;
    EXPECT_EQ(arm(word, ArmLevel::V7R), "undefined opcode");
}

TEST(NeonMemory, ConditionOfAnItBlockGoesBeforeTheSize)
{
    ARMDisassembler d(ArmLevel::V7A, false, false);
    // it eq; vld1eq.8 {d0-d1}, [r0 :128]!
    const uint8_t code[] = {0x08, 0xBF, 0x20, 0xF9, 0x2D, 0x0A};
    char text[160];
    ASSERT_EQ(d.disassembleInstruction(0, code, true, text, sizeof text, 6, nullptr), 1u);
    ASSERT_GT(d.disassembleInstruction(2, code + 2, true, text, sizeof text, 4, nullptr), 0u);
    EXPECT_EQ(std::string(text + 12), "vld1eq.8 { d0, d1 }, [r0 :128]!");
}

} // namespace
