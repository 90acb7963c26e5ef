#include <gtest/gtest.h>


#include <algorithm>
#include <cstdarg>
#include <memory>
#include <string>
#include <vector>

#include "dwarf/dwarfcursor.h"
#include "dwarf/dwarffile.h"
#include "dwarf/locationevaluator.h"
#include "elf/ararchive.h"
#include "elf/elffile.h"
#include "elf/hexception.h"
#include "tests/lib/bytes.h"
#include "tests/lib/elfbuilder.h"

namespace {

using Entry = DwarfDebuggingInformationEntry;

// Operation codes, so that the hand-assembled expressions below read as listings.
enum : uint8_t {
    addr = 0x03, deref = 0x06, const1u = 0x08, const1s = 0x09, const2u = 0x0a, const2s = 0x0b, const4u = 0x0c,
    const4s = 0x0d, const8u = 0x0e, const8s = 0x0f, constu = 0x10, consts = 0x11, dup = 0x12, drop = 0x13,
    over = 0x14, pick = 0x15, swap = 0x16, rot = 0x17, abs_ = 0x19, and_ = 0x1a, div_ = 0x1b, minus = 0x1c,
    mod = 0x1d, mul = 0x1e, neg = 0x1f, not_ = 0x20, or_ = 0x21, plus = 0x22, plus_uconst = 0x23, shl = 0x24,
    shr = 0x25, shra = 0x26, xor_ = 0x27, bra = 0x28, eq = 0x29, ge = 0x2a, gt = 0x2b, le = 0x2c, lt = 0x2d,
    ne = 0x2e, skip = 0x2f, lit0 = 0x30, reg0 = 0x50, breg0 = 0x70, regx = 0x90, fbreg = 0x91, bregx = 0x92,
    piece = 0x93, deref_size = 0x94, nop = 0x96, form_tls_address = 0x9b, call_frame_cfa = 0x9c,
    bit_piece = 0x9d, implicit_value = 0x9e, stack_value = 0x9f, addrx = 0xa1, constx = 0xa2, entry_value = 0xa3,
    const_type = 0xa4, regval_type = 0xa5, convert = 0xa8, reinterpret = 0xa9, GNU_push_tls_address = 0xe0,
    GNU_entry_value = 0xf3, GNU_const_type = 0xf4, GNU_regval_type = 0xf5, GNU_convert = 0xf7,
    GNU_reinterpret = 0xf9,
};
constexpr uint8_t lit(int n) { return uint8_t(lit0 + n); }
constexpr uint8_t reg(int n) { return uint8_t(reg0 + n); }
constexpr uint8_t breg(int n) { return uint8_t(breg0 + n); }


// Expected entries.
DwarfStackEntry P(uint64_t v)
{
    DwarfStackEntry e;
    e.value = v;
    return e;
}
DwarfStackEntry T(uint64_t v, const Entry* type = nullptr)
{
    DwarfStackEntry e = P(v);
    e.kind = DwarfStackEntry::Typed;
    e.type = type;
    return e;
}
DwarfStackEntry R(uint64_t n)
{
    DwarfStackEntry e = P(n);
    e.kind = DwarfStackEntry::Register;
    return e;
}
DwarfStackEntry withPiece(DwarfStackEntry e, uint32_t size)
{
    e.pieceSize = size;
    return e;
}
DwarfStackEntry withBits(DwarfStackEntry e, uint32_t size, uint32_t offset)
{
    e.bitPieceSize = size;
    e.bitPieceOffset = offset;
    return e;
}

// A stack as text, so that a failure shows the whole of both stacks.
std::string show(const std::vector<DwarfStackEntry>& stack)
{
    std::string out;
    for (const DwarfStackEntry& e : stack) {
        char buf[160];
        snprintf(buf, sizeof buf, "%s0x%llx%s", out.empty() ? "" : " ", (unsigned long long)e.value,
                 e.kind == DwarfStackEntry::Typed ? "t" : e.kind == DwarfStackEntry::Register ? "r" : "");
        out += buf;
        if (e.type) {
            snprintf(buf, sizeof buf, ":type@0x%x", unsigned(e.type->offset));
            out += buf;
        }
        if (e.pieceSize) {
            snprintf(buf, sizeof buf, ":piece%u", unsigned(e.pieceSize));
            out += buf;
        }
        if (e.bitPieceSize || e.bitPieceOffset) {
            snprintf(buf, sizeof buf, ":bits%u@%u", unsigned(e.bitPieceSize), unsigned(e.bitPieceOffset));
            out += buf;
        }
    }
    return "[" + out + "]";
}

// A host with a known value for every question.
class TestHost : public DwarfLocationExpressionEvaluator {
public:
    uint64_t readTargetWord(uint64_t address) override { return 0xCAFE0000 | (address & 0xffff); }
    uint64_t readRegister(uint64_t n) override { return 0x1000 + 0x10 * n; }
    uint64_t readTypedRegister(uint64_t n, const Entry* type) override
    {
        typedRegisterType = type;
        return 0x500 + n;
    }
    uint64_t readMemory(uint64_t address, uint8_t size) override
    {
        memoryAddress = address;
        memorySize = size;
        return 0x8877665544332211;
    }
    uint64_t threadLocalBase() override { return 0x20000000; }
    uint64_t canonicalFrameAddress() override { return 0x2000fff0; }
    uint64_t relocateAddress(uint64_t address) override { return address + 0x08000000; }

