// The pair of scripts for a whole comparison.
#include "scripts/UpdateScripts.h"

#include <gtest/gtest.h>

#include "ScriptsFixture.h"

namespace QuillonLib {
namespace {

// The procedures of the family below.
const std::u16string DeleteChild =
    Procedure(IfDeleteExists, u"CREATE PROCEDURE prcTmp_QVX_Delete(@P1 AS int) AS",
              u"DELETE FROM [dbo].[child] WHERE [id]=@P1");
const std::u16string DeleteParent =
    Procedure(IfDeleteExists, u"CREATE PROCEDURE prcTmp_QVX_Delete(@P1 AS int) AS",
              u"DELETE FROM [dbo].[parent] WHERE [id]=@P1");
const std::u16string InsertParent = Procedure(
    IfInsertExists, u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS nvarchar (10)) AS",
    u"INSERT INTO [dbo].[parent] ([id], [n]) VALUES (@P1, @P2)");
const std::u16string UpdateParent = Procedure(
    IfUpdateExists, u"CREATE PROCEDURE prcTmp_QVX_Update(@P1 AS int, @P2 AS nvarchar (10)) AS",
    u"UPDATE [dbo].[parent] SET [n]=@P2 WHERE [id]=@P1");
const std::u16string InsertChild =
    Procedure(IfInsertExists, u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS int) AS",
              u"INSERT INTO [dbo].[child] ([id], [pid]) VALUES (@P1, @P2)");
const std::u16string UpdateChild =
    Procedure(IfUpdateExists, u"CREATE PROCEDURE prcTmp_QVX_Update(@P1 AS int, @P2 AS int) AS",
              u"UPDATE [dbo].[child] SET [pid]=@P2 WHERE [id]=@P1");

class UpdateScriptsTest : public ScriptsFixture {
  protected:
    // In each table one row that differs and one on either side only; the parent has an identity.
    void MakeFamily() {
        RunInBoth(
            u"CREATE TABLE parent (id int IDENTITY NOT NULL CONSTRAINT PK_parent PRIMARY KEY, n "
            u"nvarchar(10) NULL)\nGO\n"
            u"CREATE TABLE child (id int NOT NULL CONSTRAINT PK_child PRIMARY KEY, pid int NOT "
            u"NULL REFERENCES parent)\nGO\n"
            u"SET IDENTITY_INSERT parent ON");
        RunIn(u"one",
              u"SET IDENTITY_INSERT parent ON\nINSERT parent (id,n) VALUES (1,N'a'),(2,N'b')\n"
              u"INSERT child VALUES (10,1),(12,2)");
        RunIn(u"two",
              u"SET IDENTITY_INSERT parent ON\nINSERT parent (id,n) VALUES (1,N'x'),(3,N'c')\n"
              u"INSERT child VALUES (10,3),(11,3)");
    }
    // Cancels at the n-th status, counted from 1.
    void CancelAt(std::size_t number) {
        onStatus = [this, number](const std::u16string&, bool& cancel) {
            if (statuses.size() == number) cancel = true;
        };
    }
    Scripts CancelledScripts(std::size_t number) {
        one->CheckDependencies(true);
        const auto results = Compare({u"[dbo].[child]", u"[dbo].[parent]"});
        CancelAt(number);
        return UpdateScriptsOf(results, EverythingShown | cpoNoScriptComments);
    }
};

