#include <algorithm>

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/execution/Executor.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

std::string FileNumber(const Catalog& catalog) {
    return std::to_string(catalog.File()->number);
}

std::string IdentitySql(const Catalog& catalog, const TableMeta& table, const ColumnMeta& c) {
    return "ms_ident(" + FileNumber(catalog) + "," + std::to_string(table.id) + "," +
           std::to_string(c.seed) + "," + std::to_string(c.increment) + "," +
           std::to_string(Pack(c.type)) + ")";
}

std::string GivenIdentitySql(const Catalog& catalog, const TableMeta& table, const ColumnMeta& c,
                             const std::string& value) {
    return "ms_seeident(" + value + "," + FileNumber(catalog) + "," + std::to_string(table.id) +
           "," + std::to_string(c.increment) + "," + std::to_string(Pack(c.type)) + ")";
}

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

void RefuseHistory(const Catalog& catalog, const TableMeta& table, std::int32_t number,
                   std::u16string_view what) {
    if (table.historyOf == 0) return;
    throw SqlError(number, Format(u"Cannot %1 a temporal history table '%2'.",
                                  {what, catalog.File()->name + u"." + table.FullName()}));
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string out;
    for (const std::string& p : parts)
        out += (out.empty() ? "" : ",") + p;
    return out;
}

}  // namespace

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

std::vector<const ColumnMeta*> Executor::InsertTargets(const InsertStmt& stmt,
                                                       const Catalog& catalog,
                                                       const TableMeta& table) {
    const bool identityOn = context_.options.identityInsertTable == table.id &&
                            context_.options.identityInsertDatabase == catalog.File();
    std::vector<const ColumnMeta*> targets;
    if (!stmt.columnsGiven) {
        for (const ColumnMeta& c : table.columns) {
            if (!c.computed && !c.identity) targets.push_back(&c);
        }
        if (identityOn && !stmt.defaultValues) {
            throw SqlError(
                8101, Format(u"An explicit value for the identity column in table '%1' can only be "
                             u"specified when a column list is used and IDENTITY_INSERT is ON.",
                             {stmt.table.Text()}));
        }
        return targets;
    }
    bool identityGiven = false;
    for (const std::u16string& name : stmt.columns) {
        const ColumnMeta* c = table.Find(name);
        if (c == nullptr) ThrowInvalidColumn(name);
        if (std::find(targets.begin(), targets.end(), c) != targets.end()) {
            throw SqlError(
                264,
                Format(u"The column name '%1' is specified more than once in the SET clause or "
                       u"column list of an INSERT. A column cannot be assigned more than one "
                       u"value in the same clause. Modify the clause to make sure that a "
                       u"column is updated only once.",
                       {c->name}));
        }
        if (c->computed) {
            throw SqlError(
                271, Format(u"The column \"%1\" cannot be modified because it is either a computed "
                            u"column or is the result of a UNION operator.",
                            {c->name}));
        }
        identityGiven = identityGiven || c->identity;
        targets.push_back(c);
    }
    if (identityGiven && !identityOn) {
        throw SqlError(
            544, Format(u"Cannot insert explicit value for identity column in table '%1' when "
                        u"IDENTITY_INSERT is set to OFF.",
                        {table.name}));
    }
    if (identityOn && !identityGiven) {
        throw SqlError(
            545,
            Format(u"Explicit value must be specified for identity column in table '%1' either "
                   u"when IDENTITY_INSERT is set to ON or when a replication user is inserting "
                   u"into a NOT FOR REPLICATION identity column.",
                   {table.name}));
    }
    return targets;
}

