#pragma once
#include <string_view>

#include "disasm/armdecoder.h"

// Turns the decoder's emit operations into unified assembler syntax. Text goes to the
// caller's buffer: a character is stored only while more than one byte of room is
// left, so the terminating NUL always fits and overflow is dropped silently.
class ARMInstructionSetDisassembler : public ARMInstructionSetDecoder {
public:
    // Condition names 0..15; "hs"/"lo" are never used so the text matches the assembler's
    // canonical spelling.
    static const char* conditionName(int condition);

protected:
    void emitUndefined() override;
    void emitShiftImmediate(int op, int rd, int rm, int imm5) override;
    void emitAddSubtract(bool subtract, bool immediate, int rd, int rn, int rmOrImm3) override;
    void emitImmediate8(int op, int rdn, int imm8) override;
    void emitDataProcessing(int op, int rdn, int rm) override;
    void emitSpecialData(int op, int rdn, int rm) override;
    void emitBranchExchange(bool link, bool nonSecure, int rm) override;
    void emitLiteralLoad(int rt, uint32_t offset, bool add) override;
    void emitLoadStoreRegister(int op, int rt, int rn, int rm) override;
    void emitLoadStoreImmediate(int op, int rt, int rn, uint32_t offset) override;
    void emitAddressOf(bool fromSp, int rd, uint32_t offset) override;
    void emitAdjustSp(bool subtract, uint32_t offset) override;
    void emitExtend(int op, int rd, int rm) override;
    void emitReverse(int op, int rd, int rm) override;
    void emitRegisterList(int op, int rn, uint32_t registers, bool writeback) override;
    void emitImmediateOnly(int op, uint32_t imm) override;
    void emitSetEndian(bool bigEndian) override;
    void emitChangeState(bool disable, int flags) override;
    void emitCompareBranch(bool nonZero, int rn, uint32_t target) override;
    void emitIfThen(int firstCondition, int mask) override;
    void emitHint(int op, int value) override;
    void emitBranch(uint32_t target) override;
    void emitBranchLink(bool exchange, uint32_t target) override;
    void emitBranchJazelle(int rm) override;
    void emitDataImmediate(int op, bool setFlags, int rd, int rn, uint32_t imm12) override;
    void emitDataRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int imm5) override;
    void emitDataShiftedRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int rs) override;
    void emitMultiply(int op, bool setFlags, int rd, int rn, int rm, int ra) override;
    void emitWordByteImmediate(bool load, bool byte, int rt, int rn, uint32_t imm12, bool index, bool add,
                               bool writeback) override;
    void emitWordByteRegister(bool load, bool byte, int rt, int rn, int rm, int type, int imm5, bool index, bool add,
                              bool writeback) override;
    void emitCountLeadingZeros(int rd, int rm) override;
    void emitExtraLoadStore(int op, int rt, int rn, bool immediate, uint32_t imm8OrRm, bool index, bool add,
                            bool writeback) override;
    void emitBlockTransfer(bool load, int mode, int rn, uint32_t registers, bool writeback) override;
    void emitMoveWide(bool top, int rd, uint32_t imm16) override;
    void emitExtendRotate(int op, int rd, int rn, int rm, int rotation) override;
    void emitBitField(int op, int rd, int rn, int lsb, int width) override;
    void emitSaturate(bool isUnsigned, int rd, int saturateTo, int rn, bool arithmeticShift, int imm5) override;
    void emitBarrier(int op, int option) override;
    void emitExclusive(bool load, int op, int rd, int rt, int rn) override;
    void emitSwap(bool byte, int rt, int rt2, int rn) override;
    void emitStatusRead(bool saved, int rd) override;
    void emitStatusWrite(bool saved, int mask, int rn) override;
    void emitStatusWriteImmediate(bool saved, int mask, uint32_t imm12) override;
    void emitPreload(int rn, uint32_t imm12, bool add) override;
    // 32-bit Thumb loads, stores, branches and control (and their A32 twins).
    void emitLoadStoreWide(int op, int rt, int rn, uint32_t imm, bool index, bool add, bool writeback,
                           bool unprivileged) override;
    void emitLoadStoreWideRegister(int op, int rt, int rn, int rm, int shift) override;
    void emitPreloadHint(int kind, int rn, bool registerForm, uint32_t immOrRm, bool add, int type, int imm5) override;
    void emitLoadStoreDual(bool load, int rt, int rt2, int rn, uint32_t imm, bool index, bool add,
                           bool writeback) override;
    void emitExclusiveWide(bool load, int op, int rd, int rt, int rt2, int rn, uint32_t imm) override;
    void emitTableBranch(bool half, int rn, int rm) override;
    void emitTestTarget(int op, int rd, int rn) override;
    void emitLoadStoreMultipleWide(bool load, bool decrementBefore, int rn, uint32_t registers,
                                   bool writeback) override;
    void emitClearRegisters(uint32_t registers) override;
    void emitReturnFromException(int mode, int rn, bool writeback) override;
    void emitStoreReturnState(int mode, bool writeback, int processorMode) override;
    void emitPlain(int op) override;
    void emitBranchWide(uint32_t target) override;
    void emitHintNumber(int hint) override;
    void emitChangeProcessorState(int imod, int flags, int mode) override;
    void emitExceptionCall(int op, uint32_t imm) override;
    void emitExceptionReturn(uint32_t imm) override;
    void emitSpecialRegisterRead(int rd, int sysm) override;
    void emitSpecialRegisterWrite(int mask, int sysm, int rn) override;
    void emitBankedRegister(bool write, bool saved, int sysm, int r) override;
    void emitLoop(int op, int size, int rn, uint32_t target) override;
    void emitBranchFuture(int op, uint32_t branchPoint, uint32_t target, int conditionOrRm,
                          uint32_t elseTarget) override;
    void emitExtraUnprivileged(int op, int rt, int rn, bool immediate, uint32_t imm8OrRm, bool add) override;
    void emitBlockTransferUser(bool load, int mode, int rn, uint32_t registers, bool writeback) override;
    void emitPreloadIndexed(int kind, int rn, uint32_t imm8, bool index, bool add, bool writeback) override;
    // "[pc, #imm]" (or the literal's own text) for a PC-relative load of `size` bytes.
    void literalOperand(uint32_t offset, bool add, int size);
    // The rest of "[rn" with an immediate offset: offset, pre-index or post-index.
    void offsetAddressing(uint32_t imm, bool index, bool add, bool writeback);
    // Generic coprocessor forms.
    void emitCoprocessorData(bool two, int coproc, int opc1, int crd, int crn, int crm, int opc2) override;
    void emitCoprocessorRegister(bool two, bool load, int coproc, int opc1, int rt, int crn, int crm,
                                 int opc2) override;
    void emitCoprocessorRegisterPair(bool two, bool load, int coproc, int opc1, int rt, int rt2, int crm) override;
    void emitCoprocessorLoadStore(bool two, bool load, bool longForm, int coproc, int crd, int rn, uint32_t imm8,
                                  bool index, bool add, bool writeback) override;
    // ---- Advanced SIMD data processing and the cryptographic forms (armtextprinter_neon*.cpp) ----
    void emitNeonThreeRegister(int op, int type, int esize, int vd, int vn, int vm) override;
    void emitNeonScalar(int op, int type, int esize, int vd, int vn, int dm, int index) override;
    void emitNeonShift(int op, int type, int esize, int vd, int vm, int amount) override;
    void emitNeonTwoRegister(int op, int type, int esize, int vd, int vm) override;
    void emitNeonConvert(int op, int toType, int toSize, int fromType, int fromSize, int vd, int vm,
                         int fbits) override;
    void emitNeonImmediate(int op, int type, int esize, int vd, uint64_t value, int imm8) override;
    void emitNeonExtract(int vd, int vn, int vm, int imm) override;
    void emitNeonTable(bool extension, int vd, int dn, int length, int dm) override;
    void emitNeonDuplicateScalar(int esize, int vd, int dm, int index) override;
    // The mnemonic of a Neon::Op with its type suffix, and the blank after it.
    void neonMnemonic(int op, int type, int esize);
    // ---- end of Advanced SIMD data processing ----

    // ---- Advanced SIMD loads and stores ----
    void emitNeonLoadStore(bool load, int kind, int structures, int esize, int first, int count, int spacing,
                           int index, int alignment, int rn, int rm) override;
    // ---- end of Advanced SIMD loads and stores ----

    // ---- The ARMv8 complex-number, dot-product, matrix and BFloat16 forms ----
    void emitVectorComplex(bool add, int esize, int vd, int vn, int vm, int index, int rotation) override;
    void emitVectorProduct(int op, int vd, int vn, int vm, int index) override;
    // ---- end of the ARMv8 vector forms ----

    // ---- Floating-point forms (armtextprinter_vfp.cpp, armtextprinter_vfptransfer.cpp) ----
    void emitVfpLoadStore(bool load, int size, int vd, int rn, uint32_t offset, bool add) override;
    void emitVfpMultiple(bool load, int mode, bool legacy, int rn, bool writeback, int first, int count,
                         bool valid) override;
    void emitVfpClearRegisters(int first, int count, bool valid) override;
    void emitVfpThreeRegister(int op, int size, int vd, int vn, int vm) override;
    void emitVfpTwoRegister(int op, int size, int vd, int vm, int fbits) override;
    void emitVfpImmediate(int size, int vd, int imm8) override;
    void emitVfpV8(int op, int size, int vd, int vn, int vm, int cc) override;
    void emitVfpCoreSingle(bool toCore, int size, int sn, int rt) override;
    void emitVfpLane(bool toCore, int esize, bool isUnsigned, int dn, int index, int rt) override;
    void emitVfpDuplicate(int esize, int vd, int rt) override;
    void emitVfpSystemRegister(bool read, int sysReg, int rt) override;
    void emitVfpCorePair(bool toCore, int vm, int rt, int rt2) override;
    void emitVfpLazyState(bool load, int rn) override;
    void emitVfpSystemLoadStore(bool load, int sysReg, int rn, uint32_t offset, bool index, bool add,
                                bool writeback) override;
    // ---- end of the floating-point forms ----

    // ---- The M-profile vector extension (armtextprinter_mve*.cpp) ----
    void emitMveData(const MveOperation& op) override;
    void emitMvePredicate(int mask, const MveOperation* compare) override;
    void emitMveLoadStore(bool load, int memoryBits, const char* kind, int elementBits, int qd, int base,
                          int offsetVector, int shift, int32_t offset, bool index, bool writeback) override;
    void emitMveInterleave(bool load, int pattern, int stage, int size, int qd, int rn, bool writeback) override;
    void emitMveLanePair(bool toVector, int qd, bool upper, int rt, int rt2) override;
    // The mnemonic with its type suffixes, through mnemonic() (predication letters).
    void mveMnemonic(const char* name, const char* kind, int bits, const char* fromKind = "", int fromBits = 0);
    // A q register, a core register or "zr".
    void mveOperand(int r);
    // ---- end of the M-profile vector extension ----

    // 32-bit Thumb data processing, multiplies and the shared A32 media forms.
    void emitThumbDataImmediate(int op, bool setFlags, int rd, int rn, uint32_t value) override;
    void emitThumbWideAddSubtract(bool subtract, int rd, int rn, uint32_t imm12) override;
    void emitThumbDataRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int imm5) override;
    void emitLongShift(int op, int rdaLo, int rdaHi, int rm, int amount) override;
    void emitConditionalSelect(int op, int rd, int rn, int rm, int cond) override;
    void emitShiftRegister(int type, bool setFlags, int rd, int rn, int rm) override;
    void emitSaturatingArithmetic(int op, int rd, int rm, int rn) override;
    void emitParallelArithmetic(int prefix, int op, int rd, int rn, int rm) override;
    void emitCrc32(bool castagnoli, int size, int rd, int rn, int rm) override;
    void emitHalfwordMultiply(int op, bool nTop, bool mTop, int rd, int rn, int rm, int ra) override;
    void emitMediaMultiply(int op, bool variant, int rd, int rn, int rm, int ra) override;
    void emitPack(bool top, int rd, int rn, int rm, int imm5) override;
    void emitSaturate16(bool isUnsigned, int rd, int saturateTo, int rn) override;
    void emitSelectBytes(int rd, int rn, int rm) override;
    void emitReverseBits(int rd, int rm) override;
    void emitPointerAuthentication(int op, int rd, int rn, int rm) override;

    // ---- hooks for the subclasses ----
    // The target of a branch; by default "0x" and at least eight hex digits.
    virtual void printBranchTarget(uint32_t target);
    // A comment naming the value loaded from `address`; true when something was printed.
    virtual bool printLiteralAddress(uint32_t address, int size);
    // PC-relative loads in their bracket form "[pc, #imm]".
    virtual bool usePcRelativeForm() { return true; }
    // Option bits 1, 2 and 3 of the subclass's option word.
    virtual bool option1() { return false; }
    virtual bool option2() { return false; }
    virtual bool option3() { return false; }

