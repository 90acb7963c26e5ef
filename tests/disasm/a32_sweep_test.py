#!/usr/bin/env python3
"""Random A32 words, our decoding against arm-none-eabi-objdump's.

Usage: a32_sweep_test.py <insn_print> [<-arch name> <objdump machine>]

200,000 random words (fixed seed), and 1,000 more for each of the rarer
groups (their identifying bits fixed), go into a raw little-endian file that both
insn_print and objdump (-b binary -m arm) decode, each word at its offset. Words we
print as undefined are counted as not yet decoded and are not failures. Every word
we decode must have objdump's mnemonic (condition included) and operands (numbers
compared as 32-bit values, "sl"/"fp"/"ip" read as r10/r11/r12), unless it falls in
one of the named disagreement classes below, each with its reason. The test prints
the decoded count, the agreement rate among them and the undefined count, and fails
on any unexplained disagreement. Every decoded word but the branches must also
assemble (arm-none-eabi-as, ARMv7-A or the first later architecture that has
the form) back to the same word.
"""
import collections
import os
import random
import re
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sweeplib  # noqa: E402

TARGET = 99.5
RANDOM = 200000
SEED = 0xA32
# The rarer groups, reached by fixing their identifying bits (mask, value) in
# further random words, PER_FORM each.
PER_FORM = 1000
FORMS = [
    ("multiply", 0x0F0000F0, 0x00000090),
    ("extra load/store", 0x0E000090, 0x00000090),
    ("exclusive", 0x0F800FF0, 0x01800F90),
    ("misc", 0x0F900080, 0x01000000),
    ("movw/movt", 0x0FB00000, 0x03000000),
    ("hints", 0x0FFFFF00, 0x0320F000),
    ("media", 0x0E000010, 0x06000010),
    ("extend", 0x0F8003F0, 0x06800070),
    ("reverse", 0x0FB00F70, 0x06B00F30),
    ("bit field", 0x0F800070, 0x07800050),
    ("bfi/bfc", 0x0FE00070, 0x07C00010),
    ("saturate", 0x0FA00030, 0x06A00010),
    ("udf", 0xFFF000F0, 0xE7F000F0),
    ("barrier", 0xFFFFFF00, 0xF57FF000),
    ("pld", 0xFF70F000, 0xF550F000),
    ("blx", 0xFE000000, 0xFA000000),
    ("block", 0x0E000000, 0x08000000),
    ("stack", 0x0FFF0000, 0x092D0000),
    ("mrs/msr", 0x0F900FF0, 0x01000000),
    ("bx", 0x0FFFFF00, 0x012FFF00),
    ("push one", 0x0FFF0FFF, 0x052D0004),
    ("pop one", 0x0FFF0FFF, 0x049D0004),
    ("msr immediate", 0x0FB0F000, 0x0320F000),
    ("swp", 0x0FB00FF0, 0x01000090),
    ("cps", 0xFFF1FE20, 0xF1000000),
    ("setend", 0xFFFFFDFF, 0xF1010000),
    ("srs", 0xFE5FFFE0, 0xF84D0500),
    ("rfe", 0xFE50FFFF, 0xF8100A00),
    ("pli", 0xFF70F000, 0xF450F000),
    ("pldw", 0xFF70F000, 0xF510F000),
    ("preload register", 0xFE30F010, 0xF610F000),
    ("mrs banked", 0x0FB00EFF, 0x01000200),
    ("msr banked", 0x0FB0FEF0, 0x0120F200),
    ("smc", 0x0FFFFFF0, 0x01600070),
    ("hvc", 0xFFF000F0, 0xE1400070),
    ("eret", 0x0FFFFFFF, 0x0160006E),
    ("unprivileged halfword", 0x0F2000F0, 0x002000B0),
    ("unprivileged signed", 0x0F3000D0, 0x003000D0),
    ("acquire/release", 0x0F800DF0, 0x01800C90),
    ("coprocessor", 0x0E000000, 0x0C000000),
    ("coprocessor register", 0x0F000000, 0x0E000000),
    ("halfword multiply", 0x0F900090, 0x01000080),
    ("saturating/crc32", 0x0F9000E0, 0x01000040),
    ("parallel", 0x0F800010, 0x06000010),
    ("pack/sel", 0x0FF00010, 0x06800010),
    ("signed multiply", 0x0F800010, 0x07000010),
    ("usad8", 0x0FF000F0, 0x07800010),
]


