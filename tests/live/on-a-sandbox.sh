#!/usr/bin/env bash
# on-a-sandbox.sh QUILLON TESTS: runs the tests for live servers on a sandbox.
set -euo pipefail

program=$1
tests=$2
work=$(mktemp -d)
"$program" sandbox >"$work/server" &
server=$!
trap 'kill $server 2>/dev/null || true; rm -rf "$work"' EXIT
until [ -s "$work/server" ]; do sleep 0.1; done
export QUILLON_LIVE_SERVER QUILLON_LIVE_USER=sa QUILLON_PASSWORD=sandbox
QUILLON_LIVE_SERVER=$(grep -o '127.0.0.1,[0-9]*' "$work/server" | head -1)
"$tests"
