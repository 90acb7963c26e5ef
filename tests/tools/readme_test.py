#!/usr/bin/env python3
"""The README's examples are what the program prints.

    python3 tests/tools/readme_test.py <path-to-elfdwarfdump>

Every fenced block that starts with "$ elfdwarfdump ..." is run from the top of the
checkout; each line of the block after the command must come out, in that order,
on standard output or standard error. A "..." line stands for lines left out, a
line ending in "..." for the rest of that line, and trailing blanks do not count.
This keeps the tour honest; whether the output is right is for the other tests.
"""
import os
import re
import shlex
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


def matches(expected, line):
    line = line.rstrip()
    if expected.endswith(" ...") or expected.endswith("..."):
        return line.startswith(expected[:-3].rstrip())
    return line == expected.rstrip()


def main():
    text = open(os.path.join(ROOT, "README.md"), encoding="utf-8").read()
    blocks = re.findall(r"```\n\$ (elfdwarfdump [^\n]*)\n(.*?)```", text, re.S)
    check("examples found", len(blocks) >= 15, f"{len(blocks)} examples")
    # The indirect-file example reads the block just before it.
    indirect = re.search(r"```\n(# dump\.args\n.*?)```", text, re.S)
    with tempfile.TemporaryDirectory() as tmp:
        if indirect:
            body = "\n".join(line for line in indirect.group(1).split("\n") if not line.startswith("#"))
            body = body.replace('"my firmware.elf"', os.path.join(ROOT, "examples", "blinky", "blinky.elf"))
            with open(os.path.join(tmp, "dump.args"), "w") as f:
                f.write(body)
        for command, body in blocks:
            args = shlex.split(command)[1:]
            # An indirect file is found in the scratch folder, every other path in the checkout.
            args = [os.path.join(tmp, a[1:]) if a.startswith("@") else a for a in args]
            args = ["@" + a if os.path.dirname(a) == tmp else a for a in args]
            p = subprocess.run([BIN] + args, capture_output=True, text=True, cwd=ROOT, errors="replace")
            out = (p.stdout + p.stderr).split("\n")
            at = 0
            missing = None
            for expected in body.rstrip("\n").split("\n"):
                if expected.strip() in ("", "..."):
                    continue
                while at < len(out) and not matches(expected, out[at]):
                    at += 1
                if at == len(out):
                    missing = expected
                    break
                at += 1
            check("example output", missing is None, f"{command}: no line {missing!r} (in order)")
    return summary("readme")


if __name__ == "__main__":
    sys.exit(main())
