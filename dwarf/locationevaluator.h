#pragma once
#include <cstdint>
#include <vector>

#include "dwarf/dwarfcursor.h"

class DwarfDebuggingInformationEntry;

// One entry of the expression stack, and of the result an evaluation leaves.
struct DwarfStackEntry {
    enum Kind : uint8_t {
        Plain = 0,    // a value or an address, of the generic type
        Typed = 1,    // a value of the base type `type` (null: generic), or a value the object has
        Register = 2, // the object lives in a register: `value` is its DWARF number
    };
    uint64_t value = 0;
    Kind kind = Plain;
    const DwarfDebuggingInformationEntry* type = nullptr; // the base type of a Typed entry, else null
    // Set by DW_OP_piece and DW_OP_bit_piece on the entry they follow; 0 when not given.
    uint32_t pieceSize = 0;
    uint32_t bitPieceSize = 0;
    uint32_t bitPieceOffset = 0;
};

// The DWARF expression machine. It knows nothing of a running target: every question
// about one (registers, memory, the frame) goes to the virtual host operations below,
// which a subclass answers. The defaults answer 0 and leave addresses unrelocated.
//
// Guarantees, whatever the bytes: every read goes through a DwarfCursor bounded by
// the expression, jumps only move forward, a shared budget of maxSteps operations
// covers an evaluation with everything it nests, and nesting (the frame base of
// DW_OP_fbreg, the block of DW_OP_entry_value) is at most two deep because neither
// is followed again inside itself.
class DwarfLocationExpressionEvaluator {
public:
    // More operations than any expression of a real file holds; with forward-only
    // jumps it can only be reached by an expression of at least this many bytes.
    static constexpr uint64_t maxSteps = 1000000;

    virtual ~DwarfLocationExpressionEvaluator() = default;

    // DW_OP_deref: the target word (of the unit's address size) at an address.
    virtual uint64_t readTargetWord(uint64_t address);
    // The address of the object being described, for hosts that track one. No
    // operation that this evaluator performs asks for it: DW_OP_push_object_address
    // ends an evaluation, as the tool never has an object at hand.
    virtual uint64_t objectAddress();
    // The current function's frame base as the host may know it from elsewhere (an
    // unwinder). Not consulted: DW_OP_fbreg evaluates DW_AT_frame_base itself, so
    // that the result follows the debug information rather than a host's guess.
    virtual uint64_t frameBase();
    // The value of a register by its DWARF number: DW_OP_breg0..31, DW_OP_bregx, a
    // frame base that names a register, and a register named in DW_OP_entry_value.
    virtual uint64_t readRegister(uint64_t dwarfNumber);
    // DW_OP_regval_type: a register's contents read as the given base type.
    virtual uint64_t readTypedRegister(uint64_t dwarfNumber, const DwarfDebuggingInformationEntry* type);
    // `size` bytes at an address read as the given base type, for DW_OP_deref_type.
    // Not consulted yet: that operation ends an evaluation here.
    virtual uint64_t readTypedMemory(uint64_t address, uint8_t size, const DwarfDebuggingInformationEntry* type);
    // DW_OP_deref_size: `size` bytes (1 to 8) at an address, as an unsigned number.
    virtual uint64_t readMemory(uint64_t address, uint8_t size);
    // DW_OP_form_tls_address, DW_OP_GNU_push_tls_address: the thread's TLS block.
    virtual uint64_t threadLocalBase();
    // DW_OP_call_frame_cfa: the canonical frame address of the current frame.
    virtual uint64_t canonicalFrameAddress();
    // DW_OP_addr and DW_OP_addrx: a link-time address moved to where it is loaded.
    virtual uint64_t relocateAddress(uint64_t address);
    // `size` bytes at an address in another address space, read as the given base
    // type, for DW_OP_xderef_type. Not consulted yet: that operation ends an evaluation.
    virtual uint64_t readTypedAddressSpaceMemory(uint64_t addressSpace, uint64_t address, uint8_t size,
                                                 const DwarfDebuggingInformationEntry* type);

    // Byte order and address size for an expression that has no owning entry to take
    // them from (little-endian, 4 bytes unless set).
    void setDefaultTarget(bool bigEndian, uint8_t addressSize)
    {
        defaultBigEndian_ = bigEndian;
        defaultAddressSize_ = addressSize;
    }

    // Evaluates `length` bytes of expression into `result` (cleared first). The stack
    // starts with 0 when `pushZeroFirst` (a member offset's structure address), then
    // the `initial` values in order, all plain. `owner` is the entry the expression
    // belongs to: its unit gives the byte order, the address size, the base types and
    // .debug_addr, and its enclosing subprogram the frame base; it may be null.
    // Returns true when the whole expression was read, false when an operation ended
    // it early (one not evaluated here, a division by 0, the step budget); either way
    // `result` holds the stack as it stood.
    bool evaluate(std::vector<DwarfStackEntry>& result, const DwarfDebuggingInformationEntry* owner,
                  const uint8_t* expression, uint64_t length, bool pushZeroFirst,
                  const std::vector<uint64_t>& initial = {});

private:
    struct Run;
    bool run(Run& r, DwarfCursor code, std::vector<DwarfStackEntry>& stack);
    bool frameBaseOf(Run& r, uint64_t& base);
    uint64_t addressTableEntry(const Run& r, uint64_t index) const;
    const DwarfDebuggingInformationEntry* baseType(const Run& r, uint64_t unitOffset) const;

    bool defaultBigEndian_ = false;
    uint8_t defaultAddressSize_ = 4;
};

// The command-line tool's host: it has no target, so registers, memory, the frame
// and the TLS block all read 0, and addresses stay as the file gives them.
class MyDwarfLocationExpressionEvaluator : public DwarfLocationExpressionEvaluator {
public:
    uint64_t readTargetWord(uint64_t) override { return 0; }
    uint64_t objectAddress() override { return 0; }
    uint64_t frameBase() override { return 0; }
    uint64_t readRegister(uint64_t) override { return 0; }
    uint64_t readTypedRegister(uint64_t, const DwarfDebuggingInformationEntry*) override { return 0; }
    uint64_t readTypedMemory(uint64_t, uint8_t, const DwarfDebuggingInformationEntry*) override { return 0; }
    uint64_t readMemory(uint64_t, uint8_t) override { return 0; }
    uint64_t threadLocalBase() override { return 0; }
    uint64_t canonicalFrameAddress() override { return 0; }
    uint64_t relocateAddress(uint64_t address) override { return address; }
    uint64_t readTypedAddressSpaceMemory(uint64_t, uint64_t, uint8_t, const DwarfDebuggingInformationEntry*) override
    {
        return 0;
    }
};
