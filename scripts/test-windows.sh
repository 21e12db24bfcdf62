#!/usr/bin/env bash
# Builds the library for 64-bit Windows and runs its tests under wine, against sandboxes on this
# machine; builds it for 32-bit Windows, which nothing here can run. What the preset `windows` makes
# known to ctest is run, so tests of more than the library join by add_test alone.
#
#   scripts/test-windows.sh [OPTION OF CTEST...]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${test_packages[@]}" "${windows_packages[@]}"

build() {
    local preset=$1
    shift
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" "$@"
}
scripts/windows-deps.sh x86_64
scripts/windows-deps.sh i686
build release --target quillon_sandbox_host
build windows
build windows-i686

# ---- wine, in a prefix of its own ---------------------------------------------------------------

# With a debugger a crash would count as success; error texts follow the locale.
export WINEPREFIX=$PWD/build/windows/wine WINEARCH=win64 WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml,winedbg.exe="
export LANG=C.UTF-8 LC_ALL=C.UTF-8
unset DISPLAY

finish() {
    wineserver -k >/dev/null 2>&1 </dev/null || true
    [ -z "${HOST_PID:-}" ] || kill "$HOST_PID" 2>/dev/null || true
}
trap finish EXIT

if [ ! -f "$WINEPREFIX/complete" ]; then
    mkdir -p "$WINEPREFIX"
    wineboot -i >/dev/null 2>&1 </dev/null
    wineserver -w
    touch "$WINEPREFIX/complete"
fi
# A server that stays, and that holds no pipe of ctest's: else every test would wait for its end.
wineserver -p >/dev/null 2>&1 </dev/null
wine cmd /c exit 0 >/dev/null 2>&1 </dev/null

# ---- the host of the sandboxes, and the tests ---------------------------------------------------

coproc HOST { exec build/release/tests/windows/quillon_sandbox_host; }
read -r QUILLON_SANDBOX_PORT <&"${HOST[0]}"
export QUILLON_SANDBOX_PORT

ctest --preset windows "$@"
