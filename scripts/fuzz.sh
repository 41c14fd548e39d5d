#!/usr/bin/env bash
# usage: scripts/fuzz.sh [SECONDS [TARGET...]]
#
# Builds the fuzzers and runs each, or the given ones, for this long (60 seconds): reader, simplify, q_number, ieee_float.
# What makes one fail is left in build/fuzz/finds/.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

# run_fuzzer TARGET SECONDS
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

seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || die "expected a number of seconds, not '$seconds'"
targets=(reader simplify q_number ieee_float)
if (($# > 1)); then targets=("${@:2}"); fi
need "${build_packages[@]}" "${test_packages[@]}" "${fuzz_packages[@]}"
say "building: fuzz"
build fuzz "${targets[@]/%/_fuzz}"
say "fuzzing for $seconds seconds each: ${targets[*]}"
export -f run_fuzzer say
export root
# shellcheck disable=SC2016
printf '%s\n' "${targets[@]}" |
  xargs -P "$((jobs < 2 ? jobs : 2))" -I '{}' bash -c 'run_fuzzer "$@"' fuzz.sh '{}' "$seconds"
