// The generic coprocessor instructions, whose fields stand in the same places in
// A32 and in 32-bit Thumb (bits 27..0 of the word, the Thumb halfwords taken first
// then second). Coprocessors 10 and 11 are the floating-point and vector unit and 9
// its half-precision forms: they have forms of their own.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// The ARMv8 vector forms (complex numbers, half-precision and BFloat16 multiply-
// accumulates, dot products, matrix multiplies) in the unconditional encodings of
// coprocessors 8, 12 and 13, A32 and Thumb alike: one hex digit for each value of
// bits 27..20 from 0xC0 to 0xEF, its bit (bit 6 * 2 + bit 4) set where the pattern
// is a vector one. The rest of those coprocessors' space stays generic. The vector
// patterns that no form fills (odd registers of a quadword form, and the dot
// products by element of coprocessor 13 with op2 11 or op1 set, which objdump
// reads as VSDOT/VUDOT though the assembler writes those elsewhere) stay undefined.
const char* const kVectorSpace8 = "00FF00FF55F555F50055005555555555FF5FFF5F55555555";
const char* const kVectorSpace12 = "40C040C00040004000000000000000000000000000000000";
const char* const kVectorSpace13 = "50F050F000500050000000000000000050FF50FFF0FFF0FF";

bool armVectorForm(uint32_t insn)
{
    const uint32_t coproc = bits(insn, 11, 8);
    const char* table = coproc == 8 ? kVectorSpace8 : coproc == 12 ? kVectorSpace12 : kVectorSpace13;
    const uint32_t row = bits(insn, 27, 20);
    if (row < 0xC0 || row > 0xEF)
        return true;
    const char digit = table[row - 0xC0];
    const uint32_t mask = uint32_t(digit <= '9' ? digit - '0' : digit - 'A' + 10);
    return (mask >> (bit(insn, 6) * 2 + bit(insn, 4))) & 1;
}
} // namespace

