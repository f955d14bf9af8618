#!/bin/sh
# Builds and tests Quillon, installing first what the machine lacks. The arguments are the presets
# to test; without any, the checking build and then the one that users get.
set -eu
cd "$(dirname "$0")/.."
scripts/setup.sh tests
[ $# -gt 0 ] || set -- check release
jobs=$(nproc)
for preset in "$@"; do
  echo "== $preset"
  begin=$(date +%s)
  cmake --preset "$preset" -DBUILD_TESTING=ON >/dev/null
  cmake --build --preset "$preset"
  echo "== $preset: built in $(($(date +%s) - begin)) s"
  ctest --preset "$preset" -j "$jobs"
done
