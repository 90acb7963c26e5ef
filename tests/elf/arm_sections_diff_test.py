#!/usr/bin/python3
"""Differential test: elfdwarfdump's relocation, build-attribute and stack-size
listings against binutils, LLVM and a decode of the section bytes made here.

    python3 tests/elf/arm_sections_diff_test.py <path-to-elfdwarfdump> [--members N]

  * -relocations against `arm-none-eabi-readelf -S -s -r -W`: the relocation
    sections listed (those whose target is allocated), their entry counts,
    and per ARM entry the offset, type, symbol index, symbol name and the
    section the symbol is defined in. Run on every fixture and on a
    deterministic sample of newlib/libstdc++ members (default 160) from
    several multilib variants. Each archive is given whole to elfdwarfdump;
    readelf reads the sampled members, extracted to a temporary directory,
    in one run per archive.
  * -ARMAttributes against `arm-none-eabi-readelf -A` and against a decode of
    .ARM.attributes written here: our output must be exactly what that
    decode predicts, and every tag and value readelf shows must agree with
    it. Run on the fixtures (incl. the two malformed attribute files, which
    must give no output) and on members of libc.a of every installed
    multilib variant.
  * -stack-sizes against `llvm-readobj --stack-sizes` and a decode of the
    .stack_sizes sections written here, on the stack-size fixtures and on
    copies of stack-sizes.elf with one entry's address moved away from any
    function.

Exit status is 0 only when nothing differs and enough members were compared.
"""

import argparse
import collections
import concurrent.futures
import importlib.util
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
READELF = "arm-none-eabi-readelf"
READOBJ_CANDIDATES = ["llvm-readobj", "llvm-readobj-18", "llvm-readobj-17",
                      "llvm-readobj-16", "llvm-readobj-15", "llvm-readobj-14"]


def _load_readelf_diff():
    """The archive reader, readelf -S/-s parser and Report of the ELF listing
    test, so both tests read archives and readelf the same way."""
    sys.dont_write_bytecode = True
    spec = importlib.util.spec_from_file_location(
        "readelf_diff_test", os.path.join(HERE, "readelf_diff_test.py"))
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


RD = _load_readelf_diff()

FIXTURE_DIRS = ["elf", "disasm", "dwarf", "tool"]
MALFORMED_ATTRIBUTES = ["malformed/attributes-bad-version.o",
                        "malformed/attributes-vendor-not-aeabi.o"]
STACK_FIXTURES = ["elf/stack-sizes.elf", "elf/stack-sizes.o",
                  "elf/stack-sizes-a64.o"]
# Relocation sample: the variants of the ELF listing test, which cover
# v4T..v8.1-M, ARM and Thumb, hard and soft float.
REL_VARIANTS = RD.VARIANTS
REL_LIBRARIES = ["libc.a", "libm.a", "libstdc++.a", "libsupc++.a"]
DEFAULT_MEMBERS = 160
MIN_MEMBERS = 100
ATTR_MEMBERS_PER_VARIANT = 3
MAX_SHOWN = 50

EM_ARM = 40

DELIBERATE = {
    "rel-unallocated-target":
        "Relocation sections whose target section is not SHF_ALLOC (debug "
        "info, notes) are not listed by us; readelf lists every one.",
    "rel-value-is-index":
        "Our 'value' column is the symbol index (r_info >> 8), not the "
        "symbol's value; it is compared with readelf's Info column >> 8.",
    "rel-section-symbol-name":
        "For STT_SECTION symbols readelf prints the section's name as the "
        "symbol name; we print the symbol's own (empty) name, the section "
        "is in our last column.",
    "rel-unnamed-type":
        "Relocation types outside our name table show only their number; "
        "readelf names them (R_ARM_NONE, R_ARM_THM_JUMP19, ...). Compared "
        "by number.",
    "rel-non-arm":
        "Other machines: we print '(null)' as the type and read fixed 12- or "
        "24-byte records; only the listed sections and the record count "
        "(sh_size / 12 or 24) are checked, entries are not comparable.",
    "attr-value-names":
        "readelf names most attribute values ('Yes', 'Thumb-2', "
        "'Microcontroller'); we print numbers. readelf's names are mapped "
        "back to numbers here.",
    "attr-fp-arch-names":
        "Our Tag_FP_arch names follow our own numbering, not the addendum's "
        "(readelf's); Tag_FP_arch is compared by number.",
    "attr-align8-name":
        "Tag 25 is Tag_ABI_align8_preserved for us, Tag_ABI_align_preserved "
        "for readelf.",
    "attr-nodefaults":
        "readelf prints Tag_nodefaults as 'True' without its value; our "
        "value is checked against the decode here only.",
    "attr-other-vendor":
        "Subsections of vendors other than \"aeabi\" are listed by us with "
        "their size only; readelf decodes the \"gnu\" ones.",
    "attr-not-listed":
        "A section that does not start with 'A' or whose first vendor is not "
        "\"aeabi\" is not listed by us at all; readelf reports or dumps it.",
    "stack-no-function":
        "An entry whose address has no function symbol: llvm-readobj prints "
        "'?' and a warning, we print 'index <address>'.",
    "stack-aliases":
        "Several function symbols at one address: llvm-readobj lists all, "
        "we print one of them.",
}


# --------------------------------------------------------------------------
# ELF bytes, read here (sections, symbols, relocations)

