// MVE loads and stores: contiguous VLDRB/VLDRH/VLDRW and their stores (same size,
// widening and narrowing), gathers and scatters with a vector offset or a vector
// base, the interleaving VLD2x/VLD4x and VST2x/VST4x, and VMOV of two lanes with two
// core registers, which shares their space.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// Memory sizes of the gathers and scatters by bit 6 : bit 4.
constexpr int kGatherBits[4] = {8, 16, 32, 64};
} // namespace

bool ARMInstructionSetDecoder::decodeMveLoadStore(uint32_t insn)
{
    const bool load = bit(insn, 20), add = bit(insn, 23), index = bit(insn, 24), writeback = bit(insn, 21);
    const bool isUnsigned = bit(insn, 28);
    const int qd = VReg::make(VReg::Q, bits(insn, 15, 13));
    const uint32_t imm7 = bits(insn, 6, 0);
    // VMOV of two lanes: 1110 1100 000 to-vector Rt2 | Qd 0 1111 000 upper Rt.
    if ((insn & 0xFFE01FE0) == 0xEC000F00) {
        const int rt = int(bits(insn, 3, 0)), rt2 = int(bits(insn, 19, 16));
        if (rt == 13 || rt == 15 || rt2 == 13 || rt2 == 15 || (!load && rt == rt2))
            return false;
        emitMveLanePair(load, qd, bit(insn, 4), rt, rt2);
        return true;
    }
    // Everything else has bits 11..9 set and the D bit (22) clear.
    if (bits(insn, 11, 9) != 7 || bit(insn, 22))
        return false;
    const bool p4 = bit(insn, 12);
    if (!bit(insn, 28) && p4) {
        // Contiguous, same size: 1110 110P A 0 W L Rn | Qd 1 1111 size imm7.
        const uint32_t size = bits(insn, 8, 7);
        const int rn = int(bits(insn, 19, 16));
        if (size == 3 || (!index && !writeback) || rn == 15 || (writeback && rn == 13) || (!add && imm7 == 0))
            return false;
        const int esize = 8 << size;
        // The loads print the unsigned type, as the listings of the toolchain do:
        // the element is as wide as the memory, so signed and unsigned are one
        // encoding, and the assembler takes either spelling back to it.
        const int32_t offset = int32_t(imm7 << size);
        emitMveLoadStore(load, esize, load ? "u" : "", esize, qd, rn, -1, 0, add ? offset : -offset, index,
                         writeback);
        return true;
    }
    if (!p4) {
        if (bits(insn, 27, 24) == 0xC && add && !writeback && !index) {
            // Gathers and scatters: 111U 1100 1 0 0 L Rn | Qd 0 111 size msize 0 msize Qm os.
            const uint32_t size = bits(insn, 8, 7);
            const uint32_t msize = bit(insn, 6) << 1 | bit(insn, 4);
            const int rn = int(bits(insn, 19, 16));
            const bool scaled = bit(insn, 0);
            // Bytes widen to any element, halfwords to 16 or 32 bits; words and
            // doublewords fill their elements. A load may not use its offset
            // vector as destination.
            const bool sizes = msize < 2 ? msize <= size && size < 3 : size == msize;
            // A load as wide as its elements has only the unsigned form.
            if (bit(insn, 5) || !sizes || (msize == 0 && scaled) || rn == 15 || (!load && isUnsigned) ||
                (load && bits(insn, 15, 13) == bits(insn, 3, 1)) || (load && msize == size && !isUnsigned))
                return false;
            const int memoryBits = kGatherBits[msize], elementBits = 8 << size;
            emitMveLoadStore(load, memoryBits, load ? (isUnsigned ? "u" : "s") : "", elementBits, qd, rn,
                             VReg::make(VReg::Q, bits(insn, 3, 1)), scaled ? int(msize) : 0, 0, true, false);
            return true;
        }
        // Widening loads and narrowing stores: 111U 110P A 0 W L half Rn | Qd 0 111 size imm7.
        const uint32_t size = bits(insn, 8, 7);
        const bool half = bit(insn, 19);
        const int rn = int(bits(insn, 18, 16));
        if ((!index && !writeback) || size == 0 || size == 3 || (half && size != 2) || (!load && isUnsigned) ||
            (!add && imm7 == 0) || (writeback && rn == 13))
            return false;
        const int memoryBits = half ? 16 : 8;
        const int32_t offset = int32_t(imm7 << (half ? 1 : 0));
        emitMveLoadStore(load, memoryBits, load ? (isUnsigned ? "u" : "s") : "", 8 << size, qd, rn, -1, 0,
                         add ? offset : -offset, index, writeback);
        return true;
    }
    if (index) {
        // Vector base: 1111 1101 A 0 W L Qm 0 | Qd 1 111 double 0 imm7.
        if (bit(insn, 16) || bit(insn, 7) || (!add && imm7 == 0) || (load && bits(insn, 15, 13) == bits(insn, 19, 17)))
            return false;
        const bool isDouble = bit(insn, 8);
        const int32_t offset = int32_t(imm7 << (isDouble ? 3 : 2));
        emitMveLoadStore(load, isDouble ? 64 : 32, load ? "u" : "", isDouble ? 64 : 32, qd,
                         VReg::make(VReg::Q, bits(insn, 19, 17)), -1, 0, add ? offset : -offset, true, writeback);
        return true;
    }
    // Interleaving: 1111 1100 1 0 W L Rn | Qd 1 111 size stage 0000 four.
    if (!add || bits(insn, 4, 1))
        return false;
    const int rn = int(bits(insn, 19, 16));
    const bool four = bit(insn, 0);
    const int stage = int(bits(insn, 6, 5));
    const int last = int(bits(insn, 15, 13)) + (four ? 3 : 1);
    if (rn == 15 || (rn == 13 && writeback) || (!four && stage > 1) || last > 7)
        return false;
    emitMveInterleave(load, four ? 4 : 2, stage, int(bits(insn, 8, 7)), qd, rn, writeback);
    return true;
}
