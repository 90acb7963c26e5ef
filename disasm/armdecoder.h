#pragma once
#include <cstdint>

// Field helpers shared by every encoding family: written once so that each decoder
// reads its fields the way the architecture manual draws them.
namespace ArmBits {
// Bits hi..lo of an instruction word, shifted down.
constexpr uint32_t bits(uint32_t insn, unsigned hi, unsigned lo)
{
    return (insn >> lo) & ((hi - lo >= 31) ? 0xFFFFFFFFu : ((1u << (hi - lo + 1)) - 1));
}
constexpr uint32_t bit(uint32_t insn, unsigned n) { return (insn >> n) & 1; }
// Sign-extends the low `width` bits of value.
constexpr int32_t signExtend(uint32_t value, unsigned width)
{
    const uint32_t m = 1u << (width - 1);
    value &= (width >= 32) ? 0xFFFFFFFFu : ((1u << width) - 1);
    return int32_t((value ^ m) - m);
}
// The A32 modified immediate: imm8 rotated right by twice bits 11..8.
constexpr uint32_t expandImmediate(uint32_t imm12)
{
    const uint32_t imm8 = imm12 & 0xFF;
    const unsigned rotation = ((imm12 >> 8) & 15) * 2;
    return rotation ? (imm8 >> rotation) | (imm8 << (32 - rotation)) : imm8;
}
// True when imm12 uses the smallest rotation that holds its value, the one the
// assembler picks for "#value".
constexpr bool smallestRotation(uint32_t imm12)
{
    const uint32_t value = expandImmediate(imm12);
    unsigned smallest = 0;
    while (smallest < 32 && ((value << smallest) | (smallest ? value >> (32 - smallest) : 0)) > 0xFF)
        smallest += 2;
    return smallest == ((imm12 >> 8) & 15) * 2;
}
// The Advanced SIMD and MVE modified immediate (op, cmode, imm8) as the 64-bit value
// it stands for. cmode 1111 with op set has no value (0 is returned); inverting the
// value for VMVN and VBIC is the instruction's business, not the expansion's.
constexpr uint64_t expandSimdImmediate(uint32_t op, uint32_t cmode, uint32_t imm8)
{
    imm8 &= 0xFF;
    uint64_t element = 0;
    switch (cmode >> 1) {
    case 0:
    case 1:
    case 2:
    case 3: // a byte in one of the four places of a word
        element = uint64_t(imm8) << (8 * (cmode >> 1));
        return element | element << 32;
    case 4:
    case 5: { // a byte in one of the two places of a halfword
        element = uint64_t(imm8) << (8 * ((cmode >> 1) & 1));
        return element * 0x0001000100010001ull;
    }
    case 6: // ones shifted in below the byte
        element = (cmode & 1) ? (uint64_t(imm8) << 16 | 0xFFFF) : (uint64_t(imm8) << 8 | 0xFF);
        return element | element << 32;
    default:
        break;
    }
    if (!(cmode & 1)) {
        if (!op)
            return imm8 * 0x0101010101010101ull;
        // Each bit of imm8 stands for a whole byte.
        uint64_t value = 0;
        for (unsigned i = 0; i < 8; ++i)
            if ((imm8 >> i) & 1)
                value |= 0xFFull << (8 * i);
        return value;
    }
    if (op)
        return 0;
    // A single-precision value: a:NOT(b):bbbbb:cdefgh and nineteen zeros.
    const uint32_t a = imm8 >> 7 & 1, b = imm8 >> 6 & 1;
    const uint32_t single = a << 31 | (b ^ 1) << 30 | (b ? 0x1Fu : 0u) << 25 | (imm8 & 0x3F) << 19;
    return uint64_t(single) << 32 | single;
}
} // namespace ArmBits

// Architecture levels as ARMDisassembler derives them from the -arch text; 0 accepts
// every encoding.
namespace ArmLevel {
enum : uint32_t {
    Any = 0,
    V4T = 1,
    V5TE = 2,
    V6 = 3,
    V6T2 = 4,
    V6M = 5,
    V7M = 6,
    V7EM = 7,
    V7R = 8,
    V7A = 9,
    V8A = 10,
    V8R = 11,
    V8MBaseline = 12,
    V8MMainline = 13,
    V81MMainline = 14,
};
}

// Operation codes handed to the emit operations. The decoders pick them from the
// encoding groups; the printer turns them into mnemonics.
namespace T16 {
// Shift by immediate (bits 12..11): lsls, lsrs, asrs.
enum ShiftOp { Lsl = 0, Lsr = 1, Asr = 2 };
// Immediate 8-bit group (bits 12..11): movs, cmp, adds, subs.
enum Imm8Op { Mov = 0, Cmp = 1, Add = 2, Sub = 3 };
// Special data group (bits 9..8): add, cmp, mov.
enum SpecialOp { SpAdd = 0, SpCmp = 1, SpMov = 2 };
// Loads and stores (register offset: bits 11..9; immediate forms mapped on the same codes).
enum LoadStoreOp { Str = 0, Strh = 1, Strb = 2, Ldrsb = 3, Ldr = 4, Ldrh = 5, Ldrb = 6, Ldrsh = 7 };
// Extend group (bits 7..6).
enum ExtendOp { Sxth = 0, Sxtb = 1, Uxth = 2, Uxtb = 3 };
// Byte reverse group (bits 7..6); 2 is the reserved pattern.
enum ReverseOp { Rev = 0, Rev16 = 1, RevReserved = 2, Revsh = 3 };
enum ListOp { Push = 0, Pop = 1, Stm = 2, Ldm = 3 };
enum ImmOnlyOp { Bkpt = 0, Svc = 1, Udf = 2 };
// Hints in the order of their opA field.
enum HintOp { Nop = 0, Yield = 1, Wfe = 2, Wfi = 3, Sev = 4, OtherHint = 5 };
} // namespace T16

