#!/usr/bin/python3
"""Differential test: elfdwarfdump's ELF listings against arm-none-eabi-readelf.

    python3 tests/elf/readelf_diff_test.py <path-to-elfdwarfdump> [--members N]

Runs `elfdwarfdump -header -programs -sections -symbols` and
`arm-none-eabi-readelf -W -h -l -S -s` on

  * every valid fixture in tests/fixtures/elf/ (plus the two valid
    extended-numbering files in tests/fixtures/malformed/), and
  * a deterministic sample of archive members (default 200) spread over
    several multilib variants of newlib's libc.a, libm.a, libstdc++.a and
    libsupc++.a.

Each archive is given whole to both tools, once each; our output is split at
its "offset 0x... name" lines and readelf's at its "File: lib.a(member)"
lines, so the archive walk itself is under test too. The member list, member
offsets and symbol index we print are checked against the archive as parsed
here straight from the bytes.

Every field we print is compared: ELF header, program headers, section
headers (sh_name offsets are checked by looking the offset up in the file's
own .shstrtab) and symbol tables. Exit status is 0 only when nothing differs
and enough members were compared.
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

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.normpath(os.path.join(HERE, "..", ".."))
FIXTURES = os.path.join(REPO, "tests", "fixtures")
NEWLIB = "/usr/lib/arm-none-eabi/newlib"
READELF = "arm-none-eabi-readelf"

# Several architecture variants, so members built for different cores (and
# with different attribute/EXIDX/group layouts) are covered.
VARIANTS = [
    ".",
    "thumb/v6-m/nofp",
    "thumb/v7-m/nofp",
    "thumb/v7e-m+fp/hard",
    "thumb/v8-m.main/nofp",
    "arm/v5te/hard",
    "thumb/v7-a+simd/hard",
    "thumb/v8.1-m.main+mve/hard",
]
LIBRARIES = ["libc.a", "libm.a", "libstdc++.a", "libsupc++.a"]
EXTRA_VALID = ["malformed/ext-shnum.o", "malformed/ext-shstrndx.o"]
DEFAULT_MEMBERS = 200
MAX_SHOWN = 50

# Places where our listing intentionally differs from readelf's. Each entry is
# counted when it is applied, and the counts are printed, so a difference that
# suddenly stops (or starts) happening is visible.
DELIBERATE = {
    "mapping-symbols":
        "ARM mapping symbols named exactly $a, $t or $d are left out of our "
        "symbol list (they mark code/data transitions, not program "
        "entities); readelf lists them.",
    "section-symbol-name":
        "For STT_SECTION symbols with no name of their own we print an empty "
        "name; readelf substitutes the section's name.",
    "und-com-ndx":
        "SHN_UNDEF, SHN_COMMON and other reserved indexes (except SHN_ABS) "
        "are all shown as '??' in our Ndx column; readelf writes UND, COM, "
        "PRC[..], OS [..] or RSV[..].",
    "os-proc-type-names":
        "Symbol types/bindings in the OS and processor ranges: we print "
        "LOOS/HIOS/LOPROC/HIPROC (or nothing), readelf prints machine or "
        "OS-ABI specific names such as IFUNC, UNIQUE or THUMB_FUNC. Both are "
        "turned back into numbers before comparing.",
    "flag-names":
        "Our sh_flags text names only SHF_WRITE/SHF_ALLOC/SHF_EXECINSTR; "
        "readelf's Flg letters cover more bits. The numbers are compared in "
        "full; only the W/A/X part of our text is checked.",
    "phdr-flags-rwx":
        "readelf -l shows only the R/W/E bits of p_flags, so only those bits "
        "of our p_flags are checked.",
    "raw-counts":
        "With extended numbering (e_shnum 0, e_shstrndx SHN_XINDEX) we print "
        "the raw header field; readelf prints the raw value followed by the "
        "real one in parentheses. The raw values are compared, the section "
        "list checks the real ones.",
}


# --------------------------------------------------------------------------
# value tables (readelf names -> numbers)

E_TYPE = {"NONE": 0, "REL": 1, "EXEC": 2, "DYN": 3, "CORE": 4}
E_MACHINE = {"ARM": 40, "Advanced Micro Devices X86-64": 62,
             "Intel 80386": 3, "AArch64": 183, "None": 0}

SHT_COMMON = {
    "NULL": 0, "PROGBITS": 1, "SYMTAB": 2, "STRTAB": 3, "RELA": 4, "HASH": 5,
    "DYNAMIC": 6, "NOTE": 7, "NOBITS": 8, "REL": 9, "SHLIB": 10, "DYNSYM": 11,
    "INIT_ARRAY": 14, "FINI_ARRAY": 15, "PREINIT_ARRAY": 16, "GROUP": 17,
    "SYMTAB SECTION INDICES": 18, "RELR": 19,
    "GNU_ATTRIBUTES": 0x6FFFFFF5, "GNU_HASH": 0x6FFFFFF6,
    "GNU_LIBLIST": 0x6FFFFFF7, "VERDEF": 0x6FFFFFFD, "VERNEED": 0x6FFFFFFE,
    "VERSYM": 0x6FFFFFFF,
}
SHT_ARM = {"ARM_EXIDX": 0x70000001, "ARM_PREEMPTMAP": 0x70000002,
           "ARM_ATTRIBUTES": 0x70000003, "ARM_DEBUGOVERLAY": 0x70000004,
           "ARM_OVERLAYSECTION": 0x70000005}
SHT_X86_64 = {"X86_64_UNWIND": 0x70000001}
# The label we expect after the number, for types whose meaning does not
# depend on the machine (plus the ARM ones on EM_ARM).
SHT_OUR_LABEL = {
    "NULL": "SHT_NULL", "PROGBITS": "SHT_PROGBITS", "SYMTAB": "SHT_SYMTAB",
    "STRTAB": "SHT_STRTAB", "RELA": "SHT_RELA", "HASH": "SHT_HASH",
    "DYNAMIC": "SHT_DYNAMIC", "NOTE": "SHT_NOTE", "NOBITS": "SHT_NOBITS",
    "REL": "SHT_REL", "SHLIB": "SHT_SHLIB", "DYNSYM": "SHT_DYNSYM",
    "INIT_ARRAY": "SHT_INIT_ARRAY", "FINI_ARRAY": "SHT_FINI_ARRAY",
    "PREINIT_ARRAY": "SHT_PREINIT_ARRAY", "GROUP": "SHT_GROUP",
    "SYMTAB SECTION INDICES": "SHT_SYMTAB_SHNDX",
}
SHT_OUR_LABEL_ARM = {k: "SHT_" + k for k in SHT_ARM}

SHF_COMMON = {"W": 0x1, "A": 0x2, "X": 0x4, "M": 0x10, "S": 0x20, "I": 0x40,
              "L": 0x80, "O": 0x100, "G": 0x200, "T": 0x400, "C": 0x800,
              "R": 0x200000, "D": 0x1000000, "E": 0x80000000}
SHF_MACHINE = {40: {"y": 0x20000000}, 62: {"l": 0x10000000}}
SHF_OUR_NAMES = [(0x1, "SHF_WRITE"), (0x2, "SHF_ALLOC"), (0x4, "SHF_EXECINSTR")]

PT_READELF = {"NULL": 0, "LOAD": 1, "DYNAMIC": 2, "INTERP": 3, "NOTE": 4,
              "SHLIB": 5, "PHDR": 6, "TLS": 7, "GNU_EH_FRAME": 0x6474E550,
              "GNU_STACK": 0x6474E551, "GNU_RELRO": 0x6474E552,
              "GNU_PROPERTY": 0x6474E553, "EXIDX": 0x70000001}
PT_OURS = {"PT_NULL": 0, "PT_LOAD": 1, "PT_DYNAMIC": 2, "PT_INTERP": 3,
           "PT_NOTE": 4, "PT_SHLIB": 5, "PT_PHDR": 6, "PT_TLS": 7,
           "PT_LOOS": 0x60000000, "PT_HIOS": 0x6FFFFFFF,
           "EXIDX": 0x70000001, "GNU_STACK": 0x6474E551}

STT_READELF = {"NOTYPE": 0, "OBJECT": 1, "FUNC": 2, "SECTION": 3, "FILE": 4,
               "COMMON": 5, "TLS": 6, "IFUNC": 10, "THUMB_FUNC": 13}
STT_OURS = {"NOTYPE": 0, "OBJECT": 1, "FUNC": 2, "SECTION": 3, "FILE": 4,
            "COMMON": 5, "TLS": 6, "LOOS": 10, "HIOS": 12, "LOPROC": 13,
            "HIPROC": 15}
STB_READELF = {"LOCAL": 0, "GLOBAL": 1, "WEAK": 2, "UNIQUE": 10}
STB_OURS = {"LOCAL": 0, "GLOBAL": 1, "WEAK": 2, "LOOS": 10, "HIOS": 12,
            "LOPROC": 13, "HIPROC": 15}
STV_READELF = {"DEFAULT": 0, "INTERNAL": 1, "HIDDEN": 2, "PROTECTED": 3}
STV_OURS = {"DEFAULT": 0, "INTERNAL": 1, "HIDDEN": 2, "PROTECTED": 3,
            "EXPORTED": 4, "SINGLETON": 5, "ELIMINATE": 6}
MAPPING_SYMBOLS = {"$a", "$t", "$d"}


def numbered(text, table, base=10):
    """readelf name -> number, including its '<... specific>: N' and
    'LOxx+0x..' spellings for values without a name. None when unknown.
    base: how readelf writes N (decimal for symbol types and bindings,
    hex for section types)."""
    if text in table:
        return table[text]
    m = re.fullmatch(r"<[^>]*>: (?:0x)?([0-9a-fA-F]+)", text)
    if m:
        return int(m.group(1), base)
    for base, val in (("LOPROC", 0x70000000), ("LOOS", 0x60000000),
                      ("LOUSER", 0x80000000)):
        m = re.fullmatch(base + r"\+0x([0-9a-fA-F]+)", text)
        if m:
            return val + int(m.group(1), 16)
    return None


def readelf_sht(text, machine):
    table = dict(SHT_COMMON)
    table.update(SHT_ARM if machine == 40 else {})
    table.update(SHT_X86_64 if machine == 62 else {})
    return numbered(text, table, 16)


def ours_kind(text, table, unnamed):
    """Our symbol type/binding text -> number. An empty text stands for any
    value without a name (returned as the set of those values)."""
    if text in table:
        return {table[text]}
    if text == "":
        return unnamed
    return None


STT_UNNAMED = set(range(16)) - set(STT_OURS.values())
STB_UNNAMED = set(range(16)) - set(STB_OURS.values())


def rint(text):
    """A readelf number: hex when it says so, decimal otherwise."""
    text = text.strip()
    return int(text, 16) if text.lower().startswith("0x") else int(text)


# --------------------------------------------------------------------------
# archives, read straight from the bytes

class Member:
    def __init__(self, name, header_off, data_off, size):
        self.name = name
        self.header_off = header_off
        self.data_off = data_off
        self.size = size


def read_archive(path):
    """Returns (members, index): members in file order (ELF and not), index
    as a list of (symbol, member header offset)."""
    with open(path, "rb") as f:
        data = f.read()
    if data[:8] != b"!<arch>\n":
        raise ValueError("not an archive: " + path)
    pos, longnames, members, index = 8, b"", [], []
    while pos + 60 <= len(data):
        hdr = data[pos:pos + 60]
        raw = hdr[:16].decode("latin-1").rstrip(" ")
        size = int(hdr[48:58].decode("ascii").strip())
        body = data[pos + 60:pos + 60 + size]
        if raw == "/":
            count = struct.unpack(">I", body[:4])[0]
            offs = struct.unpack(">%dI" % count, body[4:4 + 4 * count])
            names = body[4 + 4 * count:].split(b"\0")[:count]
            index = [(n.decode("latin-1"), o) for n, o in zip(names, offs)]
        elif raw == "//":
            longnames = body
        else:
            if re.fullmatch(r"/\d+", raw):
                start = int(raw[1:])
                end = longnames.find(b"/\n", start)
                name = longnames[start:end].decode("latin-1")
            else:
                name = raw[:-1] if raw.endswith("/") else raw
            members.append(Member(name, pos, pos + 60, size))
        pos += 60 + size + (size & 1)
    return data, members, index


# --------------------------------------------------------------------------
# our output

OUR_KV = re.compile(r"^(e_\w+|p_\w+|sh_\w+)\s*: ?(.*)$")
OUR_IDENT = re.compile(r"^(?:e_ident\s*:)?\s*(EI_\w+)\s*: (.*)$")
OUR_SYMTAB = re.compile(r"^Symbol table '(.*)' contains (-?\d+) entries:$")
OUR_SYMCOLS = "\tNum:\tValue\tSize\tType\tBind\tVis\tNdx\tName"


class Listing:
    """One ELF file's listing, from either tool."""

    def __init__(self):
        self.header = {}
        self.phdrs = []
        self.shdrs = []
        self.symtabs = []   # (table name, declared count, {index: entry})
        self.stray = []     # lines that fit nowhere