    const Entry* typedRegisterType = nullptr;
    uint64_t memoryAddress = 0;
    uint8_t memorySize = 0;
};

struct Row {
    const char* what;
    std::vector<uint8_t> code;
    std::vector<DwarfStackEntry> stack;
    bool complete = true;
};

void check(DwarfLocationExpressionEvaluator& evaluator, const Entry* owner, const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        std::vector<DwarfStackEntry> stack{P(99)}; // the caller's leftovers are cleared
        const bool complete = evaluator.evaluate(stack, owner, row.code.data(), row.code.size(), false);
        EXPECT_EQ(show(stack), show(row.stack)) << row.what;
        EXPECT_EQ(complete, row.complete) << row.what;
    }
}

TEST(LocationEvaluator, LiteralsAndConstants)
{
    TestHost host;
    check(host, nullptr,
          {
              {"lit0 lit31", {lit(0), lit(31)}, {P(0), P(31)}},
              {"const1u", {const1u, 0xff}, {P(255)}},
              {"const1s sign-extends", {const1s, 0xff}, {P(UINT64_MAX)}},
              {"const1s positive", {const1s, 0x7f}, {P(127)}},
              {"const2u", {const2u, 0x34, 0x12}, {P(0x1234)}},
              {"const2s is zero-extended", {const2s, 0xff, 0xff}, {P(65535)}},
              {"const2s 0x8000 too", {const2s, 0x00, 0x80}, {P(32768)}},
              {"const4u", {const4u, 0xfe, 0xff, 0xff, 0xff}, {P(0xfffffffe)}},
              {"const4s sign-extends", {const4s, 0xfe, 0xff, 0xff, 0xff}, {P(0xfffffffffffffffe)}},
              {"const8u", {const8u, 8, 7, 6, 5, 4, 3, 2, 1}, {P(0x0102030405060708)}},
              {"const8s", {const8s, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}, {P(UINT64_MAX)}},
              {"constu 624485", {constu, 0xe5, 0x8e, 0x26}, {P(624485)}},
              {"consts -123456", {consts, 0xc0, 0xbb, 0x78}, {P(uint64_t(-123456))}},
              {"addr is relocated", {addr, 0x34, 0x12, 0x00, 0x00}, {P(0x08001234)}},
          });
}

TEST(LocationEvaluator, StackOperations)
{
    TestHost host;
    check(host, nullptr,
          {
              {"dup", {lit(1), lit(2), dup}, {P(1), P(2), P(2)}},
              {"drop", {lit(1), lit(2), drop}, {P(1)}},
              {"over", {lit(1), lit(2), over}, {P(1), P(2), P(1)}},
              {"pick 2", {lit(1), lit(2), lit(3), pick, 2}, {P(1), P(2), P(3), P(1)}},
              {"pick 0", {lit(1), lit(2), pick, 0}, {P(1), P(2), P(2)}},
              {"pick past the stack", {lit(1), lit(2), pick, 2}, {P(1), P(2), P(0)}},
              {"swap", {lit(1), lit(2), swap}, {P(2), P(1)}},
              {"rot", {lit(1), lit(2), lit(3), rot}, {P(3), P(1), P(2)}},
              {"rot below the top three", {lit(9), lit(1), lit(2), lit(3), rot}, {P(9), P(3), P(1), P(2)}},
              {"copies keep the kind", {reg(5), dup}, {R(5), R(5)}},
              // Too short a stack: pops read 0, reorderings leave it alone.
              {"drop on empty", {drop}, {}},
              {"dup on empty", {dup}, {P(0)}},
              {"over on one", {lit(7), over}, {P(7), P(0)}},
              {"swap on one", {lit(7), swap}, {P(7)}},
              {"rot on two", {lit(1), lit(2), rot}, {P(1), P(2)}},
          });
}

TEST(LocationEvaluator, ArithmeticAndLogic)
{
    TestHost host;
    check(host, nullptr,
          {
              {"and", {lit(12), lit(10), and_}, {P(8)}},
              {"or", {lit(12), lit(10), or_}, {P(14)}},
              {"xor", {lit(12), lit(10), xor_}, {P(6)}},
              {"mul", {lit(12), lit(10), mul}, {P(120)}},
              {"plus", {lit(1), lit(12), lit(10), plus}, {P(1), P(22)}},
              {"minus is below minus top", {lit(12), lit(10), minus}, {P(2)}},
              {"minus wraps", {lit(10), lit(12), minus}, {P(0xfffffffffffffffe)}},
              {"div", {lit(12), lit(5), div_}, {P(2)}},
              {"div is signed", {consts, 0x79, lit(2), div_}, {P(uint64_t(-3))}},
              {"div by -1", {lit(5), consts, 0x7f, div_}, {P(uint64_t(-5))}},
              {"div by 0 ends, operands gone", {lit(7), lit(8), lit(0), div_, lit(1)}, {P(7)}, false},
              {"mod", {lit(12), lit(5), mod}, {P(2)}},
              {"mod is unsigned", {consts, 0x7f, lit(10), mod}, {P(5)}},
              {"mod by 0 ends, operands gone", {lit(7), lit(8), lit(0), mod, lit(1)}, {P(7)}, false},
              {"plus_uconst 1000", {lit(5), plus_uconst, 0xe8, 0x07}, {P(1005)}},
              {"neg", {lit(5), neg}, {P(uint64_t(-5))}},
              {"not", {lit(0), not_}, {P(UINT64_MAX)}},
              {"abs of -9", {consts, 0x77, abs_}, {P(9)}},
              {"abs of 9", {lit(9), abs_}, {P(9)}},
              {"a register number computes as a plain value", {reg(3), lit(1), plus}, {P(4)}},
              {"plus on one", {lit(5), plus}, {P(5)}},
              {"minus on none", {minus}, {P(0)}},
          });
}