namespace A32 {
// Data-processing opcode (bits 24..21).
enum DataOp { And = 0, Eor, Sub, Rsb, Add, Adc, Sbc, Rsc, Tst, Teq, Cmp, Cmn, Orr, Mov, Bic, Mvn };
// Shift type (bits 6..5).
enum ShiftType { Lsl = 0, Lsr = 1, Asr = 2, Ror = 3 };
// Multiply opcode (bits 23..21).
enum MultiplyOp { Mul = 0, Mla, Umaal, Mls, Umull, Umlal, Smull, Smlal };
// Extra loads and stores: bits 6..5 with L (bit 20) as bit 0 of the code.
enum ExtraOp { Strh = 2, Ldrh = 3, Ldrd = 4, Ldrsb = 5, Strd = 6, Ldrsh = 7 };
// Block transfer addressing (P:U, bits 24..23).
enum BlockMode { Da = 0, Ia = 1, Db = 2, Ib = 3 };
// Bit-field group (bits 22..21).
enum BitFieldOp { Sbfx = 1, Bfi = 2, Ubfx = 3, Bfc = 4 };
// Barriers (bits 7..4 less 4).
enum BarrierOp { Dsb = 0, Dmb = 1, Isb = 2 };
// Exclusive transfers (bits 22..21).
enum ExclusiveOp { Word = 0, Doubleword = 1, Byte = 2, Halfword = 3 };
} // namespace A32

// Floating-point and vector registers as the decoders hand them on: the kind above
// the number, so one int says "s3" or "d17".
namespace VReg {
enum Kind { S = 1, D = 2, Q = 3 };
constexpr int make(int kind, uint32_t number) { return kind << 8 | int(number); }
constexpr int kind(int r) { return r >> 8; }
constexpr int number(int r) { return r & 0xFF; }
} // namespace VReg

namespace Vfp {
// Element type of a floating-point form: bits 9..8 of its encoding.
enum Size { Half = 1, Single = 2, Double = 3 };
// The unconditional ARMv8 forms.
enum V8Op { Vsel, Vmaxnm, Vminnm, Vrinta, Vrintn, Vrintp, Vrintm, Vcvta, Vcvtn, Vcvtp, Vcvtm, Vmovx, Vins };
// What a level's floating-point unit has, in the order the architecture added it.
enum Feature {
    Vfpv2,     // VFPv2: the single and double forms, VLDM/VSTM, VMRS/VMSR, the 32-bit lanes
    Vfpv3,     // VFPv3/v4: VMOV immediate, fixed-point VCVT, the fused multiply-adds
    D32,       // d16 to d31
    Simd,      // the 8- and 16-bit lanes and VDUP, moves of the Advanced SIMD unit
    Armv8,     // VSEL, VMAXNM, VRINT, VCVTA.., conversions between double and half, MVFR2
    HalfPrecision, // ARMv8.2 half precision: coprocessor 9, VINS, VMOVX
    Javascript, // VJCVT
    BFloat16,  // VCVTB/VCVTT.bf16.f32
    LazyState, // ARMv8-M VLLDM, VLSTM
    Mainline81, // ARMv8.1-M: VSCCLRM, the new system registers and their loads and stores
};
} // namespace Vfp

namespace T32 {
// Forms printed by name alone.
enum Plain { Sg = 0, Clrex, Lctp, Ssbb, Pssbb, Sb, Eret };
enum CallOp { Smc = 0, Hvc = 1, Udf = 2, Hlt = 3 };
enum PreloadKind { Pld = 0, Pldw = 1, Pli = 2 };
enum LoopOp { Wls = 0, Dls, Le, LeNoLr, Letp, Wlstp, Dlstp, Vctp };
enum FutureOp { Bf = 0, Bfl, Bfx, Bflx, Bfcsel };
} // namespace T32

// Decodes A32 and T32 instructions into calls of one emit operation per form. It holds
// the state that lasts between instructions (the IT block) and the output cursor that
// the printing subclass appends to; it prints nothing itself.
class ARMInstructionSetDecoder {
public:
    virtual ~ARMInstructionSetDecoder() = default;

    // Decodes one instruction (a T32 halfword, the second half of a 32-bit one when a
    // prefix is pending, or an A32 word) and writes its text at `text`, at most `size`
    // bytes including the terminating NUL. Returns true when the halfword was the first
    // half of a 32-bit Thumb instruction whose second half must come next.
    bool decode(bool isArm, uint32_t address, uint32_t instruction, char* text, int32_t size);

