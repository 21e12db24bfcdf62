// The row sets and the two scripts of one table.
#include "scripts/TableScripts.h"

#include <gtest/gtest.h>

#include "ScriptsFixture.h"

namespace QuillonLib {
namespace {

// The procedures of the table below.
const std::u16string DeleteProcedure =
    Procedure(IfDeleteExists, u"CREATE PROCEDURE prcTmp_QVX_Delete(@P1 AS int) AS",
              u"DELETE FROM [dbo].[t] WHERE [id]=@P1");
const std::u16string InsertProcedure =
    Procedure(IfInsertExists,
              u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS nvarchar (10), @P3 AS "
              u"decimal (9,2)) AS",
              u"INSERT INTO [dbo].[t] ([id], [n], [d]) VALUES (@P1, @P2, @P3)");
const std::u16string UpdateProcedure =
    Procedure(IfUpdateExists,
              u"CREATE PROCEDURE prcTmp_QVX_Update(@P1 AS int, @P2 AS nvarchar (10), @P3 AS "
              u"decimal (9,2)) AS",
              u"UPDATE [dbo].[t] SET [n]=@P2, [d]=@P3 WHERE [id]=@P1");

// Both scripts of a table without lines, and without comments.
constexpr const char16_t* NoLines = u"BEGIN TRANSACTION\r\n\r\n\r\n\r\n\r\n\r\nCOMMIT\r\n";

class TableScriptsTest : public ScriptsFixture {
  protected:
    // One row that agrees, one that differs, one on either side only.
    void MakeTable(const std::u16string& idType = u"int NOT NULL") {
        RunInBoth(u"CREATE TABLE t (id " + idType +
                  u" CONSTRAINT PK_t PRIMARY KEY, n nvarchar(10) NULL, d decimal(9,2) NOT NULL)");
        const bool identity = idType.find(u"IDENTITY") != std::u16string::npos;
        const std::u16string on = identity ? u"SET IDENTITY_INSERT t ON\n" : u"";
        RunIn(u"one", on + u"INSERT t (id,n,d) VALUES (1,N'same',1.5),(2,N'O''Brien',2),(3,NULL,"
                           u"3.25)");
        RunIn(u"two", on + u"INSERT t (id,n,d) VALUES (1,N'same',1.5),(2,N'x',2),(4,N'd',-4)");
    }

