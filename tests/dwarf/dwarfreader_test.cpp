#include <gtest/gtest.h>

#include "tests/lib/capture.h"

#include <cstdlib>

#include "dwarf/dwarfcursor.h"
#include "dwarf/dwarffile.h"
#include "dwarf/expression.h"
#include "elf/elffile.h"
#include "tests/lib/bytes.h"
#include "tests/lib/elfbuilder.h"

namespace {


// A DWARF reader whose reports are kept for the test.
class RecordingDwarfFile : public DwarfFile {
public:
    std::string reports;
    void report(const char* format, ...) override
    {
        char buf[1024];
        va_list ap;
        va_start(ap, format);
        vsnprintf(buf, sizeof buf, format, ap);
        va_end(ap);
        reports += buf;
    }
};


struct Loaded {
    std::vector<uint8_t> image;
    ElfFile elf;
    RecordingDwarfFile dwarf;
    Loaded(const std::vector<TestSection>& sections, bool be = false)
    {
        ElfBuilder b(false, be);
        for (const TestSection& s : sections)
            b.addSection(s);
        image = b.build();
        elf.parseView(image.data(), image.size(), "t.o");
        dwarf.open(elf, false);
    }
    std::string dump() { return capture([&](FILE* f) { dwarf.dump(f); }); }
    std::string section(const std::string& heading, const std::string& next)
    {
        const std::string all = dump();
        const size_t a = all.find("\n" + heading + "\n");
        const size_t b = all.find("\n" + next + "\n", a + 1);
        return all.substr(a + heading.size() + 2, b - a - heading.size() - 2);
    }
};

TEST(DwarfCursor, ShortReadsGiveZeroAndStopAtTheEnd)
{
    const uint8_t data[] = {0x01, 0x02, 0x03};
    DwarfCursor c(data, data + 3, false);
    EXPECT_EQ(c.u16(), 0x0201);
    EXPECT_EQ(c.u32(), 0u); // one byte left
    EXPECT_TRUE(c.atEnd());
    EXPECT_EQ(c.u8(), 0);
    DwarfCursor be(data, data + 3, true);
    EXPECT_EQ(be.fixed(3), 0x010203u);
    const uint8_t leb[] = {0xE5, 0x8E, 0x26, 0x7F, 0x80};
    DwarfCursor l(leb, leb + 5, false);
    EXPECT_EQ(l.uleb(), 624485u);
    EXPECT_EQ(l.sleb(), -1);
    EXPECT_EQ(l.uleb(), 0u); // a cut-off number keeps what was read
    EXPECT_TRUE(l.atEnd());
    const uint8_t text[] = {'a', 'b', 0, 'c'};
    DwarfCursor t(text, text + 4, false);
    EXPECT_EQ(t.cstr(), "ab");
    EXPECT_EQ(t.cstr(), "c"); // unterminated: what is there
    EXPECT_TRUE(t.atEnd());
}

// One compile unit with a child of each kind of value, in versions 2 to 5.
struct UnitCase {
    int version;
    bool bigEndian;
};

class DwarfUnits : public ::testing::TestWithParam<UnitCase> {};

TEST_P(DwarfUnits, HeaderFormsAndTree)
{
    const UnitCase uc = GetParam();
    Bytes abbrev;
    abbrev.be = uc.bigEndian;
    // 1: compile unit with children: producer (string), language (data1), name (strp)
    abbrev.uleb(1).uleb(0x11).u8(1).uleb(0x25).uleb(0x08).uleb(0x13).uleb(0x0b).uleb(0x03).uleb(0x0e).uleb(0).uleb(0);
    // 2: variable: name (string), location (exprloc or block1), type (ref4), const_value (sdata)
    abbrev.uleb(2).uleb(0x34).u8(0).uleb(0x03).uleb(0x08).uleb(0x02).uleb(uc.version >= 4 ? 0x18 : 0x0a);
    abbrev.uleb(0x49).uleb(0x13).uleb(0x1c).uleb(0x0d).uleb(0).uleb(0);
    // 3: base type without attributes
    abbrev.uleb(3).uleb(0x24).u8(0).uleb(0).uleb(0);
    abbrev.uleb(0);

    Bytes str;
    str.str("").str("unit.c");

    Bytes body;
    body.be = uc.bigEndian;
    const uint32_t headerSize = uc.version >= 5 ? 12 : 11;
    body.uleb(1).str("GNU C").u8(0x0c).u32(1);
    const uint32_t variableOffset = headerSize + uint32_t(body.b.size());
    body.uleb(2).str("x");
    body.uleb(2).u8(0x91).sleb(-20); // DW_OP_fbreg -20: two bytes
    // code, "x", block length and block, the reference, the constant
    const uint32_t typeOffset = variableOffset + 1 + 2 + 1 + 2 + 4 + 1;
    body.u32(typeOffset).sleb(-5);
    body.uleb(3);
    body.uleb(0);

    Bytes info;
    info.be = uc.bigEndian;
    info.u32(uint32_t(body.b.size() + headerSize - 4)).u16(uint64_t(uc.version));
    if (uc.version >= 5)
        info.u8(1).u8(4).u32(0);
    else
        info.u32(0).u8(4);
    info.raw(body.b);

    Loaded l({{".debug_abbrev", 1, 0, 0, abbrev.b}, {".debug_info", 1, 0, 0, info.b}, {".debug_str", 1, 0, 0, str.b}},
             uc.bigEndian);
    ASSERT_EQ(l.dwarf.units().size(), 1u);
    DwarfUnit& unit = *l.dwarf.units()[0];
    EXPECT_EQ(unit.version, uc.version);
    EXPECT_EQ(unit.addressSize, 4);
    const DwarfDebuggingInformationEntry* root = unit.root();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->tag, 0x11u);
    ASSERT_NE(root->child, nullptr);
    const DwarfDebuggingInformationEntry* variable = root->child;
    EXPECT_EQ(variable->offset, variableOffset);
    EXPECT_NE(dynamic_cast<const DwarfDebuggingInformationVariable*>(variable), nullptr);
    EXPECT_EQ(variable->findAttribute(0x03)->text(), "x");
    EXPECT_EQ(variable->findAttribute(0x1c)->signedValue(), -5);
    const DwarfAttributeValue* type = variable->findAttribute(0x49);
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->valueClass, DwarfAttributeValue::Reference);
    EXPECT_EQ(variable->referencedBy(*type), variable->sibling);
    EXPECT_EQ(variable->sibling->tag, 0x24u);
    EXPECT_EQ(l.dwarf.entryAtOffset(typeOffset), variable->sibling);
    EXPECT_EQ(l.dwarf.reports, "");

    const std::string expr = uc.version >= 4 ? "DW_FORM_exprloc 0x91 0x6c DW_OP_fbreg: -20"
                                              : "DW_FORM_block1 0x91 0x6c ";
    char expected[1024];
    snprintf(expected, sizeof expected,
             "  DW_TAG_compile_unit (0x%X)\n"
             "  DW_AT_producer DW_FORM_string GNU C\n"
             "  DW_AT_language DW_FORM_data1 0xc DW_LANG_C99\n"
             "  DW_AT_name DW_FORM_strp unit.c\n"
             "\n"
             "    DW_TAG_variable (0x%X)\n"
             "    DW_AT_name DW_FORM_string x\n"
             "    DW_AT_location %s\n"
             "    DW_AT_type DW_FORM_ref4 0x%x \n"
             "    DW_AT_const_value DW_FORM_sdata -5 \n"
             "\n"
             "    DW_TAG_base_type (0x%X)\n"
             "\n",
             headerSize, variableOffset, expr.c_str(), typeOffset, typeOffset);
    EXPECT_EQ(l.section("Debugging Information", "Debug Types"), expected);
}

