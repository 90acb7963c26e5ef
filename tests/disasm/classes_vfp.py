"""Named differences between our floating-point texts and objdump's.

CLASSES = [(name, reason, test)]: test(ours, theirs) gets our text and objdump's raw
text and answers True only for that precise difference.
"""
import os
import re
import struct
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sweeplib  # noqa: E402

CONDITIONS = "eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le"


def _parts(text):
    """Mnemonic and operand text, objdump's comments dropped."""
    parts = text.split("@")[0].strip().split(None, 1)
    return (parts + ["", ""])[0], (parts + ["", ""])[1].strip() if len(parts) > 1 else ""


# The FLDMX/FSTMX forms on the stack pointer with writeback: our stack names, and
# the addressing-mode names objdump writes for the same words.
_STACK_NAMES = {"fldmfdx": "fldmiax", "fstmfdx": "fstmdbx", "fldmeax": "fldmdbx", "fstmeax": "fstmiax"}


def _same_mnemonic(ours, theirs):
    m = re.fullmatch(r"(fldm|fstm)(fd|ea)x(" + CONDITIONS + ")?", ours)
    if m:
        ours = _STACK_NAMES[m.group(1) + m.group(2) + "x"] + (m.group(3) or "")
    return ours == theirs


def invalid_list(ours, theirs):
    mine, other = _parts(ours), _parts(theirs)
    if not mine[1].endswith("invalid register list") or not _same_mnemonic(mine[0], other[0]):
        return False
    # objdump's impossible ranges: "{s5-s134}", "{s0-s-1}", "{d16-<overflow reg d70>}"
    base = sweeplib.normalise(ours.replace("invalid register list", ""))[1]
    return "{" in other[1] and sweeplib.normalise(theirs)[1][:len(base)] == base


def stack_names(ours, theirs):
    mine, other = _parts(ours), _parts(theirs)
    return (mine[0] != other[0] and _same_mnemonic(mine[0], other[0]) and mine[1].startswith("sp!,")
            and sweeplib.normalise(mine[0] + " " + mine[1])[1] == sweeplib.normalise(other[0] + " " + other[1])[1])


def _expand(imm8):
    """VFPExpandImm as a single: a:NOT(b):bbbbb:cdefgh and nineteen zeros."""
    a, b = imm8 >> 7 & 1, imm8 >> 6 & 1
    word = a << 31 | (b ^ 1) << 30 | (0x1F if b else 0) << 25 | (imm8 & 0x3F) << 19
    return struct.unpack("<f", struct.pack("<I", word))[0]


def immediate_value(ours, theirs):
    m = re.fullmatch(r"(vmov\S*\.f(16|32|64)) ([sd]\d+), #(-?\d+\.\d{6})", ours)
    t = re.match(r"(vmov\S*\.f(16|32|64))\s+([sd]\d+), #(\d+)\s+@ 0x[0-9a-f]+\s+(-?[0-9.]+)", theirs)
    if not m or not t or m.group(1) != t.group(1) or m.group(3) != t.group(3):
        return False
    value = _expand(int(t.group(4)))
    return float(t.group(5)) == value and m.group(4) == "%f" % value


def m_profile_registers(ours, theirs):
    m = re.fullmatch(r"(vm[rs][rs]\S*) (?:(\w+), )?(fpscr_nzcvqc|vpr|p0|fpcxt_ns|fpcxt_s)(?:, (\w+))?", ours)
    if not m:
        return False
    number = {"fpscr_nzcvqc": 2, "vpr": 12, "p0": 13, "fpcxt_ns": 14, "fpcxt_s": 15}[m.group(3)]
    expected = ours.replace(m.group(3), "<impl def 0x%x>" % number)
    return re.sub(r"\s+", " ", theirs.split("@")[0].strip()) == expected


def fpcxt_spelling(ours, theirs):
    if re.search(r" FPCXT_N?S,", ours) is None:
        return False
    spelt = ours.replace("FPCXT_", "FPCXT")
    return sweeplib.normalise(theirs) == sweeplib.normalise(spelt) or post_indexed_by_zero(spelt, theirs)


def flags_read(ours, theirs):
    m = re.fullmatch(r"mrc(" + CONDITIONS + r")? p9, 0, APSR_nzcv, c(\d+), c0, 0", ours)
    t = re.match(r"vmov(" + CONDITIONS + r")?\.f16\s+pc, s(\d+)", theirs)
    return bool(m and t) and m.group(1) == t.group(1) and int(t.group(2)) >> 1 == int(m.group(2))


def flags_read_should_be_zero(ours, theirs):
    m = re.fullmatch(r"mrc(" + CONDITIONS + r")? p1[01], \d, APSR_nzcv, c\d+, c\d+, \d", ours)
    t = re.match(r"(vmov|vmrs)(" + CONDITIONS + r")?(\.\w+)?\s+(pc|APSR_nzcv),", theirs)
    return bool(m and t) and m.group(1) == t.group(2)


def compare_with_zero(ours, theirs):
    return ours.endswith(", #0") and re.sub(r"\s+", " ", theirs.split("@")[0].strip()) == ours + ".0"


