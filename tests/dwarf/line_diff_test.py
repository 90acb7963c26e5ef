#!/usr/bin/python3
"""Differential test: our line-program reader against llvm-dwarfdump.

    python3 tests/dwarf/line_diff_test.py <path-to-line_rows> [--min-members N]

line_rows (tests/dwarf/line_rows.cpp) runs every line program of .debug_line,
unit after unit, through runLineProgram into a SourceAddressMap of its own and
prints the map's listing: the rows sorted by address ("Addresses:") and, per
source file in order of first appearance, its rows in program order
("Sources:"). `llvm-dwarfdump --debug-line --verbose` gives the rows of the
same programs in program order, with the file tables (and the files that
DW_LNE_define_file adds) to turn file numbers into names.

From llvm's rows we keep those that reach our map: a non-zero line, is_stmt
set, not an end_sequence row. Per unit, these rows stable-sorted by address
must equal our "Addresses:" list (address, line, file name), and grouped by
file name in order of first appearance they must equal our "Sources:" list.
The two together pin down the program order. The file name is compared as the
file table holds it: line_rows passes no compilation directory, and llvm's
verbose listing prints the table's own name string.

Inputs: every fixture with DWARF line programs in tests/fixtures/dwarf/ and
tests/fixtures/elf/, and every member of several newlib libraries in several
multilib variants. Exit status is 0 only when nothing differs and at least
--min-members library members with line programs were compared.
"""

import argparse
import collections
import concurrent.futures
import os
import re
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.normpath(os.path.join(HERE, "..", ".."))
FIXTURES = os.path.join(REPO, "tests", "fixtures")
NEWLIB = "/usr/lib/arm-none-eabi/newlib"
LLVM_DWARFDUMP = "llvm-dwarfdump"

VARIANTS = [
    ".",
    "thumb/v6-m/nofp",
    "thumb/v7-m/nofp",
    "thumb/v7e-m+fp/hard",
    "thumb/v8-m.main/nofp",
    "arm/v5te/hard",
]
LIBRARIES = ["libc.a", "libm.a", "libstdc++.a", "libsupc++.a", "libnosys.a"]
DEFAULT_MIN_MEMBERS = 100
MAX_SHOWN = 40

# Relocatable objects whose relocations carry their addends in RELA entries:
# the values stored in .debug_line are 0 until the relocations are applied,
# which llvm-dwarfdump does and our reader (which reads the bytes as stored,
# like every DWARF reader of this tool) does not. ARM objects use REL
# relocations, whose addends are the stored values, so they are compared.
RELA_OBJECTS = {"elf/x86_64.o", "elf/x86_64-be.o"}

DELIBERATE = {
    "unknown-opcode-operands":
        "An opcode above the twelve standard ones that is not special "
        "(opcode_base 14, opcode 13 in lines.o/lines.elf) is reported and "
        "its operand is read as the next opcode; llvm skips the operand by "
        "the header's standard_opcode_lengths. There the operand 0x01 is "
        "DW_LNS_copy, so we have one row more (0x08000206 line 6 "
        "lines_v3.c).",
    "rela-objects-skipped":
        "x86_64 relocatable fixtures keep .debug_line's addresses and string "
        "offsets in RELA relocations; the reader does not apply "
        "relocations, so these files are not compared.",
}

# Where our reader is expected to report, and the rows it adds there:
# (fixture, unit offset) -> (report text, row to insert after the first llvm
# row at that address).
EXPECTED_EXTRA = {
    ("dwarf/lines.o", 0x7b): ("[0x000000d7] unknown DW_OPCODE 13",
                              (0x08000206, 6, "lines_v3.c")),
    ("dwarf/lines.elf", 0x7b): ("[0x000000d7] unknown DW_OPCODE 13",
                                (0x08000206, 6, "lines_v3.c")),
}


class Report:
    def __init__(self):
        self.mismatches = []
        self.deliberate = collections.Counter()
        self.units = 0
        self.rows = 0

    def fail(self, where, what, ours, theirs):
        self.mismatches.append((where, what, ours, theirs))


# --------------------------------------------------------------------------
# llvm-dwarfdump --debug-line --verbose

FILE_RE = re.compile(r"^(.*):\s+file format \S+")
UNIT_RE = re.compile(r"^debug_line\[0x([0-9a-fA-F]+)\]")
VERSION_RE = re.compile(r"^\s*version: (\d+)")
FILE_ENTRY_RE = re.compile(r"^file_names\[\s*(\d+)\]:")
NAME_RE = re.compile(r'^\s+name:.*?"(.*)"\s*$')
DEFINE_RE = re.compile(r"DW_LNE_define_file \((.*), dir=")
ROW_RE = re.compile(r"^\s+0x([0-9a-fA-F]{16})\s+(\d+)\s+(\d+)\s+(\d+)\s+(\d+)\s+(\d+)\s*(.*)$")