INSTANTIATE_TEST_SUITE_P(Versions, DwarfUnits,
                         ::testing::Values(UnitCase{2, false}, UnitCase{3, true}, UnitCase{4, false},
                                           UnitCase{5, false}, UnitCase{5, true}));

std::vector<uint8_t> simpleAbbrev()
{
    Bytes a;
    // 1: an entry with children and no attributes; 2: one without either.
    a.uleb(1).uleb(0x0b).u8(1).uleb(0).uleb(0);
    a.uleb(2).uleb(0x0b).u8(0).uleb(0).uleb(0);
    a.uleb(0);
    return a.b;
}

std::vector<uint8_t> nested(int depth)
{
    Bytes body;
    for (int i = 0; i < depth; ++i)
        body.uleb(1);
    for (int i = 0; i < depth; ++i)
        body.uleb(0);
    Bytes info;
    info.u32(uint32_t(body.b.size() + 7)).u16(4).u32(0).u8(4).raw(body.b);
    return info.b;
}

TEST(DwarfReader, DeepNestingNeverRecurses)
{
    // Reading a tree 100,000 entries deep.
    const int depth = 100000;
    Loaded l({{".debug_abbrev", 1, 0, 0, simpleAbbrev()}, {".debug_info", 1, 0, 0, nested(depth)}});
    int count = 0;
    for (const DwarfDebuggingInformationEntry* e = l.dwarf.units()[0]->root(); e; e = e->child)
        ++count;
    EXPECT_EQ(count, depth);
    // Printing one deep enough to overflow a recursive printer's stack in a sanitizer build.
    const int printed = 5000;
    Loaded p({{".debug_abbrev", 1, 0, 0, simpleAbbrev()}, {".debug_info", 1, 0, 0, nested(printed)}});
    const std::string dump = p.dump();
    EXPECT_NE(dump.find("\n" + std::string(2 * printed, ' ') + "DW_TAG_lexical_block (0x"), std::string::npos);
}

