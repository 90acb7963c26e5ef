#!/usr/bin/python3
"""Differential test: the -dwarf dump against llvm-dwarfdump and readelf.

    python3 tests/dwarf/dwarf_diff_test.py <path-to-elfdwarfdump> [--min-members N]

Entry trees. `elfdwarfdump -dwarf` prints every entry of .debug_info and
.debug_types; `llvm-dwarfdump --debug-info --debug-types -v` prints the same
entries with their forms. Entries are paired by section offset and must agree
in depth, tag and, attribute by attribute in order, in attribute name, form
name and value:

  * constants, flags, addresses, indexes: the number (llvm's enumeration names
    such as DW_ATE_signed are turned back into numbers here, true/false into
    1/0; llvm prints some in decimal);
  * references: ref1..ref_udata are unit-relative in both (llvm's "cu + X"),
    ref_addr and section offsets are the stored numbers, ref_sig8 the
    signature; after DW_AT_abstract_origin and DW_AT_specification our tag and
    offset must be those of the entry llvm has at the target, or the "failed"
    text when llvm has no entry there;
  * strings: the text (llvm's escapes undone);
  * blocks: llvm prints plain blocks as bytes (compared byte for byte) and
    location-like blocks and expressions decoded. Our bytes are decoded here
    and must give llvm's operations (names and operand values); the
    operations we print for DW_AT_location must be those same bytes in our
    notation, also where llvm cannot decode them;
  * DW_AT_decl_file/DW_AT_call_file: the name we print after the number must
    be the file llvm names;
  * DW_AT_language: our DW_LANG name must be llvm's;
  * DW_AT_ranges: every range; location lists: every range, and every
    expression, read here from .debug_loc/.debug_loclists, decoded as above
    against llvm's decoding and against what we print.
Refused forms must be reported on stderr once per attribute read.

Name tables, ranges, macros. Our Pubnames, Pubtypes, Aranges, Macros and
Macinfo lists against `arm-none-eabi-readelf
--debug-dump=pubnames,pubtypes,aranges,macro` (which prints .debug_macinfo as
well): names with unit and entry offsets, ranges with their unit, macro
contributions (header and every entry: kind, line, text or file, import).

Inputs: the fixtures with DWARF entries (tests/fixtures/, examples/blinky)
and a fixed sample of members of libc, libc_nano, libm, libsupc++, libnosys
and libstdc++ in six multilib variants. Our tool reads the archives
themselves (libstdc++.a excepted: its dump runs to 185 MB, so its sampled
members are read one by one); the reference tools read the members
extracted with arm-none-eabi-ar. Exit status 0 only when nothing differs and
at least --min-members library members with entries were compared.
"""

import argparse
import collections
import concurrent.futures
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.normpath(os.path.join(HERE, "..", ".."))
FIXTURES = os.path.join(REPO, "tests", "fixtures")
NEWLIB = "/usr/lib/arm-none-eabi/newlib"
LLVM = "llvm-dwarfdump"
READELF = "arm-none-eabi-readelf"
AR = "arm-none-eabi-ar"
DEFAULT_MIN_MEMBERS = 100
MAX_SHOWN = int(os.environ.get("DWARF_DIFF_SHOW", "40"))
LLVM_TIMEOUT = 60

# Fixtures compared, relative to the repository. Others have no DWARF entries.
FIXTURE_FILES = [
    "tests/fixtures/dwarf/forms.o",
    "tests/fixtures/dwarf/forms-be.o",
    "tests/fixtures/dwarf/lines.o",
    "tests/fixtures/dwarf/lines.elf",
    "tests/fixtures/dwarf/shapes-v2.o",
    "tests/fixtures/dwarf/shapes-v3.o",
    "tests/fixtures/dwarf/shapes-v4.o",
    "tests/fixtures/dwarf/shapes-v5.o",
    "tests/fixtures/dwarf/shapes-clang-v5.o",
    "tests/fixtures/dwarf/typeunits.o",
    "tests/fixtures/dwarf/typeunits.elf",
    "tests/fixtures/elf/bigendian.o",
    "tests/fixtures/elf/cortexm4.elf",
    "tests/fixtures/elf/cxx.o",
    "tests/fixtures/elf/thumb.o",
    "tests/fixtures/elf/x86_64.o",
    "tests/fixtures/elf/libfixture.a",
    "tests/fixtures/tool/regmap.elf",
    "examples/blinky/blinky.elf",
]

# The library sample: (archive, members per variant). Members are taken at
# evenly spaced positions of the archive, shifted per variant, so each
# variant contributes different members. libstdc++ members are large; only
# those up to STDCXX_MAX_MEMBER bytes are candidates.
VARIANTS = [
    ".",
    "thumb/v6-m/nofp",
    "thumb/v7-m/nofp",
    "thumb/v7e-m+fp/hard",
    "thumb/v8-m.main/nofp",
    "arm/v5te/hard",
]
LIBRARIES = [("libc.a", 30), ("libc_nano.a", 8), ("libm.a", 16), ("libsupc++.a", 6), ("libnosys.a", 4),
             ("libstdc++.a", 4)]
STDCXX_MAX_MEMBER = 400000
# Members added to the sample for encodings the evenly spaced ones lack:
# floating_from_chars.o has a backward DW_OP_skip, lib_a-sf_nextafter.o a
# DW_OP_bregx with a negative offset.
EXTRA_MEMBERS = {("thumb/v7-m/nofp", "libstdc++.a"): ["floating_from_chars.o"],
                 ("thumb/v7e-m+fp/hard", "libm.a"): ["lib_a-sf_nextafter.o"]}

DELIBERATE = {
    "implicit-const":
        "DW_FORM_implicit_const is not supported: reported on stderr and "
        "printed as 0x0, llvm prints the constant; only the attribute and "
        "form names are compared (and nothing we print after the value).",
    "unsupported-form":
        "The other refused forms (data16, ref_sup4/8, strp_sup and the GNU "
        "split/alternate forms) print 0 likewise: names compared only.",
    "relocations-not-applied":
        "Our reader takes DWARF as stored and applies no relocations; "
        "llvm-dwarfdump and readelf do. In relocatable files the relocation "
        "sections of debug sections are therefore disabled in the copy the "
        "reference tools read (counted: relocation entries disabled).",
    "unknown-code-notation":
        "A tag, attribute or language without a name prints as 'unexpected "
        "DW_TAG 0x5555', llvm as DW_TAG_unknown_5555 (attributes alike) or "
        "the bare number (languages).",
    "list-base-not-applied":
        "Range and location list entries relative to the unit's base "
        "address print without that base (the unit's base is deliberately "
        "not applied to lists); llvm adds the unit's DW_AT_low_pc. Accepted "
        "when ours + base = llvm for an entry before any base-address entry "
        "of its list.",
    "v3-location-list-offset":
        "A DWARF 2/3 location attribute in a data4/data8 form is a location "
        "list offset: we print the number, llvm the list; the offset is "
        "compared.",
    "decl-file-path":
        "After DW_AT_decl_file/call_file we print the file table's name, "
        "llvm the path joined with its directories: ours must be llvm's "
        "path or its last components.",
    "entry-value-length":
        "Our printed DW_OP_entry_value shows the length of its nested "
        "expression, not the nested operations: the length is compared (the "
        "nested operations are compared where we print the bytes).",
    "op-text-operands":
        "Our printed DW_OP_deref_type, xderef_type, reinterpret and the GNU "
        "parameter_ref/addr_index/const_index show the name alone: compared "
        "by name (their operands where we print the bytes).",
    "gnu-op-standard-name":
        "Our printed GNU forerunners of DWARF 5 operations "
        "(DW_OP_GNU_entry_value, _const_type, _regval_type, _deref_type, "
        "_convert) carry the standard operation's name.",
    "llvm-cannot-decode":
        "llvm-dwarfdump 14 stops at operations it does not know (const_type, "
        "deref_type, reinterpret, GNU_uninit, GNU_parameter_ref: "
        "'<decoding error>'); from there on our bytes and text are checked "
        "against the decoding here only.",
    "ranges-end-at-zero-start":
        "A DWARF 2-4 .debug_ranges list is read up to its first entry whose start is 0 (the reader's rule), "
        "llvm reads to the (0, 0) end: ours must be the part of llvm's list before that entry.",
    "skip-bregx-unsigned":
        "DW_OP_skip prints its 2-byte operand and DW_OP_bregx its offset unsigned (the dump's formats), "
        "llvm signed: compared modulo 2^16 and 2^64.",
    "implicit-pointer-unsupported":
        "DW_OP_implicit_pointer (0xa0) has no printed form: we print 'unsupported opcode 160' and end the "
        "expression there, llvm decodes it.",
    "llvm-unknown-form":
        "llvm-dwarfdump 14 does not know DW_FORM_addrx3 (0x2b) and gives up "
        "the rest of the unit (forms.o, forms-be.o); our entries after that "
        "point are not compared.",
    "llvm-crash-skipped":
        "llvm-dwarfdump 14 overflows its stack on a few libstdc++ members; "
        "those members are skipped (counted).",
    "x86_64-be-skipped":
        "elf/x86_64-be.o has byte-swapped headers over little-endian DWARF, "
        "which no tool can decode; it is not compared.",
}


