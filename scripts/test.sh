#!/usr/bin/env bash
# Builds everything and runs every test. The preset (default: asan) may be named: debug, release.
# QUILLON_COVERAGE=ON counts the lines that run, for scripts/coverage.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

preset=${1:-asan}
need "${test_packages[@]}"
cmake --preset "$preset" -DQUILLON_COVERAGE="${QUILLON_COVERAGE:-OFF}" >/dev/null
cmake --build --preset "$preset"
# Tests read what their processes write to standard error; counting must not write there.
GCOV_ERROR_FILE=$PWD/build/$preset/gcov.log ctest --preset "$preset"
