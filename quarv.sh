#!/usr/bin/env bash
# Sets up, builds, runs and tests quarv on Debian 12. `./quarv.sh help` lists what it does.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# What the program is built from; all that `run` installs.
build_packages=(g++ cmake ninja-build libgmp-dev libcli11-dev libfmt-dev nlohmann-json3-dev libedit-dev
  libarchive-dev zlib1g-dev liblzma-dev libzstd-dev nettle-dev)
test_packages=(ccache binutils clang pkg-config libmpfr-dev libgtest-dev librapidcheck-dev python3 valgrind xz-utils zstd z3 cvc5
  dpkg-dev python3-dev pybind11-dev python3-pytest parallel openssh-client graphviz chromium)
# Servers that some tests start for themselves; without them these tests are skipped.
server_packages=(openssh-server slurmctld slurmd slurm-client munge)
docs_packages=(doxygen mkdocs)
fuzz_packages=(clang libclang-rt-14-dev)
bench_packages=(libbenchmark-dev libflint-dev libabsl-dev libz3-dev)
fuzz_targets=(reader simplify q_number ieee_float)
jobs=$(nproc)

usage() {
  cat <<'HELP'
usage: ./quarv.sh COMMAND

  run FILE.smt2 [OPTION...]  build the program and simplify FILE.smt2 (`run --help` lists the options)
  test                       build and run all tests, in release and with sanitizers
  packages                   build the Debian packages quarv, libquarv0, libquarv-dev and python3-quarv in build/packages
  docs                       make the site of the documentation in build/docs/site
  same-output [PATH...]      build with g++, clang++ and sanitizers; compare all outputs for the files
  ways [PATH...]             leave out each rule, simplify in other ways, and let z3 compare, for the files
  fuzz [SECONDS [TARGET]]    build the fuzzers and run each, or one, for so long (60 seconds)
  bench [FILTER]             build and run the benchmarks, or those whose program's name contains FILTER
  compare [OPTION...]        measure quarv and other solvers on generated files (`compare --help` lists the options)
  performance [OPTION...]    compare, count what each phase executes, and write both into docs/performance.md
  proofs [OPTION...]         prove the rules for all widths with Coq, from nothing (`proofs --help` lists the options)
  format                     lay out all sources with clang-format
  tidy [FILE...]             check all sources, or the given ones, with clang-tidy
  help                       print this text

Each command first installs the Debian packages that it needs and that are missing. `same-output` and `ways` take options
too (`ways --help` lists them); without PATH they read the folder that the variable QUARV_CORPUS names.
HELP
}

say() { printf 'quarv.sh: %s\n' "$*" >&2; }
die() { say "$@"; exit 1; }

# Runs a command silently; shows what it printed only if it fails.
quietly() {
  local log status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if ((status)); then cat "$log" >&2; fi
  rm -f "$log"
  return "$status"
}

