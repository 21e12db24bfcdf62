#include "scripts/DifferenceQueries.h"

#include "compare/LinkedServers.h"
#include "compare/RowPredicates.h"
#include "compare/TableDifference.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

// Every column of both sides, under its name and the number of its database.
std::u16string SelectList(const ColumnObjects& columns) {
    std::u16string list;
    for (const auto& column : columns) {
        if (!list.empty()) list.append(u", ");
        const std::u16string& name = column->Name();
        list.append(u"T1.[" + name + u"] AS [" + name + u"_1], T2.[" + name + u"] AS [" + name +
                    u"_2]");
    }
    return list;
}

// " (T1.[a]=T2.[a]) AND  (T1.[b]=T2.[b] OR (T1.[b] IS NULL AND T2.[b] IS NULL)) ": each term
// begins with a blank, and the last ends with one.
std::u16string EqualityPredicate(const ColumnObjects& columns) {
    std::u16string predicate;
    for (const auto& column : columns) {
        if (column->PrimaryKey() || column->CannotCompare()) continue;
        const std::u16string in1 = u"T1.[" + column->Name() + u"]";
        const std::u16string in2 = u"T2.[" + column->Name() + u"]";
        if (!predicate.empty()) predicate.append(u"AND ");
        predicate.append(u" (" + in1 + u"=" + in2);
        if (column->AllowNulls()) {
            predicate.append(u" OR (" + in1 + u" IS NULL AND " + in2 + u" IS NULL)");
        }
        predicate.append(u") ");
    }
    return predicate;
}

std::u16string Where(const std::u16string& predicate) {
    return predicate.empty() ? predicate : u" WHERE " + predicate;
}

}  // namespace

DifferenceQueries BuildDifferenceQueries(const Database& obDB1, const Database& obDB2,
                                         const Database& obDB3,
                                         const TableDifference& obTableDifference,
                                         enShowOptions enOptions, std::int32_t lRecords) {
    const ColumnObjects& columns = *obTableDifference.Columns();
    const std::u16string table1 = QualifiedName(obDB1, obDB3, obTableDifference.Name());
    const std::u16string table2 = QualifiedName(obDB2, obDB3, obTableDifference.Name());
    const std::u16string join = JoinPredicate(columns);
    const std::u16string difference = DifferencePredicate(columns);
    const std::u16string both = table1 + u" T1 INNER JOIN " + table2 + u" T2 ON " + join;
    const std::u16string select = HasOption(enOptions, cpoLimitRecordsReturned)
                                      ? u"SELECT TOP " + ToText(lRecords) + u" "
                                      : std::u16string(u"SELECT ");

    DifferenceQueries queries;
    queries.Equal = select + u"T1.* FROM " + both + Where(EqualityPredicate(columns));
    if (!difference.empty()) {
        queries.Different = select + SelectList(columns) + u" FROM " + both + Where(difference);
    }
    queries.Right = select + u"T1.* FROM " + table1 + u" T1 WHERE NOT EXISTS (SELECT * FROM " +
                    table2 + u" T2 WHERE " + join + u")";
    queries.Left = select + u"T2.* FROM " + table2 + u" T2 WHERE NOT EXISTS (SELECT * FROM " +
                   table1 + u" T1 WHERE " + join + u")";
    return queries;
}

}  // namespace QuillonLib
