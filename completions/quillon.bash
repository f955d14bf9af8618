# Completion of quillon, estoc, estoc-verify, opb2quillon and quillon-check for bash.

_quillon() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local options
  case ${COMP_WORDS[0]##*/} in
    quillon) options="--t --help" ;;
    estoc)
      options="--time-limit --cpu-limit --memory-limit --seed --verbosity --no-values --format"
      options+=" --stats --report --proof --proof-version --write-opb --help --version --no-stable-mode"
      options+=" --no-focused-mode --no-rephase --no-solution-phases --no-weaken-fully"
      options+=" --no-weaken-learnt --no-minimise --no-core-guided --no-presolve"
      options+=" --no-row-comparison --no-row-splitting"
      options+=" --no-local-search --no-lp --no-lazy-rows --no-targets --no-cuts --no-neighbourhoods"
      options+=" --no-probing --no-vivification --no-subsumption --no-at-most-ones"
      options+=" --smallest-width"
      ;;
    estoc-verify) options="--format --memory-limit --help --version" ;;
    *) options="--format --map --limit --help --version" ;;
  esac
  COMPREPLY=()
  case $before in
    --t | --limit | --*-limit | --seed | --verbosity | --smallest-width) return ;; # a number
    --format)
      mapfile -t COMPREPLY < <(compgen -W "star opb wbo cnf wcnf" -- "$word")
      return
      ;;
    --proof-version)
      mapfile -t COMPREPLY < <(compgen -W "2.0 3.0" -- "$word")
      return
      ;;
    --map | --stats | --report | --proof | --write-opb) ;;
    *)
      if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
      fi
      ;;
  esac
  compopt -o filenames 2> /dev/null || true # outside of a completion, as in the test
  mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

complete -F _quillon quillon estoc estoc-verify opb2quillon quillon-check
