#!/usr/bin/env python3
"""Every instruction of real code, our decoding against arm-none-eabi-objdump -d.

Usage: objdump_diff_test.py <code_list> <source dir> [--vector] [--every N]

The code is that of the disassembler fixtures (the instruction corpus of every
family) and of every member of libc.a and libm.a of newlib's core-only variants. For
each code section both listings must have the same instruction boundaries and the
same split into code and data; each instruction the same mnemonic with its
condition, width qualifier and type suffixes and the same operands, numbers compared
as numbers and branch targets as addresses. Each remaining difference must fall in
a named class (CLASSES here and those of each family's classes_*.py), and the test
prints the agreement count.

Then every instruction we print, apart from the PC-relative ones whose targets are
compared above and those the file output writes raw, is assembled alone by
arm-none-eabi-as for the variant's architecture (an instruction of an IT block
together with its IT instruction) and must give back its bytes.

--vector reads libc.a, libm.a and libstdc++.a of the eleven hard-float variants
instead, whose code holds the floating-point and vector forms.
--every N takes every Nth member of each library.
"""
import collections
import glob
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sweeplib  # noqa: E402
import t32_sweep_test  # noqa: E402

NEWLIB = "/usr/lib/arm-none-eabi/newlib"
# (variant, our -arch level, the assembler's architecture)
VARIANTS = [
    ("", "v4T", "armv4t"),
    ("arm/v5te/softfp", "v5TE", "armv5te -mfpu=vfpv2"),
    ("thumb/nofp", "v4T", "armv4t"),
    # The assembler writes "nop" as the old register move before v7: ARMv6-M and
    # ARMv8-M baseline code is assembled for their mainline neighbours.
    ("thumb/v6-m/nofp", "v6M", "armv7-m"),
    ("thumb/v7-m/nofp", "v7M", "armv7-m"),
    ("thumb/v7/nofp", "v7A", "armv7-a"),
    ("thumb/v7-a/nofp", "v7A", "armv7-a"),
    ("thumb/v8-a/nofp", "v8A", "armv8-a"),
    ("thumb/v8-m.base/nofp", "v8M_Baseline", "armv8-m.main"),
    ("thumb/v8-m.main/nofp", "v8M_Mainline", "armv8-m.main"),
]
# The hard-float variants, whose code has the floating-point and vector forms:
# (variant, our -arch level, the assembler's architecture).
VECTOR_VARIANTS = [
    ("arm/v5te/hard", "v5TE", "armv5te -mfpu=vfpv2"),
    ("thumb/v7+fp/hard", "v7A", "armv7-a -mfpu=vfpv3-d16"),
    ("thumb/v7-a+simd/hard", "v7A", "armv7-a -mfpu=neon-vfpv4"),
    ("thumb/v7ve+simd/hard", "v7A", "armv7ve -mfpu=neon-vfpv4"),
    ("thumb/v8-a+simd/hard", "v8A", "armv8-a -mfpu=crypto-neon-fp-armv8"),
    ("thumb/v7-r+fp.sp/hard", "v7R", "armv7-r -mfpu=vfpv3xd"),
    ("thumb/v7e-m+fp/hard", "v7EM", "armv7e-m -mfpu=fpv4-sp-d16"),
    ("thumb/v7e-m+dp/hard", "v7EM", "armv7e-m -mfpu=fpv5-d16"),
    ("thumb/v8-m.main+fp/hard", "v8M_Mainline", "armv8-m.main+dsp -mfpu=fpv5-sp-d16"),
    ("thumb/v8-m.main+dp/hard", "v8M_Mainline", "armv8-m.main+dsp -mfpu=fpv5-d16"),
    ("thumb/v8.1-m.main+mve/hard", "v8.1M_Mainline", "armv8.1-m.main+mve.fp+fp.dp"),
]
VECTOR_LIBRARIES = ("libc.a", "libm.a", "libstdc++.a")
# (fixture, level, assembler architecture: alternatives separated by "|" are tried in
# turn for what the one before refuses)
FIXTURES = [
    ("tests/fixtures/disasm/a32.o", "-", "armv7ve"),
    ("tests/fixtures/disasm/a32-v4t.o", "v4T", "armv4t"),
    ("tests/fixtures/disasm/a32-v5te.o", "v5TE", "armv5te -mfpu=vfpv2"),
    ("tests/fixtures/disasm/a32-v6.o", "v6", "armv6"),
    ("tests/fixtures/disasm/a32-v8.o", "v8A", "armv8-a+crc -mfpu=crypto-neon-fp-armv8"),
    ("tests/fixtures/disasm/t16-v6m.o", "v6M", "armv7-m"),
    ("tests/fixtures/disasm/t32-v7m.o", "v7M", "armv7-m"),
    ("tests/fixtures/disasm/t32-v7em.o", "v7EM", "armv7e-m -mfpu=fpv5-d16"),
    ("tests/fixtures/disasm/t32-v8m-base.o", "v8M_Baseline", "armv8-m.main"),
    ("tests/fixtures/disasm/t32-v8m-main.o", "v8M_Mainline", "armv8-m.main+dsp -mfpu=fpv5-sp-d16"),
    ("tests/fixtures/disasm/t32-v81m.o", "v8.1M_Mainline", "armv8.1-m.main+mve.fp+fp.dp+pacbti"),
    ("tests/fixtures/disasm/mixed.o", "-", "armv7-a"),
    ("tests/fixtures/elf/thumb.o", "v7M", "armv7-m"),
    ("tests/fixtures/disasm/it-blocks.o", "v7M", "armv7-m"),
    ("tests/fixtures/disasm/conditions.o", "v7A", "armv7-a"),
    ("tests/fixtures/disasm/registers.o", "v7A", "armv7-a"),
    # The floating-point and vector corpus: every form, size and type of each family.
    ("tests/fixtures/disasm/vector-neon.o", "-", "armv8.6-a+crypto+fp16+fp16fml"),
    ("tests/fixtures/disasm/vector-neon-memory.o", "v7A", "armv7-a -mfpu=neon"),
    ("tests/fixtures/disasm/vector-dot.o", "v8A", "armv8.6-a+crypto+fp16+fp16fml+i8mm"),
    ("tests/fixtures/disasm/vector-vfp.o", "-", "armv8.6-a+crypto+fp16+fp16fml"),
    ("tests/fixtures/disasm/vector-vfp.o", "v8A", "armv8.6-a+crypto+fp16+fp16fml"),
    # Without the vector extension the assembler writes "vcvtn.s32.f64" as VCVT toward
    # zero; with it only, it takes the vector extension's system registers.
    ("tests/fixtures/disasm/vector-vfp-m.o", "v8.1M_Mainline", "armv8.1-m.main+fp.dp|armv8.1-m.main+mve.fp+fp.dp"),
    ("tests/fixtures/disasm/vector-mve.o", "v8.1M_Mainline", "armv8.1-m.main+mve.fp+fp.dp"),
]

