// What compare says where no server compares.
#include <gtest/gtest.h>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

class DirectCompareTest : public TwoServers {
  protected:
    Outcome Direct(std::vector<std::string> options) const {
        return TwoServers::Direct("compare", std::move(options));
    }
};

TEST_F(DirectCompareTest, CountsRowsAndChangedCellsToTheLastUnit) {
    const Outcome outcome = Direct({});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "Table      Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[t]          3          3          1          1          1          1  "
              "different\n"
              "\n"
              "[dbo].[t]\n"
              "  changed cells: [name] 1, [note] 1\n"
              "\n"
              "1 table: 0 identical, 1 different\n");
}

TEST_F(DirectCompareTest, NoServerIsAskedForMoreThanSelect) {
    Direct({});
    for (auto* on : {&server, &other}) {
        bool any = false;
        for (const std::u16string& batch : Batches(*on)) {
            if (batch.find(u"FROM") == std::u16string::npos) continue;
            any = true;
            for (const char16_t* word : {u"INSERT", u"CREATE", u"EXEC ", u"sp_"})
                EXPECT_EQ(batch.find(word), std::u16string::npos) << QuillonLib::ToUtf8(batch);
        }
        EXPECT_TRUE(any);
        EXPECT_EQ(ConnectionsLeft(*on), 0);
    }
}

TEST_F(DirectCompareTest, EqualityIsLooserByTheCallersWordOnly) {
    EXPECT_NE(Direct({"--ignore-case"}).out.find("changed cells: [name] 1\n"), std::string::npos);
    const Outcome both = Direct({"--ignore-case", "--ignore-trailing-blanks"});
    EXPECT_EQ(both.err,
              "quillon: values are compared without regard to case, without blanks at the end\n");
    EXPECT_EQ(both.out.find("changed cells"), std::string::npos);
}

TEST_F(DirectCompareTest, AnOwnersNameMayHoldPoints) {
    RunOnBothServers(
        u"CREATE SCHEMA [my.app]\nGO\nCREATE TABLE [my.app].[a.b] (id int NOT NULL PRIMARY KEY, v "
        u"int NULL)\nGO\nINSERT [my.app].[a.b] VALUES (1, 1)");
    const Outcome outcome = Direct({"--table", "[my.app].[a.b]", "--columns", "[my.app].[a.b]=v"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "1 table: 1 identical, 0 different\n"));
}

// Whoever gets the result without standard error knows what "identical" means in it.
TEST_F(DirectCompareTest, LooserEqualityIsToldWithTheResult) {
    const std::string last = "1 table: 0 identical, 1 different; compared without regard to case";
    const Outcome table = Direct({"--ignore-case", "--quiet"});
    EXPECT_TRUE(table.out.ends_with("\n" + last + "\n")) << table.out;
    EXPECT_EQ(table.err, "");
    const Outcome markdown = Direct({"--ignore-case", "--quiet", "--format", "markdown"});
    EXPECT_TRUE(markdown.out.ends_with("\n**" + last + "**\n")) << markdown.out;
    EXPECT_EQ(markdown.err, "");
    // CSV has no place for it.
    const std::string told = "quillon: values are compared without regard to case\n";
    const Outcome exact = Direct({"--key", "t=id", "--format", "csv"});
    for (const char* loudness : {"--quiet", "--no-pager"}) {
        const Outcome csv = Direct({"--ignore-case", loudness, "--format", "csv"});
        EXPECT_EQ(csv.err, told);
        EXPECT_EQ(csv.out.substr(0, csv.out.find('\n')), exact.out.substr(0, exact.out.find('\n')));
    }
    const Outcome sync =
        TwoServers::Direct("sync", {"--ignore-case", "--quiet", "--to", "2", "--yes"});
    EXPECT_EQ(sync.exitCode, 0) << sync.err;
    EXPECT_TRUE(Holds(sync.out, "\n" + last + "\n")) << sync.out;
    EXPECT_TRUE(sync.out.ends_with(
        "\n1 table: 1 identical, 0 different; compared without regard to case\n"))
        << sync.out;
}

TEST_F(DirectCompareTest, AFailureNamesTheSide) {
    server.AddFault(ErrorIn(u"FROM [dbo].[t]"));
    const Outcome in1 = Direct({});
    EXPECT_EQ(in1.exitCode, 2);
    EXPECT_TRUE(Holds(in1.out, "Error comparing [dbo].[t]\nIn database 1 (" + first + "): "))
        << in1.out;
    other.AddFault(ErrorIn(u"FROM [dbo].[t]"));
    const Outcome in2 = Direct({"--format", "json"});
    EXPECT_TRUE(Holds(in2.out, "Error comparing [dbo].[t]\\nIn database 2 (" + second + "): "))
        << in2.out;
    EXPECT_TRUE(Holds(in2.out, "\"side\": 2")) << in2.out;
    // What both are about has no side.
    RunOnFirst(u"CREATE TABLE x (a int)");
    RunOnSecond(u"CREATE TABLE x (b int)");
    const Outcome none = Direct({"-t", "x", "--format", "json"});
    EXPECT_TRUE(Holds(none.out, "Error comparing [dbo].[x]\\nTable [dbo].[x] has no column "))
        << none.out;
    EXPECT_TRUE(Holds(none.out, "\"side\": null")) << none.out;
}

