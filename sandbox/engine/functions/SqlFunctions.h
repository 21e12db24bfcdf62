// Helpers for the functions that translated SQL calls.
#pragma once

#include "sandbox/engine/catalog/Context.h"

namespace sandbox::engine {

using FunctionBody = void (*)(Context&, sqlite3_context*, sqlite3_value**);

enum class Purity { Pure, Impure };  // Pure: same arguments, same result, within a statement

struct FunctionEntry {
    const char* name;
    int arguments;
    Purity purity;
    FunctionBody body;
};

void RegisterTable(Context& context, const FunctionEntry* entries, std::size_t count);

// Registers the collations and every function that translated SQL calls.
void RegisterFunctions(Context& context);

// One table of functions per topic.
void RegisterNumberFunctions(Context& context);
void RegisterTextFunctions(Context& context);
void RegisterDateFunctions(Context& context);
void RegisterMetadataFunctions(Context& context);
void RegisterPropertyFunctions(Context& context);
void RegisterSessionFunctions(Context& context);
void RegisterWriteFunctions(Context& context);

inline bool IsNull(sqlite3_value* v) {
    return sqlite3_value_type(v) == SQLITE_NULL;
}
inline std::int64_t Int(sqlite3_value* v) {
    return sqlite3_value_int64(v);
}

}  // namespace sandbox::engine
