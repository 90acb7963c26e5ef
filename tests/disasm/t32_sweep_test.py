#!/usr/bin/env python3
"""Random 32-bit Thumb instructions, our decoding against arm-none-eabi-objdump's.

Usage: t32_sweep_test.py <insn_print> [<-arch name> <objdump machine> <as -march>...]

200,000 random instructions of the core space (fixed seed; the floating-point
and vector spaces, coprocessors 8 to 15, are left out), and PER_FORM more for each
encoding group (its identifying bits fixed), go into a raw file that insn_print
and objdump (-M force-thumb) both decode, each instruction alone at its offset.

For every instruction that objdump decodes, we must print the same mnemonic
(condition and ".w" included) and the same operands (numbers compared as 32-bit
values, objdump's register aliases read as ours), unless the pair falls in one of
the named classes below, each with its reason. We must decode nothing that objdump
calls undefined. The test prints the agreement rate over objdump's decoded
instructions and fails under TARGET, or on any instruction that we decode and
objdump does not.

Every decoded instruction but the PC-relative ones (branches, whose targets are
compared above as addresses) must also assemble alone, with arm-none-eabi-as for
one of the given architectures, back to the same bytes.
"""
import os
import random
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sweeplib  # noqa: E402

TARGET = 99.5
RANDOM = 200000
SEED = 0x7232
PER_FORM = 2000
# (group, mask, value) over first halfword << 16 | second halfword.
FORMS = [
    ("modified immediate", 0xFA008000, 0xF0000000),
    ("plain immediate", 0xFA008000, 0xF2000000),
    ("shifted register", 0xFE000000, 0xEA000000),
    ("long shift, select", 0xFFF00000, 0xEA500000),
    ("register", 0xFF00F000, 0xFA00F000),
    ("multiply", 0xFF800000, 0xFB000000),
    ("long multiply, divide", 0xFF800000, 0xFB800000),
    ("load/store multiple", 0xFE400000, 0xE8000000),
    ("dual, exclusive", 0xFE400000, 0xE8400000),
    ("load/store single", 0xFE000000, 0xF8000000),
    ("branch, control", 0xF8008000, 0xF0008000),
    ("hints, barriers", 0xFFEFD000, 0xF3AF8000),
    ("msr", 0xFFE0D000, 0xF3808000),
    ("mrs", 0xFFE0D000, 0xF3E08000),
    ("loops", 0xF800C001, 0xF000C001),
    ("branch future", 0xF800F001, 0xF000E001),
    ("coprocessor", 0xEC000000, 0xEC000000),
]


def core_space(w):
    first = w >> 16
    if (first >> 11) < 0x1D:
        return False
    if (first & 0xEC00) == 0xEC00:
        # the generic coprocessors; 8 to 15 hold the floating-point and vector forms
        return ((w >> 8) & 0xF) < 8
    if (first & 0xFF10) == 0xF900:  # vector element and structure loads and stores
        return False
    return True


def instructions():
    rng = random.Random(SEED)
    out = []
    while len(out) < RANDOM:
        w = ((0x1D + rng.randrange(3)) << 27) | rng.getrandbits(27)
        if core_space(w):
            out.append(w)
    for _, mask, value in FORMS:
        n = 0
        while n < PER_FORM:
            w = (rng.getrandbits(32) & ~mask) | value
            if core_space(w):
                out.append(w)
                n += 1
    return out


PC_RELATIVE = re.compile(r"^(b|bl|blx|bf|bfl|bfx|bflx|bfcsel|wls|wlstp|le|letp|dls|dlstp)"
                         r"(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?(\.\w+)?\s")


def pc_relative(text):
    # branches, and loads and preloads from the literal pool
    return bool(PC_RELATIVE.match(text + " ")) or "[pc" in text


_MASK = re.compile(r"_(nzcvqg|nzcvq|g)$")
# objdump's names for the APSR fields written by MSR, and ours, which the assembler takes.
_APSR_FIELDS = {"cpsr_f": "apsr_nzcvq", "cpsr_s": "apsr_g", "cpsr_fs": "apsr_nzcvqg"}


