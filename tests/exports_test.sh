#!/bin/bash
# exports_test.sh COMPILER INCLUDE_DIR LIBQZSTR_SO LIBQZSTR_A: what the built library shows of itself.
set -uo pipefail
compiler=$1 include=$2 shared=$3 archive=$4
failures=0
expect_same() { # WHAT EXPECTED ACTUAL
    [[ $2 == "$3" ]] && return
    echo "$1 differ (< expected, > found):"
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3")
    failures=1
}

declared=$("$compiler" -E -P -I"$include" "$include/qzstr.h" | tr '\n' ' ' | tr ';' '\n' |
    sed -nE 's/.*visibility\("default"\)\)\)//; T; s/^[^([]*[ *]([A-Za-z_0-9]+) *[([].*/\1/p' | sort)
expect_same 'exported symbols' "$declared" \
    "$(nm -D --defined-only "$shared" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)"
expect_same 'undefined symbols' $'qz_assert_msg\nqz_err_and_jmp\nqz_thr_assert_cmd' \
    "$(nm -D --undefined-only "$shared" | awk '$1 == "U" { print $2 }' | grep -v '@GLIBC_' | sort)"
expect_same 'needed libraries' 'libc.so.6' "$(readelf -dW "$shared" | sed -nE 's/.*NEEDED.*\[(.*)\]/\1/p')"
expect_same 'sonames' 'libqzstr.so.1' "$(readelf -dW "$shared" | sed -nE 's/.*SONAME.*\[(.*)\]/\1/p')"
# Looked for in the objects: the start files of a shared library bring entries of their own.
sections=$(readelf -SW "$archive")
expect_same 'dynamic initialisers' '' "$(grep -oE ' \.(init_array|ctors|preinit_array)[^ ]*' <<<"$sections")"
expect_same 'sections of mutable data' '' \
    "$(size -A "$archive" | awk '$1 ~ /^\.(data|bss|tdata|tbss)/ && $1 !~ /^\.data\.rel\.ro/ && $2 > 0 { print $1, $2 }')"
exit "$failures"
