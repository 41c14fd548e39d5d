#!/usr/bin/env bash
# What quarv.sh and the scripts in scripts/ ask of a machine, found out with stand-ins for the programs that know and install
# packages: no package is there, and none can be installed.
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

# The packages that a script wants to install.
asked() {
  rm -f "$work_dir/asked"
  if "$source_dir/$1" "${@:2}" >"$work_dir/output" 2>&1; then fail "$* goes on without its packages"; fi
  sed -n 's/^install -y --no-install-recommends //p' "$work_dir/asked" | tr ' ' '\n'
}

asked quarv.sh run first.smt2 >"$work_dir/run"
asked quarv.sh test >"$work_dir/test"
for package in g++ cmake libgmp-dev; do
  grep -qxF "$package" "$work_dir/run" || fail "run does not install $package"
done
for package in ccache libgtest-dev python3 valgrind z3 cvc5 graphviz chromium; do
  grep -qxF "$package" "$work_dir/test" || fail "test does not install $package"
  ! grep -qxF "$package" "$work_dir/run" || fail "run installs $package, which the program does not need"
done

# What each script needs besides.
while read -r script package; do
  asked "$script" >"$work_dir/script"
  grep -qxF "$package" "$work_dir/script" || fail "$script does not install $package"
done <<'END'
scripts/format.sh clang-format
scripts/tidy.sh clang-tidy
scripts/docs.sh mkdocs
scripts/fuzz.sh libclang-rt-14-dev
scripts/proofs.sh coq
scripts/same-output.sh clang
scripts/ways.sh z3
scripts/bench.sh libbenchmark-dev
scripts/compare.sh libflint-dev
scripts/performance.sh libflint-dev
scripts/wasm.sh emscripten
END
asked quarv.sh packages >"$work_dir/packages"
grep -qxF file "$work_dir/packages" || fail "quarv.sh packages does not install file, by which CPack finds libraries"
asked quarv.sh proofs >"$work_dir/proofs"
grep -qxF coq "$work_dir/proofs" || fail "quarv.sh proofs does not install coq"

# The help names every script, and each script prints its usage without installing anything.
"$source_dir/quarv.sh" help >"$work_dir/help"
rm -f "$work_dir/asked"
for path in "$source_dir"/scripts/*.sh; do
  script=${path##*/}
  [[ $script != setup.sh ]] || continue
  grep -qwF "$script" "$work_dir/help" || fail "quarv.sh help does not name $script"
  [[ $("$path" --help | head -n 1) == "usage: scripts/$script"* ]] || fail "$script --help does not print its usage"
done
[[ ! -e $work_dir/asked ]] || fail "--help installs packages"

# The sources are all that is needed: they mention nothing outside of the tree.
! grep -F '../' "$work_dir/help" || fail "help names a folder outside of the tree"
! grep -rnF '/../' "$source_dir" --include=CMakeLists.txt --include='*.cmake' --include=CMakePresets.json --exclude-dir=build ||
  fail "CMake reads a folder outside of the tree"
