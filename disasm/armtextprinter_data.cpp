// Text of the 32-bit Thumb data-processing and multiply forms and of the A32 media
// forms they share.
#include "disasm/armtextprinter.h"

namespace {
const char* const kShiftNames[4] = {"lsl", "lsr", "asr", "ror"};
const char* const kShiftFlagNames[4] = {"lsls", "lsrs", "asrs", "rors"};
// By bits 8..5 of the first halfword; the compares and moves are picked apart.
const char* const kThumbDataNames[16] = {"and", "bic", "orr", "orn", "eor", "", "", "", "add", "", "adc", "sbc",
                                         "",    "sub", "rsb", ""};
const char* const kThumbDataFlagNames[16] = {"ands", "bics", "orrs", "orns", "eors", "", "", "", "adds", "",
                                             "adcs", "sbcs", "",     "subs", "rsbs", ""};
// The operations that also have a 16-bit encoding: the disassembler marks their
// 32-bit encodings ".w" whatever the operands.
constexpr bool hasNarrowTwin(int op) { return op != 3 && op != 14; }
} // namespace

void ARMInstructionSetDisassembler::registers(int a, int b)
{
    reg(a);
    separator();
    reg(b);
}

void ARMInstructionSetDisassembler::registers(int a, int b, int c)
{
    registers(a, b);
    separator();
    reg(c);
}

void ARMInstructionSetDisassembler::registers(int a, int b, int c, int d)
{
    registers(a, b, c);
    separator();
    reg(d);
}

// The mnemonic, ".w" where the operation has a 16-bit twin, and the operands before
// the last one. Returns false for TEQ and the like that print nothing more here.
static const char* thumbDataMnemonic(int op, bool setFlags, int rd, int rn, bool& compare, bool& move)
{
    compare = rd == 15 && setFlags && (op == 0 || op == 4 || op == 8 || op == 13);
    move = rn == 15 && (op == 2 || op == 3);
    if (compare) {
        static const char* const names[16] = {"tst", "", "", "", "teq", "", "", "", "cmn", "", "", "", "", "cmp", "", ""};
        return names[op];
    }
    if (move)
        return op == 2 ? (setFlags ? "movs" : "mov") : (setFlags ? "mvns" : "mvn");
    return setFlags ? kThumbDataFlagNames[op] : kThumbDataNames[op];
}

void ARMInstructionSetDisassembler::emitThumbDataImmediate(int op, bool setFlags, int rd, int rn, uint32_t value)
{
    bool compare = false, move = false;
    // RSB #0 between low registers, flag-setting outside an IT block and plain inside
    // one, is the 16-bit NEG to the assembler: keep the width.
    const bool narrowNegate =
        op == ThumbDataOp::TRsb && value == 0 && rd < 8 && rn < 8 && setFlags != inItBlock();
    mnemonic(thumbDataMnemonic(op, setFlags, rd, rn, compare, move));
    if ((hasNarrowTwin(op) && !(compare && op == ThumbDataOp::TEor)) || move || narrowNegate)
        put(".w");
    thumbDataOperands(compare, move, rd, rn);
    immediate(value);
}

void ARMInstructionSetDisassembler::thumbDataOperands(bool compare, bool move, int rd, int rn)
{
    // Compares have no destination, moves no first operand.
    put(' ');
    if (compare) {
        reg(rn);
    } else {
        reg(rd);
        if (!move) {
            separator();
            reg(rn);
        }
    }
    separator();
}

void ARMInstructionSetDisassembler::emitThumbWideAddSubtract(bool subtract, int rd, int rn, uint32_t imm12)
{
    mnemonic(subtract ? "subw" : "addw");
    put(' ');
    registers(rd, rn);
    separator();
    immediate(imm12);
}

