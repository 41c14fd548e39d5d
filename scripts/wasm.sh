#!/usr/bin/env bash
# usage: scripts/wasm.sh
#
# Builds quarv for Node and browsers in build/wasm: quarv.wasm, and beside it quarv.mjs, its types and a package.json. Then
# tests it in Node. From nothing this takes about ten minutes on two cores.
#
# What it needs is installed where it is missing: Debian's emscripten, and headers of a C++ library that has all of C++20.
# GMP is built from Debian's sources, once. As `long` has 32 bits there, GMP takes words as `long long` instead, so that
# quarv computes with words of 64 bits as it does elsewhere.
set -euo pipefail
# shellcheck source=scripts/setup.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
help_if_asked "$@"

need "${build_packages[@]}" emscripten nodejs clang lld llvm dpkg-dev m4 make xz-utils
export NODE_PATH=/usr/share/nodejs EMCC_SKIP_SANITY_CHECK=1
work=$root/build/wasm
parts=$work/parts
mkdir -p "$parts"

# Emscripten's own headers are older than C++20's algorithms on ranges; those of a newer release fit its library.
get_cxx_headers() {
  say "getting the headers of libc++"
  rm -rf "$parts/libcxx.new" "$parts/package"
  (cd "$parts" && quietly apt-get download libc++-16-dev && dpkg -x libc++-16-dev_*.deb package)
  cp -r "$parts/package/usr/lib/llvm-16/include/c++/v1" "$parts/libcxx.new"
  cat >"$parts/libcxx.new/__config_site" <<'SITE'
#pragma once
#define _LIBCPP_ABI_VERSION 2
#define _LIBCPP_ABI_NAMESPACE __2
#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS
#define _LIBCPP_ENABLE_ASSERTIONS_DEFAULT 0
#define _LIBCPP_HAS_MUSL_LIBC
SITE
  mv "$parts/libcxx.new" "$parts/libcxx"
  rm -rf "$parts/package"
}

# Unpacks Debian's sources of GMP in $parts/gmp. The system's lists of packages need not have sources.
get_gmp() {
  local apt=$parts/apt
  mkdir -p "$apt/lists/partial" "$apt/cache"
  echo 'deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] http://deb.debian.org/debian bookworm main' \
    >"$apt/sources.list"
  local options=(-o "Dir::Etc::sourcelist=$apt/sources.list" -o Dir::Etc::sourceparts=- -o "Dir::State::lists=$apt/lists"
    -o "Dir::Cache=$apt/cache")
  quietly apt-get "${options[@]}" update
  (cd "$apt" && quietly apt-get "${options[@]}" source --download-only gmp && tar xf gmp_*.orig.tar.*)
  rm -rf "$parts/gmp"
  mv "$apt"/gmp-[0-9]* "$parts/gmp"
}

# Makes $parts/gmp/libgmp.a. What GMP asks of a system is the same for this one and for WebAssembly, words of 64 bits above
# all, once `long` is `long long`: so it is configured for this one, without assembly, and only then compiled for the other.
build_gmp() {
  say "building GMP"
  cd "$parts/gmp"
  sed -i -E 's/\blong long\b/@LL@/g; s/\blong double\b/@LD@/g; s/\blong\b/long long/g; s/@LL@/long long/g; s/@LD@/long double/g
    s/\bULONG_MAX\b/ULLONG_MAX/g; s/\bLONG_MAX\b/LLONG_MAX/g; s/\bLONG_MIN\b/LLONG_MIN/g' \
    gmp-h.in gmpxx.h gmp-impl.h ./*.c mpz/*.[ch] mpq/*.c mpn/generic/*.c
  # Where a size_t has 32 bits, a number of 2^31 limbs is larger than it can say: that is lack of memory, too.
  sed -i -E 's/new_alloc > INT_MAX/new_alloc > INT_MAX \/ 8/; s/fprintf \(stderr.*overflow.*/(*__gmp_allocate_func) (INT_MAX);/' \
    mpz/realloc.c mpz/init2.c mpz/realloc2.c mpz/n_pow_ui.c
  mkdir -p doc && touch doc/Makefile.in  # which Debian leaves out
  # Its limbs are asked for by a variable.
  quietly env limb=longlong ./configure --build=x86_64-linux-gnu --host=none-unknown-none --disable-assembly --disable-shared CC=cc CFLAGS=-O1
  quietly make fac_table.h fib_table.h mpn/fib_table.c mp_bases.h mpn/mp_bases.c trialdivtab.h mpn/jacobitab.h mpn/perfsqr.h
  rm -rf objects
  mkdir objects
  local folder file
  # shellcheck disable=SC2016  # what is quoted is for the shell that xargs starts
  for folder in . mpz mpq mpn; do
    for file in "$folder"/*.c; do
      case $file in ./gen-*) continue ;; esac
      echo "$file ${folder#.}_$(basename "$file" .c)"
    done
  done | grep -vE '^\./(bootstrap|compat|tal-debug|tal-notreent)' |
    xargs -P "$jobs" -n 2 bash -c 'clang --target=wasm32-unknown-emscripten --sysroot=/usr/share/emscripten/cache/sysroot -O3 \
      -fexceptions -w -D__GMP_WITHIN_GMP -DHAVE_CONFIG_H -I. -Impn -Impn/generic -Impz "-DOPERATION_${1#*_}" -c "$0" -o "objects/$1.o"'
  llvm-ar rcs libgmp.new objects/*.o
  mkdir -p include
  cp gmp.h gmpxx.h include/
  mv libgmp.new libgmp.a
  cd "$root"
}

[[ -d $parts/libcxx ]] || get_cxx_headers
if [[ ! -f $parts/gmp/libgmp.a ]]; then
  get_gmp
  build_gmp
fi
# Libraries that are headers alone.
mkdir -p "$parts/include"
ln -sfn /usr/include/fmt "$parts/include/fmt"
ln -sfn /usr/include/nlohmann "$parts/include/nlohmann"

build release quarv_program quarv_rulec
say "building the module; this takes some minutes"
cd "$root"
quietly emcmake cmake -G Ninja -S . -B "$work" -DCMAKE_BUILD_TYPE=Release -DQUARV_BUILD_TOOLS=OFF -DQUARV_BUILD_TESTS=OFF \
  -DQUARV_INSTALL=OFF -DQUARV_SHARED=OFF "-DQUARV_RULEC=$root/build/release/src/quarv/rules/compiler/rulec" \
  "-DGMP_INCLUDE_DIR=$parts/gmp/include" "-DGMP_LIBRARY=$parts/gmp/libgmp.a" \
  "-DCMAKE_CXX_FLAGS=-fwasm-exceptions -nostdinc++ -isystem $parts/libcxx -isystem $parts/include" \
  "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -DNDEBUG"
quietly ninja -C "$work" -j "$jobs" quarv_wasm
say "testing"
node tests/wasm/node_test.mjs "$work" "$root/build/release/bin/quarv"
say "quarv.wasm and quarv.mjs are in build/wasm; scripts/docs.sh puts them on a page"
