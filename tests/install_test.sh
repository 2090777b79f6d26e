#!/bin/bash
# install_test.sh CMAKE SOURCE_DIR BUILD_DIR CC CXX: installs into an empty prefix, and builds and runs a C and a C++
# program against what is there: by pkg-config, by find_package; and against the sources by add_subdirectory.
set -euo pipefail
cmake=$1 source=$2 build=$3 cc=$4 cxx=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >"$work/log"

failed() { echo "FAILED: $*"; exit 1; }
runs() { # WHAT PROGRAM: prints what examples/hello.c or hello.cpp print
    local found
    found=$("$2") || failed "$1: exit code $?"
    [[ $found == '안녕!' || $found == '12 characters, 16 bytes; 14 bytes in MSWIN949' ]] || failed "$1: printed \"$found\""
}

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name qzstr.pc)")
export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir qzstr)
[[ $(pkg-config --modversion qzstr) == "$(pkg-config --modversion qzstr-runtime)" ]] || failed 'versions differ'
flags="$(pkg-config --cflags --libs qzstr-runtime) -Wl,-rpath,$libdir"
# shellcheck disable=SC2086
{
    "$cc" "$source/examples/hello.c" -o "$work/c" $flags
    "$cxx" -std=c++17 "$source/examples/hello.cpp" -o "$work/cpp" $flags
    # A program that brings the runtime itself; the static library.
    "$cc" "$source/examples/hello.c" "$source"/runtime/*.c -o "$work/own" $(pkg-config --cflags --libs qzstr) \
        -Wl,-rpath,"$libdir"
    "$cc" "$source/examples/hello.c" -o "$work/static" $(pkg-config --cflags qzstr) \
        "$libdir/libqzstr.a" "$libdir/libqzstr_runtime.a"
}
for program in c cpp own static; do runs "pkg-config, $program" "$work/$program"; done

consumer() { # NAME HOW [CMAKE_OPTION...]: a project that reaches the library by the command HOW
    mkdir "$work/$1"
    cat >"$work/$1/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES C CXX)
set(CMAKE_CXX_STANDARD 17)
$2
add_executable(c $source/examples/hello.c)
target_link_libraries(c PRIVATE qzstr::qzstr_static qzstr::runtime)
add_executable(cpp $source/examples/hello.cpp)
target_link_libraries(cpp PRIVATE qzstr::qzstr qzstr::runtime)
END
    "$cmake" -G Ninja -S "$work/$1" -B "$work/$1/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER="$cc" \
        -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" "${@:3}" >"$work/log" &&
        "$cmake" --build "$work/$1/build" --target c cpp >>"$work/log" || { cat "$work/log"; failed "$1"; }
    runs "$1, C" "$work/$1/build/c"
    runs "$1, C++" "$work/$1/build/cpp"
}
consumer find_package 'find_package(qzstr 1 REQUIRED)'
# With the flags of a release build, so that a compiler cache has the objects.
consumer add_subdirectory "add_subdirectory($source qzstr)" -DQZSTR_WERROR=ON

# The tool, from where it is and after the whole prefix has moved.
mv "$prefix" "$work/moved"
[[ $(printf '\xB0\xA1' | "$work/moved/bin/qzconv" convert -q -f EUCKR -t UTF8) == '가' ]] || failed 'installed qzconv'
PKG_CONFIG_PATH=${PKG_CONFIG_PATH/"$prefix"/$work/moved}
[[ -f $(pkg-config --variable=includedir qzstr)/qzstr.hpp ]] || failed 'moved qzstr.pc'

module=$(find "$work/moved" -name qzsqlite.so)
if [[ -n $module ]] && command -v sqlite3 >/dev/null; then
    converted=$(sqlite3 -batch -cmd ".load ${module%.so}" :memory: "SELECT qz_convert(x'B0A1', 'EUCKR', 'UTF8')")
    [[ $converted == '가' ]] || failed "installed qzsqlite: $converted"
fi

gunzip -qr "$work/moved/share/man" || [[ $? == 2 ]] # some pages may not be compressed
pages=(man1/qzconv.1 man3/libqzstr.3 man3/qzstr_charset_get_id.3 man7/qzstr-charsets.7)
operations=$(sed -nE 's/.* X\([a-z_0-9]+, cs, ([a-z_0-9]+),.*/\1/p' "$source/include/qzstr_charset.h")
(($(wc -w <<<"$operations") == 17)) || failed "the 17 operations: $operations"
for operation in $operations get_another_charset_str; do pages+=("man3/qzstr_$operation.3"); done
for page in "${pages[@]}"; do
    [[ -s $work/moved/share/man/$page ]] || failed "no $page"
done
if command -v groff >/dev/null; then
    complaints=$(groff -man -Tutf8 -ww -z "$work"/moved/share/man/man?/* 2>&1)
    [[ -z $complaints ]] || failed "manual pages: $complaints"
fi
for licence in LICENSE Unicode-3.0.txt OGDL-Taiwan-1.0.txt qzstr.spdx; do
    [[ -s $(find "$work/moved/share/doc" -name $licence) ]] || failed "no $licence"
done
echo passed
