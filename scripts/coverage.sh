#!/usr/bin/env bash
# Runs every test and tells which lines of the library and the front end they run: a line for each
# file, in lines.txt of the build's folder, and the whole. Fails where fewer than 92 of 100 lines run.
# With "html", pages with every line are written beside it; with "of PRESET" no test is run: what
# QUILLON_COVERAGE=ON scripts/test.sh PRESET has counted is told.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${coverage_packages[@]}"
build=build/coverage
if [ "${1:-}" = of ]; then
    build=build/$2
else
    find $build -name '*.gcda' -delete 2>/dev/null || true
    QUILLON_COVERAGE=ON scripts/test.sh coverage
fi

pages=()
if [ "${1:-}" = html ]; then
    mkdir -p $build/html
    pages=(--html-details $build/html/index.html)
fi
# Every call that may throw would count as a branch that is never taken.
gcovr --root . --filter 'src/' --filter 'cli/' --exclude-throw-branches \
    --exclude-unreachable-branches -j 2 --txt "$build/lines.txt" --print-summary \
    --fail-under-line 92 "${pages[@]}" "$build/src" "$build/cli"
