#!/usr/bin/env bash
# Speed and peak memory of elfdwarfdump beside the tools a user would otherwise run,
# on large installed libraries. Prints ratios, not absolute times: each comparison
# runs both tools in the same hyperfine session on the same warm cache.
set -euo pipefail
bin=${1:-build/bin/elfdwarfdump}
bin=$(readlink -f "$bin")
newlib=/usr/lib/arm-none-eabi/newlib
archive=${ARCHIVE:-$(ls -S $newlib/libstdc++.a $newlib/*/*/*/libstdc++.a 2>/dev/null | head -n 1)}
dwarf_archive=${DWARF_ARCHIVE:-$newlib/thumb/v7-m/nofp/libc.a}
runs=${RUNS:-30}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# label, input, our command, then the other tools' commands (each with the input last)
compare() {
  local label=$1 input=$2 ours=$3
  shift 3
  local cmds=("$bin $ours $input")
  for other in "$@"; do cmds+=("$other $input"); done
  hyperfine -N -w 2 -r "$runs" --export-json "$work/$label.json" "${cmds[@]}" > /dev/null 2>&1
  python3 - "$work/$label.json" "$label" <<'PY'
import json, sys
r = json.load(open(sys.argv[1]))["results"]
ours = r[0]["mean"]
line = f"{sys.argv[2]:>18}: ours {ours*1000:7.1f} ms"
for other in r[1:]:
    tool = other["command"].split()[0].split("/")[-1]
    line += f" | {tool} {other['mean']*1000:7.1f} ms, ours {other['mean']/ours:5.2f}x faster"
print(line)
PY
}

peak() { /usr/bin/time -f %M "$@" > /dev/null 2> "$work/time"; tail -n 1 "$work/time"; }

size=$(stat -c %s "$archive")
echo "listings on $archive ($size bytes)"
compare symbols "$archive" "-symbols" "arm-none-eabi-readelf -s"
compare header-sections "$archive" "-header -sections" "arm-none-eabi-readelf -h -S"
limit_kb=$(( (2 * size) / 1024 + 16 * 1024 ))
for opts in "-symbols" "-header -sections" "-header -programs -sections -symbols -symbols-sorted -ltosymbols"; do
  echo "peak memory ($opts): $(peak "$bin" $opts "$archive") KiB (limit 2 x input + 16 MiB = $limit_kb KiB)"
done

dsize=$(stat -c %s "$dwarf_archive")
echo "DWARF on $dwarf_archive ($dsize bytes)"
runs=$(( runs / 3 > 5 ? runs / 3 : 5 )) compare dwarf "$dwarf_archive" "-dwarf" \
  "arm-none-eabi-readelf --debug-dump=info,line" "llvm-dwarfdump --debug-info --debug-line"
echo "peak memory (-dwarf): $(peak "$bin" -dwarf "$dwarf_archive") KiB (limit 3 x input = $(( 3 * dsize / 1024 )) KiB)"

disasm_archive=${DISASM_ARCHIVE:-$newlib/thumb/v7-m/nofp/libstdc++.a}
dasize=$(stat -c %s "$disasm_archive")
echo "disassembly of $disasm_archive ($dasize bytes)"
runs=$(( runs / 6 > 3 ? runs / 6 : 3 )) compare disassemble "$disasm_archive" "-disassemble" \
  "arm-none-eabi-objdump -d" "llvm-objdump -d --triple=thumbv7m-none-eabi"
echo "peak memory (-disassemble): $(peak "$bin" -disassemble "$disasm_archive") KiB" \
  "(limit 2 x input + 16 MiB = $(( (2 * dasize) / 1024 + 16 * 1024 )) KiB)"
