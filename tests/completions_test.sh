#!/usr/bin/env bash
# What bash completes after the completions file given as argument has been read.
set -euo pipefail
# shellcheck source=completions/quillon.bash
source "$1"
cd "$(mktemp -d)"
trap 'rm -r "$PWD"' EXIT
touch problem.pb 'problem two.pb' other

failures=0
expect() { # expect COMPLETIONS WORD...: the last word is the one being completed
  local expected=$1
  shift
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  [[ $(complete -p "$1") == "complete -F _quillon $1" ]] || { echo "$1: no completion"; exit 1; }
  _quillon
  local got
  got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd,)
  [[ $got == "$expected" ]] || { echo "$*: $got, not $expected"; failures=1; }
}

expect --help,--t quillon -
expect --help quillon --h
expect --help quillon --t 5 --h
expect '' quillon --t p
expect 'problem two.pb,problem.pb' quillon pro
expect --seed,--smallest-width,--stats estoc --s
expect 'problem two.pb,problem.pb' estoc --no-values p
expect '' estoc --time-limit p
expect --memory-limit estoc-verify --m
expect 'problem two.pb,problem.pb' estoc-verify problem.pb p
expect --format,--help,--limit,--map,--version opb2quillon --
expect cnf opb2quillon --format c
expect --map quillon-check --m
expect other quillon-check --map o
expect 'problem two.pb,problem.pb' quillon-check --map other p
expect '' opb2quillon --nothing
exit $failures
