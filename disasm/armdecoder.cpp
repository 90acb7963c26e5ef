#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;
using ArmBits::signExtend;

bool ARMInstructionSetDecoder::decode(bool arm, uint32_t at, uint32_t instruction, char* text, int32_t size)
{
    isArm = arm;
    address = at;
    cursor = text;
    space = size;
    condition = -1;
    armCall = false;
    thumbCall = false;
    target = 0;
    losesBytes = false;
    instructionStart = (!arm && pendingPrefix) ? at - 2 : at;
    if (arm) {
        pendingPrefix = false;
        decodeArm(instruction);
    } else {
        decodeThumb(instruction & 0xFFFF);
    }
    if (space > 0 && cursor)
        *cursor = '\0';
    return isArm ? false : pendingPrefix;
}

void ARMInstructionSetDecoder::decodeThumb(uint32_t half)
{
    if (pendingPrefix) {
        pendingPrefix = false;
        decodeThumb32(prefixHalf, half);
        return;
    }
    // Bits 15..11 of 0b11101, 0b11110 and 0b11111 open a 32-bit instruction: the
    // second halfword completes it.
    const uint32_t top = bits(half, 15, 11);
    if (top == 0x1D || top == 0x1E || top == 0x1F) {
        pendingPrefix = true;
        prefixHalf = half;
        return;
    }
    decodeThumb16(half);
}

// Profile membership of the levels (0 accepts everything).
bool ARMInstructionSetDecoder::hasThumb2() const
{
    switch (architecture) {
    case ArmLevel::V4T:
    case ArmLevel::V5TE:
    case ArmLevel::V6:
    case ArmLevel::V6M:
    case ArmLevel::V8MBaseline:
        return false;
    default:
        return true;
    }
}

bool ARMInstructionSetDecoder::hasV6() const
{
    return architecture == ArmLevel::Any || architecture >= ArmLevel::V6;
}

bool ARMInstructionSetDecoder::hasV5() const
{
    return architecture == ArmLevel::Any || architecture >= ArmLevel::V5TE;
}

bool ARMInstructionSetDecoder::isMProfile() const
{
    switch (architecture) {
    case ArmLevel::V6M:
    case ArmLevel::V7M:
    case ArmLevel::V7EM:
    case ArmLevel::V8MBaseline:
    case ArmLevel::V8MMainline:
    case ArmLevel::V81MMainline:
        return true;
    default:
        return false;
    }
}

bool ARMInstructionSetDecoder::hasSecurityExtension() const
{
    return architecture == ArmLevel::Any || architecture >= ArmLevel::V8MBaseline;
}

bool ARMInstructionSetDecoder::hasV81M() const
{
    // Not at level Any: these encodings reuse register fields that the older levels
    // leave unpredictable, and only a v8.1-M target reads them this way.
    return architecture == ArmLevel::V81MMainline;
}

