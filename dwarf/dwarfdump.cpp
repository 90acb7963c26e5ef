// The -dwarf text: line map, frames, the entry trees of all units, name tables,
// address ranges and macros, each under its heading.
#include <vector>

#include "dwarf/callframe.h"
#include "dwarf/dwarffile.h"
#include "dwarf/dwarfnames.h"
#include "dwarf/expression.h"
#include "qtx/textline.h"

using QTx::TextLine;

namespace {

enum : uint32_t {
    DW_AT_location = 0x02, DW_AT_language = 0x13, DW_AT_abstract_origin = 0x31, DW_AT_decl_file = 0x3a,
    DW_AT_specification = 0x47, DW_AT_ranges = 0x55, DW_AT_call_file = 0x58,
    DW_FORM_sec_offset = 0x17, DW_FORM_exprloc = 0x18, DW_FORM_ref_sig8 = 0x20, DW_FORM_loclistx = 0x22,
    DW_FORM_rnglistx = 0x23,
};

// Version 5 list tables: an offset table at the unit's base maps an index to an
// offset relative to that base.
uint64_t listOffsetOfIndex(const DwarfSection& section, bool be, uint64_t base, uint64_t index)
{
    DwarfCursor c = section.cursor(be);
    c.seek(base + index * 4);
    return base + c.u32();
}

// An address of the unit's .debug_addr table, by index.
uint64_t addressAtIndex(const DwarfSections& s, const DwarfUnit& unit, uint64_t index)
{
    DwarfCursor a = s.addr.cursor(s.bigEndian);
    a.seek(unit.addrBase + index * unit.addressSize);
    return a.fixed(unit.addressSize);
}

void printRanges(TextLine& out, DwarfFile& file, const DwarfUnit& unit, const DwarfAttributeValue& v)
{
    const DwarfSections& s = file.sections();
    const bool be = s.bigEndian;
    if (unit.version <= 4) {
        DwarfCursor c = s.ranges.cursor(be);
        c.seek(v.value);
        while (!c.atEnd()) {
            const uint64_t start = c.fixed(unit.addressSize);
            const uint64_t end = c.fixed(unit.addressSize);
            if (start == 0)
                break;
            out.str("0x").hexLower(start).str("-0x").hexLower(end).ch(' ');
        }
        return;
    }
    const uint64_t offset =
        v.form == DW_FORM_rnglistx ? listOffsetOfIndex(s.rnglists, be, unit.rnglistsBase, v.value) : v.value;
    DwarfCursor c = s.rnglists.cursor(be);
    c.seek(offset);
    auto indexed = [&](uint64_t index) { return addressAtIndex(s, unit, index); };
    uint64_t base = 0;
    while (!c.atEnd()) {
        const uint8_t kind = c.u8();
        uint64_t start = 0, end = 0;
        switch (kind) {
        case 0: return; // DW_RLE_end_of_list
        case 1: base = indexed(c.uleb()); continue;
        case 2: start = indexed(c.uleb()); end = indexed(c.uleb()); break;
        case 3: start = indexed(c.uleb()); end = start + c.uleb(); break;
        case 4: start = base + c.uleb(); end = base + c.uleb(); break;
        case 5: base = c.fixed(unit.addressSize); continue;
        case 6: start = c.fixed(unit.addressSize); end = c.fixed(unit.addressSize); break;
        case 7: start = c.fixed(unit.addressSize); end = start + c.uleb(); break;
        default: file.report("Unexpected DW_RLE_tag 0x%x", kind); return;
        }
        out.str("0x").hexLower(start).str("-0x").hexLower(end).ch(' ');
    }
}

// Location lists of versions 2 to 4: the base starts at 0 for every list (the unit's
// own base address is deliberately not applied).
void printLocationList4(TextLine& out, const DwarfSections& s, const DwarfUnit& unit, uint64_t offset)
{
    DwarfCursor c = s.loc.cursor(s.bigEndian);
    c.seek(offset);
    uint64_t base = 0;
    const uint64_t baseMarker = unit.addressSize == 8 ? UINT64_MAX : 0xffffffff;
    while (!c.atEnd()) {
        const uint64_t entry = c.offset();
        const uint64_t start = c.fixed(unit.addressSize);
        const uint64_t end = c.fixed(unit.addressSize);
        if (start == 0 && end == 0) {
            out.str("0x").hexLower(entry, 8).str(" <End of List>");
            return;
        }
        if (start == baseMarker) {
            base = end;
            out.str("0x").hexLower(entry, 8).str(" 0x").hexLower(uint32_t(base), 8).str(" (base address)\n");
            continue;
        }
        out.str("0x").hexLower(entry, 8).str(" 0x").hexLower(base + start, 16).str(" 0x").hexLower(base + end, 16);
        out.str(" (");
        const uint16_t length = c.u16();
        printDwarfExpression(out, c.take(length), unit.addressSize);
        out.str(")\n");
    }
}

void printLocationList5(TextLine& out, DwarfFile& file, const DwarfUnit& unit, uint64_t offset)
{
    const DwarfSections& s = file.sections();
    const bool be = s.bigEndian;
    DwarfCursor c = s.loclists.cursor(be);
    c.seek(offset);
    auto indexed = [&](uint64_t index) { return addressAtIndex(s, unit, index); };
    uint64_t base = 0;
    while (!c.atEnd()) {
        const uint8_t kind = c.u8();
        uint64_t start = 0, end = 0;
        const char* label = "DW_LLE_start_length  0x";
        switch (kind) {
        case 0: return; // DW_LLE_end_of_list
        case 1: {
            const uint64_t index = c.uleb();
            base = indexed(index);
            out.str("DW_LLE_base_addressx ").dec(int(index)).str(" 0x").hexLower(base, 16).ch('\n');
            continue;
        }
        // All bounded forms print with one label, the offset pair with its own.
        case 2: start = indexed(c.uleb()); end = indexed(c.uleb()); break;
        case 3: start = indexed(c.uleb()); end = start + c.uleb(); break;
        case 4:
            start = base + c.uleb();
            end = base + c.uleb();
            label = "DW_LLE_offset_pair  0x";
            break;
        case 5: file.report("DW_LLE_default_location not supported"); return;
        case 6:
            base = c.fixed(unit.addressSize);
            out.str("DW_LLE_base_address 0x").hexLower(base, 16).ch('\n');
            continue;
        case 7: start = c.fixed(unit.addressSize); end = c.fixed(unit.addressSize); break;
        case 8: start = c.fixed(unit.addressSize); end = start + c.uleb(); break;
        default: file.report("Unexpected DW_LLE_tag 0x%x", kind); return;
        }
        out.str(label).hexLower(start, 16).str(" 0x").hexLower(end, 16).ch('(');
        const uint64_t length = c.uleb();
        printDwarfExpression(out, c.take(length), unit.addressSize);
        out.str(")\n");
    }
}

void printValue(TextLine& out, const DwarfAttributeValue& v)
{
    switch (v.valueClass) {
    case DwarfAttributeValue::Constant:
        if (v.form == DW_FORM_ref_sig8)
            out.str("signature: 0x").hexLower(v.value).ch(' ');
        else
            out.str("0x").hexLower(v.value).ch(' ');
        break;
    case DwarfAttributeValue::Signed: out.dec(v.signedValue()).ch(' '); break;
    case DwarfAttributeValue::Block:
        for (uint64_t i = 0; i < v.value; ++i)
            out.str("0x").hexLower(v.bytes()[i], 2).ch(' ');
        break;
    case DwarfAttributeValue::Reference: out.str("0x").hexLower(v.value).ch(' '); break;
    case DwarfAttributeValue::String: out.str(v.text()); break;
    }
}

void printAttribute(TextLine& out, DwarfFile& file, DwarfUnit& unit, const DwarfDebuggingInformationEntry& e,
                    const DwarfAttributeValue& v)
{
    out.str(DwarfNames::attribute(v.attribute)).ch(' ');
    out.str(DwarfNames::form(v.form)).ch(' ');
    printValue(out, v);
    switch (v.attribute) {
    case DW_AT_abstract_origin:
    case DW_AT_specification: {
        const DwarfDebuggingInformationEntry* target = e.referencedBy(v);
        if (target)
            out.str(DwarfNames::tag(target->tag)).str(" (0x").hex(target->offset).ch(')');
        else
            out.str(v.attribute == DW_AT_abstract_origin ? "getAbstractOrigin() failed" : "getSpecification() failed");
        break;
    }
    case DW_AT_decl_file:
    case DW_AT_call_file: {
        out.str(unit.lineTable.fileName(v.value));
        break;
    }
    case DW_AT_language: out.str(DwarfNames::language(uint32_t(v.value))); break;
    case DW_AT_ranges: printRanges(out, file, unit, v); break;
    case DW_AT_location:
        if (v.form == DW_FORM_sec_offset) {
            out.ch('\n');
            if (unit.version <= 4)
                printLocationList4(out, file.sections(), unit, v.value);
            else
                printLocationList5(out, file, unit, v.value);
        } else if (v.form == DW_FORM_exprloc) {
            printDwarfExpression(out, DwarfCursor(v.bytes(), v.bytes() + v.value, file.sections().bigEndian),
                                 unit.addressSize);
        } else if (v.form == DW_FORM_loclistx) {
            out.ch('\n');
            printLocationList5(
                out, file, unit,
                listOffsetOfIndex(file.sections().loclists, file.sections().bigEndian, unit.loclistsBase, v.value));
        }
        break;
    default: break;
    }
    out.ch('\n');
}

// The entry tree from `root` at depth 1: an entry, then its children one level
// deeper, then its next sibling. The walk keeps its own stack, so the depth of the
// tree in the file never reaches the machine's stack.
void printTree(TextLine& out, DwarfFile& file, DwarfUnit& unit, const DwarfDebuggingInformationEntry* root)
{
    struct Item {
        const DwarfDebuggingInformationEntry* entry;
        int depth;
    };
    std::vector<Item> work{{root, 1}};
    std::string indent;
    while (!work.empty()) {
        const Item item = work.back();
        work.pop_back();
        const DwarfDebuggingInformationEntry* e = item.entry;
        indent.assign(size_t(item.depth) * 2, ' ');
        out.str(indent).str(DwarfNames::tag(e->tag)).str(" (0x").hex(e->offset).str(")\n");
        for (uint32_t i = 0; i < e->attributeCount(); ++i) {
            out.str(indent);
            printAttribute(out, file, unit, *e, e->attributeAt(i));
        }
        out.ch('\n');
        if (e->sibling)
            work.push_back({e->sibling, item.depth});
        if (e->child)
            work.push_back({e->child, item.depth + 1});
    }
}

uint64_t stringIndexBase(const DwarfFile& file)
{
    for (const auto& unit : file.units()) {
        if (unit->version >= 5 && unit->strOffsetsBase)
            return unit->strOffsetsBase;
    }
    return 8;
}

void printMacros(TextLine& out, DwarfFile& file, const DwarfSection& section)
{
    const DwarfSections& s = file.sections();
    DwarfCursor c = section.cursor(s.bigEndian);
    const uint64_t strBase = stringIndexBase(file);
    auto indexedString = [&](uint64_t index) {
        DwarfCursor o = s.strOffsets.cursor(s.bigEndian);
        o.seek(strBase + index * 4);
        return o.atEnd() ? std::string_view() : s.str.stringAt(o.u32());
    };
    while (!c.atEnd()) {
        const uint64_t start = c.offset();
        const uint16_t version = c.u16();
        const uint8_t flags = c.u8();
        out.str("\noffset 0x").hexLower(start).str(" version 0x").hexLower(version).str(" flags 0x").hexLower(flags, 2).ch('\n');
        const unsigned offsetSize = (flags & 1) ? 8 : 4;
        if (flags & 2)
            out.str("debug_line offset 0x").hexLower(uint32_t(c.fixed(offsetSize))).ch('\n');
        if (flags & 4) {
            // A table of the operand forms of vendor opcodes: stepped over.
            const uint8_t count = c.u8();
            for (unsigned i = 0; i < count && !c.atEnd(); ++i) {
                c.u8();
                c.skip(c.uleb());
            }
        }
        bool more = true;
        while (more && !c.atEnd()) {
            const uint8_t op = c.u8();
            switch (op) {
            case 0: more = false; break;
            case 1: case 2: {
                const uint64_t line = c.uleb();
                const std::string_view text = c.cstr();
                out.str(op == 1 ? "DW_MACRO_define lineno " : "DW_MACRO_undef lineno ").dec(int(line));
                out.str(" macro ").str(text).ch('\n');
                break;
            }
            case 3: {
                const uint64_t line = c.uleb();
                const uint64_t fileIndex = c.uleb();
                out.str("DW_MACRO_start_file lineno ").dec(int(line)).str(" file ").dec(int(fileIndex)).ch('\n');
                break;
            }
            case 4: out.str("DW_MACRO_end_file\n"); break;
            case 5: case 6: {
                const uint64_t line = c.uleb();
                const std::string_view text = s.str.stringAt(c.fixed(offsetSize));
                out.str(op == 5 ? "DW_MACRO_define_strp lineno " : "DW_MACRO_undef_strp lineno ").dec(int(line));
                out.str(" macro ").str(text).ch('\n');
                break;
            }
            case 7: out.str("DW_MACRO_import offset 0x").hexLower(uint32_t(c.fixed(offsetSize))).ch('\n'); break;
            // Entries of a supplementary file: not printed, but stepped over.
            case 8: case 9: c.uleb(); c.skip(offsetSize); break;
            case 10: c.skip(offsetSize); break;
            case 11: case 12: {
                const uint64_t line = c.uleb();
                const std::string_view text = indexedString(c.uleb());
                out.str(op == 11 ? "DW_MACRO_define_strx lineno " : "DW_MACRO_undef_strx lineno ").dec(int(line));
                out.str(" macro ").str(text).ch('\n');
                break;
            }
            default:
                // An opcode of unknown size: the rest of this contribution cannot be read.
                file.report("unknown DW_MACRO opcode 0x%x at offset 0x%llx\n", op, (unsigned long long)(c.offset() - 1));
                return;
            }
        }
    }
}

void printMacinfo(TextLine& out, const DwarfSections& s)
{
    DwarfCursor c = s.macinfo.cursor(s.bigEndian);
    while (!c.atEnd()) {
        const uint8_t op = c.u8();
        switch (op) {
        case 0: break; // the end of one unit's entries
        case 1: case 2: {
            const uint64_t line = c.uleb();
            const std::string_view text = c.cstr();
            out.str(op == 1 ? "DW_MACINFO_define lineno " : "DW_MACINFO_undef lineno ").dec(int(line));
            out.str(" macro ").str(text).ch('\n');
            break;
        }
        case 3: {
            const uint64_t line = c.uleb();
            const uint64_t fileIndex = c.uleb();
            out.str("DW_MACINFO_start_file lineno ").dec(int(line)).str(" filenum ").dec(int(fileIndex)).ch('\n');
            break;
        }
        case 4: out.str("DW_MACINFO_end_file\n"); break;
        case 0xff: c.uleb(); c.cstr(); break; // vendor extension: a constant and a string
        default: return;
        }
    }
}

void printNames(TextLine& out, const std::vector<DwarfFile::NameEntry>& names)
{
    for (const DwarfFile::NameEntry& n : names) {
        out.str(n.name).str(" cuoffset 0x").hexLower(uint32_t(n.unitOffset)).str(" offset 0x");
        out.hexLower(uint32_t(n.entryOffset)).ch('\n');
    }
}

} // namespace

