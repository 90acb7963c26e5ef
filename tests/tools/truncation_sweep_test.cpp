#include <gtest/gtest.h>

#include <dirent.h>

#include <algorithm>

#include "tests/lib/elfbuilder.h"
#include "tests/lib/runtool.h"

namespace {

const std::string fixtures = std::string(EDD_SOURCE_DIR) + "/tests/fixtures/";

std::vector<std::string> filesIn(const std::string& dir)
{
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            if (e->d_name[0] != '.')
                names.push_back(dir + e->d_name);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Every prefix of every fixture (each 64th length and the last 64) through every
// listing: a damaged file may fail the load, but never crash, hang or trip a sanitizer.
TEST(TruncationSweep, EveryListingSurvivesEveryCut)
{
    std::vector<std::string> files = filesIn(fixtures + "elf/");
    for (const char* dir : {"malformed/", "tool/", "dwarf/", "disasm/", "fuzz/"}) {
        const std::vector<std::string> more = filesIn(fixtures + dir);
        files.insert(files.end(), more.begin(), more.end());
    }
    files.push_back(std::string(EDD_SOURCE_DIR) + "/examples/blinky/blinky.elf");
    ASSERT_GE(files.size(), 20u);

    size_t runs = 0, loaded = 0;
    for (const std::string& path : files) {
        const std::vector<uint8_t> bytes = readFile(path);
        std::vector<size_t> cuts;
        for (size_t n = 0; n < bytes.size(); n += 64)
            cuts.push_back(n);
        for (size_t n = bytes.size() > 64 ? bytes.size() - 64 : 0; n <= bytes.size(); ++n)
            cuts.push_back(n);
        for (size_t n : cuts) {
            TempFile cut(std::vector<uint8_t>(bytes.begin(), bytes.begin() + n));
            const ToolResult r = runTool({"-header", "-programs", "-program-data", "-sections", "-section-data",
                                          "-symbols", "-symbols-sorted", "-ltosymbols", "-demangle", "-relocations",
                                          "-ARMAttributes", "-stack-sizes", "-dwarf", "-flm", "-stldr", "-unwind",
                                          "-dwarf-frame", "-mm", "-disassemble",
                                          "-memory-usage", "FLASH,0x08000000,0x100000,RAM,0x20000000,0x20000",
                                          cut.path()},
                                         true);
            // Comparing with itself and patching in place read every part the listings skip.
            const ToolResult cmp = runTool({"-cmp", cut.path(), cut.path()}, true);
            const ToolResult cmpSymbols = runTool({"-symbols", "-cmp", cut.path(), cut.path()}, true);
            const ToolResult patch =
                runTool({"-setVFPflags", "-setObject", "-deTISection", "-ThumbSymbols", cut.path()}, true);
            runs += 4;
            for (const ToolResult* other : {&cmp, &cmpSymbols, &patch})
                ASSERT_TRUE(other->status == 0 || other->status == 1) << path << " cut at " << n;
            ASSERT_TRUE(r.status == 0 || r.status == 1) << path << " cut at " << n;
            if (r.status == 1) {
                // A refusal always says why.
                ASSERT_FALSE(r.err.empty()) << path << " cut at " << n;
            } else {
                ++loaded;
            }
        }
    }
    printf("truncation sweep: %zu runs over %zu files, %zu loaded\n", runs, files.size(), loaded);
}

} // namespace