TEST_F(UpdateScriptsTest, TheRightScriptWithComments) {
    MakeFamily();
    EXPECT_EQ(
        WithoutAddress(UpdateScriptsOf({u"[dbo].[child]", u"[dbo].[parent]"}).sRight),
        Lines({u"-- Run this on SERVER.two to synchronize with SERVER.one",
               u"-- Please make sure you BACK UP THE DATABASE before running this script", u"",
               u"BEGIN TRANSACTION", u"",
               //
               u"PRINT 'Deleting records in [dbo].[child]'", u"",
               u"-- Delete procedure for [dbo].[child]", u"", DeleteChild, u"",
               u"EXEC prcTmp_QVX_Delete 11", u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u"",
               //
               u"PRINT 'Deleting records in [dbo].[parent]'", u"",
               u"-- Delete procedure for [dbo].[parent]", u"", DeleteParent, u"",
               u"EXEC prcTmp_QVX_Delete 3", u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u"",
               //
               u"PRINT 'Updating records in [dbo].[parent]'", u"",
               u"-- Insert procedure for [dbo].[parent]", u"", InsertParent, u"",
               u"SET IDENTITY_INSERT [dbo].[parent] ON", u"", u"EXEC prcTmp_QVX_Insert 2, N'b'",
               u"", u"SET IDENTITY_INSERT [dbo].[parent] OFF", u"",
               u"DROP PROCEDURE prcTmp_QVX_Insert", u"", u"",
               //
               u"-- Update procedure for [dbo].[parent]", u"", UpdateParent, u"",
               u"SET IDENTITY_INSERT [dbo].[parent] ON", u"EXEC prcTmp_QVX_Update 1, N'a'", u"",
               u"SET IDENTITY_INSERT [dbo].[parent] OFF", u"DROP PROCEDURE prcTmp_QVX_Update", u"",
               u"",
               //
               u"PRINT 'Updating records in [dbo].[child]'", u"",
               u"-- Insert procedure for [dbo].[child]", u"", InsertChild, u"", u"", u"",
               u"EXEC prcTmp_QVX_Insert 12, 2", u"", u"", u"", u"DROP PROCEDURE prcTmp_QVX_Insert",
               u"", u"",
               //
               u"-- Update procedure for [dbo].[child]", u"", UpdateChild, u"", u"",
               u"EXEC prcTmp_QVX_Update 10, 1", u"", u"", u"DROP PROCEDURE prcTmp_QVX_Update", u"",
               u"",
               //
               u"COMMIT"}));
}

TEST_F(UpdateScriptsTest, TheLeftScriptWithComments) {
    MakeFamily();
    EXPECT_EQ(
        WithoutAddress(UpdateScriptsOf({u"[dbo].[child]", u"[dbo].[parent]"}).sLeft),
        Lines({u"-- Run this on SERVER.one to synchronize with SERVER.two",
               u"-- Please make sure you BACK UP THE DATABASE before running this script", u"",
               u"BEGIN TRANSACTION", u"",
               //
               u"PRINT 'Deleting records in [dbo].[child]'", u"",
               u"-- Delete procedure for [dbo].[child]", u"", DeleteChild, u"",
               u"EXEC prcTmp_QVX_Delete 12", u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u"",
               //
               u"PRINT 'Deleting records in [dbo].[parent]'", u"",
               u"-- Delete procedure for [dbo].[parent]", u"", DeleteParent, u"",
               u"EXEC prcTmp_QVX_Delete 2", u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u"",
               //
               u"PRINT 'Updating records in [dbo].[parent]'", u"",
               u"-- Insert procedure for [dbo].[parent]", InsertParent, u"",
               u"SET IDENTITY_INSERT [dbo].[parent] ON", u"", u"EXEC prcTmp_QVX_Insert 3, N'c'",
               u"", u"SET IDENTITY_INSERT [dbo].[parent] OFF", u"",
               u"DROP PROCEDURE prcTmp_QVX_Insert", u"", u"",
               //
               u"-- Update procedure for [dbo].[parent]", u"", UpdateParent, u"",
               u"SET IDENTITY_INSERT [dbo].[parent] ON", u"", u"EXEC prcTmp_QVX_Update 1, N'x'",
               u"", u"SET IDENTITY_INSERT [dbo].[parent] OFF", u"",
               u"DROP PROCEDURE prcTmp_QVX_Update", u"", u"",
               //
               u"PRINT 'Updating records in [dbo].[child]'", u"",
               u"-- Insert procedure for [dbo].[child]", InsertChild, u"", u"", u"",
               u"EXEC prcTmp_QVX_Insert 11, 3", u"", u"", u"", u"DROP PROCEDURE prcTmp_QVX_Insert",
               u"", u"",
               //
               u"-- Update procedure for [dbo].[child]", u"", UpdateChild, u"", u"", u"",
               u"EXEC prcTmp_QVX_Update 10, 3", u"", u"", u"", u"DROP PROCEDURE prcTmp_QVX_Update",
               u"", u"",
               //
               u"COMMIT"}));
}