    // Outputs of a caller who has row sets already: this one, four times.
    static TableOutputs Holding(const std::shared_ptr<Recordset>& rows) {
        TableOutputs outputs;
        outputs.equal = outputs.different = outputs.right = outputs.left = rows;
        return outputs;
    }
    // All outputs are as the caller had them, and the server has heard nothing.
    void ExpectNothingTouched(const std::shared_ptr<TableDifference>& result) {
        const auto before = std::make_shared<Recordset>();
        TableOutputs outputs = Holding(before);
        server.ClearLog();
        GetRecordsets(result, outputs);
        for (const auto& rows : {outputs.equal, outputs.different, outputs.right, outputs.left})
            EXPECT_EQ(rows, before);
        EXPECT_EQ(outputs.sRight, u"as it was");
        EXPECT_EQ(outputs.sLeft, u"as it was");
        EXPECT_TRUE(server.Log().empty());
    }
};

TEST_F(TableScriptsTest, TheFourQueriesAsTheyAreSent) {
    MakeTable();
    RecordsetsOf(u"[dbo].[t]");
    EXPECT_EQ(
        Batches(server),
        (Texts{u"SELECT T1.[id] AS [id_1], T2.[id] AS [id_2], T1.[n] AS [n_1], T2.[n] AS [n_2], "
               u"T1.[d] AS [d_1], T2.[d] AS [d_2] FROM [one].[dbo].[t] T1 INNER JOIN "
               u"[two].[dbo].[t] T2 ON T1.[id]=T2.[id]  WHERE (T1.[n]<>T2.[n]) OR (T1.[n] IS NULL "
               u"AND T2.[n] IS NOT NULL) OR (T1.[n] IS NOT NULL AND T2.[n] IS NULL) OR "
               u"(T1.[d]<>T2.[d]) ",
               u"SELECT T1.* FROM [one].[dbo].[t] T1 INNER JOIN [two].[dbo].[t] T2 ON "
               u"T1.[id]=T2.[id]  WHERE  (T1.[n]=T2.[n] OR (T1.[n] IS NULL AND T2.[n] IS NULL)) "
               u"AND  (T1.[d]=T2.[d]) ",
               u"SELECT T1.* FROM [one].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
               u"[two].[dbo].[t] T2 WHERE T1.[id]=T2.[id] )",
               u"SELECT T2.* FROM [two].[dbo].[t] T2 WHERE NOT EXISTS (SELECT * FROM "
               u"[one].[dbo].[t] T1 WHERE T1.[id]=T2.[id] )"}));
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(TableScriptsTest, EachRowSetHoldsItsRows) {
    MakeTable();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]");
    ASSERT_EQ(outputs.equal->RecordCount(), 1U);
    EXPECT_EQ(outputs.equal->Fields(u"id").Value(), Value(1));
    ASSERT_EQ(outputs.different->RecordCount(), 1U);
    EXPECT_EQ(outputs.different->Fields(u"n_1").Value(), Value(u"O'Brien"));
    EXPECT_EQ(outputs.different->Fields(u"n_2").Value(), Value(u"x"));
    ASSERT_EQ(outputs.right->RecordCount(), 1U);
    EXPECT_EQ(outputs.right->Fields(u"id").Value(), Value(3));
    ASSERT_EQ(outputs.left->RecordCount(), 1U);
    EXPECT_EQ(outputs.left->Fields(u"id").Value(), Value(4));
    // Scripts read the rows without moving the cursor.
    EXPECT_FALSE(outputs.right->EndOfSet());
}

TEST_F(TableScriptsTest, BothScriptsWithComments) {
    MakeTable();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]");
    const std::u16string backUp =
        u"-- Please make sure you BACK UP THE DATABASE before running this script";
    EXPECT_EQ(
        WithoutAddress(outputs.sRight),
        Lines({u"-- Run this on SERVER.two to synchronize the contents of the [dbo].[t] table",
               backUp, u"", u"BEGIN TRANSACTION", DeleteProcedure, InsertProcedure, UpdateProcedure,
               u"",
               //
               u"EXEC prcTmp_QVX_Delete 4", u"EXEC prcTmp_QVX_Update 2, N'O''Brien', 2.00",
               u"EXEC prcTmp_QVX_Insert 3, NULL, 3.25",
               //
               u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"DROP PROCEDURE prcTmp_QVX_Insert",
               u"DROP PROCEDURE prcTmp_QVX_Update", u"COMMIT"}));
    EXPECT_EQ(
        WithoutAddress(outputs.sLeft),
        Lines({u"-- Run this on SERVER.one to synchronize the contents of the [dbo].[t] table",
               backUp, u"", u"BEGIN TRANSACTION", DeleteProcedure, InsertProcedure, UpdateProcedure,
               u"",
               //
               u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Update 2, N'x', 2.00",
               u"EXEC prcTmp_QVX_Insert 4, N'd', -4.00",
               //
               u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"DROP PROCEDURE prcTmp_QVX_Insert",
               u"DROP PROCEDURE prcTmp_QVX_Update", u"COMMIT"}));
}

TEST_F(TableScriptsTest, AnIdentityIsSwitchedAroundAllLines) {
    MakeTable(u"int IDENTITY NOT NULL");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowMissing | cpoNoScriptComments);
    EXPECT_EQ(outputs.sRight, Lines({u"BEGIN TRANSACTION", InsertProcedure, u"",
                                     u"SET IDENTITY_INSERT [dbo].[t] ON", u"", u"", u"",
                                     u"EXEC prcTmp_QVX_Insert 3, NULL, 3.25", u"",
                                     u"SET IDENTITY_INSERT [dbo].[t] OFF", u"",
                                     u"DROP PROCEDURE prcTmp_QVX_Insert", u"COMMIT"}));
    EXPECT_EQ(
        outputs.sLeft,
        Lines({u"BEGIN TRANSACTION", DeleteProcedure, u"", u"SET IDENTITY_INSERT [dbo].[t] ON", u"",
               u"EXEC prcTmp_QVX_Delete 3", u"", u"", u"", u"SET IDENTITY_INSERT [dbo].[t] OFF",
               u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"COMMIT"}));
    EXPECT_EQ(Batches(server),
              Texts{u"SELECT T1.* FROM [one].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
                    u"[two].[dbo].[t] T2 WHERE T1.[id]=T2.[id] )"});
}

