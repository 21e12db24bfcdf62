#!/usr/bin/env bash
# Holds what a shared library shows to the public headers: each symbol belongs to a class or is a
# function that they mark QUILLON_API, and each of those with code in the library is there.
#
#   scripts/check-exports.sh LIBRARY.so
set -euo pipefail
library=$(realpath "$1")
cd "$(dirname "$0")/.."

headers=$(sed -n '/^set(public_headers/,/)/s/^ *\([A-Za-z/]*\.h\).*/src\/\1/p' src/CMakeLists.txt)
# shellcheck disable=SC2086
marked() { sed -n "$1" $headers | sort -u; }
classes=$(marked 's/^class QUILLON_API \([A-Za-z]*\).*/\1/p')
functions=$(marked '/^QUILLON_API/s/.*[ *&]\([A-Za-z0-9]*\)(.*/\1/p')

# What the compiler makes for a class counts as the class; "[abi:cxx11]" is part of no name.
symbols=$(nm -D --defined-only --demangle "$library" | cut -d' ' -f3- |
    sed -E 's/^(typeinfo|typeinfo name|vtable) for //; s/\[abi:cxx11\]//g; s/@@.*//' | sort -u)
[ -n "$symbols" ] || { echo "$library shows nothing" >&2; exit 1; }

awk -v classes="$classes" -v functions="$functions" '
    BEGIN {
        count = split(classes, name, "\n")
        for (i = 1; i <= count; ++i) public[name[i]] = 1
        count = split(functions, name, "\n")
        for (i = 1; i <= count; ++i) { public[name[i]] = 1; expected[name[i]] = 1 }
        split("Utils Database Databases Recordset Connection Error DataError DirectScriptWriter " \
              "ComparisonTemplates", name, " ")
        for (i in name) expected[name[i]] = 1
    }
    /^QUILLONLIB_1(@.*)?$/ { next }
    {
        whole = $0
        sub(/^QuillonLib::/, "")
        known = whole != $0
        inner = $0
        sub(/[(:].*/, "")
        sub(/^[^:]*::/, "", inner)
        if (!known || !($0 in public)) { print "not for others: " whole; ++bad }
        # Members are functions: a class inside of a public one is the library'"'"'s own.
        else if (inner ~ /^[A-Za-z]+::/) { print "not for others: " whole; ++bad }
        seen[$0] = 1
    }
    END {
        for (symbol in expected) if (!(symbol in seen)) { print "missing: " symbol; ++bad }
        if (bad) exit 1
    }' <<<"$symbols" >&2
echo "The library shows what its public headers mark, $(wc -l <<<"$symbols") symbols"
