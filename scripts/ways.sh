#!/usr/bin/env bash
# usage: scripts/ways.sh [OPTION...] [PATH...]
#
# Simplifies the files without each of the rules, and in other ways, and lets z3 compare the results. Without PATH it
# reads the folder that the variable QUARV_CORPUS names. `tests/equivalence/metamorphic.py
# --help` lists the options.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}"
build release quarv_program
exec python3 "$root/tests/equivalence/metamorphic.py" "$@"
