#compdef quarv
# Completion for zsh. Commands, options and what options accept are those that `quarv --help` tells at the time.
_quarv() {
  local program=$words[1] previous=$words[CURRENT-1] current=$words[CURRENT] word help
  local -a command subcommands candidates
  # The command is the words in front that the help of the command before them lists.
  help=$($program --help 2>/dev/null) || return
  for word in ${words[2,CURRENT-1]}; do
    [[ $word == help && $#command -eq 0 ]] && continue  # what follows are commands, too
    subcommands=(${(f)"$(print -r -- $help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')"})
    (( ${subcommands[(Ie)$word]} )) || break
    command+=($word)
    help=$($program $command --help 2>/dev/null) || return
  done

  subcommands=(${(f)"$(print -r -- $help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')"})
  candidates=()
  if [[ $previous == --* ]]; then
    candidates=(${(s:|:)"$(print -r -- $help | sed -n "s/^  \(-[a-z],\)\{0,1\}$previous \([a-z]*|[a-z|]*\).*/\2/p")"})
  fi
  if [[ $previous == --solver ]]; then
    compadd -- z3 cvc5
  elif [[ $previous == (--disable-rule|--why-not|--rule) || ( "$command" == "rules show" && $current != -* ) ]]; then
    compadd -- ${(f)"$({ $program rules list; $program rules list --extended } 2>/dev/null |
      sed -n 's/.* \([a-z0-9-]*\): [a-z]*(.*) >> .*/\1/p')"}
  elif (( $#candidates )); then
    compadd -- $candidates
  elif [[ $current == -* ]]; then
    compadd -- ${(f)"$(print -r -- $help | grep -oE -- '^  (-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+')"}
  elif (( $#subcommands )); then
    compadd -- $subcommands
  else
    _files
  fi
}
_quarv "$@"
