#include <gtest/gtest.h>

#include "tests/lib/capture.h"

#include <cstdlib>
#include <memory>

#include "elf/elffile.h"
#include "elf/elflistings.h"
#include "qtx/textline.h"
#include "tests/lib/elfbuilder.h"

namespace {


struct Loaded {
    std::vector<uint8_t> image;
    ElfFile file;
    explicit Loaded(std::vector<uint8_t> img, bool demangle = false) : image(std::move(img)), file(demangle)
    {
        file.parseView(image.data(), image.size(), "t.o");
    }
};

std::string sectionBlock(const TestSection& s)
{
    ElfBuilder b(false, false);
    b.addSection(s);
    Loaded l(b.build());
    return capture([&](FILE* f) {
        QTx::TextLine line(f);
        printSectionHeader(*l.file.sectionAt(1), line);
    });
}

TEST(SectionListing, FlagTextAndTypeNames)
{
    struct Row {
        uint32_t type;
        uint64_t flags;
        const char* typeLine;
        const char* flagLine;
    } rows[] = {
        {1, 0x6, "sh_type     : 0x1 SHT_PROGBITS\n", "sh_flags    : 0x6 SHF_ALLOC+SHF_EXECINSTR\n"},
        {1, 0x3, "sh_type     : 0x1 SHT_PROGBITS\n", "sh_flags    : 0x3 SHF_WRITE+SHF_ALLOC\n"},
        {1, 0x7, "sh_type     : 0x1 SHT_PROGBITS\n", "sh_flags    : 0x7 SHF_WRITE+SHF_ALLOC+SHF_EXECINSTR\n"},
        {1, 0x4, "sh_type     : 0x1 SHT_PROGBITS\n", "sh_flags    : 0x4 SHF_EXECINSTR\n"},
        {1, 0x30, "sh_type     : 0x1 SHT_PROGBITS\n", "sh_flags    : 0x30 \n"},
        {0x70000003, 0, "sh_type     : 0x70000003 SHT_ARM_ATTRIBUTES\n", "sh_flags    : 0x0 \n"},
        {0x70000001, 0x82, "sh_type     : 0x70000001 SHT_ARM_EXIDX\n", "sh_flags    : 0x82 SHF_ALLOC\n"},
        {0x6FFFFFF6, 0, "sh_type     : 0x6FFFFFF6 UNKNOWN section type\n", "sh_flags    : 0x0 \n"},
        {17, 0, "sh_type     : 0x11 SHT_GROUP\n", "sh_flags    : 0x0 \n"},
        {0xFFFFFFFF, 0, "sh_type     : 0xFFFFFFFF SHT_HIUSER\n", "sh_flags    : 0x0 \n"},
    };
    for (const Row& r : rows) {
        const std::string block = sectionBlock({".x", r.type, r.flags, 0, {1, 2}});
        EXPECT_NE(block.find(r.typeLine), std::string::npos) << block;
        EXPECT_NE(block.find(r.flagLine), std::string::npos) << block;
    }
}

TEST(SectionListing, WholeBlock)
{
    const std::string block = sectionBlock({".data", 1, 3, 0x20000000, {1, 2, 3}, 5, 6, 4, 12});
    // .data's name sits right after the leading NUL of the name table.
    EXPECT_EQ(block.substr(0, block.find("sh_offset")),
              "\nsection header\nsh_name     : 0x1 .data\nsh_type     : 0x1 SHT_PROGBITS\n"
              "sh_flags    : 0x3 SHF_WRITE+SHF_ALLOC\nsh_addr     : 0x20000000\n");
    EXPECT_NE(block.find("sh_size     : 0x3\nsh_link     : 0x5\nsh_info     : 0x6\nsh_addralign: 0x4\n"
                         "sh_entsize  : 0xC\n"),
              std::string::npos);
}

TEST(HexDump, RowsOfSixteenWithAGap)
{
    std::vector<uint8_t> bytes(35);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = uint8_t(i * 7);
    const std::string s = capture([&](FILE* f) {
        QTx::TextLine line(f);
        printHexRows(bytes.data(), bytes.size(), 0x8000FFF0, line);
    });
    std::string expected;
    char line[200];
    for (size_t row = 0; row < bytes.size(); row += 16) {
        expected += (snprintf(line, sizeof line, "  %lX  ", 0x8000FFF0ul + row), line);
        for (size_t i = row; i < row + 16 && i < bytes.size(); ++i) {
            expected += (snprintf(line, sizeof line, " %02X", bytes[i]), line);
            if (i - row == 7)
                expected += " ";
        }
        expected += "\n";
    }
    EXPECT_EQ(s, expected);
    EXPECT_EQ(s.substr(0, 16), "  8000FFF0   00 ");
}

TEST(ProgramListing, TypeNames)
{
    struct Row {
        uint32_t type;
        const char* line;
    } rows[] = {{0, "p_type      : PT_NULL\n"},          {1, "p_type      : PT_LOAD\n"},
                {6, "p_type      : PT_PHDR\n"},          {7, "p_type      : PT_TLS\n"},
                {0x70000001, "p_type      : EXIDX\n"},   {0x6474E551, "p_type      : GNU_STACK\n"},
                {0x6474E550, "p_type      : 0x6474E550\n"}, {0x60000000, "p_type      : PT_LOOS\n"}};
    for (const Row& r : rows) {
        ElfProgram p;
        p.p_type = r.type;
        p.p_memsz = 0x108;
        const std::string s = capture([&](FILE* f) {
            QTx::TextLine line(f);
            printProgramHeader(p, line);
        });
        EXPECT_EQ(s.substr(0, s.find("p_flags")), std::string("\nprogram header\n") + r.line);
        EXPECT_NE(s.find("p_memsz     : 0x108\n"), std::string::npos);
    }
}

TEST(HeaderListing, IdentBytes)
{
    struct Row {
        uint8_t cls, data;
        const char* classText;
        const char* dataText;
    } rows[] = {
        {1, 1, "ELFCLASS32\n", "ELFDATA2LSB\n"},
        {2, 2, "ELFCLASS64\n", "ELFDATA2MSB\n"},
        {1, 7, "ELFCLASS32\n", "ELFDATANONE\n"},
        {1, 0, "ELFCLASS32\n", "ELFDATANONE\n"},
        {3, 1, "", "ELFDATA2LSB\n"}, // an unknown class leaves the label alone on its line
    };
    for (const Row& r : rows) {
        ElfBuilder b(r.cls != 1, r.data != 1);
        b.identClass = r.cls;
        b.identData = r.data;
        Loaded l(b.build());
        const std::string s = capture([&](FILE* f) { printElfHeader(l.file, f); });
        const std::string expected = std::string("             EI_CLASS  : ") + r.classText +
                                     "             EI_DATA   : " + r.dataText;
        EXPECT_NE(s.find(expected), std::string::npos) << s;
        EXPECT_EQ(s.substr(0, 55), "\nelf header\ne_ident    :              EI_MAG0   : 0x7F\n");
    }
}

TEST(SymbolListing, ColumnsAndSkippedMappingSymbols)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, 6, 0, std::vector<uint8_t>(16)});
    b.addSymbol({"$t", 0, 0, 0, 0, uint16_t(text)});
    b.addSymbol({"$t.1", 0, 0, 0, 0, uint16_t(text)}); // only the exact names are skipped
    b.addSymbol({"f", 0x11, 6, 0x12, 2, uint16_t(text)});
    b.addSymbol({"ext", 0, 0, 0x20, 0, 0});
    b.addSymbol({"abs", 0x1234, 0, 0x10, 0, 0xFFF1});
    b.addSymbol({"com", 4, 4, 0x15, 0, 0xFFF2});
    b.addSymbol({"odd", 0, 0, 0x87, 9, uint16_t(text)});
    Loaded l(b.build());
    const std::string s = capture([&](FILE* f) { printSymbolTable(l.file, f); });
    EXPECT_EQ(s, "Symbol table '.symtab' contains 8 entries:\n"
                 "\tNum:\tValue\tSize\tType\tBind\tVis\tNdx\tName\n"
                 "\t0:\t0x00000000\t0\tNOTYPE\tLOCAL\tDEFAULT\t??\t\n"
                 "\t2:\t0x00000000\t0\tNOTYPE\tLOCAL\tDEFAULT\t.text\t$t.1\n"
                 "\t3:\t0x00000011\t6\tFUNC\tGLOBAL\tHIDDEN\t.text\tf\n"
                 "\t4:\t0x00000000\t0\tNOTYPE\tWEAK\tDEFAULT\t??\text\n"
                 "\t5:\t0x00001234\t0\tNOTYPE\tGLOBAL\tDEFAULT\t*ABS*\tabs\n"
                 "\t6:\t0x00000004\t4\tCOMMON\tGLOBAL\tDEFAULT\t??\tcom\n"
                 "\t7:\t0x00000000\t0\t\t\t\t.text\todd\n");
}

