#!/usr/bin/env python3
"""The Advanced SIMD corpus, our decoding against arm-none-eabi-objdump -d.

Usage: neon_corpus_test.py <code_list> <source dir>

Every instruction of tests/fixtures/disasm/vector-neon.o (every group, size and
data type, in A32 and in Thumb, with IT blocks) must print as objdump prints it:
the same mnemonic and operands, numbers compared as numbers, or differ only in a
named class of classes_neon.py. The -disassemble output of the same object is
re-assembled by reassemble_test.py.
"""
import collections
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import classes_neon  # noqa: E402
import objdump_diff_test  # noqa: E402

CORPUS = "tests/fixtures/disasm/vector-neon.o"


def main():
    code_list, source = sys.argv[1], sys.argv[2]
    path = os.path.join(source, CORPUS)
    ours = objdump_diff_test.our_listing(code_list, "-", [path])
    theirs = objdump_diff_test.objdump_listing([path])
    counted = agree = 0
    named, wrong = collections.Counter(), []
    for key, section in ours.items():
        for address, (kind, _, text, _) in sorted(section.items()):
            other = theirs.get(key, {}).get(address)
            if kind != "code":
                continue
            counted += 1
            if other is None or other[0] != "code":
                wrong.append((address, text, other))
                continue
            if objdump_diff_test.ours_normalised(text) == objdump_diff_test.theirs_normalised(other[2]):
                agree += 1
                continue
            name = classes_neon.classify(text, other[2])
            if name:
                named[name] += 1
            else:
                wrong.append((address, text, other[2]))
    print(f"{CORPUS}: {counted} instructions, {agree} as objdump prints them, "
          f"{sum(named.values())} in named classes, {len(wrong)} otherwise")
    for name, n in named.most_common():
        print(f"  {n:5d}  named class: {name}")
    for address, text, other in wrong[:30]:
        print(f"  {address:#06x}: '{text}' / {other!r}")
    return 1 if wrong or not counted else 0


if __name__ == "__main__":
    sys.exit(main())
