// What the comparison of one table finds out.
#include <gtest/gtest.h>

#include "TableComparisonFixture.h"

namespace QuillonLib {
namespace {

class TableComparisonTest : public TableComparisonFixture {};

TEST_F(TableComparisonTest, CountsEveryKindOfRow) {
    RunInBoth(Keyed);
    RunIn(u"one", u"INSERT t VALUES (1,1,N'same'),(2,2,NULL),(3,3,N'x'),(4,4,N'only here')");
    RunIn(u"two",
          u"INSERT t VALUES (1,1,N'same'),(2,2,N'y'),(3,3,NULL),(5,5,N'only there'),(6,6,NULL)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Name(), u"[dbo].[t]");
    EXPECT_EQ(result->RecordsIn1(), 4);
    EXPECT_EQ(result->RecordsIn2(), 5);
    EXPECT_EQ(result->RecordsInUnion(), 8);
    EXPECT_EQ(result->RecordsDiffering(), 2);
    EXPECT_TRUE(result->HasPrimaryKey());
    EXPECT_FALSE(result->Identical());
    EXPECT_FALSE(result->HasDodgyColumns());
    EXPECT_FALSE(result->HasIdentity());
    EXPECT_FALSE(result->IsView());
    EXPECT_EQ(result->Error(), u"");
}

TEST_F(TableComparisonTest, IdenticalRowsNeedNoDifferingQuery) {
    RunInBoth(Keyed);
    RunInBoth(u"INSERT t VALUES (1,1,N'a'),(2,2,NULL)");
    server.ClearLog();
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_TRUE(result->Identical());
    EXPECT_EQ(result->RecordsInUnion(), 2);
    EXPECT_EQ(result->RecordsDiffering(), 0);
    EXPECT_EQ(Told(server),
              (Texts{u"SELECT COUNT(*) FROM [dbo].[t]", u"SELECT COUNT(*) FROM [dbo].[t]",
                     u"SELECT COUNT(*) FROM (SELECT [id], [a], [b] FROM [one].[dbo].[t] UNION "
                     u"SELECT [id], [a], [b] FROM [two].[dbo].[t]) t1"}));
}

TEST_F(TableComparisonTest, OneSideEmptyNeedsNoDifferingQuery) {
    RunInBoth(Keyed);
    RunIn(u"two", u"INSERT t VALUES (1,1,N'a'),(2,2,NULL)");
    server.ClearLog();
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->RecordsIn1(), 0);
    EXPECT_EQ(result->RecordsInUnion(), 2);
    EXPECT_EQ(result->RecordsDiffering(), 0);
    EXPECT_FALSE(result->Identical());
    EXPECT_EQ(Told(server).size(), 3U);
}

TEST_F(TableComparisonTest, OnlyKeyColumnsInCommonNeedNoDifferingQuery) {
    RunIn(u"one", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, x int)");
    RunIn(u"two", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, y int)");
    RunIn(u"one", u"INSERT t VALUES (1,1),(2,2)");
    RunIn(u"two", u"INSERT t VALUES (1,1),(3,3)");
    server.ClearLog();
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(Names(*result), Texts{u"id"});
    EXPECT_EQ(result->RecordsInUnion(), 3);
    EXPECT_EQ(result->RecordsDiffering(), 0);
    EXPECT_FALSE(result->Identical());
    EXPECT_EQ(Told(server).size(), 3U);
}

TEST_F(TableComparisonTest, ATableWithoutAKeyIsOnlyCounted) {
    RunInBoth(u"CREATE TABLE t (a int)");
    RunInBoth(u"INSERT t VALUES (1),(2)");
    RunInBoth(u"CREATE TABLE k (id int NOT NULL CONSTRAINT PK_k PRIMARY KEY)");
    statuses.clear();
    const auto results = Compare({u"[dbo].[t]", u"[dbo].[k]"});
    const auto result = results->Item(1);
    EXPECT_FALSE(result->HasPrimaryKey());
    EXPECT_EQ(result->RecordsIn1(), 2);
    EXPECT_EQ(result->RecordsIn2(), 2);
    EXPECT_EQ(result->RecordsInUnion(), 0);
    EXPECT_EQ(result->RecordsDiffering(), 0);
    EXPECT_FALSE(result->Identical());
    // its four steps are counted all the same
    EXPECT_EQ((std::vector<StatusEvent>(statuses.begin() + 3, statuses.end())),
              (std::vector<StatusEvent>{{u"Comparing t", 0},
                                        {u"Comparing t", 12},
                                        {u"Comparing t", 25},
                                        {u"Comparing k", 50},
                                        {u"Comparing k", 62},
                                        {u"Comparing k", 75},
                                        {u"Comparing k", 88},
                                        {u"Comparing k", 100}}));
}

TEST_F(TableComparisonTest, TablesOfOneNameAreToldApartByTheirOwner) {
    RunInBoth(u"CREATE SCHEMA other");
    RunInBoth(Keyed);
    RunInBoth(u"CREATE TABLE other.t (x int NOT NULL CONSTRAINT PK_x PRIMARY KEY)");
    RunInBoth(u"INSERT other.t VALUES (1),(2)");
    server.ClearLog();
    const auto result = CompareOne(u"[other].[t]");
    EXPECT_EQ(Names(*result), Texts{u"x"});
    EXPECT_EQ(result->RecordsIn1(), 2);
    EXPECT_TRUE(result->Identical());
    EXPECT_EQ(Told(server),
              (Texts{u"SELECT COUNT(*) FROM [other].[t]", u"SELECT COUNT(*) FROM [other].[t]",
                     u"SELECT COUNT(*) FROM (SELECT [x] FROM [one].[other].[t] UNION SELECT [x] "
                     u"FROM [two].[other].[t]) t1"}));
}

TEST_F(TableComparisonTest, EmptyTablesAreIdenticalOnlyWithAKey) {
    RunInBoth(Keyed);
    RunInBoth(u"CREATE TABLE k (a int)");
    EXPECT_TRUE(CompareOne(u"[dbo].[t]")->Identical());
    EXPECT_FALSE(CompareOne(u"[dbo].[k]")->Identical());
}

TEST_F(TableComparisonTest, OnlyTheTypeInDatabase1TellsWhetherAColumnCanBeCompared) {
    RunIn(u"one", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, x text NULL)");
    RunIn(u"two", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, x int NULL)");
    const auto marked = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(marked->Error(), u"");
    EXPECT_EQ(Uncompared(*marked), Texts{u"x"});
    EXPECT_TRUE(marked->HasDodgyColumns());
    std::swap(one, two);
    const auto unmarked = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(Uncompared(*unmarked), Texts{});
    EXPECT_EQ(Column(*unmarked, u"x").DataType(), u"int");
    EXPECT_FALSE(unmarked->HasDodgyColumns());
}

TEST_F(TableComparisonTest, AColumnAllowsNullsWhereEitherSideDoes) {
    RunIn(u"one",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, in1 int NULL, "
          u"in2 int NOT NULL, neither int NOT NULL)");
    RunIn(u"two",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, in1 int NOT NULL, "
          u"in2 int NULL, neither int NOT NULL)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_TRUE(Column(*result, u"in1").AllowNulls());
    EXPECT_TRUE(Column(*result, u"in2").AllowNulls());
    EXPECT_FALSE(Column(*result, u"neither").AllowNulls());
}

TEST_F(TableComparisonTest, OnlyACommonIdentityOfDatabase1IsTold) {
    RunIn(u"one", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY)");
    RunIn(u"two", u"CREATE TABLE t (id int IDENTITY(1,1) NOT NULL CONSTRAINT PK_t PRIMARY KEY)");
    EXPECT_FALSE(CompareOne(u"[dbo].[t]")->HasIdentity());
    RunIn(u"one",
          u"CREATE TABLE u (id int NOT NULL CONSTRAINT PK_u PRIMARY KEY, n int IDENTITY(1,1))");
    RunIn(u"two", u"CREATE TABLE u (id int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    const auto result = CompareOne(u"[dbo].[u]");
    EXPECT_EQ(Names(*result), Texts{u"id"});
    EXPECT_FALSE(result->HasIdentity());
}

TEST_F(TableComparisonTest, ColumnsThatCannotBeComparedAreNothingInCommon) {
    RunInBoth(u"CREATE TABLE t (x text)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"Error comparing [dbo].[t]\r\nAll columns differ");
    EXPECT_TRUE(result->HasDodgyColumns());
    EXPECT_EQ(Names(*result), Texts{u"x"});
}

TEST_F(TableComparisonTest, AnEmptyColumnChoiceLeavesOnlyTheKey) {
    RunInBoth(Keyed);
    RunInBoth(u"CREATE TABLE k (a int)");
    RunIn(u"one", u"INSERT t VALUES (1, 1, N'x'), (2, 1, N'x')");
    RunIn(u"two", u"INSERT t VALUES (1, 2, N'y'), (3, 1, N'x')");
    ChooseColumns(u"[dbo].[t]", {});
    ChooseColumns(u"[dbo].[k]", {});
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"");
    EXPECT_EQ(Uncompared(*result), (Texts{u"id", u"a", u"b"}));
    EXPECT_FALSE(result->HasDodgyColumns());
    EXPECT_EQ(result->RecordsInUnion(), 3);
    EXPECT_EQ(result->RecordsDiffering(), 0);
    EXPECT_EQ(CompareOne(u"[dbo].[k]")->Error(),
              u"Error comparing [dbo].[k]\r\nAll columns differ");
}

TEST_F(TableComparisonTest, ColumnsThatCannotBeComparedAreMarked) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, txt text, ntxt ntext, "
        u"img image, ts timestamp, twice AS id * 2, plain int)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"");
    EXPECT_TRUE(result->HasDodgyColumns());
    EXPECT_EQ(Uncompared(*result), (Texts{u"txt", u"ntxt", u"img", u"ts", u"twice"}));
    EXPECT_TRUE(Column(*result, u"twice").Computed());
    EXPECT_EQ(result->Columns()->ColumnList(), u"[id], [plain]");
}

TEST_F(TableComparisonTest, AColumnComputedOnlyInDatabase2IsCompared) {
    RunIn(u"one", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, c int)");
    RunIn(u"two", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, c AS id + 1)");
    RunIn(u"one", u"INSERT t VALUES (1, 2), (2, 9)");
    RunIn(u"two", u"INSERT t (id) VALUES (1), (2)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(Uncompared(*result), Texts{});
    EXPECT_FALSE(result->HasDodgyColumns());
    EXPECT_EQ(result->RecordsDiffering(), 1);
}

TEST_F(TableComparisonTest, AColumnInAnotherCaseIsAnotherColumn) {
    RunIn(u"one", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, Name int)");
    RunIn(u"two", u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, name int)");
    EXPECT_EQ(Names(*CompareOne(u"[dbo].[t]")), Texts{u"id"});
    RunIn(u"one", u"CREATE TABLE u (Id int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    RunIn(u"two", u"CREATE TABLE u (ID int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    EXPECT_EQ(CompareOne(u"[dbo].[u]")->Error(),
              u"Error comparing [dbo].[u]\r\nKey columns differ");
}

TEST_F(TableComparisonTest, ColumnsOfDatabase2OnlyAreNotLookedAt) {
    RunInBoth(Keyed);
    RunIn(u"two", u"ALTER TABLE t ADD extra text NULL");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(Names(*result), (Texts{u"id", u"a", u"b"}));
    EXPECT_FALSE(result->HasDodgyColumns());
}

TEST_F(TableComparisonTest, ColumnFactsAreThoseOfDatabase1) {
    RunIn(u"one",
          u"CREATE TABLE t (id int IDENTITY(1,1) NOT NULL CONSTRAINT PK_t PRIMARY KEY, "
          u"d decimal(18,4) NOT NULL, n nvarchar(50) NULL, m nvarchar(max) NULL, "
          u"v varbinary(max) NULL, c char(7) NOT NULL)");
    RunIn(u"two",
          u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, "
          u"d decimal(10,2) NULL, n nvarchar(20) NULL, m nvarchar(10) NULL, "
          u"v varbinary(5) NULL, c char(3) NOT NULL)");
    const auto result = CompareOne(u"[dbo].[t]");
    ASSERT_EQ(result->Error(), u"");
    EXPECT_TRUE(result->HasIdentity());
    EXPECT_EQ(Column(*result, u"id").DataType(), u"int");
    EXPECT_FALSE(Column(*result, u"id").AllowNulls());
    EXPECT_EQ(Column(*result, u"d").DataType(), u"decimal");
    EXPECT_EQ(Column(*result, u"d").NumericPrecision(), 18);
    EXPECT_EQ(Column(*result, u"d").NumericScale(), 4);
    EXPECT_TRUE(Column(*result, u"d").AllowNulls());  // it does in database 2
    EXPECT_EQ(Column(*result, u"n").Length(), 50);
    EXPECT_EQ(Column(*result, u"m").Length(), -1);
    EXPECT_EQ(Column(*result, u"v").Length(), -1);
    EXPECT_EQ(Column(*result, u"c").Length(), 7);
    EXPECT_FALSE(Column(*result, u"c").AllowNulls());
}

TEST_F(TableComparisonTest, ColumnsThatWereNotChosenAreNotCompared) {
    RunInBoth(Keyed);
    RunIn(u"one", u"INSERT t VALUES (1, 1, N'x')");
    RunIn(u"two", u"INSERT t VALUES (1, 2, N'x')");
    ChooseColumns(u"[dbo].[t]", {u"ID", u"B"});
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(Uncompared(*result), Texts{u"a"});
    EXPECT_FALSE(result->HasDodgyColumns());
    EXPECT_TRUE(result->Identical());
}

TEST_F(TableComparisonTest, AChoiceWithoutAKeyColumnStillJoinsOnIt) {
    RunInBoth(Keyed);
    RunIn(u"one", u"INSERT t VALUES (1, 1, N'x'), (2, 1, NULL)");
    RunIn(u"two", u"INSERT t VALUES (1, 2, N'x'), (3, 1, NULL)");
    ChooseColumns(u"[dbo].[t]", {u"a"});
    server.ClearLog();
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(Uncompared(*result), (Texts{u"id", u"b"}));
    EXPECT_EQ(result->RecordsDiffering(), 1);
    EXPECT_EQ(Told(server).back(),
              u"SELECT COUNT(*) FROM [one].[dbo].[t] T1 INNER JOIN [two].[dbo].[t] T2 ON "
              u"T1.[id]=T2.[id]  WHERE (T1.[a]<>T2.[a]) ");
}

TEST_F(TableComparisonTest, AColumnChosenTwiceFailsTheTable) {
    RunInBoth(Keyed);
    auto choice = std::make_shared<ColumnChoice>();
    choice->Add(u"a");
    choice->Add(u"A");
    columns.Add(choice, u"[dbo].[t]");
    EXPECT_EQ(CompareOne(u"[dbo].[t]")->Error(),
              u"Error comparing [dbo].[t]\r\n"
              u"This key is already associated with an element of this collection");
    ExpectOneProcessError(3704, ClosedText);
}

TEST_F(TableComparisonTest, AListOfColumnsThatCannotBeReadFailsTheTable) {
    RunInBoth(Keyed);
    auto choice = std::make_shared<ColumnChoice>();
    choice->Add(u"a");
    choice->Failure = Error(13, u"Type mismatch");
    columns.Add(choice, u"[dbo].[t]");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"Error comparing [dbo].[t]\r\nType mismatch");
    EXPECT_EQ(result->RecordsIn1(), 0);
    ExpectOneProcessError(3704, ClosedText);
}

TEST_F(TableComparisonTest, IndexedViewsAreComparedByTheirUniqueIndex) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, a int NOT NULL)");
    RunInBoth(
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, a FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    RunIn(u"one", u"INSERT t VALUES (1,1),(2,2)");
    RunIn(u"two", u"INSERT t VALUES (1,1),(2,3)");
    const auto result = CompareOne(u"[dbo].[v]");
    EXPECT_EQ(result->Error(), u"");
    EXPECT_TRUE(result->IsView());
    EXPECT_TRUE(result->HasPrimaryKey());
    EXPECT_EQ(KeyColumns(*result), Texts{u"id"});
}

TEST_F(TableComparisonTest, AViewInDatabase2AloneMarksTheResultAsAView) {
    RunIn(u"one", u"CREATE TABLE v (id int NOT NULL CONSTRAINT PK_v PRIMARY KEY)");
    RunIn(u"two", u"CREATE TABLE t (id int NOT NULL)");
    RunIn(u"two", u"CREATE VIEW v AS SELECT id FROM dbo.t");
    const auto result = CompareOne(u"[dbo].[v]");
    EXPECT_TRUE(result->IsView());
    EXPECT_FALSE(result->HasPrimaryKey());  // the primary key of one side is not a view's key
}

TEST_F(TableComparisonTest, AtCompatibilityLevel70ViewsAreNotFound) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL)");
    RunInBoth(u"CREATE VIEW v AS SELECT id FROM dbo.t");
    server.Run(u"EXEC sp_dbcmptlevel 'one', 70");
    EXPECT_EQ(CompareOne(u"[dbo].[v]")->Error(),
              u"Error comparing [dbo].[v]\r\nThe database 'one' has no table or view [dbo].[v].");
}

TEST_F(TableComparisonTest, EachDatabaseHasItsOwnCompatibilityLevel) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL)");
    RunInBoth(u"CREATE VIEW v AS SELECT id FROM dbo.t");
    server.Run(u"EXEC sp_dbcmptlevel 'two', 70");
    const auto result = CompareOne(u"[dbo].[v]");
    EXPECT_EQ(result->Error(),
              u"Error comparing [dbo].[v]\r\nThe database 'two' has no table or view [dbo].[v].");
    EXPECT_TRUE(result->IsView());  // it is one in database 1
    EXPECT_EQ(CompareOne(u"[dbo].[t]")->Error(), u"");
}