def parse_ours(text):
    out = Listing()
    cur, table, want_columns = None, None, False
    for line in text.split("\n"):
        if line == "":
            continue
        if line == "elf header":
            if out.header:
                out.stray.append("second 'elf header'")
            cur = out.header
            continue
        if line == "program header":
            cur = {}
            out.phdrs.append(cur)
            continue
        if line == "section header":
            cur = {}
            out.shdrs.append(cur)
            continue
        m = OUR_SYMTAB.match(line)
        if m:
            table = {}
            out.symtabs.append((m.group(1), int(m.group(2)), table))
            cur = None
            want_columns = True
            continue
        if table is not None and want_columns:
            # the column line must follow the table's title directly
            want_columns = False
            if line == OUR_SYMCOLS:
                continue
            out.stray.append("missing column line before: " + line)
        if table is not None and line.startswith("\t"):
            parts = line.split("\t", 8)
            if len(parts) == 9 and re.fullmatch(r"\d+:", parts[1]):
                idx = int(parts[1][:-1])
                table[idx] = dict(zip(
                    ("value", "size", "type", "bind", "vis", "ndx", "name"),
                    parts[2:]))
                continue
        m = OUR_IDENT.match(line)
        if m and cur is out.header:
            cur[m.group(1)] = m.group(2)
            continue
        m = OUR_KV.match(line)
        if m and cur is not None:
            cur[m.group(1)] = m.group(2)
            continue
        out.stray.append(line)
    return out


