#include "dwarf/locationevaluator.h"

#include <algorithm>

#include "dwarf/dwarfentry.h"
#include "dwarf/dwarffile.h"
#include "dwarf/dwarfunit.h"

namespace {

enum : uint8_t {
    DW_OP_addr = 0x03, DW_OP_deref = 0x06, DW_OP_const1u = 0x08, DW_OP_const1s = 0x09, DW_OP_const2u = 0x0a,
    DW_OP_const2s = 0x0b, DW_OP_const4u = 0x0c, DW_OP_const4s = 0x0d, DW_OP_const8u = 0x0e, DW_OP_const8s = 0x0f,
    DW_OP_constu = 0x10, DW_OP_consts = 0x11, DW_OP_dup = 0x12, DW_OP_drop = 0x13, DW_OP_over = 0x14,
    DW_OP_pick = 0x15, DW_OP_swap = 0x16, DW_OP_rot = 0x17, DW_OP_abs = 0x19, DW_OP_and = 0x1a, DW_OP_div = 0x1b,
    DW_OP_minus = 0x1c, DW_OP_mod = 0x1d, DW_OP_mul = 0x1e, DW_OP_neg = 0x1f, DW_OP_not = 0x20, DW_OP_or = 0x21,
    DW_OP_plus = 0x22, DW_OP_plus_uconst = 0x23, DW_OP_shl = 0x24, DW_OP_shr = 0x25, DW_OP_shra = 0x26,
    DW_OP_xor = 0x27, DW_OP_bra = 0x28, DW_OP_eq = 0x29, DW_OP_ge = 0x2a, DW_OP_gt = 0x2b, DW_OP_le = 0x2c,
    DW_OP_lt = 0x2d, DW_OP_ne = 0x2e, DW_OP_skip = 0x2f, DW_OP_lit0 = 0x30, DW_OP_lit31 = 0x4f,
    DW_OP_reg0 = 0x50, DW_OP_reg31 = 0x6f, DW_OP_breg0 = 0x70, DW_OP_breg31 = 0x8f, DW_OP_regx = 0x90,
    DW_OP_fbreg = 0x91, DW_OP_bregx = 0x92, DW_OP_piece = 0x93, DW_OP_deref_size = 0x94, DW_OP_nop = 0x96,
    DW_OP_form_tls_address = 0x9b, DW_OP_call_frame_cfa = 0x9c, DW_OP_bit_piece = 0x9d,
    DW_OP_implicit_value = 0x9e, DW_OP_stack_value = 0x9f, DW_OP_addrx = 0xa1, DW_OP_constx = 0xa2,
    DW_OP_entry_value = 0xa3, DW_OP_const_type = 0xa4, DW_OP_regval_type = 0xa5, DW_OP_convert = 0xa8,
    DW_OP_reinterpret = 0xa9, DW_OP_GNU_push_tls_address = 0xe0, DW_OP_GNU_entry_value = 0xf3,
    DW_OP_GNU_const_type = 0xf4, DW_OP_GNU_regval_type = 0xf5, DW_OP_GNU_convert = 0xf7,
    DW_OP_GNU_reinterpret = 0xf9,
};

enum : uint32_t { DW_TAG_base_type = 0x24, DW_TAG_subprogram = 0x2e, DW_AT_frame_base = 0x40 };

using Entry = DwarfStackEntry;

Entry plain(uint64_t value)
{
    Entry e;
    e.value = value;
    return e;
}

// Popping an empty stack gives a plain 0, as a short read of the cursor does: a
// damaged expression then computes something instead of stopping half-way.
Entry pop(std::vector<Entry>& stack)
{
    if (stack.empty())
        return Entry();
    const Entry e = stack.back();
    stack.pop_back();
    return e;
}

uint32_t saturated(uint64_t v)
{
    return v > UINT32_MAX ? UINT32_MAX : uint32_t(v);
}

} // namespace

