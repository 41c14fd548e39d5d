#!/usr/bin/env bash
# What quarv.sh asks of a machine, found out with stand-ins for the programs that know and install packages: no package is
# there, and none can be installed.
#
# usage: setup_test.sh SOURCE_DIR WORK_DIR
set -euo pipefail

source_dir=$1 work_dir=$2
fail() { printf '%s\n' "$*" >&2; exit 1; }

rm -rf "$work_dir"
mkdir -p "$work_dir/bin"
printf '#!/bin/sh\nexit 1\n' >"$work_dir/bin/dpkg-query"
printf '#!/bin/sh\nexec "$@"\n' >"$work_dir/bin/sudo"
printf '#!/bin/sh\necho "$@" >>"%s/asked"\n[ "$1" = update ]\n' "$work_dir" >"$work_dir/bin/apt-get"
chmod +x "$work_dir"/bin/*
export PATH=$work_dir/bin:$PATH

# The packages that a command wants to install.
asked() {
  rm -f "$work_dir/asked"
  if "$source_dir/quarv.sh" "$@" >"$work_dir/output" 2>&1; then fail "$1 goes on without its packages"; fi
  sed -n 's/^install -y --no-install-recommends //p' "$work_dir/asked" | tr ' ' '\n'
}

asked run first.smt2 >"$work_dir/run"
asked test >"$work_dir/test"
for package in g++ cmake libgmp-dev; do
  grep -qxF "$package" "$work_dir/run" || fail "run does not install $package"
done
for package in ccache libgtest-dev python3 valgrind z3 cvc5 graphviz chromium; do
  grep -qxF "$package" "$work_dir/test" || fail "test does not install $package"
  ! grep -qxF "$package" "$work_dir/run" || fail "run installs $package, which the program does not need"
done

# The sources are all that is needed: nothing beside them is spoken of.
"$source_dir/quarv.sh" help >"$work_dir/help"
! grep -F '../' "$work_dir/help" || fail "help names a folder outside of the tree"
! grep -rnF '/../' "$source_dir" --include=CMakeLists.txt --include='*.cmake' --include=CMakePresets.json --exclude-dir=build ||
  fail "CMake reads a folder outside of the tree"
