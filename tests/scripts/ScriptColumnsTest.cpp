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

}  // namespace
}  // namespace QuillonLib
