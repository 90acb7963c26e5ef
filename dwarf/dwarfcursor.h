#pragma once
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

// The one reader of DWARF bytes. Every read is bounded by the end of the data it
// walks: a fixed-size read that would pass the end yields 0 and leaves the cursor at
// the end, so decoders read straight on and a damaged section simply ends them.
class DwarfCursor {
public:
    DwarfCursor() = default;
    DwarfCursor(const uint8_t* begin, const uint8_t* end, bool bigEndian)
        : begin_(begin), p_(begin), end_(end), bigEndian_(bigEndian)
    {
    }

    bool atEnd() const { return p_ >= end_; }
    uint64_t left() const { return p_ < end_ ? uint64_t(end_ - p_) : 0; }
    const uint8_t* pos() const { return p_; }
    const uint8_t* begin() const { return begin_; }
    const uint8_t* end() const { return end_; }
    // Offset from the start of the data the cursor was made for.
    uint64_t offset() const { return uint64_t(p_ - begin_); }
    bool bigEndian() const { return bigEndian_; }

    // Moves to an offset from the start; past the end means at the end.
    void seek(uint64_t offset) { p_ = offset < uint64_t(end_ - begin_) ? begin_ + offset : end_; }
    void skip(uint64_t n) { p_ = n < left() ? p_ + n : end_; }
    // A cursor over the next n bytes (fewer when the data ends first); this one moves past them.
    DwarfCursor take(uint64_t n)
    {
        const uint8_t* start = p_;
        skip(n);
        DwarfCursor sub(start, p_, bigEndian_);
        return sub;
    }
    // The same bytes, read from their start again with a new end.
    DwarfCursor limitedTo(uint64_t size) const
    {
        return DwarfCursor(begin_, size < uint64_t(end_ - begin_) ? begin_ + size : end_, bigEndian_);
    }

    uint8_t u8() { return p_ < end_ ? *p_++ : (p_ = end_, 0); }
    uint16_t u16() { return uint16_t(fixed(2)); }
    uint32_t u32() { return uint32_t(fixed(4)); }
    uint64_t u64() { return fixed(8); }
    // An unsigned value of 1, 2, 4 or 8 bytes (any other size reads that many bytes
    // and keeps the low 8 of them).
    uint64_t fixed(unsigned size)
    {
        if (left() < size) {
            p_ = end_;
            return 0;
        }
        uint64_t v = 0;
        for (unsigned i = 0; i < size; ++i) {
            const unsigned shift = bigEndian_ ? 8 * (size - 1 - i) : 8 * i;
            if (shift < 64)
                v |= uint64_t(p_[i]) << shift;
        }
        p_ += size;
        return v;
    }
    uint64_t uleb()
    {
        uint64_t v = 0;
        unsigned shift = 0;
        while (p_ < end_) {
            const uint8_t b = *p_++;
            if (shift < 64)
                v |= uint64_t(b & 0x7F) << shift;
            shift += 7;
            if (!(b & 0x80))
                break;
        }
        return v;
    }
    int64_t sleb()
    {
        uint64_t v = 0;
        unsigned shift = 0;
        uint8_t b = 0;
        while (p_ < end_) {
            b = *p_++;
            if (shift < 64)
                v |= uint64_t(b & 0x7F) << shift;
            shift += 7;
            if (!(b & 0x80))
                break;
        }
        if (shift < 64 && (b & 0x40))
            v |= ~uint64_t(0) << shift;
        return int64_t(v);
    }
    // A zero-terminated string; one cut off by the end keeps the bytes that are there.
    std::string_view cstr()
    {
        const uint8_t* start = p_;
        const void* nul = p_ < end_ ? memchr(p_, 0, size_t(end_ - p_)) : nullptr;
        if (!nul) {
            p_ = end_;
            return std::string_view(reinterpret_cast<const char*>(start), size_t(end_ - start));
        }
        p_ = static_cast<const uint8_t*>(nul) + 1;
        return std::string_view(reinterpret_cast<const char*>(start), size_t(p_ - start - 1));
    }

private:
    const uint8_t* begin_ = nullptr;
    const uint8_t* p_ = nullptr;
    const uint8_t* end_ = nullptr;
    bool bigEndian_ = false;
};

// One DWARF section of the file, as the ELF reader holds it (empty when absent).
struct DwarfSection {
    const uint8_t* data = nullptr;
    uint64_t size = 0;
    DwarfCursor cursor(bool bigEndian) const { return DwarfCursor(data, data + size, bigEndian); }
    // The zero-terminated string at an offset, or an empty one past the end.
    std::string_view stringAt(uint64_t offset) const
    {
        if (!data || offset >= size)
            return {};
        DwarfCursor c(data + offset, data + size, false);
        return c.cstr();
    }
};

// Every section the DWARF readers use.
struct DwarfSections {
    DwarfSection abbrev, info, loc, loclists, str, strOffsets, pubnames, pubtypes, aranges, ranges, line, lineStr,
        rnglists, addr, frame, ehFrame, macro, macinfo, types, names;
    bool bigEndian = false;
    bool elf64 = false; // the ELF class: addresses in line programs follow it
    // Objects carry one .debug_types and one .debug_macro section per comdat group or
    // per contribution: all of them, in header order (the first is also above).
    std::vector<DwarfSection> allTypes, allMacro;
};
