#!/usr/bin/env python3
"""-memory-usage, -flm and -stldr on the fixtures, against values worked out here.

    python3 tests/tools/memory_usage_test.py <path-to-elfdwarfdump>

Memory usage: the loaded sections and their ranges come from
`arm-none-eabi-readelf -S -W`, the regions from the MEMORY blocks of the linker
scripts in tests/fixtures/src/ and examples/blinky/; the highest address, used
size, percentage and size notation are computed here.

Flash loaders: the program and section ranges come from readelf, the device
descriptions from the initialisers in tests/fixtures/src/tool/flash-loader.c and
stldr-loader.c.
"""
import os
import re
import subprocess
import sys
from fractions import Fraction

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FIX = os.path.join(ROOT, "tests", "fixtures")
SRC = os.path.join(FIX, "src")
READELF = "arm-none-eabi-readelf"


def run(args):
    p = subprocess.run([BIN] + args, capture_output=True, timeout=60)
    return p.returncode, p.stdout.decode("utf-8", "replace"), p.stderr.decode("utf-8", "replace")


def readelf(args, path):
    return subprocess.run([READELF] + args + [path], capture_output=True, check=True, timeout=60).stdout.decode()


def sections(path):
    """(name, type, addr, size, flags) of every section but the null one, in index order."""
    found = []
    for line in readelf(["-S", "-W"], path).splitlines():
        m = re.match(r"\s*\[\s*(\d+)\]\s(.*)$", line)
        if not m or m.group(1) == "0":
            continue
        fields = m.group(2).split()
        # name type addr off size es [flags] lk inf al: the flags column may be empty.
        flags = fields[6] if len(fields) == 10 else ""
        found.append((fields[0], fields[1], int(fields[2], 16), int(fields[4], 16), flags))
    return found


def programs(path):
    """(paddr, memsz) of every program header."""
    found = []
    for line in readelf(["-l", "-W"], path).splitlines():
        fields = line.split()
        if len(fields) >= 7 and fields[1].startswith("0x") and fields[2].startswith("0x"):
            found.append((int(fields[3], 16), int(fields[5], 16)))
    return found


# Loaded, as the tool reads it: a type with memory contents and any of W, A, X.
LOADED_TYPES = {"PROGBITS", "NOBITS", "INIT_ARRAY", "FINI_ARRAY", "ARM_EXIDX"}


def loaded_ranges(path):
    return [(addr, addr + size - 1) for name, typ, addr, size, flags in sections(path)
            if typ in LOADED_TYPES and set(flags) & set("WAX") and size > 0]


def notation(value):
    for unit, suffix in ((1 << 20, "MB"), (1 << 10, "KB")):
        if value >= unit:
            whole, tenth = value // unit, (value % unit) * 10 // unit
            return f"{whole} {suffix}" if tenth == 0 else f"{whole}.{tenth} {suffix}"
    return f"{value} B"


def expected_rows(ranges, regions):
    rows = ["Memory Region: Used Size: Region Size: %age Used"]
    for name, start, size in regions:
        if size == 0:
            continue
        end = start + size - 1
        inside = [last for first, last in ranges if first >= start and last <= end]
        if not inside:
            continue
        used = max(inside) - start
        tenths = int(Fraction(used * 1000, size) + Fraction(1, 2))
        percent = f"{tenths // 10}.{tenths % 10}%"
        rows.append(f"{name:>13} {notation(used & 0xFFFFFFFF):>10} {notation(size):>12} {percent:>9}")
    return "\n".join(rows) + "\n"


def memory_blocks(ld):
    """The MEMORY regions of a linker script: [(name, origin, length)]."""
    text = open(ld).read()
    block = re.search(r"MEMORY\s*\{(.*?)\}", text, re.S).group(1)
    regions = []
    for m in re.finditer(r"(\w+)\s*\([^)]*\)\s*:\s*ORIGIN\s*=\s*(\w+)\s*,\s*LENGTH\s*=\s*(\d+)([KM]?)", block):
        length = int(m.group(3)) * {"": 1, "K": 1 << 10, "M": 1 << 20}[m.group(4)]
        regions.append((m.group(1), int(m.group(2), 0), length))
    return regions


