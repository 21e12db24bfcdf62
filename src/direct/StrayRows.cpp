#include "direct/StrayRows.h"

#include "catalog/Identifiers.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "direct/StatementText.h"

namespace QuillonLib {
namespace {

std::u16string Quoted(const ObjectName& name) {
    return QuoteIdentifier(name.Owner) + u"." + QuoteIdentifier(name.Name);
}

}  // namespace

StrayRows::StrayRows(const ForeignKeyFacts& key, std::size_t number)
    : key_(key), table_(u"#quillon_strays" + ToText(static_cast<std::int64_t>(number))) {
}

// A row of which one column is NULL refers to nothing, and is allowed to.
std::u16string StrayRows::Strays() const {
    std::u16string refers, meets;
    for (const auto& [referring, referred] : key_.Columns) {
        const std::u16string own = u"c." + QuoteIdentifier(referring);
        AppendTerm(refers, u" AND ", own + u" IS NOT NULL");
        AppendTerm(meets, u" AND ", u"p." + QuoteIdentifier(referred) + u" = " + own);
    }
    return u" FROM " + Quoted(key_.Table) + u" AS c WHERE " + refers +
           u" AND NOT EXISTS (SELECT * FROM " + Quoted(key_.Referenced) + u" AS p WHERE " + meets +
           u")";
}

// How many of them refer to which values.
std::u16string StrayRows::Counted(std::u16string_view into) const {
    std::u16string columns, values;
    for (std::size_t i = 0; i < key_.Columns.size(); ++i) {
        const std::u16string own = u"c." + QuoteIdentifier(key_.Columns[i].first);
        AppendTerm(columns, u", ", own + u" AS " + Numbered(u'f', i));
        AppendTerm(values, u", ", own);
    }
    return u"SELECT " + columns + u", COUNT_BIG(*) AS n" + std::u16string(into) + Strays() +
           u" GROUP BY " + values;
}

std::u16string StrayRows::Keep() const {
    return Counted(u" INTO " + table_);
}

std::u16string StrayRows::LookForMore() const {
    std::u16string same;
    for (std::size_t i = 0; i < key_.Columns.size(); ++i) {
        AppendTerm(same, u" AND ", u"s." + Numbered(u'f', i) + u" = x." + Numbered(u'f', i));
    }
    return u"IF EXISTS (SELECT * FROM (" + Counted({}) +
           u") AS x WHERE NOT EXISTS (SELECT * FROM " + table_ + u" AS s WHERE s.n >= x.n AND " +
           same + u"))\r\nBEGIN\r\n    RAISERROR(N'" +
           MessageText(u"Foreign key " + QuoteIdentifier(key_.Name) + u" of " +
                       MakeTableEntry(key_.Table.Owner, key_.Table.Name) +
                       u": rows would refer to what is no longer there.") +
           u"', 16, 1)\r\n    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n    RETURN\r\nEND\r\n"
           u"DROP TABLE " +
           table_;
}

}  // namespace QuillonLib
