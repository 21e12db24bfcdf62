#!/usr/bin/env bash
# Runs the tests for live servers on a server of yours:
#
#   QUILLON_PASSWORD=... scripts/test-server.sh SERVER [USER]
#
# SERVER as in SERVER/DATABASE of the front end; without USER the login is integrated. The login must
# be able to create databases. All that the tests write stands in databases whose names begin with
# quillon_live_ and the number of this process; they are dropped at the end, whatever happens.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

[ $# -ge 1 ] || { sed -n 's/^#   \?//p' "$0" >&2; exit 2; }
need "${test_packages[@]}"
cmake --preset release >/dev/null
cmake --build --preset release --target quillon_live_tests

export ODBCSYSINI=$PWD/build/release/odbc QUILLON_LIVE_SERVER=$1 QUILLON_LIVE_USER=${2:-}
export QUILLON_LIVE_PREFIX=quillon_live_$$_
# Each test drops its own; a test that ends with a signal does not.
trap 'build/release/tests/live/quillon_live_tests --drop-leftovers' EXIT
build/release/tests/live/quillon_live_tests
