#!/usr/bin/python3
"""The DWARF name tables (dwarf/names/) against llvm-dwarfdump and readelf.

    python3 tests/dwarf/dwarfnames_llvm_test.py <path-to-dwarfnames_print>

dwarfnames_print lists every code our tables name. The reference tools print
names but rarely the numbers behind them, so each check pairs a name with a
number it knows from elsewhere:

  * Fixtures (tests/fixtures/dwarf/, tests/fixtures/elf/, those with
    DWARF): their .debug_abbrev is parsed here for the tag, attribute and
    form numbers and paired entry by entry with `llvm-dwarfdump
    --debug-abbrev`. DW_AT_language and DW_AT_encoding values are paired by
    DIE offset between `llvm-dwarfdump -v` (names) and `readelf
    --debug-dump=info` (numbers). Every other DW_* name llvm-dwarfdump
    prints for the fixtures must be one our tables know.
  * Sweeps over whole code ranges, in files written here: an abbreviation
    table using every tag, attribute and form code 1..0xffff; a unit with one
    DIE per DW_AT_language value (0..0xffff) and per value of the 8-bit
    enumerations (encoding, accessibility, virtuality, visibility, identifier
    case, calling convention, inline, ordering); one location expression per
    operation byte; a line program with opcode_base 255 and every extended
    opcode. Each code the tool names must have the same name here. readelf
    is held to the same for tags, attributes, forms and operations (its other
    names are descriptions, not DW_ names).

A code that we name and a tool does not is fine (newer or other vendors'
codes); a code a tool names differently, or that only the tool names, fails
unless it is listed in DELIBERATE.
"""

import os
import re
import struct
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.normpath(os.path.join(HERE, "..", ".."))
FIXTURES = os.path.join(REPO, "tests", "fixtures")
LLVM = "llvm-dwarfdump"
READELF = "readelf"
MAX_SHOWN = 60

# (tool, family, code) -> why our name differs from the tool's. Each use is
# counted and printed, so an entry that stops applying shows up.
DELIBERATE = {
    ("llvm", "attribute", 0x2026):
        "llvm-dwarfdump 14 doubles the prefix: DW_AT_DW_AT_INTEL_other_endian.",
    ("llvm", "attribute", 0x222a):
        "llvm-dwarfdump 14 misspells DW_AT_SUN_f90_pointer as DW_AT_SUN_90_pointer.",
    ("llvm", "attribute", 0x3210):
        "UPC codes keep the lower-case spelling their producer and GCC use "
        "(DW_AT_upc_threads_scaled); LLVM capitalises them.",
    ("llvm", "tag", 0x8765): "UPC spelling, see attribute 0x3210.",
    ("llvm", "tag", 0x8766): "UPC spelling, see attribute 0x3210.",
    ("llvm", "tag", 0x8767):
        "UPC spelling, see attribute 0x3210; LLVM also drops the _type suffix.",
    ("llvm", "baseTypeEncoding", 0x81):
        "llvm-dwarfdump 14 drops the 80 of DW_ATE_HP_complex_float80.",
    ("llvm", "baseTypeEncoding", 0x85):
        "llvm-dwarfdump 14 misspells DW_ATE_HP_imaginary_float80 as ..._float90.",
    ("llvm", "tag", 0x42ff):
        "DW_TAG_SUN_hi is the end of Sun's block of codes, not a tag.",
    ("readelf", "tag", 0x2f):
        "readelf keeps the DWARF 2 spelling DW_TAG_template_type_param; later "
        "versions spell it out (DW_TAG_template_type_parameter).",
    ("readelf", "tag", 0x30):
        "DWARF 2 spelling DW_TAG_template_value_param, as for 0x2f.",
    ("readelf", "attribute", 0x2010):
        "MIPS and HP both used 0x2001..0x2011; we (and LLVM) give the MIPS "
        "names, readelf HP's for 0x2010 and 0x2011.",
    ("readelf", "attribute", 0x2011): "MIPS over HP, see 0x2010.",
    ("readelf", "attribute", 0x2201):
        "Sun and VMS both used 0x2201; we (and LLVM) name Sun's block "
        "0x2201..0x223b, readelf gives DW_AT_VMS_rtnbeg_pd_address.",
}
used_deliberate = {}
failures = []
checked = {}


def load_ours(printer):
    ours = {}
    out = subprocess.run([printer], capture_output=True, text=True, check=True).stdout
    for line in out.splitlines():
        family, code, name = line.split()
        ours[(family, int(code, 16))] = name
    return ours


