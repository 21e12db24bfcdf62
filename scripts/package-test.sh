#!/usr/bin/env bash
# Makes the packages, installs them in a Debian 12 that holds nothing else, and uses them there: the
# program without a compiler, then the library from programs that are built with CMake and pkg-config,
# shared and static.
#
# The Debian is made by mmdebstrap, from the network; it needs root or user namespaces. Where it
# cannot be made this fails and says so; `scripts/package-test.sh --without-root` leaves it out by name.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

clean_root=yes
case "${1:-}" in
    "") ;;
    --without-root) clean_root=no ;;
    *)
        echo "usage: scripts/package-test.sh [--without-root]" >&2
        exit 2
        ;;
esac
need "${package_test_packages[@]}"
scripts/package.sh
lintian --fail-on error --suppress-tags bogus-mail-host,malformed-contact build/packages/*.deb

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"

# The archive is whole: CMake finds every file that it names.
tar -xzf build/packages/quillonlib-*.tar.gz -C "$work"
cmake -S "$work"/quillonlib-* -B "$work/configured" -G Ninja >/dev/null
rm -rf "$work/configured"

if [ $clean_root = no ]; then
    echo "NOT TESTED: the packages were made, but not installed and used in a clean Debian"
    exit 0
fi
mkdir "$work/try"
cp build/packages/*.deb tests/package/* examples/tour.cpp "$work/try/"
cat >"$work/try/world.sql" <<'SQL'
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

version=$(sed -n 's/^project(QuillonLib VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
# What is set here, a launcher of compilers say, is not set there; a proxy is needed there, too.
clean="env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin"
for name in http_proxy https_proxy; do
    [ -z "${!name:-}" ] || clean+=" $name=${!name}"
done
# The root lives as long as the hook runs, and nothing of it is kept.
if ! mmdebstrap --quiet --variant=apt --skip=cleanup --dpkgopt=force-unsafe-io \
    --aptopt='Acquire::Languages "none"' --format=null \
    --customize-hook="copy-in $work/try /root" \
    --customize-hook="chroot \"\$1\" $clean sh /root/try/clean-root.sh $version" \
    bookworm /dev/null; then
    echo "The packages could not be tested in a clean Debian (above: why)" >&2
    exit 1
fi
echo "The packages work in a clean Debian"
