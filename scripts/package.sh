#!/usr/bin/env bash
# Makes the Debian packages quillon, libquillonlib1 and libquillonlib-dev, and the archive of the
# sources, in build/packages. The archive holds what is committed.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${build_packages[@]}" dpkg-dev file gzip
if [ -e .git ]; then
    # The same commit makes the same packages.
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
    export SOURCE_DATE_EPOCH
fi
cmake --preset package >/dev/null
cmake --build --preset package
scripts/check-exports.sh build/package/src/libquillonlib.so

rm -rf build/packages
mkdir -p build/packages
(umask 022 && cd build/package && cpack -B "$PWD/cpack" >cpack.log) || {
    cat build/package/cpack.log >&2
    exit 1
}
mv build/package/cpack/*.deb build/packages/

version=$(sed -n 's/^project(QuillonLib VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
if [ -e .git ]; then
    name=quillonlib-$version
    git archive --prefix="$name/" HEAD | gzip -9n >"build/packages/$name.tar.gz"
else
    echo "This is no clone: the archive of the sources is left out" >&2
fi
ls -l build/packages
