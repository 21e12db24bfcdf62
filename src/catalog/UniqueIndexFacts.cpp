#include "catalog/UniqueIndexFacts.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "catalog/Identifiers.h"
#include "data/Recordset.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t FirstVersionWithFilters = 10;

bool IsLetter(char16_t unit) {
    const bool latin = (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
    return latin || unit == u'_' || unit == u'#' || unit == u'@' || unit > 0x7F;
}

bool IsOfWord(char16_t unit) {
    return IsLetter(unit) || (unit >= u'0' && unit <= u'9') || unit == u'$';
}

void AddOnce(std::vector<std::u16string>& names, std::u16string name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(std::move(name));
    }
}

// What stands between the quotation mark at `at` and `end`, which is doubled within; `at` is behind
// it then.
std::u16string TakeQuoted(std::u16string_view text, std::size_t& at, char16_t end) {
    std::u16string name;
    for (++at; at < text.size(); ++at) {
        if (text[at] == end && (++at >= text.size() || text[at] != end)) break;
        name.push_back(text[at]);
    }
    return name;
}

void AddExpression(UniqueIndexFacts& index, const Value& text) {
    if (text.IsNull()) {
        index.Known = false;
        return;
    }
    for (std::u16string& name : NamesIn(text.Get<std::u16string>()))
        AddOnce(index.Columns, std::move(name));
}

}  // namespace

std::vector<std::u16string> NamesIn(std::u16string_view expression) {
    std::vector<std::u16string> names;
    for (std::size_t at = 0; at < expression.size();) {
        const char16_t unit = expression[at];
        if (unit == u'\'') {
            TakeQuoted(expression, at, u'\'');
        } else if (unit == u'[' || unit == u'"') {
            AddOnce(names, TakeQuoted(expression, at, unit == u'[' ? u']' : u'"'));
        } else if (IsOfWord(unit)) {
            const std::size_t from = at;
            while (at < expression.size() && IsOfWord(expression[at]))
                ++at;
            if (IsLetter(unit)) {
                AddOnce(names, std::u16string(expression.substr(from, at - from)));
            }
        } else {
            ++at;
        }
    }
    return names;
}

std::vector<UniqueIndexFacts> ReadUniqueIndexFacts(const std::shared_ptr<Connection>& connection,
                                                   std::int32_t version, const ObjectName& table) {
    std::u16string sql = u"SELECT i.index_id, i.name, c.name, c.is_computed, m.definition,";
    sql += version >= FirstVersionWithFilters ? u" i.has_filter, i.filter_definition"
                                              : u" 0, CAST(NULL AS nvarchar(max))";
    sql +=
        u", i.ignore_dup_key FROM sys.indexes i"
        u" INNER JOIN sys.index_columns k"
        u" ON k.object_id = i.object_id AND k.index_id = i.index_id"
        u" INNER JOIN sys.columns c"
        u" ON c.object_id = k.object_id AND c.column_id = k.column_id"
        u" LEFT JOIN sys.computed_columns m"
        u" ON m.object_id = c.object_id AND m.column_id = c.column_id"
        u" WHERE i.type > 0 AND i.is_unique = 1 AND i.is_hypothetical = 0 AND i.is_disabled = 0"
        u" AND k.key_ordinal > 0 AND i.object_id IN (";
    sql += ObjectIdList(std::array{table});
    sql += u") ORDER BY i.index_id, k.key_ordinal";
    std::vector<UniqueIndexFacts> indexes;
    std::int64_t last = 0;
    Recordset rows;
    for (rows.Open(sql, connection); !rows.EndOfSet(); rows.MoveNext()) {
        const auto field = [&](std::size_t number) { return rows.Fields(number).Value(); };
        const std::int64_t id = ToInt64(field(0));
        if (indexes.empty() || id != last) {
            indexes.push_back({field(1).Get<std::u16string>(), {}, true, ToInt64(field(7)) != 0});
            if (ToInt64(field(5)) != 0) AddExpression(indexes.back(), field(6));
        }
        last = id;
        AddOnce(indexes.back().Columns, field(2).Get<std::u16string>());
        if (ToInt64(field(3)) != 0) AddExpression(indexes.back(), field(4));
    }
    return indexes;
}

}  // namespace QuillonLib