namespace {

// A value of a VALUES list; absent for DEFAULT.
using RowValue = std::optional<Bound>;

// The types to which the values of several rows are brought before they are stored: in each column
// the common type of all. Absent where there is nothing to bring to it.
std::vector<std::optional<SqlType>> CommonTypes(Translator& translator,
                                                const std::vector<std::vector<RowValue>>& rows) {
    std::vector<std::optional<SqlType>> types(rows.front().size());
    if (rows.size() == 1) return types;
    for (std::size_t i = 0; i < types.size(); ++i) {
        std::vector<Bound> values;
        bool alike = true;
        for (const auto& row : rows) {
            if (!row[i] || !row[i]->typed) continue;
            if (values.empty() || !SameType(values.back().type, row[i]->type)) {
                alike = alike && values.empty();
                values.push_back(*row[i]);
            }
        }
        if (!alike) types[i] = translator.Unify(values).type;
    }
    return types;
}

void RequireWidth(const InsertStmt& stmt, std::size_t values, std::size_t columns) {
    if (values == columns) return;
    if (!stmt.columnsGiven) {
        throw SqlError(
            213, u"Column name or number of supplied values does not match table definition.");
    }
    const bool fewer = values < columns;
    throw SqlError(fewer ? 109 : 110,
                   fewer ? u"There are more columns in the INSERT statement than values specified "
                           u"in the VALUES clause. The number of values in the VALUES clause must "
                           u"match the number of columns specified in the INSERT statement."
                         : u"There are fewer columns in the INSERT statement than values specified "
                           u"in the VALUES clause. The number of values in the VALUES clause must "
                           u"match the number of columns specified in the INSERT statement.",
                   15);
}

}  // namespace

std::shared_ptr<Plan> Executor::PlanInsert(const InsertStmt& stmt) {
    auto plan = std::make_shared<Plan>();
    const Resolved r = context_.Resolve(stmt.table);
    plan->table = NeedTable(stmt.table, r);
    RequirePermission(context_, *r.catalog, *r.object, u"INSERT");
    RefuseHistory(*r.catalog, *plan->table, 13559, u"insert rows in");
    plan->catalog = r.catalog;
    const TableMeta& table = *plan->table;
    const std::vector<const ColumnMeta*> targets = InsertTargets(stmt, *r.catalog, table);
    Translator translator(context_);
    Scope scope;

    // What each stored column gets when the statement does not say.
    std::vector<const ColumnMeta*> stored;
    std::vector<std::string> names;
    std::vector<int> slots;  // index into targets, -1 for none
    for (const ColumnMeta& c : table.columns) {
        if (c.computed) continue;
        stored.push_back(&c);
        names.push_back(c.Sql());
        const auto at = std::find(targets.begin(), targets.end(), &c);
        slots.push_back(at == targets.end() ? -1 : static_cast<int>(at - targets.begin()));
    }
    const auto absent = [&](const ColumnMeta& c) {
        if (c.identity) return IdentitySql(*r.catalog, table, c);
        if (c.type.id == TypeId::Timestamp) return "ms_rowver(" + FileNumber(*r.catalog) + ")";
        return DefaultSql(translator, c);
    };
    const auto generatedRefused = [&] {
        throw SqlError(13536,
                       Format(u"Cannot insert an explicit value into a GENERATED ALWAYS column in "
                              u"table '%1'. Use INSERT with a column list to exclude the GENERATED "
                              u"ALWAYS column, or insert a DEFAULT into GENERATED ALWAYS column.",
                              {r.catalog->File()->name + u"." + table.FullName()}));
    };
    const auto timestampRefused = [] {
        throw SqlError(
            273,
            u"Cannot insert an explicit value into a timestamp column. Use INSERT with a "
            u"column list to exclude the timestamp column, or insert a DEFAULT into the "
            u"timestamp column.");
    };
    const auto whole = [&](const std::vector<std::string>& given) {
        std::vector<std::string> row;
        for (std::size_t i = 0; i < stored.size(); ++i) {
            const bool has = slots[i] >= 0 && !given.empty();
            std::string value =
                has ? given[static_cast<std::size_t>(slots[i])] : absent(*stored[i]);
            if (has && stored[i]->identity) {
                value = GivenIdentitySql(*r.catalog, table, *stored[i], value);
            }
            row.push_back(std::move(value));
        }
        return Joined(row);
    };

    const std::string head =
        "INSERT INTO " + r.catalog->Prefix() + table.storage + "(" + Joined(names) + ") ";
    const std::string ignored = IgnoredConflicts(table);
    std::string counted = std::to_string(std::max<std::size_t>(stmt.rows.size(), 1));
    std::string sql;
    if (stmt.defaultValues) {
        sql = head + "VALUES (" + whole({}) + ")";
    } else if (stmt.query) {
        for (const ColumnMeta* c : targets) {
            if (c->type.id == TypeId::Timestamp) timestampRefused();
            if (c->generated != 0) generatedRefused();
        }
        const RowSource source = translator.SelectInto(*stmt.query, targets);
        sql = head + "SELECT " + whole(source.values) + " FROM " + source.from;
        // Without a WHERE, "FROM x ON" could be read as an upsert.
        sql += " WHERE 1";
        counted = "count(*) FROM " + source.from;
    } else {
        if (stmt.rows.size() > 1000) {
            throw SqlError(10738,
                           u"The number of row value expressions in the INSERT statement exceeds "
                           u"the maximum allowed number of 1000 row values.",
                           15);
        }
        translator.shareParams = false;  // there are many, and nothing compares them
        std::vector<std::vector<RowValue>> rows;
        for (const auto& row : stmt.rows) {
            RequireWidth(stmt, row.size(), targets.size());
            std::vector<RowValue>& values = rows.emplace_back();
            for (std::size_t i = 0; i < row.size(); ++i) {
                const ColumnMeta& c = *targets[i];
                const bool isDefault = row[i]->kind == ExprKind::Default;
                const bool isNull = row[i]->kind == ExprKind::Literal && !row[i]->typed;
                if (c.type.id == TypeId::Timestamp && !isDefault && !isNull) timestampRefused();
                if (c.generated != 0 && !isDefault) generatedRefused();
                values.emplace_back();
                if (!isDefault) values.back() = translator.Expression(*row[i], scope);
            }
        }
        const auto common = CommonTypes(translator, rows);
        sql = head + "VALUES ";
        for (std::size_t k = 0; k < rows.size(); ++k) {
            std::vector<std::string> values;
            for (std::size_t i = 0; i < rows[k].size(); ++i) {
                const ColumnMeta& c = *targets[i];
                if (!rows[k][i] || c.type.id == TypeId::Timestamp) {
                    values.push_back(absent(c));
                    continue;
                }
                Bound& value = *rows[k][i];
                if (common[i]) {
                    value.sql = translator.Converted(value, *common[i]);
                    value.typed = true;
                    value.type = *common[i];
                    value.literal.reset();
                }
                values.push_back(translator.Stored(value, c.type));
            }
            sql += (k > 0 ? ",(" : "(") + whole(values) + ")";
        }
    }
    plan->statement = context_.store.Prepare(sql + ignored);
    if (!ignored.empty()) plan->given = context_.store.Prepare("SELECT " + counted);
    plan->params = std::move(translator.params);
    plan->guarded = HasKeys(table);
    plan->filtered = HasFilters(table);
    plan->generation = context_.Generation();
    return plan;
}

