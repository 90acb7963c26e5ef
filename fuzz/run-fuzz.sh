#!/usr/bin/env bash
# Runs every fuzz target for the given number of seconds, each from a corpus seeded
# with the fixtures, under the limits the tool promises (memory, time per input).
set -euo pipefail
dir=$(cd "$1" && pwd)
seconds=${2:-60}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
fixtures=$here/tests/fixtures
status=0
for target in fuzz_elf fuzz_archive fuzz_disasm fuzz_indirect; do
  corpus=$dir/corpus/$target
  findings=$dir/findings/$target
  mkdir -p "$corpus" "$findings"
  case $target in
    fuzz_elf|fuzz_disasm) cp -n "$fixtures"/elf/*.o "$fixtures"/disasm/*.o "$fixtures"/tool/* "$corpus"/ 2>/dev/null || true ;;
    fuzz_archive) for a in "$fixtures"/elf/*.a; do tail -c +9 "$a" > "$corpus/$(basename "$a")"; done ;;
    fuzz_indirect) printf -- '-header\n# comment\n"a b" -sections\n@seed\n' > "$corpus/seed" ;;
  esac
  # Inputs may name an output file: each target runs in a scratch directory.
  scratch=$dir/scratch/$target
  rm -rf "$scratch" && mkdir -p "$scratch"
  echo "== $target ($seconds s)"
  if ! (cd "$scratch" && "$dir/bin/$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=10 \
       -dict="$here/fuzz/elfdwarfdump.dict" -artifact_prefix="$findings/" "$corpus" 2>&1 | tail -n 3); then
    status=1
  fi
done
exit $status