def words():
    rng = random.Random(SEED)
    out = [rng.getrandbits(32) for _ in range(RANDOM)]
    for _, mask, value in FORMS:
        out += [(rng.getrandbits(32) & ~mask) | value for _ in range(PER_FORM)]
    return out


def objdump_texts(raw, machine):
    out = subprocess.run(["arm-none-eabi-objdump", "-D", "-b", "binary", "-m", machine, raw],
                         check=True, capture_output=True, text=True).stdout
    at = {}
    for line in out.splitlines():
        m = re.match(r"\s*([0-9a-f]+):\s+([0-9a-f]{8})\s+\t(.*)$", line)
        if m:
            at[int(m.group(1), 16)] = m.group(3)
    return at


ALIASES = {"sl": "r10", "fp": "r11", "ip": "r12", "r13": "sp", "r14": "lr", "r15": "pc",
           # objdump's older names of the barrier options
           "un": "nsh", "unst": "nshst", "sh": "ish", "shst": "ishst"}
NUMBER = re.compile(r"#?(-?)(0x[0-9a-fA-F]+|[0-9]+)\b")


def normalise(text):
    """Mnemonic and operand list: numbers as 32-bit values, objdump's register
    aliases and comments removed."""
    text = text.split("@")[0].split(";")[0].strip()
    parts = text.split(None, 1)
    if not parts:
        return "", []
    mnemonic = parts[0]
    rest = parts[1] if len(parts) > 1 else ""
    ops = [o.strip() for o in re.split(r",(?![^{]*})", rest) if o.strip()]
    out = []
    for o in ops:
        o = re.sub(r"\b(sl|fp|ip|r13|r14|r15|un|unst|sh|shst)\b", lambda m: ALIASES[m.group(1)], o)
        o = NUMBER.sub(lambda n: "#" + str((int(n.group(2), 0) * (-1 if n.group(1) else 1)) & 0xFFFFFFFF)
                       if n.group(0).startswith("#") else str(int(n.group(2), 0)), o)
        # objdump writes some rotations in capitals ("ROR #24")
        out.append(o.replace(" ", "").lower())
    return mnemonic, out


def bare_numbers(ops):
    # objdump writes branch targets, svc and bkpt numbers without "#".
    return [o.lstrip("#") if re.fullmatch(r"#\d+", o) else o for o in ops]


def disagreement_class(ours, theirs):
    """The named classes where our text differs from objdump's on purpose; None
    when the difference is a fault."""
    if theirs.startswith("nop") and "(mov r0, r0)" in theirs and ours == "mov r0, r0":
        return "objdump's nop for mov r0, r0"
    if re.match(r"nop\w*\s*\{0\}", theirs) and ours.split()[0].startswith("nop"):
        return "objdump's hint number on nop"
    if re.match(r"(ldc|stc)l?\w* p15,", ours) and re.match(r"v(ldr|str)", theirs):
        # objdump reads coprocessor 15's loads and stores as the M-profile system-register
        # VLDR/VSTR even in A32, which has no such forms; the generic text assembles back
        return "coprocessor 15 transfers read as system registers"
    return sweeplib.coprocessor_class(ours, theirs)


def pc_relative(text):
    # branches: their absolute targets need a placed section
    return bool(BRANCH.match(text))


def main():
    printer = sys.argv[1]
    level = sys.argv[2] if len(sys.argv) > 2 else None
    machine = sys.argv[3] if len(sys.argv) > 3 else "arm"
    # ARMv7 with the divides and the security and virtualization calls; CRC32 at
    # ARMv8-A, which no longer has SWP; ARMv8.2-A for ESB.
    marches = ["armv7ve", "armv8-a+crc", "armv8.2-a"]
    return sweeplib.run_sweep(words(), False, printer, level, machine, marches, disagreement_class, pc_relative,
                              TARGET)


BRANCH = re.compile(r"^(b|bl|blx)(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?\s+0x")


if __name__ == "__main__":
    sys.exit(main())
