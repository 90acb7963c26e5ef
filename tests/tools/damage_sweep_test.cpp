// Damaged copies of every fixture through every option: cut short, and with bytes
// changed at random (fixed seed). A damaged file may fail the load, but never crash,
// hang, trip a sanitizer or answer with a status the tool does not know.
#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "tests/lib/elfbuilder.h"
#include "tests/lib/runtool.h"

namespace {

const std::string fixtures = std::string(EDD_SOURCE_DIR) + "/tests/fixtures/";

std::vector<std::string> damageInputs()
{
    std::vector<std::string> files = filesIn(fixtures + "elf/");
    for (const char* dir : {"malformed/", "tool/", "dwarf/", "disasm/", "fuzz/"}) {
        const std::vector<std::string> more = filesIn(fixtures + dir);
        files.insert(files.end(), more.begin(), more.end());
    }
    files.push_back(std::string(EDD_SOURCE_DIR) + "/examples/blinky/blinky.elf");
    return files;
}

// A run that takes this long is a hang: the watchdog names the input and stops.
constexpr unsigned hangSeconds = 60;
char currentCase[512];

void onHang(int)
{
    static const char head[] = "hang: no answer within the time limit for ";
    ssize_t ignored = write(2, head, sizeof head - 1);
    ignored = write(2, currentCase, strlen(currentCase));
    ignored = write(2, "\n", 1);
    (void)ignored;
    _exit(2);
}

struct Outcome {
    size_t runs = 0;
    bool loaded = false;
};

// Every listing, the comparison with itself (both kinds) and the patches in place:
// together they read every part of a file.
Outcome runEveryOption(const std::string& path, const char* arch, const std::string& label)
{
    snprintf(currentCase, sizeof currentCase, "%s", label.c_str());
    signal(SIGALRM, onHang);
    alarm(hangSeconds);
    const ToolResult r = runTool({"-header", "-programs", "-program-data", "-sections", "-section-data", "-symbols",
                                  "-symbols-sorted", "-ltosymbols", "-demangle", "-relocations", "-ARMAttributes",
                                  "-stack-sizes", "-dwarf", "-flm", "-stldr", "-unwind", "-dwarf-frame", "-mm",
                                  "-disassemble", "-arch", arch, "-memory-usage",
                                  "FLASH,0x08000000,0x100000,RAM,0x20000000,0x20000", path},
                                 true);
    const ToolResult noAranges = runTool({"-dwarf", "-ignoreDebugAranges", path}, true);
    const ToolResult cmp = runTool({"-cmp", path, path}, true);
    const ToolResult cmpSymbols = runTool({"-symbols", "-cmp", path, path}, true);
    const ToolResult patch = runTool({"-setVFPflags", "-setObject", "-deTISection", "-ThumbSymbols", path}, true);
    alarm(0);
    for (const ToolResult* other : {&noAranges, &cmp, &cmpSymbols, &patch})
        EXPECT_TRUE(other->status == 0 || other->status == 1) << label;
    EXPECT_TRUE(r.status == 0 || r.status == 1) << label;
    // A refusal always says why.
    if (r.status == 1) {
        EXPECT_FALSE(r.err.empty()) << label;
    }
    return {5, r.status == 0};
}

// Every prefix of every fixture (each 64th length and the last 64).
TEST(DamageSweep, EveryOptionSurvivesEveryCut)
{
    const std::vector<std::string> files = damageInputs();
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
            const Outcome o = runEveryOption(cut.path(), "", path + " cut at " + std::to_string(n));
            runs += o.runs;
            loaded += o.loaded;
            if (HasFailure())
                return;
        }
    }
    printf("truncation sweep: %zu runs over %zu files, %zu loaded\n", runs, files.size(), loaded);
}

// Per fixture, a fixed number of copies with one byte changed and of copies with
// several bytes changed (a run, or bytes scattered over the file), from a fixed
// seed so that a failure names a copy that can be made again. The changed values
// favour those that make counts, sizes and offsets extreme.
TEST(DamageSweep, EveryOptionSurvivesChangedBytes)
{
    constexpr int singleChanges = 24;
    constexpr int multipleChanges = 12;
    static const char* const arches[] = {"", "v4T", "v5TE", "v6", "v6M", "v7M", "v7EM", "v7A", "v8M_Baseline",
                                         "v8M_Mainline", "v8.1M_Mainline"};
    static const uint8_t extremes[] = {0x00, 0xFF, 0x7F, 0x80, 0x01, 0xFE};
    const std::vector<std::string> files = damageInputs();
    ASSERT_GE(files.size(), 20u);
    std::mt19937 random(20261123);
    // The engine's raw output is the same everywhere; the library's distributions are not.
    auto below = [&random](size_t n) { return size_t(random() % n); };
    auto newValue = [&](uint8_t old) {
        const uint8_t v = below(2) ? extremes[below(sizeof extremes)] : uint8_t(random());
        return v == old ? uint8_t(~old) : v;
    };
    size_t runs = 0, loaded = 0, copies = 0;
    for (const std::string& path : files) {
        const std::vector<uint8_t> bytes = readFile(path);
        if (bytes.empty())
            continue;
        for (int copy = 0; copy < singleChanges + multipleChanges; ++copy) {
            std::vector<uint8_t> changed = bytes;
            std::string what;
            if (copy < singleChanges) {
                // The headers hold most counts and offsets: a third of the changes go there.
                const size_t at = copy % 3 == 0 ? below(std::min<size_t>(bytes.size(), 64)) : below(bytes.size());
                changed[at] = newValue(changed[at]);
                what = "byte " + std::to_string(at);
            } else if (copy % 2 == 0) {
                const size_t length = 2 + below(7);
                const size_t at = below(bytes.size());
                for (size_t i = at; i < std::min(bytes.size(), at + length); ++i)
                    changed[i] = newValue(changed[i]);
                what = std::to_string(length) + " bytes from " + std::to_string(at);
            } else {
                const size_t count = 2 + below(15);
                for (size_t i = 0; i < count; ++i) {
                    const size_t at = below(bytes.size());
                    changed[at] = newValue(changed[at]);
                }
                what = std::to_string(count) + " scattered bytes";
            }
            TempFile file(changed);
            const Outcome o = runEveryOption(file.path(), arches[copy % (sizeof arches / sizeof arches[0])],
                                             path + ", copy " + std::to_string(copy) + ": " + what);
            runs += o.runs;
            loaded += o.loaded;
            ++copies;
            if (HasFailure())
                return;
        }
    }
    printf("changed-bytes sweep: %zu copies of %zu files, %zu runs, %zu loaded\n", copies, files.size(), runs,
           loaded);
}

} // namespace
