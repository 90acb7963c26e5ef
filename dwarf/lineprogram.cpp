#include "dwarf/lineprogram.h"

#include <vector>

#include "dwarf/dwarfreport.h"
#include "dwarf/sourceaddressmap.h"

namespace {

// Opcodes of the line-number program.
enum : uint8_t {
    LNS_copy = 1,
    LNS_advance_pc = 2,
    LNS_advance_line = 3,
    LNS_set_file = 4,
    LNS_set_column = 5,
    LNS_negate_stmt = 6,
    LNS_set_basic_block = 7,
    LNS_const_add_pc = 8,
    LNS_fixed_advance_pc = 9,
    LNS_set_prologue_end = 10,
    LNS_set_epilogue_begin = 11,
    LNS_set_isa = 12,
};
enum : uint8_t {
    LNE_end_sequence = 1,
    LNE_set_address = 2,
    LNE_define_file = 3,
    LNE_set_discriminator = 4,
};

// What a version 5 directory or file entry holds, and the forms compilers write it in.
enum : uint64_t {
    LNCT_path = 1,
    LNCT_directory_index = 2,
    LNCT_timestamp = 3,
    LNCT_size = 4,
    LNCT_MD5 = 5,
};
enum : uint64_t {
    FORM_data2 = 0x05,
    FORM_data4 = 0x06,
    FORM_data8 = 0x07,
    FORM_string = 0x08,
    FORM_block = 0x09,
    FORM_data1 = 0x0b,
    FORM_strp = 0x0e,
    FORM_udata = 0x0f,
    FORM_strx = 0x1a,
    FORM_data16 = 0x1e,
    FORM_line_strp = 0x1f,
    FORM_strx1 = 0x25,
    FORM_strx2 = 0x26,
    FORM_strx3 = 0x27,
    FORM_strx4 = 0x28,
};

struct EntryFormat {
    uint64_t contentType;
    uint64_t form;
};

// One field of a version 5 entry: a string for the string forms, a number for the
// others (blocks and checksums give neither).
struct FieldValue {
    std::string_view text;
    uint64_t number = 0;
};

class HeaderReader {
public:
    HeaderReader(const DwarfSections& sections, const LineProgramUnit& unit, unsigned offsetSize)
        : sections_(sections), unit_(unit), offsetSize_(offsetSize)
    {
    }

    // Reads one field; false for a form this reader cannot size, after which nothing
    // behind it in the header can be found.
    bool readField(DwarfCursor& c, uint64_t form, FieldValue& v)
    {
        switch (form) {
        case FORM_string:
            v.text = c.cstr();
            return true;
        case FORM_line_strp:
            v.text = sections_.lineStr.stringAt(c.fixed(offsetSize_));
            return true;
        case FORM_strp:
            v.text = sections_.str.stringAt(c.fixed(offsetSize_));
            return true;
        case FORM_strx:
            v.text = indexedString(c.uleb());
            return true;
        case FORM_strx1:
            v.text = indexedString(c.u8());
            return true;
        case FORM_strx2:
            v.text = indexedString(c.u16());
            return true;
        case FORM_strx3:
            v.text = indexedString(c.fixed(3));
            return true;
        case FORM_strx4:
            v.text = indexedString(c.u32());
            return true;
        case FORM_udata:
            v.number = c.uleb();
            return true;
        case FORM_data1:
            v.number = c.u8();
            return true;
        case FORM_data2:
            v.number = c.u16();
            return true;
        case FORM_data4:
            v.number = c.u32();
            return true;
        case FORM_data8:
            v.number = c.u64();
            return true;
        case FORM_data16:
            c.skip(16);
            return true;
        case FORM_block:
            c.skip(c.uleb());
            return true;
        default:
            return false;
        }
    }

private:
    // A string reached through .debug_str_offsets from the unit's base.
    std::string_view indexedString(uint64_t index)
    {
        const uint64_t size = sections_.strOffsets.size;
        const uint64_t base = unit_.strOffsetsBase;
        if (base > size || index >= (size - base) / offsetSize_)
            return {};
        DwarfCursor c = sections_.strOffsets.cursor(sections_.bigEndian);
        c.seek(base + index * offsetSize_);
        return sections_.str.stringAt(c.fixed(offsetSize_));
    }

