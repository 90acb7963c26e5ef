#!/usr/bin/env python3
"""Command-line behaviour of elfdwarfdump run as a process: usage text, exit
statuses and messages of every failure, indirect files, option order."""
import itertools
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FIX = os.path.join(ROOT, "tests", "fixtures")
THUMB = os.path.join(FIX, "elf", "thumb.o")
EXE = os.path.join(FIX, "elf", "cortexm4.elf")


def run(args, **kw):
    p = subprocess.run([BIN] + args, capture_output=True, timeout=60, **kw)
    return p.returncode, p.stdout.decode("utf-8", "replace"), p.stderr.decode("utf-8", "replace")


# The options with help texts, sorted by synopsis as UTF-16 code units
# (upper case first): written out here rather than computed from the tool.
USAGE_ENTRIES = [
    ("-ARMAttributes", " display ARM attributes section"),
    ("-arch 'arch'", " specify architecture for disassembly"),
    ("-cmp 'elffile2'", " compare text sections or symbols of 'elffile' with 'elffile2'"),
    ("-demangle", " demangle symbol names"),
    ("-disassemble", " disassemble text sections"),
    ("-dwarf", " show dwarf debugging information"),
    ("-dwarf-frame", " show dwarf frame debugging information"),
    ("-flm", " show CMSIS flash loader header data"),
    ("-header", " show elf header"),
    ("-help", " show help text"),
    ("-ignoreDebugAranges", " do not use .debug_aranges section"),
    ("-ltosymbols", " show LTO symbols"),
    ("-memory-usage 'segments'", " show memory used in segments NAME1,START1,SIZE1,NAME2,START2,SIZE2 "
     "e.g. FLASH,0x08000000,0x10000,RAM,0x20000000,0x1000"),
    ("-program-data", " show program data when -programs is supplied"),
    ("-programs", " show elf program headers"),
    ("-relocations", " show relocation sections"),
    ("-section-data", " show section data when -sections is supplied"),
    ("-sections", " show elf section headers"),
    ("-stack-sizes", " show stack_sizes section"),
    ("-stldr", " show STLDR flash loader header data"),
    ("-symbols", " show elf symbols or compare if -cmp is supplied"),
    ("-symbols-sorted", " show symbols sorted by name"),
    ("-unwind", " show unwind data"),
]
USAGE = "\nUsage: elfdwarfdump [options] elffile [outputfile]\n\n" + "".join(
    "  %-32s %s\n" % e for e in USAGE_ENTRIES)


def test_usage():
    for args in ([], ["-help"], ["-help", "/nonexistent/file.o"], ["-header", "-help", "-bogus"]):
        rc, out, err = run(args)
        check(f"usage {args} status", rc == 0, rc)
        check(f"usage {args} text", out == USAGE, out)
        check(f"usage {args} banner", err.startswith("KestoWorks for ARM elfdwarfdump - Release "), err)
    # Hidden options never show.
    rc, out, _ = run([])
    for hidden in ("-mm", "-setVFPflags", "-setObject", "-deTISection", "-ThumbSymbols"):
        check(f"{hidden} hidden", hidden not in out)


def test_failures(tmp):
    bad_magic = os.path.join(FIX, "malformed", "bad-magic.o")
    rows = [
        # args, status, stdout, stderr
        (["-bogus", "-header", "-x", THUMB], 1, "",
         f"{BIN}: error: unrecognised option -bogus\n{BIN}: error: unrecognised option -x\n"),
        ([THUMB, "-cmp"], 1, "", f"{BIN}: error: expected argument for option -cmp\n"),
        (["-arch"], 1, "", f"{BIN}: error: expected argument for option -arch\n"),
        (["-header"], 1, "", ""),
        (["-header", THUMB, "/nonexistent/dir/out.txt"], 1, "", "cannot create /nonexistent/dir/out.txt\n"),
        (["-header", "/nonexistent/in.o"], 1, "", "cannot open /nonexistent/in.o\n"),
        (["-header", bad_magic], 1, "", f"open error invalid ELF file: {bad_magic}\n"),
        (["-header", os.path.join(FIX, "malformed", "ar-bad-longname-offset.a")], 1, "",
         "invalid long names table offset 9999\n"),
        (["-header", os.path.join(FIX, "malformed", "ar-name-without-slash.a")], 1, "",
         "invalid archive file name\n"),
        (["-header", tmp], 1, "", f"cannot read {tmp}\n"),  # a directory
        ([THUMB], 0, "", ""),  # nothing selected: nothing printed
    ]
    for args, status, out_expected, err_expected in rows:
        rc, out, err = run(args)
        check(f"{args} status", rc == status, f"{rc} != {status}")
        check(f"{args} stdout", out == out_expected, repr(out[:200]))
        check(f"{args} stderr", err == err_expected, repr(err))

    member = os.path.join(FIX, "malformed", "ar-member-not-elf.a")
    rc, out, err = run(["-header", member])
    check("bad member status", rc == 1, rc)
    check("bad member message", err == f"open error invalid ELF file: {member}(notes.txt)\n", err)

    empty = os.path.join(tmp, "empty.o")
    open(empty, "wb").close()
    rc, out, err = run(["-header", empty])
    check("empty file", rc == 1 and err == f"open error invalid ELF file: {empty}\n", (rc, err))

    if os.path.exists("/dev/full"):
        rc, out, err = run(["-header", "-sections", THUMB, "/dev/full"])
        check("full disk", rc == 1 and err == "cannot write /dev/full\n", (rc, err))