TEST_F(TableComparisonTest, EntriesAreCutByPosition) {
    RunInBoth(u"CREATE TABLE dbo.[a.b] (id int NOT NULL CONSTRAINT PK_ab PRIMARY KEY)");
    EXPECT_EQ(CompareOne(u"[dbo].[a.b]")->Error(), u"");
    EXPECT_EQ(CompareOne(u"no point or brackets")->Error(),
              u"Error comparing no point or brackets\r\n"
              u"The database 'one' has no table or view [].[o point or bracket].");
    EXPECT_EQ(CompareOne(u".")->Error(),
              u"Error comparing .\r\nThe database 'one' has no table or view [].[].");
}

TEST_F(TableComparisonTest, NothingInCommonIsAnErrorAfterTheRowsAreCounted) {
    RunIn(u"one", u"CREATE TABLE t (a int)\nGO\nINSERT t VALUES (1),(2)");
    RunIn(u"two", u"CREATE TABLE t (b int)\nGO\nINSERT t VALUES (1)");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"Error comparing [dbo].[t]\r\nAll columns differ");
    EXPECT_EQ(result->RecordsIn1(), 2);
    EXPECT_EQ(result->RecordsIn2(), 1);
    EXPECT_FALSE(result->HasPrimaryKey());
    ExpectOneProcessError(static_cast<std::int32_t>(0x80040002),
                          u"Error comparing [dbo].[t]\r\nAll columns differ");
}

