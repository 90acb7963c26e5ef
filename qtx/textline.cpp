#include "qtx/textline.h"

namespace QTx {

namespace {
// Two hexadecimal digits per byte value, so that a number takes one step per byte.
struct HexPairs {
    char upper[512];
    char lower[512];
    HexPairs()
    {
        for (int i = 0; i < 256; ++i) {
            upper[2 * i] = "0123456789ABCDEF"[i >> 4];
            upper[2 * i + 1] = "0123456789ABCDEF"[i & 15];
            lower[2 * i] = "0123456789abcdef"[i >> 4];
            lower[2 * i + 1] = "0123456789abcdef"[i & 15];
        }
    }
};
const HexPairs hexPairs;
} // namespace

char* TextLine::writeHex(char* p, uint64_t v)
{
    const int n = (64 - __builtin_clzll(v | 1) + 3) / 4;
    char* end = p + n;
    char* q = end;
    for (int left = n; left >= 2; left -= 2) {
        q -= 2;
        memcpy(q, hexPairs.upper + 2 * (v & 0xFF), 2);
        v >>= 8;
    }
    if (q != p)
        *--q = hexPairs.upper[2 * (v & 0xF) + 1];
    return end;
}

const char* TextLine::upperPairs()
{
    return hexPairs.upper;
}

// The caller has made room for 16 digits.
void TextLine::putHexUnchecked(uint64_t v, int minDigits, const char* pairs)
{
    int n = (64 - __builtin_clzll(v | 1) + 3) / 4;
    if (n < minDigits)
        n = minDigits < 16 ? minDigits : 16;
    char* end = buf_ + len_ + n;
    char* p = end;
    // Whole bytes first, from the lowest; an odd leading digit last.
    for (int left = n; left >= 2; left -= 2) {
        p -= 2;
        memcpy(p, pairs + 2 * (v & 0xFF), 2);
        v >>= 8;
    }
    if (p != buf_ + len_)
        *--p = pairs[2 * (v & 0xF) + 1];
    len_ += size_t(n);
}

TextLine& TextLine::hex(uint64_t v, int minDigits)
{
    reserve(16);
    putHexUnchecked(v, minDigits, hexPairs.upper);
    return *this;
}

TextLine& TextLine::hexLower(uint64_t v, int minDigits)
{
    reserve(16);
    putHexUnchecked(v, minDigits, hexPairs.lower);
    return *this;
}

static size_t formatUnsigned(char* end, uint64_t v)
{
    size_t n = 0;
    do {
        *--end = char('0' + v % 10);
        v /= 10;
        ++n;
    } while (v);
    return n;
}

TextLine& TextLine::udec(uint64_t v)
{
    char tmp[24];
    size_t n = formatUnsigned(tmp + sizeof tmp, v);
    return str(std::string_view(tmp + sizeof tmp - n, n));
}

TextLine& TextLine::dec(int64_t v)
{
    if (v < 0) {
        ch('-');
        return udec(0 - uint64_t(v));
    }
    return udec(uint64_t(v));
}

TextLine& TextLine::rightAligned(std::string_view s, size_t width)
{
    if (s.size() < width)
        spaces(width - s.size());
    return str(s);
}

TextLine& TextLine::spaceSignedDec(int64_t v, size_t width)
{
    char tmp[24];
    char* end = tmp + sizeof tmp;
    size_t n = formatUnsigned(end, v < 0 ? 0 - uint64_t(v) : uint64_t(v));
    *(end - n - 1) = v < 0 ? '-' : ' ';
    ++n;
    return rightAligned(std::string_view(end - n, n), width);
}

} // namespace QTx