TEST(DwarfReader, MissingAbbreviationGivesUpTheChain)
{
    Bytes body;
    const uint32_t header = 11;
    body.uleb(1).uleb(2).uleb(7).uleb(2).uleb(0).uleb(0);
    Bytes info;
    info.u32(uint32_t(body.b.size() + 7)).u16(4).u32(0).u8(4).raw(body.b);
    Loaded l({{".debug_abbrev", 1, 0, 0, simpleAbbrev()}, {".debug_info", 1, 0, 0, info.b}});
    l.dwarf.units()[0]->root();
    char expected[100];
    snprintf(expected, sizeof expected, "Couldn't find abbreviation 0x7 offset 0x%x\n", header + 2);
    EXPECT_EQ(l.dwarf.reports, expected);
    // The root and its first child stay; the chain after the bad code is given up.
    const DwarfDebuggingInformationEntry* root = l.dwarf.units()[0]->root();
    ASSERT_NE(root->child, nullptr);
    EXPECT_EQ(root->child->sibling, nullptr);
}

TEST(DwarfReader, UnsupportedFormsAreReportedAndValuedZero)
{
    Bytes a;
    a.uleb(1).uleb(0x34).u8(0);
    a.uleb(0x03).uleb(0x21).sleb(42);        // name: implicit_const 42 (in the table)
    a.uleb(0x1c).uleb(0x1e);                 // const_value: data16
    a.uleb(0x3a).uleb(0x0b);                 // decl_file: data1, still read in step
    a.uleb(0).uleb(0).uleb(0);
    Bytes body;
    body.uleb(1);
    for (int i = 0; i < 16; ++i)
        body.u8(0xAA);
    body.u8(3).uleb(0);
    Bytes info;
    info.u32(uint32_t(body.b.size() + 8)).u16(5).u8(1).u8(4).u32(0).raw(body.b);
    Loaded l({{".debug_abbrev", 1, 0, 0, a.b}, {".debug_info", 1, 0, 0, info.b}});
    const DwarfDebuggingInformationEntry* e = l.dwarf.units()[0]->root();
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->findAttribute(0x03)->value, 0u);
    EXPECT_EQ(e->findAttribute(0x1c)->value, 0u);
    EXPECT_EQ(e->findAttribute(0x3a)->value, 3u);
    EXPECT_EQ(l.dwarf.reports, "33 unhandled DW_FORM_implicit_const\n30 unhandled DW_FORM_data16\n");
}