def check(ours, tool, family, code, theirs, where):
    """One name the tool printed for `code`. Names that are not DW_ names
    (descriptions, 'unknown' placeholders) say the tool does not know the code."""
    if theirs is None or not theirs.startswith("DW_") or "unknown" in theirs:
        return
    checked[(tool, family)] = checked.get((tool, family), 0) + 1
    mine = ours.get((family, code))
    if mine == theirs:
        return
    key = (tool, family, code)
    if key in DELIBERATE:
        used_deliberate[key] = used_deliberate.get(key, 0) + 1
        return
    failures.append("%s: %s 0x%x: %s says %s, we say %s"
                    % (where, family, code, tool, theirs, mine or "nothing"))


def run(args):
    """A tool's stdout, or None when it crashed (llvm-dwarfdump 14 does on some
    sections); its warnings are of no interest here."""
    p = subprocess.run(args, capture_output=True, text=True, errors="replace")
    if p.returncode < 0:
        print("note: %s died with signal %d; its output is skipped"
              % (" ".join(args), -p.returncode))
        return None
    return p.stdout


# ---- byte helpers ----------------------------------------------------------

def uleb(value):
    out = bytearray()
    while True:
        byte = value & 0x7f
        value >>= 7
        if value:
            out.append(byte | 0x80)
        else:
            out.append(byte)
            return bytes(out)


def read_uleb(data, pos):
    value = shift = 0
    while True:
        byte = data[pos]
        pos += 1
        value |= (byte & 0x7f) << shift
        shift += 7
        if not byte & 0x80:
            return value, pos


def write_elf32(path, sections):
    """A relocatable little-endian Arm ELF file holding only `sections`
    [(name, bytes)] and the section name table."""
    names = [name for name, _ in sections] + [".shstrtab"]
    shstrtab = b"\0"
    name_offsets = []
    for name in names:
        name_offsets.append(len(shstrtab))
        shstrtab += name.encode() + b"\0"
    contents = [data for _, data in sections] + [shstrtab]
    body = bytearray()
    offsets = []
    for data in contents:
        offsets.append(52 + len(body))
        body += data
    while len(body) % 4:
        body += b"\0"
    shoff = 52 + len(body)
    shnum = len(contents) + 1
    header = b"\x7fELF" + bytes([1, 1, 1]) + bytes(9)
    header += struct.pack("<HHIIIIIHHHHHH", 1, 40, 1, 0, 0, shoff, 0x05000000,
                          52, 0, 0, 40, shnum, shnum - 1)
    table = bytes(40)
    for i, data in enumerate(contents):
        kind = 3 if i == len(contents) - 1 else 1
        table += struct.pack("<IIIIIIIIII", name_offsets[i], kind, 0, 0,
                             offsets[i], len(data), 0, 0, 1, 0)
    with open(path, "wb") as f:
        f.write(header + bytes(body) + table)


def read_section(path, wanted):
    """The contents of section `wanted` of an ELF file, or None."""
    with open(path, "rb") as f:
        data = f.read()
    if data[:4] != b"\x7fELF":
        return None
    is64 = data[4] == 2
    end = "<" if data[5] == 1 else ">"
    if is64:
        shoff, = struct.unpack_from(end + "Q", data, 0x28)
        shentsize, shnum, shstrndx = struct.unpack_from(end + "HHH", data, 0x3a)
        layout = end + "IIQQQQIIQQ"
    else:
        shoff, = struct.unpack_from(end + "I", data, 0x20)
        shentsize, shnum, shstrndx = struct.unpack_from(end + "HHH", data, 0x2e)
        layout = end + "IIIIIIIIII"
    headers = [struct.unpack_from(layout, data, shoff + i * shentsize) for i in range(shnum)]
    strtab = headers[shstrndx]
    for h in headers:
        start = strtab[4] + h[0]
        name = data[start:data.index(b"\0", start)].decode()
        if name == wanted and h[1] != 8:
            return data[h[4]:h[4] + h[5]]
    return None


# ---- abbreviations: numbers parsed here, names from the tools --------------

def parse_abbrev(data):
    """[(tag, [(attribute, form)])] for every declaration, in section order."""
    decls = []
    pos = 0
    while pos < len(data):
        code, pos = read_uleb(data, pos)
        if code == 0:
            continue  # end of one table; the next may follow
        tag, pos = read_uleb(data, pos)
        pos += 1  # children flag
        specs = []
        while True:
            at, pos = read_uleb(data, pos)
            form, pos = read_uleb(data, pos)
            if at == 0 and form == 0:
                break
            if form == 0x21:  # DW_FORM_implicit_const carries its value here
                _, pos = read_uleb(data, pos)
            specs.append((at, form))
        decls.append((tag, specs))
    return decls


