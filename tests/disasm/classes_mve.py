"""Named differences between our MVE texts and objdump's (-m armv8.1-m.main), each
with its reason. test(ours, theirs) gets our text and objdump's raw text and answers
True only for that precise difference."""
import re

try:
    from sweeplib import normalise
except ImportError:  # imported from elsewhere with the tests folder on the path
    from tests.disasm.sweeplib import normalise

_NARROW = re.compile(r"vq(r)?shr(u)?n[bt][te]?\.")
_FLOAT = re.compile(r"#(-?[0-9.]+)")


def _mnemonic(text):
    parts = text.split()
    return parts[0] if parts else ""


def float_immediate(ours, theirs):
    # The floating-point immediate is printed with six decimals ("#1.000000"),
    # objdump writes the shortest form ("#1"); the assembler reads both as one value.
    a, b = normalise(ours), normalise(theirs)
    if a[0] != b[0] or not a[0].startswith("vmov") or ".f" not in a[0] or a[1][:-1] != b[1][:-1]:
        return False
    x, y = _FLOAT.search(ours.split(",")[-1]), _FLOAT.search(theirs.split("@")[0].split(",")[-1])
    return bool(x and y) and "%f" % float(y.group(1)) == x.group(1) and x.group(1) != y.group(1)


def saturating_abs_neg_register(ours, theirs):
    # objdump prints VQABS and VQNEG with a third register (read from the Qn field,
    # which these forms do not have); they have two operands and the assembler
    # refuses three.
    a, b = normalise(ours), normalise(theirs)
    return (re.fullmatch(r"vq(abs|neg)[te]?\.s(8|16|32)", a[0]) is not None and a[0] == b[0]
            and len(b[1]) == 3 and b[1][0] == a[1][0] and b[1][2] == a[1][1] and b[1][1].startswith("q"))


def narrowing_shift_count(ours, theirs):
    # objdump reads the shift count of the saturating narrowing shifts (VQSHRN,
    # VQRSHRN, VQSHRUN, VQRSHRUN) from the wrong bits; ours is the count the
    # architecture gives (llvm-objdump and llvm-mc agree with it).
    a, b = normalise(ours), normalise(theirs)
    return (_NARROW.match(a[0] + ".") is not None and a[0] == b[0] and a[1][:2] == b[1][:2]
            and len(a[1]) == len(b[1]) == 3 and a[1][2] != b[1][2])


def reserved_interleave_size(ours, theirs):
    # An interleaving load or store with the reserved size 3 prints its size as "??"
    # (the file output keeps its bytes as .inst); objdump calls it undefined.
    return re.match(r"v(ld|st)[24][0-3][te]?\.\?\? ", ours) is not None and "UNDEFINED" in theirs


def reserved_doubling_size(ours, theirs):
    # The saturating doubling forms with the reserved size 3 print ".???" (the file
    # output keeps their bytes as .inst); objdump calls them undefined or prints a
    # ".s64" that it marks undefined itself.
    return (re.match(r"vq(r)?d(mulh|mlah|mlash)[te]?\.\?\?\? ", ours) is not None
            and ("UNDEFINED" in theirs or "size equals three" in theirs))


def carried_predication(ours, theirs):
    # objdump carries a VPT or VPST block from the word before into this one and
    # adds its "t" or "e"; each word of a sweep is decoded alone, outside any block.
    a, b = normalise(ours), normalise(theirs)
    if a[1] != b[1] or a[0] == b[0]:
        return False
    head, dot, tail = a[0].partition(".")
    return b[0] in (head + "t" + dot + tail, head + "e" + dot + tail)


CLASSES = [
    ("float immediate with six decimals", "the value is printed '%f' style; objdump prints the shortest form",
     float_immediate),
    ("VQABS/VQNEG with two registers", "objdump prints a third register that the instructions do not have",
     saturating_abs_neg_register),
    ("narrowing shift count", "objdump misreads the count of the saturating narrowing shifts",
     narrowing_shift_count),
    ("reserved interleaving size ??", "size 3 of VLD2x/VLD4x/VST2x/VST4x is printed as '??' and kept as .inst",
     reserved_interleave_size),
    ("reserved doubling size .???", "size 3 of the saturating doubling forms is printed as '.???' and kept as .inst",
     reserved_doubling_size),
    ("predication letters carried over", "objdump continues a VPT/VPST block of the word before; we decode each "
     "word alone", carried_predication),
]


def _without_letter(ours, theirs):
    """objdump's text without the predication letter it carried over, or None."""
    a, b = _mnemonic(ours), _mnemonic(theirs)
    head, dot, tail = a.partition(".")
    for letter in "te":
        if b == head + letter + dot + tail:
            return theirs.replace(b, a, 1)
    return None


def classify(ours, theirs):
    for name, _, test in CLASSES:
        if test(ours, theirs):
            return name
    # a carried-over letter on top of another class's difference
    plain = _without_letter(ours, theirs)
    if plain:
        for name, _, test in CLASSES:
            if test(ours, plain):
                return name + " (predication letters carried over)"
    return None