def region_argument(regions, spell=hex):
    return ",".join(f"{n},{spell(s)},{spell(z)}" for n, s, z in regions)


def test_memory_usage():
    cases = [
        (os.path.join(FIX, "elf", "cortexm4.elf"), memory_blocks(os.path.join(SRC, "cortexm4", "cortexm4.ld"))),
        (os.path.join(ROOT, "examples", "blinky", "blinky.elf"),
         memory_blocks(os.path.join(ROOT, "examples", "blinky", "blinky.ld"))),
        # memory-usage.ld places sections without a MEMORY block: the regions are the ones
        # its notes in memory-usage.s talk about, plus a larger FLASH that takes in the
        # section across the 64 KiB boundary, one holding only the note and an empty one.
        (os.path.join(FIX, "tool", "memory-usage.elf"),
         [("FLASH", 0x08000000, 0x10000), ("FLASH128", 0x08000000, 0x20000), ("RAM", 0x20000000, 0x400),
          ("RAM128", 0x20000000, 0x20000), ("NOTES", 0x30000000, 0x1000), ("EXTRAM", 0xC0000000, 0x200000),
          ("EXTRAM15", 0xC0000000, 0x180000), ("EMPTY", 0x60000000, 0x1000), ("NONE", 0x08000000, 0)]),
    ]
    for path, regions in cases:
        check(f"{path}: regions", len(regions) >= 2, regions)
        want = expected_rows(loaded_ranges(path), regions)
        for spell in (hex, str, oct_c):
            rc, out, err = run(["-memory-usage", region_argument(regions, spell), path])
            check(f"{path} {spell.__name__}", (rc, out, err) == (0, want, ""), f"\n{out}{err}!=\n{want}")
        # Every region that has sections in it gets a row.
        check(f"{path}: rows", want.count("\n") >= 3, want)

    # A list that is not made of triples names itself and ends the run.
    path = os.path.join(FIX, "tool", "memory-usage.elf")
    rc, out, err = run(["-memory-usage", "FLASH,0x08000000,0x10000,RAM", path])
    check("piece count", (rc, out, err) == (1, "", "invalid segment FLASH,0x08000000,0x10000,RAM\n"), (rc, out, err))
    rc, out, err = run(["-memory-usage", "FLASH,0x08000000,64k", path])
    check("malformed number", (rc, out, err) == (1, "", "invalid segment FLASH,0x08000000,64k\n"), (rc, out, err))


def oct_c(value):
    """Octal as C writes it: a leading 0."""
    return "0" + format(value, "o")


# --- flash loaders -----------------------------------------------------------

def c_initialiser(source, variable, defines=()):
    """The initialiser of `variable` in a C file as nested lists of ints and strings,
    with comments removed, #ifdef/#ifndef blocks resolved against `defines` and
    object-like macros of the file expanded."""
    text = re.sub(r"/\*.*?\*/", "", open(source).read(), flags=re.S)
    text = re.sub(r"//[^\n]*", "", text)
    lines, keep = [], [True]
    macros = {}
    for line in text.splitlines():
        s = line.strip()
        if s.startswith("#ifndef") or s.startswith("#ifdef"):
            name = s.split()[1]
            keep.append(keep[-1] and ((name in defines) == s.startswith("#ifdef")))
        elif s.startswith("#endif"):
            keep.pop()
        elif s.startswith("#define") and keep[-1]:
            parts = s.split(None, 2)
            macros[parts[1]] = parts[2] if len(parts) > 2 else ""
        elif keep[-1]:
            lines.append(line)
    text = "\n".join(lines)
    body = re.search(re.escape(variable) + r"\s*=\s*(\{.*?\n\});", text, re.S).group(1)
    for name, value in macros.items():
        body = re.sub(r"\b" + name + r"\b", value, body)
    tokens = re.findall(r'"(?:[^"\\]|\\.)*"|[{}]|[0-9][0-9a-fA-Fx]*[uUlL]*', body)
    pos = 0

    def value():
        nonlocal pos
        t = tokens[pos]
        pos += 1
        if t == "{":
            items = []
            while tokens[pos] != "}":
                items.append(value())
            pos += 1
            return items
        if t.startswith('"'):
            return t[1:-1]
        return int(t.rstrip("uUlL"), 0)

    return value()


