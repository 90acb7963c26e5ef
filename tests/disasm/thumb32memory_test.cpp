// 32-bit Thumb loads, stores, branches and control forms. The expected texts are
// arm-none-eabi-objdump's (register aliases ip/sp/lr/pc as we name them); where
// objdump's spelling does not assemble back (the M-profile APSR masks), the text is
// the one arm-none-eabi-as turns into the same bytes.
#include <gtest/gtest.h>

#include <string>

#include "disasm/armdisassembler.h"

namespace {

// Decodes one 32-bit Thumb instruction at `address` and returns its text without the
// encoding column.
std::string decode32(ARMDisassembler& d, uint32_t address, uint32_t first, uint32_t second)
{
    const uint8_t raw[4] = {uint8_t(first), uint8_t(first >> 8), uint8_t(second), uint8_t(second >> 8)};
    char text[160];
    if (!d.disassembleInstruction(address, raw, true, text, sizeof text, 4, nullptr))
        return {};
    return std::string(text).substr(12);
}

std::string decode16(ARMDisassembler& d, uint32_t address, uint32_t half)
{
    const uint8_t raw[2] = {uint8_t(half), uint8_t(half >> 8)};
    char text[160];
    if (!d.disassembleInstruction(address, raw, true, text, sizeof text, 2, nullptr))
        return {};
    return std::string(text).substr(12);
}

struct Case {
    uint32_t level;
    uint32_t first, second;
    const char* text;
};

TEST(Thumb32Memory, LoadsAndStoresAsObjdump)
{
    const Case cases[] = {
        {ArmLevel::Any, 0xF8D0, 0x1004, "ldr.w r1, [r0, #4]"},
        {ArmLevel::Any, 0xF850, 0x1C04, "ldr.w r1, [r0, #-4]"},
        {ArmLevel::Any, 0xF851, 0x4E04, "ldrt r4, [r1, #4]"},
        {ArmLevel::Any, 0xF910, 0x1E04, "ldrsbt r1, [r0, #4]"},
        {ArmLevel::Any, 0xF85D, 0x4B04, "ldr.w r4, [sp], #4"},
        {ArmLevel::Any, 0xF84D, 0x4D04, "str.w r4, [sp, #-4]!"},
        {ArmLevel::Any, 0xF851, 0x4F04, "ldr.w r4, [r1, #4]!"},
        {ArmLevel::Any, 0xF800, 0x1904, "strb.w r1, [r0], #-4"},
        {ArmLevel::Any, 0xF9B0, 0x1004, "ldrsh.w r1, [r0, #4]"},
        {ArmLevel::Any, 0xF811, 0x0032, "ldrb.w r0, [r1, r2, lsl #3]"},
        {ArmLevel::Any, 0xF840, 0x1004, "str.w r1, [r0, r4]"},
        {ArmLevel::Any, 0xF8DF, 0x1004, "ldr.w r1, [pc, #4]"},
        {ArmLevel::Any, 0xF85F, 0x1004, "ldr.w r1, [pc, #-4]"},
        {ArmLevel::Any, 0xF89F, 0xF004, "pld [pc, #4]"},
        {ArmLevel::Any, 0xF810, 0xFC04, "pld [r0, #-4]"},
        {ArmLevel::Any, 0xF910, 0xF001, "pli [r0, r1]"},
        {ArmLevel::Any, 0xF830, 0xFC04, "pldw [r0, #-4]"},
        {ArmLevel::V7M, 0xF830, 0xFC04, "pldw [r0, #-4]"}, // objdump reads it in M-profile too
        {ArmLevel::Any, 0xE8BD, 0x0006, "ldmia.w sp!, {r1, r2}"},
        {ArmLevel::Any, 0xE92D, 0x0006, "stmdb sp!, {r1, r2}"},
        {ArmLevel::Any, 0xE8A0, 0x0006, "stmia.w r0!, {r1, r2}"},
        {ArmLevel::Any, 0xE910, 0x0006, "ldmdb r0, {r1, r2}"},
        {ArmLevel::Any, 0xE990, 0xC000, "rfeia r0"},
        {ArmLevel::Any, 0xE80D, 0xC013, "srsdb sp, #19"},
        {ArmLevel::V7M, 0xE990, 0xC000, "undefined opcode"},
        {ArmLevel::V81MMainline, 0xE89F, 0x8006, "clrm {r1, r2, APSR}"},
        {ArmLevel::V81MMainline, 0xE89F, 0x4000, "clrm {lr}"},
        {ArmLevel::V8MMainline, 0xE89F, 0x8006, "clrm {r1, r2, APSR}"}, // no other form takes it
        {ArmLevel::Any, 0xE8D0, 0xF001, "tbb [r0, r1]"},
        {ArmLevel::Any, 0xE8D0, 0xF011, "tbh [r0, r1, lsl #1]"},
        {ArmLevel::Any, 0xE851, 0x2F01, "ldrex r2, [r1, #4]"},
        {ArmLevel::Any, 0xE8D1, 0x2F4F, "ldrexb r2, [r1]"},
        {ArmLevel::Any, 0xE8C1, 0x2F53, "strexh r3, r2, [r1]"},
        {ArmLevel::Any, 0xE8C1, 0x2374, "strexd r4, r2, r3, [r1]"},
        {ArmLevel::Any, 0xE8D1, 0x237F, "ldrexd r2, r3, [r1]"},
        {ArmLevel::V7M, 0xE8D1, 0x237F, "ldrexd r2, r3, [r1]"},
        {ArmLevel::Any, 0xE8D1, 0x2FAF, "lda r2, [r1]"},
        {ArmLevel::Any, 0xE8C1, 0x2F9F, "stlh r2, [r1]"},
        {ArmLevel::Any, 0xE8D1, 0x2FEF, "ldaex r2, [r1]"},
        {ArmLevel::Any, 0xE8C1, 0x2FC3, "stlexb r3, r2, [r1]"},
        {ArmLevel::Any, 0xE8C1, 0x23F4, "stlexd r4, r2, r3, [r1]"},
        {ArmLevel::V7M, 0xE8D1, 0x2FAF, "lda r2, [r1]"}, // no older form takes it
        {ArmLevel::V8MBaseline, 0xE8D1, 0x2FAF, "lda r2, [r1]"},
        {ArmLevel::V8MMainline, 0xE97F, 0xE97F, "sg"},
        {ArmLevel::V7M, 0xE97F, 0xE97F, "undefined opcode"},
        {ArmLevel::V8MMainline, 0xE841, 0xF000, "tt r0, r1"},
        {ArmLevel::V8MMainline, 0xE841, 0xF040, "ttt r0, r1"},
        {ArmLevel::V8MMainline, 0xE841, 0xF080, "tta r0, r1"},
        {ArmLevel::V8MMainline, 0xE841, 0xF0C0, "ttat r0, r1"},
        {ArmLevel::Any, 0xE9D1, 0x2302, "ldrd r2, r3, [r1, #8]"},
        {ArmLevel::Any, 0xE971, 0x2302, "ldrd r2, r3, [r1, #-8]!"},
        {ArmLevel::Any, 0xE871, 0x2302, "ldrd r2, r3, [r1], #-8"},
        {ArmLevel::Any, 0xE95F, 0x2302, "ldrd r2, r3, [pc, #-8]"},
        {ArmLevel::Any, 0xE8E1, 0x2302, "strd r2, r3, [r1], #8"},
        // SP operands and the preloads' writeback bits: unpredictable, but objdump reads
        // them and the assembler writes these texts to these bytes.
        {ArmLevel::V7M, 0xE846, 0xAD01, "strex sp, r10, [r6, #4]"},
        {ArmLevel::V7M, 0xF83A, 0xDC75, "ldrh.w sp, [r10, #-0x75]"},
        {ArmLevel::Any, 0xF813, 0xFF04, "pld [r3, #4]!"},
        {ArmLevel::Any, 0xF91B, 0xFBC2, "pli [r11], #0xC2"},
    };
    for (const Case& c : cases) {
        ARMDisassembler d(c.level, false, false);
        EXPECT_EQ(decode32(d, 0, c.first, c.second), c.text) << std::hex << c.first << ' ' << c.second;
    }
}

TEST(Thumb32Control, BranchesAndControlAsObjdump)
{
    const Case cases[] = {
        {ArmLevel::Any, 0xF000, 0x9000, "b.w 0x00C00004"},
        {ArmLevel::Any, 0xF400, 0x9000, "b.w 0xFF000004"},
        {ArmLevel::Any, 0xF000, 0x8000, "beq.w 0x00000004"},
        {ArmLevel::Any, 0xF4BF, 0x8000, "bcs.w 0xFFF3F004"},
        {ArmLevel::V8MBaseline, 0xF000, 0x9000, "b.w 0x00C00004"},
        {ArmLevel::V8MBaseline, 0xF000, 0x8000, "undefined opcode"},
        {ArmLevel::V7A, 0xF380, 0x8C00, "msr CPSR_fs, r0"},
        // objdump -m arm: "msr CPSR_fs, r0", "mrs r0, CPSR"; with no level the text is the
        // one that both the A- and the M-profile assembler turn into these bytes.
        {ArmLevel::Any, 0xF380, 0x8C00, "msr APSR_nzcvqg, r0"},
        {ArmLevel::Any, 0xF3EF, 0x8000, "mrs r0, APSR"},
        {ArmLevel::Any, 0xF390, 0x8F00, "msr SPSR_fsxc, r0"},
        {ArmLevel::V7A, 0xF3EF, 0x8000, "mrs r0, CPSR"},
        {ArmLevel::Any, 0xF3FF, 0x8000, "mrs r0, SPSR"},
        {ArmLevel::Any, 0xF3E0, 0x8020, "mrs r0, R8_usr"},
        {ArmLevel::Any, 0xF3EE, 0x8030, "mrs r0, ELR_hyp"},
        {ArmLevel::Any, 0xF390, 0x8E20, "msr SPSR_fiq, r0"},
        {ArmLevel::V7M, 0xF3EF, 0x8009, "mrs r0, PSP"},
        {ArmLevel::V7M, 0xF3EF, 0x8014, "mrs r0, CONTROL"},
        {ArmLevel::V7M, 0xF380, 0x8811, "msr BASEPRI, r0"},
        {ArmLevel::V7M, 0xF3EF, 0x800A, "undefined opcode"}, // MSPLIM is ARMv8-M
        {ArmLevel::V8MMainline, 0xF3EF, 0x800A, "mrs r0, MSPLIM"},
        {ArmLevel::V8MMainline, 0xF380, 0x8894, "msr CONTROL_NS, r0"},
        {ArmLevel::V8MBaseline, 0xF3EF, 0x8011, "undefined opcode"}, // no BASEPRI in Baseline
        // objdump: "msr CPSR_f, r0", "msr CPSR_s, r0"; the assembler takes these for M-profile.
        {ArmLevel::V7M, 0xF380, 0x8800, "msr APSR_nzcvq, r0"},
        {ArmLevel::V7EM, 0xF380, 0x8400, "msr APSR_g, r0"},
        {ArmLevel::V7M, 0xF380, 0x8400, "undefined opcode"}, // the GE bits need the DSP extension
        {ArmLevel::Any, 0xF3AF, 0x8000, "nop.w"},
        {ArmLevel::Any, 0xF3AF, 0x8001, "yield.w"},
        {ArmLevel::Any, 0xF3AF, 0x8003, "wfi.w"},
        {ArmLevel::Any, 0xF3AF, 0x8005, "sevl.w"},
        {ArmLevel::Any, 0xF3AF, 0x8010, "esb"},
        {ArmLevel::Any, 0xF3AF, 0x8014, "csdb"},
        {ArmLevel::Any, 0xF3AF, 0x80F3, "dbg #3"},
        {ArmLevel::Any, 0xF3AF, 0x800F, "bti"},
        {ArmLevel::Any, 0xF3AF, 0x800D, "pacbti r12, lr, sp"},
        {ArmLevel::Any, 0xF3AF, 0x801D, "pac r12, lr, sp"},
        {ArmLevel::Any, 0xF3AF, 0x802D, "aut r12, lr, sp"},
        {ArmLevel::Any, 0xF3AF, 0x802F, "nop.w {47}"},
        {ArmLevel::Any, 0xF3AF, 0x8620, "cpsid.w f"},
        {ArmLevel::Any, 0xF3AF, 0x8113, "cps #19"},
        {ArmLevel::Any, 0xF3BF, 0x8F2F, "clrex"},
        {ArmLevel::Any, 0xF3BF, 0x8F4F, "dsb sy"},
        {ArmLevel::Any, 0xF3BF, 0x8F40, "ssbb"},
        {ArmLevel::Any, 0xF3BF, 0x8F44, "pssbb"},
        {ArmLevel::Any, 0xF3BF, 0x8F5F, "dmb sy"},
        {ArmLevel::Any, 0xF3BF, 0x8F51, "dmb oshld"},
        {ArmLevel::Any, 0xF3BF, 0x8F6F, "isb sy"},
        {ArmLevel::Any, 0xF7F0, 0x8000, "smc #0"},
        {ArmLevel::Any, 0xF7E0, 0x8000, "hvc #0"},
        {ArmLevel::Any, 0xF7F0, 0xA000, "udf.w #0"},
        {ArmLevel::Any, 0xF3DE, 0x8F04, "subs pc, lr, #4"},
        {ArmLevel::Any, 0xF3C1, 0x8F00, "bxj r1"},
        {ArmLevel::V81MMainline, 0xF042, 0xC899, "wls lr, r2, 0x00000136"},
        {ArmLevel::V81MMainline, 0xF012, 0xC895, "wlstp.16 lr, r2, 0x0000012E"},
        {ArmLevel::V81MMainline, 0xF042, 0xE001, "dls lr, r2"},
        {ArmLevel::V81MMainline, 0xF032, 0xE001, "dlstp.64 lr, r2"},
        {ArmLevel::V81MMainline, 0xF00F, 0xE001, "lctp"},
        {ArmLevel::V81MMainline, 0xF032, 0xE801, "vctp.64 r2"},
        {ArmLevel::V81MMainline, 0xF00F, 0xC803, "le lr, 0xFFFFFFFE"},
        {ArmLevel::V81MMainline, 0xF02F, 0xC805, "le 0xFFFFFFFA"},
        {ArmLevel::V81MMainline, 0xF01F, 0xC807, "letp lr, 0xFFFFFFF6"},
        // objdump writes the branch point as an offset from the PC ("bf 16, ..." here).
        {ArmLevel::V81MMainline, 0xF5C0, 0xE8A9, "bf 0x0000001A, 0x00000156"},
        {ArmLevel::V81MMainline, 0xF180, 0xE8A1, "bfcsel 0x0000000A, 0x00000146, 0x0000000C, eq"},
        {ArmLevel::V8MMainline, 0xF042, 0xE001, "dls lr, r2"},
        // Barrier options without a name, and ISB but SY, as numbers.
        {ArmLevel::V7M, 0xF3BF, 0x8F50, "dmb #0"},
        {ArmLevel::V7M, 0xF3BF, 0x8F61, "isb #1"},
        // BFCSEL's AL condition; objdump writes "bfcsel 2, 0x12, 4, al" at address 8
        // (branch point and else target as offsets from the PC), here at address 0.
        {ArmLevel::V81MMainline, 0xF0B8, 0xE803, "bfcsel 0x00000006, 0x0000000A, 0x00000008, al"},
        {ArmLevel::V7EM, 0xF0B8, 0xE803, "bfcsel 0x00000006, 0x0000000A, 0x00000008, al"},
        {ArmLevel::V8MMainline, 0xF7E0, 0x8F3E, "hvc #0x0F3E"},
    };
    for (const Case& c : cases) {
        ARMDisassembler d(c.level, false, false);
        EXPECT_EQ(decode32(d, 0, c.first, c.second), c.text) << std::hex << c.first << ' ' << c.second;
    }
}

TEST(Thumb32Control, ItBlockConditionsComeBeforeTheWideQualifier)
{
    // Sequences assembled with arm-none-eabi-as -march=armv7-m and read back by objdump.
    struct Step {
        uint32_t first, second; // second 0: a 16-bit instruction
        const char* text;
    };
    const std::vector<std::vector<Step>> blocks = {
        {{0xBF08, 0, "it eq"}, {0xF8D0, 0x1004, "ldreq.w r1, [r0, #4]"}},
        {{0xBF04, 0, "itt eq"}, {0xF3AF, 0x8000, "nopeq.w"}, {0xF000, 0x9000, "beq.w 0x00C0000A"}},
        {{0xBF18, 0, "it ne"}, {0xE8D0, 0xF001, "tbbne [r0, r1]"}},
        // A conditional branch is never inside an IT block, nor B.W before its end.
        {{0xBF08, 0, "it eq"}, {0xF000, 0x8000, "undefined opcode"}},
        {{0xBF04, 0, "itt eq"}, {0xF000, 0x9000, "undefined opcode"}, {0xBF00, 0, "nopeq"}},
    };
    for (const auto& block : blocks) {
        ARMDisassembler d(ArmLevel::V7M, false, false);
        uint32_t address = 0;
        for (const Step& s : block) {
            if (s.second) {
                EXPECT_EQ(decode32(d, address, s.first, s.second), s.text) << block[0].text;
                address += 4;
            } else {
                EXPECT_EQ(decode16(d, address, s.first), s.text) << block[0].text;
                address += 2;
            }
        }
    }
}

} // namespace