def llvm_abbrev(text):
    decls = []
    for line in text.splitlines():
        m = re.match(r"\[\d+\] (\S+)\s+DW_CHILDREN", line)
        if m:
            decls.append((m.group(1), []))
            continue
        m = re.match(r"\t(\S+)\t(\S+)", line)
        if m and decls:
            decls[-1][1].append((m.group(1), m.group(2)))
    return decls


def readelf_abbrev(text):
    decls = []
    for line in text.splitlines():
        m = re.match(r"\s+\d+\s+(.+?)\s+\[(no|has) children\]", line)
        if m:
            decls.append((m.group(1), []))
            continue
        # Where two vendors share a code readelf prints "<name> or <name>";
        # the first is the one to compare.
        m = re.match(r"    (DW_AT_\S+|Unknown AT value: \w+|User AT value: \w+)(?: or DW_AT_\S+)?\s+"
                     r"(DW_FORM_\S+|Unknown FORM value: \w+)", line)
        if m and decls and not line.startswith("    DW_AT value: 0"):
            decls[-1][1].append((m.group(1), m.group(2).rstrip(":")))
    return decls


def compare_abbrev(ours, tool, numbers, names, where):
    if len(numbers) != len(names):
        failures.append("%s: %s lists %d abbreviations, the section holds %d"
                        % (where, tool, len(names), len(numbers)))
        return
    for (tag, specs), (tag_name, spec_names) in zip(numbers, names):
        check(ours, tool, "tag", tag, tag_name, where)
        if len(specs) != len(spec_names):
            failures.append("%s: %s lists %d attributes for an abbreviation with %d"
                            % (where, tool, len(spec_names), len(specs)))
            continue
        for (at, form), (at_name, form_name) in zip(specs, spec_names):
            check(ours, tool, "attribute", at, at_name, where)
            check(ours, tool, "form", form, form_name, where)


# ---- fixtures --------------------------------------------------------------

def fixture_files():
    for folder in ("dwarf", "elf"):
        base = os.path.join(FIXTURES, folder)
        for name in sorted(os.listdir(base)):
            path = os.path.join(base, name)
            if name.endswith((".o", ".elf")) and read_section(path, ".debug_abbrev"):
                yield path


def llvm_values(text, attributes):
    """{(section, DIE offset): [(attribute, value name)]} from llvm-dwarfdump -v."""
    values = {}
    section = die = None
    for line in text.splitlines():
        m = re.match(r"\.debug_(info|types) contents:", line)
        if m:
            section = m.group(1)
            continue
        m = re.match(r"0x([0-9a-f]+): +DW_TAG_", line)
        if m:
            die = (section, int(m.group(1), 16))
            continue
        m = re.match(r"\s+(DW_AT_\w+) \[DW_FORM_\w+\]\s+\((\S+?)\)$", line)
        if m and die and m.group(1) in attributes:
            values.setdefault(die, []).append((m.group(1), m.group(2)))
    return values


def readelf_values(text, attributes):
    """{(section, DIE offset): [(attribute, number)]} from readelf --debug-dump=info."""
    values = {}
    section = die = None
    for line in text.splitlines():
        m = re.match(r"Contents of the \.debug_(info|types) section", line)
        if m:
            section = m.group(1)
            continue
        m = re.match(r" <\d+><([0-9a-f]+)>: Abbrev Number: [1-9]", line)
        if m:
            die = (section, int(m.group(1), 16))
            continue
        m = re.match(r"\s+<[0-9a-f]+>\s+(DW_AT_\w+)\s*: (\d+)", line)
        if m and die and m.group(1) in attributes:
            values.setdefault(die, []).append((m.group(1), int(m.group(2))))
    return values


VALUE_FAMILIES = {"DW_AT_language": "language", "DW_AT_encoding": "baseTypeEncoding"}

# Names llvm-dwarfdump prints that are not codes of our families, or that it
# gives codes our single-code functions cannot tell apart.
NAME_SET_EXEMPT = re.compile(r"DW_(CHILDREN|IDX|MACRO_GNU)_|_unknown_")
NAME_PREFIXES = ("DW_TAG_", "DW_AT_", "DW_FORM_", "DW_LANG_", "DW_ATE_", "DW_ACCESS_",
                 "DW_VIRTUALITY_", "DW_VIS_", "DW_ID_", "DW_CC_", "DW_INL_", "DW_ORD_",
                 "DW_DSC_", "DW_LNS_", "DW_LNE_", "DW_LNCT_", "DW_MACRO_", "DW_MACINFO_",
                 "DW_OP_", "DW_LLE_", "DW_RLE_", "DW_UT_", "DW_CFA_", "DW_EH_PE_")
