#include "dwarf/expression.h"

#include "dwarf/dwarfnames.h"
#include "qtx/textline.h"

using QTx::TextLine;

namespace {

// Operand shapes of the operations that print more than their name.
enum : uint8_t {
    DW_OP_addr = 0x03, DW_OP_deref = 0x06, DW_OP_const1u = 0x08, DW_OP_const1s = 0x09, DW_OP_const2u = 0x0a,
    DW_OP_const2s = 0x0b, DW_OP_const4u = 0x0c, DW_OP_const4s = 0x0d, DW_OP_const8u = 0x0e, DW_OP_const8s = 0x0f,
    DW_OP_constu = 0x10, DW_OP_consts = 0x11, DW_OP_pick = 0x15, DW_OP_plus_uconst = 0x23, DW_OP_bra = 0x28,
    DW_OP_skip = 0x2f, DW_OP_lit0 = 0x30, DW_OP_lit31 = 0x4f, DW_OP_reg0 = 0x50, DW_OP_reg31 = 0x6f,
    DW_OP_breg0 = 0x70, DW_OP_breg31 = 0x8f, DW_OP_regx = 0x90, DW_OP_fbreg = 0x91, DW_OP_bregx = 0x92,
    DW_OP_piece = 0x93, DW_OP_deref_size = 0x94, DW_OP_xderef_size = 0x95, DW_OP_call2 = 0x98, DW_OP_call4 = 0x99,
    DW_OP_call_ref = 0x9a, DW_OP_bit_piece = 0x9d, DW_OP_implicit_value = 0x9e, DW_OP_addrx = 0xa1,
    DW_OP_constx = 0xa2, DW_OP_entry_value = 0xa3, DW_OP_const_type = 0xa4, DW_OP_regval_type = 0xa5,
    DW_OP_deref_type = 0xa6, DW_OP_xderef_type = 0xa7, DW_OP_convert = 0xa8, DW_OP_reinterpret = 0xa9,
    DW_OP_GNU_push_tls_address = 0xe0, DW_OP_GNU_uninit = 0xf0, DW_OP_GNU_encoded_addr = 0xf1,
    DW_OP_GNU_implicit_pointer = 0xf2, DW_OP_GNU_entry_value = 0xf3, DW_OP_GNU_const_type = 0xf4,
    DW_OP_GNU_regval_type = 0xf5, DW_OP_GNU_deref_type = 0xf6, DW_OP_GNU_convert = 0xf7,
    DW_OP_GNU_reinterpret = 0xf9, DW_OP_GNU_parameter_ref = 0xfa, DW_OP_GNU_addr_index = 0xfb,
    DW_OP_GNU_const_index = 0xfc,
};

// Operations printed by their name alone.
bool nameOnly(uint8_t op)
{
    switch (op) {
    case DW_OP_deref: case 0x12: case 0x13: case 0x14: case 0x16: case 0x17: case 0x18: case 0x19: case 0x1a:
    case 0x1b: case 0x1c: case 0x1d: case 0x1e: case 0x1f: case 0x20: case 0x21: case 0x22: case 0x24: case 0x25:
    case 0x26: case 0x27: case 0x29: case 0x2a: case 0x2b: case 0x2c: case 0x2d: case 0x2e: case 0x96: case 0x97:
    case 0x9b: case 0x9c: case 0x9f: case DW_OP_xderef_type: case DW_OP_reinterpret:
    case DW_OP_GNU_push_tls_address: case DW_OP_GNU_uninit: case DW_OP_GNU_encoded_addr:
    case DW_OP_GNU_parameter_ref: case DW_OP_GNU_addr_index: case DW_OP_GNU_const_index:
    case DW_OP_GNU_reinterpret:
        return true;
    default:
        return false;
    }
}

} // namespace