def post_indexed_by_zero(ours, theirs):
    """Also the pre-indexed zero written back, whose "!" objdump drops."""
    m = re.fullmatch(r"(v(ld|st)r\S* \S+ \[\w+\]), #-?0", ours) or re.fullmatch(
        r"(v(ld|st)r\S* \S+ \[\w+(, #-0)?\])!", ours)
    return bool(m) and sweeplib.normalise(theirs) == sweeplib.normalise(m.group(1))


MVE = re.compile(r"^v(ld|st)r[bhwd]|^v(ld|st)[24]\d|^vdup|^vmov\S*\.[su]?(8|16)\s")


def mve_form(theirs):
    """objdump's text of an M-profile vector form in the coprocessor spaces (its
    decoder is another's): the vector loads and stores, anything on a Q register,
    VDUP and the 8- and 16-bit lane moves."""
    return bool(MVE.match(theirs)) or re.search(r"\bq\d|illegal reg q", theirs) is not None


def generic_coprocessor(ours, theirs):
    return sweeplib.coprocessor_class(ours, theirs) is not None


CLASSES = [
    ("impossible register list",
     "a multiple whose count is zero, runs past the last register or holds more than 16 doublewords is "
     "unpredictable: we print \"invalid register list\" (the file output keeps its bytes), objdump a range such "
     "as {s5-s134} or {d16-<overflow reg d70>} that no assembler takes", invalid_list),
    ("legacy stack names",
     "FLDMX/FSTMX on the stack pointer with writeback print their stack names fldmfdx, fstmfdx, fldmeax, "
     "fstmeax; objdump writes the addressing-mode names; the assembler gives both the same word", stack_names),
    ("floating-point immediate as its value",
     "objdump writes VMOV's 8-bit immediate as its encoding (\"#151 @ 0xc0b80000 -5.750\"), which the assembler "
     "reads as a value it cannot encode; we print the value (\"#-5.750000\")", immediate_value),
    ("M-profile system registers",
     "objdump -m arm has no names for the ARMv8.1-M registers VPR and P0 (\"<impl def 0xc>\"); we print the names "
     "the M-profile assembler takes", m_profile_registers),
    ("FPCXT with its underscore",
     "objdump writes the loads and stores of FPCXT_NS and FPCXT_S as FPCXTNS and FPCXTS; we keep the "
     "architecture's names, as VMRS writes them (fpcxt_ns); the assembler takes both spellings", fpcxt_spelling),
    ("coprocessor 9 read into the flags",
     "a conditional move of a half-precision value to the PC is unpredictable; the same word is the generic "
     "coprocessor read into the flags, which we print (objdump: \"vmoveq.f16 pc, s0\", which the assembler "
     "refuses with a condition)", flags_read),
    ("read into the flags with should-be-zero bits",
     "objdump reads a transfer to r15 whose should-be-zero bits are set as the lane move or VMRS it would be "
     "without them (\"vmov.s8 pc, d26[1]\"), a text the assembler writes with those bits clear; we print the "
     "generic coprocessor read into the flags, which gives the word back", flags_read_should_be_zero),
    ("compare with zero", "VCMP and VCMPE with zero print \"#0\", objdump \"#0.0\"; the assembler takes both",
     compare_with_zero),
    ("written back by zero",
     "a system-register load or store post-indexed or written back by zero keeps its \", #0\" or its \"!\"; "
     "objdump drops them, and its text would assemble to the plain offset form", post_indexed_by_zero),
    ("generic coprocessor forms", "the differences of the generic coprocessor forms that the core sweeps name "
     "(a zero offset written back, the legacy coprocessors' names)", generic_coprocessor),
]


def classify(ours, theirs):
    for name, _, test in CLASSES:
        if test(ours, theirs):
            return name
    return None


MACHINE = "arm"


def _m_profile_high_double(w):
    """VMOV between two core registers and a doubleword from d16 up: the M-profile
    assembler takes the register number, but the M profile has d0 to d15 only."""
    return (w >> 21) & 0x7F == 0x62 and (w >> 8) & 0xF == 11 and (w >> 4) & 0xD == 1 and (w >> 5) & 1


def outside(level, thumb):
    """The test for encodings that we leave undefined on purpose where objdump
    decodes them (the level lacks them); None when there are none."""
    if level in ("v7EM", "v8M_Mainline", "v8.1M_Mainline"):
        return lambda w: "d16 to d31 at the M profile" if _m_profile_high_double(w) else None
    return None


def not_reassembled(text):
    """Texts the sweeps do not re-assemble: the PC-relative ones (their addresses are
    compared as numbers), the invalid register lists, and the eight magnitudes of
    VMOV's immediate that need a seventh decimal (the file output writes all these
    as their bytes)."""
    if "[pc" in text or "invalid register list" in text:
        return True
    m = re.search(r"#(-?\d+\.\d+)$", text)
    return bool(m) and text.startswith("vmov") and float(m.group(1)) * 128 != int(float(m.group(1)) * 128)