class Report:
    def __init__(self):
        self.mismatches = []
        self.deliberate = collections.Counter()
        self.files = 0
        self.members = 0
        self.units = 0
        self.dies = 0
        self.attributes = 0
        self.values = 0
        self.names = 0
        self.aranges = 0
        self.macros = 0
        self.skipped = []

    def fail(self, where, what, ours, theirs):
        self.mismatches.append((where, what, ours, theirs))


# --------------------------------------------------------------------------
# ELF sections, read here for two things: disabling the relocations of debug
# sections in a relocatable file, and the location list sections.

def section_headers(data):
    """-> (struct byte-order prefix, e_type, [(header offset, name, type,
    offset, size, info, entsize)]) or None when not an ELF file."""
    if len(data) < 64 or data[:4] != b"\x7fELF":
        return None
    e = "<" if data[5] == 1 else ">"
    if data[4] == 2:
        shoff, = struct.unpack_from(e + "Q", data, 0x28)
        shentsize, shnum, shstrndx = struct.unpack_from(e + "HHH", data, 0x3a)
        layout = e + "IIQQQQIIQQ"
    else:
        shoff, = struct.unpack_from(e + "I", data, 0x20)
        shentsize, shnum, shstrndx = struct.unpack_from(e + "HHH", data, 0x2e)
        layout = e + "IIIIIIIIII"
    raw = []
    for i in range(shnum):
        at = shoff + i * shentsize
        name, kind, _, _, offset, size, _, info, _, entsize = struct.unpack_from(layout, data, at)
        raw.append((at, name, kind, offset, size, info, entsize))
    strtab = raw[shstrndx][3]
    headers = []
    for at, name, kind, offset, size, info, entsize in raw:
        start = strtab + name
        text = bytes(data[start:data.index(0, start)]).decode("latin-1")
        headers.append((at, text, kind, offset, size, info, entsize))
    return e, struct.unpack_from(e + "H", data, 16)[0], headers


def disable_debug_relocations(path):
    """Rewrites the SHT_REL/SHT_RELA sections that apply to .debug_* sections
    of a relocatable file as SHT_PROGBITS, so that the reference tools read
    the stored values as our tool does. Returns the number of relocation
    entries disabled."""
    with open(path, "rb") as f:
        data = bytearray(f.read())
    parsed = section_headers(data)
    if parsed is None or parsed[1] != 1:     # ET_REL only
        return 0
    e, _, headers = parsed
    disabled = 0
    for at, _, kind, _, size, info, entsize in headers:
        if kind in (4, 9) and info < len(headers) and headers[info][1].startswith(".debug"):
            struct.pack_into(e + "I", data, at + 4, 1)
            disabled += size // (entsize or 1)
    if disabled:
        with open(path, "wb") as f:
            f.write(data)
    return disabled


def elf_debug_sections(path):
    """-> ({name: bytes} of the first section of each .debug_* name, big
    endian?)."""
    with open(path, "rb") as f:
        data = f.read()
    parsed = section_headers(data)
    if parsed is None:
        return {}, False
    e, _, headers = parsed
    sections = {}
    for _, name, kind, offset, size, _, _ in headers:
        if name.startswith(".debug") and kind != 8 and name not in sections:
            sections[name] = data[offset:offset + size]
    return sections, e == ">"


def list_expressions(sections, big_endian, version, offset, address_size):
    """The expressions of the location list at `offset`, in entry order."""
    out = []
    if version >= 5:
        c = Bytes(sections.get(".debug_loclists", b""), big_endian)
        c.pos = offset
        while True:
            kind = c.fixed(1)
            if kind == 0:
                return out
            if kind == 1:
                c.uleb()
                continue
            if kind == 6:
                c.fixed(address_size)
                continue
            if kind in (2, 3, 4):
                c.uleb(), c.uleb()
            elif kind == 7:
                c.fixed(address_size), c.fixed(address_size)
            elif kind == 8:
                c.fixed(address_size), c.uleb()
            elif kind != 5:
                raise ValueError("location list entry kind %d" % kind)
            size = c.uleb()
            out.append(c.data[c.pos:c.pos + size])
            c.pos += size
    c = Bytes(sections.get(".debug_loc", b""), big_endian)
    c.pos = offset
    largest = (1 << (8 * address_size)) - 1
    while True:
        start, end = c.fixed(address_size), c.fixed(address_size)
        if start == 0 and end == 0:
            return out
        if start == largest:
            continue
        size = c.fixed(2)
        out.append(c.data[c.pos:c.pos + size])
        c.pos += size


# --------------------------------------------------------------------------
# Expressions. The bytes we print are decoded here into (name, operands,
# nested operations) to set against llvm's decoding.

def _op_table():
    # Operand kinds: a address, 1/2/4/8 unsigned and 1s/2s/4s/8s signed
    # fixed sizes, u ULEB128, s SLEB128, r a 4-byte section offset, B a
    # ULEB128 length and that many bytes, C a length byte and that many
    # bytes, E a ULEB128 length and a nested expression of that length.
    t = {
        0x03: ("DW_OP_addr", "a"), 0x06: ("DW_OP_deref", ""),
        0x08: ("DW_OP_const1u", "1"), 0x09: ("DW_OP_const1s", "1s"),
        0x0a: ("DW_OP_const2u", "2"), 0x0b: ("DW_OP_const2s", "2s"),
        0x0c: ("DW_OP_const4u", "4"), 0x0d: ("DW_OP_const4s", "4s"),
        0x0e: ("DW_OP_const8u", "8"), 0x0f: ("DW_OP_const8s", "8s"),
        0x10: ("DW_OP_constu", "u"), 0x11: ("DW_OP_consts", "s"),
        0x12: ("DW_OP_dup", ""), 0x13: ("DW_OP_drop", ""), 0x14: ("DW_OP_over", ""),
        0x15: ("DW_OP_pick", "1"), 0x16: ("DW_OP_swap", ""), 0x17: ("DW_OP_rot", ""),
        0x18: ("DW_OP_xderef", ""), 0x19: ("DW_OP_abs", ""), 0x1a: ("DW_OP_and", ""),
        0x1b: ("DW_OP_div", ""), 0x1c: ("DW_OP_minus", ""), 0x1d: ("DW_OP_mod", ""),
        0x1e: ("DW_OP_mul", ""), 0x1f: ("DW_OP_neg", ""), 0x20: ("DW_OP_not", ""),
        0x21: ("DW_OP_or", ""), 0x22: ("DW_OP_plus", ""), 0x23: ("DW_OP_plus_uconst", "u"),
        0x24: ("DW_OP_shl", ""), 0x25: ("DW_OP_shr", ""), 0x26: ("DW_OP_shra", ""),
        0x27: ("DW_OP_xor", ""), 0x28: ("DW_OP_bra", "2s"), 0x29: ("DW_OP_eq", ""),
        0x2a: ("DW_OP_ge", ""), 0x2b: ("DW_OP_gt", ""), 0x2c: ("DW_OP_le", ""),
        0x2d: ("DW_OP_lt", ""), 0x2e: ("DW_OP_ne", ""), 0x2f: ("DW_OP_skip", "2s"),
        0x90: ("DW_OP_regx", "u"), 0x91: ("DW_OP_fbreg", "s"), 0x92: ("DW_OP_bregx", "u s"),
        0x93: ("DW_OP_piece", "u"), 0x94: ("DW_OP_deref_size", "1"),
        0x95: ("DW_OP_xderef_size", "1"), 0x96: ("DW_OP_nop", ""),
        0x97: ("DW_OP_push_object_address", ""), 0x98: ("DW_OP_call2", "2"),
        0x99: ("DW_OP_call4", "4"), 0x9a: ("DW_OP_call_ref", "r"),
        0x9b: ("DW_OP_form_tls_address", ""), 0x9c: ("DW_OP_call_frame_cfa", ""),
        0x9d: ("DW_OP_bit_piece", "u u"), 0x9e: ("DW_OP_implicit_value", "B"),
        0x9f: ("DW_OP_stack_value", ""), 0xa0: ("DW_OP_implicit_pointer", "r s"),
        0xa1: ("DW_OP_addrx", "u"), 0xa2: ("DW_OP_constx", "u"),
        0xa3: ("DW_OP_entry_value", "E"), 0xa4: ("DW_OP_const_type", "u C"),
        0xa5: ("DW_OP_regval_type", "u u"), 0xa6: ("DW_OP_deref_type", "1 u"),
        0xa7: ("DW_OP_xderef_type", "1 u"), 0xa8: ("DW_OP_convert", "u"),
        0xa9: ("DW_OP_reinterpret", "u"),
        0xe0: ("DW_OP_GNU_push_tls_address", ""), 0xf0: ("DW_OP_GNU_uninit", ""),
        0xf2: ("DW_OP_GNU_implicit_pointer", "r s"), 0xf3: ("DW_OP_GNU_entry_value", "E"),
        0xf4: ("DW_OP_GNU_const_type", "u C"), 0xf5: ("DW_OP_GNU_regval_type", "u u"),
        0xf6: ("DW_OP_GNU_deref_type", "1 u"), 0xf7: ("DW_OP_GNU_convert", "u"),
        0xf9: ("DW_OP_GNU_reinterpret", "u"), 0xfa: ("DW_OP_GNU_parameter_ref", "4"),
        0xfb: ("DW_OP_GNU_addr_index", "u"), 0xfc: ("DW_OP_GNU_const_index", "u"),
    }
    for i in range(32):
        t[0x30 + i] = ("DW_OP_lit%d" % i, "")
        t[0x50 + i] = ("DW_OP_reg%d" % i, "")
        t[0x70 + i] = ("DW_OP_breg%d" % i, "s")
    return t