    void setArchitecture(uint32_t level) { architecture = level; }
    // A new stretch of code (a section, a mapping symbol) starts outside any IT block.
    void resetState()
    {
        pendingPrefix = false;
        itState = 0;
        predicationCount = 0;
    }
    uint32_t itStateValue() const { return itState; }
    // True when the text of the instruction just decoded is not one the assembler
    // turns back into its bytes (an undefined or reserved encoding, a register list
    // the instruction cannot have, an immediate six decimals cannot hold, a form the
    // assembler mis-encodes): a listing shows it, an assembler source keeps the bytes.
    bool textLosesBytes() const { return losesBytes; }

protected:
    // ---- emit operations: one per instruction form, fields as extracted ----
    virtual void emitUndefined() = 0;
    virtual void emitShiftImmediate(int op, int rd, int rm, int imm5) = 0;
    virtual void emitAddSubtract(bool subtract, bool immediate, int rd, int rn, int rmOrImm3) = 0;
    virtual void emitImmediate8(int op, int rdn, int imm8) = 0;
    virtual void emitDataProcessing(int op, int rdn, int rm) = 0;
    virtual void emitSpecialData(int op, int rdn, int rm) = 0;
    virtual void emitBranchExchange(bool link, bool nonSecure, int rm) = 0;
    virtual void emitLiteralLoad(int rt, uint32_t offset, bool add) = 0;
    virtual void emitLoadStoreRegister(int op, int rt, int rn, int rm) = 0;
    virtual void emitLoadStoreImmediate(int op, int rt, int rn, uint32_t offset) = 0;
    virtual void emitAddressOf(bool fromSp, int rd, uint32_t offset) = 0;
    virtual void emitAdjustSp(bool subtract, uint32_t offset) = 0;
    virtual void emitExtend(int op, int rd, int rm) = 0;
    virtual void emitReverse(int op, int rd, int rm) = 0;
    virtual void emitRegisterList(int op, int rn, uint32_t registers, bool writeback) = 0;
    virtual void emitImmediateOnly(int op, uint32_t imm) = 0;
    virtual void emitSetEndian(bool bigEndian) = 0;
    virtual void emitChangeState(bool disable, int flags) = 0;
    virtual void emitCompareBranch(bool nonZero, int rn, uint32_t target) = 0;
    virtual void emitIfThen(int firstCondition, int mask) = 0;
    virtual void emitHint(int op, int value) = 0;
    virtual void emitBranch(uint32_t target) = 0;
    virtual void emitBranchLink(bool exchange, uint32_t target) = 0;
    // A32 forms.
    virtual void emitBranchJazelle(int rm) = 0;
    virtual void emitDataImmediate(int op, bool setFlags, int rd, int rn, uint32_t imm12) = 0;
    virtual void emitDataRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int imm5) = 0;
    virtual void emitDataShiftedRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int rs) = 0;
    virtual void emitMultiply(int op, bool setFlags, int rd, int rn, int rm, int ra) = 0;
    virtual void emitWordByteImmediate(bool load, bool byte, int rt, int rn, uint32_t imm12, bool index, bool add,
                                       bool writeback) = 0;
    virtual void emitWordByteRegister(bool load, bool byte, int rt, int rn, int rm, int type, int imm5, bool index,
                                      bool add, bool writeback) = 0;
    virtual void emitCountLeadingZeros(int rd, int rm) = 0;
    virtual void emitExtraLoadStore(int op, int rt, int rn, bool immediate, uint32_t imm8OrRm, bool index, bool add,
                                    bool writeback) = 0;
    virtual void emitBlockTransfer(bool load, int mode, int rn, uint32_t registers, bool writeback) = 0;
    virtual void emitMoveWide(bool top, int rd, uint32_t imm16) = 0;
    // op: bits 22..20 of the extend group; rn 15 when nothing is added.
    virtual void emitExtendRotate(int op, int rd, int rn, int rm, int rotation) = 0;
    virtual void emitBitField(int op, int rd, int rn, int lsb, int width) = 0;
    virtual void emitSaturate(bool isUnsigned, int rd, int saturateTo, int rn, bool arithmeticShift, int imm5) = 0;
    virtual void emitBarrier(int op, int option) = 0;
    virtual void emitExclusive(bool load, int op, int rd, int rt, int rn) = 0;
    virtual void emitSwap(bool byte, int rt, int rt2, int rn) = 0;
    virtual void emitStatusRead(bool saved, int rd) = 0;
    virtual void emitStatusWrite(bool saved, int mask, int rn) = 0;
    virtual void emitStatusWriteImmediate(bool saved, int mask, uint32_t imm12) = 0;
    virtual void emitPreload(int rn, uint32_t imm12, bool add) = 0;
    // Generic coprocessor forms, A32 and 32-bit Thumb ("two": the cdp2/mcr2/ldc2... encodings).
    virtual void emitCoprocessorData(bool two, int coproc, int opc1, int crd, int crn, int crm, int opc2) = 0;
    virtual void emitCoprocessorRegister(bool two, bool load, int coproc, int opc1, int rt, int crn, int crm,
                                         int opc2) = 0;
    virtual void emitCoprocessorRegisterPair(bool two, bool load, int coproc, int opc1, int rt, int rt2, int crm) = 0;
    virtual void emitCoprocessorLoadStore(bool two, bool load, bool longForm, int coproc, int crd, int rn,
                                          uint32_t imm8, bool index, bool add, bool writeback) = 0;
    // 32-bit Thumb data-processing, multiply and shared A32 media forms (thumb32data.cpp).
    // Operation codes of these forms.
    // Data processing: bits 8..5 of the first halfword. A compare has rd 15, a move rn 15.
    enum ThumbDataOp { TAnd = 0, TBic = 1, TOrr = 2, TOrn = 3, TEor = 4, TAdd = 8, TAdc = 10, TSbc = 11, TSub = 13,
                       TRsb = 14 };
    // M-profile long shifts; the register forms of the saturating rounding shifts carry
    // their saturation bit count (48 or 64) in `amount`.
    enum LongShiftOp { Lsll, Lsrl, Asrl, Uqshll, Urshrl, Srshrl, Sqshll, Uqshl, Urshr, Srshr, Sqshl, Uqrshll, Sqrshrl,
                       Uqrshl, Sqrshr };
    // Halfword multiplies.
    enum HalfwordMultiplyOp { Smla, Smul, Smlaw, Smulw, Smlal };
    // Dual, most-significant-word, sum-of-differences multiplies and the divides.
    enum MediaMultiplyOp { Smlad, Smuad, Smlsd, Smusd, Smlald, Smlsld, Smmla, Smmul, Smmls, Usada8, Usad8, Sdiv, Udiv };
    enum PointerAuthOp { Pacg, Autg, Bxaut };
    // T32 data processing with a modified immediate, already expanded.
    virtual void emitThumbDataImmediate(int op, bool setFlags, int rd, int rn, uint32_t value) = 0;
    // ADDW/SUBW with a plain 12-bit immediate (rn 15: from the PC).
    virtual void emitThumbWideAddSubtract(bool subtract, int rd, int rn, uint32_t imm12) = 0;
    // T32 data processing with a register shifted by an immediate.
    virtual void emitThumbDataRegister(int op, bool setFlags, int rd, int rn, int rm, int type, int imm5) = 0;
    // rdaHi -1 for the 32-bit forms; rm -1 for the immediate forms.
    virtual void emitLongShift(int op, int rdaLo, int rdaHi, int rm, int amount) = 0;
    // op: bits 14..12 of the second halfword (csel, csinc, csinv, csneg).
    virtual void emitConditionalSelect(int op, int rd, int rn, int rm, int cond) = 0;
    // T32 shift by a register (type as A32::ShiftType).
    virtual void emitShiftRegister(int type, bool setFlags, int rd, int rn, int rm) = 0;
    // qadd, qsub, qdadd, qdsub (A32 bits 22..21 order: qadd, qsub, qdadd, qdsub).
    virtual void emitSaturatingArithmetic(int op, int rd, int rm, int rn) = 0;
    // prefix: s, q, sh, u, uq, uh; op: add8, add16, asx, -, sub8, sub16, sax (T32 bits 22..20).
    virtual void emitParallelArithmetic(int prefix, int op, int rd, int rn, int rm) = 0;
    // size: 0 byte, 1 halfword, 2 word.
    virtual void emitCrc32(bool castagnoli, int size, int rd, int rn, int rm) = 0;
    // Smlal: rd is RdLo and ra RdHi.
    virtual void emitHalfwordMultiply(int op, bool nTop, bool mTop, int rd, int rn, int rm, int ra) = 0;
    // variant: the "x" (exchange) or "r" (round) form; Smlald/Smlsld: rd is RdLo and ra RdHi.
    virtual void emitMediaMultiply(int op, bool variant, int rd, int rn, int rm, int ra) = 0;
    virtual void emitPack(bool top, int rd, int rn, int rm, int imm5) = 0;
    virtual void emitSaturate16(bool isUnsigned, int rd, int saturateTo, int rn) = 0;
    virtual void emitSelectBytes(int rd, int rn, int rm) = 0;
    virtual void emitReverseBits(int rd, int rm) = 0;
    virtual void emitPointerAuthentication(int op, int rd, int rn, int rm) = 0;
    // 32-bit Thumb loads, stores, branches and control forms (thumb32loadstore.cpp,
    // thumb32control.cpp).
    // Single loads and stores: op is a T16::LoadStoreOp code; rn 15 is the literal form.
    virtual void emitLoadStoreWide(int op, int rt, int rn, uint32_t imm, bool index, bool add, bool writeback,
                                   bool unprivileged) = 0;
    virtual void emitLoadStoreWideRegister(int op, int rt, int rn, int rm, int shift) = 0;
    // PLD, PLDW, PLI (A32 and T32): an immediate offset, or a register with an A32-style shift.
    virtual void emitPreloadHint(int kind, int rn, bool registerForm, uint32_t immOrRm, bool add, int type,
                                 int imm5) = 0;
    virtual void emitLoadStoreDual(bool load, int rt, int rt2, int rn, uint32_t imm, bool index, bool add,
                                   bool writeback) = 0;
    // Exclusive and acquire/release: op is the manual's op3 field (bits 7..4), or -1 for
    // the word forms with an offset; rd, rt2 only where the form has them.
    virtual void emitExclusiveWide(bool load, int op, int rd, int rt, int rt2, int rn, uint32_t imm) = 0;
    virtual void emitTableBranch(bool half, int rn, int rm) = 0;
    virtual void emitTestTarget(int op, int rd, int rn) = 0;
    virtual void emitLoadStoreMultipleWide(bool load, bool decrementBefore, int rn, uint32_t registers,
                                           bool writeback) = 0;
    virtual void emitClearRegisters(uint32_t registers) = 0;
    // RFE and SRS (A32 and T32); mode is an A32::BlockMode.
    virtual void emitReturnFromException(int mode, int rn, bool writeback) = 0;
    virtual void emitStoreReturnState(int mode, bool writeback, int processorMode) = 0;
    // Forms without operands, named by T32::Plain.
    virtual void emitPlain(int op) = 0;
    virtual void emitBranchWide(uint32_t target) = 0;
    // The hint space of MSR-immediate/T32 hints, by its 8-bit number.
    virtual void emitHintNumber(int hint) = 0;
    // CPS: imod 2 enables, 3 disables, 0 only changes mode; mode -1 when none.
    virtual void emitChangeProcessorState(int imod, int flags, int mode) = 0;
    // SMC, HVC and the 32-bit UDF (T32::CallOp).
    virtual void emitExceptionCall(int op, uint32_t imm) = 0;
    virtual void emitExceptionReturn(uint32_t imm) = 0;
    // M-profile special registers by SYSm; mask is the MSR mask field (bits 11..10).
    virtual void emitSpecialRegisterRead(int rd, int sysm) = 0;
    virtual void emitSpecialRegisterWrite(int mask, int sysm, int rn) = 0;
    // A/R-profile banked registers: sysm is M:M1 (5 bits), saved the R bit.
    virtual void emitBankedRegister(bool write, bool saved, int sysm, int r) = 0;
    // Low-overhead loops (T32::LoopOp), size the element size code.
    virtual void emitLoop(int op, int size, int rn, uint32_t target) = 0;
    // Branch future (T32::FutureOp): branch point and target; condition or register.
    virtual void emitBranchFuture(int op, uint32_t branchPoint, uint32_t target, int conditionOrRm,
                                  uint32_t elseTarget) = 0;
    // A32 LDRHT, STRHT, LDRSBT, LDRSHT: op an A32::ExtraOp, post-indexed.
    virtual void emitExtraUnprivileged(int op, int rt, int rn, bool immediate, uint32_t imm8OrRm, bool add) = 0;
    // A32 LDM/STM with "^": the user registers, or an exception return when the PC is loaded;
    // mode is an A32::BlockMode.
    virtual void emitBlockTransferUser(bool load, int mode, int rn, uint32_t registers, bool writeback) = 0;
    // 32-bit Thumb PLD, PLDW, PLI with the index and writeback bits of the 8-bit offset form
    // (unpredictable, but the assembler writes these texts to these bytes).
    virtual void emitPreloadIndexed(int kind, int rn, uint32_t imm8, bool index, bool add, bool writeback) = 0;

    // ==== Floating-point and vector forms: registers are VReg values ====

    // ---- Advanced SIMD data processing and the cryptographic forms (neon*.cpp) ----
