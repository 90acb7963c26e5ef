#include <gtest/gtest.h>

#include <cstdio>

#include "tests/lib/elfbuilder.h"
#include "tests/lib/runtool.h"
#include "tools/elfdwarfdump/memoryusage.h"

namespace {

const std::string heading = "Memory Region: Used Size: Region Size: %age Used\n";

// One row of the report, with the texts of its columns written out by hand.
std::string row(const char* name, const char* used, const char* size, const char* percent)
{
    char line[128];
    snprintf(line, sizeof line, "%13s %10s %12s %9s\n", name, used, size, percent);
    return line;
}

struct Placed {
    const char* name;
    uint32_t type;   // 1 PROGBITS, 8 NOBITS, 7 NOTE
    uint64_t flags;  // 1 W, 2 A, 4 X
    uint64_t addr;
    uint64_t size;
};

std::vector<uint8_t> imageWith(const std::vector<Placed>& sections, bool is64 = false)
{
    ElfBuilder b(is64, false);
    b.type = 2;
    for (const Placed& p : sections) {
        TestSection s{p.name, p.type, p.flags, p.addr, {}};
        if (p.type == 8)
            s.nobitsSize = p.size;
        else
            s.data.assign(p.size, 0x5a);
        b.addSection(s);
    }
    return b.build();
}

TEST(MemoryUsage, Report)
{
    struct Case {
        const char* what;
        std::vector<Placed> sections;
        std::string regions;
        std::string rows; // after the heading
        bool is64 = false;
    } cases[] = {
        {"a 0x100-byte section at the start of 64 KiB: the last byte is not counted",
         {{".text", 1, 6, 0x08000000, 0x100}},
         "FLASH,0x08000000,0x10000",
         row("FLASH", "255 B", "64 KB", "0.4%")},
        {"a section across the region's end counts only in a region that holds it whole",
         {{".text", 1, 6, 0x08000000, 0x100}, {".straddle", 1, 6, 0x0800ff00, 0x200}},
         "SMALL,0x08000000,0x10000,BIG,0x08000000,0x20000",
         // BIG: highest 0x080100ff, used 0x100ff = 65791 = 64.24 KiB, 65791000 / 131072 = 501.9
         row("SMALL", "255 B", "64 KB", "0.4%") + row("BIG", "64.2 KB", "128 KB", "50.2%")},
        {"a section starting before the region does not count either",
         {{".early", 1, 6, 0x07ffff00, 0x200}},
         "FLASH,0x08000000,0x10000",
         ""},
        {"an empty region prints no row",
         {{".text", 1, 6, 0x08000000, 0x100}},
         "RAM,0x20000000,0x20000,FLASH,0x08000000,0x10000",
         row("FLASH", "255 B", "64 KB", "0.4%")},
        {"regions in the order given; zero-initialised sections count, notes and unallocated ones do not",
         {{".text", 1, 6, 0x08000000, 0x800},
          {".data", 1, 3, 0x20000000, 0x40},
          {".bss", 8, 3, 0x20000040, 0x3c0},
          {".note", 7, 2, 0x20001000, 0x10},
          {".info", 1, 0, 0x20002000, 0x10}},
         "RAM,0x20000000,0x20000,FLASH,0x08000000,0x80000",
         // RAM: highest 0x200003ff, 1023000 / 131072 = 7.8; FLASH: 2047000 / 524288 = 3.9
         row("RAM", "1023 B", "128 KB", "0.8%") + row("FLASH", "1.9 KB", "512 KB", "0.4%")},
        {"the highest end wins, not the last section",
         {{".b", 1, 6, 0x1800, 0x100}, {".a", 1, 6, 0x1000, 0x100}},
         "R,0x1000,0x1000",
         row("R", "2.2 KB", "4 KB", "56.2%")}, // 0x18ff - 0x1000 = 2303 = 2.24 KiB, 2303000 / 4096 = 562.3
        {"a region of size 0 holds nothing, even at address 0",
         {{".text", 1, 6, 0x0, 0x100}},
         "NONE,0,0,ZERO,0x0,0x0",
         ""},
        {"sections of size 0 are not used memory",
         {{".empty", 1, 6, 0x08000800, 0}, {".text", 1, 6, 0x08000000, 0x10}},
         "FLASH,0x08000000,0x10000",
         row("FLASH", "15 B", "64 KB", "0.0%")},
        {"rounding half up: 1 byte of 2000 is 0.05%",
         {{".t", 1, 6, 0x100, 2}},
         "R,0x100,2000",
         row("R", "1 B", "1.9 KB", "0.1%")},
        {"a used size above 32 bits is shown cut to 32 bits; the percentage is not",
         {{".far", 1, 6, 0x100000000, 0x10}},
         "ALL,0,0x200000000",
         // used 0x10000000f: 15 after the cut, 50.0% of 8 GiB
         row("ALL", "15 B", "8192 MB", "50.0%"),
         true},
        {"empty pieces are dropped",
         {{".text", 1, 6, 0x08000000, 0x100}},
         ",FLASH,,0x08000000,0x10000,,",
         row("FLASH", "255 B", "64 KB", "0.4%")},
    };
    for (const Case& c : cases) {
        TempFile f(imageWith(c.sections, c.is64), ".elf");
        const ToolResult r = runTool({"-memory-usage", c.regions, f.path()});
        EXPECT_EQ(r.status, 0) << c.what;
        EXPECT_EQ(r.err, "") << c.what;
        EXPECT_EQ(r.out, heading + c.rows) << c.what;
    }
}

TEST(MemoryUsage, NumberBases)
{
    TempFile f(imageWith({{".text", 1, 6, 0x08000000, 0x100}}), ".elf");
    // 0x08000000 = 134217728 = 01000000000 and 0x10000 = 65536 = 0200000, in any mix.
    const char* same[] = {"FLASH,0x08000000,0x10000", "FLASH,134217728,65536", "FLASH,01000000000,0200000",
                          "FLASH,0X8000000,65536", "FLASH,134217728,0x10000", "FLASH,0x8000000,0200000"};
    for (const char* regions : same) {
        const ToolResult r = runTool({"-memory-usage", regions, f.path()});
        EXPECT_EQ(r.status, 0) << regions;
        EXPECT_EQ(r.out, heading + row("FLASH", "255 B", "64 KB", "0.4%")) << regions;
    }
}

TEST(MemoryUsage, InvalidListsEndTheRunWithStatus1)
{
    TempFile f(imageWith({{".text", 1, 6, 0x08000000, 0x100}}), ".elf");
    struct Case {
        const char* regions;
        const char* named; // what the message names
    } cases[] = {
        {"FLASH,0x08000000", "FLASH,0x08000000"},                  // two pieces: the whole list
        {"FLASH,0x08000000,0x10000,RAM", "FLASH,0x08000000,0x10000,RAM"},
        {"FLASH,,0x08000000,", "FLASH,,0x08000000,"},             // empty pieces do not count
        {"FLASH,0x0800000g,0x10000", "FLASH,0x0800000g,0x10000"}, // a bad number: its region
        {"FLASH,0,1,RAM,0x,1", "RAM,0x,1"},
        {"FLASH,08,1", "FLASH,08,1"},                             // 8 is not an octal digit
        {"FLASH,-1,1", "FLASH,-1,1"},
        {"FLASH,+1,1", "FLASH,+1,1"},
        {"FLASH, 1,1", "FLASH, 1,1"},
        {"FLASH,1,18446744073709551616", "FLASH,1,18446744073709551616"}, // 2^64
        {"FLASH,0x10000000000000000,1", "FLASH,0x10000000000000000,1"},
    };
    for (const Case& c : cases) {
        const ToolResult r = runTool({"-memory-usage", c.regions, f.path()});
        EXPECT_EQ(r.status, 1) << c.regions;
        EXPECT_EQ(r.err, std::string("invalid segment ") + c.named + "\n") << c.regions;
        // Nothing of the table: not even the heading.
        EXPECT_EQ(r.out, "") << c.regions;
    }
    // The largest 64-bit values are still numbers.
    const ToolResult top = runTool({"-memory-usage", "TOP,18446744073709551615,0xffffffffffffffff", f.path()});
    EXPECT_EQ(top.status, 0) << top.err;
}

TEST(MemoryUsage, ComesAfterTheOtherListings)
{
    TempFile f(imageWith({{".text", 1, 6, 0x08000000, 0x100}}), ".elf");
    const ToolResult r = runTool({"-memory-usage", "FLASH,0x08000000,0x10000", "-header", f.path()});
    EXPECT_EQ(r.status, 0);
    const size_t table = r.out.find(heading);
    ASSERT_NE(table, std::string::npos);
    EXPECT_GT(table, 0u);
    EXPECT_EQ(r.out.size(), table + heading.size() + row("FLASH", "255 B", "64 KB", "0.4%").size());
    // A bad list still lets the listings before it through.
    const ToolResult bad = runTool({"-memory-usage", "FLASH", "-header", f.path()});
    EXPECT_EQ(bad.status, 1);
    EXPECT_FALSE(bad.out.empty());
    EXPECT_EQ(bad.err, "invalid segment FLASH\n");
}

// The notation at the edges of its units, with what each value is in bytes.
TEST(MemoryUsage, SizeNotation)
{
    struct Case {
        uint64_t value;
        const char* text;
    } cases[] = {
        {0, "0 B"},
        {255, "255 B"},
        {1023, "1023 B"},
        {1024, "1 KB"},
        {1126, "1 KB"},          // 1.0996 KiB: tenths are cut, not rounded
        {1127, "1.1 KB"},        // 1.1006 KiB
        {1535, "1.4 KB"},        // 1.4990 KiB
        {1536, "1.5 KB"},
        {65536, "64 KB"},
        {1048575, "1023.9 KB"},  // one byte short of 1 MiB
        {1048576, "1 MB"},
        {1572863, "1.4 MB"},
        {1572864, "1.5 MB"},
        {2097151, "1.9 MB"},
        {2097152, "2 MB"},
        {0x100000000, "4096 MB"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(memorySizeText(c.value), c.text) << c.value;
}

// The same edges as the report shows them in both columns: each section runs from the
// region's start to one byte past the used size.
TEST(MemoryUsage, NotationInTheReport)
{
    struct Case {
        uint64_t used, regionSize;
        const char* usedText;
        const char* sizeText;
        const char* percent;
    } cases[] = {
        {1023, 1024, "1023 B", "1 KB", "99.9%"},          // 1023000 / 1024 = 999.02
        {1024, 1536, "1 KB", "1.5 KB", "66.7%"},          // 1024000 / 1536 = 666.67
        {1535, 1048576, "1.4 KB", "1 MB", "0.1%"},        // 1535000 / 1048576 = 1.46
        {1048575, 1572864, "1023.9 KB", "1.5 MB", "66.7%"},
        {1048576, 2097152, "1 MB", "2 MB", "50.0%"},
        {1572864, 2097153, "1.5 MB", "2 MB", "75.0%"},    // 1572864000 / 2097153 = 749.9996
        {2097152, 3145728, "2 MB", "3 MB", "66.7%"},
        {0, 1, "0 B", "1 B", "0.0%"},
    };
    for (const Case& c : cases) {
        TempFile f(imageWith({{".bss", 8, 3, 0x20000000, c.used + 1}}), ".elf");
        const ToolResult r =
            runTool({"-memory-usage", "RAM,0x20000000," + std::to_string(c.regionSize), f.path()});
        EXPECT_EQ(r.out, heading + row("RAM", c.usedText, c.sizeText, c.percent)) << c.used;
    }
}

TEST(MemoryUsage, RegionNumbers)
{
    struct Case {
        const char* text;
        bool ok;
        uint64_t value;
    } cases[] = {
        {"0", true, 0},
        {"00", true, 0},
        {"0x0", true, 0},
        {"017", true, 15},
        {"0x1F", true, 31},
        {"0Xff", true, 255},
        {"4096", true, 4096},
        {"0xffffffffffffffff", true, UINT64_MAX},
        {"01777777777777777777777", true, UINT64_MAX},
        {"02000000000000000000000", false, 0},
        {"0x", false, 0},
        {"", false, 0},
        {"09", false, 0},
        {"12a", false, 0},
        {"1k", false, 0},
        {"0x-1", false, 0},
    };
    for (const Case& c : cases) {
        uint64_t v = 12345;
        EXPECT_EQ(parseRegionNumber(QString::fromLatin1(c.text), &v), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(v, c.value) << c.text;
        }
    }
}

} // namespace
