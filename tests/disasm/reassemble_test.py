#!/usr/bin/env python3
"""The -disassemble output of an object assembles back to the same bytes.

Usage: reassemble_test.py <elfdwarfdump> <source dir>

Besides the fixtures, every member of newlib's ARMv6-M C library (pure 16-bit
Thumb and BL, when the toolchain has it) and of its top-level A32 C library, and
every second member of its ARMv7-M C library (Thumb-2), must give back the bytes
of its code sections.

For each fixture, the tool's output (with the " <name>" annotations removed) is fed
to arm-none-eabi-as, and the contents of every allocated section of the original
object are compared with the re-assembled one's, read from their section headers.
"""
import os
import re
import struct
import subprocess
import sys
import tempfile

NEWLIB_V6M = "/usr/lib/arm-none-eabi/newlib/thumb/v6-m/nofp/libc.a"

# (fixture, assembler architecture, our -arch level or None). The output carries no
# .arch, and at v6-M the assembler spells "nop" as the old register move: v7-M keeps
# the hint.
FIXTURES = [
    ("tests/fixtures/disasm/mixed.o", "armv7-a", None),
    ("tests/fixtures/disasm/mixed-be.o", "armv7-a -mbig-endian", None),
    ("tests/fixtures/elf/thumb.o", "armv7-m", None),
    ("tests/fixtures/disasm/t16-v6m.o", "armv7-m", None),
    ("tests/fixtures/disasm/a32.o", "armv7ve", None),  # smc, hvc, eret, banked registers, pldw
    ("tests/fixtures/disasm/a32-v4t.o", "armv7-a", None),
    ("tests/fixtures/disasm/a32-v5te.o", "armv7-a -mfpu=vfpv3", None),  # mcrr p10 is a vmov
    ("tests/fixtures/disasm/a32-v6.o", "armv7-a", None),
    ("tests/fixtures/disasm/a32-v8.o", "armv8-a+crc -mfpu=crypto-neon-fp-armv8", None),
    ("tests/fixtures/disasm/t32-v7m.o", "armv7-m", None),
    ("tests/fixtures/disasm/t32-v7em.o", "armv7e-m -mfpu=fpv5-d16", None),
    ("tests/fixtures/disasm/t32-v8m-base.o", "armv8-m.main", None),
    ("tests/fixtures/disasm/t32-v8m-main.o", "armv8-m.main+dsp -mfpu=fpv5-sp-d16", None),
    ("tests/fixtures/disasm/t32-v81m.o", "armv8.1-m.main+mve.fp+fp.dp+pacbti", "v8.1M_Mainline"),
    ("tests/fixtures/disasm/it-blocks.o", "armv7-m", None),
    ("tests/fixtures/disasm/conditions.o", "armv7-a", None),
    ("tests/fixtures/disasm/registers.o", "armv7-a", None),
    # The floating-point and vector corpus: every form, size and type of each family.
    ("tests/fixtures/disasm/vector-neon.o", "armv8.6-a+crypto+fp16+fp16fml", None),
    ("tests/fixtures/disasm/vector-neon-memory.o", "armv7-a -mfpu=neon", None),
    ("tests/fixtures/disasm/vector-dot.o", "armv8.6-a+crypto+fp16+fp16fml+i8mm", None),
    ("tests/fixtures/disasm/vector-vfp.o", "armv8.6-a+crypto+fp16+fp16fml", None),
    ("tests/fixtures/disasm/vector-vfp.o", "armv8.6-a+crypto+fp16+fp16fml", "v8A"),
    # Without the vector extension: with it the assembler writes "vcvtn.s32.f64" as
    # VCVT toward zero.
    ("tests/fixtures/disasm/vector-vfp-m.o", "armv8.1-m.main+fp.dp", "v8.1M_Mainline"),
    ("tests/fixtures/disasm/vector-mve.o", "armv8.1-m.main+mve.fp+fp.dp", "v8.1M_Mainline"),
]

# Thumb-2 code: every second member of the ARMv7-M C library.
NEWLIB_V7M = "/usr/lib/arm-none-eabi/newlib/thumb/v7-m/nofp/libc.a"