TEST_F(TableScriptsTest, AnIdentityIsSwitchedAroundDeletesUpdatesAndInserts) {
    MakeTable(u"int IDENTITY NOT NULL");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", EverythingShown | cpoNoScriptComments);
    const struct {
        const char16_t* name;
        std::u16string script;
        Texts calls;
    } cases[] = {
        {u"right",
         outputs.sRight,
         {u"EXEC prcTmp_QVX_Delete 4", u"EXEC prcTmp_QVX_Update 2, N'O''Brien', 2.00",
          u"EXEC prcTmp_QVX_Insert 3, NULL, 3.25"}},
        {u"left",
         outputs.sLeft,
         {u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Update 2, N'x', 2.00",
          u"EXEC prcTmp_QVX_Insert 4, N'd', -4.00"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.name));
        const auto behindProcedures = each.script.rfind(u"GO\r\n") + 4;
        EXPECT_EQ(
            each.script.substr(behindProcedures),
            Lines({u"", u"SET IDENTITY_INSERT [dbo].[t] ON", u""}) + Lines(each.calls) +
                Lines({u"", u"SET IDENTITY_INSERT [dbo].[t] OFF", u"",
                       u"DROP PROCEDURE prcTmp_QVX_Delete", u"DROP PROCEDURE prcTmp_QVX_Insert",
                       u"DROP PROCEDURE prcTmp_QVX_Update", u"COMMIT"}));
    }
}

TEST_F(TableScriptsTest, RowSetsWithoutRowsGiveNoProcedures) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n int NULL)");
    RunInBoth(u"INSERT t VALUES (1,1)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", EverythingShown | cpoNoScriptComments);
    EXPECT_EQ(outputs.equal->RecordCount(), 1U);
    EXPECT_EQ(outputs.different->RecordCount(), 0U);
    EXPECT_EQ(outputs.right->RecordCount(), 0U);
    EXPECT_EQ(outputs.left->RecordCount(), 0U);
    EXPECT_EQ(outputs.sRight, NoLines);
    EXPECT_EQ(outputs.sLeft, NoLines);
}

TEST_F(TableScriptsTest, RowSetsThatAreNotAskedForBecomeNothing) {
    MakeTable();
    const auto result = CompareOne(u"[dbo].[t]");
    TableOutputs outputs = Holding(std::make_shared<Recordset>());
    server.ClearLog();
    GetRecordsets(result, outputs, cpoNoScriptComments);
    EXPECT_EQ(outputs.equal, nullptr);
    EXPECT_EQ(outputs.different, nullptr);
    EXPECT_EQ(outputs.right, nullptr);
    EXPECT_EQ(outputs.left, nullptr);
    EXPECT_EQ(outputs.sRight, NoLines);
    EXPECT_EQ(outputs.sLeft, NoLines);
    EXPECT_EQ(Batches(server), Texts{});
}

TEST_F(TableScriptsTest, TheLimitIsInEveryQuery) {
    MakeTable();
    RecordsetsOf(u"[dbo].[t]", EverythingShown | cpoLimitRecordsReturned, 50);
    const Texts batches = Batches(server);
    ASSERT_EQ(batches.size(), 4U);
    EXPECT_TRUE(batches[0].starts_with(u"SELECT TOP 50 T1.[id] AS [id_1], "));
    EXPECT_TRUE(batches[1].starts_with(u"SELECT TOP 50 T1.* FROM "));
    EXPECT_TRUE(batches[2].starts_with(u"SELECT TOP 50 T1.* FROM "));
    EXPECT_TRUE(batches[3].starts_with(u"SELECT TOP 50 T2.* FROM "));
}

TEST_F(TableScriptsTest, ScriptsCoverTheRowsOfTheLimit) {
    MakeTable();
    RunIn(u"one", u"INSERT t VALUES (5,N'e',5),(6,N'f',6)");
    const TableOutputs outputs = RecordsetsOf(
        u"[dbo].[t]", cpoShowMissing | cpoLimitRecordsReturned | cpoNoScriptComments, 2);
    EXPECT_EQ(outputs.right->RecordCount(), 2U);
    EXPECT_TRUE(Holds(outputs.sRight, u"EXEC prcTmp_QVX_Insert 5, N'e', 5.00"));
    EXPECT_FALSE(Holds(outputs.sRight, u"EXEC prcTmp_QVX_Insert 6"));
}

TEST_F(TableScriptsTest, WithoutTheFlagTheLimitIsIgnored) {
    MakeTable();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowMissing, 0);
    EXPECT_EQ(outputs.right->RecordCount(), 1U);
}

TEST_F(TableScriptsTest, WithoutAKeyNothingIsTouched) {
    RunInBoth(u"CREATE TABLE t (a int)");
    ExpectNothingTouched(CompareOne(u"[dbo].[t]"));
}

