#include "scripts/DifferenceScripts.h"

#include <vector>

#include "catalog/ColumnObject.h"
#include "compare/SideColumns.h"
#include "compare/TableDifference.h"
#include "core/Error.h"
#include "core/Text.h"
#include "data/CodePage.h"
#include "data/Recordset.h"
#include "scripts/CarriedText.h"
#include "scripts/DifferenceQueries.h"
#include "scripts/ScriptColumns.h"

namespace QuillonLib {

namespace {

using Columns = std::vector<std::shared_ptr<ColumnObject>>;

// The code pages of the row set of differing rows, whose fields are the columns of both sides.
FieldCodePages CodePagesOfBoth(const SideColumns& columns) {
    FieldCodePages pages = CodePagesOf(columns.Side1, u"_1");
    pages.merge(CodePagesOf(columns.Side2, u"_2"));
    return pages;
}

bool HasRows(const std::shared_ptr<Recordset>& rows) {
    return rows != nullptr && rows->RecordCount() > 0;
}

std::vector<std::size_t> FieldsOf(const Recordset& rows, const Columns& columns,
                                  std::u16string_view suffix = {}) {
    std::vector<std::size_t> fields;
    for (const auto& column : columns) {
        fields.push_back(rows.FieldIndex(column->Name() + std::u16string(suffix)));
    }
    return fields;
}

Columns KeyColumns(const Columns& columns) {
    Columns keys;
    for (const auto& column : columns) {
        if (column->PrimaryKey()) keys.push_back(column);
    }
    return keys;
}

void RequireWritableKey(const TableDifference& obTableDifference, enShowOptions enOptions) {
    const std::u16string column = KeyColumnOutsideScripts(*obTableDifference.Columns(), enOptions);
    if (column.empty()) return;
    throw Error(ErrorNumber::Comparison, u"No script can be written for " +
                                             obTableDifference.Name() + u": its key column [" +
                                             column + u"] cannot be written into a script");
}

}  // namespace

void OpenDifferenceRowsets(const Database& obDB1, const Database& obDB2, const Database& obDB3,
                           const TableDifference& obTableDifference, enShowOptions enOptions,
                           std::int32_t lRecords, const std::shared_ptr<Connection>& connection3,
                           DifferenceRowsets& rowsets) {
    const DifferenceQueries queries =
        BuildDifferenceQueries(obDB1, obDB2, obDB3, obTableDifference, enOptions, lRecords);
    const SideColumns& columns = SideColumns::Of(obTableDifference);
    const auto open = [&](enShowOptions flag, const std::u16string& query,
                          const FieldCodePages& codePages) -> std::shared_ptr<Recordset> {
        if (!HasOption(enOptions, flag) || query.empty()) return nullptr;
        auto rows = std::make_shared<Recordset>();
        try {
            rows->Open(query, connection3, codePages);
        } catch (const NotCarried& error) {
            throw Error(error.Number(), u"The rows of " + obTableDifference.Name() +
                                            u" cannot be read whole. " + error.Description());
        }
        return rows;
    };
    const FieldCodePages side1 = CodePagesOf(columns.Side1);
    rowsets.Different = open(cpoShowDifferent, queries.Different, CodePagesOfBoth(columns));
    rowsets.Equal = open(cpoShowIdentical, queries.Equal, side1);
    rowsets.Right = open(cpoShowMissing, queries.Right, side1);
    rowsets.Left = open(cpoShowAdditional, queries.Left, CodePagesOf(columns.Side2));
}

ScriptPieces BuildScriptPieces(const TableDifference& obTableDifference,
                               const DifferenceRowsets& rowsets, enShowOptions enOptions) {
    ScriptPieces pieces;
    if (obTableDifference.IsView()) return pieces;
    if (HasRows(rowsets.Different) || HasRows(rowsets.Right) || HasRows(rowsets.Left)) {
        RequireWritableKey(obTableDifference, enOptions);
    }

    pieces.Procedures = DefineProcedures(obTableDifference, enOptions);
    const Columns columns = ScriptColumns(*obTableDifference.Columns(), enOptions);
    const Columns keys = KeyColumns(columns);
    // An empty row set may lack a column that has gone since the comparison; nobody reads it.
    const auto lines = [](const std::shared_ptr<Recordset>& rows, const Columns& of,
                          std::u16string_view suffix = {}) {
        return HasRows(rows) ? CallLines{rows, FieldsOf(*rows, of, suffix)} : CallLines{};
    };
    pieces.Right = {lines(rowsets.Left, keys), lines(rowsets.Different, columns, u"_1"),
                    lines(rowsets.Right, columns)};
    pieces.Left = {lines(rowsets.Right, keys), lines(rowsets.Different, columns, u"_2"),
                   lines(rowsets.Left, columns)};

    const SideColumns& sides = SideColumns::Of(obTableDifference);
    const auto require = [&](const CallLines& calls, const Columns& of,
                             const std::vector<ColumnFacts>& source,
                             const std::vector<ColumnFacts>& target) {
        RequireCarried(obTableDifference.Name(), calls, of, {source, target});
    };
    // A delete takes its key to the database that it comes from.
    require(pieces.Right.Deletes, keys, sides.Side2, sides.Side2);
    require(pieces.Right.Updates, columns, sides.Side1, sides.Side2);
    require(pieces.Right.Inserts, columns, sides.Side1, sides.Side2);
    require(pieces.Left.Deletes, keys, sides.Side1, sides.Side1);
    require(pieces.Left.Updates, columns, sides.Side2, sides.Side1);
    require(pieces.Left.Inserts, columns, sides.Side2, sides.Side1);
    return pieces;
}

std::size_t ExpectedLength(const DirectionCalls& calls) {
    return calls.Deletes.ExpectedLength(CallOf(DeleteProcedure)) +
           calls.Updates.ExpectedLength(CallOf(UpdateProcedure)) +
           calls.Inserts.ExpectedLength(CallOf(InsertProcedure));
}

}  // namespace QuillonLib
