#!/usr/bin/env bash
# usage: scripts/docs.sh
#
# Makes the site of the documentation in build/docs/site.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" python3 "${docs_packages[@]}"
build release quarv_program
"$root/docs/build_site.py" "$root/build/release/bin/quarv"
say "the start page is build/docs/site/index.html"