TEST(DwarfReader, LongUnitLengthAndEmptyFile)
{
    Bytes body;
    body.uleb(2).uleb(0);
    Bytes info;
    info.u32(0xffffffff).u64(body.b.size() + 7).u16(4).u32(0).u8(4).raw(body.b);
    Loaded l({{".debug_abbrev", 1, 0, 0, simpleAbbrev()}, {".debug_info", 1, 0, 0, info.b}});
    ASSERT_EQ(l.dwarf.units().size(), 1u);
    EXPECT_EQ(l.dwarf.units()[0]->version, 4);
    ASSERT_NE(l.dwarf.units()[0]->root(), nullptr);
    EXPECT_EQ(l.dwarf.units()[0]->root()->offset, 19u); // 4 + 8 bytes of length, 7 of header

    Loaded none({{".text", 1, 6, 0, {0}}});
    EXPECT_EQ(none.dump(), "\nLine\nAddresses:\nSources:\n\nFrame\n\nDebugging Information\n\nDebug Types\n\nPubnames\n"
                           "\nPubtypes\n\nAranges\n\nMacros\n\nMacinfo\n");
}

TEST(DwarfExpression, OperationsAndOperands)
{
    struct Row {
        std::vector<uint8_t> bytes;
        const char* text;
    } rows[] = {
        {{0x03, 0x78, 0x56, 0x34, 0x12}, "DW_OP_addr: 0x12345678"},
        {{0x08, 0xff, 0x09, 0xff}, "DW_OP_const1u: 255; DW_OP_const1s: -1"},
        {{0x0a, 0xff, 0xff, 0x0b, 0xfe, 0xff}, "DW_OP_const2u: 65535; DW_OP_const2s: -2"},
        {{0x10, 0x80, 0x01, 0x11, 0x7f}, "DW_OP_constu: 128; DW_OP_consts: -1"},
        {{0x30, 0x4f, 0x50, 0x6f}, "DW_OP_lit0; DW_OP_lit31; DW_OP_reg0; DW_OP_reg31"},
        {{0x7d, 0x7c, 0x91, 0x40}, "DW_OP_breg13: -4; DW_OP_fbreg: -64"},
        {{0x92, 0x07, 0x08, 0x93, 0x04}, "DW_OP_bregx: 7 8; DW_OP_piece: 4"},
        {{0x28, 0xfe, 0xff, 0x2f, 0x02, 0x00}, "DW_OP_bra: -2; DW_OP_skip: 2"},
        {{0x23, 0x10, 0x06, 0x9f}, "DW_OP_plus_uconst: 16; DW_OP_deref; DW_OP_stack_value"},
        {{0x9e, 0x04, 1, 0, 0, 0, 0x9e, 0x03, 1, 2, 3}, "DW_OP_implicit_value_4: 1; DW_OP_implicit_value_3"},
        {{0xa3, 0x01, 0x50, 0x9f}, "DW_OP_entry_value: 1; DW_OP_stack_value"},
        {{0x9d, 0x08, 0x10}, "DW_OP_bit_piece: 8 16"},
        {{0xa1, 0x02, 0xa2, 0x03}, "DW_OP_addrx 2; DW_OP_constx 3"},
        {{0x02, 0x30}, "unsupported opcode 2\n"},
    };
    for (const Row& r : rows) {
        const std::string s = capture([&](FILE* f) {
            printDwarfExpression(f, DwarfCursor(r.bytes.data(), r.bytes.data() + r.bytes.size(), false), 4);
        });
        EXPECT_EQ(s, r.text);
    }
}

} // namespace
