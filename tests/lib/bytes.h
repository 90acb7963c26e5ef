#pragma once
// Byte strings for hand-assembled test inputs: fixed-size numbers in a chosen byte
// order, LEB128 numbers, strings and length-prefixed records.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct Bytes {
    std::vector<uint8_t> b;
    bool be = false;

    explicit Bytes(bool bigEndian = false) : be(bigEndian) {}
    size_t size() const { return b.size(); }

    Bytes& u8(uint64_t v)
    {
        b.push_back(uint8_t(v));
        return *this;
    }
    Bytes& n(uint64_t v, int size)
    {
        for (int i = 0; i < size; ++i)
            b.push_back(uint8_t(v >> (be ? 8 * (size - 1 - i) : 8 * i)));
        return *this;
    }
    Bytes& u16(uint64_t v) { return n(v, 2); }
    Bytes& u32(uint64_t v) { return n(v, 4); }
    Bytes& u64(uint64_t v) { return n(v, 8); }
    Bytes& uleb(uint64_t v)
    {
        do {
            uint8_t byte = v & 0x7F;
            v >>= 7;
            b.push_back(byte | (v ? 0x80 : 0));
        } while (v);
        return *this;
    }
    Bytes& sleb(int64_t v)
    {
        bool more = true;
        while (more) {
            uint8_t byte = v & 0x7F;
            v >>= 7;
            more = !((v == 0 && !(byte & 0x40)) || (v == -1 && (byte & 0x40)));
            b.push_back(byte | (more ? 0x80 : 0));
        }
        return *this;
    }
    Bytes& str(const std::string& s)
    {
        b.insert(b.end(), s.begin(), s.end());
        b.push_back(0);
        return *this;
    }
    Bytes& raw(const std::vector<uint8_t>& v)
    {
        b.insert(b.end(), v.begin(), v.end());
        return *this;
    }
    void patch32(size_t at, uint64_t v)
    {
        for (int i = 0; i < 4; ++i)
            b[at + i] = uint8_t(v >> (be ? 8 * (3 - i) : 8 * i));
    }
    // A record: a 32-bit length, then what `body` writes. Returns its offset.
    size_t record(const std::function<void(Bytes&)>& body)
    {
        const size_t start = b.size();
        u32(0);
        body(*this);
        patch32(start, b.size() - start - 4);
        return start;
    }
};