public:
    // Operation and type codes of these forms (public for the decoders' tables).
    struct Neon {
        // Data types of the suffix: None prints nothing, Plain only the size (".8").
        enum Type { None, Plain, I, S, U, F, P, Bf };
        // The operations, one per mnemonic.
        enum Op {
            // Three registers of the same length.
            Vhadd, Vqadd, Vrhadd, Vand, Vbic, Vorr, Vorn, Veor, Vbsl, Vbit, Vbif, Vhsub, Vqsub, Vcgt, Vcge, Vshl,
            Vqshl, Vrshl, Vqrshl, Vmax, Vmin, Vabd, Vaba, Vadd, Vsub, Vtst, Vceq, Vmla, Vmls, Vmul, Vpmax, Vpmin,
            Vqdmulh, Vqrdmulh, Vpadd, Vqrdmlah, Vqrdmlsh, Vfma, Vfms, Vacge, Vacgt, Vrecps, Vrsqrts, Vmaxnm,
            Vminnm, Sha1c, Sha1p, Sha1m, Sha1su0, Sha256h, Sha256h2, Sha256su1,
            // Three registers of different lengths, and the long forms by a scalar.
            Vaddl, Vaddw, Vsubl, Vsubw, Vaddhn, Vraddhn, Vsubhn, Vrsubhn, Vabal, Vabdl, Vmlal, Vmlsl, Vqdmlal,
            Vqdmlsl, Vmull, Vqdmull,
            // Shifts by an immediate.
            Vshr, Vsra, Vrshr, Vrsra, Vsri, Vsli, Vqshlu, Vshrn, Vrshrn, Vqshrun, Vqrshrun, Vqshrn, Vqrshrn,
            Vshll, Vmovl,
            // Two registers, miscellaneous (VCVT* go to the conversion form).
            Vrev64, Vrev32, Vrev16, Vpaddl, Vpadal, Vcls, Vclz, Vcnt, Vmvn, Vqabs, Vqneg, Vcle, Vclt, Vabs, Vneg,
            Vswp, Vtrn, Vuzp, Vzip, Vmovn, Vqmovun, Vqmovn, Vrintn, Vrintx, Vrinta, Vrintz, Vrintm, Vrintp,
            Vrecpe, Vrsqrte, Aese, Aesd, Aesmc, Aesimc, Sha1h, Sha1su1, Sha256su0,
            // Conversions.
            Vcvt, Vcvta, Vcvtn, Vcvtp, Vcvtm,
            // One register and a modified immediate (Vorr and Vbic above).
            Vmov,
            OpCount
        };
    };

