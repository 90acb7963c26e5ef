#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "dwarf/dwarfreport.h"
#include "dwarf/lineprogram.h"
#include "dwarf/sourceaddressmap.h"

// Line programs assembled byte by byte here; the rows each must give are worked
// out by hand in the comments beside the opcodes.

namespace {

// Bytes in either byte order.
struct Bytes {
    std::vector<uint8_t> b;
    bool bigEndian = false;

    size_t size() const { return b.size(); }
    Bytes& u8(unsigned v)
    {
        b.push_back(uint8_t(v));
        return *this;
    }
    Bytes& fixed(uint64_t v, unsigned n)
    {
        for (unsigned i = 0; i < n; ++i)
            b.push_back(uint8_t(v >> (8 * (bigEndian ? n - 1 - i : i))));
        return *this;
    }
    Bytes& u16(uint64_t v) { return fixed(v, 2); }
    Bytes& u32(uint64_t v) { return fixed(v, 4); }
    Bytes& u64(uint64_t v) { return fixed(v, 8); }
    Bytes& uleb(uint64_t v)
    {
        do {
            uint8_t byte = v & 0x7f;
            v >>= 7;
            if (v)
                byte |= 0x80;
            b.push_back(byte);
        } while (v);
        return *this;
    }
    Bytes& sleb(int64_t v)
    {
        for (;;) {
            const uint8_t byte = v & 0x7f;
            v >>= 7;
            const bool done = (v == 0 && !(byte & 0x40)) || (v == -1 && (byte & 0x40));
            b.push_back(done ? byte : byte | 0x80);
            if (done)
                return *this;
        }
    }
    Bytes& str(const std::string& s)
    {
        b.insert(b.end(), s.begin(), s.end());
        b.push_back(0);
        return *this;
    }
    void patch(size_t at, uint64_t v, unsigned n)
    {
        for (unsigned i = 0; i < n; ++i)
            b[at + i] = uint8_t(v >> (8 * (bigEndian ? n - 1 - i : i)));
    }

    // The opcodes with operands.
    Bytes& setAddress(uint64_t address, unsigned size = 4)
    {
        u8(0).uleb(size + 1).u8(2);
        return fixed(address, size);
    }
    Bytes& endSequence() { return u8(0).uleb(1).u8(1); }
    Bytes& copy() { return u8(1); }
    Bytes& advancePc(uint64_t n) { return u8(2).uleb(n); }
    Bytes& advanceLine(int64_t n) { return u8(3).sleb(n); }
    Bytes& setFile(uint64_t n) { return u8(4).uleb(n); }
    Bytes& negateStmt() { return u8(6); }
    Bytes& constAddPc() { return u8(8); }
    Bytes& fixedAdvancePc(unsigned n) { return u8(9).u16(n); }
    Bytes& defineFile(const std::string& name)
    {
        return u8(0).uleb(name.size() + 5).u8(3).str(name).uleb(0).uleb(0).uleb(0);
    }
};

struct Header {
    int version = 2;
    uint8_t minInst = 1;
    uint8_t defaultIsStmt = 1;
    int8_t lineBase = -5;
    uint8_t lineRange = 14;
    uint8_t opcodeBase = 10;
    bool dwarf64 = false;
    std::vector<std::string> directories; // versions 2 to 4
    std::vector<std::string> files;       // versions 2 to 4
    std::function<void(Bytes&)> tables;   // version 5: formats and entries
};

// One unit: the header, then `program`, with both lengths filled in. Returns the
// offset of the program's first byte in `out`.
size_t appendUnit(Bytes& out, const Header& h, const std::function<void(Bytes&)>& program)
{
    const unsigned offsetSize = h.dwarf64 ? 8 : 4;
    if (h.dwarf64)
        out.u32(0xffffffff);
    const size_t lengthAt = out.size();
    out.fixed(0, offsetSize);
    const size_t unitStart = out.size();
    out.u16(h.version);
    if (h.version >= 5)
        out.u8(4).u8(0);
    const size_t headerLengthAt = out.size();
    out.fixed(0, offsetSize);
    const size_t paramsStart = out.size();
    out.u8(h.minInst);
    if (h.version >= 4)
        out.u8(1);
    out.u8(h.defaultIsStmt).u8(uint8_t(h.lineBase)).u8(h.lineRange).u8(h.opcodeBase);
    static const uint8_t standard[] = {0, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 1};
    for (unsigned op = 1; op < h.opcodeBase; ++op)
        out.u8(op <= 12 ? standard[op - 1] : 1);
    if (h.version >= 5) {
        h.tables(out);
    } else {
        for (const std::string& d : h.directories)
            out.str(d);
        out.u8(0);
        for (const std::string& f : h.files)
            out.str(f).uleb(0).uleb(0).uleb(0);
        out.u8(0);
    }
    const size_t programStart = out.size();
    out.patch(headerLengthAt, programStart - paramsStart, offsetSize);
    program(out);
    out.patch(lengthAt, out.size() - unitStart, offsetSize);
    return programStart;
}

class RecordingSink : public DwarfReportSink {
public:
    explicit RecordingSink(bool tracing = false) : tracing_(tracing) {}
    void report(const char* format, ...) override __attribute__((format(printf, 2, 3)))
    {
        va_list ap;
        va_start(ap, format);
        reports.push_back(format_(format, ap));
        va_end(ap);
    }
    void trace(const char* format, ...) override __attribute__((format(printf, 2, 3)))
    {
        va_list ap;
        va_start(ap, format);
        traces.push_back(format_(format, ap));
        va_end(ap);
    }
    bool tracing() const override { return tracing_; }

