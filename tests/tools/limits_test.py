#!/usr/bin/env python3
"""The limits the tool keeps whatever the file: peak memory at most four times the
input size plus 64 MiB, and a file of 4 GiB or more refused with a message rather
than read modulo 2^32.

    python3 tests/tools/limits_test.py <path-to-elfdwarfdump>

Peak memory is the child's maximum resident set as the kernel counts it
(wait4's rusage), for every option at once on the biggest libraries of the
toolchain, on the bundled example and on the damaged fixtures. Run on the release
build only: the sanitizers' shadow memory is not the tool's.
"""
import glob
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FIX = os.path.join(ROOT, "tests", "fixtures")
NEWLIB = "/usr/lib/arm-none-eabi/newlib"
MiB = 1 << 20

EVERY_OPTION = ["-header", "-programs", "-program-data", "-sections", "-section-data", "-symbols",
                "-symbols-sorted", "-ltosymbols", "-demangle", "-relocations", "-ARMAttributes",
                "-stack-sizes", "-dwarf", "-flm", "-stldr", "-unwind", "-dwarf-frame", "-mm",
                "-disassemble", "-memory-usage", "FLASH,0x08000000,0x100000,RAM,0x20000000,0x20000"]

def run(args):
    """Status, standard error and peak resident memory in bytes of one run."""
    with open(os.devnull, "wb") as null, tempfile.TemporaryFile() as err:
        p = subprocess.Popen([BIN] + args, stdout=null, stderr=err)
        try:
            _, status, usage = os.wait4(p.pid, 0)
        except BaseException:
            p.kill()
            raise
        p.returncode = os.waitstatus_to_exitcode(status)
        err.seek(0)
        return p.returncode, err.read().decode("utf-8", "replace"), usage.ru_maxrss * 1024


def memory_cases():
    inputs = []
    for variant in ["thumb/v7-m/nofp", "arm/v5te/softfp"]:
        for lib in ["libc.a", "libm.a", "libstdc++.a"]:
            path = os.path.join(NEWLIB, variant, lib)
            if os.path.exists(path):
                inputs.append(path)
    inputs.append(os.path.join(ROOT, "examples", "blinky", "blinky.elf"))
    inputs += sorted(glob.glob(os.path.join(FIX, "malformed", "*")))
    inputs += sorted(glob.glob(os.path.join(FIX, "fuzz", "*")))
    return inputs


def test_memory():
    cases = memory_cases()
    check("inputs found", len(cases) >= 10, f"{len(cases)} inputs")
    worst = 0.0
    for path in cases:
        size = os.path.getsize(path)
        limit = 4 * size + 64 * MiB
        for args in (EVERY_OPTION + [path], ["-cmp", path, path], ["-symbols", "-cmp", path, path]):
            status, err, peak = run(args)
            what = f"{os.path.relpath(path, ROOT) if path.startswith(ROOT) else path} {args[0]}"
            check("status", status in (0, 1), f"{what}: status {status} {err[-300:]}")
            check("peak memory", peak <= limit, f"{what}: {peak / MiB:.1f} MiB > {limit / MiB:.1f} MiB")
            worst = max(worst, peak / limit)
    print(f"peak memory: {len(cases)} inputs, at most {worst:.0%} of 4 x input + 64 MiB")


def test_huge_files():
    # Sparse files: the size is what counts, no disk is used.
    with tempfile.TemporaryDirectory() as tmp:
        header = open(os.path.join(ROOT, "examples", "blinky", "blinky.elf"), "rb").read(4096)
        for size, name in ((1 << 32, "exactly 4 GiB"), ((1 << 32) + 0x34, "4 GiB and a header")):
            path = os.path.join(tmp, "huge.elf")
            with open(path, "wb") as f:
                f.write(header)
                f.truncate(size)
            expected = f"cannot read {path}: files of 4 GiB or more are not supported"
            for args in (["-header", "-sections", path], ["-cmp", path, os.path.join(ROOT, "examples", "blinky",
                                                                                     "blinky.elf")],
                         ["-cmp", os.path.join(ROOT, "examples", "blinky", "blinky.elf"), path]):
                status, err, peak = run(args)
                check(f"{name} refused", status == 1 and expected in err, f"{args}: status {status}, {err!r}")
                check(f"{name} not read", peak < 64 * MiB, f"{args}: {peak / MiB:.1f} MiB")
        # Just under the limit is read, as the 32-bit offsets reach it.
        path = os.path.join(tmp, "big.elf")
        with open(path, "wb") as f:
            f.write(header)
            f.truncate((1 << 32) - 1)
        status, err, peak = run(["-header", path])
        check("4 GiB - 1 read", status == 0, f"status {status}, {err!r}")
        check("4 GiB - 1 not read whole", peak < 64 * MiB, f"{peak / MiB:.1f} MiB")


def main():
    test_huge_files()
    test_memory()
    sys.exit(summary("limits"))


if __name__ == "__main__":
    main()