class Elf:
    def __init__(self, data):
        if data[:4] != b"\x7fELF" or data[4] not in (1, 2) \
                or data[5] not in (1, 2):
            raise ValueError("not a readable ELF file")
        self.data = data
        self.is64 = data[4] == 2
        self.be = data[5] == 2
        e = ">" if self.be else "<"
        self.e = e
        if self.is64:
            (self.e_type, self.e_machine, _, _, _, shoff, _, _, _, _,
             shentsize, shnum, shstrndx) = struct.unpack_from(
                 e + "HHIQQQIHHHHHH", data, 16)
        else:
            (self.e_type, self.e_machine, _, _, _, shoff, _, _, _, _,
             shentsize, shnum, shstrndx) = struct.unpack_from(
                 e + "HHIIIIIHHHHHH", data, 16)
        self.sections = []
        if shoff == 0:
            return
        first = self._shdr(shoff)
        if shnum == 0:
            shnum = first["size"]
        if shstrndx == 0xFFFF:
            shstrndx = first["link"]
        self.sections = [self._shdr(shoff + i * shentsize)
                         for i in range(shnum)]
        for i, s in enumerate(self.sections):
            s["index"] = i
            s["name"] = ""
        if shstrndx < shnum:
            names = self.section_data(self.sections[shstrndx])
            for s in self.sections:
                s["name"] = cstr(names, s["name_off"])

    def _shdr(self, off):
        if self.is64:
            f = struct.unpack_from(self.e + "IIQQQQIIQQ", self.data, off)
        else:
            f = struct.unpack_from(self.e + "IIIIIIIIII", self.data, off)
        return dict(zip(("name_off", "type", "flags", "addr", "offset", "size",
                         "link", "info", "align", "entsize"), f))

    def section_data(self, s):
        if s["type"] == 8:   # SHT_NOBITS
            return b""
        return self.data[s["offset"]:s["offset"] + s["size"]]

    def sections_named(self, name):
        return [s for s in self.sections if s["name"] == name]

    def symbols(self):
        """.symtab as a list of dicts (name, value, info, shndx)."""
        tabs = [s for s in self.sections if s["type"] == 2]
        if not tabs:
            return []
        tab = tabs[0]
        strs = self.section_data(self.sections[tab["link"]]) \
            if tab["link"] < len(self.sections) else b""
        raw = self.section_data(tab)
        out = []
        if self.is64:
            fmt, size = self.e + "IBBHQQ", 24
        else:
            fmt, size = self.e + "IIIBBH", 16
        for off in range(0, len(raw) - size + 1, size):
            f = struct.unpack_from(fmt, raw, off)
            if self.is64:
                name, info, other, shndx, value, sz = f
            else:
                name, value, sz, info, other, shndx = f
            out.append({"name": cstr(strs, name), "value": value,
                        "info": info, "shndx": shndx})
        return out

    def relocations_for(self, target_index):
        """{r_offset: (symbol index, addend or None)} of the REL/RELA sections
        that apply to section target_index."""
        out = {}
        for s in self.sections:
            if s["type"] not in (4, 9) or s["info"] != target_index:
                continue
            rela = s["type"] == 4
            raw = self.section_data(s)
            if self.is64:
                size = 24 if rela else 16
                for off in range(0, len(raw) - size + 1, size):
                    r_off, r_info = struct.unpack_from(self.e + "QQ", raw, off)
                    add = struct.unpack_from(self.e + "q", raw, off + 16)[0] \
                        if rela else None
                    out[r_off] = (r_info >> 32, add)
            else:
                size = 12 if rela else 8
                for off in range(0, len(raw) - size + 1, size):
                    r_off, r_info = struct.unpack_from(self.e + "II", raw, off)
                    add = struct.unpack_from(self.e + "i", raw, off + 8)[0] \
                        if rela else None
                    out[r_off] = (r_info >> 8, add)
        return out


def cstr(data, off):
    if off >= len(data):
        return ""
    end = data.find(b"\0", off)
    return data[off:end if end >= 0 else len(data)].decode("latin-1")


def uleb(buf, pos, end):
    """ULEB128 at pos; a number cut off by end keeps what was read."""
    value, shift = 0, 0
    while pos < end:
        b = buf[pos]
        pos += 1
        value |= (b & 0x7F) << shift
        shift += 7
        if not b & 0x80:
            break
    return value, pos


def ntbs(buf, pos, end):
    stop = buf.find(b"\0", pos, end)
    if stop < 0:
        return buf[pos:end].decode("latin-1"), end
    return buf[pos:stop].decode("latin-1"), stop + 1


# --------------------------------------------------------------------------
# tools

def run(cmd, cwd=None):
    p = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                       cwd=cwd)
    return (p.returncode, p.stdout.decode("latin-1"),
            p.stderr.decode("latin-1"))


def run_readelf_files(options, paths):
    """readelf on several files at once -> {path: text of that file}."""
    rc, out, err = run([READELF] + options + paths)
    if len(paths) == 1:
        return {paths[0]: out}, err
    marks = list(re.finditer(r"^File: (.*)$", out, re.M))
    chunks = {}
    for i, m in enumerate(marks):
        end = marks[i + 1].start() if i + 1 < len(marks) else len(out)
        chunks[m.group(1)] = out[m.end():end]
    return chunks, err


def check_our_run(rep, where, result):
    rc, _, err = result
    rep.check(where, "elfdwarfdump exit status", rc, 0)
    rep.check(where, "elfdwarfdump stderr", err.strip()[:200], "")


def relname(path):
    if path.startswith(REPO):
        return os.path.relpath(path, REPO)
    if path.startswith(NEWLIB):
        return os.path.relpath(path, NEWLIB)
    return os.path.basename(path)


def split_ours_archive(rep, where, text, members):
    """Our archive output -> {member header offset: text}; the member list
    itself must be every ELF member in order."""
    head, chunks = RD.split_ours_archive(text)
    for line in head:
        if not RD.OUR_INDEX.match(line):
            rep.fail(where, "unexpected line before first member", line, "")
    got = [(off, name) for off, name, _ in chunks]
    want = [(m.header_off, m.name) for m in members]
    rep.check(where, "member list (%d vs %d members)" % (len(got), len(want)),
              got[:3] if got != want else "", want[:3] if got != want else "")
    return {off: body for off, _, body in chunks}


def elf_members(path):
    data, members, _ = RD.read_archive(path)
    return data, [m for m in members
                  if data[m.data_off:m.data_off + 4] == b"\x7fELF"]


def extract(data, members, directory):
    """Writes members to directory as numbered files -> [(member, path)]."""
    out = []
    for i, m in enumerate(members):
        p = os.path.join(directory, "%04d_%s" % (i, m.name.replace("/", "_")))
        with open(p, "wb") as f:
            f.write(data[m.data_off:m.data_off + m.size])
        out.append((m, p))
    return out


class Report(RD.Report):
    def __init__(self):
        super().__init__()
        self.counts = collections.Counter()


# --------------------------------------------------------------------------
# relocations