def test_indirect_files(tmp):
    spaced = os.path.join(tmp, "with space.o")
    with open(THUMB, "rb") as src, open(spaced, "wb") as dst:
        dst.write(src.read())
    inner = os.path.join(tmp, "inner.args")
    with open(inner, "w") as f:
        f.write("# comment: -bogus\n-sections\n")
    outer = os.path.join(tmp, "outer.args")
    with open(outer, "w") as f:
        f.write(f'-header "{spaced}"\n@{inner}\n')
    rc, out, err = run(["@" + outer])
    rc2, out2, _ = run(["-header", "-sections", THUMB])
    check("indirect status", rc == 0, (rc, err))
    check("indirect same output", out == out2 and out.startswith("\nelf header\n"))

    unterminated = os.path.join(tmp, "bad.args")
    with open(unterminated, "w") as f:
        f.write(f"{THUMB}\n-header \"oops\n")
    rc, out, err = run(["@" + unterminated])
    check("unterminated", rc == 1 and err == f"{BIN}: error: unterminated string in indirect file {unterminated}(2)\n",
          (rc, err))

    rc, out, err = run(["@/nonexistent/args", THUMB])
    check("missing indirect", rc == 1 and
          err == f"{BIN}: error: can't open indirect file /nonexistent/args: No such file or directory\n", (rc, err))
    # "@" alone names no file: the same message, and nothing from the libraries beside it.
    rc, out, err = run(["@", THUMB])
    check("empty indirect name", rc == 1 and
          err == f"{BIN}: error: can't open indirect file : No such file or directory\n", (rc, err))

    selfref = os.path.join(tmp, "self.args")
    with open(selfref, "w") as f:
        f.write(f"@{selfref}\n")
    rc, out, err = run(["@" + selfref, THUMB])
    check("nesting limit", rc == 1 and err == f"{BIN}: error: too many indirect files\n", (rc, err))


def test_order_and_positionals(tmp):
    opts = ["-header", "-programs", "-sections", "-symbols", "-symbols-sorted"]
    reference = run(opts + [EXE])[1]
    check("reference nonempty", "program header" in reference and "Symbol table" in reference)
    for perm in itertools.islice(itertools.permutations(opts), 0, 120, 17):
        rc, out, _ = run([EXE] + list(perm))
        check(f"order {perm}", rc == 0 and out == reference)
    check("duplicate option", run(["-header", "-header", EXE])[1] == run(["-header", EXE])[1])

    first = os.path.join(tmp, "first.txt")
    second = os.path.join(tmp, "second.txt")
    rc, out, err = run(["-header", EXE, first, second])
    check("third positional", rc == 0 and out == "" and os.path.exists(second) and not os.path.exists(first),
          (rc, err))
    with open(second) as f:
        check("output file content", f.read() == run(["-header", EXE])[1])

    # With -cmp, -sections and -symbols print no listing of their own.
    rc, out, err = run(["-sections", "-symbols", "-cmp", EXE, EXE])
    check("cmp suppresses listings", rc == 0 and "section header" not in out and "Symbol table" not in out,
          (rc, out[:200], err))


def main():
    with tempfile.TemporaryDirectory() as tmp:
        test_usage()
        test_failures(tmp)
        test_indirect_files(tmp)
        test_order_and_positionals(tmp)
    return summary("cli")


if __name__ == "__main__":
    sys.exit(main())
