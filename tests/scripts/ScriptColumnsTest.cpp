// Which columns the call lines of both operations carry, and in what order.
#include "scripts/ScriptColumns.h"

#include <gtest/gtest.h>

#include "ScriptsFixture.h"

namespace QuillonLib {
namespace {

class ScriptColumnsTest : public ScriptsFixture {
  protected:
    // One row that differs, one on either side only.
    void MakeReplicated() {
        RunInBoth(
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, twice AS (n*2), stamp "
            u"timestamp NOT NULL, MSREPL_TRAN_VERSION uniqueidentifier NOT NULL, n int NULL)");
        RunIn(u"one",
              u"INSERT t (id,MSREPL_TRAN_VERSION,n) VALUES "
              u"(1,'AAAAAAAA-0000-0000-0000-000000000001',10),"
              u"(2,'AAAAAAAA-0000-0000-0000-000000000002',20)");
        RunIn(u"two",
              u"INSERT t (id,MSREPL_TRAN_VERSION,n) VALUES "
              u"(1,'BBBBBBBB-0000-0000-0000-000000000001',11),"
              u"(3,'BBBBBBBB-0000-0000-0000-000000000003',NULL)");
    }
};

TEST_F(ScriptColumnsTest, ComputedAndTimestampColumnsAreInNoCallOfATable) {
    MakeReplicated();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]");
    EXPECT_EQ(CallsIn(outputs.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 3",
                     u"EXEC prcTmp_QVX_Update 1, '{AAAAAAAA-0000-0000-0000-000000000001}', 10",
                     u"EXEC prcTmp_QVX_Insert 2, '{AAAAAAAA-0000-0000-0000-000000000002}', 20"}));
    EXPECT_EQ(CallsIn(outputs.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 2",
                     u"EXEC prcTmp_QVX_Update 1, '{BBBBBBBB-0000-0000-0000-000000000001}', 11",
                     u"EXEC prcTmp_QVX_Insert 3, '{BBBBBBBB-0000-0000-0000-000000000003}', NULL"}));
}

TEST_F(ScriptColumnsTest, ReplicationColumnsAreInNoCallOfATableOnRequest) {
    MakeReplicated();
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", EverythingShown | cpoIgnoreReplCols);
    EXPECT_EQ(CallsIn(outputs.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Update 1, 10",
                     u"EXEC prcTmp_QVX_Insert 2, 20"}));
    EXPECT_EQ(CallsIn(outputs.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 2", u"EXEC prcTmp_QVX_Update 1, 11",
                     u"EXEC prcTmp_QVX_Insert 3, NULL"}));
}

TEST_F(ScriptColumnsTest, ComputedAndTimestampColumnsAreInNoCallOfAComparison) {
    MakeReplicated();
    const Scripts scripts = UpdateScriptsOf({u"[dbo].[t]"});
    EXPECT_EQ(CallsIn(scripts.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 3",
                     u"EXEC prcTmp_QVX_Insert 2, '{AAAAAAAA-0000-0000-0000-000000000002}', 20",
                     u"EXEC prcTmp_QVX_Update 1, '{AAAAAAAA-0000-0000-0000-000000000001}', 10"}));
    EXPECT_EQ(CallsIn(scripts.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 2",
                     u"EXEC prcTmp_QVX_Insert 3, '{BBBBBBBB-0000-0000-0000-000000000003}', NULL",
                     u"EXEC prcTmp_QVX_Update 1, '{BBBBBBBB-0000-0000-0000-000000000001}', 11"}));
}

TEST_F(ScriptColumnsTest, ReplicationColumnsAreInNoCallOfAComparisonOnRequest) {
    MakeReplicated();
    const Scripts scripts = UpdateScriptsOf({u"[dbo].[t]"}, EverythingShown | cpoIgnoreReplCols);
    EXPECT_EQ(CallsIn(scripts.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Insert 2, 20",
                     u"EXEC prcTmp_QVX_Update 1, 10"}));
    EXPECT_EQ(CallsIn(scripts.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 2", u"EXEC prcTmp_QVX_Insert 3, NULL",
                     u"EXEC prcTmp_QVX_Update 1, 11"}));
}

// Neither key order nor that of the names: the parameters are named nowhere in a call.
TEST_F(ScriptColumnsTest, DeletesNameTheKeyInTheOrderOfTheProcedure) {
    RunInBoth(
        u"CREATE TABLE t (n int NULL, b int NOT NULL, a int NOT NULL, CONSTRAINT PK_t PRIMARY KEY "
        u"(a, b))");
    RunIn(u"one", u"INSERT t (n,b,a) VALUES (1,20,300)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[t]", cpoShowMissing);
    EXPECT_TRUE(Holds(outputs.sLeft,
                      u"\r\nCREATE PROCEDURE prcTmp_QVX_Delete(@P2 AS int, @P3 AS int) "
                      u"AS\r\nDELETE FROM [dbo].[t] WHERE [b]=@P2 AND [a]=@P3\r\n"));
    EXPECT_EQ(CallsIn(outputs.sLeft), Texts{u"EXEC prcTmp_QVX_Delete 20, 300"});
    EXPECT_EQ(CallsIn(outputs.sRight), Texts{u"EXEC prcTmp_QVX_Insert 1, 20, 300"});
}

