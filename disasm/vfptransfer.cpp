// The floating-point spaces of coprocessors 9 to 11 split into their groups, and the
// register transfers among them: moves between core and extension registers, lane
// moves, VDUP and the system registers. Bits 27..0 are laid out alike in A32 and
// 32-bit Thumb.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeFloatingPoint(uint32_t insn, bool two)
{
    if (!vfpHas(Vfp::Vfpv2))
        return false;
    // Coprocessor 15's Thumb loads and stores: the M profile's system registers.
    if (bits(insn, 11, 8) == 15)
        return !two && !isArm && bits(insn, 27, 25) == 6 && decodeVfpSystemLoadStore(insn);
    if (bits(insn, 27, 24) == 0xE) {
        if (!bit(insn, 4))
            return two ? decodeVfpV8(insn) : decodeVfpData(insn);
        return !two && decodeVfpTransfer(insn);
    }
    return !two && bits(insn, 27, 25) == 6 && decodeVfpLoadStore(insn);
}

bool ARMInstructionSetDecoder::decodeVfpTransfer(uint32_t insn)
{
    const uint32_t coproc = bits(insn, 11, 8), opc1 = bits(insn, 23, 21);
    const bool load = bit(insn, 20);
    const int rt = int(bits(insn, 15, 12));
    // The PC and, in Thumb, the stack pointer are unpredictable operands of these
    // moves, but the assembler takes both and writes these words, so they print.
    if (coproc != 11) {
        if (opc1 == 7 && coproc == 10)
            return decodeVfpSystemRegister(insn);
        if (opc1 != 0 || bits(insn, 6, 5) || bits(insn, 3, 0))
            return false;
        // VMOV between a core register and a single, or its low half (coprocessor 9).
        if (coproc == 9 && (!vfpHas(Vfp::HalfPrecision) || vfpConditionalHalf(insn)))
            return false;
        emitVfpCoreSingle(load, coproc == 9 ? Vfp::Half : Vfp::Single,
                          vfpRegister(false, bits(insn, 19, 16), bit(insn, 7)), rt);
        return true;
    }
    if (bits(insn, 3, 0))
        return false;
    const int dn = vfpRegister(true, bits(insn, 19, 16), bit(insn, 7));
    if (!vfpRegisterExists(dn))
        return false;
    if (!load && bit(insn, 23)) {
        // VDUP from a core register: b:e (bits 22 and 5) give the size, Q (bit 21) a
        // quadword of even number.
        const uint32_t be = bit(insn, 22) << 1 | bit(insn, 5);
        if (!vfpHas(Vfp::Simd) || bit(insn, 6) || be == 3 || (bit(insn, 21) && (bits(insn, 19, 16) & 1)))
            return false;
        const int vd = bit(insn, 21) ? VReg::make(VReg::Q, VReg::number(dn) >> 1) : dn;
        emitVfpDuplicate(be == 2 ? 8 : be == 1 ? 16 : 32, vd, rt);
        return true;
    }
    // Lane moves: opc1 (bits 22..21) and opc2 (bits 6..5) give the size and index.
    const uint32_t lane = bits(insn, 22, 21) << 2 | bits(insn, 6, 5);
    int esize, index;
    if (lane & 8) {
        esize = 8;
        index = int(lane & 7);
    } else if (lane & 1) {
        esize = 16;
        index = int(lane >> 1 & 3);
    } else if (!(lane & 2)) {
        esize = 32;
        index = int(lane >> 2 & 1);
    } else {
        return false;
    }
    // The 32-bit lanes are VFPv2's (FMDLR and its kin); the 8- and 16-bit ones, read
    // signed or unsigned, came with the Advanced SIMD unit.
    const bool isUnsigned = bit(insn, 23);
    if ((isUnsigned && (!load || esize == 32)) || (esize != 32 && !vfpHas(Vfp::Simd)))
        return false;
    // The assembler refuses a condition on the signed and unsigned reads of the 8-
    // and 16-bit lanes, so those words could not be written back from their text.
    if (load && esize != 32 && (isArm ? bits(insn, 31, 28) != 14 : inItBlock()))
        return false;
    emitVfpLane(load, esize, isUnsigned, dn, index, rt);
    return true;
}

bool ARMInstructionSetDecoder::decodeVfpSystemRegister(uint32_t insn)
{
    const bool read = bit(insn, 20);
    const uint32_t reg = bits(insn, 19, 16);
    const int rt = int(bits(insn, 15, 12));
    if (bits(insn, 7, 5) || bits(insn, 3, 0) || !vfpSystemRegisterExists(reg))
        return false;
    // Only the status register reads into the flags (rt 15); nothing writes from
    // the PC. The stack pointer in Thumb is never read into, and written from only
    // by the A profile's ARMv8 to its own registers (as the assembler has it).
    if (rt == 15 && !(read && reg == 1))
        return false;
    const bool mProfileRegister = reg == 2 || reg >= 12;
    if (rt == 13 && !isArm && (read || isMProfile() || !vfpHas(Vfp::Armv8) || mProfileRegister))
        return false;
    emitVfpSystemRegister(read, int(reg), rt);
    return true;
}
