#include <algorithm>

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/translation/QueryTree.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {

namespace {

[[noreturn]] void ThrowNotComparable(std::u16string_view type, std::u16string_view) {
    throw SqlError(5335,
                   Format(u"The data type %1 cannot be used as an operand to the UNION, INTERSECT "
                          u"or EXCEPT operators because it is not comparable.",
                          {type}));
}

std::u16string_view OperationName(const Query& query) {
    switch (query.set) {
        case SetOperator::UnionAll:
            return u"UNION ALL operation";
        case SetOperator::Except:
            return u"EXCEPT operation";
        case SetOperator::Intersect:
            return u"INTERSECT operation";
        default:
            return u"UNION operation";
    }
}

}  // namespace

bool Translator::HasAggregate(const Expr& e) {
    if (e.kind == ExprKind::Function && !e.overClause && IsAggregateName(e.name.front()))
        return true;
    for (const ExprPtr& a : e.args) {
        if (HasAggregate(*a)) return true;
    }
    return false;
}

TranslatedQuery Translator::Select(const Query& query) {
    std::unique_ptr<Tree> tree = BindQuery(query, nullptr);
    const std::vector<Bound> outputs = UnifiedTypes(*tree);
    TranslatedQuery result;
    const Tree* first = tree.get();
    while (first->left)
        first = first->left.get();
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        ColumnInfo info;
        if (first->core) info.name = first->core->names[i];
        info.type = outputs[i].type;
        info.nullable = outputs[i].nullable;
        info.identity = outputs[i].identity;
        info.computed = outputs[i].computed;
        result.columns.push_back(std::move(info));
    }
    if (tree->core) result.variables = tree->core->variables;
    const std::string order = OrderClause(query, *tree, outputs);
    result.sql = Render(*tree, outputs, false) + order;
    if (tree->core) result.sql += tree->core->limit;
    return result;
}

RowSource Translator::SelectInto(const Query& query,
                                 const std::vector<const ColumnMeta*>& targets) {
    std::unique_ptr<Tree> tree = BindQuery(query, nullptr);
    std::vector<Bound> types = UnifiedTypes(*tree);
    if (types.size() != targets.size()) {
        throw SqlError(
            types.size() < targets.size() ? 120 : 121,
            types.size() < targets.size()
                ? u"The select list for the INSERT statement contains fewer items than the "
                  u"insert list. The number of SELECT values must match the number of INSERT "
                  u"columns."
                : u"The select list for the INSERT statement contains more items than the "
                  u"insert list. The number of SELECT values must match the number of INSERT "
                  u"columns.",
            15);
    }
    const std::string order = OrderClause(query, *tree, types);
    std::string inner = Render(*tree, types, true) + order;
    if (tree->core) inner += tree->core->limit;
    RowSource source;
    for (std::size_t i = 0; i < types.size(); ++i) {
        Bound column = types[i];
        column.sql = "q.c" + std::to_string(i + 1);
        column.column = true;
        column.literal.reset();
        source.values.push_back(Stored(column, targets[i]->type));
    }
    source.from = "(" + inner + ") AS q";
    return source;
}

std::vector<ColumnInfo> Translator::Describe(const Query& query) {
    return Select(query).columns;
}

std::unique_ptr<Translator::Tree> Translator::BindQuery(const Query& query, Scope* outer) {
    auto tree = std::make_unique<Tree>();
    tree->query = &query;
    if (!query.rows.empty()) {
        Scope scope;
        scope.outer = outer;
        for (const auto& row : query.rows) {
            auto& bound = tree->rows.emplace_back();
            for (const ExprPtr& e : row)
                bound.push_back(Expression(*e, scope));
        }
        return tree;
    }
    if (query.set == SetOperator::None) {
        tree->core = BindCore(query, outer);
        return tree;
    }
    tree->left = BindQuery(*query.left, outer);
    tree->right = BindQuery(*query.right, outer);
    return tree;
}

