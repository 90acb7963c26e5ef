#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "tests/lib/elfbuilder.h"
#include "tests/lib/runtool.h"

namespace {

// Bytes of a target structure, written field by field at the offsets of its C layout.
struct Blob {
    explicit Blob(size_t size, bool bigEndian) : bytes(size), bigEndian(bigEndian) {}
    void put(size_t at, uint64_t value, int size)
    {
        for (int i = 0; i < size; ++i)
            bytes[at + i] = uint8_t(value >> (bigEndian ? 8 * (size - 1 - i) : 8 * i));
    }
    void text(size_t at, const std::string& s) { std::copy(s.begin(), s.end(), bytes.begin() + at); }
    std::vector<uint8_t> cut(size_t size) const { return {bytes.begin(), bytes.begin() + std::min(size, bytes.size())}; }

    std::vector<uint8_t> bytes;
    bool bigEndian;
};

using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

// struct FlashDevice: Vers u16 @0, DevName[128] @2, DevType u16 @130, DevAdr @132,
// szDev @136, szPage @140, Res @144, valEmpty u8 @148, toProg @152, toErase @156,
// then (szSector, AddrSector) pairs @160, ended by szSector 0xFFFFFFFF.
Blob deviceDescription(const std::string& name, const Pairs& sectors, bool endMark, bool bigEndian)
{
    Blob b(160 + 8 * (sectors.size() + (endMark ? 1 : 0)), bigEndian);
    b.put(0, 0x0101, 2);
    b.text(2, name);
    b.put(130, 0x4141, 2); // printable, so that a name read past its field would show it
    b.put(132, 0x08000000, 4);
    b.put(136, 0x100000, 4);
    b.put(140, 0x400, 4);
    b.put(148, 0xFF, 1);
    b.put(152, 100, 4);
    b.put(156, 3000, 4);
    size_t at = 160;
    for (const auto& [size, address] : sectors) {
        b.put(at, size, 4);
        b.put(at + 4, address, 4);
        at += 8;
    }
    if (endMark) {
        b.put(at, 0xFFFFFFFF, 4);
        b.put(at + 4, 0xFFFFFFFF, 4);
    }
    return b;
}

std::string flmRun(const std::vector<uint8_t>& devDscr, bool bigEndian, uint32_t devDscrType = 1)
{
    ElfBuilder b(false, bigEndian);
    b.type = 2;
    // Index order, not name order: the description comes between the code and the data.
    const int code = b.addSection({"PrgCode", 1, 6, 0x0, std::vector<uint8_t>(0x5c)});
    TestSection dscr{"DevDscr", devDscrType, 2, 0x64, devDscr};
    if (devDscrType == 8)
        dscr.nobitsSize = 0x10a0;
    b.addSection(dscr);
    b.addSection({".text", 1, 6, 0x1000, std::vector<uint8_t>(4)});
    b.addSection({"PrgData", 1, 3, 0x5c, std::vector<uint8_t>(8)});
    b.addProgram({1, 7, 0, 0, 0, 0x5c, 0x1104, 4, code});
    // Addresses are shown in 32 bits: the end of this one wraps to 0x100.
    b.addProgram({1, 6, 0, 0xffffff00, 0xffffff00, 0, 0x200, 4, 0});
    TempFile f(b.build(), ".elf");
    const ToolResult r = runTool({"-flm", f.path()});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "");
    return r.out;
}

const char* const flmPrograms = "Program 0x00000000-0x00001104\n"
                                "Program 0xffffff00-0x00000100\n"
                                "PrgCode 0x00000000-0x0000005c\n";
const char* const flmData = "PrgData 0x0000005c-0x00000064\n";
const std::string devLine = "DevName Test Flash DevAdr 0x08000000 szDev 0x100000 szPage 0x400\n";

