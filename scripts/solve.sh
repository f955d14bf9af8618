#!/bin/sh
# Builds Quillon, installing first what the machine lacks, and solves the problem file given, or an
# integer program from a public collection, with estoc; then an example with quillon. Says what
# estoc's exit code means; exits with 0 when it gave a verdict.
set -eu
problem=$(realpath "${1:-$(dirname "$0")/../tests/data/instances/bm23.in}")
if [ ! -f "$problem" ] || [ ! -r "$problem" ]; then
  echo "$0: there is no file $problem that can be read" >&2
  exit 2
fi
cd "$(dirname "$0")/.."
scripts/setup.sh
mkdir -p build
{ cmake --preset release -DBUILD_TESTING=OFF && cmake --build --preset release; } \
  >build/solve.log 2>&1 || { cat build/solve.log >&2; exit 1; }

code=0
build/release/estoc "$problem" || code=$?
case $code in
10) echo "(exit code 10: a solution)" ;;
20) echo "(exit code 20: there is no solution)" ;;
30) echo "(exit code 30: an optimal solution)" ;;
*)
  echo "(exit code $code: no verdict)"
  exit 1
  ;;
esac

echo
echo "A small one with quillon, whose search is fixed for ever:"
build/release/quillon <examples/knapsack.pb || [ $? = 30 ]
