#!/usr/bin/python3
"""Differential test: elfdwarfdump's call-frame and unwind dumps against binutils,
LLVM and decoders of the section bytes written here.

    python3 tests/dwarf/frames_diff_test.py <path-to-elfdwarfdump> [--members N]
                                            [--host-members N]

  * Every CIE and FDE of .debug_frame and .eh_frame (`-dwarf-frame -unwind`)
    against `readelf --debug-dump=frames` (arm-none-eabi-readelf for ARM
    files, the host readelf for the others): record offsets, lengths and
    kinds, the CIE's version, augmentation and factors, each FDE's CIE,
    initial location and address range, and the call-frame instructions with
    their operands, after mapping readelf's notation ("DW_CFA_offset: r14
    (lr) at cfa-4" is our "DW_CFA_offset(14, 1, -4)"). Inputs: the fixtures
    and a deterministic sample of newlib/libstdc++ members of several
    multilib variants (default 160, at least 100 with call frames must be
    compared), and a sample of the host libstdc++.a.
  * .eh_frame_hdr: version, eh_frame_ptr and every table entry against a
    decode of the section written here, and against `llvm-readobj --unwind`
    for the host executables where it is installed.
  * .gcc_except_table: the call sites of every area, against a decode of the
    GCC layout written here that walks the areas one after another. Every
    area an FDE of .eh_frame names (through its LSDA pointer, or that
    pointer's relocation in an object file) must be one the walk finds, so
    the walk's idea of where an area ends is checked from the other side. A
    linked file may hold areas no FDE names (the section at the end of our
    own executable has one); they are walked and compared too.

Exit status is 0 only when nothing differs and enough members were compared.
"""

import argparse
import collections
import concurrent.futures
import glob
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
ARM_READELF = "arm-none-eabi-readelf"
HOST_READELF = "readelf"
READOBJ_CANDIDATES = ["llvm-readobj", "llvm-readobj-18", "llvm-readobj-17",
                      "llvm-readobj-16", "llvm-readobj-15", "llvm-readobj-14"]

FIXTURE_DIRS = ["elf", "dwarf", "disasm", "tool"]
VARIANTS = [
    ".",
    "thumb/v6-m/nofp",
    "thumb/v7-m/nofp",
    "thumb/v7e-m+fp/hard",
    "thumb/v8-m.main/nofp",
    "arm/v5te/hard",
]
LIBRARIES = ["libc.a", "libm.a", "libstdc++.a", "libsupc++.a"]
DEFAULT_MEMBERS = 160
DEFAULT_HOST_MEMBERS = 60
MIN_MEMBERS = 100
MAX_SHOWN = 50

EM_ARM = 40
ET_REL = 1
SHT_RELA = 4

DELIBERATE = {
    "eek-operands":
        "DW_CFA_def_cfa_expression, DW_CFA_expression, DW_CFA_val_offset_sf "
        "and DW_CFA_val_expression are announced ('- eek') and only their "
        "opcode byte is consumed; their operands are then decoded as "
        "instructions, so the rest of that FDE differs from readelf, which "
        "decodes them. The FDE's instructions are compared up to the first "
        "of them.",
    "unknown-opcode-ends-section":
        "An opcode we do not know (the GNU ones readelf names, 0x2d-0x2f, or "
        "an operand byte read as an opcode after an announced expression "
        "instruction) prints 'DW_CFI_??? N' and ends the dump of the whole "
        "section; readelf goes on. The records after it are not compared.",
    "advance-loc-unfactored":
        "DW_CFA_advance_loc1/2/4 print the stored delta; readelf multiplies "
        "it by the code alignment factor. Compared after multiplying ours.",
    "val-offset-signed":
        "DW_CFA_val_offset's offset is read as a signed LEB128; readelf reads "
        "it unsigned. Accepted when the two differ by a power of 128 times "
        "the data alignment factor (the same bytes read both ways).",
    "eh-location-always-pcrel":
        "In .eh_frame the FDE's initial location always has its field's "
        "address added, whatever the encoding; for an absolute encoding "
        "ours is readelf's value plus that address.",
    "rela-locations":
        "Relocatable files with RELA relocations (x86-64 objects) keep the "
        "initial locations in the relocations, which readelf applies and we "
        "do not; their locations (and LSDA pointers) are not compared with "
        "readelf.",
    "zero-terminator":
        "readelf prints 'ZERO terminator' where we print 'length: 0'; both "
        "go on after it.",
    "fde-count-table-encoding":
        "The .eh_frame_hdr FDE count is decoded with the table encoding "
        "instead of its own: with a datarel table the section's address is "
        "added to it. The table itself is bounded by its bytes, so every "
        "entry is still printed. Checked against the count field decoded "
        "that way here.",
    "byte-swapped-fixture":
        "elf/x86_64-be.o has byte-swapped headers over little-endian "
        "contents: its frames cannot be read the same way by anyone. Skipped.",
}


