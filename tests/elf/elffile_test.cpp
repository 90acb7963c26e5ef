#include <gtest/gtest.h>

#include <memory>

#include "elf/elffile.h"
#include "tests/lib/elfbuilder.h"

namespace {

constexpr uint64_t SHF_WA = 0x3, SHF_AX = 0x6, SHF_A = 0x2;

void loadImage(const std::vector<uint8_t>& image, ElfFile* file)
{
    std::unique_ptr<uint8_t[]> copy(new uint8_t[image.size() + 1]);
    std::copy(image.begin(), image.end(), copy.get());
    file->parse(std::move(copy), image.size(), "test.o");
}

std::string loadError(const std::vector<uint8_t>& image)
{
    ElfFile file;
    try {
        loadImage(image, &file);
    } catch (const HException& e) {
        return e.message();
    }
    return "";
}

// A small Cortex-M image: code, constants, data, zero-initialised data, two segments.
struct Firmware {
    ElfBuilder b;
    int text, rodata, data, bss;
    explicit Firmware(bool is64, bool bigEndian, uint16_t machine = 40) : b(is64, bigEndian, machine)
    {
        b.type = 2;
        b.flags = 0x05000400;
        b.entry = 0x08000101;
        text = b.addSection({".text", 1, SHF_AX, 0x08000000, std::vector<uint8_t>(64, 0xAA), 0, 0, 4});
        rodata = b.addSection({".rodata", 1, SHF_A, 0x08000040, std::vector<uint8_t>(16, 1), 0, 0, 4});
        data = b.addSection({".data", 1, SHF_WA, 0x20000000, std::vector<uint8_t>(8, 2), 0, 0, 4});
        bss = b.addSection({".bss", 8, SHF_WA, 0x20000008, {}, 0, 0, 4, 0, 0x100});
        b.addProgram({1, 5, 0, 0x08000000, 0x08000000, 0x50, 0x50, 0x1000, text});
        b.addProgram({1, 6, 0, 0x20000000, 0x08000050, 0x8, 0x108, 0x1000, data});
        b.addSymbol({"main", 0x08000001, 20, 0x12, 0, uint16_t(text)});
        b.addSymbol({"table", 0x08000040, 16, 0x11, 0, uint16_t(rodata)});
        b.addSymbol({"$t", 0x08000000, 0, 0x00, 0, uint16_t(text)});
        b.addSymbol({"$d", 0x08000020, 0, 0x00, 0, uint16_t(text)});
        b.addSymbol({"counter", 0x20000000, 4, 0x11, 2, uint16_t(data)});
        b.addSymbol({"buffer", 0x20000008, 0x100, 0x11, 0, uint16_t(bss)});
        b.addSymbol({"puts", 0, 0, 0x12, 0, 0});
        b.addSymbol({"limit", 0x1234, 0, 0x10, 0, 0xFFF1});
        b.addSymbol({".Lhidden", 0x08000004, 0, 0, 0, uint16_t(text)});
        b.addSymbol({"!bang", 0x08000004, 0, 0, 0, uint16_t(text)});
        b.addSymbol({"arm_func", 0x08000010, 4, 0x12, 0, uint16_t(text)});
        b.addSymbol({"thumb_label", 0x08000200, 0, 0x0D, 0, uint16_t(text)});
    }
};

struct Layout {
    bool is64;
    bool bigEndian;
};

class ElfLayouts : public ::testing::TestWithParam<Layout> {};

// One logical file written in each class and byte order must read back the same.
TEST_P(ElfLayouts, ReadsEveryRecordBack)
{
    Firmware fw(GetParam().is64, GetParam().bigEndian);
    const std::vector<uint8_t> image = fw.b.build();
    ElfFile file;
    loadImage(image, &file);

    EXPECT_EQ(file.e_type, 2);
    EXPECT_EQ(file.e_machine, 40);
    EXPECT_EQ(file.e_version, 1u);
    EXPECT_EQ(file.getEntryPoint(), 0x08000101u);
    EXPECT_EQ(file.e_flags, 0x05000400u);
    EXPECT_EQ(file.e_shoff, fw.b.shoff);
    EXPECT_EQ(file.e_phoff, fw.b.phoff);
    EXPECT_EQ(file.isLittleEndian(), !GetParam().bigEndian);
    EXPECT_EQ(file.is64(), GetParam().is64);

    ASSERT_EQ(file.programCount(), 2);
    const ElfProgram* p1 = file.programAt(1);
    EXPECT_EQ(p1->p_type, 1u);
    EXPECT_EQ(p1->p_flags, 6u);
    EXPECT_EQ(p1->p_offset, fw.b.sectionOffsets[fw.data]);
    EXPECT_EQ(p1->p_vaddr, 0x20000000u);
    EXPECT_EQ(p1->p_paddr, 0x08000050u);
    EXPECT_EQ(p1->p_filesz, 8u);
    EXPECT_EQ(p1->p_memsz, 0x108u);
    EXPECT_EQ(p1->p_align, 0x1000u);
    EXPECT_EQ(p1->data, file.image() + fw.b.sectionOffsets[fw.data]);

    const ElfSection* bss = file.sectionByName(".bss");
    ASSERT_NE(bss, nullptr);
    EXPECT_EQ(bss->index, uint32_t(fw.bss));
    EXPECT_EQ(bss->sh_type, 8u);
    EXPECT_EQ(bss->sh_size, 0x100u);
    EXPECT_EQ(bss->data, nullptr);
    EXPECT_TRUE(bss->memoryImage);
    const ElfSection* text = file.sectionAt(fw.text);
    EXPECT_EQ(text->name, ".text");
    EXPECT_EQ(text->sh_addr, 0x08000000u);
    EXPECT_EQ(text->sh_flags, SHF_AX);
    EXPECT_EQ(text->data[0], 0xAA);
    EXPECT_FALSE(file.sectionByName(".symtab")->memoryImage);

    // Every entry is in the table, entry 0 included.
    ASSERT_EQ(file.symbolCount(), 13);
    const ElfSymbol* counter = file.symbolAt(5);
    EXPECT_EQ(counter->name, "counter");
    EXPECT_EQ(counter->st_value, 0x20000000u);
    EXPECT_EQ(counter->st_size, 4u);
    EXPECT_EQ(counter->st_info, 0x11);
    EXPECT_EQ(counter->st_other, 2);
    EXPECT_EQ(counter->st_shndx, fw.data);
    EXPECT_EQ(counter->index, 5u);
}

INSTANTIATE_TEST_SUITE_P(AllLayouts, ElfLayouts,
                         ::testing::Values(Layout{false, false}, Layout{false, true}, Layout{true, false},
                                           Layout{true, true}));

TEST(ElfFile, ArmSymbolsKnowThumbFromArm)
{
    Firmware fw(false, false);
    ElfFile file;
    loadImage(fw.b.build(), &file);
    struct Row {
        const char* name;
        uint64_t address;
        int kind;
    } rows[] = {
        {"main", 0x08000000, ARMElfSymbol::ThumbCode},        // FUNC with bit 0 set
        {"arm_func", 0x08000010, ARMElfSymbol::ArmCode},      // FUNC, even value
        {"thumb_label", 0x08000200, ARMElfSymbol::ThumbCode}, // type 13
        {"table", 0x08000040, ARMElfSymbol::NoCode},          // OBJECT
    };
    for (const Row& r : rows) {
        const ElfSymbol* s = nullptr;
        for (int i = 0; i < file.symbolCount(); ++i) {
            if (file.symbolAt(i)->name == r.name)
                s = file.symbolAt(i);
        }
        ASSERT_NE(s, nullptr) << r.name;
        const auto* arm = dynamic_cast<const ARMElfSymbol*>(s);
        ASSERT_NE(arm, nullptr) << r.name;
        EXPECT_EQ(arm->address(), r.address) << r.name;
        EXPECT_EQ(arm->kind, r.kind) << r.name;
    }
}

TEST(ElfFile, OtherMachinesKeepPlainSymbols)
{
    Firmware fw(true, false, 62);
    ElfFile file;
    loadImage(fw.b.build(), &file);
    const ElfSymbol* main = file.symbolAt(1);
    EXPECT_EQ(dynamic_cast<const ARMElfSymbol*>(main), nullptr);
    EXPECT_EQ(main->address(), 0x08000001u); // no Thumb bit to strip
}

TEST(ElfFile, BiasMovesArmAddressesBelowTheLimit)
{
    Firmware fw(false, false);
    const std::vector<uint8_t> image = fw.b.build();
    ElfFile file(false, 0x100, 0x10000000);
    loadImage(image, &file);
    EXPECT_EQ(file.symbolAt(1)->address(), 0x08000100u); // main: moved
    EXPECT_EQ(file.symbolAt(5)->address(), 0x20000000u); // counter: above the limit
}

TEST(ElfFile, SymbolListsSortAndClassify)
{
    Firmware fw(false, false);
    ElfFile file;
    loadImage(fw.b.build(), &file);

    std::vector<std::string> named;
    for (const ElfSymbol* s : file.namedSymbols())
        named.emplace_back(s->name);
    // Mapping symbols and names starting with '.' or '!' stay out; undefined and
    // absolute symbols are named but not defined.
    EXPECT_EQ(named, (std::vector<std::string>{"arm_func", "buffer", "counter", "limit", "main", "puts", "table",
                                               "thumb_label"}));
    std::vector<std::string> defined;
    for (const ElfSymbol* s : file.definedSymbols())
        defined.emplace_back(s->name);
    EXPECT_EQ(defined, (std::vector<std::string>{"main", "arm_func", "table", "thumb_label", "counter", "buffer"}));

    ASSERT_EQ(file.mappingSymbols().size(), 2u);
    EXPECT_EQ(file.mappingSymbols()[0]->name, "$t");
    EXPECT_EQ(file.sectionMappingSymbols(file.sectionAt(fw.text)).size(), 2u);
}

TEST(ElfFile, AddressLookups)
{
    Firmware fw(false, false);
    ElfFile file;
    loadImage(fw.b.build(), &file);
    EXPECT_EQ(file.symbolAtOrBefore(0x07FFFFFF), nullptr);
    EXPECT_EQ(file.symbolAtOrBefore(0x08000000)->name, "main");
    EXPECT_EQ(file.symbolAtOrBefore(0x0800000F)->name, "main");
    EXPECT_EQ(file.symbolAtOrBefore(0x08000010)->name, "arm_func");
    EXPECT_EQ(file.symbolAtOrBefore(0x90000000)->name, "buffer"); // past the last one
    EXPECT_EQ(file.distanceToNextSymbol(file.symbolAt(1)), 0x10u);
    EXPECT_EQ(file.distanceToNextSymbol(file.symbolAt(6)), 0u); // buffer is last

    const ElfSection* text = file.sectionAt(fw.text);
    EXPECT_EQ(file.mappingSymbolAt(0x08000010, text)->name, "$t");
    EXPECT_EQ(file.mappingSymbolAt(0x08000024, text)->name, "$d");
    EXPECT_EQ(file.mappingSymbolAt(0x08000024, nullptr)->name, "$d"); // inside a PT_LOAD
    EXPECT_EQ(file.mappingSymbolAt(0x30000000, nullptr), nullptr);    // outside every segment

    EXPECT_EQ(file.programByVirtualAddress(0x20000100), file.programAt(1)); // in memsz, past filesz
    EXPECT_EQ(file.programByVirtualAddress(0x20000108), nullptr);
    EXPECT_EQ(file.programByOffset(file.programAt(1)->p_offset + 7), file.programAt(1));
    EXPECT_TRUE(file.rangeInProgram(0x20000000, 0x108));
    EXPECT_FALSE(file.rangeInProgram(0x20000000, 0x109));
}

TEST(ElfFile, SectionLookupsByNameAndType)
{
    ElfBuilder b(false, false);
    b.addSection({".strtab", 1, 0, 0, {'x', 0}}); // same name, wrong type
    b.addSymbol({"f", 0, 0, 0x12, 0, 0});
    ElfFile file;
    loadImage(b.build(), &file);
    const ElfSection* strtab = file.sectionByNameAndType(".strtab", 3);
    ASSERT_NE(strtab, nullptr);
    EXPECT_EQ(strtab->sh_type, 3u);
    EXPECT_EQ(file.stringTable(), strtab);
    EXPECT_EQ(file.symbolAt(1)->name, "f");
    EXPECT_EQ(file.sectionByName(".nothing"), nullptr);
    EXPECT_EQ(file.sectionAt(99), nullptr);
    EXPECT_EQ(file.sectionAt(-1), nullptr);
    EXPECT_EQ(file.symbolAt(2), nullptr);
}

TEST(ElfFile, RelocationSectionOfASection)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, SHF_AX, 0, std::vector<uint8_t>(8)});
    b.addSection({".rel.text", 9, 0, 0, std::vector<uint8_t>(8), 0, uint32_t(text), 4, 8});
    ElfFile file;
    loadImage(b.build(), &file);
    EXPECT_EQ(file.relocationSectionFor(file.sectionAt(text)), file.sectionAt(text + 1));
    EXPECT_EQ(file.relocationSectionFor(file.sectionAt(text + 1)), nullptr);
}