    std::vector<std::string> reports, traces;

private:
    static std::string format_(const char* format, va_list ap)
    {
        char buffer[512];
        vsnprintf(buffer, sizeof buffer, format, ap);
        return buffer;
    }
    bool tracing_;
};

std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string formatted(const char* format, ...)
{
    char buffer[512];
    va_list ap;
    va_start(ap, format);
    vsnprintf(buffer, sizeof buffer, format, ap);
    va_end(ap);
    return buffer;
}

using Row = std::tuple<uint64_t, int, std::string>; // address, line, file

struct Options {
    bool bigEndian = false;
    bool elf64 = false;
    bool dropUnset = false;
    uint64_t loadOffset = 0;
    uint64_t stmtList = 0;
    std::string compDir;
    std::vector<uint8_t> lineStr, str, strOffsets;
    uint64_t strOffsetsBase = 0;
    bool tracing = false;
};

struct Result {
    std::vector<Row> rows; // by address
    std::vector<std::string> reports, traces;
    LineTable table;
    std::unique_ptr<SourceAddressMap> map = std::make_unique<SourceAddressMap>();
};

// Each section in a buffer of exactly its size, so that a read past the end is
// a fault under the sanitizers.
struct ExactCopy {
    std::unique_ptr<uint8_t[]> data;
    explicit ExactCopy(const std::vector<uint8_t>& v, size_t n)
        : data(n ? new uint8_t[n] : nullptr)
    {
        std::copy(v.begin(), v.begin() + n, data.get());
    }
};

Result run(const std::vector<uint8_t>& line, const Options& o = {}, size_t lineSize = SIZE_MAX)
{
    const size_t n = std::min(lineSize, line.size());
    ExactCopy l(line, n), ls(o.lineStr, o.lineStr.size()), s(o.str, o.str.size()),
        so(o.strOffsets, o.strOffsets.size());
    DwarfSections sections;
    sections.line = {l.data.get(), n};
    sections.lineStr = {ls.data.get(), o.lineStr.size()};
    sections.str = {s.data.get(), o.str.size()};
    sections.strOffsets = {so.data.get(), o.strOffsets.size()};
    sections.bigEndian = o.bigEndian;
    sections.elf64 = o.elf64;
    LineProgramUnit unit;
    unit.stmtList = o.stmtList;
    unit.compDir = o.compDir;
    unit.strOffsetsBase = o.strOffsetsBase;
    RecordingSink sink(o.tracing);
    Result r;
    runLineProgram(sections, unit, o.loadOffset, o.dropUnset, sink, *r.map, r.table);
    for (const SourceAddressMap::AddressEntry& e : r.map->addresses())
        r.rows.emplace_back(e.address, e.line, r.map->files()[e.file].name);
    r.reports = sink.reports;
    r.traces = sink.traces;
    return r;
}

// Version 2, opcode_base 10, minimum instruction length 1, line_base -5, line_range
// 14: special opcode n moves the address by (n-10)/14 and the line by (n-10)%14-5.
Header v2Header()
{
    Header h;
    h.files = {"a.c", "b.c"};
    return h;
}

void v2Program(Bytes& p)
{
    p.setAddress(0x1000);
    p.copy();                    // 0x1000 line 1 a.c
    p.u8(10 + 3 * 14 + 7);       // +3, +2: 0x1003 line 3
    p.advanceLine(-2);           // line 1
    p.constAddPc();              // +(255-10)/14 = +17: 0x1014
    p.copy();                    // 0x1014 line 1
    p.fixedAdvancePc(0x100);     // 0x1114
    p.setFile(2);
    p.copy();                    // 0x1114 line 1 b.c
    p.defineFile("c.c");         // file 3
    p.setFile(3);
    p.advancePc(4);              // 0x1118
    p.advanceLine(40);           // line 41
    p.copy();                    // 0x1118 line 41 c.c
    p.u8(255);                   // adjusted 245: +17, -5+7 = +2: 0x1129 line 43
    p.advancePc(2);
    p.endSequence();             // 0x112b: no row
    p.setAddress(0x800);         // a new sequence: line 1, file 1 again
    p.u8(10 + 5);                // +0, +0: 0x800 line 1 a.c
    p.endSequence();
}

const std::vector<Row> v2Rows = {
    {0x800, 1, "a.c"},  {0x1000, 1, "a.c"},  {0x1003, 3, "a.c"},  {0x1014, 1, "a.c"},
    {0x1114, 1, "b.c"}, {0x1118, 41, "c.c"}, {0x1129, 43, "c.c"},
};

std::vector<uint8_t> unitBytes(const Header& h, const std::function<void(Bytes&)>& program, bool bigEndian = false)
{
    Bytes b;
    b.bigEndian = bigEndian;
    appendUnit(b, h, program);
    return b.b;
}

// ---------------------------------------------------------------------------
// Opcodes and rows, one program per case.

struct ProgramCase {
    const char* name;
    Header header;
    std::function<void(Bytes&)> program;
    std::vector<Row> rows;
};

Header makeHeader(int version, uint8_t minInst, int8_t lineBase, uint8_t lineRange, uint8_t opcodeBase,
                  uint8_t defaultIsStmt = 1)
{
    Header h;
    h.version = version;
    h.minInst = minInst;
    h.lineBase = lineBase;
    h.lineRange = lineRange;
    h.opcodeBase = opcodeBase;
    h.defaultIsStmt = defaultIsStmt;
    h.directories = {"include"};
    h.files = {"a.c", "include/b.h"};
    return h;
}

// The same program under a version 3 header (no maximum-operations byte) and a
// version 4 one (with it): min_inst 2, line_base -3, line_range 12, opcode_base 13.
void maxOpsProgram(Bytes& p)
{
    p.setAddress(0x6000);
    p.u8(13 + 1 * 12 + 5); // +1*2, +2: 0x6002 line 3
    p.constAddPc();        // (255-13)/12 = 20, *2: 0x602a
    p.copy();              // 0x602a line 3
    p.endSequence();
}

const ProgramCase programCases[] = {
    {"version2", v2Header(), v2Program, v2Rows},
    {"minInstLengthScalesAllButFixedAdvance", makeHeader(3, 4, -5, 14, 13),
     [](Bytes& p) {
         p.setAddress(0x2000);
         p.advancePc(3);        // +12
         p.copy();              // 0x200c line 1
         p.constAddPc();        // (255-13)/14 = 17, *4 = 68: 0x2050
         p.copy();              // 0x2050 line 1
         p.u8(13 + 2 * 14 + 5); // +2*4, +0: 0x2058 line 1
         p.fixedAdvancePc(0x10); // not scaled: 0x2068
         p.copy();              // 0x2068 line 1
         p.endSequence();
     },
     {{0x200c, 1, "a.c"}, {0x2050, 1, "a.c"}, {0x2058, 1, "a.c"}, {0x2068, 1, "a.c"}}},
    {"lineZeroAndNotStatementDropped", makeHeader(3, 1, -5, 14, 13),
     [](Bytes& p) {
         p.setAddress(0x3000);
         p.copy();              // 0x3000 line 1
         p.advanceLine(-1);
         p.copy();              // line 0: dropped
         p.advanceLine(5);
         p.negateStmt();
         p.copy();              // not a statement: dropped
         p.u8(13 + 1 * 14 + 5); // 0x3001 line 5, not a statement: dropped
         p.negateStmt();
         p.u8(5).uleb(7);       // set_column
         p.u8(7);               // set_basic_block
         p.u8(12).uleb(3);      // set_isa
         p.u8(10);              // set_prologue_end
         p.u8(11);              // set_epilogue_begin
         p.u8(0).uleb(2).u8(4).uleb(9); // set_discriminator
         p.setFile(2);
         p.copy();              // 0x3001 line 5 include/b.h
         p.endSequence();
     },
     {{0x3000, 1, "a.c"}, {0x3001, 5, "include/b.h"}}},
    {"defaultIsStmtFalseComesBackPerSequence", makeHeader(3, 1, -5, 14, 13, 0),
     [](Bytes& p) {
         p.setAddress(0x4000);
         p.copy();              // dropped
         p.negateStmt();
         p.copy();              // 0x4000 line 1
         p.endSequence();
         p.setAddress(0x4100);
         p.copy();              // is_stmt false again: dropped
         p.endSequence();
     },
     {{0x4000, 1, "a.c"}}},
    {"maxOpsByteAbsentInVersion3", makeHeader(3, 2, -3, 12, 13), maxOpsProgram,
     {{0x6002, 3, "a.c"}, {0x602a, 3, "a.c"}}},
    {"maxOpsByteInVersion4", makeHeader(4, 2, -3, 12, 13), maxOpsProgram,
     {{0x6002, 3, "a.c"}, {0x602a, 3, "a.c"}}},
    {"fileNumbersOutOfRangeGiveNoName", makeHeader(4, 1, -5, 14, 13),
     [](Bytes& p) {
         p.setAddress(0x100);
         p.setFile(0);          // numbered from 1 before version 5
         p.copy();              // 0x100 line 1 ""
         p.setFile(3);
         p.advancePc(1);
         p.copy();              // 0x101 line 1 ""
         p.setFile(2);
         p.advancePc(1);
         p.copy();              // 0x102 line 1 include/b.h
         p.endSequence();
     },
     {{0x100, 1, ""}, {0x101, 1, ""}, {0x102, 1, "include/b.h"}}},
    {"opcodeBase1MakesEveryOpcodeSpecial", makeHeader(3, 1, 0, 10, 1),
     [](Bytes& p) {
         p.setAddress(0x700);
         p.u8(1);               // adjusted 0: 0x700 line 1
         p.u8(1 + 23);          // adjusted 23: +2, +3: 0x702 line 4
         p.endSequence();
     },
     {{0x700, 1, "a.c"}, {0x702, 4, "a.c"}}},
    {"lineRangeZeroAdvancesNothing", makeHeader(3, 1, -5, 0, 13),
     [](Bytes& p) {
         p.setAddress(0x100);
         p.u8(40);              // no advance: 0x100 line 1
         p.constAddPc();        // no advance
         p.copy();              // 0x100 line 1
         p.endSequence();
     },
     {{0x100, 1, "a.c"}, {0x100, 1, "a.c"}}},
    {"rowsAtOneAddressKeepTheirOrder", makeHeader(3, 1, -5, 14, 13),
     [](Bytes& p) {
         p.setAddress(0x200);
         p.advanceLine(9);
         p.copy();              // 0x200 line 10
         p.endSequence();
         p.setAddress(0x100);
         p.copy();              // 0x100 line 1
         p.endSequence();
         p.setAddress(0x200);
         p.advanceLine(1);
         p.copy();              // 0x200 line 2, after line 10
         p.endSequence();
     },
     {{0x100, 1, "a.c"}, {0x200, 10, "a.c"}, {0x200, 2, "a.c"}}},
};

class Programs : public ::testing::TestWithParam<ProgramCase> {};

TEST_P(Programs, GiveTheRowsWorkedOutByHand)
{
    const ProgramCase& c = GetParam();
    const Result r = run(unitBytes(c.header, c.program));
    EXPECT_EQ(r.rows, c.rows);
    EXPECT_TRUE(r.reports.empty()) << r.reports.front();
}

TEST_P(Programs, ReadTheSameInBigEndian)
{
    const ProgramCase& c = GetParam();
    Options o;
    o.bigEndian = true;
    const Result r = run(unitBytes(c.header, c.program, true), o);
    EXPECT_EQ(r.rows, c.rows);
}

INSTANTIATE_TEST_SUITE_P(LineProgram, Programs, ::testing::ValuesIn(programCases),
                         [](const ::testing::TestParamInfo<ProgramCase>& i) { return std::string(i.param.name); });

TEST(LineProgram, TablesAndSpanOfAVersion2Unit)
{
    const Result r = run(unitBytes(v2Header(), v2Program));
    EXPECT_EQ(r.table.version, 2);
    ASSERT_EQ(r.table.files.size(), 3u); // two in the header, one defined by the program
    EXPECT_EQ(r.table.files[2].name, "c.c");
    EXPECT_EQ(r.table.fileName(1), "a.c");
    EXPECT_EQ(r.table.fileName(0), "");
    EXPECT_EQ(r.table.lowest, 0x800u);
    EXPECT_EQ(r.table.highest, 0x1129u);
}

TEST(LineProgram, ProgramOrderPerSourceFile)
{
    const Result r = run(unitBytes(v2Header(), v2Program));
    const auto& files = r.map->files();
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0].name, "a.c");
    const std::vector<std::pair<int, uint64_t>> expected = {{1, 0x1000}, {3, 0x1003}, {1, 0x1014}, {1, 0x800}};
    std::vector<std::pair<int, uint64_t>> got;
    for (const auto& l : files[0].lines)
        got.emplace_back(l.line, l.address);
    EXPECT_EQ(got, expected);
    EXPECT_EQ(files[1].name, "b.c");
    EXPECT_EQ(files[2].name, "c.c");
    EXPECT_EQ(files[2].lines.size(), 2u);
}

