#!/usr/bin/env bash
# usage: compile_once.sh COMPILER ARGUMENT...
#
# A compiler launcher for what is compiled several times, each in a folder of its own. It is ccache, told to compare the texts
# that the preprocessor makes without the names of the files they come from. Its objects are in the folder that the variable
# QUARV_TEST_OBJECTS names, if there is one, else where ccache has them anyway. Where there is no ccache, it compiles.
set -euo pipefail

if [[ ${CCACHE_PREFIX_CPP:-} == "$0" ]]; then  # ccache asks for the text
  mapfile -t options < <(printf %s "$QUARV_LIST_OF_FILES")
  exec "$@" -P "${options[@]}"
fi
command -v ccache >/dev/null || exec "$@"
if [[ -n ${QUARV_TEST_OBJECTS:-} ]]; then export CCACHE_DIR=$QUARV_TEST_OBJECTS; fi

# The list of files that an object depends on would name those of the folder where it was compiled first, and a change in this
# one would go unnoticed. So ccache knows nothing of it, and the preprocessor writes it each time.
arguments=() without_output=() list_of_files="" list=""
while (($#)); do
  case $1 in
    -MD | -MMD) list_of_files+=$1$'\n' ;;
    -MF | -MT | -MQ)
      list_of_files+=$1$'\n'$2$'\n'
      if [[ $1 == -MF ]]; then list=$2; fi
      shift
      ;;
    -o) arguments+=("$1" "$2") && shift ;;
    *) arguments+=("$1") && without_output+=("$1") ;;
  esac
  shift
done
if [[ -n $list ]]; then rm -f "$list"; fi
# By names alone ccache would not see that an included file has changed.
export CCACHE_NODIRECT=1 CCACHE_PREFIX_CPP=$0 QUARV_LIST_OF_FILES=$list_of_files
ccache "${arguments[@]}"
if [[ -n $list && ! -e $list ]]; then  # it has compiled without a look at the text, as when it is disabled
  CCACHE_PREFIX_CPP=$0 "$0" "${without_output[@]}" -E >/dev/null
fi
