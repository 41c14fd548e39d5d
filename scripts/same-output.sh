#!/usr/bin/env bash
# usage: scripts/same-output.sh [OPTION...] [PATH...]
#
# Builds with g++, clang++ and sanitizers, and compares all outputs for the files. Without PATH it reads the folder that
# the variable QUARV_CORPUS names. `tests/equivalence/same_output.py --help` lists the options.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}" clang
for preset in release clang sanitize; do
  say "building: $preset"
  build "$preset" quarv_program
done
exec python3 "$root/tests/equivalence/same_output.py" --also "$root/build/clang/bin/quarv" \
  --also "$root/build/sanitize/bin/quarv" "$@"
