#!/usr/bin/env bash
# usage: compile_once.sh COMPILER ARGUMENT...
#
# A compiler launcher for tests that compile, each in a folder of its own, what another has compiled already. It is ccache,
# with its objects in the folder that the variable QUARV_TEST_OBJECTS names, and told to compare the texts that the
# preprocessor makes without the names of the files they come from. Where there is no ccache or no such folder, it compiles.
set -euo pipefail

if [[ ${CCACHE_PREFIX_CPP:-} == "$0" ]]; then exec "$@" -P; fi  # ccache asks for the text
if [[ -z ${QUARV_TEST_OBJECTS:-} ]] || ! command -v ccache >/dev/null; then exec "$@"; fi
# By names alone ccache would not see that an included file has changed.
export CCACHE_DIR=$QUARV_TEST_OBJECTS CCACHE_NODIRECT=1 CCACHE_PREFIX_CPP=$0
exec ccache "$@"