OUR_MEMBER = re.compile(r"^offset 0x([0-9a-fA-F]{8}) (.*)$", re.M)
OUR_INDEX = re.compile(r"^(.*) 0x([0-9a-fA-F]{8})$")


def split_ours_archive(text):
    """-> (index lines, [(header offset, name, text)])"""
    marks = list(OUR_MEMBER.finditer(text))
    head = text[:marks[0].start()] if marks else text
    chunks = []
    for i, m in enumerate(marks):
        end = marks[i + 1].start() if i + 1 < len(marks) else len(text)
        chunks.append((int(m.group(1), 16), m.group(2), text[m.end():end]))
    return [l for l in head.split("\n") if l], chunks


# --------------------------------------------------------------------------
# readelf output

RE_SHDR = re.compile(
    r"^\s*\[\s*(\d+)\] (.*?) +(SYMTAB SECTION INDICES|<unknown>: [0-9a-f]+|\S+)"
    r" +([0-9a-f]+) ([0-9a-f]+) ([0-9a-f]+) ([0-9a-f]+) +([A-Za-z]*) +(\d+)"
    r" +(\d+) +(\d+)$")
RE_PHDR = re.compile(
    r"^\s+(\S+)\s+0x([0-9a-f]+) 0x([0-9a-f]+) 0x([0-9a-f]+) 0x([0-9a-f]+)"
    r" 0x([0-9a-f]+) (.{3}) 0x([0-9a-f]+)$")
