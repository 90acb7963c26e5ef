// Text of the M-profile vector extension. The type suffix is part of the mnemonic
// handed to mnemonic(), which puts a predication block's "t" or "e" before its first
// "." ("vaddt.i32").
#include <cstring>

#include "disasm/armtextprinter.h"

void ARMInstructionSetDisassembler::mveMnemonic(const char* name, const char* kind, int bits, const char* fromKind,
                                                int fromBits)
{
    // The reserved size's ".???" is no assembler's text, and the assembler writes
    // other bytes for VCVTB/VCVTT (it doubles their q register numbers) and for
    // VQSHRN/VQSHRUN (it writes the rounding forms): those keep their bytes.
    static const char* const misencoded[] = {"vcvtb", "vcvtt", "vqshrnb", "vqshrnt", "vqshrunb", "vqshrunt"};
    if (!strcmp(kind, "???"))
        losesBytes = true;
    for (const char* m : misencoded)
        if (!strcmp(name, m))
            losesBytes = true;
    char text[40];
    size_t n = 0;
    auto add = [&](const char* s) {
        while (*s && n + 1 < sizeof text)
            text[n++] = *s++;
    };
    auto addType = [&](const char* k, int b) {
        if (!*k && b == 0)
            return;
        add(".");
        add(k);
        if (b > 0) {
            char digits[4] = {};
            int d = 0;
            for (int v = b; v; v /= 10)
                digits[d++] = char('0' + v % 10);
            while (d)
                text[n < sizeof text - 1 ? n++ : n] = digits[--d];
        }
    };
    add(name);
    addType(kind, bits);
    if (fromBits)
        addType(fromKind, fromBits);
    text[n] = '\0';
    mnemonic(text);
}

void ARMInstructionSetDisassembler::mveOperand(int r)
{
    if (r == kMveZeroRegister)
        put("zr");
    else if (VReg::kind(r))
        vectorRegister(r);
    else
        reg(r);
}

void ARMInstructionSetDisassembler::emitMveData(const MveOperation& op)
{
    mveMnemonic(op.name, op.kind, op.bits, op.fromKind, op.fromBits);
    if (op.count == 0)
        return;
    put(' ');
    if (op.condition >= 0) {
        put(conditionName(op.condition));
        separator();
    }
    for (int i = 0; i < op.count; ++i) {
        if (i)
            separator();
        mveOperand(op.operands[i]);
    }
    switch (op.tail) {
    case MveImmediateTail:
        separator();
        immediate(int64_t(op.immediate));
        break;
    case MveModifiedTail:
        separator();
        if (op.immediate >> 32) {
            put("#0x");
            hex(uint32_t(op.immediate >> 32), 0, false);
            hex(uint32_t(op.immediate), 8, false);
        } else {
            immediate(int64_t(op.immediate));
        }
        break;
    case MveFloatTail:
        separator();
        floatImmediate(int(op.immediate));
        break;
    case MveRotationTail:
        put(", #");
        decimal(op.immediate);
        break;
    default:
        break;
    }
}

void ARMInstructionSetDisassembler::emitMvePredicate(int mask, const MveOperation* compare)
{
    // The letters of the second to last instruction: each flips the one before when
    // its mask bit is set.
    char name[8] = {'v', 'p', compare ? 't' : 's', compare ? '\0' : 't', '\0'};
    size_t n = compare ? 3 : 4;
    const int length = (mask & 1) ? 4 : (mask & 2) ? 3 : (mask & 4) ? 2 : 1;
    bool then = true;
    for (int i = 1; i < length; ++i) {
        then = then != bool((mask >> (4 - i)) & 1);
        name[n++] = then ? 't' : 'e';
    }
    name[n] = '\0';
    if (!compare) {
        mnemonic(name);
        return;
    }
    MveOperation op = *compare;
    op.name = name;
    emitMveData(op);
}

void ARMInstructionSetDisassembler::emitMveLoadStore(bool load, int memoryBits, const char* kind, int elementBits,
                                                     int qd, int base, int offsetVector, int shift, int32_t offset,
                                                     bool index, bool writeback)
{
    char name[6] = {'v', load ? 'l' : 's', load ? 'd' : 't', 'r',
                    memoryBits == 8 ? 'b' : memoryBits == 16 ? 'h' : memoryBits == 32 ? 'w' : 'd', '\0'};
    mveMnemonic(name, kind, elementBits);
    put(' ');
    vectorRegister(qd);
    put(", [");
    mveOperand(base);
    if (offsetVector >= 0) {
        separator();
        vectorRegister(offsetVector);
        if (shift) {
            put(", uxtw #");
            decimal(uint32_t(shift));
        }
        put(']');
        return;
    }
    if (!index) {
        put("], ");
        immediate(offset);
        return;
    }
    separator();
    immediate(offset);
    put(writeback ? "]!" : "]");
}

void ARMInstructionSetDisassembler::emitMveInterleave(bool load, int pattern, int stage, int size, int qd, int rn,
                                                      bool writeback)
{
    // The reserved size 3 is printed as "??", a text no assembler takes: the file
    // output keeps such an instruction's bytes.
    static const char* const sizes[4] = {".8", ".16", ".32", ".??"};
    losesBytes = losesBytes || size == 3;
    char name[12] = {'v', load ? 'l' : 's', load ? 'd' : 't', char('0' + pattern), char('0' + stage), '\0'};
    size_t n = 5;
    for (const char* s = sizes[size & 3]; *s; ++s)
        name[n++] = *s;
    name[n] = '\0';
    mnemonic(name);
    put(" {");
    for (int i = 0; i < pattern; ++i) {
        put(i ? ", " : " ");
        vectorRegister(qd + i);
    }
    put(" }, [");
    reg(rn);
    put(writeback ? "]!" : "]");
}

void ARMInstructionSetDisassembler::emitMveLanePair(bool toVector, int qd, bool upper, int rt, int rt2)
{
    mnemonic("vmov");
    put(' ');
    auto lanes = [&] {
        vectorRegister(qd);
        put(upper ? "[3], " : "[2], ");
        vectorRegister(qd);
        put(upper ? "[1]" : "[0]");
    };
    if (toVector) {
        lanes();
        separator();
        registers(rt, rt2);
    } else {
        registers(rt, rt2);
        separator();
        lanes();
    }
}
