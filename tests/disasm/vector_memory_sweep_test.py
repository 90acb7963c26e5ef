#!/usr/bin/env python3
"""Random Advanced SIMD element and structure loads and stores and ARMv8 vector
forms (complex numbers, dot products, BFloat16, Int8 matrices), our decoding
against arm-none-eabi-objdump's, in A32 and in 32-bit Thumb.

Usage: vector_memory_sweep_test.py <insn_print> [arm|thumb]

For each instruction set (both when none is named), RANDOM words with a fixed
seed: LOADS_STORES of them in the element and structure space (A32 1111 0100
xxx0, Thumb 1111 1001 xxx0), the rest in the coprocessor 8, 12 and 13 space
(A32 1111 110x and 1111 1110; Thumb 111x 110x and 111x 1110, so the conditional
Thumb encodings too), where the ARMv8 vector forms stand among the generic
coprocessor forms. Both decode them at level Any, objdump for its "arm" machine
(-M force-thumb for Thumb), which has every one of these forms.

Every instruction that objdump decodes must be printed alike (mnemonic with its
condition and type suffix, operands with numbers compared as numbers), or differ
in a named class of classes_vector.py or of the shared coprocessor classes, or be
left undefined where objdump's own text does not assemble back to the same
bytes. We must decode nothing that objdump calls undefined. The test fails under
TARGET per cent, and when a decoded text does not assemble alone, with
arm-none-eabi-as for ARCHITECTURES, back to its bytes.
"""
import os
import random
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import classes_vector  # noqa: E402
import sweeplib  # noqa: E402

TARGET = 99.5
RANDOM = 200000
LOADS_STORES = 120000
SEED = 0x7EC7
# Every form of this family: Advanced SIMD with crypto, half precision and its
# multiply-accumulates, the dot products, BFloat16 and the Int8 matrix multiplies.
# The generic coprocessor forms of ARMv7 go to the second when the first refuses them.
ARCHITECTURES = ["armv8.6-a+crypto+fp16+fp16fml+i8mm", "armv7-a"]


def instructions(thumb):
    rng = random.Random(SEED + thumb)
    out = []
    for _ in range(LOADS_STORES):
        w = rng.getrandbits(32)
        # 1111 0100 xxx0 / 1111 1001 xxx0 with the rest at random
        out.append(((0xF900 if thumb else 0xF400) << 16) | (w & 0x00EFFFFF))
    coprocessors = (8, 12, 13)
    while len(out) < RANDOM:
        w = rng.getrandbits(32)
        top = (0xC + rng.randrange(3)) << 24  # 1100, 1101, 1110 in bits 27..24
        cp = coprocessors[rng.randrange(3)] << 8
        high = (0xE0000000 | (rng.getrandbits(1) << 28)) if thumb else 0xF0000000
        out.append(high | top | (w & 0x00FFF0FF) | cp)
    return out


def disagreement_class(ours, theirs):
    for name, _, test in classes_vector.CLASSES:
        if test(ours, theirs):
            return name
    return sweeplib.coprocessor_class(ours, theirs)


def pc_relative(text):
    # the generic coprocessor loads from the literal pool
    return "[pc" in text


def main():
    printer = sys.argv[1]
    sets = sys.argv[2:] or ["arm", "thumb"]
    status = 0
    for name in sets:
        thumb = name == "thumb"
        print(f"{name}:")
        status |= sweeplib.run_sweep(instructions(thumb), thumb, printer, None, "arm", ARCHITECTURES,
                                     disagreement_class, pc_relative, TARGET, vector_aside=False)
    return status


if __name__ == "__main__":
    sys.exit(main())
