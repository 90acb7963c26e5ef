"""Named differences between our text and objdump's for the Advanced SIMD element
and structure loads and stores, the ARMv8 complex-number, dot-product, BFloat16 and
Int8 matrix forms, and HLT.

Each entry is (name, reason, test); test(ours, theirs) gets our text and objdump's
raw text and is true only for that precise difference.
"""
import os
import re
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import sweeplib  # noqa: E402

_LIST = re.compile(r"\{([^}]*)\}")
_RANGE = re.compile(r"^d(\d+)(\[\d*\])?-d(\d+)(\[\d*\])?$")


def _written_out(text):
    """objdump's text with the ranges of its register list written out."""
    m = _LIST.search(text)
    if not m:
        return text
    out = []
    for item in m.group(1).replace(" ", "").split(","):
        r = _RANGE.match(item)
        if r and r.group(2) == r.group(4):
            out += [f"d{k}{r.group(2) or ''}" for k in range(int(r.group(1)), int(r.group(3)) + 1)]
        else:
            out.append(item)
    return text[:m.start()] + "{" + ",".join(out) + "}" + text[m.end():]


def written_out_list(ours, theirs):
    if re.match(r"v(ld|st)[1-4]\.", ours) is None or re.search(r"[0-9\]]-d[0-9]", theirs) is None:
        return False
    return sweeplib.normalise(ours) == sweeplib.normalise(_written_out(theirs))


CLASSES = [
    ("register list written out",
     "the element and structure loads and stores print every register of their list (\"{ d0, d1, d2, d3 }\", "
     "\"{ d0[], d1[] }\"), objdump a range (\"{d0-d3}\", \"{d0[]-d1[]}\"); the assembler takes both to the "
     "same bytes", written_out_list),
]
