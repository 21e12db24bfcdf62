// The texts of the queries behind one table's result.
#include "scripts/DifferenceQueries.h"

#include <gtest/gtest.h>

#include "QuillonLib.h"
#include "catalog/CatalogBuilder.h"

namespace QuillonLib {
namespace {

// A result's name is set by comparisons alone; this one has none.
class DifferenceQueriesTest : public ::testing::Test {
  protected:
    DifferenceQueriesTest() {
        one.DatabaseName(u"one");
        two.DatabaseName(u"two");
    }
    ColumnObject& Add(const std::u16string& name) {
        ColumnFacts facts;
        facts.Name = name;
        facts.DataType = u"int";
        return *CatalogBuilder::AddFullColumn(*result.Columns(), facts);
    }
    DifferenceQueries Queries() {
        return BuildDifferenceQueries(one, two, one, result, enShowOptions{}, 0);
    }

    Database one;
    Database two;
    TableDifference result;
};

TEST_F(DifferenceQueriesTest, NamesAreBracketedAsTheyStand) {
    Add(u"k]1").PrimaryKey(true);
    CatalogBuilder::SetAllowNulls(Add(u"a]b"), true);
    CatalogBuilder::SetAllowNulls(Add(u"c]"), false);
    const DifferenceQueries queries = Queries();
    EXPECT_EQ(queries.Different,
              u"SELECT T1.[k]1] AS [k]1_1], T2.[k]1] AS [k]1_2], T1.[a]b] AS [a]b_1], T2.[a]b] AS "
              u"[a]b_2], T1.[c]] AS [c]_1], T2.[c]] AS [c]_2] FROM [one]. T1 INNER JOIN [two]. T2 "
              u"ON T1.[k]1]=T2.[k]1]  WHERE (T1.[a]b]<>T2.[a]b]) OR (T1.[a]b] IS NULL AND "
              u"T2.[a]b] IS NOT NULL) OR (T1.[a]b] IS NOT NULL AND T2.[a]b] IS NULL) OR "
              u"(T1.[c]]<>T2.[c]]) ");
    EXPECT_EQ(queries.Equal,
              u"SELECT T1.* FROM [one]. T1 INNER JOIN [two]. T2 ON T1.[k]1]=T2.[k]1]  WHERE  "
              u"(T1.[a]b]=T2.[a]b] OR (T1.[a]b] IS NULL AND T2.[a]b] IS NULL)) AND  "
              u"(T1.[c]]=T2.[c]]) ");
    EXPECT_EQ(queries.Right,
              u"SELECT T1.* FROM [one]. T1 WHERE NOT EXISTS (SELECT * FROM [two]. T2 WHERE "
              u"T1.[k]1]=T2.[k]1] )");
    EXPECT_EQ(queries.Left,
              u"SELECT T2.* FROM [two]. T2 WHERE NOT EXISTS (SELECT * FROM [one]. T1 WHERE "
              u"T1.[k]1]=T2.[k]1] )");
}

// A column that cannot be compared is shown, but decides nothing.
TEST_F(DifferenceQueriesTest, ColumnsThatCannotBeComparedAreSelectedOnly) {
    Add(u"k").PrimaryKey(true);
    Add(u"x").CannotCompare(true);
    CatalogBuilder::SetAllowNulls(Add(u"n"), false);
    const DifferenceQueries queries = Queries();
    EXPECT_EQ(queries.Different,
              u"SELECT T1.[k] AS [k_1], T2.[k] AS [k_2], T1.[x] AS [x_1], T2.[x] AS [x_2], T1.[n] "
              u"AS [n_1], T2.[n] AS [n_2] FROM [one]. T1 INNER JOIN [two]. T2 ON T1.[k]=T2.[k]  "
              u"WHERE (T1.[n]<>T2.[n]) ");
    EXPECT_EQ(queries.Equal,
              u"SELECT T1.* FROM [one]. T1 INNER JOIN [two]. T2 ON T1.[k]=T2.[k]  WHERE  "
              u"(T1.[n]=T2.[n]) ");
}

}  // namespace
}  // namespace QuillonLib