RE_SYMTAB = re.compile(r"^Symbol table '(.*)' contains (\d+) entr(?:y|ies):$")
RE_SYM = re.compile(
    r"^\s*(\d+): ([0-9a-f]+) +(0x[0-9a-f]+|\d+) "
    r"(<[^>]*>: \d+|\S+) +(<[^>]*>: \d+|\S+) +(\S+)(?: +(\[[^\]]*\]))? +"
    r"(OS \[0x[0-9a-f]+\]|\S+) (.*)$")


def parse_readelf(text):
    out = Listing()
    state = None
    for line in text.split("\n"):
        if line.startswith("ELF Header:"):
            state = "h"
            continue
        if line.startswith("Section Headers:"):
            state = "s"
            continue
        if line.startswith("Program Headers:"):
            state = "p"
            continue
        if line.startswith("There are no program headers"):
            state = None
            continue
        m = RE_SYMTAB.match(line)
        if m:
            table = {}
            out.symtabs.append((m.group(1), int(m.group(2)), table))
            state = "y"
            continue
        if line.strip() == "" or line.startswith("Key to Flags"):
            if state in ("h", "p", "s"):
                state = None
            continue
        if state == "h":
            key, _, val = line.strip().partition(":")
            # "Version" appears twice: EI_VERSION, then e_version
            if key in out.header:
                key = key + "#2"
            out.header[key] = val.strip()
        elif state == "s":
            m = RE_SHDR.match(line)
            if m:
                out.shdrs.append(m.groups())
            elif not line.strip().startswith("[Nr]"):
                out.stray.append(line)
        elif state == "p":
            m = RE_PHDR.match(line)
            if m:
                out.phdrs.append(m.groups())
            elif not line.strip().startswith(("Type ", "[Requesting")):
                out.stray.append(line)
        elif state == "y":
            m = RE_SYM.match(line)
            if m:
                g = m.groups()
                out.symtabs[-1][2][int(g[0])] = dict(zip(
                    ("value", "size", "type", "bind", "vis", "other", "ndx",
                     "name"), g[1:]))
            elif not line.strip().startswith("Num:"):
                out.stray.append(line)
    return out


RE_FILE = re.compile(r"^File: .*\((.*)\)$", re.M)


def split_readelf_archive(text):
    marks = list(RE_FILE.finditer(text))
    chunks = []
    for i, m in enumerate(marks):
        end = marks[i + 1].start() if i + 1 < len(marks) else len(text)
        chunks.append((m.group(1), text[m.end():end]))
    return chunks


# --------------------------------------------------------------------------
# comparison