def parse_llvm(text):
    """-> {file name: [(unit offset, [(address, line, name)...]), ...]}, in
    file order. Rows are those a map would keep, in program order."""
    files = collections.OrderedDict()
    units = None
    rows = names = None
    version = 0
    pending = None   # file_names index waiting for its name line
    for line in text.splitlines():
        m = FILE_RE.match(line)
        if m and not line.startswith(" "):
            units = files.setdefault(m.group(1), [])
            continue
        m = UNIT_RE.match(line)
        if m:
            rows, names, version, pending = [], {}, 0, None
            units.append((int(m.group(1), 16), rows))
            continue
        if rows is None:
            continue
        m = VERSION_RE.match(line)
        if m:
            version = int(m.group(1))
            continue
        m = FILE_ENTRY_RE.match(line)
        if m:
            pending = int(m.group(1))
            continue
        if pending is not None:
            m = NAME_RE.match(line)
            if m:
                names[pending] = m.group(1)
                pending = None
                continue
        m = DEFINE_RE.search(line)
        if m:
            first = 0 if version >= 5 else 1
            names[max(names) + 1 if names else first] = m.group(1)
            continue
        m = ROW_RE.match(line)
        if m:
            flags = m.group(7).split()
            address, number, file = int(m.group(1), 16), int(m.group(2)), int(m.group(4))
            if number != 0 and "is_stmt" in flags and "end_sequence" not in flags:
                rows.append((address, number, names.get(file, "")))
    return files


# --------------------------------------------------------------------------
# line_rows

def parse_ours(text):
    """-> {file name: [(unit offset, addresses, sources, reports), ...]}."""
    files = collections.OrderedDict()
    units = None
    cur = None
    part = None
    for line in text.split("\n"):
        if line.startswith("file "):
            units = files.setdefault(line[5:], [])
            cur = None
        elif line.startswith("unit 0x"):
            cur = (int(line[7:], 16), [], collections.OrderedDict(), [])
            units.append(cur)
        elif line.startswith("report: "):
            if cur is not None:
                cur[3].append(line[8:])
        elif line == "Addresses:":
            part = "addresses"
        elif line == "Sources:":
            part = "sources"
        elif line.startswith("File: "):
            source = cur[2].setdefault(line[6:], [])
        elif line.startswith("Line: "):
            number, address = line[6:].split(" ")
            source.append((int(number), int(address, 16)))
        elif line.startswith("0x") and part == "addresses":
            address, number, name = line.split(" ", 2)
            cur[1].append((int(address, 16), int(number), name))
    return files


# --------------------------------------------------------------------------

def run(cmd):
    p = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    return p.returncode, p.stdout.decode("utf-8", "replace"), p.stderr.decode("utf-8", "replace")


def run_both(tool, path):
    return run([tool, path]), run([LLVM_DWARFDUMP, "--debug-line", "--verbose", path])


def grouped(rows):
    out = collections.OrderedDict()
    for address, number, name in rows:
        out.setdefault(name, []).append((number, address))
    return out


def first_difference(a, b):
    for i, (x, y) in enumerate(zip(a, b)):
        if x != y:
            return i, x, y
    i = min(len(a), len(b))
    return i, a[i] if i < len(a) else None, b[i] if i < len(b) else None


def compare_file(rep, where, fixture, ours_units, llvm_units):
    """Compares the units of one ELF file; returns the number of units."""
    ours_offsets = [u[0] for u in ours_units]
    llvm_offsets = [u[0] for u in llvm_units]
    if ours_offsets != llvm_offsets:
        rep.fail(where, "line program offsets", ours_offsets, llvm_offsets)
        return 0
    for (offset, addresses, sources, reports), (_, llvm_rows) in zip(ours_units, llvm_units):
        rep.units += 1
        unit = "%s unit 0x%x" % (where, offset)
        expected_rows = list(llvm_rows)
        extra = EXPECTED_EXTRA.get((fixture, offset))
        expected_reports = []
        if extra:
            report, row = extra
            expected_reports = [report]
            at = next(i for i, r in enumerate(expected_rows) if r[0] == row[0])
            expected_rows.insert(at + 1, row)
            rep.deliberate["unknown-opcode-operands"] += 1
        if reports != expected_reports:
            rep.fail(unit, "reports", reports, expected_reports)
        by_address = sorted(expected_rows, key=lambda r: r[0])   # stable
        if addresses != by_address:
            i, a, b = first_difference(addresses, by_address)
            rep.fail(unit, "row %d by address (of %d/%d)" % (i, len(addresses), len(by_address)), a, b)
        by_file = grouped(expected_rows)
        if list(sources.items()) != list(by_file.items()):
            ours_files, llvm_files = list(sources), list(by_file)
            if ours_files != llvm_files:
                rep.fail(unit, "source files", ours_files, llvm_files)
            else:
                for name in ours_files:
                    if sources[name] != by_file[name]:
                        i, a, b = first_difference(sources[name], by_file[name])
                        rep.fail(unit, "row %d of %s in program order" % (i, name), a, b)
        rep.rows += len(addresses)
    return len(ours_units)


