#include "cli/CatalogSurvey.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <utility>

#include "catalog/CatalogReader.h"
#include "catalog/Login.h"
#include "cli/LoginFailure.h"
#include "cli/Names.h"

namespace quillon {

namespace {

using namespace QuillonLib;

// As many as one query asks for.
constexpr std::size_t TablesPerQuery = 20;

[[noreturn]] void ThrowUnreadable(const Database& database, const Error& error) {
    const std::string cause = LikelyCause(database, error);
    throw std::runtime_error("cannot read the catalog of " + ToUtf8(database.Description()) +
                             ":\n" + error.what() + (cause.empty() ? "" : "\n" + cause));
}

std::vector<ObjectFacts> ReadSide(const Database& database, const TextArray& tables) {
    std::vector<ObjectName> names;
    for (const std::u16string& entry : tables.Items)
        names.push_back(NameOfEntry(entry));
    std::vector<ObjectFacts> facts;
    try {
        CatalogReader reader(OpenConnection(database));
        reader.UseDatabase(database.DatabaseName());
        for (std::size_t at = 0; at < names.size(); at += TablesPerQuery) {
            const std::size_t count = std::min(TablesPerQuery, names.size() - at);
            auto block = reader.Objects(std::span(names).subspan(at, count));
            std::move(block.begin(), block.end(), std::back_inserter(facts));
        }
    } catch (const Error& error) {
        ThrowUnreadable(database, error);
    }
    return facts;
}

bool IsSized(const std::u16string& type) {
    for (const char16_t* sized :
         {u"char", u"varchar", u"nchar", u"nvarchar", u"binary", u"varbinary"}) {
        if (type == sized) return true;
    }
    return false;
}

bool HasFractionDigits(const std::u16string& type) {
    return type == u"time" || type == u"datetime2" || type == u"datetimeoffset";
}

// What tells the column from one of another database, in the words of a definition.
std::string DefinitionText(const ColumnFacts& column, bool withCollation) {
    std::string text = TypeText(column);
    if (withCollation && !column.Collation.empty()) text += " COLLATE " + ToUtf8(column.Collation);
    if (column.Computed) return text + ", computed";
    if (column.Identity) text += " IDENTITY";
    return text + (column.AllowNulls ? " NULL" : " NOT NULL");
}

std::string Bracketed(const ColumnFacts& column) {
    return "[" + ToUtf8(column.Name) + "]";
}

}  // namespace

bool NameLess::operator()(const std::u16string& a, const std::u16string& b) const {
    return FoldCase(a) < FoldCase(b);
}

std::shared_ptr<TableObjects> ReadTables(Database& database) {
    try {
        return database.Tables();
    } catch (const Error& error) {
        ThrowUnreadable(database, error);
    }
}

FactsByTable ReadFacts(const Database& obDB1, const Database& obDB2, const TextArray& tables) {
    const std::vector<ObjectFacts> side1 = ReadSide(obDB1, tables);
    const std::vector<ObjectFacts> side2 = ReadSide(obDB2, tables);
    FactsByTable facts;
    for (const std::u16string& entry : tables.Items) {
        const ObjectName name = NameOfEntry(entry);
        const ObjectFacts* in1 = FindObject(side1, name);
        const ObjectFacts* in2 = FindObject(side2, name);
        if (in1 != nullptr && in2 != nullptr) facts[entry] = {*in1, *in2};
    }
    return facts;
}

std::string TypeText(const ColumnFacts& column) {
    std::string text = ToUtf8(column.DataType);
    if (IsSized(column.DataType)) {
        return text + (column.Length == -1 ? "(max)" : "(" + std::to_string(column.Length) + ")");
    }
    if (column.DataType == u"decimal" || column.DataType == u"numeric") {
        return text + "(" + std::to_string(column.NumericPrecision) + "," +
               std::to_string(column.NumericScale) + ")";
    }
    if (HasFractionDigits(column.DataType)) {
        return text + "(" + std::to_string(column.NumericScale) + ")";
    }
    return text;
}

bool Fits(const ColumnFacts& value, const ColumnFacts& parameter) {
    const auto integerRank = [](const std::u16string& type) {
        constexpr std::array<std::u16string_view, 4> Ascending{u"tinyint", u"smallint", u"int",
                                                               u"bigint"};
        return std::find(Ascending.begin(), Ascending.end(), type) - Ascending.begin();
    };
    if (value.DataType != parameter.DataType) {
        const auto ofValue = integerRank(value.DataType);
        const auto ofParameter = integerRank(parameter.DataType);
        return ofValue < ofParameter && ofParameter < 4;
    }
    if (IsSized(value.DataType)) {
        return parameter.Length == -1 || (value.Length != -1 && value.Length <= parameter.Length);
    }
    if (value.DataType == u"decimal" || value.DataType == u"numeric") {
        return value.NumericScale <= parameter.NumericScale &&
               value.NumericPrecision - value.NumericScale <=
                   parameter.NumericPrecision - parameter.NumericScale;
    }
    // A parameter of these types is declared without digits, which means as many as there are.
    return true;
}

namespace {

bool IsAmong(const std::u16string& type, std::initializer_list<const char16_t*> types) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

// Digits before and behind the point; none for what is no exact number.
struct Digits {
    int whole = 0;
    int fraction = 0;
    bool Known() const { return whole + fraction > 0; }
};

Digits DigitsOf(const ColumnFacts& column) {
    const std::u16string& type = column.DataType;
    if (type == u"decimal" || type == u"numeric")
        return {column.NumericPrecision - column.NumericScale, column.NumericScale};
    if (type == u"money") return {15, 4};
    if (type == u"smallmoney") return {6, 4};
    if (type == u"bigint") return {19, 0};
    if (type == u"int") return {10, 0};
    return IsAmong(type, {u"smallint", u"tinyint", u"bit"}) ? Digits{5, 0} : Digits{};
}

constexpr int MostDigits = 38;

}  // namespace

bool ComparedWithoutLoss(const ColumnFacts& a, const ColumnFacts& b) {
    const auto bothAmong = [&](std::initializer_list<const char16_t*> types) {
        return IsAmong(a.DataType, types) && IsAmong(b.DataType, types);
    };
    const Digits digitsA = DigitsOf(a);
    const Digits digitsB = DigitsOf(b);
    if (digitsA.Known() && digitsB.Known()) {
        return std::max(digitsA.whole, digitsB.whole) +
                   std::max(digitsA.fraction, digitsB.fraction) <=
               MostDigits;
    }
    return a.DataType == b.DataType || bothAmong({u"char", u"varchar", u"nchar", u"nvarchar"}) ||
           bothAmong({u"binary", u"varbinary"}) || bothAmong({u"real", u"float"}) ||
           bothAmong({u"date", u"smalldatetime", u"datetime"}) ||
           bothAmong({u"date", u"smalldatetime", u"datetime2"});
}

ColumnDrift CompareColumns(const TableFacts& facts) {
    ColumnDrift drift;
    for (const ColumnFacts& column : facts.in1.Columns) {
        const ColumnFacts* other = facts.in2.FindColumn(column.Name);
        if (other == nullptr) {
            drift.lines.push_back("column " + Bracketed(column) + " only in 1");
            drift.onlyIn1.push_back(column.Name);
            continue;
        }
        const bool collations = column.Collation != other->Collation;
        const std::string text1 = DefinitionText(column, collations);
        const std::string text2 = DefinitionText(*other, collations);
        if (text1 == text2) continue;
        drift.lines.push_back("column " + Bracketed(column) + " is " + text1 + " in 1, " + text2 +
                              " in 2");
        drift.differences.push_back({"definition", column.Name, text1, text2});
    }
    for (const ColumnFacts& column : facts.in2.Columns) {
        if (facts.in1.FindColumn(column.Name) != nullptr) continue;
        drift.lines.push_back("column " + Bracketed(column) + " only in 2");
        drift.onlyIn2.push_back(column.Name);
    }
    return drift;
}

bool HasUniqueIndexWithin(const ObjectFacts& table, const std::vector<std::u16string>& columns) {
    const auto isAmongThem = [&](const std::u16string& name) {
        return std::find(columns.begin(), columns.end(), name) != columns.end();
    };
    return std::any_of(table.Indexes.begin(), table.Indexes.end(), [&](const IndexFacts& index) {
        return index.Type != 0 &&
               std::all_of(index.Columns.begin(), index.Columns.end(), isAmongThem);
    });
}

}  // namespace quillon
