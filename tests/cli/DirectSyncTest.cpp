// What sync does where no server compares.
#include <gtest/gtest.h>

#include <csignal>
#include <regex>
#include <thread>

#include "tests/cli/Process.h"
#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

constexpr const char* Before2 = "1 same|2 case |4 new|";

class DirectSyncTest : public TwoServers {
  protected:
    Outcome Sync(std::vector<std::string> options = {"--yes"}, const char* to = "2") const {
        options.insert(options.end(), {"--to", to});
        return TwoServers::Direct("sync", std::move(options));
    }
    // Changes the second database between the comparison and the script.
    Outcome SyncWhile(const std::u16string& change) {
        other.ClearLog();
        const sandbox::Fault slow{.kind = sandbox::FaultKind::Delay,
                                  .contains = u"BEGIN TRANSACTION",
                                  .delay = std::chrono::milliseconds(2000)};
        other.AddFault(slow);
        std::thread changer([&] {
            const auto isWaiting = [&] {
                for (const std::u16string& batch : Batches(other)) {
                    if (batch.find(u"BEGIN TRANSACTION") != std::u16string::npos) return true;
                }
                return false;
            };
            for (int i = 0; i < 1000 && !isWaiting(); ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            RunOnSecond(change);
        });
        const Outcome outcome = Sync();
        changer.join();
        return outcome;
    }
};

TEST_F(DirectSyncTest, EndsIdentical) {
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "\n[dbo].[t]: to delete 1, to update 1, to insert 1\n"))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "\nCommitted 3 changes in " + second + " in ")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, ". Compared again:\n"));
    EXPECT_TRUE(Holds(outcome.out, "1 table: 1 identical, 0 different\n"));
    EXPECT_EQ(RowsOfT(other), "1 same|2 Case|3 gone|");
    EXPECT_EQ(ConnectionsLeft(other), 0);
    const Outcome again = Sync();
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_TRUE(Holds(again.out, "Nothing to do.\n"));
}

TEST_F(DirectSyncTest, BringsTheFirstDatabaseOver) {
    EXPECT_EQ(Sync({"--yes"}, "1").exitCode, 0);
    EXPECT_EQ(RowsOfT(server), Before2);
    EXPECT_EQ(RowsOfT(other), Before2);
}

TEST_F(DirectSyncTest, WithoutAYesChangesNothing) {
    const Outcome outcome = Sync({});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "quillon: nothing was changed (say yes, or use --yes)\n");
    EXPECT_EQ(RowsOfT(other), Before2);
}

TEST_F(DirectSyncTest, ManyRowsTakeManyBatches) {
    std::u16string rows;
    for (int i = 10; i < 4000; ++i) {
        rows += (i % 500 == 10 ? u"\nGO\nINSERT t VALUES (" : u", (") + QuillonLib::ToText(i) +
                u", 'a name', N'" + std::u16string(50, u'x') + u"')";
    }
    RunOnFirst(rows);
    other.ClearLog();
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    int batches = 0;
    for (const std::u16string& batch : Batches(other))
        batches += batch.find(u"SET CONTEXT_INFO") != std::u16string::npos ? 1 : 0;
    EXPECT_GT(batches, 4);
}

TEST_F(DirectSyncTest, TellsHowFastTheTablesWere) {
    other.AddFault({.kind = sandbox::FaultKind::Delay,
                    .contains = u"INSERT INTO [dbo].[t]",
                    .delay = std::chrono::milliseconds(500)});
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(std::regex_search(
        outcome.out, std::regex("\n\\[dbo\\]\\.\\[t\\]: 3 rows in [0-9.]+ s \\([1-6] rows/s\\)\n")))
        << outcome.out;
    EXPECT_TRUE(std::regex_search(
        outcome.out,
        std::regex("Committed 3 changes in .* in [0-9.]+ s \\([1-6] rows/s\\)\\. Comp")))
        << outcome.out;
}

