#!/usr/bin/env python3
"""Random Advanced SIMD data-processing words, our decoding against
arm-none-eabi-objdump's.

Usage: neon_sweep_test.py <insn_print> [<as -march>...]

At level Any, against objdump -m arm (which reads every Advanced SIMD form from raw
bytes, whatever the machine); what the other levels leave out is checked by the
unit tests.

200,000 random A32 words of the 1111 001U space and 200,000 random 32-bit Thumb
instructions of the 111U 1111 space (fixed seed), and PER_FORM more of each for the
smaller groups (their identifying bits fixed), go into raw files that insn_print
and objdump (-M force-thumb for Thumb) both decode, one instruction at a time.

For every instruction that objdump decodes we must print the same mnemonic and the
same operands (numbers compared as 32-bit values) unless the pair falls in one of
the named classes of classes_neon.py; we must decode nothing that objdump calls
undefined. Where objdump decodes what we leave undefined, its text must fail to
assemble back to the same bytes (a reserved size, an odd quadword register). The
test fails under TARGET per cent, and when a decoded text does not assemble alone,
for the given architecture, back to its bytes; the only texts not re-assembled are
the floating-point immediates that six decimals cannot hold (see not_reassembled).
"""
import os
import random
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import classes_neon  # noqa: E402
import sweeplib  # noqa: E402

TARGET = 99.5
RANDOM = 200000
SEED = 0x4E30
PER_FORM = 3000
# (group, mask, value) over the A32 word; the Thumb words carry U in bit 28.
FORMS = [
    ("modified immediate", 0xFEB80090, 0xF2800010),
    ("shift", 0xFE800010, 0xF2800010),
    ("three different", 0xFEB00050, 0xF2800000),
    ("scalar", 0xFEB00050, 0xF2800040),
    ("two misc", 0xFFB00810, 0xF3B00000),
    ("table", 0xFFB00C10, 0xF3B00800),
    ("duplicate", 0xFFB00F90, 0xF3B00C00),
    ("extract", 0xFFB00010, 0xF2B00000),
]


def thumb_of(word):
    """The Thumb twin of an A32 word: 1111 001U becomes 111U 1111."""
    u = (word >> 24) & 1
    return 0xEF000000 | u << 28 | (word & 0x00FFFFFF)


def instructions(rng):
    words = [0xF2000000 | rng.getrandbits(25) for _ in range(RANDOM)]
    for _, mask, value in FORMS:
        words += [(rng.getrandbits(32) & ~mask) | value for _ in range(PER_FORM)]
    return words


_FLOAT = re.compile(r"^vmov\w*\.f32 [dq]\d+, #(-?\d+\.\d{6})$")


def not_reassembled(text):
    """Texts kept out of the re-assembly (the sweep's PC-relative exception): the
    floating-point immediates whose value needs a seventh decimal (0.1328125 and
    the like, multiples of 1/128), which the fixed six-decimal text rounds; the
    assembler refuses the rounded value. Every other immediate is re-assembled."""
    m = _FLOAT.match(text)
    return bool(m) and abs(float(m.group(1)) * 128 - round(float(m.group(1)) * 128)) > 1e-6


def main():
    printer = sys.argv[1]
    marches = sys.argv[2:] or ["armv8.6-a+crypto+fp16+fp16fml"]
    status = 0
    rng = random.Random(SEED)
    arm = instructions(rng)
    thumb = [thumb_of(w) for w in instructions(rng)]
    for items, is_thumb in ((arm, False), (thumb, True)):
        print("Thumb:" if is_thumb else "A32:")
        status |= sweeplib.run_sweep(items, is_thumb, printer, None, "arm", marches, classes_neon.classify,
                                     not_reassembled, TARGET, vector_aside=False)
    return status


if __name__ == "__main__":
    sys.exit(main())
