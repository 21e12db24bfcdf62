// The commands under a login that may do little, from the first query to the last.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

// On both servers: a parent, its child, and a table without a key, with rows of every kind.
class CommandRightsTest : public TwoServers {
  protected:
    CommandRightsTest() {
        RunOnBothServers(
            u"DROP TABLE t\n"
            u"CREATE TABLE parent (id int NOT NULL PRIMARY KEY, n nvarchar(20) NULL, x text NULL)\n"
            u"CREATE TABLE child (id int NOT NULL PRIMARY KEY, p int NULL REFERENCES parent (id))\n"
            u"CREATE TABLE bag (a int NULL, b varbinary(max) NULL)\n"
            u"CREATE LOGIN little WITH PASSWORD = 'sandbox'\n"
            u"CREATE USER little FOR LOGIN little");
        RunOnFirst(
            u"INSERT parent VALUES (1, N'a', 'x'), (2, N'b', NULL), (3, N'only 1', 'y')\n"
            u"INSERT child VALUES (1, 3), (2, NULL)\n"
            u"INSERT bag VALUES (1, 0x01), (1, 0x01), (2, NULL)");
        RunOnSecond(
            u"INSERT parent VALUES (1, N'a', 'x'), (2, N'B', NULL), (4, N'only 2', 'y')\n"
            u"INSERT child VALUES (1, 4), (2, 1)\n"
            u"INSERT bag VALUES (1, 0x01), (3, NULL)");
    }

    void Grant(const std::u16string& rights) {
        for (const char16_t* table : {u"parent", u"child", u"bag"})
            RunOnBothServers(u"GRANT " + rights + u" ON " + table + u" TO little");
    }
    Outcome As(const char* user, const std::string& command,
               std::vector<std::string> options = {}) const {
        options.insert(options.begin(), command);
        options.insert(options.end(), {first, second, "--user", user});
        return Call(options);
    }
    Outcome Little(const std::string& command, std::vector<std::string> options = {}) const {
        return As("little", command, std::move(options));
    }

    // All cells of the three tables, as the server itself tells them.
    static std::string Rows(sandbox::Server& on) {
        std::u16string text;
        const auto add = [&](const std::u16string& query) {
            text += on.Scalar(u"USE d SELECT " + query) + u"; ";
        };
        for (const char16_t* id : {u"1", u"2", u"3", u"4"}) {
            const std::u16string where = std::u16string(u" WHERE id = ") + id;
            add(u"'parent ' + CAST(id AS varchar(9)) + ' ' + n FROM parent" + where);
            add(u"'child ' + CAST(id AS varchar(9)) + ' ' + ISNULL(CAST(p AS varchar(9)), '-') "
                u"FROM child" +
                where);
            add(std::u16string(u"COUNT(*) FROM bag WHERE a = ") + id);
        }
        return QuillonLib::ToUtf8(text);
    }
    static constexpr const char* RowsOf1 =
        "parent 1 a; child 1 3; 2; parent 2 b; child 2 -; 1; parent 3 only 1; ; 0; ; ; 0; ";
    static constexpr const char* RowsOf2 =
        "parent 1 a; child 1 4; 1; parent 2 B; child 2 1; 0; ; ; 1; parent 4 only 2; ; 0; ";

    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    static std::string Denied(const std::string& right, const std::string& table) {
        return "The " + right + " permission was denied on the object '" + table +
               "', database 'd', schema 'dbo'.";
    }
};

TEST_F(CommandRightsTest, TheFixtureHoldsWhatItSays) {
    EXPECT_EQ(Rows(server), RowsOf1);
    EXPECT_EQ(Rows(other), RowsOf2);
}

TEST_F(CommandRightsTest, SelectIsAllThatCompareTakes) {
    Grant(u"SELECT");
    const Outcome outcome = Little("compare");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "Table           Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[bag]             3          2          1          0          2          1  "
              "different\n"
              "[dbo].[child]           2          2          0          2          0          0  "
              "different\n"
              "[dbo].[parent]          3          3          1          1          1          1  "
              "different\n"
              "\n"
              "[dbo].[bag]\n"
              "  no key: whole rows are compared, in any order\n"
              "\n"
              "[dbo].[child]\n"
              "  changed cells: [p] 2\n"
              "\n"
              "[dbo].[parent]\n"
              "  changed cells: [n] 1\n"
              "\n"
              "3 tables: 0 identical, 3 different\n");
}

