# Completion for bash. Commands, options and what options accept are those that `quarv --help` tells at the time.
_quarv() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} word help choices
  local -a command=()
  # The command is the words in front that the help of the command before them lists.
  help=$("${COMP_WORDS[0]}" --help 2>/dev/null) || return
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == help && ! ${command[*]} ]] && continue  # what follows are commands, too
    sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p' <<<"$help" | grep -qxF -e "$word" || break
    command+=("$word")
    help=$("${COMP_WORDS[0]}" "${command[@]}" --help 2>/dev/null) || return
  done

  COMPREPLY=()
  choices=$(sed -n "s/^  \(-[a-z],\)\{0,1\}$previous \([a-z]*|[a-z|]*\).*/\2/p" <<<"$help")
  if [[ $previous == --solver ]]; then
    mapfile -t COMPREPLY < <(compgen -W "z3 cvc5" -- "$current")
  elif [[ $previous == --disable-rule || $previous == --why-not || $previous == --rule ||
          ${command[*]} == "rules show" && $current != -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$({ "${COMP_WORDS[0]}" rules list; "${COMP_WORDS[0]}" rules list --extended; } 2>/dev/null |
      sed -n 's/.* \([a-z0-9-]*\): [a-z]*(.*) >> .*/\1/p')" -- "$current")
  elif [[ $previous == --* && $choices ]]; then
    mapfile -t COMPREPLY < <(compgen -W "${choices//|/ }" -- "$current")
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(grep -oE -- '^  (-[a-z],)?--[a-z-]+' <<<"$help" | grep -oE -- '--[a-z-]+')" \
      -- "$current")
  elif grep -q '^Subcommands:' <<<"$help"; then
    mapfile -t COMPREPLY < <(compgen -W "$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p' <<<"$help")" \
      -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    compopt -o filenames 2>/dev/null
  fi
}
complete -F _quarv quarv