# The types our listing names, as numbers; the names are readelf's too.
ARM_RELOC_NAMES = {
    2: "R_ARM_ABS32", 3: "R_ARM_REL32", 10: "R_ARM_THM_CALL",
    28: "R_ARM_CALL", 29: "R_ARM_JUMP24", 30: "R_ARM_THM_JUMP24",
    38: "R_ARM_TARGET1", 40: "R_ARM_V4BX", 42: "R_ARM_PREL31",
    43: "R_ARM_MOVW_ABS_NC", 44: "R_ARM_MOVT_ABS",
    47: "R_ARM_THM_MOVW_ABS_NC", 48: "R_ARM_THM_MOVT_ABS",
}

RE_RELSEC = re.compile(r"^Relocation section '(.*)' at offset 0x([0-9a-f]+) "
                       r"contains (\d+) entr(?:y|ies):$")
RE_RELENT = re.compile(r"^([0-9a-f]+) +([0-9a-f]+) (.*)$")
RE_REL_SYMBOL = re.compile(r"^(.*?) +([0-9a-f]{8}|[0-9a-f]{16})   ?(.*)$")
OUR_HEADING = re.compile(r"^relocations for (.*)$")
OUR_ARM_ENTRY = re.compile(
    r"^0x([0-9a-f]{8,}) 0x([0-9a-f]{2}) (\S*) value 0x([0-9a-f]{8}) (.*)$")
OUR_OTHER_ENTRY = re.compile(
    r"^0x([0-9a-f]{8,}) \(null\) value 0x([0-9a-f]{8}) (.*)$")


def parse_readelf_relocs(rep, where, text):
    """-> [(section name, file offset, declared count, [entries])], an entry
    being (offset, info, symbol name or None, type text)."""
    out, cur = [], None
    for line in text.split("\n"):
        m = RE_RELSEC.match(line)
        if m:
            cur = []
            out.append((m.group(1), int(m.group(2), 16), int(m.group(3)), cur))
            continue
        if cur is None:
            continue
        if line.strip() == "":
            cur = None
            continue
        if line.lstrip().startswith("Offset"):
            continue
        m = RE_RELENT.match(line)
        if not m:
            rep.fail(where, "readelf relocation line not understood", "", line)
            continue
        offset, info, rest = int(m.group(1), 16), int(m.group(2), 16), m.group(3)
        s = RE_REL_SYMBOL.match(rest)
        cur.append((offset, info, s.group(3) if s else None,
                    (s.group(1) if s else rest).strip()))
    return out


def parse_our_relocs(rep, where, text, arm):
    """-> [(target name, [entry match groups])]"""
    out = []
    entry = OUR_ARM_ENTRY if arm else OUR_OTHER_ENTRY
    for line in text.split("\n"):
        if line == "":
            continue
        m = OUR_HEADING.match(line)
        if m:
            out.append((m.group(1), []))
            continue
        m = entry.match(line)
        if m and out:
            out[-1][1].append(m.groups())
            continue
        rep.fail(where, "unexpected line in our relocations", line, "")
    return out


def symbol_section(ndx, shdrs):
    """Our section column for a symbol, from readelf's Ndx text."""
    if ndx == "UND":
        return shdrs[0][1] if shdrs else ""
    if ndx.isdigit():
        n = int(ndx)
        return shdrs[n][1] if n < len(shdrs) else "*ABS*"
    return "*ABS*"   # ABS, COM, and the other reserved indexes


