#include "qtx/textline.h"

namespace QTx {

TextLine& TextLine::putHex(uint64_t v, int minDigits, const char* digits)
{
    int n = (64 - __builtin_clzll(v | 1) + 3) / 4;
    if (n < minDigits)
        n = minDigits < 16 ? minDigits : 16;
    reserve(size_t(n));
    char* p = buf_ + len_ + n;
    for (int i = 0; i < n; ++i) {
        *--p = digits[v & 0xF];
        v >>= 4;
    }
    len_ += size_t(n);
    return *this;
}

TextLine& TextLine::hex(uint64_t v, int minDigits)
{
    return putHex(v, minDigits, "0123456789ABCDEF");
}

TextLine& TextLine::hexLower(uint64_t v, int minDigits)
{
    return putHex(v, minDigits, "0123456789abcdef");
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