TEST_F(DirectSyncTest, TablesThatReferToEachOtherComeInOrder) {
    RunOnBothServers(
        u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY, b int NULL)\nGO\n"
        u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY, a int NOT NULL CONSTRAINT "
        u"FK_b REFERENCES a (id))\nGO\n"
        u"ALTER TABLE a ADD CONSTRAINT FK_a FOREIGN KEY (b) REFERENCES b (id)");
    RunOnFirst(u"INSERT a VALUES (1, NULL)\nGO\nINSERT b VALUES (1, 1)\nGO\nUPDATE a SET b = 1");
    RunOnSecond(u"INSERT a VALUES (2, NULL)\nGO\nINSERT b VALUES (2, 2)\nGO\nUPDATE a SET b = 2");
    EXPECT_EQ(Sync().exitCode, 0);
    EXPECT_EQ(other.Scalar(u"USE d SELECT b FROM a WHERE id = 1"), u"1");
}

// The row is not what it was when the rows were compared.
TEST_F(DirectSyncTest, AGuardRefusesARowThatHasChanged) {
    const Outcome outcome = SyncWhile(u"UPDATE t SET name = 'meanwhile' WHERE id = 2");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "quillon: batch 2 of 3, about [dbo].[t], failed in " + second +
                                       ", and everything was rolled back:\n"))
        << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "Table [dbo].[t], key (2): a row is not as it was compared."))
        << outcome.err;
    EXPECT_EQ(RowsOfT(other), "1 same|2 meanwhile|4 new|");
}

// Of many that are written by one statement.
TEST_F(DirectSyncTest, AGuardNamesTheRowThatHasChanged) {
    RunOnBothServers(
        u"CREATE TABLE b (v int)\nGO\n"
        u"CREATE TABLE l (id int NOT NULL CONSTRAINT PK_l PRIMARY KEY, v int)");
    const std::u16string fill =
        u"DECLARE @i int SET @i = 0 WHILE @i < 60 BEGIN INSERT l VALUES (@i, 1) INSERT b VALUES"
        u" (@i) SET @i = @i + 1 END ";
    RunOnFirst(fill + u"DELETE l WHERE id >= 30 DELETE b");
    RunOnSecond(fill + u"UPDATE l SET v = 2");
    const struct {
        const char16_t *change, *undo;
        const char* message;
    } cases[] = {
        {u"UPDATE l SET v = 3 WHERE id = 17", u"UPDATE l SET v = 2 WHERE id = 17",
         "Table [dbo].[l], key (17): a row is not as it was compared."},
        {u"DELETE l WHERE id = 44", u"INSERT l VALUES (44, 2)",
         "Table [dbo].[l], key (44): a row is not as it was compared."},
        {u"DELETE b WHERE v = 31", u"INSERT b VALUES (31)",
         "Table [dbo].[b], row (31): it is not there any more."},
    };
    for (const auto& each : cases) {
        const Outcome outcome = SyncWhile(each.change);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_TRUE(Holds(outcome.err, each.message)) << outcome.err;
        EXPECT_EQ(RowsOfT(other), Before2);
        other.ClearFaults();
        RunOnSecond(each.undo);
    }
    EXPECT_EQ(Sync().exitCode, 0);
}

TEST_F(DirectSyncTest, AConstraintRollsEverythingBack) {
    RunOnSecond(u"ALTER TABLE t ADD CONSTRAINT CK_t CHECK (name <> 'gone')");
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "everything was rolled back:\n")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "CK_t")) << outcome.err;
    EXPECT_EQ(RowsOfT(other), Before2);
}

TEST_F(DirectSyncTest, AConnectionThatIsLostInTheMiddleChangesNothing) {
    other.AddFault({.kind = sandbox::FaultKind::Drop, .contains = u"INSERT INTO [dbo].[t]"});
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "everything was rolled back:\n")) << outcome.err;
    EXPECT_EQ(ConnectionsLeft(other), 0);
    EXPECT_EQ(RowsOfT(other), Before2);
}

