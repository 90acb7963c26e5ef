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
COPROCESSOR = re.compile(r"^(cdp|mcr|mrc|mcrr|mrrc|ldc|stc)2?l?")
UNDEFINED_MARKS = ("undefined", "UNDEFINED", "<illegal", "<objdump aborts>")


def objdump_texts(raw, machine, thumb, start=0, stop=None):
    """objdump's text by file offset for a raw little-endian file; 32-bit Thumb
    instructions read as two halfwords. objdump aborts on a few vector words: the
    range is then read in halves, and a word it cannot read alone gets the text
    OBJDUMP_ABORTS."""
    if stop is None:
        stop = os.path.getsize(raw)
    args = ["arm-none-eabi-objdump", "-D", "-b", "binary", "-m", machine,
            f"--start-address={start}", f"--stop-address={stop}"]
    if thumb:
        args += ["-M", "force-thumb"]
    r = subprocess.run(args + [raw], capture_output=True, text=True)
    if r.returncode != 0:
        if stop - start <= 4:
            return {start: OBJDUMP_ABORTS}
        middle = start + (stop - start) // 8 * 4
        at = objdump_texts(raw, machine, thumb, start, middle)
        at.update(objdump_texts(raw, machine, thumb, middle, stop))
        return at
    encoding = r"[0-9a-f]{4} [0-9a-f]{4}|[0-9a-f]{8}|[0-9a-f]{4}"
    at = {}
    for line in r.stdout.splitlines():
        m = re.match(r"\s*([0-9a-f]+):\s+(" + encoding + r")\s+\t(.*)$", line)
        if m:
            at[int(m.group(1), 16)] = m.group(3).strip()
    return at


