#!/usr/bin/env bash
# Runs every fuzz target for the given number of seconds under the limits the tool
# promises (memory, time per input), starting from the committed corpus and seeds
# made from the fixtures. Usage: run-fuzz.sh <fuzz build dir> <seconds> [--smoke]
#  - without --smoke, new inputs are kept in <dir>/corpus/<target> for the next run;
#  - with --smoke (the test suite's run), every run starts again from the committed
#    corpus and what it adds is thrown away at the next one.
# Inputs that crash, hang or run out of memory land in <dir>/findings/<target>
# (<dir>/smoke/findings/<target>), and the status is 1.
set -euo pipefail
dir=$(cd "$1" && pwd)
seconds=${2:-60}
smoke=${3:-}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# The sanitizer keeps freed memory aside to catch late uses (256 MiB by default),
# which would count against the memory limit as if the tool had used it.
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=64}
status=0
for target in fuzz_elf fuzz_archive fuzz_disasm fuzz_indirect; do
  # A smoke run works in a folder of its own, so it never touches a campaign's corpus.
  work=$dir
  [[ -z $smoke ]] || work=$dir/smoke
  corpus=$work/corpus/$target
  seeds=$work/seeds/$target
  findings=$work/findings/$target
  [[ -z $smoke ]] || rm -rf "$corpus"
  rm -rf "$seeds"
  mkdir -p "$corpus" "$seeds" "$findings"
  "$here/fuzz/seeds.sh" "$target" "$seeds"
  # Inputs may name an output file: each target runs in a scratch directory.
  scratch=$work/scratch/$target
  rm -rf "$scratch" && mkdir -p "$scratch"
  echo "== $target ($seconds s)"
  log=$work/findings/$target.log
  committed=()
  [[ ! -d $here/fuzz/corpus/$target ]] || committed=("$here/fuzz/corpus/$target")
  if (cd "$scratch" && "$dir/bin/$target" -max_total_time="$seconds" -rss_limit_mb=512 -timeout=10 \
        -dict="$here/fuzz/elfdwarfdump.dict" -artifact_prefix="$findings/" \
        "$corpus" "${committed[@]}" "$seeds" > "$log" 2>&1); then
    grep -E '^#[0-9]+' "$log" | tail -n 1
  else
    tail -n 40 "$log"
    status=1
  fi
done
exit $status