void Executor::Insert(const InsertStmt& stmt) {
    if (stmt.exec) {
        throw SqlError(
            197, u"EXECUTE cannot be used as a source when inserting into a table variable.", 15);
    }
    std::shared_ptr<Plan> plan = FreshPlan(stmt);
    if (!plan) {
        plan = PlanInsert(stmt);
        stmt.plan = plan;
    }
    RunWrite(*plan, u"INSERT");
}

// One row for each that is written. SQLite's RETURNING knows nothing but the table that is written;
// what the joined sources hold is the same before.
void Executor::PrepareOutput(Plan& plan, const OutputClause& output, const Source& target,
                             Translator& translator, Scope& scope, const std::string& rows) {
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
    const std::u16string& own = target.alias.empty() ? target.table.name : target.alias;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const Expr& value = *output.values[i];
        if (SameName(value.name.front(), own)) {
            throw SqlError(4104, Format(u"The multi-part identifier \"%1\" could not be bound.",
                                        {value.name.front() + u"." + value.name.back()}));
        }
        names.push_back(columns[i]->Sql());
        values.push_back(translator.Stored(translator.Expression(value, scope), columns[i]->type));
    }
    plan.output = context_.store.Prepare("INSERT INTO " + r.catalog->Prefix() + into->storage +
                                         "(" + Joined(names) + ") SELECT " + Joined(values) +
                                         " FROM " + rows + " GROUP BY " + target.sql + ".rowid");
}

void Executor::RunOutput(Plan& plan) {
    if (!plan.output) return;
    plan.output.Reset();
    BindParams(plan.output, plan.params);
    plan.output.Run();
    plan.output.Reset();
}