// Reading the image's e_ident: data 1 is little-endian, everything else big-endian;
// class 1 is 32-bit, everything else 64-bit.
TEST(ElfFile, LenientIdentBytes)
{
    struct Row {
        bool is64, bigEndian;
        uint8_t identClass, identData;
    } rows[] = {{false, true, 1, 0}, {true, false, 0, 1}, {true, true, 7, 9}};
    for (const Row& r : rows) {
        Firmware fw(r.is64, r.bigEndian);
        fw.b.identClass = r.identClass;
        fw.b.identData = r.identData;
        ElfFile file;
        loadImage(fw.b.build(), &file);
        EXPECT_EQ(file.getEntryPoint(), 0x08000101u);
        EXPECT_EQ(file.symbolAt(5)->name, "counter");
    }
}

std::vector<uint8_t> withExtendedNumbering(bool is64, bool bigEndian, bool countInSection0, bool indexInSection0)
{
    ElfBuilder b(is64, bigEndian);
    b.addSection({".text", 1, SHF_AX, 0, std::vector<uint8_t>(4)});
    b.addSection({".data", 1, SHF_WA, 0, std::vector<uint8_t>(4)});
    std::vector<uint8_t> img = b.build();
    // e_shnum and e_shstrndx sit at the end of the header; section 0 holds sh_size and sh_link.
    const size_t e_shnum = is64 ? 60 : 48, e_shstrndx = e_shnum + 2;
    auto put = [&](size_t at, uint64_t v, int n) {
        for (int i = 0; i < n; ++i)
            img[at + i] = uint8_t(v >> (bigEndian ? 8 * (n - 1 - i) : 8 * i));
    };
    auto get16 = [&](size_t at) {
        return bigEndian ? uint16_t(img[at] << 8 | img[at + 1]) : uint16_t(img[at + 1] << 8 | img[at]);
    };
    const uint16_t shnum = get16(e_shnum), shstrndx = get16(e_shstrndx);
    const size_t s0 = b.shoff;
    if (countInSection0) {
        put(e_shnum, 0, 2);
        put(s0 + (is64 ? 32 : 20), shnum, is64 ? 8 : 4);
    }
    if (indexInSection0) {
        put(e_shstrndx, 0xFFFF, 2);
        put(s0 + (is64 ? 40 : 24), shstrndx, 4);
    }
    return img;
}

