"""Named differences between our Advanced SIMD texts and objdump's, each on purpose.

CLASSES = [(name, reason, test)]: test(ours, theirs) gets our text and objdump's raw
text and answers True only for that difference.
"""
import re


def _split(text):
    text = text.split("@")[0].strip()
    parts = text.split(None, 1)
    if not parts:
        return "", []
    return parts[0], [o.strip() for o in re.split(r",(?![^{]*})", parts[1])] if len(parts) > 1 else []


def _float_immediate(ours, theirs):
    # "#1.000000" against "#1", "#0.242188" against "#0.2421875": the same value,
    # written with six decimals.
    a, b = _split(ours), _split(theirs)
    if a[0] != b[0] or not a[0].startswith("vmov") or len(a[1]) != 2 or len(b[1]) != 2 or a[1][0] != b[1][0]:
        return False
    m = re.fullmatch(r"#(-?\d+\.\d{6})", a[1][1])
    n = re.fullmatch(r"#(-?\d+(\.\d+)?)", b[1][1])
    return bool(m and n) and abs(float(m.group(1)) - float(n.group(1))) <= 5e-7


def _shift_left_type(ours, theirs):
    # VSHL by an immediate is typed .i<size>; objdump writes .s<size>.
    a, b = _split(ours), _split(theirs)
    return (re.fullmatch(r"vshl(\w\w)?\.i(8|16|32|64)", a[0]) is not None and b[0] == a[0].replace(".i", ".s")
            and len(a[1]) == 3 and len(b[1]) == 3 and a[1][:2] == b[1][:2]
            and _number(a[1][2]) is not None and _number(a[1][2]) == _number(b[1][2]))


def _number(operand):
    m = re.fullmatch(r"#(0x[0-9a-fA-F]+|\d+)", operand)
    return int(m.group(1), 0) if m else None


CLASSES = [
    ("floating-point immediate with six decimals",
     "the value of VMOV.F32's immediate is written with six decimals, like the floating-point "
     "unit's own immediates; objdump writes the shortest decimal",
     _float_immediate),
    ("VSHL by an immediate as .i",
     "the shift left by an immediate does not depend on signedness and the architecture types it "
     ".i<size>, as llvm-mc prints it; objdump writes .s<size> (both assemble to the same word)",
     _shift_left_type),
]


def classify(ours, theirs):
    for name, _, test in CLASSES:
        if test(ours, theirs):
            return name
    return None
