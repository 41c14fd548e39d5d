#!/usr/bin/env bash
# usage: scripts/proofs.sh [OPTION...]
#
# Proves the rules for all widths with Coq, from nothing. `proofs/check.py --help` lists the options.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}" coq
build release quarv_rule_theorems quarv_operator_tables
exec python3 "$root/proofs/check.py" "$@"
