#!/usr/bin/env bash
# Makes the Debian packages of a build, unpacks them into an empty folder, and there builds each example with CMake and with
# pkg-config, runs it, and compares what it prints with examples/expected.
#
# usage: packages_test.sh SOURCE_DIR BUILD_DIR WORK_DIR CXX CC
set -euo pipefail

source_dir=$1 build_dir=$2 work_dir=$3 cxx=$4 cc=$5
export LC_ALL=C.UTF-8

fail() { printf '%s\n' "$*" >&2; exit 1; }
command -v dpkg-deb dpkg-shlibdeps >/dev/null || { echo "no Debian system"; exit 77; }

rm -rf "$work_dir"
mkdir -p "$work_dir"
cd "$work_dir"
(cd "$build_dir" && cpack -B "$work_dir/packages" >"$work_dir/cpack.log" 2>&1) || { cat cpack.log >&2; exit 1; }

root=$work_dir/root
for package in packages/*.deb; do
  dpkg-deb -x "$package" "$root"
  dpkg-deb -f "$package" Package
done | sort >names
for package in packages/*.deb; do
  [[ $(dpkg-deb -f "$package" Homepage) == *://* ]] || fail "$package names no homepage"
  [[ $(dpkg-deb -f "$package" Description) == *$'\n'* ]] || fail "$package does not describe itself"
done
while read -r name; do
  gzip -dc "$root/usr/share/doc/$name/changelog.gz" | cmp - "$source_dir/CHANGELOG.md" || fail "$name has no changelog"
done <names
for name in libquarv-dev libquarv0 quarv; do grep -qx "$name" names || fail "there is no package $name"; done

# What the libraries need and show.
lib=$root/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
for library in "$lib"/libquarv.so.0 "$lib"/libquarv_smtlib.so.0; do
  other=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -vE '^(libquarv|libgmp|libstdc\+\+|libgcc_s|libm|libc|ld-linux[a-z0-9-]*)\.so\.' || true)
  [[ -z $other ]] || fail "$library needs $other"
  foreign=$(nm -DC --defined-only "$library" | grep -vE ' (quarv::|quarv_|QUARV_|(typeinfo|typeinfo name|vtable) for quarv::)' |
    grep -vE ' [a-z].* quarv::' || true)
  [[ -z $foreign ]] || fail "$library shows $foreign"
done
gzip -t "$root"/usr/share/man/man1/quarv.1.gz 2>/dev/null || [[ -s $root/usr/share/man/man1/quarv.1 ]] || fail "no manual page"
for command in simplify rules-check; do
  [[ -s $root/usr/share/man/man1/quarv-$command.1.gz || -s $root/usr/share/man/man1/quarv-$command.1 ]] || fail "no manual page of $command"
done
[[ -s $root/usr/share/bash-completion/completions/quarv ]] || fail "no completion"
"$root"/usr/bin/quarv --version >/dev/null
for page in README.md docs/index.md docs/tutorial.md; do [[ -s $root/usr/share/doc/quarv/$page ]] || fail "there is no $page"; done

# compare NAME PROGRAM...: what the example prints.
compare() {
  local name=$1
  shift
  if [[ $name == symbolic_executor ]] && ! command -v z3 >/dev/null; then return; fi
  diff "$source_dir/examples/expected/$name.txt" <(LD_LIBRARY_PATH=$lib "$@" 2>&1) || fail "$name prints something else ($1)"
}

examples=$root/usr/share/doc/libquarv-dev/examples  # as they are packed
cmake -S "$examples" -B by_cmake -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_C_COMPILER="$cc" >cmake.log
cmake --build by_cmake >>cmake.log || { cat cmake.log >&2; exit 1; }

export PKG_CONFIG_PATH=$lib/pkgconfig
read -ra flags < <(pkg-config --cflags --libs quarv-smtlib)
mkdir by_pkg_config
has_z3=$(echo '#include <z3++.h>' | "$cxx" -x c++ -std=c++20 -E - >/dev/null 2>&1 && echo yes || true)
for file in "$examples"/*.cpp "$examples"/*.c; do
  name=$(basename "${file%.*}")
  libraries=()
  if grep -q '#include <z3++.h>' "$file"; then
    [[ $has_z3 ]] || { echo "skipped: $name, since there is no z3++.h (Debian's package libz3-dev)"; continue; }
    libraries=(-lz3)
  fi
  if [[ $file == *.c ]]; then compiler=("$cc" -std=c99); else compiler=("$cxx" -std=c++20); fi
  "${compiler[@]}" "$file" -o "by_pkg_config/$name" "${flags[@]}" "${libraries[@]}"
  compare "$name" "by_pkg_config/$name"
  compare "$name" "by_cmake/$name"
done

if grep -qx python3-quarv names; then
  export PYTHONPATH=$root/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1
  compare python_terms /usr/bin/python3 "$root/usr/share/doc/python3-quarv/examples/python_terms.py"
fi