    const DwarfSections& sections_;
    const LineProgramUnit& unit_;
    unsigned offsetSize_;
};

// Reads a version 5 entry-format list. Returns false (after reporting) when a form
// is not one the reader can size.
bool readEntryFormats(DwarfCursor& c, std::vector<EntryFormat>& formats, DwarfReportSink& sink)
{
    formats.clear();
    const unsigned count = c.u8();
    for (unsigned i = 0; i < count && !c.atEnd(); ++i) {
        const uint64_t at = c.offset(); // the cursor starts at the start of .debug_line
        EntryFormat f;
        f.contentType = c.uleb();
        f.form = c.uleb();
        switch (f.form) {
        case FORM_string: case FORM_line_strp: case FORM_strp: case FORM_strx: case FORM_strx1:
        case FORM_strx2: case FORM_strx3: case FORM_strx4: case FORM_udata: case FORM_data1:
        case FORM_data2: case FORM_data4: case FORM_data8: case FORM_data16: case FORM_block:
            break;
        default:
            sink.report("[0x%08x] unknown DW_FORM 0x%x in the line table header\n", unsigned(at), unsigned(f.form));
            return false;
        }
        formats.push_back(f);
    }
    return true;
}

} // namespace

std::string_view LineTable::fileName(uint64_t number) const
{
    if (version >= 5)
        return number < files.size() ? std::string_view(files[number].name) : std::string_view();
    return number >= 1 && number <= files.size() ? std::string_view(files[number - 1].name) : std::string_view();
}

