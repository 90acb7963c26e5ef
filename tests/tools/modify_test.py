#!/usr/bin/env python3
"""The in-place patch options: each changes exactly its fields, saves safely, and is
idempotent; a save that cannot be done leaves the file as it was."""
import os
import shutil
import stat
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FIX = os.path.join(ROOT, "tests", "fixtures")
MODIFY = os.path.join(FIX, "tool", "modify.elf")
TI = os.path.join(FIX, "elf", "ti-attributes.o")
LIB = os.path.join(FIX, "elf", "libfixture.a")


class Elf32:
    """Just enough of a little-endian ELF32 reader to find the fields a patch may touch."""

    def __init__(self, data):
        self.data = data
        (self.e_type, self.e_machine, _, _, _, self.e_shoff, self.e_flags, _, _, _, _, self.e_shnum,
         self.e_shstrndx) = struct.unpack_from("<HHIIIIIHHHHHH", data, 16)
        self.sections = []
        for i in range(self.e_shnum):
            off = self.e_shoff + 40 * i
            fields = struct.unpack_from("<IIIIIIIIII", data, off)
            self.sections.append({"offset_of_header": off, "name_off": fields[0], "type": fields[1],
                                  "offset": fields[4], "size": fields[5], "link": fields[6]})
        names = self.sections[self.e_shstrndx]
        for s in self.sections:
            s["name"] = self.cstr(names["offset"] + s["name_off"])

    def cstr(self, off):
        return self.data[off:self.data.index(b"\0", off)].decode()

    def section(self, name):
        return next(s for s in self.sections if s["name"] == name)

    def symbols(self):
        symtab = self.section(".symtab")
        strtab = self.sections[symtab["link"]]
        for i in range(symtab["size"] // 16):
            off = symtab["offset"] + 16 * i
            name, value, size, info, other, shndx = struct.unpack_from("<IIIBBH", self.data, off)
            yield {"name": self.cstr(strtab["offset"] + name), "value": value, "info": info, "shndx": shndx,
                   "value_offset": off + 4}


def changed_ranges(before, after):
    return [i for i in range(len(before)) if before[i] != after[i]]


def run(args):
    p = subprocess.run([BIN] + args, capture_output=True, timeout=60)
    return p.returncode, p.stdout.decode(), p.stderr.decode()


def readelf_ok(path):
    p = subprocess.run(["arm-none-eabi-readelf", "-h", "-l", "-S", "-s", "-W", path], capture_output=True)
    return p.returncode == 0 and b"Warning" not in p.stderr and b"Error" not in p.stderr


def expected_changes(original, option):
    """Byte offsets and new values the option must write, worked out from the ELF layout."""
    elf = Elf32(original)
    out = {}

    def put(offset, fmt, value):
        for k, b in enumerate(struct.pack(fmt, value)):
            if original[offset + k] != b:
                out[offset + k] = b

    if option == "-setVFPflags":
        put(36, "<I", 0x600)
    elif option == "-setObject":
        put(16, "<H", 1)
    elif option == "-deTISection":
        for s in elf.sections:
            if s["type"] == 0x7F000006:
                put(s["offset_of_header"] + 4, "<I", 0x70000003)
    elif option == "-ThumbSymbols":
        for sym in elf.symbols():
            if sym["shndx"] == 0 or sym["shndx"] >= len(elf.sections):
                continue
            if not elf.sections[sym["shndx"]]["name"].startswith(".text") or sym["info"] & 0xF != 2:
                continue
            if sym["value"] & 1 == 0:
                put(sym["value_offset"], "<I", sym["value"] | 1)
    return out


def test_each_option(tmp):
    cases = [(MODIFY, "-setVFPflags"), (MODIFY, "-setObject"), (MODIFY, "-ThumbSymbols"), (TI, "-deTISection"),
             (MODIFY, "-deTISection")]
    for fixture, option in cases:
        path = os.path.join(tmp, "patched-" + option[1:] + ".elf")
        shutil.copy(fixture, path)
        os.chmod(path, 0o640)
        original = open(path, "rb").read()
        want = expected_changes(original, option)
        rc, out, err = run([option, path])
        after = open(path, "rb").read()
        where = f"{os.path.basename(fixture)} {option}"
        check(where + " status", rc == 0 and err == "", (rc, err))
        check(where + " size", len(after) == len(original))
        got = {i: after[i] for i in changed_ranges(original, after)}
        check(where + " bytes", got == want, f"changed {sorted(got.items())[:8]} wanted {sorted(want.items())[:8]}")
        check(where + " readelf", readelf_ok(path))
        check(where + " mode", stat.S_IMODE(os.stat(path).st_mode) == 0o640, oct(os.stat(path).st_mode))
        rc, _, _ = run([option, path])
        check(where + " idempotent", rc == 0 and open(path, "rb").read() == after)
    # The ThumbSymbols fixture names what must change: three functions whose code
    # sections start with ".text".
    thumb = Elf32(open(os.path.join(tmp, "patched-ThumbSymbols.elf"), "rb").read())
    orig = {s["name"]: s["value"] for s in Elf32(open(MODIFY, "rb").read()).symbols()}
    new = {s["name"]: s["value"] for s in thumb.symbols()}
    for name in ("arm_func", "arm_sub", "arm_foo"):
        check(f"{name} gains bit 0", new[name] == orig[name] | 1 and orig[name] & 1 == 0, (orig[name], new[name]))
    for name in ("thumb_func", "ram_func", "table_obj", "abs_func"):
        check(f"{name} unchanged", new[name] == orig[name])
    check("flags before", Elf32(open(MODIFY, "rb").read()).e_flags == 0x05000400)


def test_order_and_listings(tmp):
    path = os.path.join(tmp, "all.elf")
    shutil.copy(MODIFY, path)
    rc, out, err = run(["-header", "-setObject", "-setVFPflags", path])
    check("header printed before the change", rc == 0 and "e_type      : 0x2\n" in out and "e_flags     : 0x5000400\n" in out,
          (rc, out[:300], err))
    elf = Elf32(open(path, "rb").read())
    check("both saved", elf.e_type == 1 and elf.e_flags == 0x600, (elf.e_type, hex(elf.e_flags)))
    # Listings after the patch steps see the changed model.
    shutil.copy(TI, path)
    rc, out, err = run(["-deTISection", "-ARMAttributes", path])
    check("attributes after retagging", rc == 0 and "Tag_CPU_arch: ARM v7 (10)" in out, (rc, out, err))


def test_failed_saves(tmp):
    folder = os.path.join(tmp, "readonly")
    os.mkdir(folder)
    path = os.path.join(folder, "file.elf")
    shutil.copy(MODIFY, path)
    original = open(path, "rb").read()
    os.chmod(folder, 0o555)
    try:
        rc, out, err = run(["-setObject", "-setVFPflags", "-relocations", path])
        check("read-only folder status", rc == 1, rc)
        check("read-only folder message", err == f"cannot write {path}\n", err)
        check("read-only folder output stops", out == "", out)
        check("read-only folder intact", open(path, "rb").read() == original)
        check("no temporary left", os.listdir(folder) == ["file.elf"], os.listdir(folder))
    finally:
        os.chmod(folder, 0o755)

    os.chmod(path, 0o444)
    rc, out, err = run(["-ThumbSymbols", path])
    check("read-only file", rc == 1 and err == f"cannot write {path}\n" and open(path, "rb").read() == original,
          (rc, err))
    os.chmod(path, 0o644)

    lib = os.path.join(tmp, "lib.a")
    shutil.copy(LIB, lib)
    before = open(lib, "rb").read()
    rc, out, err = run(["-setObject", lib])
    check("archive refused", rc == 1 and err.startswith(f"cannot write {lib}") and open(lib, "rb").read() == before,
          (rc, err))


def main():
    with tempfile.TemporaryDirectory() as tmp:
        test_each_option(tmp)
        test_order_and_listings(tmp)
        test_failed_saves(tmp)
    return summary("modify")


if __name__ == "__main__":
    sys.exit(main())
