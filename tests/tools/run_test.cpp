#include <gtest/gtest.h>

#include <cstdio>

#include "tests/lib/elfbuilder.h"
#include "tests/lib/runtool.h"

namespace {

const std::string fixtures = std::string(EDD_SOURCE_DIR) + "/tests/fixtures/";

TEST(Run, ProgramDataIsAddressedFromThePhysicalAddress)
{
    ElfBuilder b(false, false);
    const int data = b.addSection({".data", 1, 3, 0x20000000, {1, 2, 3, 4, 5, 6, 7, 8, 9}});
    b.addProgram({1, 6, 0, 0x20000000, 0x08000400, 9, 9, 4, data});
    TempFile f(b.build());
    const ToolResult r = runTool({"-programs", "-program-data", f.path()});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("p_align     : 0x4\n\n  8000400   01 02 03 04 05 06 07 08  09\n"), std::string::npos)
        << r.out;
    // Without -programs the data option alone prints nothing.
    EXPECT_EQ(runTool({"-program-data", f.path()}).out, "");
}

TEST(Run, SectionDataSkipsEmptyAndNobitsSections)
{
    ElfBuilder b(false, false);
    b.addSection({".text", 1, 6, 0x100, {0xAA, 0xBB}});
    b.addSection({".bss", 8, 3, 0x200, {}, 0, 0, 4, 0, 0x40});
    b.addSection({".empty", 1, 2, 0x300, {}});
    TempFile f(b.build());
    const ToolResult r = runTool({"-sections", "-section-data", f.path()});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("sh_entsize  : 0x0\n\n  100   AA BB\n"), std::string::npos) << r.out;
    // A dump opens with a blank line: .text and the section-name table have one, the
    // zero-initialised and the empty section none.
    size_t dumps = 0;
    for (size_t at = r.out.find("\n\n  "); at != std::string::npos; at = r.out.find("\n\n  ", at + 1))
        ++dumps;
    EXPECT_EQ(dumps, 2u);
}

TEST(Run, TruncatedSectionDumpsWhatIsThereAndWarns)
{
    ElfBuilder b(false, false);
    b.addSection({".text", 1, 6, 0x100, std::vector<uint8_t>(8, 0x11)});
    std::vector<uint8_t> img = b.build();
    // Grow .text's sh_size (section 1, 32-bit header field at +20) past the end of the file.
    const size_t at = b.shoff + 40 + 20;
    img[at] = 0x00;
    img[at + 1] = 0x10;
    TempFile f(img);
    const ToolResult r = runTool({"-sections", "-section-data", f.path()});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("sh_size     : 0x1000\n"), std::string::npos);
    EXPECT_NE(r.err.find("section 1 has 0x"), std::string::npos) << r.err;
}

TEST(Run, ArchiveMembersAreListedInOrder)
{
    const ToolResult r = runTool({"-header", fixtures + "elf/libfixture.a"});
    ASSERT_EQ(r.status, 0) << r.err;
    // Each member starts with its header offset and name, then its listings.
    const size_t first = r.out.find("\noffset 0x");
    ASSERT_NE(first, std::string::npos);
    unsigned long offset = 0;
    char name[100];
    ASSERT_EQ(sscanf(r.out.c_str() + first, "\noffset 0x%08lx %99s\n", &offset, name), 2);
    EXPECT_EQ(name, std::string("crc32_table_driven.o"));
    EXPECT_EQ(r.out.compare(r.out.find('\n', first + 1) + 1, 12, "\nelf header\n"), 0);
}

TEST(Run, OutputFileReceivesTheListing)
{
    const std::string out = std::string(getenv("TMPDIR") ? getenv("TMPDIR") : "/tmp") + "/edd-run-out.txt";
    const ToolResult r = runTool({"-header", fixtures + "elf/thumb.o", out});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "");
    const std::vector<uint8_t> written = readFile(out);
    unlink(out.c_str());
    EXPECT_EQ(std::string(written.begin(), written.begin() + 12), "\nelf header\n");
}

} // namespace