DUMP_SECTIONS = ["--debug-info", "--debug-types", "--debug-line", "--debug-frame",
                 "--eh-frame", "--debug-loc", "--debug-loclists", "--debug-rnglists",
                 "--debug-macro"]


def check_fixtures(ours):
    our_names = set(ours.values())
    files = list(fixture_files())
    paired = 0
    for path in files:
        where = os.path.relpath(path, REPO)
        numbers = parse_abbrev(read_section(path, ".debug_abbrev"))
        text = run([LLVM, "--debug-abbrev", path])
        if text is not None:
            compare_abbrev(ours, "llvm", numbers, llvm_abbrev(text), where)

        text = run([LLVM, "--debug-info", "--debug-types", "-v", path])
        numbers_text = run([READELF, "--debug-dump=info", path])
        if text is not None and numbers_text is not None:
            names = llvm_values(text, VALUE_FAMILIES)
            numbers = readelf_values(numbers_text, VALUE_FAMILIES)
            for die, attrs in names.items():
                if die not in numbers or len(numbers[die]) != len(attrs):
                    continue
                for (at, name), (at2, number) in zip(attrs, numbers[die]):
                    if at == at2:
                        check(ours, "llvm", VALUE_FAMILIES[at], number, name, where)
                        paired += 1

        for section in DUMP_SECTIONS:
            text = run([LLVM, section, "-v", path])
            if text is None:
                continue
            for name in set(re.findall(r"\bDW_[A-Za-z0-9_]+", text)):
                if (name.startswith(NAME_PREFIXES) and not NAME_SET_EXEMPT.search(name)
                        and name not in our_names):
                    failures.append("%s: llvm-dwarfdump %s prints %s, which no table of ours has"
                                    % (where, section, name))
    if len(files) < 10 or paired < 50:
        failures.append("too little compared in the fixtures: %d files, %d language/encoding values"
                        % (len(files), paired))
    print("fixtures: %d files, %d language and encoding values paired" % (len(files), paired))


# ---- sweeps ----------------------------------------------------------------

def sweep_abbrev(ours, folder):
    """Every tag, attribute and form code 1..0xffff in one abbreviation table."""
    path = os.path.join(folder, "abbrev.o")
    table = bytearray()
    code = 1
    for tag in range(1, 0x10000):
        table += uleb(code) + uleb(tag) + b"\0\0\0"
        code += 1
    for at in range(1, 0x10000):
        table += uleb(code) + uleb(0x34) + b"\0" + uleb(at) + uleb(0x0b) + b"\0\0"
        code += 1
    for form in range(1, 0x10000):
        implicit = uleb(5) if form == 0x21 else b""
        table += uleb(code) + uleb(0x34) + b"\0" + uleb(0x03) + uleb(form) + implicit + b"\0\0"
        code += 1
    table += b"\0"
    write_elf32(path, [(".debug_abbrev", bytes(table))])
    numbers = parse_abbrev(bytes(table))
    for tool, args, parse in (("llvm", [LLVM, "--debug-abbrev", path], llvm_abbrev),
                              ("readelf", [READELF, "--debug-dump=abbrev", path], readelf_abbrev)):
        text = run(args)
        if text is None:
            failures.append("sweep: %s failed on the abbreviation table" % tool)
            continue
        compare_abbrev(ours, tool, numbers, parse(text), "sweep")


# (attribute, form, number of values, family)
VALUE_SWEEPS = [
    (0x13, 0x05, 0x10000, "language"),
    (0x3e, 0x0b, 0x100, "baseTypeEncoding"),
    (0x32, 0x0b, 0x100, "accessibility"),
    (0x4c, 0x0b, 0x100, "virtuality"),
    (0x17, 0x0b, 0x100, "visibility"),
    (0x42, 0x0b, 0x100, "identifierCase"),
    (0x36, 0x0b, 0x100, "callingConvention"),
    (0x20, 0x0b, 0x100, "inlineCode"),
    (0x09, 0x0b, 0x100, "ordering"),
    (0x02, 0x18, 0x100, "operation"),
]
# Room for any operation's operands, so that the tools decode the operation
# itself; the zero bytes after it then fail to decode, which is of no interest.
OPERAND_PADDING = 16