def compare_path(rep, where, fixture, ours, llvm):
    """Compares one input (a file or an archive); returns (ELF files with line
    programs, line programs)."""
    (status, out, err), (llvm_status, llvm_out, llvm_err) = ours, llvm
    if status != 0 or err:
        rep.fail(where, "line_rows status/stderr", (status, err[:200]), (0, ""))
    if llvm_err.strip():
        rep.fail(where, "llvm-dwarfdump stderr", "", llvm_err[:200])
    ours_files = parse_ours(out)
    llvm_files = parse_llvm(llvm_out)
    if list(ours_files) != list(llvm_files):
        rep.fail(where, "ELF files", list(ours_files)[:5], list(llvm_files)[:5])
        return 0, 0
    with_lines = units = 0
    for name in ours_files:
        n = compare_file(rep, name, fixture, ours_files[name], llvm_files[name])
        units += n
        with_lines += n > 0
    return with_lines, units


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("tool", help="path to the line_rows test driver")
    ap.add_argument("--min-members", type=int, default=DEFAULT_MIN_MEMBERS,
                    help="library members with line programs that must be "
                         "compared (default %(default)s)")
    args = ap.parse_args()
    tool = os.path.abspath(args.tool)
    if not os.access(tool, os.X_OK):
        print("not executable: " + tool)
        return 2
    if shutil.which(LLVM_DWARFDUMP) is None:
        print(LLVM_DWARFDUMP + " not found")
        return 2

    rep = Report()
    fixtures = []
    for folder in ("dwarf", "elf"):
        for name in sorted(os.listdir(os.path.join(FIXTURES, folder))):
            fixture = folder + "/" + name
            if fixture in RELA_OBJECTS:
                rep.deliberate["rela-objects-skipped"] += 1
                continue
            fixtures.append(fixture)
    archives = []
    for variant in VARIANTS:
        for lib in LIBRARIES:
            path = os.path.normpath(os.path.join(NEWLIB, variant, lib))
            if os.path.exists(path):
                archives.append(path)
            else:
                rep.fail(path, "library present", False, True)

    fixture_files = fixture_units = members = member_units = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        jobs = [(f, os.path.join(FIXTURES, f), pool.submit(run_both, tool, os.path.join(FIXTURES, f)))
                for f in fixtures]
        jobs += [(None, p, pool.submit(run_both, tool, p)) for p in archives]
        for fixture, path, job in jobs:
            ours, llvm = job.result()
            where = "fixtures/" + fixture if fixture else path
            files, units = compare_path(rep, where, fixture, ours, llvm)
            if fixture:
                fixture_files += files
                fixture_units += units
            else:
                members += files
                member_units += units

    for where, what, ours, theirs in rep.mismatches[:MAX_SHOWN]:
        print("MISMATCH %s: %s: ours %r, llvm-dwarfdump %r" % (where, what, ours, theirs))
    if len(rep.mismatches) > MAX_SHOWN:
        print("... %d more mismatches" % (len(rep.mismatches) - MAX_SHOWN))
    print("deliberate differences applied:")
    for key, why in DELIBERATE.items():
        print("  %-24s %5d  %s" % (key, rep.deliberate[key], why))
    print("line diff: fixtures with line programs %d (%d programs), library members "
          "with line programs %d (%d programs) from %d archives, rows %d, mismatches %d"
          % (fixture_files, fixture_units, members, member_units, len(archives),
             rep.rows, len(rep.mismatches)))
    if members < args.min_members:
        print("FAIL: only %d library members with line programs compared, wanted %d"
              % (members, args.min_members))
        return 1
    if rep.deliberate["unknown-opcode-operands"] != 2:
        print("FAIL: the opcode 13 difference of lines.o/lines.elf was not seen")
        return 1
    return 1 if rep.mismatches else 0


if __name__ == "__main__":
    sys.exit(main())