OBJDUMP_ABORTS = "<objdump aborts>"


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
    if COPROCESSOR.match(mnemonic) and out:
        # objdump writes the coprocessor as a bare number, its registers as "cr<n>"
        # and the second opcode in braces; the assembler's "p<n>", "c<n>" and plain
        # number are the same operands.
        out[0] = out[0] if out[0].startswith("p") else "p" + out[0]
        out = [re.sub(r"\bcr(\d+)", r"c\1", o) for o in out]
        if not mnemonic.startswith(("ldc", "stc")) and re.fullmatch(r"\{\d+\}", out[-1]):
            out[-1] = out[-1][1:-1]
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
        r = subprocess.run(["arm-none-eabi-as", "-march=" + march.split()[0]] + march.split()[1:] + [src, "-o", obj],
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


def coprocessor_class(ours, theirs):
    """The named differences of the generic coprocessor forms; None for others."""
    if not ours.split() or not theirs.split():
        return None
    if (COPROCESSOR.match(ours.split()[0]) and not COPROCESSOR.match(theirs.split()[0])
            and re.match(r"\S+ p[0-6],", ours)):
        # objdump names the transfers of the old FPA (p1, p2) and Maverick (p4 to
        # p6) coprocessors after those units; we print the generic form, which
        # assembles to the same word (the sweeps re-assemble it)
        return "legacy coprocessor names"
    if (re.match(r"(ldc|stc)", ours) and re.search(r"(\[\w+, #-?0\]!|\], #-?0)$", ours)
            and theirs.split()[0] == ours.split()[0]):
        # objdump drops a zero offset together with its writeback; the offset and
        # the "!" we keep are what assembles back to the same word
        return "zero offset with writeback"
    return None


FP_VECTOR_OLD = {"fmrx", "fmxr", "fmstat", "fldmiax", "fldmdbx", "fstmiax", "fstmdbx", "fmdrr", "fmrrd"}


def fp_vector(text):
    """objdump's floating-point, vector and cryptographic instructions: the core
    sweeps count them apart (each family's own sweep checks them)."""
    m = text.split()[0] if text.split() else ""
    # HLT stands among those forms too.
    return (m.startswith(("v", "aes", "sha1", "sha256", "hlt")) or m in FP_VECTOR_OLD
            or re.match(r"f(ld|st)m(ia|db|fd|ea)x", m) is not None) or re.search(r"\b(p10|p11|cp10|cp11)\b", text) is not None


# The values of the 8-bit floating-point immediates.
FLOAT_VALUES = {(1 + row / 16) * 2.0 ** ((col & 3) + 1 if col < 4 else (col & 3) - 3)
                for row in range(16) for col in range(8)}
# MVE forms the assembler writes other bytes for: VCVTB/VCVTT of q registers (it
# doubles their numbers), VQSHRN/VQSHRUN (it writes the rounding forms).
MVE_MISENCODED = re.compile(r"^(vcvt[bt][te]?\.f\d+\.f\d+ q|vqshru?n[bt][te]?\.)")


def rounded_float(text):
    """A floating-point immediate whose six-decimal text is not its value."""
    m = re.search(r"#-?(\d+\.\d{6})$", text)
    return bool(m) and float(m.group(1)) not in FLOAT_VALUES


def kept_raw(text):
    """Texts that the file output writes as .inst because the assembler would not
    give their bytes back: reserved sizes, invalid register lists, rounded
    immediates, the MVE forms the assembler mis-encodes."""
    return ("??" in text or "invalid register list" in text or rounded_float(text)
            or MVE_MISENCODED.match(text) is not None)


# objdump's branches print absolute targets, which a lone re-assembly cannot place.
BRANCH_TEXT = re.compile(r"^(b|bl|blx|bf|bfl|bfx|bflx|bfcsel|wls\w*|dls\w*|le\w*|cbn?z)(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?"
                         r"(\.w)?\s")


def assembler_text(text):
    """objdump's text in the assembler's syntax, comments dropped."""
    text = text.split("@")[0].split(";")[0].strip()
    parts = text.split(None, 1)
    if parts and COPROCESSOR.match(parts[0]) and len(parts) > 1:
        ops = parts[1]
        ops = re.sub(r"^(\d+),", r"p\1,", ops)
        ops = re.sub(r"\bcr(\d+)", r"c\1", ops)
        if not parts[0].startswith(("ldc", "stc")):
            ops = re.sub(r"\{(\d+)\}$", r"\1", ops)
        text = parts[0] + " " + ops
    return text


def run_sweep(items, thumb, printer, level, machine, marches, classify, pc_relative, target, outside=None,
              vector_aside=True):
    """Decodes `items` (A32 words, or 32-bit Thumb instructions as first << 16 |
    second) with insn_print and with objdump, compares them, re-assembles what we
    decode and prints the figures. Every instruction that objdump decodes, its
    floating-point and vector ones aside, counts: agreement is the share we print
    alike, or differently in a class that `classify(ours, theirs)` names, or leave
    undefined where `outside(encoding)` names why (the level lacks it). With
    `vector_aside`, the floating-point and vector forms (objdump's or ours) are
    counted apart and not re-assembled: the core sweeps' architectures lack those
    units, and the vector sweeps check them. Returns the
    exit status: 1 under `target` per cent, on anything we decode that objdump calls
    undefined (unless classed), or on a failed re-assembly."""
    import collections
    with tempfile.TemporaryDirectory() as work:
        raw = os.path.join(work, "sweep.bin")
        write_raw(raw, items, thumb)
        args = [printer, raw, "thumb" if thumb else "arm"] + ([level] if level else [])
        out = subprocess.run(args, check=True, capture_output=True, text=True).stdout
        theirs = objdump_texts(raw, machine, thumb)
    ours = [line.partition("\t")[2] for line in out.splitlines()]
    if len(ours) != len(items):
        print(f"the printer wrote {len(ours)} lines for {len(items)} instructions")
        return 1
    # An encoding without a form gets that text and nothing else.
    garbled = [t for t in ours if "undefined opcode" in t and t != "undefined opcode"]
    if garbled:
        print(f"{len(garbled)} texts hold more than the undefined text, e.g. '{garbled[0]}'")
        return 1
    counted = agree = not_decoded = extra = vector = 0
    classes, named = collections.Counter(), collections.Counter()
    examples = {}

    def note(key, w, mine, other):
        classes[key] += 1
        examples.setdefault(key, (w, mine, other))
        if key.startswith("not decoded"):
            missing.append((key, (w, mine, other)))

    missing = []

    for i, w in enumerate(items):
        mine, other = ours[i], theirs.get(i * 4, "")
        we_decode = "undefined opcode" not in mine
        they_decode = not is_undefined(other)
        if vector_aside and (fp_vector(other) or (we_decode and fp_vector(mine))):
            vector += 1
            continue
        name = classify(mine, other) if we_decode else outside(w) if outside else None
        if name:
            named[name] += 1
            if they_decode:
                counted += 1
                agree += 1
            continue
        if not they_decode:
            if we_decode:
                extra += 1
                note(f"{mine.split()[0]} where objdump has none", w, mine, other)
            continue
        if vector_aside and fp_vector(other) and not we_decode:
            vector += 1
            continue
        counted += 1
        if not we_decode:
            not_decoded += 1
            note(f"not decoded: {other.split()[0]}", w, mine, other)
        elif normalise(mine) == normalise(other):
            agree += 1
        else:
            note(f"{mine.split()[0]} vs {other.split()[0]}", w, mine, other)
    # What we leave undefined and objdump prints: when objdump's own text does not
    # assemble back to the same bytes (a should-be-zero field set, an unpredictable
    # register the assembler refuses), printing it would break the round trip that
    # the file output promises, so it stays undefined and is written as .inst.
    unprintable = [(encoding_bytes(w, thumb, 4), assembler_text(other), key)
                   for key, (w, mine, other) in missing if not BRANCH_TEXT.match(other)]
    if unprintable:
        bad = reassemble([(b, t) for b, t, _ in unprintable], thumb, marches)
        refused = {(b, t) for b, t, _ in bad}
        for (b, t, key), (_, example) in zip(unprintable, [m for m in missing if not BRANCH_TEXT.match(m[1][2])]):
            if (b, t) in refused:
                classes[key] -= 1
                named["objdump's text does not assemble back to the same bytes"] += 1
                agree += 1
                not_decoded -= 1
                if examples.get(key) == example:
                    del examples[key]
            else:
                examples.setdefault(key, example)
        for key in [k for k, n in classes.items() if n <= 0]:
            del classes[key]
    rate = 100.0 * agree / counted if counted else 100.0
    print(f"{level or 'any level'} against objdump -m {machine}: {len(items)} instructions; objdump decodes "
          f"{counted} core ones, we agree on {agree} ({rate:.3f} %, target {target} %); we do not decode "
          f"{not_decoded}; we decode {extra} that objdump calls undefined; {vector} floating-point and vector "
          f"ones left aside")
    for key, n in named.most_common():
        print(f"  {n:6d}  named class: {key}")
    # differences and extra decodings first, then what we do not decode
    for key, n in sorted(classes.most_common(), key=lambda kv: kv[0].startswith("not decoded"))[:50]:
        w, o, t = examples[key]
        shown = f"{w >> 16:04X} {w & 0xFFFF:04X}" if thumb else f"{w:08X}"
        print(f"  {n:6d}  {key}   e.g. {shown}: '{o}' / '{t}'")
    picked = [(encoding_bytes(w, thumb, 4), t) for w, t in zip(items, ours)
              if "undefined opcode" not in t and not pc_relative(t) and not (vector_aside and fp_vector(t))]
    failures = reassemble(picked, thumb, marches)
    print(f"re-assembled: {len(picked) - len(failures)} of {len(picked)} decoded instructions "
          f"(PC-relative ones aside) give their bytes back")
    for b, t, why in failures[:int(os.environ.get("SWEEP_FAILURES", "20"))]:
        print(f"  {b.hex()} '{t}': {why}")
    return 0 if rate >= target and not extra and not failures else 1


def baseline_allows(w, level):
    """Which 32-bit encodings the ARMv6-M and ARMv8-M baseline levels have: the call,
    the special-register moves, barriers and hints (first-halfword groups 0x38,
    0x39, 0x3B, 0x3E, 0x3F of the branch space) and, for ARMv8-M baseline, the wide
    branch, CLREX, MOVW/MOVT and the exclusive, acquire/release and test-target
    transfers."""
    first, second = w >> 16, w & 0xFFFF
    branch_space = (first >> 11) == 0x1E and second & 0x8000
    if branch_space and second & 0x5000 == 0x5000:
        return True
    if branch_space and second & 0x5000 == 0 and ((first >> 4) & 0x7F) in (0x38, 0x39, 0x3B, 0x3E, 0x3F):
        return True
    if level != "v8M_Baseline":
        return False
    if branch_space and second & 0x5000 == 0x1000:
        return True
    movw = first & 0xFB70 == 0xF240 and not second & 0x8000
    if w == 0xF3BF8F2F or movw or first & 0xFFF0 in (0xE840, 0xE850):
        return True
    return first & 0xFFF0 in (0xE8C0, 0xE8D0) and (second >> 4) & 0xF not in (0, 1, 7, 15)


def thumb_shift_class(ours, theirs):
    """objdump writes the flag-setting 32-bit shifts as "movs.w rd, rm, <shift> #n",
    which the assembler refuses with the width; the shift mnemonic is its own name."""
    a, b = normalise(ours), normalise(theirs)
    if (re.fullmatch(r"(lsl|lsr|asr)s(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?\.w", a[0])
            and re.fullmatch(r"movs(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?\.w", b[0]) and len(a[1]) == 3
            and b[1] == a[1][:2] + [a[0][:3] + "#" + a[1][2]]):
        return "flag-setting shift named movs.w"
    return None
