// Call-frame, .eh_frame_hdr and exception-table dumps on records assembled here byte
// by byte; the expected texts are worked out by hand from the bytes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dwarf/callframe.h"
#include "elf/elffile.h"
#include "qtx/textline.h"
#include "tests/lib/bytes.h"
#include "tests/lib/elfbuilder.h"

namespace {

using Printer = void (*)(QTx::TextLine&, const FrameSection&);


// Runs a printer over an exact-size heap copy of the bytes, so that a sanitizer sees
// any read past them.
std::string dump(Printer print, const std::vector<uint8_t>& bytes, bool ehFrame = false, bool be = false,
                 uint64_t address = 0, unsigned addressSize = 4)
{
    std::unique_ptr<uint8_t[]> copy(new uint8_t[bytes.size() + 1]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    char* buf = nullptr;
    size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    {
        QTx::TextLine out(f);
        FrameSection s;
        s.data = bytes.empty() ? nullptr : copy.get();
        s.size = bytes.size();
        s.address = address;
        s.ehFrame = ehFrame;
        s.bigEndian = be;
        s.addressSize = addressSize;
        print(out, s);
    }
    fclose(f);
    std::string text(buf, len);
    free(buf);
    return text;
}

std::string frames(const Bytes& b, bool ehFrame = false, uint64_t address = 0, unsigned addressSize = 4)
{
    return dump(printCallFrames, b.b, ehFrame, b.be, address, addressSize);
}

// A .debug_frame CIE of version 3 with no initial instructions.
size_t debugCie(Bytes& s, uint64_t codeAlignment, int64_t dataAlignment, int version = 3)
{
    return s.record([&](Bytes& r) {
        r.u32(0xFFFFFFFF).u8(version).str("");
        if (version > 3)
            r.u8(4).u8(0);
        r.uleb(codeAlignment).sleb(dataAlignment);
        if (version == 1)
            r.u8(14);
        else
            r.uleb(14);
    });
}

size_t debugFde(Bytes& s, size_t cie, uint32_t location, uint32_t range, const std::vector<uint8_t>& instructions)
{
    return s.record([&](Bytes& r) { r.u32(cie).u32(location).u32(range).raw(instructions); });
}

const char* const cie3Text = "CIE\nversion: 3\naugmentation : \ncode_alignment_factor: 0x2\n"
                             "data_alignment_factor: 0xFFFFFFFFFFFFFFFC\nreturn_address_register: 14\n\n";

TEST(CallFrames, DebugFrameCieAndFde)
{
    Bytes s;
    debugCie(s, 2, -4);
    debugFde(s, 0, 0x08000000, 0x40, {0x44, 0x83, 0x01, 0x00});
    EXPECT_EQ(frames(s), std::string("\noffset: 0x0 length: 9 cie_id: 0xffffffff ") + cie3Text +
                             "\noffset: 0xd length: 16 cie_id: 0x0 FDE\n"
                             "initial_location: 0x8000000 address_range: 0x40\n"
                             "DW_CFA_advance_loc(8)\nDW_CFA_offset(3, 1, -4)\nDW_CFA_nop\n");
}

TEST(CallFrames, CieVersions)
{
    struct Case {
        int version;
        std::vector<uint8_t> body; // after the identifier
        const char* text;
    } cases[] = {
        // Version 1: the return address register is a byte, 200 with its top bit set.
        {1, {1, 0, 4, 0x78, 200}, "version: 1\naugmentation : \ncode_alignment_factor: 0x4\n"
                                  "data_alignment_factor: 0xFFFFFFFFFFFFFFF8\nreturn_address_register: 200\n\n"},
        // Version 3: a ULEB128 (0xc8 0x01 = 200).
        {3, {3, 0, 1, 0x7c, 0xc8, 0x01}, "version: 3\naugmentation : \ncode_alignment_factor: 0x1\n"
                                        "data_alignment_factor: 0xFFFFFFFFFFFFFFFC\nreturn_address_register: 200\n\n"},
        // Version 4: address and segment selector sizes (printed as the pointer size).
        {4, {4, 0, 8, 2, 0x80, 0x01, 0x01, 30}, "version: 4\naugmentation : \naddress size: 8\npointer size: 2\n"
                                                "code_alignment_factor: 0x80\ndata_alignment_factor: 0x1\n"
                                                "return_address_register: 30\n\n"},
    };
    for (const Case& c : cases) {
        Bytes s;
        s.record([&](Bytes& r) { r.u32(0xFFFFFFFF).raw(c.body); });
        EXPECT_EQ(frames(s), "\noffset: 0x0 length: " + std::to_string(4 + c.body.size()) +
                                 " cie_id: 0xffffffff CIE\n" + c.text)
            << "version " << c.version;
    }
}

// Every instruction, decoded in an FDE whose CIE has code alignment 2 and data
// alignment -4.
TEST(CallFrames, Instructions)
{
    struct Case {
        std::vector<uint8_t> bytes;
        const char* text;
    } cases[] = {
        {{0x44}, "DW_CFA_advance_loc(8)\n"},
        {{0x7f}, "DW_CFA_advance_loc(126)\n"},
        {{0x83, 0x01}, "DW_CFA_offset(3, 1, -4)\n"},
        {{0xbf, 0x81, 0x01}, "DW_CFA_offset(63, 129, -516)\n"},
        {{0xce}, "DW_CFA_restore(14)\n"},
        {{0x00}, "DW_CFA_nop\n"},
        {{0x01, 0x10, 0x00, 0x00, 0x08}, "DW_CFA_set_loc(134217744)\n"},
        {{0x02, 0x10}, "DW_CFA_advance_loc1(16)\n"},
        {{0x02, 0xff}, "DW_CFA_advance_loc1(255)\n"},
        {{0x03, 0x00, 0x01}, "DW_CFA_advance_loc2(256)\n"},
        {{0x04, 0x00, 0x00, 0x01, 0x00}, "DW_CFA_advance_loc4(65536)\n"},
        {{0x05, 4, 2}, "DW_CFA_offset_extended(4, -8)\n"},
        {{0x06, 0x81, 0x02}, "DW_CFA_restore_extended(257)\n"},
        {{0x07, 5}, "DW_CFA_undefined(5)\n"},
        {{0x08, 6}, "DW_CFA_same_value(6)\n"},
        {{0x09, 7, 8}, "DW_CFA_register(7, 8)\n"},
        {{0x0a, 0x0b}, "DW_CFA_remember_state\nDW_CFA_restore_state\n"},
        {{0x0c, 13, 16}, "DW_CFA_def_cfa(13, 16)\n"},
        {{0x0d, 11}, "DW_CFA_def_cfa_register(11)\n"},
        {{0x0e, 0xc8, 0x01}, "DW_CFA_def_cfa_offset(200)\n"},
        {{0x11, 4, 0x7e}, "DW_CFA_offset_extended_sf(4, 8)\n"},
        {{0x11, 4, 0x02}, "DW_CFA_offset_extended_sf(4, -8)\n"},
        {{0x12, 13, 0x7c}, "DW_CFA_def_cfa_sf(13, 16)\n"},
        {{0x13, 0x7a}, "DW_CFA_def_cfa_offset_sf(24)\n"},
        // The offset of val_offset is read as signed: 0x7f is -1.
        {{0x14, 5, 0x7f}, "DW_CFA_val_offset (5, 4)\n"},
        {{0x14, 5, 0x03}, "DW_CFA_val_offset (5, -12)\n"},
        // The expression instructions consume their opcode only: what follows is
        // read as instructions (2 = advance_loc1, whose operand 0x7d is DW_OP_breg13).
        {{0x0f, 0x02, 0x7d, 0x00}, "DW_CFA_def_cfa_expression - eek\nDW_CFA_advance_loc1(125)\nDW_CFA_nop\n"},
        {{0x10, 0x00, 0x00}, "DW_CFA_def_expression - eek\nDW_CFA_nop\nDW_CFA_nop\n"},
        {{0x15, 0x44}, "DW_CFA_val_offset_sf - eek\nDW_CFA_advance_loc(8)\n"},
        {{0x16, 0x0e, 0x08}, "DW_CFA_val_expression - eek\nDW_CFA_def_cfa_offset(8)\n"},
        // Operands cut off by the end of the record read as 0.
        {{0x0c, 13}, "DW_CFA_def_cfa(13, 0)\n"},
        {{0x04, 0x01, 0x02}, "DW_CFA_advance_loc4(0)\n"},
    };
    for (const Case& c : cases) {
        Bytes s;
        debugCie(s, 2, -4);
        debugFde(s, 0, 0x08000000, 0x10, c.bytes);
        const std::string text = frames(s);
        const std::string head = "address_range: 0x10\n";
        const size_t at = text.find(head);
        ASSERT_NE(at, std::string::npos);
        EXPECT_EQ(text.substr(at + head.size()), c.text) << "first byte " << int(c.bytes[0]);
    }
}

// An opcode that is not known ends the walk of the whole section: its operands could
// not be told apart from the next instruction.
TEST(CallFrames, UnknownOpcodeEndsTheSection)
{
    for (bool ehFrame : {false, true}) {
        Bytes s;
        if (ehFrame) {
            s.record([](Bytes& r) { r.u32(0).u8(1).str("").uleb(2).sleb(-4).u8(14); });
            s.record([](Bytes& r) { r.u32(r.size()).u32(0x100).u32(8).raw({0x41, 0x2e, 0x00, 0x0e, 0x08}); });
            s.record([](Bytes& r) { r.u32(r.size()).u32(0x200).u32(8).raw({0x0e, 0x10}); });
        } else {
            debugCie(s, 2, -4);
            debugFde(s, 0, 0x100, 8, {0x41, 0x2e, 0x00, 0x0e, 0x08});
            debugFde(s, 0, 0x200, 8, {0x0e, 0x10});
        }
        const std::string text = frames(s, ehFrame);
        const std::string tail = "DW_CFA_advance_loc(2)\nDW_CFI_??? 46\n";
        ASSERT_GE(text.size(), tail.size());
        EXPECT_EQ(text.substr(text.size() - tail.size()), tail) << text;
        EXPECT_EQ(text.find("0x200"), std::string::npos);
    }
}

// The .eh_frame form: identifier 0 for a CIE, an FDE's identifier counted back from
// its own field, pointers in the encodings the augmentation gives.
TEST(CallFrames, EhFrameAugmentationAndEncodings)
{
    Bytes s;
    const uint64_t address = 0x2000;
    s.record([](Bytes& r) {
        r.u32(0).u8(1).str("zPLR").uleb(2).sleb(-4).u8(14);
        r.uleb(7).u8(0x9b);
        // PC-relative: the field is at 0x2000 + 0x13, so the routine's slot is at 0x2013 + 0x100.
        EXPECT_EQ(r.size(), 0x13u);
        r.u32(0x100).u8(0x1b).u8(0x1b);
        r.raw({0x0c, 13, 0});
    });
    // Section offset 0x1c: the identifier field is at 0x20 and counts back 0x20 to the CIE.
    s.record([](Bytes& r) {
        EXPECT_EQ(r.size(), 0x20u);
        r.u32(0x20);
        // The location field at 0x24, relative to itself: 0x2024 - 0x24 = 0x2000.
        r.u32(uint32_t(-0x24)).u32(0x30);
        r.uleb(4).u32(0x12345678); // augmentation data: the LSDA pointer, skipped
        r.raw({0x41, 0x0e, 0x08});
    });
    s.u32(0); // terminator
    const std::string text = frames(s, true, address);
    EXPECT_EQ(text, "\noffset: 0x0 length: 24 cie_id: 0x0 CIE\nversion: 1\naugmentation : zPLR\n"
                    "code_alignment_factor: 0x2\ndata_alignment_factor: 0xFFFFFFFFFFFFFFFC\n"
                    "return_address_register: 14\n\n"
                    "PEncoding DW_EH_PE_sdata4+unexpected DW_EH_PE_format 0x9b\n"
                    "Personality Function Address 0x2113\n"
                    "LEncoding DW_EH_PE_sdata4+DW_EH_PE_pcrel\n"
                    "REncoding DW_EH_PE_sdata4+DW_EH_PE_pcrel\n"
                    "DW_CFA_def_cfa(13, 0)\n"
                    "\noffset: 0x1c length: 20 cie_id: 0x20 cie_id: 0x0 FDE\n"
                    "initial_location: 0x2000 address_range: 0x30\n"
                    "DW_CFA_advance_loc(2)\nDW_CFA_def_cfa_offset(8)\n"
                    "\noffset: 0x34 length: 0\n");
}

// The names of encodings: each unexpected one with the whole byte, both halves of one
// encoding intact although they are made in one buffer.
TEST(CallFrames, EncodingNames)
{
    struct Case {
        uint8_t encoding;
        const char* text;
    } cases[] = {
        {0x1b, "DW_EH_PE_sdata4+DW_EH_PE_pcrel"},
        {0x9b, "DW_EH_PE_sdata4+unexpected DW_EH_PE_format 0x9b"},
        {0x03, "DW_EH_PE_udata4+unexpected DW_EH_PE_format 0x3"},
        {0x00, "DW_EH_PE_absptr+unexpected DW_EH_PE_format 0x0"},
        {0x21, "DW_EH_PE_uleb128+DW_EH_PE_textrel"},
        {0x32, "DW_EH_PE_udata2+DW_EH_PE_datarel"},
        {0x44, "DW_EH_PE_udata8+DW_EH_PE_funcrel"},
        {0x59, "DW_EH_PE_sleb128+DW_EH_PE_aligned"},
        {0x1a, "DW_EH_PE_sdata2+DW_EH_PE_pcrel"},
        {0x1c, "DW_EH_PE_sdata8+DW_EH_PE_pcrel"},
        {0x60, "DW_EH_PE_absptr+unexpected DW_EH_PE_format 0x60"},
        {0x18, "unexpected DW_EH_PE_value 0x18+DW_EH_PE_pcrel"},
        {0x05, "unexpected DW_EH_PE_value 0x5+unexpected DW_EH_PE_format 0x5"},
        {0xff, "unexpected DW_EH_PE_value 0xff+unexpected DW_EH_PE_format 0xff"},
    };
    for (const Case& c : cases) {
        Bytes s;
        s.record([&](Bytes& r) { r.u32(0).u8(1).str("zR").uleb(1).sleb(-4).u8(14).uleb(1).u8(c.encoding); });
        const std::string text = frames(s, true);
        EXPECT_NE(text.find(std::string("\nREncoding ") + c.text + "\n"), std::string::npos) << text;
    }
}

// An FDE is read with the CIE it names, which need not be the last one: a linker
// that merges equal CIEs points later FDEs back past other CIEs.
TEST(CallFrames, FdeUsesTheCieItNames)
{
    Bytes s;
    // CIE A at 0: data alignment -4, absolute udata4 pointers.
    s.record([](Bytes& r) { r.u32(0).u8(1).str("zR").uleb(1).sleb(-4).u8(14).uleb(1).u8(0x03); });
    // CIE B at 0x11: data alignment -8, 8-byte pointers.
    s.record([](Bytes& r) { r.u32(0).u8(1).str("zR").uleb(1).sleb(-8).u8(14).uleb(1).u8(0x04); });
    const size_t fde = s.size();
    ASSERT_EQ(fde, 0x22u);
    s.record([&](Bytes& r) { r.u32(fde + 4).u32(0x1000).u32(0x20).uleb(0).raw({0x83, 0x01}); });
    const std::string text = frames(s, true);
    // The location is taken as PC-relative whatever the encoding: 0x1000 + 0x2a.
    EXPECT_NE(text.find("cie_id: 0x26 cie_id: 0x0 FDE\ninitial_location: 0x102a address_range: 0x20\n"
                        "DW_CFA_offset(3, 1, -4)\n"),
              std::string::npos)
        << text;
}

// Lengths that do not describe a whole record, and augmentation data longer than its
// record: each stops where it must and the rest of the section is still read.
TEST(CallFrames, DamagedLengths)
{
    struct Case {
        const char* name;
        std::function<void(Bytes&)> build;
        const char* text;
    } cases[] = {
        {"64-bit escape", [](Bytes& s) { s.u32(0xFFFFFFFF).u32(0xFFFFFFFF).u32(0); },
         "\noffset: 0x0 length: 4294967295\n"},
        {"past the end", [](Bytes& s) { s.u32(100).u32(0xFFFFFFFF).u8(1); }, "\noffset: 0x0 length: 100\n"},
        {"zero, then a CIE",
         [](Bytes& s) {
             s.u32(0);
             s.record([](Bytes& r) { r.u32(0xFFFFFFFF).u8(3).str("").uleb(1).sleb(1).uleb(2); });
         },
         "\noffset: 0x0 length: 0\n\noffset: 0x4 length: 9 cie_id: 0xffffffff CIE\nversion: 3\naugmentation : \n"
         "code_alignment_factor: 0x1\ndata_alignment_factor: 0x1\nreturn_address_register: 2\n\n"},
        {"too short for an identifier", [](Bytes& s) { s.u32(2).u16(0xFFFF).u32(0); },
         "\noffset: 0x0 length: 2\n\noffset: 0x6 length: 0\n"},
        {"three bytes left", [](Bytes& s) { s.u8(1).u8(2).u8(3); }, "\noffset: 0x0 length: 0\n"},
        {"CIE augmentation data past its record",
         [](Bytes& s) {
             s.record([](Bytes& r) { r.u32(0xFFFFFFFF).u8(1).str("zR").uleb(1).sleb(1).u8(2).uleb(50).u8(0x1b); });
             s.record([](Bytes& r) { r.u32(0).u32(0x10).u32(0x20).uleb(0).raw({0x0e, 0x08}); });
         },
         "\noffset: 0x0 length: 13 cie_id: 0xffffffff CIE\nversion: 1\naugmentation : zR\n"
         "code_alignment_factor: 0x1\ndata_alignment_factor: 0x1\nreturn_address_register: 2\n\n"
         "\noffset: 0x11 length: 15 cie_id: 0x0 FDE\ninitial_location: 0x10 address_range: 0x20\n"
         "DW_CFA_def_cfa_offset(8)\n"},
        {"FDE augmentation data past its record",
         [](Bytes& s) {
             s.record([](Bytes& r) { r.u32(0xFFFFFFFF).u8(1).str("z").uleb(1).sleb(1).u8(2).uleb(0); });
             s.record([](Bytes& r) { r.u32(0).u32(0x10).u32(0x20).uleb(9).raw({0x0e, 0x08}); });
             s.record([](Bytes& r) { r.u32(0).u32(0x30).u32(0x40).uleb(0).raw({0x0e, 0x10}); });
         },
         "\noffset: 0x0 length: 11 cie_id: 0xffffffff CIE\nversion: 1\naugmentation : z\n"
         "code_alignment_factor: 0x1\ndata_alignment_factor: 0x1\nreturn_address_register: 2\n\n"
         "\noffset: 0xf length: 15 cie_id: 0x0 FDE\ninitial_location: 0x10 address_range: 0x20\n"
         "\noffset: 0x22 length: 15 cie_id: 0x0 FDE\ninitial_location: 0x30 address_range: 0x40\n"
         "DW_CFA_def_cfa_offset(16)\n"},
    };
    for (const Case& c : cases) {
        Bytes s;
        c.build(s);
        EXPECT_EQ(frames(s), c.text) << c.name;
    }
}

// The same records in both byte orders give the same text.
TEST(CallFrames, BigEndian)
{
    auto build = [](bool be) {
        Bytes s(be);
        debugCie(s, 2, -4, 4);
        s.record([](Bytes& r) {
            r.u32(0).u32(0x08001234).u32(0x56);
            r.u8(0x01).u32(0x11223344).u8(0x03).u16(0x0102).u8(0x04).u32(0x01020304).u8(0x83).u8(0x01);
        });
        return s;
    };
    const std::string little = frames(build(false));
    const std::string big = frames(build(true));
    EXPECT_EQ(big, little);
    EXPECT_NE(big.find("initial_location: 0x8001234 address_range: 0x56\nDW_CFA_set_loc(" +
                       std::to_string(0x11223344) + ")\nDW_CFA_advance_loc2(258)\nDW_CFA_advance_loc4(" +
                       std::to_string(0x01020304) + ")\nDW_CFA_offset(3, 1, -4)\n"),
              std::string::npos)
        << big;
}

// In a 64-bit file a .debug_frame CIE before version 4 has 8-byte addresses.
TEST(CallFrames, AddressSizeOfTheFile)
{
    Bytes s;
    debugCie(s, 1, -8);
    s.record([](Bytes& r) { r.u32(0).n(0x401000, 8).n(0x20, 8).raw({0x0e, 0x10}); });
    EXPECT_NE(frames(s, false, 0, 8).find("initial_location: 0x401000 address_range: 0x20\nDW_CFA_def_cfa_offset(16)\n"),
              std::string::npos);
}

// .eh_frame_hdr at address 0x1000: pcrel counts from the field, datarel from the section.
TEST(EhFrameHeader, Table)
{
    struct Case {
        const char* name;
        std::function<void(Bytes&)> build;
        const char* text;
    } cases[] = {
        {"datarel table",
         [](Bytes& s) {
             s.u8(1).u8(0x1b).u8(0x03).u8(0x3b).u32(0x100).u32(2);
             s.u32(0x10).u32(0x200).u32(0x20).u32(0x240);
         },
         // The count is read with the table encoding, datarel: 2 + 0x1000. Only the two
         // entries that are there are printed.
         "\nversion: 1\neh_frame_ptr: 0x1104\nfde_count: 4098\n"
         "location 0x1010 address 0x1200\nlocation 0x1020 address 0x1240\n"},
        {"absolute udata4 table, count larger than the table",
         [](Bytes& s) { s.u8(1).u8(0x03).u8(0x03).u8(0x03).u32(0x5000).u32(7).u32(0x10).u32(0x200).u16(0xAAAA); },
         "\nversion: 1\neh_frame_ptr: 0x5000\nfde_count: 7\nlocation 0x10 address 0x200\n"},
        {"no count",
         [](Bytes& s) { s.u8(1).u8(0x1b).u8(0xff).u8(0x3b).u32(0x100).u32(0x10).u32(0x200); },
         "\nversion: 1\neh_frame_ptr: 0x1104\nfde_count: 0\n"},
        {"no eh_frame pointer", [](Bytes& s) { s.u8(1).u8(0xff).u8(0xff).u8(0xff); },
         "\nversion: 1\neh_frame_ptr: 0x0\nfde_count: 0\n"},
        {"table of unknown format",
         [](Bytes& s) { s.u8(1).u8(0x03).u8(0x03).u8(0x07).u32(0x100).u32(0x10).u32(0x200); },
         "\nversion: 1\neh_frame_ptr: 0x100\nfde_count: 0\n"},
        {"cut header", [](Bytes& s) { s.u8(1).u8(0x03); }, "\nversion: 1\neh_frame_ptr: 0x0\nfde_count: 0\n"},
    };
    for (const Case& c : cases) {
        Bytes s;
        c.build(s);
        EXPECT_EQ(dump(printEhFrameHeader, s.b, false, false, 0x1000), c.text) << c.name;
        // The same in big-endian.
        Bytes big(true);
        c.build(big);
        EXPECT_EQ(dump(printEhFrameHeader, big.b, false, true, 0x1000), c.text) << c.name << " big-endian";
    }
}

// Three areas of .gcc_except_table one after another, as GCC writes them for a
// catch, a cleanup and a throw list, with the padding that aligns
// the type tables.
Bytes exceptionAreas(bool be)
{
    Bytes s(be);
    // Area 1 at 0: catch (int), then cleanups. Type table of one udata4 entry.
    s.u8(0xff).u8(0x03).uleb(0x11); // the type table ends at 3 + 0x11 = 0x14
    s.u8(0x01).uleb(8);             // call sites: 8 bytes
    s.uleb(0x10).uleb(0x05).uleb(0x20).uleb(1);
    s.uleb(0x30).uleb(0x04).uleb(0).uleb(0);
    s.sleb(1).sleb(0); // action 1 at 0x0d: type filter 1, end of chain
    s.u8(0);
    s.u32(0x11223344); // entry 1, at 0x10
    EXPECT_EQ(s.size(), 0x14u);
    // Area 2 at 0x14: cleanups only, no type table; then padding.
    s.u8(0xff).u8(0xff).u8(0x01).uleb(4);
    s.uleb(0x08).uleb(0x02).uleb(0x0c).uleb(0);
    s.u8(0).u8(0).u8(0).u8(0);
    EXPECT_EQ(s.size(), 0x20u);
    // Area 3 at 0x20: LPStart given, two catches chained (filter 2 then 1), and an
    // throw list (filter -1) listing type 1.
    s.u8(0x03).u32(0x400);
    s.u8(0x03).uleb(0x19); // 0x27 + 0x19 = 0x40
    s.u8(0x01).uleb(8);
    s.uleb(0x01).uleb(0x02).uleb(0x03).uleb(3);
    s.uleb(0x04).uleb(0x05).uleb(0x06).uleb(5);
    // Actions at 0x31: [0x31] filter 1, end; [0x33] filter 2, next -3 (from 0x34 to
    // 0x31); [0x35] filter -1, end.
    EXPECT_EQ(s.size(), 0x31u);
    s.sleb(1).sleb(0).sleb(2).sleb(-3).sleb(-1).sleb(0);
    s.u8(0);
    s.u32(0xBBBB).u32(0xAAAA); // entry 2 at 0x38, entry 1 at 0x3c
    EXPECT_EQ(s.size(), 0x40u);
    s.uleb(1).uleb(0); // the throw list of filter -1
    return s;
}

const char* const exceptionAreasText = "start 16 length 5 landingPad 32 action 1\n"
                                       "start 48 length 4 landingPad 0 action 0\n"
                                       "action type filter 1\n"
                                       "type info 0x11223344\n"
                                       "start 8 length 2 landingPad 12 action 0\n"
                                       "LPStart 0x400\n"
                                       "start 1 length 2 landingPad 3 action 3\n"
                                       "start 4 length 5 landingPad 6 action 5\n"
                                       "action type filter 1\n"
                                       "action type filter 2\n"
                                       "action type filter -1\n"
                                       "type info 0xaaaa\n"
                                       "type info 0xbbbb\n"
                                       "type index 0x1\n";

TEST(ExceptionTable, AreasOneAfterAnother)
{
    EXPECT_EQ(dump(printExceptionTable, exceptionAreas(false).b), exceptionAreasText);
    EXPECT_EQ(dump(printExceptionTable, exceptionAreas(true).b, false, true), exceptionAreasText);
}

// PC-relative entries of the type table count from their own field.
TEST(ExceptionTable, PcRelativeTypes)
{
    Bytes s;
    s.u8(0xff).u8(0x1b).uleb(0x0c).u8(0x01).uleb(4);
    s.uleb(0).uleb(2).uleb(4).uleb(1);
    s.sleb(1).sleb(0);
    s.u32(0x100); // at 0x0b, ending the type table at 3 + 0x0c
    EXPECT_EQ(dump(printExceptionTable, s.b, false, false, 0x3000),
              "start 0 length 2 landingPad 4 action 1\naction type filter 1\ntype info 0x310b\n");
}

// What does not fit ends the walk of the section: nothing of the area after it is printed.
TEST(ExceptionTable, InconsistentAreasStopTheWalk)
{
    const std::vector<uint8_t> next = {0xff, 0xff, 0x01, 0x04, 0x07, 0x07, 0x07, 0x00};
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        const char* text;
    } cases[] = {
        {"call-site table past the end", {0xff, 0xff, 0x01, 0x40, 0x01, 0x02, 0x03, 0x00}, ""},
        {"type table before the call sites", {0xff, 0x03, 0x01, 0x01, 0x04, 0x01, 0x02, 0x03, 0x00}, ""},
        {"action outside the action table",
         {0xff, 0x03, 0x06, 0x01, 0x04, 0x01, 0x02, 0x03, 0x09},
         "start 1 length 2 landingPad 3 action 9\n"},
        {"type index past the type table",
         {0xff, 0x03, 0x07, 0x01, 0x04, 0x01, 0x02, 0x03, 0x01, 0x05, 0x00, 0x00},
         "start 1 length 2 landingPad 3 action 1\naction type filter 5\n"},
        // A chain that comes back to a record ends there; the area is whole and the
        // next one is read.
        {"chain that loops", {0xff, 0xff, 0x01, 0x04, 0x01, 0x02, 0x03, 0x01, 0x01, 0x7f},
         "start 1 length 2 landingPad 3 action 1\naction type filter 1\nstart 7 length 7 landingPad 7 action 0\n"},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> bytes = c.bytes;
        bytes.insert(bytes.end(), next.begin(), next.end());
        EXPECT_EQ(dump(printExceptionTable, bytes), c.text) << c.name;
    }
}

// Every prefix of valid sections: nothing is read past the bytes that are there, and
// every walk ends.
TEST(CallFrames, EveryTruncation)
{
    Bytes debug;
    debugCie(debug, 2, -4, 4);
    debugFde(debug, 0, 0x100, 0x40,
             {0x44, 0x83, 0x01, 0x01, 1, 2, 3, 4, 0x05, 0x81, 0x01, 0x02, 0x11, 4, 0x7e, 0x12, 13, 0x7c, 0x14, 5, 0x7f});
    Bytes eh;
    eh.record([](Bytes& r) {
        r.u32(0).u8(1).str("zPLR").uleb(2).sleb(-4).u8(14).uleb(7).u8(0x9b).u32(0x100).u8(0x1b).u8(0x1b);
        r.raw({0x0c, 13, 0});
    });
    eh.record([](Bytes& r) { r.u32(r.size()).u32(0x10).u32(0x30).uleb(4).u32(0).raw({0x41, 0x0e, 0x08}); });
    eh.u32(0);
    Bytes header;
    header.u8(1).u8(0x1b).u8(0x03).u8(0x3b).u32(0x100).u32(2).u32(0x10).u32(0x200).u32(0x20).u32(0x240);
    const Bytes except = exceptionAreas(false);
    struct Case {
        Printer print;
        const Bytes* bytes;
        bool ehFrame;
    } cases[] = {
        {printCallFrames, &debug, false},
        {printCallFrames, &eh, true},
        {printEhFrameHeader, &header, false},
        {printExceptionTable, &except, false},
    };
    size_t runs = 0;
    for (const Case& c : cases) {
        const std::string whole = dump(c.print, c.bytes->b, c.ehFrame);
        for (size_t n = 0; n <= c.bytes->size(); ++n) {
            const std::vector<uint8_t> cut(c.bytes->b.begin(), c.bytes->b.begin() + n);
            const std::string text = dump(c.print, cut, c.ehFrame);
            // A cut section never says more than the whole one does.
            EXPECT_LE(text.size(), whole.size() + 64) << "cut at " << n;
            ++runs;
        }
        // Damaged bytes anywhere: every single byte set to each of a few values.
        for (size_t i = 0; i < c.bytes->size(); ++i) {
            for (uint8_t v : {0x00, 0x7f, 0x80, 0xff}) {
                std::vector<uint8_t> damaged = c.bytes->b;
                damaged[i] = v;
                dump(c.print, damaged, c.ehFrame);
                ++runs;
            }
        }
    }
    EXPECT_GT(runs, 500u);
}

// The file-level steps: each unwind section under its own name, and .debug_frame.
TEST(CallFrames, UnwindSectionsOfAFile)
{
    Bytes eh;
    eh.record([](Bytes& r) { r.u32(0).u8(1).str("").uleb(1).sleb(-4).u8(14); });
    Bytes debug;
    debugCie(debug, 2, -4);
    const std::vector<uint8_t> area = {0xff, 0xff, 0x01, 0x04, 0x01, 0x02, 0x03, 0x00};
    ElfBuilder b(false, false);
    b.addSection({".gcc_except_table._Z1fv", 1, 2, 0, area});
    b.addSection({".debug_frame", 1, 0, 0, debug.b});
    b.addSection({".eh_frame", 1, 2, 0x8000, eh.b});
    b.addSection({".gcc_except_table", 1, 2, 0, area});
    b.addSection({".gcc_except_tablex", 1, 2, 0, area});
    std::vector<uint8_t> image = b.build();
    ElfFile elf;
    elf.parseView(image.data(), image.size(), "t.o");
    char* buf = nullptr;
    size_t len = 0;
    FILE* f = open_memstream(&buf, &len);
    printUnwindTables(elf, f);
    printDebugFrame(elf, f);
    fclose(f);
    const std::string text(buf, len);
    free(buf);
    const std::string site = "start 1 length 2 landingPad 3 action 0\n";
    EXPECT_EQ(text, "\n.eh_frame\n\noffset: 0x0 length: 9 cie_id: 0x0 CIE\nversion: 1\naugmentation : \n"
                    "code_alignment_factor: 0x1\ndata_alignment_factor: 0xFFFFFFFFFFFFFFFC\n"
                    "return_address_register: 14\n\n"
                    "\n.gcc_except_table._Z1fv\n" +
                        site + "\n.gcc_except_table\n" + site + "\n.debug_frame\n\noffset: 0x0 length: 9 cie_id: 0xffffffff " +
                        cie3Text);
}

} // namespace