void ARMInstructionSetDecoder::decodeCoprocessor(uint32_t insn, bool two)
{
    const int coproc = int(bits(insn, 11, 8));
    // Coprocessor 15's Thumb loads and stores included: the M profile's system registers.
    if (((coproc >= 9 && coproc <= 11) || (coproc == 15 && !isArm)) && decodeFloatingPoint(insn, two))
        return;
    if (two && (coproc == 8 || coproc == 12 || coproc == 13) && decodeVectorComplex(insn))
        return;
    // The unconditional encodings are generic but for the data operations of 9 to
    // 11, which belong to the floating-point unit, and the patterns of the ARMv8
    // vector forms in 8, 12 and 13 at the levels that have them. At v8.1-M the
    // M-profile vector extension keeps 8 (its VCADD and VCMLA stand there) but for the
    // two-register transfers; 12 and 13 are generic. Coprocessor 9's unconditional
    // transfers, loads and stores stay generic (objdump and the assembler read them
    // so), their offsets in halfwords.
    // Of the two-register transfers, only the pattern of VMOV between two core
    // registers and a doubleword or two singles (coprocessors 10 and 11, bits 7..6
    // clear, bit 4 set) is the floating-point unit's.
    const bool pair = bits(insn, 27, 21) == 0x62;
    const bool vectorPair = coproc >= 10 && coproc <= 11 && bits(insn, 7, 6) == 0 && bit(insn, 4);
    // Coprocessor 9's two-register transfers are generic, and the reads into the flags
    // of 9 to 11 that are no floating-point form (objdump reads the other
    // conditional forms as undefined).
    // (VMRS of another register than FPSCR into the flags stays undefined: the
    // assembler refuses objdump's "vmrs pc, mvfr0".)
    const bool vmrs = coproc == 10 && bits(insn, 23, 21) == 7 && !(insn & 0xEF);
    const bool flagsRead =
        bits(insn, 27, 24) == 0xE && bit(insn, 4) && bit(insn, 20) && bits(insn, 15, 12) == 15 && !vmrs;
    const bool generic9 = (coproc == 9 && pair) || flagsRead;
    const bool vectorPattern = hasV8VectorForms() ? armVectorForm(insn) : hasV81M() && coproc == 8 && !pair;
    const bool vectorSpace = two ? ((coproc >= 9 && coproc <= 11 && bits(insn, 27, 24) == 0xE && !bit(insn, 4)) ||
                                    ((coproc == 8 || coproc == 12 || coproc == 13) && vectorPattern))
                                 : (coproc >= 9 && coproc <= 11 && (!pair || vectorPair) && !generic9);
    // The M-profile assembler refuses the stack pointer as a transferred register
    // (the architecture makes it unpredictable there); coprocessors 8 to 15 are the
    // floating-point and vector units' neighbours.
    const bool transfer = bits(insn, 27, 24) == 0xE && bit(insn, 4);
    const bool mStackPointer = isMProfile() && coproc >= 8 &&
                               ((transfer && bits(insn, 15, 12) == 13) ||
                                (pair && (bits(insn, 15, 12) == 13 || bits(insn, 19, 16) == 13)));
    if (vectorSpace || mStackPointer || (two && !hasV5())) {
        emitUndefined();
        return;
    }
    if (bits(insn, 27, 24) == 0xE) {
        // A write from the PC is refused by the Thumb assembler, and in A32 (oddly)
        // only with the EQ condition.
        if (bit(insn, 4) && !bit(insn, 20) && bits(insn, 15, 12) == 15 &&
            (!isArm || (!two && bits(insn, 31, 28) == 0)))
            emitUndefined();
        else if (bit(insn, 4))
            emitCoprocessorRegister(two, bit(insn, 20), coproc, int(bits(insn, 23, 21)), int(bits(insn, 15, 12)),
                                    int(bits(insn, 19, 16)), int(bits(insn, 3, 0)), int(bits(insn, 7, 5)));
        else
            emitCoprocessorData(two, coproc, int(bits(insn, 23, 20)), int(bits(insn, 15, 12)), int(bits(insn, 19, 16)),
                                int(bits(insn, 3, 0)), int(bits(insn, 7, 5)));
        return;
    }
    if (bits(insn, 27, 25) != 6) {
        emitUndefined();
        return;
    }
    const bool index = bit(insn, 24), add = bit(insn, 23), writeback = bit(insn, 21);
    if (!index && !writeback) {
        // P = W = 0: with U clear, the two-register transfers (bit 22) or nothing;
        // with U set, the unindexed form with its 8-bit option.
        if (!add) {
            // From v5TE (the unconditional ones from v6); the assembler refuses the PC
            // as either register, and the same register twice on reads.
            if (bit(insn, 22) && (two ? hasV6() : hasV5()) && bits(insn, 15, 12) != 15 && bits(insn, 19, 16) != 15 &&
                !(bit(insn, 20) && bits(insn, 15, 12) == bits(insn, 19, 16)))
                emitCoprocessorRegisterPair(two, bit(insn, 20), coproc, int(bits(insn, 7, 4)), int(bits(insn, 15, 12)),
                                            int(bits(insn, 19, 16)), int(bits(insn, 3, 0)));
            else
                emitUndefined();
            return;
        }
    }
    // Writing back to the PC is unpredictable, and the assembler refuses it.
    // In Thumb, coprocessor 15's transfers read as the M-profile system-register
    // loads and stores, which take their place.
    // The assembler reads coprocessor 9's written-back offsets in words but its plain
    // offsets in halfwords: only the plain ones give their bytes back.
    if ((writeback && bits(insn, 19, 16) == 15) || (coproc == 15 && !two && !isArm) ||
        (coproc == 9 && writeback && bits(insn, 7, 0))) {
        emitUndefined();
        return;
    }
    emitCoprocessorLoadStore(two, bit(insn, 20), bit(insn, 22), coproc, int(bits(insn, 15, 12)),
                             int(bits(insn, 19, 16)), bits(insn, 7, 0), index, add, writeback);
}
