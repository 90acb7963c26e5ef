// The A32 DSP and media forms: one row per form, with the text arm-none-eabi-objdump
// prints for the encoding ("sl", "fp", "ip" written r10, r11, r12 as this disassembler
// names them). Then the architecture levels that have each group, and the encodings
// left undecoded: register choices the assembler refuses and should-be fields it
// would write differently.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "disasm/armdisassembler.h"

namespace {

struct Row {
    uint32_t level;
    uint32_t encoding;
    const char* text;
};

std::string decode(uint32_t level, uint32_t encoding)
{
    ARMDisassembler d(level, false, false);
    const uint8_t raw[4] = {uint8_t(encoding), uint8_t(encoding >> 8), uint8_t(encoding >> 16),
                            uint8_t(encoding >> 24)};
    char text[160];
    const uint32_t n = d.disassembleInstruction(0, raw, false, text, sizeof text, 4, nullptr);
    return n ? std::string(text + 12) : std::string();
}

constexpr uint32_t Any = ArmLevel::Any;
constexpr uint32_t V4T = ArmLevel::V4T;
constexpr uint32_t V5TE = ArmLevel::V5TE;
constexpr uint32_t V6 = ArmLevel::V6;
constexpr uint32_t V7A = ArmLevel::V7A;
constexpr uint32_t V8A = ArmLevel::V8A;
constexpr const char* Undefined = "undefined opcode";

const std::vector<Row> kForms = {
    // Halfword multiplies (v5TE): N (bit 5) picks the half of Rn, M (bit 6) that of Rm;
    // SMLAL keeps RdLo in bits 15..12 and RdHi in 19..16.
    {Any, 0xE1003281, "smlabb r0, r1, r2, r3"},
    {Any, 0xE10476A5, "smlatb r4, r5, r6, r7"},
    {Any, 0x1108BAC9, "smlabtne r8, r9, r10, r11"},
    {Any, 0xE10C0DEE, "smlatt r12, lr, sp, r0"},
    {Any, 0xE1214382, "smlawb r1, r2, r3, r4"},
    {Any, 0xC12587C6, "smlawtgt r5, r6, r7, r8"},
    {Any, 0xE1290BAA, "smulwb r9, r10, r11"},
    {Any, 0xE12C0DEE, "smulwt r12, lr, sp"},
    {Any, 0xE1410382, "smlalbb r0, r1, r2, r3"},
    {Any, 0xE14547C6, "smlalbt r4, r5, r6, r7"},
    {Any, 0xE1498BAA, "smlaltb r8, r9, r10, r11"},
    {Any, 0x414EC0ED, "smlalttmi r12, lr, sp, r0"},
    {Any, 0xE1610382, "smulbb r1, r2, r3"},
    {Any, 0xE16406C5, "smulbt r4, r5, r6"},
    {Any, 0xE16709A8, "smultb r7, r8, r9"},
    {Any, 0x216A0CEB, "smulttcs r10, r11, r12"},
    // Saturating arithmetic: the operands print as Rd, Rm, Rn.
    {Any, 0xE1020051, "qadd r0, r1, r2"},
    {Any, 0xE1253054, "qsub r3, r4, r5"},
    {Any, 0x01486057, "qdaddeq r6, r7, r8"},
    {Any, 0xE16B905A, "qdsub r9, r10, r11"},
    // CRC32 (v8): C (bit 9) the Castagnoli polynomial.
    {Any, 0xE1010042, "crc32b r0, r1, r2"},
    {Any, 0xE1243045, "crc32h r3, r4, r5"},
    {Any, 0xE1476048, "crc32w r6, r7, r8"},
    {Any, 0xE10A924B, "crc32cb r9, r10, r11"},
    {Any, 0xE12EC24D, "crc32ch r12, lr, sp"},
    {Any, 0xE1410242, "crc32cw r0, r1, r2"},
    // Parallel add and subtract: prefix in bits 22..20, operation in bits 7..5.
    {Any, 0xE6110F12, "sadd16 r0, r1, r2"},
    {Any, 0xE6243F35, "qasx r3, r4, r5"},
    {Any, 0xE6376F58, "shsax r6, r7, r8"},
    {Any, 0xE65A9F7B, "usub16 r9, r10, r11"},
    {Any, 0xE66ECF9D, "uqadd8 r12, lr, sp"},
    {Any, 0x16710FF2, "uhsub8ne r0, r1, r2"},
    {Any, 0xE6143FF5, "ssub8 r3, r4, r5"},
    {Any, 0xE6276F78, "qsub16 r6, r7, r8"},
    {Any, 0xE63A9F9B, "shadd8 r9, r10, r11"},
    {Any, 0xE6510F32, "uasx r0, r1, r2"},
    {Any, 0xE6643F55, "uqsax r3, r4, r5"},
    {Any, 0xE6776F18, "uhadd16 r6, r7, r8"},
    // Packing: PKHTB's shift of 32 is encoded as 0; PKHBT without a shift prints none.
    {Any, 0xE6810012, "pkhbt r0, r1, r2"},
    {Any, 0xE6843F95, "pkhbt r3, r4, r5, lsl #31"},
    {Any, 0xE68760D8, "pkhtb r6, r7, r8, asr #1"},
    {Any, 0x868A905B, "pkhtbhi r9, r10, r11, asr #32"},
    // SEL, SSAT16 (saturates to bits 19..16 plus one), USAT16, RBIT.
    {Any, 0xE6810FB2, "sel r0, r1, r2"},
    {Any, 0xD6843FB5, "selle r3, r4, r5"},
    {Any, 0xE6A00F31, "ssat16 r0, #1, r1"},
    {Any, 0xE6AF2F33, "ssat16 r2, #16, r3"},
    {Any, 0xE6E04F35, "usat16 r4, #0, r5"},
    {Any, 0x56EF6F37, "usat16pl r6, #15, r7"},
    {Any, 0xE6FF0F31, "rbit r0, r1"},
    {Any, 0x76FF2F33, "rbitvc r2, r3"},
    // Dual and most-significant-word multiplies; Ra = PC is the non-accumulating form.
    {Any, 0xE7003211, "smlad r0, r1, r2, r3"},
    {Any, 0xE7047635, "smladx r4, r5, r6, r7"},
    {Any, 0xE708FA19, "smuad r8, r9, r10"},
    {Any, 0xE70BFE3C, "smuadx r11, r12, lr"},
    {Any, 0xE7003251, "smlsd r0, r1, r2, r3"},
    {Any, 0xE7047675, "smlsdx r4, r5, r6, r7"},
    {Any, 0xE708FA59, "smusd r8, r9, r10"},
    {Any, 0xB70BFE7C, "smusdxlt r11, r12, lr"},
    {Any, 0xE7410312, "smlald r0, r1, r2, r3"},
    {Any, 0xE7454736, "smlaldx r4, r5, r6, r7"},
    {Any, 0xE7498B5A, "smlsld r8, r9, r10, r11"},
    {Any, 0xE74EC07D, "smlsldx r12, lr, sp, r0"},
    {Any, 0xE7503211, "smmla r0, r1, r2, r3"},
    {Any, 0xE7547635, "smmlar r4, r5, r6, r7"},
    {Any, 0xE758FA19, "smmul r8, r9, r10"},
    {Any, 0xE75BFE3C, "smmulr r11, r12, lr"},
    {Any, 0xE75032D1, "smmls r0, r1, r2, r3"},
    {Any, 0xA75476F5, "smmlsrge r4, r5, r6, r7"},
    // Divides and sums of absolute differences.
    {Any, 0xE710F211, "sdiv r0, r1, r2"},
    {Any, 0x1733F514, "udivne r3, r4, r5"},
    {Any, 0xE780F211, "usad8 r0, r1, r2"},
    {Any, 0xE7836514, "usada8 r3, r4, r5, r6"},
    {Any, 0xE787A918, "usada8 r7, r8, r9, r10"},
};

TEST(Arm32Media, FormsAsObjdumpPrintsThem)
{
    for (const Row& row : kForms)
        EXPECT_EQ(decode(row.level, row.encoding), row.text) << std::hex << row.encoding;
}

// Each group from the level that brings it, as objdump -m armv4t, armv5te, armv6,
// armv7, armv8-a and armv8-r decode the same words.
TEST(Arm32Media, Levels)
{
    const std::vector<Row> rows = {
        {V4T, 0xE1003281, Undefined},
        {V4T, 0xE1020051, Undefined},
        {V5TE, 0xE1003281, "smlabb r0, r1, r2, r3"},
        {V5TE, 0xE1020051, "qadd r0, r1, r2"},
        {V5TE, 0xE6110F12, Undefined},
        {V5TE, 0xE7003211, Undefined},
        {V6, 0xE6110F12, "sadd16 r0, r1, r2"},
        {V6, 0xE7003211, "smlad r0, r1, r2, r3"},
        {V6, 0xE6810012, "pkhbt r0, r1, r2"},
        {V6, 0xE780F211, "usad8 r0, r1, r2"},
        {V6, 0xE6FF0F31, Undefined},
        {V6, 0xE710F211, Undefined},
        {V6, 0xE1010042, Undefined},
        {V7A, 0xE6FF0F31, "rbit r0, r1"},
        {V7A, 0xE710F211, "sdiv r0, r1, r2"},
        {V7A, 0xE1010042, Undefined},
        {V8A, 0xE1010042, "crc32b r0, r1, r2"},
        {ArmLevel::V8R, 0xE710F211, "sdiv r0, r1, r2"},
        {ArmLevel::V8R, 0xE1010042, Undefined},
    };
    for (const Row& row : rows)
        EXPECT_EQ(decode(row.level, row.encoding), row.text) << row.level << ' ' << std::hex << row.encoding;
}

// Unpredictable register choices that the assembler still takes and gives back:
// decoded as objdump prints them.
TEST(Arm32Media, UnpredictableButAssembledAsObjdumpPrintsThem)
{
    const std::vector<Row> rows = {
        {Any, 0xE1400382, "smlalbb r0, r0, r2, r3"},
        {Any, 0xE7411312, "smlald r1, r1, r2, r3"},
        {Any, 0xE0877191, "umull r7, r7, r1, r1"},
        {Any, 0xE7A5495F, "sbfx r4, pc, #18, #6"},
        {Any, 0xE6FFFF37, "rbit pc, r7"},
        {Any, 0xE1A00F1E, "lsl r0, lr, pc"},
        {Any, 0xE1A0FE23, "lsr pc, r3, #28"},
        {Any, 0xE24FC268, "sub r12, pc, #0x68, 4"},
        {Any, 0xE29F4369, "adds r4, pc, #0xA4000001"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(decode(row.level, row.encoding), row.text) << std::hex << row.encoding;
}

// Words the assembler cannot give back: objdump's text for each in the comment.
TEST(Arm32Media, UnpredictableAndShouldBeFieldsStayUndecoded)
{
    const std::vector<Row> rows = {
        {Any, 0xE10F3281, Undefined}, // smlabb pc, r1, r2, r3 @ <UNPREDICTABLE>
        {Any, 0xE750F2D1, Undefined}, // smmls r0, r1, r2, pc @ <UNPREDICTABLE>
        {Any, 0xE0877F11, Undefined}, // add r7, r7, r1, lsl pc (the assembler: using r15)
        {Any, 0xE6A0FF31, Undefined}, // ssat16 pc, #1, r1 (the assembler: r15 not allowed)
        {Any, 0xE1611382, Undefined}, // cmn r1, r2, lsl #7: SMULBB with bits 15..12 set
        {Any, 0xE1020151, Undefined}, // tst r2, r1, asr r1: QADD with bits 11..8 set
        {Any, 0x01010042, Undefined}, // tsteq r1, r2, asr #32: CRC32 never takes a condition
        {Any, 0xE6110E12, Undefined}, // undefined: parallel add with bits 11..8 not all set
        {Any, 0xE710E211, Undefined}, // undefined: SDIV with bits 15..12 not all set
        {Any, 0xE7836534, Undefined}, // undefined: USADA8 with bit 5 set
    };
    for (const Row& row : rows)
        EXPECT_EQ(decode(row.level, row.encoding), row.text) << std::hex << row.encoding;
}

} // namespace