TEST(ElfFile, ExtendedSectionNumbering)
{
    for (bool is64 : {false, true}) {
        for (bool be : {false, true}) {
            for (int mode = 1; mode <= 3; ++mode) {
                ElfFile file;
                loadImage(withExtendedNumbering(is64, be, mode & 1, mode & 2), &file);
                EXPECT_EQ(file.sectionCount(), 4);
                ASSERT_NE(file.sectionByName(".data"), nullptr);
                EXPECT_EQ(file.sectionByName(".data")->index, 2u);
            }
        }
    }
}

TEST(ElfFile, ExtendedSymbolSectionIndex)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, SHF_AX, 0x100, std::vector<uint8_t>(8)});
    // Entry 0 and entry 1 of the table; entry 1 (the symbol) names section `text`.
    b.addSection({".symtab_shndx", 18, 0, 0, {0, 0, 0, 0, uint8_t(text), 0, 0, 0}});
    b.addSymbol({"far", 0x104, 4, 0x12, 0, 0xFFFF});
    ElfFile file;
    loadImage(b.build(), &file);
    EXPECT_EQ(file.sectionOfSymbol(file.symbolAt(1)), file.sectionAt(text));
}

TEST(ElfFile, StrippedFileHasNoSymbols)
{
    ElfBuilder b(false, false);
    b.addSection({".text", 1, SHF_AX, 0, std::vector<uint8_t>(8)});
    ElfFile file;
    loadImage(b.build(), &file);
    EXPECT_EQ(file.symbolCount(), 0);
    EXPECT_TRUE(file.namedSymbols().empty());
}