def compare_relocations(rep, where, ours_text, readelf_text, elf):
    arm = elf.e_machine == EM_ARM
    theirs = RD.parse_readelf(readelf_text)
    shdrs = theirs.shdrs
    rep.check(where, "readelf section count vs bytes", len(shdrs),
              len(elf.sections))
    by_offset = {}
    for t in shdrs:
        by_offset.setdefault((t[1], int(t[4], 16)), []).append(t)
    symtab = {}
    for name, _, table in theirs.symtabs:
        if name == ".symtab":
            symtab = table
    rsecs = parse_readelf_relocs(rep, where, readelf_text)

    wanted = []   # (target name, readelf section name, rel shdr, entries)
    for name, offset, count, entries in rsecs:
        rep.check(where + " " + name, "readelf entry count line", len(entries),
                  count)
        cands = by_offset.get((name, offset), [])
        if len(cands) != 1:
            rep.fail(where, "relocation section %s in readelf -S" % name,
                     "", len(cands))
            continue
        info = int(cands[0][9])
        if info >= len(shdrs) or "A" not in shdrs[info][7]:
            rep.deliberate["rel-unallocated-target"] += 1
            continue
        wanted.append((shdrs[info][1], name, cands[0], entries))
    ours = parse_our_relocs(rep, where, ours_text, arm)
    rep.check(where, "relocation sections listed",
              [o[0] for o in ours], [w[0] for w in wanted])
    if not arm:
        rep.deliberate["rel-non-arm"] += len(wanted)
        record = 24 if elf.is64 else 12
        for (oname, oents), (tname, rname, shdr, _) in zip(ours, wanted):
            rep.counts["rel sections"] += 1
            rep.check("%s %s" % (where, rname), "record count",
                      len(oents), int(shdr[5], 16) // record)
        return

    for (oname, oents), (tname, rname, shdr, tents) in zip(ours, wanted):
        w0 = "%s %s" % (where, rname)
        rep.counts["rel sections"] += 1
        rep.check(w0, "entry count", len(oents), len(tents))
        for k, (o, t) in enumerate(zip(oents, tents)):
            rep.counts["relocations"] += 1
            w = "%s[%d]" % (w0, k)
            o_off, o_type, o_tname, o_value, o_tail = o
            t_off, t_info, t_name, t_tname = t
            rep.check(w, "offset", int(o_off, 16), t_off)
            rtype, symidx = t_info & 0xFF, t_info >> 8
            rep.check(w, "type", int(o_type, 16), rtype)
            want_tname = ARM_RELOC_NAMES.get(rtype, "")
            if want_tname:
                rep.check(w, "readelf's name for the type", t_tname, want_tname)
            else:
                rep.deliberate["rel-unnamed-type"] += 1
            rep.check(w, "type name", o_tname, want_tname)
            rep.deliberate["rel-value-is-index"] += 1
            rep.check(w, "symbol index", int(o_value, 16), symidx)
            # symbol name and section, from readelf -r and -s
            sym = symtab.get(symidx)
            if sym is None:
                rep.fail(w, "symbol in readelf -s", "", symidx)
                continue
            section = symbol_section(sym["ndx"], shdrs)
            if symidx == 0:
                want_name = ""
                rep.check(w, "readelf name for symbol 0", t_name, None)
            elif sym["type"] == "SECTION" and sym["ndx"].isdigit() \
                    and t_name == section:
                rep.deliberate["rel-section-symbol-name"] += 1
                want_name = ""
            else:
                want_name = t_name
                rep.check(w, "readelf -r name vs -s name", t_name, sym["name"])
            rep.check(w, "symbol name and section", o_tail,
                      "%s %s" % (want_name, section))


# --------------------------------------------------------------------------
# build attributes: decode

TAG_COMPAT, TAG_ALSO, TAG_NODEFAULTS = 32, 65, 64
STRING_TAGS = {4, 5, 67}


def takes_string(tag):
    return tag in STRING_TAGS or (tag > 32 and tag & 1 == 1)


def decode_value(buf, tag, pos, end):
    """One attribute's value -> (value, pos). Values: ("num", n),
    ("str", s), ("compat", flag, vendor), ("also", tag, value)."""
    if tag == TAG_COMPAT:
        flag, pos = uleb(buf, pos, end)
        vendor, pos = ntbs(buf, pos, end)
        return ("compat", flag, vendor), pos
    if tag == TAG_ALSO:
        # a NUL-terminated byte string holding one more tag and its value
        stop = buf.find(b"\0", pos, end)
        stop = end if stop < 0 else stop
        inner_tag, q = uleb(buf, pos, stop)
        if takes_string(inner_tag):
            inner = ("str", buf[q:stop].decode("latin-1"))
        else:
            inner = ("num", uleb(buf, q, stop)[0])
        return ("also", inner_tag, inner), min(stop + 1, end)
    if takes_string(tag):
        s, pos = ntbs(buf, pos, end)
        return ("str", s), pos
    n, pos = uleb(buf, pos, end)
    return ("num", n), pos


def decode_attribute_section(buf, be):
    """-> list of subsections: ("aeabi", [(scope, [indexes], [(tag, value)])])
    or (vendor, byte count). Raises ValueError on a malformed layout."""
    e = ">" if be else "<"
    pos, out = 1, []
    while len(buf) - pos >= 4:
        start = pos
        length = struct.unpack_from(e + "I", buf, pos)[0]
        if length < 4 or start + length > len(buf):
            raise ValueError("subsection length %d" % length)
        sub_end = start + length
        vendor, pos = ntbs(buf, pos + 4, sub_end)
        if vendor != "aeabi":
            out.append((vendor, sub_end - pos))
            pos = sub_end
            continue
        scopes = []
        while pos < sub_end:
            scope_start = pos
            scope, pos = uleb(buf, pos, sub_end)
            size = struct.unpack_from(e + "I", buf, pos)[0]
            pos += 4
            scope_end = scope_start + size
            if scope not in (1, 2, 3) or scope_end > sub_end or scope_end < pos:
                raise ValueError("attribute block %d of size %d" % (scope, size))
            indexes = []
            if scope != 1:
                while pos < scope_end:
                    n, pos = uleb(buf, pos, scope_end)
                    if n == 0:
                        break
                    indexes.append(n)
            attrs = []
            while pos < scope_end:
                tag, pos = uleb(buf, pos, scope_end)
                value, pos = decode_value(buf, tag, pos, scope_end)
                attrs.append((tag, value))
            scopes.append((scope, indexes, attrs))
            pos = scope_end
        out.append(("aeabi", scopes))
        pos = sub_end
    if pos != len(buf):
        raise ValueError("%d bytes left over" % (len(buf) - pos))
    return out


def attribute_blocks(elf):
    """The decode of .ARM.attributes, or None when our listing prints
    nothing for the file (no such section, not format 'A', first vendor
    not "aeabi")."""
    secs = elf.sections_named(".ARM.attributes")
    if not secs:
        return None
    buf = elf.section_data(secs[0])
    if len(buf) < 5 or buf[0:1] != b"A" or ntbs(buf, 5, len(buf))[0] != "aeabi":
        return "not-listed"
    return decode_attribute_section(buf, elf.be)


# --------------------------------------------------------------------------
# build attributes: how we print them

OUR_TAG_NAMES = {
    4: "Tag_CPU_raw_name", 5: "Tag_CPU_name", 6: "Tag_CPU_arch",
    7: "Tag_CPU_arch_profile", 8: "Tag_ARM_ISA_use", 9: "Tag_THUMB_ISA_use",
    10: "Tag_FP_arch", 11: "Tag_WMMX_arch", 12: "Tag_Advanced_SIMD_arch",
    13: "Tag_PCS_config", 14: "Tag_ABI_PCS_R9_use",
    15: "Tag_ABI_PCS_RW_data", 16: "Tag_ABI_PCS_RO_data",
    17: "Tag_ABI_PCS_GOT_use", 18: "Tag_ABI_PCS_wchar_t",
    19: "Tag_ABI_FP_rounding", 20: "Tag_ABI_FP_denormal",
    21: "Tag_ABI_FP_exceptions", 22: "Tag_ABI_FP_user_exceptions",
    23: "Tag_ABI_FP_number_model", 24: "Tag_ABI_align_needed",
    25: "Tag_ABI_align8_preserved", 26: "Tag_ABI_enum_size",
    27: "Tag_ABI_HardFP_use", 28: "Tag_ABI_VFP_args",
    29: "Tag_ABI_WMMX_args", 30: "Tag_ABI_optimization_goals",
    31: "Tag_ABI_FP_optimization_goals", 32: "Tag_compatibility",
    34: "Tag_CPU_unaligned_access", 36: "Tag_FP_HP_extension",
    38: "Tag_ABI_FP_16bit_format", 42: "Tag_MPextension_use",
    44: "Tag_DIV_use", 46: "Tag_DSP_extension", 48: "Tag_MVE_arch",
    64: "Tag_nodefaults", 65: "Tag_also_compatible_with",
    66: "Tag_T2EE_use", 67: "Tag_conformance",
    68: "Tag_Virtualization_use", 70: "Tag_MPExtension_use",
}
# (names, number of the first name, text for numbers without a name)
OUR_VALUE_NAMES = {
    6: (["Pre-v4", "ARM v4", "ARM v4T", "ARM v5T", "ARM v5TE", "ARM v5TEJ",
         "ARM v6", "ARM v6KZ", "ARM v6T2", "ARM v6K", "ARM v7", "ARM v6-M",
         "ARM v6S-M", "ARM v7E-M", "ARM v8-A", "ARM v8-R",
         "ARM v8-M Baseline", "ARM v8-M Mainline", "ARM v8.1-A",
         "ARM v8.2-A", "ARM v8.3-A", "ARM v8.1-M Mainline"], 0,
        "unknown arch %d"),
    10: (["VFPv1", "VFPv2", "VFPv3", "VFPv4", "FP for ARMv8",
          "FPv5/FP-D16 for ARMv8"], 1, "unknown fp arch %d"),
    12: (["NEONv1", "NEONv1 with Fused-MAC", "NEON for ARMv8",
          "NEON for ARMv8.1"], 1, "unknown simd arch %d"),
    48: (["No MVE", "MVE Integer only", "MVE Integer and FP"], 0,
         "unknown mve arch %d"),
}


def our_tag_name(tag):
    return OUR_TAG_NAMES.get(tag, "unknown tag %d" % tag)


def our_value_text(tag, value):
    kind = value[0]
    if kind == "str":
        return '"%s"' % value[1]
    if kind == "compat":
        return '%d "%s"' % (value[1], value[2])
    if kind == "also":
        return "%s %s" % (our_tag_name(value[1]), our_value_text(value[1], value[2]))
    n = value[1]
    if tag in OUR_VALUE_NAMES:
        names, first, unknown = OUR_VALUE_NAMES[tag]
        if first <= n < first + len(names):
            return "%s (%d)" % (names[n - first], n)
        return unknown % n
    return str(n)


def expected_attribute_lines(blocks):
    lines = []
    for vendor, body in blocks:
        if vendor != "aeabi":
            lines.append('Vendor "%s": %d bytes' % (vendor, body))
            continue
        lines.append('Vendor "aeabi"')
        for scope, indexes, attrs in body:
            if scope == 1:
                lines.append("Tag_File")
            else:
                lines.append(("Tag_Section:" if scope == 2 else "Tag_Symbol:")
                             + "".join(" %d" % i for i in indexes))
            for tag, value in attrs:
                lines.append("  %s: %s" % (our_tag_name(tag),
                                           our_value_text(tag, value)))
    return lines


# --------------------------------------------------------------------------
# build attributes: readelf's names, back to numbers

READELF_TAGS = dict(OUR_TAG_NAMES)
READELF_TAGS[25] = "Tag_ABI_align_preserved"
READELF_TAG_NUMBERS = {v: k for k, v in READELF_TAGS.items()}
READELF_CPU_ARCH = ["Pre-v4", "v4", "v4T", "v5T", "v5TE", "v5TEJ", "v6",
                    "v6KZ", "v6T2", "v6K", "v7", "v6-M", "v6S-M", "v7E-M",
                    "v8", "v8-R", "v8-M.baseline", "v8-M.mainline", "v8.1-A",
                    "v8.2-A", "v8.3-A", "v8.1-M.mainline"]
NOT_ALLOWED = ["Not Allowed", "Allowed"]
READELF_VALUES = {
    6: READELF_CPU_ARCH,
    7: {0: "None", 65: "Application", 82: "Realtime",
        77: "Microcontroller", 83: "Application or Realtime"},
    8: ["No", "Yes"],
    9: ["No", "Thumb-1", "Thumb-2", "Yes"],
    10: ["No", "VFPv1", "VFPv2", "VFPv3", "VFPv3-D16", "VFPv4", "VFPv4-D16",
         "FP for ARMv8", "FPv5/FP-D16 for ARMv8"],
    11: ["No", "WMMXv1", "WMMXv2"],
    12: ["No", "NEONv1", "NEONv1 with Fused-MAC", "NEON for ARMv8",
          "NEON for ARMv8.1"],
    14: ["V6", "SB", "TLS", "Unused"],
    15: ["Absolute", "PC-relative", "SB-relative", "None"],
    16: ["Absolute", "PC-relative", "None"],
    17: ["None", "direct", "GOT-indirect"],
    18: {0: "None"},
    19: ["Unused", "Needed"],
    20: ["Unused", "Needed", "Sign only"],
    21: ["Unused", "Needed"],
    22: ["Unused", "Needed"],
    23: ["Unused", "Finite", "RTABI", "IEEE 754"],
    24: ["None", "8-byte", "4-byte"],
    25: ["None", "8-byte, except leaf SP", "8-byte"],
    26: ["Unused", "small", "int", "forced to int"],
    27: ["As Tag_FP_arch", "SP only"],
    28: ["AAPCS", "VFP registers", "custom", "compatible"],
    29: ["AAPCS", "WMMX registers", "custom"],
    30: ["None", "Prefer Speed", "Aggressive Speed", "Prefer Size",
         "Aggressive Size", "Prefer Debug", "Aggressive Debug"],
    31: ["None", "Prefer Speed", "Aggressive Speed", "Prefer Size",
         "Aggressive Size", "Prefer Accuracy", "Aggressive Accuracy"],
    34: ["None", "v6"],
    36: NOT_ALLOWED,
    38: ["None", "IEEE 754", "Alternative Format"],
    42: NOT_ALLOWED,
    44: ["Allowed in Thumb-ISA, v7-R or v7-M", "Not allowed",
         "Allowed in v7-A with integer division extension"],
    46: ["Follow architecture", "Allowed"],
    48: ["No MVE", "MVE Integer only", "MVE Integer and FP"],
    66: NOT_ALLOWED,
    68: ["Not Allowed", "TrustZone", "Virtualization Extensions",
          "TrustZone and Virtualization Extensions"],
}


def readelf_number(tag, text):
    """readelf's text for a numeric value -> (number or None, was a name)."""
    table = READELF_VALUES.get(tag)
    if table is not None:
        items = table.items() if isinstance(table, dict) else enumerate(table)
        for n, name in items:
            if name == text:
                return n, True
    for pattern in (r"\?\?\? \(?(\d+)\)?", r"(\d+) \(0x[0-9a-f]+\)", r"(\d+)"):
        m = re.fullmatch(pattern, text)
        if m:
            return int(m.group(1)), False
    if tag in (24, 25):
        m = re.fullmatch(r"8-byte and up to (\d+)-byte extended", text)
        if m:
            return int(m.group(1)).bit_length() - 1, True
    return None, False


def parse_readelf_attributes(rep, where, text):
    """-> [(vendor, [(scope, [indexes], [(tag name, value text)])])]"""
    out = []
    for line in text.split("\n"):
        if line.strip() == "":
            continue
        m = re.match(r"^Attribute Section: (.*)$", line)
        if m:
            out.append((m.group(1), []))
            continue
        m = re.match(r"^(File|Section|Symbol) Attributes:?(.*)$", line)
        if m and out:
            scope = {"File": 1, "Section": 2, "Symbol": 3}[m.group(1)]
            out[-1][1].append((scope, [int(x) for x in m.group(2).split()], []))
            continue
        m = re.match(r"^  (Tag_\w+): (.*)$", line)
        if m and out and out[-1][1]:
            out[-1][1][-1][2].append((m.group(1), m.group(2)))
            continue
        if out and out[-1][0] != "aeabi":
            continue   # other vendors' contents are not compared
        rep.fail(where, "readelf attribute line not understood", "", line)
    return out


def readelf_tag_number(name):
    if name in READELF_TAG_NUMBERS:
        return READELF_TAG_NUMBERS[name]
    m = re.fullmatch(r"Tag_unknown_(\d+)", name)
    return int(m.group(1)) if m else None


def check_readelf_value(rep, w, tag, value, text):
    kind = value[0]
    if tag == TAG_NODEFAULTS:
        rep.deliberate["attr-nodefaults"] += 1
        rep.check(w, "value", "True", text)
        return
    if kind == "str":
        rep.check(w, "value", '"%s"' % value[1], text)
    elif kind == "compat":
        rep.check(w, "value", "flag = %d, vendor = %s" % value[1:], text)
    elif kind == "also":
        inner_tag, inner = value[1], value[2]
        if inner_tag == 6 and inner[0] == "num":
            n, named = readelf_number(6, text)
            rep.deliberate["attr-value-names"] += named
            rep.check(w, "nested Tag_CPU_arch", inner[1], n)
        else:
            rep.fail(w, "nested attribute not compared", value, text)
    else:
        n, named = readelf_number(tag, text)
        if n is None:
            rep.fail(w, "readelf value not understood", value[1], text)
            return
        rep.deliberate["attr-value-names"] += named
        rep.check(w, "value", value[1], n)


def compare_attributes(rep, where, ours_result, readelf_text, elf):
    try:
        blocks = attribute_blocks(elf)
    except ValueError as exc:
        rep.fail(where, "decode of .ARM.attributes here", "", str(exc))
        return
    ours = [l for l in ours_result.split("\n") if l != ""]
    if blocks is None or blocks == "not-listed":
        if blocks == "not-listed":
            rep.deliberate["attr-not-listed"] += 1
        rep.check(where, "attribute output", ours[:3], [])
        return
    rep.counts["attribute sections"] += 1
    want = expected_attribute_lines(blocks)
    rep.counts["attributes"] += sum(len(a) for v, b in blocks if v == "aeabi"
                                    for _, _, a in b)
    if ours != want:
        k = next((i for i, (a, b) in enumerate(zip(ours, want)) if a != b),
                 min(len(ours), len(want)))
        rep.fail(where, "attribute line %d (of %d vs %d)"
                 % (k + 1, len(ours), len(want)),
                 ours[k] if k < len(ours) else None,
                 want[k] if k < len(want) else None)
    else:
        rep.fields += len(want)
    for tag, _ in (a for v, b in blocks if v == "aeabi" for _, _, attrs in b
                   for a in attrs):
        if tag == 10:
            rep.deliberate["attr-fp-arch-names"] += 1
        if tag == 25:
            rep.deliberate["attr-align8-name"] += 1

    # readelf, against the same decode
    theirs = parse_readelf_attributes(rep, where, readelf_text)
    rep.check(where, "readelf vendor list", [t[0] for t in theirs],
              [b[0] for b in blocks])
    for (vendor, body), (tvendor, tbody) in zip(blocks, theirs):
        if vendor != "aeabi" or tvendor != "aeabi":
            rep.deliberate["attr-other-vendor"] += 1
            continue
        rep.check(where, "readelf scopes",
                  [(s, i) for s, i, _ in tbody], [(s, i) for s, i, _ in body])
        for (scope, _, attrs), (_, _, tattrs) in zip(body, tbody):
            rep.check(where, "readelf tags (scope %d)" % scope,
                      [readelf_tag_number(n) for n, _ in tattrs],
                      [t for t, _ in attrs])
            for (tag, value), (tname, ttext) in zip(attrs, tattrs):
                if readelf_tag_number(tname) != tag:
                    continue
                check_readelf_value(rep, "%s %s" % (where, tname), tag,
                                    value, ttext)


# --------------------------------------------------------------------------
# stack sizes

def stack_entries(elf):
    """Every .stack_sizes entry in section order ->
    [(address, size, [function names])]. In an object the address is the
    relocated one: the function is looked up in the section it points
    into."""
    syms = elf.symbols()
    step = 8 if elf.is64 else 4
    fmt = "<Q" if elf.is64 else "<I"   # the compiler writes them little-endian
    out = []

    def functions(address, shndx=None):
        return [s["name"] for s in syms
                if s["info"] & 0xF == 2 and s["shndx"] != 0
                and (shndx is None or s["shndx"] == shndx)
                and s["value"] & ~1 == address]

    for sec in elf.sections:
        if sec["name"] != ".stack_sizes":
            continue
        buf = elf.section_data(sec)
        relocs = elf.relocations_for(sec["index"]) if elf.e_type == 1 else {}
        pos = 0
        while len(buf) - pos > step:
            field = pos
            address = struct.unpack_from(fmt, buf, pos)[0]
            size, pos = uleb(buf, pos + step, len(buf))
            if elf.e_type != 1:
                out.append((address, size, functions(address)))
                continue
            shndx, offset = sec["link"], address
            if field in relocs:
                symidx, addend = relocs[field]
                sym = syms[symidx]
                shndx = sym["shndx"]
                offset = sym["value"] + (address if addend is None else addend)
            out.append((address, size, functions(offset & ~1, shndx)))
    return out


def parse_readobj_stack(text):
    """-> [(function names, size)]; '?' stays as it is."""
    out = []
    names = None
    for line in text.split("\n"):
        m = re.match(r"^\s*Functions: \[(.*)\]$", line)
        if m:
            names = [n.strip() for n in m.group(1).split(",")]
            continue
        m = re.match(r"^\s*Size: 0x([0-9A-Fa-f]+)$", line)
        if m and names is not None:
            out.append((names, int(m.group(1), 16)))
            names = None
    return out


def compare_stack_sizes(rep, where, ours_text, readobj_text, elf):
    entries = stack_entries(elf)
    theirs = parse_readobj_stack(readobj_text)
    rep.check(where, "llvm-readobj entries", len(theirs), len(entries))
    for k, ((addr, size, funcs), (tnames, tsize)) in \
            enumerate(zip(entries, theirs)):
        w = "%s entry %d" % (where, k)
        rep.check(w, "llvm-readobj size", tsize, size)
        if tnames == ["?"]:
            rep.deliberate["stack-no-function"] += 1
            rep.check(w, "llvm-readobj functions", [], funcs)
        else:
            rep.check(w, "llvm-readobj functions", sorted(tnames),
                      sorted(funcs))
    lines = ours_text.split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    if not [s for s in elf.sections if s["name"] == ".stack_sizes"]:
        rep.check(where, "stack size output", lines[:3], [])
        return
    rep.check(where, "stack size heading", lines[:2],
              ["Stack Sizes:", "      Size    Functions"])
    body = lines[2:]
    rep.check(where, "stack size lines", len(body), len(entries))
    for k, (line, (addr, size, funcs)) in enumerate(zip(body, entries)):
        rep.counts["stack entries"] += 1
        w = "%s entry %d" % (where, k)
        if len(funcs) > 1:
            rep.deliberate["stack-aliases"] += 1
        if funcs:
            wanted = ["%10d    %s " % (size, f) for f in funcs]
            rep.check(w, "line", line, wanted[0] if len(wanted) == 1
                      else " or ".join(wanted), ok=line in wanted)
        else:
            rep.check(w, "line", line, "%10d    index %x " % (size, addr))


def patched_stack_files(directory):
    """Copies of stack-sizes.elf (ELF32, little-endian) with one change each:
      no-symbol       entry 1 points at an address no symbol has;
      notype-symbol   entry 1 points at the first linker-script label (a
                      NOTYPE symbol) that shares its address with no
                      function;
      label-on-func   that label moved onto the address of entry 3's
                      function, as a linker script's start-of-code symbol
                      often is.
    Only function symbols name an entry, so the first two must give
    "index <address>" and the third the function's own name."""
    src = os.path.join(FIXTURES, "elf", "stack-sizes.elf")
    with open(src, "rb") as f:
        data = f.read()
    elf = Elf(data)
    sec = elf.sections_named(".stack_sizes")[0]
    symtab = [s for s in elf.sections if s["type"] == 2][0]
    syms = elf.symbols()
    funcs = {s["value"] & ~1 for s in syms if s["info"] & 0xF == 2}
    # entry 1 starts after entry 0's 4-byte address and its ULEB128 size
    _, second = uleb(data, sec["offset"] + 4, sec["offset"] + sec["size"])
    nowhere = max(s["value"] for s in syms) + 0x100
    label = next(i for i, s in enumerate(syms)
                 if s["info"] & 0xF == 0 and 0 < s["shndx"] < len(elf.sections)
                 and s["name"] and not s["name"].startswith("$")
                 and s["value"] & ~1 not in funcs)
    target = stack_entries(elf)[3][0]
    out = []
    for tag, where, value in (
            ("no-symbol", second, nowhere),
            ("notype-symbol", second, syms[label]["value"]),
            ("label-on-func", symtab["offset"] + label * 16 + 4, target)):
        patched = bytearray(data)
        struct.pack_into("<I", patched, where, value)
        path = os.path.join(directory, "stack-sizes-%s.elf" % tag)
        with open(path, "wb") as f:
            f.write(patched)
        out.append(path)
    return out


# --------------------------------------------------------------------------
# the runs

def fixture_files():
    out = []
    for d in FIXTURE_DIRS:
        base = os.path.join(FIXTURES, d)
        for name in sorted(os.listdir(base)):
            p = os.path.join(base, name)
            with open(p, "rb") as f:
                magic = f.read(8)
            if magic[:4] == b"\x7fELF" or magic == b"!<arch>\n":
                out.append(p)
    return out


def relocation_job(tool, path, count, salt, tmp):
    """Runs both tools for one input -> (path, ours, {key: (readelf text,
    bytes)}, member list or None)."""
    ours = run([tool, "-relocations", path])
    with open(path, "rb") as f:
        magic = f.read(8)
    if magic != b"!<arch>\n":
        chunks, _ = run_readelf_files(["-S", "-s", "-r", "-W"], [path])
        with open(path, "rb") as f:
            return path, ours, {None: (chunks[path], f.read())}, None
    data, members = elf_members(path)
    picks = members if count is None else RD.sample(members, count, salt)
    d = tempfile.mkdtemp(dir=tmp)
    files = extract(data, picks, d)
    chunks, _ = run_readelf_files(["-S", "-s", "-r", "-W"],
                                  [p for _, p in files])
    theirs = {m.header_off: (chunks.get(p, ""),
                             data[m.data_off:m.data_off + m.size])
              for m, p in files}
    return path, ours, theirs, members


def attribute_job(tool, path, count, tmp):
    ours = run([tool, "-ARMAttributes", path])
    with open(path, "rb") as f:
        magic = f.read(8)
    if magic != b"!<arch>\n":
        chunks, _ = run_readelf_files(["-A"], [path])
        with open(path, "rb") as f:
            return path, ours, {None: (chunks[path], f.read())}, None
    data, members = elf_members(path)
    picks = members if count is None else \
        [members[0]] + RD.sample(members[1:], count - 1, 0)
    d = tempfile.mkdtemp(dir=tmp)
    files = extract(data, picks, d)
    chunks, _ = run_readelf_files(["-A"], [p for _, p in files])
    theirs = {m.header_off: (chunks.get(p, ""),
                             data[m.data_off:m.data_off + m.size])
              for m, p in files}
    return path, ours, theirs, members


def compare_job(rep, result, compare):
    """Returns (archive members compared, ELF members in the archive)."""
    path, ours, theirs, members = result
    where = relname(path)
    check_our_run(rep, where, ours)
    if members is None:
        text, data = theirs[None]
        compare(rep, where, ours[1], text, Elf(data))
        return 0, 0
    by_off = split_ours_archive(rep, where, ours[1], members)
    names = {m.header_off: m.name for m in members}
    for off, (text, data) in sorted(theirs.items()):
        w = "%s(%s)" % (where, names[off])
        if off not in by_off:
            rep.fail(w, "member listed by us", False, True)
            continue
        compare(rep, w, by_off[off], text, Elf(data))
    return len(theirs), len(members)


def find_readobj():
    for name in READOBJ_CANDIDATES:
        if shutil.which(name):
            return name
    return None


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("tool", help="path to the elfdwarfdump binary")
    ap.add_argument("--members", type=int, default=DEFAULT_MEMBERS,
                    help="library members sampled for the relocation "
                         "listing (default %(default)s)")
    args = ap.parse_args()
    tool = os.path.abspath(args.tool)
    if not os.access(tool, os.X_OK):
        print("not executable: " + tool)
        return 2
    readobj = find_readobj()
    for name, found in ((READELF, shutil.which(READELF)), ("llvm-readobj", readobj)):
        if not found:
            print(name + " not found")
            return 2

    rep = Report()
    fixtures = fixture_files()
    rel_archives = []
    for variant in REL_VARIANTS:
        for lib in REL_LIBRARIES:
            p = os.path.normpath(os.path.join(NEWLIB, variant, lib))
            if os.path.exists(p):
                rel_archives.append(p)
            else:
                rep.fail(p, "library present", False, True)
    per_archive = -(-args.members // max(1, len(rel_archives)))
    attr_archives = []
    for root, _, files in os.walk(NEWLIB):
        if "libc.a" in files:
            attr_archives.append(os.path.join(root, "libc.a"))
    attr_archives.sort()
    rep.check(NEWLIB, "multilib variants with libc.a found",
              len(attr_archives) > 1, True)

    lib_members = lib_wanted = attr_members = 0
    with tempfile.TemporaryDirectory(prefix="arm_sections_diff_") as tmp, \
            concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        rel_jobs = [pool.submit(relocation_job, tool, p, None, 0, tmp)
                    for p in fixtures]
        rel_lib_jobs = [pool.submit(relocation_job, tool, p, per_archive,
                                    i * 3, tmp)
                        for i, p in enumerate(rel_archives)]
        attr_inputs = fixtures + [os.path.join(FIXTURES, p)
                                  for p in MALFORMED_ATTRIBUTES]
        attr_jobs = [pool.submit(attribute_job, tool, p, None, tmp)
                     for p in attr_inputs]
        attr_lib_jobs = [pool.submit(attribute_job, tool, p,
                                     ATTR_MEMBERS_PER_VARIANT, tmp)
                         for p in attr_archives]
        stack_inputs = [os.path.join(FIXTURES, p) for p in STACK_FIXTURES]
        stack_inputs += patched_stack_files(tmp)
        # files without .stack_sizes must give no output either
        stack_inputs += [p for p in fixtures if p.endswith((".o", ".elf"))
                         and os.path.join(FIXTURES, "elf") in p
                         and os.path.relpath(p, FIXTURES) not in STACK_FIXTURES]
        stack_jobs = [(p, pool.submit(run, [tool, "-stack-sizes", p]),
                       pool.submit(run, [readobj, "--stack-sizes", p]))
                      for p in stack_inputs]

        for job in rel_jobs:
            compare_job(rep, job.result(), compare_relocations)
        for job in rel_lib_jobs:
            n, available = compare_job(rep, job.result(), compare_relocations)
            lib_members += n
            lib_wanted += min(per_archive, available)
        for job in attr_jobs:
            compare_job(rep, job.result(), compare_attributes)
        for job in attr_lib_jobs:
            n, _ = compare_job(rep, job.result(), compare_attributes)
            rep.check(relname(job.result()[0]), "members compared for "
                      "attributes", n, ATTR_MEMBERS_PER_VARIANT)
            attr_members += n
        for path, ours_job, readobj_job in stack_jobs:
            ours = ours_job.result()
            where = relname(path)
            check_our_run(rep, where, ours)
            rc, text, _ = readobj_job.result()
            rep.check(where, "llvm-readobj exit status", rc, 0)
            with open(path, "rb") as f:
                compare_stack_sizes(rep, where, ours[1], text, Elf(f.read()))

    for where, what, ours, theirs in rep.mismatches[:MAX_SHOWN]:
        print("MISMATCH %s: %s: ours %r, expected %r" % (where, what, ours, theirs))
    if len(rep.mismatches) > MAX_SHOWN:
        print("... %d more mismatches" % (len(rep.mismatches) - MAX_SHOWN))
    print("deliberate differences applied:")
    for key, why in DELIBERATE.items():
        print("  %-24s %7d  %s" % (key, rep.deliberate[key], why))
    print("arm sections diff: files %d, library members %d (relocations) + %d "
          "(attributes, %d variants), relocation sections %d, relocations %d, "
          "attribute sections %d, attributes %d, stack entries %d, fields %d, "
          "mismatches %d"
          % (len(fixtures), lib_members, attr_members, len(attr_archives),
             rep.counts["rel sections"], rep.counts["relocations"],
             rep.counts["attribute sections"], rep.counts["attributes"],
             rep.counts["stack entries"], rep.fields, len(rep.mismatches)))
    wanted = max(lib_wanted, min(args.members, MIN_MEMBERS))
    if lib_members < wanted:
        print("FAIL: only %d library members compared for relocations, "
              "wanted %d" % (lib_members, wanted))
        return 1
    return 1 if rep.mismatches else 0


if __name__ == "__main__":
    sys.exit(main())
