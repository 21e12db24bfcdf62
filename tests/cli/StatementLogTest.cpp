// --verbose, --log and --quiet: what is sent is told, and no password ever.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

class StatementLogTest : public TwoServers {
  protected:
    ~StatementLogTest() override {
        for (const char* name : {"QUILLON_PASSWORD2", "QUILLON_TEST_ALICE"})
            QuillonLib::test::RemoveVariable(name);
    }
    static std::size_t Lines(const std::string& text) {
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }
};

// "2026-01-15T13:45:30.123Z #7 SERVER/DATABASE: ..."
const std::regex Line(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z #\d+ 127\.0\.0\.1,\d+/d: \S.*)");

TEST_F(StatementLogTest, NothingIsToldUnlessItIsAskedFor) {
    const Outcome outcome = Direct("compare");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(StatementLogTest, EachStatementIsToldWithItsTimeOnBothRoads) {
    const std::string plain = Direct("compare").out;
    const Outcome direct = Direct("compare", {"--verbose"});
    EXPECT_EQ(direct.exitCode, 1);
    EXPECT_EQ(direct.out, plain);
    std::istringstream lines(direct.err);
    std::size_t all = 0;
    for (std::string line; std::getline(lines, line); ++all)
        EXPECT_TRUE(std::regex_match(line, Line)) << line;
    EXPECT_GT(all, 10U);
    EXPECT_TRUE(Holds(direct.err, second + ": logging in as sa; encrypted: "));
    EXPECT_TRUE(std::regex_search(direct.err, std::regex("/d: SELECT [^\\n]*FROM [^\\n]*\\[t\\]")))
        << direct.err;
    EXPECT_TRUE(std::regex_search(direct.err, std::regex("/d: \\d+\\.\\d{3} s\\n")));

    const Outcome byServer = Direct("compare", {"--by-server", "--verbose"});
    EXPECT_TRUE(Holds(byServer.err, "sp_addlinkedsrvlogin 'KARNOBE_2','false',NULL,'sa','***'"))
        << byServer.err;
    EXPECT_TRUE(Holds(byServer.err, " UNION SELECT "));
}

TEST_F(StatementLogTest, WhatBeginsEnds) {
    ASSERT_EQ(Direct("compare", {"--jobs", "4", "--log", File("l.txt")}).exitCode, 1);
    const std::string log = Read("l.txt");
    const std::regex number(" #(\\d+) ");
    std::map<std::string, int> told;
    for (std::sregex_iterator at(log.begin(), log.end(), number), end; at != end; ++at)
        ++told[(*at)[1]];
    EXPECT_EQ(told.size() * 2, Lines(log));
    for (const auto& [each, count] : told)
        EXPECT_EQ(count, 2) << each;
}

TEST_F(StatementLogTest, AFailureIsToldWithItsText) {
    const Outcome outcome = Direct("compare", {"--where", "t=nowhere = 1", "--verbose"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(std::regex_search(
        outcome.err,
        std::regex("failed after \\d+\\.\\d{3} s: [^\\n]*Invalid column name 'nowhere'")))
        << outcome.err;
}

TEST_F(StatementLogTest, TheEncryptionIsToldAsFarAsItIsKnown) {
    const auto told = [&](const char* encryption) {
        return Direct("compare", {"--verbose", "--encryption", encryption}).err;
    };
    EXPECT_TRUE(Holds(told("off"), "logging in as sa; encrypted: nothing\n"));
    EXPECT_TRUE(Holds(told("request"),
                      "encrypted: the login where the server can, and the session where it asks "
                      "for it\n"));
    EXPECT_TRUE(Holds(told("require"), "encrypted: everything; the certificate is not checked\n"));
}

TEST_F(StatementLogTest, ALogGrowsBehindWhatItHolds) {
    std::ofstream(File("l.txt"), std::ios::binary) << "before\n";
    const Outcome outcome = Direct("compare", {"--log", File("l.txt")});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "");
    const std::string once = Read("l.txt");
    EXPECT_EQ(once.substr(0, 7), "before\n");
    EXPECT_GT(Lines(once), 10U);
    ASSERT_EQ(Direct("compare", {"--log", File("l.txt")}).exitCode, 1);
    EXPECT_EQ(Read("l.txt").substr(0, once.size()), once);
    EXPECT_GT(Read("l.txt").size(), once.size());
}

TEST_F(StatementLogTest, ALogThatCannotBeOpenedEndsTheCommandBeforeItBegins) {
    server.ClearLog();
    const Outcome outcome = Direct("sync", {"--to", "2", "--yes", "--log", File("no/l.txt")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind("quillon: cannot write the log " + File("no/l.txt") + ": ", 0), 0U)
        << outcome.err;
    EXPECT_TRUE(server.Log().empty());
}

#ifndef _WIN32
TEST_F(StatementLogTest, ALogThatIsNotWholeIsToldAtTheEnd) {
    const Outcome outcome = Direct("compare", {"--log", "/dev/full"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.out, "1 table: 0 identical, 1 different"));
    EXPECT_EQ(outcome.err, "quillon: the log /dev/full is not whole: No space left on device\n");
}
#endif

// A batch of a script can be as long as a book.
TEST_F(StatementLogTest, ALongBatchIsCutOnATerminalAndWholeInAFile) {
    RunOnFirst(u"INSERT t VALUES (9, 'x', REPLICATE(N'y', 3000))");
    const Outcome outcome =
        Direct("sync", {"--to", "2", "--yes", "--verbose", "--log", File("l.txt")});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    const std::string whole(3000, 'y');
    EXPECT_TRUE(Holds(Read("l.txt"), whole));
    EXPECT_FALSE(Holds(outcome.err, whole));
    EXPECT_TRUE(std::regex_search(outcome.err, std::regex("\\.\\.\\. \\(\\d+ bytes\\)\\n")));
}

TEST_F(StatementLogTest, QuietTellsNothingButResultsAndErrors) {
    const Outcome loud = Direct("script", {"-o", File("u.sql"), "--ignore-case"});
    EXPECT_TRUE(Holds(loud.err, "Written: "));
    EXPECT_TRUE(Holds(loud.err, "quillon: values are compared without regard to case"));
    const Outcome quiet = Direct("script", {"-o", File("u.sql"), "--ignore-case", "--quiet"});
    EXPECT_EQ(quiet.exitCode, loud.exitCode);
    EXPECT_EQ(quiet.err, "");
    const Outcome failed = Direct("compare", {"--where", "t=", "--quiet"});
    EXPECT_EQ(FirstLine(failed.err), "quillon: --where: 't=' is not TABLE=CONDITION");
    const Outcome both = Direct("compare", {"--quiet", "--verbose"});
    EXPECT_EQ(both.exitCode, 2);
    EXPECT_EQ(both.out, "");
}

// Passwords that differ from all else that is told.
class Secrets : public StatementLogTest {
  protected:
    Secrets() {
        for (sandbox::Server* each : {&server, &other}) {
            each->Run(
                u"CREATE LOGIN alice WITH PASSWORD = 'g3h31m-one', CHECK_POLICY = OFF\nGO\n"
                u"CREATE LOGIN bob WITH PASSWORD = 'g3h31m-two', CHECK_POLICY = OFF\nGO\n"
                u"USE d\nGO\nCREATE USER alice FOR LOGIN alice\nGO\nGRANT SELECT ON t TO "
                u"alice\nGO\n"
                u"CREATE USER bob FOR LOGIN bob\nGO\nGRANT SELECT ON t TO bob");
        }
        std::ofstream(File("c.ini"))
            << "[one]\nserver = " << QuillonLib::ToUtf8(server.Address())
            << "\ndatabase = d\nuser = alice\npassword-command = echo g3h31m-one\n"
            << "[two]\nserver = " << QuillonLib::ToUtf8(other.Address())
            << "\ndatabase = d\nuser = bob\npassword-variable = QUILLON_TEST_ALICE\n";
    }
    // Calls with everything that could tell it; expects that it is told nowhere.
    Outcome Told(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--verbose", "--log", File("l.txt")});
        Outcome outcome = Call(arguments);
        EXPECT_FALSE(Holds(outcome.out, "g3h31m")) << outcome.out;
        EXPECT_FALSE(Holds(outcome.err, "g3h31m")) << outcome.err;
        EXPECT_FALSE(Holds(Read("l.txt"), "g3h31m"));
        EXPECT_TRUE(Holds(Read("l.txt"), "logging in as ")) << outcome.err;
        return outcome;
    }
};

TEST_F(Secrets, OfTheEnvironmentAreToldNowhere) {
    QuillonLib::test::SetVariable("QUILLON_PASSWORD", "g3h31m-one");
    QuillonLib::test::SetVariable("QUILLON_PASSWORD2", "g3h31m-two");
    EXPECT_EQ(Told({"compare", first, second, "--user", "alice", "--user2", "bob"}).exitCode, 1);
    EXPECT_EQ(Told({"rows", "t", first, second, "--user", "alice", "--user2", "bob"}).exitCode, 1);
    for (const char* encryption : {"off", "require"})
        Told({"compare", first, second, "--user", "alice", "--encryption", encryption});
}

TEST_F(Secrets, OfCommandsAndVariablesAreToldNowhere) {
    QuillonLib::test::SetVariable("QUILLON_TEST_ALICE", "g3h31m-two");
    EXPECT_EQ(Told({"compare", "one", "two", "--config", File("c.ini")}).exitCode, 1);
}

TEST_F(Secrets, OfLinkedServersAreToldNowhere) {
    QuillonLib::test::SetVariable("QUILLON_PASSWORD", "sandbox");
    QuillonLib::test::SetVariable("QUILLON_TEST_ALICE", "g3h31m-two");
    const Outcome outcome =
        Told({"compare", "--by-server", first, "two", "--config", File("c.ini"), "--user", "sa"});
    EXPECT_NE(outcome.exitCode, 0);
    // The password of a database behind a linked server.
    sandbox::ServerSettings settings;
    settings.name = u"THIRD";
    settings.password = u"g3h31m-three";
    sandbox::Server& third = box.AddServer(settings);
    third.Run(
        u"CREATE DATABASE d\nGO\nUSE d\nGO\nCREATE TABLE t (id int NOT NULL CONSTRAINT PK_t "
        u"PRIMARY KEY, name varchar(20) NULL, note ntext NULL)");
    QuillonLib::test::SetVariable("QUILLON_PASSWORD2", "g3h31m-three");
    const Outcome linked =
        Told({"compare", "--by-server", first, QuillonLib::ToUtf8(third.Address()) + "/d", "--user",
              "sa", "--user2", "sa"});
    EXPECT_EQ(linked.exitCode, 1) << linked.out << linked.err;
    EXPECT_TRUE(Holds(linked.err, "sp_addlinkedsrvlogin 'KARNOBE_2','false',NULL,'sa','***'"))
        << linked.err;
}

TEST_F(Secrets, ThatAreRefusedAreToldNowhere) {
    QuillonLib::test::SetVariable("QUILLON_PASSWORD", "g3h31m-wrong");
    const Outcome outcome = Told({"compare", first, second, "--user", "alice"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "failed after ")) << outcome.err;
}

}  // namespace
}  // namespace quillon