void ARMInstructionSetDisassembler::emitThumbDataRegister(int op, bool setFlags, int rd, int rn, int rm, int type,
                                                          int imm5)
{
    bool compare = false, move = false;
    const char* name = thumbDataMnemonic(op, setFlags, rd, rn, compare, move);
    // A flag-setting move shifted by LSL, LSR or ASR is written as the shift: the
    // assembler does not take "movs.w" with those shifts.
    if (move && op == ThumbDataOp::TOrr && setFlags && type != A32::Ror && !(type == A32::Lsl && imm5 == 0)) {
        mnemonic(kShiftFlagNames[type]);
        put(".w ");
        registers(rd, rm);
        separator();
        immediate(imm5 == 0 ? 32 : imm5);
        return;
    }
    mnemonic(name);
    if ((hasNarrowTwin(op) && !(compare && op == ThumbDataOp::TEor)) || move)
        put(".w");
    thumbDataOperands(compare, move, rd, rn);
    reg(rm);
    shiftByImmediate(type, imm5);
}

void ARMInstructionSetDisassembler::emitLongShift(int op, int rdaLo, int rdaHi, int rm, int amount)
{
    static const char* const names[15] = {"lsll",  "lsrl",   "asrl",    "uqshll",  "urshrl", "srshrl", "sqshll", "uqshl",
                                          "urshr", "srshr",  "sqshl",   "uqrshll", "sqrshrl", "uqrshl", "sqrshr"};
    mnemonic(names[op]);
    put(' ');
    reg(rdaLo);
    if (rdaHi >= 0) {
        separator();
        reg(rdaHi);
    }
    separator();
    if (rm < 0) {
        immediate(amount);
        return;
    }
    // The saturating forms on a register pair name the bit count they saturate at.
    if (op == Uqrshll || op == Sqrshrl) {
        put('#');
        decimal(uint32_t(amount));
        separator();
    }
    reg(rm);
}

void ARMInstructionSetDisassembler::emitConditionalSelect(int op, int rd, int rn, int rm, int cond)
{
    static const char* const names[4] = {"csel", "csinc", "csinv", "csneg"};
    static const char* const aliases[4] = {"", "cinc", "cinv", "cneg"};
    static const char* const zeroAliases[4] = {"", "cset", "csetm", ""};
    auto operand = [this](int r) {
        if (r == 15)
            put("zr");
        else
            reg(r);
    };
    // With Rn = Rm the inverted condition reads as the alias: both zero registers give
    // CSET/CSETM.
    if (op != 0 && rn == rm && cond < 14) {
        const bool zero = rn == 15 && zeroAliases[op][0];
        mnemonic(zero ? zeroAliases[op] : aliases[op]);
        put(' ');
        reg(rd);
        separator();
        if (!zero) {
            operand(rn);
            separator();
        }
        put(conditionName(cond ^ 1));
        return;
    }
    mnemonic(names[op]);
    put(' ');
    reg(rd);
    separator();
    operand(rn);
    separator();
    operand(rm);
    separator();
    put(conditionName(cond));
}

void ARMInstructionSetDisassembler::emitShiftRegister(int type, bool setFlags, int rd, int rn, int rm)
{
    mnemonic(setFlags ? kShiftFlagNames[type] : kShiftNames[type]);
    put(".w ");
    registers(rd, rn, rm);
}

void ARMInstructionSetDisassembler::emitSaturatingArithmetic(int op, int rd, int rm, int rn)
{
    static const char* const names[4] = {"qadd", "qsub", "qdadd", "qdsub"};
    mnemonic(names[op & 3]);
    put(' ');
    registers(rd, rm, rn);
}

void ARMInstructionSetDisassembler::emitParallelArithmetic(int prefix, int op, int rd, int rn, int rm)
{
    static const char* const prefixes[6] = {"s", "q", "sh", "u", "uq", "uh"};
    static const char* const operations[8] = {"add8", "add16", "asx", "", "sub8", "sub16", "sax", ""};
    char name[12];
    int n = 0;
    for (const char* p = prefixes[prefix]; *p; ++p)
        name[n++] = *p;
    for (const char* p = operations[op & 7]; *p; ++p)
        name[n++] = *p;
    name[n] = '\0';
    mnemonic(name);
    put(' ');
    registers(rd, rn, rm);
}