TEST_F(TableScriptsTest, AfterAnErrorOfTheComparisonNothingIsTouched) {
    MakeTable();
    server.AddFault(ErrorIn(u"UNION"));
    const auto result = CompareOne(u"[dbo].[t]");
    ASSERT_NE(result->Error(), u"");
    ASSERT_TRUE(result->HasPrimaryKey());
    ExpectNothingTouched(result);
}

TEST_F(TableScriptsTest, AViewHasRowSetsButNothingInItsScripts) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL PRIMARY KEY, n nvarchar(10) NULL)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, n FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    RunIn(u"one", u"INSERT t VALUES (1,N'a'),(2,N'b')");
    RunIn(u"two", u"INSERT t VALUES (1,N'x'),(3,N'c')");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[v]");
    EXPECT_EQ(outputs.different->RecordCount(), 1U);
    EXPECT_EQ(outputs.right->RecordCount(), 1U);
    EXPECT_EQ(outputs.left->RecordCount(), 1U);
    EXPECT_EQ(
        WithoutAddress(outputs.sRight),
        Lines({u"-- Run this on SERVER.two to synchronize the contents of the [dbo].[v] table",
               u"-- Please make sure you BACK UP THE DATABASE before running this script", u"",
               u"BEGIN TRANSACTION", u"", u"COMMIT"}));
    EXPECT_EQ(
        WithoutAddress(outputs.sLeft),
        Lines({u"-- Run this on SERVER.one to synchronize the contents of the [dbo].[v] table",
               u"-- Please make sure you BACK UP THE DATABASE before running this script", u"",
               u"BEGIN TRANSACTION", u"", u"COMMIT"}));
}

TEST_F(TableScriptsTest, WithoutAComparedColumnNoRowsDiffer) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, x text NULL)");
    RunInBoth(u"INSERT t VALUES (1,'a')");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowDifferent | cpoShowIdentical);
    EXPECT_EQ(outputs.different, nullptr);
    EXPECT_EQ(outputs.equal->RecordCount(), 1U);
    EXPECT_EQ(Batches(server),
              Texts{u"SELECT T1.* FROM [one].[dbo].[t] T1 INNER JOIN [two].[dbo].[t] T2 ON "
                    u"T1.[id]=T2.[id] "});
}

TEST_F(TableScriptsTest, OnTheServerOfDatabase3LinkedServersAreNotNamed) {
    MakeTable();
    const auto result = CompareOne(u"[dbo].[t]");
    one->LinkedServer(u"ELSEWHERE");
    two->LinkedServer(u"ELSEWHERE");
    TableOutputs outputs;
    server.ClearLog();
    GetRecordsets(result, outputs, cpoShowAdditional);
    EXPECT_EQ(Batches(server),
              Texts{u"SELECT T2.* FROM [two].[dbo].[t] T2 WHERE NOT EXISTS (SELECT * FROM "
                    u"[one].[dbo].[t] T1 WHERE T1.[id]=T2.[id] )"});
}

TEST_F(TableScriptsTest, ADatabaseOnAnotherServerIsNamedThroughItsLinkedServer) {
    sandbox::Server& second = box.AddServer({u"SECOND"});
    MakeTable();
    second.Run(
        u"CREATE DATABASE two\nGO\nUSE two\nGO\nCREATE TABLE t (id int NOT NULL CONSTRAINT "
        u"PK_t PRIMARY KEY, n nvarchar(10) NULL, d decimal(9,2) NOT NULL)");
    two = MakeDatabase(second, u"two");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowMissing | cpoNoScriptComments);
    EXPECT_EQ(outputs.right->RecordCount(), 3U);
    EXPECT_EQ(Batches(server),
              Texts{u"SELECT T1.* FROM [one].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
                    u"[KARNOBE_2].[two].[dbo].[t] T2 WHERE T1.[id]=T2.[id] )"});
}

