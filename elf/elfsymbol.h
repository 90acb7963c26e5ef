#pragma once
#include <cstdint>
#include <string_view>

// How a symbol-table entry is decoded: the file's class and byte order, and the
// load bias that ARM symbols are moved by.
struct ElfSymbolContext {
    bool is64 = false;
    bool bigEndian = false;
    uint64_t bias = 0;
    uint64_t biasLimit = 0;
};

class ElfSymbol {
public:
    virtual ~ElfSymbol() = default;

    // Decodes one entry (16 bytes in 32-bit files, 24 in 64-bit files).
    virtual void decode(const uint8_t* entry, const ElfSymbolContext& ctx, uint32_t index);
    // The address the symbol stands for: st_value here, without the Thumb bit for ARM.
    virtual uint64_t address() const { return st_value; }

    uint8_t type() const { return st_info & 0xF; }
    uint8_t binding() const { return st_info >> 4; }

    uint32_t st_name = 0;
    uint8_t st_info = 0;
    uint8_t st_other = 0;
    uint16_t st_shndx = 0;
    uint64_t st_value = 0;
    uint64_t st_size = 0;
    std::string_view name;
    uint32_t index = 0;
};

class ARMElfSymbol : public ElfSymbol {
public:
    enum Kind { ArmCode = 0, ThumbCode = 1, NoCode = 2 };

    void decode(const uint8_t* entry, const ElfSymbolContext& ctx, uint32_t index) override;
    uint64_t address() const override { return armAddress; }

    int kind = NoCode;
    uint64_t armAddress = 0;
};

// Standard symbol codes used by the readers.
namespace ElfSym {
constexpr uint8_t STT_FUNC = 2;
constexpr uint16_t SHN_UNDEF = 0;
constexpr uint16_t SHN_LORESERVE = 0xFF00;
constexpr uint16_t SHN_ABS = 0xFFF1;
constexpr uint16_t SHN_XINDEX = 0xFFFF;
} // namespace ElfSym
