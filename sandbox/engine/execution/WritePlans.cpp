#include "sandbox/engine/execution/WritePlans.h"

#include <algorithm>

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {

namespace {

// Triggers that note keys make a write several steps: it must be undone as a whole.
bool HasKeys(const TableMeta& table) {
    const auto enabled = [](const ForeignKeyMeta& f) { return !f.disabled; };
    return std::any_of(table.foreignKeys.begin(), table.foreignKeys.end(), enabled) ||
           std::any_of(table.references.begin(), table.references.end(), enabled);
}

bool HasFilters(const TableMeta& table) {
    return std::any_of(table.indexes.begin(), table.indexes.end(),
                       [](const IndexMeta& index) { return !index.filter.empty(); });
}

const TableRef* FindReference(const TableRef& ref, std::u16string_view name) {
    if (ref.kind == TableRef::Kind::Join) {
        if (const TableRef* left = FindReference(*ref.left, name)) return left;
        return FindReference(*ref.right, name);
    }
    if (ref.kind != TableRef::Kind::Table) return nullptr;
    return SameName(ref.alias.empty() ? ref.table.name : ref.alias, name) ? &ref : nullptr;
}

bool NamesColumns(const Expr& expr) {
    if (expr.kind == ExprKind::Column || expr.query) return true;
    return std::any_of(expr.args.begin(), expr.args.end(),
                       [](const ExprPtr& arg) { return arg && NamesColumns(*arg); });
}

// Whether it looks at what the rows hold, which takes more than the permission to write them.
bool ReadsRows(const RowsStmt& stmt) {
    return stmt.where || !stmt.from.empty() ||
           std::any_of(stmt.assignments.begin(), stmt.assignments.end(),
                       [](const Assignment& a) { return NamesColumns(*a.value); });
}

const std::u16string& Exposed(const std::u16string& alias, const ObjectName& table) {
    return alias.empty() ? table.name : alias;
}

}  // namespace

std::string FileNumber(const Catalog& catalog) {
    return std::to_string(catalog.File()->number);
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string out;
    for (const std::string& p : parts)
        out += (out.empty() ? "" : ",") + p;
    return out;
}

std::u16string WholeName(const Catalog& catalog, const TableMeta& table) {
    return catalog.File()->name + u"." + table.FullName();
}

void RefuseHistory(const Catalog& catalog, const TableMeta& table, std::int32_t number,
                   std::u16string_view what) {
    if (table.historyOf == 0) return;
    throw SqlError(number, Format(u"Cannot %1 a temporal history table '%2'.",
                                  {what, catalog.File()->name + u"." + table.FullName()}));
}

TablePtr Executor::NeedTable(const ObjectName& name, const Resolved& resolved) {
    TablePtr table = resolved.object ? resolved.catalog->Table(resolved.object->id) : nullptr;
    if (!table) ThrowInvalidObject(name.Text());
    if (table->type == u'V') {
        throw SqlError(
            4406, Format(u"Update or insert of view or function '%1' failed because it contains a "
                         u"derived or constant field.",
                         {name.Text()}));
    }
    return table;
}

std::string Executor::DefaultSql(Translator& translator, const ColumnMeta& column) {
    if (column.defaultText.empty() && column.generated == 0) return "NULL";
    const std::u16string text =
        column.generated != 0 ? PeriodText(column, column.generated) : column.defaultText;
    const ExprPtr e = Parser(text).ParseExpressionText();
    Scope scope;
    return translator.Stored(translator.Expression(*e, scope), column.type);
}

Executor::WrittenRows Executor::ChooseTarget(const RowsStmt& stmt, std::u16string_view right,
                                             Translator& translator, Scope& scope) {
    const TableRef* reference = nullptr;
    for (const TableRefPtr& ref : stmt.from) {
        if (reference == nullptr) reference = FindReference(*ref, stmt.table.name);
    }
    const Resolved r = context_.Resolve(reference != nullptr ? reference->table : stmt.table);
    WrittenRows rows;
    rows.table = NeedTable(stmt.table, r);
    rows.catalog = r.catalog;
    rows.storage = r.catalog->Prefix() + rows.table->storage;
    rows.joined = !stmt.from.empty() || stmt.top;
    RequirePermission(context_, *r.catalog, *r.object, right);
    if (right == u"UPDATE") {
        RefuseHistory(*r.catalog, *rows.table, 13561, u"update rows in");
    } else {
        RefuseHistory(*r.catalog, *rows.table, 13560, u"delete rows from");
    }
    if (!stmt.from.empty()) rows.from = translator.FromClause(stmt.from, scope);
    if (reference != nullptr) {
        for (const auto& source : scope.sources) {
            if (source->meta && source->meta->id == rows.table->id &&
                SameName(Exposed(source->alias, source->table),
                         Exposed(reference->alias, reference->table))) {
                rows.target = source.get();
            }
        }
    } else {
        std::string own;
        scope.sources.push_back(translator.TableSource(stmt.table, u"", &own, ReadsRows(stmt)));
        rows.target = scope.sources.back().get();
        rows.from += (rows.from.empty() ? "" : ", ") + own;
    }
    if (rows.target == nullptr) ThrowInvalidObject(stmt.table.Text());
    return rows;
}

void Executor::ChooseRows(WrittenRows& rows, const RowsStmt& stmt, Translator& translator,
                          Scope& scope) {
    if (stmt.where) rows.where = " WHERE " + translator.Condition(*stmt.where, scope);
    if (!stmt.top) return;
    Scope constant;
    rows.limit = " LIMIT " + translator.Converted(translator.Expression(*stmt.top, constant),
                                                  Plain(TypeId::BigInt));
}

// One row for each that is written. SQLite's RETURNING knows nothing but the table that is written;
// what the joined sources hold is the same before.
void Executor::PrepareOutput(Plan& plan, const OutputClause& output, const WrittenRows& rows,
                             Translator& translator, Scope& scope) {
    if (output.values.empty()) return;
    const Resolved r = context_.Resolve(output.into);
    const TablePtr into = NeedTable(output.into, r);
    RequirePermission(context_, *r.catalog, *r.object, u"INSERT");
    std::vector<const ColumnMeta*> columns;
    for (const ColumnMeta& c : into->columns) {
        if (!c.computed && !c.identity) columns.push_back(&c);
    }
    if (columns.size() != output.values.size() || into->Identity() != nullptr) {
        throw SqlError(
            213, u"Column name or number of supplied values does not match table definition.");
    }
    std::vector<std::string> names, values;
    const std::u16string& own = Exposed(rows.target->alias, rows.target->table);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Expr& value = *output.values[i];
        if (SameName(value.name.front(), own)) {
            throw SqlError(4104, Format(u"The multi-part identifier \"%1\" could not be bound.",
                                        {value.name.front() + u"." + value.name.back()}));
        }
        names.push_back(columns[i]->Sql());
        values.push_back(translator.Stored(translator.Expression(value, scope), columns[i]->type));
    }
    plan.output =
        context_.store.Prepare("INSERT INTO " + r.catalog->Prefix() + into->storage + "(" +
                               Joined(names) + ") SELECT " + Joined(values) + " FROM " + rows.from +
                               rows.where + " GROUP BY " + rows.target->sql + ".rowid");
}

// What is left to do when the statement is prepared.
void Executor::FinishPlan(Plan& plan, Catalog& catalog, TablePtr table, Translator& translator) {
    plan.guarded = HasKeys(*table) || plan.output;
    plan.filtered = HasFilters(*table);
    plan.catalog = &catalog;
    plan.table = std::move(table);
    plan.params = std::move(translator.params);
    plan.generation = context_.Generation();
}

}  // namespace sandbox::engine
