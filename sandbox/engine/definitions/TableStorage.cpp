#include "sandbox/engine/definitions/TableStorage.h"

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {
namespace {

std::string IndexName(const TableMeta& table, const IndexMeta& index) {
    return "x" + std::to_string(table.id) + "_" + std::to_string(index.id);
}

// A value of no type that the column could hold stands for NULL.
std::string KeySql(const ColumnMeta& c, bool unique) {
    if (!unique || !c.nullable) return c.Sql();
    const char* collation = CollationOf(c.type);
    const bool blob = RepOf(c.type) == Rep::Blob;
    std::string sql = "ifnull(" + c.Sql() + (blob ? ",0)" : ",X'')");
    if (collation != nullptr) sql += std::string(" COLLATE ") + collation;
    return sql;
}

// ",NEW.c1,NEW.c2": the arguments of a noted key.
std::string ColumnList(const TableMeta& table, const std::vector<int>& ids, const char* alias) {
    std::string out;
    for (const int id : ids)
        out += std::string(",") + alias + table.FindById(id)->Sql();
    return out;
}

std::string OfColumns(const TableMeta& table, const std::vector<int>& ids) {
    std::string out;
    for (const int id : ids)
        out += (out.empty() ? "" : ",") + table.FindById(id)->Sql();
    return out;
}

// A row on its way into the history: its period ends where that of the new row (`next`) begins, or
// now.
std::string OldRow(Context& context, const TableMeta& table, const std::string& next) {
    std::string start;
    for (const ColumnMeta& c : table.columns) {
        if (c.generated == 1) start = c.Sql();
    }
    std::string values;
    for (const ColumnMeta& c : table.columns) {
        std::string value = "OLD." + c.Sql();
        if (c.generated == 2) {
            value = !next.empty() ? next + start
                                  : TableExpression(context, table, PeriodText(c, 1), "OLD.", false,
                                                    nullptr, nullptr);
        }
        values += (values.empty() ? "" : ",") + value;
    }
    return values;
}

}  // namespace

std::u16string PeriodText(const ColumnMeta& column, int generated) {
    const std::u16string type = u"datetime2(" + ToText(column.type.scale) + u")";
    return u"CAST(" +
           std::u16string(generated == 1 ? u"GETUTCDATE()" : u"'9999-12-31T23:59:59.9999999'") +
           u" AS " + type + u")";
}

std::string TableExpression(Context& context, const TableMeta& table, std::u16string_view text,
                            const std::string& alias, bool condition, SqlType* type,
                            bool* nullable) {
    Translator translator(context);
    translator.inlineLiterals = true;
    Scope scope;
    auto source = std::make_unique<Source>();
    source->table.name = table.name;
    source->table.schema = table.schema;
    source->sql = alias.empty() ? "this" : alias;
    for (const ColumnMeta& c : table.columns) {
        if (c.computed && alias.empty()) continue;  // no computed column over another
        source->columns.push_back({c.name, c.Sql(), c.type, c.nullable, c.identity, c.computed});
    }
    scope.sources.push_back(std::move(source));
    const ExprPtr e = Parser(text).ParseExpressionText();
    std::string sql;
    if (condition) {
        sql = translator.Condition(*e, scope);
    } else {
        const Bound b = translator.Expression(*e, scope);
        if (type != nullptr) *type = b.type;
        if (nullable != nullptr) *nullable = b.nullable;
        sql = b.sql;
    }
    if (!alias.empty()) return sql;
    // Generated columns name their columns without a qualifier.
    for (std::size_t at = sql.find("this."); at != std::string::npos; at = sql.find("this.", at)) {
        sql.erase(at, 5);
    }
    return sql;
}

std::string TableSql(Context& context, Catalog& catalog, const TableMeta& table) {
    std::string sql = "CREATE TABLE " + catalog.Prefix() + table.storage + "(";
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const ColumnMeta& c = table.columns[i];
        if (i > 0) sql += ", ";
        sql += c.Sql();
        if (const char* collation = CollationOf(c.type))
            sql += std::string(" COLLATE ") + collation;
        if (c.computed) {
            sql += " AS (" + TableExpression(context, table, c.text, "", false, nullptr, nullptr) +
                   ") VIRTUAL";
        } else if (!c.nullable) {
            sql += " NOT NULL";
        }
    }
    return sql + ")";
}

void CreateStorageIndex(Context& context, Catalog& catalog, const TableMeta& table,
                        const IndexMeta& index) {
    if (table.type != u'U') return;
    std::string columns;
    for (const IndexColumn& k : index.columns) {
        if (k.included) continue;
        const ColumnMeta& c = *table.FindById(k.columnId);
        columns +=
            (columns.empty() ? "" : ",") + KeySql(c, index.unique) + (k.descending ? " DESC" : "");
    }
    std::string filter;
    if (!index.filter.empty()) {
        filter =
            " WHERE " + TableExpression(context, table, index.filter, "", true, nullptr, nullptr);
    }
    context.store.Execute(std::string("CREATE ") + (index.unique ? "UNIQUE " : "") + "INDEX " +
                          catalog.Prefix() + IndexName(table, index) + " ON " + table.storage +
                          "(" + columns + ")" + filter);
}

