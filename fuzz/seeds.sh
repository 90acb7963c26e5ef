#!/usr/bin/env bash
# Fills <folder> with the seed inputs of a fuzz target, made from the fixtures.
# Usage: seeds.sh <target> <folder>
set -euo pipefail
target=$1
out=$2
fixtures=$(cd "$(dirname "${BASH_SOURCE[0]}")/../tests/fixtures" && pwd)
mkdir -p "$out"
case $target in
  fuzz_elf|fuzz_disasm) cp "$fixtures"/elf/*.o "$fixtures"/disasm/*.o "$fixtures"/tool/* "$out"/ ;;
  # The archive target adds the magic itself.
  fuzz_archive) for a in "$fixtures"/elf/*.a; do tail -c +9 "$a" > "$out/$(basename "$a")"; done ;;
  fuzz_indirect) printf -- '-header\n# comment\n"a b" -sections\n@seed\n' > "$out/seed" ;;
  *) echo "unknown target $target" >&2; exit 2 ;;
esac
