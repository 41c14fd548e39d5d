#!/usr/bin/env bash
# usage: scripts/threads.sh
#
# Builds the tests of what runs in several threads with the thread sanitizer, and runs them.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" "${test_packages[@]}"
say "building: tsan"
configure tsan  # the folder may be there, without the tests
build tsan session_tests
say "testing: tsan"
(cd "$root" && ctest --preset tsan -j "$jobs")