TEST_F(TableComparisonTest, AnotherGenerationOfCatalogsTellsTheSame) {
    sandbox::ServerSettings settings;
    settings.name = u"OLD";
    settings.version = "8.00.2039";
    sandbox::Server& old = box.AddServer(settings);
    for (const char16_t* name : {u"one", u"two"}) {
        old.Run(u"CREATE DATABASE " + std::u16string(name) + u"\nGO\nUSE " + name +
                u"\nGO\nCREATE TABLE t (id int IDENTITY(1,1) NOT NULL CONSTRAINT PK_t PRIMARY KEY, "
                u"n nvarchar(50) NULL, d decimal(18,4) NOT NULL, x ntext, twice AS id * 2)\nGO\n"
                u"INSERT t (n, d) VALUES (N'a', 1), (N'" +
                name +
                u"', 2.5)\nGO\n"
                u"CREATE TABLE w (a int NOT NULL, b int NOT NULL CONSTRAINT UQ_w UNIQUE)\nGO\n"
                u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, d FROM dbo.t\nGO\n"
                u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    }
    one = MakeDatabase(old, u"one");
    two = MakeDatabase(old, u"two");
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), u"");
    EXPECT_TRUE(result->HasIdentity());
    EXPECT_TRUE(result->HasDodgyColumns());
    EXPECT_EQ(result->RecordsDiffering(), 1);
    EXPECT_EQ(Column(*result, u"n").Length(), 50);
    EXPECT_EQ(Column(*result, u"n").DataType(), u"nvarchar");
    EXPECT_EQ(Column(*result, u"d").NumericPrecision(), 18);
    EXPECT_EQ(Column(*result, u"d").NumericScale(), 4);
    EXPECT_EQ(KeyColumns(*result), Texts{u"id"});
    EXPECT_EQ(KeyColumns(*CompareOne(u"[dbo].[w]")), Texts{u"b"});
    EXPECT_TRUE(CompareOne(u"[dbo].[v]")->IsView());
}

}  // namespace
}  // namespace QuillonLib
