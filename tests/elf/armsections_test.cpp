#include <gtest/gtest.h>

#include "tests/lib/capture.h"

#include <cstdlib>

#include "elf/armattributes.h"
#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "tests/lib/elfbuilder.h"

namespace {


// Attribute sections written byte by byte from the build-attributes layout:
// 'A', then subsections of (length, vendor, then (scope tag, length, attributes)*).
struct AttributeWriter {
    std::vector<uint8_t> bytes{'A'};
    bool bigEndian = false;
    void u32(std::vector<uint8_t>& out, size_t at, uint32_t v)
    {
        for (int i = 0; i < 4; ++i)
            out[at + i] = uint8_t(v >> (bigEndian ? 8 * (3 - i) : 8 * i));
    }
    void subsection(const std::string& vendor, const std::vector<uint8_t>& scopes)
    {
        std::vector<uint8_t> sub(4);
        sub.insert(sub.end(), vendor.begin(), vendor.end());
        sub.push_back(0);
        sub.insert(sub.end(), scopes.begin(), scopes.end());
        u32(sub, 0, uint32_t(sub.size()));
        bytes.insert(bytes.end(), sub.begin(), sub.end());
    }
    std::vector<uint8_t> scope(uint8_t tag, const std::vector<uint8_t>& body)
    {
        std::vector<uint8_t> s{tag, 0, 0, 0, 0};
        s.insert(s.end(), body.begin(), body.end());
        u32(s, 1, uint32_t(s.size()));
        return s;
    }
};

std::vector<std::string> decode(const AttributeWriter& w)
{
    ArmAttributes a;
    a.decode(w.bytes.data(), w.bytes.size(), w.bigEndian);
    return a.lines();
}

TEST(ArmAttributes, TagsValuesAndScopes)
{
    for (bool be : {false, true}) {
        AttributeWriter w;
        w.bigEndian = be;
        std::vector<uint8_t> file = w.scope(1, {5, '7', 'E', '-', 'M', 0,  // Tag_CPU_name
                                                6, 13,                      // Tag_CPU_arch v7E-M
                                                10, 6,                      // Tag_FP_arch, our 6th name
                                                12, 0,                      // Tag_Advanced_SIMD_arch 0: no name
                                                48, 1,                      // Tag_MVE_arch
                                                7, 'M',                     // profile: a number
                                                0x80, 0x01, 0xAC, 0x02,     // tag 128 = 300 (multi-byte ULEB128)
                                                32, 1, 'g', 'n', 'u', 0,    // Tag_compatibility
                                                65, 6, 11, 0,               // also compatible with v6-M
                                                101, 'x', 0,                // unknown odd tag: a string
                                                6, 0x80, 0x01});            // arch 128: no name
        std::vector<uint8_t> section = w.scope(2, {1, 2, 0, 18, 4});
        std::vector<uint8_t> symbol = w.scope(3, {3, 0, 26, 1});
        std::vector<uint8_t> all = file;
        all.insert(all.end(), section.begin(), section.end());
        all.insert(all.end(), symbol.begin(), symbol.end());
        w.subsection("aeabi", all);
        w.subsection("gnu", {1, 2, 3});
        EXPECT_EQ(decode(w), (std::vector<std::string>{
                                 "Vendor \"aeabi\"",
                                 "Tag_File",
                                 "  Tag_CPU_name: \"7E-M\"",
                                 "  Tag_CPU_arch: ARM v7E-M (13)",
                                 "  Tag_FP_arch: FPv5/FP-D16 for ARMv8 (6)",
                                 "  Tag_Advanced_SIMD_arch: unknown simd arch 0",
                                 "  Tag_MVE_arch: MVE Integer only (1)",
                                 "  Tag_CPU_arch_profile: 77",
                                 "  unknown tag 128: 300",
                                 "  Tag_compatibility: 1 \"gnu\"",
                                 "  Tag_also_compatible_with: Tag_CPU_arch ARM v6-M (11)",
                                 "  unknown tag 101: \"x\"",
                                 "  Tag_CPU_arch: unknown arch 128",
                                 "Tag_Section: 1 2",
                                 "  Tag_ABI_PCS_wchar_t: 4",
                                 "Tag_Symbol: 3",
                                 "  Tag_ABI_enum_size: 1",
                                 "Vendor \"gnu\": 3 bytes",
                             }))
            << (be ? "big-endian" : "little-endian");
    }
}

TEST(ArmAttributes, DamagedLengthsStopAtTheSection)
{
    AttributeWriter w;
    w.subsection("aeabi", w.scope(1, {6, 10, 8, 1}));
    std::vector<uint8_t> cut = w.bytes;
    cut.resize(cut.size() - 2); // the last attribute loses its value, the lengths overshoot
    ArmAttributes a;
    a.decode(cut.data(), cut.size(), false);
    ASSERT_GE(a.lines().size(), 3u);
    EXPECT_EQ(a.lines()[0], "subsection length 19 runs past the section");
    EXPECT_EQ(a.fileValue(6, 99), 10u);

    // A zero length and garbage must end, not loop.
    std::vector<uint8_t> zero{'A', 0, 0, 0, 0, 'a', 'e', 'a', 'b', 'i', 0};
    a.decode(zero.data(), zero.size(), false);
    EXPECT_FALSE(a.lines().empty());
    std::vector<uint8_t> notA{'B', 1, 2, 3};
    a.decode(notA.data(), notA.size(), false);
    EXPECT_TRUE(a.lines().empty());
}

TEST(ArmAttributes, ListingNeedsAeabiFirst)
{
    struct Row {
        const char* vendor;
        char version;
        bool listed;
    } rows[] = {{"aeabi", 'A', true}, {"gnu", 'A', false}, {"aeabi", 'B', false}, {"aeabix", 'A', false}};
    for (const Row& r : rows) {
        AttributeWriter w;
        w.bytes[0] = uint8_t(r.version);
        w.subsection(r.vendor, w.scope(1, {6, 10}));
        ElfBuilder b(false, false);
        b.addSection({".ARM.attributes", 0x70000003, 0, 0, w.bytes});
        std::vector<uint8_t> img = b.build();
        ElfFile file;
        file.parseView(img.data(), img.size(), "t.o");
        const std::string s = capture([&](FILE* f) { printArmAttributes(file, f); });
        EXPECT_EQ(!s.empty(), r.listed) << r.vendor << " " << r.version;
    }
}

TEST(Relocations, TypeTextSymbolsAndSkippedSections)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, 6, 0, std::vector<uint8_t>(64)});
    const int debug = b.addSection({".debug_info", 1, 0, 0, std::vector<uint8_t>(16)});
    auto rel = [](std::vector<std::pair<uint32_t, uint32_t>> entries) {
        std::vector<uint8_t> out;
        for (auto [offset, info] : entries)
            for (uint32_t v : {offset, info})
                for (int i = 0; i < 4; ++i)
                    out.push_back(uint8_t(v >> (8 * i)));
        return out;
    };
    // Symbols: 1 "callee" undefined, 2 "local" in .text, 3 an absolute one.
    b.addSection({".rel.text", 9, 0, 0,
                  rel({{0x10, 1 << 8 | 10}, {0x24, 2 << 8 | 43}, {0x28, 3 << 8 | 0x33}, {0x2c, 0x7FFF << 8 | 2}}),
                  0, uint32_t(text), 4, 8});
    b.addSection({".rel.debug_info", 9, 0, 0, rel({{0, 1 << 8 | 2}}), 0, uint32_t(debug), 4, 8});
    b.addSymbol({"callee", 0, 0, 0x12, 0, 0});
    b.addSymbol({"local", 4, 0, 0x02, 0, uint16_t(text)});
    b.addSymbol({"fixed", 0x100, 0, 0x10, 0, 0xFFF1});
    std::vector<uint8_t> img = b.build();
    ElfFile file;
    file.parseView(img.data(), img.size(), "t.o");
    const std::string s = capture([&](FILE* f) { printRelocations(file, f, stderr); });
    EXPECT_EQ(s, "relocations for .text\n"
                 "0x00000010 0x0a R_ARM_THM_CALL value 0x00000001 callee \n"
                 "0x00000024 0x2b R_ARM_MOVW_ABS_NC value 0x00000002 local .text\n"
                 "0x00000028 0x33  value 0x00000003 fixed *ABS*\n"
                 "0x0000002c 0x02 R_ARM_ABS32 value 0x00007fff  *ABS*\n");
}

