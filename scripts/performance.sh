#!/usr/bin/env bash
# usage: scripts/performance.sh [OPTION...]
#
# Measures quarv and other solvers as scripts/compare.sh does, with the same options, counts what each phase executes,
# and writes both into docs/performance.md.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

"$root/scripts/compare.sh" "$@"
"$root/bench/profile"
"$root/bench/render_performance.py"
