// The disassembler's text rules and its instruction framing. Expected instruction
// texts are arm-none-eabi-objdump's (as unified syntax that arm-none-eabi-as takes
// back), not our own output.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "disasm/armdisassembler.h"
#include "elf/elffile.h"

namespace {

std::string thumb(ARMDisassembler& d, uint32_t address, std::initializer_list<uint8_t> bytes, uint32_t* result = nullptr,
                  uint32_t* opcode = nullptr, int32_t size = 128)
{
    char text[256];
    memset(text, 'X', sizeof text);
    uint8_t raw[8] = {};
    size_t n = 0;
    for (uint8_t b : bytes)
        raw[n++] = b;
    uint32_t op = 0;
    const uint32_t r = d.disassembleInstruction(address, raw, true, text, size, uint32_t(n), &op);
    if (result)
        *result = r;
    if (opcode)
        *opcode = op;
    return r ? std::string(text) : std::string();
}

TEST(ArmTextRules, HexInWholeBytesAndImmediates)
{
    struct HexCase {
        uint32_t value;
        int minDigits;
        bool prefix;
        const char* text;
    };
    const HexCase hexCases[] = {
        {0x5, 0, true, "0x05"},         {0xFFF, 0, true, "0x0FFF"},  {0x1234, 8, true, "0x00001234"},
        {0, 0, true, "0x00"},           {0xABCDE, 0, false, "0ABCDE"}, {0xFFFFFFFF, 8, true, "0xFFFFFFFF"},
        {0x12345678, 2, false, "12345678"},
    };
    for (const HexCase& c : hexCases) {
        ARMInstructionSetDisassembler p;
        char buf[32];
        p.attach(buf, sizeof buf);
        p.hex(c.value, c.minDigits, c.prefix);
        p.finish();
        EXPECT_STREQ(buf, c.text) << std::hex << c.value;
    }
    const std::pair<int64_t, const char*> immediates[] = {
        {0, "#0"}, {32, "#32"}, {33, "#0x21"}, {-5, "#-5"}, {-33, "#-0x21"}, {255, "#0xFF"}, {1020, "#0x03FC"},
    };
    for (const auto& [value, text] : immediates) {
        ARMInstructionSetDisassembler p;
        char buf[32];
        p.attach(buf, sizeof buf);
        p.immediate(value);
        p.finish();
        EXPECT_STREQ(buf, text) << value;
    }
}

TEST(ArmTextRules, TextBufferKeepsRoomForTheNul)
{
    ARMDisassembler d(0, false, false);
    // movs r0, r1 (0x0008) at several sizes: the text is cut, the NUL always written.
    const std::pair<int32_t, const char*> cases[] = {
        {1, ""}, {2, "0"}, {13, "0008        "}, {17, "0008        movs"}, {128, "0008        movs r0, r1"},
    };
    for (const auto& [size, text] : cases) {
        char buf[200];
        memset(buf, 'X', sizeof buf);
        const uint8_t bytes[2] = {0x08, 0x00};
        d.disassembleInstruction(0, bytes, true, buf, size, 2, nullptr);
        EXPECT_STREQ(buf, text) << size;
        EXPECT_EQ(buf[size], 'X') << "wrote past the buffer at size " << size;
    }
}

TEST(ArmDisassembler, EncodingColumnAndResults)
{
    ARMDisassembler d(0, false, false);
    uint32_t r = 9, op = 0;
    EXPECT_EQ(thumb(d, 0x12, {0x08, 0x00}, &r, &op), "0008        movs r0, r1");
    EXPECT_EQ(r, 1u);
    EXPECT_EQ(op, 0x0008u);
    // bl to itself (f7ff fffe): the offset -4 undoes the PC bias.
    EXPECT_EQ(thumb(d, 0xCC, {0xFF, 0xF7, 0xFE, 0xFF}, &r, &op), "F7FFFFFE    bl 0x000000CC");
    EXPECT_EQ(r, 1u);
    EXPECT_EQ(op, 0xF7FFFFFEu);
    // A lone first half, and too few bytes for any instruction.
    thumb(d, 0, {0xFF, 0xF7}, &r);
    EXPECT_EQ(r, 0u);
    thumb(d, 0, {0x08}, &r);
    EXPECT_EQ(r, 0u);
    // A32 words: four bytes or nothing, framed like the others.
    char text[64];
    const uint8_t word[4] = {0x00, 0x00, 0xA0, 0xE1};
    EXPECT_EQ(d.disassembleInstruction(0, word, false, text, sizeof text, 3, nullptr), 0u);
    EXPECT_EQ(d.disassembleInstruction(0, word, false, text, sizeof text, 4, nullptr), 1u);
    EXPECT_STREQ(text, "E1A00000    mov r0, r0");
}

TEST(ArmDisassembler, BigEndianHalfwordsKeepTheirPlaces)
{
    ARMDisassembler d(0, true, false);
    uint32_t r = 0, op = 0;
    EXPECT_EQ(thumb(d, 0xCC, {0xF7, 0xFF, 0xFF, 0xFE}, &r, &op), "FFFEF7FF    bl 0x000000CC");
    EXPECT_EQ(op, 0xFFFEF7FFu);
    EXPECT_EQ(thumb(d, 0, {0x00, 0x08}), "0008        movs r0, r1");
    // Instructions stored little-endian in a big-endian file read as little-endian.
    ARMDisassembler le(0, true, true);
    EXPECT_EQ(thumb(le, 0, {0x08, 0x00}), "0008        movs r0, r1");
}

TEST(ArmDisassembler, ArchitectureNames)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"v4T", 1},           {"v4t", 1},           {"v5TE", 2},          {"v5te", 2},          {"v6", 3},
        {"v6M", 5},           {"v6m", 5},           {"v6T2", 4},          {"v6t2", 4},          {"v7M", 6},
        {"v7m", 6},           {"v7EM", 7},          {"v7em", 7},          {"v7R", 8},           {"v7r", 8},
        {"v7A", 9},           {"v7a", 9},           {"v8A", 10},          {"v8a", 10},          {"v8R", 11},
        {"v8r", 11},          {"v8M_Baseline", 12}, {"v8m_baseline", 12}, {"v8M_Mainline", 13}, {"v8m_mainline", 13},
        {"v8.1M_Mainline", 14}, {"v8.1m_mainline", 14}, {"", 0}, {"V6", 0}, {"armv7-m", 0}, {"v7-m", 0}, {"v8M_baseline", 0},
    };
    for (const auto& [name, level] : cases)
        EXPECT_EQ(ARMDisassembler::architectureLevel(QString::fromLatin1(name)), level) << name;
}