TEST(LineProgram, UnknownStandardOpcodeIsReportedAndItsOperandReadAsAnOpcode)
{
    Header h = makeHeader(3, 1, -5, 14, 14); // declares opcode 13, one operand
    size_t opcodeAt = 0;
    Bytes b;
    appendUnit(b, h, [&](Bytes& p) {
        p.setAddress(0x5000);
        opcodeAt = p.size();
        p.u8(13).u8(0x01); // the operand 0x01 is DW_LNS_copy: 0x5000 line 1
        p.u8(13).u8(3).sleb(4); // the "operand" 3 is advance_line(4): line 5
        p.advancePc(2);
        p.copy();               // 0x5002 line 5
        p.endSequence();
    });
    const Result r = run(b.b);
    EXPECT_EQ(r.rows, (std::vector<Row>{{0x5000, 1, "a.c"}, {0x5002, 5, "a.c"}}));
    EXPECT_EQ(r.reports, (std::vector<std::string>{formatted("[0x%08x] unknown DW_OPCODE 13\n", unsigned(opcodeAt)),
                                                   formatted("[0x%08x] unknown DW_OPCODE 13\n", unsigned(opcodeAt + 2))}));
}

TEST(LineProgram, UnknownExtendedOpcodeIsReportedAndItsOperandsReadAsOpcodes)
{
    size_t opcodeAt = 0;
    Bytes b;
    appendUnit(b, v2Header(), [&](Bytes& p) {
        p.setAddress(0x5000);
        opcodeAt = p.size();
        p.u8(0).uleb(2).u8(0x80).u8(0x01); // length 2 covers the operand 0x01: read as copy
        p.endSequence();
    });
    const Result r = run(b.b);
    EXPECT_EQ(r.rows, (std::vector<Row>{{0x5000, 1, "a.c"}}));
    EXPECT_EQ(r.reports,
              (std::vector<std::string>{formatted("[0x%08x] unknown DW_EXTENDED_OPCODE 128\n", unsigned(opcodeAt))}));
}

