// 32-bit Thumb loads and stores: single, dual, exclusive, multiple, and the
// ARMv8-M security forms that share their space.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

void ARMInstructionSetDecoder::decodeThumb32LoadStoreMultiple(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32LoadStoreDualExclusive(uint32_t, uint32_t) { emitUndefined(); }
void ARMInstructionSetDecoder::decodeThumb32LoadStoreSingle(uint32_t, uint32_t) { emitUndefined(); }
