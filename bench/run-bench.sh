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

# label, archive, our -arch level, llvm-objdump's target options: the core Thumb-2
# library, then the Advanced SIMD and the MVE ones, whose code is full of vector forms.
disassembly() {
  local label=$1 archive=$2 level=$3 llvm=$4
  local size
  size=$(stat -c %s "$archive")
  echo "disassembly of $archive ($size bytes)"
  runs=$(( runs / 6 > 3 ? runs / 6 : 3 )) compare "$label" "$archive" "-disassemble -arch $level" \
    "arm-none-eabi-objdump -d" "llvm-objdump -d $llvm"
  echo "peak memory (-disassemble): $(peak "$bin" -disassemble -arch "$level" "$archive") KiB" \
    "(limit 2 x input + 16 MiB = $(( (2 * size) / 1024 + 16 * 1024 )) KiB)"
}
disassembly disassemble "${DISASM_ARCHIVE:-$newlib/thumb/v7-m/nofp/libstdc++.a}" v7M "--triple=thumbv7m-none-eabi"
disassembly disassemble-simd "$newlib/thumb/v7-a+simd/hard/libstdc++.a" v7A \
  "--triple=thumbv7a-none-eabi --mattr=+neon,+vfp4"
disassembly disassemble-mve "$newlib/thumb/v8.1-m.main+mve/hard/libstdc++.a" v8.1M_Mainline \
  "--triple=thumbv8.1m.main-none-eabi --mattr=+mve.fp,+fp64"
