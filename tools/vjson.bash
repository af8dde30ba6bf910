# Completion of vjson for bash.
_vjson() {
  local word=${COMP_WORDS[COMP_CWORD]} commands options
  local -A of=([check]='--strict --lines' [format]=--tree
    [compress]='--tree --comments --lines' [equal]=--all [get]='--raw --lines'
    [keys]=--lines [set]='--string --in-place' [remove]=--in-place [cost]='')
  local command='' i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]} && break; }
  done
  options="${of[${command:-cost}]-} --color=always --color=never --color=auto"
  options+=' --report --help --version'
  [[ $command ]] || commands=${!of[*]}
  if [[ $word == -* || ! $command ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands $options" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -o filenames -F _vjson vjson