class Report:
    def __init__(self):
        self.mismatches = []
        self.fields = 0
        self.sections = 0
        self.symbols = 0
        self.deliberate = collections.Counter()

    def check(self, where, what, ours, theirs, ok=None):
        self.fields += 1
        if ok is None:
            ok = ours == theirs
        if not ok:
            self.mismatches.append((where, what, ours, theirs))
        return ok

    def fail(self, where, what, ours, theirs):
        self.mismatches.append((where, what, ours, theirs))


def our_int(text):
    """Our numbers are all 0x-prefixed hex; anything else is a mismatch."""
    try:
        return int(text.split(" ")[0], 16) if text.startswith("0x") else None
    except ValueError:
        return None


def compare_header(rep, where, ours, theirs):
    h, r = ours.header, theirs.header
    if not h or not r:
        rep.fail(where, "ELF header present", bool(h), bool(r))
        return None
    magic = [int(b, 16) for b in r.get("Magic", "").split()]
    if len(magic) < 7:
        rep.fail(where, "readelf Magic line", "", r.get("Magic"))
        return None
    rep.check(where, "EI_MAG0", our_int(h.get("EI_MAG0", "")), magic[0])
    for i in (1, 2, 3):
        rep.check(where, "EI_MAG%d" % i, h.get("EI_MAG%d" % i), chr(magic[i]))
    rep.check(where, "EI_CLASS", h.get("EI_CLASS"),
              {1: "ELFCLASS32", 2: "ELFCLASS64"}.get(magic[4]))
    rep.check(where, "EI_DATA", h.get("EI_DATA"),
              {1: "ELFDATA2LSB", 2: "ELFDATA2MSB"}.get(magic[5]))
    rep.check(where, "EI_VERSION", h.get("EI_VERSION"), "0x%02X" % magic[6])

    def first_int(key):
        v = r.get(key)
        if v is None:
            return None
        # "0 (13)" under extended numbering: the raw field comes first
        if re.search(r"\(\d+\)", v):
            rep.deliberate["raw-counts"] += 1
        return rint(v.split()[0].rstrip(","))

    etype = r.get("Type", "").split()[0] if r.get("Type") else None
    machine = E_MACHINE.get(r.get("Machine"))
    expect = [
        ("e_type", E_TYPE.get(etype)),
        ("e_machine", machine),
        ("e_version", first_int("Version#2")),
        ("e_entry", first_int("Entry point address")),
        ("e_phoff", first_int("Start of program headers")),
        ("e_shoff", first_int("Start of section headers")),
        ("e_flags", first_int("Flags")),
        ("e_ehsize", first_int("Size of this header")),
        ("e_phentsize", first_int("Size of program headers")),
        ("e_phnum", first_int("Number of program headers")),
        ("e_shentsize", first_int("Size of section headers")),
        ("e_shnum", first_int("Number of section headers")),
        ("e_shstrndx", first_int("Section header string table index")),
    ]
    for key, want in expect:
        if want is None:
            rep.fail(where, key + " (readelf value not understood)",
                     h.get(key), r)
            continue
        rep.check(where, key, our_int(h.get(key, "")), want)
    return {"machine": machine, "class64": magic[4] == 2}


def compare_phdrs(rep, where, ours, theirs):
    rep.check(where, "program header count", len(ours.phdrs), len(theirs.phdrs))
    for i, (o, t) in enumerate(zip(ours.phdrs, theirs.phdrs)):
        w = "%s phdr[%d]" % (where, i)
        ptype, off, vaddr, paddr, filesz, memsz, flg, align = t
        want_type = PT_READELF.get(ptype)
        if want_type is None:
            want_type = numbered(ptype, {})
        otype = o.get("p_type", "")
        got_type = PT_OURS.get(otype, our_int(otype))
        rep.check(w, "p_type", got_type, want_type)
        for key, val in (("p_offset", off), ("p_vaddr", vaddr),
                         ("p_paddr", paddr), ("p_filesz", filesz),
                         ("p_memsz", memsz), ("p_align", align)):
            rep.check(w, key, our_int(o.get(key, "")), int(val, 16))
        want_flags = ((4 if flg[0] == "R" else 0) | (2 if flg[1] == "W" else 0)
                      | (1 if flg[2] == "E" else 0))
        got = our_int(o.get("p_flags", ""))
        rep.deliberate["phdr-flags-rwx"] += 1
        rep.check(w, "p_flags (RWE bits)",
                  None if got is None else got & 7, want_flags)


def cstring(data, off):
    end = data.find(b"\0", off)
    if off >= len(data) or end < 0:
        return None
    return data[off:end].decode("latin-1")


