// Advanced SIMD element and structure loads and stores, in the A32 layout
// (1111 0100 xxx0 ...).
#include "disasm/armdecoder.h"

bool ARMInstructionSetDecoder::decodeNeonLoadStore(uint32_t) { return false; }
