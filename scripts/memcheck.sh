#!/usr/bin/env bash
# valgrind's memory and leak check of the programs over a sample of the golden cases: every STEP-th
# (default 12) of those that are small, a broken input, and a round trip through the tools. It sees
# what AddressSanitizer does not: uses of values that were never set.
set -euo pipefail
cd "$(dirname "$0")/.."
step=${1:-12}
[[ "$step" =~ ^[1-9][0-9]*$ ]] || { echo "usage: scripts/memcheck.sh [STEP]" >&2; exit 2; }
golden=tests/data/golden
work=build/memcheck
mkdir -p "$work"
cmake --preset release >/dev/null
cmake --build --preset release --target quillon opb2quillon quillon-check

# The last field but one counts what a run takes; valgrind is some thirty times slower than that.
check() { # check EXPECTED PROGRAM...: with the input and output of the caller
  local expected=$1 code=0
  shift
  valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite,possible \
    --errors-for-leak-kinds=definite,possible --track-fds=no "$@" 2>"$work/err" || code=$?
  [ "$code" = "$expected" ] && return
  grep -v '^c ' "$work/err" >&2 || true
  echo "memcheck: $* ended with $code, not $expected" >&2
  exit 1
}

count=0
while read -r name exit; do
  check "$exit" build/release/quillon <"$golden/$name.in" >"$work/out"
  diff <(grep -v '^c total time' "$golden/$name.out") <(grep -v '^c total time' "$work/out")
  if [ "$exit" = 10 ] || [ "$exit" = 30 ]; then
    check 0 build/release/quillon-check "$golden/$name.in" "$work/out" >/dev/null
  fi
  count=$((count + 1))
done < <(python3 - "$golden/cases.csv" "$step" <<'EOF'
import csv, sys
cases = [row for row in csv.DictReader(open(sys.argv[1]))
         if not row["inspects"] or int(row["inspects"]) + int(row["propagations"]) < 500000]
for row in cases[:: int(sys.argv[2])]:
    print(row["name"], row["exit"])
EOF
)
if [ "$count" -lt 10 ]; then
  echo "memcheck: every ${step}th golden case makes $count, and fewer than 10 say little" >&2
  exit 1
fi

printf 'min: 1 x[1] 2 ~y ;\n1 x[1] 1 ~y >= 1 ;\n' >"$work/in.opb"
check 0 build/release/opb2quillon --map "$work/map" "$work/in.opb" "$work/star"
check 30 build/release/quillon <"$work/star" >"$work/out"
check 0 build/release/quillon-check --map "$work/map" "$work/in.opb" "$work/out" >/dev/null
check 0 build/release/opb2quillon "$work/star" - >/dev/null
check 1 build/release/opb2quillon "$work/out" - >/dev/null
echo "memcheck: $count golden cases and the tools are clean"
