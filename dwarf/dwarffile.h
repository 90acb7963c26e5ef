#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

#include "dwarf/dwarfcursor.h"
#include "dwarf/dwarfreport.h"
#include "dwarf/dwarfunit.h"
#include "dwarf/sourceaddressmap.h"

class ElfFile;

// The DWARF sections of one ELF file, read into units, abbreviations and entries.
// Units are read lazily: opening costs only the walk over the unit headers. Nothing
// here throws; problems go through report().
class DwarfFile : public DwarfReportSink {
public:
    struct NameEntry {
        std::string_view name;
        uint64_t unitOffset;
        uint64_t entryOffset;
    };
    struct AddressRange {
        uint64_t unitOffset;
        uint64_t address;
        uint64_t length;
    };

    DwarfFile();
    ~DwarfFile() override;

    // Attaches the sections of `elf`; without .debug_aranges when asked, without the
    // frame sections when asked. `executable` tells the line programs to leave out
    // sequences at unset addresses (code the linker discarded).
    void open(const ElfFile& elf, bool ignoreAranges, bool skipFrames = false);

    const DwarfSections& sections() const { return sections_; }
    const std::vector<std::unique_ptr<DwarfUnit>>& units() const { return units_; }
    const std::vector<std::unique_ptr<DwarfUnit>>& typeUnits() const { return typeUnits_; }
    const std::vector<NameEntry>& pubnames() const { return pubnames_; }
    const std::vector<NameEntry>& pubtypes() const { return pubtypes_; }
    const std::vector<AddressRange>& aranges() const { return aranges_; }
    bool isExecutable() const { return executable_; }

    // The entry at a .debug_info offset, reading its unit if need be.
    DwarfDebuggingInformationEntry* entryAtOffset(uint64_t offset) const;
    // The type entry of the type unit with this signature.
    DwarfDebuggingInformationEntry* typeEntryBySignature(uint64_t signature) const;

    // Runs the line programs of all units (once) and returns the map they fill.
    const SourceAddressMap& sourceAddressMap();

    // The file table of a unit's line program, for units whose program the map does not run.
    void ensureLineTable(DwarfUnit& unit);

    // The whole -dwarf text.
    void dump(FILE* out);

private:
    void readNameTable(const DwarfSection& section, std::vector<NameEntry>& out);
    void readAranges();
    void readUnits(const DwarfSection& section, bool typeUnits);

    DwarfSections sections_;
    bool executable_ = false;
    std::vector<std::unique_ptr<DwarfUnit>> units_;
    std::vector<std::unique_ptr<DwarfUnit>> typeUnits_;
    std::vector<NameEntry> pubnames_;
    std::vector<NameEntry> pubtypes_;
    std::vector<AddressRange> aranges_;
    SourceAddressMap map_;
    bool linesRun_ = false;
};

// The command-line tool's reader: reports go straight to the tool's error stream.
class MyDwarfFile : public DwarfFile {
public:
    explicit MyDwarfFile(FILE* reports = stderr) : reports_(reports) {}
    void report(const char* format, ...) override __attribute__((format(printf, 2, 3)));
    void trace(const char* format, ...) override __attribute__((format(printf, 2, 3)));

private:
    FILE* reports_;
};
