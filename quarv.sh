#!/usr/bin/env bash
# Sets up, builds, runs and tests quarv on Debian 12. `./quarv.sh help` lists the commands.
set -euo pipefail

# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"

usage() {
  cat <<'HELP'
usage: ./quarv.sh COMMAND

  run FILE.smt2 [OPTION...]  build the program and simplify FILE.smt2 (`run --help` lists the options)
  test                       build and run all tests, in release and with sanitizers
  packages                   build the Debian packages quarv, libquarv0, libquarv-dev and python3-quarv in build/packages
  proofs [OPTION...]         the same as scripts/proofs.sh
  help                       print this text

Each command first installs the Debian packages that it needs and that are missing. So do the scripts for work on quarv
in scripts/: format.sh, tidy.sh, docs.sh, fuzz.sh, threads.sh, proofs.sh, same-output.sh, ways.sh, bench.sh, compare.sh,
performance.sh and wasm.sh; each prints its usage with --help.
HELP
}

run_tests() {
  say "building: $1"
  configure "$1"  # the folder may be there, without the tests
  build "$1"
  say "testing: $1"
  (cd "$root" && ctest --preset "$1" -j "$((jobs + 1))")
}

command=${1:-help}
shift || true
case $command in
  run)
    need "${build_packages[@]}"
    [[ -x $root/build/release/bin/quarv ]] || say "building; this takes some minutes the first time"
    # With the shared libraries, which take no compiling of their own, `cmake --install build/release` works at once.
    build release quarv_program quarv{,_smtlib}_shared
    exec "$root/build/release/bin/quarv" simplify "$@"
    ;;
  test)
    need "${build_packages[@]}" "${test_packages[@]}" "${docs_packages[@]}"
    # Under systemd, installing them would start them, which nobody asked for.
    [[ -d /run/systemd/system ]] || need "${server_packages[@]}"
    run_tests release
    run_tests sanitize
    ;;
  packages)
    need "${build_packages[@]}" dpkg-dev file python3-dev pybind11-dev
    # The folder may be there from when there was no Python.
    [[ ! -f $root/build/release/CMakeCache.txt ]] || quietly cmake "$root/build/release"
    build release quarv{,_smtlib}{,_shared} quarv_program quarv_man_page quarv_python
    (cd "$root/build/release" && quietly cpack -B "$root/build/packages")
    ls "$root"/build/packages/*.deb
    ;;
  proofs) exec "$root/scripts/proofs.sh" "$@" ;;
  help | -h | --help) usage ;;
  *)
    if [[ $command =~ ^[a-z-]+$ && -x $root/scripts/$command.sh ]]; then
      say "there is no command $command; run scripts/$command.sh"
    else
      usage >&2
    fi
    exit 2
    ;;
esac