BRANCH = re.compile(r"^(b|bl|blx|bx|cbz|cbnz|bf|bfl|bfx|bflx|bfcsel|wls|wlstp|dls|dlstp|le|letp)"
                    r"(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le|al)?(\.\w+)?$")
CONDITIONS = "eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le"


# Objects whose architecture objdump does not take from their attributes in full: the
# machine to read them with.
OBJDUMP_MACHINE = {"tests/fixtures/disasm/t32-v81m.o": "armv8.1-m.main",
                   "tests/fixtures/disasm/vector-vfp-m.o": "armv8.1-m.main",
                   "tests/fixtures/disasm/vector-mve.o": "armv8.1-m.main",
                   "thumb/v8.1-m.main+mve/hard": "armv8.1-m.main"}


def objdump_listing(files, machine=None):
    """{(file, section): {address: (kind, encoding, text)}} from objdump -dz."""
    out = {}
    extra = ["-m", machine] if machine else []
    for at in range(0, len(files), 400):
        text = subprocess.run(["arm-none-eabi-objdump", "-dz"] + extra + files[at:at + 400], capture_output=True,
                              text=True).stdout
        current = section = None
        for line in text.splitlines():
            m = re.match(r"^(\S.*):\s+file format", line)
            if m:
                current = m.group(1)
                continue
            m = re.match(r"^Disassembly of section (\S+):", line)
            if m:
                section = out.setdefault((current, m.group(1)), {})
                continue
            m = re.match(r"^\s*([0-9a-f]+):\t([0-9a-f]{4} [0-9a-f]{4}|[0-9a-f]{8}|[0-9a-f]{4}|[0-9a-f]{2})\s*\t(.*)$",
                         line)
            if m and section is not None:
                text_ = m.group(3).strip()
                kind = "data" if text_.startswith(".") else "code"
                section[int(m.group(1), 16)] = (kind, m.group(2).replace(" ", ""), text_)
                continue
            # data that no mapping symbol marks: a row of bytes in halfword groups
            m = re.match(r"^\s*([0-9a-f]+):\t((?:[0-9a-f]{4} ){3,}[0-9a-f ]*)\s", line)
            if m and section is not None:
                start, size = int(m.group(1), 16), len(m.group(2).replace(" ", "")) // 2
                for a in range(start, start + size, 4):
                    section[a] = ("data", "", ".bytes")
    return out


