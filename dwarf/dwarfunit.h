#pragma once
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "dwarf/dwarfabbrev.h"
#include "dwarf/dwarfcursor.h"
#include "dwarf/dwarfentry.h"
#include "dwarf/lineprogram.h"

class DwarfFile;

// One unit of .debug_info or one type unit of .debug_types: its header, its
// abbreviations, and its entries once they have been read.
class DwarfUnit {
public:
    DwarfUnit(DwarfFile* file, const DwarfSection& section, bool typeUnit, uint64_t offset);

    // Reads the header at the unit's offset; returns the offset of the next unit, or
    // 0 when this one ends the list (a length of 0).
    uint64_t readHeader();

    // The root entry, reading the unit on first use.
    DwarfDebuggingInformationEntry* root();
    bool hasEntryData() const { return entriesBegin_ < end_; }
    // The entry at a section offset inside this unit (reads the unit), or null.
    DwarfDebuggingInformationEntry* entryAt(uint64_t sectionOffset);
    bool contains(uint64_t sectionOffset) const { return sectionOffset >= offset && sectionOffset < endOffset(); }
    uint64_t endOffset() const { return uint64_t(end_ - section_.data); }

    const DwarfAttributeValue& attribute(uint32_t index) const { return attributes_[index]; }
    DwarfFile* file() const { return file_; }
    bool isTypeUnit() const { return typeUnit_; }

    // The file and directory tables of the unit's line program, once it has run.
    LineTable lineTable;
    bool linesRead = false;

    uint64_t offset = 0;
    uint64_t length = 0;
    uint16_t version = 0;
    uint8_t unitType = 0;
    uint8_t addressSize = 4;
    uint64_t abbrevOffset = 0;
    uint64_t typeSignature = 0;
    uint64_t typeOffset = 0;
    // Version 5 bases of the indexed forms, from the root entry's attributes.
    uint64_t strOffsetsBase = 0;
    uint64_t addrBase = 0;
    uint64_t rnglistsBase = 0;
    uint64_t loclistsBase = 0;

private:
    void readEntries();
    DwarfDebuggingInformationEntry* newEntry(uint32_t tag);
    void readAttribute(DwarfCursor& c, uint32_t attribute, uint32_t form, const int64_t* implicitConst,
                       DwarfAttributeValue& v);
    void resolveIndexes(DwarfAttributeValue& v);

    DwarfFile* file_;
    DwarfSection section_;
    bool typeUnit_;
    const uint8_t* entriesBegin_ = nullptr;
    const uint8_t* end_ = nullptr;
    DwarfAbbreviationTable abbreviations_;
    bool read_ = false;
    DwarfDebuggingInformationEntry* root_ = nullptr;
    // Entries by kind, in offset order; `entries_` points at all of them, by offset.
    std::deque<DwarfDebuggingInformationEntry> plain_;
    std::deque<DwarfDebuggingInformationSubprogram> subprograms_;
    std::deque<DwarfDebuggingInformationVariable> variables_;
    std::vector<DwarfDebuggingInformationEntry*> entries_;
    std::vector<DwarfAttributeValue> attributes_;
};