TEST(SymbolListing, WideValuesIn64BitFiles)
{
    ElfBuilder b(true, true, 62);
    const int text = b.addSection({".text", 1, 6, 0, std::vector<uint8_t>(16)});
    b.addSymbol({"f", 0xFFFFFFFF80001000, 16, 0x12, 0, uint16_t(text)});
    Loaded l(b.build());
    const std::string s = capture([&](FILE* f) { printSymbolTable(l.file, f); });
    EXPECT_NE(s.find("\t1:\t0xFFFFFFFF80001000\t16\tFUNC\tGLOBAL\tDEFAULT\t.text\tf\n"), std::string::npos);
}

TEST(SymbolListing, NoSymbolTablePrintsNothing)
{
    ElfBuilder b(false, false);
    b.addSection({".text", 1, 6, 0, std::vector<uint8_t>(16)});
    Loaded l(b.build());
    EXPECT_EQ(capture([&](FILE* f) { printSymbolTable(l.file, f); }), "");
}

TEST(SortedSymbols, KindsOrderAndFiltering)
{
    for (bool is64 : {false, true}) {
        ElfBuilder b(is64, false);
        const int text = b.addSection({".text", 1, 6, 0x08000000, std::vector<uint8_t>(16)});
        const int ro = b.addSection({".rodata", 1, 2, 0x08000010, std::vector<uint8_t>(16)});
        const int rw = b.addSection({".data", 1, 3, 0x20000000, std::vector<uint8_t>(16)});
        b.addSymbol({"zeta", 0x08000001, 12, 0x12, 0, uint16_t(text)});
        b.addSymbol({"alpha", 0x08000010, 1234567890, 0x11, 0, uint16_t(ro)});
        b.addSymbol({"Beta", 0x20000000, 4, 0x11, 0, uint16_t(rw)});
        b.addSymbol({"empty", 0x20000004, 0, 0x11, 0, uint16_t(rw)});   // size 0: left out
        b.addSymbol({"atzero", 0, 4, 0x11, 0, uint16_t(rw)});            // address 0: left out
        b.addSymbol({"$d", 0x20000000, 4, 0, 0, uint16_t(rw)});          // mapping symbol
        Loaded l(b.build());
        const std::string s = capture([&](FILE* f) { printSymbolsSorted(l.file, f); });
        char expected[600];
        if (is64)
            snprintf(expected, sizeof expected, "%s\t0x%016lX % 20ld %6s  %s\n\t0x%016lX % 20ld %6s  %s\n"
                     "\t0x%016lX % 20ld %6s  %s\n",
                     "\t  Address64                      Size64   Type  Name\n", 0x20000000ul, 4l, "Data", "Beta",
                     0x08000010ul, 1234567890l, "Const", "alpha", 0x08000000ul, 12l, "Code", "zeta");
        else
            snprintf(expected, sizeof expected, "%s\t0x%08X % 10d %6s  %s\n\t0x%08X % 10d %6s  %s\n"
                     "\t0x%08X % 10d %6s  %s\n",
                     "\t  Address      Size     Type  Name\n", 0x20000000u, 4, "Data", "Beta", 0x08000010u,
                     1234567890, "Const", "alpha", 0x08000000u, 12, "Code", "zeta");
        EXPECT_EQ(s, expected);
    }
}

