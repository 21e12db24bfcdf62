// Columns, variables and @@variables.
#include <algorithm>

#include "sandbox/engine/translation/Translator.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"

namespace sandbox::engine {
namespace {

std::string ColumnSql(const Source& source, const SourceColumn& column) {
    if (!column.expression) return source.sql + "." + column.sql;
    std::string sql;
    for (const char c : column.sql) {
        if (c == kAliasMark) {
            sql += source.sql;
        } else {
            sql += c;
        }
    }
    return sql;
}

}  // namespace

Bound Translator::FromSource(const Source& source, const SourceColumn& c, Scope& scope,
                             bool outer) {
    Bound b;
    b.sql = ColumnSql(source, c);
    b.type = c.type;
    b.nullable = c.nullable;
    b.identity = c.identity;
    b.computed = c.computed;
    b.column = true;
    if (IsCharacter(c.type.id)) b.rank = CollationRank::Implicit;
    b.name = c.name;
    if (scope.grouped && !scope.inAggregate && !outer &&
        std::find(scope.groupKeys.begin(), scope.groupKeys.end(), b.sql) == scope.groupKeys.end()) {
        const std::u16string& exposed = source.alias.empty() ? source.table.name : source.alias;
        throw SqlError(8120,
                       Format(u"Column '%1.%2' is invalid in the select list because it is not "
                              u"contained in either an aggregate function or the GROUP BY clause.",
                              {exposed, c.name}));
    }
    return b;
}

Bound Translator::Column(const Expr& e, Scope& scope) {
    const std::u16string& name = e.name.back();
    bool qualifierKnown = false;
    for (Scope* s = &scope; s != nullptr; s = s->outer) {
        const Source* foundSource = nullptr;
        const SourceColumn* foundColumn = nullptr;
        for (const auto& source : s->sources) {
            if (e.name.size() > 1) {
                const std::u16string& qualifier = e.name[e.name.size() - 2];
                const std::u16string& exposed =
                    source->alias.empty() ? source->table.name : source->alias;
                if (!SameName(exposed, qualifier)) continue;
                if (e.name.size() > 2) {  // schema.table.column
                    const std::u16string& schema = e.name[e.name.size() - 3];
                    const std::u16string& own = source->table.schema.empty()
                                                    ? std::u16string(u"dbo")
                                                    : source->table.schema;
                    if (!source->alias.empty() || (!schema.empty() && !SameName(schema, own)))
                        continue;
                }
                qualifierKnown = true;
            }
            for (const SourceColumn& c : source->columns) {
                if (!SameName(c.name, name)) continue;
                if (foundColumn != nullptr) {
                    throw SqlError(209, Format(u"Ambiguous column name '%1'.", {name}));
                }
                foundSource = source.get();
                foundColumn = &c;
            }
        }
        if (foundColumn != nullptr) return FromSource(*foundSource, *foundColumn, *s, s != &scope);
    }
    if (e.name.size() > 1 && !qualifierKnown) {
        std::u16string full;
        for (const std::u16string& part : e.name)
            full += (full.empty() ? u"" : u".") + part;
        if (context_.server.major < 9) {
            throw SqlError(
                107, Format(u"The column prefix '%1' does not match with a table name or alias "
                            u"name used in the query.",
                            {e.name[e.name.size() - 2]}));
        }
        throw SqlError(4104,
                       Format(u"The multi-part identifier \"%1\" could not be bound.", {full}));
    }
    if (scope.sources.empty() && scope.outer == nullptr && e.name.size() == 1 &&
        context_.frame != nullptr && inlineLiterals) {
        throw SqlError(
            128,
            Format(u"The name \"%1\" is not permitted in this context. Valid expressions "
                   u"are constants, constant expressions, and (in some contexts) variables. "
                   u"Column names are not permitted.",
                   {name}),
            15);
    }
    ThrowInvalidColumn(name);
}

Bound Translator::Variable(const Expr& e) {
    const std::u16string& name = e.name.front();
    if (name.starts_with(u"@@")) return GlobalVariable(name);
    const std::u16string folded = FoldName(name);
    const sandbox::engine::Variable* v = context_.frame ? context_.frame->Find(folded) : nullptr;
    if (v == nullptr) {
        throw SqlError(
            137,
            Format(context_.server.major >= 9 ? u"Must declare the scalar variable \"%1\"."
                                              : u"Must declare the variable '%1'.",
                   {name}),
            15);
    }
    Bound b;
    b.sql = AddVariable(name);
    b.type = v->type;
    return b;
}

Bound Translator::GlobalVariable(std::u16string_view name) {
    const std::u16string folded = FoldName(name);
    Bound b;
    b.type = kIntType;
    b.nullable = false;
    const auto simple = [&](const char* sql) {
        b.sql = sql;
        return b;
    };
    if (folded == u"@@ROWCOUNT") return simple("ms_rowcount()");
    if (folded == u"@@ERROR") return simple("ms_error()");
    if (folded == u"@@TRANCOUNT") return simple("ms_trancount()");
    if (folded == u"@@SPID") {
        b.type = Plain(TypeId::SmallInt);
        return simple("ms_spid()");
    }
    if (folded == u"@@IDENTITY") {
        b.type = DecimalType(38, 0);
        b.type.id = TypeId::Numeric;
        b.nullable = true;
        return simple("ms_identity(0)");
    }
    if (folded == u"@@DBTS") {
        b.type = SqlType{TypeId::VarBinary, 8, 0, 0};
        return simple("ms_dbts()");
    }
    if (folded == u"@@FETCH_STATUS" || folded == u"@@NESTLEVEL" || folded == u"@@OPTIONS" ||
        folded == u"@@DATEFIRST" || folded == u"@@LANGID" || folded == u"@@LOCK_TIMEOUT" ||
        folded == u"@@MAX_PRECISION" || folded == u"@@TEXTSIZE" || folded == u"@@MAX_CONNECTIONS") {
        const std::int64_t value = folded == u"@@DATEFIRST"         ? 7
                                   : folded == u"@@LOCK_TIMEOUT"    ? -1
                                   : folded == u"@@MAX_PRECISION"   ? 38
                                   : folded == u"@@TEXTSIZE"        ? 2147483647
                                   : folded == u"@@MAX_CONNECTIONS" ? 32767
                                   : folded == u"@@OPTIONS"         ? 5496
                                                                    : 0;
        return Literal(Value::Int(value), kIntType);
    }
    const ServerState& server = context_.server;
    if (folded == u"@@SERVERNAME")
        return Literal(Value::Text(server.settings.name), NVarCharType(128));
    if (folded == u"@@SERVICENAME") return Literal(Value::Text(u"MSSQLSERVER"), NVarCharType(128));
    if (folded == u"@@LANGUAGE") return Literal(Value::Text(u"us_english"), NVarCharType(128));
    if (folded == u"@@VERSION") {
        const char16_t* product = server.major >= 16   ? u"2022"
                                  : server.major >= 15 ? u"2019"
                                  : server.major >= 14 ? u"2017"
                                  : server.major >= 13 ? u"2016"
                                  : server.major >= 12 ? u"2014"
                                  : server.major >= 11 ? u"2012"
                                  : server.major >= 10 ? u"2008"
                                  : server.major >= 9  ? u"2005"
                                  : server.major >= 8  ? u" 2000"
                                                       : u" 7.00";
        std::u16string text = u"Microsoft SQL Server ";
        text += server.major < 9 ? u" " + std::u16string(product + 1) : std::u16string(product);
        text += u" - " + Widen(server.settings.version) + u" (sandbox)";
        return Literal(Value::Text(text), NVarCharType(300));
    }
    if (folded == u"@@MICROSOFTVERSION") {
        int build = 0;
        const std::size_t dot = server.settings.version.rfind('.');
        if (dot != std::string::npos)
            build = LeadingNumber(std::string_view(server.settings.version).substr(dot + 1));
        int minor = 0;
        const std::size_t first = server.settings.version.find('.');
        if (first != std::string::npos)
            minor = LeadingNumber(std::string_view(server.settings.version).substr(first + 1));
        return Literal(Value::Int((static_cast<std::int64_t>(server.major) << 24) |
                                  (static_cast<std::int64_t>(minor) << 16) | (build & 0xFFFF)),
                       kIntType);
    }
    throw SqlError(137, Format(u"Must declare the scalar variable \"%1\".", {name}), 15);
}

}  // namespace sandbox::engine
