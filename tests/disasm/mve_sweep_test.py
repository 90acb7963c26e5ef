#!/usr/bin/env python3
"""Random 32-bit Thumb words of the coprocessor and vector spaces (first halfwords
0xEC00-0xEFFF and 0xFC00-0xFFFF) at v8.1-M, our decoding against
arm-none-eabi-objdump -m armv8.1-m.main.

Usage: mve_sweep_test.py <insn_print>

RANDOM words spread over the whole space and PER_FORM more for each MVE encoding
group (its identifying bits fixed), fixed seed. The space is shared: the
floating-point unit's forms (single and double registers, VMRS/VMSR, the system
register loads and stores, the multiples) and the generic coprocessor forms are
other decoders' and are counted apart. For every other word that objdump decodes
we must print the same mnemonic and operands or differ in a named class of
classes_mve.py; we must decode nothing that objdump calls undefined unless a class
names it; every text we decode must assemble back to its bytes: with
arm-none-eabi-as, or, for the forms that it encodes wrongly (VCVTB/VCVTT, whose
registers it doubles, and VQSHRN/VQSHRUN, which it writes as their rounding
twins), with llvm-mc, which gives the architecture's bytes.
"""
import os
import random
import re
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sweeplib  # noqa: E402
import classes_mve  # noqa: E402
import classes_vector  # noqa: E402

TARGET = 99.5
RANDOM = 200000
PER_FORM = 3000
SEED = 0x4D5645
LEVEL = "v8.1M_Mainline"
MACHINE = "armv8.1-m.main"
MARCH = "armv8.1-m.main+mve.fp+fp.dp"
# (group, mask, value) over first halfword << 16 | second halfword.
FORMS = [
    ("loads and stores", 0xEE000E00, 0xEC000E00),
    ("gathers and scatters", 0xEF801E00, 0xEC800E00),
    ("vector base", 0xFF401E80, 0xFD001E00),
    ("interleaving", 0xFF801E1E, 0xFC801E00),
    ("two lanes", 0xFFE01FE0, 0xEC000F00),
    ("1110 data processing", 0xEF000E00, 0xEE000E00),
    ("compares and predication", 0xEF810F10, 0xEE010F00),
    ("lane moves, vdup", 0xEF000F1F, 0xEE000B10),
    ("Advanced SIMD layout", 0xEF000000, 0xEF000000),
    ("complex floating point", 0xFE000800, 0xFC000800),
]
# Forms the assembler encodes wrongly: checked with llvm-mc instead.
LLVM_ONLY = re.compile(r"^(vcvt[bt]|vqshru?n[bt])[te]?\.")
FP_UNIT_NAMES = re.compile(r"^(vmrs|vmsr|vldm|vstm|vpush|vpop|vscclrm|vlldm|vlstm|fldm|fstm|fmstat|vldr|vstr)")
SCALAR_REGISTER = re.compile(r"\b[sd]\d+\b(?!\[)")


def in_space(w):
    return (w >> 16) & 0xEC00 == 0xEC00


def instructions():
    rng = random.Random(SEED)
    out = []
    while len(out) < RANDOM:
        first = rng.choice((0xEC00, 0xFC00)) | rng.getrandbits(10)
        out.append(first << 16 | rng.getrandbits(16))
    for _, mask, value in FORMS:
        for _ in range(PER_FORM):
            out.append((rng.getrandbits(32) & ~mask) | value)
    return out


def owner(w, ours, theirs):
    """Who owns a word that is not MVE's: the floating-point unit, the generic
    coprocessor forms, or None for MVE or nobody."""
    if any(MVE_TEXT.search(t) for t in (ours, theirs)):
        return None
    if (w >> 16) & 0x0F00 != 0x0F00 and (w >> 8) & 0xF < 14:
        # coprocessors 0 to 13 outside the vector space: the generic forms (objdump
        # names some after the FPA and Maverick units) and the floating-point unit's
        return "generic coprocessor" if (w >> 8) & 0xF < 8 or not fp_unit(ours, theirs) else "floating-point unit's"
    if fp_unit(ours, theirs):
        return "floating-point unit's"
    if (w >> 16) & 0xEFE0 == 0xEC40:
        return "generic coprocessor"  # MCRR(2)/MRRC(2) of coprocessors 14 and 15
    return None


# Texts of the vector extension: q registers or its lane, predication forms.
MVE_TEXT = re.compile(r"\bq\d|^vp(st|not)|^vmov\.[su]?(8|16)\s")


def fp_unit(ours, theirs):
    for text in (theirs, ours):
        m = text.split()[0] if text.split() else ""
        if FP_UNIT_NAMES.match(m) and not re.match(r"v(ld|st)r[bhwd]", m):
            return True
        # 32-bit lane moves and the single/double register forms
        if m.startswith("v") and (SCALAR_REGISTER.search(text) or re.match(r"vmov\.32\s", text)):
            return True
    return False


