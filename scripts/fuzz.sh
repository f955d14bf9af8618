#!/usr/bin/env bash
# Builds the fuzz targets and runs each for RUNS inputs (default 50000), from the golden cases on
# and with a fixed seed. Ends at the first fault; the input that causes it is then in build/fuzz.
# With names behind RUNS only those targets run.
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-50000}
[ $# -eq 0 ] || shift
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

# Seeds: the golden problems, their outputs, and for targets that take both the two in one.
seeds=build/fuzz/seeds
mkdir -p "$seeds"
for input in tests/data/golden/*.in; do
  [ "$(wc -c <"$input")" -lt 4096 ] || continue
  name=$(basename "$input" .in)
  output=${input%.in}.out
  cp -f "$input" "$output" "$seeds"
  { cat "$input"; printf '\n%%\n'; cat "$output"; } >"$seeds/$name.both"
done

# shellcheck disable=SC2046 # one word per target
[ $# -gt 0 ] || set -- $(sed -n 's/^quillon_fuzz(\([a-z_]*\).*/\1/p' fuzz/CMakeLists.txt)
for target in "$@"; do
  corpus=build/fuzz/corpus-$target # grows from run to run; remove it for a repetition
  mkdir -p "$corpus"
  echo "== $target"
  build/fuzz/fuzz/"$target" -seed=1 -runs="$runs" -dict=fuzz/star.dict -timeout=20 \
    -artifact_prefix="build/fuzz/$target-" "$corpus" "$seeds" >"build/fuzz/$target.log" 2>&1 ||
    { tail -50 "build/fuzz/$target.log"; exit 1; }
  tail -1 "build/fuzz/$target.log"
done