// Sequences that never set their address, set it to 0, or reach address 0: code
// the linker threw away.
void unsetProgram(Bytes& p)
{
    p.advancePc(0x40);
    p.copy();                         // 0x40 line 1, never set
    p.endSequence();
    p.setAddress(0);
    p.advanceLine(9);
    p.copy();                         // 0x0 line 10, set to 0
    p.advancePc(4);
    p.copy();                         // 0x4 line 10, set to 0
    p.endSequence();
    p.setAddress(0x100);
    p.copy();                         // 0x100 line 1
    p.endSequence();
    p.setAddress(0x10);
    p.advancePc(~uint64_t(0) - 0xf);  // wraps to 0
    p.copy();                         // 0x0 line 1, at address 0
    p.endSequence();
}

TEST(LineProgram, DropUnsetLeavesOutDiscardedCode)
{
    const std::vector<uint8_t> bytes = unitBytes(v2Header(), unsetProgram);
    EXPECT_EQ(run(bytes).rows,
              (std::vector<Row>{{0x0, 10, "a.c"}, {0x0, 1, "a.c"}, {0x4, 10, "a.c"}, {0x40, 1, "a.c"}, {0x100, 1, "a.c"}}));
    Options o;
    o.dropUnset = true;
    o.loadOffset = 0x08000000;
    const Result r = run(bytes, o);
    EXPECT_EQ(r.rows, (std::vector<Row>{{0x08000100, 1, "a.c"}}));
    EXPECT_EQ(r.table.lowest, 0x08000100u);
    EXPECT_EQ(r.table.highest, 0x08000100u);
}

