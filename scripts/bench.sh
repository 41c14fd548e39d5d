#!/usr/bin/env bash
# usage: scripts/bench.sh [FILTER]
#
# Builds and runs the benchmarks, or those whose program's name contains FILTER.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}" "${bench_packages[@]}"
build bench
for program in "$root"/build/bench/bench/*"${1:-}"*_bench; do
  "$program"
done