// Damaged files fail with one of the reader's messages, naming the file.
TEST(ElfFile, DamagedFilesAreRefused)
{
    Firmware fw(false, false);
    const std::vector<uint8_t> good = fw.b.build();
    const uint64_t shoff = fw.b.shoff;
    const int symtab = fw.b.symtabIndex;
    auto patch32 = [](std::vector<uint8_t> img, size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i)
            img[at + i] = uint8_t(v >> (8 * i));
        return img;
    };
    auto shdr = [&](int index, int field) { return size_t(shoff + 40 * index + field); };

    struct Row {
        const char* what;
        std::vector<uint8_t> image;
        const char* message;
    } rows[] = {
        {"wrong magic", patch32(good, 0, 0x564C457F), "invalid ELF file: test.o"},
        {"three bytes", std::vector<uint8_t>(good.begin(), good.begin() + 3), "invalid ELF file: test.o"},
        {"header cut", std::vector<uint8_t>(good.begin(), good.begin() + 40), "truncated ELF file: test.o"},
        {"section table cut", std::vector<uint8_t>(good.begin(), good.end() - 1), "truncated ELF file: test.o"},
        {"e_shoff past end", patch32(good, 32, 0x7FFFFFF0), "truncated ELF file: test.o"},
        {"section offset past end", patch32(good, shdr(fw.text, 16), uint32_t(good.size())),
         "truncated ELF file: test.o"},
        {"segment offset past end", patch32(good, 52 + 4, 0x10000000), "truncated ELF file: test.o"},
        {"zero symbol entry size", patch32(good, shdr(symtab, 36), 0), "invalid ELF file: test.o"},
        {"symbol count beyond file", patch32(good, shdr(symtab, 20), 0xFFFFFFF0), "truncated ELF file: test.o"},
        {"symbol name beyond file", patch32(good, fw.b.sectionOffsets[symtab] + 16, 0x7FFFFFFF),
         "truncated ELF file: test.o"},
        {"section name beyond file", patch32(good, shdr(fw.text, 0), 0x7FFFFFFF), "truncated ELF file: test.o"},
    };
    for (const Row& r : rows)
        EXPECT_EQ(loadError(r.image), r.message) << r.what;
}