TEST(StackSizes, HeadingsOnceAndUnknownAddresses)
{
    ElfBuilder b(false, false);
    b.type = 2;
    const int text = b.addSection({".text", 1, 6, 0x1000, std::vector<uint8_t>(64)});
    // Two per-object sections: address (4 bytes, little-endian) and a ULEB128 size.
    b.addSection({".stack_sizes", 1, 0, 0, {0x01, 0x10, 0, 0, 24}, uint32_t(text)});
    b.addSection({".stack_sizes", 1, 0, 0, {0x20, 0x10, 0, 0, 0xB8, 0x02, 0x99, 0x99, 0, 0, 0x00}, uint32_t(text)});
    b.addSymbol({"f", 0x1001, 8, 0x12, 0, uint16_t(text)});
    std::vector<uint8_t> img = b.build();
    ElfFile file;
    file.parseView(img.data(), img.size(), "t.elf");
    const std::string s = capture([&](FILE* f) { printStackSizes(file, f); });
    // 0x1001: no symbol there (f starts at 0x1000 once its Thumb bit is cleared).
    EXPECT_EQ(s, "Stack Sizes:\n"
                 "      Size    Functions\n"
                 "        24    index 1001 \n"
                 "       312    index 1020 \n"
                 "         0    index 9999 \n");
}

} // namespace