public:
    // ---- output helpers (public so tests can pin the formatting rules) ----
    void put(char c)
    {
        if (space > 1) {
            *cursor++ = c;
            --space;
        }
    }
    void put(const char* s)
    {
        while (*s)
            put(*s++);
    }
    void put(std::string_view s)
    {
        for (char c : s)
            put(c);
    }
    // Hexadecimal in whole bytes (an odd digit count gains a leading 0), upper case,
    // "0x" when prefixed, zero-padded to minDigits.
    void hex(uint32_t value, int minDigits, bool prefix);
    // "#" then decimal up to 32, hex above; negative values as "#-" + magnitude.
    void immediate(int64_t value);
    // Decimal digits of a number.
    void decimal(uint64_t value);
    // An immediate's number without its "#": decimal up to 32, hex above.
    void immediateNumber(uint32_t value)
    {
        if (value <= 32)
            decimal(value);
        else
            hex(value, 0, true);
    }
    // Starts writing into a caller's buffer without decoding (for the tests).
    void attach(char* text, int32_t size)
    {
        cursor = text;
        space = size;
    }
    void finish()
    {
        if (space > 0)
            *cursor = '\0';
    }

protected:
    void mnemonic(const char* name);
    // ---- shared by the floating-point and vector printers ----
    // "s3", "d17", "q2" of a VReg value.
    void vectorRegister(int r);
    void vectorRegisters(int a, int b);
    // A register and its lane, "d2[1]"; index -1 for the register alone.
    void vectorLane(int r, int index);
    // The registers first to first + count - 1: "d0-d3", or "d0" for one.
    void vectorRange(int first, int count);
    // A data-type suffix: "." then the kind ("i", "s", "u", "f", "p", "bf", or "" for a
    // plain size) and the element size in bits: ".s16", ".bf16", ".32".
    void typeSuffix(const char* kind, int bits);
    // "#" and the value of an 8-bit floating-point immediate, always six decimals.
    void floatImmediate(int imm8);
    // One instruction of an IT block has been printed: move to the next condition.
    void advanceItState();
    // The "t" or "e" of the next instruction of an MVE predication block, which it uses up.
    char takePredicationLetter();
    void reg(int r);
    void separator() { put(", "); }
    void registerList(uint32_t registers);
    void coprocessorRegister(int n);
    // " rd, rn, " of a 32-bit Thumb data operation, up to its last operand.
    void thumbDataOperands(bool compare, bool move, int rd, int rn);
    // "<name> p<coproc>, <opc1>, " of the coprocessor forms.
    void coprocessorHead(const char* name, int coproc, int opc1);
    // "#n" for an unsigned magnitude, "#-n" when subtracted (so "#-0" stays visible).
    void signedOffset(bool add, uint32_t magnitude);
    // The mnemonic and destination of an A32 data-processing form, with the
    // operands before the second one.
    void dataPrefix(int op, bool setFlags, int rd, int rn);
    // ", <shift> #n" after a register operand (nothing for LSL #0).
    void shiftByImmediate(int type, int imm5);
    void wordByteMnemonic(bool load, bool byte, bool unprivileged);
    // The 16-bit Thumb load/store names by T16::LoadStoreOp.
    static const char* thumbLoadStoreName(int op);
    // The flag-setting spelling outside IT blocks, the plain one inside.
    const char* setFlags(const char* flagSetting, const char* plain) { return inItBlock() ? plain : flagSetting; }
    // True while printing a 32-bit Thumb instruction (its second half is being decoded).
    bool wideThumb() const { return !isArm && address != instructionStart; }
    // Register operands separated by ", ".
    void registers(int a, int b);
    void registers(int a, int b, int c);
    void registers(int a, int b, int c, int d);
    // Address of the current instruction (the first half of a 32-bit Thumb instruction).
    uint32_t instructionAddress() const;
};