std::unique_ptr<Translator::Core> Translator::BindCore(const Query& query, Scope* outer) {
    auto core = std::make_unique<Core>();
    core->query = &query;
    core->scope.outer = outer;
    Scope& scope = core->scope;
    if (!query.from.empty()) core->from = " FROM " + FromClause(query.from, scope);
    if (query.where) {
        if (HasAggregate(*query.where)) {
            throw SqlError(
                147,
                u"An aggregate may not appear in the WHERE clause unless it is in a "
                u"subquery contained in a HAVING clause or a select list, and the column "
                u"being aggregated is an outer reference.",
                15);
        }
        core->where = " WHERE " + Condition(*query.where, scope);
    }
    for (const ExprPtr& e : query.groupBy) {
        const Bound key = Expression(*e, scope);
        if (IsLob(key.type.id)) {
            throw SqlError(306,
                           u"The text, ntext, and image data types cannot be compared or sorted, "
                           u"except when using IS NULL or LIKE operator.");
        }
        scope.groupKeys.push_back(key.sql);
        core->group += (core->group.empty() ? " GROUP BY " : ", ") + Collated(key);
    }
    bool aggregate = query.having != nullptr;
    for (const SelectItem& item : query.items)
        aggregate = aggregate || HasAggregate(*item.expr);
    scope.grouped = aggregate || !query.groupBy.empty();
    scope.aggregatesAllowed = true;
    BindItems(query, *core);
    if (query.having) {
        if (core->group.empty()) {
            core->group = " GROUP BY NULL";
        }
        core->group += " HAVING " + Condition(*query.having, scope);
    }
    core->limit = LimitClause(query, scope);
    return core;
}

void Translator::BindItems(const Query& query, Core& core) {
    for (const SelectItem& item : query.items) {
        if (item.expr->kind == ExprKind::Star) {
            ExpandStar(*item.expr, core);
            continue;
        }
        Bound bound = Expression(*item.expr, core.scope);
        core.names.push_back(!item.alias.empty() ? item.alias : bound.name);
        if (!item.variable.empty()) core.variables.push_back(FoldName(item.variable));
        core.outputs.push_back(std::move(bound));
    }
    if (!core.variables.empty() && core.variables.size() != core.outputs.size()) {
        throw SqlError(
            141,
            u"A SELECT statement that assigns a value to a variable must not be combined "
            u"with data-retrieval operations.",
            15);
    }
    if (!query.distinct) return;
    for (const Bound& b : core.outputs) {
        if (IsLob(b.type.id)) {
            throw SqlError(
                421, Format(u"The %1 data type cannot be selected as DISTINCT because it is not "
                            u"comparable.",
                            {TypeName(b.type.id)}));
        }
    }
}

void Translator::ExpandStar(const Expr& star, Core& core) {
    if (core.scope.sources.empty()) {
        throw SqlError(263, u"Must specify table to select from.");
    }
    bool any = false;
    for (const auto& source : core.scope.sources) {
        if (!star.name.empty()) {
            const std::u16string& exposed =
                source->alias.empty() ? source->table.name : source->alias;
            if (!SameName(exposed, star.name.back())) continue;
        }
        any = true;
        for (const SourceColumn& c : source->columns) {
            Bound bound = FromSource(*source, c, core.scope, false);
            core.names.push_back(c.name);
            core.outputs.push_back(std::move(bound));
        }
    }
    if (!any) {
        throw SqlError(
            107,
            Format(u"The column prefix '%1' does not match with a table name or alias name "
                   u"used in the query.",
                   {star.name.back()}),
            15);
    }
}

std::vector<Bound> Translator::UnifiedTypes(Tree& tree) {
    if (tree.core) return tree.core->outputs;
    std::vector<std::vector<Bound>> rows;
    if (!tree.rows.empty()) {
        rows = tree.rows;
    } else {
        rows.push_back(UnifiedTypes(*tree.left));
        rows.push_back(UnifiedTypes(*tree.right));
    }
    for (const auto& row : rows) {
        if (row.size() != rows.front().size()) {
            throw SqlError(
                205,
                u"All queries combined using a UNION, INTERSECT or EXCEPT operator must have "
                u"an equal number of expressions in their target lists.");
        }
    }
    std::vector<Bound> result;
    for (std::size_t i = 0; i < rows.front().size(); ++i) {
        std::vector<Bound> column;
        column.reserve(rows.size());
        for (const auto& row : rows)
            column.push_back(row[i]);
        Bound unified = Unify(column, OperationName(*tree.query));
        unified.identity = false;
        unified.computed = false;
        unified.nullable = false;
        for (const auto& row : rows)
            unified.nullable = unified.nullable || row[i].nullable;
        const bool distinct = tree.rows.empty() && tree.query->set != SetOperator::UnionAll;
        if (distinct && IsLob(unified.type.id)) {
            ThrowNotComparable(TypeName(unified.type.id), u"");
        }
        result.push_back(std::move(unified));
    }
    return result;
}

