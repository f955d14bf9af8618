#!/bin/sh
# Installs what a new Debian or Ubuntu machine lacks for building and testing. Elsewhere it only
# says what is missing. Called by the other scripts; does nothing when everything is there.
set -eu
lacking=
need() { # need PACKAGE TEST...: PACKAGE is wanted unless TEST succeeds
  package=$1
  shift
  "$@" >/dev/null 2>&1 || lacking="$lacking $package"
}
header() { [ -e "/usr/include/$1" ] || [ -e "/usr/include/$(uname -m)-linux-gnu/$1" ]; }

need g++ which g++
need cmake which cmake
need ninja-build which ninja
need zlib1g-dev header zlib.h
need libbz2-dev header bzlib.h
need liblzma-dev header lzma.h
need libboost-dev header boost/multiprecision/cpp_int.hpp
need coinor-libclp-dev header coin/ClpSimplex.hpp
need libcli11-dev header CLI/CLI.hpp
need nlohmann-json3-dev header nlohmann/json.hpp
if [ "${1:-}" = tests ] || [ "${1:-}" = ci ]; then
  need libgtest-dev header gtest/gtest.h
  need python3 which python3
  need groff-base which groff
fi
if [ "${1:-}" = bench ]; then
  need libbenchmark-dev header benchmark/benchmark.h
  need python3 which python3
  need python3-matplotlib /usr/bin/python3 -c 'import matplotlib'
fi
if [ "${1:-}" = ci ]; then
  need clang which clang++
  # The sanitizers' and the fuzzer's runtime is only suggested by the compiler's package.
  need libclang-rt-dev test -e \
    "$(clang++ -print-resource-dir 2>/dev/null)/include/fuzzer/FuzzedDataProvider.h"
  need clang-format which clang-format
  need clang-tidy which clang-tidy
  need cppcheck which cppcheck
  need valgrind which valgrind
  need pyflakes3 which pyflakes3
  need pycodestyle which pycodestyle
  need shellcheck which shellcheck
  need pkg-config which pkg-config
  need lintian which lintian
  need chromium which chromium # in which tests look at reports
fi
[ -n "$lacking" ] || exit 0

if ! which apt-get >/dev/null 2>&1; then
  echo "Please install:$lacking" >&2
  exit 1
fi
as_root=
[ "$(id -u)" = 0 ] || as_root=sudo
echo "Installing:$lacking"
export DEBIAN_FRONTEND=noninteractive
$as_root apt-get update -qq
# shellcheck disable=SC2086 # one word per package
$as_root apt-get install -y -qq --no-install-recommends $lacking >/dev/null