void printDwarfExpression(TextLine& out, DwarfCursor c, uint8_t addressSize)
{
    bool firstOp = true;
    while (!c.atEnd()) {
        if (!firstOp)
            out.str("; ");
        firstOp = false;
        const uint8_t op = c.u8();
        if (op >= DW_OP_lit0 && op <= DW_OP_lit31) {
            out.str("DW_OP_lit").udec(op - DW_OP_lit0);
            continue;
        }
        if (op >= DW_OP_reg0 && op <= DW_OP_reg31) {
            out.str("DW_OP_reg").udec(op - DW_OP_reg0);
            continue;
        }
        if (op >= DW_OP_breg0 && op <= DW_OP_breg31) {
            const int64_t offset = c.sleb();
            out.str("DW_OP_breg").udec(op - DW_OP_breg0).str(": ").dec(offset);
            continue;
        }
        if (nameOnly(op)) {
            out.str(DwarfNames::operation(op));
            // Some of them still have operands to step over.
            switch (op) {
            case DW_OP_xderef_type: c.u8(); c.uleb(); break;
            case DW_OP_GNU_parameter_ref: c.u32(); break;
            case DW_OP_GNU_addr_index: case DW_OP_GNU_const_index: c.uleb(); break;
            case DW_OP_reinterpret: case DW_OP_GNU_reinterpret: c.uleb(); break; // the type
            case DW_OP_GNU_encoded_addr: {
                // An encoding byte, then an address in that encoding.
                const uint8_t encoding = c.u8();
                switch (encoding & 0x0F) {
                case 0x01: c.uleb(); break;
                case 0x09: c.sleb(); break;
                case 0x02: case 0x0a: c.skip(2); break;
                case 0x03: case 0x0b: c.skip(4); break;
                case 0x04: case 0x0c: c.skip(8); break;
                default: c.skip(addressSize); break;
                }
                break;
            }
            default: break;
            }
            continue;
        }
        switch (op) {
        case DW_OP_addr: out.str("DW_OP_addr: 0x").hexLower(c.fixed(addressSize == 4 ? 4 : 8)); break;
        case DW_OP_const1u: out.str("DW_OP_const1u: ").udec(c.u8()); break;
        case DW_OP_const1s: out.str("DW_OP_const1s: ").dec(int8_t(c.u8())); break;
        case DW_OP_const2u: out.str("DW_OP_const2u: ").udec(c.u16()); break;
        case DW_OP_const2s: out.str("DW_OP_const2s: ").dec(int16_t(c.u16())); break;
        case DW_OP_const4u: out.str("DW_OP_const4u: ").udec(c.u32()); break;
        case DW_OP_const4s: out.str("DW_OP_const4s: ").dec(int32_t(c.u32())); break;
        case DW_OP_const8u: out.str("DW_OP_const8u: ").udec(c.u64()); break;
        case DW_OP_const8s: out.str("DW_OP_const8s: ").dec(int64_t(c.u64())); break;
        case DW_OP_constu: out.str("DW_OP_constu: ").udec(c.uleb()); break;
        case DW_OP_consts: out.str("DW_OP_consts: ").dec(c.sleb()); break;
        case DW_OP_pick: out.str("DW_OP_pick: ").udec(c.u8()); break;
        case DW_OP_plus_uconst: out.str("DW_OP_plus_uconst: ").udec(c.uleb()); break;
        case DW_OP_bra: out.str("DW_OP_bra: ").dec(int16_t(c.u16())); break;
        case DW_OP_skip: out.str("DW_OP_skip: ").udec(c.u16()); break;
        case DW_OP_regx: out.str("DW_OP_regx: ").udec(c.uleb()); break;
        case DW_OP_fbreg: out.str("DW_OP_fbreg: ").dec(c.sleb()); break;
        case DW_OP_bregx: {
            const uint64_t reg = c.uleb();
            const int64_t offset = c.sleb();
            out.str("DW_OP_bregx: ").dec(int64_t(reg)).ch(' ').udec(uint64_t(offset));
            break;
        }
        case DW_OP_piece: out.str("DW_OP_piece: ").udec(c.uleb()); break;
        case DW_OP_deref_size: out.str("DW_OP_deref_size: ").udec(c.u8()); break;
        case DW_OP_xderef_size: out.str("DW_OP_xderef_size: ").udec(c.u8()); break;
        case DW_OP_call2: out.str("DW_OP_call2 (0x").hexLower(c.u16()).ch(')'); break;
        case DW_OP_call4: out.str("DW_OP_call4 (0x").hexLower(c.u32()).ch(')'); break;
        case DW_OP_call_ref: out.str("DW_OP_call_ref (0x").hexLower(c.u32()).ch(')'); break;
        case DW_OP_bit_piece: {
            const uint64_t size = c.uleb();
            const uint64_t offset = c.uleb();
            out.str("DW_OP_bit_piece: ").dec(int64_t(size)).ch(' ').udec(offset);
            break;
        }
        case DW_OP_implicit_value: {
            const uint64_t length = c.uleb();
            switch (length) {
            case 1: out.str("DW_OP_implicit_value_1: ").udec(c.u8()); break;
            case 2: out.str("DW_OP_implicit_value_2: ").udec(c.u16()); break;
            case 4: out.str("DW_OP_implicit_value_4: ").udec(c.u32()); break;
            case 8: out.str("DW_OP_implicit_value_8: ").udec(c.u64()); break;
            default:
                out.str("DW_OP_implicit_value_").dec(int(length));
                c.skip(length);
                break;
            }
            break;
        }
        case DW_OP_addrx: out.str("DW_OP_addrx ").dec(int(c.uleb())); break;
        case DW_OP_constx: out.str("DW_OP_constx ").dec(int(c.uleb())); break;
        case DW_OP_entry_value: case DW_OP_GNU_entry_value: {
            // The operand is a nested expression of that many bytes: its length is printed.
            const uint64_t length = c.uleb();
            out.str("DW_OP_entry_value: ").udec(length);
            c.skip(length);
            break;
        }
        case DW_OP_const_type: case DW_OP_GNU_const_type: {
            const unsigned type = unsigned(c.uleb());
            const unsigned size = c.u8();
            switch (size) {
            case 1: out.str("DW_OP_const_type_1 ").udec(type).str(": ").udec(c.u8()); break;
            case 2: out.str("DW_OP_const_type_2 ").udec(type).str(": ").udec(c.u16()); break;
            case 4: out.str("DW_OP_const_type_4 ").udec(type).str(": ").udec(c.u32()); break;
            case 8: out.str("DW_OP_const_type_8 ").udec(type).str(": ").udec(c.u64()); break;
            default:
                out.str("DW_OP_const_type_").udec(size).ch(' ').udec(type).str(" ??");
                c.skip(size);
                break;
            }
            break;
        }
        case DW_OP_regval_type: case DW_OP_GNU_regval_type: {
            const uint64_t reg = c.uleb();
            const uint64_t type = c.uleb();
            out.str("DW_OP_regval_type: ").udec(reg).ch(' ').udec(type);
            break;
        }
        case DW_OP_deref_type: case DW_OP_GNU_deref_type:
            c.u8();
            c.uleb();
            out.str("DW_OP_deref_type");
            break;
        case DW_OP_convert: case DW_OP_GNU_convert:
            out.str("DW_OP_convert: ").udec(c.uleb());
            break;
        case DW_OP_GNU_implicit_pointer: {
            const unsigned target = c.u32();
            const int64_t offset = c.sleb();
            out.str("DW_OP_GNU_implicit_pointer: (0x").hexLower(target).str(") ").dec(offset);
            break;
        }
        default:
            // Without a known operand size the rest of the expression cannot be read.
            out.str("unsupported opcode ").dec(op).ch('\n');
            return;
        }
    }
}

void printDwarfExpression(FILE* out, DwarfCursor expression, uint8_t addressSize)
{
    TextLine line(out);
    printDwarfExpression(line, expression, addressSize);
}