void Executor::RunWrite(Plan& plan, const char16_t* verb) {
    context_.verb = verb;
    RequireSnapshots({plan.catalog->File()});
    if (plan.filtered && !context_.options.quotedIdentifier) {
        throw SqlError(
            1934, Format(u"%1 failed because the following SET options have incorrect settings: "
                         u"'QUOTED_IDENTIFIER'. Verify that SET options are correct for use with "
                         u"filtered indexes.",
                         {verb}));
    }
    std::int64_t count = 0;
    std::int64_t given = 0;
    if (plan.given) {
        BindParams(plan.given, plan.params);
        if (plan.given.Step()) given = plan.given.Integer(0);
        plan.given.Reset();
    }
    const auto run = [&] {
        RunOutput(plan);
        plan.statement.Reset();
        BindParams(plan.statement, plan.params);
        try {
            while (plan.statement.Step()) {
            }
        } catch (...) {
            plan.statement.Reset();
            throw;
        }
        count = sqlite3_changes64(context_.store.Raw());
        plan.statement.Reset();
    };
    try {
        if (plan.guarded) {
            Atomically([&] {
                run();
                CheckPendingKeys();
            });
        } else {
            EnsureTransaction();
            run();
        }
    } catch (const StoreError& e) {
        context_.pendingKeys.clear();
        ThrowConstraint(e, plan, verb);
    }
    if (count < given) {
        Message ignored;
        ignored.number = 3604;
        ignored.severity = 0;
        ignored.text = u"Duplicate key was ignored.";
        sink_.Say(ignored);
    }
    DoneWrite(count);
}

// "UNIQUE constraint failed: o5.c1, o5.c2" and its kin become the server's errors.
void Executor::ThrowConstraint(const StoreError& error, const Plan& plan, const char16_t* verb) {
    if ((error.code & 0xFF) != SQLITE_CONSTRAINT) throw error;
    const TableMeta& table = *plan.table;
    const std::string text = error.what();
    const std::size_t colon = text.find(": ");
    std::string detail = colon == std::string::npos ? "" : text.substr(colon + 2);
    if (error.code == SQLITE_CONSTRAINT_NOTNULL) {
        const int id = LeadingNumber(std::string_view(detail).substr(detail.rfind(".c") + 2));
        const ColumnMeta* c = table.FindById(id);
        throw SqlError(
            515, Format(u"Cannot insert the value NULL into column '%1', table '%2'; column does "
                        u"not allow nulls. %3 fails.",
                        {c ? c->name : u"", plan.catalog->File()->name + u"." + table.FullName(),
                         verb}));
    }
    if (const IndexMeta* index = FindViolatedIndex(table, detail)) {
        if (index->primaryKey || index->uniqueConstraint) {
            throw SqlError(
                2627,
                Format(u"Violation of %1 constraint '%2'. Cannot insert duplicate key in object "
                       u"'%3'.",
                       {index->primaryKey ? u"PRIMARY KEY" : u"UNIQUE KEY", index->name,
                        table.FullName()}),
                14);
        }
        throw SqlError(
            2601,
            Format(u"Cannot insert duplicate key row in object '%1' with unique index '%2'.",
                   {table.FullName(), index->name}),
            14);
    }
    throw error;
}

namespace {

const TableRef* FindReference(const TableRef& ref, std::u16string_view name) {
    if (ref.kind == TableRef::Kind::Join) {
        if (const TableRef* left = FindReference(*ref.left, name)) return left;
        return FindReference(*ref.right, name);
    }
    if (ref.kind != TableRef::Kind::Table) return nullptr;
    return SameName(ref.alias.empty() ? ref.table.name : ref.alias, name) ? &ref : nullptr;
}

}  // namespace

Resolved Executor::WriteTarget(const ObjectName& name, const std::vector<TableRefPtr>& from,
                               const TableRef** reference) {
    *reference = nullptr;
    for (const TableRefPtr& ref : from) {
        if (*reference == nullptr) *reference = FindReference(*ref, name.name);
    }
    return context_.Resolve(*reference ? (*reference)->table : name);
}

