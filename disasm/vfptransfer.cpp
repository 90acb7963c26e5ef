// Floating-point loads, stores and transfers of coprocessors 9 to 11: VLDR/VSTR,
// the multiples, moves between core and extension registers, lane moves, VDUP and
// the system registers. Bits 27..0 are laid out alike in A32 and 32-bit Thumb.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeFloatingPoint(uint32_t insn, bool two)
{
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
    // The PC is no operand of these moves, and the stack pointer only from ARMv8
    // in Thumb.
    const bool rtBad = rt == 15 || (!isArm && rt == 13 && !(architecture == ArmLevel::Any ||
                                                              architecture >= ArmLevel::V8A));
    if (coproc != 11) {
        if (opc1 == 0) {
            if (bits(insn, 6, 5) || bits(insn, 3, 0) || rtBad)
                return false;
            emitVfpCoreSingle(load, coproc == 9 ? Vfp::Half : Vfp::Single,
                              vfpRegister(false, bits(insn, 19, 16), bit(insn, 7)), rt);
            return true;
        }
        if (opc1 != 7 || coproc != 10 || bits(insn, 7, 5) || bits(insn, 3, 0))
            return false;
        // Register numbers 3, 4, 9 to 11 name no system register (objdump has no name for them).
        const uint32_t reg = bits(insn, 19, 16);
        static const uint16_t kNamed = 0xF1E7; // 0, 1, 2, 5, 6, 7, 8, 12, 13, 14, 15
        if (!((kNamed >> reg) & 1))
            return false;
        // Only the status register reads into the flags (rt 15).
        if ((rt == 15 && !(load && reg == 1)) || (rt == 13 && rtBad))
            return false;
        emitVfpSystemRegister(load, int(reg), rt);
        return true;
    }
    if (bits(insn, 3, 0) || rtBad)
        return false;
    const int dn = vfpRegister(true, bits(insn, 19, 16), bit(insn, 7));
    if (!vfpRegisterExists(dn))
        return false;
    // The M profile's floating-point unit moves whole words only; the 8- and 16-bit
    // lanes and VDUP belong to the vector extensions.
    if (!load && bit(insn, 23)) {
        if (isMProfile())
            return false;
        // VDUP from a core register: b:e (bits 22 and 5) give the size, Q (bit 21) a
        // quadword of even number.
        const uint32_t be = bit(insn, 22) << 1 | bit(insn, 5);
        if (bit(insn, 6) || be == 3 || (bit(insn, 21) && (bits(insn, 19, 16) & 1)))
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
    const bool isUnsigned = bit(insn, 23);
    if ((isUnsigned && (!load || esize == 32)) || (isMProfile() && esize != 32))
        return false;
    emitVfpLane(load, esize, isUnsigned, dn, index, rt);
    return true;
}

bool ARMInstructionSetDecoder::decodeVfpLoadStore(uint32_t insn)
{
    const uint32_t coproc = bits(insn, 11, 8);
    const bool index = bit(insn, 24), add = bit(insn, 23), writeback = bit(insn, 21), load = bit(insn, 20);
    const int rn = int(bits(insn, 19, 16));
    const uint32_t imm8 = bits(insn, 7, 0);
    if (!index && !add && !writeback) {
        // The moves between two core registers and two singles or a double: bits 7..6
        // clear, bit 4 set.
        const int rt = int(bits(insn, 15, 12)), rt2 = rn;
        if (!bit(insn, 22) || coproc == 9 || bits(insn, 7, 6) || !bit(insn, 4))
            return false;
        const bool spBad = !isArm && !(architecture == ArmLevel::Any || architecture >= ArmLevel::V8A);
        if (rt == 15 || rt2 == 15 || (spBad && (rt == 13 || rt2 == 13)) || (load && rt == rt2))
            return false;
        const int vm = vfpRegister(coproc == 11, bits(insn, 3, 0), bit(insn, 5));
        if ((coproc == 10 && VReg::number(vm) == 31) || !vfpRegisterExists(vm))
            return false;
        emitVfpCorePair(load, vm, rt, rt2);
        return true;
    }
    const int size = int(coproc == 9 ? Vfp::Half : coproc == 10 ? Vfp::Single : Vfp::Double);
    const int vd = vfpRegister(size == Vfp::Double, bits(insn, 15, 12), bit(insn, 22));
    if (index && !writeback) {
        if (!vfpRegisterExists(vd))
            return false;
        emitVfpLoadStore(load, size, vd, rn, imm8 * (size == Vfp::Half ? 2 : 4), add);
        return true;
    }
    // The multiples: increment after (P = 0, U = 1) or decrement before with
    // writeback (P = 1, U = 0, W = 1).
    if (size == Vfp::Half || index == add || (writeback && rn == 15))
        return false;
    // A Thumb multiple has no PC base: the increment-after load from it without
    // writeback is the M profile's VSCCLRM, which clears the registers and the VPR.
    if (!isArm && rn == 15) {
        if (!(load && add && !writeback) || !(isMProfile() || architecture == ArmLevel::Any))
            return false;
        const int count = int(size == Vfp::Double ? imm8 >> 1 : imm8);
        const bool valid = !(size == Vfp::Double && (imm8 & 1)) && VReg::number(vd) + count <= (size == Vfp::Double ? 16 : 32);
        emitVfpClearRegisters(vd, count, valid);
        return true;
    }
    const bool legacy = size == Vfp::Double && (imm8 & 1);
    const int count = int(size == Vfp::Double ? imm8 >> 1 : imm8);
    const int limit = size == Vfp::Double && isMProfile() ? 16 : 32;
    const bool valid = count != 0 && (size == Vfp::Single || count <= 16) && VReg::number(vd) + count <= limit;
    emitVfpMultiple(load, index ? A32::Db : A32::Ia, legacy, rn, writeback, vd, count, valid);
    return true;
}
