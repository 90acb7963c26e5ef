#pragma once
#include <cstdint>
#include <cstring>

// Field readers for file images. The caller has already checked that the bytes exist.
namespace ElfBytes {

template <typename T>
inline T load(const uint8_t* p, bool bigEndian)
{
    T v;
    memcpy(&v, p, sizeof v);
    if (bigEndian) {
        if constexpr (sizeof(T) == 2)
            v = T(__builtin_bswap16(uint16_t(v)));
        else if constexpr (sizeof(T) == 4)
            v = T(__builtin_bswap32(uint32_t(v)));
        else if constexpr (sizeof(T) == 8)
            v = T(__builtin_bswap64(uint64_t(v)));
    }
    return v;
}

inline uint16_t u16(const uint8_t* p, bool be) { return load<uint16_t>(p, be); }
inline uint32_t u32(const uint8_t* p, bool be) { return load<uint32_t>(p, be); }
inline uint64_t u64(const uint8_t* p, bool be) { return load<uint64_t>(p, be); }
// A word of the file's class: 4 bytes in 32-bit files, 8 in 64-bit ones.
inline uint64_t word(const uint8_t* p, bool is64, bool be) { return is64 ? u64(p, be) : u32(p, be); }

} // namespace ElfBytes