TEST_F(UpdateScriptsTest, WithoutComments) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n int NULL)");
    RunIn(u"one", u"INSERT t VALUES (1,1),(2,2)");
    RunIn(u"two", u"INSERT t VALUES (1,NULL)");
    const Scripts scripts =
        UpdateScriptsOf(Texts{u"[dbo].[t]"}, EverythingShown | cpoNoScriptComments);
    const std::u16string deleteProcedure =
        Procedure(IfDeleteExists, u"CREATE PROCEDURE prcTmp_QVX_Delete(@P1 AS int) AS",
                  u"DELETE FROM [dbo].[t] WHERE [id]=@P1");
    const std::u16string insertProcedure =
        Procedure(IfInsertExists, u"CREATE PROCEDURE prcTmp_QVX_Insert(@P1 AS int, @P2 AS int) AS",
                  u"INSERT INTO [dbo].[t] ([id], [n]) VALUES (@P1, @P2)");
    const std::u16string updateProcedure =
        Procedure(IfUpdateExists, u"CREATE PROCEDURE prcTmp_QVX_Update(@P1 AS int, @P2 AS int) AS",
                  u"UPDATE [dbo].[t] SET [n]=@P2 WHERE [id]=@P1");
    EXPECT_EQ(scripts.sRight, Lines({u"BEGIN TRANSACTION", u"",
                                     //
                                     u"PRINT 'Updating records in [dbo].[t]'", u"", insertProcedure,
                                     u"", u"", u"", u"EXEC prcTmp_QVX_Insert 2, 2", u"", u"", u"",
                                     u"DROP PROCEDURE prcTmp_QVX_Insert", u"", u"",
                                     //
                                     updateProcedure, u"", u"", u"EXEC prcTmp_QVX_Update 1, 1", u"",
                                     u"", u"DROP PROCEDURE prcTmp_QVX_Update", u"", u"",
                                     //
                                     u"COMMIT"}));
    EXPECT_EQ(scripts.sLeft, Lines({u"BEGIN TRANSACTION", u"",
                                    //
                                    u"PRINT 'Deleting records in [dbo].[t]'", u"", deleteProcedure,
                                    u"", u"EXEC prcTmp_QVX_Delete 2", u"",
                                    u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u"",
                                    //
                                    u"PRINT 'Updating records in [dbo].[t]'", u"", updateProcedure,
                                    u"", u"", u"", u"EXEC prcTmp_QVX_Update 1, NULL", u"", u"", u"",
                                    u"DROP PROCEDURE prcTmp_QVX_Update", u"", u"",
                                    //
                                    u"COMMIT"}));
}

TEST_F(UpdateScriptsTest, NoTables) {
    const Scripts scripts = UpdateScriptsOf(Texts{});
    EXPECT_EQ(WithoutAddress(scripts.sRight),
              Lines({u"-- Run this on SERVER.two to synchronize with SERVER.one",
                     u"-- Please make sure you BACK UP THE DATABASE before running this script",
                     u"", u"BEGIN TRANSACTION", u"", u"COMMIT"}));
    EXPECT_EQ(WithoutAddress(scripts.sLeft),
              Lines({u"-- Run this on SERVER.one to synchronize with SERVER.two",
                     u"-- Please make sure you BACK UP THE DATABASE before running this script",
                     u"", u"BEGIN TRANSACTION", u"", u"COMMIT"}));
    EXPECT_EQ(statuses,
              (std::vector<StatusEvent>{{u"Ordering scripts", 0}, {u"Ordering scripts", 0}}));
}

TEST_F(UpdateScriptsTest, ViewsAndTablesWithoutAKeyOrWithAnErrorGetNoSection) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n int NULL)\nGO\n"
        u"CREATE TABLE keyless (a int)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    RunIn(u"one", u"INSERT t VALUES (1,1)\nGO\nINSERT keyless VALUES (1)");
    utils.SuppressCompareProcessErrors(true);
    server.AddFault(ErrorIn(u"[one].[dbo].[t] UNION"));
    const Scripts scripts = UpdateScriptsOf({u"[dbo].[v]", u"[dbo].[keyless]", u"[dbo].[t]"},
                                            EverythingShown | cpoNoScriptComments);
    EXPECT_EQ(scripts.sRight, NoSections);
    EXPECT_EQ(scripts.sLeft, NoSections);
    // Nor are their rows read.
    for (const auto& batch : Batches(server))
        EXPECT_FALSE(Holds(batch, u"T1"));
}

