#!/usr/bin/env bash
# usage: scripts/tidy.sh [FILE...]
#
# Checks all sources, or the given ones, with clang-tidy.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}" clang-tidy
# Each file by itself, and with what the build generates.
configure tidy
build tidy
if (($# == 0)); then mapfile -t files < <(sources | grep '\.cpp$' | grep -vE '/(bench|wasm)/'); else files=("$@"); fi
printf '%s\0' "${files[@]}" | xargs -0 -P "$jobs" -n 1 clang-tidy --quiet -p "$root/build/tidy"