TEST(LineProgram, RelativeNamesJoinTheCompilationDirectory)
{
    Header h = makeHeader(4, 1, -5, 14, 13);
    h.files = {"src/rel.c", "/abs/abs.c"};
    const std::vector<uint8_t> bytes = unitBytes(h, [](Bytes& p) {
        p.setAddress(0x300);
        p.copy();       // 0x300 src/rel.c
        p.setFile(2);
        p.advancePc(2);
        p.copy();       // 0x302 /abs/abs.c
        p.setFile(7);
        p.advancePc(2);
        p.copy();       // 0x304 no name: stays empty
        p.setFile(1);
        p.advancePc(2);
        p.copy();       // 0x306 src/rel.c again
        p.endSequence();
    });
    Options o;
    o.compDir = "/work";
    o.loadOffset = 0x1000;
    EXPECT_EQ(run(bytes, o).rows, (std::vector<Row>{{0x1300, 1, "/work/src/rel.c"},
                                                    {0x1302, 1, "/abs/abs.c"},
                                                    {0x1304, 1, ""},
                                                    {0x1306, 1, "/work/src/rel.c"}}));
}

TEST(LineProgram, SixtyFourBitClassReadsEightByteAddresses)
{
    Header h = v2Header();
    const std::vector<uint8_t> bytes = unitBytes(h, [](Bytes& p) {
        p.setAddress(0x100001000ull, 8);
        p.copy(); // 0x100001000 line 1
        p.endSequence();
    });
    Options o;
    o.elf64 = true;
    EXPECT_EQ(run(bytes, o).rows, (std::vector<Row>{{0x100001000ull, 1, "a.c"}}));
}

TEST(LineProgram, SixtyFourBitUnitLength)
{
    Header h = v2Header();
    h.version = 4;
    h.dwarf64 = true;
    EXPECT_EQ(run(unitBytes(h, v2Program)).rows, v2Rows);
}

TEST(LineProgram, SecondUnitOfTheSection)
{
    Bytes b;
    appendUnit(b, v2Header(), [](Bytes& p) {
        p.setAddress(0x10);
        p.copy();
        p.endSequence();
    });
    const uint64_t second = b.size();
    appendUnit(b, makeHeader(3, 1, -5, 14, 13), [](Bytes& p) {
        p.setAddress(0x20);
        p.advanceLine(1);
        p.copy(); // 0x20 line 2
        p.endSequence();
    });
    Options o;
    o.stmtList = second;
    EXPECT_EQ(run(b.b, o).rows, (std::vector<Row>{{0x20, 2, "a.c"}}));
}

TEST(LineProgram, NoLinesFromABadPlaceOrLength)
{
    const std::vector<uint8_t> bytes = unitBytes(v2Header(), v2Program);
    Options o;
    o.stmtList = bytes.size();
    EXPECT_TRUE(run(bytes, o).rows.empty());
    o.stmtList = ~uint64_t(0);
    EXPECT_TRUE(run(bytes, o).rows.empty());
    // A unit length one byte beyond the section.
    EXPECT_TRUE(run(bytes, {}, bytes.size() - 1).rows.empty());
    // Versions the reader does not know.
    for (int version : {0, 1, 6}) {
        Header h = v2Header();
        h.version = version;
        h.tables = [](Bytes&) {};
        const Result r = run(unitBytes(h, v2Program));
        EXPECT_TRUE(r.rows.empty()) << version;
    }
}

// ---------------------------------------------------------------------------
// Version 5 entry formats.

constexpr uint64_t LNCT_path = 1, LNCT_directory_index = 2, LNCT_timestamp = 3, LNCT_size = 4, LNCT_MD5 = 5;
constexpr uint64_t FORM_data2 = 0x05, FORM_data4 = 0x06, FORM_data8 = 0x07, FORM_string = 0x08,
                   FORM_block = 0x09, FORM_data1 = 0x0b, FORM_strp = 0x0e, FORM_udata = 0x0f,
                   FORM_strx = 0x1a, FORM_data16 = 0x1e, FORM_line_strp = 0x1f, FORM_strx1 = 0x25,
                   FORM_strx2 = 0x26, FORM_strx3 = 0x27, FORM_strx4 = 0x28;

// .debug_str: "zero" at 0, "main.c" at 5, "util.h" at 12.
// .debug_line_str: "/comp" at 0, "inc" at 6, "lmain.c" at 10.
// .debug_str_offsets: an 8-byte header, then offsets 12, 5 (base 8: index 0 is util.h,
// index 1 main.c).
Options v5Sections()
{
    Options o;
    auto put = [](std::vector<uint8_t>& v, const char* s) { v.insert(v.end(), s, s + strlen(s) + 1); };
    put(o.str, "zero");
    put(o.str, "main.c");
    put(o.str, "util.h");
    put(o.lineStr, "/comp");
    put(o.lineStr, "inc");
    put(o.lineStr, "lmain.c");
    Bytes so;
    so.u32(12).u16(5).u16(0).u32(12).u32(5);
    o.strOffsets = so.b;
    o.strOffsetsBase = 8;
    return o;
}

void v5Program(Bytes& p)
{
    p.setAddress(0x8000);
    p.setFile(0);
    p.copy();            // 0x8000 line 1, file 0
    p.setFile(1);
    p.u8(13 + 14 + 5);   // +1*2, +0: 0x8002 line 1, file 1
    p.setFile(2);
    p.advancePc(1);
    p.copy();            // 0x8004 line 1, no file 2
    p.endSequence();
}