TEST(LocationEvaluator, ShiftsWorkIn32Bits)
{
    TestHost host;
    check(host, nullptr,
          {
              {"lit31 lit2 shl", {lit(31), lit(2), shl}, {P(124)}},
              {"shl to bit 31", {lit(1), lit(31), shl}, {P(0x80000000)}},
              {"a count of 32 acts as 0", {lit(1), const1u, 32, shl}, {P(1)}},
              {"a count of 33 acts as 1", {lit(1), const1u, 33, shl}, {P(2)}},
              {"bits shifted past 31 are lost", {const4u, 0, 0, 0, 0x80, lit(1), shl}, {P(0)}},
              {"the upper half of the value is dropped", {const8u, 3, 0, 0, 0, 1, 0, 0, 0, lit(1), shl}, {P(6)}},
              {"shr", {const4u, 0, 0, 0, 0x80, lit(4), shr}, {P(0x08000000)}},
              {"shr of a 64-bit value", {const8u, 0x10, 0, 0, 0, 1, 0, 0, 0, lit(4), shr}, {P(1)}},
              {"shra copies bit 31", {const4u, 0, 0, 0, 0x80, lit(4), shra}, {P(0xfffffffff8000000)}},
              {"shra of -8", {consts, 0x78, lit(1), shra}, {P(uint64_t(-4))}},
              {"shra of a positive value", {lit(16), lit(1), shra}, {P(8)}},
          });
}

TEST(LocationEvaluator, ComparisonsPutTheTopOnTheLeft)
{
    TestHost host;
    check(host, nullptr,
          {
              {"3 5 lt", {lit(3), lit(5), lt}, {P(0)}},
              {"3 5 gt", {lit(3), lit(5), gt}, {P(1)}},
              {"3 5 le", {lit(3), lit(5), le}, {P(0)}},
              {"3 5 ge", {lit(3), lit(5), ge}, {P(1)}},
              {"3 5 eq", {lit(3), lit(5), eq}, {P(0)}},
              {"3 5 ne", {lit(3), lit(5), ne}, {P(1)}},
              {"4 4 lt", {lit(4), lit(4), lt}, {P(0)}},
              {"4 4 gt", {lit(4), lit(4), gt}, {P(0)}},
              {"4 4 le", {lit(4), lit(4), le}, {P(1)}},
              {"4 4 ge", {lit(4), lit(4), ge}, {P(1)}},
              {"4 4 eq", {lit(4), lit(4), eq}, {P(1)}},
              {"4 4 ne", {lit(4), lit(4), ne}, {P(0)}},
              {"unsigned: 1 < -1", {consts, 0x7f, lit(1), lt}, {P(1)}},
              {"unsigned: not 1 > -1", {consts, 0x7f, lit(1), gt}, {P(0)}},
          });
}

TEST(LocationEvaluator, ControlFlowOnlyMovesForward)
{
    TestHost host;
    check(host, nullptr,
          {
              {"skip 1", {lit(1), skip, 1, 0, lit(2), lit(3)}, {P(1), P(3)}},
              {"skip 0", {lit(1), skip, 0, 0, lit(2)}, {P(1), P(2)}},
              {"skip onto an operand byte", {skip, 1, 0, const1u, lit(7)}, {P(7)}},
              {"skip 0xffff runs off the end", {lit(1), skip, 0xff, 0xff, lit(2)}, {P(1)}},
              {"skip 0xfffd does not go back", {lit(1), skip, 0xfd, 0xff, lit(2)}, {P(1)}},
              {"bra taken", {lit(1), bra, 1, 0, lit(2), lit(3)}, {P(3)}},
              {"bra not taken", {lit(0), bra, 1, 0, lit(2), lit(3)}, {P(2), P(3)}},
              {"bra 0xfffe jumps past the end", {lit(9), lit(1), bra, 0xfe, 0xff, lit(2)}, {P(9)}},
              {"bra on an empty stack", {bra, 1, 0, lit(2)}, {P(2)}},
              {"nop", {nop, lit(1), nop}, {P(1)}},
          });
}

TEST(LocationEvaluator, RegistersMemoryAndTheFrame)
{
    TestHost host;
    check(host, nullptr,
          {
              {"reg0", {reg(0)}, {R(0)}},
              {"reg31", {reg(31)}, {R(31)}},
              {"regx 300", {regx, 0xac, 0x02}, {R(300)}},
              {"breg0 -8", {breg(0), 0x78}, {P(0xff8)}},
              {"breg31 16", {breg(31), 0x10}, {P(0x1200)}},
              {"bregx 100 -1", {bregx, 0x64, 0x7f}, {P(0x163f)}},
              {"deref", {const4u, 0x34, 0x12, 0x00, 0x20, deref}, {P(0xCAFE1234)}},
              {"deref_size 1", {lit(4), deref_size, 1}, {P(0x11)}},
              {"deref_size 2", {lit(4), deref_size, 2}, {P(0x2211)}},
              {"deref_size 4", {lit(4), deref_size, 4}, {P(0x44332211)}},
              {"deref_size 8", {lit(4), deref_size, 8}, {P(0x8877665544332211)}},
              {"call_frame_cfa", {call_frame_cfa, plus_uconst, 8}, {P(0x2000fff8)}},
              {"form_tls_address", {lit(8), form_tls_address}, {P(0x20000008)}},
              {"GNU_push_tls_address", {lit(8), GNU_push_tls_address}, {P(0x20000008)}},
          });
    std::vector<DwarfStackEntry> stack;
    const std::vector<uint8_t> code{const1u, 0x40, deref_size, 2};
    host.evaluate(stack, nullptr, code.data(), code.size(), false);
    EXPECT_EQ(host.memoryAddress, 0x40u);
    EXPECT_EQ(host.memorySize, 2);
}

