#pragma once
#include <cstddef>
#include <cstdint>
#include <span>

// What the name tables of dwarf/names/ share: the table entry, its lookup and the
// text for a code no table knows.
namespace DwarfNames::detail {

struct CodeName {
    uint32_t code;
    const char* name;
};

// The lookup is a binary search, so every table must be in strictly increasing code
// order; each file checks its tables with this at compile time.
template <std::size_t N>
constexpr bool strictlyIncreasing(const CodeName (&table)[N])
{
    for (std::size_t i = 1; i < N; ++i) {
        if (table[i - 1].code >= table[i].code)
            return false;
    }
    return true;
}

// The name of `code` in `table`, or nullptr when it has none.
const char* find(std::span<const CodeName> table, uint32_t code);

// The name of `code` in `table`, or "unexpected <family> 0x<code>" when it has none.
const char* lookup(std::span<const CodeName> table, uint32_t code, const char* family);

// "unexpected <family> 0x<code>" in the buffer all the name functions share. The
// dumper is single-threaded and prints a name before it asks for the next one, so
// one buffer is enough; the next unknown code of any family overwrites it.
const char* unexpected(const char* family, uint32_t code);

} // namespace DwarfNames::detail