Header v5Header(std::function<void(Bytes&)> tables)
{
    Header h;
    h.version = 5;
    h.minInst = 2;
    h.opcodeBase = 13;
    h.tables = std::move(tables);
    return h;
}

TEST(LineProgramVersion5, EntriesDecodedByTheirFormats)
{
    // Every field form a compiler writes, the path through the string offsets.
    const Header h = v5Header([](Bytes& t) {
        t.u8(1).uleb(LNCT_path).uleb(FORM_line_strp);
        t.uleb(2).u32(0).u32(6); // "/comp", "inc"
        t.u8(9);
        t.uleb(LNCT_path).uleb(FORM_strx1);
        t.uleb(LNCT_directory_index).uleb(FORM_udata);
        t.uleb(LNCT_MD5).uleb(FORM_data16);
        t.uleb(LNCT_size).uleb(FORM_data4);
        t.uleb(LNCT_timestamp).uleb(FORM_block);
        t.uleb(0x2001).uleb(FORM_data1); // a vendor content type: read, not kept
        t.uleb(0x2002).uleb(FORM_data2);
        t.uleb(0x2003).uleb(FORM_data8);
        t.uleb(0x2004).uleb(FORM_string);
        t.uleb(2);
        // file 0: index 1 = main.c, directory 0
        t.u8(1).uleb(0).u64(0x0123456789abcdefull).u64(0xfedcba9876543210ull).u32(1000);
        t.uleb(3).u8(1).u8(2).u8(3).u8(0xaa).u16(0xbbbb).u64(7).str("vendor");
        // file 1: index 0 = util.h, directory 1
        t.u8(0).uleb(1).u64(0).u64(0).u32(2000).uleb(0).u8(0).u16(0).u64(0).str("");
    });
    const Result r = run(unitBytes(h, v5Program), v5Sections());
    EXPECT_TRUE(r.reports.empty());
    EXPECT_EQ(r.rows, (std::vector<Row>{{0x8000, 1, "main.c"}, {0x8002, 1, "util.h"}, {0x8004, 1, ""}}));
    EXPECT_EQ(r.table.version, 5);
    EXPECT_EQ(r.table.directories, (std::vector<std::string>{"/comp", "inc"}));
    ASSERT_EQ(r.table.files.size(), 2u);
    EXPECT_EQ(r.table.files[0].length, 1000u);
    EXPECT_EQ(r.table.files[1].directory, 1u);
    EXPECT_EQ(r.table.files[1].length, 2000u);
    EXPECT_EQ(r.table.fileName(0), "main.c");
}

struct PathForm {
    const char* name;
    uint64_t form;
    std::function<void(Bytes&)> value;
    const char* expected;
};

const PathForm pathForms[] = {
    {"string", FORM_string, [](Bytes& t) { t.str("inline.c"); }, "inline.c"},
    {"line_strp", FORM_line_strp, [](Bytes& t) { t.u32(10); }, "lmain.c"},
    {"strp", FORM_strp, [](Bytes& t) { t.u32(5); }, "main.c"},
    {"strx", FORM_strx, [](Bytes& t) { t.uleb(1); }, "main.c"},
    {"strx1", FORM_strx1, [](Bytes& t) { t.u8(0); }, "util.h"},
    {"strx2", FORM_strx2, [](Bytes& t) { t.u16(1); }, "main.c"},
    {"strx3", FORM_strx3, [](Bytes& t) { t.fixed(1, 3); }, "main.c"},
    {"strx4", FORM_strx4, [](Bytes& t) { t.u32(0); }, "util.h"},
    {"strxPastTheOffsets", FORM_strx, [](Bytes& t) { t.uleb(2); }, ""},
    {"strpPastTheStrings", FORM_strp, [](Bytes& t) { t.u32(1000); }, ""},
};

class Version5PathForms : public ::testing::TestWithParam<std::tuple<PathForm, bool>> {};

TEST_P(Version5PathForms, NameTheFile)
{
    const auto& [f, bigEndian] = GetParam();
    const Header h = v5Header([&](Bytes& t) {
        t.u8(1).uleb(LNCT_path).uleb(FORM_string);
        t.uleb(1).str("/comp");
        t.u8(2).uleb(LNCT_path).uleb(f.form).uleb(LNCT_directory_index).uleb(FORM_data1);
        t.uleb(1);
        f.value(t);
        t.u8(0);
    });
    Options o = v5Sections();
    if (bigEndian) {
        Bytes so;
        so.bigEndian = true;
        so.u32(12).u16(5).u16(0).u32(12).u32(5);
        o.strOffsets = so.b;
        o.bigEndian = true;
    }
    const Result r = run(unitBytes(h, v5Program, bigEndian), o);
    EXPECT_TRUE(r.reports.empty());
    EXPECT_EQ(r.rows, (std::vector<Row>{{0x8000, 1, f.expected}, {0x8002, 1, ""}, {0x8004, 1, ""}}));
}

INSTANTIATE_TEST_SUITE_P(LineProgram, Version5PathForms,
                         ::testing::Combine(::testing::ValuesIn(pathForms), ::testing::Bool()),
                         [](const ::testing::TestParamInfo<std::tuple<PathForm, bool>>& i) {
                             return std::string(std::get<0>(i.param).name) +
                                    (std::get<1>(i.param) ? "BigEndian" : "LittleEndian");
                         });

