#!/usr/bin/env bash
# Builds everything and runs every test. The preset (default: asan) may be named: debug, release.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

preset=${1:-asan}
need "${test_packages[@]}"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
