#!/usr/bin/env bash
# Makes the pictures of the README anew: the demo in a terminal, and a report in a browser.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh

need "${build_packages[@]}" aha bsdutils chromium python3
program=${1:-}
if [ -z "$program" ]; then
    cmake --preset demo >/dev/null
    cmake --build --preset demo
    program=build/demo/cli/quillon
fi
work=$(mktemp -d)
servers=()
cleanup() {
    for server in "${servers[@]}"; do kill "$server" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT

# picture PAGE FILE WIDTH HEIGHT
picture() {
    # Time to run scripts in, for the rows of a report come into view by one.
    chromium --headless --virtual-time-budget=3000 --no-sandbox --disable-gpu --hide-scrollbars --user-data-dir="$work/browser" \
        --force-device-scale-factor=1 --window-size="$3,$4" --screenshot="$PWD/docs/images/$2" \
        "file://$1" 2>"$work/browser.log" || { cat "$work/browser.log" >&2; exit 1; }
    echo "docs/images/$2"
}

# What a terminal shows of a line is what stands behind the last return to its beginning.
script -qec "stty cols 112; $program demo" /dev/null |
    sed 's/\r$//; s/.*\r//; s/\x1b\[K//g' | aha --black --title demo |
    sed 's/<pre>/<pre style="margin:16px;font:14px\/1.35 monospace">/' >"$work/demo.html"
picture "$work/demo.html" demo.png 960 610

python3 - "$work" <<'PY'
import pathlib
import sys

people = ["Ada Lovelace", "Grace Hopper", "Edsger Dijkstra", "Barbara Liskov", "Donald Knuth",
          "Margaret Hamilton", "Tony Hoare", "Frances Allen", "Niklaus Wirth", "Radia Perlman"]
towns = ["Oslo", "Lima", "Zürich", "Kraków", "Kyoto", "Nairobi", "Porto", "Quito", "Riga", "Tunis"]


def rows(second):
    for i in range(1, 401):
        name, town = people[i % 10], towns[i * 7 % 10]
        note = f"Customer since {1990 + i % 30}. Prefers to be called between nine and eleven."
        if second and i % 37 == 0:
            note = note.replace("nine and eleven", "ten and twelve")
        if second and i % 90 == 0:
            town = towns[(i * 7 + 1) % 10]
        if (i % 131 == 0) if second else (i % 101 == 0):
            continue
        yield f"({i}, N'{name} {i}', N'{town}', N'{note}', {i * 3 % 97}.{i % 10}5)"


for number in (1, 2):
    lines = list(rows(number == 2))
    batches = ["CREATE DATABASE sales", "USE sales",
               "CREATE TABLE customer (id int NOT NULL CONSTRAINT PK_customer PRIMARY KEY,"
               " name nvarchar(60) NOT NULL, town nvarchar(40) NULL, note nvarchar(max) NULL,"
               f" balance decimal({12 if number == 1 else 14},2) NULL)",
               "CREATE TABLE country (code char(2) NOT NULL CONSTRAINT PK_country PRIMARY KEY,"
               " name nvarchar(60) NULL)",
               "INSERT country VALUES ('CH', N'Schweiz'), ('NO', N'Norge'), ('PE', N'Perú')"]
    for at in range(0, len(lines), 100):
        batches.append("INSERT customer VALUES " + ", ".join(lines[at:at + 100]))
    text = "\nGO\n".join(batches) + "\nGO\n"
    pathlib.Path(sys.argv[1], f"sales{number}.sql").write_text(text, encoding="utf-8")
PY
addresses=()
for number in 1 2; do
    "$program" sandbox --name "DB$number" --load "$work/sales$number.sql" >"$work/server$number" &
    servers+=($!)
    until [ -s "$work/server$number" ]; do sleep 0.1; done
    addresses+=("$(grep -o '127.0.0.1,[0-9]*' "$work/server$number" | head -1)")
done
status=0
QUILLON_PASSWORD=sandbox "$program" compare "${addresses[0]}/sales" "${addresses[1]}/sales" --user sa \
    --report "$work/report.html" >/dev/null || status=$?
[ "$status" = 1 ] || exit 1
picture "$work/report.html#t1" report.png 1280 900