OPS = _op_table()


class Bytes:
    def __init__(self, data, big_endian):
        self.data, self.pos, self.be = data, 0, big_endian

    def fixed(self, n, signed=False):
        if self.pos + n > len(self.data):
            raise ValueError("past the end")
        chunk = bytes(self.data[self.pos:self.pos + n])
        self.pos += n
        return int.from_bytes(chunk, "big" if self.be else "little", signed=signed)

    def uleb(self):
        value = shift = 0
        while True:
            if self.pos >= len(self.data):
                raise ValueError("past the end")
            b = self.data[self.pos]
            self.pos += 1
            value |= (b & 0x7f) << shift
            shift += 7
            if not b & 0x80:
                return value

    def sleb(self):
        value = shift = 0
        while True:
            if self.pos >= len(self.data):
                raise ValueError("past the end")
            b = self.data[self.pos]
            self.pos += 1
            value |= (b & 0x7f) << shift
            shift += 7
            if not b & 0x80:
                if b & 0x40:
                    value -= 1 << shift
                return value


def decode_expression(data, address_size, big_endian):
    """-> [(name, [operands], nested ops or None)]; an undecodable operation
    ends the list with ("?", [opcode], None)."""
    c = Bytes(data, big_endian)
    ops = []
    while c.pos < len(data):
        code = data[c.pos]
        c.pos += 1
        if code not in OPS:
            ops.append(("?", [code], None))
            return ops
        name, shape = OPS[code]
        operands, nested = [], None
        try:
            for kind in shape.split():
                if kind == "a":
                    operands.append(c.fixed(address_size))
                elif kind == "r":
                    operands.append(c.fixed(4))
                elif kind in ("1", "2", "4", "8"):
                    operands.append(c.fixed(int(kind)))
                elif kind in ("1s", "2s", "4s", "8s"):
                    operands.append(c.fixed(int(kind[0]), signed=True))
                elif kind == "u":
                    operands.append(c.uleb())
                elif kind == "s":
                    operands.append(c.sleb())
                elif kind in ("B", "C"):
                    size = c.uleb() if kind == "B" else c.fixed(1)
                    operands.append(size)
                    operands.extend(c.fixed(1) for _ in range(size))
                elif kind == "E":
                    size = c.uleb()
                    operands.append(size)
                    if c.pos + size > len(data):
                        raise ValueError("past the end")
                    nested = decode_expression(data[c.pos:c.pos + size], address_size, big_endian)
                    c.pos += size
        except ValueError:
            ops.append(("?", [code], None))
            return ops
        ops.append((name, operands, nested))
    return ops


# llvm names the ARM registers it knows; a name stands for its DWARF number.
ARM_REGISTERS = dict([("R%d" % i, i) for i in range(13)] + [("SP", 13), ("LR", 14), ("PC", 15)]
                     + [("D%d" % i, 256 + i) for i in range(32)])
REGISTER_OPERAND_OPS = {"DW_OP_regx", "DW_OP_bregx", "DW_OP_regval_type", "DW_OP_GNU_regval_type"}
INT_RE = re.compile(r"^[+-]?(0x[0-9a-fA-F]+|\d+)$")
REG_RE = re.compile(r"^([A-Z][A-Z0-9]*)([+-]\d+)?$")


def split_top(text, sep):
    """Splits at `sep` outside parentheses and quotes."""
    parts, depth, quoted, start, i = [], 0, False, 0, 0
    while i < len(text):
        ch = text[i]
        if ch == '"' and (i == 0 or text[i - 1] != "\\"):
            quoted = not quoted
        elif not quoted and ch == "(":
            depth += 1
        elif not quoted and ch == ")":
            depth -= 1
        elif not quoted and depth == 0 and text.startswith(sep, i):
            parts.append(text[start:i])
            i += len(sep)
            start = i
            continue
        i += 1
    parts.append(text[start:])
    return [p for p in parts if p.strip()]


def parse_llvm_ops(text):
    """llvm's 'DW_OP_breg4 R4-36, DW_OP_stack_value' -> [(name, [ints], nested)];
    '<decoding error>' ends the list with ("<decoding error>", [], None)."""
    ops = []
    for part in split_top(text.strip(), ", "):
        part = part.strip()
        if part.startswith("<decoding error>"):
            ops.append(("<decoding error>", [], None))
            return ops
        m = re.match(r"^(DW_OP_\w+)\((.*?)\)?$", part, re.S)
        if m:   # entry_value and its nested expression
            ops.append((m.group(1), [], parse_llvm_ops(m.group(2))))
            continue
        name, _, rest = part.partition(" ")
        rest = re.sub(r'"(?:[^"\\]|\\.)*"', " ", rest)                 # type names
        rest = re.sub(r"\((0x[0-9a-f]+) -> 0x[0-9a-f]+\)", r"\1", rest)  # base type refs
        operands = []
        for token in rest.split():
            if INT_RE.match(token):
                operands.append(int(token, 0))
                continue
            m = REG_RE.match(token)
            if m:
                if name in REGISTER_OPERAND_OPS:
                    operands.append(ARM_REGISTERS.get(m.group(1), m.group(1)))
                if m.group(2):
                    operands.append(int(m.group(2)))
                continue
            operands.append(token)
        ops.append((name, operands, None))
    return ops


def parse_our_ops(text):
    """Our 'DW_OP_breg4: -36; DW_OP_stack_value' -> [(name, [ints])]."""
    ops = []
    for part in text.strip().split("; "):
        part = part.strip()
        if not part:
            continue
        if part.startswith("unsupported opcode"):
            ops.append(("?", [int(part.split()[2])]))
            continue
        name, _, rest = part.partition(" ")
        name = name.rstrip(":")
        operands = []
        for token in rest.replace("(", " ").replace(")", " ").split():
            token = token.rstrip(":")
            operands.append(int(token, 0) if INT_RE.match(token) else token)
        ops.append((name, operands))
    return ops


# Our operation text writes most operations as "name: operands", the operands
# in the order decoded here. The exceptions: operations printed by name alone
# (their operands are stepped over), GNU forerunners printed under the
# standard operation's name, and those expected_printed() rewrites.
NAME_ONLY = {"DW_OP_deref_type", "DW_OP_GNU_deref_type", "DW_OP_xderef_type",
             "DW_OP_GNU_parameter_ref", "DW_OP_GNU_addr_index", "DW_OP_GNU_const_index",
             "DW_OP_reinterpret", "DW_OP_GNU_reinterpret"}
GNU_STANDARD = {
    "DW_OP_GNU_entry_value": "DW_OP_entry_value", "DW_OP_GNU_const_type": "DW_OP_const_type",
    "DW_OP_GNU_regval_type": "DW_OP_regval_type", "DW_OP_GNU_deref_type": "DW_OP_deref_type",
    "DW_OP_GNU_convert": "DW_OP_convert",
}


def expected_printed(rep, name, operands, big_endian):
    """-> (name, operands) our text should show for a decoded operation."""
    if name in GNU_STANDARD:
        rep.deliberate["gnu-op-standard-name"] += 1
        name = GNU_STANDARD[name]
    if name in NAME_ONLY:
        rep.deliberate["op-text-operands"] += 1
        return name, []
    if name == "DW_OP_entry_value":
        rep.deliberate["entry-value-length"] += 1
        return name, operands[:1]
    if name == "DW_OP_skip" and operands and operands[0] < 0:
        rep.deliberate["skip-bregx-unsigned"] += 1
        return name, [operands[0] & 0xFFFF]
    if name == "DW_OP_bregx" and len(operands) == 2 and operands[1] < 0:
        rep.deliberate["skip-bregx-unsigned"] += 1
        return name, [operands[0], operands[1] & 0xFFFFFFFFFFFFFFFF]
    if name == "DW_OP_implicit_pointer":
        rep.deliberate["implicit-pointer-unsupported"] += 1
        return "?", [0xa0]
    if name in ("DW_OP_implicit_value", "DW_OP_const_type"):
        # The bytes print as one number of their size, in the file's byte order.
        head = [] if name == "DW_OP_implicit_value" else operands[:1]
        size, raw = (operands[0], operands[1:]) if name == "DW_OP_implicit_value" else (operands[1], operands[2:])
        value = int.from_bytes(bytes(raw), "big" if big_endian else "little")
        if size in (1, 2, 4, 8):
            return "%s_%d" % (name, size), head + [value]
        return "%s_%d" % (name, size), head + (["??"] if head else [])
    return name, operands


def flattened(ops, ours):
    """Nested expressions inline after their operation. llvm-dwarfdump 14
    drops the closing parenthesis of a DW_OP_entry_value holding more than
    one operation, so where the nested expression ends cannot be read from
    its text; the length we decode stays with our side's operation."""
    out = []
    for name, operands, nested in ops:
        out.append((name, [] if ours and nested is not None else operands))
        if nested is not None:
            out.extend(flattened(nested, ours))
    return out


def compare_decoded(rep, where, decoded, llvm_ops):
    """Our bytes, decoded here, against llvm's operations."""
    ours, theirs = flattened(decoded, True), flattened(llvm_ops, False)
    for i, (name, operands) in enumerate(ours):
        if i >= len(theirs):
            rep.fail(where, "operation %d" % i, name, None)
            return
        lname, loperands = theirs[i]
        if lname == "<decoding error>":
            rep.deliberate["llvm-cannot-decode"] += 1
            return
        if name == "?":
            rep.fail(where, "operation %d undecodable here" % i, operands, lname)
            return
        if name != lname:
            rep.fail(where, "operation %d" % i, name, lname)
            return
        if operands != loperands:
            rep.fail(where, "operands of %s" % name, operands, loperands)
            return
    if len(theirs) > len(ours):
        rep.fail(where, "operations", len(ours), len(theirs))