protected:
    // The register forms of the three-register groups, with the registers in the
    // order of their fields (d, n, m); the SHA forms of the same space.
    virtual void emitNeonThreeRegister(int op, int type, int esize, int vd, int vn, int vm) = 0;
    // By a scalar: dm[index].
    virtual void emitNeonScalar(int op, int type, int esize, int vd, int vn, int dm, int index) = 0;
    // Shifts by an immediate, and VSHLL by the element size; amount as written.
    virtual void emitNeonShift(int op, int type, int esize, int vd, int vm, int amount) = 0;
    // The two-register miscellaneous forms; the compares against zero print ", #0".
    virtual void emitNeonTwoRegister(int op, int type, int esize, int vd, int vm) = 0;
    // VCVT and VCVTA..VCVTM: destination type and size first; fbits 0 for none.
    virtual void emitNeonConvert(int op, int toType, int toSize, int fromType, int fromSize, int vd, int vm,
                                 int fbits) = 0;
    // VMOV, VMVN, VORR and VBIC with a modified immediate: value is the element
    // (the whole 64 bits for .i64), imm8 the floating-point immediate's encoding.
    virtual void emitNeonImmediate(int op, int type, int esize, int vd, uint64_t value, int imm8) = 0;
    virtual void emitNeonExtract(int vd, int vn, int vm, int imm) = 0;
    // VTBL/VTBX with the list dn..dn+length-1.
    virtual void emitNeonTable(bool extension, int vd, int dn, int length, int dm) = 0;
    virtual void emitNeonDuplicateScalar(int esize, int vd, int dm, int index) = 0;
    // ---- end of Advanced SIMD data processing ----

    // ---- Advanced SIMD element and structure loads and stores (neonloadstore.cpp) ----
    // How the elements map onto the registers: whole structures (VLDn/VSTn multiple),
    // one structure copied to every lane ("d0[]"), or one structure in one lane ("d0[1]").
    struct NeonStructure {
        enum Kind { Multiple, AllLanes, OneLane };
    };
    // VLD1..VLD4 and VST1..VST4: `structures` the n of the mnemonic, `esize` the element
    // size in bits, the registers `first`, first + spacing, ... (`count` of them, D numbers),
    // `index` the lane of OneLane, `alignment` in bits (0: none), `rm` 15 for no
    // writeback, 13 for "!", else the post-index register.
    virtual void emitNeonLoadStore(bool load, int kind, int structures, int esize, int first, int count,
                                   int spacing, int index, int alignment, int rn, int rm) = 0;
    // ---- end of Advanced SIMD loads and stores ----

    // ---- The ARMv8 complex-number, dot-product, matrix and BFloat16 forms (vectorcomplex.cpp) ----
    struct VectorProduct {
        enum Op { Vfmal, Vfmsl, Vfmab, Vfmat, Vdot, Vsdot, Vudot, Vusdot, Vsudot, Vmmla, Vsmmla, Vummla, Vusmmla };
    };
    // VCMLA (add false) and VCADD (add true): esize 16 or 32, rotation in degrees; vm a
    // scalar's D register with `index` its lane, or index -1 for the vector form.
    virtual void emitVectorComplex(bool add, int esize, int vd, int vn, int vm, int index, int rotation) = 0;
    // The widening multiply-accumulates, dot products and matrix multiplies
    // (VectorProduct::Op); index -1 for the vector form, else vm's lane.
    virtual void emitVectorProduct(int op, int vd, int vn, int vm, int index) = 0;
    // ---- end of the ARMv8 vector forms ----

    // ---- Floating-point forms (vfp*.cpp); size is a Vfp::Size ----
    // VLDR/VSTR; offset in bytes.
    virtual void emitVfpLoadStore(bool load, int size, int vd, int rn, uint32_t offset, bool add) = 0;
    // VLDM/VSTM/VPUSH/VPOP; mode A32::Ia or A32::Db; legacy: the FLDMX/FSTMX forms (odd
    // offset); valid false when the list is one the instruction cannot have.
    virtual void emitVfpMultiple(bool load, int mode, bool legacy, int rn, bool writeback, int first, int count,
                                 bool valid) = 0;
    // VSCCLRM: the registers from `first` and the VPR.
    virtual void emitVfpClearRegisters(int first, int count, bool valid) = 0;
    // op: o1:o2:o3 (bits 23, 21..20 and 6) of the three-register group.
    virtual void emitVfpThreeRegister(int op, int size, int vd, int vn, int vm) = 0;
    // op: opc2:o3 (bits 19..16 and 7) of the two-register group; fbits of the fixed-point
    // conversions.
    virtual void emitVfpTwoRegister(int op, int size, int vd, int vm, int fbits) = 0;
    virtual void emitVfpImmediate(int size, int vd, int imm8) = 0;
    // op a Vfp::V8Op; cc the VSEL condition (bits 21..20), or 1 for the signed VCVTA..VCVTM.
    virtual void emitVfpV8(int op, int size, int vd, int vn, int vm, int cc) = 0;
    // VMOV between a core register and a single register (size Half: the .f16 form).
    virtual void emitVfpCoreSingle(bool toCore, int size, int sn, int rt) = 0;
    // VMOV of a doubleword lane; esize 8, 16 or 32.
    virtual void emitVfpLane(bool toCore, int esize, bool isUnsigned, int dn, int index, int rt) = 0;
    virtual void emitVfpDuplicate(int esize, int vd, int rt) = 0;
    // VMRS/VMSR of system register `reg` (bits 19..16).
    virtual void emitVfpSystemRegister(bool read, int reg, int rt) = 0;
    // VMOV between two core registers and two singles (vm the first) or a double.
    virtual void emitVfpCorePair(bool toCore, int vm, int rt, int rt2) = 0;
    // VLLDM/VLSTM: the lazy floating-point state of the M profile, at [rn].
    virtual void emitVfpLazyState(bool load, int rn) = 0;
    // VLDR/VSTR of system register `reg` (VMRS numbering), offset in bytes.
    virtual void emitVfpSystemLoadStore(bool load, int reg, int rn, uint32_t offset, bool index, bool add,
                                        bool writeback) = 0;

    // ---- end of the floating-point forms ----

    // ---- The M-profile vector extension (mve*.cpp) ----