TEST_F(DirectCompareTest, IdenticalTablesAreExitCode0) {
    const Outcome outcome = Call({"compare", first, first, "--user", "sa", "--jobs", "1"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_NE(outcome.out.find("1 table: 1 identical, 0 different\n"), std::string::npos);
}

TEST_F(DirectCompareTest, ARestByConditionOrColumnIsNotTheWhole) {
    const Outcome where = Direct({"--where", "t=id = 1"});
    EXPECT_EQ(where.exitCode, 3);
    EXPECT_NE(where.out.find("  not compared: rows that do not meet id = 1\n"), std::string::npos)
        << where.out;
    EXPECT_EQ(Direct({"--where", "t=id = 1", "--accept-uncompared"}).exitCode, 0);
    const Outcome ignored = Direct({"--where", "t=id < 3", "--ignore", "name", "--ignore", "NOTE"});
    EXPECT_EQ(ignored.exitCode, 3);
    EXPECT_NE(ignored.out.find("  not compared: column [name]: it is ignored, as asked for\n"),
              std::string::npos)
        << ignored.out;
}

TEST_F(DirectCompareTest, ColumnsOfOneSideAreADifference) {
    server.Run(u"USE d\nGO\nALTER TABLE t ADD extra int NULL");
    const Outcome outcome = Direct({"--where", "t=id = 1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.out.find("columns differ\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("  column [extra] only in 1\n"), std::string::npos);
}

TEST_F(DirectCompareTest, OtherDeclarationsAreTold) {
    server.Run(
        u"USE d\nGO\nCREATE TABLE x (id int IDENTITY CONSTRAINT PK_x PRIMARY KEY, n int NULL)");
    other.Run(u"USE d\nGO\nCREATE TABLE x (id int NOT NULL, n bigint NULL)");
    const Outcome outcome = Direct({"-t", "x"});
    EXPECT_NE(outcome.out.find("  column [id]: IDENTITY in 1, none in 2\n"), std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("  column [n]: int in 1, bigint in 2\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("  primary key: [id] in 1, none in 2\n"), std::string::npos);
}

TEST_F(DirectCompareTest, ATableWithoutKeyIsComparedByWholeRows) {
    RunOnBothServers(u"CREATE TABLE bag (n int NULL)\nGO\nINSERT bag VALUES (1), (1), (NULL)");
    EXPECT_EQ(Direct({"-t", "bag"}).exitCode, 0);
    other.Run(u"USE d\nGO\nINSERT bag VALUES (1)");
    const Outcome outcome = Direct({"-t", "bag"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.out.find("no key: whole rows are compared, in any order"), std::string::npos);
    EXPECT_NE(outcome.out.find("[dbo].[bag]          3          4          3          0          0 "
                               "         1  different"),
              std::string::npos)
        << outcome.out;
}

TEST_F(DirectCompareTest, RowsAreMatchedByTheKeyThatIsNamed) {
    RunOnBothServers(u"CREATE TABLE k (a int NULL, b int NULL)");
    server.Run(u"USE d\nGO\nINSERT k VALUES (1, 1), (2, 2)");
    other.Run(u"USE d\nGO\nINSERT k VALUES (1, 1), (2, 3)");
    const Outcome outcome = Direct({"-t", "k", "--key", "k=a"});
    EXPECT_NE(outcome.out.find("changed cells: [b] 1\n"), std::string::npos) << outcome.out;
    const Outcome twice = Direct({"-t", "k", "--key", "k=a", "--key", "k=b"});
    EXPECT_EQ(twice.exitCode, 2);
    EXPECT_EQ(twice.err.substr(0, twice.err.find('\n')),
              "quillon: --key: [dbo].[k] has two choices");
}

TEST_F(DirectCompareTest, AKeyThatTellsNoRowsApartIsAnErrorOfThatTable) {
    RunOnBothServers(u"CREATE TABLE k (a int NULL)\nGO\nINSERT k VALUES (1), (1)");
    const Outcome outcome = Direct({"-t", "k", "-t", "t", "--key", "k=a"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.out.find("Error comparing [dbo].[k]\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("2 tables: 0 identical, 1 different, 1 not compared\n"),
              std::string::npos);
}

TEST_F(DirectCompareTest, NamesThatAreNotThereAreErrors) {
    const auto error = [&](std::vector<std::string> options) {
        const Outcome outcome = Direct(std::move(options));
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err.substr(0, outcome.err.find('\n'));
    };
    EXPECT_EQ(error({"--ignore", "nmae"}),
              "quillon: --ignore: no table that is compared has a column [nmae]");
    EXPECT_EQ(error({"--key", "x=a"}),
              "quillon: --key: [dbo].[x] is not among the tables that are compared: [dbo].[t]");
    EXPECT_EQ(error({"--where", "x=a"}),
              "quillon: --where: [dbo].[x] is not among the tables that are compared: [dbo].[t]");
    EXPECT_EQ(error({"--where", "t="}), "quillon: --where: 't=' is not TABLE=CONDITION");
}

TEST_F(DirectCompareTest, OptionsOfTheOtherRoadAreRefused) {
    const auto error = [&](const char* command, std::vector<std::string> options) {
        options.insert(options.begin(), {command, first, second, "--user", "sa"});
        const Outcome outcome = Call(options);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err.substr(0, outcome.err.find('\n'));
    };
    const auto byServerOnly = [](const std::string& option) {
        return "quillon: " + option + " goes with --by-server only: without it no server compares";
    };
    EXPECT_EQ(error("compare", {"--drop-linked-servers"}), byServerOnly("--drop-linked-servers"));
    EXPECT_EQ(error("compare", {"--via", first}), byServerOnly("--via"));
    EXPECT_EQ(error("script", {"-o", "-", "--no-comments"}), byServerOnly("--no-comments"));
    EXPECT_EQ(error("sync", {"--to", "2", "--suspend-constraints"}),
              byServerOnly("--suspend-constraints"));

    const auto directOnly = [](const std::string& option) {
        return "quillon: " + option + " does not go with --by-server: there the server compares";
    };
    EXPECT_EQ(error("compare", {"--by-server", "--ignore-case"}), directOnly("--ignore-case"));
    EXPECT_EQ(error("rows", {"t", "--by-server", "--key", "t=id"}), directOnly("--key"));
    EXPECT_EQ(error("script", {"-o", "-", "--by-server", "--where", "t=id=1"}),
              directOnly("--where"));
    EXPECT_EQ(error("sync", {"--to", "2", "--by-server", "--no-guard"}), directOnly("--guard"));
}

TEST_F(DirectCompareTest, AConditionThatTheServerRefusesIsAnErrorOfThatTable) {
    const Outcome outcome = Direct({"--where", "t=nowhere = 1"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.out.find("Invalid column name 'nowhere'"), std::string::npos) << outcome.out;
}

// A linked server could not be given such a login; none is needed here.
TEST_F(DirectCompareTest, ALoginWithAQuoteWillDo) {
    const Outcome direct = Call({"compare", first, second, "--user", "o'brien"});
    EXPECT_EQ(direct.exitCode, 2);
    EXPECT_NE(direct.err.find("Login failed for user 'o'brien'"), std::string::npos) << direct.err;
    const Outcome byServer = Call({"compare", "--by-server", first, second, "--user", "o'brien"});
    EXPECT_NE(byServer.err.find("cannot be given it"), std::string::npos) << byServer.err;
}

TEST_F(DirectCompareTest, OnlyDifferentTablesAreListedWhereThatIsAskedFor) {
    RunOnBothServers(
        u"CREATE TABLE same (id int NOT NULL CONSTRAINT PK_same PRIMARY KEY)\nGO\n"
        u"CREATE TABLE comp (id int NOT NULL CONSTRAINT PK_comp PRIMARY KEY, c AS id * 2)");
    const Outcome outcome = Direct({"--only-different"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.out, "\n[dbo].[t] "));
    EXPECT_TRUE(Holds(outcome.out, "\n[dbo].[comp] ")) << "not compared whole";
    EXPECT_FALSE(Holds(outcome.out, "[dbo].[same]")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "3 tables: 1 identical, 1 different, 1 not compared whole"));
    EXPECT_EQ(Direct({"--only-different", "-t", "same"}).out,
              "1 table: 1 identical, 0 different\n");
    EXPECT_EQ(OnBoth({"compare", "--by-server", "--only-different", "-t", "p"}).exitCode, 1);
}

TEST_F(DirectCompareTest, AViewIsMarkedAsOne) {
    RunOnBothServers(
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id, name FROM dbo.t\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)");
    const Outcome outcome = Direct({"-t", "v"});
    EXPECT_TRUE(Holds(outcome.out, "\n[dbo].[v] (view) ")) << outcome.out;
}

TEST_F(DirectCompareTest, ChoicesOfATableThatOneSideHasAreLeftAside) {
    RunOnFirst(u"CREATE TABLE mine (a int)");
    const Outcome outcome = Direct({"--key", "mine=a", "--where", "mine=a=1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "quillon: only in " + first + ", and left out: [dbo].[mine]\n");
    EXPECT_TRUE(Holds(outcome.out, "1 different, 1 in one database only\n")) << outcome.out;
}

TEST_F(DirectCompareTest, AnIgnoredColumnOfOneSideIsNoDifference) {
    RunOnFirst(u"ALTER TABLE t ADD extra int NULL");
    const Outcome outcome = Direct({"--where", "t=id = 1", "--ignore", "extra"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_TRUE(
        Holds(outcome.out, "  not compared: column [extra]: it is ignored, as asked for\n"));
    EXPECT_FALSE(Holds(outcome.out, "only in 1\n")) << outcome.out;
}

TEST_F(DirectCompareTest, AKeyThatCannotBeIgnoredIsTold) {
    const Outcome outcome = Direct({"--ignore", "ID"});
    EXPECT_TRUE(Holds(outcome.out, "  column [id]: not ignored, for rows are matched by it\n"))
        << outcome.out;
    EXPECT_FALSE(Holds(outcome.out, "it is ignored"));
}

TEST_F(DirectCompareTest, NumbersOutOfRangeAreRefused) {
    for (const auto& [option, value] :
         {std::pair("--float-digits", "0"), std::pair("--float-digits", "18"),
          std::pair("--jobs", "0"), std::pair("--jobs", "65"), std::pair("--jobs", "many")}) {
        const Outcome outcome = Direct({option, value});
        EXPECT_EQ(outcome.exitCode, 2) << option << value;
        EXPECT_TRUE(Holds(outcome.err, option)) << outcome.err;
    }
    EXPECT_EQ(Direct({"--jobs", "64"}).exitCode, 1);
}

TEST_F(DirectCompareTest, FloatsAreRoundedWhereThatIsAskedFor) {
    RunOnBothServers(u"CREATE TABLE f (id int NOT NULL CONSTRAINT PK_f PRIMARY KEY, v float)");
    RunOnFirst(u"INSERT f VALUES (1, 0.30000000000000004e0)");
    RunOnSecond(u"INSERT f VALUES (1, 0.3e0)");
    EXPECT_EQ(Direct({"-t", "f"}).exitCode, 1);
    EXPECT_EQ(Direct({"-t", "f", "--float-digits", "17"}).exitCode, 1);
    const Outcome rounded = Direct({"-t", "f", "--float-digits", "15"});
    EXPECT_EQ(rounded.exitCode, 0);
    EXPECT_EQ(rounded.err,
              "quillon: values are compared with real and float rounded to 15 digits\n");
}

TEST_F(DirectCompareTest, ASnapshotIsReadWhereTheDatabaseAllowsIt) {
    RunOnSecond(u"ALTER DATABASE d SET ALLOW_SNAPSHOT_ISOLATION ON");
    other.ClearLog();
    server.ClearLog();
    const Outcome outcome = Direct({"--snapshot"});
    EXPECT_TRUE(Holds(outcome.out, "  1 allows no snapshot: read under READ COMMITTED\n"))
        << outcome.out;
    EXPECT_FALSE(Holds(outcome.out, "  2 allows no snapshot"));
    const auto asked = [](sandbox::Server& on) {
        for (const std::u16string& batch : Batches(on)) {
            if (Holds(QuillonLib::ToUtf8(batch), "ISOLATION LEVEL SNAPSHOT")) return true;
        }
        return false;
    };
    EXPECT_FALSE(asked(server));
    EXPECT_TRUE(asked(other));
}

TEST_F(DirectCompareTest, AServerThatIsLostIsAnErrorOfThatTable) {
    RunOnBothServers(u"CREATE TABLE u (id int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    other.AddFault(
        {.kind = sandbox::FaultKind::DropAfterRows, .contains = u"FROM [dbo].[t]", .rows = 1});
    const Outcome outcome = Direct({});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.out, "2 tables: 1 identical, 0 different, 1 not compared\n"))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "Error comparing [dbo].[t]\n"));
    other.Kill();
    EXPECT_EQ(Direct({}).exitCode, 2);
    EXPECT_EQ(Direct({}).out, "");
    other.Restart();
}

TEST_F(DirectCompareTest, PatternsChooseTables) {
    RunOnBothServers(u"CREATE TABLE tall (id int NOT NULL CONSTRAINT PK_tall PRIMARY KEY)");
    const Outcome outcome = Direct({"-t", "t*", "--exclude", "?"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "1 table: 1 identical, 0 different\n"));
    EXPECT_EQ(Direct({"--exclude", "*.*"}).exitCode, 2);
}

}  // namespace
}  // namespace quillon