def disagreement_class(ours, theirs):
    """The named classes where our text differs from objdump's on purpose; None
    when the difference is a fault."""
    named = sweeplib.coprocessor_class(ours, theirs)
    if named:
        return named
    if M_PROFILE_MACHINE and sweeplib.COPROCESSOR.match(ours) and "UNDEFINED" in theirs:
        # objdump reading raw bytes for an M-profile machine calls the conditional
        # coprocessor forms undefined; reading an object built for the same
        # architecture it decodes them, and the assembler takes them (the re-assembly
        # checks ours)
        return "coprocessor forms on a raw M-profile read"
    if re.match(r"cdp2? p[12],", ours) and "<illegal" in theirs:
        # objdump's FPA names for coprocessors 1 and 2 fail on some precisions
        return "legacy coprocessor names"
    named = sweeplib.thumb_shift_class(ours, theirs)
    if named:
        return named
    a, b = sweeplib.normalise(ours), sweeplib.normalise(theirs)
    if a[0] == b[0] == "crc32h" and a[1][1:] == b[1][1:]:
        # objdump prints the wrong destination for CRC32H; ours assembles to the word
        return "objdump's crc32h destination"
    if re.fullmatch(r"cs(inc|inv|neg)", a[0]) and a[1][-1] == "al" and "<und>" in theirs:
        # the one-register alias inverts the condition, and AL has no inverse: objdump
        # prints "<und>", we print the full form, which assembles
        return "select on AL as its full form"
    # Branch future: objdump writes the branch point (and BFCSEL's else target) as a
    # bare hex offset from the PC, which does not assemble; we write addresses.
    if a[0] in ("bf", "bfl", "bfx", "bflx", "bfcsel") and a[0] == b[0] and len(a[1]) == len(b[1]):
        keep = [1] if a[0] != "bfcsel" else [1, 3]
        if all(a[1][i] == b[1][i] for i in keep):
            return "branch point as an address"
    if a[0] in ("msr", "mrs") and a[0] == b[0]:
        ra, rb = (a[1][0], b[1][0]) if a[0] == "msr" else (a[1][1], b[1][1])
        rest_a = a[1][1:] if a[0] == "msr" else a[1][:1]
        rest_b = b[1][1:] if b[0] == "msr" else b[1][:1]
        # The flag and GE fields of MSR, and MRS of them, as "APSR": the one spelling
        # that the A- and the M-profile assembler both take for these bytes.
        if rest_a == rest_b and (_APSR_FIELDS.get(rb) == ra or (rb == "cpsr" and ra == "apsr")):
            return "APSR for CPSR"
        # M-profile: objdump drops the mask of IAPSR, EAPSR and XPSR (and calls XPSR
        # "PSR"); the assembler warns on the bare name, so the mask stays.
        if rest_a == rest_b and _MASK.sub("", ra) == {"psr": "xpsr"}.get(rb, rb):
            return "MSR mask kept"
    # LDRD/STRD with a zero offset written back: objdump leaves out the "!", and its
    # text would assemble to the plain offset form.
    if (a[0] in ("ldrd", "strd") and a[0] == b[0] and ours.endswith("]!")
            and theirs.split("@")[0].strip().endswith("]") and a[1][:2] == b[1][:2]):
        return "dual transfer written back by zero"
    # VCTP: objdump -m arm has no MVE and reads the encoding as BFCSEL.
    if a[0].startswith("vctp") and b[0] == "bfcsel":
        return "VCTP without MVE"
    # A literal load whose offset bits look like an unprivileged access: the PC base
    # makes it a literal load; objdump reads LDRT and the like.
    if "[pc" in ours and b[0] == a[0].replace(".w", "") + "t":
        return "literal load, not unprivileged"
    return None


M_PROFILE_MACHINE = False


def main():
    printer = sys.argv[1]
    level = sys.argv[2] if len(sys.argv) > 2 else None
    machine = sys.argv[3] if len(sys.argv) > 3 else "arm"
    marches = sys.argv[4:] or ["armv8.1-m.main+mve.fp+fp.dp+pacbti", "armv8-a+crc", "armv7ve", "armv8.2-a"]
    global M_PROFILE_MACHINE
    M_PROFILE_MACHINE = machine.startswith(("armv6-m", "armv6s-m", "armv7e-m", "armv8-m", "armv8.1-m"))

    def outside(w):
        if level in ("v6M", "v8M_Baseline") and not sweeplib.baseline_allows(w, level):
            # objdump reads every 32-bit encoding at these levels too
            return "not in the level's 32-bit set"
        if (w >> 16) & 0xF860 == 0xF060 and w & 0xD001 == 0xC001 and w & 0xFFFF != 0xE001:
            # BFX and BFLX have the second halfword 0xE001; objdump ignores its bits 11..1
            # (and reads 0xE001 itself as undefined), and the assembler writes 0xE001
            return "BFX, BFLX with bits that must be fixed"
        if (w >> 16) & 0xF800 == 0xF000 and w & 0xD001 == 0xC001 and (w >> 23) & 0xF == 0:
            # objdump reads BF, BFL and BFCSEL with a zero branch-point offset, which the
            # assembler refuses (the branch point lies 2 to 30 bytes on)
            return "branch future at a zero branch point"
        if (w >> 16) & 0xF87C == 0xF03C and w & 0xF001 == 0xE001 and (w >> 23) & 0xF != 0:
            # BFCSEL with condition 15, which objdump writes "<und>"
            return "BFCSEL with no condition"
        return None
    return sweeplib.run_sweep(instructions(), True, printer, level, machine, marches, disagreement_class,
                              pc_relative, TARGET, outside)


if __name__ == "__main__":
    sys.exit(main())