std::string IgnoredConflicts(const TableMeta& table) {
    std::string clauses;
    for (const IndexMeta& index : table.indexes) {
        if (!index.ignoreDuplicates) continue;
        std::string columns;
        for (const IndexColumn& k : index.columns) {
            if (k.included) continue;
            columns += (columns.empty() ? "" : ",") + KeySql(*table.FindById(k.columnId), true);
        }
        clauses += " ON CONFLICT(" + columns + ") DO NOTHING";
    }
    return clauses;
}

void DropStorageIndex(Context& context, Catalog& catalog, const TableMeta& table,
                      const IndexMeta& index) {
    if (table.type != u'U') return;
    context.store.Execute("DROP INDEX IF EXISTS " + catalog.Prefix() + IndexName(table, index));
}

const IndexMeta* FindViolatedIndex(const TableMeta& table, const std::string& detail) {
    for (const IndexMeta& x : table.indexes) {
        if (!x.unique) continue;
        if (detail.find("'" + IndexName(table, x) + "'") != std::string::npos) return &x;
        std::string columns;
        for (const IndexColumn& k : x.columns) {
            if (k.included) continue;
            columns += (columns.empty() ? "" : ", ") + table.storage + "." +
                       table.FindById(k.columnId)->Sql();
        }
        if (columns == detail) return &x;
    }
    return nullptr;
}

void DropTriggers(Store& store, Catalog& catalog, const TableMeta& table) {
    std::vector<std::string> names;
    {
        Statement s = store.Prepare("SELECT name FROM " + catalog.Prefix() +
                                    "sqlite_master WHERE type='trigger' AND tbl_name=?");
        s.Bind(1, Value::Text(Widen(table.storage)));
        while (s.Step())
            names.push_back(Narrow(s.Text(0)));
    }
    for (const std::string& name : names)
        store.Execute("DROP TRIGGER " + catalog.Prefix() + name);
}

void CreateTriggers(Context& context, Catalog& catalog, const TableMeta& table) {
    const std::string number = std::to_string(catalog.File()->number);
    int count = 0;
    const auto create = [&](const std::string& event, const std::string& body) {
        context.store.Execute("CREATE TRIGGER " + catalog.Prefix() + "g" +
                              std::to_string(table.id) + "_" + std::to_string(++count) + " AFTER " +
                              event + " ON " + table.storage + " " + body + "; END");
    };
    if (const TablePtr history = catalog.Table(table.historyId)) {
        const std::string into = "BEGIN INSERT INTO " + history->storage + " SELECT ";
        create("UPDATE", into + OldRow(context, table, "NEW."));
        create("DELETE", into + OldRow(context, table, ""));
    }
    for (const CheckMeta& check : table.checks) {
        if (check.disabled) continue;
        const std::string condition =
            TableExpression(context, table, check.text, "NEW", true, nullptr, nullptr);
        std::string body = "BEGIN SELECT ms_checkfailed(";
        body.append(number).append(",").append(std::to_string(table.id)).append(",");
        body.append(std::to_string(check.id)).append(") WHERE NOT (").append(condition).append(")");
        create("INSERT", body);
        create("UPDATE", body);
    }
    const auto note = [&](const ForeignKeyMeta& f, int kind, std::size_t columns,
                          const std::string& keys) {
        return "BEGIN SELECT ms_notekey(" + number + "," + std::to_string(f.id) + "," +
               std::to_string(kind) + "," + std::to_string(columns) + keys + ")";
    };
    for (const ForeignKeyMeta& f : table.foreignKeys) {
        if (f.disabled) continue;
        std::vector<int> ids;
        for (const auto& [child, parent] : f.columns)
            ids.push_back(child);
        const std::string body = note(f, 0, ids.size(), ColumnList(table, ids, "NEW."));
        create("INSERT", body);
        create("UPDATE OF " + OfColumns(table, ids), body);
    }
    for (const ForeignKeyMeta& f : table.references) {
        if (f.disabled) continue;
        std::vector<int> ids;
        for (const auto& [child, parent] : f.columns)
            ids.push_back(parent);
        create("DELETE", note(f, 1, ids.size(), ColumnList(table, ids, "OLD.")));
        std::string changed;
        for (const int id : ids) {
            const std::string c = table.FindById(id)->Sql();
            changed.append(changed.empty() ? "OLD." : " OR OLD.").append(c);
            changed.append(" IS NOT NEW.").append(c);
        }
        create("UPDATE OF " + OfColumns(table, ids),
               "WHEN " + changed + " " +
                   note(f, 2, ids.size(),
                        ColumnList(table, ids, "OLD.") + ColumnList(table, ids, "NEW.")));
    }
}

void RebuildTriggers(Context& context, Catalog& catalog, int tableId) {
    const TablePtr table = catalog.Table(tableId);
    if (!table || table->type != u'U') return;
    DropTriggers(context.store, catalog, *table);
    CreateTriggers(context, catalog, *table);
}

}  // namespace sandbox::engine
