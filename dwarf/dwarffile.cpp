#include "dwarf/dwarffile.h"

#include <algorithm>
#include <cstdarg>

#include "elf/elffile.h"

DwarfFile::DwarfFile() = default;
DwarfFile::~DwarfFile() = default;

void DwarfFile::open(const ElfFile& elf, bool ignoreAranges, bool skipFrames)
{
    sections_ = DwarfSections();
    sections_.bigEndian = !elf.isLittleEndian();
    sections_.elf64 = elf.is64();
    executable_ = elf.e_type == 2;
    struct Wanted {
        const char* name;
        DwarfSection* section;
        bool skip;
    } wanted[] = {
        {".debug_abbrev", &sections_.abbrev, false},     {".debug_info", &sections_.info, false},
        {".debug_loc", &sections_.loc, false},           {".debug_loclists", &sections_.loclists, false},
        {".debug_str", &sections_.str, false},           {".debug_str_offsets", &sections_.strOffsets, false},
        {".debug_pubnames", &sections_.pubnames, false}, {".debug_pubtypes", &sections_.pubtypes, false},
        {".debug_aranges", &sections_.aranges, ignoreAranges},
        {".debug_ranges", &sections_.ranges, false},     {".debug_line", &sections_.line, false},
        {".debug_line_str", &sections_.lineStr, false},  {".debug_rnglists", &sections_.rnglists, false},
        {".debug_addr", &sections_.addr, false},         {".debug_frame", &sections_.frame, skipFrames},
        {".eh_frame", &sections_.ehFrame, skipFrames},   {".debug_macro", &sections_.macro, false},
        {".debug_macinfo", &sections_.macinfo, false},   {".debug_types", &sections_.types, false},
        {".debug_names", &sections_.names, false},
    };
    for (const Wanted& w : wanted) {
        if (w.skip)
            continue;
        const ElfSection* s = elf.sectionByName(w.name);
        // Only the bytes really in the file are used: a section cut short is shorter.
        if (s && s->data) {
            w.section->data = s->data;
            w.section->size = s->dataSize;
        }
    }
    for (int i = 0; i < elf.sectionCount(); ++i) {
        const ElfSection* s = elf.sectionAt(i);
        if (!s->data || (s->name != ".debug_types" && s->name != ".debug_macro"))
            continue;
        (s->name == ".debug_types" ? sections_.allTypes : sections_.allMacro).push_back({s->data, s->dataSize});
    }
    readNameTable(sections_.pubnames, pubnames_);
    readNameTable(sections_.pubtypes, pubtypes_);
    readAranges();
    for (const DwarfSection& types : sections_.allTypes)
        readUnits(types, true);
    readUnits(sections_.info, false);
}

void DwarfFile::readUnits(const DwarfSection& section, bool typeUnits)
{
    auto& list = typeUnits ? typeUnits_ : units_;
    uint64_t offset = 0;
    while (offset < section.size) {
        auto unit = std::make_unique<DwarfUnit>(this, section, typeUnits, offset);
        const uint64_t next = unit->readHeader();
        if (unit->length == 0)
            break;
        list.push_back(std::move(unit));
        if (next <= offset)
            break;
        offset = next;
    }
}

void DwarfFile::readNameTable(const DwarfSection& section, std::vector<NameEntry>& out)
{
    DwarfCursor c = section.cursor(sections_.bigEndian);
    while (!c.atEnd()) {
        uint64_t length = c.u32();
        if (length >= 0xffffffff)
            length = c.u64();
        if (length == 0)
            break;
        DwarfCursor set = c.take(length);
        set.u16(); // version
        const uint64_t unitOffset = set.u32();
        set.u32(); // length of the unit's data
        while (!set.atEnd()) {
            const uint64_t entryOffset = set.u32();
            if (entryOffset == 0)
                break;
            out.push_back({set.cstr(), unitOffset, entryOffset});
        }
    }
}

