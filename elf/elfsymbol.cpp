#include "elf/elfsymbol.h"

#include "elf/byteorder.h"

using namespace ElfBytes;

void ElfSymbol::decode(const uint8_t* p, const ElfSymbolContext& ctx, uint32_t idx)
{
    const bool be = ctx.bigEndian;
    st_name = u32(p, be);
    if (ctx.is64) {
        st_info = p[4];
        st_other = p[5];
        st_shndx = u16(p + 6, be);
        st_value = u64(p + 8, be);
        st_size = u64(p + 16, be);
    } else {
        st_value = u32(p + 4, be);
        st_size = u32(p + 8, be);
        st_info = p[12];
        st_other = p[13];
        st_shndx = u16(p + 14, be);
    }
    index = idx;
}

void ARMElfSymbol::decode(const uint8_t* p, const ElfSymbolContext& ctx, uint32_t idx)
{
    ElfSymbol::decode(p, ctx, idx);
    if (type() == ElfSym::STT_FUNC) {
        // Bit 0 of a function's value marks Thumb code; the code starts at the even address.
        kind = (st_value & 1) ? ThumbCode : ArmCode;
        armAddress = st_value & ~uint64_t(1);
    } else {
        // Types 13 and 15 are the processor-specific Thumb function and label types.
        kind = (st_info & 0xD) == 0xD ? ThumbCode : NoCode;
        armAddress = st_value;
    }
    if (ctx.biasLimit == 0 || armAddress < ctx.biasLimit)
        armAddress += ctx.bias;
}
