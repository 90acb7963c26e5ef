#!/usr/bin/env bash
# A campaign: one fuzz target run until it has used the given CPU time (not wall
# time, so that campaigns sharing a machine still each get their full share), under
# the limits the tool promises. Usage: campaign.sh <fuzz build dir> <target> <cpu seconds>
# Its log is <dir>/campaign/<target>.log; the last lines give executions and coverage.
set -euo pipefail
dir=$(cd "$1" && pwd)
target=$2
cpu_seconds=${3:-3600}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# The sanitizer keeps freed memory aside to catch late uses (256 MiB by default),
# which would count against the memory limit as if the tool had used it.
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=64}
corpus=$dir/corpus/$target
findings=$dir/findings/$target
scratch=$dir/scratch/$target
log=$dir/campaign/$target.log
mkdir -p "$corpus" "$findings" "$dir/campaign"
rm -rf "$scratch" && mkdir -p "$scratch"
# The committed corpus seeds the campaign; new inputs stay in the build folder.
committed=()
[[ ! -d $here/fuzz/corpus/$target ]] || committed=("$here/fuzz/corpus/$target")

(cd "$scratch" && exec "$dir/bin/$target" -rss_limit_mb=512 -timeout=10 -print_final_stats=1 \
   -dict="$here/fuzz/elfdwarfdump.dict" -artifact_prefix="$findings/" "$corpus" "${committed[@]}" > "$log" 2>&1) &
pid=$!
ticks=$(getconf CLK_TCK)
# The subshell has become the fuzzer; its user and system time are fields 14 and 15.
while kill -0 $pid 2>/dev/null; do
  sleep 10
  read -r -a stat < "/proc/$pid/stat" || break
  used=$(( (stat[13] + stat[14]) / ticks ))
  if (( used >= cpu_seconds )); then
    kill -INT $pid
    break
  fi
done
status=0
wait $pid || status=$?
echo "== $target: status $status, $(grep -c '' "$log") log lines"
grep -E '^#[0-9]+' "$log" | tail -n 1
grep -E '^stat::' "$log" || true
ls "$findings"