def our_listing(code_list, level, files):
    """The same shape from code_list, with the instruction set of each line."""
    out = {}
    for at in range(0, len(files), 400):
        r = subprocess.run([code_list, level] + files[at:at + 400], capture_output=True, text=True)
        current = section = None
        thumb = False
        for line in r.stdout.splitlines():
            if line.startswith("=== "):
                current = line[4:]
                continue
            if line.startswith("--- "):
                section = out.setdefault((current, line[4:]), {})
                thumb = False
                continue
            if line in ("\t.thumb", "\t.arm"):
                thumb = line == "\t.thumb"
                continue
            m = re.match(r"^([0-9A-F]{8})  (\S+)\s+(.*)$", line)
            if m and section is not None:
                section[int(m.group(1), 16)] = ("code", m.group(2), m.group(3).strip(), thumb)
                continue
            m = re.match(r"^([0-9A-F]{8})\t(\..*)$", line)
            if m and section is not None:
                section[int(m.group(1), 16)] = ("data", "", m.group(2).strip(), thumb)
    return out


def theirs_normalised(text):
    text = re.sub(r"\s*<[^>]*>", "", text.split("@")[0].split(";")[0]).strip()
    parts = text.split()
    if parts and BRANCH.match(re.sub(r"\.n$", "", parts[0])):
        # objdump writes branch targets in hexadecimal without a prefix
        text = re.sub(r"([\s,])([0-9a-f]+)$", r"\g<1>0x\2", text)
    mnemonic, ops = sweeplib.normalise(text)
    return re.sub(r"\.n$", "", mnemonic), ops


def ours_normalised(text):
    # A long symbol name can fill the text buffer, which cuts the line before its ">".
    return sweeplib.normalise(re.sub(r"\s*<[^>]*(>|$)", "", text))


def _target(text):
    m = re.search(r"(?:0x)?([0-9a-fA-F]+)(?:\s*<[^>]*>?)?\s*$", text.split("@")[0])
    return int(m.group(1), 16) if m else None


def _relocated_branch(ours, theirs, address):
    # In an object a call or branch to another symbol holds the relocation's addend:
    # we print the destination the bytes encode (the instruction itself, or just
    # before it), named after the relocation's symbol for calls; objdump prints the
    # symbol's own value.
    m1, m2 = ours.split()[0], re.sub(r"\.n$", "", theirs.split()[0])
    return (m1 == m2 and BRANCH.match(m1) is not None and "<" in theirs
            and _target(ours) is not None and abs(_target(ours) - address) <= 8)