TEST(LineProgramVersion5, UnknownFormStopsTheUnit)
{
    for (bool inDirectories : {true, false}) {
        const Header h = v5Header([&](Bytes& t) {
            t.u8(1).uleb(LNCT_path).uleb(inDirectories ? 0x19 : FORM_string); // 0x19: flag_present
            t.uleb(1).str("/comp");
            t.u8(1).uleb(LNCT_path).uleb(inDirectories ? FORM_string : 0x19);
            t.uleb(1).str("a.c");
        });
        const Result r = run(unitBytes(h, v5Program));
        EXPECT_TRUE(r.rows.empty());
        EXPECT_EQ(r.reports.size(), 1u);
    }
}

TEST(LineProgramVersion5, EntriesWithoutFieldsDoNotSpin)
{
    // No formats and a count of 2^63 entries: nothing to read for any of them. The
    // header goes on past the tables, so the end of the header does not stop them.
    const Header h = v5Header([](Bytes& t) {
        t.u8(0).uleb(uint64_t(1) << 63);
        t.u8(0).uleb(uint64_t(1) << 63);
        t.u32(0);
    });
    const Result r = run(unitBytes(h, v5Program));
    EXPECT_EQ(r.rows, (std::vector<Row>{{0x8000, 1, ""}, {0x8002, 1, ""}, {0x8004, 1, ""}}));
}

// ---------------------------------------------------------------------------
// Truncation: every prefix, cut both as a shorter section and as a shorter unit.

std::vector<std::pair<std::string, std::vector<std::pair<int, uint64_t>>>> bySource(const SourceAddressMap& map)
{
    std::vector<std::pair<std::string, std::vector<std::pair<int, uint64_t>>>> out;
    for (const auto& f : map.files()) {
        out.emplace_back(f.name, std::vector<std::pair<int, uint64_t>>());
        for (const auto& l : f.lines)
            out.back().second.emplace_back(l.line, l.address);
    }
    return out;
}

void sweep(const std::vector<uint8_t>& full, const Options& o)
{
    const auto whole = bySource(*run(full, o).map);
    ASSERT_FALSE(whole.empty());
    for (size_t n = 0; n < full.size(); ++n) {
        // The section ends early: the unit length passes its end.
        EXPECT_TRUE(run(full, o, n).rows.empty()) << n;
        // The unit ends early: what it holds runs, and its rows are the first rows
        // of the whole program, file by file.
        if (n < 4)
            continue;
        std::vector<uint8_t> cut(full.begin(), full.begin() + n);
        Bytes patch;
        patch.b = std::move(cut);
        patch.bigEndian = o.bigEndian;
        patch.patch(0, n - 4, 4);
        const auto part = bySource(*run(patch.b, o).map);
        ASSERT_LE(part.size(), whole.size()) << n;
        for (size_t i = 0; i < part.size(); ++i) {
            EXPECT_EQ(part[i].first, whole[i].first) << n;
            ASSERT_LE(part[i].second.size(), whole[i].second.size()) << n;
            EXPECT_TRUE(std::equal(part[i].second.begin(), part[i].second.end(), whole[i].second.begin())) << n;
        }
    }
}

TEST(LineProgram, EveryPrefixOfAVersion2Program)
{
    sweep(unitBytes(v2Header(), v2Program), {});
    Options o;
    o.bigEndian = true;
    sweep(unitBytes(v2Header(), v2Program, true), o);
}

TEST(LineProgram, EveryPrefixOfAVersion5Program)
{
    const Header h = v5Header([](Bytes& t) {
        t.u8(1).uleb(LNCT_path).uleb(FORM_line_strp);
        t.uleb(2).u32(0).u32(6);
        t.u8(4).uleb(LNCT_path).uleb(FORM_strx).uleb(LNCT_directory_index).uleb(FORM_udata);
        t.uleb(LNCT_MD5).uleb(FORM_data16).uleb(LNCT_timestamp).uleb(FORM_block);
        t.uleb(2);
        t.uleb(1).uleb(0).u64(1).u64(2).uleb(2).u8(1).u8(2);
        t.uleb(0).uleb(1).u64(3).u64(4).uleb(0);
    });
    sweep(unitBytes(h, v5Program), v5Sections());
}

// ---------------------------------------------------------------------------
// Tracing

TEST(LineProgram, TraceNamesFieldsAndOpcodesAtTheirOffsets)
{
    size_t setAddressAt = 0, lineAt = 0, specialAt = 0, endAt = 0;
    Bytes b;
    b.u8(0xee).u8(0xee); // the unit starts at offset 2: offsets are in the section
    appendUnit(b, v2Header(), [&](Bytes& p) {
        setAddressAt = p.size();
        p.setAddress(0x1000);
        lineAt = p.size();
        p.advanceLine(4);           // line 5
        specialAt = p.size();
        p.u8(10 + 2 * 14 + 5 + 3);  // +2, +3: 0x1002 line 8
        endAt = p.size();
        p.endSequence();
    });
    Options o;
    o.stmtList = 2;
    o.tracing = true;
    const Result r = run(b.b, o);
    auto has = [&](const std::string& line) {
        return std::find(r.traces.begin(), r.traces.end(), line) != r.traces.end();
    };
    EXPECT_TRUE(has("version: 2\n"));
    EXPECT_TRUE(has("line_base: -5\n"));
    EXPECT_TRUE(has("line_range: 14\n"));
    EXPECT_TRUE(has("opcode_base: 10\n"));
    EXPECT_TRUE(has("standard_opcode_lengths[2]: 0x1\n"));
    EXPECT_TRUE(has("file_names: b.c\n"));
    EXPECT_TRUE(has(formatted("[0x%08x] DW_LNE_set_address(0x1000)\n", unsigned(setAddressAt))));
    EXPECT_TRUE(has(formatted("[0x%08x] DW_LNS_advance_line(4) = 5\n", unsigned(lineAt))));
    EXPECT_TRUE(has(formatted("[0x%08x] Special opcode (%d) line: 8 address: 0x1002\n", unsigned(specialAt),
                              2 * 14 + 5 + 3)));
    EXPECT_TRUE(has(formatted("[0x%08x] DW_LNE_end_sequence\n\n", unsigned(endAt))));
}

