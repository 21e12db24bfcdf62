#include "direct/Drift.h"

#include <algorithm>

#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "direct/TypeClass.h"

namespace QuillonLib {

namespace {

void Note(std::vector<DirectDrift>& drift, DirectDriftKind kind, const std::u16string& column,
          std::u16string side1, std::u16string side2) {
    if (side1 == side2) return;
    drift.push_back({kind, column, std::move(side1), std::move(side2)});
}

std::u16string KeyColumns(const ObjectFacts& table) {
    std::u16string list;
    if (const IndexFacts* const key = table.PrimaryKey()) {
        for (const std::u16string& column : key->Columns)
            list += (list.empty() ? u"" : u", ") + QuoteIdentifier(column);
    }
    return list;
}

}  // namespace

std::vector<DirectDrift> FindDrift(const ObjectFacts& side1, const ObjectFacts& side2) {
    std::vector<DirectDrift> drift;
    for (const ColumnFacts& one : side1.Columns) {
        const auto two =
            std::find_if(side2.Columns.begin(), side2.Columns.end(),
                         [&](const ColumnFacts& c) { return EqualIgnoringCase(c.Name, one.Name); });
        if (two == side2.Columns.end()) continue;
        const auto null = [](const ColumnFacts& c) { return c.AllowNulls ? u"NULL" : u"NOT NULL"; };
        const auto identity = [](const ColumnFacts& c) { return c.Identity ? u"IDENTITY" : u""; };
        Note(drift, DirectDriftKind::Type, one.Name, DeclaredType(one), DeclaredType(*two));
        Note(drift, DirectDriftKind::Nullability, one.Name, null(one), null(*two));
        Note(drift, DirectDriftKind::Collation, one.Name, one.Collation, two->Collation);
        Note(drift, DirectDriftKind::Identity, one.Name, identity(one), identity(*two));
    }
    Note(drift, DirectDriftKind::PrimaryKey, u"", KeyColumns(side1), KeyColumns(side2));
    return drift;
}

}  // namespace QuillonLib