TEST_F(TableScriptsTest, OutputsSetBeforeAFailureKeepTheirValues) {
    MakeTable();
    const auto result = CompareOne(u"[dbo].[t]");
    const auto before = std::make_shared<Recordset>();
    TableOutputs outputs = Holding(before);
    server.AddFault(ErrorIn(u"SELECT T1.* FROM [one].[dbo].[t] T1 WHERE NOT EXISTS"));
    const Raised raised = RaisedBy([&] { GetRecordsets(result, outputs); });
    EXPECT_NE(raised.number, 0);
    EXPECT_TRUE(Holds(raised.description, u"made to fail"));
    ASSERT_NE(outputs.different, before);
    EXPECT_EQ(outputs.different->RecordCount(), 1U);
    ASSERT_NE(outputs.equal, before);
    EXPECT_EQ(outputs.equal->RecordCount(), 1U);
    EXPECT_EQ(outputs.right, before);
    EXPECT_EQ(outputs.left, before);
    EXPECT_EQ(outputs.sRight, u"as it was");
    EXPECT_EQ(outputs.sLeft, u"as it was");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(TableScriptsTest, ALoginThatIsRefusedLeavesTheOutputs) {
    MakeTable();
    const auto result = CompareOne(u"[dbo].[t]");
    one->Password(u"wrong");
    TableOutputs outputs;
    EXPECT_EQ(RaisedBy([&] { GetRecordsets(result, outputs); }).number,
              static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(outputs.sRight, u"as it was");
}

// A row that is found by a key that no line can name would be missed, or another one hit.
TEST_F(TableScriptsTest, AComputedKeyColumnRaises) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL, twice AS (id*2), n int NULL)\nGO\n"
        u"CREATE UNIQUE INDEX ix ON t (twice)");
    RunIn(u"one", u"INSERT t (id,n) VALUES (1,1)");
    RunIn(u"two", u"INSERT t (id,n) VALUES (1,2)");
    const auto result = CompareOne(u"[dbo].[t]");
    ASSERT_EQ(result->Error(), u"");
    TableOutputs outputs;
    const Raised raised = RaisedBy([&] { GetRecordsets(result, outputs); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040002));
    EXPECT_EQ(raised.description,
              u"No script can be written for [dbo].[t]: its key column [twice] cannot be written "
              u"into a script");
    EXPECT_EQ(outputs.different->RecordCount(), 1U);
    EXPECT_EQ(outputs.sRight, u"as it was");
}

TEST_F(TableScriptsTest, ATimestampKeyColumnRaises) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL, stamp timestamp NOT NULL)\nGO\n"
        u"CREATE UNIQUE INDEX ix ON t (stamp)");
    RunIn(u"one", u"INSERT t (id) VALUES (1)");
    const auto result = CompareOne(u"[dbo].[t]");
    ASSERT_EQ(result->Error(), u"");
    TableOutputs outputs;
    const Raised raised = RaisedBy([&] { GetRecordsets(result, outputs); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040002));
    EXPECT_EQ(outputs.sRight, u"as it was");
}

TEST_F(TableScriptsTest, MaxTypesAreDeclaredAsSuch) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, a varchar(max) NULL, b "
        u"nvarchar(max) NULL, c varbinary(max) NULL)");
    RunIn(u"one", u"INSERT t VALUES (1,'a',N'b',0x0C)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowMissing);
    EXPECT_TRUE(
        Holds(outputs.sRight,
              u"\r\nCREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS varchar (max), @P3 "
              u"AS nvarchar (max), @P4 AS varbinary (max)) AS\r\n"));
    EXPECT_TRUE(Holds(outputs.sRight, u"\r\nEXEC prcTmp_QVX_Insert 1, N'a', N'b', 0x0C\r\n"));
}

TEST_F(TableScriptsTest, ColumnsNamedLikeTheFieldsOfAnotherKeepTheirValues) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, [x_1] int NULL, [x] int "
        u"NULL)");
    RunIn(u"one", u"INSERT t VALUES (1,10,20)");
    RunIn(u"two", u"INSERT t VALUES (1,11,21)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowDifferent | cpoNoScriptComments);
    EXPECT_TRUE(Holds(outputs.sRight, u"\r\nEXEC prcTmp_QVX_Update 1, 10, 20\r\n"));
    EXPECT_TRUE(Holds(outputs.sLeft, u"\r\nEXEC prcTmp_QVX_Update 1, 11, 21\r\n"));
}

TEST(IdentityInsertStatementTest, IsEmptyWithoutAnIdentity) {
    EXPECT_EQ(IdentityInsertStatement(false, u"[dbo].[t]", true), u"");
    EXPECT_EQ(IdentityInsertStatement(true, u"[dbo].[t]", true),
              u"SET IDENTITY_INSERT [dbo].[t] ON");
    EXPECT_EQ(IdentityInsertStatement(true, u"[dbo].[t]", false),
              u"SET IDENTITY_INSERT [dbo].[t] OFF");
}

}  // namespace
}  // namespace QuillonLib
