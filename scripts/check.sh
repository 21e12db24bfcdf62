#!/usr/bin/env bash
# Format and lint: fails on an include that no room may have, a file that clang-format would change,
# or one that clang-tidy objects to.
# The library and the front end are linted; `scripts/check.sh all` lints the sandbox too, and
# `scripts/check.sh format` leaves the lint out.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

scripts/check-includes.sh
need "${check_packages[@]}"
git ls-files '*.cpp' '*.h' | xargs clang-format-14 --dry-run --Werror
if [ "${1:-}" = format ]; then
    echo "The format is clean"
    exit 0
fi
cmake --preset lint >/dev/null
linted='src|cli'
[ "${1:-}" != all ] || linted+='|sandbox'
# Ten sources at a time, as the preset puts them together: most of the time goes to what the headers
# declare. The analyzer looks at functions of the main file alone, unless it is told otherwise, and
# follows a function's paths to a fifth of its usual number of states. What is for Windows alone
# cannot be compiled here without the cross-compiler's headers.
# The automation face and the tests are no part of it.
python3 - "$PWD" "$linted" <<'END' |
import json, re, sys
root, linted = sys.argv[1:]
for entry in json.load(open(root + "/build/lint/compile_commands.json")):
    if re.match("(build/lint/)?(%s)/" % linted, entry["file"].removeprefix(root + "/")):
        print(entry["file"])
END
    xargs -P 2 -n 1 clang-tidy-14 --quiet -p build/lint --checks=-bugprone-suspicious-include \
        --extra-arg=-Wno-unknown-warning-option --extra-arg=-Xclang \
        --extra-arg=-analyzer-opt-analyze-headers --extra-arg=-Xclang \
        --extra-arg=-analyzer-config --extra-arg=-Xclang --extra-arg=max-nodes=45000
echo "Format and lint are clean"