namespace {

bool NamesColumns(const Expr& expr) {
    if (expr.kind == ExprKind::Column || expr.query) return true;
    return std::any_of(expr.args.begin(), expr.args.end(),
                       [](const ExprPtr& arg) { return arg && NamesColumns(*arg); });
}

// Whether it looks at what the rows hold, which takes more than the permission to write them.
bool ReadsRows(const UpdateStmt& stmt) {
    return stmt.where || !stmt.from.empty() ||
           std::any_of(stmt.assignments.begin(), stmt.assignments.end(),
                       [](const Assignment& a) { return NamesColumns(*a.value); });
}

// The rows that UPDATE and DELETE with joins, or with TOP, choose.
struct Chosen {
    std::string from;  // FROM ... WHERE ... LIMIT
    const Source* target = nullptr;
};

}  // namespace

std::shared_ptr<Plan> Executor::PlanUpdate(const UpdateStmt& stmt) {
    auto plan = std::make_shared<Plan>();
    const TableRef* reference = nullptr;
    const Resolved r = WriteTarget(stmt.table, stmt.from, &reference);
    plan->table = NeedTable(stmt.table, r);
    RequirePermission(context_, *r.catalog, *r.object, u"UPDATE");
    RefuseHistory(*r.catalog, *plan->table, 13561, u"update rows in");
    plan->catalog = r.catalog;
    const TableMeta& table = *plan->table;
    Translator translator(context_);
    Scope scope;
    std::string from;
    if (!stmt.from.empty()) from = translator.FromClause(stmt.from, scope);
    Source* target = nullptr;
    if (reference != nullptr) {
        for (const auto& source : scope.sources) {
            const std::u16string& exposed =
                source->alias.empty() ? source->table.name : source->alias;
            const std::u16string& wanted =
                reference->alias.empty() ? reference->table.name : reference->alias;
            if (source->meta && source->meta->id == table.id && SameName(exposed, wanted))
                target = source.get();
        }
    } else {
        std::string own;
        scope.sources.push_back(translator.TableSource(stmt.table, u"", &own, ReadsRows(stmt)));
        target = scope.sources.back().get();
        from += (from.empty() ? "" : ", ") + own;
    }
    if (target == nullptr) ThrowInvalidObject(stmt.table.Text());

    std::vector<std::pair<std::string, std::string>> sets;
    for (const Assignment& a : stmt.assignments) {
        if (!a.variable.empty()) ThrowSyntax(a.variable);
        const ColumnMeta* c = table.Find(a.column);
        if (c == nullptr) ThrowInvalidColumn(a.column);
        if (c->identity) {
            throw SqlError(8102, Format(u"Cannot update identity column '%1'.", {c->name}));
        }
        if (c->generated != 0) {
            throw SqlError(13537, Format(u"Cannot update GENERATED ALWAYS columns in table '%1'.",
                                         {r.catalog->File()->name + u"." + table.FullName()}));
        }
        if (c->type.id == TypeId::Timestamp)
            throw SqlError(272, u"Cannot update a timestamp column.");
        if (c->computed) {
            throw SqlError(
                271, Format(u"The column \"%1\" cannot be modified because it is either a computed "
                            u"column or is the result of a UNION operator.",
                            {c->name}));
        }
        for (const auto& [name, value] : sets) {
            if (name == c->Sql()) {
                throw SqlError(
                    264, Format(u"The column name '%1' is specified more than once in the SET "
                                u"clause or column list of an INSERT. A column cannot be assigned "
                                u"more than one value in the same clause. Modify the clause to "
                                u"make sure that a column is updated only once.",
                                {c->name}));
            }
        }
        const std::string value =
            a.value->kind == ExprKind::Default
                ? DefaultSql(translator, *c)
                : translator.Stored(translator.Expression(*a.value, scope), c->type);
        sets.emplace_back(c->Sql(), value);
    }
    for (const ColumnMeta& c : table.columns) {
        if (c.generated == 1) sets.emplace_back(c.Sql(), DefaultSql(translator, c));
    }
    const std::string where =
        stmt.where ? " WHERE " + translator.Condition(*stmt.where, scope) : "";
    std::string limit;
    if (stmt.top) {
        Scope constant;
        limit = " LIMIT " + translator.Converted(translator.Expression(*stmt.top, constant),
                                                 Plain(TypeId::BigInt));
    }
    std::string rowVersion;
    for (const ColumnMeta& c : table.columns) {
        if (c.type.id == TypeId::Timestamp) {
            rowVersion = "," + c.Sql() + "=ms_rowver(" + FileNumber(*r.catalog) + ")";
        }
    }
    const std::string storage = r.catalog->Prefix() + table.storage;
    std::string sql;
    std::string list;
    const bool joined = !stmt.from.empty() || stmt.top;
    std::string selected;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        list += (i > 0 ? "," : "") + sets[i].first + "=" +
                (joined ? "j.v" + std::to_string(i) : sets[i].second);
        selected += "," + sets[i].second + " AS v" + std::to_string(i);
    }
    const std::string rows =
        "SELECT " + target->sql + ".rowid AS rid" + selected + " FROM " + from + where + limit;
    sql = joined ? "UPDATE " + storage + " AS u SET " + list + rowVersion + " FROM (" + rows +
                       ") AS j WHERE u.rowid=j.rid"
                 : "UPDATE " + storage + " AS " + target->sql + " SET " + list + rowVersion + where;
    plan->statement = context_.store.Prepare(sql);
    PrepareOutput(*plan, stmt.output, *target, translator, scope, from + where);
    plan->reshuffle = Widen(rows);
    for (const auto& [name, value] : sets)
        plan->variables.push_back(Widen(name));
    plan->params = std::move(translator.params);
    plan->guarded = HasKeys(table) || plan->output;
    plan->filtered = HasFilters(table);
    plan->generation = context_.Generation();
    return plan;
}

