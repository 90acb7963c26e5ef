// Advanced SIMD element and structure loads and stores, in the A32 layout
// (1111 0100 A D L 0 Rn Vd xxxx xxxx Rm); 32-bit Thumb's 1111 1001 arrives here
// turned into 1111 0100.
#include "disasm/armdecoder.h"

using ArmBits::bit;
using ArmBits::bits;

namespace {
// Multiple structures (A = 0), by the type field (bits 11..8): the n of VLDn/VSTn, the
// registers of the list, their spacing, and which values of the align field (bits
// 5..4) the form has (bit per value). Types 11 to 15 are unallocated.
struct MultipleForm {
    uint8_t structures;
    uint8_t count;
    uint8_t spacing;
    uint8_t alignments;
};
const MultipleForm kMultiple[11] = {
    {4, 4, 1, 0xF}, // 0000 VLD4, consecutive registers
    {4, 4, 2, 0xF}, // 0001 VLD4, every second register
    {1, 4, 1, 0xF}, // 0010 VLD1, four registers
    {2, 4, 1, 0xF}, // 0011 VLD2, two pairs
    {3, 3, 1, 0x3}, // 0100 VLD3: align<1> reserved
    {3, 3, 2, 0x3}, // 0101
    {1, 3, 1, 0x3}, // 0110 VLD1, three registers: align<1> reserved
    {1, 1, 1, 0x3}, // 0111 VLD1, one register: align<1> reserved
    {2, 2, 1, 0x7}, // 1000 VLD2: align 11 reserved
    {2, 2, 2, 0x7}, // 1001
    {1, 2, 1, 0x7}, // 1010 VLD1, two registers: align 11 reserved
};

// One structure to one lane, by n - 1 and size: the index_align bits that must be
// clear, the bit that spaces the registers two apart, and the alignment field with
// what each of its values means in bits (-1: reserved).
struct LaneForm {
    uint8_t zero;
    uint8_t spacing;
    uint8_t alignMask;
    int16_t alignment[4];
};
const LaneForm kLane[4][3] = {
    {{1, 0, 0, {0}}, {2, 0, 1, {0, 16}}, {4, 0, 3, {0, -1, -1, 32}}},     // VLD1: nothing or all of the field
    {{0, 0, 1, {0, 16}}, {0, 2, 1, {0, 32}}, {2, 4, 1, {0, 64}}},          // VLD2
    {{1, 0, 0, {0}}, {1, 2, 0, {0}}, {3, 4, 0, {0}}},                      // VLD3: never aligned
    {{0, 0, 1, {0, 32}}, {0, 2, 1, {0, 64}}, {0, 4, 3, {0, 64, 128, -1}}}, // VLD4
};

// One structure to all lanes: the alignment in bits that the align bit asks for, by
// n - 1 and size (VLD1 of bytes and VLD3 have none; the checks above refuse them).
const int kAllLanesAlignment[4][4] = {{0, 16, 32, 0}, {16, 32, 64, 0}, {0, 0, 0, 0}, {32, 64, 64, 128}};
} // namespace

bool ARMInstructionSetDecoder::decodeNeonLoadStore(uint32_t insn)
{
    // Advanced SIMD belongs to the A profile and to ARMv8-R; ARMv7-R, ARMv6T2 and the
    // M profile have none.
    if (architecture != ArmLevel::Any && architecture != ArmLevel::V7A && architecture != ArmLevel::V8A &&
        architecture != ArmLevel::V8R)
        return false;
    const bool load = bit(insn, 21);
    const int rn = int(bits(insn, 19, 16));
    const int rm = int(bits(insn, 3, 0));
    const int first = int(bit(insn, 22) << 4 | bits(insn, 15, 12));
    // A PC base is unpredictable, and the assembler refuses it.
    if (rn == 15)
        return false;
    int kind, structures, esize, count, spacing, index = -1, alignment = 0;
    if (!bit(insn, 23)) {
        const uint32_t type = bits(insn, 11, 8);
        if (type > 10)
            return false;
        const MultipleForm& form = kMultiple[type];
        const uint32_t size = bits(insn, 7, 6), align = bits(insn, 5, 4);
        // Only VLD1/VST1 take 64-bit elements.
        if (!((form.alignments >> align) & 1) || (size == 3 && form.structures != 1))
            return false;
        kind = NeonStructure::Multiple;
        structures = form.structures;
        count = form.count;
        spacing = form.spacing;
        esize = 8 << size;
        alignment = align ? 32 << align : 0;
    } else if (bits(insn, 11, 10) == 3) {
        // One structure to all lanes: loads only.
        const uint32_t size = bits(insn, 7, 6);
        const bool a = bit(insn, 4);
        structures = int(bits(insn, 9, 8)) + 1;
        if (!load || (size == 3 && !(structures == 4 && a)) || (structures == 1 && size == 0 && a) ||
            (structures == 3 && a))
            return false;
        kind = NeonStructure::AllLanes;
        // VLD4 with size 11 and the align bit: 32-bit elements on a 128-bit boundary.
        esize = size == 3 ? 32 : 8 << size;
        // VLD1 fills one or two registers; the others take T as the spacing.
        count = structures == 1 ? int(bit(insn, 5)) + 1 : structures;
        spacing = structures == 1 ? 1 : int(bit(insn, 5)) + 1;
        alignment = a ? kAllLanesAlignment[structures - 1][size] : 0;
    } else {
        // One structure to one lane: index_align (bits 7..4) holds the lane above the
        // bits that the element size leaves for the spacing and the alignment.
        const uint32_t size = bits(insn, 11, 10);
        const uint32_t indexAlign = bits(insn, 7, 4);
        structures = int(bits(insn, 9, 8)) + 1;
        const LaneForm& form = kLane[structures - 1][size];
        if ((indexAlign & form.zero) != 0 || form.alignment[indexAlign & form.alignMask] < 0)
            return false;
        kind = NeonStructure::OneLane;
        esize = 8 << size;
        count = structures;
        index = int(indexAlign >> (size + 1));
        spacing = (indexAlign & form.spacing) ? 2 : 1;
        alignment = form.alignment[indexAlign & form.alignMask];
    }
    // The list must stay within d0..d31.
    if (first + (count - 1) * spacing > 31)
        return false;
    emitNeonLoadStore(load, kind, structures, esize, first, count, spacing, index, alignment, rn, rm);
    return true;
}