TEST_F(UpdateScriptsTest, OneConnectionReadsTheRowsOfAllTables) {
    MakeFamily();
    UpdateScriptsOf(Compare({u"[dbo].[child]", u"[dbo].[parent]"}));
    // The other login reads the catalog of database 1.
    EXPECT_EQ(Logins(server), 2);
}

TEST_F(UpdateScriptsTest, TablesOfACycleAreLeftOutOfBothScripts) {
    RunInBoth(
        u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY, b int NULL)\nGO\n"
        u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY, a int REFERENCES a)\nGO\n"
        u"ALTER TABLE a ADD CONSTRAINT FK_a FOREIGN KEY (b) REFERENCES b (id)");
    RunIn(u"one", u"INSERT a VALUES (1,NULL)\nINSERT b VALUES (1,1)");
    const Scripts scripts =
        UpdateScriptsOf({u"[dbo].[a]", u"[dbo].[b]"}, EverythingShown | cpoNoScriptComments);
    EXPECT_EQ(scripts.sRight, NoSections);
    EXPECT_EQ(scripts.sLeft, NoSections);
}

// The views are counted in each pass: the count is reached before the end of the chain is placed.
TEST_F(UpdateScriptsTest, TwoViewsLeaveTheEndOfAChainOutOfBothScripts) {
    RunInBoth(
        u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY)\nGO\n"
        u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY REFERENCES a)\nGO\n"
        u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY REFERENCES b)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.a\nGO\n"
        u"CREATE VIEW w WITH SCHEMABINDING AS SELECT id FROM dbo.a\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON w (id)");
    RunIn(u"one", u"INSERT a VALUES (1)\nINSERT b VALUES (1)\nINSERT c VALUES (1)");
    const Scripts scripts =
        UpdateScriptsOf({u"[dbo].[v]", u"[dbo].[w]", u"[dbo].[c]", u"[dbo].[b]", u"[dbo].[a]"});
    EXPECT_EQ(CallsIn(scripts.sRight),
              (Texts{u"EXEC prcTmp_QVX_Insert 1", u"EXEC prcTmp_QVX_Insert 1"}));
    EXPECT_EQ(CallsIn(scripts.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 1", u"EXEC prcTmp_QVX_Delete 1"}));
    for (const auto& script : {scripts.sRight, scripts.sLeft}) {
        EXPECT_TRUE(Holds(script, u"[dbo].[b]'"));
        EXPECT_FALSE(Holds(script, u"[dbo].[c]"));
    }
}

// Its update procedure would set nothing, and be refused; but no column can differ.
TEST_F(UpdateScriptsTest, ATableOfKeysAloneGetsNoUpdates) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, twice AS (id*2), stamp "
        u"timestamp NOT NULL)");
    RunIn(u"one", u"INSERT t (id) VALUES (1),(2)");
    RunIn(u"two", u"INSERT t (id) VALUES (3),(2)");
    const Scripts scripts = UpdateScriptsOf({u"[dbo].[t]"});
    EXPECT_EQ(CallsIn(scripts.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Insert 1"}));
    EXPECT_EQ(CallsIn(scripts.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 1", u"EXEC prcTmp_QVX_Insert 3"}));
    for (const auto& script : {scripts.sRight, scripts.sLeft})
        EXPECT_FALSE(Holds(script, u"prcTmp_QVX_Update"));
}

// Deletes go from the last placed to the first, tables of one pass in the order of placing;
// inserts and updates go the other way.
TEST_F(UpdateScriptsTest, TablesOfOneSequenceKeepTheirOrderInBothPasses) {
    RunInBoth(
        u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY)\nGO\n"
        u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY)\nGO\n"
        u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY REFERENCES a)\nGO\n"
        u"CREATE TABLE d (id int NOT NULL CONSTRAINT PK_d PRIMARY KEY REFERENCES b)");
    RunIn(u"one",
          u"INSERT a VALUES (1)\nINSERT b VALUES (1)\nINSERT c VALUES (1)\nINSERT d VALUES (1)");
    const Scripts scripts =
        UpdateScriptsOf({u"[dbo].[c]", u"[dbo].[d]", u"[dbo].[a]", u"[dbo].[b]"});
    const auto prints = [](const std::u16string& script) {
        Texts lines;
        for (std::size_t at = script.find(u"PRINT "); at != script.npos;
             at = script.find(u"PRINT ", at + 1)) {
            lines.push_back(script.substr(at, script.find(u"\r\n", at) - at));
        }
        return lines;
    };
    EXPECT_EQ(prints(scripts.sRight), (Texts{u"PRINT 'Updating records in [dbo].[a]'",
                                             u"PRINT 'Updating records in [dbo].[b]'",
                                             u"PRINT 'Updating records in [dbo].[c]'",
                                             u"PRINT 'Updating records in [dbo].[d]'"}));
    EXPECT_EQ(prints(scripts.sLeft), (Texts{u"PRINT 'Deleting records in [dbo].[c]'",
                                            u"PRINT 'Deleting records in [dbo].[d]'",
                                            u"PRINT 'Deleting records in [dbo].[a]'",
                                            u"PRINT 'Deleting records in [dbo].[b]'"}));
}