def compare_sections(rep, where, ours, theirs, elf, info):
    """elf: the file's bytes (for the sh_name lookup)."""
    machine = info["machine"] if info else None
    rep.check(where, "section count", len(ours.shdrs), len(theirs.shdrs))
    names = [t[1] for t in theirs.shdrs]
    shstr = None
    try:
        shstrndx = rint(theirs.header["Section header string table index"]
                        .split()[-1].strip("()"))
        shstr_off = int(theirs.shdrs[shstrndx][4], 16)
    except (KeyError, IndexError, ValueError):
        shstr_off = None
    letters = dict(SHF_COMMON)
    letters.update(SHF_MACHINE.get(machine, {}))
    known = 0
    for v in letters.values():
        known |= v
    for i, (o, t) in enumerate(zip(ours.shdrs, theirs.shdrs)):
        rep.sections += 1
        (idx, name, stype, addr, off, size, es, flg, lk, inf, al) = t
        w = "%s section[%s]" % (where, idx)
        rep.check(w, "index", i, int(idx))
        raw_name = o.get("sh_name", "")
        num, _, oname = raw_name.partition(" ")
        rep.check(w, "sh_name text", oname, name)
        off_name = our_int(num)
        if shstr_off is not None and off_name is not None:
            rep.check(w, "sh_name offset -> .shstrtab",
                      "0x%X -> %r" % (off_name, cstring(elf, shstr_off + off_name)),
                      "0x%X -> %r" % (off_name, name),
                      ok=cstring(elf, shstr_off + off_name) == name)
        want_type = readelf_sht(stype, machine)
        num, _, label = o.get("sh_type", "").partition(" ")
        if want_type is None:
            rep.fail(w, "sh_type (readelf type name not understood)", num, stype)
        else:
            rep.check(w, "sh_type", our_int(num), want_type)
        want_label = SHT_OUR_LABEL.get(stype)
        if want_label is None and machine == 40:
            want_label = SHT_OUR_LABEL_ARM.get(stype)
        if want_label is not None:
            rep.check(w, "sh_type label", label, want_label)
        # flags: full number against readelf's letters
        num, _, ftext = o.get("sh_flags", "").partition(" ")
        got = our_int(num)
        bits, unknown_letters = 0, False
        for ch in flg:
            if ch in letters:
                bits |= letters[ch]
            else:
                unknown_letters = True   # x, o, p: bits readelf cannot name
        if got is None:
            rep.fail(w, "sh_flags", o.get("sh_flags"), flg)
        else:
            rep.check(w, "sh_flags", "0x%X" % got, "0x%X (%s)" % (bits, flg),
                      ok=(got & known) == bits
                      and bool(got & ~known) == unknown_letters)
            want_text = "+".join(n for b, n in SHF_OUR_NAMES if got & b)
            rep.deliberate["flag-names"] += 1
            rep.check(w, "sh_flags text", ftext, want_text)
        for key, want in (("sh_addr", int(addr, 16)), ("sh_offset", int(off, 16)),
                          ("sh_size", int(size, 16)),
                          ("sh_link", int(lk)), ("sh_info", int(inf)),
                          ("sh_addralign", int(al)),
                          ("sh_entsize", int(es, 16))):
            rep.check(w, key, our_int(o.get(key, "")), want)
    return names


def compare_symbols(rep, where, ours, theirs, names, info):
    width = 16 if info and info["class64"] else 8
    rtables = {n: (c, t) for n, c, t in theirs.symtabs}
    otables = {n: (c, t) for n, c, t in ours.symtabs}
    rep.check(where, "symbol tables", sorted(otables), sorted(rtables))
    for tname in sorted(set(rtables) & set(otables)):
        ocount, otab = otables[tname]
        rcount, rtab = rtables[tname]
        w0 = "%s %s" % (where, tname)
        rep.check(w0, "entry count", ocount, rcount)
        wanted = {}
        for idx, e in rtab.items():
            if e["name"] in MAPPING_SYMBOLS and e["type"] != "SECTION":
                rep.deliberate["mapping-symbols"] += 1
                continue
            wanted[idx] = e
        missing = sorted(set(wanted) - set(otab))
        extra = sorted(set(otab) - set(wanted))
        if missing:
            rep.fail(w0, "symbols missing from ours (indexes)", "",
                     missing[:10])
        if extra:
            rep.fail(w0, "symbols only in ours (indexes)", extra[:10], "")
        for idx in sorted(set(wanted) & set(otab)):
            o, t = otab[idx], wanted[idx]
            rep.symbols += 1
            w = "%s %s[%d]" % (where, tname, idx)
            value = int(t["value"], 16)
            rep.check(w, "value", o["value"], "0x%0*X" % (width, value))
            rep.check(w, "size", o["size"], str(rint(t["size"])))
            want_type = numbered(t["type"], STT_READELF)
            got_type = ours_kind(o["type"], STT_OURS, STT_UNNAMED)
            if want_type not in STT_OURS.values() or t["type"] not in STT_OURS:
                rep.deliberate["os-proc-type-names"] += 1
            rep.check(w, "type", o["type"], t["type"],
                      ok=got_type is not None and want_type in got_type)
            want_bind = numbered(t["bind"], STB_READELF)
            got_bind = ours_kind(o["bind"], STB_OURS, STB_UNNAMED)
            if t["bind"] not in STB_OURS:
                rep.deliberate["os-proc-type-names"] += 1
            rep.check(w, "bind", o["bind"], t["bind"],
                      ok=got_bind is not None and want_bind in got_bind)
            if t["other"]:
                # st_other bits beyond visibility: readelf prints them in
                # brackets; none of the inputs has them, so flag it.
                rep.fail(w, "vis (readelf shows extra st_other)", o["vis"],
                         t["vis"] + " " + t["other"])
            else:
                rep.check(w, "vis", STV_OURS.get(o["vis"]),
                          STV_READELF.get(t["vis"]))
            ndx = t["ndx"]
            if ndx == "ABS":
                want_sec = "*ABS*"
            elif ndx.isdigit():
                n = int(ndx)
                want_sec = names[n] if n < len(names) else "??"
            else:
                rep.deliberate["und-com-ndx"] += 1
                want_sec = "??"
            rep.check(w, "ndx", o["ndx"], "%s (%s)" % (want_sec, ndx),
                      ok=o["ndx"] == want_sec)
            if (t["type"] == "SECTION" and o["name"] == "" and ndx.isdigit()
                    and t["name"] == want_sec):
                rep.deliberate["section-symbol-name"] += 1
                rep.fields += 1
            else:
                rep.check(w, "name", o["name"], t["name"])


