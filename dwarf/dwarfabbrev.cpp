#include "dwarf/dwarfabbrev.h"

#include <algorithm>

namespace {
constexpr uint32_t DW_FORM_implicit_const = 0x21;
}

void DwarfAbbreviationTable::read(const DwarfSection& abbrev, uint64_t offset, bool bigEndian)
{
    abbreviations_.clear();
    specs_.clear();
    dense_ = true;
    if (offset >= abbrev.size)
        return;
    DwarfCursor c = abbrev.cursor(bigEndian);
    c.seek(offset);
    while (!c.atEnd()) {
        Abbreviation a;
        a.code = c.uleb();
        if (a.code == 0)
            break;
        a.tag = uint32_t(c.uleb());
        a.hasChildren = c.u8() != 0;
        a.firstSpec = uint32_t(specs_.size());
        while (!c.atEnd()) {
            const uint64_t attribute = c.uleb();
            const uint64_t form = c.uleb();
            if (attribute == 0 && form == 0)
                break;
            // The constant of an implicit_const pair sits in the table, after the pair:
            // it must be read here or the rest of the table goes out of step.
            const int64_t constant = form == DW_FORM_implicit_const ? c.sleb() : 0;
            specs_.push_back({uint32_t(attribute), uint32_t(form), constant});
        }
        a.specCount = uint32_t(specs_.size()) - a.firstSpec;
        if (a.code != abbreviations_.size() + 1)
            dense_ = false;
        abbreviations_.push_back(a);
    }
    if (!dense_)
        std::stable_sort(abbreviations_.begin(), abbreviations_.end(),
                         [](const Abbreviation& x, const Abbreviation& y) { return x.code < y.code; });
}

const DwarfAbbreviationTable::Abbreviation* DwarfAbbreviationTable::find(uint64_t code) const
{
    if (dense_)
        return code >= 1 && code <= abbreviations_.size() ? &abbreviations_[code - 1] : nullptr;
    auto it = std::lower_bound(abbreviations_.begin(), abbreviations_.end(), code,
                               [](const Abbreviation& a, uint64_t c) { return a.code < c; });
    return it != abbreviations_.end() && it->code == code ? &*it : nullptr;
}
