// 32-bit Thumb data processing and multiplies: one row per form family, with the text
// arm-none-eabi-objdump prints for the encoding (its decimal constants written the way
// this disassembler writes numbers: hex above 32). Where the texts part, the row says
// why: the assembler must take our text back to the same encoding.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "disasm/armdisassembler.h"

namespace {

struct Row {
    uint32_t level;
    uint32_t encoding; // first halfword in the top 16 bits
    const char* text;
};

std::string decode(ARMDisassembler& d, uint32_t address, uint32_t encoding)
{
    const uint8_t raw[4] = {uint8_t(encoding >> 16), uint8_t(encoding >> 24), uint8_t(encoding),
                            uint8_t(encoding >> 8)};
    char text[160];
    const uint32_t n = d.disassembleInstruction(address, raw, true, text, sizeof text, 4, nullptr);
    return n ? std::string(text + 12) : std::string();
}

std::string decodeHalf(ARMDisassembler& d, uint32_t address, uint16_t half)
{
    const uint8_t raw[2] = {uint8_t(half), uint8_t(half >> 8)};
    char text[160];
    const uint32_t n = d.disassembleInstruction(address, raw, true, text, sizeof text, 2, nullptr);
    return n ? std::string(text + 12) : std::string();
}

constexpr uint32_t Any = ArmLevel::Any;
constexpr uint32_t V81M = ArmLevel::V81MMainline;

const std::vector<Row> kRows = {
    // Modified immediates: the four ThumbExpandImm patterns, compares and moves, ".w"
    // on the operations with a 16-bit twin only.
    {Any, 0xF0010203, "and.w r2, r1, #3"},
    {Any, 0xF4127F80, "tst.w r2, #0x0100"},
    {Any, 0xF0220104, "bic.w r1, r2, #4"},
    {Any, 0xF06F0201, "mvn.w r2, #1"},
    {Any, 0xF07F0200, "mvns.w r2, #0"},
    {Any, 0xF0930F0F, "teq r3, #15"},
    {Any, 0xF1010120, "add.w r1, r1, #32"},
    {Any, 0xF5B17F80, "cmp.w r1, #0x0100"},
    {Any, 0xF1630201, "sbc.w r2, r3, #1"},
    {Any, 0xF1023301, "add.w r3, r2, #0x01010101"},
    {Any, 0xF1021301, "add.w r3, r2, #0x010001"},
    {Any, 0xF1022301, "add.w r3, r2, #0x01000100"},
    {Any, 0xF1C20000 ^ 0x00000001, "rsb r0, r2, #1"},
    // objdump: "rsb r0, r2, #0"; outside an IT block only RSBS has the 16-bit twin.
    {Any, 0xF1C20000, "rsb r0, r2, #0"},
    // objdump: "rsbs r3, r2, #0", which the assembler writes as the 16-bit NEGS.
    {Any, 0xF1D20300, "rsbs.w r3, r2, #0"},
    // Plain immediates, saturation and bit fields.
    {Any, 0xF2010204, "addw r2, r1, #4"},
    {Any, 0xF2AF0304, "subw r3, pc, #4"},
    {Any, 0xF20F0000, "addw r0, pc, #0"},
    {Any, 0xF24F0305, "movw r3, #0xF005"},
    {Any, 0xF2C12345, "movt r3, #0x1245"},
    {Any, 0xF3020111, "ssat r1, #18, r2"},
    {Any, 0xF3221003, "ssat r0, #4, r2, asr #4"},
    {Any, 0xF3820105, "usat r1, #5, r2"},
    {Any, 0xF3A20003, "usat16 r0, #3, r2"},
    {Any, 0xF34201C4, "sbfx r1, r2, #3, #5"},
    {Any, 0xF3C20146, "ubfx r1, r2, #1, #7"},
    {Any, 0xF3620107, "bfi r1, r2, #0, #8"},
    {Any, 0xF36F0107, "bfc r1, #0, #8"},
    // Shifted registers: every shift type, the move forms, the packs.
    {Any, 0xEA410203, "orr.w r2, r1, r3"},
    {Any, 0xEA5F0302, "movs.w r3, r2"},
    {Any, 0xEA4F0332, "mov.w r3, r2, rrx"},
    {Any, 0xEA5F0372, "movs.w r3, r2, ror #1"},
    {Any, 0xEA4F0312, "mov.w r3, r2, lsr #32"},
    // objdump: "movs.w r3, r1, lsl #1", which the assembler refuses.
    {Any, 0xEA5F0341, "lsls.w r3, r1, #1"},
    {Any, 0xEB020343, "add.w r3, r2, r3, lsl #1"},
    {Any, 0xEB0203A3, "add.w r3, r2, r3, asr #2"},
    {Any, 0xEBB10F82, "cmp.w r1, r2, lsl #2"},
    {Any, 0xEA6F0142, "mvn.w r1, r2, lsl #1"},
    {Any, 0xEAC20301, "pkhbt r3, r2, r1"},
    {Any, 0xEAC20321, "pkhtb r3, r2, r1, asr #32"},
    // Register forms.
    {Any, 0xFA02F103, "lsl.w r1, r2, r3"},
    {Any, 0xFA52F103, "asrs.w r1, r2, r3"},
    {Any, 0xFA0FF182, "sxth.w r1, r2"},
    {Any, 0xFA1FF1B2, "uxth.w r1, r2, ror #24"},
    {Any, 0xFA2FF183, "sxtb16 r1, r3"},
    {Any, 0xFA42F193, "sxtab r1, r2, r3, ror #8"},
    {Any, 0xFA92F082, "rev.w r0, r2"},
    {Any, 0xFA91F0A1, "rbit r0, r1"},
    {Any, 0xFA91F0B1, "revsh.w r0, r1"},
    {Any, 0xFA82F103, "sadd8 r1, r2, r3"},
    {Any, 0xFAD2F163, "uhsub16 r1, r2, r3"},
    {Any, 0xFA83F091, "qdadd r0, r1, r3"},
    {Any, 0xFAA1F082, "sel r0, r1, r2"},
    {Any, 0xFAB1F081, "clz r0, r1"},
    {Any, 0xFAC1F082, "crc32b r0, r1, r2"},
    {Any, 0xFAD1F0A2, "crc32cw r0, r1, r2"},
    // objdump: "crc32h r3, lr, r3"; the assembler makes this encoding of our text.
    {Any, 0xFACEF793, "crc32h r7, lr, r3"},
    // Multiplies.
    {Any, 0xFB01F203, "mul.w r2, r1, r3"},
    {Any, 0xFB012302, "mla r3, r1, r2, r2"},
    {Any, 0xFB012312, "mls r3, r1, r2, r2"},
    {Any, 0xFB112302, "smlabb r3, r1, r2, r2"},
    {Any, 0xFB31F213, "smulwt r2, r1, r3"},
    {Any, 0xFB212312, "smladx r3, r1, r2, r2"},
    {Any, 0xFB41F213, "smusdx r2, r1, r3"},
    {Any, 0xFB512312, "smmlar r3, r1, r2, r2"},
    {Any, 0xFB71F203, "usad8 r2, r1, r3"},
    {Any, 0xFB712302, "usada8 r3, r1, r2, r2"},
    {Any, 0xFB812302, "smull r2, r3, r1, r2"},
    {Any, 0xFB91F0F2, "sdiv r0, r1, r2"},
    {Any, 0xFBB1F0F2, "udiv r0, r1, r2"},
    {Any, 0xFBE12362, "umaal r2, r3, r1, r2"},
    {Any, 0xFBC123B2, "smlaltt r2, r3, r1, r2"},
    {Any, 0xFBD123D2, "smlsldx r2, r3, r1, r2"},
    {Any, 0xFB61F002, "pacg r0, r1, r2"},
    {Any, 0xFB513F02, "autg r3, r1, r2"},
    {Any, 0xFB513F12, "bxaut r3, r1, r2"},
    // v8.1-M long shifts and conditional selects.
    {V81M, 0xEA5201EF, "asrl r2, r1, #3"},
    {V81M, 0xEA54395F, "lsrl r4, r9, #13"},
    {V81M, 0xEA52C50D, "lsll r2, r5, r12"},
    {V81M, 0xEA5FB9AD, "sqrshrl lr, r9, #48, r11"},
    {V81M, 0xEA518F0D, "uqrshl r1, r8"},
    {V81M, 0xEA582F0F, "uqshl r8, #8"},
    {V81M, 0xEA594B7F, "sqshll r8, r11, #17"},
    {V81M, 0xEA528276, "csel r2, r2, r6, vc"},
    {V81M, 0xEA52B432, "cneg r4, r2, cs"},
    {V81M, 0xEA5F9F4F, "undefined opcode"}, // Rd = PC
    // Levels: every level with 32-bit Thumb has the whole set (DSP, divides, CRC32
    // alike); only the long shifts and selects, which reuse other encodings, need
    // v8.1-M.
    {ArmLevel::V7M, 0xFB112302, "smlabb r3, r1, r2, r2"},
    {ArmLevel::V7M, 0xFA0FF182, "sxth.w r1, r2"},
    {ArmLevel::V7M, 0xFA42F193, "sxtab r1, r2, r3, ror #8"},
    {ArmLevel::V7A, 0xFB91F0F2, "sdiv r0, r1, r2"},
    {ArmLevel::V7EM, 0xFAC1F082, "crc32b r0, r1, r2"},
    {Any, 0xEA528276, "undefined opcode"},
    {ArmLevel::V6M, 0xF0010203, "undefined opcode"},
    // SP in the unpredictable places: decoded as objdump prints them, which the
    // ARMv8 assembler takes back (as equal halves of a long multiply).
    {Any, 0xF2AF0D04, "subw sp, pc, #4"},
    {Any, 0xF05D4E80, "orrs.w lr, sp, #0x40000000"},
    {Any, 0xFB6FFC03, "pacg r12, pc, r3"},
    {Any, 0xFBA8BB03, "umull r11, r11, r8, r3"},
    {Any, 0xEACD49EE, "pkhtb r9, sp, lr, asr #19"},
    {Any, 0xFA4DF1A4, "sxtab r1, sp, r4, ror #16"},
    {Any, 0xEA4F0D0D, "mov.w sp, sp"},
    {Any, 0xEBAD0D81, "sub.w sp, sp, r1, lsl #2"},
    // What the assembler refuses or cannot spell stays undecoded.
    {Any, 0xFB61F213, "undefined opcode"}, // SMMLS with Ra = PC
    {Any, 0xEBAD1D01, "undefined opcode"}, // SUB SP, SP with LSL #4
    {Any, 0xF36F759C, "undefined opcode"}, // BFC with msb below lsb
};

TEST(Thumb32Data, FormsAsObjdumpPrintsThem)
{
    for (const Row& row : kRows) {
        ARMDisassembler d(row.level, false, false);
        EXPECT_EQ(decode(d, 0, row.encoding), row.text) << std::hex << row.encoding;
    }
}

// Inside an IT block the condition goes before ".w"; 32-bit flag-setting forms keep
// their "s". Texts from objdump over the assembler's output of the same lines.
TEST(Thumb32Data, ItBlockConditions)
{
    struct Step {
        bool wide;
        uint32_t encoding;
        const char* text;
    };
    const std::vector<std::vector<Step>> blocks = {
        {{false, 0xBF06, "itte eq"},
         {true, 0xF0010203, "andeq.w r2, r1, #3"},
         {true, 0xEB120183, "addseq.w r1, r2, r3, lsl #2"},
         // objdump: "rsbne r0, r2, #0"; inside the block that is the 16-bit NEG.
         {true, 0xF1C20000, "rsbne.w r0, r2, #0"}},
        {{false, 0xBF3C, "itt cc"}, {true, 0xFA02F103, "lslcc.w r1, r2, r3"}, {true, 0xFB11F002, "smulbbcc r0, r1, r2"}},
        {{false, 0xBF1C, "itt ne"}, {true, 0xF1D20000, "rsbsne r0, r2, #0"}, {true, 0xFA0FF182, "sxthne.w r1, r2"}},
    };
    for (const auto& block : blocks) {
        ARMDisassembler d(ArmLevel::V7EM, false, false);
        uint32_t address = 0;
        for (const Step& s : block) {
            const std::string text = s.wide ? decode(d, address, s.encoding) : decodeHalf(d, address, uint16_t(s.encoding));
            EXPECT_EQ(text, s.text) << block[0].text;
            address += s.wide ? 4 : 2;
        }
    }
}

} // namespace
