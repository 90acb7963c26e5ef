// The ARMv8 vector forms of coprocessors 8, 12 and 13: complex numbers, half-precision
// and BFloat16 multiply-accumulates, dot products and matrix multiplies. Two groups
// of the manual: three registers of the same length (1111 110x) and two registers
// and a scalar (1111 1110), each split by op1 (bit 23 of the scalar group, bits 24..23
// of the other), op2 (bits 21..20), op3:op4 (the coprocessor field, 1 op3 0 op4:
// 8, 12 or 13) and U (bit 4).
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

bool ARMInstructionSetDecoder::decodeVectorComplex(uint32_t insn)
{
    if (!hasV8VectorForms())
        return false;
    const bool byElement = bits(insn, 27, 24) == 0xE;
    if (!byElement && bits(insn, 27, 25) != 6)
        return false;
    const uint32_t coproc = bits(insn, 11, 8);
    const uint32_t op2 = bits(insn, 21, 20);
    const bool q = bit(insn, 6), u = bit(insn, 4);
    const uint32_t d = bit(insn, 22) << 4 | bits(insn, 15, 12);
    const uint32_t n = bit(insn, 7) << 4 | bits(insn, 19, 16);
    const uint32_t m = bit(insn, 5) << 4 | bits(insn, 3, 0);
    // A register of the Q-wide operands: a quadword from an even doubleword number.
    bool valid = true;
    auto wide = [&valid](bool quad, uint32_t number) {
        if (quad && (number & 1))
            valid = false;
        return quad ? VReg::make(VReg::Q, number >> 1) : VReg::make(VReg::D, number);
    };
    const int dd = wide(q, d), nn = wide(q, n);

    if (!byElement) {
        const uint32_t op1 = bits(insn, 24, 23);
        const int mm = wide(q, m);
        if (coproc == 8 && !u) {
            // VCMLA (op2 1x) by op1 as the rotation, VCADD (op1 x1, op2 0x) by bit 24.
            const int esize = bit(insn, 20) ? 32 : 16;
            if (bit(insn, 21)) {
                if (!valid)
                    return false;
                emitVectorComplex(false, esize, dd, nn, mm, -1, int(op1) * 90);
                return true;
            }
            if (!(op1 & 1) || !valid)
                return false;
            emitVectorComplex(true, esize, dd, nn, mm, -1, bit(insn, 24) ? 270 : 90);
            return true;
        }
        if (op1 & 2)
            return false;
        if (coproc == 8) {
            if (op2 == 2) {
                // VFMAL/VFMSL: D += S * S, or Q += D * D.
                if (q && (d & 1))
                    return false;
                const int kind = q ? VReg::D : VReg::S;
                const uint32_t vn = q ? n : (bits(insn, 19, 16) << 1 | bit(insn, 7));
                const uint32_t vm = q ? m : (bits(insn, 3, 0) << 1 | bit(insn, 5));
                emitVectorProduct(op1 ? VectorProduct::Vfmsl : VectorProduct::Vfmal, dd, VReg::make(kind, vn),
                                  VReg::make(kind, vm), -1);
                return true;
            }
            // VFMAB/VFMAT: always quadwords; Q picks the top halves.
            if (op2 != 3 || op1 != 0)
                return false;
            const int qd = wide(true, d), qn = wide(true, n), qm = wide(true, m);
            if (!valid)
                return false;
            emitVectorProduct(q ? VectorProduct::Vfmat : VectorProduct::Vfmab, qd, qn, qm, -1);
            return true;
        }
        if (!valid)
            return false;
        // Coprocessor 12: the matrix multiplies, quadwords only; 13: the dot products.
        int op;
        if (op1 == 0 && op2 == 0 && !u)
            op = coproc == 12 ? VectorProduct::Vmmla : VectorProduct::Vdot;
        else if (op1 == 0 && op2 == 2)
            op = coproc == 12 ? (u ? VectorProduct::Vummla : VectorProduct::Vsmmla)
                              : (u ? VectorProduct::Vudot : VectorProduct::Vsdot);
        else if (op1 == 1 && op2 == 2 && !u)
            op = coproc == 12 ? VectorProduct::Vusmmla : VectorProduct::Vusdot;
        else
            return false;
        if (coproc == 12 && !q)
            return false;
        emitVectorProduct(op, dd, nn, mm, -1);
        return true;
    }

    // Two registers and a scalar.
    const uint32_t op1 = bit(insn, 23);
    if (coproc == 8 && !u) {
        // VCMLA: a half-precision pair from d0..d15 with M the lane, or a single pair
        // from any doubleword (one lane only).
        if (!valid)
            return false;
        const bool single = op1;
        emitVectorComplex(false, single ? 32 : 16, dd, nn, VReg::make(VReg::D, single ? m : bits(insn, 3, 0)),
                          single ? 0 : int(bit(insn, 5)), int(op2) * 90);
        return true;
    }
    if (coproc == 8) {
        if (op1)
            return false;
        if (!(op2 & 2)) {
            // VFMAL/VFMSL by scalar (bit 20 subtracts): D += S * S[x], or Q += D * D[x]
            // with the scalar from d0..d7
            // and its lane M:Vm<3>.
            if (q && (d & 1))
                return false;
            const int op = bit(insn, 20) ? VectorProduct::Vfmsl : VectorProduct::Vfmal;
            if (q)
                emitVectorProduct(op, dd, VReg::make(VReg::D, n), VReg::make(VReg::D, bits(insn, 2, 0)),
                                  int(bit(insn, 5) << 1 | bit(insn, 3)));
            else
                emitVectorProduct(op, dd, VReg::make(VReg::S, bits(insn, 19, 16) << 1 | bit(insn, 7)),
                                  VReg::make(VReg::S, bits(insn, 2, 0) << 1 | bit(insn, 5)), int(bit(insn, 3)));
            return true;
        }
        if (op2 != 3)
            return false;
        // VFMAB/VFMAT by scalar: quadwords, a halfword lane of d0..d7.
        const int qd = wide(true, d), qn = wide(true, n);
        if (!valid)
            return false;
        emitVectorProduct(q ? VectorProduct::Vfmat : VectorProduct::Vfmab, qd, qn,
                          VReg::make(VReg::D, bits(insn, 2, 0)), int(bit(insn, 5) << 1 | bit(insn, 3)));
        return true;
    }
    if (coproc != 13 || !valid)
        return false;
    // The dot products by element: a 32-bit lane (M) of d0..d15.
    int op;
    if (!op1 && op2 == 0 && !u)
        op = VectorProduct::Vdot;
    else if (!op1 && op2 == 2)
        op = u ? VectorProduct::Vudot : VectorProduct::Vsdot;
    else if (op1 && op2 == 0)
        op = u ? VectorProduct::Vsudot : VectorProduct::Vusdot;
    else
        return false;
    emitVectorProduct(op, dd, nn, VReg::make(VReg::D, bits(insn, 3, 0)), int(bit(insn, 5)));
    return true;
}