def compare_elf(rep, where, ours_text, theirs_text, elf):
    ours = parse_ours(ours_text)
    theirs = parse_readelf(theirs_text)
    for line in ours.stray[:3]:
        rep.fail(where, "unexpected line in our output", line, "")
    for line in theirs.stray[:3]:
        rep.fail(where, "readelf line not understood", "", line)
    info = compare_header(rep, where, ours, theirs)
    compare_phdrs(rep, where, ours, theirs)
    names = compare_sections(rep, where, ours, theirs, elf, info)
    compare_symbols(rep, where, ours, theirs, names, info)


# --------------------------------------------------------------------------
# running the tools

OUR_OPTIONS = ["-header", "-programs", "-sections", "-symbols"]
READELF_OPTIONS = ["-W", "-h", "-l", "-S", "-s"]


def run(cmd):
    p = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    return (p.returncode, p.stdout.decode("latin-1"),
            p.stderr.decode("latin-1"))


def run_both(tool, path):
    return (run([tool] + OUR_OPTIONS + [path]),
            run([READELF] + READELF_OPTIONS + [path]))


def check_tool_run(rep, where, result):
    rc, _, err = result
    rep.check(where, "elfdwarfdump exit status", rc, 0)
    rep.check(where, "elfdwarfdump stderr", err.strip()[:200], "")


