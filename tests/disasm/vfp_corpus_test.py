#!/usr/bin/env python3
"""The floating-point corpus both ways: every instruction as objdump -d prints it,
and the -disassemble output assembled back to the same bytes.

Usage: vfp_corpus_test.py <code_list> <elfdwarfdump> <source dir>

For each object of FIXTURES, our listing (code_list, at the object's level) and
objdump's must have the same instructions at the same addresses with the same
mnemonic and operands (numbers compared as numbers), or differ in a named class
of classes_vfp.py. Then the tool's -disassemble output for the same level is fed to
arm-none-eabi-as for the object's architecture, and every allocated section must
come back byte for byte (instructions the assembler cannot write from a text are
written as .inst).
"""
import collections
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import classes_vfp  # noqa: E402
import objdump_diff_test  # noqa: E402
import reassemble_test  # noqa: E402
import sweeplib  # noqa: E402

# (object, our -arch level, objdump machine or None for the object's own, as -march)
FIXTURES = [
    ("tests/fixtures/disasm/vector-vfp.o", "-", None, "armv8.6-a+crypto+fp16+fp16fml"),
    ("tests/fixtures/disasm/vector-vfp.o", "v8A", None, "armv8.6-a+crypto+fp16+fp16fml"),
    # Without the vector extension: with it the assembler writes "vcvtn.s32.f64" as
    # VCVT toward zero (it warns, rightly, on the VPR and P0 it then sees).
    ("tests/fixtures/disasm/vector-vfp-m.o", "v8.1M_Mainline", "armv8.1-m.main", "armv8.1-m.main+fp.dp"),
]


def compare(ours, theirs, stats, differences):
    for key in sorted(set(ours) | set(theirs)):
        mine, other = ours.get(key, {}), theirs.get(key, {})
        for address in sorted(set(mine) | set(other)):
            a, b = mine.get(address), other.get(address)
            if a is None or b is None or a[0] != b[0]:
                differences.append((key, address, a, b, "boundary or code/data split"))
                continue
            if a[0] != "code":
                continue
            stats["instructions"] += 1
            if objdump_diff_test.ours_normalised(a[2]) == objdump_diff_test.theirs_normalised(b[2]):
                stats["agree"] += 1
                continue
            name = classes_vfp.classify(a[2], b[2])
            if name:
                stats["classed"] += 1
                stats["class: " + name] += 1
                continue
            differences.append((key, address, a[2], b[2], "differs"))


def round_trip(tool, path, level, march):
    args = [tool, "-disassemble"] + (["-arch", level] if level != "-" else []) + [path]
    listing = subprocess.run(args, check=True, capture_output=True, text=True).stdout
    listing = re.sub(r" <[^>\n]*>", "", listing)
    with tempfile.TemporaryDirectory() as work:
        src, obj = os.path.join(work, "out.s"), os.path.join(work, "out.o")
        with open(src, "w") as f:
            f.write(listing)
        r = subprocess.run(["arm-none-eabi-as", "-march=" + march.split()[0]] + march.split()[1:] + [src, "-o", obj],
                           capture_output=True, text=True)
        if r.returncode != 0 or "Error" in r.stderr:
            return f"the output does not assemble:\n{r.stderr}", 0
        original, rebuilt = reassemble_test.progbits_sections(path), reassemble_test.progbits_sections(obj)
    bad = [name for name in original if original[name] != rebuilt.get(name)]
    insts = listing.count(".inst")
    return (f"sections {', '.join(bad)} differ" if bad else None), insts


def main():
    code_list, tool, source = sys.argv[1:4]
    status = 0
    for path, level, machine, march in FIXTURES:
        full = os.path.join(source, path)
        stats, differences = collections.Counter(), []
        compare(objdump_diff_test.our_listing(code_list, level, [full]),
                objdump_diff_test.objdump_listing([full], machine), stats, differences)
        print(f"{path} at {level}: {stats['instructions']} instructions, {stats['agree']} as objdump prints them, "
              f"{stats['classed']} in named classes, {len(differences)} unexplained")
        for k, n in sorted(stats.items()):
            if k.startswith("class: "):
                print(f"  {n:5d}  {k[7:]}")
        for key, address, a, b, why in differences[:30]:
            print(f"  {key[1]}+{address:#x} {why}: ours {a!r} / objdump {b!r}")
        failure, insts = round_trip(tool, full, level, march)
        print(f"  round trip: {'FAILED: ' + failure if failure else 'every section gives its bytes back'}"
              f" ({insts} instructions written as .inst)")
        if differences or failure:
            status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
