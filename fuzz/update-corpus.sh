#!/usr/bin/env bash
# Replaces the committed corpus of each target by the inputs of a campaign's corpus
# that reach code the fixtures' seeds do not: one input per new edge (hit counts are
# not kept, which keeps the corpus small), seeds left out as the fixtures hold them.
# Usage: update-corpus.sh <fuzz build dir> [target...]
set -euo pipefail
dir=$(cd "$1" && pwd)
shift
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=64}
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=(fuzz_elf fuzz_archive fuzz_disasm fuzz_indirect)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for target in "${targets[@]}"; do
  "$here/fuzz/seeds.sh" "$target" "$work/seeds"
  mkdir -p "$work/out" "$work/snapshot"
  cp "$work/seeds"/* "$work/out"/
  # A campaign still running renames and removes files: merge from a copy.
  cp "$dir/corpus/$target"/* "$here/fuzz/corpus/$target"/* "$work/snapshot"/ 2>/dev/null || true
  (cd "$work" && "$dir/bin/$target" -merge=1 -use_counters=0 -rss_limit_mb=512 -timeout=10 \
     "$work/out" "$work/snapshot" > "$work/merge.log" 2>&1)
  for seed in "$work/seeds"/*; do rm -f "$work/out/$(basename "$seed")"; done
  rm -rf "$here/fuzz/corpus/$target"
  mkdir -p "$here/fuzz/corpus/$target"
  cp "$work/out"/* "$here/fuzz/corpus/$target"/ 2>/dev/null || true
  echo "$target: $(ls "$here/fuzz/corpus/$target" | wc -l) inputs, $(du -sb "$here/fuzz/corpus/$target" | cut -f1) bytes"
  rm -rf "$work/seeds" "$work/out" "$work/snapshot"
done