# The A32 C library (ARMv4T code): every SAMPLE_STEP-th member, sorted by name.
NEWLIB_A32 = "/usr/lib/arm-none-eabi/newlib/libc.a"
SAMPLE_STEP = 1


def progbits_sections(obj):
    """{name: contents} of the allocated PROGBITS sections of a 32-bit ELF object,
    read from its section headers (either byte order)."""
    with open(obj, "rb") as f:
        data = f.read()
    order = "<" if data[5] == 1 else ">"
    shoff, = struct.unpack_from(order + "I", data, 32)
    shentsize, shnum, shstrndx = struct.unpack_from(order + "HHH", data, 46)
    headers = [struct.unpack_from(order + "IIIIIIIIII", data, shoff + i * shentsize) for i in range(shnum)]
    names = headers[shstrndx]

    def name_of(offset):
        start = names[4] + offset
        return data[start:data.index(b"\0", start)].decode()

    out = {}
    for h in headers:
        # sh_type 1 is PROGBITS; flag 2 is SHF_ALLOC
        if h[1] == 1 and h[2] & 2:
            out[name_of(h[0])] = data[h[4]:h[4] + h[5]]
    return out


def main():
    tool, srcdir = sys.argv[1], sys.argv[2]
    failures = 0
    with tempfile.TemporaryDirectory() as work:
        objects = [(os.path.join(srcdir, f), arch, None, level) for f, arch, level in FIXTURES]
        if os.path.exists(NEWLIB_V6M):
            members = os.path.join(work, "newlib")
            os.mkdir(members)
            subprocess.run(["arm-none-eabi-ar", "x", NEWLIB_V6M], cwd=members, check=True)
            for name in sorted(os.listdir(members)):
                objects.append((os.path.join(members, name), "armv7-m", "code", None))
        if os.path.exists(NEWLIB_V7M):
            members = os.path.join(work, "newlib-v7m")
            os.mkdir(members)
            subprocess.run(["arm-none-eabi-ar", "x", NEWLIB_V7M], cwd=members, check=True)
            for name in sorted(os.listdir(members))[::2]:
                objects.append((os.path.join(members, name), "armv7-m", "code", None))
        if os.path.exists(NEWLIB_A32):
            members = os.path.join(work, "newlib-a32")
            os.mkdir(members)
            subprocess.run(["arm-none-eabi-ar", "x", NEWLIB_A32], cwd=members, check=True)
            for name in sorted(os.listdir(members))[::SAMPLE_STEP]:
                objects.append((os.path.join(members, name), "armv7-a", "code", None))
        checked = 0
        for path, arch, only, level in objects:
            fixture = os.path.relpath(path, srcdir) if only is None else os.path.basename(path)
            levels = ["-arch", level] if level else []
            listing = subprocess.run([tool, "-disassemble"] + levels + [path], check=True, capture_output=True,
                                     text=True).stdout
            listing = re.sub(r" <[^>\n]*>", "", listing)
            src = os.path.join(work, "out.s")
            with open(src, "w") as f:
                f.write(listing)
            obj = os.path.join(work, "out.o")
            r = subprocess.run(["arm-none-eabi-as", "-march=" + arch.split()[0]] + arch.split()[1:] + [src, "-o", obj], capture_output=True, text=True)
            errors = [l for l in r.stderr.splitlines() if "Error" in l]
            if r.returncode != 0 or errors:
                print(f"{fixture}: the output does not assemble:\n{r.stderr}")
                failures += 1
                continue
            original, rebuilt = progbits_sections(path), progbits_sections(obj)
            names = list(original)
            if only == "code":
                names = re.findall(r'\.section (\S+?),"ax"', listing)
            for name in names:
                want = original.get(name, b"")
                got = rebuilt.get(name, b"")
                if want != got:
                    failures += 1
                    for i in range(0, max(len(want), len(got)), 2):
                        if want[i:i + 2] != got[i:i + 2]:
                            print(f"{fixture} {name}+{i:#x}: {want[i:i+2].hex()} re-assembled as {got[i:i+2].hex()}")
                            break
                    print(f"{fixture} {name}: {len(want)} bytes, re-assembled {len(got)}")
            checked += 1
        print(f"{checked} objects re-assembled, {failures} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
