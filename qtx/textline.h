#pragma once
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace QTx {

// Builds lines of output in a fixed buffer and hands them to the stdio stream in
// large writes. The listings print millions of short lines for a large library, and
// printf's format parsing would dominate the run time. Whoever writes to the stream
// directly must let the TextLine go (or flush it) first, or the output interleaves.
class TextLine {
public:
    explicit TextLine(FILE* out) : out_(out) {}
    ~TextLine() { flush(); }
    TextLine(const TextLine&) = delete;
    TextLine& operator=(const TextLine&) = delete;

    TextLine& str(std::string_view s)
    {
        if (s.empty())
            return *this;
        if (s.size() > sizeof(buf_) - len_) {
            flush();
            if (s.size() > sizeof(buf_)) {
                fwrite_unlocked(s.data(), 1, s.size(), out_);
                return *this;
            }
        }
        memcpy(buf_ + len_, s.data(), s.size());
        len_ += s.size();
        return *this;
    }
    TextLine& ch(char c)
    {
        reserve(1);
        buf_[len_++] = c;
        return *this;
    }
    TextLine& spaces(size_t n)
    {
        while (n--)
            ch(' ');
        return *this;
    }
    // Upper-case hexadecimal, at least minDigits digits with leading zeros.
    TextLine& hex(uint64_t v, int minDigits = 1);
    // A whole "label" + upper-case hexadecimal + newline line in one step; the
    // header listings are made of little else.
    TextLine& labelHexLine(std::string_view label, uint64_t v)
    {
        char* p = writeHex(put(claim(label.size() + 17), label), v);
        *p++ = '\n';
        commit(p);
        return *this;
    }
    // Lower-case hexadecimal, at least minDigits digits with leading zeros.
    TextLine& hexLower(uint64_t v, int minDigits = 1);
    TextLine& dec(int64_t v);
    TextLine& udec(uint64_t v);
    // Right-aligned in a field of the given width, like "%*s".
    TextLine& rightAligned(std::string_view s, size_t width);
    // Like "% *lld": a space stands in for the plus sign, then right-aligned in width.
    TextLine& spaceSignedDec(int64_t v, size_t width);

    // Raw access for the hottest listings: room for `n` bytes, written through the
    // returned pointer and handed back with commit().
    char* claim(size_t n)
    {
        reserve(n);
        return buf_ + len_;
    }
    void commit(char* end) { len_ = size_t(end - buf_); }
    static constexpr size_t capacity() { return sizeof(buf_); }
    // Writers for claimed room: each writes at p and returns the end.
    static char* put(char* p, std::string_view s)
    {
        // An empty view may carry no pointer at all, which memcpy must not see.
        if (!s.empty())
            memcpy(p, s.data(), s.size());
        return p + s.size();
    }
    // Upper-case hexadecimal, at least minDigits digits (leading zeros), at most 16.
    static char* writeHex(char* p, uint64_t v, int minDigits = 1, bool lower = false);
    static char* writeDecimal(char* p, uint64_t v);

    void flush()
    {
        if (len_) {
            fwrite_unlocked(buf_, 1, len_, out_);
            len_ = 0;
        }
    }

private:
    void reserve(size_t n)
    {
        if (n > sizeof(buf_) - len_)
            flush();
    }

    FILE* out_;
    size_t len_ = 0;
    char buf_[8192];
};

} // namespace QTx
