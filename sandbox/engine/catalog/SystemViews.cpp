#include "sandbox/engine/catalog/ViewDefinitions.h"

#include <algorithm>

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/catalog/SystemViews.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

// What a table of the catalog tells the id of the object in, by which it is hidden; "" for tables
// that everybody sees.
std::string_view Hidden(std::string_view table) {
    if (table == "m_column" || table == "m_index" || table == "m_index_column") return "object_id";
    if (table == "m_fk_column") return "parent_id";
    if (table == "m_depend") return "id";
    return {};
}

bool IsNamePart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// The rows of a table of the catalog that a login sees.
std::string Seen(const std::string& table, std::string_view name, const std::string& visible) {
    if (visible.empty()) return table;
    if (name == "m_object") {
        return "(SELECT * FROM " + table + " WHERE id IN (" + visible + ") OR parent_id IN (" +
               visible + "))";
    }
    const std::string_view id = Hidden(name);
    if (id.empty()) return table;
    return "(SELECT * FROM " + table + " WHERE " + std::string(id) + " IN (" + visible + "))";
}

// "@": the prefix of the database's tables, "#": its number. `visible`: as VisibleObjects tells.
std::string WithPrefix(const char* text, const Catalog& catalog, const std::string& visible) {
    std::string out;
    for (const char* p = text; *p != '\0'; ++p) {
        if (*p == '@') {
            const char* const begin = p + 1;
            while (IsNamePart(p[1]))
                ++p;
            const std::string_view name(begin, static_cast<std::size_t>(p + 1 - begin));
            out += Seen(catalog.Prefix() + std::string(name), name, visible);
        } else if (*p == '#') {
            out += std::to_string(catalog.File()->number);
        } else {
            out += *p;
        }
    }
    return out;
}

// How things are defined is for those to see who may change them.
std::string Shown(const ViewColumn& column, const Catalog& catalog, const std::string& visible) {
    const std::string_view name = column.name;
    const bool defines = name == "definition" || name == "filter_definition" ||
                         name == "COLUMN_DEFAULT" || name == "text";
    return defines && !visible.empty() ? "NULL" : WithPrefix(column.sql, catalog, visible);
}

bool Lives(const ViewDefinition& view, Context& context, Catalog& catalog,
           std::u16string_view schema) {
    const bool modern = context.server.major >= 9;
    const bool dbo = schema.empty() || SameName(schema, u"dbo");
    const bool sys = modern && SameName(schema, u"sys");
    switch (view.home) {
        case ViewHome::Legacy:
            return dbo || sys;
        case ViewHome::LegacyMaster:
            return sys || (dbo && catalog.File()->id == 1);
        case ViewHome::Sys:
            return sys;
        case ViewHome::Information:
            return SameName(schema, u"INFORMATION_SCHEMA");
    }
    return false;
}

// "FROM @table a", nothing else: the name of the alias, else '\0'.
char OnlyAlias(std::string_view from) {
    if (!from.starts_with("FROM @") || from.find_first_of("( ", 6) != from.size() - 2) return '\0';
    return from.back();
}

// The text with "a." as the alias mark and ".".
std::string WithMark(const std::string& text, char alias) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool own = text[i] == alias && i + 1 < text.size() && text[i + 1] == '.' &&
                         (i == 0 || !IsNamePart(text[i - 1]));
        out += own ? kAliasMark : text[i];
    }
    return out;
}

// A plain column of the table: "a.name".
bool IsPlain(std::string_view sql, char alias) {
    return sql.size() > 2 && sql[0] == alias && sql[1] == '.' &&
           std::all_of(sql.begin() + 2, sql.end(), IsNamePart);
}

// What is NULL in no row of the table: the first of its numbers, which is an id in all of them.
std::string NeverNull(const ViewDefinition& view, char alias) {
    for (const ViewColumn& c : view.columns) {
        if (IsInteger(c.type.id) && IsPlain(c.sql, alias)) return c.sql;
    }
    return {};
}