# Named classes of difference: (name, reason, test on our text, objdump's text and
# the instruction's address).
CLASSES = [
    ("relocated branch", "in an object a branch or call to another symbol shows the destination its bytes "
     "encode (the relocation's addend), objdump the symbol's value", _relocated_branch),
    ("negs", "objdump's alias \"negs\" for the reverse subtraction from zero, which we print as "
     "\"rsbs rd, rn, #0\"", lambda o, t, a: t.startswith("neg") and o.startswith("rsb") and o.endswith("#0")),
    ("nop (mov)", "objdump names the moves of r8 to itself (16-bit) and r0 to itself (A32) \"nop\"; we "
     "print the move they are (the assembler's nop before the hint existed)",
     lambda o, t, a: o in ("mov r8, r8", "mov r0, r0") and ("(mov r8, r8)" in t or "(mov r0, r0)" in t)),
    ("nop {0}", "objdump adds the hint number where the object's architecture predates the hint",
     lambda o, t, a: o == "nop" and re.match(r"nop\s+\{0\}", t) is not None),
    ("mul", "the 16-bit multiply is printed in its three-operand unified form, objdump drops the repeated "
     "destination", lambda o, t, a: o.startswith("mul") and t.startswith("mul") and _repeats_destination(o, t)),
    ("movs.w shifts", "objdump writes the flag-setting 32-bit shifts as \"movs.w rd, rm, <shift> #n\", which "
     "the assembler refuses with the width", lambda o, t, a: sweeplib.thumb_shift_class(o, t) is not None),
    ("legacy coprocessor names", "objdump names the transfers of the old FPA and Maverick coprocessors after those "
     "units; we print the generic form, which assembles to the same word",
     lambda o, t, a: sweeplib.coprocessor_class(o, t) is not None),
    ("Thumb sweep classes", "the differences the 32-bit Thumb sweep names, each with its reason there (APSR for "
     "CPSR, branch points as addresses, ...)", lambda o, t, a: t32_sweep_test.disagreement_class(o, t) is not None),
    ("branch future in an object", "objdump writes BFCSEL's branch point and else target as offsets",
     lambda o, t, a: o.startswith("bfcsel") and t.startswith("bfcsel")),
    ("BFX, BFLX", "left undefined: objdump reading raw bytes calls their encodings undefined (it reads them in "
     "objects); the Thumb sweep follows the raw reading", lambda o, t, a: o == "undefined opcode"
     and re.match(r"bfl?x\s", t) is not None),
    ("coprocessor 9 unconditional", "the unconditional encodings of coprocessors 8, 9, 12 and 13 are left to "
     "the vector decoder (ARMv8 took them)", lambda o, t, a: o == "undefined opcode"
     and re.match(r"(mcrr2|mrrc2|ldc2|stc2|cdp2|mcr2|mrc2)l?\s+(8|9|12|13),", t) is not None),
    ("[pc, #0]", "a PC-relative load with offset 0 keeps its \"#0\" (the bracket form always shows the "
     "offset); objdump drops it", lambda o, t, a: "[pc, #0]" in o and "[pc]" in t),
]


def _repeats_destination(ours, theirs):
    a, b = sweeplib.normalise(ours), sweeplib.normalise(theirs)
    return a[0] == b[0] and len(a[1]) == 3 and a[1][:2] == b[1] and a[1][2] == a[1][0]


def classify(ours, theirs, address):
    for name, _, test in CLASSES:
        if test(ours, theirs, address):
            return name
    return None


def pc_relative(text):
    m = text.split()[0] if text.split() else ""
    return bool(BRANCH.match(m)) and not m.startswith("bx") or "[pc" in text or m.startswith("adr")


# ADDS/SUBS Rd, Rd, #imm3 (16-bit) has a twin with an 8-bit immediate that the
# assembler prefers; the file output writes these as .inst.n to keep the bytes.
IMM3_TWIN = re.compile(r"^(adds|subs) (r[0-7]), \2, #[0-7]$")


