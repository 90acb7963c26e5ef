// The 32-bit Thumb instruction set: the split of the first halfword's bits 12..4 and
// the second halfword's bit 15 into the encoding groups, and the limits that the
// older and the baseline architecture levels put on it.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::thumb32Allowed(uint32_t first, uint32_t second) const
{
    switch (architecture) {
    case ArmLevel::V4T:
    case ArmLevel::V5TE:
    case ArmLevel::V6:
        // Only the calls: BL everywhere, BLX to A32 code from v5 on (checked by the group).
        return bits(first, 15, 11) == 0x1E && bit(second, 15) && bit(second, 14);
    case ArmLevel::V6M:
    case ArmLevel::V8MBaseline:
        break;
    default:
        return true;
    }
    const bool branchSpace = bits(first, 15, 11) == 0x1E && bit(second, 15);
    // The call with link, and the special-register moves, barriers and hints.
    if (branchSpace && bit(second, 14) && bit(second, 12))
        return true;
    if (branchSpace && !bit(second, 14) && !bit(second, 12)) {
        switch (bits(first, 10, 4)) {
        case 0x38:
        case 0x39:
        case 0x3B:
        case 0x3E:
        case 0x3F:
            return true;
        default:
            break;
        }
    }
    if (architecture != ArmLevel::V8MBaseline)
        return false;
    if (branchSpace && !bit(second, 14) && bit(second, 12)) // B.W
        return true;
    if (first == 0xF3BF && second == 0x8F2F) // CLREX
        return true;
    if ((first & 0xFB70) == 0xF240) // MOVW, MOVT
        return true;
    switch (first & 0xFFF0) {
    case 0xE840: // STREX, TT
    case 0xE850: // LDREX
        return true;
    case 0xE8C0:
    case 0xE8D0:
        // Byte and halfword exclusives and the acquire/release forms; not the table
        // branches or the doubleword forms.
        switch (bits(second, 7, 4)) {
        case 0x0:
        case 0x1:
        case 0x7:
        case 0xF:
            return false;
        default:
            return true;
        }
    default:
        return false;
    }
}

void ARMInstructionSetDecoder::decodeThumb32(uint32_t first, uint32_t second)
{
    if (!thumb32Allowed(first, second)) {
        emitUndefined();
        return;
    }
    const uint32_t op2 = bits(first, 10, 4);
    switch (bits(first, 12, 11)) {
    case 1:
        if ((op2 & 0x64) == 0x00)
            decodeThumb32LoadStoreMultiple(first, second);
        else if ((op2 & 0x64) == 0x04)
            decodeThumb32LoadStoreDualExclusive(first, second);
        else if ((op2 & 0x60) == 0x20)
            decodeThumb32DataShiftedRegister(first, second);
        else
            decodeThumb32Coprocessor(first, second);
        return;
    case 2:
        if (bit(second, 15))
            decodeThumb32BranchControl(first, second);
        else if (bit(op2, 5))
            decodeThumb32DataPlainImmediate(first, second);
        else
            decodeThumb32DataModifiedImmediate(first, second);
        return;
    case 3:
        if ((op2 & 0x71) == 0x10) { // vector element and structure loads and stores
            if (!decodeNeonLoadStore(0xF4000000 | (first & 0xFF) << 16 | second))
                emitUndefined();
        } else if ((op2 & 0x60) == 0x00)
            decodeThumb32LoadStoreSingle(first, second);
        else if ((op2 & 0x70) == 0x20)
            decodeThumb32DataRegister(first, second);
        else if ((op2 & 0x78) == 0x30)
            decodeThumb32Multiply(first, second);
        else if ((op2 & 0x78) == 0x38)
            decodeThumb32LongMultiply(first, second);
        else
            decodeThumb32Coprocessor(first, second);
        return;
    default:
        emitUndefined();
        return;
    }
}

void ARMInstructionSetDecoder::decodeThumb32Coprocessor(uint32_t first, uint32_t second)
{
    // v8.1-M gives most of these spaces to its vector extension, the Advanced SIMD
    // space included.
    if (hasV81M() && decodeMve(first, second))
        return;
    // 111U 1111: Advanced SIMD data processing.
    if (bits(first, 11, 8) == 0xF) {
        if (!decodeNeonData(0xF2000000 | bit(first, 12) << 24 | (first & 0xFF) << 16 | second))
            emitUndefined();
        return;
    }
    // The M profile keeps the conditional coprocessor encodings for its
    // floating-point, vector and custom-datapath extensions: only the
    // unconditional ones (cdp2, mcr2, ldc2...) are generic there, and the
    // two-register transfers that no extension takes (the floating-point unit's
    // VMOV between two core registers and two extension registers aside).
    if (isMProfile() && !bit(first, 12)) {
        const uint32_t coproc = bits(second, 11, 8);
        const bool pair = (first & 0x0FE0) == 0x0C40;
        if (((coproc >= 9 && coproc <= 11) || coproc == 15) && decodeFloatingPoint(first << 16 | second, false))
            return;
        if (pair)
            decodeCoprocessor(first << 16 | second, false);
        else
            emitUndefined();
        return;
    }
    decodeCoprocessor(first << 16 | second, bit(first, 12));
}
