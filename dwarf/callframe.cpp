// The walk of .debug_frame and .eh_frame: each CIE with its fields and encodings,
// each FDE with its address range, and the call-frame instructions of both.
#include "dwarf/callframe.h"

#include <string_view>

#include "dwarf/dwarfcursor.h"
#include "dwarf/pointerencoding.h"
#include "elf/elffile.h"
#include "qtx/textline.h"

using QTx::TextLine;
namespace PE = PointerEncoding;

namespace {

// What a CIE says about the FDEs that use it.
struct Cie {
    uint8_t version = 0;
    std::string_view augmentation;
    uint8_t addressSize = 0;
    uint8_t segmentSize = 0;
    uint64_t codeAlignment = 0;
    int64_t dataAlignment = 0;
    uint64_t returnAddressRegister = 0;
    uint32_t lsdaEncoding = PE::notGiven;
    uint32_t personalityEncoding = PE::notGiven;
    uint32_t fdeEncoding = PE::notGiven;
    uint64_t personality = 0;
    // The augmentation data ran past the end of the record: nothing after it is read.
    bool cut = false;
};

class FrameReader {
public:
    explicit FrameReader(const FrameSection& s) : s_(s), section_(s.data, s.data + s.size, s.bigEndian) {}

    void walk(TextLine& out);

private:
    bool isCie(uint32_t id) const { return s_.ehFrame ? id == 0 : id == 0xFFFFFFFF; }
    // A cursor over the section that stops at `end` (the end of a record).
    DwarfCursor upTo(uint64_t end, uint64_t at) const
    {
        DwarfCursor c = section_.limitedTo(end);
        c.seek(at);
        return c;
    }
    void readCie(DwarfCursor& c, Cie& cie) const;
    bool cieAt(uint64_t offset, Cie& cie) const;
    void printCie(TextLine& out, const Cie& cie) const;
    void printEncoding(TextLine& out, const char* label, uint32_t encoding) const;
    uint64_t readFdeAddresses(DwarfCursor& c, const Cie& cie, uint64_t& range) const;
    bool printInstructions(TextLine& out, DwarfCursor& c, const Cie& cie) const;