def compare_op_text(rep, where, ours_text, decoded, big_endian):
    """The operations we print against the decoding here of the same bytes."""
    ours = parse_our_ops(ours_text)
    for i, (name, operands, _) in enumerate(decoded):
        if i >= len(ours):
            rep.fail(where, "printed operations", ours_text, "%d operations" % len(decoded))
            return
        want = ("?", operands) if name == "?" else expected_printed(rep, name, operands, big_endian)
        if ours[i] != want:
            rep.fail(where, "printed operation %d" % i, ours[i], want)
            return
        if name == "?":
            return
    if len(ours) > len(decoded):
        rep.fail(where, "printed operations", ours_text, "%d operations" % len(decoded))


# --------------------------------------------------------------------------
# llvm-dwarfdump --debug-info --debug-types -v

LLVM_FILE_RE = re.compile(r"^(\S.*?):\s+file format \S+")
LLVM_SECTION_RE = re.compile(r"^\.debug_(info|types) contents:")
LLVM_UNIT_RE = re.compile(r"^0x([0-9a-f]{8}): ([A-Za-z ]*Unit): (.*)$")
LLVM_DIE_RE = re.compile(r"^0x([0-9a-f]{8}):( +)(DW_TAG_\w+|NULL)")
LLVM_ATTR_RE = re.compile(r"^\s+(DW_AT_\w+) \[(DW_FORM_\w+)\]\t\((.*)$")


class Unit:
    def __init__(self, section, offset, header):
        self.section = section
        self.offset = offset
        self.version = int(re.search(r"version = 0x([0-9a-f]+)", header).group(1), 16)
        self.address_size = int(re.search(r"addr_size = 0x([0-9a-f]+)", header).group(1), 16)
        m = re.search(r"type_signature = 0x([0-9a-f]+)", header)
        self.signature = int(m.group(1), 16) if m else None
        m = re.search(r"type_offset = 0x([0-9a-f]+)", header)
        self.type_offset = int(m.group(1), 16) if m else None
        self.dies = []
        self.base = 0
        self.end = None
        m = re.search(r"next unit at 0x([0-9a-f]+)", header)
        if m:
            self.end = int(m.group(1), 16)


class Die:
    __slots__ = ("offset", "depth", "tag", "attrs", "unit")

    def __init__(self, offset, depth, tag, unit):
        self.offset, self.depth, self.tag, self.unit = offset, depth, tag, unit
        self.attrs = []