public:
    // Operands of MVE forms are VReg values (q registers) or core register numbers;
    // kMveZeroRegister is the "zr" of the compares with a scalar.
    static constexpr int kMveZeroRegister = 16;
    // What follows the register operands of a data-processing form.
    enum MveTail : uint8_t {
        MveNoTail,        // registers only
        MveImmediateTail, // ", #n" (shift counts, rotations, increments)
        MveModifiedTail,  // ", #value" of the modified immediate (64 bits for .i64)
        MveFloatTail,     // ", #" and the 8-bit floating-point immediate
        MveRotationTail,  // ", #0" to ", #270", in degrees
    };
    // One MVE data-processing instruction as decoded: the mnemonic, the element type
    // (kind "s", "u", "i", "f", "p" or "" for a plain size, and its bits; a
    // conversion's source type in the second pair, 0 bits for none), the condition
    // of a compare (-1 for none), the operands in printing order (count of them)
    // and the immediate of the tail.
    struct MveOperation {
        const char* name = nullptr;
        const char* kind = "";
        int bits = 0;
        const char* fromKind = "";
        int fromBits = 0;
        int condition = -1;
        int count = 0;
        int operands[4] = {};
        uint8_t tail = MveNoTail;
        uint64_t immediate = 0;
    };

protected:
    virtual void emitMveData(const MveOperation& op) = 0;
    // VPT (compare set) and VPST (compare null); mask as the encoding's M3..M0.
    virtual void emitMvePredicate(int mask, const MveOperation* compare) = 0;
    // VLDR/VSTR of vectors. memoryBits 8 to 64 (vldrb..vldrd); kind and elementBits the
    // element type ("" for stores); base a core register or a q register (vector
    // base); offsetVector the q register of a gather or scatter (-1 for an immediate
    // offset) with its UXTW shift; offset in bytes, negative when subtracted.
    virtual void emitMveLoadStore(bool load, int memoryBits, const char* kind, int elementBits, int qd, int base,
                                  int offsetVector, int shift, int32_t offset, bool index, bool writeback) = 0;
    // VLD2x/VLD4x and VST2x/VST4x: pattern 2 or 4, stage 0 to 3, size the 2-bit
    // field (3 is reserved and printed so).
    virtual void emitMveInterleave(bool load, int pattern, int stage, int size, int qd, int rn, bool writeback) = 0;
    // VMOV of lanes 2 and 0 (upper false) or 3 and 1 of qd with two core registers.
    virtual void emitMveLanePair(bool toVector, int qd, bool upper, int rt, int rt2) = 0;
    // ---- end of the M-profile vector extension ----

    // ---- decode state ----
    bool pendingPrefix = false;
    bool armCall = false;   // the instruction is an A32 BL (R_ARM_CALL)
    bool thumbCall = false; // the instruction is a Thumb BL/BLX (R_ARM_THM_CALL)
    uint32_t target = 0;
    bool isArm = false;
    char* cursor = nullptr;
    int32_t space = 0; // remaining bytes, the NUL counted
    uint32_t address = 0;
    uint32_t architecture = ArmLevel::Any;
    int32_t condition = -1; // -1: none
    uint32_t itState = 0;   // firstcond:mask as the IT instruction leaves it
    int32_t predicationCount = 0;
    bool thenFlags[4] = {};
    uint32_t instructionStart = 0; // where the current instruction begins
    uint32_t prefixHalf = 0; // the first halfword of a pending 32-bit Thumb instruction
    bool losesBytes = false; // see textLosesBytes()

    bool inItBlock() const { return (itState & 0xF) != 0; }

    // Level tests: which encoding groups the chosen architecture has.
    bool hasThumb2() const;
    bool hasV6() const;
    bool hasV5() const;
    bool isMProfile() const;
    bool hasSecurityExtension() const;
    // The 32-bit Thumb set is whole at every level that has it: extensions such as
    // DSP, divide or CRC32 are not told apart by level. Only where one encoding
    // means two things does the level choose.
    // The v8.1-M mainline additions (long shifts, conditional selects), at that level only.
    bool hasV81M() const;
    // The A32 divides and CRC32, at the A and R profile levels that have them.
    bool hasArmDivide() const;
    bool hasArmCrc32() const;

