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

char* TextLine::writeDecimal(char* p, uint64_t v)
{
    char tmp[20];
    int n = 0;
    do {
        tmp[n++] = char('0' + v % 10);
        v /= 10;
    } while (v);
    while (n)
        *p++ = tmp[--n];
    return p;
}

char* TextLine::writeHex(char* p, uint64_t v, int minDigits, bool lower)
{
    const char* pairs = lower ? hexPairs.lower : hexPairs.upper;
    int n = (64 - __builtin_clzll(v | 1) + 3) / 4;
    if (n < minDigits)
        n = minDigits < 16 ? minDigits : 16;
    char* end = p + n;
    char* q = end;
    for (int left = n; left >= 2; left -= 2) {
        q -= 2;
        memcpy(q, pairs + 2 * (v & 0xFF), 2);
        v >>= 8;
    }
    if (q != p)
        *--q = pairs[2 * (v & 0xF) + 1];
    return end;
}

TextLine& TextLine::hex(uint64_t v, int minDigits)
{
    commit(writeHex(claim(16), v, minDigits));
    return *this;
}

TextLine& TextLine::hexLower(uint64_t v, int minDigits)
{
    commit(writeHex(claim(16), v, minDigits, true));
    return *this;
}

TextLine& TextLine::udec(uint64_t v)
{
    commit(writeDecimal(claim(20), v));
    return *this;
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
    tmp[0] = v < 0 ? '-' : ' ';
    char* end = writeDecimal(tmp + 1, v < 0 ? 0 - uint64_t(v) : uint64_t(v));
    return rightAligned(std::string_view(tmp, size_t(end - tmp)), width);
}

} // namespace QTx
