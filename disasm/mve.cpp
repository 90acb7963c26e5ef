// The M-profile vector extension (MVE) of ARMv8.1-M: its forms in the coprocessor and
// vector spaces of 32-bit Thumb (first halfwords 111x 11xx). The groups are split by
// bits 11..8 of the first halfword: 1100 and 1101 hold the loads, stores and the
// two-lane moves (and the complex-number forms of 1111 1100/1101), 1110 the compares,
// lane moves and most data processing, 1111 the forms laid out as Advanced SIMD.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeMve(uint32_t first, uint32_t second)
{
    const uint32_t insn = first << 16 | second;
    bool decoded = false;
    switch (bits(first, 11, 8)) {
    case 0xC:
    case 0xD:
        decoded = decodeMveLoadStore(insn) || decodeMveData(insn);
        break;
    case 0xE:
        decoded = decodeMvePredicate(insn) || decodeMveTransfer(insn) || decodeMveData(insn);
        break;
    default:
        decoded = decodeMveData(insn);
        break;
    }
    if (decoded)
        return true;
    // The extension takes the Advanced SIMD space whole (the M profile has no other
    // use for it), among the unconditional coprocessor encodings those of
    // coprocessors 14 and 15 but the two-register transfers, and among the
    // conditional ones the two-register transfers of 14 and 15 (where its two-lane
    // moves stand): what it leaves there is undefined, not a generic coprocessor form.
    const bool simdSpace = bits(first, 11, 8) == 0xF;
    const bool pair = (first & 0xEFE0) == 0xEC40;
    const bool extensionSpace = bits(second, 11, 9) == 7 && (bit(first, 12) ? !pair : pair);
    if (simdSpace || extensionSpace) {
        emitUndefined();
        return true;
    }
    return false;
}