TEST(LocationEvaluator, PiecesAndValues)
{
    TestHost host;
    check(host, nullptr,
          {
              {"two register pieces", {reg(0), piece, 4, reg(1), piece, 4}, {withPiece(R(0), 4), withPiece(R(1), 4)}},
              {"a piece with nothing before it", {piece, 4}, {}},
              {"a value piece", {lit(1), stack_value, piece, 2}, {withPiece(T(1), 2)}},
              {"bit_piece", {reg(3), bit_piece, 5, 3}, {withBits(R(3), 5, 3)}},
              {"a piece past 32 bits saturates", {lit(1), piece, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01},
               {withPiece(P(1), UINT32_MAX)}},
              {"implicit_value 1", {implicit_value, 1, 0xab}, {T(0xab)}},
              {"implicit_value 2", {implicit_value, 2, 0x34, 0x12}, {T(0x1234)}},
              {"implicit_value 4", {implicit_value, 4, 0x78, 0x56, 0x34, 0x12}, {T(0x12345678)}},
              {"implicit_value 8", {implicit_value, 8, 8, 7, 6, 5, 4, 3, 2, 1}, {T(0x0102030405060708)}},
              {"implicit_value 3 is stepped over", {implicit_value, 3, lit(7), lit(7), lit(7), lit(1)}, {P(1)}},
              {"stack_value", {lit(5), stack_value}, {T(5)}},
              {"stack_value on empty", {stack_value}, {T(0)}},
          });
}

TEST(LocationEvaluator, EntryValues)
{
    TestHost host;
    check(host, nullptr,
          {
              {"a register at entry", {entry_value, 1, reg(0)}, {P(0x1000)}},
              {"the GNU form", {GNU_entry_value, 1, reg(1)}, {P(0x1010)}},
              {"a computed value", {entry_value, 2, breg(0), 4}, {P(0x1004)}},
              {"as the object's value", {entry_value, 1, reg(0), stack_value}, {T(0x1000)}},
              {"an empty block", {entry_value, 0}, {P(0)}},
              {"a block cut by the end", {entry_value, 5, reg(2)}, {P(0x1020)}},
              {"not nested", {lit(1), entry_value, 3, entry_value, 1, reg(0), lit(2)}, {P(1)}, false},
              {"a block that ends early", {lit(1), entry_value, 1, 0x18, lit(2)}, {P(1)}, false},
          });
}

// Operations that are not evaluated end the evaluation with the stack as it stands.
TEST(LocationEvaluator, OperationsNotEvaluatedEndIt)
{
    TestHost host;
    const uint8_t notEvaluated[] = {0x00, 0x01, 0x02, 0x04, 0x05, 0x07, 0x18, 0x95, 0x97, 0x98, 0x99, 0x9a,
                                    0xa0, 0xa6, 0xa7, 0xaa, 0xe1, 0xf0, 0xf1, 0xf2, 0xf6, 0xf8, 0xfa, 0xfb,
                                    0xfc, 0xfd, 0xff};
    for (uint8_t op : notEvaluated) {
        SCOPED_TRACE(op);
        check(host, nullptr, {{"", {lit(1), op, lit(2)}, {P(1)}, false}});
    }
}

TEST(LocationEvaluator, ByteOrderAndAddressSizeWithoutAnEntry)
{
    TestHost big;
    big.setDefaultTarget(true, 8);
    check(big, nullptr,
          {
              {"addr of 8 bytes", {addr, 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x78}, {P(0x1A345678)}},
              {"const2u", {const2u, 0x12, 0x34}, {P(0x1234)}},
              {"const4s", {const4s, 0xff, 0xff, 0xff, 0xfe}, {P(0xfffffffffffffffe)}},
              {"skip", {lit(1), skip, 0x00, 0x01, lit(2), lit(3)}, {P(1), P(3)}},
              {"implicit_value 4", {implicit_value, 4, 0x12, 0x34, 0x56, 0x78}, {T(0x12345678)}},
          });
    TestHost little8;
    little8.setDefaultTarget(false, 8);
    check(little8, nullptr,
          {{"addr of 8 bytes", {addr, 0x78, 0x56, 0x34, 0x12, 0, 0, 0, 1, lit(1)}, {P(0x010000001A345678), P(1)}}});
}

TEST(LocationEvaluator, StartingValues)
{
    TestHost host;
    std::vector<DwarfStackEntry> stack;
    const std::vector<uint8_t> code{plus_uconst, 8};
    host.evaluate(stack, nullptr, code.data(), code.size(), true);
    EXPECT_EQ(show(stack), show({P(8)}));
    host.evaluate(stack, nullptr, code.data(), code.size(), true, {5, 7});
    EXPECT_EQ(show(stack), show({P(0), P(5), P(15)}));
    host.evaluate(stack, nullptr, nullptr, 4, false, {3});
    EXPECT_EQ(show(stack), show({P(3)}));
}

