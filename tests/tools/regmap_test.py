#!/usr/bin/env python3
"""The register map of -mm against the C source it was compiled from: a host program
built from the same source reports every register's offset and size (offsetof,
sizeof) and every bit field's position and width (by setting it in a zeroed
register), and the XML must list exactly those."""
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BIN = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SOURCE = os.path.join(ROOT, "tests", "fixtures", "src", "tool", "regmap.c")
# The same source built with DWARF 4 (bit fields counted from the top of their storage
# unit) and with DWARF 5 (bit offsets from the start of the structure).
IMAGES = [os.path.join(ROOT, "tests", "fixtures", "tool", name) for name in ("regmap.elf", "regmap-v5.elf")]

# The peripherals of the fixture and the registers the host program measures. Bit fields
# are given as (register, union member, field).
PROBE = r'''
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#define main fixture_main
#include "%(source)s"
#undef main

#define REG(group, type, member) \
    printf("%%s %%s %%zu %%zu\n", group, #member, offsetof(type, member), sizeof(((type *)0)->member))
#define ARR(group, type, member, i) \
    printf("%%s %%s[%%d] %%zu %%zu\n", group, #member, i, offsetof(type, member[i]), sizeof(((type *)0)->member[i]))
#define FIELD(group, type, reg, bits, field) do { \
        type t; memset(&t, 0, sizeof t); t.bits.field = ~0u; \
        unsigned v; memcpy(&v, &t.reg, sizeof v); int lo = __builtin_ctz(v); \
        printf("%%s %%s.%%s %%d %%d\n", group, #reg, #field, lo, __builtin_popcount(v)); } while (0)

int main(void)
{
    static const char *gpio[] = {"GPIOA", "GPIOB"};
    for (int g = 0; g < 2; ++g) {
        REG(gpio[g], GPIO_TypeDef, MODER); REG(gpio[g], GPIO_TypeDef, OTYPER);
        REG(gpio[g], GPIO_TypeDef, OSPEEDR); REG(gpio[g], GPIO_TypeDef, PUPDR);
        REG(gpio[g], GPIO_TypeDef, IDR); REG(gpio[g], GPIO_TypeDef, ODR);
        REG(gpio[g], GPIO_TypeDef, BSRRL); REG(gpio[g], GPIO_TypeDef, BSRRH);
        REG(gpio[g], GPIO_TypeDef, LCKR);
        ARR(gpio[g], GPIO_TypeDef, AFR, 0); ARR(gpio[g], GPIO_TypeDef, AFR, 1);
    }
    REG("TIM2", TIM_TypeDef, CR1); REG("TIM2", TIM_TypeDef, CR2);
    REG("TIM2", TIM_TypeDef, SR); REG("TIM2", TIM_TypeDef, EGR); REG("TIM2", TIM_TypeDef, CNT);
    REG("TIM2", TIM_TypeDef, PSC); REG("TIM2", TIM_TypeDef, ARR);
    FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, CEN); FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, UDIS);
    FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, URS); FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, OPM);
    FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, DIR); FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, CMS);
    FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, ARPE); FIELD("TIM2", TIM_TypeDef, CR1, CR1_b, CKD);
    printf("TIM2 RESERVED0 %%zu %%zu\n", offsetof(TIM_TypeDef, RESERVED0), sizeof(((TIM_TypeDef *)0)->RESERVED0));
    REG("UART1", UART_TypeDef, DR); REG("UART1", UART_TypeDef, SR);
    printf("UART1 RESERVED0 %%zu %%zu\n", offsetof(UART_TypeDef, RESERVED0), sizeof(((UART_TypeDef *)0)->RESERVED0));
    return 0;
}
'''

BASES = {"GPIOA": 0x40020000, "GPIOB": 0x40020400, "TIM2": 0x40000000, "UART1": 0x40011000}


def main():
    with tempfile.TemporaryDirectory() as tmp:
        probe_c = os.path.join(tmp, "probe.c")
        with open(probe_c, "w") as f:
            f.write(PROBE % {"source": SOURCE})
        probe = os.path.join(tmp, "probe")
        subprocess.run(["gcc", "-std=gnu11", "-w", "-o", probe, probe_c], check=True)
        facts = subprocess.run([probe], capture_output=True, text=True, check=True).stdout.split("\n")

    for image in IMAGES:
        compare(image, facts, check)

    return summary("regmap", shown=1000)


def compare(image, facts, check_):
    def check(name, cond, detail=""):
        check_(os.path.basename(image) + " " + name, cond, detail)

    p = subprocess.run([BIN, "-mm", image], capture_output=True, text=True)
    check("status", p.returncode == 0, p.returncode)
    root = ET.fromstring(p.stdout)  # raises on XML that is not well formed
    groups = {g.get("name"): g for g in root.findall("RegisterGroup")}
    check("groups", sorted(groups) == sorted(BASES), sorted(groups))
    for name, base in BASES.items():
        check(f"{name} base", int(groups[name].get("start"), 16) == base, groups[name].get("start"))

    registers = {}
    fields = {}
    for gname, g in groups.items():
        for r in g.findall("Register"):
            registers[(gname, r.get("name"), int(r.get("start")[1:], 16))] = int(r.get("size", "-1"))
            for b in r.findall("BitField"):
                fields[(gname, r.get("name") + "." + b.get("name"))] = (int(b.get("start")), int(b.get("size")))

    expected_registers = 0
    for line in facts:
        if not line:
            continue
        group, member, a, b = line.split()
        a, b = int(a), int(b)
        if "." in member:
            check(f"{group} {member}", fields.get((group, member)) == (a, b), (fields.get((group, member)), (a, b)))
            continue
        expected_registers += 1
        reg_name = "Reserved" if member.startswith("RESERVED") else member
        check(f"{group} {member}", registers.get((group, reg_name, a)) == b,
              (registers.get((group, reg_name, a)), a, b))
    # Nothing listed that the source does not define.
    check("register count", len(registers) == expected_registers, (len(registers), expected_registers))
    expected_fields = sum(1 for line in facts if line and "." in line.split()[1])
    check("bit field count", len(fields) == expected_fields, (len(fields), expected_fields))


if __name__ == "__main__":
    sys.exit(main())
