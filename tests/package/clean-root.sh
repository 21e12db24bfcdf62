#!/bin/sh
# Run as root inside of a Debian that holds nothing but its essential packages, in a folder with the
# packages, this project, the tour and a script of two databases: what a user does with the packages.
set -eu
cd "$(dirname "$0")"
version=$1
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 QUILLON_PASSWORD=sandbox

install() { apt-get install -y -qq --no-install-recommends "$@" >install.log 2>&1 || { cat install.log; exit 1; }; }
fail() { echo "$*" >&2; exit 1; }
# ends_with CODE COMMAND...
ends_with() {
    wanted=$1
    shift
    code=0
    "$@" || code=$?
    [ "$code" -eq "$wanted" ] || fail "$* ended with $code, not $wanted"
}

# ---- the program, on a machine without a compiler ------------------------------------------------

install ./quillon_*.deb iso-codes
if command -v c++ || command -v cmake; then fail "The root is not clean"; fi
[ "$(quillon --version)" = "quillon $version" ] || fail "quillon tells another version"
for file in man/man1/quillon.1.gz man/man1/quillon-sync.1.gz doc/quillon/copyright \
    bash-completion/completions/quillon zsh/site-functions/_quillon \
    fish/vendor_completions.d/quillon.fish; do
    # A Debian of few megabytes may be set to leave manuals out.
    [ -s "/usr/share/$file" ] || dpkg -L quillon | grep -qx "/usr/share/$file" || fail "No $file"
done
quillon demo >demo.out
tail -n 3 demo.out

start_sandbox() {
    quillon sandbox --load world.sql >"$1" &
    for _ in $(seq 100); do
        grep -q '127\.0\.0\.1,' "$1" && return
        sleep 0.1
    done
    fail "The sandbox does not come up"
}
start_sandbox first.out
first=$!
start_sandbox second.out
second=$!
trap 'kill $first $second 2>/dev/null' EXIT
address1=$(grep -o '127\.0\.0\.1,[0-9]*' first.out | head -n 1)
address2=$(grep -o '127\.0\.0\.1,[0-9]*' second.out | head -n 1)
ends_with 0 quillon compare "$address1/one" "$address2/one" --user sa
ends_with 1 quillon compare "$address1/one" "$address2/two" --user sa --format json >compare.json
grep -q '"onlyIn1": 1,' compare.json || { cat compare.json; fail "The comparison tells something else"; }

# ---- programs of somebody else's -------------------------------------------------------------------

install ./libquillonlib1_*.deb ./libquillonlib-dev_*.deb cmake g++ make pkgconf
driver=$(ls /usr/lib/*/odbc/libtdsodbc.so)
mkdir odbc
printf '[SQL Server]\nDriver=%s\n' "$driver" >odbc/odbcinst.ini
export ODBCSYSINI="$PWD/odbc"

is_shared() { ldd "$1" | grep -q 'libquillonlib\.so\.1 => /'; }

# try KIND PROGRAM TOUR: runs both, and looks what they are linked with.
try() {
    if is_shared "$2"; then linked=shared; else linked=static; fi
    [ "$linked" = "$1" ] || fail "$2 is linked with the library that is $linked"
    "$2" "$address1" || fail "$2 does not work"
    "$3" "$address1" one two sa >tour.out
    grep -qx '\[dbo\]\.\[city\]: 3 and 3 rows, 1 differing' tour.out
    grep -qx 'Template "Tour" holds 1 tables' tour.out
    grep -qx 'not a real secret' tour.out
    echo "$1 works"
}
for kind in shared static; do
    echo "find_package, $kind"
    cmake -S . -B "cmake-$kind" -DCMAKE_BUILD_TYPE=Debug -DKIND=$kind -DTOUR="$PWD/tour.cpp" >/dev/null
    cmake --build "cmake-$kind" -j 2 >/dev/null
    try $kind "cmake-$kind/outside" "cmake-$kind/outside_tour"
done
# Without a word the library is the shared one.
cmake -S . -B cmake-plain -DTOUR="$PWD/tour.cpp" >/dev/null
cmake --build cmake-plain --target outside >/dev/null
is_shared cmake-plain/outside || fail "find_package without components is not the shared library"

[ "$(pkg-config --modversion quillonlib)" = "$version" ] || fail "pkg-config tells another version"
for kind in shared static; do
    echo "pkg-config, $kind"
    libraries=$(pkg-config --libs quillonlib)
    if [ $kind = static ]; then
        libraries=$(pkg-config --static --libs quillonlib | sed 's/-lquillonlib/-l:libquillonlib.a/')
    fi
    for program in main tour; do
        # shellcheck disable=SC2046,SC2086
        g++ -std=c++20 -Wall -Wextra -Werror $program.cpp -o "$program-$kind" \
            $(pkg-config --cflags quillonlib) $libraries
    done
    try $kind "./main-$kind" "./tour-$kind"
done
