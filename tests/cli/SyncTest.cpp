#include <gtest/gtest.h>

#include "cli/ScriptRunner.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

TEST_F(ProgramTest, SyncWithoutAYesChangesNothing) {
    const Outcome outcome = OnBoth({"sync", "--to", "2"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(ProgramTest, SyncExplainsAConstraintAndLeavesEverythingAsItWas) {
    const Outcome outcome = OnBoth({"sync", "--to", "2", "--yes"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("failed, and everything was rolled back:"), std::string::npos);
    EXPECT_NE(
        outcome.err.find("cannot satisfy the foreign key FK_c at every step; run it again with "
                         "--suspend-constraints."),
        std::string::npos)
        << outcome.err;
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(ProgramTest, SyncWithSuspendedConstraintsEndsIdentical) {
    const Outcome outcome = OnBoth({"sync", "--to", "2", "--yes", "--suspend-constraints"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("2 tables: 2 identical, 0 different\n"), std::string::npos);
    EXPECT_EQ(RowsOfB(), u"2 one");
    EXPECT_EQ(server.Scalar(u"USE b SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1 OR "
                            u"is_not_trusted = 1"),
              u"0");
    const Outcome again = OnBoth({"sync", "--to", "2", "--yes"});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_NE(again.out.find("Nothing to do.\n"), std::string::npos);
}

TEST_F(ProgramTest, SyncIntoDatabase1) {
    EXPECT_EQ(OnBoth({"sync", "--to", "1", "--yes", "--suspend-constraints"}).exitCode, 0);
    EXPECT_EQ(server.Scalar(u"USE a SELECT n FROM p WHERE id = 3"), u"three");
}

TEST_F(ProgramTest, ADroppedConnectionInTheMiddleOfASyncChangesNothing) {
    sandbox::Fault drop;
    drop.kind = sandbox::FaultKind::Drop;
    drop.contains = u"EXEC prcTmp_QVX_Update";
    server.AddFault(drop);
    EXPECT_EQ(OnBoth({"sync", "--to", "2", "--yes", "--suspend-constraints"}).exitCode, 2);
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(RowsOfB(), u"2 three");
}

}  // namespace
}  // namespace quillon