void Executor::Update(const UpdateStmt& stmt) {
    std::shared_ptr<Plan> plan = FreshPlan(stmt);
    if (!plan) {
        plan = PlanUpdate(stmt);
        stmt.plan = plan;
    }
    try {
        RunWrite(*plan, u"UPDATE");
    } catch (const SqlError& e) {
        const bool duplicate = e.message.number == 2627 || e.message.number == 2601;
        if (!duplicate || !Reshuffle(stmt, *plan)) throw;
    }
}

// Keys that swap or shift collide on the way although the result is unique: SQLite checks row by
// row, the server at the end of the statement. The changed rows are taken out and put back.
// Returns false when the result is not unique either.
bool Executor::Reshuffle(const UpdateStmt&, Plan& plan) {
    const TableMeta& table = *plan.table;
    const std::string storage = plan.catalog->Prefix() + table.storage;
    std::string columns;
    std::string values;
    for (const ColumnMeta& c : table.columns) {
        if (c.computed) continue;
        columns += "," + c.Sql();
        std::string value = "o." + c.Sql();
        for (std::size_t i = 0; i < plan.variables.size(); ++i) {
            if (Narrow(plan.variables[i]) == c.Sql()) value = "j.v" + std::to_string(i);
        }
        if (c.type.id == TypeId::Timestamp) value = "ms_rowver(" + FileNumber(*plan.catalog) + ")";
        values += "," + value + " AS " + c.Sql();
    }
    std::int64_t count = 0;
    try {
        Atomically([&] {
            Store& store = context_.store;
            store.Execute("DROP TABLE IF EXISTS temp.reshuffle");
            RunOutput(plan);
            Statement fill =
                store.Prepare("CREATE TEMP TABLE reshuffle AS SELECT j.rid AS rid" + values +
                              " FROM (" + Narrow(plan.reshuffle) + ") AS j JOIN " + storage +
                              " AS o ON o.rowid=j.rid GROUP BY j.rid");
            BindParams(fill, plan.params);
            fill.Run();
            context_.verb = u"UPDATE";
            context_.reshufflingKeys = true;
            store.Execute("DELETE FROM " + storage +
                          " WHERE rowid IN (SELECT rid FROM temp.reshuffle)");
            Statement put = store.Prepare("INSERT INTO " + storage + "(rowid" + columns +
                                          ") SELECT rid" + columns + " FROM temp.reshuffle");
            put.Run();
            count = sqlite3_changes64(store.Raw());
            CheckPendingKeys();
            context_.reshufflingKeys = false;
            store.Execute("DROP TABLE temp.reshuffle");
        });
    } catch (const StoreError&) {
        context_.reshufflingKeys = false;
        return false;
    } catch (...) {
        context_.reshufflingKeys = false;
        throw;
    }
    DoneWrite(count);
    return true;
}