def sample(members, count, salt):
    """count members spread evenly over the archive, shifted by salt so the
    variants do not all pick the same objects."""
    n = len(members)
    if n == 0 or count <= 0:
        return []
    count = min(count, n)
    picks = sorted({(j * n // count + salt) % n for j in range(count)})
    return [members[i] for i in picks]


def compare_archive(rep, where, tool_result, readelf_result, path, count,
                    salt):
    """Compares count sampled members in full (all when count is None).
    Returns (members compared, ELF members in the archive)."""
    data, members, index = read_archive(path)
    elf_members = [m for m in members
                   if data[m.data_off:m.data_off + 4] == b"\x7fELF"]
    if count is None:
        picks = {m.header_off for m in elf_members}
    else:
        picks = {m.header_off for m in sample(elf_members, count, salt)}
    check_tool_run(rep, where, tool_result)
    head, ours_chunks = split_ours_archive(tool_result[1])
    theirs_chunks = split_readelf_archive(readelf_result[1])

    # symbol index: same (name, member header offset) pairs as the archive
    got_index = []
    for line in head:
        m = OUR_INDEX.match(line)
        if m:
            got_index.append((m.group(1), int(m.group(2), 16)))
        else:
            rep.fail(where, "unexpected line before first member", line, "")
    rep.fields += len(index)
    if sorted(got_index) != sorted(index):
        diff_o = sorted(set(got_index) - set(index))[:5]
        diff_t = sorted(set(index) - set(got_index))[:5]
        rep.fail(where, "archive symbol index (%d vs %d entries)"
                 % (len(got_index), len(index)), diff_o, diff_t)

    # member list: every ELF member, in order, at its header offset
    want_list = [(m.header_off, m.name) for m in elf_members]
    got_list = [(off, name) for off, name, _ in ours_chunks]
    rep.fields += len(want_list)
    if got_list != want_list:
        bad = [(g, w) for g, w in zip(got_list, want_list) if g != w][:3]
        rep.fail(where, "member list (%d vs %d members)"
                 % (len(got_list), len(want_list)), bad or got_list[-1:],
                 want_list[-1:])
    rep.check(where, "readelf member count", len(theirs_chunks),
              len(elf_members))

    def keyed(chunks, name_of):
        seen, out = collections.Counter(), {}
        for c in chunks:
            name = name_of(c)
            out[(name, seen[name])] = c
            seen[name] += 1
        return out

    ours_by = keyed(ours_chunks, lambda c: c[1])
    theirs_by = keyed(theirs_chunks, lambda c: c[0])
    member_keys = keyed(members, lambda m: m.name)
    compared = 0
    for key, m in member_keys.items():
        if m.header_off not in picks:
            continue
        w = "%s(%s)" % (where, m.name)
        if key not in ours_by or key not in theirs_by:
            rep.fail(w, "member listed", key in ours_by, key in theirs_by)
            continue
        elf = data[m.data_off:m.data_off + m.size]
        compare_elf(rep, w, ours_by[key][2], theirs_by[key][1], elf)
        compared += 1
    return compared, len(elf_members)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("tool", help="path to the elfdwarfdump binary")
    ap.add_argument("--members", type=int, default=DEFAULT_MEMBERS,
                    help="library members to sample (default %(default)s)")
    ap.add_argument("--demangle", action="store_true",
                    help="compare C++ names demangled by both tools")
    args = ap.parse_args()
    if args.demangle:
        # Both tools use the same demangler with parameter lists.
        OUR_OPTIONS.append("-demangle")
        READELF_OPTIONS.append("-C")
    tool = os.path.abspath(args.tool)
    if not os.access(tool, os.X_OK):
        print("not executable: " + tool)
        return 2
    if shutil.which(READELF) is None:
        print(READELF + " not found")
        return 2

    rep = Report()
    fixtures = []
    for name in sorted(os.listdir(os.path.join(FIXTURES, "elf"))):
        fixtures.append(os.path.join(FIXTURES, "elf", name))
    fixtures += [os.path.join(FIXTURES, p) for p in EXTRA_VALID]
    archives = []
    for variant in VARIANTS:
        for lib in LIBRARIES:
            path = os.path.normpath(os.path.join(NEWLIB, variant, lib))
            if os.path.exists(path):
                archives.append(path)
            else:
                rep.fail(path, "library present", False, True)
    per_archive = -(-args.members // max(1, len(archives)))

    files = members = lib_members = lib_available = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        jobs = [(p, None, pool.submit(run_both, tool, p)) for p in fixtures]
        jobs += [(p, i, pool.submit(run_both, tool, p))
                 for i, p in enumerate(archives)]
        for path, salt, job in jobs:
            ours, theirs = job.result()
            where = os.path.relpath(path, REPO) if path.startswith(REPO) \
                else os.path.relpath(path, NEWLIB)
            with open(path, "rb") as f:
                magic = f.read(8)
            files += 1
            if magic == b"!<arch>\n":
                if salt is None:
                    n, _ = compare_archive(rep, where, ours, theirs, path,
                                           None, 0)
                else:
                    n, avail = compare_archive(rep, where, ours, theirs, path,
                                               per_archive, salt * 5)
                    lib_members += n
                    lib_available += avail
                members += n
            elif magic[:4] == b"\x7fELF":
                check_tool_run(rep, where, ours)
                with open(path, "rb") as f:
                    elf = f.read()
                compare_elf(rep, where, ours[1], theirs[1], elf)
            else:
                files -= 1   # not an input (a note or stray file)

    for where, what, ours, theirs in rep.mismatches[:MAX_SHOWN]:
        print("MISMATCH %s: %s: ours %r, readelf %r" % (where, what, ours, theirs))
    if len(rep.mismatches) > MAX_SHOWN:
        print("... %d more mismatches" % (len(rep.mismatches) - MAX_SHOWN))
    print("deliberate differences applied:")
    for key, why in DELIBERATE.items():
        print("  %-20s %7d  %s" % (key, rep.deliberate[key], why))
    print("readelf diff: files %d, members %d (library sample %d), sections %d, "
          "symbols %d, fields %d, mismatches %d"
          % (files, members, lib_members, rep.sections, rep.symbols,
             rep.fields, len(rep.mismatches)))
    wanted = min(args.members, lib_available)
    if lib_members < wanted or lib_members == 0:
        print("FAIL: only %d library members compared, wanted %d"
              % (lib_members, wanted))
        return 1
    return 1 if rep.mismatches else 0


if __name__ == "__main__":
    sys.exit(main())
