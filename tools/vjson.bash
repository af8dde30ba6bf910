# Completion of vjson for bash, by what vjson --help prints.
_vjson() {
  local command='' usage words i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]} && break; }
  done
  usage=$(vjson --help | grep " vjson $command\b")
  words="$(grep -o -e '--[a-z-]*' <<<"$usage") --color=always --color=never"
  words+=' --color=auto --report --help --version'
  [[ $command ]] || words+=" $(sed 's/.* vjson \([a-z]*\).*/\1/' <<<"$usage")"
  if [[ $2 == -* || ! $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$2")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$2")
  fi
}
complete -o filenames -F _vjson vjson