def flm_expected(path, defines):
    out = "".join(f"Program 0x{p & 0xFFFFFFFF:08x}-0x{(p + m) & 0xFFFFFFFF:08x}\n" for p, m in programs(path))
    (vers, name, dev_type, dev_adr, sz_dev, sz_page, res, val_empty, to_prog, to_erase,
     sectors) = c_initialiser(os.path.join(SRC, "tool", "flash-loader.c"), "FlashDevice", defines)
    for sec_name, _, addr, size, _ in sections(path):
        if sec_name in ("PrgCode", "PrgData"):
            out += f"{sec_name} 0x{addr:08x}-0x{addr + size:08x}\n"
        elif sec_name == "DevDscr":
            out += f"DevName {name} DevAdr 0x{dev_adr:08x} szDev 0x{sz_dev:x} szPage 0x{sz_page:x}\n"
            for sz, adr in sectors:
                if sz == 0xFFFFFFFF:
                    break
                out += f"szSector 0x{sz:x}, AddrSector 0x{adr:x}\n"
            out += "\n"
    return out, sectors


def test_flash_loaders():
    for fixture, defines, sector_lines in (("flash-loader.elf", (), 3), ("flash-loader-no-sectors.elf", ("NO_SECTORS",), 0)):
        path = os.path.join(FIX, "tool", fixture)
        want, sectors = flm_expected(path, defines)
        rc, out, err = run(["-flm", path])
        check(f"-flm {fixture}", (rc, out, err) == (0, want, ""), f"\n{out}{err}!=\n{want}")
        # The parse of the source itself: the sector count the fixture notes give.
        check(f"-flm {fixture} sectors", want.count("szSector") == sector_lines, want)
        check(f"-flm {fixture} sections", "PrgCode" in want and "PrgData" in want and "DevName" in want, want)

    path = os.path.join(FIX, "tool", "stldr-loader.elf")
    name, dev_type, start, size, page, erase, sectors = c_initialiser(
        os.path.join(SRC, "tool", "stldr-loader.c"), "StorageInfo")
    sectors = sectors + [[0, 0]] * (10 - len(sectors))  # the rest of the fixed table is zero
    want = "".join(f"Program 0x{p & 0xFFFFFFFF:08x}-0x{(p + m) & 0xFFFFFFFF:08x}\n" for p, m in programs(path))
    want += (f"DeviceName {name}\nDeviceType 0x{dev_type:04x}\nDeviceStartAddress 0x{start:08x}\n"
             f"DeviceSize 0x{size:x}\nPageSize 0x{page:x}\n")
    want += "".join(f"SectorNum 0x{n:x}, SectorSize 0x{s:x}\n" for n, s in sectors) + "\n"
    rc, out, err = run(["-stldr", path])
    check("-stldr", (rc, out, err) == (0, want, ""), f"\n{out}{err}!=\n{want}")
    check("-stldr ten entries", out.count("SectorNum") == 10, out)
    # A file without StorageInfo gives the program lines alone.
    flm = os.path.join(FIX, "tool", "flash-loader.elf")
    rc, out, err = run(["-stldr", flm])
    check("-stldr without StorageInfo", rc == 0 and out and all(l.startswith("Program ") for l in out.splitlines()),
          out)


def main():
    test_memory_usage()
    test_flash_loaders()
    return summary("memory_usage")


if __name__ == "__main__":
    sys.exit(main())
