#!/usr/bin/env bash
# Builds everything and runs every test as scripts/test.sh does, under AddressSanitizer and
# UndefinedBehaviorSanitizer, and counts by the way which lines of the library and the front end they
# run: a line for each file in build/coverage/lines.txt, and the whole. Fails where a test does, and
# where fewer than 92 of 100 lines run. With "html", pages with every line are written to
# build/coverage/html.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${coverage_packages[@]}"
cmake --preset coverage >/dev/null
cmake --build --preset coverage
# What the build runs is no test.
find build/coverage -name '*.gcda' -delete
# Tests read what their processes write to standard error.
GCOV_ERROR_FILE=$PWD/build/coverage/gcov.log scripts/test.sh coverage

pages=()
if [ "${1:-}" = html ]; then
    mkdir -p build/coverage/html
    pages=(--html-details build/coverage/html/index.html)
fi
# Every call that may throw would count as a branch that is never taken.
gcovr --root . --filter 'src/' --filter 'cli/' --exclude-throw-branches \
    --exclude-unreachable-branches -j 2 --txt build/coverage/lines.txt --print-summary \
    --fail-under-line 92 "${pages[@]}" build/coverage/src build/coverage/cli
