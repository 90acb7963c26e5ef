"""What the instruction sweeps share: objdump's text for a raw file, the reading of
an instruction text into comparable parts, and re-assembly of decoded texts.

Instruction texts are compared as a mnemonic and a list of operands, numbers read
as 32-bit values (so "#0x20", "#32" and "32" agree), objdump's register aliases
(sl, fp, ip) and its older barrier names read as ours, comments dropped.
"""
import os
import re
import struct
import subprocess
import tempfile

ALIASES = {"sl": "r10", "fp": "r11", "ip": "r12", "r13": "sp", "r14": "lr", "r15": "pc",
           # objdump's older names of the barrier options
           "un": "nsh", "unst": "nshst", "sh": "ish", "shst": "ishst"}
_ALIAS = re.compile(r"\b(" + "|".join(ALIASES) + r")\b")
NUMBER = re.compile(r"#?(-?)(0x[0-9a-fA-F]+|[0-9]+)\b")
UNDEFINED_MARKS = ("undefined", "UNDEFINED", "<illegal")


def objdump_texts(raw, machine, thumb):
    """objdump's text by file offset for a raw little-endian file; 32-bit Thumb
    instructions read as two halfwords."""
    args = ["arm-none-eabi-objdump", "-D", "-b", "binary", "-m", machine]
    if thumb:
        args += ["-M", "force-thumb"]
    out = subprocess.run(args + [raw], check=True, capture_output=True, text=True).stdout
    encoding = r"[0-9a-f]{4} [0-9a-f]{4}|[0-9a-f]{8}|[0-9a-f]{4}"
    at = {}
    for line in out.splitlines():
        m = re.match(r"\s*([0-9a-f]+):\s+(" + encoding + r")\s+\t(.*)$", line)
        if m:
            at[int(m.group(1), 16)] = m.group(3).strip()
    return at


def is_undefined(text):
    return not text or any(u in text for u in UNDEFINED_MARKS) or text.startswith(".")


def _number(digits):
    return int(digits, 16) if digits.startswith("0x") else int(digits, 10)


def normalise(text):
    """Mnemonic and operand list of an instruction text."""
    text = text.split("@")[0].split(";")[0].strip()
    parts = text.split(None, 1)
    if not parts:
        return "", []
    mnemonic = parts[0]
    rest = parts[1] if len(parts) > 1 else ""
    ops = [o.strip() for o in re.split(r",(?![^{]*})", rest) if o.strip()]
    out = []
    for o in ops:
        o = _ALIAS.sub(lambda m: ALIASES[m.group(1)], o)
        o = NUMBER.sub(lambda n: "#" + str((_number(n.group(2)) * (-1 if n.group(1) else 1)) & 0xFFFFFFFF)
                       if n.group(0).startswith("#") else str(_number(n.group(2))), o)
        # objdump writes some shifts and rotations in capitals ("ROR #24")
        out.append(o.replace(" ", "").lower())
    # objdump writes branch targets, svc and bkpt numbers without "#"
    return mnemonic, [o.lstrip("#") if re.fullmatch(r"#\d+", o) else o for o in out]


def write_raw(path, items, thumb):
    """Each item as 4 little-endian bytes: an A32 word, or a 32-bit Thumb instruction
    given as (first halfword << 16 | second halfword)."""
    with open(path, "wb") as f:
        if thumb:
            f.write(b"".join(struct.pack("<HH", w >> 16, w & 0xFFFF) for w in items))
        else:
            f.write(b"".join(struct.pack("<I", w) for w in items))


def encoding_bytes(w, thumb, width=None):
    """The little-endian bytes of an encoding as the listings show it: an A32 word,
    a 16-bit Thumb halfword, or a 32-bit Thumb instruction (first halfword << 16 |
    second halfword)."""
    if not thumb:
        return struct.pack("<I", w)
    if (width or (4 if w > 0xFFFF else 2)) == 2:
        return struct.pack("<H", w)
    return struct.pack("<HH", w >> 16, w & 0xFFFF)


def reassemble(picked, thumb, marches):
    """Assembles each (expected bytes, text) alone and compares the bytes; a text may
    hold several lines (an IT block with its instructions). The texts go through the
    architectures in `marches` in turn: what one rejects is tried with the next (no
    single architecture has every form). Returns the failures as (expected bytes,
    text, what happened)."""
    failures = []
    pending = list(picked)
    for i, march in enumerate(marches):
        if not pending:
            break
        rejected, bad = _assemble_once(pending, thumb, march)
        failures += bad
        if i == len(marches) - 1:
            failures += [(b, t, "rejected: " + why) for b, t, why in rejected]
        pending = [(b, t) for b, t, _ in rejected]
    return failures


def _assemble_once(picked, thumb, march):
    """Each item behind a label of its own, so that the symbol table tells where
    its bytes start whatever their length."""
    with tempfile.TemporaryDirectory() as work:
        src = os.path.join(work, "r.s")
        line_of = {}
        lines = ["\t.syntax unified", "\t.thumb" if thumb else "\t.arm"]
        for k, (_, text) in enumerate(picked):
            lines.append(f"I{k}:")
            for part in text.split("\n"):
                lines.append("\t" + part.strip())
                line_of[len(lines)] = k
        lines.append(f"I{len(picked)}:")
        with open(src, "w") as f:
            f.write("\n".join(lines) + "\n")
        obj = os.path.join(work, "r.o")
        r = subprocess.run(["arm-none-eabi-as", "-march=" + march, src, "-o", obj],
                           capture_output=True, text=True)
        rejected = {}
        for line in r.stderr.splitlines():
            m = re.match(r".*?:(\d+): (Error|Warning): (.*)", line)
            if m and int(m.group(1)) in line_of:
                rejected.setdefault(line_of[int(m.group(1))], m.group(3))
        if rejected or r.returncode != 0:
            kept = [p for k, p in enumerate(picked) if k not in rejected]
            out = [(b, t, rejected[k]) for k, (b, t) in enumerate(picked) if k in rejected]
            if not rejected:  # failed without saying where: give up on all of them
                return [(b, t, r.stderr.strip()[:200]) for b, t in picked], []
            more, bad = _assemble_once(kept, thumb, march) if kept else ([], [])
            return out + more, bad
        symbols = subprocess.run(["arm-none-eabi-nm", obj], check=True, capture_output=True, text=True).stdout
        start = {}
        for line in symbols.splitlines():
            m = re.match(r"([0-9a-f]+) \w I(\d+)$", line)
            if m:
                start[int(m.group(2))] = int(m.group(1), 16)
        raw = os.path.join(work, "r.bin")
        subprocess.run(["arm-none-eabi-objcopy", "-O", "binary", "--only-section=.text", obj, raw], check=True)
        with open(raw, "rb") as f:
            got = f.read()
    bad = []
    for k, (b, t) in enumerate(picked):
        back = got[start[k]:start[k + 1]]
        if back != b:
            bad.append((b, t, "re-assembled as " + (back.hex() if back else "nothing")))
    return [], bad
