#!/usr/bin/env python3
"""The MVE corpus (tests/fixtures/disasm/vector-mve.o, from make-mve-corpus.py)
both ways: every instruction printed as arm-none-eabi-objdump -m armv8.1-m.main
prints it, or differently in a named class of classes_mve.py, and the whole
-disassemble output at v8.1-M assembling back to the object's .text bytes.

Usage: mve_corpus_test.py <code_list> <elfdwarfdump> <source dir>
"""
import collections
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import classes_mve  # noqa: E402
import objdump_diff_test as diff  # noqa: E402

FIXTURE = "tests/fixtures/disasm/vector-mve.o"
MARCH = "armv8.1-m.main+mve.fp+fp.dp"


def text_section(obj):
    with tempfile.TemporaryDirectory() as work:
        raw = os.path.join(work, "t.bin")
        subprocess.run(["arm-none-eabi-objcopy", "-O", "binary", "--only-section=.text", obj, raw], check=True)
        with open(raw, "rb") as f:
            return f.read()


def main():
    code_list, tool, source = sys.argv[1:4]
    path = os.path.join(source, FIXTURE)
    ours = diff.our_listing(code_list, "v8.1M_Mainline", [path])
    theirs = diff.objdump_listing([path], "armv8.1-m.main")
    counts, named, bad = collections.Counter(), collections.Counter(), []
    for key, section in ours.items():
        for address, entry in sorted(section.items()):
            if entry[0] != "code":
                continue
            other = theirs.get(key, {}).get(address)
            counts["instructions"] += 1
            if other is None:
                bad.append((address, entry[2], None))
                continue
            if diff.ours_normalised(entry[2]) == diff.theirs_normalised(other[2]):
                counts["agree"] += 1
                continue
            name = classes_mve.classify(entry[2], other[2])
            if name:
                named[name] += 1
            else:
                bad.append((address, entry[2], other[2]))
    print(f"{FIXTURE}: {counts['instructions']} instructions, {counts['agree']} as objdump prints them, "
          f"{sum(named.values())} in named classes, {len(bad)} unexplained")
    for name, n in named.most_common():
        print(f"  {n:6d}  {name}")
    for address, a, b in bad[:30]:
        print(f"  {address:#x}: ours '{a}' / objdump '{b}'")
    with tempfile.TemporaryDirectory() as work:
        listing = subprocess.run([tool, "-disassemble", "-arch", "v8.1M_Mainline", path], check=True,
                                 capture_output=True, text=True).stdout
        src, obj = os.path.join(work, "out.s"), os.path.join(work, "out.o")
        with open(src, "w") as f:
            f.write(listing)
        r = subprocess.run(["arm-none-eabi-as", "-march=" + MARCH, src, "-o", obj], capture_output=True, text=True)
        same = r.returncode == 0 and text_section(obj) == text_section(path)
    print(f"round trip of the -disassemble output: {'same .text bytes' if same else 'FAILED ' + r.stderr[:500]}")
    return 0 if not bad and same else 1


if __name__ == "__main__":
    sys.exit(main())