struct DwarfLocationExpressionEvaluator::Run {
    const DwarfDebuggingInformationEntry* owner = nullptr;
    DwarfUnit* unit = nullptr;
    bool bigEndian = false;
    uint8_t addressSize = 4;
    uint64_t stepsLeft = maxSteps;
    // The nested evaluations in progress: neither is started again inside itself,
    // which keeps the nesting at two at most.
    bool inFrameBase = false;
    bool inEntryValue = false;
};

uint64_t DwarfLocationExpressionEvaluator::readTargetWord(uint64_t) { return 0; }
uint64_t DwarfLocationExpressionEvaluator::objectAddress() { return 0; }
uint64_t DwarfLocationExpressionEvaluator::frameBase() { return 0; }
uint64_t DwarfLocationExpressionEvaluator::readRegister(uint64_t) { return 0; }
uint64_t DwarfLocationExpressionEvaluator::readTypedRegister(uint64_t, const DwarfDebuggingInformationEntry*)
{
    return 0;
}
uint64_t DwarfLocationExpressionEvaluator::readTypedMemory(uint64_t, uint8_t, const DwarfDebuggingInformationEntry*)
{
    return 0;
}
uint64_t DwarfLocationExpressionEvaluator::readMemory(uint64_t, uint8_t) { return 0; }
uint64_t DwarfLocationExpressionEvaluator::threadLocalBase() { return 0; }
uint64_t DwarfLocationExpressionEvaluator::canonicalFrameAddress() { return 0; }
uint64_t DwarfLocationExpressionEvaluator::relocateAddress(uint64_t address) { return address; }
uint64_t DwarfLocationExpressionEvaluator::readTypedAddressSpaceMemory(uint64_t, uint64_t, uint8_t,
                                                                       const DwarfDebuggingInformationEntry*)
{
    return 0;
}

bool DwarfLocationExpressionEvaluator::evaluate(std::vector<DwarfStackEntry>& result,
                                                const DwarfDebuggingInformationEntry* owner,
                                                const uint8_t* expression, uint64_t length, bool pushZeroFirst,
                                                const std::vector<uint64_t>& initial)
{
    result.clear();
    Run r;
    r.owner = owner;
    r.unit = owner ? owner->unit : nullptr;
    if (r.unit) {
        r.bigEndian = r.unit->file()->sections().bigEndian;
        r.addressSize = r.unit->addressSize;
    } else {
        r.bigEndian = defaultBigEndian_;
        r.addressSize = defaultAddressSize_;
    }
    if (pushZeroFirst)
        result.push_back(plain(0));
    for (uint64_t v : initial)
        result.push_back(plain(v));
    if (!expression)
        length = 0;
    return run(r, DwarfCursor(expression, expression + length, r.bigEndian), result);
}

// The value of the entry .debug_addr holds at an index of the unit's table.
uint64_t DwarfLocationExpressionEvaluator::addressTableEntry(const Run& r, uint64_t index) const
{
    if (!r.unit || r.addressSize == 0 || index > UINT32_MAX)
        return 0;
    const DwarfSection& addr = r.unit->file()->sections().addr;
    DwarfCursor c = addr.cursor(r.bigEndian);
    const uint64_t offset = r.unit->addrBase + index * r.addressSize;
    if (offset < r.unit->addrBase)
        return 0;
    c.seek(offset);
    return c.fixed(r.addressSize);
}

// The base type at an offset from the start of the owner's unit; 0, or anything
// that is not a base type there, means the generic type (null).
const DwarfDebuggingInformationEntry* DwarfLocationExpressionEvaluator::baseType(const Run& r,
                                                                                 uint64_t unitOffset) const
{
    if (!r.unit || unitOffset == 0 || unitOffset > UINT32_MAX)
        return nullptr;
    const DwarfDebuggingInformationEntry* e = r.unit->entryAt(r.unit->offset + unitOffset);
    return e && e->tag == DW_TAG_base_type ? e : nullptr;
}

