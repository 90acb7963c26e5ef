#pragma once
#include <cstdint>
#include <vector>

#include "dwarf/dwarfcursor.h"

// One unit's abbreviation table: per code, the tag, whether entries have children,
// and the (attribute, form) pairs their attributes are read by.
class DwarfAbbreviationTable {
public:
    struct Spec {
        uint32_t attribute;
        uint32_t form;
        int64_t implicitConst; // the constant a DW_FORM_implicit_const pair carries
    };
    struct Abbreviation {
        uint64_t code = 0;
        uint32_t tag = 0;
        bool hasChildren = false;
        uint32_t firstSpec = 0;
        uint32_t specCount = 0;
    };

    // Reads the table at `offset` of .debug_abbrev, up to the end of the section.
    void read(const DwarfSection& abbrev, uint64_t offset, bool bigEndian);

    const Abbreviation* find(uint64_t code) const;
    const Spec& spec(const Abbreviation& a, uint32_t i) const { return specs_[a.firstSpec + i]; }

private:
    std::vector<Abbreviation> abbreviations_; // by code when the codes run 1, 2, 3...
    bool dense_ = true;
    std::vector<Spec> specs_;
};
