// MVE moves between core registers and vector lanes: VMOV of an 8- or 16-bit lane
// (the 32-bit ones are the floating-point unit's) and VDUP. They keep the layout of
// the floating-point lane moves, so they print as those do, a q register's lanes
// named by the d register that holds them.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeMveTransfer(uint32_t insn)
{
    // 1110 1110 opc1 L Vn | Rt 1011 N opc2 1 0000.
    if ((insn & 0xFF000F1F) != 0xEE000B10)
        return false;
    const int rt = int(bits(insn, 15, 12));
    if (rt == 13 || rt == 15)
        return false;
    const bool toCore = bit(insn, 20);
    if (!toCore && bit(insn, 23)) {
        // VDUP: 1110 1110 1 b Q 0 Qd 0 | Rt 1011 D 0 e 1 0000, Q set.
        const uint32_t be = bit(insn, 22) << 1 | bit(insn, 5);
        if (!bit(insn, 21) || bit(insn, 16) || bit(insn, 7) || bit(insn, 6) || be == 3)
            return false;
        emitVfpDuplicate(be == 2 ? 8 : be == 1 ? 16 : 32, VReg::make(VReg::Q, bits(insn, 19, 17)), rt);
        return true;
    }
    const int dn = vfpRegister(true, bits(insn, 19, 16), bit(insn, 7));
    if (!vfpRegisterExists(dn))
        return false;
    // opc1:opc2 = 1xxx: a byte lane; 0xx1: a halfword lane.
    const uint32_t lane = bits(insn, 22, 21) << 2 | bits(insn, 6, 5);
    const bool isUnsigned = bit(insn, 23);
    if (!toCore && isUnsigned)
        return false;
    if (lane & 8) {
        emitVfpLane(toCore, 8, isUnsigned, dn, int(lane & 7), rt);
        return true;
    }
    if (lane & 1) {
        emitVfpLane(toCore, 16, isUnsigned, dn, int(lane >> 1 & 3), rt);
        return true;
    }
    return false;
}
