// The files that script writes where no server compares.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

class DirectScriptTest : public TwoServers {
  protected:
    Outcome Script(std::vector<std::string> options) const {
        return TwoServers::Direct("script", std::move(options));
    }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    // Without its byte-order mark.
    std::u16string Utf8Script(const char* name) const {
        return QuillonLib::FromUtf8(Read(name).substr(3));
    }
};

TEST_F(DirectScriptTest, BringsTheSecondDatabaseOver) {
    const Outcome outcome = Script({"-o", File("u.sql")});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "Written: " + File("u.sql") + "\n");
    EXPECT_EQ(Read("u.sql").substr(0, 3), "\xEF\xBB\xBF");
    other.Run(u"USE d\nGO\n" + Utf8Script("u.sql"));
    EXPECT_EQ(Direct("compare").exitCode, 0);
    EXPECT_EQ(RowsOfT(other), "1 same|2 Case|3 gone|");
}

TEST_F(DirectScriptTest, WritesOneFileForEachDirection) {
    EXPECT_EQ(Script({"-o", File("u.sql"), "--to", "both"}).exitCode, 0);
    EXPECT_EQ(FilesInFolder(), 2U);
    server.Run(u"USE d\nGO\n" + Utf8Script("u.1.sql"));
    EXPECT_EQ(RowsOfT(server), "1 same|2 case |4 new|");
    EXPECT_EQ(Direct("compare").exitCode, 0);
    EXPECT_EQ(Script({"-o", "-", "--to", "both"}).exitCode, 2);
}