// The tool's host reads 0 for every register and every memory word, and leaves addresses alone.
TEST(LocationEvaluator, TheToolsHost)
{
    MyDwarfLocationExpressionEvaluator tool;
    check(tool, nullptr,
          {
              {"breg13 8", {breg(13), 8}, {P(8)}},
              {"addr", {addr, 0x34, 0x12, 0, 0}, {P(0x1234)}},
              {"deref", {lit(4), deref}, {P(0)}},
              {"tls", {lit(4), form_tls_address}, {P(4)}},
              {"entry value", {entry_value, 1, reg(0), stack_value}, {T(0)}},
          });
}

// A silent DWARF reader.
class QuietDwarfFile : public DwarfFile {
public:
    void report(const char*, ...) override {}
    void trace(const char*, ...) override {}
};

// One version 5 unit with base types, .debug_addr, and subprograms around variables:
//
//   compile_unit (addr_base 8)
//     base_type int; base_type unsigned char; pointer_type; variable "global"
//     subprogram (frame base as given)
//       variable "local"; lexical_block { variable "inner" }
//     subprogram (no frame base)
//       variable "nofb"
struct Synthetic {
    std::vector<uint8_t> image;
    ElfFile elf;
    QuietDwarfFile dwarf;
    uint32_t intType = 0, charType = 0, pointerType = 0, global = 0, local = 0, inner = 0, noFrameBase = 0;

    Synthetic(const std::vector<uint8_t>& frameBase, bool be = false, uint8_t addressSize = 4)
    {
        Bytes a;
        a.uleb(1).uleb(0x11).u8(1).uleb(0x73).uleb(0x17).uleb(0).uleb(0);
        a.uleb(2).uleb(0x24).u8(0).uleb(0x0b).uleb(0x0b).uleb(0x3e).uleb(0x0b).uleb(0x03).uleb(0x08).uleb(0).uleb(0);
        a.uleb(3).uleb(0x2e).u8(1).uleb(0x40).uleb(0x18).uleb(0).uleb(0);
        a.uleb(4).uleb(0x34).u8(0).uleb(0x03).uleb(0x08).uleb(0).uleb(0);
        a.uleb(5).uleb(0x0b).u8(1).uleb(0).uleb(0);
        a.uleb(6).uleb(0x2e).u8(1).uleb(0).uleb(0);
        a.uleb(7).uleb(0x0f).u8(0).uleb(0).uleb(0);
        a.uleb(0);

        const uint32_t header = 12;
        Bytes body;
        body.be = be;
        auto at = [&] { return header + uint32_t(body.b.size()); };
        body.uleb(1).u32(8);
        intType = at();
        body.uleb(2).u8(4).u8(5).str("int");
        charType = at();
        body.uleb(2).u8(1).u8(8).str("unsigned char");
        pointerType = at();
        body.uleb(7);
        global = at();
        body.uleb(4).str("global");
        body.uleb(3).uleb(frameBase.size()).raw(frameBase);
        local = at();
        body.uleb(4).str("local");
        body.uleb(5);
        inner = at();
        body.uleb(4).str("inner");
        body.uleb(0).uleb(0);
        body.uleb(6);
        noFrameBase = at();
        body.uleb(4).str("nofb");
        body.uleb(0).uleb(0);

        Bytes info;
        info.be = be;
        info.u32(body.b.size() + header - 4).u16(5).u8(1).u8(addressSize).u32(0).raw(body.b);

        Bytes table;
        table.be = be;
        table.u32(4 + 3 * addressSize).u16(5).u8(addressSize).u8(0);
        for (uint64_t v : {0x1000, 0x2000, 0x3000})
            table.n(v, addressSize);

        ElfBuilder b(false, be);
        b.addSection({".debug_abbrev", 1, 0, 0, a.b});
        b.addSection({".debug_info", 1, 0, 0, info.b});
        b.addSection({".debug_addr", 1, 0, 0, table.b});
        image = b.build();
        elf.parseView(image.data(), image.size(), "t.o");
        dwarf.open(elf, false);
    }
    const Entry* entry(uint32_t offset) const { return dwarf.units()[0]->entryAt(offset); }
};

