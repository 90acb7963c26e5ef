// The M-profile vector extension (MVE) of ARMv8.1-M: its forms in the coprocessor and
// vector spaces of 32-bit Thumb (first halfwords 111x 11xx). The groups are split by
// bits 11..8 of the first halfword: 1100 and 1101 hold the loads, stores and the
// two-lane moves (and the complex-number forms of 1111 1100/1101), 1110 the compares,
// lane moves and most data processing, 1111 the forms laid out as Advanced SIMD.
#include "disasm/armdecoder.h"

using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeMve(uint32_t first, uint32_t second)
{
    const uint32_t insn = first << 16 | second;
    switch (bits(first, 11, 8)) {
    case 0xC:
    case 0xD:
        return decodeMveLoadStore(insn) || decodeMveData(insn);
    case 0xE:
        return decodeMvePredicate(insn) || decodeMveTransfer(insn) || decodeMveData(insn);
    case 0xF:
        return decodeMveData(insn);
    default:
        return false;
    }
}
