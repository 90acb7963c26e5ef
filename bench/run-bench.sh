#!/usr/bin/env bash
# Speed and peak memory of elfdwarfdump's ELF listings beside the tool a user would
# otherwise run, on the largest installed libstdc++.a. Prints ratios, not absolute
# times: both tools run in the same hyperfine session on the same warm cache.
set -euo pipefail
bin=${1:-build/bin/elfdwarfdump}
bin=$(readlink -f "$bin")
archive=${ARCHIVE:-$(ls -S /usr/lib/arm-none-eabi/newlib/libstdc++.a /usr/lib/arm-none-eabi/newlib/*/*/*/libstdc++.a 2>/dev/null | head -n 1)}
runs=${RUNS:-30}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

size=$(stat -c %s "$archive")
echo "input: $archive ($size bytes)"

compare() { # label, our options, readelf options
  local label=$1 ours=$2 theirs=$3
  hyperfine -N -w 3 -r "$runs" --export-json "$work/$label.json" \
    "$bin $ours $archive" "arm-none-eabi-readelf $theirs $archive" > /dev/null 2>&1
  python3 - "$work/$label.json" "$label" <<'PY'
import json, sys
r = json.load(open(sys.argv[1]))["results"]
ours, theirs = r[0]["mean"], r[1]["mean"]
print(f"{sys.argv[2]:>24}: ours {ours*1000:7.1f} ms  readelf {theirs*1000:7.1f} ms  speed-up {theirs/ours:5.2f}x")
PY
}

compare symbols "-symbols" "-s"
compare header-sections "-header -sections" "-h -S"

peak() { /usr/bin/time -f %M "$@" > /dev/null 2> "$work/time"; tail -n 1 "$work/time"; }
limit_kb=$(( (2 * size) / 1024 + 16 * 1024 ))
for opts in "-symbols" "-header -sections" "-header -programs -sections -symbols -symbols-sorted -ltosymbols"; do
  kb=$(peak "$bin" $opts "$archive")
  echo "peak memory ($opts): ${kb} KiB (limit 2 x input + 16 MiB = ${limit_kb} KiB)"
done
echo "peak memory readelf -s: $(peak arm-none-eabi-readelf -s "$archive") KiB"