TEST(LtoSymbols, EntriesAreLittleEndianWhateverTheTarget)
{
    auto entry = [](std::vector<uint8_t>& out, const std::string& name, const std::string& comdat, uint8_t kind,
                    uint8_t vis, uint64_t size, uint32_t slot) {
        out.insert(out.end(), name.begin(), name.end());
        out.push_back(0);
        out.insert(out.end(), comdat.begin(), comdat.end());
        out.push_back(0);
        out.push_back(kind);
        out.push_back(vis);
        for (int i = 0; i < 8; ++i)
            out.push_back(uint8_t(size >> (8 * i)));
        for (int i = 0; i < 4; ++i)
            out.push_back(uint8_t(slot >> (8 * i)));
    };
    std::vector<uint8_t> table;
    entry(table, "lto_entry", "", 0, 0, 0, 0);
    entry(table, "counter", "grp", 4, 3, 0x100000004, 7);
    entry(table, "odd", "", 9, 5, 1, 2);
    table.insert(table.end(), {'c', 'u', 't', 0, 0, 1}); // a truncated last entry ends the walk
    ElfBuilder b(false, true);
    b.addSection({".gnu.lto_.ext_symtab.1", 1, 0, 0, std::vector<uint8_t>(4, 0xEE)});
    b.addSection({".gnu.lto_.symtab.1", 1, 0, 0, table});
    b.addSection({".gnu.lto_.symtab.2", 1, 0, 0, std::vector<uint8_t>(20, 'x')});
    Loaded l(b.build());
    EXPECT_EQ(capture([&](FILE* f) { printLtoSymbols(l.file, f); }),
              "0 lto_entry LDPK_DEF LDPV_DEFAULT 0\n"
              "7 counter LDPK_COMMON LDPV_HIDDEN 4294967300\n"
              "2 odd (null) (null) 1\n");
}

} // namespace

