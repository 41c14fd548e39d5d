#!/usr/bin/env bash
# usage: scripts/compare.sh [OPTION...]
#
# Measures quarv and other solvers on generated files. `bench/compare --help` lists the options.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}" "${bench_packages[@]}"
build release quarv_program
build bench z3_driver phase_profile
exec "$root/bench/compare" "$@"