std::string Translator::OrderClause(const Query& query, Tree& tree,
                                    const std::vector<Bound>& outputs) {
    std::string sql;
    const Tree* first = &tree;
    while (first->left)
        first = first->left.get();
    for (const OrderItem& item : query.orderBy) {
        const Expr& e = *item.expr;
        std::string key;
        SqlType type;
        std::size_t position = 0;
        if (e.kind == ExprKind::Literal && e.typed && e.type.id == TypeId::Int) {
            if (e.value.i < 1 || e.value.i > static_cast<std::int64_t>(outputs.size())) {
                throw SqlError(
                    108,
                    Format(u"The ORDER BY position number %1 is out of range of the number "
                           u"of items in the select list.",
                           {ToText(e.value.i)}),
                    15);
            }
            position = static_cast<std::size_t>(e.value.i);
        } else if (e.kind == ExprKind::Column && e.name.size() == 1 && first->core) {
            for (std::size_t i = 0; i < outputs.size() && position == 0; ++i) {
                if (SameName(first->core->names[i], e.name.front())) position = i + 1;
            }
        }
        if (position > 0) {
            key = std::to_string(position);
            type = outputs[position - 1].type;
        } else {
            if (!tree.core) {
                throw SqlError(104,
                               u"ORDER BY items must appear in the select list if the statement "
                               u"contains a UNION, INTERSECT or EXCEPT operator.",
                               15);
            }
            const Bound bound = Expression(e, tree.core->scope);
            key = Collated(bound);
            type = bound.type;
            if (tree.core->query->distinct) {
                const bool listed =
                    std::any_of(tree.core->outputs.begin(), tree.core->outputs.end(),
                                [&](const Bound& b) { return b.sql == bound.sql; });
                if (!listed) {
                    throw SqlError(
                        145,
                        u"ORDER BY items must appear in the select list if SELECT DISTINCT "
                        u"is specified.",
                        15);
                }
            }
        }
        if (IsLob(type.id)) {
            throw SqlError(306,
                           u"The text, ntext, and image data types cannot be compared or sorted, "
                           u"except when using IS NULL or LIKE operator.");
        }
        // The server takes bytes for equal where only zeros follow.
        if (IsBinary(type.id) && position == 0) key = "ms_significant(" + key + ")";
        sql += (sql.empty() ? " ORDER BY " : ", ") + key + (item.descending ? " DESC" : "");
    }
    return sql;
}

// A query inside an expression or a FROM clause, with columns c1, c2 ...
std::string Translator::Subselect(const Query& query, Scope& scope, std::vector<Bound>* outputs) {
    std::unique_ptr<Tree> tree = BindQuery(query, &scope);
    std::vector<Bound> types = UnifiedTypes(*tree);
    if (!query.orderBy.empty() && !query.top && !query.left) {
        throw SqlError(
            1033,
            u"The ORDER BY clause is invalid in views, inline functions, derived tables, "
            u"subqueries, and common table expressions, unless TOP or FOR XML is also "
            u"specified.",
            15);
    }
    std::string sql = Render(*tree, types, true);
    if (tree->core && !tree->core->limit.empty()) {
        sql += OrderClause(query, *tree, types) + tree->core->limit;
    }
    if (outputs != nullptr) {
        const Tree* first = tree.get();
        while (first->left)
            first = first->left.get();
        for (std::size_t i = 0; i < types.size(); ++i) {
            types[i].name = first->core ? first->core->names[i] : u"";
        }
        *outputs = std::move(types);
    }
    return sql;
}

std::string Translator::ViewSql(const TableMeta& view, Catalog& catalog,
                                std::vector<SourceColumn>& columns) {
    if (++views_ > 32) {
        throw SqlError(
            4429, Format(u"View or function '%1' contains a self-reference. Views or functions "
                         u"cannot reference themselves directly or indirectly.",
                         {view.name}));
    }
    std::vector<StmtPtr> parsed = Parser(view.text).ParseBatch();
    const auto& definition = static_cast<const CreateViewStmt&>(*parsed.front());
    viewCatalogs_.push_back(&catalog);
    Scope scope;
    std::vector<Bound> outputs;
    std::string sql;
    try {
        auto tree = BindQuery(*definition.query, nullptr);
        outputs = UnifiedTypes(*tree);
        sql = Render(*tree, outputs, true);
        if (tree->core && !tree->core->limit.empty()) {
            sql += OrderClause(*definition.query, *tree, outputs) + tree->core->limit;
        }
    } catch (...) {
        viewCatalogs_.pop_back();
        throw;
    }
    viewCatalogs_.pop_back();
    --views_;
    for (std::size_t i = 0; i < outputs.size() && i < view.columns.size(); ++i) {
        SourceColumn c;
        c.name = view.columns[i].name;
        c.sql = "c" + std::to_string(i + 1);
        c.type = outputs[i].type;
        c.nullable = outputs[i].nullable;
        c.identity = outputs[i].identity;
        c.computed = outputs[i].computed;
        columns.push_back(std::move(c));
    }
    return sql;
}

}  // namespace sandbox::engine