    const FrameSection s_;
    const DwarfCursor section_;
    Cie current_; // the last CIE of the walk
};

// The fields of a CIE after its identifier, up to its initial instructions.
void FrameReader::readCie(DwarfCursor& c, Cie& cie) const
{
    cie = Cie();
    cie.version = c.u8();
    cie.augmentation = c.cstr();
    if (cie.version > 3) {
        cie.addressSize = c.u8();
        cie.segmentSize = c.u8();
    }
    cie.codeAlignment = c.uleb();
    cie.dataAlignment = c.sleb();
    cie.returnAddressRegister = cie.version == 1 ? c.u8() : c.uleb();
    if (cie.augmentation.empty() || cie.augmentation[0] != 'z')
        return;
    const uint64_t length = c.uleb();
    if (length > c.left()) {
        cie.cut = true;
        c.skip(length);
        return;
    }
    DwarfCursor data = upTo(c.offset() + length, c.offset());
    c.skip(length);
    for (char letter : cie.augmentation.substr(1)) {
        switch (letter) {
        case 'P':
            cie.personalityEncoding = data.u8();
            cie.personality = PE::read(data, cie.personalityEncoding, s_.addressSize, {s_.address, 0});
            break;
        case 'L': cie.lsdaEncoding = data.u8(); break;
        case 'R': cie.fdeEncoding = data.u8(); break;
        case 'S': // a signal frame
        case 'B': // AArch64's B key for return addresses
            break;
        default:
            // An unknown letter may carry data of unknown size: the rest of the
            // augmentation data is skipped (the length says where it ends).
            return;
        }
    }
}

// The CIE an FDE names, read quietly. A linker that merges equal CIEs leaves FDEs
// pointing back past other CIEs, so the last CIE of the walk is not always theirs.
bool FrameReader::cieAt(uint64_t offset, Cie& cie) const
{
    if (offset >= s_.size)
        return false;
    DwarfCursor c = section_;
    c.seek(offset);
    const uint32_t length = c.u32();
    if (length < 4 || length > c.left())
        return false;
    DwarfCursor record = upTo(offset + 4 + length, offset + 4);
    if (!isCie(record.u32()))
        return false;
    readCie(record, cie);
    return true;
}

void FrameReader::printEncoding(TextLine& out, const char* label, uint32_t encoding) const
{
    // The two names share one buffer when unexpected: each is copied out before the next is made.
    out.str(label).ch(' ');
    out.str(PE::valueFormatName(encoding));
    out.ch('+');
    out.str(PE::applicationName(encoding));
    out.ch('\n');
}

void FrameReader::printCie(TextLine& out, const Cie& cie) const
{
    out.str("CIE\nversion: ").dec(cie.version).str("\naugmentation : ").str(cie.augmentation).ch('\n');
    if (cie.version > 3) {
        out.str("address size: ").dec(cie.addressSize).ch('\n');
        out.str("pointer size: ").dec(cie.segmentSize).ch('\n');
    }
    out.str("code_alignment_factor: 0x").hex(cie.codeAlignment).ch('\n');
    out.str("data_alignment_factor: 0x").hex(uint64_t(cie.dataAlignment)).ch('\n');
    out.str("return_address_register: ").dec(int32_t(cie.returnAddressRegister)).str("\n\n");
    if (cie.cut)
        return;
    if (cie.personalityEncoding != PE::notGiven) {
        printEncoding(out, "PEncoding", cie.personalityEncoding);
        out.str("Personality Function Address 0x").hex(cie.personality).ch('\n');
    }
    if (cie.lsdaEncoding != PE::notGiven)
        printEncoding(out, "LEncoding", cie.lsdaEncoding);
    if (cie.fdeEncoding != PE::notGiven)
        printEncoding(out, "REncoding", cie.fdeEncoding);
}

// The initial location (returned) and the address range of an FDE.
uint64_t FrameReader::readFdeAddresses(DwarfCursor& c, const Cie& cie, uint64_t& range) const
{
    if (!s_.ehFrame) {
        // Plain addresses of the CIE's size, after a segment selector when it has one.
        const unsigned size = cie.version > 3 ? cie.addressSize : s_.addressSize;
        if (cie.version > 3)
            c.skip(cie.segmentSize);
        const uint64_t location = c.fixed(size);
        range = c.fixed(size);
        return location;
    }
    // Without an 'R' in the augmentation the pointers are plain addresses. The
    // location is taken as PC-relative whatever its encoding says: that is what
    // compilers write, and an absolute one shows moved by the field's own address.
    const uint32_t encoding = cie.fdeEncoding == PE::notGiven ? 0 : cie.fdeEncoding;
    const uint64_t field = s_.address + c.offset();
    uint64_t location = PE::readValue(c, encoding, s_.addressSize) + field;
    if (s_.addressSize == 4)
        location = uint32_t(location);
    range = PE::readValue(c, encoding, s_.addressSize);
    return location;
}

// Decodes instructions up to the end of the cursor (the end of the record). Returns
// false at an opcode it does not know: its operands cannot be told from the next
// instruction, so the walk of the whole section ends there.
bool FrameReader::printInstructions(TextLine& out, DwarfCursor& c, const Cie& cie) const
{
    // Factored values are multiplied in unsigned arithmetic: a hostile factor must
    // wrap, not overflow.
    const uint64_t code = cie.codeAlignment;
    const uint64_t data = uint64_t(cie.dataAlignment);
    auto one = [&](const char* name, int64_t a) { out.str(name).ch('(').dec(a).str(")\n"); };
    auto two = [&](const char* name, int64_t a, int64_t b) {
        out.str(name).ch('(').dec(a).str(", ").dec(b).str(")\n");
    };
    while (!c.atEnd()) {
        const uint8_t op = c.u8();
        switch (op >> 6) {
        case 1: one("DW_CFA_advance_loc", int64_t((op & 0x3f) * code)); continue;
        case 2: {
            const uint64_t offset = c.uleb();
            out.str("DW_CFA_offset(").dec(op & 0x3f).str(", ").dec(int64_t(offset)).str(", ");
            out.dec(int64_t(offset * data)).str(")\n");
            continue;
        }
        case 3: one("DW_CFA_restore", op & 0x3f); continue;
        default: break;
        }
        switch (op) {
        case 0x00: out.str("DW_CFA_nop\n"); break;
        // Four bytes whatever the address size.
        case 0x01: one("DW_CFA_set_loc", c.u32()); break;
        // The explicit advances are printed as stored, not factored.
        case 0x02: one("DW_CFA_advance_loc1", c.u8()); break;
        case 0x03: one("DW_CFA_advance_loc2", c.u16()); break;
        case 0x04: one("DW_CFA_advance_loc4", c.u32()); break;
        case 0x05: {
            const uint64_t reg = c.uleb();
            two("DW_CFA_offset_extended", int64_t(reg), int64_t(c.uleb() * data));
            break;
        }
        case 0x06: one("DW_CFA_restore_extended", int64_t(c.uleb())); break;
        case 0x07: one("DW_CFA_undefined", int64_t(c.uleb())); break;
        case 0x08: one("DW_CFA_same_value", int64_t(c.uleb())); break;
        case 0x09: {
            const uint64_t reg = c.uleb();
            two("DW_CFA_register", int64_t(reg), int64_t(c.uleb()));
            break;
        }
        case 0x0a: out.str("DW_CFA_remember_state\n"); break;
        case 0x0b: out.str("DW_CFA_restore_state\n"); break;
        case 0x0c: {
            const uint64_t reg = c.uleb();
            two("DW_CFA_def_cfa", int64_t(reg), int64_t(c.uleb()));
            break;
        }
        case 0x0d: one("DW_CFA_def_cfa_register", int64_t(c.uleb())); break;
        case 0x0e: one("DW_CFA_def_cfa_offset", int64_t(c.uleb())); break;
        // The expression instructions are announced only. Their operands are left
        // where they are and read as the instructions that follow.
        case 0x0f: out.str("DW_CFA_def_cfa_expression - eek\n"); break;
        case 0x10: out.str("DW_CFA_def_expression - eek\n"); break;
        case 0x11: {
            const uint64_t reg = c.uleb();
            two("DW_CFA_offset_extended_sf", int64_t(reg), int64_t(uint64_t(c.sleb()) * data));
            break;
        }
        case 0x12: {
            const uint64_t reg = c.uleb();
            two("DW_CFA_def_cfa_sf", int64_t(reg), int64_t(uint64_t(c.sleb()) * data));
            break;
        }
        case 0x13: one("DW_CFA_def_cfa_offset_sf", int64_t(uint64_t(c.sleb()) * data)); break;
        case 0x14: {
            // The offset is read as signed.
            const uint64_t reg = c.uleb();
            two("DW_CFA_val_offset ", int64_t(reg), int64_t(uint64_t(c.sleb()) * data));
            break;
        }
        case 0x15: out.str("DW_CFA_val_offset_sf - eek\n"); break;
        case 0x16: out.str("DW_CFA_val_expression - eek\n"); break;
        default: out.str("DW_CFI_??? ").dec(op).ch('\n'); return false;
        }
    }
    return true;
}

// Record after record from the start of the section. Records are always read with a
// 32-bit length: the 64-bit escape 0xFFFFFFFF is taken as a length, which runs past
// the end. A length of 0 (the terminator of .eh_frame) and one too short to hold an
// identifier print only the length, and the walk goes on after them: what a linker
// puts after a terminator is still shown. A length past the end of the section ends
// the walk after printing the length.
void FrameReader::walk(TextLine& out)
{
    uint64_t offset = 0;
    while (offset < s_.size) {
        out.str("\noffset: 0x").hexLower(offset).ch(' ');
        DwarfCursor c = section_;
        c.seek(offset);
        const uint32_t length = c.u32();
        const uint64_t end = offset + 4 + length;
        if (length < 4 || end > s_.size) {
            out.str("length: ").udec(length).ch('\n');
            offset = end;
            continue;
        }
        DwarfCursor record = upTo(end, offset + 4);
        const uint64_t idOffset = record.offset();
        const uint32_t id = record.u32();
        out.str("length: ").udec(length).str(" cie_id: 0x").hexLower(id).ch(' ');
        offset = end;
        if (isCie(id)) {
            readCie(record, current_);
            printCie(out, current_);
            if (current_.cut)
                continue;
            if (!printInstructions(out, record, current_))
                return;
            continue;
        }
        // In .eh_frame the identifier counts back from its own field to the CIE; in
        // .debug_frame it is the CIE's offset in the section.
        const uint64_t cieOffset = s_.ehFrame ? idOffset - id : id;
        if (s_.ehFrame)
            out.str("cie_id: 0x").hexLower(cieOffset).ch(' ');
        out.str("FDE\n");
        Cie named;
        const Cie& cie = cieAt(cieOffset, named) ? named : current_;
        uint64_t range = 0;
        const uint64_t location = readFdeAddresses(record, cie, range);
        out.str("initial_location: 0x").hexLower(location).str(" address_range: 0x").hexLower(range).ch('\n');
        if (!cie.augmentation.empty()) {
            const uint64_t length = record.uleb();
            if (length > record.left())
                continue;
            record.skip(length);
        }
        if (!printInstructions(out, record, cie))
            return;
    }
}

FrameSection frameSection(const ElfFile& file, const ElfSection& s, bool ehFrame)
{
    FrameSection f;
    f.data = s.data;
    f.size = s.data ? s.dataSize : 0;
    f.address = s.sh_addr;
    f.ehFrame = ehFrame;
    f.bigEndian = !file.isLittleEndian();
    f.addressSize = file.is64() ? 8 : 4;
    return f;
}

bool isExceptionTable(std::string_view name)
{
    // With -ffunction-sections each function's table has a section of its own.
    constexpr std::string_view base = ".gcc_except_table";
    return name == base || (name.size() > base.size() && name.substr(0, base.size() + 1) == ".gcc_except_table.");
}

} // namespace

void printCallFrames(TextLine& out, const FrameSection& section)
{
    FrameReader reader(section);
    reader.walk(out);
}

// Each kind of section in turn, every section of that kind in header order.
void printUnwindTables(const ElfFile& file, FILE* out)
{
    TextLine line(out);
    for (int kind = 0; kind < 3; ++kind) {
        for (int i = 0; i < file.sectionCount(); ++i) {
            const ElfSection& s = *file.sectionAt(i);
            const bool wanted = kind == 0 ? s.name == ".eh_frame"
                                : kind == 1 ? s.name == ".eh_frame_hdr"
                                            : isExceptionTable(s.name);
            if (!wanted)
                continue;
            line.ch('\n').str(s.name).ch('\n');
            const FrameSection f = frameSection(file, s, kind == 0);
            if (kind == 0)
                printCallFrames(line, f);
            else if (kind == 1)
                printEhFrameHeader(line, f);
            else
                printExceptionTable(line, f);
        }
    }
}

void printDebugFrame(const ElfFile& file, FILE* out)
{
    const ElfSection* s = file.sectionByName(".debug_frame");
    if (!s)
        return;
    TextLine line(out);
    line.str("\n.debug_frame\n");
    printCallFrames(line, frameSection(file, *s, false));
}