def round_trip_items(section):
    """(expected bytes, text, thumb) for every decoded, non PC-relative instruction;
    an IT or VPT block goes as one item with its IT, VPT or VPST instruction."""
    items = []
    addresses = sorted(section)
    k = 0
    while k < len(addresses):
        kind, enc, text, thumb = section[addresses[k]]
        k += 1
        if kind != "code" or "undefined opcode" in text or sweeplib.kept_raw(text):
            continue
        # an IT or VPT/VPST block goes with the instructions it predicates
        m = re.match(r"^(?:it|vpt|vpst)([te]*)(\s|\.|$)", text)
        if thumb and m:
            group = [(enc, text)]
            for _ in range(1 + len(m.group(1))):
                if k < len(addresses) and section[addresses[k]][0] == "code":
                    group.append(section[addresses[k]][1:3])
                    k += 1
            if any("undefined opcode" in t or sweeplib.kept_raw(t) or pc_relative(t) for _, t in group[1:]):
                continue
            data = b"".join(sweeplib.encoding_bytes(int(e, 16), True, len(e) // 2) for e, _ in group)
            items.append((data, "\n".join(t for _, t in group), True))
            continue
        if pc_relative(text):
            continue
        items.append((sweeplib.encoding_bytes(int(enc, 16), thumb, len(enc) // 2), text, thumb))
    return items


DATA_SIZE = {".word": 4, ".short": 2, ".byte": 1, ".bytes": 4}


def data_bytes(section):
    """The addresses of the data bytes of a listed section."""
    covered = set()
    for address, entry in section.items():
        if entry[0] == "data":
            covered.update(range(address, address + DATA_SIZE.get(entry[2].split()[0], 4)))
    return covered


def compare(name, level, ours, theirs, stats, classes, examples):
    """Code is compared instruction by instruction; data by the bytes it covers (the
    two split a data stretch into units differently, both by what is left)."""
    def unexplained(cls, member, address, a, b):
        classes["UNEXPLAINED " + cls] += 1
        examples.setdefault("UNEXPLAINED " + cls, (name, member, address, a, b))

    for key in sorted(set(ours) | set(theirs)):
        mine, other = ours.get(key, {}), theirs.get(key, {})
        our_data, their_data = data_bytes(mine), data_bytes(other)
        stats["data bytes"] += len(our_data)
        for address in sorted(our_data ^ their_data):
            if address not in our_data and address in other and other[address][0] == "data":
                unexplained("code/data split", key[0], address, mine.get(address), other.get(address))
        code = {a for a, e in mine.items() if e[0] == "code"} | {a for a, e in other.items() if e[0] == "code"}
        for address in sorted(code):
            a, b = mine.get(address), other.get(address)
            if a is None or b is None or a[0] != b[0]:
                split = (a is None and address in our_data) or (b is None and address in their_data)
                unexplained("code/data split" if split or (a and b) else "boundary", key[0], address, a, b)
                continue
            stats["instructions"] += 1
            stats["fp/vector"] += sweeplib.fp_vector(b[2])
            if ours_normalised(a[2]) == theirs_normalised(b[2]) or (
                    a[2] == "undefined opcode" and sweeplib.is_undefined(b[2])):
                stats["agree"] += 1
                continue
            if (a[2] == "undefined opcode" and level in ("v6M", "v8M_Baseline") and len(a[1]) == 8
                    and not sweeplib.baseline_allows(int(a[1], 16), level)):
                # the baseline levels have a fixed, short list of 32-bit encodings
                # (not the divides, for one), whatever the object's own attributes say
                stats["classed"] += 1
                classes["outside the level's 32-bit set"] += 1
                continue
            cls = classify(a[2], b[2], address)
            if cls:
                stats["classed"] += 1
                classes[cls] += 1
                continue
            m1 = a[2].split()[0] if a[2].split() else "?"
            m2 = b[2].split()[0] if b[2].split() else "?"
            unexplained(f"{m1} vs {m2}", key[0], address, a, b)


def family_classes():
    """The named classes of the floating-point and vector decoders, one classes_*.py
    module per family, as (name, reason, test(ours, theirs, address))."""
    here = os.path.dirname(os.path.abspath(__file__))
    out = []
    for path in sorted(glob.glob(os.path.join(here, "classes_*.py"))):
        module = __import__(os.path.basename(path)[:-3])
        out += [(name, reason, lambda o, t, a, test=test: test(o, t)) for name, reason, test in module.CLASSES]
    return out


def main():
    code_list, source = sys.argv[1], sys.argv[2]
    vector = "--vector" in sys.argv
    # --every N: every Nth member of each library (the vector run's sample)
    every = int(sys.argv[sys.argv.index("--every") + 1]) if "--every" in sys.argv else 1
    CLASSES.extend(family_classes())
    stats = collections.Counter()
    classes = collections.Counter()
    examples = {}
    round_trip = collections.Counter()
    trip_failures = []

    def run(name, level, march, files):
        ours = our_listing(code_list, level, files)
        theirs = objdump_listing(files, OBJDUMP_MACHINE.get(name, OBJDUMP_MACHINE.get(os.path.dirname(name))))
        compare(name, level, ours, theirs, stats, classes, examples)
        seen = set()
        items = {True: [], False: []}
        for section in ours.values():
            for data, text, thumb in round_trip_items(section):
                if (data, text, thumb) not in seen:
                    seen.add((data, text, thumb))
                    items[thumb].append((data, text))
        for thumb in (False, True):
            if items[thumb]:
                failures = sweeplib.reassemble(items[thumb], thumb, march.split("|"))
                round_trip["distinct"] += len(items[thumb])
                for f in failures:
                    if thumb and len(f[0]) == 2 and IMM3_TWIN.match(f[1]):
                        round_trip["imm3 twin"] += 1
                    else:
                        trip_failures.append((name, march) + f)

    if not vector:
        for path, level, march in FIXTURES:
            run(path, level, march, [os.path.join(source, path)])
    for variant, level, march in (VECTOR_VARIANTS if vector else VARIANTS):
        for library in (VECTOR_LIBRARIES if vector else ("libc.a", "libm.a")):
            archive = os.path.join(NEWLIB, variant, library)
            if not os.path.exists(archive):
                print(f"missing {archive}")
                return 1
            with tempfile.TemporaryDirectory() as work:
                subprocess.run(["arm-none-eabi-ar", "x", archive], cwd=work, check=True)
                files = sorted(glob.glob(os.path.join(work, "*.o")))[::every]
                stats["members"] += len(files)
                run(f"{variant or '.'}/{library}", level, march, files)

    unexplained = sum(n for c, n in classes.items() if c.startswith("UNEXPLAINED"))
    print(f"members {stats['members']}, instructions compared {stats['instructions']} "
          f"({stats['fp/vector']} floating-point and vector ones), "
          f"agree {stats['agree']}, differ in a named class {stats['classed']}, unexplained {unexplained}; "
          f"data bytes {stats['data bytes']}")
    for name, reason, _ in CLASSES + [("outside the level's 32-bit set", "ARMv6-M and ARMv8-M baseline decode "
                                       "a fixed list of 32-bit encodings only", None)]:
        if classes[name]:
            print(f"  {classes[name]:7d}  {name}: {reason}")
    for cls, n in classes.most_common():
        if cls.startswith("UNEXPLAINED"):
            where, member, address, a, b = examples[cls]
            print(f"  {n:7d}  {cls}   e.g. {where} {os.path.basename(member)} {address:#x}: ours {a} / objdump {b}")
    print(f"round trip: {round_trip['distinct'] - len(trip_failures) - round_trip['imm3 twin']} of "
          f"{round_trip['distinct']} distinct instructions (PC-relative ones aside) assemble back to their bytes; "
          f"{round_trip['imm3 twin']} are ADDS/SUBS Rd, Rd, #imm3, which the assembler gives its 8-bit twin "
          f"(the file output writes them raw)")
    for where, march, data, text, why in trip_failures[:30]:
        print(f"  {where} ({march}): {data.hex()} '{text}': {why}")
    return 0 if not unexplained and not trip_failures else 1


if __name__ == "__main__":
    sys.exit(main())
