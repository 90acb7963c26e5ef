#include <gtest/gtest.h>

#include "elf/elffile.h"
#include "tests/lib/elfbuilder.h"
#include "tests/lib/runtool.h"
#include "tools/elfdwarfdump/compare.h"

namespace {

const std::string tool = std::string(EDD_SOURCE_DIR) + "/tests/fixtures/tool/";

// Encodings worked out from the Thumb instruction formats: adds/subs Rd, Rn, #imm3
// (0x1C00/0x1E00 | imm3 << 6 | Rn << 3 | Rd) and adds/subs Rdn, #imm8 (0x3000/0x3800 | Rdn << 8 | imm8).
TEST(Compare, EquivalentThumbPairs)
{
    struct Row {
        uint16_t a, b;
        bool forgiven;
        const char* what;
    } rows[] = {
        {0x1C9B, 0x3302, true, "adds r3, r3, #2 / adds r3, #2"},
        {0x3302, 0x1C9B, true, "the same the other way round"},
        {0x1E9B, 0x3B02, true, "subs r3, r3, #2 / subs r3, #2"},
        {0x3B02, 0x1E9B, true, "subs the other way round"},
        {0x1FFF, 0x3F07, true, "subs r7, r7, #7 / subs r7, #7"},
        {0x1C00, 0x3000, true, "adds r0, r0, #0 / adds r0, #0"},
        {0xBF00, 0x46C0, true, "nop / mov r8, r8"},
        {0x46C0, 0xBF00, true, "mov r8, r8 / nop"},
        {0x1C8B, 0x3302, false, "Rn differs from Rd"},
        {0x1C9B, 0x3303, false, "different immediate"},
        {0x1C9B, 0x3202, false, "different register"},
        {0x1C9B, 0x3B02, false, "add against subtract"},
        {0x1E9B, 0x3302, false, "subtract against add"},
        {0xBF00, 0x0000, false, "nop against movs r0, r0"},
        {0x1C9B, 0x1C9B, false, "equal halfwords are not a pair"},
        {0x3302, 0x3302, false, "nor are two 8-bit forms"},
    };
    for (const Row& r : rows)
        EXPECT_EQ(equivalentThumbHalfwords(r.a, r.b), r.forgiven) << r.what;
}

ElfFile* fileWithSymbols(const std::vector<std::string>& names, std::vector<uint8_t>* image, ElfFile* file)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, 6, 0x100, std::vector<uint8_t>(64)});
    uint64_t value = 0x101;
    for (const std::string& n : names) {
        b.addSymbol({n, value, 4, 0x12, 0, uint16_t(text)});
        value += 4;
    }
    *image = b.build();
    file->parseView(image->data(), image->size(), "t.o");
    return file;
}

TEST(Compare, FindSymbolLoose)
{
    std::vector<uint8_t> image;
    ElfFile file;
    fileWithSymbols({"counter.5678", "count", "main", "other.1"}, &image, &file);
    struct Row {
        const char* name;
        const char* found;
    } rows[] = {
        {"main", "main"},                 // exact
        {"counter.1234", "counter.5678"}, // static with another suffix
        {"count.9", "count"},             // the base itself
        {"other.2", "other.1"},
        {"mai.n", "main"},                // the first name that starts with the base, as intended
        {"nothing", nullptr},             // no full stop: exact only
        {"zz.1", nullptr},
    };
    for (const Row& r : rows) {
        const ElfSymbol* s = findSymbolLoose(file, r.name);
        if (r.found) {
            ASSERT_NE(s, nullptr) << r.name;
            EXPECT_EQ(s->name, r.found) << r.name;
        } else {
            EXPECT_EQ(s, nullptr) << r.name;
        }
    }
}

// The two builds differ in ways their common source spells out.
TEST(Compare, SectionsOfTwoBuilds)
{
    const ToolResult r = runTool({"-cmp", tool + "compare-b.elf", tool + "compare-a.elf"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "section .text different contents at address 0x0800000A\n"
                     "section .text different contents at address 0x0800000C\n"
                     "section .text different contents at address 0x0800000E\n"
                     "section .grows different lengths 8 vs 12\n"
                     "section .grows different contents at address 0x08000104\n"
                     "section .grows different contents at address 0x08000106\n"
                     "section .rodata different lengths 8 vs 12\n"
                     "section .data different start addresses\n"
                     "section .only_a not found\n"
                     "section .persistent different start addresses\n");
}

TEST(Compare, SecondSectionShorterCountsMissingBytes)
{
    // The second build's .grows is the longer one: the other way round the first
    // file's 12 bytes meet 8, and the 4 missing bytes are reported.
    const ToolResult r = runTool({"-cmp", tool + "compare-a.elf", tool + "compare-b.elf"});
    EXPECT_NE(r.err.find("section .grows different lengths 12 vs 8\n"
                         "section .grows different contents at address 0x08000104\n"
                         "section .grows different contents at address 0x08000106\n"
                         "section .grows different contents at address 0x08000108\n"
                         "section .grows different contents at address 0x0800010A\n"),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("section .rodata different lengths 12 vs 8\n"
                         "section .rodata different contents at address 0x08001008\n"
                         "section .rodata different contents at address 0x0800100A\n"),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("section .only_b not found\n"), std::string::npos);
    EXPECT_EQ(r.err.find(".only_a"), std::string::npos); // only in the second: never mentioned
}

TEST(Compare, SymbolsOfTwoBuilds)
{
    const ToolResult r = runTool({"-symbols", "-sections", "-cmp", tool + "compare-b.elf", tool + "compare-a.elf"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out, "counter.1234 4 counter.5678 8 4\n"
                     "func_grows 8 func_grows 12 4\n"
                     "ro_words 8 ro_words 12 4\n"
                     "only_in_a 2 only in file '" + tool + "compare-a.elf'\n"
                     "only_in_b 2 only in file '" + tool + "compare-b.elf'\n");
}

TEST(Compare, IdenticalFilesPrintNothing)
{
    for (const char* name : {"compare-a.elf", "modify.elf"}) {
        for (bool symbols : {false, true}) {
            std::vector<std::string> args{"-cmp", tool + name, tool + name};
            if (symbols)
                args.insert(args.begin(), "-symbols");
            const ToolResult r = runTool(args);
            EXPECT_EQ(r.status, 0);
            EXPECT_EQ(r.out + r.err, "") << name;
        }
    }
}

TEST(Compare, UnreadableSecondFile)
{
    const ToolResult r = runTool({"-cmp", "/nonexistent/b.elf", tool + "compare-a.elf"});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "open error cannot open /nonexistent/b.elf\n");
}

TEST(Compare, SixtyFourBitAddresses)
{
    std::vector<uint8_t> a, b;
    for (int which = 0; which < 2; ++which) {
        ElfBuilder builder(true, false, 62);
        std::vector<uint8_t> code(8, 0x90);
        if (which)
            code[4] = 0xCC;
        builder.addSection({".text", 1, 6, 0xFFFFFFFF80001000, code});
        (which ? b : a) = builder.build();
    }
    TempFile fa(a), fb(b);
    const ToolResult r = runTool({"-cmp", fb.path(), fa.path()});
    EXPECT_EQ(r.err, "section .text different contents at address 0xFFFFFFFF80001004\n");
}

} // namespace