TEST_F(CommandRightsTest, SelectIsAllThatRowsTakes) {
    Grant(u"SELECT");
    const Outcome keyed = Little("rows", {"parent"});
    EXPECT_EQ(keyed.exitCode, 1);
    EXPECT_EQ(keyed.err, "quillon: changed cells: [n] 1\n");
    EXPECT_TRUE(Holds(keyed.out, "only 1")) << keyed.out;
    EXPECT_TRUE(Holds(keyed.out, "only 2")) << keyed.out;
    EXPECT_EQ(keyed.out, As("sa", "rows", {"parent"}).out);
    const Outcome bag = Little("rows", {"bag"});
    EXPECT_EQ(bag.exitCode, 1);
    EXPECT_EQ(bag.err, "quillon: no key: whole rows are compared, in any order\n");
    EXPECT_EQ(bag.out, As("sa", "rows", {"bag"}).out);
}

// The databases of the fixture's first server.
TEST_F(CommandRightsTest, SelectIsAllThatAComparisonByTheServerTakes) {
    RunOnBoth(u"CREATE USER little FOR LOGIN little\nGO\nGRANT SELECT ON p TO little");
    const Outcome outcome = Call({"compare", "--by-server", one, two, "--user", "little"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_TRUE(Holds(
        outcome.out, "[dbo].[p]          2          2          0          1          1          1"))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "\n1 table: 0 identical, 1 different\n")) << outcome.out;
    RunOnBoth(u"GRANT INSERT ON c TO little");
    const Outcome denied = Call({"compare", "--by-server", one, two, "--user", "little"});
    EXPECT_EQ(denied.exitCode, 2);
    EXPECT_TRUE(Holds(denied.out + denied.err,
                      "The SELECT permission was denied on the object 'c', database '"))
        << denied.out << denied.err;
}

// The files are those that an administrator gets, and bring the rows over.
TEST_F(CommandRightsTest, SelectIsAllThatScriptTakes) {
    Grant(u"SELECT");
    for (const char* guard : {"--guard", "--no-guard"}) {
        const Outcome outcome = Little("script", {"-o", File("l.sql"), "--to", "both", guard});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(As("sa", "script", {"-o", File("s.sql"), "--to", "both", guard}).exitCode, 0);
        EXPECT_EQ(Read("l.1.sql"), Read("s.1.sql"));
        EXPECT_EQ(Read("l.2.sql"), Read("s.2.sql"));
    }
    EXPECT_EQ(FilesInFolder(), 4U);
    const std::string file = Read("l.2.sql");
    other.Run(u"USE d\nGO\n" + QuillonLib::FromUtf8(file.substr(3)));
    EXPECT_EQ(Rows(other), RowsOf1);
}