TEST(FlashAlgorithm, DeviceDescription)
{
    const Pairs three = {{0x4000, 0x0}, {0x10000, 0x10000}, {0x20000, 0x20000}};
    const std::string threeLines = "szSector 0x4000, AddrSector 0x0\n"
                                   "szSector 0x10000, AddrSector 0x10000\n"
                                   "szSector 0x20000, AddrSector 0x20000\n";
    const Blob full = deviceDescription("Test Flash", three, true, false);
    struct Case {
        const char* what;
        std::vector<uint8_t> bytes;
        bool bigEndian;
        std::string expected;
    } cases[] = {
        {"three sectors and the end mark", full.bytes, false, devLine + threeLines + "\n"},
        {"big-endian file, read in its own order", deviceDescription("Test Flash", three, true, true).bytes, true,
         devLine + threeLines + "\n"},
        {"the end mark first: no sector lines", deviceDescription("Test Flash", {}, true, false).bytes, false,
         devLine + "\n"},
        {"no end mark: the list stops with the section",
         deviceDescription("Test Flash", {{0x800, 0x0}, {0x800, 0x800}}, false, false).bytes, false,
         devLine + "szSector 0x800, AddrSector 0x0\nszSector 0x800, AddrSector 0x800\n\n"},
        {"section ending inside the second pair", full.cut(160 + 12), false,
         devLine + "szSector 0x4000, AddrSector 0x0\n\n"},
        {"section ending before the sector list", full.cut(150), false, devLine + "\n"},
        {"section ending right after szPage", full.cut(144), false, devLine + "\n"},
        {"section ending inside szPage: nothing", full.cut(143), false, ""},
        {"empty section", {}, false, ""},
        {"only an end mark in szSector ends the list",
         deviceDescription("Test Flash", {{0x100, 0xFFFFFFFF}, {0x200, 0x100}}, true, false).bytes, false,
         devLine + "szSector 0x100, AddrSector 0xffffffff\nszSector 0x200, AddrSector 0x100\n\n"},
        {"a name that fills its field without a NUL stops at the field's end",
         deviceDescription(std::string(128, 'N'), {}, true, false).bytes, false,
         "DevName " + std::string(128, 'N') + " DevAdr 0x08000000 szDev 0x100000 szPage 0x400\n\n"},
        {"a name ends at its first NUL", deviceDescription(std::string("Ab\0zz", 5), {}, true, false).bytes, false,
         "DevName Ab DevAdr 0x08000000 szDev 0x100000 szPage 0x400\n\n"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(flmRun(c.bytes, c.bigEndian), flmPrograms + c.expected + flmData) << c.what;

    // A description without file contents has nothing to show.
    EXPECT_EQ(flmRun({}, false, 8), std::string(flmPrograms) + flmData);
}

// struct StorageInfo: DeviceName[100] @0, DeviceType u16 @100, DeviceStartAddress @104,
// DeviceSize @108, PageSize @112, EraseValue u8 @116, ten (SectorNum, SectorSize) @120.
Blob storageInfo(const std::string& name, const Pairs& sectors, bool bigEndian)
{
    Blob b(200, bigEndian);
    b.text(0, name);
    b.put(100, 6, 2);
    b.put(104, 0x90000000, 4);
    b.put(108, 0x1000000, 4);
    b.put(112, 0x100, 4);
    b.put(116, 0xFF, 1);
    size_t at = 120;
    for (const auto& [count, size] : sectors) {
        b.put(at, count, 4);
        b.put(at + 4, size, 4);
        at += 8;
    }
    return b;
}

struct LoaderFile {
    std::vector<uint8_t> info;      // the structure (or what is left of it) after 8 bytes of other data
    std::string symbol = "StorageInfo";
    uint16_t shndx = 0;             // 0: the .rodata section
    uint64_t rodataFlags = 2;       // 0: not a loaded section, found through its segment only
    uint64_t value = 0x20000050;
    uint64_t textAddr = 0x20000004;
    uint64_t rodataAddr = 0x20000048;
    bool bigEndian = false;
    bool unloadedFirst = false;     // a section that is not loaded, at the same address, before .rodata
};

ToolResult stldrRun(const LoaderFile& l)
{
    ElfBuilder b(false, l.bigEndian);
    b.type = 2;
    b.addSection({".text", 1, 6, l.textAddr, std::vector<uint8_t>(0x44)});
    if (l.unloadedFirst)
        b.addSection({".notes", 1, 0, 0x20000048, std::vector<uint8_t>(300, 'D')});
    std::vector<uint8_t> rodata(8, 0x77);
    rodata.insert(rodata.end(), l.info.begin(), l.info.end());
    const int ro = b.addSection({".rodata", 1, l.rodataFlags, l.rodataAddr, rodata});
    TestSection bss{".bss", 8, 3, 0x20000200, {}};
    bss.nobitsSize = 0x100;
    b.addSection(bss);
    b.addSymbol({l.symbol, l.value, 200, 0x11, 0, uint16_t(l.shndx ? l.shndx : ro)});
    b.addProgram({1, 4, 0, l.rodataAddr, l.rodataAddr, rodata.size(), rodata.size(), 4, ro});
    TempFile f(b.build(), ".elf");
    return runTool({"-stldr", f.path()});
}

TEST(ExternalLoader, StorageInfo)
{
    const Pairs two = {{0x100, 0x10000}, {0x10, 0x1000}};
    const Blob full = storageInfo("TEST_QSPI", two, false);
    const std::string head = "DeviceName TEST_QSPI\n"
                             "DeviceType 0x0006\n"
                             "DeviceStartAddress 0x90000000\n"
                             "DeviceSize 0x1000000\n"
                             "PageSize 0x100\n";
    std::string sectors = "SectorNum 0x100, SectorSize 0x10000\nSectorNum 0x10, SectorSize 0x1000\n";
    for (int i = 0; i < 8; ++i)
        sectors += "SectorNum 0x0, SectorSize 0x0\n";
    const std::string all = head + sectors + "\n";

    auto with = [](std::vector<uint8_t> info, auto change) {
        LoaderFile l;
        l.info = std::move(info);
        change(l);
        return l;
    };
    auto plain = [](LoaderFile&) {};
    struct Case {
        const char* what;
        LoaderFile file;
        std::string expected; // after the program line
    } cases[] = {
        {"all ten sector entries, in use or not", with(full.bytes, plain), all},
        {"big-endian file", with(storageInfo("TEST_QSPI", two, true).bytes, [](LoaderFile& l) { l.bigEndian = true; }),
         all},
        {"not in a loaded section: found through its segment",
         with(full.bytes, [](LoaderFile& l) { l.rodataFlags = 0; }), all},
        {"an absolute symbol: found by its address", with(full.bytes, [](LoaderFile& l) { l.shndx = 0xfff1; }), all},
        {"in an object file, where every section starts at 0, the symbol's own section",
         with(full.bytes, [](LoaderFile& l) {
             l.textAddr = 0;
             l.rodataAddr = 0;
             l.value = 8;
         }),
         all},
        {"by its address, sections that are not loaded are passed over", with(full.bytes, [](LoaderFile& l) {
             l.shndx = 0xfff1;
             l.unloadedFirst = true;
         }),
         all},
        {"a name filling its field is cut there", with(storageInfo(std::string(100, 'Q'), two, false).bytes, plain),
         "DeviceName " + std::string(100, 'Q') + "\n" + head.substr(head.find('\n') + 1) + sectors + "\n"},
        {"the section ends inside the fourth entry", with(full.cut(120 + 3 * 8 + 4), plain),
         head + "SectorNum 0x100, SectorSize 0x10000\nSectorNum 0x10, SectorSize 0x1000\n"
                "SectorNum 0x0, SectorSize 0x0\n\n"},
        {"the section ends inside DeviceSize", with(full.cut(110), plain),
         "DeviceName TEST_QSPI\nDeviceType 0x0006\nDeviceStartAddress 0x90000000\n\n"},
        {"the section ends right after the name", with(full.cut(100), plain), "DeviceName TEST_QSPI\n\n"},
        {"the section ends inside the name: nothing", with(full.cut(99), plain), ""},
        {"no symbol of exactly that name", with(full.bytes, [](LoaderFile& l) { l.symbol = "StorageInfo_"; }), ""},
        {"names are case-sensitive", with(full.bytes, [](LoaderFile& l) { l.symbol = "storageinfo"; }), ""},
        {"an address without file contents", with(full.bytes, [](LoaderFile& l) {
             l.shndx = 3; // .bss
             l.value = 0x20000200;
         }),
         ""},
        {"an address nothing holds", with(full.bytes, [](LoaderFile& l) {
             l.shndx = 0xfff1;
             l.value = 0x30000000;
         }),
         ""},
    };
    for (const Case& c : cases) {
        const ToolResult r = stldrRun(c.file);
        char program[64];
        const uint32_t start = uint32_t(c.file.rodataAddr);
        snprintf(program, sizeof program, "Program 0x%08x-0x%08x\n", start, uint32_t(start + 8 + c.file.info.size()));
        EXPECT_EQ(r.status, 0) << c.what;
        EXPECT_EQ(r.err, "") << c.what;
        EXPECT_EQ(r.out, program + c.expected) << c.what;
    }
}

} // namespace