# Installs those of the given Debian packages that are missing.
need() {
  command -v dpkg-query >/dev/null || { say "no Debian system; assuming that these are present: $*"; return; }
  local installed package missing=() as_root=()
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null) || true
  for package in "$@"; do
    grep -qxF "installed $package" <<<"$installed" || missing+=("$package")
  done
  if ((${#missing[@]} == 0)); then return; fi
  if ((EUID != 0)); then
    command -v sudo >/dev/null || die "neither root nor sudo; as root, run: apt-get install ${missing[*]}"
    as_root=(sudo)
  fi
  say "installing ${missing[*]}"
  as_root+=(env DEBIAN_FRONTEND=noninteractive apt-get)
  # A fresh system may know no packages at all, and an old list may name versions that are gone.
  quietly "${as_root[@]}" update || die "apt-get update failed"
  quietly "${as_root[@]}" install -y --no-install-recommends "${missing[@]}" || die "apt-get install failed"
}

# configure PRESET [OPTION...]: the options are of cmake.
configure() { (cd "$root" && quietly cmake --preset "$@"); }

# build PRESET [TARGET...]: configures where needed, without the tests, and builds. All output is on standard error.
build() {
  local preset=$1 ninja_options=()
  shift
  # On a terminal ninja shows one line of progress; elsewhere only what compilers say is of interest.
  [[ -t 2 ]] || ninja_options=(--quiet)
  [[ -f $root/build/$preset/build.ninja ]] || configure "$preset" -DQUARV_BUILD_TESTS=OFF
  (
    cd "$root"
    cmake --build --preset "$preset" -j "$jobs" ${1:+--target "$@"} -- "${ninja_options[@]}" >&2
  )
}

run_tests() {
  say "building: $1"
  configure "$1"  # the folder may be there, without the tests
  build "$1"
  say "testing: $1"
  (cd "$root" && ctest --preset "$1" -j "$jobs")
}

# run_fuzzer TARGET SECONDS: what makes it fail is left in build/fuzz/finds/.
run_fuzzer() {
  local target=$1 folder=$root/build/fuzz options=()
  local corpus=$folder/corpus/$target log=$folder/$target.log
  mkdir -p "$corpus" "$folder/finds"
  [[ $target != reader ]] || options=(-dict="$root/fuzz/reader.dict")
  if ASAN_OPTIONS=malloc_context_size=2:quarantine_size_mb=8 "$folder/fuzz/${target}_fuzz" \
    -max_total_time="$2" -max_len=600 -len_control=0 -entropic=0 -timeout=60 -rss_limit_mb=3000 -print_final_stats=1 \
    -artifact_prefix="$folder/finds/$target-" "${options[@]}" "$corpus" "$root/fuzz/seeds/$target" >"$log" 2>&1; then
    say "fuzzed $target with $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs"
  else
    tail -n 60 "$log" >&2
    say "$target failed; the input is in build/fuzz/finds/"
    return 1
  fi
}

sources() {
  git -C "$root" ls-files -co --exclude-standard -- '*.h' '*.cpp' | sed "s|^|$root/|"
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
  proofs)
    need "${build_packages[@]}" "${test_packages[@]}" coq
    build release quarv_rule_theorems quarv_operator_tables
    exec python3 "$root/proofs/check.py" "$@"
    ;;
  docs)
    need "${build_packages[@]}" python3 "${docs_packages[@]}"
    build release quarv_program
    "$root/docs/build_site.py" "$root/build/release/bin/quarv"
    say "the start page is build/docs/site/index.html"
    ;;
  test)
    need "${build_packages[@]}" "${test_packages[@]}" "${docs_packages[@]}"
    # Under systemd their installation would start them, which nobody asked for.
    [[ -d /run/systemd/system ]] || need "${server_packages[@]}"
    run_tests release
    run_tests sanitize
    ;;
  same-output)
    need "${build_packages[@]}" "${test_packages[@]}" clang
    for preset in release clang sanitize; do
      say "building: $preset"
      build "$preset" quarv_program
    done
    exec python3 "$root/tests/equivalence/same_output.py" --also "$root/build/clang/bin/quarv" \
      --also "$root/build/sanitize/bin/quarv" "$@"
    ;;
  ways)
    need "${build_packages[@]}" "${test_packages[@]}"
    build release quarv_program
    exec python3 "$root/tests/equivalence/metamorphic.py" "$@"
    ;;
  fuzz)
    seconds=${1:-60}
    [[ $seconds =~ ^[1-9][0-9]*$ ]] || die "fuzz: a number of seconds is expected, not '$seconds'"
    need "${build_packages[@]}" "${test_packages[@]}" "${fuzz_packages[@]}"
    if (($# > 1)); then fuzz_targets=("${@:2}"); fi
    say "building: fuzz"
    build fuzz "${fuzz_targets[@]/%/_fuzz}"
    say "fuzzing for $seconds seconds each: ${fuzz_targets[*]}"
    export -f run_fuzzer say
    export root
    printf '%s\n' "${fuzz_targets[@]}" | xargs -P "$((jobs < 2 ? jobs : 2))" -I '{}' bash -c "run_fuzzer '{}' $seconds"
    ;;
  bench)
    need "${build_packages[@]}" "${test_packages[@]}" "${bench_packages[@]}"
    build bench
    for program in "$root"/build/bench/bench/*"${1:-}"*_bench; do
      "$program"
    done
    ;;
  compare | performance)
    need "${build_packages[@]}" "${test_packages[@]}" "${bench_packages[@]}"
    build release quarv_program
    build bench z3_driver phase_profile
    "$root/bench/compare" "$@"
    [[ $command == performance ]] || exit 0
    "$root/bench/profile"
    "$root/bench/render_performance.py"
    ;;
  packages)
    need "${build_packages[@]}" dpkg-dev python3-dev pybind11-dev
    # The folder may be there from when there was no Python.
    [[ ! -f $root/build/release/CMakeCache.txt ]] || quietly cmake "$root/build/release"
    build release quarv{,_smtlib}{,_shared} quarv_program quarv_man_page quarv_python
    (cd "$root/build/release" && quietly cpack -B "$root/build/packages")
    ls "$root"/build/packages/*.deb
    ;;
  format)
    need clang-format
    sources | xargs clang-format -i
    ;;
  tidy)
    need "${build_packages[@]}" "${test_packages[@]}" clang-tidy
    configure release
    build release
    if (($# == 0)); then mapfile -t files < <(sources | grep '\.cpp$' | grep -v /bench/); else files=("$@"); fi
    printf '%s\n' "${files[@]}" | xargs -P "$jobs" -n 1 clang-tidy --quiet -p "$root/build/release"
    ;;
  help | -h | --help) usage ;;
  *)
    usage >&2
    exit 2
    ;;
esac