TEST_F(UpdateScriptsTest, ProgressReachesAHundredWhenEveryTableIsPlaced) {
    MakeFamily();
    UpdateScriptsOf({u"[dbo].[child]", u"[dbo].[parent]"});
    EXPECT_EQ(statuses, (std::vector<StatusEvent>{{u"Buliding script for [dbo].[child]", 17},
                                                  {u"Buliding script for [dbo].[parent]", 33},
                                                  {u"Ordering scripts", 33},
                                                  {u"Ordering scripts", 33},
                                                  {u"Outputting scripts", 50},
                                                  {u"Outputting scripts", 67},
                                                  {u"Outputting scripts", 83},
                                                  {u"Outputting scripts", 100}}));
}

TEST_F(UpdateScriptsTest, TablesThatAreNotPlacedTakeNoSteps) {
    MakeFamily();
    RunInBoth(u"CREATE TABLE keyless (a int)");
    UpdateScriptsOf({u"[dbo].[child]", u"[dbo].[keyless]", u"[dbo].[parent]"});
    EXPECT_EQ(statuses, (std::vector<StatusEvent>{{u"Buliding script for [dbo].[child]", 11},
                                                  {u"Buliding script for [dbo].[keyless]", 22},
                                                  {u"Buliding script for [dbo].[parent]", 33},
                                                  {u"Ordering scripts", 33},
                                                  {u"Ordering scripts", 33},
                                                  {u"Outputting scripts", 44},
                                                  {u"Outputting scripts", 56},
                                                  {u"Outputting scripts", 67},
                                                  {u"Outputting scripts", 78}}));
}

