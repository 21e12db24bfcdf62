// What the scripts of one table do, and on what they depend.
#include <gtest/gtest.h>

#include "ScriptBatches.h"
#include "ScriptsFixture.h"

namespace QuillonLib {
namespace {

class ScriptedTableTest : public ScriptsFixture {
  protected:
    // One row that agrees, one that differs, two on either side only.
    void MakeTable(const std::u16string& name = u"t", const std::u16string& id = u"int NOT NULL") {
        RunInBoth(u"CREATE TABLE [" + name + u"] (id " + id + u" CONSTRAINT [PK " + name +
                  u"] PRIMARY KEY, n nvarchar(10) NULL, d int NULL)");
        const bool identity = id.find(u"IDENTITY") != std::u16string::npos;
        const std::u16string insert =
            (identity ? u"SET IDENTITY_INSERT [" + name + u"] ON\n" : std::u16string()) +
            u"INSERT [" + name + u"] (id,n,d) VALUES ";
        RunIn(u"one", insert + u"(1,N'same',1),(2,N'one',2),(3,NULL,3),(5,N'e',5)");
        RunIn(u"two", insert + u"(1,N'same',1),(2,N'two',2),(4,N'd',-4),(6,N'f',6)");
    }
    static std::size_t CountOf(const std::u16string& text, std::u16string_view piece) {
        std::size_t count = 0;
        for (std::size_t at = text.find(piece); at != text.npos; at = text.find(piece, at + 1))
            ++count;
        return count;
    }
};

TEST_F(ScriptedTableTest, EitherScriptMakesTheTablesAgree) {
    MakeTable();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]");
    RunScript(*two, outputs.sRight);
    EXPECT_TRUE(CompareOne(u"[dbo].[t]")->Identical());
    EXPECT_EQ(server.Scalar(u"SELECT n FROM two..t WHERE id = 2"), u"one");