void ARMInstructionSetDisassembler::emitCrc32(bool castagnoli, int size, int rd, int rn, int rm)
{
    static const char* const names[2][3] = {{"crc32b", "crc32h", "crc32w"}, {"crc32cb", "crc32ch", "crc32cw"}};
    mnemonic(names[castagnoli][size]);
    put(' ');
    registers(rd, rn, rm);
}

void ARMInstructionSetDisassembler::emitHalfwordMultiply(int op, bool nTop, bool mTop, int rd, int rn, int rm, int ra)
{
    static const char* const stems[5] = {"smla", "smul", "smlaw", "smulw", "smlal"};
    char name[10];
    int n = 0;
    for (const char* p = stems[op]; *p; ++p)
        name[n++] = *p;
    // The word forms name only the half of Rm.
    if (op != Smlaw && op != Smulw)
        name[n++] = nTop ? 't' : 'b';
    name[n++] = mTop ? 't' : 'b';
    name[n] = '\0';
    mnemonic(name);
    put(' ');
    if (op == Smlal) {
        registers(rd, ra, rn, rm);
        return;
    }
    registers(rd, rn, rm);
    if (op == Smla || op == Smlaw) {
        separator();
        reg(ra);
    }
}

void ARMInstructionSetDisassembler::emitMediaMultiply(int op, bool variant, int rd, int rn, int rm, int ra)
{
    static const char* const names[13] = {"smlad", "smuad", "smlsd", "smusd", "smlald", "smlsld", "smmla",
                                          "smmul", "smmls", "usada8", "usad8", "sdiv",  "udiv"};
    static const char* const variants[13] = {"smladx", "smuadx", "smlsdx", "smusdx", "smlaldx", "smlsldx", "smmlar",
                                             "smmulr", "smmlsr", "",       "",      "",        ""};
    mnemonic(variant ? variants[op] : names[op]);
    put(' ');
    if (op == Smlald || op == Smlsld) {
        registers(rd, ra, rn, rm);
        return;
    }
    registers(rd, rn, rm);
    if (op == Smlad || op == Smlsd || op == Smmla || op == Smmls || op == Usada8) {
        separator();
        reg(ra);
    }
}

void ARMInstructionSetDisassembler::emitPack(bool top, int rd, int rn, int rm, int imm5)
{
    mnemonic(top ? "pkhtb" : "pkhbt");
    put(' ');
    registers(rd, rn, rm);
    // PKHTB's shift of 32 is encoded as 0.
    if (top) {
        put(", asr ");
        immediate(imm5 == 0 ? 32 : imm5);
    } else if (imm5 != 0) {
        put(", lsl ");
        immediate(imm5);
    }
}

void ARMInstructionSetDisassembler::emitSaturate16(bool isUnsigned, int rd, int saturateTo, int rn)
{
    mnemonic(isUnsigned ? "usat16" : "ssat16");
    put(' ');
    reg(rd);
    separator();
    immediate(saturateTo);
    separator();
    reg(rn);
}

void ARMInstructionSetDisassembler::emitSelectBytes(int rd, int rn, int rm)
{
    mnemonic("sel");
    put(' ');
    registers(rd, rn, rm);
}

void ARMInstructionSetDisassembler::emitReverseBits(int rd, int rm)
{
    mnemonic("rbit");
    put(' ');
    registers(rd, rm);
}

void ARMInstructionSetDisassembler::emitPointerAuthentication(int op, int rd, int rn, int rm)
{
    static const char* const names[3] = {"pacg", "autg", "bxaut"};
    mnemonic(names[op]);
    put(' ');
    registers(rd, rn, rm);
}
