# bash completion of pimbsr-sim: verbs and options are those of its help.
_pimbsr_sim_words() { COMPREPLY=($(compgen -W "$1" -- "$current")); }
_pimbsr_sim_help() { _pimbsr_sim_words "$(pimbsr-sim "${@:2}" --help 2> /dev/null | sed -n "s/$1/\1/p") --help"; }
_pimbsr_sim() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} verb=${COMP_WORDS[1]}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _pimbsr_sim_help '^  \([a-z][a-z]*\) .*'
  elif [[ $current == -* ]]; then
    _pimbsr_sim_help '^  \(--[a-z-]*\).*' "$verb"
  else
    case $verb:$previous in
      *:--severity) _pimbsr_sim_words 'emergency alert critical error warning notice info debug' ;;
      *:--family) _pimbsr_sim_words 'ipv4 ipv6' ;;
      *:--format) _pimbsr_sim_words 'svg dot' ;;
      generate:generate) _pimbsr_sim_words 'ring grid tree fat-tree random' ;;
      generate:*|*:--seed|*:--seeds|*:--until|*:--ask|*:--events|*:--at|*:--for|*:--jobs|*:--run) ;;
      *) compopt -o filenames 2> /dev/null; COMPREPLY=($(compgen -f -- "$current")) ;;
    esac
  fi
}
complete -F _pimbsr_sim pimbsr-sim
