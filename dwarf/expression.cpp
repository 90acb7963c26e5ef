#include "dwarf/expression.h"

#include "dwarf/dwarfnames.h"

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

void printDwarfExpression(FILE* out, DwarfCursor c, uint8_t addressSize)
{
    bool firstOp = true;
    while (!c.atEnd()) {
        if (!firstOp)
            fputs("; ", out);
        firstOp = false;
        const uint8_t op = c.u8();
        if (op >= DW_OP_lit0 && op <= DW_OP_lit31) {
            fprintf(out, "DW_OP_lit%u", unsigned(op - DW_OP_lit0));
            continue;
        }
        if (op >= DW_OP_reg0 && op <= DW_OP_reg31) {
            fprintf(out, "DW_OP_reg%u", unsigned(op - DW_OP_reg0));
            continue;
        }
        if (op >= DW_OP_breg0 && op <= DW_OP_breg31) {
            const int64_t offset = c.sleb();
            fprintf(out, "DW_OP_breg%u: %lld", unsigned(op - DW_OP_breg0), (long long)offset);
            continue;
        }
        if (nameOnly(op)) {
            fputs(DwarfNames::operation(op), out);
            // Some of them still have operands to step over.
            switch (op) {
            case DW_OP_xderef_type: c.u8(); c.uleb(); break;
            case DW_OP_GNU_parameter_ref: c.u32(); break;
            case DW_OP_GNU_addr_index: case DW_OP_GNU_const_index: c.uleb(); break;
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
        case DW_OP_addr: fprintf(out, "DW_OP_addr: 0x%lx", (unsigned long)c.fixed(addressSize == 4 ? 4 : 8)); break;
        case DW_OP_const1u: fprintf(out, "DW_OP_const1u: %u", unsigned(c.u8())); break;
        case DW_OP_const1s: fprintf(out, "DW_OP_const1s: %d", int(int8_t(c.u8()))); break;
        case DW_OP_const2u: fprintf(out, "DW_OP_const2u: %u", unsigned(c.u16())); break;
        case DW_OP_const2s: fprintf(out, "DW_OP_const2s: %d", int(int16_t(c.u16()))); break;
        case DW_OP_const4u: fprintf(out, "DW_OP_const4u: %u", unsigned(c.u32())); break;
        case DW_OP_const4s: fprintf(out, "DW_OP_const4s: %d", int(int32_t(c.u32()))); break;
        case DW_OP_const8u: fprintf(out, "DW_OP_const8u: %lu", (unsigned long)c.u64()); break;
        case DW_OP_const8s: fprintf(out, "DW_OP_const8s: %ld", long(int64_t(c.u64()))); break;
        case DW_OP_constu: fprintf(out, "DW_OP_constu: %llu", (unsigned long long)c.uleb()); break;
        case DW_OP_consts: fprintf(out, "DW_OP_consts: %lld", (long long)c.sleb()); break;
        case DW_OP_pick: fprintf(out, "DW_OP_pick: %u", unsigned(c.u8())); break;
        case DW_OP_plus_uconst: fprintf(out, "DW_OP_plus_uconst: %llu", (unsigned long long)c.uleb()); break;
        case DW_OP_bra: fprintf(out, "DW_OP_bra: %d", int(int16_t(c.u16()))); break;
        case DW_OP_skip: fprintf(out, "DW_OP_skip: %u", unsigned(c.u16())); break;
        case DW_OP_regx: fprintf(out, "DW_OP_regx: %llu", (unsigned long long)c.uleb()); break;
        case DW_OP_fbreg: fprintf(out, "DW_OP_fbreg: %lld", (long long)c.sleb()); break;
        case DW_OP_bregx: {
            const uint64_t reg = c.uleb();
            const int64_t offset = c.sleb();
            fprintf(out, "DW_OP_bregx: %ld %lu", long(reg), (unsigned long)offset);
            break;
        }
        case DW_OP_piece: fprintf(out, "DW_OP_piece: %llu", (unsigned long long)c.uleb()); break;
        case DW_OP_deref_size: fprintf(out, "DW_OP_deref_size: %u", unsigned(c.u8())); break;
        case DW_OP_xderef_size: fprintf(out, "DW_OP_xderef_size: %u", unsigned(c.u8())); break;
        case DW_OP_call2: fprintf(out, "DW_OP_call2 (0x%x)", unsigned(c.u16())); break;
        case DW_OP_call4: fprintf(out, "DW_OP_call4 (0x%x)", unsigned(c.u32())); break;
        case DW_OP_call_ref: fprintf(out, "DW_OP_call_ref (0x%x)", unsigned(c.u32())); break;
        case DW_OP_bit_piece: {
            const uint64_t size = c.uleb();
            const uint64_t offset = c.uleb();
            fprintf(out, "DW_OP_bit_piece: %ld %lu", long(size), (unsigned long)offset);
            break;
        }
        case DW_OP_implicit_value: {
            const uint64_t length = c.uleb();
            switch (length) {
            case 1: fprintf(out, "DW_OP_implicit_value_1: %u", unsigned(c.u8())); break;
            case 2: fprintf(out, "DW_OP_implicit_value_2: %u", unsigned(c.u16())); break;
            case 4: fprintf(out, "DW_OP_implicit_value_4: %u", unsigned(c.u32())); break;
            case 8: fprintf(out, "DW_OP_implicit_value_8: %lu", (unsigned long)c.u64()); break;
            default:
                fprintf(out, "DW_OP_implicit_value_%d", int(length));
                c.skip(length);
                break;
            }
            break;
        }
        case DW_OP_addrx: fprintf(out, "DW_OP_addrx %d", int(c.uleb())); break;
        case DW_OP_constx: fprintf(out, "DW_OP_constx %d", int(c.uleb())); break;
        case DW_OP_entry_value: case DW_OP_GNU_entry_value: {
            // The operand is a nested expression of that many bytes: its length is printed.
            const uint64_t length = c.uleb();
            fprintf(out, "DW_OP_entry_value: %llu", (unsigned long long)length);
            c.skip(length);
            break;
        }
        case DW_OP_const_type: case DW_OP_GNU_const_type: {
            const unsigned type = unsigned(c.uleb());
            const unsigned size = c.u8();
            switch (size) {
            case 1: fprintf(out, "DW_OP_const_type_1 %u: %u", type, unsigned(c.u8())); break;
            case 2: fprintf(out, "DW_OP_const_type_2 %u: %u", type, unsigned(c.u16())); break;
            case 4: fprintf(out, "DW_OP_const_type_4 %u: %u", type, unsigned(c.u32())); break;
            case 8: fprintf(out, "DW_OP_const_type_8 %u: %llu", type, (unsigned long long)c.u64()); break;
            default:
                fprintf(out, "DW_OP_const_type_%u %u ??", size, type);
                c.skip(size);
                break;
            }
            break;
        }
        case DW_OP_regval_type: case DW_OP_GNU_regval_type: {
            const uint64_t reg = c.uleb();
            const uint64_t type = c.uleb();
            fprintf(out, "DW_OP_regval_type: %llu %llu", (unsigned long long)reg, (unsigned long long)type);
            break;
        }
        case DW_OP_deref_type: case DW_OP_GNU_deref_type:
            c.u8();
            c.uleb();
            fputs("DW_OP_deref_type", out);
            break;
        case DW_OP_convert: case DW_OP_GNU_convert:
            fprintf(out, "DW_OP_convert: %llu", (unsigned long long)c.uleb());
            break;
        case DW_OP_GNU_implicit_pointer: {
            const unsigned target = c.u32();
            const int64_t offset = c.sleb();
            fprintf(out, "DW_OP_GNU_implicit_pointer: (0x%x) %ld", target, long(offset));
            break;
        }
        default:
            // Without a known operand size the rest of the expression cannot be read.
            fprintf(out, "unsupported opcode %d\n", int(op));
            return;
        }
    }
}
