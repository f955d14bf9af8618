#!/usr/bin/env bash
# Builds the fuzz targets and runs each from the same seed, FACTOR (default 1) times a fixed number
# of runs; with target names behind the factor, only those. What a target finds is written to
# build/fuzz-found.
set -euo pipefail
cd "$(dirname "$0")/.."
factor=${1:-1}
[ $# -eq 0 ] || shift
wanted=${*:-reader_fuzz formats_fuzz agreement_fuzz program_fuzz solver_fuzz}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
mkdir -p build/fuzz-found
export QUILLON=$PWD/build/fuzz/quillon

run() { # run TARGET RUNS SEED_FILE_PATTERN OPTION...
  local target=$1 runs=$2 pattern=$3
  shift 3
  case " $wanted " in *" $target "*) ;; *) return 0 ;; esac
  local corpus=build/corpus/$target
  rm -rf "$corpus"
  mkdir -p "$corpus"
  if [ -n "$pattern" ]; then
    find tests/data/golden examples -name "$pattern" -size -64k -exec cp {} "$corpus" \;
  else # the bytes are choices, so any will do
    python3 - "$corpus" <<'EOF'
import pathlib, random, sys
source = random.Random(1)
for i in range(100):
    (pathlib.Path(sys.argv[1]) / str(i)).write_bytes(source.randbytes(source.randint(20, 400)))
EOF
  fi
  echo "== $target, $((runs * factor)) runs"
  build/fuzz/fuzz/"$target" -seed=1 -runs=$((runs * factor)) -artifact_prefix=build/fuzz-found/ \
    "$@" "$corpus" >build/"$target".log 2>&1 || { tail -60 build/"$target".log; exit 1; }
  tail -1 build/"$target".log
}

run reader_fuzz 40000 '*.in' -dict=fuzz/star.dict
run formats_fuzz 40000 '*.[io][nu]*' -dict=fuzz/star.dict
run agreement_fuzz 20000 '*.in' -dict=fuzz/star.dict
run program_fuzz 2000 '' -max_len=400 -len_control=0
run solver_fuzz 20000 '' -max_len=400 -len_control=0
