#include <algorithm>

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/definitions/TableStorage.h"
#include "sandbox/engine/execution/WritePlans.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

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

}  // namespace

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
    const TablePtr found = NeedTable(stmt.table, r);
    RequirePermission(context_, *r.catalog, *r.object, u"INSERT");
    RefuseHistory(*r.catalog, *found, 13559, u"insert rows in");
    const TableMeta& table = *found;
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
    FinishPlan(*plan, *r.catalog, found, translator);
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

}  // namespace sandbox::engine
