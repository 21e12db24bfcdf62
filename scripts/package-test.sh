#!/usr/bin/env bash
# Installs the package into an empty folder, once as a static and once as a shared library, builds an
# outside project against it, and runs the tour on two small databases of the sandbox.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${build_packages[@]}"
work=$(mktemp -d)
server=
cleanup() {
    [ -z "$server" ] || kill "$server" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

cat >"$work/world.sql" <<'SQL'
CREATE DATABASE one
GO
CREATE DATABASE two
GO
USE one
GO
CREATE TABLE city (id int NOT NULL CONSTRAINT PK_city PRIMARY KEY, name nvarchar(30) NULL)
GO
INSERT city VALUES (1, N'Oslo'), (2, N'Lima'), (3, N'Cairo')
GO
USE two
GO
CREATE TABLE city (id int NOT NULL CONSTRAINT PK_city PRIMARY KEY, name nvarchar(30) NULL)
GO
INSERT city VALUES (1, N'Oslo'), (2, N'Rome'), (4, N'Perth')
GO
SQL

cmake --preset demo >/dev/null
cmake --build --preset demo
cmake --install build/demo --prefix "$work/tool" >/dev/null
"$work/tool/bin/quillon" --version
for file in man/man1/quillon.1 man/man1/quillon-sync.1 bash-completion/completions/quillon \
    zsh/site-functions/_quillon fish/vendor_completions.d/quillon.fish; do
    test -s "$work/tool/share/$file"
done

for shared in OFF ON; do
    echo "Package with BUILD_SHARED_LIBS=$shared"
    cmake -S . -B "$work/build-$shared" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DBUILD_SHARED_LIBS=$shared -DQUILLON_BUILD_TESTS=OFF -DQUILLON_BUILD_CLI=OFF \
        -DCMAKE_INSTALL_PREFIX="$work/installed-$shared" >/dev/null
    cmake --build "$work/build-$shared" -j 2 >"$work/log" || { cat "$work/log"; exit 1; }
    cmake --install "$work/build-$shared" >/dev/null
    cmake -S tests/package -B "$work/outside-$shared" -G Ninja -DTOUR="$PWD/examples/tour.cpp" \
        -DCMAKE_PREFIX_PATH="$work/installed-$shared" >/dev/null
    cmake --build "$work/outside-$shared" -j 2
    "$work/outside-$shared/outside"
done

build/demo/cli/quillon sandbox --load "$work/world.sql" >"$work/sandbox.out" &
server=$!
for _ in $(seq 100); do
    grep -q '127\.0\.0\.1,' "$work/sandbox.out" && break
    sleep 0.1
done
address=$(grep -o '127\.0\.0\.1,[0-9]*' "$work/sandbox.out" | head -1)
mkdir "$work/odbc"
printf '[SQL Server]\nDriver=%s\n' "$(ls /usr/lib/*/odbc/libtdsodbc.so | head -1)" >"$work/odbc/odbcinst.ini"
for shared in OFF ON; do
    ODBCSYSINI="$work/odbc" QUILLON_PASSWORD=sandbox \
        "$work/outside-$shared/outside_tour" "$address" one two sa >"$work/tour.out"
    grep -q '^\[dbo\]\.\[city\]: 3 and 3 rows, 1 differing$' "$work/tour.out"
    grep -q '^Template "Tour" holds 1 tables$' "$work/tour.out"
    grep -q '^not a real secret$' "$work/tour.out"
done
cat "$work/tour.out"
echo "The installed package works"
