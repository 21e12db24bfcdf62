#include "compare/TableComparison.h"

#include <utility>

#include "catalog/CatalogBuilder.h"
#include "catalog/Database.h"
#include "compare/LinkedServers.h"
#include "compare/RowPredicates.h"
#include "compare/SideColumns.h"
#include "core/Error.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/Connection.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t StepsPerTable = 4;

[[noreturn]] void ThrowComparisonError(const char16_t* description) {
    throw Error(ErrorNumber::Comparison, description, u"CompareTable");
}

std::int32_t FirstNumber(const Recordset& rows) {
    return static_cast<std::int32_t>(ToInt64(rows.Fields(0).Value()));
}

// Types without an equality that the server could test, and timestamps, which differ by nature.
bool IsIncomparableType(const std::u16string& dataType) {
    return dataType == u"timestamp" || dataType == u"text" || dataType == u"ntext" ||
           dataType == u"image";
}

void CloseIfOpen(Recordset& rows) {
    if (rows.IsOpen()) rows.Close();
}

}  // namespace

// The columns of the key in key order, written "#a##b#", or no key at all.
struct TableComparison::Key {
    bool Found = false;
    std::u16string List;

    static Key Of(const IndexFacts& index) {
        Key key{true, {}};
        for (const std::u16string& column : index.Columns)
            key.List.append(Mark(column));
        return key;
    }
    bool Holds(const std::u16string& column) const {
        return List.find(Mark(column)) != std::u16string::npos;
    }

  private:
    static std::u16string Mark(const std::u16string& column) { return u"#" + column + u"#"; }
};

TableComparison::TableComparison(Side& side1, Side& side2, const Database& obDB3,
                                 std::shared_ptr<Connection> connection3, const TextArray& sTables,
                                 const IndexChoices& indexChoices,
                                 const ColumnChoices& columnChoices, const Events& events)
    : side1_(side1),
      side2_(side2),
      obDB3_(obDB3),
      connection3_(std::move(connection3)),
      sTables_(sTables),
      indexChoices_(indexChoices),
      columnChoices_(columnChoices),
      events_(events),
      totalSteps_(StepsPerTable * static_cast<std::int32_t>(sTables.Items.size())) {
}

void TableComparison::CompareTable(TableDifferences& results, std::int32_t index, bool& bCancel) {
    const std::u16string& sTable =
        sTables_.Items[static_cast<std::size_t>(index - sTables_.LowerBound)];
    std::shared_ptr<TableDifference> result;
    try {
        result = results.Add(sTable);
        Compare(*result, sTable, index, bCancel);
    } catch (const Error& error) {
        const std::u16string text = std::u16string(u"Error comparing ")
                                        .append(sTable)
                                        .append(CrLf)
                                        .append(error.Description());
        if (result != nullptr) result->SetError(text);
        CloseIfOpen(union_);
        CloseIfOpen(differing_);
        CloseIfOpen(probe_);
        // Closed without asking whether they are open: a failure before the rows are counted
        // reaches the caller as the error of these two calls.
        counts1_.Close();
        counts2_.Close();
        throw Error(error.Number(), text, error.Source());
    }
}

void TableComparison::Compare(TableDifference& result, const std::u16string& sTable,
                              std::int32_t index, bool& bCancel) {
    const std::u16string name = GetTableName(sTable);
    result.SetName(sTable);
    RaiseStatus(name, bCancel);

    if (index % TableCatalog::BlockSize == 0) {
        side1_.catalog.Release();
        side2_.catalog.Release();
    }
    const ObjectFacts& table1 = side1_.catalog.Find(index);
    if (table1.IsView) result.SetIsView(true);
    const ObjectFacts& table2 = side2_.catalog.Find(index);
    if (table2.IsView) result.SetIsView(true);

    SideColumns::Keep(result, {table1.Columns, table2.Columns});

    const Key key = ChooseKey(table1, table2, result.IsView(), sTable);
    CollectColumns(result, table1, table2, key, sTable);

    CountSide(counts1_, side1_, sTable, name, bCancel);
    CountSide(counts2_, side2_, sTable, name, bCancel);
    result.SetRecordsIn1(FirstNumber(counts1_));
    result.SetRecordsIn2(FirstNumber(counts2_));
    result.SetHasPrimaryKey(key.Found);

    const std::u16string columnList = result.Columns()->ColumnList();
    if (columnList.empty()) ThrowComparisonError(u"All columns differ");
    if (key.Found) {
        CompareRows(result, sTable, columnList, name, bCancel);
    } else {
        step_ += 2;
    }
    counts1_.Close();
    counts2_.Close();
}