TEST(LineProgram, NoTraceCallsWhenNotTracing)
{
    const Result r = run(unitBytes(v2Header(), v2Program));
    EXPECT_TRUE(r.traces.empty());
}

// ---------------------------------------------------------------------------
// The map

SourceAddressMap lookupMap()
{
    SourceAddressMap m;
    m.add("b.c", 3, 0x110); // out of order: sorted on first read
    m.add("a.c", 1, 0x100);
    m.add("a.c", 2, 0x104);
    m.add("a.c", 7, 0x104); // same address, later: the one a lookup finds
    return m;
}

struct LookupCase {
    const char* name;
    uint64_t address, lowest, highest;
    bool found;
    const char* file;
    int line;
    uint64_t low, high;
};

const LookupCase lookupCases[] = {
    {"insideFirstRow", 0x102, 0x100, 0x1ff, true, "a.c", 1, 0x100, 0x103},
    {"atARowLastOfItsAddress", 0x104, 0x100, 0x1ff, true, "a.c", 7, 0x104, 0x10f},
    {"lastRowRunsToHighest", 0x150, 0x100, 0x1ff, true, "b.c", 3, 0x110, 0x1ff},
    {"highestBelowTheNextRow", 0x105, 0x100, 0x108, true, "a.c", 7, 0x104, 0x108},
    {"highestAtTheNextRow", 0x105, 0x100, 0x110, true, "a.c", 7, 0x104, 0x10f},
    {"beforeEveryRow", 0xff, 0x0, 0x1ff, false, "", 0, 0, 0},
    {"rowBelowRangeNextInside", 0x105, 0x108, 0x1ff, true, "b.c", 3, 0x108, 0x10f},
    {"rowAboveRangeNextOutside", 0x105, 0x0, 0x103, false, "", 0, 0, 0},
    {"neitherInRange", 0x105, 0x200, 0x300, false, "", 0, 0, 0},
    {"lastRowOutsideRange", 0x150, 0x120, 0x1ff, false, "", 0, 0, 0},
};

class Lookup : public ::testing::TestWithParam<LookupCase> {};

TEST_P(Lookup, FollowsTheRules)
{
    const LookupCase& c = GetParam();
    const SourceAddressMap m = lookupMap();
    const auto match = m.lookup(c.address, c.lowest, c.highest);
    ASSERT_EQ(match.has_value(), c.found);
    if (!match)
        return;
    EXPECT_EQ(match->file, c.file);
    EXPECT_EQ(match->line, c.line);
    EXPECT_EQ(match->low, c.low);
    EXPECT_EQ(match->high, c.high);
}

INSTANTIATE_TEST_SUITE_P(SourceAddressMap, Lookup, ::testing::ValuesIn(lookupCases),
                         [](const ::testing::TestParamInfo<LookupCase>& i) { return std::string(i.param.name); });

TEST(SourceAddressMap, LookupInAnEmptyMap)
{
    SourceAddressMap m;
    EXPECT_FALSE(m.lookup(0x100, 0, ~uint64_t(0)).has_value());
}

TEST(SourceAddressMap, PrintListsAddressesThenSources)
{
    const SourceAddressMap m = lookupMap();
    char* text = nullptr;
    size_t length = 0;
    FILE* out = open_memstream(&text, &length);
    m.print(out);
    fclose(out);
    const std::string printed(text, length);
    free(text);
    EXPECT_EQ(printed, "Addresses:\n"
                       "0x100 1 a.c\n"
                       "0x104 2 a.c\n"
                       "0x104 7 a.c\n"
                       "0x110 3 b.c\n"
                       "Sources:\n"
                       "File: b.c\n"
                       "Line: 3 0x110\n"
                       "File: a.c\n"
                       "Line: 1 0x100\n"
                       "Line: 2 0x104\n"
                       "Line: 7 0x104\n");
}

TEST(SourceAddressMap, RowsAtOneAddressStayInArrivalOrder)
{
    // Enough rows, in falling address order, that a sort which does not keep equal
    // elements in place would mix them.
    SourceAddressMap m;
    for (int i = 0; i < 200; ++i)
        m.add("a.c", i, uint64_t(7 - i % 8) * 0x10);
    const auto& rows = m.addresses();
    ASSERT_EQ(rows.size(), 200u);
    for (size_t i = 1; i < rows.size(); ++i) {
        ASSERT_LE(rows[i - 1].address, rows[i].address) << i;
        if (rows[i - 1].address == rows[i].address) {
            ASSERT_LT(rows[i - 1].line, rows[i].line) << i;
        }
    }
}

TEST(SourceAddressMap, FilesComeBackToTheirFirstEntry)
{
    SourceAddressMap m;
    m.add("a.c", 1, 0x10);
    m.add("b.c", 2, 0x20);
    m.add("c.c", 3, 0x30);
    m.add("a.c", 4, 0x40);
    m.add("b.c", 5, 0x50);
    ASSERT_EQ(m.files().size(), 3u);
    EXPECT_EQ(m.files()[0].lines.size(), 2u);
    EXPECT_EQ(m.files()[1].lines.back().line, 5);
    EXPECT_EQ(m.addresses()[3].file, 0u);
}

} // namespace
