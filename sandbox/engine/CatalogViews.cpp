#include "sandbox/engine/CatalogViews.h"

#include "sandbox/engine/Collation.h"

namespace sandbox::engine {
namespace {

// "@": the prefix of the database's tables, "#": its number.
std::string WithPrefix(const char* text, const Catalog& catalog) {
    std::string out;
    for (const char* p = text; *p != '\0'; ++p) {
        if (*p == '@') {
            out += catalog.Prefix();
        } else if (*p == '#') {
            out += std::to_string(catalog.File()->number);
        } else {
            out += *p;
        }
    }
    return out;
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

SystemView Build(const ViewDefinition& view, Context& context, Catalog& catalog) {
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
            result.sql += WithPrefix(view.columns[i].sql, catalog);
            if (collation != nullptr) result.sql += std::string(" COLLATE ") + collation;
            result.sql += " AS c" + std::to_string(i + 1);
        }
        result.sql += " " + WithPrefix(view.from, catalog) + ")";
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
                                         std::u16string_view schema, std::u16string_view name) {
    for (const auto* list : {&LegacyViews(), &SysViews()}) {
        for (const ViewDefinition& view : *list) {
            if (!SameName(Widen(view.name), name) || !Lives(view, context, catalog, schema))
                continue;
            return Build(view, context, catalog);
        }
    }
    return std::nullopt;
}

}  // namespace sandbox::engine