TEST_F(DirectSyncTest, ALostAnswerToTheCommitIsLookedInto) {
    other.AddFault({.kind = sandbox::FaultKind::DropAfterRows, .contains = u"COMMIT TRANSACTION"});
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, " ended while the transaction was being committed. "))
        << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "quillon: the databases are identical now\n"));
    EXPECT_EQ(RowsOfT(other), "1 same|2 Case|3 gone|");
}

TEST_F(DirectSyncTest, ALostCommitIsExitCode2) {
    other.AddFault({.kind = sandbox::FaultKind::Drop, .contains = u"COMMIT TRANSACTION"});
    const Outcome outcome = Sync();
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(
        Holds(outcome.err, "quillon: whether the transaction was committed is still not known\n"))
        << outcome.err;
    EXPECT_EQ(RowsOfT(other), Before2);
}

TEST_F(DirectSyncTest, ASignalRollsBackWhateverTheServerIsAt) {
    const sandbox::Fault slow{.kind = sandbox::FaultKind::Delay,
                              .contains = u"INSERT INTO [dbo].[t]",
                              .delay = std::chrono::seconds(60)};
    other.AddFault(slow);
    Process process(folder, {"sync", first, second, "--user", "sa", "--to", "2", "--yes"}, {},
                    {{"QUILLON_PASSWORD", "sandbox"}});
    ASSERT_TRUE(Gets(other, slow.contains));
    const auto begin = std::chrono::steady_clock::now();
    process.Signal(SIGINT);
    EXPECT_EQ(process.Wait(), 130);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_TRUE(Holds(process.Err(), "quillon: everything was rolled back\n")) << process.Err();
    EXPECT_EQ(ConnectionsLeft(other), 0);
    EXPECT_EQ(RowsOfT(other), Before2);
}

TEST_F(DirectSyncTest, ASignalEndsAComparisonWhoseServerIsSilent) {
    const sandbox::Fault slow{.kind = sandbox::FaultKind::Delay,
                              .contains = u"FROM [dbo].[t]",
                              .delay = std::chrono::seconds(60)};
    other.AddFault(slow);
    Process process(folder, {"compare", first, second, "--user", "sa"}, {},
                    {{"QUILLON_PASSWORD", "sandbox"}});
    ASSERT_TRUE(Gets(other, slow.contains));
    const auto begin = std::chrono::steady_clock::now();
    process.Signal(SIGTERM);
    EXPECT_EQ(process.Wait(), 143);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(process.Out(), "");
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(ConnectionsLeft(other), 0);
}

TEST_F(DirectSyncTest, WhatIsNotComparedStaysAndIsExitCode3) {
    RunOnBothServers(
        u"CREATE TABLE w (id int NOT NULL CONSTRAINT PK_w PRIMARY KEY, v rowversion)\nGO\n"
        u"INSERT w (id) VALUES (1)");
    const Outcome same = Sync({"--yes", "-t", "w"});
    EXPECT_EQ(same.exitCode, 3);
    EXPECT_TRUE(Holds(same.out, "No difference was found: nothing to do.\n")) << same.out;
    EXPECT_EQ(Sync({"--yes", "-t", "w", "--accept-uncompared"}).exitCode, 0);
    RunOnFirst(u"INSERT w (id) VALUES (2)");
    const Outcome changed = Sync({"--yes", "-t", "w"});
    EXPECT_EQ(changed.exitCode, 3) << changed.out << changed.err;
    EXPECT_TRUE(Holds(changed.err, "left out: [dbo].[w]: not whole: column [v]: a row version"));
}

TEST_F(DirectSyncTest, WhatNoScriptCanDoIsTold) {
    RunOnFirst(u"CREATE TABLE mine (a int)");
    const Outcome outcome = Sync({"--yes", "-t", "mine"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.out, "Nothing that a script can do.\n")) << outcome.out;
}

}  // namespace
}  // namespace quillon
