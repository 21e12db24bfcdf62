// The two roads of a comparison. On the direct one, which is taken unless --by-server is given, the
// rows of both databases are read and compared here; on the other one a server compares them.
//
// Every command that compares has one function for each road (CompareRun has those of `compare`).
// It returns the exit code, and throws what Prepare, or PrepareDirect, throws, the library's Error,
// and Interruption.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace quillon {

class Console;
struct RowsOptions;
struct ScriptFileOptions;
struct SyncOptions;

int ShowRowsDirect(const RowsOptions& options, Console& console);
int WriteScriptsDirect(const ScriptFileOptions& options, Console& console);
int SyncDirect(const SyncOptions& options, Console& console);

int ShowRowsByServer(const RowsOptions& options, Console& console);
int WriteScriptsByServer(const ScriptFileOptions& options, Console& console);
int SyncByServer(const SyncOptions& options, Console& console);

// The groups of options that belong to one road alone.
inline constexpr const char* DirectGroup = "Without --by-server";
inline constexpr const char* ByServerGroup = "With --by-server";

// Throws CLI::ValidationError that names the first option of the road that is not taken.
void RequireRoad(const CLI::App& command, bool byServer);

}  // namespace quillon
