// Advanced SIMD data processing and the cryptographic forms, in the A32 layout
// (1111 001U ...).
#include "disasm/armdecoder.h"

bool ARMInstructionSetDecoder::decodeNeonData(uint32_t) { return false; }
