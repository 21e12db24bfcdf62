#!/usr/bin/env bash
# Format and lint: fails on a file that clang-format would change, or that clang-tidy objects to.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${check_packages[@]}"
git ls-files '*.cpp' '*.h' | xargs clang-format-14 --dry-run --Werror
cmake --preset lint >/dev/null
git ls-files 'src/*.cpp' 'cli/*.cpp' 'sandbox/*.cpp' |
    xargs -P 2 -n 6 clang-tidy-14 --quiet -p build/lint --extra-arg=-Wno-unknown-warning-option
echo "Format and lint are clean"
