"""Named differences between our text and objdump's for the Advanced SIMD element
and structure loads and stores, the ARMv8 complex-number, dot-product, BFloat16 and
Int8 matrix forms, and HLT.

Each entry is (name, reason, test); test(ours, theirs) gets our text and objdump's
raw text and is true only for that precise difference. LEVEL_CLASSES hold only in
runs at a level that lacks the ARMv8.x vector forms (ARMv7, ARMv8-R, the M
profile), where the same texts would be faults at the levels that have them.
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


_GENERIC = re.compile(r"^(cdp2|mcr2|mrc2|mcrr2|mrrc2|ldc2l?|stc2l?) p(8|12|13), ")
_UNGATED = re.compile(r"^v(sdot|udot|usdot|sudot|dot|mmla|smmla|ummla|usmmla|fmab|fmat|fmal|fmsl)"
                      r"(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?\.")


def ungated_vector_form(ours, theirs):
    return _GENERIC.match(ours) is not None and _UNGATED.match(theirs.strip()) is not None


LEVEL_CLASSES = [
    ("ARMv8.x vector form at a level without it",
     "objdump reads the dot products, the BFloat16 and Int8 matrix forms (and at v8.1-M VFMAL/VFMSL) at "
     "every machine; a level without them has the generic coprocessor form there, which the assembler for "
     "that architecture writes to the same bytes", ungated_vector_form),
]
