// Text of the floating-point loads, stores, multiples and register transfers.
#include "disasm/armtextprinter.h"

namespace {
// System registers of VMRS/VMSR by their number; null where none is named.
const char* const kSystemRegisters[16] = {"fpsid", "fpscr", "fpscr_nzcvqc", nullptr, nullptr, "mvfr2",
                                          "mvfr1", "mvfr0", "fpexc",        nullptr, nullptr, nullptr,
                                          "vpr",   "p0",    "fpcxt_ns",     "fpcxt_s"};

// The same registers as the M profile's loads and stores name them: upper case,
// after a blank.
const char* const kSystemRegisterOperands[16] = {
    nullptr, " FPSCR", " FPSCR_nzcvqc", nullptr, nullptr, nullptr, nullptr,     nullptr,
    nullptr, nullptr,  nullptr,         nullptr, " VPR",  " P0",   " FPCXT_NS", " FPCXT_S"};

} // namespace

void ARMInstructionSetDisassembler::emitVfpLoadStore(bool load, int size, int vd, int rn, uint32_t offset, bool add)
{
    mnemonic(load ? "vldr" : "vstr");
    if (size == Vfp::Half)
        put(".16");
    put(' ');
    vectorRegister(vd);
    separator();
    if (rn == 15 && load) {
        literalOperand(offset, add, size == Vfp::Half ? 2 : size == Vfp::Single ? 4 : 8);
        return;
    }
    put('[');
    reg(rn);
    if (offset != 0 || !add) {
        separator();
        signedOffset(add, offset);
    }
    put(']');
}

void ARMInstructionSetDisassembler::emitVfpMultiple(bool load, int mode, bool legacy, int rn, bool writeback,
                                                    int first, int count, bool valid)
{
    const bool increment = mode == A32::Ia;
    if (legacy) {
        // The FLDMX/FSTMX forms take their stack names on the stack pointer.
        static const char* const names[8] = {"fstmdbx", "fstmiax", "fldmdbx", "fldmiax",
                                             "fstmfdx", "fstmeax", "fldmeax", "fldmfdx"};
        mnemonic(names[(rn == 13 && writeback ? 4 : 0) | (load ? 2 : 0) | (increment ? 1 : 0)]);
    } else if (rn == 13 && writeback && load == increment) {
        mnemonic(load ? "vpop" : "vpush");
    } else {
        static const char* const names[4] = {"vstmdb", "vstmia", "vldmdb", "vldmia"};
        mnemonic(names[(load ? 2 : 0) | (increment ? 1 : 0)]);
    }
    put(' ');
    if (!(rn == 13 && writeback && load == increment && !legacy)) {
        reg(rn);
        if (writeback)
            put('!');
        separator();
    }
    if (!valid) {
        losesBytes = true;
        put("invalid register list");
        return;
    }
    put('{');
    vectorRange(first, count);
    put('}');
}

void ARMInstructionSetDisassembler::emitVfpLazyState(bool load, int rn)
{
    mnemonic(load ? "vlldm" : "vlstm");
    put(' ');
    reg(rn);
}

void ARMInstructionSetDisassembler::emitVfpSystemLoadStore(bool load, int sysReg, int rn, uint32_t offset, bool index,
                                                           bool add, bool writeback)
{
    mnemonic(load ? "vldr" : "vstr");
    const char* name = kSystemRegisterOperands[sysReg & 15];
    put(name ? name : " ?");
    put(", [");
    reg(rn);
    offsetAddressing(offset, index, add, writeback);
}

void ARMInstructionSetDisassembler::emitVfpClearRegisters(int first, int count, bool valid)
{
    mnemonic("vscclrm");
    put(' ');
    if (!valid) {
        losesBytes = true;
        put("invalid register list");
        return;
    }
    put('{');
    if (count > 0) {
        vectorRange(first, count);
        put(", ");
    }
    put("vpr }");
}

void ARMInstructionSetDisassembler::emitVfpCoreSingle(bool toCore, int size, int sn, int rt)
{
    mnemonic("vmov");
    if (size == Vfp::Half)
        put(".f16");
    put(' ');
    if (toCore) {
        reg(rt);
        separator();
        vectorRegister(sn);
    } else {
        vectorRegister(sn);
        separator();
        reg(rt);
    }
}

void ARMInstructionSetDisassembler::emitVfpLane(bool toCore, int esize, bool isUnsigned, int dn, int index, int rt)
{
    mnemonic("vmov");
    put('.');
    if (toCore && esize < 32)
        put(isUnsigned ? 'u' : 's');
    decimal(uint32_t(esize));
    put(' ');
    if (toCore) {
        reg(rt);
        separator();
    }
    vectorLane(dn, index);
    if (!toCore) {
        separator();
        reg(rt);
    }
}

void ARMInstructionSetDisassembler::emitVfpDuplicate(int esize, int vd, int rt)
{
    mnemonic("vdup");
    put('.');
    decimal(uint32_t(esize));
    put(' ');
    vectorRegister(vd);
    separator();
    reg(rt);
}

void ARMInstructionSetDisassembler::emitVfpSystemRegister(bool read, int sysReg, int rt)
{
    mnemonic(read ? "vmrs" : "vmsr");
    put(' ');
    // The read into the flags is "vmrs APSR_nzcv, fpscr" at every level: the
    // assembler still takes the old name FMSTAT, but objdump and the unified syntax
    // of every architecture write this.
    const char* name = kSystemRegisters[sysReg & 15];
    if (read) {
        if (rt == 15)
            put("APSR_nzcv");
        else
            reg(rt);
        separator();
        put(name ? name : "?");
    } else {
        put(name ? name : "?");
        separator();
        reg(rt);
    }
}

void ARMInstructionSetDisassembler::emitVfpCorePair(bool toCore, int vm, int rt, int rt2)
{
    mnemonic("vmov");
    put(' ');
    auto extension = [&] {
        vectorRegister(vm);
        if (VReg::kind(vm) == VReg::S) {
            separator();
            vectorRegister(vm + 1);
        }
    };
    if (toCore) {
        registers(rt, rt2);
        separator();
        extension();
    } else {
        extension();
        separator();
        registers(rt, rt2);
    }
}