def parse_llvm(text):
    """-> {file: [Unit...]} with the units of .debug_info then .debug_types."""
    files = collections.OrderedDict()
    units = None
    section = None
    unit = die = attr = None
    for line in text.split("\n"):
        m = LLVM_FILE_RE.match(line)
        if m:
            units = files.setdefault(m.group(1), [])
            unit = die = attr = None
            continue
        m = LLVM_SECTION_RE.match(line)
        if m:
            section = m.group(1)
            unit = die = attr = None
            continue
        m = LLVM_UNIT_RE.match(line)
        if m and units is not None:
            unit = Unit(section, int(m.group(1), 16), m.group(3))
            units.append(unit)
            die = attr = None
            continue
        m = LLVM_DIE_RE.match(line)
        if m and unit is not None:
            attr = None
            if m.group(3) == "NULL":
                die = None
                continue
            die = Die(int(m.group(1), 16), (len(m.group(2)) - 1) // 2, m.group(3), unit)
            unit.dies.append(die)
            continue
        m = LLVM_ATTR_RE.match(line)
        if m and die is not None:
            attr = [m.group(1), m.group(2), m.group(3)]
            die.attrs.append(attr)
            continue
        if not line.strip():
            attr = None
            continue
        if attr is not None:
            attr[2] += "\n" + line
    for units in files.values():
        for unit in units:
            for die in unit.dies:
                for a in die.attrs:
                    if a[2].endswith(")"):
                        a[2] = a[2][:-1]
            if unit.dies and unit.dies[0].depth == 0:
                for a in unit.dies[0].attrs:
                    if a[0] == "DW_AT_low_pc":
                        v = llvm_address(a[2])
                        if v is not None:
                            unit.base = v
    return files


def llvm_address(text):
    m = re.match(r"^(?:indexed \(\w+\) address = )?(0x[0-9a-f]+)", text)
    return int(m.group(1), 16) if m else None


def llvm_string(text):
    m = re.search(r'"((?:[^"\\]|\\.)*)"', text, re.S)
    if not m:
        return None
    return re.sub(r"\\(\\|\"|n|t|[0-7]{3})",
                  lambda x: {"\\": "\\", '"': '"', "n": "\n", "t": "\t"}.get(x.group(1))
                  or chr(int(x.group(1), 8)), m.group(1))


# --------------------------------------------------------------------------
# Our dump

OUR_DIE_RE = re.compile(r"^( +)(DW_TAG_\w+|unexpected DW_TAG 0x[0-9a-f]+) \(0x([0-9A-F]+)\)$")
OUR_ATTR_RE = re.compile(r"^( +)(DW_AT_\w+|unexpected DW_AT 0x[0-9a-f]+) (DW_FORM_\w+|unexpected DW_FORM 0x[0-9a-f]+) ")
HEADINGS = ["Line", "Frame", "Debugging Information", "Debug Types", "Pubnames", "Pubtypes",
            "Aranges", "Macros", "Macinfo"]


def split_headings(text):
    """-> {heading: body} of one file's dump."""
    parts = {}
    at = 0
    for i, h in enumerate(HEADINGS):
        start = text.find("\n" + h + "\n", at)
        if start < 0:
            return None
        start += len(h) + 2
        if i + 1 < len(HEADINGS):
            end = text.find("\n" + HEADINGS[i + 1] + "\n", start)
            if end < 0:
                return None
        else:
            end = len(text)
        parts[h] = text[start:end]
        at = end
    return parts


class OurDie:
    __slots__ = ("offset", "depth", "tag", "attrs")

    def __init__(self, offset, depth, tag):
        self.offset, self.depth, self.tag = offset, depth, tag
        self.attrs = []


def parse_our_dies(body):
    dies = []
    die = attr = None
    for line in body.split("\n"):
        if not line:
            continue
        m = OUR_DIE_RE.match(line)
        if m:
            die = OurDie(int(m.group(3), 16), len(m.group(1)) // 2, m.group(2))
            dies.append(die)
            attr = None
            continue
        m = OUR_ATTR_RE.match(line)
        if m and die is not None:
            attr = [m.group(2), m.group(3), line[m.end():], []]
            die.attrs.append(attr)
            continue
        if attr is not None:
            attr[3].append(line)
        else:
            dies.append(OurDie(-1, 0, "unparsed: " + line))
    return dies


def parse_our_type_units(body):
    units = []
    for chunk in re.split(r"\nSignature: 0x([0-9a-f]+)\n", "\n" + body)[1:]:
        units.append(chunk)
    return [(int(units[i], 16), parse_our_dies(units[i + 1])) for i in range(0, len(units), 2)]


# --------------------------------------------------------------------------
# Attribute values

ADDRESS_FORMS = {"DW_FORM_addr"}
ADDRX_FORMS = {"DW_FORM_addrx", "DW_FORM_addrx1", "DW_FORM_addrx2", "DW_FORM_addrx3", "DW_FORM_addrx4"}
CONSTANT_FORMS = {"DW_FORM_data1", "DW_FORM_data2", "DW_FORM_data4", "DW_FORM_data8", "DW_FORM_udata",
                  "DW_FORM_flag", "DW_FORM_flag_present", "DW_FORM_sdata"}
UNIT_REF_FORMS = {"DW_FORM_ref1", "DW_FORM_ref2", "DW_FORM_ref4", "DW_FORM_ref8", "DW_FORM_ref_udata"}
BLOCK_FORMS = {"DW_FORM_block1", "DW_FORM_block2", "DW_FORM_block4", "DW_FORM_block", "DW_FORM_exprloc"}
STRING_FORMS = {"DW_FORM_string", "DW_FORM_strp", "DW_FORM_line_strp", "DW_FORM_strx", "DW_FORM_strx1",
                "DW_FORM_strx2", "DW_FORM_strx3", "DW_FORM_strx4"}
UNSUPPORTED_FORMS = {"DW_FORM_data16", "DW_FORM_ref_sup4", "DW_FORM_ref_sup8", "DW_FORM_strp_sup",
                     "DW_FORM_GNU_str_index", "DW_FORM_GNU_addr_index", "DW_FORM_GNU_ref_alt",
                     "DW_FORM_GNU_strp_alt"}

# The values behind the enumeration names llvm prints for constants.
_ENUMS = {
    "DW_ATE": ["", "address", "boolean", "complex_float", "float", "signed", "signed_char", "unsigned",
               "unsigned_char", "imaginary_float", "packed_decimal", "numeric_string", "edited",
               "signed_fixed", "unsigned_fixed", "decimal_float", "UTF", "UCS", "ASCII"],
    "DW_ACCESS": ["", "public", "protected", "private"],
    "DW_VIS": ["", "local", "exported", "qualified"],
    "DW_VIRTUALITY": ["none", "virtual", "pure_virtual"],
    "DW_ID": ["case_sensitive", "up_case", "down_case", "case_insensitive"],
    "DW_CC": ["", "normal", "program", "nocall", "pass_by_reference", "pass_by_value"],
    "DW_INL": ["not_inlined", "inlined", "declared_not_inlined", "declared_inlined"],
    "DW_ORD": ["row_major", "col_major"],
    "DW_DS": ["", "unsigned", "leading_overpunch", "trailing_overpunch", "leading_separate",
              "trailing_separate"],
    "DW_END": ["default", "big", "little"],
    "DW_DEFAULTED": ["no", "in_class", "out_of_class"],
    "DW_LANG": ["", "C89", "C", "Ada83", "C_plus_plus", "Cobol74", "Cobol85", "Fortran77", "Fortran90",
                "Pascal83", "Modula2", "Java", "C99", "Ada95", "Fortran95", "PLI", "ObjC",
                "ObjC_plus_plus", "UPC", "D", "Python", "OpenCL", "Go", "Modula3", "Haskell",
                "C_plus_plus_03", "C_plus_plus_11", "OCaml", "Rust", "C11", "Swift", "Julia", "Dylan",
                "C_plus_plus_14", "Fortran03", "Fortran08", "RenderScript", "BLISS"],
}
ENUM_VALUES = {"%s_%s" % (family, name): value
               for family, names in _ENUMS.items() for value, name in enumerate(names) if name}
ENUM_VALUES.update({"DW_LANG_Mips_Assembler": 0x8001, "DW_LANG_GOOGLE_RenderScript": 0x8e57,
                    "DW_LANG_BORLAND_Delphi": 0xb000, "DW_ATE_lo_user": 0x80, "DW_ATE_hi_user": 0xff})

# Attributes whose value llvm may print as an expression or location list.
LOCATION_ATTRIBUTES = {"DW_AT_location", "DW_AT_string_length", "DW_AT_return_addr",
                       "DW_AT_data_member_location", "DW_AT_frame_base", "DW_AT_static_link",
                       "DW_AT_use_location", "DW_AT_vtable_elem_location"}


def parse_int(token):
    try:
        return int(token, 0)
    except ValueError:
        return None


def our_number_and_rest(value):
    first, _, rest = value.partition(" ")
    return parse_int(first), rest


def llvm_constant(text):
    """-> number, or None when not a number (a path, an unknown name)."""
    t = text.strip()
    if t == "true":
        return 1
    if t == "false":
        return 0
    if t in ENUM_VALUES:
        return ENUM_VALUES[t]
    return parse_int(t)


class Context:
    """What attribute comparison needs about the file: llvm's entries by
    offset and type units by signature."""

    def __init__(self, units, path):
        self.sections, self.big_endian = elf_debug_sections(path)
        self.info = {}
        self.types = []
        for u in units:
            if u.section == "types":
                self.types.append(u)
            for d in u.dies:
                if u.section == "info":
                    self.info[d.offset] = d

    def target(self, unit, form, value):
        """llvm's entry a reference points at, or None."""
        if form in UNIT_REF_FORMS:
            if unit.section == "types":
                return next((d for d in unit.dies if d.offset == unit.offset + value), None)
            return self.info.get(unit.offset + value)
        if form == "DW_FORM_ref_addr":
            return self.info.get(value)
        if form == "DW_FORM_ref_sig8":
            for u in self.types + [u for u in self.all_info_units() if u.signature is not None]:
                if u.signature == value:
                    return next((d for d in u.dies if d.offset == u.offset + u.type_offset), None)
        return None

    def all_info_units(self):
        return list({id(d.unit): d.unit for d in self.info.values()}.values())


def llvm_tag_as_ours(tag):
    m = re.match(r"^DW_TAG_unknown_([0-9a-f]+)$", tag)
    return "unexpected DW_TAG 0x%x" % int(m.group(1), 16) if m else tag


def our_tag_name(tag):
    m = re.match(r"^unexpected DW_TAG 0x([0-9a-f]+)$", tag)
    return "DW_TAG_unknown_%x" % int(m.group(1), 16) if m else tag


def our_attr_name(name):
    m = re.match(r"^unexpected DW_AT 0x([0-9a-f]+)$", name)
    return "DW_AT_unknown_%x" % int(m.group(1), 16) if m else name


LLVM_RANGE_RE = re.compile(r"\[(0x[0-9a-f]+), (0x[0-9a-f]+)\)")
LLVM_LOC_RE = re.compile(r'^\s*\[(0x[0-9a-f]+), (0x[0-9a-f]+)\)(?: ".*?")?: (.*)$')
OUR_LOC4_RE = re.compile(r"^0x([0-9a-f]{8}) 0x([0-9a-f]{16}) 0x([0-9a-f]{16}) \((.*)\)$")
OUR_LOC4_BASE_RE = re.compile(r"^0x([0-9a-f]{8}) 0x([0-9a-f]{8}) \(base address\)$")
OUR_LOC4_END_RE = re.compile(r"^0x([0-9a-f]{8}) <End of List>$")
OUR_LOC5_RE = re.compile(r"^DW_LLE_(offset_pair|start_length)  0x([0-9a-f]{16}) 0x([0-9a-f]{16})\((.*)\)$")
OUR_LOC5_BASE_RE = re.compile(r"^DW_LLE_base_address(?:x \d+)? 0x([0-9a-f]{16})$")


def compare_pair(rep, where, ours, theirs, relative, base):
    if ours == theirs:
        return True
    if relative and base and (ours[0] + base, ours[1] + base) == theirs:
        rep.deliberate["list-base-not-applied"] += 1
        return True
    rep.fail(where, "range", "[0x%x, 0x%x)" % ours, "[0x%x, 0x%x)" % theirs)
    return False


def compare_ranges(rep, where, ours_text, llvm_text, unit):
    ours = [(int(a, 16), int(b, 16)) for a, b in re.findall(r"0x([0-9a-f]+)-0x([0-9a-f]+)", ours_text)]
    theirs = [(int(a, 16), int(b, 16)) for a, b in LLVM_RANGE_RE.findall(llvm_text)]
    if len(ours) < len(theirs) and unit.version <= 4:
        # A .debug_ranges list is read up to the first entry whose start is 0, which in
        # an object built with one section per function is usually its first: kept as
        # the reader's rule. What we print must be the part of llvm's list before it.
        rep.deliberate["ranges-end-at-zero-start"] += 1
        theirs = theirs[:len(ours)]
    if len(ours) != len(theirs):
        rep.fail(where, "ranges", ours_text.strip(), [("0x%x" % a, "0x%x" % b) for a, b in theirs])
        return
    # Which of llvm's entries were relative to the unit's base cannot be seen;
    # the base is accepted for every entry (a v5 list with its own base entry
    # prints absolute addresses in both).
    for o, t in zip(ours, theirs):
        if not compare_pair(rep, where, o, t, True, unit.base):
            return


def compare_location_list(rep, ctx, where, lines, llvm_text, unit):
    # An operation we cannot print ends its line early: "(unsupported opcode
    # N" then ")" on a line of its own.
    joined = []
    for line in lines:
        if line.startswith(")") and joined:
            joined[-1] += line
        else:
            joined.append(line)
    ours = []
    based = False
    for line in joined:
        m = OUR_LOC4_RE.match(line)
        if m:
            ours.append(((int(m.group(2), 16), int(m.group(3), 16)), m.group(4), not based))
            continue
        m = OUR_LOC5_RE.match(line)
        if m:
            ours.append(((int(m.group(2), 16), int(m.group(3), 16)), m.group(4),
                         m.group(1) == "offset_pair" and not based))
            continue
        if OUR_LOC4_BASE_RE.match(line) or OUR_LOC5_BASE_RE.match(line):
            based = True
            continue
        if OUR_LOC4_END_RE.match(line):
            continue
        rep.fail(where, "location list line", line, None)
        return
    first, _, rest = llvm_text.partition("\n")
    m = re.match(r"^(?:indexed \(0x[0-9a-f]+\) loclist = )?(0x[0-9a-f]+):", first)
    theirs = []
    for line in rest.split("\n"):
        if not line.strip():
            continue
        lm = LLVM_LOC_RE.match(line)
        if not lm:
            rep.fail(where, "llvm location list line", None, line)
            return
        theirs.append(((int(lm.group(1), 16), int(lm.group(2), 16)), lm.group(3)))
    if len(ours) != len(theirs):
        rep.fail(where, "location list entries", joined, llvm_text)
        return
    try:
        expressions = list_expressions(ctx.sections, ctx.big_endian, unit.version, int(m.group(1), 16),
                                       unit.address_size)
    except (ValueError, AttributeError) as error:
        rep.fail(where, "location list readable here", None, str(error))
        return
    if len(expressions) != len(theirs):
        rep.fail(where, "location list expressions", len(expressions), len(theirs))
        return
    for (pair, ops, relative), (lpair, lops), raw in zip(ours, theirs, expressions):
        if not compare_pair(rep, where, pair, lpair, relative, unit.base):
            return
        here = where + " [0x%x, 0x%x)" % lpair
        decoded = decode_expression(raw, unit.address_size, ctx.big_endian)
        compare_decoded(rep, here, decoded, parse_llvm_ops(lops))
        compare_op_text(rep, here + " (printed)", ops, decoded, ctx.big_endian)


def compare_attribute(rep, ctx, where, die, unit, ours, theirs):
    at, form, value, extra_lines = ours
    lat, lform, ltext = theirs
    rep.attributes += 1
    if our_attr_name(at) != at:
        rep.deliberate["unknown-code-notation"] += 1
    if our_attr_name(at) != lat:
        rep.fail(where, "attribute", at, lat)
        return
    where = "%s %s" % (where, lat)
    if form != lform:
        rep.fail(where, "form", form, lform)
        return
    if form == "DW_FORM_implicit_const":
        rep.deliberate["implicit-const"] += 1
        return
    if form in UNSUPPORTED_FORMS:
        rep.deliberate["unsupported-form"] += 1
        return
    rep.values += 1
    first_line = ltext.split("\n")[0]

    if form in STRING_FORMS:
        expected = llvm_string(ltext)
        if value != (expected if expected is not None else ""):
            rep.fail(where, "string", value, expected)
        return

    if form in BLOCK_FORMS:
        tokens = value.split(" ")
        raw = []
        while tokens and re.match(r"^0x[0-9a-f]{2}$", tokens[0]):
            raw.append(int(tokens.pop(0), 16))
        printed = " ".join(tokens).strip()
        m = re.match(r"^<0x([0-9a-f]+)> ((?:[0-9a-f]{2} )*)$", ltext)
        if m:
            expected = [int(b, 16) for b in m.group(2).split()]
            if raw != expected or int(m.group(1), 16) != len(expected):
                rep.fail(where, "block bytes", raw, expected)
            if printed:
                rep.fail(where, "text after block", printed, "")
            return
        decoded = decode_expression(raw, unit.address_size, ctx.big_endian)
        compare_decoded(rep, where, decoded, parse_llvm_ops(ltext))
        if lat == "DW_AT_location" and form == "DW_FORM_exprloc":
            compare_op_text(rep, where + " (printed)", printed, decoded, ctx.big_endian)
        elif printed:
            rep.fail(where, "text after block", printed, "")
        return

    if form == "DW_FORM_ref_sig8":
        m = re.match(r"^signature: (0x[0-9a-f]+) ?(.*)$", value)
        number, rest = (int(m.group(1), 16), m.group(2)) if m else (None, value)
        expected = llvm_address(ltext)
    elif form in UNIT_REF_FORMS:
        number, rest = our_number_and_rest(value)
        m = re.match(r"^cu \+ (0x[0-9a-f]+)", ltext)
        expected = int(m.group(1), 16) if m else None
    elif form in ("DW_FORM_loclistx", "DW_FORM_rnglistx"):
        number, rest = our_number_and_rest(value)
        m = re.match(r"^indexed \((0x[0-9a-f]+)\)", ltext)
        expected = int(m.group(1), 16) if m else None
    elif form in ADDRESS_FORMS or form in ADDRX_FORMS or form in ("DW_FORM_ref_addr", "DW_FORM_sec_offset"):
        number, rest = our_number_and_rest(value)
        expected = llvm_address(ltext)
    elif form in CONSTANT_FORMS:
        number, rest = our_number_and_rest(value)
        if lat in ("DW_AT_decl_file", "DW_AT_call_file") and ltext.startswith('"'):
            path = llvm_string(ltext)
            if rest != path and not path.endswith("/" + rest):
                rep.fail(where, "file name", rest, path)
            elif rest != path:
                rep.deliberate["decl-file-path"] += 1
            return
        if lat in LOCATION_ATTRIBUTES and unit.version <= 3 and form in ("DW_FORM_data4", "DW_FORM_data8"):
            rep.deliberate["v3-location-list-offset"] += 1
            m = re.match(r"^(0x[0-9a-f]+)", ltext)
            expected = int(m.group(1), 16) if m else None
            if number != expected or rest:
                rep.fail(where, "location list offset", value, first_line)
            return
        expected = llvm_constant(first_line)
        if lat == "DW_AT_language":
            lname = first_line.strip()
            if lname.startswith("DW_LANG_"):
                if rest != lname:
                    rep.fail(where, "language name", rest, lname)
            elif rest != "unexpected DW_LANG 0x%x" % (number or 0):
                rep.fail(where, "unknown language", rest, lname)
            else:
                rep.deliberate["unknown-code-notation"] += 1
            rest = ""
    else:
        rep.fail(where, "form without a rule", form, ltext)
        return

    if expected is None:
        rep.fail(where, "llvm value unreadable", value, ltext)
        return
    if number != expected:
        rep.fail(where, "value", value.strip(), first_line)
        return

    # What we print after the value.
    if lat in ("DW_AT_abstract_origin", "DW_AT_specification"):
        target = ctx.target(unit, form, number)
        if target is None:
            want = "getAbstractOrigin() failed" if lat == "DW_AT_abstract_origin" else "getSpecification() failed"
        else:
            want = "%s (0x%X)" % (llvm_tag_as_ours(target.tag), target.offset)
        if rest != want:
            rep.fail(where, "referenced entry", rest, want)
        return
    if lat == "DW_AT_ranges":
        compare_ranges(rep, where, rest, ltext, unit)
        return
    if lat == "DW_AT_location" and form in ("DW_FORM_sec_offset", "DW_FORM_loclistx"):
        if rest.strip():
            rep.fail(where, "text after list offset", rest, "")
        compare_location_list(rep, ctx, where, extra_lines, ltext, unit)
        return
    if rest.strip() or extra_lines:
        rep.fail(where, "text after value", (rest, extra_lines), "")


def compare_dies(rep, where, ctx, ours, llvm_units, excused_from):
    """Our entries (one list for all units of a section) against llvm's."""
    llvm_dies = [d for u in llvm_units for d in u.dies]
    by_offset = {d.offset: d for d in llvm_dies}
    seen = set()
    for d in ours:
        if d.offset < 0:
            rep.fail(where, "unparsed line", d.tag, None)
            continue
        theirs = by_offset.get(d.offset)
        if theirs is None:
            limit = next((end for start, end in excused_from if start <= d.offset < end), None)
            if limit is not None:
                rep.deliberate["llvm-unknown-form"] += 1
                continue
            rep.fail(where, "entry only in ours", "0x%x %s" % (d.offset, d.tag), None)
            continue
        seen.add(d.offset)
        rep.dies += 1
        here = "%s 0x%x" % (where, d.offset)
        if our_tag_name(d.tag) != d.tag:
            rep.deliberate["unknown-code-notation"] += 1
        if our_tag_name(d.tag) != theirs.tag:
            rep.fail(here, "tag", d.tag, theirs.tag)
            continue
        if d.depth != theirs.depth + 1:
            rep.fail(here, "depth", d.depth, theirs.depth + 1)
        if len(d.attrs) != len(theirs.attrs):
            rep.fail(here, "attribute count", [a[0] for a in d.attrs], [a[0] for a in theirs.attrs])
            continue
        for a, b in zip(d.attrs, theirs.attrs):
            compare_attribute(rep, ctx, here, d, theirs.unit, a, b)
    for d in llvm_dies:
        if d.offset not in seen:
            rep.fail(where, "entry only in llvm", "0x%x %s" % (d.offset, d.tag), None)
    ours_order = [d.offset for d in ours if d.offset in seen]
    if ours_order != sorted(ours_order):
        rep.fail(where, "entry order", ours_order[:10], sorted(ours_order)[:10])


def excused_units(llvm_err, units):
    """Units that llvm abandoned at a form it does not know: (from, unit end)."""
    out = []
    for m in re.finditer(r"unit at offset 0x([0-9a-f]+) contains invalid FORM_\* 0x2b at offset 0x([0-9a-f]+)",
                         llvm_err):
        unit_offset, at = int(m.group(1), 16), int(m.group(2), 16)
        end = next((u.end for u in units if u.offset == unit_offset and u.section == "info"), at)
        # The entry holding the form is the last one llvm printed; ours from there on.
        start = max([d.offset for u in units if u.offset == unit_offset for d in u.dies if d.offset < at],
                    default=at)
        out.append((start + 1, end))
    # A missing abbreviation: llvm ends the unit there, we give up only the chain of
    # entries it was in and go on reading the parent's chain (the reader's rule for a
    # lost chain), so our entries after it have no counterpart.
    for m in re.finditer(r"unit at offset 0x([0-9a-f]+) contains invalid abbreviation \d+ at offset 0x([0-9a-f]+)",
                         llvm_err):
        unit_offset, at = int(m.group(1), 16), int(m.group(2), 16)
        end = next((u.end for u in units if u.offset == unit_offset and u.section == "info"), at + 1)
        out.append((at - 1, end))
    return out


def compare_entries(rep, where, parts, llvm_units, llvm_err, path):
    ctx = Context(llvm_units, path)
    info_units = [u for u in llvm_units if u.section == "info"]
    type_units = [u for u in llvm_units if u.section == "types"]
    rep.units += len(info_units) + len(type_units)
    ours_info = parse_our_dies(parts["Debugging Information"])
    compare_dies(rep, where, ctx, ours_info, info_units, excused_units(llvm_err, llvm_units))
    ours_types = parse_our_type_units(parts["Debug Types"])
    if len(ours_types) != len(type_units):
        rep.fail(where, "type units", ["0x%x" % s for s, _ in ours_types],
                 ["0x%x" % u.signature for u in type_units])
    for (signature, dies), unit in zip(ours_types, type_units):
        here = "%s type unit 0x%x" % (where, unit.signature)
        if signature != unit.signature:
            rep.fail(here, "signature", "0x%x" % signature, "0x%x" % unit.signature)
            continue
        compare_dies(rep, here, ctx, dies, [unit], [])
    return bool(ours_info) or bool(info_units)


# --------------------------------------------------------------------------
# readelf --debug-dump=pubnames,pubtypes,aranges,macro

READELF_FILE_RE = re.compile(r"^File: (.*)$")
READELF_SECTION_RE = re.compile(r"^Contents of the (\.debug_\w+) section:")


def parse_readelf(text):
    """-> {file: {"pubnames": [...], "pubtypes": [...], "aranges": [...],
    "macro": [[header, entries]...], "macinfo": [...]}}; with one file the
    key is None."""
    files = collections.OrderedDict()
    cur = files.setdefault(None, collections.defaultdict(list))
    section = None
    unit = 0
    for line in text.split("\n"):
        m = READELF_FILE_RE.match(line)
        if m:
            cur = files.setdefault(m.group(1), collections.defaultdict(list))
            section = None
            continue
        m = READELF_SECTION_RE.match(line)
        if m:
            section = m.group(1)
            continue
        s = line.strip()
        if section in (".debug_pubnames", ".debug_pubtypes"):
            key = section[7:]
            m = re.match(r"^Offset into \.debug_info section:\s+(0x[0-9a-f]+|\d+)$", s)
            if m:
                unit = int(m.group(1), 0)
                continue
            m = re.match(r"^([0-9a-f]+)\s*\t(.*)$", s)
            if m and line.startswith("    "):
                cur[key].append((line.split("\t", 1)[1], unit, int(m.group(1), 16)))
        elif section == ".debug_aranges":
            m = re.match(r"^Offset into \.debug_info:\s+(0x[0-9a-f]+|\d+)$", s)
            if m:
                unit = int(m.group(1), 0)
                continue
            m = re.match(r"^([0-9a-f]{8,16}) ([0-9a-f]{8,16})$", s)
            if m:
                address, length = int(m.group(1), 16), int(m.group(2), 16)
                if address or length:
                    cur["aranges"].append((unit, address, length))
        elif section == ".debug_macro":
            m = re.match(r"^(Offset|Version|Offset size|Offset into \.debug_line):\s+(\S+)$", s)
            if m:
                # Each contribution's header starts with its offset.
                if m.group(1) == "Offset":
                    cur["macro"].append([{}, []])
                cur["macro"][-1][0][m.group(1)] = int(m.group(2), 0)
                continue
            if not cur["macro"]:
                continue
            entries = cur["macro"][-1][1]
            if s.startswith("DW_MACRO"):
                entries.append(readelf_macro(line.lstrip()))
            elif s and not s.startswith("Offset") and not s.startswith("Version"):
                entries.append(("unparsed", s))
        elif section == ".debug_macinfo":
            if s.startswith("DW_MACINFO"):
                cur["macinfo"].append(readelf_macro(line.lstrip()))
    return files


def readelf_of(files, path, paths):
    """readelf's lists for `path`; readelf names the file only when given
    several."""
    return files.get(path) or (files.get(None, {}) if len(paths) == 1 else {})


def readelf_macro(s):
    m = re.match(r"^(DW_MAC\w+) - lineno ?: (\d+) (?:macro : (.*)|filenum: (\d+).*)$", s)
    if m:
        if m.group(3) is not None:
            return (m.group(1), int(m.group(2)), m.group(3))
        return (m.group(1), int(m.group(2)), int(m.group(4)))
    m = re.match(r"^(DW_MACRO_import) - offset : (0x[0-9a-f]+|\d+)$", s)
    if m:
        return (m.group(1), int(m.group(2), 0))
    return (s,)


def parse_our_names(body):
    out = []
    for line in body.strip("\n").split("\n"):
        if line:
            m = re.match(r"^(.*) cuoffset 0x([0-9a-f]+) offset 0x([0-9a-f]+)$", line)
            out.append((m.group(1), int(m.group(2), 16), int(m.group(3), 16)) if m else ("unparsed", line))
    return out


def parse_our_aranges(body):
    out = []
    for line in body.strip("\n").split("\n"):
        if line:
            m = re.match(r"^cuoffset 0x([0-9a-f]+) address 0x([0-9a-f]+) length (-?\d+)$", line)
            out.append((int(m.group(1), 16), int(m.group(2), 16), int(m.group(3))) if m else ("unparsed", line))
    return out


def parse_our_macros(body):
    contributions = []
    for line in body.split("\n"):
        if not line:
            continue
        m = re.match(r"^offset 0x([0-9a-f]+) version 0x([0-9a-f]+) flags 0x([0-9a-f]{2})$", line)
        if m:
            flags = int(m.group(3), 16)
            header = {"Offset": int(m.group(1), 16), "Version": int(m.group(2), 16),
                      "Offset size": 8 if flags & 1 else 4}
            contributions.append([header, []])
            continue
        m = re.match(r"^debug_line offset 0x([0-9a-f]+)$", line)
        if m and contributions:
            contributions[-1][0]["Offset into .debug_line"] = int(m.group(1), 16)
            continue
        entries = contributions[-1][1] if contributions else []
        m = re.match(r"^(DW_MACRO_\w+) lineno (\d+) macro (.*)$", line)
        if m:
            entries.append((m.group(1), int(m.group(2)), m.group(3)))
            continue
        m = re.match(r"^(DW_MACRO_start_file) lineno (\d+) file (\d+)$", line)
        if m:
            entries.append((m.group(1), int(m.group(2)), int(m.group(3))))
            continue
        m = re.match(r"^(DW_MACRO_import) offset 0x([0-9a-f]+)$", line)
        if m:
            entries.append((m.group(1), int(m.group(2), 16)))
            continue
        entries.append((line,))
    return contributions


def parse_our_macinfo(body):
    out = []
    for line in body.split("\n"):
        if not line:
            continue
        m = re.match(r"^(DW_MACINFO_\w+) lineno (\d+) macro (.*)$", line)
        if m:
            out.append((m.group(1), int(m.group(2)), m.group(3)))
            continue
        m = re.match(r"^(DW_MACINFO_start_file) lineno (\d+) filenum (\d+)$", line)
        if m:
            out.append((m.group(1), int(m.group(2)), int(m.group(3))))
            continue
        out.append((line,))
    return out


def compare_lists(rep, where, what, ours, theirs):
    if ours != theirs:
        for i, (a, b) in enumerate(zip(ours, theirs)):
            if a != b:
                rep.fail(where, "%s entry %d" % (what, i), a, b)
                return
        rep.fail(where, "%s count" % what, len(ours), len(theirs))


def compare_tables(rep, where, parts, readelf):
    names = parse_our_names(parts["Pubnames"])
    types = parse_our_names(parts["Pubtypes"])
    compare_lists(rep, where, "pubnames", names, readelf.get("pubnames", []))
    compare_lists(rep, where, "pubtypes", types, readelf.get("pubtypes", []))
    rep.names += len(names) + len(types)
    aranges = parse_our_aranges(parts["Aranges"])
    compare_lists(rep, where, "aranges", aranges, readelf.get("aranges", []))
    rep.aranges += len(aranges)
    ours = parse_our_macros(parts["Macros"])
    theirs = readelf.get("macro", [])
    if len(ours) != len(theirs):
        rep.fail(where, "macro contributions", len(ours), len(theirs))
    for i, ((h, e), (lh, le)) in enumerate(zip(ours, theirs)):
        if h != lh:
            rep.fail(where, "macro contribution %d header" % i, h, lh)
        compare_lists(rep, where, "macro contribution %d" % i, e, le)
        rep.macros += len(e)
    macinfo = parse_our_macinfo(parts["Macinfo"])
    compare_lists(rep, where, "macinfo", macinfo, readelf.get("macinfo", []))
    rep.macros += len(macinfo)


# --------------------------------------------------------------------------
# Running the tools

def run(cmd, timeout=None):
    try:
        p = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout)
    except subprocess.TimeoutExpired:
        return -1, "", "timeout"
    return p.returncode, p.stdout.decode("utf-8", "replace"), p.stderr.decode("utf-8", "replace")


def llvm_dump(paths):
    return run([LLVM, "--debug-info", "--debug-types", "-v"] + paths, timeout=LLVM_TIMEOUT)


def readelf_dump(paths):
    return run([READELF, "--debug-dump=pubnames,pubtypes,aranges,macro"] + paths)


def compare_file(rep, where, ours_text, llvm_units, llvm_err, readelf, path):
    """One ELF file's dump; True when it had entries."""
    parts = split_headings(ours_text)
    if parts is None:
        rep.fail(where, "headings of the dump", ours_text[:200], HEADINGS)
        return False
    had = compare_entries(rep, where, parts, llvm_units, llvm_err, path)
    compare_tables(rep, where, parts, readelf)
    return had


def split_archive_dump(text):
    """-> {member name: its dump} of an archive's dump."""
    out = {}
    marks = list(re.finditer(r"\noffset 0x[0-9a-f]{8} (.+)\n", text))
    for i, m in enumerate(marks):
        end = marks[i + 1].start() if i + 1 < len(marks) else len(text)
        out[m.group(1)] = text[m.end():end]
    return out


def archive_members(path):
    status, out, _ = run([AR, "tv", path])
    members = []
    for line in out.splitlines():
        parts = line.split(None, 7)
        if len(parts) == 8 and parts[2].isdigit():
            members.append((line.split()[-1], int(parts[2])))
    return members


def sample_members(members, count, shift, limit=None):
    candidates = [name for name, size in members if limit is None or size <= limit]
    if not candidates:
        return []
    step = len(candidates) / float(count)
    picked = []
    for k in range(count):
        name = candidates[(int(k * step) + shift) % len(candidates)]
        if name not in picked:
            picked.append(name)
    return picked


REFUSED_FORM_CODES = {"DW_FORM_ref_sup4": 0x1c, "DW_FORM_strp_sup": 0x1d, "DW_FORM_data16": 0x1e,
                      "DW_FORM_implicit_const": 0x21, "DW_FORM_ref_sup8": 0x24,
                      "DW_FORM_GNU_addr_index": 0x1f01, "DW_FORM_GNU_str_index": 0x1f02,
                      "DW_FORM_GNU_ref_alt": 0x1f20, "DW_FORM_GNU_strp_alt": 0x1f21}


def compare_unit_stderr(rep, where, err, llvm_units):
    """Each refused form is reported on stderr ("<code> unhandled
    DW_FORM[_name]") once per attribute read."""
    ours = collections.Counter(int(code) for code in re.findall(r"^(\d+) unhandled DW_FORM", err, re.M))
    theirs = collections.Counter(REFUSED_FORM_CODES[a[1]] for u in llvm_units for d in u.dies
                                 for a in d.attrs if a[1] in REFUSED_FORM_CODES)
    if ours != theirs:
        rep.fail(where, "refused-form reports", dict(ours), dict(theirs))


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("tool", help="path to elfdwarfdump")
    ap.add_argument("--min-members", type=int, default=DEFAULT_MIN_MEMBERS,
                    help="library members with entries that must be compared (default %(default)s)")
    args = ap.parse_args()
    tool = os.path.abspath(args.tool)
    if not os.access(tool, os.X_OK):
        print("not executable: " + tool)
        return 2
    for t in (LLVM, READELF, AR):
        if shutil.which(t) is None:
            print(t + " not found")
            return 2

    rep = Report()
    rep.deliberate["x86_64-be-skipped"] += 1
    tmp = tempfile.mkdtemp(prefix="dwarf_diff_")
    try:
        with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
            run_fixtures(rep, pool, tool, tmp)
            run_libraries(rep, pool, tool, tmp)
    finally:
        shutil.rmtree(tmp, ignore_errors=True)

    for where, what, ours, theirs in rep.mismatches[:MAX_SHOWN]:
        print("MISMATCH %s: %s: ours %r, reference %r" % (where, what, ours, theirs))
    if len(rep.mismatches) > MAX_SHOWN:
        print("... %d more mismatches (DWARF_DIFF_SHOW=N shows N)" % (len(rep.mismatches) - MAX_SHOWN))
    if rep.mismatches:
        # One line per kind of mismatch, so that a flood of one kind does not
        # hide the others.
        kinds = collections.OrderedDict()
        for where, what, ours, theirs in rep.mismatches:
            key = (re.sub(r"\d+", "N", what), str(ours)[:1] == "(" and str(ours).split(",")[0])
            kinds.setdefault(key, []).append((where, what, ours, theirs))
        print("mismatches by kind:")
        for items in kinds.values():
            where, what, ours, theirs = items[0]
            print("  %5d x %s, e.g. %s: ours %.80r, reference %.80r" % (len(items), what, where, ours, theirs))
    print("deliberate differences applied:")
    for key, why in DELIBERATE.items():
        print("  %-24s %6d  %s" % (key, rep.deliberate[key], why))
    for name, why in rep.skipped:
        print("skipped %s: %s" % (name, why))
    print("dwarf diff: files %d, library members %d, units %d, DIEs %d, attributes %d, "
          "values compared %d, name-table entries %d, aranges %d, macro entries %d, "
          "skipped members %d, mismatches %d"
          % (rep.files, rep.members, rep.units, rep.dies, rep.attributes, rep.values, rep.names,
             rep.aranges, rep.macros, len(rep.skipped), len(rep.mismatches)))
    if rep.members < args.min_members:
        print("FAIL: only %d library members with entries compared, wanted %d"
              % (rep.members, args.min_members))
        return 1
    return 1 if rep.mismatches else 0


def run_fixtures(rep, pool, tool, tmp):
    jobs = []
    for rel in FIXTURE_FILES:
        path = os.path.join(REPO, rel)
        if not os.path.exists(path):
            rep.fail(rel, "fixture present", False, True)
            continue
        if rel.endswith(".a"):
            folder = os.path.join(tmp, "fixture-archive")
            os.makedirs(folder)
            names = [n for n, _ in archive_members(path)]
            subprocess.run([AR, "x", path] + names, cwd=folder, check=False)
            copies = [os.path.join(folder, n) for n in names]
        else:
            copies = [os.path.join(tmp, rel.replace("/", "_"))]
            shutil.copyfile(path, copies[0])
        for c in copies:
            rep.deliberate["relocations-not-applied"] += disable_debug_relocations(c)
        jobs.append((rel, path, copies, pool.submit(run, [tool, "-dwarf", path]),
                     pool.submit(llvm_dump, copies), pool.submit(readelf_dump, copies)))
    for rel, path, copies, ours_job, llvm_job, readelf_job in jobs:
        status, out, err = ours_job.result()
        llvm_status, llvm_out, llvm_err = llvm_job.result()
        _, readelf_out, _ = readelf_job.result()
        if status != 0:
            rep.fail(rel, "exit status", status, 0)
        llvm_files = parse_llvm(llvm_out)
        readelf_files = parse_readelf(readelf_out)
        if rel.endswith(".a"):
            dumps = split_archive_dump(out)
            for c in copies:
                name = os.path.basename(c)
                if name not in dumps:
                    rep.fail(rel, "member dumped", name, True)
                    continue
                units = llvm_files.get(c, [])
                if compare_file(rep, "%s(%s)" % (rel, name), dumps[name], units, llvm_err,
                                readelf_of(readelf_files, c, copies), c):
                    rep.files += 1
            continue
        units = llvm_files.get(copies[0], [])
        compare_unit_stderr(rep, rel, err, units)
        if compare_file(rep, rel, out, units, llvm_err, readelf_files.get(None, {}), path):
            rep.files += 1


def run_libraries(rep, pool, tool, tmp):
    plan = []
    for vi, variant in enumerate(VARIANTS):
        for lib, count in LIBRARIES:
            path = os.path.normpath(os.path.join(NEWLIB, variant, lib))
            if not os.path.exists(path):
                rep.fail(path, "library present", False, True)
                continue
            plan.append((vi, path, lib, count, EXTRA_MEMBERS.get((variant, lib), [])))

    def prepare(vi, path, lib, count, extra):
        members = archive_members(path)
        limit = STDCXX_MAX_MEMBER if lib == "libstdc++.a" else None
        picked = sample_members(members, count, vi * 7, limit)
        picked += [n for n in extra if n not in picked and n in dict(members)]
        folder = os.path.join(tmp, "lib%d-%s" % (vi, lib))
        os.makedirs(folder)
        subprocess.run([AR, "x", path] + picked, cwd=folder, check=False)
        copies = [os.path.join(folder, n) for n in picked]
        disabled = sum(disable_debug_relocations(c) for c in copies)
        # Our tool reads the archive itself, except the one whose dump is too
        # large to hold: of an archive's dump only the sampled members are kept.
        ours = {}
        if lib == "libstdc++.a":
            for n in picked:
                ours[n] = run([tool, "-dwarf", os.path.join(folder, n)])
        else:
            status, out, err = run([tool, "-dwarf", path])
            dumps = split_archive_dump(out)
            for n in picked:
                ours[n] = (status, dumps.get(n), None)
        return picked, copies, disabled, ours, llvm_dump(copies), readelf_dump(copies)

    jobs = [(p[1], pool.submit(prepare, *p)) for p in plan]
    for path, job in jobs:
        picked, copies, disabled, ours, (llvm_status, llvm_out, _), (_, readelf_out, _) = job.result()
        rep.deliberate["relocations-not-applied"] += disabled
        llvm_files = parse_llvm(llvm_out)
        if llvm_status != 0:
            # A member stopped llvm-dwarfdump: each member again on its own.
            llvm_files = collections.OrderedDict()
            for c in copies:
                status, out, _ = llvm_dump([c])
                if status != 0:
                    rep.deliberate["llvm-crash-skipped"] += 1
                    rep.skipped.append(("%s(%s)" % (path, os.path.basename(c)),
                                        "llvm-dwarfdump status %d" % status))
                    continue
                llvm_files.update(parse_llvm(out))
        readelf_files = parse_readelf(readelf_out)
        for name, c in zip(picked, copies):
            where = "%s(%s)" % (path, name)
            status, dump, err = ours[name]
            if status != 0:
                rep.fail(where, "exit status", status, 0)
            if c not in llvm_files:
                if where not in [w for w, _ in rep.skipped]:
                    rep.fail(where, "llvm-dwarfdump output", None, "missing")
                continue
            if dump is None:
                rep.fail(where, "member dumped", None, True)
                continue
            if err is not None:
                compare_unit_stderr(rep, where, err, llvm_files[c])
            if compare_file(rep, where, dump, llvm_files[c], "", readelf_of(readelf_files, c, copies), c):
                rep.members += 1
                rep.files += 1


if __name__ == "__main__":
    sys.exit(main())