private:
    void decodeArm(uint32_t insn);
    void decodeThumb(uint32_t half);
    void decodeThumb32(uint32_t first, uint32_t second);
    // True when the level admits this 32-bit Thumb encoding at all.
    bool thumb32Allowed(uint32_t first, uint32_t second) const;
    // 32-bit Thumb encoding groups, as the architecture manual's T32 table splits them.
    void decodeThumb32DataModifiedImmediate(uint32_t first, uint32_t second);
    void decodeThumb32DataPlainImmediate(uint32_t first, uint32_t second);
    void decodeThumb32DataShiftedRegister(uint32_t first, uint32_t second);
    void decodeThumb32DataRegister(uint32_t first, uint32_t second);
    void decodeThumb32Multiply(uint32_t first, uint32_t second);
    void decodeThumb32LongMultiply(uint32_t first, uint32_t second);
    bool decodeLongShiftFields(uint32_t first, uint32_t second, int& op, int& rdaLo, int& rdaHi, int& rm,
                               int& amount) const;
    void decodeThumb32LoadStoreMultiple(uint32_t first, uint32_t second);
    void decodeThumb32LoadStoreDualExclusive(uint32_t first, uint32_t second);
    void decodeThumb32LoadStoreSingle(uint32_t first, uint32_t second);
    void decodeThumb32BranchControl(uint32_t first, uint32_t second);
    void decodeThumb32BranchFuture(uint32_t first, uint32_t second);
    void decodeThumb32ExceptionCalls(uint32_t first, uint32_t second);
    void decodeThumb32Miscellaneous(uint32_t first, uint32_t second);
    // What the level has of the special registers, hints, barrier options and banked registers.
    bool specialRegisterAllowed(uint32_t sysm) const;
    bool hintAllowed(uint32_t hint) const;
    bool bankedRegisterAllowed(bool saved, int sysm) const;
    void decodeThumb32Coprocessor(uint32_t first, uint32_t second);
    // Encoding families (one file each).
    void decodeThumb16(uint32_t insn);
    void decodeThumb16Misc(uint32_t insn);
    void decodeArmDataMisc(uint32_t insn);
    void decodeArmMisc(uint32_t insn);
    void decodeArmLoadStore(uint32_t insn);
    void decodeArmExtraLoadStore(uint32_t insn);
    void decodeArmMedia(uint32_t insn);
    void decodeArmHalfwordMultiply(uint32_t insn);
    void decodeArmSaturatingCrc(uint32_t insn);
    void decodeArmParallel(uint32_t insn);
    bool decodeArmPackSaturate(uint32_t insn);
    void decodeArmSignedMultiply(uint32_t insn);
    void decodeArmUnconditional(uint32_t insn);
    void decodeArmUnconditionalControl(uint32_t insn);
    void decodeCoprocessor(uint32_t insn, bool two);
    // ---- Floating-point (vfp*.cpp) ----
    // The floating-point forms of coprocessors 9 to 11; false leaves the encoding to
    // the generic coprocessor forms.
    bool decodeFloatingPoint(uint32_t insn, bool two);
    bool decodeVfpData(uint32_t insn);
    bool decodeVfpV8(uint32_t insn);
    bool decodeVfpTransfer(uint32_t insn);
    bool decodeVfpSystemRegister(uint32_t insn);
    bool decodeVfpLoadStore(uint32_t insn);
    bool decodeVfpMultiple(uint32_t insn);
    bool decodeVfpCorePair(uint32_t insn);
    // The M profile's system-register loads and stores (coprocessor 15's in Thumb).
    bool decodeVfpSystemLoadStore(uint32_t insn);
    // True when the level's floating-point unit has the Vfp::Feature.
    bool vfpHas(int feature) const;
    // A system register (VMRS numbering) the level has.
    bool vfpSystemRegisterExists(uint32_t reg) const;
    // Half-precision forms are unpredictable when conditional (in A32 a condition
    // other than AL, in Thumb inside an IT block).
    bool vfpConditionalHalf(uint32_t insn) const;
    // ---- end of floating-point ----

    // ---- Advanced SIMD data processing (neon*.cpp) ----
    // In the A32 layout: the Thumb encodings are turned into it (111U 1111 becomes
    // 1111 001U); false leaves the encoding undefined.
    bool decodeNeonData(uint32_t insn);
    bool decodeNeonThreeSame(uint32_t insn);
    bool decodeNeonThreeDifferent(uint32_t insn);
    bool decodeNeonScalar(uint32_t insn);
    bool decodeNeonShift(uint32_t insn);
    bool decodeNeonTwoRegister(uint32_t insn);
    bool decodeNeonImmediate(uint32_t insn);
    bool decodeNeonTableDuplicateExtract(uint32_t insn);
    // Which Advanced SIMD additions the level has: ARMv8 (VMAXNM, VRINT, VCVTA...,
    // the cryptographic forms), its v8.1 rounding multiply-accumulates and the
    // half-precision and BFloat16 arithmetic of the later A-profile versions.
    bool hasNeonV8() const;
    bool hasNeonV81() const;
    bool hasNeonHalf() const;
    // The ARMv8 forms that the architecture makes unconditional (VMAXNM, VMINNM,
    // VRINT, VCVTA..VCVTM, AES, SHA): at a level that has them and not inside a
    // Thumb IT block, where they are unpredictable and the assembler refuses some.
    bool neonUnconditionalAllowed() const { return hasNeonV8() && !inItBlock(); }
    // A register of the Advanced SIMD forms from its five-bit number (D:Vd, N:Vn or
    // M:Vm): a doubleword, or the quadword it starts; -1 for a quadword at an odd
    // number, which the architecture leaves undefined.
    static int neonRegister(bool quad, uint32_t number)
    {
        if (!quad)
            return VReg::make(VReg::D, number & 31);
        return (number & 1) ? -1 : VReg::make(VReg::Q, (number & 31) >> 1);
    }
    static uint32_t neonD(uint32_t insn) { return (insn >> 18 & 16) | (insn >> 12 & 15); }
    static uint32_t neonN(uint32_t insn) { return (insn >> 3 & 16) | (insn >> 16 & 15); }
    static uint32_t neonM(uint32_t insn) { return (insn >> 1 & 16) | (insn & 15); }
    // ---- end of Advanced SIMD data processing ----

    // ---- Advanced SIMD loads and stores (neonloadstore.cpp) ----
    // In the A32 layout (1111 1001 becomes 1111 0100); false leaves it undefined.
    bool decodeNeonLoadStore(uint32_t insn);
    // ---- end of Advanced SIMD loads and stores ----

    // ---- The ARMv8 vector forms (vectorcomplex.cpp) ----
    // The unconditional encodings of coprocessors 8, 12 and 13 (bits 27..0 alike in
    // A32 and Thumb); false leaves them to the generic forms.
    bool decodeVectorComplex(uint32_t insn);
    // The ARMv8-A and ARMv8-R levels (and Any): HLT.
    bool hasV8ApplicationOrRealTime() const
    {
        return architecture == ArmLevel::Any || architecture == ArmLevel::V8A || architecture == ArmLevel::V8R;
    }
    // The ARMv8.x vector forms: ARMv8-A only (and Any); v8-R and the older levels
    // keep these encodings generic.
    bool hasV8VectorForms() const { return architecture == ArmLevel::Any || architecture == ArmLevel::V8A; }
    // ---- end of the ARMv8 vector forms ----

    // ---- The M-profile vector extension (mve*.cpp) ----
    // The coprocessor and vector spaces of 32-bit Thumb at v8.1-M; false leaves the
    // encoding to the floating-point and generic coprocessor forms.
    bool decodeMve(uint32_t first, uint32_t second);
    // The groups of the extension, each on the whole word (first halfword << 16 |
    // second): loads, stores and the two-lane moves; predication and compares;
    // lane moves and VDUP; the data-processing table.
    bool decodeMveLoadStore(uint32_t insn);
    bool decodeMvePredicate(uint32_t insn);
    bool decodeMveTransfer(uint32_t insn);
    bool decodeMveData(uint32_t insn);
    // VPT and VPST open a block of one to four instructions whose "then" and "else"
    // the mask gives.
    void startPredicationBlock(int mask);
    // ---- end of the M-profile vector extension ----

    // A floating-point register from its four-bit field and its extra bit: Vd:D for a
    // single, D:Vd for a double.
    static int vfpRegister(bool isDouble, uint32_t four, uint32_t one)
    {
        return isDouble ? VReg::make(VReg::D, one << 4 | four) : VReg::make(VReg::S, four << 1 | one);
    }
    // False for a register the level's unit lacks (VFPv2 and the M profile have d0 to d15).
    bool vfpRegisterExists(int r) const
    {
        return !(VReg::kind(r) == VReg::D && VReg::number(r) >= 16 && !vfpHas(Vfp::D32));
    }
};
