#!/usr/bin/env bash
# Static checks: layout, clang-tidy, cppcheck, shellcheck, pyflakes, pycodestyle. Fails at the first tool that has something
# to say. The first argument, if any, is the number of jobs; without it, one per processor.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=${1:-$(nproc)}

echo "== clang-format"
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

echo "== shellcheck"
git ls-files '*.sh' '*.bash' .ci/run | xargs shellcheck -x

echo "== pyflakes, pycodestyle"
python=$(git ls-files '*.py'; git grep -l '^#!/usr/bin/env python3' -- bench)
# shellcheck disable=SC2086 # one word per file
{
  pyflakes3 $python
  # E203: a space before the colon of a slice of sums; E402: imports that follow a setting
  pycodestyle --max-line-length=106 --ignore=E203,E402,W503,W504 $python
}

# clang-tidy wants clang's own command lines: it knows no g++ warnings. There is nothing to build, and so
# no compiled headers.
cmake --preset check-clang -B build/lint -DQUILLON_PRECOMPILE=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
commands=build/lint/compile_commands.json

echo "== clang-tidy"
scripts/tidy.py "$jobs"

echo "== cppcheck"
mkdir -p build/cppcheck
cppcheck --project="$commands" -i tests -i audit -j "$jobs" --cppcheck-build-dir=build/cppcheck \
  --enable=warning,style,performance,portability --inline-suppr \
  --suppressions-list=scripts/cppcheck-suppressions.txt --suppress='*:/usr/*' \
  --template='{file}:{line}: {message} [{id}]' --quiet --error-exitcode=1

echo "lint: clean"
