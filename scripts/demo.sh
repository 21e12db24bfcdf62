#!/usr/bin/env bash
# Builds quillon and runs its demo: databases on two embedded sandboxes are compared, the script
# that makes them agree is run, and they are compared again.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${build_packages[@]}"
cmake --preset demo >/dev/null
cmake --build --preset demo
exec build/demo/cli/quillon demo "$@"
