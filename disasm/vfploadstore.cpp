// Floating-point loads and stores of coprocessors 9 to 11 (bits 27..25 = 110): VLDR
// and VSTR, the multiples (VLDM, VSTM, VPUSH, VPOP, the FLDMX/FSTMX forms), the M
// profile's VLLDM, VLSTM and VSCCLRM, the moves between two core registers and two
// extension registers; and the M profile's system-register loads and stores, which
// take coprocessor 15's encodings in Thumb. Bits 27..0 are laid out alike in A32 and
// 32-bit Thumb.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeVfpLoadStore(uint32_t insn)
{
    const uint32_t coproc = bits(insn, 11, 8);
    const bool index = bit(insn, 24), add = bit(insn, 23), writeback = bit(insn, 21), load = bit(insn, 20);
    if (!index && !add && !writeback)
        return bit(insn, 22) && decodeVfpCorePair(insn);
    if (!index || writeback)
        return decodeVfpMultiple(insn);
    const int size = int(coproc == 9 ? Vfp::Half : coproc == 10 ? Vfp::Single : Vfp::Double);
    if (size == Vfp::Half && (!vfpHas(Vfp::HalfPrecision) || vfpConditionalHalf(insn)))
        return false;
    const int vd = vfpRegister(size == Vfp::Double, bits(insn, 15, 12), bit(insn, 22));
    const int rn = int(bits(insn, 19, 16));
    // A store to the literal pool is A32's only.
    if (!vfpRegisterExists(vd) || (rn == 15 && !load && !isArm))
        return false;
    emitVfpLoadStore(load, size, vd, rn, bits(insn, 7, 0) * (size == Vfp::Half ? 2 : 4), add);
    return true;
}

bool ARMInstructionSetDecoder::decodeVfpMultiple(uint32_t insn)
{
    const uint32_t coproc = bits(insn, 11, 8);
    const bool index = bit(insn, 24), add = bit(insn, 23), writeback = bit(insn, 21), load = bit(insn, 20);
    const int rn = int(bits(insn, 19, 16));
    const uint32_t imm8 = bits(insn, 7, 0);
    if (!index && !add) {
        // P = U = 0 with writeback: the M profile's lazy state save and restore, all
        // of whose other fields are zero.
        if (isArm || !vfpHas(Vfp::LazyState) || (insn & 0x0040FFFF) != 0x0A00 || rn == 15)
            return false;
        emitVfpLazyState(load, rn);
        return true;
    }
    // The multiples: increment after (P = 0, U = 1) or decrement before with
    // writeback (P = 1, U = 0, W = 1); coprocessor 9 has none.
    const bool isDouble = coproc == 11;
    if (coproc == 9 || index == add)
        return false;
    const int first = vfpRegister(isDouble, bits(insn, 15, 12), bit(insn, 22));
    const int count = int(isDouble ? imm8 >> 1 : imm8);
    const int number = VReg::number(first);
    if (!isArm && rn == 15 && !writeback && load && vfpHas(Vfp::Mainline81)) {
        // A Thumb multiple has no PC base (the assembler takes one all the same): the
        // increment-after load from it is the M profile's VSCCLRM, which clears the
        // registers and the VPR. Its doubleword form counts in even numbers; "{vpr}"
        // alone is the assembler's doubleword form from d0.
        if ((isDouble && (imm8 & 1)) || (count == 0 && (!isDouble || number)))
            return false;
        const bool valid = number + count <= (isDouble ? 16 : 32);
        emitVfpClearRegisters(first, count, valid);
        return true;
    }
    // The PC as a base written back (or any PC base in Thumb) is unpredictable, but
    // the assembler writes the word for a list of singles (only).
    if (rn == 15 && isDouble && (writeback || !isArm))
        return false;
    // An odd doubleword count is the legacy FLDMX/FSTMX form, whose list is the
    // doublewords (the extra word held the unit's format).
    const bool legacy = isDouble && (imm8 & 1);
    const bool valid = count != 0 && (!isDouble || count <= 16) && number + count <= 32 &&
                       (!isDouble || number + count <= 16 || vfpHas(Vfp::D32));
    emitVfpMultiple(load, index ? A32::Db : A32::Ia, legacy, rn, writeback, first, count, valid);
    return true;
}

bool ARMInstructionSetDecoder::decodeVfpCorePair(uint32_t insn)
{
    // VMOV between two core registers and two singles or a double: bits 7..6 clear,
    // bit 4 set; coprocessor 9 has none.
    const uint32_t coproc = bits(insn, 11, 8);
    const bool load = bit(insn, 20);
    const int rt = int(bits(insn, 15, 12)), rt2 = int(bits(insn, 19, 16));
    if (coproc == 9 || bits(insn, 7, 6) || !bit(insn, 4))
        return false;
    // The PC as an operand and a read into one register twice are unpredictable,
    // but the assembler writes these words from their texts: they print.
    const int vm = vfpRegister(coproc == 11, bits(insn, 3, 0), bit(insn, 5));
    if ((coproc == 10 && VReg::number(vm) == 31) || !vfpRegisterExists(vm))
        return false;
    emitVfpCorePair(load, vm, rt, rt2);
    return true;
}

bool ARMInstructionSetDecoder::decodeVfpSystemLoadStore(uint32_t insn)
{
    // 1110 110P UDWL Rn reg 0 1111 1 imm7: the register is D:reg in the numbering of
    // VMRS, the offset imm7 words; unindexed (P = W = 0) there is none.
    const bool index = bit(insn, 24), add = bit(insn, 23), writeback = bit(insn, 21), load = bit(insn, 20);
    const int rn = int(bits(insn, 19, 16));
    const uint32_t reg = bit(insn, 22) << 3 | bits(insn, 15, 13);
    // The PC as the base is unpredictable, and the assembler refuses it.
    if (!vfpHas(Vfp::Mainline81) || bit(insn, 12) || !bit(insn, 7) || (!index && !writeback) || rn == 15)
        return false;
    switch (reg) {
    case 1:  // FPSCR
    case 2:  // FPSCR_nzcvqc
    case 12: // VPR
    case 13: // P0
    case 14: // FPCXT_NS
    case 15: // FPCXT_S
        break;
    default:
        return false;
    }
    emitVfpSystemLoadStore(load, int(reg), rn, bits(insn, 6, 0) * 4, index, add, writeback);
    return true;
}