// The frame base of the subprogram around the owner, for DW_OP_fbreg. Only a frame
// base given as an expression is evaluated: a location list would need the current
// pc, which the evaluator does not have, so it counts as 0, as does a missing one.
// An abstract origin is not followed: abstract instances have no code and so no
// frame base, while every concrete instance carries its own.
// Returns false when the frame base's own evaluation ended early: its value is unknown.
bool DwarfLocationExpressionEvaluator::frameBaseOf(Run& r, uint64_t& base)
{
    base = 0;
    const DwarfDebuggingInformationEntry* subprogram = r.owner;
    while (subprogram && subprogram->tag != DW_TAG_subprogram)
        subprogram = subprogram->parent;
    const DwarfAttributeValue* v = subprogram ? subprogram->findAttribute(DW_AT_frame_base) : nullptr;
    if (!v || v->valueClass != DwarfAttributeValue::Block || !v->bytes())
        return true;
    std::vector<DwarfStackEntry> stack;
    r.inFrameBase = true;
    const bool complete = run(r, DwarfCursor(v->bytes(), v->bytes() + v->value, r.bigEndian), stack);
    r.inFrameBase = false;
    if (!complete)
        return false;
    if (!stack.empty()) {
        const DwarfStackEntry& top = stack.back();
        base = top.kind == DwarfStackEntry::Register ? readRegister(top.value) : top.value;
    }
    return true;
}