TEST_F(DirectScriptTest, StandardOutputGetsTheFileWithoutItsMark) {
    EXPECT_EQ(Script({"-o", File("u.sql")}).exitCode, 0);
    const Outcome outcome = Script({"-o", "-"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, Read("u.sql").substr(3));
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(Script({"-o", File("w.sql"), "--encoding", "utf16"}).exitCode, 0);
    EXPECT_EQ(Read("w.sql").size(), 2 * QuillonLib::FromUtf8(outcome.out).size() + 2);
    EXPECT_EQ(Read("w.sql").substr(0, 4), std::string("\xFF\xFE-\0", 4));
}

TEST_F(DirectScriptTest, AGuardIsThereIfItIsAskedFor) {
    EXPECT_FALSE(Holds(Script({"-o", "-"}).out, "is not as it was compared"));
    EXPECT_FALSE(Holds(Script({"-o", "-", "--no-guard"}).out, "is not as it was compared"));
    const std::string guarded = Script({"-o", "-", "--guard"}).out;
    EXPECT_TRUE(Holds(guarded, "a row is not as it was compared")) << guarded;
}

// Whoever gets the file later cannot see how it came about.
TEST_F(DirectScriptTest, ItsHeadTellsWhatWasNotLookedAt) {
    RunOnBothServers(u"CREATE TABLE w (id int NOT NULL CONSTRAINT PK_w PRIMARY KEY, a int, b int)");
    const std::string script =
        Script({"-o", "-", "--where", "t=id <> 9\nAND 1 = 1 /* ? { it's $(x) */", "--ignore-case",
                "--float-digits", "6", "--ignore", "note", "--columns", "w=b"})
            .out;
    EXPECT_EQ(
        script.substr(0, script.find("SET ANSI_NULLS")),
        "-- Makes the rows of side 2 those of side 1, in one transaction.\r\n"
        "-- Side 2 is database d on server " +
            QuillonLib::ToUtf8(other.Address()) +
            "\r\n"
            "-- Values were compared without regard to case, with real and float rounded to 6 "
            "digits.\r\n"
            "-- Not compared, but where rows are matched by it: column [note]\r\n"
            "-- Of [dbo].[t] only rows were compared that meet: id <> 9 AND 1 = 1 /* ? { it's "
            "$ (x) */\r\n"
            "-- Of [dbo].[w] only its key and these columns were compared: [b]\r\n"
            "-- [dbo].[t]: 1 deleted, 1 updated, 1 inserted\r\n"
            "--     without column note\r\n");
    const std::string exact = Script({"-o", "-"}).out;
    EXPECT_EQ(exact.find("-- Of "), std::string::npos) << exact;
    EXPECT_EQ(exact.find("-- Values "), std::string::npos) << exact;
    // As a comment it does no harm, whatever a driver makes of it.
    EXPECT_EQ(Direct("sync", {"--where", "t=id <> 9\nAND 1 = 1 /* ? { it's $(x) */", "--to", "2",
                              "--yes", "--accept-uncompared"})
                  .exitCode,
              0);
    EXPECT_EQ(Direct("compare").exitCode, 0);
}

TEST_F(DirectScriptTest, AFailureLeavesTheOldFileAndNoOther) {
    const auto write = [this] { std::ofstream(File("u.sql")) << "old"; };
    write();
    // an identity column cannot be updated
    RunOnFirst(
        u"CREATE TABLE i (k int CONSTRAINT PK_i PRIMARY KEY, n int IDENTITY)\nGO\n"
        u"INSERT i VALUES (1)");
    RunOnSecond(
        u"CREATE TABLE i (k int CONSTRAINT PK_i PRIMARY KEY, n int IDENTITY (5, 1))\nGO\n"
        u"INSERT i VALUES (1)");
    const Outcome outcome = Script({"-o", File("u.sql")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "identity column n differs")) << outcome.err;
    EXPECT_EQ(Read("u.sql"), "old");
    EXPECT_EQ(FilesInFolder(), 1U);
    const Outcome onOutput = Script({"-o", "-"});
    EXPECT_EQ(onOutput.exitCode, 2);
    EXPECT_EQ(onOutput.out, "");
}

TEST_F(DirectScriptTest, AValueThatTheTargetCannotHoldEndsTheScriptHalfway) {
    RunOnFirst(
        u"CREATE TABLE w (k int CONSTRAINT PK_w PRIMARY KEY, v decimal(9, 4))\nGO\n"
        u"INSERT w VALUES (1, 1.2345)");
    RunOnSecond(u"CREATE TABLE w (k int CONSTRAINT PK_w PRIMARY KEY, v decimal(9, 2))");
    const Outcome outcome = Script({"-o", File("u.sql")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "[dbo].[w]")) << outcome.err;
    EXPECT_EQ(FilesInFolder(), 0U);
    const Outcome onOutput = Script({"-o", "-"});
    EXPECT_EQ(onOutput.exitCode, 2);
    EXPECT_EQ(onOutput.out, "");
}

TEST_F(DirectScriptTest, WhatIsNotBroughtOverIsNamed) {
    RunOnBothServers(
        u"CREATE TABLE comp (id int NOT NULL CONSTRAINT PK_comp PRIMARY KEY, c AS id * 2)");
    Outcome outcome = Script({"-o", "-", "-t", "comp"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.err,
              "quillon: left out: [dbo].[comp]: not whole: column [c]: it is computed\n");
    RunOnFirst(u"ALTER TABLE comp ADD extra int NULL");
    outcome = Script({"-o", "-", "-t", "comp"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err,
              "quillon: left out: [dbo].[comp]: not whole: column [extra] only in 1; column [c]: "
              "it is computed\n");
    RunOnFirst(u"CREATE TABLE mine (a int)");
    outcome = Script({"-o", "-", "-t", "mine", "-t", "t"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.err, "left out: [dbo].[mine]: only one database has it\n"));
    other.AddFault(ErrorIn(u"FROM [dbo].[t]"));
    outcome = Script({"-o", "-", "-t", "t"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "left out: [dbo].[t]: Error comparing [dbo].[t]\n"))
        << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "-- Left out, not compared to its end: [dbo].[t]: "));
}

TEST_F(DirectScriptTest, AViewFollowsFromItsTables) {
    RunOnBothServers(
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, name FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    const Outcome both = Script({"-o", "-"});
    EXPECT_EQ(both.exitCode, 0) << both.err;
    EXPECT_EQ(both.err,
              "quillon: left out: [dbo].[v]: it is a view: its rows follow from its tables\n");
    EXPECT_EQ(Script({"-o", "-", "-t", "v"}).exitCode, 1);
}

TEST_F(DirectScriptTest, CascadesAreSuspended) {
    RunOnBothServers(
        u"CREATE TABLE child (id int NOT NULL CONSTRAINT PK_ch PRIMARY KEY, tid int NULL "
        u"CONSTRAINT FK_ch REFERENCES t (id) ON DELETE CASCADE)");
    const Outcome outcome = Script({"-o", "-"});
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(Holds(outcome.out,
                      "-- Suspended, and checked again at the end: foreign key FK_ch "
                      "of [dbo].[child]\r\n"));
}

TEST_F(DirectScriptTest, RowsThatConditionsLeaveOutAreExitCode3) {
    const Outcome outcome = Script({"-o", "-", "--where", "t=id < 3"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_FALSE(Holds(outcome.out, "gone"));
    EXPECT_EQ(outcome.err,
              "quillon: --where: a row that meets the condition in one database alone counts as "
              "missing in the other, and is deleted or inserted\n"
              "quillon: left out: [dbo].[t]: not whole: rows that do not meet id < 3\n");
}

}  // namespace
}  // namespace quillon
