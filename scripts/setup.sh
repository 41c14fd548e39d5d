# What quarv.sh and the scripts of this folder share: packages of Debian 12, configuring and building. To be sourced.
# shellcheck shell=bash disable=SC2034  # the lists are used by those who source this

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# Everything that building the program needs.
build_packages=(g++ cmake ninja-build libgmp-dev libcli11-dev libfmt-dev nlohmann-json3-dev libedit-dev
  libarchive-dev zlib1g-dev liblzma-dev libzstd-dev nettle-dev)
test_packages=(ccache binutils clang pkg-config libmpfr-dev libgtest-dev librapidcheck-dev patch python3 valgrind xz-utils zstd z3 cvc5
  dpkg-dev file python3-dev pybind11-dev python3-pytest python3-z3 mypy abigail-tools libz3-dev parallel openssh-client graphviz chromium)
# Servers that some tests start for themselves; without them these tests are skipped.
server_packages=(openssh-server slurmctld slurmd slurm-client munge)
docs_packages=(doxygen mkdocs)
fuzz_packages=(clang libclang-rt-14-dev)
bench_packages=(libbenchmark-dev libflint-dev libabsl-dev libz3-dev)
jobs=$(nproc)

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
die() { say "$@"; exit 1; }

# help_if_asked "$@": prints the comment at the head of the script, without its marks, and ends.
help_if_asked() {
  [[ ${1:-} == -h || ${1:-} == --help ]] || return 0
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
  exit 0
}

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
  command -v dpkg-query >/dev/null || { say "not a Debian system; assuming that these are present: $*"; return; }
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

# configure PRESET [OPTION...]: the options are those of cmake.
configure() { (cd "$root" && quietly cmake --preset "$@"); }

# build PRESET [TARGET...]: configures where needed, without the tests, and builds. All output is on standard error.
build() {
  local preset=$1 ninja_options=()
  shift
  # On a terminal ninja shows one line of progress; elsewhere only what compilers report is of interest.
  [[ -t 2 ]] || ninja_options=(--quiet)
  [[ -f $root/build/$preset/build.ninja ]] || configure "$preset" -DQUARV_BUILD_TESTS=OFF
  (
    cd "$root" || exit
    cmake --build --preset "$preset" -j "$jobs" ${1:+--target "$@"} -- "${ninja_options[@]}" >&2
  )
}

# The C++ files of the tree.
sources() {
  git -C "$root" ls-files -co --exclude-standard -- '*.h' '*.cpp' | sed "s|^|$root/|"
}
