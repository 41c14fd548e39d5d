#!/usr/bin/env bash
# The compiler launcher: what one folder has compiled serves another, which depends on its own files all the same.
#
# usage: compile_once_test.sh LAUNCHER COMPILER WORK_DIR
set -euo pipefail

launcher=$1 compiler=$2 work_dir=$3
fail() { printf '%s\n' "$*" >&2; exit 1; }
command -v ccache >/dev/null || { echo "ccache is not installed: nothing is compiled once"; exit 77; }

rm -rf "$work_dir"
export QUARV_TEST_OBJECTS=$work_dir/objects
compile() {
  (cd "$1" && "${@:2}" "$launcher" "$compiler" -I"$PWD" -MD -MT main.o -MF 'list of files.d' -o main.o -c "$PWD/main.cpp")
}
for folder in "$work_dir"/{first,second,third}; do
  mkdir -p "$folder"
  printf '#include "number of.h"\nint main() { return number; }\n' >"$folder/main.cpp"
  echo 'constexpr int number = 0;' >"$folder/number of.h"
done
compile "$work_dir/first"
compile "$work_dir/second"
compile "$work_dir/third" env CCACHE_DISABLE=1
CCACHE_DIR=$QUARV_TEST_OBJECTS ccache --print-stats >"$work_dir/statistics"
grep -qE '^(preprocessed|direct)_cache_hit[[:space:]]+1$' "$work_dir/statistics" || fail "the second folder compiles again"
for folder in first second third; do
  list="$work_dir/$folder/list of files.d"
  [[ -e $list ]] || fail "$folder: there is no list of files"
  grep -qF "$work_dir/$folder/number\\ of.h" "$list" || fail "$folder: the list of files has no number of.h"
done
! grep -F "$work_dir/first/" "$work_dir/second/list of files.d" || fail "the second folder depends on the first"

# A file that does not compile is said to be wrong.
echo 'int main() { retur }' >"$work_dir/first/main.cpp"
! compile "$work_dir/first" 2>/dev/null || fail "what is wrong compiles"
