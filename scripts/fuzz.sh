#!/usr/bin/env bash
# Builds the fuzz targets and runs each from the same seed, FACTOR (default 1) times a fixed number
# of runs; with target names behind the factor, only those. As many run at a time as there are
# processors. Starts no more behind a fault, and the input that causes it is then in build/fuzz-found.
set -euo pipefail
cd "$(dirname "$0")/.."
factor=${1:-1}
[ $# -eq 0 ] || shift
[ $# -gt 0 ] ||
  set -- reader_fuzz formats_fuzz agreement_fuzz program_fuzz solver_fuzz checker_fuzz engine_fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "$@"

# Seeds. Texts: the golden problems, their outputs, and for targets that take both the two in one.
# Where the bytes are choices, any bytes will do.
texts=build/fuzz-seeds/texts
choices=build/fuzz-seeds/choices
mkdir -p build/fuzz-found "$texts" "$choices"
for input in tests/data/golden/*.in; do
  [ "$(wc -c <"$input")" -lt 4096 ] || continue
  name=$(basename "$input" .in)
  output=${input%.in}.out
  cp -f "$input" "$output" "$texts"
  { cat "$input"; printf '\n%%\n'; cat "$output"; } >"$texts/$name.both"
done
printf 'min: 2 x1 ~x2 -3 x3 +1;\n1 x1 x2 1 ~x3 >= 1;\n1 x1 = 0;\n' >"$texts/products.opb"
printf 'soft: 9 ;\n[2] 1 x1 x2 >= 1;\n[3]-1 x1 -1 x3 = -1;\n1 x1<= 0;\n' >"$texts/soft.wbo"
printf 'c x\np cnf 3 2\n1 -2 0\nc y\n-1 3\n0\n%%\n0\n' >"$texts/clauses.cnf"
printf 'p wcnf 3 3 7\n7 1 -2 0\n3 -1 3 0\n2 2 0\n' >"$texts/old.wcnf"
printf 'h 1 -2 0\n3 -1 3 0\n2 2 0\n%%\ns OPTIMUM FOUND\no 2\nv 100\n' >"$texts/new.wcnf.both"
proofs=build/fuzz-seeds/proofs
mkdir -p "$proofs"
head='pseudo-Boolean proof version 3.0\n'
tail='end pseudo-Boolean proof;\n'
printf '0%b' "${head}f 4; rup 1 x1 >= 1; pol 3 4 + 5 2 * +; output NONE; conclusion UNSAT : 6; $tail" >"$proofs/0"
printf '1%b' "${head}soli x1 ~x2 ~x3 ~x4 : 2; red 1 y1 >= 1 : y1 -> 1 : subproof proofgoal #1 rup >= 1; qed;
qed; output NONE; conclusion BOUNDS -1 2 : x1 ~x2 ~x3 ~x4; $tail" >"$proofs/1"
printf '2%b' "${head}@a e 3 x1 2 x2 4 x3 >= 5; pol @a 2 m s 3 d x1 w; del id -1; ia >= 0; obju diff 0;
output NONE; conclusion NONE; $tail" >"$proofs/2"
printf '3%b' "${head}core id 1; del range 1 2; output NONE; conclusion NONE; $tail" >"$proofs/3"
printf '4h 1 2 0\n3 1 0\n2 -1 -2 0\n%%%%%b' "${head}f 2; output NONE; conclusion NONE; $tail" >"$proofs/4"
printf '0%b' 'pseudo-Boolean proof version 2.0\n* x\nf 4\nrup 1 x1 >= 1 ; 1 2\nred 1 y1 >= 1 ; y1 -> 1 ; begin\nproofgoal #1\npol -1 -2 +\nend -1\nend\noutput NONE\nconclusion NONE\nend pseudo-Boolean proof\n' >"$proofs/5"
python3 - "$choices" <<'EOF'
import pathlib, random, sys
source = random.Random(1)
for i in range(100):
    (pathlib.Path(sys.argv[1]) / str(i)).write_bytes(source.randbytes(source.randint(20, 400)))
EOF

one() { # one TARGET RUNS SEEDS OPTION...
  local target=$1 runs=$(($2 * factor)) seeds=$3
  shift 3
  case " $wanted " in *" $target "*) ;; *) return 0 ;; esac
  local corpus=build/fuzz-corpus/$target # what was found to reach new code; anew each time
  rm -rf "$corpus"
  mkdir -p "$corpus"
  if build/fuzz/fuzz/"$target" -seed=1 -runs="$runs" -timeout=20 -artifact_prefix=build/fuzz-found/ \
    "$@" "$corpus" "$seeds" >build/"$target".log 2>&1; then
    echo "== $target: $(tail -1 build/"$target".log)"
  else
    echo "== $target: a fault"
    tail -60 build/"$target".log
    return 255 # xargs starts no more
  fi
}
export -f one
export factor wanted="$*"

# Long ones first.
xargs -P "$(nproc)" -L 1 bash -euo pipefail -c 'one "$@"' one <<EOF
engine_fuzz 1500 $choices -max_len=600 -len_control=0 -timeout=100
program_fuzz 2000 $choices -max_len=400 -len_control=0
checker_fuzz 60000 $proofs -dict=fuzz/proof.dict
solver_fuzz 20000 $choices -max_len=400 -len_control=0
formats_fuzz 60000 $texts -dict=fuzz/formats.dict
reader_fuzz 40000 $texts -dict=fuzz/star.dict
agreement_fuzz 20000 $texts -dict=fuzz/star.dict
EOF