// A32 block transfers with "^" and the A32 control leftovers, as objdump -m arm reads them.
TEST(Arm32Control, UserRegistersBarriersAndHypervisorCallsAsObjdump)
{
    struct Word {
        uint32_t encoding;
        const char* text;
    };
    const Word words[] = {
        {0xE9D08003, "ldmib r0, {r0, r1, pc}^"},
        {0xE8C00003, "stmia r0, {r0, r1}^"},
        {0xE8F08002, "ldm r0!, {r1, pc}^"},
        // The written-back base may be in a store's list when it is the lowest register.
        {0xE8A1F182, "stmia r1!, {r1, r7, r8, r12, sp, lr, pc}"},
        // Undefined where the assembler warns: a written-back base loaded, or not the lowest.
        {0xE8F08001, "undefined opcode"},
        {0xE8A1F183, "undefined opcode"},
        {0xE8E08001, "undefined opcode"}, // "^" store with writeback
        {0xF57FF050, "dmb #0"},
        {0xF57FF061, "isb #1"},
        {0xF57FF040, "ssbb"},
        {0x4142A072, "hvcmi #0x2A02"},
    };
    for (const Word& w : words) {
        ARMDisassembler d(ArmLevel::Any, false, false);
        const uint8_t raw[4] = {uint8_t(w.encoding), uint8_t(w.encoding >> 8), uint8_t(w.encoding >> 16),
                                uint8_t(w.encoding >> 24)};
        char text[160];
        ASSERT_TRUE(d.disassembleInstruction(0, raw, false, text, sizeof text, 4, nullptr));
        EXPECT_EQ(std::string(text).substr(12), w.text) << std::hex << w.encoding;
    }
}