// A row that is found by a key that no line can name would be missed, or another one hit.
TEST_F(ScriptColumnsTest, AReplicationKeyColumnRaisesOnRequestOnly) {
    RunInBoth(
        u"CREATE TABLE t (MSREPL_TRAN_VERSION uniqueidentifier NOT NULL CONSTRAINT PK_t PRIMARY "
        u"KEY, n int NULL)");
    RunIn(u"one", u"INSERT t VALUES ('AAAAAAAA-0000-0000-0000-000000000001',1)");
    TableOutputs outputs;
    const auto result = CompareOne(u"[dbo].[t]");
    const Raised raised =
        RaisedBy([&] { GetRecordsets(result, outputs, EverythingShown | cpoIgnoreReplCols); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040002));
    EXPECT_EQ(raised.description,
              u"No script can be written for [dbo].[t]: its key column [MSREPL_TRAN_VERSION] "
              u"cannot be written into a script");
    EXPECT_EQ(outputs.right->RecordCount(), 1U);
    EXPECT_EQ(outputs.sRight, u"as it was");
    EXPECT_EQ(outputs.sLeft, u"as it was");

    GetRecordsets(result, outputs);
    EXPECT_EQ(CallsIn(outputs.sLeft),
              Texts{u"EXEC prcTmp_QVX_Delete '{AAAAAAAA-0000-0000-0000-000000000001}'"});
}

TEST_F(ScriptColumnsTest, AKeyColumnOutsideScriptsRaisesForRowsOfDatabase2Alone) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL, stamp timestamp NOT NULL)\nGO\n"
        u"CREATE UNIQUE INDEX ix ON t (stamp)");
    RunIn(u"two", u"INSERT t (id) VALUES (1)");
    const auto result = CompareOne(u"[dbo].[t]");
    TableOutputs outputs;
    EXPECT_EQ(RaisedBy([&] { GetRecordsets(result, outputs); }).number,
              static_cast<std::int32_t>(0x80040002));
}

TEST_F(ScriptColumnsTest, AKeyColumnOutsideScriptsDoesNotMatterInAView) {
    RunInBoth(
        u"CREATE TABLE t (id int NOT NULL, stamp timestamp NOT NULL)\nGO\n"
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, stamp FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (stamp)");
    RunIn(u"one", u"INSERT t (id) VALUES (1)");
    const TableOutputs outputs = RecordsetsOf(u"[dbo].[v]", EverythingShown | cpoNoScriptComments);
    EXPECT_EQ(outputs.right->RecordCount(), 1U);
    EXPECT_EQ(outputs.sRight, NoSections);
    EXPECT_EQ(outputs.sLeft, NoSections);
}

// A table whose key no script can carry, another that refers to it, and one beside them.
class KeyOutsideScriptsTest : public ScriptsFixture,
                              public ::testing::WithParamInterface<const char16_t*> {
  protected:
    KeyOutsideScriptsTest() {
        RunInBoth(std::u16string(u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, ") +
                  GetParam() +
                  u")\nGO\nCREATE TABLE child (id int NOT NULL CONSTRAINT PK_child PRIMARY KEY, t "
                  u"int REFERENCES t)\nGO\n"
                  u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY)");
        // The same one row on both sides, whose keys differ or not.
        RunInBoth(u"INSERT t (id) VALUES (1)");
        RunIn(u"one", u"INSERT t (id) VALUES (2)\nINSERT child VALUES (10,1)\nINSERT a VALUES (1)");
        RunIn(u"two", u"INSERT t (id) VALUES (3)\nINSERT child VALUES (20,1)\nINSERT a VALUES (2)");
        indexes.Add(u"ix", u"[dbo].[t]");
    }
};

TEST_P(KeyOutsideScriptsTest, IsLeftOutOfAWholeComparison) {
    const auto options = EverythingShown | cpoIgnoreReplCols | cpoNoScriptComments;
    const Scripts scripts =
        UpdateScriptsOf({u"[dbo].[t]", u"[dbo].[child]", u"[dbo].[a]"}, options);
    EXPECT_EQ(CallsIn(scripts.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 20", u"EXEC prcTmp_QVX_Delete 2",
                     u"EXEC prcTmp_QVX_Insert 10, 1", u"EXEC prcTmp_QVX_Insert 1"}));
    EXPECT_EQ(CallsIn(scripts.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 10", u"EXEC prcTmp_QVX_Delete 1",
                     u"EXEC prcTmp_QVX_Insert 20, 1", u"EXEC prcTmp_QVX_Insert 2"}));
    for (const auto& script : {scripts.sRight, scripts.sLeft})
        EXPECT_FALSE(Holds(script, u"[dbo].[t]"));
    for (const auto& batch : Batches(server))
        EXPECT_FALSE(Holds(batch, u"[dbo].[t] T1"));
}

TEST_P(KeyOutsideScriptsTest, TakesItsStepsAllTheSame) {
    UpdateScriptsOf({u"[dbo].[t]", u"[dbo].[child]", u"[dbo].[a]"},
                    EverythingShown | cpoIgnoreReplCols);
    EXPECT_EQ(statuses.back(), (StatusEvent{u"Outputting scripts", 100}));
}

TEST_P(KeyOutsideScriptsTest, RaisesForTheTableAlone) {
    one->CheckDependencies(false);
    const auto result = CompareOne(u"[dbo].[t]");
    TableOutputs outputs;
    EXPECT_EQ(RaisedBy([&] {
                  GetRecordsets(result, outputs, EverythingShown | cpoIgnoreReplCols);
              }).number,
              static_cast<std::int32_t>(0x80040002));
}

INSTANTIATE_TEST_SUITE_P(
    Types, KeyOutsideScriptsTest,
    ::testing::Values(u"k AS (id*2), CONSTRAINT ix UNIQUE (k)",
                      u"k timestamp NOT NULL CONSTRAINT ix UNIQUE",
                      u"msrepl_tran_version uniqueidentifier NOT NULL DEFAULT NEWID() CONSTRAINT "
                      u"ix UNIQUE"));

}  // namespace
}  // namespace QuillonLib