void runLineProgram(const DwarfSections& sections, const LineProgramUnit& unit, uint64_t loadOffset, bool dropUnset,
                    DwarfReportSink& sink, SourceAddressMap& map, LineTable& table)
{
    table = LineTable();
    const DwarfSection& line = sections.line;
    if (!line.data || unit.stmtList >= line.size)
        return;
    const bool tracing = sink.tracing();

    DwarfCursor c = line.cursor(sections.bigEndian);
    c.seek(unit.stmtList);
    uint64_t unitLength = c.u32();
    unsigned offsetSize = 4;
    if (unitLength == 0xffffffff) {
        unitLength = c.u64();
        offsetSize = 8;
    }
    if (unitLength > c.left())
        return;
    if (tracing)
        sink.trace("total_length: %d\n", int(unitLength));
    // From here on nothing is read past the unit.
    const uint64_t unitStart = c.offset();
    c = line.cursor(sections.bigEndian).limitedTo(unitStart + unitLength);
    c.seek(unitStart);

    const int version = c.u16();
    table.version = version;
    if (tracing)
        sink.trace("version: %d\n", version);
    if (version < 2 || version > 5) {
        sink.report("[0x%08x] unsupported line table version %d\n", unsigned(unit.stmtList), version);
        return;
    }
    if (version >= 5)
        c.skip(2); // address and segment selector sizes: set_address follows the ELF class
    const uint64_t headerLength = c.fixed(offsetSize);
    // A header length past the unit leaves no program.
    const uint64_t programStart = headerLength < c.left() ? c.offset() + headerLength : c.offset() + c.left();
    if (tracing)
        sink.trace("prologue_length: %d\n", int(headerLength));
    const unsigned minInstLength = c.u8();
    if (version >= 4)
        c.skip(1); // maximum operations per instruction: ARM has one operation per instruction
    const bool defaultIsStmt = c.u8() != 0;
    const int lineBase = int8_t(c.u8());
    const unsigned lineRange = c.u8();
    const unsigned opcodeBase = c.u8();
    if (tracing) {
        sink.trace("minimum_instruction_length: %d\n", minInstLength);
        sink.trace("default_is_stmt: %d\n", int(defaultIsStmt));
        sink.trace("line_base: %d\n", lineBase);
        sink.trace("line_range: %d\n", lineRange);
        sink.trace("opcode_base: %d\n", opcodeBase);
    }
    // The operand counts of the standard opcodes. The program is read by what each
    // opcode is known to take, not by these, so they are only shown.
    const unsigned standardCount = opcodeBase > 0 ? opcodeBase - 1 : 0;
    if (tracing)
        sink.trace("standard_opcode_lengths: 0x%X\n", standardCount);
    for (unsigned i = 0; i < standardCount; ++i) {
        const unsigned length = c.u8();
        if (tracing)
            sink.trace("standard_opcode_lengths[%d]: 0x%X\n", int(i + 1), length);
    }

    // The tables end where the header says, whatever they hold.
    DwarfCursor h = c.limitedTo(programStart);
    h.seek(c.offset());
    if (version < 5) {
        for (;;) {
            const std::string_view dir = h.cstr();
            if (dir.empty())
                break;
            if (tracing)
                sink.trace("include_directory: %.*s\n", int(dir.size()), dir.data());
            table.directories.emplace_back(dir);
        }
        for (;;) {
            const std::string_view name = h.cstr();
            if (name.empty())
                break;
            LineTable::File f;
            f.name = name;
            f.directory = h.uleb();
            f.modificationTime = h.uleb();
            f.length = h.uleb();
            if (tracing)
                sink.trace("file_names: %.*s\n", int(name.size()), name.data());
            table.files.push_back(std::move(f));
        }
    } else {
        HeaderReader reader(sections, unit, offsetSize);
        std::vector<EntryFormat> formats;
        for (int pass = 0; pass < 2; ++pass) {
            const bool files = pass == 1;
            if (!readEntryFormats(h, formats, sink))
                return;
            const uint64_t count = h.uleb();
            // An entry without fields takes no bytes: a count of them would spin here
            // without reading anything, and they would only name nothing.
            if (formats.empty())
                continue;
            for (uint64_t i = 0; i < count && !h.atEnd(); ++i) {
                LineTable::File f;
                for (const EntryFormat& format : formats) {
                    FieldValue v;
                    if (!reader.readField(h, format.form, v))
                        return;
                    switch (format.contentType) {
                    case LNCT_path:
                        f.name = v.text;
                        break;
                    case LNCT_directory_index:
                        f.directory = v.number;
                        break;
                    case LNCT_timestamp:
                        f.modificationTime = v.number;
                        break;
                    case LNCT_size:
                        f.length = v.number;
                        break;
                    default: // the checksum and vendor content are not kept
                        break;
                    }
                }
                if (files) {
                    if (tracing)
                        sink.trace("file_names: %s\n", f.name.c_str());
                    table.files.push_back(std::move(f));
                } else {
                    if (tracing)
                        sink.trace("include_directory: %s\n", f.name.c_str());
                    table.directories.push_back(std::move(f.name));
                }
            }
        }
    }

    c.seek(programStart);

    // The register state of a sequence.
    uint64_t address = 0;
    uint32_t lineNumber = 1;
    uint64_t file = 1;
    bool isStmt = defaultIsStmt;
    bool addressSet = false;
    uint64_t setAddress = 0;

    // The name rows of the current file get, joined to the compilation directory when
    // relative; rebuilt only when the file number changes, so rows cost no allocation.
    std::string joined;
    uint64_t joinedFile = UINT64_MAX;
    size_t joinedFileCount = SIZE_MAX;

    const auto emitRow = [&]() {
        if (lineNumber == 0 || !isStmt)
            return;
        if (dropUnset && (!addressSet || setAddress == 0 || address == 0))
            return;
        // define_file can add entries, which renames nothing but may make a number valid.
        if (file != joinedFile || table.files.size() != joinedFileCount) {
            const std::string_view name = table.fileName(file);
            if (!unit.compDir.empty() && !name.empty() && name.front() != '/') {
                joined.assign(unit.compDir);
                joined += '/';
                joined += name;
            } else {
                joined.assign(name);
            }
            joinedFile = file;
            joinedFileCount = table.files.size();
        }
        const uint64_t where = loadOffset + address;
        map.add(joined, int32_t(lineNumber), where);
        if (where < table.lowest)
            table.lowest = where;
        if (where > table.highest)
            table.highest = where;
    };

    // With a line_range of 0 a special opcode cannot be split into its line and address
    // parts: such opcodes (and const_add_pc, which is one) then advance neither.
    const uint64_t constAddPc = lineRange ? uint64_t((255 - opcodeBase) / lineRange) * minInstLength : 0;
    const unsigned addressSize = sections.elf64 ? 8 : 4;

    while (!c.atEnd()) {
        const unsigned opAt = unsigned(c.offset()); // offsets in .debug_line, as the cursor starts there
        const uint8_t opcode = c.u8();
        if (opcode != 0 && opcode >= opcodeBase) {
            const unsigned adjusted = opcode - opcodeBase;
            if (lineRange) {
                lineNumber += uint32_t(lineBase + int(adjusted % lineRange));
                address += uint64_t(adjusted / lineRange) * minInstLength;
            }
            if (tracing)
                sink.trace("[0x%08x] Special opcode (%d) line: %d address: 0x%0x\n", opAt, int(adjusted),
                           int32_t(lineNumber), unsigned(address));
            emitRow();
            continue;
        }
        switch (opcode) {
        case 0: {
            c.uleb(); // the length: every extended opcode here is read by what it holds
            if (c.atEnd())
                break;
            const uint8_t sub = c.u8();
            switch (sub) {
            case LNE_end_sequence:
                if (tracing)
                    sink.trace("[0x%08x] DW_LNE_end_sequence\n\n", opAt);
                address = 0;
                lineNumber = 1;
                file = 1;
                isStmt = defaultIsStmt;
                addressSet = false;
                setAddress = 0;
                break;
            case LNE_set_address:
                if (c.left() < addressSize) {
                    c.skip(addressSize);
                    break;
                }
                address = c.fixed(addressSize);
                setAddress = address;
                addressSet = true;
                if (tracing)
                    sink.trace("[0x%08x] DW_LNE_set_address(0x%lx)\n", opAt, (unsigned long)address);
                break;
            case LNE_define_file: {
                LineTable::File f;
                f.name = c.cstr();
                f.directory = c.uleb();
                f.modificationTime = c.uleb();
                f.length = c.uleb();
                if (tracing)
                    sink.trace("[0x%08x] DW_LNE_define_file(%s, %d, %d, %d)\n", opAt, f.name.c_str(),
                               int(f.directory), int(f.modificationTime), int(f.length));
                table.files.push_back(std::move(f));
                break;
            }
            case LNE_set_discriminator: {
                const uint64_t discriminator = c.uleb();
                if (tracing)
                    sink.trace("[0x%08x] DW_LNE_set_discriminator(%d)\n", opAt, int(discriminator));
                break;
            }
            default:
                sink.report("[0x%08x] unknown DW_EXTENDED_OPCODE %d\n", opAt, int(sub));
                break;
            }
            break;
        }
        case LNS_copy:
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_copy\n", opAt);
            emitRow();
            break;
        case LNS_advance_pc:
            address += c.uleb() * minInstLength;
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_advance_pc\n", opAt);
            break;
        case LNS_advance_line: {
            const int64_t delta = c.sleb();
            lineNumber += uint32_t(uint64_t(delta));
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_advance_line(%d) = %d\n", opAt, int(delta), int32_t(lineNumber));
            break;
        }
        case LNS_set_file:
            file = c.uleb();
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_set_file(%d)\n", opAt, int(file));
            break;
        case LNS_set_column: {
            const uint64_t column = c.uleb();
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_set_column(%d)\n", opAt, int(column));
            break;
        }
        case LNS_negate_stmt:
            isStmt = !isStmt;
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_negate_stmt\n", opAt);
            break;
        case LNS_set_basic_block:
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_set_basic_block\n", opAt);
            break;
        case LNS_const_add_pc:
            address += constAddPc;
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_const_add_pc\n", opAt);
            break;
        case LNS_fixed_advance_pc:
            address += c.u16();
            if (tracing)
                sink.trace("[0x%08x] DW_LNS_fixed_advance_pc\n", opAt);
            break;
        // Prologue and epilogue marks would only matter to a debugger placing
        // breakpoints; the map has no use for them.
        case LNS_set_prologue_end:
            if (tracing)
                sink.trace("[0x%08x] unhandled DW_LNS_set_prologue_end\n", opAt);
            break;
        case LNS_set_epilogue_begin:
            if (tracing)
                sink.trace("[0x%08x] unhandled DW_LNS_set_epilogue_begin\n", opAt);
            break;
        case LNS_set_isa:
            c.uleb();
            break;
        default:
            // A standard opcode this reader does not know. Its operands are not
            // skipped by the header's operand counts: they are read as opcodes.
            sink.report("[0x%08x] unknown DW_OPCODE %d\n", opAt, int(opcode));
            break;
        }
    }
}
