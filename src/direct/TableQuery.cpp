#include "direct/TableQuery.h"

#include <cstdint>

#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "data/CodePage.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t MaxVarBinary = 8000;
constexpr std::int32_t MaxNVarChar = 4000;

const ColumnFacts& FactsOf(const DirectColumn& column, int side) {
    return side == 1 ? column.side1 : column.side2;
}

std::u16string Cast(std::u16string_view what, std::u16string_view type, std::int32_t length,
                    std::int32_t most) {
    const bool isMax = length < 0 || length > most;
    return std::u16string(u"CAST(").append(what).append(u" AS ").append(type).append(
        u"(" + (isMax ? u"max" : ToText(length)) + u"))");
}

std::u16string AsBinary(std::u16string_view what, std::int32_t bytes) {
    return Cast(what, u"varbinary", bytes, MaxVarBinary);
}

std::u16string VariantFieldList(const std::u16string& name) {
    const auto property = [&](std::u16string_view which) {
        return u"SQL_VARIANT_PROPERTY(" + name + u", '" + std::u16string(which) + u"')";
    };
    const std::u16string collation = u"CAST(" + property(u"Collation") + u" AS nvarchar(128))";
    return u"CAST(" + property(u"BaseType") + u" AS nvarchar(128)), CAST(" +
           property(u"Precision") + u" AS int), CAST(" + property(u"Scale") + u" AS int), " +
           collation + u", CAST(COLLATIONPROPERTY(" + collation + u", 'CodePage') AS int), " +
           AsBinary(name, MaxVarBinary);
}

// A driver that did not ask for UTF-8 gets such text converted, with a substitute for what is none:
// asked for as binary, it comes as it is.
std::u16string FieldOf(const ColumnPair& pair, const ColumnFacts& facts, int side) {
    std::u16string name = QuoteIdentifier(facts.Name);
    if (pair.type1.cells == CellClass::Variant) return VariantFieldList(name);
    if (pair.Type(side).cells == CellClass::PageText && facts.CodePage == Utf8CodePage) {
        if (facts.DataType == u"text") {
            return AsBinary(Cast(name, u"varchar", -1, MaxVarBinary), -1);
        }
        // Room for more than there can be: where there is more all the same, the column has grown
        // since the catalog was read.
        return AsBinary(name, facts.Length < 0 ? -1 : facts.Length + 1);
    }
    return name;
}

std::int32_t BytesOf(const ColumnFacts& facts, CellClass cells) {
    return cells == CellClass::WideText && facts.Length > 0 ? 2 * facts.Length : facts.Length;
}

// The terms of one key column. `last`: the server keeps the key unique, so that no two rows agree
// in all columns before this one and differ in this one by zeros alone.
std::u16string OrderOf(const ColumnPair& pair, const ColumnFacts& facts, int side, bool last) {
    std::u16string name = QuoteIdentifier(facts.Name);
    const CellClass cells = pair.Type(side).cells;
    if (cells == CellClass::Bytes) return last ? name : name + u", DATALENGTH(" + name + u")";
    if (!pair.IsText()) return name;
    if (pair.samePage ||
        (pair.type1.cells == CellClass::WideText && pair.type2.cells == CellClass::WideText)) {
        return AsBinary(name, BytesOf(facts, cells)) + u", DATALENGTH(" + name + u")";
    }
    const std::int32_t units = facts.Length;
    if (cells == CellClass::PageText) name = Cast(name, u"nvarchar", units, MaxNVarChar);
    const bool isMax = units < 0 || units > MaxNVarChar;
    return AsBinary(name, isMax ? -1 : 2 * units) + u", DATALENGTH(" + name + u")";
}

}  // namespace

std::u16string TableQuery(const TablePlan& plan, int side, std::u16string_view where) {
    const DirectShape& shape = plan.shape;
    std::u16string fields, order;
    for (std::size_t i = 0; i < plan.pairs.size(); ++i) {
        fields +=
            (i == 0 ? u"" : u", ") + FieldOf(plan.pairs[i], FactsOf(shape.columns[i], side), side);
    }
    for (std::size_t i = 0; i < shape.key.size(); ++i) {
        const std::size_t column = shape.key[i];
        const bool last = shape.keyIsUnique && i + 1 == shape.key.size();
        order += (i == 0 ? u" ORDER BY " : u", ") +
                 OrderOf(plan.pairs[column], FactsOf(shape.columns[column], side), side, last);
    }
    const ObjectName& table = side == 1 ? shape.table : shape.table2;
    std::u16string query = u"SELECT " + fields + u" FROM " + QuoteIdentifier(table.Owner) + u"." +
                           QuoteIdentifier(table.Name);
    // on a line of its own: the condition may end in a comment
    if (!where.empty()) query.append(u" WHERE (").append(where).append(u"\n)");
    return query + order;
}

}  // namespace QuillonLib