// IT blocks, checked against objdump's listing of the same halfwords.
TEST(ArmDisassembler, ItBlockPredicatesTheFollowingInstructions)
{
    struct Step {
        uint8_t lo, hi;
        const char* text;
    };
    const std::vector<std::vector<Step>> blocks = {
        {{0x0C, 0xBF, "ite eq"}, {0x88, 0x18, "addeq r0, r1, r2"}, {0x88, 0x18, "addne r0, r1, r2"},
         {0x88, 0x18, "adds r0, r1, r2"}},
        {{0x01, 0xBF, "itttt eq"}, {0x08, 0x00, "moveq r0, r1"}, {0x48, 0x42, "rsbeq r0, r1, #0"},
         {0x70, 0x47, "bxeq lr"}, {0x08, 0x20, "moveq r0, #8"}, {0x08, 0x20, "movs r0, #8"}},
        {{0xB6, 0xBF, "itet lt"}, {0x48, 0x43, "mullt r0, r1, r0"}, {0x00, 0xBF, "nopge"},
         {0xFE, 0xE7, "blt 0x00000006"}},
    };
    for (const auto& block : blocks) {
        ARMDisassembler d(ArmLevel::V7M, false, false);
        uint32_t address = 0;
        for (const Step& s : block) {
            const std::string text = thumb(d, address, {s.lo, s.hi});
            EXPECT_EQ(text.substr(12), s.text) << block[0].text;
            address += 2;
        }
    }
}

