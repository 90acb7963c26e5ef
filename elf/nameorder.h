#pragma once
#include <algorithm>
#include <string_view>

// Names are kept in UTF-8 but ordered as Qt orders strings: by UTF-16 code unit.
bool nameLess(std::string_view a, std::string_view b);

// Only characters from U+E000 up (lead bytes 0xEE and above) can order differently
// in UTF-8 and UTF-16.
inline bool mayOrderDifferentlyInUtf16(std::string_view s)
{
    bool high = false;
    for (char c : s)
        high |= static_cast<unsigned char>(c) >= 0xEE;
    return high;
}

// Sorts by name, ties broken by `tieLess`. Symbol names are nearly always ASCII, and
// then a plain byte comparison (memcmp) gives the same order much faster.
template <typename It, typename Name, typename Tie>
void sortByName(It first, It last, Name name, Tie tieLess)
{
    const bool plain = std::none_of(first, last, [&](const auto& e) { return mayOrderDifferentlyInUtf16(name(e)); });
    if (plain) {
        std::sort(first, last, [&](const auto& a, const auto& b) {
            const int c = name(a).compare(name(b));
            return c != 0 ? c < 0 : tieLess(a, b);
        });
    } else {
        std::sort(first, last, [&](const auto& a, const auto& b) {
            const std::string_view na = name(a), nb = name(b);
            return na == nb ? tieLess(a, b) : nameLess(na, nb);
        });
    }
}