void DwarfFile::dump(FILE* stream)
{
    {
        TextLine out(stream);
        out.str("\nLine\n");
        out.flush();
    }
    sourceAddressMap().print(stream);

    TextLine out(stream);
    out.str("\nFrame\n");
    // .debug_frame only: .eh_frame is runtime unwind data, which -unwind prints.
    FrameSection frame;
    frame.data = sections_.frame.data;
    frame.size = sections_.frame.size;
    frame.bigEndian = sections_.bigEndian;
    frame.addressSize = sections_.elf64 ? 8 : 4;
    printCallFrames(out, frame);

    out.str("\nDebugging Information\n");
    for (const auto& unit : units_) {
        if (!unit->hasEntryData())
            continue;
        if (const DwarfDebuggingInformationEntry* root = unit->root())
            printTree(out, *this, *unit, root);
    }

    out.str("\nDebug Types\n");
    for (const auto& unit : typeUnits_) {
        out.str("\nSignature: 0x").hexLower(unit->typeSignature).str("\n\n");
        ensureLineTable(*unit);
        if (const DwarfDebuggingInformationEntry* root = unit->hasEntryData() ? unit->root() : nullptr)
            printTree(out, *this, *unit, root);
    }

    out.str("\nPubnames\n");
    printNames(out, pubnames_);
    out.str("\nPubtypes\n");
    printNames(out, pubtypes_);

    out.str("\nAranges\n");
    for (const AddressRange& r : aranges_)
        out.str("cuoffset 0x").hexLower(uint32_t(r.unitOffset)).str(" address 0x").hexLower(r.address).str(" length ").dec(
            int64_t(r.length)).ch('\n');

    out.str("\nMacros\n");
    for (const DwarfSection& macro : sections_.allMacro)
        printMacros(out, *this, macro);
    out.str("\nMacinfo\n");
    printMacinfo(out, sections_);
}
