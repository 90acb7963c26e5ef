#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dwarf/dwarfcursor.h"

class DwarfReportSink;
class SourceAddressMap;

// The file and directory tables of one unit's line program, and the span of
// addresses its rows covered.
struct LineTable {
    struct File {
        std::string name;
        uint64_t directory = 0;
        uint64_t modificationTime = 0;
        uint64_t length = 0;
    };
    int version = 0;
    std::vector<std::string> directories;
    std::vector<File> files;
    uint64_t lowest = UINT64_MAX;
    uint64_t highest = 0;

    // The name that a file number selects (numbered from 1 before version 5, from 0
    // in version 5), or empty.
    std::string_view fileName(uint64_t number) const;
};

// What a unit tells its line program.
struct LineProgramUnit {
    uint64_t stmtList = 0;       // DW_AT_stmt_list: offset in .debug_line
    std::string_view compDir;    // DW_AT_comp_dir, empty when absent
    uint64_t strOffsetsBase = 0; // DW_AT_str_offsets_base, for strx forms in version 5 tables
    int unitVersion = 0;
    uint8_t addressSize = 4;
};

// Runs one unit's line program: rows go to `map` (addresses moved by `loadOffset`),
// the tables to `table`. With `dropUnset`, rows of sequences whose address was never
// set, or set to 0, are left out. Problems go to `sink` (never throws).
void runLineProgram(const DwarfSections& sections, const LineProgramUnit& unit, uint64_t loadOffset, bool dropUnset,
                    DwarfReportSink& sink, SourceAddressMap& map, LineTable& table);
