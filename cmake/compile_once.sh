#!/usr/bin/env bash
# usage: compile_once.sh COMPILER ARGUMENT...
#
# A compiler launcher for what is compiled several times, each in a folder of its own. It is ccache, told to compare the texts
# that the preprocessor makes without the names of the files they come from. Its objects are in the folder that the variable
# QUARV_TEST_OBJECTS names, if there is one, else where ccache has them anyway. Where there is no ccache, it compiles.
set -euo pipefail

if [[ ${CCACHE_PREFIX_CPP:-} == "$0" ]]; then exec "$@" -P; fi  # ccache asks for the text
command -v ccache >/dev/null || exec "$@"
if [[ -n ${QUARV_TEST_OBJECTS:-} ]]; then export CCACHE_DIR=$QUARV_TEST_OBJECTS; fi
# By names alone ccache would not see that an included file has changed.
export CCACHE_NODIRECT=1 CCACHE_PREFIX_CPP=$0
exec ccache "$@"