// A view over one table without a condition is that table, its columns expressions over it: SQLite
// takes its time to plan a subquery for each. In a row that an outer join makes up, expressions
// are NULL like the columns.
std::optional<SystemView> BuildDirect(const ViewDefinition& view, const Context& context,
                                      const Catalog& catalog, const std::string& visible,
                                      bool mayMiss) {
    const char alias = view.rows == nullptr ? OnlyAlias(view.from) : '\0';
    const std::string present = NeverNull(view, alias);
    if (alias == '\0' || present.empty()) return std::nullopt;
    SystemView result;
    for (const ViewColumn& c : view.columns) {
        if (context.server.major < c.since) continue;
        SourceColumn s;
        s.name = Widen(c.name);
        s.type = c.type;
        std::string sql = Shown(c, catalog, visible);
        if (!IsPlain(sql, alias)) {
            if (const char* collation = CollationOf(c.type)) {
                sql = "(" + sql + ") COLLATE " + collation;
            }
            sql = mayMiss ? "CASE WHEN " + present + " IS NOT NULL THEN " + sql + " END" : sql;
            sql = "(" + sql + ")";
        }
        s.sql = WithMark(sql, alias);
        s.expression = true;
        result.columns.push_back(std::move(s));
    }
    const std::string_view from = view.from;
    result.sql = WithPrefix(std::string(from.substr(5, from.size() - 7)).c_str(), catalog, visible);
    return result;
}

SystemView Build(const ViewDefinition& definition, Context& context, Catalog& catalog,
                 const std::string& visible) {
    ViewDefinition view = definition;
    std::erase_if(view.columns,
                  [&](const ViewColumn& c) { return context.server.major < c.since; });
    SystemView result;
    for (const ViewColumn& c : view.columns) {
        SourceColumn s;
        s.name = Widen(c.name);
        s.sql = "c" + std::to_string(result.columns.size() + 1);
        s.type = c.type;
        result.columns.push_back(std::move(s));
    }
    if (view.rows == nullptr) {
        result.sql = "(SELECT ";
        for (std::size_t i = 0; i < view.columns.size(); ++i) {
            if (i > 0) result.sql += ", ";
            const char* collation = CollationOf(view.columns[i].type);
            result.sql += Shown(view.columns[i], catalog, visible);
            if (collation != nullptr) result.sql += std::string(" COLLATE ") + collation;
            result.sql += " AS c" + std::to_string(i + 1);
        }
        result.sql += " " + WithPrefix(view.from, catalog, visible) + ")";
        return result;
    }
    const auto rows = view.rows(context);
    if (rows.empty()) {
        result.sql = "(SELECT ";
        for (std::size_t i = 0; i < view.columns.size(); ++i) {
            result.sql += (i > 0 ? ", NULL AS c" : "NULL AS c") + std::to_string(i + 1);
        }
        result.sql += " WHERE 0)";
        return result;
    }
    std::string values;
    for (const auto& row : rows) {
        values += values.empty() ? "VALUES (" : ", (";
        for (std::size_t i = 0; i < row.size(); ++i)
            values += (i > 0 ? "," : "") + InlineLiteral(row[i]);
        values += ")";
    }
    result.sql = "(SELECT ";
    for (std::size_t i = 0; i < view.columns.size(); ++i) {
        if (i > 0) result.sql += ", ";
        const char* collation = CollationOf(view.columns[i].type);
        result.sql += "column" + std::to_string(i + 1);
        if (collation != nullptr) result.sql += std::string(" COLLATE ") + collation;
        result.sql += " AS c" + std::to_string(i + 1);
    }
    result.sql += " FROM (" + values + "))";
    return result;
}

}  // namespace

std::optional<SystemView> FindSystemView(Context& context, Catalog& catalog,
                                         std::u16string_view schema, std::u16string_view name,
                                         bool mayMiss) {
    for (const auto* list : {&LegacyViews(), &SysViews()}) {
        for (const ViewDefinition& view : *list) {
            if (!SameName(Widen(view.name), name) || !Lives(view, context, catalog, schema))
                continue;
            const std::string visible = VisibleObjects(context, catalog);
            if (auto direct = BuildDirect(view, context, catalog, visible, mayMiss)) return direct;
            return Build(view, context, catalog, visible);
        }
    }
    return std::nullopt;
}

}  // namespace sandbox::engine
