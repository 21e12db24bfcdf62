#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <iostream>
#include <stdexcept>

#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

TEST_F(ProgramTest, SyncWithoutAYesChangesNothing) {
    const Outcome outcome = OnBoth({"sync", "--by-server", "--to", "2", "--suspend-constraints"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "quillon: nothing was changed (say yes, or use --yes)\n");
    EXPECT_EQ(RowsOfB(), u"2 three");
}

// A terminal whose user types `answer`, in place of standard input.
class TypingUser {
  public:
    explicit TypingUser(const std::string& answer) : before_(dup(STDIN_FILENO)) {
        int terminal = -1;
        if (openpty(&user_, &terminal, nullptr, nullptr, nullptr) != 0 ||
            write(user_, answer.data(), answer.size()) < 0) {
            throw std::runtime_error("no terminal");
        }
        dup2(terminal, STDIN_FILENO);
        close(terminal);
        std::cin.clear();
    }
    ~TypingUser() {
        dup2(before_, STDIN_FILENO);
        close(before_);
        close(user_);
    }
    TypingUser(const TypingUser&) = delete;
    TypingUser& operator=(const TypingUser&) = delete;

  private:
    int before_;
    int user_ = -1;
};

TEST_F(ProgramTest, SyncAsksOnATerminal) {
    const std::string question = "Change 4 rows in " + two + "? [y/N] ";
    for (const char* no : {"\n", "n\n", "maybe\n"}) {
        const TypingUser user(no);
        const Outcome outcome =
            OnBoth({"sync", "--by-server", "--to", "2", "--suspend-constraints"});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_NE(outcome.err.find(question), std::string::npos) << outcome.err;
        EXPECT_EQ(RowsOfB(), u"2 three");
    }
    const TypingUser user("y\n");
    EXPECT_EQ(OnBoth({"sync", "--by-server", "--to", "2", "--suspend-constraints"}).exitCode, 0);
    EXPECT_EQ(RowsOfB(), u"2 one");
}

TEST_F(ProgramTest, SyncExplainsAConstraintAndLeavesEverythingAsItWas) {
    const Outcome outcome = OnBoth({"sync", "--by-server", "--to", "2", "--yes"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find(", about [dbo].[p], failed in " + two +
                               ", and everything was rolled back:\n"),
              std::string::npos)
        << outcome.err;
    EXPECT_NE(
        outcome.err.find("cannot satisfy the foreign key FK_c at every step; run it again with "
                         "--suspend-constraints."),
        std::string::npos)
        << outcome.err;
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(ProgramTest, SyncWithSuspendedConstraintsEndsIdentical) {
    const Outcome outcome =
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("2 tables: 2 identical, 0 different\n"), std::string::npos);
    EXPECT_EQ(RowsOfB(), u"2 one");
    EXPECT_EQ(server.Scalar(u"USE b SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1 OR "
                            u"is_not_trusted = 1"),
              u"0");
    const Outcome again = OnBoth({"sync", "--by-server", "--to", "2", "--yes"});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_NE(again.out.find("Nothing to do.\n"), std::string::npos);
}

TEST_F(ProgramTest, SyncIntoDatabase1) {
    EXPECT_EQ(
        OnBoth({"sync", "--by-server", "--to", "1", "--yes", "--suspend-constraints"}).exitCode, 0);
    EXPECT_EQ(server.Scalar(u"USE a SELECT n FROM p WHERE id = 3"), u"three");
}

TEST_F(ProgramTest, ADroppedConnectionInTheMiddleOfASyncChangesNothing) {
    server.AddFault({.kind = sandbox::FaultKind::Drop, .contains = u"EXEC prcTmp_QVX_Update"});
    EXPECT_EQ(
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints"}).exitCode, 2);
    EXPECT_EQ(ConnectionsLeft(server), 0);
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(ProgramTest, SyncNamesWhatItIsAboutToDo) {
    const Outcome outcome = OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "p"});
    EXPECT_EQ(outcome.exitCode, 2);  // row 3 of p is referred to
    const Outcome done =
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints"});
    EXPECT_NE(done.out.find("\nCommitted 4 changes in " + two + ". Compared again:\n"),
              std::string::npos)
        << done.out;
}

TEST_F(ProgramTest, SyncSuspendsOnlyTheKeysThatAreOn) {
    server.Run(
        u"USE b\nGO\nCREATE TABLE d (pid int NULL CONSTRAINT FK_d REFERENCES p (id))\nGO\n"
        u"ALTER TABLE d NOCHECK CONSTRAINT FK_d\nGO\nINSERT d VALUES (77)");
    EXPECT_EQ(OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints", "-t",
                      "p", "-t", "c"})
                  .exitCode,
              0);
    EXPECT_EQ(server.Scalar(u"USE b SELECT name FROM sys.foreign_keys WHERE is_disabled = 1"),
              u"FK_d");
}

TEST_F(ProgramTest, SyncSuspendsKeysOfOtherTablesThatReferToItsOwn) {
    for (const auto* use : {u"USE a\nGO\n", u"USE b\nGO\n"}) {
        server.Run(use + std::u16string(
                             u"CREATE TABLE k (id int NOT NULL CONSTRAINT PK_k PRIMARY KEY, n int "
                             u"NOT NULL CONSTRAINT UQ_k UNIQUE)\nGO\nCREATE TABLE d (kid int "
                             u"CONSTRAINT FK_d REFERENCES k (id))\nGO\n"));
    }
    // The row that d refers to is deleted and comes back with another n.
    server.Run(u"USE a\nGO\nINSERT k VALUES (7, 1)");
    server.Run(u"USE b\nGO\nINSERT k VALUES (7, 2)\nGO\nINSERT d VALUES (7)");
    const std::vector<std::string> call{"sync", "--by-server", "--to",    "2",     "--yes",
                                        "-t",   "k",           "--index", "k=UQ_k"};
    EXPECT_EQ(OnBoth(call).exitCode, 2);
    std::vector<std::string> suspending = call;
    suspending.emplace_back("--suspend-constraints");
    EXPECT_EQ(OnBoth(suspending).exitCode, 0);
    EXPECT_EQ(server.Scalar(u"USE b SELECT n FROM k WHERE id = 7"), u"1");
}

TEST_F(ProgramTest, SyncChecksEveryRowBeforeTheEnd) {
    // A row of a table that is not brought over refers to what goes away.
    server.Run(
        u"USE b\nGO\nCREATE TABLE d (pid int NULL CONSTRAINT FK_d REFERENCES p (id))\nGO\n"
        u"INSERT d VALUES (3)");
    const Outcome outcome =
        OnBoth({"sync", "--by-server", "--to", "2", "--yes", "--suspend-constraints"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("The constraint FK_d does not hold at every step, or not for the "
                               "rows that are brought over; --suspend-constraints suspends foreign "
                               "keys only."),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(RowsOfB(), u"2 three");
    EXPECT_EQ(server.Scalar(u"USE b SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1"),
              u"0");
}

TEST_F(ProgramTest, SyncOfWhatNoScriptCanDoSaysSo) {
    for (const auto* use : {u"USE a\nGO\n", u"USE b\nGO\n"})
        server.Run(use + std::u16string(u"CREATE TABLE k (x int)\nGO\nINSERT k VALUES (1)"));
    server.Run(u"USE b\nGO\nINSERT k VALUES (1)");
    const Outcome outcome = OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "k"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.out.find("Nothing that a script can do.\n"), std::string::npos);
    EXPECT_EQ(outcome.err,
              "quillon: left out: [dbo].[k]: the databases share no key to match its rows by\n");
}

}  // namespace
}  // namespace quillon