TEST_F(CommandRightsTest, SyncTakesTheFourRightsAndNoMore) {
    Grant(u"SELECT, INSERT, UPDATE, DELETE");
    const Outcome outcome = Little("sync", {"--to", "2", "--yes"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(Rows(other), RowsOf1);
    EXPECT_EQ(Rows(server), RowsOf1);
}

// Rows are written to one of them only.
TEST_F(CommandRightsTest, SyncTakesSelectAloneWhereItOnlyReads) {
    Grant(u"SELECT");
    for (const char16_t* table : {u"parent", u"child", u"bag"})
        RunOnFirst(std::u16string(u"GRANT INSERT, UPDATE, DELETE ON ") + table + u" TO little");
    const Outcome outcome = Little("sync", {"--to", "1", "--yes"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.out << outcome.err;
    EXPECT_EQ(Rows(server), RowsOf2);
    EXPECT_EQ(Rows(other), RowsOf2);
}

TEST_F(CommandRightsTest, SyncWithoutOneOfTheFourChangesNothingAndNamesTableAndRight) {
    Grant(u"SELECT, INSERT, UPDATE, DELETE");
    const std::vector<std::pair<std::string, std::string>> needed{
        {"INSERT", "parent"}, {"UPDATE", "parent"}, {"DELETE", "parent"},
        {"UPDATE", "child"},  {"INSERT", "bag"},    {"DELETE", "bag"}};
    for (const auto& [right, table] : needed) {
        SCOPED_TRACE(right + " on " + table);
        const std::u16string on = QuillonLib::FromUtf8(right + " ON " + table);
        RunOnSecond(u"DENY " + on + u" TO little");
        const Outcome outcome = Little("sync", {"--to", "2", "--yes"});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_TRUE(Holds(outcome.err, Denied(right, table))) << outcome.err;
        EXPECT_TRUE(Holds(outcome.err, ", about [dbo].")) << outcome.err;
        EXPECT_TRUE(Holds(outcome.err, "failed in " + second + ", and everything was rolled back"))
            << outcome.err;
        EXPECT_FALSE(Holds(outcome.out, "Committed")) << outcome.out;
        EXPECT_EQ(Rows(other), RowsOf2);
        EXPECT_EQ(ConnectionsLeft(other), 0);
        RunOnSecond(u"REVOKE " + on + u" FROM little\nGRANT " + on + u" TO little");
    }
    EXPECT_EQ(Little("sync", {"--to", "2", "--yes"}).exitCode, 0);
    EXPECT_EQ(Rows(other), RowsOf1);
}

// The right to INSERT makes the table visible.
TEST_F(CommandRightsTest, ATableThatMayNotBeReadIsNamedByEveryCommand) {
    Grant(u"SELECT, INSERT, UPDATE, DELETE");
    for (const bool inFirst : {true, false}) {
        SCOPED_TRACE(inFirst);
        const auto run = [&](const std::u16string& sql) {
            inFirst ? RunOnFirst(sql) : RunOnSecond(sql);
        };
        run(u"DENY SELECT ON bag TO little");

        const Outcome compared = Little("compare");
        EXPECT_EQ(compared.exitCode, 2);
        EXPECT_TRUE(Holds(compared.out + compared.err, Denied("SELECT", "bag")))
            << compared.out << compared.err;
        EXPECT_TRUE(Holds(compared.out, "changed cells: [n] 1")) << compared.out;

        const Outcome shown = Little("rows", {"bag"});
        EXPECT_EQ(shown.exitCode, 2);
        EXPECT_EQ(shown.out, "");
        EXPECT_TRUE(Holds(shown.err, Denied("SELECT", "bag"))) << shown.err;

        // What it can do, it does whole; the table is named in the file, too.
        const Outcome written = Little("script", {"-o", File("u.sql")});
        EXPECT_EQ(written.exitCode, 2);
        EXPECT_TRUE(Holds(written.err, "quillon: left out: [dbo].[bag]: ")) << written.err;
        EXPECT_TRUE(Holds(written.err, Denied("SELECT", "bag"))) << written.err;
        EXPECT_TRUE(Holds(Read("u.sql"), "-- Left out, not compared to its end: [dbo].[bag]: "));
        EXPECT_FALSE(Holds(Read("u.sql"), "INTO [dbo].[bag]"));
        EXPECT_TRUE(Holds(Read("u.sql"), "INTO [dbo].[parent]"));
        const Outcome onOutput = Little("script", {"-o", "-", "-t", "bag"});
        EXPECT_EQ(onOutput.exitCode, 2);
        EXPECT_FALSE(Holds(onOutput.out, "INSERT")) << onOutput.out;

        run(u"REVOKE SELECT ON bag FROM little\nGRANT SELECT ON bag TO little");
    }
}

TEST_F(CommandRightsTest, SyncLeavesATableAloneThatMayNotBeRead) {
    Grant(u"SELECT, INSERT, UPDATE, DELETE");
    RunOnSecond(u"DENY SELECT ON bag TO little");
    const Outcome outcome = Little("sync", {"--to", "2", "--yes"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "quillon: left out: [dbo].[bag]: ")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, Denied("SELECT", "bag"))) << outcome.err;
    EXPECT_EQ(other.Scalar(u"USE d SELECT COUNT(*) FROM bag"), u"2");
    EXPECT_EQ(other.Scalar(u"USE d SELECT n FROM parent WHERE id = 3"), u"only 1");
    const Outcome bagOnly = Little("sync", {"--to", "2", "--yes", "-t", "bag"});
    EXPECT_EQ(bagOnly.exitCode, 2);
    EXPECT_EQ(other.Scalar(u"USE d SELECT COUNT(*) FROM bag"), u"2");
}

// A table without any right is not in the catalog that the login sees.
TEST_F(CommandRightsTest, ATableOutOfSightIsOneThatOnlyTheOtherHas) {
    Grant(u"SELECT");
    RunOnSecond(u"REVOKE SELECT ON bag FROM little");
    const Outcome outcome = Little("compare");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.err, "quillon: only in " + first + ", and left out: [dbo].[bag]\n"))
        << outcome.err;
    const Outcome rows = Little("rows", {"bag"});
    EXPECT_EQ(rows.exitCode, 1);
    EXPECT_TRUE(Holds(rows.err, "quillon: only in " + first + ", and left out: [dbo].[bag]\n"));
    RunOnFirst(u"REVOKE SELECT ON bag FROM little");
    const Outcome nowhere = Little("rows", {"bag"});
    EXPECT_EQ(nowhere.exitCode, 2);
    EXPECT_TRUE(Holds(nowhere.err,
                      "has a table [dbo].[bag]; tables of the first: [dbo].[child] "
                      "[dbo].[parent]\n"))
        << nowhere.err;
}

TEST_F(CommandRightsTest, ALoginWithoutAUserIsToldWithTheDatabase) {
    Grant(u"SELECT, INSERT, UPDATE, DELETE");
    RunOnSecond(u"CREATE LOGIN stranger WITH PASSWORD = 'sandbox'");
    RunOnFirst(
        u"CREATE LOGIN stranger WITH PASSWORD = 'sandbox'\n"
        u"CREATE USER stranger FOR LOGIN stranger\n"
        u"GRANT SELECT ON parent TO stranger");
    std::ofstream(File("u.sql")) << "old";
    const std::vector<std::vector<std::string>> commands{{"compare"},
                                                         {"rows", "parent"},
                                                         {"script", "-o", File("u.sql")},
                                                         {"sync", "--to", "2", "--yes"}};
    for (const auto& command : commands) {
        SCOPED_TRACE(command.front());
        const Outcome outcome =
            As("stranger", command.front(), {command.begin() + 1, command.end()});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(Holds(outcome.err, "cannot read the catalog of " + second + ":\n"))
            << outcome.err;
        EXPECT_TRUE(Holds(outcome.err, "\"d\"")) << outcome.err;
        EXPECT_TRUE(Holds(outcome.err, "stranger")) << outcome.err;
    }
    EXPECT_EQ(Read("u.sql"), "old");
    EXPECT_EQ(FilesInFolder(), 1U);
    EXPECT_EQ(Rows(other), RowsOf2);
}

// SET IDENTITY_INSERT takes ALTER.
TEST_F(CommandRightsTest, SyncOfAnIdentityColumnTakesAlterOnItsTable) {
    RunOnBothServers(
        u"CREATE TABLE i (id int IDENTITY NOT NULL PRIMARY KEY, v int NULL)\n"
        u"GRANT SELECT, INSERT, UPDATE, DELETE ON i TO little");
    RunOnFirst(u"INSERT i (v) VALUES (10)");
    const Outcome outcome = Little("sync", {"--to", "2", "--yes", "-t", "i"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "you do not have permissions")) << outcome.err;
    EXPECT_TRUE(Holds(outcome.err, "everything was rolled back:\n")) << outcome.err;
    EXPECT_EQ(other.Scalar(u"USE d SELECT COUNT(*) FROM i"), u"0");
    RunOnSecond(u"GRANT ALTER ON i TO little");
    EXPECT_EQ(Little("sync", {"--to", "2", "--yes", "-t", "i"}).exitCode, 0);
    EXPECT_EQ(other.Scalar(u"USE d SELECT v FROM i WHERE id = 1"), u"10");
}

}  // namespace
}  // namespace quillon