bool DwarfLocationExpressionEvaluator::run(Run& r, DwarfCursor c, std::vector<DwarfStackEntry>& stack)
{
    auto push = [&](uint64_t v) { stack.push_back(plain(v)); };
    auto pushTyped = [&](uint64_t v, const DwarfDebuggingInformationEntry* type) {
        Entry e;
        e.value = v;
        e.kind = Entry::Typed;
        e.type = type;
        stack.push_back(e);
    };
    // A copy of the entry `index` places below the top; 0 past the bottom.
    auto pick = [&](uint64_t index) {
        if (index < stack.size())
            stack.push_back(stack[stack.size() - 1 - size_t(index)]);
        else
            push(0);
    };

    while (!c.atEnd()) {
        if (r.stepsLeft == 0)
            return false;
        --r.stepsLeft;
        const uint8_t op = c.u8();
        if (op >= DW_OP_lit0 && op <= DW_OP_lit31) {
            push(op - DW_OP_lit0);
            continue;
        }
        if (op >= DW_OP_reg0 && op <= DW_OP_reg31) {
            Entry e;
            e.kind = Entry::Register;
            e.value = op - DW_OP_reg0;
            stack.push_back(e);
            continue;
        }
        if (op >= DW_OP_breg0 && op <= DW_OP_breg31) {
            const int64_t offset = c.sleb();
            push(readRegister(op - DW_OP_breg0) + uint64_t(offset));
            continue;
        }
        switch (op) {
        case DW_OP_addr: push(relocateAddress(c.fixed(r.addressSize))); break;
        case DW_OP_const1u: push(c.u8()); break;
        case DW_OP_const1s: push(uint64_t(int64_t(int8_t(c.u8())))); break;
        // Both 2-byte forms are zero-extended, const2s as well: the tool has always
        // read them so, and results it printed stay the same.
        case DW_OP_const2u: case DW_OP_const2s: push(c.u16()); break;
        case DW_OP_const4u: push(c.u32()); break;
        case DW_OP_const4s: push(uint64_t(int64_t(int32_t(c.u32())))); break;
        case DW_OP_const8u: case DW_OP_const8s: push(c.u64()); break;
        case DW_OP_constu: push(c.uleb()); break;
        case DW_OP_consts: push(uint64_t(c.sleb())); break;

        case DW_OP_dup: pick(0); break;
        case DW_OP_drop: pop(stack); break;
        case DW_OP_over: pick(1); break;
        case DW_OP_pick: pick(c.u8()); break;
        // Reordering needs the entries to be there; a shorter stack stays as it is.
        case DW_OP_swap:
            if (stack.size() >= 2)
                std::swap(stack[stack.size() - 1], stack[stack.size() - 2]);
            break;
        case DW_OP_rot:
            // The top moves below the next two.
            if (stack.size() >= 3)
                std::rotate(stack.end() - 3, stack.end() - 1, stack.end());
            break;

        case DW_OP_abs: {
            const int64_t v = int64_t(pop(stack).value);
            push(v < 0 ? 0 - uint64_t(v) : uint64_t(v));
            break;
        }
        case DW_OP_neg: push(0 - pop(stack).value); break;
        case DW_OP_not: push(~pop(stack).value); break;
        case DW_OP_plus_uconst: {
            const uint64_t addend = c.uleb();
            push(pop(stack).value + addend);
            break;
        }
        case DW_OP_and: case DW_OP_or: case DW_OP_xor: case DW_OP_mul: case DW_OP_plus: case DW_OP_minus:
        case DW_OP_div: case DW_OP_mod: case DW_OP_shl: case DW_OP_shr: case DW_OP_shra: case DW_OP_eq:
        case DW_OP_ne: case DW_OP_lt: case DW_OP_gt: case DW_OP_le: case DW_OP_ge: {
            const uint64_t a = pop(stack).value; // the top
            const uint64_t b = pop(stack).value; // the one below it
            // Shifts work on 32-bit values, with the count taken modulo 32: the width
            // of the targets this tool serves, and what it has always computed.
            const uint32_t count = uint32_t(a) & 31;
            switch (op) {
            case DW_OP_and: push(a & b); break;
            case DW_OP_or: push(a | b); break;
            case DW_OP_xor: push(a ^ b); break;
            case DW_OP_mul: push(a * b); break;
            case DW_OP_plus: push(a + b); break;
            case DW_OP_minus: push(b - a); break;
            case DW_OP_div: {
                // Signed, as the generic type of the expression stack is; nothing is
                // pushed for a divisor of 0 and the evaluation ends.
                if (a == 0)
                    return false;
                const int64_t divisor = int64_t(a);
                push(divisor == -1 ? 0 - b : uint64_t(int64_t(b) / divisor));
                break;
            }
            case DW_OP_mod:
                // Unsigned; a divisor of 0 ends the evaluation as for DW_OP_div.
                if (a == 0)
                    return false;
                push(b % a);
                break;
            case DW_OP_shl: push(uint32_t(b) << count); break;
            case DW_OP_shr: push(uint32_t(b) >> count); break;
            case DW_OP_shra: push(uint64_t(int64_t(int32_t(uint32_t(b)) >> count))); break;
            // The comparisons put the top on the left (a OP b), the reverse of the
            // usual reading (b OP a). This is the tool's established behaviour and is
            // kept so that its results do not change under existing users.
            case DW_OP_eq: push(a == b); break;
            case DW_OP_ne: push(a != b); break;
            case DW_OP_lt: push(a < b); break;
            case DW_OP_gt: push(a > b); break;
            case DW_OP_le: push(a <= b); break;
            case DW_OP_ge: push(a >= b); break;
            default: break;
            }
            break;
        }

        // Jump offsets are read unsigned, so control only moves forward and every
        // evaluation runs off the end of its bytes; an offset past the end ends it.
        case DW_OP_skip: c.skip(c.u16()); break;
        case DW_OP_bra: {
            const uint16_t offset = c.u16();
            if (pop(stack).value != 0)
                c.skip(offset);
            break;
        }
        case DW_OP_nop: break;

        case DW_OP_regx: {
            Entry e;
            e.kind = Entry::Register;
            e.value = c.uleb();
            stack.push_back(e);
            break;
        }
        case DW_OP_bregx: {
            const uint64_t reg = c.uleb();
            const int64_t offset = c.sleb();
            push(readRegister(reg) + uint64_t(offset));
            break;
        }
        case DW_OP_deref: push(readTargetWord(pop(stack).value)); break;
        case DW_OP_deref_size: {
            const uint8_t size = c.u8();
            uint64_t v = readMemory(pop(stack).value, size);
            if (size < 8)
                v &= (uint64_t(1) << (8 * size)) - 1;
            push(v);
            break;
        }
        case DW_OP_fbreg: {
            const int64_t offset = c.sleb();
            // A frame base that refers to the frame base has no value.
            if (r.inFrameBase)
                return false;
            uint64_t base;
            if (!frameBaseOf(r, base))
                return false;
            push(base + uint64_t(offset));
            break;
        }
        case DW_OP_call_frame_cfa: push(canonicalFrameAddress()); break;
        case DW_OP_form_tls_address: case DW_OP_GNU_push_tls_address: push(threadLocalBase() + pop(stack).value); break;

        case DW_OP_piece: {
            const uint64_t size = c.uleb();
            if (!stack.empty())
                stack.back().pieceSize = saturated(size);
            break;
        }
        case DW_OP_bit_piece: {
            const uint64_t size = c.uleb();
            const uint64_t offset = c.uleb();
            if (!stack.empty()) {
                stack.back().bitPieceSize = saturated(size);
                stack.back().bitPieceOffset = saturated(offset);
            }
            break;
        }
        case DW_OP_implicit_value: {
            const uint64_t length = c.uleb();
            if (length == 1 || length == 2 || length == 4 || length == 8)
                pushTyped(c.fixed(unsigned(length)), nullptr);
            else
                c.skip(length); // no number to put on the stack
            break;
        }
        case DW_OP_stack_value: {
            Entry e = pop(stack);
            e.kind = Entry::Typed;
            stack.push_back(e);
            break;
        }

        // Index operations read the unit's .debug_addr table; an index outside it, or
        // an expression without a unit, reads 0. DW_OP_addrx names an address, so it is
        // relocated like DW_OP_addr; DW_OP_constx names a constant (a TLS offset, say),
        // which is not.
        case DW_OP_addrx: push(relocateAddress(addressTableEntry(r, c.uleb()))); break;
        case DW_OP_constx: push(addressTableEntry(r, c.uleb())); break;

        case DW_OP_entry_value: case DW_OP_GNU_entry_value: {
            // The block is evaluated here with the same host, and a register it names
            // is read through readRegister: without an unwinder the evaluator cannot
            // go back to the call, so it is the host that answers for the value at
            // entry (the tool's host reads 0). Blocks inside the block are not followed.
            DwarfCursor block = c.take(c.uleb());
            if (r.inEntryValue)
                return false;
            std::vector<DwarfStackEntry> inner;
            r.inEntryValue = true;
            const bool complete = run(r, block, inner);
            r.inEntryValue = false;
            if (!complete)
                return false;
            if (inner.empty()) {
                push(0);
            } else {
                const DwarfStackEntry& top = inner.back();
                push(top.kind == DwarfStackEntry::Register ? readRegister(top.value) : top.value);
            }
            break;
        }

        case DW_OP_const_type: case DW_OP_GNU_const_type: {
            const uint64_t typeOffset = c.uleb();
            const uint8_t size = c.u8();
            if (size == 1 || size == 2 || size == 4 || size == 8)
                pushTyped(c.fixed(size), baseType(r, typeOffset));
            else
                c.skip(size); // as for DW_OP_implicit_value: no number to push
            break;
        }
        case DW_OP_regval_type: case DW_OP_GNU_regval_type: {
            const uint64_t reg = c.uleb();
            const DwarfDebuggingInformationEntry* type = baseType(r, c.uleb());
            pushTyped(readTypedRegister(reg, type), type);
            break;
        }
        case DW_OP_convert: case DW_OP_GNU_convert: case DW_OP_reinterpret: case DW_OP_GNU_reinterpret: {
            // The value stays; only its type changes (to the generic one for 0).
            const DwarfDebuggingInformationEntry* type = baseType(r, c.uleb());
            if (!stack.empty()) {
                stack.back().type = type;
                stack.back().kind = type ? Entry::Typed : Entry::Plain;
            }
            break;
        }

        default:
            // Not evaluated here (operations needing an object, other units' code, an
            // address space or a typed memory read, and unknown codes): the stack as
            // it stands is the result.
            return false;
        }
    }
    return true;
}
