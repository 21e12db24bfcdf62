#!/usr/bin/env bash
# Makes a zip file for Windows of what a user needs: the DLL with its type library and manifest, the
# headers, quillon.exe, the licence, the document and the examples.
#
#   scripts/package-windows.sh [x86_64 | i686]     (default: x86_64)
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

cpu=${1:-x86_64}
case $cpu in
    x86_64) preset=windows ;;
    i686) preset=windows-i686 ;;
    *)
        echo "usage: scripts/package-windows.sh [x86_64 | i686]" >&2
        exit 2
        ;;
esac
need "${windows_packages[@]}"
scripts/windows-deps.sh "$cpu"
cmake --preset "$preset" >/dev/null
targets=(quillon_automation)
if cmake --build --preset "$preset" --target help | grep -q '^quillon: '; then
    targets+=(quillon)
fi
cmake --build --preset "$preset" --target "${targets[@]}"

version=$(sed -n 's/^project(QuillonLib VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=quillonlib-$version-windows-$cpu
staging=build/$preset/package/$name
rm -rf "build/$preset/package"
mkdir -p "$staging"
cmake --install "build/$preset" --component windows --prefix "$PWD/$staging" >/dev/null
mv "$staging/LICENSE" "$staging/LICENSE.txt"
mv "$staging/windows.md" "$staging/README-windows.md"
if [ -f "build/$preset/cli/quillon.exe" ]; then
    cp "build/$preset/cli/quillon.exe" "$staging/"
fi
# What a user cannot read is no package.
for file in QuillonLib.dll QuillonLib.tlb QuillonLib.manifest include/QuillonLib_h.h \
    include/AutomationTypes.h LICENSE.txt README-windows.md examples/compare.vbs; do
    [ -s "$staging/$file" ] || { echo "The package lacks $file" >&2; exit 1; }
done
(cd "build/$preset/package" && cmake -E tar cf "$name.zip" --format=zip "$name")
echo "build/$preset/package/$name.zip"