TEST(ArmDisassembler, RefusedMachines)
{
    const std::pair<uint16_t, const char*> cases[] = {
        {2, "SPARC disassembly not supported."},   {3, "x86 disassembly not supported."},
        {8, "MIPS disassembly not supported."},    {20, "PowerPC disassembly not supported."},
        {22, "S390 disassembly not supported."},   {42, "SuperH disassembly not supported."},
        {50, "IA-64 disassembly not supported."},  {62, "x86-64 disassembly not supported."},
        {243, "RISCV disassembly not supported."},
    };
    for (const auto& [machine, message] : cases) {
        ElfFile file;
        file.e_machine = machine;
        try {
            disassembleForMachine(stdout, stderr, file, QString());
            ADD_FAILURE() << "machine " << machine << " was not refused";
        } catch (const HException& e) {
            EXPECT_EQ(e.message(), message);
        }
    }
    ElfFile other;
    other.e_machine = 183; // AArch64: not ours, and not refused either
    EXPECT_NO_THROW(disassembleForMachine(stdout, stderr, other, QString()));
}

} // namespace

namespace {

// Names from the ELF file: symbols at branch targets in an executable, the call's
// relocation in an object, and the loaded value's comment. Expected names are those
// arm-none-eabi-objdump and readelf show for the same addresses.
std::string atAddress(ARMDisassembler& d, const ElfFile& file, uint32_t address)
{
    const ElfSection* text = file.sectionByName(".text");
    EXPECT_NE(text, nullptr);
    char buf[256];
    const uint64_t offset = address - text->sh_addr;
    const uint32_t r = d.disassembleInstruction(address, text->data + offset, true, buf, sizeof buf,
                                                uint32_t(text->dataSize - offset), nullptr);
    return r ? std::string(buf + 12) : std::string();
}

TEST(ElfArmPrinter, NamesFromSymbolsAndRelocations)
{
    const std::string dir = std::string(EDD_SOURCE_DIR) + "/tests/fixtures/disasm/";
    ElfFile exe;
    exe.load(QString::fromStdString(dir + "mixed.elf"));
    ARMDisassembler d(0, false, false);
    d.decoder().setFile(&exe, exe.sectionByName(".text"), true, 0);
    EXPECT_EQ(atAddress(d, exe, 0x08000036), "bl 0x08000080 <external_thumb>");
    EXPECT_EQ(atAddress(d, exe, 0x0800003A), "bl 0x08000068 <thumb_leaf>");
    EXPECT_EQ(atAddress(d, exe, 0x0800003E), "blx 0x0800002C <arm_helper>");
    // Without option bit 0 the literal keeps its bracket form alone; with it, the
    // loaded word follows (0x08000090, the local label "message" in .rodata).
    EXPECT_EQ(atAddress(d, exe, 0x08000054), "ldr r1, [pc, #12]");
    d.decoder().setFile(&exe, exe.sectionByName(".text"), true, MyARMInstructionSetDisassembler::OptionPcRelative);
    EXPECT_EQ(atAddress(d, exe, 0x08000054), "ldr r1, [pc, #12] ; [0x08000064]=0x08000090 <message>");

    ElfFile object;
    object.load(QString::fromStdString(dir + "mixed.o"));
    ARMDisassembler o(0, false, false);
    o.decoder().setFile(&object, object.sectionByName(".text"), true, 0);
    EXPECT_EQ(atAddress(o, object, 0x36), "bl 0x00000036 <external_thumb>");
    EXPECT_EQ(atAddress(o, object, 0x3A), "bl 0x0000003A <thumb_leaf>");
    // Without option bit 0 an object's literal load keeps its bracket form too.
    EXPECT_EQ(atAddress(o, object, 0x54), "ldr r1, [pc, #12]");
}

} // namespace
