#!/usr/bin/env bash
# Holds the includes to the rooms of docs/architecture.md: every arrow points down. Fails with each
# line that does not.
set -euo pipefail
cd "$(dirname "$0")/.."

# A room, and the rooms that it may use beside itself. "public": the headers that src/CMakeLists.txt
# installs; those that it does not are named.
rooms='
src/core
src/data       src/core
src/catalog    src/data src/core
src/compare    src/catalog src/data src/core
src/direct     src/catalog src/data src/core
src/scripts    src/compare src/catalog src/data src/core
src/templates  src/catalog src/data src/core
src/util       src/core
src            src/scripts src/compare src/catalog src/data src/core src/templates src/util src/direct
automation     public
cli            public sandbox catalog/CatalogReader.h catalog/Identifiers.h catalog/Login.h \
               compare/LinkedServers.h core/LibraryFolder.h core/SystemError.h core/WholeFile.h \
               data/BatchText.h direct/SpillFile.h scripts/Procedures.h scripts/ScriptColumns.h \
               scripts/TableOrder.h templates/LoadFailure.h
sandbox/text
sandbox/engine/values      sandbox sandbox/text
sandbox/engine/syntax      sandbox/engine/values sandbox sandbox/text
sandbox/engine/storage     sandbox/engine/values sandbox sandbox/text
sandbox/engine/catalog     sandbox/engine/storage sandbox/engine/syntax sandbox/engine/values sandbox sandbox/text
sandbox/engine/functions   sandbox/engine/catalog sandbox/engine/storage sandbox/engine/syntax sandbox/engine/values \
                           sandbox sandbox/text
sandbox/engine/translation sandbox/engine/catalog sandbox/engine/storage sandbox/engine/syntax sandbox/engine/values \
                           sandbox sandbox/text
sandbox/engine/definitions sandbox/engine/translation sandbox/engine/catalog sandbox/engine/storage \
                           sandbox/engine/syntax sandbox/engine/values sandbox sandbox/text
sandbox/engine/execution   sandbox/engine/definitions sandbox/engine/translation sandbox/engine/catalog \
                           sandbox/engine/storage sandbox/engine/syntax sandbox/engine/values sandbox sandbox/text
sandbox/engine             sandbox/engine/execution sandbox/engine/functions sandbox/engine/catalog \
                           sandbox/engine/storage sandbox/engine/values sandbox sandbox/text
sandbox/wire   sandbox sandbox/text
sandbox        sandbox/text
bench          public cli sandbox sandbox/wire catalog/Login.h data/ConnectionString.h \
               scripts/CallLines.h tests/support/BareLink.h util/StatementSplitter.h
examples       public
'

# An include is written from src/, from the root, or from the file's own folder.
git ls-files 'src/*.h' 'src/*.cpp' 'automation/*.h' 'automation/*.cpp' 'cli/*.h' 'cli/*.cpp' \
    'sandbox/*.h' 'sandbox/*.cpp' 'bench/*.h' 'bench/*.cpp' 'examples/*.cpp' |
    xargs grep -n '^#include "' | awk -F: -v rooms="${rooms//$'\\\n'/ }" '
        function folder(path) { sub(/\/?[^\/]*$/, "", path); return path }
        function exists(path) {
            if (!(path in known)) known[path] = system("test -f " path) == 0
            return known[path]
        }
        BEGIN {
            while ((getline text < "src/CMakeLists.txt") > 0) {
                if (match(text, /^    [A-Za-z\/]+\.h/)) installed[substr(text, 5, RLENGTH - 4)] = 1
            }
            lines = split(rooms, line, "\n")
            for (i = 1; i <= lines; ++i) {
                names = split(line[i], name, " ")
                if (names == 0) continue
                room[name[1]] = 1
                for (j = 1; j <= names; ++j) may[name[1], name[j]] = 1
            }
        }
        {
            match($3, /"[^"]+"/)
            header = substr($3, RSTART + 1, RLENGTH - 2)
            from = folder($1)
            while (!(from in room) && from != "") from = folder(from)
            if (exists("src/" header)) to = folder("src/" header)
            else if (exists(header)) to = folder(header)
            else next  # a file of the build, or beside the file
            while (!(to in room) && to != "") to = folder(to)
            if ((from, header) in may) next
            if ((from, "public") in may && header in installed) next
            if (!((from, to) in may)) { print $1 ":" $2 ": " from " may not use " header; ++bad }
        }
        END { if (bad) exit 1 }'
echo "The includes keep to their rooms"
