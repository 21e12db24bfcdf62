#!/usr/bin/env bash
# Builds what the library needs on Windows and Debian does not ship for it (pugixml, Expat, and
# GoogleTest for the tests) from Debian's source packages, into build/windows-deps/TRIPLE; CLI11 is
# copied. Nothing is done where that is there already.
#
#   scripts/windows-deps.sh x86_64 | i686
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

cpu=$1
need "${windows_packages[@]}"
sources=$PWD/build/windows-deps/sources
prefix=$PWD/build/windows-deps/$cpu
if [ -f "$prefix/complete" ] && [ -d "$prefix/include/CLI" ]; then exit 0; fi

# The package manager's own lists stay as they are: the sources are looked up in lists of our own.
fetch_sources() {
    local parts=$sources/parts lists=$sources/lists
    mkdir -p "$parts" "$lists/partial"
    shopt -s nullglob
    for file in /etc/apt/sources.list.d/*.sources; do
        sed 's/^Types:.*/Types: deb-src/' "$file" >"$parts/$(basename "$file")"
    done
    if [ -s /etc/apt/sources.list ]; then
        sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$parts/main.list"
    fi
    local apt=(apt-get -qq -o "Dir::Etc::SourceList=/dev/null" -o "Dir::Etc::SourceParts=$parts"
        -o "Dir::State::Lists=$lists" -o "APT::Sandbox::User=root")
    # A list that is of no use here, of binaries only, say, is no failure.
    "${apt[@]}" update || echo "Not all lists of source packages could be read" >&2
    (cd "$sources" && "${apt[@]}" source --download-only --tar-only "$@")
}

# unpack NAME: into sources/NAME.
unpack() {
    rm -rf "${sources:?}/$1"
    mkdir -p "$sources/$1"
    tar -xf "$(ls "$sources/$1"_*.orig.tar.* | head -1)" -C "$sources/$1" --strip-components=1
}

# build FOLDER [OPTION...]: configures, builds and installs one of them.
build() {
    local folder=$1 name
    name=$(basename "$folder")
    shift
    cmake -S "$folder" -B "$prefix/build/$name" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/windows-$cpu.cmake" \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF "$@" >/dev/null
    cmake --build "$prefix/build/$name" -j2 >/dev/null
    cmake --install "$prefix/build/$name" >/dev/null
}

if [ ! -f "$sources/fetched" ]; then
    fetch_sources pugixml expat
    touch "$sources/fetched"
fi
unpack pugixml
unpack expat
build "$sources/pugixml"
expat=$sources/expat
[ -f "$expat/CMakeLists.txt" ] || expat=$sources/expat/expat
build "$expat" -DEXPAT_BUILD_TOOLS=OFF -DEXPAT_BUILD_EXAMPLES=OFF -DEXPAT_BUILD_TESTS=OFF \
    -DEXPAT_BUILD_DOCS=OFF -DEXPAT_SHARED_LIBS=OFF
build /usr/src/googletest -Dgtest_disable_pthreads=OFF
# Headers alone, the same on every system.
mkdir -p "$prefix/include" "$prefix/share/cmake"
cp -r /usr/include/CLI "$prefix/include/"
cp -r /usr/share/cmake/CLI11 "$prefix/share/cmake/"
touch "$prefix/complete"
