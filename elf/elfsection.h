#pragma once
#include <cstdint>
#include <string_view>

namespace ElfShf {
constexpr uint64_t SHF_WRITE = 0x1;
constexpr uint64_t SHF_ALLOC = 0x2;
constexpr uint64_t SHF_EXECINSTR = 0x4;
} // namespace ElfShf

namespace ElfSht {
constexpr uint32_t SHT_NULL = 0;
constexpr uint32_t SHT_PROGBITS = 1;
constexpr uint32_t SHT_SYMTAB = 2;
constexpr uint32_t SHT_STRTAB = 3;
constexpr uint32_t SHT_RELA = 4;
constexpr uint32_t SHT_NOBITS = 8;
constexpr uint32_t SHT_REL = 9;
constexpr uint32_t SHT_INIT_ARRAY = 14;
constexpr uint32_t SHT_FINI_ARRAY = 15;
constexpr uint32_t SHT_ARM_EXIDX = 0x70000001;
} // namespace ElfSht

// A plain record: a large library has tens of thousands of sections, decoded member
// after member into the same storage.
class ElfSection {
public:
    // The section's bytes that are really in the file: all sh_size of them, or fewer
    // when the section runs past the end of a damaged file.
    const uint8_t* contents() const { return data; }
    uint64_t contentsSize() const { return dataSize; }
    bool isTruncated() const { return data && dataSize < sh_size; }

    std::string_view name;
    uint32_t sh_name = 0;
    uint32_t sh_type = 0;
    uint64_t sh_flags = 0;
    uint64_t sh_addr = 0;
    uint64_t sh_offset = 0;
    uint64_t sh_size = 0;
    uint32_t sh_link = 0;
    uint32_t sh_info = 0;
    uint64_t sh_addralign = 0;
    uint64_t sh_entsize = 0;
    const uint8_t* data = nullptr; // null for SHT_NOBITS
    uint64_t dataSize = 0;
    uint32_t index = 0;
    // Occupies target memory: code, data, zero-initialised data and the ARM unwind index.
    bool memoryImage = false;
};
