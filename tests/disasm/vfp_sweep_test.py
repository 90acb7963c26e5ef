#!/usr/bin/env python3
"""Random words of the floating-point coprocessor spaces, our decoding against
arm-none-eabi-objdump's.

Usage: vfp_sweep_test.py <insn_print> [<-arch name> <objdump machine> <as -march>...]

Without a level: RANDOM A32 words and RANDOM 32-bit Thumb instructions of the
encoding spaces of coprocessors 9, 10 and 11 (data processing and register
transfers, 1110 in bits 27..24; loads, stores, multiples and the two-register
transfers, 110 in bits 27..25; conditional and unconditional alike, the ARMv8
forms being the unconditional ones), at level Any against objdump -m arm. With a
level: LEVEL_RANDOM Thumb instructions of the same spaces (and of coprocessor 15's
loads and stores, the M profile's system-register transfers) against objdump for
the given machine.

For every instruction that objdump decodes, we must print the same mnemonic and
operands (numbers compared as numbers), unless the pair falls in a named class of
classes_vfp.py, each with its reason; we must decode nothing that objdump calls
undefined, unless a class names why. Every text we decode but the PC-relative ones
must assemble alone, for one of the given architectures, back to its bytes.
"""
import os
import random
import re
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import classes_vfp  # noqa: E402
import sweeplib  # noqa: E402

TARGET = 99.5
RANDOM = int(os.environ.get("VFP_SWEEP_WORDS", "200000"))
LEVEL_RANDOM = int(os.environ.get("VFP_SWEEP_WORDS", "30000"))
SEED = 0xF9F

# -march strings for each level's re-assembly; the first that takes a text decides.
MARCHES = {
    None: ["armv8.6-a+crypto+fp16+fp16fml", "armv8.1-m.main+mve.fp+fp.dp"],
    "v7EM": ["armv7e-m -mfpu=fpv5-d16"],
    "v8M_Mainline": ["armv8-m.main -mfpu=fpv5-d16"],
    # With the vector extension the assembler writes "vcvtn.s32.f64" as VCVT (toward
    # zero): the floating-point unit alone first, the vector extension's registers
    # (VPR, P0) then.
    "v8.1M_Mainline": ["armv8.1-m.main+fp.dp", "armv8.1-m.main+mve.fp+fp.dp"],
}


def space_word(rng):
    """Bits 27..0 of a word in the floating-point spaces: half data processing and
    register transfers, half loads, stores and two-register transfers."""
    low = rng.getrandbits(28) & ~0xF00 | rng.choice((9, 10, 11)) << 8
    if rng.random() < 0.5:
        return 0xE000000 | low & 0xFFFFFF
    return 0xC000000 | low & 0x1FFFFFF


def system_load_store(rng):
    """A conditional coprocessor-15 load or store of the Thumb space (the M
    profile's system registers), P, U and W not all clear."""
    while True:
        w = 0xEC000F00 | rng.getrandbits(25) & 0x1FFF0FF
        if w & 0x01A00000:
            return w


def arm_words(n, rng):
    return [rng.getrandbits(4) << 28 | space_word(rng) for _ in range(n)]


def thumb_words(n, rng, system=False):
    """First halfword 111T 11xx: T (bit 28) selects the unconditional forms; with
    `system`, a quarter are the system-register loads and stores."""
    out = []
    for _ in range(n):
        if system and rng.random() < 0.25:
            out.append(system_load_store(rng))
        else:
            out.append((0xE | rng.getrandbits(1)) << 28 | space_word(rng))
    return out


def main():
    printer = sys.argv[1]
    level = sys.argv[2] if len(sys.argv) > 2 else None
    machine = sys.argv[3] if len(sys.argv) > 3 else "arm"
    marches = sys.argv[4:] or MARCHES.get(level, MARCHES[None])
    classes_vfp.MACHINE = machine
    rng = random.Random(SEED)
    status = 0
    runs = [(False, arm_words(RANDOM, rng)), (True, thumb_words(RANDOM, rng))] if level is None else [
        (True, thumb_words(LEVEL_RANDOM, rng, system=True))]
    if level == "v8.1M_Mainline":
        # The vector extension's forms in these spaces belong to its own decoder,
        # which runs before ours at this level: they are left out.
        with tempfile.TemporaryDirectory() as work:
            raw = os.path.join(work, "mve.bin")
            sweeplib.write_raw(raw, runs[0][1], True)
            theirs = sweeplib.objdump_texts(raw, machine, True)
        kept = [w for i, w in enumerate(runs[0][1]) if not classes_vfp.mve_form(theirs.get(i * 4, ""))]
        print(f"{len(runs[0][1]) - len(kept)} words objdump reads as vector-extension forms left out")
        runs = [(True, kept)]
    for thumb, items in runs:
        print("Thumb:" if thumb else "A32:")
        status |= sweeplib.run_sweep(items, thumb, printer, level, machine, marches, classes_vfp.classify,
                                     classes_vfp.not_reassembled, TARGET, classes_vfp.outside(level, thumb), vector_aside=False)
    return status


if __name__ == "__main__":
    sys.exit(main())
