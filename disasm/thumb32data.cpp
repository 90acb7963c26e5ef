// 32-bit Thumb data processing: modified and plain immediates, shifted registers,
// register forms, multiplies and divides.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

void ARMInstructionSetDecoder::decodeThumb32DataModifiedImmediate(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32DataPlainImmediate(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32DataShiftedRegister(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32DataRegister(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32Multiply(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32LongMultiply(uint32_t, uint32_t) { emitUndefined(); }