namespace {

TEST(Summary, SectionsProgramsAndBothSymbolOrders)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, 6, 0x08000000, std::vector<uint8_t>(16)});
    b.addProgram({1, 5, 0, 0x08000000, 0x08000000, 16, 16, 4, text});
    b.addSymbol({"zeta", 0x08000001, 4, 0x12, 0, uint16_t(text)});
    b.addSymbol({"alpha", 0x08000008, 4, 0x12, 0, uint16_t(text)});
    Loaded l(b.build());
    const std::string s = capture([&](FILE* f) { printSummary(l.file, f); });
    EXPECT_EQ(s.substr(0, 33), "Sections\n--------\n\nsection header");
    EXPECT_NE(s.find("Programs\n--------\n\nprogram header\np_type      : PT_LOAD\n"), std::string::npos);
    EXPECT_NE(s.find("Symbols by name\n---------------\nalpha:\n  st_info : 0x12\n  st_other: 0x0\n"
                     "  st_shndx: 0x1\n  st_value: 0x8000008\n  st_size : 0x4\nzeta:\n"),
              std::string::npos);
    // By address, ARM symbols without their Thumb bit.
    EXPECT_NE(s.find("Symbols by address\n------------------\n0x8000000 : zeta\n0x8000008 : alpha\n"),
              std::string::npos);
}

} // namespace
