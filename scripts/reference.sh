#!/usr/bin/env bash
# Writes the reference of the public headers with doxygen into a folder (default: build/reference).
# Fails on any warning, and on a public member that docs/object-model.md does not name.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need doxygen python3
output=${1:-build/reference}
rm -rf "$output"
mkdir -p "$output"
headers=$(sed -n 's/^    \([A-Za-z/]*\.h\).*/src\/\1/p' src/CMakeLists.txt | tr '\n' ' ')
sed -e "s,@headers@,$headers," -e "s,@root@,$PWD,g" -e "s,@output@,$output," docs/Doxyfile.in \
    >"$output/Doxyfile"
doxygen "$output/Doxyfile"
python3 scripts/check-object-model.py "$output/xml" docs/object-model.md
echo "The reference is in $output/html"
