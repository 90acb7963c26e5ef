#include "dwarf/names/unknown.h"

#include <algorithm>
#include <cstdio>

namespace DwarfNames::detail {

const char* find(std::span<const CodeName> table, uint32_t code)
{
    auto it = std::lower_bound(table.begin(), table.end(), code,
                               [](const CodeName& entry, uint32_t c) { return entry.code < c; });
    return it != table.end() && it->code == code ? it->name : nullptr;
}

const char* lookup(std::span<const CodeName> table, uint32_t code, const char* family)
{
    const char* name = find(table, code);
    return name ? name : unexpected(family, code);
}

const char* unexpected(const char* family, uint32_t code)
{
    static char buffer[1024];
    snprintf(buffer, sizeof buffer, "unexpected %s 0x%x", family, code);
    return buffer;
}

} // namespace DwarfNames::detail
