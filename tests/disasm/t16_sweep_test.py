#!/usr/bin/env python3
"""Every 16-bit Thumb halfword, our decoding against arm-none-eabi-objdump's.

Usage: t16_sweep_test.py <t16_print> [<-arch name> <objdump machine>]

t16_print writes our text for each halfword 0x0000-0xE7FF (the 32-bit prefixes
excluded) at the v7-M level. The same halfwords go into a raw file that objdump
decodes as Thumb for Armv7E-M (its 16-bit set is v7-M's). An IT instruction is
followed by four NOPs in that file so its block never swallows the next tested
halfword. The test compares the mnemonics (condition suffixes and width
qualifiers included in the comparison, objdump's ".n"/".w" removed) and that we
decode nothing where objdump says undefined; it prints the agreement rate and
the disagreement classes, and fails under 99.5 %. The operands are compared
too, with numbers read as integers and branch targets taken relative to the
instruction, under the same target.
"""
import collections
import os
import re
import subprocess
import sys
import tempfile

TARGET = 99.5


def is_it(h):
    return (h & 0xFF00) == 0xBF00 and (h & 0xF) != 0


def objdump_texts(machine):
    order = []
    blob = bytearray()
    for h in range(0xE800):
        order.append((len(blob), h))
        blob += bytes((h & 0xFF, h >> 8))
        if is_it(h):
            blob += bytes((0x00, 0xBF)) * 4
    with tempfile.TemporaryDirectory() as work:
        raw = os.path.join(work, "t16.bin")
        with open(raw, "wb") as f:
            f.write(blob)
        out = subprocess.run(["arm-none-eabi-objdump", "-D", "-b", "binary", "-m", machine, "-M", "force-thumb", raw],
                             check=True, capture_output=True, text=True).stdout
    at = {}
    for line in out.splitlines():
        m = re.match(r"\s*([0-9a-f]+):\s+([0-9a-f]{4})\s+\t(.*)$", line)
        if m:
            at[int(m.group(1), 16)] = m.group(3)
    return {h: (at.get(offset, ""), offset) for offset, h in order}


UNDEFINED = ("undefined", "UNDEFINED", "unpredictable")


def their_mnemonic(text):
    if not text or any(u in text for u in UNDEFINED) or text.startswith(".") or text.startswith("<"):
        return None
    first = text.split()[0]
    first = re.sub(r"\.[nw]$", "", first)
    # objdump's names for the moves and negation that have other spellings
    if first == "nop" and "(mov r8, r8)" in text:
        return "mov"
    if first.startswith("negs") or first.startswith("neg"):
        return "rsbs" if first == "negs" else "rsb" + first[3:]
    return first


def our_mnemonic(text):
    if not text or "undefined opcode" in text or text.startswith("???"):
        return None
    return text.split()[0]


NUMBER = re.compile(r"#?(-?)(0x[0-9a-fA-F]+|[0-9]+)\b")
BRANCHES = re.compile(r"^(b|b(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)|cbn?z|bl|blx)$")
ALIASES = {"sl": "r10", "fp": "r11", "ip": "r12"}
OUR_ADDRESS = 0x1000


def operands(text, mnemonic, address):
    """The operand list with numbers as integers, branch targets relative to the
    instruction, and objdump's alternative spellings mapped onto ours."""
    text = text.split("@")[0].strip()
    parts = text.split(None, 1)
    rest = parts[1] if len(parts) > 1 else ""
    ops = [o.strip() for o in re.split(r",(?![^{]*})", rest) if o.strip()]
    out = []
    for o in ops:
        m = NUMBER.fullmatch(o.split()[0]) if o else None
        if m and not o.startswith("r"):
            v = int(m.group(2), 0) * (-1 if m.group(1) else 1)
            if BRANCHES.match(mnemonic) and o is ops[-1]:
                v -= address
            out.append(str(v))
        else:
            out.append(NUMBER.sub(lambda n: str(int(n.group(2), 0) * (-1 if n.group(1) else 1)), o).replace(" ", ""))
    return out


def their_operands(text, mnemonic, address):
    if "(mov r8, r8)" in text:
        return ["r8", "r8"]
    ops = [re.sub(r"\b(sl|fp|ip)\b", lambda m: ALIASES[m.group(1)], o) for o in operands(text, mnemonic, address)]
    first = text.split()[0] if text.split() else ""
    if first.startswith("neg"):
        ops.append("0")
    if mnemonic.startswith("mul") and len(ops) == 2:
        ops.append(ops[0])
    return ops


def main():
    printer = sys.argv[1]
    # Optional: our -arch name and objdump's machine, for sweeps at other levels.
    level = sys.argv[2] if len(sys.argv) > 2 else "v7M"
    machine = sys.argv[3] if len(sys.argv) > 3 else "armv7e-m"
    ours = {}
    out = subprocess.run([printer, level], check=True, capture_output=True, text=True).stdout
    for line in out.splitlines():
        h, _, text = line.partition("\t")
        ours[int(h, 16)] = text
    theirs = objdump_texts(machine)
    agree = 0
    operands_agree = 0
    operand_classes = collections.Counter()
    operand_examples = {}
    classes = collections.Counter()
    examples = {}
    for h in range(0xE800):
        their_text, their_address = theirs[h]
        a, b = our_mnemonic(ours.get(h, "")), their_mnemonic(their_text)
        if a == b:
            agree += 1
            if a is None:
                operands_agree += 1
                continue
            mine = operands(ours[h], a, OUR_ADDRESS)
            other = their_operands(their_text, a, their_address)
            if mine == other:
                operands_agree += 1
            else:
                operand_classes[a] += 1
                operand_examples.setdefault(a, (h, ours[h], their_text))
            continue
        key = f"{a} vs {b}"
        classes[key] += 1
        examples.setdefault(key, (h, ours.get(h, ""), their_text))
    total = 0xE800
    rate = 100.0 * agree / total
    print(f"agreement: {agree} of {total} halfwords ({rate:.3f} %)")
    for key, n in classes.most_common():
        h, o, t = examples[key]
        print(f"  {n:6d}  ours {key}   e.g. {h:04X}: '{o}' / '{t}'")
    operand_rate = 100.0 * operands_agree / total
    print(f"operands: {operands_agree} of {total} halfwords agree ({operand_rate:.3f} %)")
    for key, n in operand_classes.most_common():
        h, o, t = operand_examples[key]
        print(f"  {n:6d}  {key}   e.g. {h:04X}: '{o}' / '{t}'")
    return 0 if rate >= TARGET and operand_rate >= TARGET else 1


if __name__ == "__main__":
    sys.exit(main())
