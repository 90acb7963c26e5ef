// The ARMv8 vector forms of coprocessors 8, 12 and 13: complex numbers, half-precision
// and BFloat16 multiply-accumulates, dot products and matrix multiplies.
#include "disasm/armdecoder.h"

bool ARMInstructionSetDecoder::decodeVectorComplex(uint32_t) { return false; }
