// The declarations of the system views.
#pragma once

#include <vector>

#include "sandbox/engine/catalog/Context.h"

namespace sandbox::engine {

// One column of a system view: `sql` over the view's FROM text.
struct ViewColumn {
    const char* name;
    SqlType type;
    const char* sql;
    int since = 0;  // the version of the server that brought it; not of views with `rows`
};

enum class ViewHome {
    Legacy,        // sysobjects ...: unqualified, dbo. or sys., in every database
    Sys,           // sys.objects ...: from version 9
    Information,   // INFORMATION_SCHEMA
    LegacyMaster,  // sysdatabases ...: in master (or sys. from version 9)
};

struct ViewDefinition {
    const char* name;
    ViewHome home;
    // FROM and WHERE; "@" stands for the database's prefix. Empty: rows come from `rows`.
    const char* from;
    std::vector<ViewColumn> columns;
    // For what lives in memory: the literal rows.
    std::vector<std::vector<Value>> (*rows)(Context&) = nullptr;
};

const std::vector<ViewDefinition>& LegacyViews();
const std::vector<ViewDefinition>& SysViews();

namespace viewtype {
inline const SqlType I = Plain(TypeId::Int);
inline const SqlType S = Plain(TypeId::SmallInt);
inline const SqlType T = Plain(TypeId::TinyInt);
inline const SqlType B = Plain(TypeId::Bit);
inline const SqlType L = Plain(TypeId::BigInt);
inline const SqlType D = Plain(TypeId::DateTime);
inline const SqlType N = NVarCharType(128);
inline const SqlType C2 = SqlType{TypeId::Char, 2, 0, 0};
inline const SqlType N60 = NVarCharType(60);
inline const SqlType M = NVarCharType(-1);
inline const SqlType V = SqlType{TypeId::VarBinary, 85, 0, 0};
}  // namespace viewtype

}  // namespace sandbox::engine
