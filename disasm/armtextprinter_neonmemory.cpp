// Text of the Advanced SIMD element and structure loads and stores:
// "vld2.16 { d0[1], d2[1] }, [r0 :32]!". The condition (in a Thumb IT block) goes
// before the size suffix.
#include "disasm/armtextprinter.h"

void ARMInstructionSetDisassembler::emitNeonLoadStore(bool load, int kind, int structures, int esize, int first,
                                                      int count, int spacing, int index, int alignment, int rn,
                                                      int rm)
{
    static const char* const names[2][4] = {{"vst1", "vst2", "vst3", "vst4"}, {"vld1", "vld2", "vld3", "vld4"}};
    mnemonic(names[load ? 1 : 0][(structures - 1) & 3]);
    typeSuffix("", esize);
    // The list written out register by register, each with its lane ("[1]") or all
    // of its lanes ("[]").
    put(" {");
    for (int i = 0; i < count; ++i) {
        put(i ? ", " : " ");
        vectorLane(VReg::make(VReg::D, uint32_t(first + i * spacing)), kind == NeonStructure::OneLane ? index : -1);
        if (kind == NeonStructure::AllLanes)
            put("[]");
    }
    put(" }, [");
    reg(rn);
    if (alignment) {
        put(" :");
        decimal(uint32_t(alignment));
    }
    put(']');
    // Rm 13 writes the base back by the size of the transfer, 15 not at all.
    if (rm == 13) {
        put('!');
    } else if (rm != 15) {
        separator();
        reg(rm);
    }
}