    MakeTable(u"u", u"int IDENTITY NOT NULL");
    const TableOutputs ofIdentity = RecordsetsOf(u"[dbo].[u]");
    RunScript(*one, ofIdentity.sLeft);
    EXPECT_TRUE(CompareOne(u"[dbo].[u]")->Identical());
    EXPECT_EQ(server.Scalar(u"SELECT n FROM one..u WHERE id = 2"), u"two");
    EXPECT_EQ(server.Scalar(u"SELECT COUNT(*) FROM one..u"), u"4");
}

TEST_F(ScriptedTableTest, TheLimitCountsOnlyWithItsFlag) {
    MakeTable();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", EverythingShown, 1);
    EXPECT_EQ(outputs.right->RecordCount(), 2U);
    for (const auto& batch : Batches(server))
        EXPECT_EQ(batch.find(u"TOP"), std::u16string::npos);
    EXPECT_EQ(CallsIn(UpdateScriptsOf({u"[dbo].[t]"}, EverythingShown, 1).sRight).size(), 5U);
    EXPECT_EQ(
        CallsIn(
            UpdateScriptsOf({u"[dbo].[t]"}, EverythingShown | cpoLimitRecordsReturned, 1).sRight)
            .size(),
        3U);
}

TEST_F(ScriptedTableTest, AColumnThatHasGoneIsMissedOnlyByRows) {
    MakeTable();
    RunIn(u"two", u"DELETE FROM t WHERE id IN (4, 6)");
    const auto result = CompareOne(u"[dbo].[t]");
    RunIn(u"two", u"ALTER TABLE t DROP COLUMN d");
    TableOutputs outputs;
    GetRecordsets(result, outputs, cpoShowMissing | cpoShowAdditional);
    EXPECT_EQ(outputs.left->RecordCount(), 0U);
    EXPECT_EQ(CallsIn(outputs.sRight),
              (Texts{u"EXEC prcTmp_QVX_Insert 3, NULL, 3", u"EXEC prcTmp_QVX_Insert 5, N'e', 5"}));

    RunIn(u"one", u"ALTER TABLE t DROP COLUMN d");
    TableOutputs failed;
    EXPECT_EQ(RaisedBy([&] { GetRecordsets(result, failed, cpoShowMissing); }).number, 3265);
}

TEST_F(ScriptedTableTest, AnIdentityIsSwitchedEvenAroundNothing) {
    RunInBoth(u"CREATE TABLE t (id int IDENTITY NOT NULL CONSTRAINT PK_t PRIMARY KEY, n int NULL)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", EverythingShown | cpoNoScriptComments);
    for (const auto& script : {outputs.sRight, outputs.sLeft}) {
        EXPECT_EQ(CountOf(script, u"SET IDENTITY_INSERT [dbo].[t] ON\r\n"), 1U);
        EXPECT_EQ(CountOf(script, u"SET IDENTITY_INSERT [dbo].[t] OFF\r\n"), 1U);
        EXPECT_LT(script.find(u"] ON"), script.find(u"] OFF"));
        EXPECT_EQ(CallsIn(script), Texts{});
    }
}

TEST_F(ScriptedTableTest, AViewOfAnIdentityIsSwitchedNowhere) {
    MakeTable(u"t", u"int IDENTITY NOT NULL");
    RunInBoth(
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, n FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[v]", EverythingShown | cpoNoScriptComments);
    EXPECT_EQ(outputs.right->RecordCount(), 2U);
    EXPECT_EQ(outputs.sRight, u"BEGIN TRANSACTION\r\n\r\nCOMMIT\r\n");
    EXPECT_EQ(outputs.sLeft, u"BEGIN TRANSACTION\r\n\r\nCOMMIT\r\n");
}

TEST_F(ScriptedTableTest, CallersMayChangeWhatIsComparedAndByWhat) {
    MakeTable();
    RunInBoth(u"UPDATE t SET d = 100 + id WHERE id = 1");
    RunIn(u"two", u"UPDATE t SET d = 0 WHERE id = 1");
    const auto result = CompareOne(u"[dbo].[t]");
    result->Columns()->Item(u"d")->CannotCompare(true);
    TableOutputs outputs;
    server.ClearLog();
    GetRecordsets(result, outputs, cpoShowDifferent);
    EXPECT_EQ(outputs.different->RecordCount(), 1U);
    EXPECT_EQ(Batches(server).front().find(u"T1.[d]<>"), std::u16string::npos);
    // What cannot be compared is written all the same.
    EXPECT_EQ(CallsIn(outputs.sRight), Texts{u"EXEC prcTmp_QVX_Update 2, N'one', 2"});

    result->Columns()->Item(u"n")->PrimaryKey(true);
    result->Columns()->Item(u"id")->PrimaryKey(false);
    server.ClearLog();
    GetRecordsets(result, outputs, cpoShowMissing);
    EXPECT_EQ(Batches(server),
              Texts{u"SELECT T1.* FROM [one].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
                    u"[two].[dbo].[t] T2 WHERE T1.[n]=T2.[n] )"});
    EXPECT_NE(outputs.sLeft.find(u"DELETE FROM [dbo].[t] WHERE [n]=@P2"), std::u16string::npos)
        << ToUtf8(outputs.sLeft);
}

// Updates need their own procedure and no other; rows of one side need a procedure on each.
TEST_F(ScriptedTableTest, EachRowSetBringsItsOwnProcedures) {
    MakeTable();
    struct Expected {
        enShowOptions shown;
        Texts right;
        Texts left;
    };
    const Texts procedures{u"prcTmp_QVX_Delete", u"prcTmp_QVX_Insert", u"prcTmp_QVX_Update"};
    for (const Expected& expected :
         {Expected{cpoShowDifferent, {procedures[2]}, {procedures[2]}},
          Expected{cpoShowMissing, {procedures[1]}, {procedures[0]}},
          Expected{cpoShowAdditional, {procedures[0]}, {procedures[1]}}}) {
        const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", expected.shown);
        const auto defined = [&](const std::u16string& script) {
            Texts found;
            for (const auto& procedure : procedures) {
                const std::size_t created = CountOf(script, u"CREATE PROCEDURE " + procedure);
                EXPECT_EQ(CountOf(script, u"\r\nDROP PROCEDURE " + procedure), created);
                EXPECT_EQ(CountOf(script, u"EXEC " + procedure) > 0, created > 0);
                if (created > 0) found.push_back(procedure);
            }
            return found;
        };
        EXPECT_EQ(defined(outputs.sRight), expected.right);
        EXPECT_EQ(defined(outputs.sLeft), expected.left);
    }
}

TEST_F(ScriptedTableTest, NamesStandAsTheyAreOutsideOfBrackets) {
    MakeTable(u"O'Brien");
    const Scripts scripts = UpdateScriptsOf({u"[dbo].[O'Brien]"});
    EXPECT_NE(scripts.sRight.find(u"PRINT 'Deleting records in [dbo].[O'Brien]'\r\n"),
              std::u16string::npos);
    EXPECT_NE(scripts.sRight.find(u"-- Delete procedure for [dbo].[O'Brien]\r\n"),
              std::u16string::npos);
    EXPECT_NE(scripts.sRight.find(u"DELETE FROM [dbo].[O'Brien] WHERE"), std::u16string::npos);
}

TEST_F(ScriptedTableTest, ASuccessfulScriptLeavesNoConnection) {
    MakeTable();
    UpdateScriptsOf({u"[dbo].[t]"});
    EXPECT_EQ(ConnectionsLeft(server), 0);
    RecordsetsOf(u"[dbo].[t]");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(ScriptedTableTest, RowsAreReadInTheDatabaseOfTheThird) {
    MakeTable();
    const auto result = CompareOne(u"[dbo].[t]");
    const auto missing = MakeDatabase(u"nowhere");
    TableOutputs outputs;
    const auto get = [&](const std::shared_ptr<Database>& third) {
        utils.GetRecordsets(one, two, third, result, outputs.equal, outputs.different,
                            outputs.right, outputs.left, outputs.sRight, outputs.sLeft,
                            cpoShowMissing, 0);
    };
    EXPECT_EQ(RaisedBy([&] { get(missing); }).number, static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(outputs.sRight, u"as it was");
    server.ClearLog();
    get(two);
    for (const auto& entry : server.Log())
        EXPECT_EQ(entry.database, u"two");
    EXPECT_EQ(outputs.right->RecordCount(), 2U);
}

}  // namespace
}  // namespace QuillonLib
