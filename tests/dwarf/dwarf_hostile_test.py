#!/usr/bin/env python3
"""The DWARF dump on hostile and on very large input: damaged sections are reported
and the dump goes on; nothing crashes, hangs or trips a sanitizer."""
import os
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BAD = os.path.join(ROOT, "tests", "fixtures", "malformed")
NEWLIB = "/usr/lib/arm-none-eabi/newlib"


def run(args, timeout=300):
    p = subprocess.run([BIN] + args, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=timeout)
    return p.returncode, p.stderr.decode("utf-8", "replace")


def sanitizer_clean(err):
    return "AddressSanitizer" not in err and "runtime error" not in err and "LeakSanitizer" not in err


# Each file, built byte by byte by src/make-dwarf-hostile.py, with the reports it must give.
CASES = [
    ("dwarf-deep-nesting.o", []),
    ("dwarf-reference-cycle.o", []),
    ("dwarf-missing-abbreviation.o", ["Couldn't find abbreviation 0x9 offset 0xf"]),
    ("dwarf-unsupported-forms.o", ["33 unhandled DW_FORM_implicit_const", "30 unhandled DW_FORM_data16",
                                   "28 unhandled DW_FORM_ref_sup4", "29 unhandled DW_FORM_strp_sup",
                                   "36 unhandled DW_FORM_ref_sup8", "127 unhandled DW_FORM"]),
    ("dwarf-truncated-unit.o", []),
    ("dwarf-unit-length-64.o", []),
    ("dwarf-unit-length-past-end.o", None),
]


def main():
    for name, reports in CASES:
        rc, err = run(["-dwarf", os.path.join(BAD, name)])
        check(f"{name} status", rc == 0, rc)
        check(f"{name} sanitizers", sanitizer_clean(err), err[-500:])
        if reports is not None:
            got = [line for line in err.splitlines() if line]
            check(f"{name} reports", got == reports, got[:10])
    # A whole C++ library: thousands of units, every form GCC writes.
    for lib in (f"{NEWLIB}/thumb/v7-m/nofp/libstdc++.a",):
        if not os.path.exists(lib):
            check(lib, False, "missing")
            continue
        rc, err = run(["-dwarf", lib], timeout=600)
        unexpected = [line for line in err.splitlines() if line and "unhandled DW_FORM_implicit_const" not in line]
        check(f"{lib} status", rc == 0, rc)
        check(f"{lib} sanitizers", sanitizer_clean(err), err[-500:])
        check(f"{lib} reports", not unexpected, unexpected[:5])
    return summary("dwarf hostile", shown=1000)


if __name__ == "__main__":
    sys.exit(main())
