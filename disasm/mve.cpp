// The M-profile vector extension (MVE) of ARMv8.1-M: its forms in the coprocessor and
// vector spaces of 32-bit Thumb.
#include "disasm/armdecoder.h"

bool ARMInstructionSetDecoder::decodeMve(uint32_t, uint32_t) { return false; }
