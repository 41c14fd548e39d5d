# Completion for fish. Commands, options and what options accept are those that `quarv --help` tells at the time.
function __quarv_candidates
  set -l before (commandline -opc)
  set -l current (commandline -ct)
  set -l previous $before[-1]
  set -l program $before[1]
  set -l command
  # The command is the words in front that the help of the command before them lists.
  set -l help ($program --help 2>/dev/null)
  for word in $before[2..-1]
    if test "$word" = help; and test (count $command) -eq 0
      continue  # what follows are commands, too
    end
    contains -- $word (printf '%s\n' $help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p'); or break
    set -a command $word
    set help ($program $command --help 2>/dev/null)
  end

  set -l choices
  if string match -q -- '--*' $previous
    set choices (printf '%s\n' $help |
      sed -n "s/^  \(-[a-z],\)\{0,1\}$previous \([a-z]*|[a-z|]*\).*/\2/p" | string split '|')
  end
  if test "$previous" = --solver
    printf '%s\n' z3 cvc5
  else if contains -- $previous --disable-rule --why-not --rule; or begin
      test "$command" = 'rules show'; and not string match -q -- '-*' $current
    end
    begin
      $program rules list
      $program rules list --extended
    end 2>/dev/null | sed -n 's/.* \([a-z0-9-]*\): [a-z]*(.*) >> .*/\1/p'
  else if test (count $choices) -ne 0
    printf '%s\n' $choices
  else if string match -q -- '-*' $current
    printf '%s\n' $help | grep -oE -- '^  (-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+'
  else
    set -l subcommands (printf '%s\n' $help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
    if test (count $subcommands) -ne 0
      printf '%s\n' $subcommands
    else
      __fish_complete_path $current
    end
  end
end
complete -c quarv -f -a '(__quarv_candidates)'