TEST(LocationEvaluator, TypedEntries)
{
    for (bool be : {false, true}) {
        SCOPED_TRACE(be ? "big-endian" : "little-endian");
        Synthetic s({call_frame_cfa}, be);
        const Entry* owner = s.entry(s.local);
        const Entry* intType = s.entry(s.intType);
        const Entry* charType = s.entry(s.charType);
        ASSERT_NE(owner, nullptr);
        ASSERT_NE(intType, nullptr);
        ASSERT_NE(charType, nullptr);
        const uint8_t i = uint8_t(s.intType), c = uint8_t(s.charType), p = uint8_t(s.pointerType);
        ASSERT_LT(s.charType, 0x80u); // one-byte offsets below
        auto order = [be](std::vector<uint8_t> little) {
            if (be)
                std::reverse(little.begin(), little.end());
            return little;
        };
        auto cat = [](std::vector<uint8_t> a, const std::vector<uint8_t>& b) {
            a.insert(a.end(), b.begin(), b.end());
            return a;
        };
        TestHost host;
        check(host, owner,
              {
                  {"const_type 4", cat({const_type, i, 4}, order({0x78, 0x56, 0x34, 0x12})), {T(0x12345678, intType)}},
                  {"const_type 2", cat({const_type, i, 2}, order({0x34, 0x12})), {T(0x1234, intType)}},
                  {"GNU const_type 1", {GNU_const_type, c, 1, 0xff}, {T(0xff, charType)}},
                  {"const_type 8", cat({const_type, c, 8}, order({8, 7, 6, 5, 4, 3, 2, 1})),
                   {T(0x0102030405060708, charType)}},
                  {"const_type 3 is stepped over", {const_type, i, 3, lit(7), lit(7), lit(7), lit(1)}, {P(1)}},
                  {"not a base type", {const_type, p, 1, 5}, {T(5)}},
                  {"no entry at that offset", {const_type, 1, 1, 5}, {T(5)}},
                  {"regval_type", {regval_type, 3, i}, {T(0x503, intType)}},
                  {"GNU regval_type", {GNU_regval_type, 0x81, 0x01, c}, {T(0x581, charType)}},
                  {"convert", {lit(5), convert, c}, {T(5, charType)}},
                  {"GNU convert", {lit(5), GNU_convert, i}, {T(5, intType)}},
                  {"convert to the generic type", {const_type, i, 1, 9, convert, 0}, {P(9)}},
                  {"reinterpret", {const_type, i, 1, 9, reinterpret, c}, {T(9, charType)}},
                  {"GNU reinterpret", {const_type, i, 1, 9, GNU_reinterpret, 0}, {P(9)}},
                  {"convert on empty", {convert, i}, {}},
              });
        std::vector<DwarfStackEntry> stack;
        const std::vector<uint8_t> code{regval_type, 2, i};
        host.evaluate(stack, owner, code.data(), code.size(), false);
        EXPECT_EQ(host.typedRegisterType, intType);
        // Without an entry there is no unit to find types in.
        check(host, nullptr, {{"no unit", {const_type, i, 1, 5}, {T(5)}}});
    }
}