TableComparison::Key TableComparison::ChooseKey(const ObjectFacts& table1,
                                                const ObjectFacts& table2, bool isView,
                                                const std::u16string& sTable) const {
    if (indexChoices_.ItemExists(sTable) && !indexChoices_.Item(sTable).empty()) {
        const std::u16string& chosen = indexChoices_.Item(sTable);
        const IndexFacts* index = table1.FindIndex(chosen);
        if (index == nullptr) {
            throw Error(ErrorNumber::ItemNotFound, u"The table " + sTable + u" in database '" +
                                                       side1_.obDB.DatabaseName() +
                                                       u"' has no index named '" + chosen + u"'.");
        }
        return Key::Of(*index);
    }

    const IndexFacts* primary1 = table1.PrimaryKey();
    const IndexFacts* primary2 = table2.PrimaryKey();
    if (!isView && primary1 != nullptr && primary2 != nullptr && primary1->Name == primary2->Name) {
        return Key::Of(*primary1);
    }

    for (const IndexFacts& index : table1.Indexes) {
        if (index.Has(IndexType::Unique) || index.Has(IndexType::UniqueConstraint)) {
            return Key::Of(index);
        }
    }
    return {};
}

void TableComparison::CollectColumns(TableDifference& result, const ObjectFacts& table1,
                                     const ObjectFacts& table2, const Key& key,
                                     const std::u16string& sTable) const {
    const ColumnChoice* choice = nullptr;
    if (columnChoices_.ItemExists(sTable)) choice = columnChoices_.Item(sTable).get();
    ColumnChoice chosen;
    if (choice != nullptr) {
        if (choice->Failure) throw Error(*choice->Failure);
        for (const std::u16string& column : *choice)
            chosen.Add(column, column);
    }

    for (const ColumnFacts& column1 : table1.Columns) {
        const bool isKey = key.Holds(column1.Name);
        // A column whose name differs in case alone is another column.
        const ColumnFacts* column2 = table2.FindColumn(column1.Name);
        if (column2 == nullptr) {
            if (isKey) ThrowComparisonError(u"Key columns differ");
            continue;
        }

        const auto column = CatalogBuilder::AddFullColumn(*result.Columns(), column1);
        CatalogBuilder::SetAllowNulls(*column, column1.AllowNulls || column2->AllowNulls);
        if (column1.Identity) result.SetHasIdentity(true);
        if (isKey) column->PrimaryKey(true);
        if (column1.Computed || IsIncomparableType(column1.DataType)) {
            column->CannotCompare(true);
            result.SetHasDodgyColumns(true);
        }
        if (choice != nullptr && !chosen.ItemExists(column1.Name)) column->CannotCompare(true);
    }
}

void TableComparison::CountSide(Recordset& counts, const Side& side, const std::u16string& sTable,
                                const std::u16string& name, bool& bCancel) {
    counts.Open(u"SELECT COUNT(*) FROM " + MakeTableEntry(GetTableOwner(sTable), name),
                side.connection);
    ++step_;
    RaiseStatus(name, bCancel);
}

void TableComparison::CompareRows(TableDifference& result, const std::u16string& sTable,
                                  const std::u16string& columnList, const std::u16string& name,
                                  bool& bCancel) {
    DefineLinkedServer(side2_.obDB, obDB3_, LinkedServerOfDatabase2, connection3_, probe_);
    DefineLinkedServer(side1_.obDB, obDB3_, LinkedServerOfDatabase1, connection3_, probe_);
    const std::u16string reference1 = QualifiedName(side1_.obDB, obDB3_, sTable);
    const std::u16string reference2 = QualifiedName(side2_.obDB, obDB3_, sTable);

    ++step_;
    RaiseStatus(name, bCancel);
    const std::int32_t inUnion = CountOnServer3(
        union_, u"SELECT COUNT(*) FROM (SELECT " + columnList + u" FROM " + reference1 +
                    u" UNION SELECT " + columnList + u" FROM " + reference2 + u") t1");
    const bool holdsAll1 = result.RecordsIn1() == inUnion;
    const bool holdsAll2 = result.RecordsIn2() == inUnion;
    result.SetIdentical(holdsAll1 && holdsAll2);
    result.SetRecordsInUnion(inUnion);

    // Where one side holds every row of the union, no row of it can differ from its counterpart.
    if (!holdsAll1 && !holdsAll2) {
        const std::u16string join = JoinPredicate(*result.Columns());
        const std::u16string difference = DifferencePredicate(*result.Columns());
        if (!join.empty() && !difference.empty()) {
            result.SetRecordsDiffering(CountOnServer3(
                differing_, u"SELECT COUNT(*) FROM " + reference1 + u" T1 INNER JOIN " +
                                reference2 + u" T2 ON " + join + u" WHERE " + difference));
        }
    }
    ++step_;
    RaiseStatus(name, bCancel);
}

std::int32_t TableComparison::CountOnServer3(Recordset& counts, const std::u16string& sql) {
    counts.Open(sql, connection3_);
    const std::int32_t count = FirstNumber(counts);
    counts.Close();
    return count;
}

void TableComparison::RaiseStatus(const std::u16string& name, bool& bCancel) const {
    events_.RaiseStatus(u"Comparing " + name, RoundPercent(step_ * 100.0 / totalSteps_), bCancel);
}

}  // namespace QuillonLib