std::shared_ptr<Plan> Executor::PlanDelete(const DeleteStmt& stmt) {
    auto plan = std::make_shared<Plan>();
    const TableRef* reference = nullptr;
    const Resolved r = WriteTarget(stmt.table, stmt.from, &reference);
    plan->table = NeedTable(stmt.table, r);
    RequirePermission(context_, *r.catalog, *r.object, u"DELETE");
    RefuseHistory(*r.catalog, *plan->table, 13560, u"delete rows from");
    plan->catalog = r.catalog;
    Translator translator(context_);
    Scope scope;
    std::string from;
    if (!stmt.from.empty()) from = translator.FromClause(stmt.from, scope);
    std::string alias;
    const Source* target = nullptr;
    if (reference != nullptr) {
        for (const auto& source : scope.sources) {
            const std::u16string& exposed =
                source->alias.empty() ? source->table.name : source->alias;
            if (SameName(exposed, stmt.table.name)) target = source.get();
        }
        if (target != nullptr) alias = target->sql;
    } else {
        std::string own;
        const bool reads = stmt.where || !stmt.from.empty();
        scope.sources.push_back(translator.TableSource(stmt.table, u"", &own, reads));
        target = scope.sources.back().get();
        alias = target->sql;
        from += (from.empty() ? "" : ", ") + own;
    }
    const std::string where =
        stmt.where ? " WHERE " + translator.Condition(*stmt.where, scope) : "";
    const std::string storage = r.catalog->Prefix() + plan->table->storage;
    std::string sql = "DELETE FROM " + storage;
    if (stmt.from.empty() && !stmt.top) {
        sql += " AS " + alias + where;
    } else {
        std::string limit;
        if (stmt.top) {
            Scope constant;
            limit = " LIMIT " + translator.Converted(translator.Expression(*stmt.top, constant),
                                                     Plain(TypeId::BigInt));
        }
        sql += " WHERE rowid IN (SELECT " + alias + ".rowid FROM " + from + where + limit + ")";
    }
    plan->statement = context_.store.Prepare(sql);
    if (target != nullptr) {
        PrepareOutput(*plan, stmt.output, *target, translator, scope, from + where);
    }
    plan->params = std::move(translator.params);
    plan->guarded = HasKeys(*plan->table) || plan->output;
    plan->filtered = HasFilters(*plan->table);
    plan->generation = context_.Generation();
    return plan;
}

void Executor::Delete(const DeleteStmt& stmt) {
    std::shared_ptr<Plan> plan = FreshPlan(stmt);
    if (!plan) {
        plan = PlanDelete(stmt);
        stmt.plan = plan;
    }
    RunWrite(*plan, u"DELETE");
}

void Executor::Truncate(const DropObjectStmt& stmt) {
    const Resolved r = context_.Resolve(stmt.names.front());
    const TablePtr table = r.object ? r.catalog->Table(r.object->id) : nullptr;
    if (!table || table->type != u'U') {
        throw SqlError(
            4701, Format(u"Cannot find the object \"%1\" because it does not exist or you do not "
                         u"have permissions.",
                         {stmt.names.front().Text()}));
    }
    RequireAlter(context_, r, stmt.names.front(), 7);
    if (table->historyId != 0 || table->historyOf != 0) {
        throw SqlError(13545, Format(u"Truncate failed on table '%1' because it is not a supported "
                                     u"operation on system-versioned tables.",
                                     {r.catalog->File()->name + u"." + table->FullName()}));
    }
    for (const ForeignKeyMeta& f : table->references) {
        if (f.childId == table->id) continue;
        throw SqlError(
            4712, Format(u"Cannot truncate table '%1' because it is being referenced by a FOREIGN "
                         u"KEY constraint.",
                         {stmt.names.front().Text()}));
    }
    Atomically([&] {
        const std::string storage = r.catalog->Prefix() + table->storage;
        DropTriggers(context_.store, *r.catalog, *table);
        context_.store.Execute("DELETE FROM " + storage);
        CreateTriggers(context_, *r.catalog, *table);
    });
    context_.BumpGeneration();
    r.catalog->File()->ReseedIdentity(table->id, std::nullopt);
    Done();
}

}  // namespace sandbox::engine