TEST_F(UpdateScriptsTest, CancelledWhileBuildingNothingIsWritten) {
    MakeFamily();
    const Scripts scripts = CancelledScripts(2);
    EXPECT_EQ(scripts.sRight, u"");
    EXPECT_EQ(scripts.sLeft, u"");
    EXPECT_EQ(statuses.size(), 2U);
    // The table of the cancelled step is not read any more.
    for (const auto& batch : Batches(server))
        EXPECT_FALSE(Holds(batch, u"parent"));
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(UpdateScriptsTest, CancelledWhileOrderingNothingIsWritten) {
    MakeFamily();
    for (const std::size_t number : {3U, 4U}) {
        const Scripts scripts = CancelledScripts(number);
        EXPECT_EQ(scripts.sRight, u"");
        EXPECT_EQ(scripts.sLeft, u"");
        EXPECT_EQ(statuses.size(), number);
        onStatus = nullptr;
    }
}

TEST_F(UpdateScriptsTest, CancelledInTheDeletePassTheScriptsKeepWhatTheyHold) {
    MakeFamily();
    const Scripts scripts = CancelledScripts(6);
    EXPECT_EQ(scripts.sRight,
              Lines({u"BEGIN TRANSACTION", u"", u"PRINT 'Deleting records in [dbo].[child]'", u"",
                     DeleteChild, u"", u"EXEC prcTmp_QVX_Delete 11", u"",
                     u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u""}));
    EXPECT_EQ(statuses.size(), 6U);
}

TEST_F(UpdateScriptsTest, CancelledInTheInsertPassTheScriptsKeepTheDeletes) {
    MakeFamily();
    const Scripts scripts = CancelledScripts(7);
    EXPECT_EQ(
        scripts.sLeft,
        Lines({u"BEGIN TRANSACTION", u"",
               //
               u"PRINT 'Deleting records in [dbo].[child]'", u"", DeleteChild, u"",
               u"EXEC prcTmp_QVX_Delete 12", u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u"",
               //
               u"PRINT 'Deleting records in [dbo].[parent]'", u"", DeleteParent, u"",
               u"EXEC prcTmp_QVX_Delete 2", u"", u"DROP PROCEDURE prcTmp_QVX_Delete", u"", u""}));
    EXPECT_EQ(statuses.size(), 7U);
}

TEST_F(UpdateScriptsTest, AFailingRowSetReachesTheCaller) {
    MakeFamily();
    const auto results = Compare({u"[dbo].[child]", u"[dbo].[parent]"});
    server.AddFault(ErrorIn(u"NOT EXISTS", 3));
    std::u16string left = u"as it was";
    std::u16string right = u"as it was";
    const Raised raised = RaisedBy(
        [&] { utils.GetUpdateScripts(one, two, one, results, left, right, EverythingShown, 0); });
    EXPECT_TRUE(Holds(raised.description, u"made to fail"));
    EXPECT_EQ(left, u"");
    EXPECT_EQ(right, u"");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(UpdateScriptsTest, AFailingCatalogReachesTheCaller) {
    MakeFamily();
    const auto results = Compare({u"[dbo].[parent]"});
    one->CheckDependencies(true);
    server.AddFault(ErrorIn(u"sysreferences"));
    std::u16string left;
    std::u16string right;
    const Raised raised = RaisedBy(
        [&] { utils.GetUpdateScripts(one, two, one, results, left, right, EverythingShown, 0); });
    EXPECT_TRUE(Holds(raised.description, u"made to fail"));
    EXPECT_EQ(right, u"");
}

TEST_F(UpdateScriptsTest, TheFlagsDecideWhichRowsAreCovered) {
    MakeFamily();
    const auto results = Compare({u"[dbo].[child]"});
    const Scripts scripts = UpdateScriptsOf(results, cpoShowAdditional | cpoNoScriptComments);
    EXPECT_EQ(Batches(server).front(),
              u"SELECT T2.* FROM [two].[dbo].[child] T2 WHERE NOT EXISTS (SELECT * FROM "
              u"[one].[dbo].[child] T1 WHERE T1.[id]=T2.[id] )");
    EXPECT_FALSE(Holds(scripts.sRight, u"Insert"));
    EXPECT_TRUE(Holds(scripts.sRight, u"EXEC prcTmp_QVX_Delete 11"));
    EXPECT_TRUE(Holds(scripts.sLeft, u"EXEC prcTmp_QVX_Insert 11, 3"));
}

TEST_F(UpdateScriptsTest, TheLimitIsInTheQueriesAndTheScripts) {
    RunInBoth(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n int NULL)");
    RunIn(u"one", u"INSERT t VALUES (1,1),(2,2),(3,3)");
    const Scripts scripts =
        UpdateScriptsOf({u"[dbo].[t]"}, cpoShowMissing | cpoLimitRecordsReturned, 1);
    EXPECT_EQ(Batches(server).front(),
              u"SELECT TOP 1 T1.* FROM [one].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
              u"[two].[dbo].[t] T2 WHERE T1.[id]=T2.[id] )");
    EXPECT_EQ(CallsIn(scripts.sRight), Texts{u"EXEC prcTmp_QVX_Insert 1, 1"});
    EXPECT_EQ(CallsIn(scripts.sLeft), Texts{u"EXEC prcTmp_QVX_Delete 1"});
}

}  // namespace
}  // namespace QuillonLib