void DwarfFile::readAranges()
{
    DwarfCursor c = sections_.aranges.cursor(sections_.bigEndian);
    while (!c.atEnd()) {
        const uint64_t setStart = c.offset();
        uint64_t length = c.u32();
        if (length >= 0xffffffff)
            length = c.u64();
        if (length == 0)
            break;
        const uint64_t headerEnd = c.offset();
        DwarfCursor set = c.take(length);
        set.u16(); // version
        const uint64_t unitOffset = set.u32();
        const uint8_t addressSize = set.u8();
        set.u8(); // segment selector size
        if (addressSize == 0 || addressSize > 8)
            continue;
        // The pairs start at a multiple of twice the address size from the set's start.
        const uint64_t consumed = (headerEnd - setStart) + set.offset();
        const uint64_t alignTo = 2u * addressSize;
        set.skip((alignTo - consumed % alignTo) % alignTo);
        while (!set.atEnd()) {
            const uint64_t address = set.fixed(addressSize);
            const uint64_t size = set.fixed(addressSize);
            if (address == 0 && size == 0)
                break;
            aranges_.push_back({unitOffset, address, size});
        }
    }
}

DwarfDebuggingInformationEntry* DwarfFile::entryAtOffset(uint64_t offset) const
{
    auto it = std::upper_bound(units_.begin(), units_.end(), offset,
                               [](uint64_t o, const std::unique_ptr<DwarfUnit>& u) { return o < u->offset; });
    if (it == units_.begin())
        return nullptr;
    DwarfUnit* unit = (it - 1)->get();
    return unit->contains(offset) ? unit->entryAt(offset) : nullptr;
}

DwarfDebuggingInformationEntry* DwarfFile::typeEntryBySignature(uint64_t signature) const
{
    for (const auto& list : {&typeUnits_, &units_}) {
        for (const auto& unit : *list) {
            if ((unit->isTypeUnit() || unit->unitType == 2) && unit->typeSignature == signature)
                return unit->entryAt(unit->offset + unit->typeOffset);
        }
    }
    return nullptr;
}

const SourceAddressMap& DwarfFile::sourceAddressMap()
{
    if (linesRun_)
        return map_;
    linesRun_ = true;
    for (const auto& unit : units_) {
        unit->linesRead = true;
        const DwarfDebuggingInformationEntry* root = unit->root();
        if (!root)
            continue;
        const DwarfAttributeValue* stmtList = root->findAttribute(0x10);
        if (!stmtList)
            continue;
        LineProgramUnit info;
        info.stmtList = stmtList->value;
        if (const DwarfAttributeValue* dir = root->findAttribute(0x1b))
            info.compDir = dir->text();
        info.strOffsetsBase = unit->strOffsetsBase;
        info.unitVersion = unit->version;
        info.addressSize = unit->addressSize;
        runLineProgram(sections_, info, 0, executable_, *this, map_, unit->lineTable);
    }
    return map_;
}

void DwarfFile::ensureLineTable(DwarfUnit& unit)
{
    if (unit.linesRead)
        return;
    unit.linesRead = true;
    const DwarfDebuggingInformationEntry* root = unit.root();
    const DwarfAttributeValue* stmtList = root ? root->findAttribute(0x10) : nullptr;
    if (!stmtList)
        return;
    LineProgramUnit info;
    info.stmtList = stmtList->value;
    if (const DwarfAttributeValue* dir = root->findAttribute(0x1b))
        info.compDir = dir->text();
    info.strOffsetsBase = unit.strOffsetsBase;
    info.unitVersion = unit.version;
    info.addressSize = unit.addressSize;
    // A type unit shares its compile unit's line program: only its file table is
    // wanted, so the rows go to a map of their own and are dropped.
    SourceAddressMap scratch;
    runLineProgram(sections_, info, 0, executable_, *this, scratch, unit.lineTable);
}

void MyDwarfFile::report(const char* format, ...)
{
    va_list ap;
    va_start(ap, format);
    vfprintf(reports_, format, ap);
    va_end(ap);
}

void MyDwarfFile::trace(const char*, ...) {}