TEST(LocationEvaluator, AddressTable)
{
    for (bool be : {false, true}) {
        for (uint8_t size : {uint8_t(4), uint8_t(8)}) {
            SCOPED_TRACE(std::string(be ? "big-endian " : "little-endian ") + std::to_string(size));
            Synthetic s({}, be, size);
            TestHost host;
            check(host, s.entry(s.global),
                  {
                      {"addrx is relocated", {addrx, 1}, {P(0x08002000)}},
                      {"constx is not", {constx, 2}, {P(0x3000)}},
                      {"past the table", {addrx, 3}, {P(0x08000000)}},
                      {"a huge index", {constx, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, {P(0)}},
                  });
            check(host, nullptr, {{"no unit", {constx, 0}, {P(0)}}});
        }
    }
}

TEST(LocationEvaluator, FrameBase)
{
    struct Case {
        const char* what;
        std::vector<uint8_t> frameBase;
        uint64_t local;     // fbreg -8 for "local" and "inner"
        bool complete = true;
    };
    const std::vector<Case> cases = {
        {"a register", {reg(13)}, 0x10d0 - 8},
        {"the CFA", {call_frame_cfa}, 0x2000fff0 - 8},
        {"a register plus offset", {breg(7), 4}, 0x1070 + 4 - 8},
        {"a register at entry", {entry_value, 1, reg(13)}, 0x10d0 - 8},
        {"empty", {}, uint64_t(-8)},
        // A frame base that needs a frame base, or ends early, leaves the frame base unknown.
        {"its own fbreg", {fbreg, 0}, 1, false},
        {"its own fbreg inside an entry value", {entry_value, 2, fbreg, 0}, 1, false},
        {"an operation not evaluated", {0x18}, 1, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Synthetic s(c.frameBase);
        TestHost host;
        const std::vector<DwarfStackEntry> expected =
            c.complete ? std::vector<DwarfStackEntry>{P(1), P(c.local)} : std::vector<DwarfStackEntry>{P(1)};
        check(host, s.entry(s.local), {{"local", {lit(1), fbreg, 0x78}, expected, c.complete}});
        check(host, s.entry(s.inner), {{"in a lexical block", {lit(1), fbreg, 0x78}, expected, c.complete}});
        // Outside a subprogram, or in one without a frame base, the base is 0.
        check(host, s.entry(s.global), {{"global", {fbreg, 0x10}, {P(16)}}});
        check(host, s.entry(s.noFrameBase), {{"no frame base", {fbreg, 0x10}, {P(16)}}});
        check(host, nullptr, {{"no entry", {fbreg, 0x10}, {P(16)}}});
    }
    {
        Synthetic s({reg(13)});
        TestHost host;
        check(host, s.entry(s.local), {{"fbreg in an entry value", {entry_value, 2, fbreg, 0x78}, {P(0x10c8)}}});
    }
    {
        Synthetic s({breg(13), 8});
        MyDwarfLocationExpressionEvaluator tool;
        check(tool, s.entry(s.local), {{"the tool's host", {fbreg, 4}, {P(12)}}});
    }
}

// An expression with an operation of every operand shape, cut at every length: the
// cut ones read what is there and end.
TEST(LocationEvaluator, EveryTruncationEnds)
{
    Synthetic s({breg(13), 0x10});
    const uint8_t i = uint8_t(s.intType);
    const std::vector<uint8_t> code = {
        addr, 0x78, 0x56, 0x34, 0x12, const1u, 0xff, const1s, 0x80, const2u, 1, 2, const2s, 3, 4,
        const4u, 1, 2, 3, 4, const4s, 5, 6, 7, 8, const8u, 1, 2, 3, 4, 5, 6, 7, 8, const8s, 1, 2, 3, 4, 5, 6, 7, 8,
        constu, 0xe5, 0x8e, 0x26, consts, 0xc0, 0xbb, 0x78, plus_uconst, 0x90, 0x4e, pick, 3, skip, 1, 0, nop,
        lit(1), bra, 1, 0, nop, breg(3), 0x7f, bregx, 0x81, 0x01, 0x40, regx, 0xac, 0x02, fbreg, 0x70,
        deref_size, 2, piece, 4, bit_piece, 3, 1, implicit_value, 4, 1, 2, 3, 4, implicit_value, 8, 1, 2, 3, 4, 5,
        6, 7, 8, entry_value, 3, bregx, 1, 0x7c, const_type, i, 8, 1, 2, 3, 4, 5, 6, 7, 8, regval_type, 2, i,
        convert, i, reinterpret, 0, addrx, 1, constx, 2, form_tls_address, call_frame_cfa, deref, stack_value,
    };
    TestHost host;
    std::vector<DwarfStackEntry> stack;
    ASSERT_TRUE(host.evaluate(stack, s.entry(s.local), code.data(), code.size(), false));
    for (size_t n = 0; n < code.size(); ++n) {
        // Exactly the bytes asked for: the copy ends where the cut does.
        const std::vector<uint8_t> cut(code.begin(), code.begin() + n);
        host.evaluate(stack, s.entry(s.local), cut.data(), cut.size(), false);
        EXPECT_LE(stack.size(), n) << "cut at " << n;
    }
}

TEST(LocationEvaluator, EndlessLookingInputsEnd)
{
    TestHost host;
    std::vector<DwarfStackEntry> stack;
    // A long chain of taken branches that go nowhere.
    std::vector<uint8_t> chain;
    for (int k = 0; k < 20000; ++k)
        chain.insert(chain.end(), {lit(1), bra, 0, 0});
    chain.push_back(lit(2));
    EXPECT_TRUE(host.evaluate(stack, nullptr, chain.data(), chain.size(), false));
    EXPECT_EQ(show(stack), show({P(2)}));
    // Offsets that, read as signed, would jump back to the start.
    const std::vector<uint8_t> skipBack{lit(1), skip, 0xfc, 0xff, lit(2)};
    EXPECT_TRUE(host.evaluate(stack, nullptr, skipBack.data(), skipBack.size(), false));
    EXPECT_EQ(show(stack), show({P(1)}));
    const std::vector<uint8_t> braBack{lit(1), lit(1), bra, 0xfb, 0xff, lit(2)};
    EXPECT_TRUE(host.evaluate(stack, nullptr, braBack.data(), braBack.size(), false));
    EXPECT_EQ(show(stack), show({P(1)}));
    // The step budget: an operation past it is not performed.
    std::vector<uint8_t> nops(DwarfLocationExpressionEvaluator::maxSteps, nop);
    EXPECT_TRUE(host.evaluate(stack, nullptr, nops.data(), nops.size(), false));
    nops.push_back(lit(1));
    EXPECT_FALSE(host.evaluate(stack, nullptr, nops.data(), nops.size(), false));
    EXPECT_EQ(show(stack), "[]");
}

// Every expression of a set of real files, through the tool's host.
struct Sweep {
    size_t expressions = 0;
    size_t listEntries = 0; // of them, from location lists
    size_t checked = 0; // results also compared with a value read off the bytes

    void file(const ElfFile& elf)
    {
        QuietDwarfFile dwarf;
        dwarf.open(elf, false);
        for (const auto* units : {&dwarf.units(), &dwarf.typeUnits()}) {
            for (const auto& unit : *units) {
                std::vector<const Entry*> work;
                if (unit->root())
                    work.push_back(unit->root());
                while (!work.empty()) {
                    const Entry* e = work.back();
                    work.pop_back();
                    if (e->sibling)
                        work.push_back(e->sibling);
                    if (e->child)
                        work.push_back(e->child);
                    for (uint32_t k = 0; k < e->attributeCount(); ++k)
                        attribute(dwarf, *unit, e, e->attributeAt(k));
                }
            }
        }
    }

    void attribute(const DwarfFile& dwarf, const DwarfUnit& unit, const Entry* e, const DwarfAttributeValue& v)
    {
        const bool be = dwarf.sections().bigEndian;
        const bool expressionAttribute = v.attribute == 0x02 || v.attribute == 0x40 || v.attribute == 0x38 ||
                                         v.attribute == 0x19 || v.attribute == 0x4d || v.attribute == 0x4a;
        if (v.valueClass == DwarfAttributeValue::Block && (v.form == 0x18 || expressionAttribute)) {
            expression(e, v.bytes(), v.value, unit.addressSize);
            return;
        }
        if (v.attribute != 0x02 && v.attribute != 0x40)
            return;
        if (unit.version <= 4 && (v.form == 0x06 || v.form == 0x07 || v.form == 0x17))
            list4(dwarf.sections().loc.cursor(be), unit, e, v.value);
        else if (unit.version >= 5 && v.form == 0x17)
            list5(dwarf.sections().loclists.cursor(be), unit, e, v.value);
        else if (unit.version >= 5 && v.form == 0x22) {
            DwarfCursor c = dwarf.sections().loclists.cursor(be);
            c.seek(unit.loclistsBase + v.value * 4);
            list5(dwarf.sections().loclists.cursor(be), unit, e, unit.loclistsBase + c.u32());
        }
    }

    // Start and end addresses, a 2-byte length and the expression; a (0, 0) pair ends it.
    void list4(DwarfCursor c, const DwarfUnit& unit, const Entry* e, uint64_t offset)
    {
        c.seek(offset);
        const uint64_t baseMarker = unit.addressSize == 8 ? UINT64_MAX : 0xffffffff;
        for (int n = 0; n < 100000 && !c.atEnd(); ++n) {
            const uint64_t start = c.fixed(unit.addressSize);
            const uint64_t end = c.fixed(unit.addressSize);
            if (start == 0 && end == 0)
                return;
            if (start == baseMarker)
                continue;
            DwarfCursor x = c.take(c.u16());
            ++listEntries;
            expression(e, x.pos(), x.left(), unit.addressSize);
        }
    }

    void list5(DwarfCursor c, const DwarfUnit& unit, const Entry* e, uint64_t offset)
    {
        c.seek(offset);
        for (int n = 0; n < 100000 && !c.atEnd(); ++n) {
            switch (c.u8()) {
            case 0: return;
            case 1: c.uleb(); continue;
            case 2: case 3: case 4: c.uleb(); c.uleb(); break;
            case 5: break;
            case 6: c.fixed(unit.addressSize); continue;
            case 7: c.fixed(unit.addressSize); c.fixed(unit.addressSize); break;
            case 8: c.fixed(unit.addressSize); c.uleb(); break;
            default: return;
            }
            DwarfCursor x = c.take(c.uleb());
            ++listEntries;
            expression(e, x.pos(), x.left(), unit.addressSize);
        }
    }

    void expression(const Entry* e, const uint8_t* bytes, uint64_t length, uint8_t addressSize)
    {
        ++expressions;
        std::vector<DwarfStackEntry> stack;
        tool.evaluate(stack, e, bytes, length, false);
        ASSERT_LE(stack.size(), length);
        if (!bytes || length == 0)
            return;
        DwarfCursor c(bytes, bytes + length, e->unit->file()->sections().bigEndian);
        const uint8_t op = c.u8();
        if (op == addr && length == 1u + addressSize) {
            // An address alone is itself, the tool relocating nothing.
            const uint64_t address = c.fixed(addressSize);
            ASSERT_EQ(show(stack), show({P(address)}));
            ++checked;
        } else if (op == fbreg && frameBaseReadsZero(e)) {
            // So does a frame offset when the frame base comes to 0.
            const int64_t offset = c.sleb();
            if (c.atEnd()) {
                ASSERT_EQ(show(stack), show({P(uint64_t(offset))}));
                ++checked;
            }
        }
    }

    // A frame base of one register, or the CFA: 0 in the tool.
    static bool frameBaseReadsZero(const Entry* e)
    {
        while (e && e->tag != 0x2e)
            e = e->parent;
        const DwarfAttributeValue* v = e ? e->findAttribute(0x40) : nullptr;
        if (!v || v->valueClass != DwarfAttributeValue::Block || v->value != 1)
            return false;
        const uint8_t op = v->bytes()[0];
        return op == call_frame_cfa || (op >= reg(0) && op <= reg(31));
    }

    MyDwarfLocationExpressionEvaluator tool;
};

// Sweeps a file, or every `stride`th member of an archive.
void sweepPath(Sweep& sweep, const std::string& path, size_t stride = 1)
{
    const std::vector<uint8_t> image = readFile(path);
    ElfFile elf;
    std::vector<std::pair<const uint8_t*, uint64_t>> parts;
    ArArchive archive;
    std::string error;
    if (ArArchive::isArchive(image.data(), image.size())) {
        if (!archive.parse(image.data(), image.size(), &error))
            return;
        for (size_t k = 0; k < archive.members().size(); k += stride)
            parts.emplace_back(archive.members()[k].data, archive.members()[k].size);
    } else {
        parts.emplace_back(image.data(), image.size());
    }
    for (const auto& [data, size] : parts) {
        try {
            elf.parseView(data, size, QString::fromStdString(path));
        } catch (const HException&) {
            continue; // not an ELF file, or one the reader refuses
        }
        sweep.file(elf);
    }
}

TEST(LocationEvaluatorSweep, Fixtures)
{
    Sweep sweep;
    const std::string fixtures = std::string(EDD_SOURCE_DIR) + "/tests/fixtures/";
    for (const char* dir : {"dwarf/", "elf/"}) {
        for (const std::string& path : filesIn(fixtures + dir)) {
            SCOPED_TRACE(path);
            sweepPath(sweep, path);
        }
    }
    printf("location sweep: %zu expressions (%zu from lists), %zu checked by value\n", sweep.expressions,
           sweep.listEntries, sweep.checked);
    EXPECT_GT(sweep.expressions, 50u);
    EXPECT_GT(sweep.listEntries, 0u);
    EXPECT_GT(sweep.checked, 10u);
}

TEST(LocationEvaluatorSweep, NewlibSample)
{
    const std::string library = "/usr/lib/arm-none-eabi/newlib/thumb/v7-m/nofp/libc.a";
    if (readFile(library).empty())
        GTEST_SKIP() << library << " is not installed";
    const std::vector<uint8_t> image = readFile(library);
    ArArchive archive;
    std::string error;
    ASSERT_TRUE(archive.parse(image.data(), image.size(), &error)) << error;
    // About twenty members spread over the whole library.
    const size_t stride = std::max<size_t>(1, archive.members().size() / 20);
    Sweep sweep;
    sweepPath(sweep, library, stride);
    printf("newlib location sweep: %zu expressions (%zu from lists), %zu checked by value\n", sweep.expressions,
           sweep.listEntries, sweep.checked);
    EXPECT_GT(sweep.expressions, 100u);
    EXPECT_GT(sweep.listEntries, 0u);
}

} // namespace
