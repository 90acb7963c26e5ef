#!/usr/bin/env python3
"""Random Advanced SIMD element and structure loads and stores and ARMv8 vector
forms (complex numbers, dot products, BFloat16, Int8 matrices), our decoding
against arm-none-eabi-objdump's, in A32 and in 32-bit Thumb.

Usage: vector_memory_sweep_test.py <insn_print> [arm|thumb] [<-arch level> <objdump machine>]

For each instruction set (both when none is named), RANDOM words with a fixed
seed: LOADS_STORES of them in the element and structure space (A32 1111 0100
xxx0, Thumb 1111 1001 xxx0), the rest in the coprocessor 8, 12 and 13 space
(A32 1111 110x and 1111 1110; Thumb 111x 110x and 111x 1110, so the conditional
Thumb encodings too), where the ARMv8 vector forms stand among the generic
coprocessor forms. Both decode them at level Any, objdump for its "arm" machine
(-M force-thumb for Thumb), which has every one of these forms; or at the level
and objdump machine given (for instance "v7A armv7", "v8R armv8-r", and with
"thumb" the M-profile levels such as "v8M_Mainline armv8-m.main"), where the
level-only classes of classes_vector.py apply too, and what the level lacks
(Advanced SIMD before ARMv7-A and in the R and M profiles, the conditional
coprocessor space of the M profile, the space the M-profile vector extension
decodes) may stay undefined.

Every instruction that objdump decodes must be printed alike (mnemonic with its
condition and type suffix, operands with numbers compared as numbers), or differ
in a named class of classes_vector.py or of the shared coprocessor classes, or be
left undefined where objdump's own text does not assemble back to the same
bytes. We must decode nothing that objdump calls undefined. The test fails under
TARGET per cent, and when a decoded text does not assemble alone, with
arm-none-eabi-as for ARCHITECTURES (at a level: LEVEL_ARCHITECTURES), back to its
bytes.
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


LEVEL = None
# The levels with Advanced SIMD (its loads and stores).
ADVANCED_SIMD = (None, "v7A", "v8A", "v8R")
M_PROFILE = ("v7M", "v7EM", "v8M_Mainline", "v8.1M_Mainline")
# The assembler's architectures for a level that lacks the ARMv8.x vector forms:
# objdump's texts of those forms must not assemble there. Plain ARMv8-A (none of
# them) comes second: the Thumb assembler takes SP in the generic coprocessor
# transfers from ARMv8 on only, and the core decoder prints them at every level.
LEVEL_ARCHITECTURES = {
    "v6T2": ["armv6t2", "armv8-a"],
    "v7A": ["armv7-a -mfpu=neon", "armv8-a"],
    "v7R": ["armv7-r", "armv8-a"],
    "v8R": ["armv8-r -mfpu=neon-fp-armv8", "armv8-a"],
    "v7M": ["armv7-m", "armv8-a"],
    "v7EM": ["armv7e-m", "armv8-a"],
    "v8M_Mainline": ["armv8-m.main", "armv8-a"],
    "v8.1M_Mainline": ["armv8.1-m.main+mve.fp+fp.dp", "armv8-a"],
}


def disagreement_class(ours, theirs):
    classes = classes_vector.CLASSES + (classes_vector.LEVEL_CLASSES if LEVEL else [])
    for name, _, test in classes:
        if test(ours, theirs):
            return name
    return sweeplib.coprocessor_class(ours, theirs)


def outside(w):
    """Why we leave an encoding undefined that objdump decodes, where the level
    explains it."""
    if LEVEL not in ADVANCED_SIMD and (w >> 20) & 0xFF1 in (0xF40, 0xF90):
        # objdump reads these at every machine, the M profile's included
        return "no Advanced SIMD at the level"
    if LEVEL in M_PROFILE and w >> 28 == 0xE:
        # the conditional coprocessor encodings of 32-bit Thumb: the M profile keeps
        # them for its floating-point, vector and custom-datapath extensions
        return "M-profile conditional coprocessor space"
    if LEVEL == "v8.1M_Mainline" and (w >> 8) & 0xF == 8:
        # VCADD and VCMLA of the M-profile vector extension, which decodes first there
        return "M-profile vector extension's coprocessor 8 space"
    return None


def pc_relative(text):
    # the generic coprocessor loads from the literal pool
    return "[pc" in text


def main():
    global LEVEL
    printer, rest = sys.argv[1], sys.argv[2:]
    sets = ["arm", "thumb"]
    if rest and rest[0] in sets:
        sets, rest = rest[:1], rest[1:]
    LEVEL, machine = (rest[0], rest[1]) if len(rest) >= 2 else (None, "arm")
    status = 0
    for name in sets:
        thumb = name == "thumb"
        print(f"{name}:")
        marches = LEVEL_ARCHITECTURES.get(LEVEL, ARCHITECTURES)
        status |= sweeplib.run_sweep(instructions(thumb), thumb, printer, LEVEL, machine, marches,
                                     disagreement_class, pc_relative, TARGET, outside, vector_aside=False)
    return status


if __name__ == "__main__":
    sys.exit(main())