def outside(w):
    """Why we leave a word undefined that objdump decodes, where a rule of the
    profile says so."""
    if w & 0xFF000F1F == 0xEE000B10 and ((w >> 16) & 0xF | (w >> 3) & 0x10) >= 16:
        # the lane moves of d16 to d31: the M profile's vector registers are q0 to
        # q7 (d0 to d15); objdump and the assembler take the higher numbers
        return "lane of a register the M profile lacks"
    if (w >> 16) & 0xFF80 == 0xFE00 and (w >> 8) & 0xF == 0xD and w & 0x10 == 0:
        # VSDOT/VUDOT by element: an A-profile dot product, no form of the M profile
        return "A-profile dot product"
    return None


# The values of the 8-bit floating-point immediates.
FLOAT_VALUES = {(1 + row / 16) * 2.0 ** ((col & 3) + 1 if col < 4 else (col & 3) - 3)
                for row in range(16) for col in range(8)}


def rounded_float(text):
    """A floating-point immediate whose six-decimal text is not its value: the
    assembler refuses the rounded text, so it cannot be re-assembled."""
    m = re.search(r"#-?(\d+\.\d{6})$", text)
    return bool(m) and float(m.group(1)) not in FLOAT_VALUES


def predication_block(text):
    """A VPT/VPST text with as many predicated instructions behind it as its block
    holds, and the bytes those add; None for other texts."""
    m = re.match(r"vp(t|st)([te]*)\b", text)
    if not m:
        return None
    lines, extra = [text], b""
    for letter in "t" + m.group(2):
        lines.append(f"vadd{letter}.i32 q0, q0, q0")
        extra += struct.pack("<HH", 0xEF20, 0x0840)
    return "\n".join(lines), extra


def llvm_reassemble(picked):
    """(bytes, text) pairs through llvm-mc; the failures as in sweeplib.reassemble."""
    failures = []
    src = "\n".join(t for _, t in picked) + "\n"
    r = subprocess.run(["llvm-mc", "-triple=thumbv8.1m.main-none-eabi", "-mattr=+mve.fp,+fp64", "-show-encoding"],
                       input=src, capture_output=True, text=True)
    got = [bytes(int(x, 16) for x in m.group(1).split(","))
           for m in re.finditer(r"encoding: \[([^\]]*)\]", r.stdout)]
    if len(got) != len(picked):
        return [(b, t, "llvm-mc: " + r.stderr.strip()[:200]) for b, t in picked]
    for (b, t), back in zip(picked, got):
        if back != b:
            failures.append((b, t, "llvm-mc gives " + back.hex()))
    return failures


def main():
    printer = sys.argv[1]
    items = instructions()
    with tempfile.TemporaryDirectory() as work:
        raw = os.path.join(work, "all.bin")
        sweeplib.write_raw(raw, items, True)
        out = subprocess.run([printer, raw, "thumb", LEVEL], check=True, capture_output=True, text=True).stdout
        theirs = sweeplib.objdump_texts(raw, MACHINE, True)
    ours = [line.partition("\t")[2] for line in out.splitlines()]
    mine, aside = [], {}
    for i, w in enumerate(items):
        who = owner(w, ours[i], theirs.get(i * 4, ""))
        if who:
            aside[who] = aside.get(who, 0) + 1
        else:
            mine.append(w)
    print(f"{len(items)} words; set aside as other decoders': "
          + ", ".join(f"{n} {who}" for who, n in sorted(aside.items())))
    special, rounded = [], []

    def held_back(text):
        # VPT/VPST need their block to assemble, and the forms the assembler
        # mis-encodes go to llvm-mc: both are re-assembled below.
        if predication_block(text) or LLVM_ONLY.match(text):
            special.append(text)
            return True
        # The reserved sizes ("??", ".???") are no assembler's text: the file
        # output keeps their bytes.
        if "??" in text:
            return True
        if rounded_float(text):
            rounded.append(text)
            return True
        return False

    def classify(ours, theirs):
        # objdump reads the A-profile dot products and the like in coprocessor 13 at
        # every machine; the M profile has the generic forms there.
        for name, _, test in classes_vector.LEVEL_CLASSES:
            if test(ours, theirs):
                return name
        return classes_mve.classify(ours, theirs)

    status = sweeplib.run_sweep(mine, True, printer, LEVEL, MACHINE, [MARCH], classify, held_back,
                                TARGET, outside, vector_aside=False)
    by_text = {t: w for w, t in zip(items, ours)}
    blocks, llvm = [], []
    for text in dict.fromkeys(special):
        b = sweeplib.encoding_bytes(by_text[text], True, 4)
        block = predication_block(text)
        if block:
            blocks.append((b + block[1], block[0]))
        else:
            llvm.append((b, text))
    failures = sweeplib.reassemble(blocks, True, [MARCH]) + llvm_reassemble(llvm)
    print(f"re-assembled apart: {len(blocks)} VPT/VPST blocks with arm-none-eabi-as, {len(llvm)} texts with "
          f"llvm-mc; {len(failures)} failures; {len(rounded)} floating-point immediates whose six-decimal text "
          f"rounds their value are not re-assembled")
    for b, t, why in failures[:20]:
        print(f"  {b.hex()} '{t}': {why}")
    return 1 if failures else status


if __name__ == "__main__":
    sys.exit(main())
