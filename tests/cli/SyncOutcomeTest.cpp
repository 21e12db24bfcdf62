// What sync says when it cannot know how its transaction ended, and when it is interrupted.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <thread>

#include "tests/cli/Process.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class SyncOutcomeTest : public ProgramTest {
  protected:
    // Strikes the batch that ends the transaction.
    void LoseTheAnswer(sandbox::FaultKind kind, int nth = 1) {
        server.AddFault({.kind = kind, .contains = u"COMMIT", .nth = nth});
    }
    Outcome Sync() const {
        return OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "p"});
    }
    SyncOutcomeTest() {
        RunOnBoth(u"DROP TABLE c");
        unknown = "quillon: the connection to " + two +
                  " ended while the transaction was being committed. Whether the server has "
                  "committed it is not known:\n";
    }
    std::string unknown;
};

TEST_F(SyncOutcomeTest, ALostAnswerIsToldAndAnIdenticalSecondLookIsExitCode0) {
    LoseTheAnswer(sandbox::FaultKind::DropAfterRows);
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, unknown)) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "quillon: comparing again to find out\n"));
    EXPECT_TRUE(Holds(outcome.err, "quillon: the databases are identical now\n")) << outcome.err;
    EXPECT_FALSE(Holds(outcome.err, "rolled back"));
    EXPECT_TRUE(Holds(outcome.out, "1 table: 1 identical, 0 different\n")) << outcome.out;
    EXPECT_EQ(RowsOfB(), u"2 one");
}

TEST_F(SyncOutcomeTest, ALostAnswerWithDifferencesLeftIsExitCode2) {
    LoseTheAnswer(sandbox::FaultKind::Drop);
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, unknown)) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err,
                      "quillon: the databases differ as shown\n"
                      "quillon: whether the transaction was committed is still not known\n"))
        << outcome.err;
    EXPECT_FALSE(Holds(outcome.err, "rolled back"));
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(SyncOutcomeTest, ASecondLookThatFailsIsExitCode2) {
    LoseTheAnswer(sandbox::FaultKind::DropAfterRows);
    server.AddFault(ErrorIn(u" UNION SELECT ", 2));
    const Outcome table = Sync();
    EXPECT_EQ(table.exitCode, 2);
    EXPECT_TRUE(Holds(table.err, "whether the transaction was committed is still not known\n"))
        << table.err;
}

TEST_F(SyncOutcomeTest, AServerThatIsGoneLeavesTheOutcomeUnknown) {
    LoseTheAnswer(sandbox::FaultKind::DropAfterRows);
    // The second comparison logs in anew, and asks for the names of databases first.
    sandbox::Fault gone = ErrorIn(u"FROM master..sysdatabases", 7);
    server.AddFault(gone);
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "quillon: comparing again failed: ")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "whether the transaction was committed is still not known\n"));
}

TEST_F(SyncOutcomeTest, ASignalBetweenBatchesRollsBack) {
    const sandbox::Fault slow{.kind = sandbox::FaultKind::Delay,
                              .contains = u"EXEC prcTmp_QVX_Update",
                              .delay = std::chrono::milliseconds(1500)};
    server.AddFault(slow);
    Process process(
        folder, {"sync", "--by-server", one, two, "--user", "sa", "-t", "p", "--to", "2", "--yes"},
        {}, {{"QUILLON_PASSWORD", "sandbox"}});
    ASSERT_TRUE(Gets(server, slow.contains));
    process.Signal(SIGINT);
    EXPECT_EQ(process.Wait(), 130);
    EXPECT_TRUE(Holds(process.Err(), "quillon: interrupted; ")) << process.Err();
    EXPECT_TRUE(Holds(process.Err(), "quillon: everything was rolled back\n")) << process.Err();
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(SyncOutcomeTest, ASignalDuringAComparisonEndsIt) {
    const sandbox::Fault slow{.kind = sandbox::FaultKind::Delay,
                              .contains = u" UNION SELECT ",
                              .delay = std::chrono::milliseconds(600)};
    server.AddFault(slow);
    RunOnBoth(u"CREATE TABLE q (id int NOT NULL CONSTRAINT PK_q PRIMARY KEY)");
    Process process(folder, {"compare", "--by-server", one, two, "--user", "sa"}, {},
                    {{"QUILLON_PASSWORD", "sandbox"}});
    const auto tablesCompared = [&] {
        const auto batches = Batches(server);
        return std::count_if(batches.begin(), batches.end(), [&](const std::u16string& batch) {
            return batch.find(slow.contains) != std::u16string::npos;
        });
    };
    for (int i = 0; i < 1000 && tablesCompared() == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    process.Signal(SIGTERM);
    EXPECT_EQ(process.Wait(), 143);
    EXPECT_EQ(tablesCompared(), 1) << "of two";
    EXPECT_EQ(process.Out(), "");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

}  // namespace
}  // namespace quillon
