# Completion of quillon, opb2quillon and quillon-check for bash.

_quillon() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local options
  case ${COMP_WORDS[0]##*/} in
    quillon) options="--t --help" ;;
    *) options="--format --map --limit --help --version" ;;
  esac
  COMPREPLY=()
  case $before in
    --t | --limit) return ;; # a number
    --format)
      mapfile -t COMPREPLY < <(compgen -W "star opb wbo cnf wcnf" -- "$word")
      return
      ;;
    --map) ;;
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

complete -F _quillon quillon opb2quillon quillon-check
