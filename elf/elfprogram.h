#pragma once
#include <cstdint>

namespace ElfPt {
constexpr uint32_t PT_LOAD = 1;
}

class ElfProgram {
public:
    virtual ~ElfProgram() = default;

    bool isTruncated() const { return data && dataSize < p_filesz; }

    uint32_t p_type = 0;
    uint32_t p_flags = 0;
    uint64_t p_offset = 0;
    uint64_t p_vaddr = 0;
    uint64_t p_paddr = 0;
    uint64_t p_filesz = 0;
    uint64_t p_memsz = 0;
    uint64_t p_align = 0;
    const uint8_t* data = nullptr; // set only when p_filesz is not 0
    uint64_t dataSize = 0;         // bytes of the segment present in the file
};
