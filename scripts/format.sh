#!/usr/bin/env bash
# usage: scripts/format.sh [FILE...]
#
# Formats all sources, or the given ones, with clang-format.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need clang-format
if (($# == 0)); then mapfile -t files < <(sources); else files=("$@"); fi
printf '%s\0' "${files[@]}" | xargs -0 clang-format -i