class Report:
    def __init__(self):
        self.mismatches = []
        self.deliberate = collections.Counter()
        self.counts = collections.Counter()

    def fail(self, where, what, ours, theirs):
        self.mismatches.append((where, what, ours, theirs))

    def check(self, where, what, ours, theirs):
        self.counts["checks"] += 1
        if ours == theirs:
            return True
        if isinstance(ours, list) and isinstance(theirs, list):
            # Long lists: show where they part.
            i = next((i for i, (a, b) in enumerate(zip(ours, theirs)) if a != b), min(len(ours), len(theirs)))
            what = "%s [%d of %d/%d]" % (what, i, len(ours), len(theirs))
            ours, theirs = ours[i:i + 3], theirs[i:i + 3]
        self.fail(where, what, ours, theirs)
        return False


# --------------------------------------------------------------------------
# ELF and ar, read here

class Elf:
    def __init__(self, data):
        if data[:4] != b"\x7fELF" or data[4] not in (1, 2) or data[5] not in (1, 2):
            raise ValueError("not an ELF file")
        self.data = data
        self.is64 = data[4] == 2
        self.be = data[5] == 2
        self.e = ">" if self.be else "<"
        e = self.e
        if self.is64:
            (self.e_type, self.e_machine, _, _, _, shoff, _, _, _, _, shentsize,
             shnum, shstrndx) = struct.unpack_from(e + "HHIQQQIHHHHHH", data, 16)
        else:
            (self.e_type, self.e_machine, _, _, _, shoff, _, _, _, _, shentsize,
             shnum, shstrndx) = struct.unpack_from(e + "HHIIIIIHHHHHH", data, 16)
        self.sections = []
        for i in range(shnum if shoff else 0):
            off = shoff + i * shentsize
            if self.is64:
                f = struct.unpack_from(e + "IIQQQQIIQQ", data, off)
            else:
                f = struct.unpack_from(e + "IIIIIIIIII", data, off)
            (name, typ, flags, addr, offset, size, link, info, align, entsize) = f
            self.sections.append({"index": i, "name_off": name, "type": typ, "addr": addr,
                                  "offset": offset, "size": size, "link": link,
                                  "info": info, "entsize": entsize})
        strtab = self.sections[shstrndx] if shstrndx < len(self.sections) else None
        for s in self.sections:
            s["name"] = self.cstr(strtab["offset"] + s["name_off"]) if strtab else ""

    def cstr(self, off):
        end = self.data.find(b"\0", off)
        return self.data[off:end].decode("latin-1")

    def contents(self, s):
        return self.data[s["offset"]:s["offset"] + s["size"]]

    def named(self, name):
        return [s for s in self.sections if s["name"] == name]

    @property
    def address_size(self):
        return 8 if self.is64 else 4

    def symbol(self, symtab, index):
        e = self.e
        if self.is64:
            off = symtab["offset"] + index * 24
            _, _, _, shndx, value, _ = struct.unpack_from(e + "IBBHQQ", self.data, off)
        else:
            off = symtab["offset"] + index * 16
            _, value, _, _, _, shndx = struct.unpack_from(e + "IIIBBH", self.data, off)
        return shndx, value

    def rela_for(self, target):
        """[(offset, symbol index, addend)] of the RELA sections that apply to target."""
        out = []
        for s in self.sections:
            if s["type"] == SHT_RELA and s["info"] == target["index"]:
                size = 24 if self.is64 else 12
                for i in range(s["size"] // size):
                    if self.is64:
                        off, info, addend = struct.unpack_from(self.e + "QQq", self.data, s["offset"] + i * size)
                        sym = info >> 32
                    else:
                        off, info, addend = struct.unpack_from(self.e + "IIi", self.data, s["offset"] + i * size)
                        sym = info >> 8
                    out.append((off, sym, addend, self.sections[s["link"]]))
        return out

    def uses_rela(self):
        return self.e_type == ET_REL and any(s["type"] == SHT_RELA for s in self.sections)


def read_archive(path):
    """[(member name, bytes)] of a System V / GNU archive."""
    with open(path, "rb") as f:
        data = f.read()
    if data[:8] != b"!<arch>\n":
        return []
    members = []
    longnames = b""
    off = 8
    while off + 60 <= len(data):
        header = data[off:off + 60]
        name = header[:16].decode("latin-1").rstrip()
        size = int(header[48:58].decode("latin-1").strip() or 0)
        body = data[off + 60:off + 60 + size]
        if name == "//":
            longnames = body
        elif name in ("/", "/SYM64/"):
            pass
        else:
            if name.startswith("/") and name[1:].isdigit():
                start = int(name[1:])
                end = longnames.find(b"/\n", start)
                name = longnames[start:end].decode("latin-1")
            elif name.endswith("/"):
                name = name[:-1]
            members.append((name, body))
        off += 60 + size + (size & 1)
    return members


def sample(members, count, salt):
    """A deterministic spread of `count` members."""
    if len(members) <= count:
        return list(members)
    ordered = sorted(members, key=lambda m: (hash_name(m[0] + salt), m[0]))
    return ordered[:count]


def hash_name(text):
    h = 2166136261
    for ch in text.encode():
        h = ((h ^ ch) * 16777619) & 0xFFFFFFFF
    return h


# --------------------------------------------------------------------------
# LEB128 and DW_EH_PE values, read here

def uleb(data, off):
    value = shift = 0
    while off < len(data):
        b = data[off]
        off += 1
        value |= (b & 0x7F) << shift
        shift += 7
        if not b & 0x80:
            break
    return value, off


def sleb(data, off):
    value = shift = 0
    b = 0
    while off < len(data):
        b = data[off]
        off += 1
        value |= (b & 0x7F) << shift
        shift += 7
        if not b & 0x80:
            break
    if b & 0x40:
        value -= 1 << shift
    return value, off


def encoded(data, off, encoding, elf):
    """(value as stored, next offset); None for a format of unknown size."""
    e = elf.e
    fmt = encoding & 0x0F
    if fmt == 0x00:
        size = elf.address_size
        return int.from_bytes(data[off:off + size], "big" if elf.be else "little"), off + size
    if fmt == 0x01:
        return uleb(data, off)
    if fmt == 0x09:
        return sleb(data, off)
    table = {0x02: "H", 0x03: "I", 0x04: "Q", 0x0A: "h", 0x0B: "i", 0x0C: "q"}
    if fmt not in table:
        return None, off
    size = struct.calcsize(table[fmt])
    return struct.unpack_from(e + table[fmt], data, off)[0], off + size


def s32(v):
    v &= 0xFFFFFFFF
    return v - (1 << 32) if v & 0x80000000 else v


# --------------------------------------------------------------------------
# Our output

HEADINGS = re.compile(r"^(\.eh_frame|\.eh_frame_hdr|\.debug_frame|\.gcc_except_table(?:\..*)?)$")


def split_ours(text):
    """[(section name, [lines])] in output order."""
    out = []
    current = None
    for line in text.splitlines():
        m = HEADINGS.match(line)
        if m:
            current = []
            out.append((m.group(1), current))
        elif current is not None:
            current.append(line)
    return out


OUR_RECORD = re.compile(r"^offset: 0x([0-9a-f]+) length: (\d+)"
                        r"(?: cie_id: 0x([0-9a-f]+) (?:cie_id: 0x([0-9a-f]+) )?(CIE|FDE))?$")
OUR_FDE = re.compile(r"^initial_location: 0x([0-9a-f]+) address_range: 0x([0-9a-f]+)$")
OUR_INSN = re.compile(r"^(DW_CFA_\w+|DW_CFI_\?\?\?)(?: ?\(([^)]*)\)| (-?\d+))?( - eek)?$")


def parse_ours_frames(lines, eh):
    """{offset: record} and the offset of the record where the walk stopped."""
    records = collections.OrderedDict()
    rec = None
    stopped = None
    for line in lines:
        m = OUR_RECORD.match(line)
        if m:
            length = int(m.group(2))
            rec = {"offset": int(m.group(1), 16), "length": length,
                   "kind": "ZERO" if length == 0 else m.group(5), "insns": [], "fields": {}}
            if rec["kind"] == "FDE":
                rec["cie"] = int(m.group(4), 16) if eh else int(m.group(3), 16)
            records[rec["offset"]] = rec
            continue
        if rec is None or not line:
            continue
        m = OUR_FDE.match(line)
        if m:
            rec["location"] = int(m.group(1), 16)
            rec["range"] = int(m.group(2), 16)
            continue
        m = OUR_INSN.match(line)
        if m:
            args = m.group(2) if m.group(2) is not None else m.group(3)
            rec["insns"].append((m.group(1), [int(a) for a in args.split(",")] if args else [],
                                 bool(m.group(4))))
            if m.group(1) == "DW_CFI_???":
                stopped = rec["offset"]
            continue
        for label in ("PEncoding", "LEncoding", "REncoding"):
            if line.startswith(label + " "):
                rec["fields"][label] = line[len(label) + 1:]
        key, _, value = line.partition(":")
        rec["fields"][key.strip()] = value.strip()
    return records, stopped


# --------------------------------------------------------------------------
# readelf --debug-dump=frames

RE_CONTENTS = re.compile(r"^Contents of the (\S+) section:")
RE_RECORD = re.compile(r"^([0-9a-f]{8}) ([0-9a-f]+) ([0-9a-f]+) (CIE|FDE cie=([0-9a-f]+) "
                       r"pc=([0-9a-f]+)\.\.([0-9a-f]+))")
RE_ZERO = re.compile(r"^([0-9a-f]{8}) ZERO terminator")
RE_FIELD = re.compile(r"^  (Version|Augmentation|Code alignment factor|Data alignment factor|"
                      r"Return address column):\s+(.*)$")
RE_INSN = re.compile(r"^  (DW_CFA_\w+)(.*)$")


def parse_readelf(text):
    """{section name: [records]}."""
    sections = {}
    current = None
    rec = None
    for line in text.splitlines():
        m = RE_CONTENTS.match(line)
        if m:
            current = sections.setdefault(m.group(1), [])
            rec = None
            continue
        if current is None:
            continue
        m = RE_ZERO.match(line)
        if m:
            rec = {"offset": int(m.group(1), 16), "kind": "ZERO", "insns": []}
            current.append(rec)
            continue
        m = RE_RECORD.match(line)
        if m:
            rec = {"offset": int(m.group(1), 16), "length": int(m.group(2), 16),
                   "kind": "CIE" if m.group(4) == "CIE" else "FDE", "insns": [], "fields": {}}
            if rec["kind"] == "FDE":
                rec["cie"] = int(m.group(5), 16)
                rec["location"] = int(m.group(6), 16)
                rec["range"] = int(m.group(7), 16) - rec["location"]
            current.append(rec)
            continue
        if rec is None:
            continue
        m = RE_FIELD.match(line)
        if m:
            rec["fields"][m.group(1)] = m.group(2)
            continue
        m = RE_INSN.match(line)
        if m:
            rec["insns"].append((m.group(1), m.group(2)))
    return sections


# --------------------------------------------------------------------------
# Instructions in one notation

EXPRESSIONS = {"DW_CFA_def_cfa_expression": "DW_CFA_def_cfa_expression",
               "DW_CFA_def_expression": "DW_CFA_expression",
               "DW_CFA_val_offset_sf": "DW_CFA_val_offset_sf",
               "DW_CFA_val_expression": "DW_CFA_val_expression"}
GNU_OPCODES = {"DW_CFA_GNU_window_save": 0x2D, "DW_CFA_GNU_args_size": 0x2E,
               "DW_CFA_GNU_negative_offset_extended": 0x2F, "DW_CFA_MIPS_advance_loc8": 0x1D,
               "DW_CFA_AARCH64_negate_ra_state": 0x2D}


def canonical_ours(insn, cie):
    """(name, operands...) as readelf shows them."""
    name, args, _ = insn
    short = name[len("DW_CFA_"):]
    if name in ("DW_CFA_advance_loc1", "DW_CFA_advance_loc2", "DW_CFA_advance_loc4"):
        return ("advance_loc", args[0] * cie["caf"])
    if name == "DW_CFA_advance_loc":
        return ("advance_loc", args[0])
    if name == "DW_CFA_offset":
        return ("offset", args[0], args[2])
    return (short,) + tuple(args)


def canonical_readelf(insn):
    name, rest = insn
    short = name[len("DW_CFA_"):]
    rest = rest.lstrip(":").strip()
    # Register names follow their numbers in parentheses: "r14 (lr)".
    regs = [int(r) for r in re.findall(r"\br(\d+)\b", re.sub(r"\([^)]*\)", "", rest))]
    if short in ("advance_loc", "advance_loc1", "advance_loc2", "advance_loc4"):
        return ("advance_loc", int(rest.split()[0]))
    if short in ("nop", "remember_state", "restore_state"):
        return (short,)
    if short == "set_loc":
        return (short, int(rest.split()[0], 16))
    if short in ("offset", "offset_extended", "offset_extended_sf", "val_offset"):
        m = re.search(r"cfa([+-]\d+)", rest)
        return (short, regs[0], int(m.group(1)))
    if short in ("restore", "restore_extended", "undefined", "same_value", "def_cfa_register"):
        return (short, regs[0])
    if short == "register":
        return (short, regs[0], regs[1])
    if short in ("def_cfa", "def_cfa_sf"):
        m = re.search(r"ofs (-?\d+)", rest)
        return (short, regs[0], int(m.group(1)))
    if short in ("def_cfa_offset", "def_cfa_offset_sf"):
        return (short, int(rest.split()[0]))
    return (short, rest)


def cie_numbers(rec):
    f = rec["fields"]
    return {"caf": int(f.get("code_alignment_factor", "0x0"), 16),
            "daf": s64(int(f.get("data_alignment_factor", "0x0"), 16))}


def s64(v):
    return v - (1 << 64) if v & (1 << 63) else v


def is_power_of_128(v):
    v = abs(v)
    while v > 1 and v % 128 == 0:
        v //= 128
    return v == 1


def compare_instructions(rep, where, ours, theirs, cie, elf):
    """Both lists, in one notation, up to where ours stops being comparable.
    Returns True when ours ended the section there."""
    for i, o in enumerate(ours):
        t = theirs[i] if i < len(theirs) else None
        if o[2]:   # announced expression instruction
            if t is None or EXPRESSIONS.get(o[0]) != t[0]:
                rep.fail(where, "instruction %d" % i, o, t)
            else:
                rep.deliberate["eek-operands"] += 1
            return False
        if o[0] == "DW_CFI_???":
            # Either a GNU opcode readelf names, or an operand after an
            # announced instruction (which returned above), so readelf must
            # show the same opcode.
            if t is None or GNU_OPCODES.get(t[0]) != o[1][0]:
                rep.fail(where, "unknown opcode %d" % o[1][0], o, t)
            else:
                rep.deliberate["unknown-opcode-ends-section"] += 1
            return True
        if t is None:
            rep.fail(where, "instruction %d" % i, o, "(none)")
            return False
        if o[0] == "DW_CFA_offset" and o[1][1] * cie["daf"] != o[1][2]:
            rep.fail(where, "offset factored", o, cie["daf"])
        if o[0] == "DW_CFA_set_loc" and elf.is64:
            # Four bytes read where readelf reads eight: the rest differs.
            rep.fail(where, "set_loc in a 64-bit file", o, t)
            return False
        co = canonical_ours(o, cie)
        ct = canonical_readelf(t)
        rep.counts["instructions"] += 1
        if co == ct:
            if o[0] in ("DW_CFA_advance_loc1", "DW_CFA_advance_loc2", "DW_CFA_advance_loc4") \
                    and cie["caf"] != 1:
                rep.deliberate["advance-loc-unfactored"] += 1
            continue
        if co[0] == "val_offset" and ct[0] == "val_offset" and co[1] == ct[1] and cie["daf"] \
                and (ct[2] - co[2]) % cie["daf"] == 0 and is_power_of_128((ct[2] - co[2]) // cie["daf"]):
            rep.deliberate["val-offset-signed"] += 1
            continue
        rep.fail(where, "instruction %d" % i, co, ct)
        return False
    if len(theirs) != len(ours):
        rep.fail(where, "instruction count", len(ours), len(theirs))
    return False


def compare_frame_section(rep, where, name, ours_lines, theirs, elf, section):
    eh = name == ".eh_frame"
    ours, stopped = parse_ours_frames(ours_lines, eh)
    rela = elf.uses_rela()
    for t in theirs:
        w = "%s %s 0x%x" % (where, name, t["offset"])
        if stopped is not None and t["offset"] > stopped:
            rep.deliberate["unknown-opcode-ends-section"] += 1
            continue
        o = ours.get(t["offset"])
        if o is None:
            rep.fail(w, "record", "(missing)", t["kind"])
            continue
        if t["kind"] == "ZERO":
            rep.check(w, "terminator length", o["length"], 0)
            rep.deliberate["zero-terminator"] += 1
            continue
        if not rep.check(w, "kind", o["kind"], t["kind"]):
            continue
        rep.check(w, "length", o["length"], t["length"])
        if t["kind"] == "CIE":
            rep.counts["cies"] += 1
            f, g = o["fields"], t["fields"]
            rep.check(w, "version", f.get("version"), g.get("Version"))
            rep.check(w, "augmentation", f.get("augmentation"), g.get("Augmentation", "").strip('"'))
            rep.check(w, "code alignment", int(f["code_alignment_factor"], 16),
                      int(g["Code alignment factor"]))
            rep.check(w, "data alignment", s64(int(f["data_alignment_factor"], 16)),
                      int(g["Data alignment factor"]))
            rep.check(w, "return address register", int(f["return_address_register"]),
                      int(g["Return address column"]))
            compare_instructions(rep, w, o["insns"], [x for x in t["insns"]], cie_numbers(o), elf)
            continue
        rep.counts["fdes"] += 1
        rep.check(w, "CIE", o["cie"], t["cie"])
        cie_rec = ours.get(t["cie"])
        if cie_rec is None or cie_rec["kind"] != "CIE":
            rep.fail(w, "CIE record", "(missing)", t["cie"])
            continue
        cie = cie_numbers(cie_rec)
        mask = (1 << (8 * elf.address_size)) - 1
        rep.check(w, "address range", o["range"], t["range"] & mask)
        if rela:
            rep.deliberate["rela-locations"] += 1
        elif o["location"] != t["location"]:
            field = section["addr"] + t["offset"] + 8
            absolute = not cie_rec["fields"].get("REncoding", "").endswith("+DW_EH_PE_pcrel")
            if eh and absolute and o["location"] == (t["location"] + field) & mask:
                rep.deliberate["eh-location-always-pcrel"] += 1
            else:
                rep.fail(w, "initial location", hex(o["location"]), hex(t["location"]))
        if compare_instructions(rep, w, o["insns"], t["insns"], cie, elf):
            continue
    # Nothing of ours that readelf does not have.
    known = {t["offset"] for t in theirs}
    for off in ours:
        if off not in known:
            rep.fail("%s %s 0x%x" % (where, name, off), "record", "present", "(missing)")


# --------------------------------------------------------------------------
# .eh_frame_hdr, decoded here

def apply(value, encoding, field, base, elf):
    app = encoding & 0x70
    if app == 0x10:
        value += field
    elif app == 0x30:
        value += base
    return value & ((1 << (8 * elf.address_size)) - 1)


def decode_eh_frame_hdr(elf, s):
    data = elf.contents(s)
    addr = s["addr"]
    version, ptr_enc, count_enc, table_enc = data[0], data[1], data[2], data[3]
    off = 4
    ptr, off2 = encoded(data, off, ptr_enc, elf)
    ptr = 0 if ptr is None or ptr_enc == 0xFF else apply(ptr, ptr_enc, addr + off, addr, elf)
    off = off2
    out = {"version": version, "eh_frame_ptr": ptr, "entries": [], "table_count": 0}
    if count_enc == 0xFF:
        return out
    count, _ = encoded(data, off, count_enc, elf)
    as_table, _ = encoded(data, off, table_enc, elf)
    out["table_count"] = apply(as_table, table_enc, addr + off, addr, elf) if as_table is not None else 0
    _, off = encoded(data, off, count_enc, elf)
    for _ in range(count or 0):
        if off >= len(data):
            break
        loc, off1 = encoded(data, off, table_enc, elf)
        fde, off2 = encoded(data, off1, table_enc, elf)
        out["entries"].append((apply(loc, table_enc, addr + off, addr, elf),
                               apply(fde, table_enc, addr + off1, addr, elf)))
        off = off2
    return out


RE_OUR_HDR = re.compile(r"^location 0x([0-9A-F]+) address 0x([0-9A-F]+)$")
RE_READOBJ_ENTRY = re.compile(r"initial_location: 0x([0-9a-f]+)\s+address: 0x([0-9a-f]+)")


def compare_hdr(rep, where, path, ours_lines, elf, s, readobj):
    w = where + " .eh_frame_hdr"
    theirs = decode_eh_frame_hdr(elf, s)
    fields = {}
    entries = []
    for line in ours_lines:
        m = RE_OUR_HDR.match(line)
        if m:
            entries.append((int(m.group(1), 16), int(m.group(2), 16)))
        elif ":" in line:
            k, _, v = line.partition(":")
            fields[k] = v.strip()
    rep.check(w, "version", int(fields.get("version", -1)), theirs["version"])
    rep.check(w, "eh_frame_ptr", int(fields.get("eh_frame_ptr", "0x-1"), 16), theirs["eh_frame_ptr"])
    count = int(fields.get("fde_count", -1))
    if rep.check(w, "fde_count (read with the table encoding)", count & 0xFFFFFFFFFFFFFFFF,
                 theirs["table_count"]) and count != len(theirs["entries"]):
        rep.deliberate["fde-count-table-encoding"] += 1
    rep.check(w, "entries", entries, theirs["entries"])
    rep.counts["hdr entries"] += len(entries)
    if readobj and elf.e_type != ET_REL:
        out = subprocess.run([readobj, "--unwind", path], capture_output=True, text=True).stdout
        listed = [(int(a, 16), int(b, 16)) for a, b in RE_READOBJ_ENTRY.findall(out)]
        rep.check(w, "entries (llvm-readobj)", entries, listed)
        rep.counts["hdr entries (llvm-readobj)"] += len(listed)


# --------------------------------------------------------------------------
# .gcc_except_table, decoded here from the LSDA pointers of .eh_frame

def lsda_pointers(elf):
    """[(section index, offset)] of every area an FDE names."""
    found = []
    for s in elf.named(".eh_frame"):
        data = elf.contents(s)
        relocs = {r[0]: r for r in elf.rela_for(s)} if elf.e_type == ET_REL else {}
        cies = {}

        def read_cie(off):
            if off in cies:
                return cies[off]
            length = struct.unpack_from(elf.e + "I", data, off)[0]
            p = off + 8
            version = data[p]
            p += 1
            end = data.index(b"\0", p)
            aug = data[p:end].decode("latin-1")
            p = end + 1
            _, p = uleb(data, p)
            _, p = sleb(data, p)
            if version == 1:
                p += 1
            else:
                _, p = uleb(data, p)
            info = {"aug": aug, "R": 0, "L": None}
            if aug.startswith("z"):
                _, p = uleb(data, p)
                for letter in aug[1:]:
                    if letter == "P":
                        enc = data[p]
                        _, p = encoded(data, p + 1, enc, elf)
                    elif letter == "L":
                        info["L"] = data[p]
                        p += 1
                    elif letter == "R":
                        info["R"] = data[p]
                        p += 1
                    else:
                        break
            cies[off] = info
            return info

        off = 0
        while off + 4 <= len(data):
            length = struct.unpack_from(elf.e + "I", data, off)[0]
            if length == 0:
                off += 4
                continue
            cie_id = struct.unpack_from(elf.e + "I", data, off + 4)[0]
            if cie_id != 0:
                cie = read_cie(off + 4 - cie_id)
                p = off + 8
                _, p = encoded(data, p, cie["R"], elf)
                _, p = encoded(data, p, cie["R"], elf)
                if cie["aug"].startswith("z"):
                    size, p = uleb(data, p)
                    if cie["L"] is not None and size:
                        if elf.e_type == ET_REL:
                            r = relocs.get(p)
                            if r:
                                shndx, value = elf.symbol(r[3], r[1])
                                found.append((shndx, value + r[2]))
                        else:
                            value, _ = encoded(data, p, cie["L"], elf)
                            target = apply(value, cie["L"], s["addr"] + p, 0, elf)
                            for t in elf.sections:
                                if t["addr"] <= target < t["addr"] + t["size"] and t["name"].startswith(
                                        ".gcc_except_table"):
                                    found.append((t["index"], target - t["addr"]))
            off += 4 + length
    return sorted(set(found))


def read_area(elf, data, off):
    """(call sites, has LPStart, end) of the area at off, from the GCC layout:
    the area ends after the furthest of its call-site table, the action
    records the call sites' chains reach, the type table and the
    throw lists its negative filters name."""
    lp = data[off]
    off += 1
    if lp != 0xFF:
        _, off = encoded(data, off, lp, elf)
    tt = data[off]
    off += 1
    types_end = None
    if tt != 0xFF:
        length, off = uleb(data, off)
        types_end = off + length
    cs = data[off]
    length, off = uleb(data, off + 1)
    table = off
    end = off + length
    sites = []
    while off < end:
        start, off = encoded(data, off, cs, elf)
        size, off = encoded(data, off, cs, elf)
        pad, off = encoded(data, off, cs, elf)
        action, off = uleb(data, off)
        sites.append((s32(start), s32(size), s32(pad), s32(action)))
    area_end = end
    seen = set()
    filters = []
    for action in (site[3] for site in sites if site[3]):
        record = table + length + action - 1
        while record not in seen:
            seen.add(record)
            type_filter, field = sleb(data, record)
            step, after = sleb(data, field)
            filters.append(type_filter)
            area_end = max(area_end, after)
            if step == 0:
                break
            record = field + step
    if types_end is not None:
        area_end = max(area_end, types_end)
        for f in set(f for f in filters if f < 0):
            p = types_end - f - 1
            while True:
                index, p = uleb(data, p)
                if index == 0:
                    break
            area_end = max(area_end, p)
    return sites, lp != 0xFF, area_end


def walk_areas(elf, data):
    """{offset: (call sites, has LPStart)} of the areas one after another; zero
    bytes between them are alignment padding."""
    areas = collections.OrderedDict()
    off = 0
    while off < len(data):
        if data[off] == 0:
            off += 1
            continue
        sites, lpstart, end = read_area(elf, data, off)
        areas[off] = (sites, lpstart)
        off = end
    return areas


RE_OUR_SITE = re.compile(r"^start (-?\d+) length (-?\d+) landingPad (-?\d+) action (-?\d+)$")


def is_exception_table(name):
    return name == ".gcc_except_table" or name.startswith(".gcc_except_table.")


def compare_except(rep, where, ours_blocks, elf):
    named = collections.defaultdict(set)
    for shndx, off in lsda_pointers(elf):
        named[shndx].add(off)
    tables = [s for s in elf.sections if is_exception_table(s["name"])]
    if len(tables) != len(ours_blocks):
        rep.fail(where, ".gcc_except_table sections", len(ours_blocks), len(tables))
        return
    for s, (name, lines) in zip(tables, ours_blocks):
        w = "%s %s" % (where, name)
        rep.check(w, "section", name, s["name"])
        areas = walk_areas(elf, elf.contents(s))
        # Where the FDEs say areas start, the walk here must find them.
        rep.check(w, "areas the FDEs name", sorted(named[s["index"]] - set(areas)), [])
        rep.counts["areas"] += len(areas)
        rep.counts["areas named by FDEs"] += len(named[s["index"]])
        expected = [site for sites, _ in areas.values() for site in sites]
        ours = [tuple(int(x) for x in m.groups()) for m in map(RE_OUR_SITE.match, lines) if m]
        rep.check(w, "call sites", ours, expected)
        rep.check(w, "LPStart lines", sum(1 for x in lines if x.startswith("LPStart")),
                  sum(1 for _, lpstart in areas.values() if lpstart))
        rep.counts["call sites"] += len(ours)


# --------------------------------------------------------------------------
# Running

def run(cmd):
    return subprocess.run(cmd, capture_output=True, text=True, errors="replace")


def compare_file(rep, tool, path, where, readobj):
    with open(path, "rb") as f:
        elf = Elf(f.read())
    frames = elf.named(".debug_frame") + elf.named(".eh_frame")
    hdrs = elf.named(".eh_frame_hdr")
    tables = [s for s in elf.sections if is_exception_table(s["name"])]
    if not (frames or hdrs or tables):
        return False
    ours = run([tool, "-unwind", "-dwarf-frame", path])
    if ours.returncode != 0:
        rep.fail(where, "exit status", ours.returncode, 0)
        return False
    blocks = split_ours(ours.stdout)
    if frames:
        readelf = ARM_READELF if elf.e_machine == EM_ARM else HOST_READELF
        theirs = parse_readelf(run([readelf, "--debug-dump=frames", path]).stdout)
        for name in (".debug_frame", ".eh_frame"):
            ours_lines = [lines for n, lines in blocks if n == name]
            if not elf.named(name):
                continue
            if len(ours_lines) != 1:
                rep.fail(where, name + " dumps", len(ours_lines), 1)
                continue
            compare_frame_section(rep, where, name, ours_lines[0], theirs.get(name, []), elf,
                                  elf.named(name)[0])
    for s, (name, lines) in zip(hdrs, [b for b in blocks if b[0] == ".eh_frame_hdr"]):
        compare_hdr(rep, where, path, lines, elf, s, readobj)
    except_blocks = [b for b in blocks if b[0].startswith(".gcc_except_table")]
    if except_blocks or tables:
        compare_except(rep, where, except_blocks, elf)
    rep.counts["files"] += 1
    return bool(frames)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tool")
    parser.add_argument("--members", type=int, default=DEFAULT_MEMBERS)
    parser.add_argument("--host-members", type=int, default=DEFAULT_HOST_MEMBERS)
    args = parser.parse_args()
    tool = os.path.abspath(args.tool)
    for needed in (ARM_READELF, HOST_READELF):
        if not shutil.which(needed):
            print("frames diff: %s is not installed" % needed)
            return 1
    readobj = next((c for c in READOBJ_CANDIDATES if shutil.which(c)), None)
    rep = Report()

    # Fixtures, and our own executable: a linked C++ program with many areas
    # in one .gcc_except_table and a real .eh_frame_hdr.
    fixtures = []
    for d in FIXTURE_DIRS:
        for name in sorted(os.listdir(os.path.join(FIXTURES, d))):
            fixtures.append(os.path.join(d, name))
    fixtures.append(os.path.join("..", "..", "examples", "blinky", "blinky.elf"))
    for rel in fixtures:
        if rel == "elf/x86_64-be.o":
            rep.deliberate["byte-swapped-fixture"] += 1
            continue
        path = os.path.normpath(os.path.join(FIXTURES, rel))
        try:
            compare_file(rep, tool, path, rel, readobj)
        except ValueError:
            continue
    compare_file(rep, tool, tool, "elfdwarfdump", readobj)

    # Library members, extracted to a temporary directory.
    with tempfile.TemporaryDirectory() as tmp:
        jobs = []
        per_library = max(1, args.members // (len(VARIANTS) * len(LIBRARIES)) + 1)
        for variant in VARIANTS:
            for library in LIBRARIES:
                path = os.path.join(NEWLIB, variant, library)
                if os.path.exists(path):
                    for name, body in sample(read_archive(path), per_library, variant + library):
                        jobs.append(("%s/%s(%s)" % (variant, library, name), body, True))
        jobs = jobs[:args.members]
        host = sorted(glob.glob("/usr/lib/gcc/x86_64-linux-gnu/*/libstdc++.a"))
        if host and args.host_members:
            members = [m for m in read_archive(host[-1]) if b".gcc_except_table" in m[1]]
            for name, body in sample(members, args.host_members, "host"):
                jobs.append(("host libstdc++.a(%s)" % name, body, False))

        def one(job):
            where, body, arm = job
            path = os.path.join(tmp, "%d.o" % hash_name(where))
            with open(path, "wb") as f:
                f.write(body)
            local = Report()
            try:
                compared = compare_file(local, tool, path, where, readobj)
            except ValueError:
                compared = False
            return local, compared and arm

        with concurrent.futures.ThreadPoolExecutor(max_workers=4) as pool:
            for local, counted in pool.map(one, jobs):
                rep.mismatches += local.mismatches
                rep.deliberate.update(local.deliberate)
                rep.counts.update(local.counts)
                rep.counts["library members"] += counted

    for where, what, ours, theirs in rep.mismatches[:MAX_SHOWN]:
        print("MISMATCH %s: %s: ours %r, expected %r" % (where, what, ours, theirs))
    if len(rep.mismatches) > MAX_SHOWN:
        print("... and %d more" % (len(rep.mismatches) - MAX_SHOWN))
    for key, count in sorted(rep.deliberate.items()):
        print("deliberate %s (%d): %s" % (key, count, DELIBERATE[key]))
    c = rep.counts
    print("frames diff: %d files (%d ARM library members with call frames), %d CIEs, %d FDEs, "
          "%d instructions, %d .eh_frame_hdr entries (%d also by llvm-readobj), %d exception "
          "areas (%d named by FDEs) with %d call sites; %d checks, %d passed, %d failed"
          % (c["files"], c["library members"], c["cies"], c["fdes"], c["instructions"],
             c["hdr entries"], c["hdr entries (llvm-readobj)"], c["areas"], c["areas named by FDEs"],
             c["call sites"],
             c["checks"], c["checks"] - len(rep.mismatches), len(rep.mismatches)))
    if c["library members"] < MIN_MEMBERS:
        print("frames diff: only %d library members compared, at least %d needed"
              % (c["library members"], MIN_MEMBERS))
        return 1
    return 1 if rep.mismatches else 0


if __name__ == "__main__":
    sys.exit(main())