def sweep_values(ours, folder):
    path = os.path.join(folder, "values.o")
    abbrev = bytearray(uleb(1) + uleb(0x11) + b"\x01\0\0")
    for i, (at, form, _, _) in enumerate(VALUE_SWEEPS):
        abbrev += uleb(2 + i) + uleb(0x34) + b"\0" + uleb(at) + uleb(form) + b"\0\0"
    abbrev += b"\0"
    dies = bytearray(uleb(1))
    expected = []  # (family, value) in DIE order
    for i, (_, form, count, family) in enumerate(VALUE_SWEEPS):
        for value in range(count):
            dies += uleb(2 + i)
            if form == 0x05:
                dies += struct.pack("<H", value)
            elif form == 0x0b:
                dies += bytes([value])
            else:
                dies += uleb(1 + OPERAND_PADDING) + bytes([value]) + bytes(OPERAND_PADDING)
            expected.append((family, value))
    dies += b"\0"
    unit = struct.pack("<HBBI", 5, 1, 4, 0) + dies  # DWARF 5 compile unit
    info = struct.pack("<I", len(unit)) + unit
    write_elf32(path, [(".debug_abbrev", bytes(abbrev)), (".debug_info", info)])

    text = run([LLVM, "--debug-info", path])
    values = re.findall(r"^\s+DW_AT_\w+\t\((.*)\)$", text or "", re.M)
    if len(values) != len(expected):
        failures.append("sweep: llvm-dwarfdump printed %d values of %d" % (len(values), len(expected)))
    else:
        for (family, value), shown in zip(expected, values):
            check(ours, "llvm", family, value, re.split(r"[ ,(]", shown)[0], "sweep")

    text = run([READELF, "--debug-dump=info", path])
    # "DW_AT_location : 17 byte block: 3 0 ... \t(DW_OP_addr: 0; ...)"; the
    # first word in the parentheses is the operation's name.
    ops = re.findall(r"DW_AT_location\s*:[^\t\n]*\t\((.*)\)", text or "")
    if len(ops) != 0x100:
        failures.append("sweep: readelf printed %d location expressions of 256" % len(ops))
    else:
        for value, shown in enumerate(ops):
            check(ours, "readelf", "operation", value, re.split(r"[ :;(]", shown)[0], "sweep")


def sweep_line_opcodes(ours, folder):
    """A version 4 line program header with opcode_base 255 (llvm-dwarfdump
    names each standard opcode's length entry), then every extended opcode
    with no operands."""
    path = os.path.join(folder, "line.o")
    header = bytes([1, 1, 1, 0xfb, 14, 255]) + bytes(254) + b"\0" + b"a.c\0\0\0\0" + b"\0"
    program = bytearray()
    for op in range(1, 0x100):
        program += b"\0" + uleb(1) + bytes([op])
    unit = struct.pack("<HI", 4, len(header)) + header + program
    write_elf32(path, [(".debug_line", struct.pack("<I", len(unit)) + unit)])
    text = run([LLVM, "--debug-line", "-v", path]) or ""
    standard = re.findall(r"^standard_opcode_lengths\[(\w+)\]", text, re.M)
    if len(standard) != 254:
        failures.append("sweep: llvm-dwarfdump named %d standard opcodes of 254" % len(standard))
    for op, name in enumerate(standard, 1):
        check(ours, "llvm", "lineStandardOpcode", op, name, "sweep")
    extended = re.findall(r"^0x[0-9a-f]+: 00 (\S+)(?: op 0x([0-9a-f]+))?", text, re.M)
    if len(extended) != 255:
        failures.append("sweep: llvm-dwarfdump showed %d extended opcodes of 255" % len(extended))
    for op, (name, _) in enumerate(extended, 1):
        check(ours, "llvm", "lineExtendedOpcode", op, name, "sweep")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    ours = load_ours(sys.argv[1])
    check_fixtures(ours)
    with tempfile.TemporaryDirectory() as folder:
        sweep_abbrev(ours, folder)
        sweep_values(ours, folder)
        sweep_line_opcodes(ours, folder)

    for (tool, family), count in sorted(checked.items()):
        print("checked %6d %s names against %s" % (count, family, tool))
    for key, count in sorted(used_deliberate.items()):
        print("deliberate (%dx) %s %s 0x%x: %s" % ((count,) + key + (DELIBERATE[key],)))
    for key in sorted(set(DELIBERATE) - set(used_deliberate)):
        print("note: deliberate difference %s %s 0x%x no longer occurs" % key)
    for failure in failures[:MAX_SHOWN]:
        print("FAIL", failure)
    if len(failures) > MAX_SHOWN:
        print("... and %d more" % (len(failures) - MAX_SHOWN))
    print("%d failures" % len(failures))
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
