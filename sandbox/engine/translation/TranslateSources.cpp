// What stands behind FROM: tables, joins, views, queries.

#include "sandbox/engine/catalog/Permissions.h"
#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {

namespace {

void MakeNullable(Scope& scope, std::size_t from, std::size_t to) {
    for (std::size_t i = from; i < to; ++i) {
        for (SourceColumn& c : scope.sources[i]->columns) {
            c.nullable = true;
            c.identity = false;
        }
    }
}

}  // namespace

std::string Translator::FromClause(const std::vector<TableRefPtr>& refs, Scope& scope) {
    std::string sql;
    for (const TableRefPtr& ref : refs) {
        if (!sql.empty()) sql += ", ";
        const std::string one = TableRefSql(*ref, scope);
        const bool group = refs.size() > 1 && ref->kind == TableRef::Kind::Join;
        sql += group ? "(" + one + ")" : one;
    }
    // Two sources of one name cannot be told apart.
    for (std::size_t i = 0; i < scope.sources.size(); ++i) {
        for (std::size_t j = i + 1; j < scope.sources.size(); ++j) {
            const Source& a = *scope.sources[i];
            const Source& b = *scope.sources[j];
            if (a.alias.empty() != b.alias.empty()) continue;
            const bool same =
                a.alias.empty() ? a.meta && a.meta == b.meta : SameName(a.alias, b.alias);
            if (!same) continue;
            if (!a.alias.empty()) {
                throw SqlError(1011,
                               Format(u"The correlation name '%1' is specified multiple times in a "
                                      u"FROM clause.",
                                      {a.alias}),
                               15);
            }
            throw SqlError(1013,
                           Format(u"The objects \"%1\" and \"%2\" in the FROM clause have the same "
                                  u"exposed names. Use correlation names to distinguish them.",
                                  {a.table.Text(), b.table.Text()}),
                           15);
        }
    }
    return sql;
}

std::string Translator::TableRefSql(const TableRef& ref, Scope& scope) {
    if (ref.kind == TableRef::Kind::Join) return JoinSql(ref, scope);
    if (ref.kind == TableRef::Kind::Table) {
        std::string from;
        scope.sources.push_back(TableSource(ref.table, ref.alias, &from));
        return from;
    }
    // A derived table does not see its neighbours.
    Scope inner;
    inner.outer = scope.outer;
    std::vector<Bound> outputs;
    const std::string query = Subselect(*ref.query, inner, &outputs);
    auto source = std::make_unique<Source>();
    source->alias = ref.alias;
    source->sql = NewAlias();
    if (!ref.columnAliases.empty() && ref.columnAliases.size() != outputs.size()) {
        throw SqlError(
            8158,
            Format(u"'%1' has more columns than were specified in the column list.", {ref.alias}));
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        SourceColumn c;
        c.name = ref.columnAliases.empty() ? outputs[i].name : ref.columnAliases[i];
        if (c.name.empty()) {
            throw SqlError(8155, Format(u"No column name was specified for column %1 of '%2'.",
                                        {ToText(static_cast<std::int64_t>(i) + 1), ref.alias}));
        }
        for (const SourceColumn& other : source->columns) {
            if (SameName(other.name, c.name)) {
                throw SqlError(8156,
                               Format(u"The column '%1' was specified multiple times for '%2'.",
                                      {c.name, ref.alias}));
            }
        }
        c.sql = "c" + std::to_string(i + 1);
        c.type = outputs[i].type;
        c.nullable = outputs[i].nullable;
        source->columns.push_back(std::move(c));
    }
    std::string from = "(" + query + ") AS " + source->sql;
    scope.sources.push_back(std::move(source));
    return from;
}

std::string Translator::JoinSql(const TableRef& ref, Scope& scope) {
    const bool leftMayMiss = ref.join == JoinKind::Right || ref.join == JoinKind::Full;
    const bool rightMayMiss = ref.join == JoinKind::Left || ref.join == JoinKind::Full;
    const auto side = [&](const TableRef& one, bool mayMiss) {
        const bool outside = mayMiss_;
        mayMiss_ = mayMiss_ || mayMiss;
        std::string sql = TableRefSql(one, scope);
        mayMiss_ = outside;
        return sql;
    };
    const std::size_t begin = scope.sources.size();
    std::string left = side(*ref.left, leftMayMiss);
    const std::size_t middle = scope.sources.size();
    std::string right = side(*ref.right, rightMayMiss);
    const std::size_t end = scope.sources.size();
    if (ref.right->kind == TableRef::Kind::Join) right = "(" + right + ")";
    if (ref.join == JoinKind::Cross) return left + " CROSS JOIN " + right;
    // The condition sees the two sides only.
    Scope on;
    on.outer = scope.outer;
    for (std::size_t i = begin; i < end; ++i)
        on.sources.push_back(std::move(scope.sources[i]));
    const auto giveBack = [&] {
        for (std::size_t i = begin; i < end; ++i)
            scope.sources[i] = std::move(on.sources[i - begin]);
    };
    std::string condition;
    try {
        condition = Condition(*ref.on, on);
    } catch (...) {
        giveBack();
        throw;
    }
    giveBack();
    if (leftMayMiss) MakeNullable(scope, begin, middle);
    if (rightMayMiss) MakeNullable(scope, middle, end);
    const char* word = " JOIN ";
    if (ref.join == JoinKind::Left) word = " LEFT JOIN ";
    if (ref.join == JoinKind::Right) word = " RIGHT JOIN ";
    if (ref.join == JoinKind::Full) word = " FULL JOIN ";
    return left + word + right + " ON " + condition;
}

std::unique_ptr<Source> Translator::TableSource(const ObjectName& name, std::u16string_view alias,
                                                std::string* from, bool reads) {
    auto source = std::make_unique<Source>();
    source->alias = alias;
    source->table = name;
    Resolved resolved;
    if (name.database.empty() && name.server.empty() && !viewCatalogs_.empty()) {
        resolved.catalog = viewCatalogs_.back();
        resolved.object = resolved.catalog->Find(name.schema, name.name);
    } else {
        resolved = context_.Resolve(name);
    }
    source->catalog = resolved.catalog;
    source->sql = NewAlias();
    if (!resolved.object || resolved.object->type == u"S") {
        auto view = FindSystemView(context_, *resolved.catalog, name.schema, name.name, mayMiss_);
        if (!view) ThrowInvalidObject(name.Text());
        source->columns = std::move(view->columns);
        *from = view->sql + " AS " + source->sql;
        return source;
    }
    const bool ofView = !viewCatalogs_.empty() && viewCatalogs_.back() == resolved.catalog;
    if (reads && !ofView) {
        RequirePermission(context_, *resolved.catalog, *resolved.object, u"SELECT");
    }
    source->meta = resolved.catalog->Table(resolved.object->id);
    if (!source->meta) ThrowInvalidObject(name.Text());
    if (viewCatalogs_.empty()) used.emplace_back(resolved.catalog, resolved.object->id);
    if (source->meta->type == u'V') {
        *from = "(" + ViewSql(*source->meta, *resolved.catalog, source->columns) + ") AS " +
                source->sql;
        return source;
    }
    for (const ColumnMeta& c : source->meta->columns) {
        SourceColumn s;
        s.name = c.name;
        s.sql = c.Sql();
        s.type = c.type;
        s.nullable = c.nullable;
        s.identity = c.identity;
        s.computed = c.computed;
        source->columns.push_back(std::move(s));
    }
    *from = resolved.catalog->Prefix() + source->meta->storage + " AS " + source->sql;
    return source;
}

}  // namespace sandbox::engine