TEST(ElfFile, AbsurdCountsFailBeforeAllocating)
{
    // 200 bytes claiming 0xFFFF program headers, and 2^32-1 sections through section 0.
    std::vector<uint8_t> img(200, 0);
    img[0] = 0x7f, img[1] = 'E', img[2] = 'L', img[3] = 'F', img[4] = 1, img[5] = 1;
    img[44] = 0xFF, img[45] = 0xFF; // e_phnum
    img[28] = 52;                   // e_phoff
    EXPECT_EQ(loadError(img), "truncated ELF file: test.o");

    std::vector<uint8_t> sections(200, 0);
    std::copy(img.begin(), img.begin() + 6, sections.begin());
    sections[32] = 52;                                               // e_shoff
    sections[52 + 20] = sections[53 + 20] = sections[54 + 20] = sections[55 + 20] = 0xFF; // sh_size of section 0
    EXPECT_EQ(loadError(sections), "truncated ELF file: test.o");
}

TEST(ElfFile, LoadFromPath)
{
    Firmware fw(false, false);
    TempFile tmp(fw.b.build());
    ElfFile file;
    file.load(QString::fromStdString(tmp.path()));
    EXPECT_EQ(file.symbolAt(1)->name, "main");
    EXPECT_EQ(file.fileName().toStdString(), tmp.path());

    ElfFile missing;
    try {
        missing.load("/nonexistent/file.o");
        FAIL() << "loaded a missing file";
    } catch (const HException& e) {
        EXPECT_EQ(e.message(), "cannot open /nonexistent/file.o");
    }
}

TEST(ElfFile, DemanglesNamesWhenAsked)
{
    ElfBuilder b(false, false);
    const int text = b.addSection({".text", 1, SHF_AX, 0, std::vector<uint8_t>(8)});
    b.addSymbol({"_ZN3foo3barEi", 0, 4, 0x12, 0, uint16_t(text)});
    b.addSymbol({"plain_c", 4, 4, 0x12, 0, uint16_t(text)});
    const std::vector<uint8_t> img = b.build();
    ElfFile file(true);
    loadImage(img, &file);
    EXPECT_EQ(file.symbolAt(1)->name, "foo::bar(int)");
    EXPECT_EQ(file.symbolAt(2)->name, "plain_c");
    ElfFile raw(false);
    loadImage(img, &raw);
    EXPECT_EQ(raw.symbolAt(1)->name, "_ZN3foo3barEi");
}

TEST(NameOrder, FollowsUtf16CodeUnits)
{
    EXPECT_TRUE(nameLess("-ARMAttributes", "-arch"));
    EXPECT_TRUE(nameLess("abc", "abcd"));
    EXPECT_FALSE(nameLess("abc", "abc"));
    EXPECT_TRUE(nameLess("_ZNSt6vectorIiE1aEv", "_ZNSt6vectorIiE1bEv")); // differ after 16 bytes
    // U+1F600 (a surrogate pair in UTF-16) sorts before U+FF21 there, unlike in UTF-8.
    EXPECT_TRUE(nameLess("\xF0\x9F\x98\x80", "\xEF\xBC\xA1"));
    EXPECT_FALSE(nameLess("\xEF\xBC\xA1", "\xF0\x9F\x98\x80"));
    EXPECT_TRUE(nameLess("\xC3\xA9", "\xEF\xBC\xA1"));
}

} // namespace
