#!/bin/bash
# Includes run one way: families use standards, tables and core; standards use tables and core; core uses itself and the
# public headers; everything outside the library sees the public headers only.
cd "$1" || exit 2
wrong=$(
    find common tools runtime examples integrations -name '*.[ch]' -o -name '*.cpp' 2>/dev/null | while read -r file; do
        case $file in
            common/qzstr/core/*) allowed='core/|qzstr(_charset)?\.h$' ;;
            common/qzstr/tables/*) allowed='core/paged\.h$' ;;
            common/qzstr/standards/*) allowed='core/|standards/|tables/' ;;
            common/qzstr/*) allowed='core/|standards/|tables/|qzstr[a-z_]*\.h$' ;;
            *) allowed='[^/]*$' ;; # a file beside it
        esac
        sed -nE 's/^ *# *include "([^"]+)".*/\1/p' "$file" | grep -vE "^($allowed)" | sed "s|^|$file includes |"
        sed -nE 's/^ *# *include ["<](.*\.cpp|(core|standards|tables|common)\/.*)>/\1/p' "$file" |
            sed "s|^|$file includes |"
    done
)
[[ -z $wrong ]] || { printf '%s\n' "$wrong"; exit 1; }
