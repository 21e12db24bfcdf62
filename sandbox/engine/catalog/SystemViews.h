// The system views as sources of rows: what a query reads when it names one.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/engine/catalog/Context.h"

namespace sandbox::engine {

// A column of a source of rows.
struct SourceColumn {
    std::u16string name;
    std::string sql;  // without the source's alias
    SqlType type;
    bool nullable = true, identity = false, computed = false;
    bool expression = false;  // `sql` is one, with kAliasMark in place of the alias
};

inline constexpr char kAliasMark = '\x01';

// A system view of one database.
struct SystemView {
    std::vector<SourceColumn> columns;
    std::string sql;  // a row source: in parentheses, or a table
};

// Absent: there is none of that name. `mayMiss`: the view stands on a side of an outer join that
// may have no row.
std::optional<SystemView> FindSystemView(Context& context, Catalog& catalog,
                                         std::u16string_view schema, std::u16string_view name,
                                         bool mayMiss);

}  // namespace sandbox::engine
