#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

TEST_F(ProgramTest, ComparePrintsATableAndALastLine) {
    const Outcome outcome = OnBoth({"compare", "--by-server"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out,
              "Table      Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[c]          2          2          1          1          0          0  "
              "different\n"
              "[dbo].[p]          2          2          0          1          1          1  "
              "different\n"
              "\n"
              "2 tables: 0 identical, 2 different\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(ProgramTest, IdenticalDatabasesAreExitCode0) {
    const Outcome outcome =
        Call({"compare", "--by-server", one, one, "--user", "sa", "--table", "p"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(Holds(outcome.out, "1 table: 1 identical, 0 different\n"));
}

TEST_F(ProgramTest, TablesOfOneDatabaseAloneAreNamedAndNoIdenticalDatabases) {
    server.Run(
        u"CREATE DATABASE same\nGO\nUSE same\nGO\nCREATE TABLE p (id int NOT NULL CONSTRAINT "
        u"PK_p PRIMARY KEY, n nvarchar(20) NULL)\nGO\nINSERT p VALUES (1, N'one'), (2, NULL)\n"
        u"GO\nCREATE TABLE q (id int)\nGO\nCREATE TABLE r (id int)");
    const std::string same = QuillonLib::ToUtf8(server.Address()) + "/same";
    const Outcome outcome = Call({"compare", "--by-server", one, same, "--user", "sa"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.out, "1 table: 1 identical, 0 different, 3 in one database only\n"));
    EXPECT_EQ(outcome.err, "quillon: only in " + one + ", and left out: [dbo].[c]\n" +
                               "quillon: only in " + same +
                               ", and left out: [dbo].[q] [dbo].[r]\n");
}

TEST_F(ProgramTest, TablesOfTheSecondDatabaseAloneAreADifferenceToo) {
    server.Run(
        u"CREATE DATABASE more\nGO\nUSE more\nGO\nCREATE TABLE k (id int CONSTRAINT PK_k "
        u"PRIMARY KEY)\nGO\nCREATE TABLE extra (id int)\nGO\nCREATE DATABASE less\nGO\nUSE "
        u"less\nGO\nCREATE TABLE k (id int CONSTRAINT PK_k PRIMARY KEY)");
    const std::string more = QuillonLib::ToUtf8(server.Address()) + "/more";
    const std::string less = QuillonLib::ToUtf8(server.Address()) + "/less";
    EXPECT_EQ(Call({"compare", "--by-server", less, more, "--user", "sa"}).exitCode, 1);
    EXPECT_EQ(Call({"compare", "--by-server", more, less, "--user", "sa"}).exitCode, 1);
    EXPECT_EQ(Call({"compare", "--by-server", more, less, "--user", "sa", "-t", "k"}).exitCode, 0);
}

TEST_F(ProgramTest, RowsOnEachSideAloneAreCounted) {
    RunOnB(u"INSERT p VALUES (4, N'four'), (5, N'five')");
    EXPECT_EQ(OnBoth({"compare", "--by-server", "-t", "p"}).out,
              "Table      Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[p]          2          4          0          1          1          3  "
              "different\n"
              "\n"
              "1 table: 0 identical, 1 different\n");
}

TEST_F(ProgramTest, ViewsAreMarked) {
    RunOnBoth(
        u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.p\nGO\n"
        u"CREATE UNIQUE CLUSTERED INDEX uix ON v (id)");
    const std::string out = OnBoth({"compare", "--by-server", "-t", "v"}).out;
    EXPECT_TRUE(Holds(out, "\n[dbo].[v] (view)  "));
}

TEST_F(ProgramTest, NoTableInCommonIsADifference) {
    server.Run(u"CREATE DATABASE nothing\nGO\nCREATE DATABASE nothing2");
    const std::string nothing = QuillonLib::ToUtf8(server.Address()) + "/nothing";
    const Outcome outcome = Call({"compare", "--by-server", one, nothing, "--user", "sa"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.out, "0 tables: 0 identical, 0 different, 2 in one database only\n"));
    EXPECT_EQ(outcome.err, "quillon: only in " + one + ", and left out: [dbo].[c] [dbo].[p]\n");
    const Outcome none = Call({"compare", "--by-server", nothing, nothing + "2", "--user", "sa"});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "quillon: neither " + nothing + " nor " + nothing + "2 has a table\n");
}

TEST_F(ProgramTest, ATableWithoutAKeyIsOnlyCounted) {
    RunOnBoth(u"CREATE TABLE k (x int)\nGO\nINSERT k VALUES (1)");
    const Outcome outcome = OnBoth({"compare", "--by-server", "-t", "dbo.k", "-t", "[dbo].[p]"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out,
              "Table      Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[k]          1          1          -          -          -          -  "
              "no difference found\n"
              "[dbo].[p]          2          2          0          1          1          1  "
              "different\n"
              "\n"
              "[dbo].[k]\n"
              "  not compared: its rows, which were only counted: the databases share no key\n"
              "\n"
              "2 tables: 0 identical, 1 different, 1 not compared whole; left out: the rows of 1 "
              "table\n");
    const Outcome rows = OnBoth({"rows", "--by-server", "k"});
    EXPECT_EQ(rows.exitCode, 2);
    EXPECT_EQ(rows.err,
              "quillon: k has no key that both databases share: its rows cannot be matched\n");
}

TEST_F(ProgramTest, ChoicesOfKeyAndColumnsCount) {
    RunOnBoth(
        u"CREATE TABLE k (x int NOT NULL CONSTRAINT PK_k PRIMARY KEY, "
        u"y int NOT NULL CONSTRAINT UQ_k UNIQUE, z int)");
    RunOnA(u"INSERT k VALUES (1, 10, 5)");
    RunOnB(u"INSERT k VALUES (2, 10, 6)");
    const auto lastLine = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"compare", "--by-server", "-t", "k"});
        const std::string out = OnBoth(options).out;
        return out.substr(out.find("[dbo].[k]"), 67);
    };
    EXPECT_EQ(lastLine({}), "[dbo].[k]          1          1          0          0          1   ");
    EXPECT_EQ(lastLine({"--index", "k=UQ_k"}),
              "[dbo].[k]          1          1          0          1          0   ");
    EXPECT_EQ(lastLine({"--index", "k=UQ_k", "--columns", "k=y"}),
              "[dbo].[k]          1          1          1          0          0   ");
    EXPECT_EQ(Template({"new", "t", one, two}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "table", "k"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "index", "k", "UQ_k"}).exitCode, 0);
    const std::string out = Call({"compare", "--by-server", "--template", "t", "--templates",
                                  File("t.xml"), "--user", "sa"})
                                .out;
    EXPECT_TRUE(Holds(out, "[dbo].[k]          1          1          0          1          0   "));
    const Outcome bad = OnBoth({"compare", "--by-server", "-t", "k", "--index", "UQ_k"});
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_TRUE(Holds(bad.err, "quillon: --index: 'UQ_k' is not TABLE=NAME\n"));
}

TEST_F(ProgramTest, EachDatabaseMayHaveItsOwnLogin) {
    sandbox::ServerSettings settings;
    settings.name = u"OTHER";
    settings.user = u"reader";
    settings.password = u"two";
    sandbox::Server& other = box.AddServer(settings);
    other.Run(u"CREATE DATABASE b\nGO\nUSE b\nGO\nCREATE TABLE p (id int)");
    const std::vector<std::string> call{
        "compare", "--by-server", one,      QuillonLib::ToUtf8(other.Address()) + "/b",
        "-t",      "p",           "--user", "sa",
        "--user2", "reader"};
    setenv("QUILLON_PASSWORD2", "two", 1);
    const Outcome right = Call(call);
    setenv("QUILLON_PASSWORD2", "sandbox", 1);
    const Outcome wrong = Call(call);
    unsetenv("QUILLON_PASSWORD2");
    EXPECT_TRUE(Holds(
        right.out, "1 table: 0 identical, 1 different; left out: the rows of 1 table, 1 column\n"))
        << right.out << right.err;
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_TRUE(Holds(wrong.err, "Login failed for user 'reader'."));
}

TEST_F(ProgramTest, TheSecondPasswordServesTheSameUserToo) {
    setenv("QUILLON_PASSWORD2", "wrong", 1);
    const Outcome outcome = OnBoth({"compare", "--by-server"});
    unsetenv("QUILLON_PASSWORD2");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "Login failed for user 'sa'."));
}

TEST_F(ProgramTest, TheQueriesAcrossBothRunWhereViaSays) {
    sandbox::ServerSettings settings;
    settings.name = u"THIRD";
    sandbox::Server& third = box.AddServer(settings);
    third.Run(u"CREATE DATABASE c");
    const std::string via = QuillonLib::ToUtf8(third.Address()) + "/c";
    const Outcome outcome = OnBoth({"compare", "--by-server", "-t", "p", "--via", via});
    EXPECT_TRUE(Holds(outcome.out, "1 table: 0 identical, 1 different\n"));
    const auto batches = Batches(third);
    EXPECT_NE(std::find_if(batches.begin(), batches.end(),
                           [](const std::u16string& batch) {
                               return batch.find(u"UNION") != std::u16string::npos;
                           }),
              batches.end());
}

TEST_F(ProgramTest, ScriptBringsParentsBeforeChildren) {
    const std::string script = OnBoth({"script", "--by-server", "--to", "2", "-o", "-"}).out;
    const std::size_t parent = script.find("_Insert 2, NULL");
    const std::size_t child = script.find("EXEC prcTmp_QVX_Update 2, 2");
    ASSERT_NE(parent, std::string::npos) << script;
    ASSERT_NE(child, std::string::npos) << script;
    EXPECT_LT(parent, child);
}

TEST_F(ProgramTest, AMissingPasswordIsNamed) {
    unsetenv("QUILLON_PASSWORD");
    EXPECT_EQ(OnBoth({"compare", "--by-server"}).err,
              "quillon: no password for sa: set QUILLON_PASSWORD in the environment\n");
}

TEST_F(ProgramTest, ATableThatCannotBeComparedIsExitCode2) {
    server.AddFault(ErrorIn(u"SELECT COUNT(*) FROM [dbo].[p]"));
    const Outcome outcome = OnBoth({"compare", "--by-server"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.out, "Error comparing [dbo].[p]\n"));
    EXPECT_TRUE(Holds(outcome.out, "made to fail"));
    EXPECT_TRUE(Holds(outcome.out, "2 tables: 0 identical, 1 different, 1 not compared\n"));
}

TEST_F(ProgramTest, BadCallsAreNamed) {
    const Outcome place = Call({"compare", "--by-server", "x", "y", "--user", "sa"});
    EXPECT_EQ(place.exitCode, 2);
    EXPECT_TRUE(Holds(place.err, "quillon: 'x' is neither SERVER/DATABASE nor a connection in"));
    EXPECT_EQ(Call({"compare", "--by-server", one, two}).exitCode, 2);
    EXPECT_TRUE(Holds(Call({"compare", "--by-server", one, two}).err, "--user or --integrated"));
    EXPECT_TRUE(
        Holds(Call({"compare", "--by-server", one, "--user", "sa"}).err, "Two databases, each as"));
    EXPECT_EQ(Call({"compare", "\xE9", two, "--user", "sa"}).err,
              "quillon: argument 2 is not UTF-8\n");
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p", "--limit", "0"}).exitCode, 2);
    EXPECT_EQ(Call({"nonsense"}).exitCode, 2);
    EXPECT_EQ(Call({}).exitCode, 2);
}

TEST_F(ProgramTest, HelpIsNoFailure) {
    const Outcome outcome = Call({"sync", "--help"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(Holds(outcome.out, "--suspend-constraints"));
}

TEST_F(ProgramTest, ARefusedLoginShowsTheServersTextAndNoPassword) {
    setenv("QUILLON_PASSWORD", "not the password", 1);
    const Outcome outcome = OnBoth({"compare", "--by-server"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "Login failed for user 'sa'."));
    EXPECT_FALSE(Holds(outcome.err, "not the password"));
}

TEST_F(ProgramTest, RowsMarksTheCellsThatDiffer) {
    const Outcome outcome = OnBoth({"rows", "--by-server", "p"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out, "Different: 1\n   id  n\n1  1   *one\n2  1   *uno\n\nOnly in " + one +
                               ": 1\nid  n\n2   NULL\n\nOnly in " + two +
                               ": 1\nid  n\n3   three\n\n");
}

TEST_F(ProgramTest, RowsShowsTheKindsThatAreAskedForAndNoMoreThanTheLimit) {
    RunOnA(u"INSERT p VALUES (7, N'seven'), (8, N'eight'), (9, N'nine')");
    RunOnB(u"INSERT p VALUES (7, N'seven'), (8, N'ate'), (9, N'9')");
    const std::string only1 = "Only in " + one + ": 1\nid  n\n2   NULL\n\n";
    const std::string only2 = "Only in " + two + ": 1\nid  n\n3   three\n\n";
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p", "--identical"}).out,
              "Identical: 1\nid  n\n7   seven\n\n");
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p", "--here"}).out, only1);
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p", "--there"}).out, only2);
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p", "--different"}).out.substr(0, 13),
              "Different: 3\n");
    EXPECT_EQ(OnBoth({"rows", "--by-server", "p", "--different", "--limit", "2"}).out.substr(0, 18),
              "Different: 2 of 3\n");
    EXPECT_EQ(OnBoth({"rows", "--by-server", "nothing"}).exitCode, 2);
}

TEST_F(ProgramTest, RowsShowsEveryValueOnOneLine) {
    const std::u16string table =
        u"CREATE TABLE v (id int NOT NULL CONSTRAINT PK_v PRIMARY KEY, b varbinary(9), n "
        u"nvarchar(20))\nGO\n";
    RunOnA(table + u"INSERT v VALUES (1, 0x00FF, N'a' + CHAR(13) + CHAR(10) + CHAR(9) + CHAR(1))");
    RunOnB(table);
    EXPECT_EQ(OnBoth({"rows", "--by-server", "v", "--here"}).out,
              "Only in " + one + ": 1\nid  b       n\n1   0x00FF  'a\\r\\n\\t\\x01'\n\n");
}

TEST_F(ProgramTest, RowsTakesAKeyByName) {
    RunOnBoth(
        u"CREATE TABLE k (x int NOT NULL CONSTRAINT PK_k PRIMARY KEY, "
        u"y int NOT NULL CONSTRAINT UQ_k UNIQUE)");
    RunOnA(u"INSERT k VALUES (1, 10)");
    RunOnB(u"INSERT k VALUES (2, 10)");
    const std::string out =
        OnBoth({"rows", "--by-server", "k", "--index", "UQ_k", "--different"}).out;
    EXPECT_EQ(out.substr(0, 13), "Different: 1\n");
}

TEST_F(ProgramTest, ScriptGoesToStandardOutputWithoutAMark) {
    const Outcome outcome = OnBoth({"script", "--by-server", "--to", "1", "-o", "-"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out.substr(0, 14), "-- Run this on");
    EXPECT_TRUE(Holds(outcome.out, "\r\nEXEC prcTmp_QVX_Insert 3, N'three'\r\n"));
    EXPECT_EQ(OnBoth({"script", "--by-server", "--to", "both", "-o", "-"}).exitCode, 2);
}

TEST_F(ProgramTest, ScriptWritesAFileForEachSide) {
    EXPECT_EQ(
        OnBoth({"script", "--by-server", "--to", "both", "-o", File("u.sql"), "--no-comments"})
            .exitCode,
        0);
    EXPECT_TRUE(Holds(Read("u.1.sql"), "_Insert 3, N'three'"));
    EXPECT_TRUE(Holds(Read("u.2.sql"), "_Insert 2, NULL"));
    EXPECT_FALSE(Holds(Read("u.1.sql"), "-- Run"));
    EXPECT_EQ(
        OnBoth({"script", "--by-server", "--to", "2", "-o", File("no folder/u.sql")}).exitCode, 2);
}

TEST_F(ProgramTest, ScriptLeavesReplicationColumnsOutWhenAsked) {
    RunOnBoth(
        u"CREATE TABLE k (x int NOT NULL CONSTRAINT PK_k PRIMARY KEY, "
        u"msrepl_tran_version uniqueidentifier NULL)");
    RunOnA(u"INSERT k VALUES (4, '00000000-0000-0000-0000-000000000001')");
    const std::vector<std::string> call{"script", "--by-server", "-t", "k", "-o", "-"};
    const std::string all = OnBoth(call).out;
    EXPECT_TRUE(Holds(all, "_Insert 4, '{00000000-0000-0000-0000-000000000001}'"));
    std::vector<std::string> less = call;
    less.emplace_back("--ignore-replication-columns");
    EXPECT_TRUE(Holds(OnBoth(less).out, "_Insert 4\r\n"));
}

TEST_F(ProgramTest, ATableThatAScriptLeavesOutIsNamed) {
    server.AddFault(ErrorIn(u"SELECT COUNT(*) FROM [dbo].[c]"));
    const Outcome outcome = OnBoth({"script", "--by-server", "-o", File("u.sql")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "quillon: left out: [dbo].[c]: Error comparing [dbo].[c]\n"));
    EXPECT_TRUE(Holds(Read("u.sql"), "_Insert 2, NULL"));
}

TEST_F(ProgramTest, ScriptWritesBothEncodingsWithTheirMark) {
    EXPECT_EQ(OnBoth({"script", "--by-server", "--to", "2", "-o", File("a.sql")}).exitCode, 0);
    const std::string utf8 = Read("a.sql");
    EXPECT_EQ(utf8.substr(0, 17), "\xEF\xBB\xBF-- Run this on");
    EXPECT_TRUE(Holds(utf8, "\r\nEXEC prcTmp_QVX_Insert 2, NULL\r\n"));
    EXPECT_EQ(
        OnBoth({"script", "--by-server", "--to", "2", "-o", File("b.sql"), "--encoding", "utf16"})
            .exitCode,
        0);
    const std::string utf16 = Read("b.sql");
    EXPECT_EQ(utf16.substr(0, 6), std::string("\xFF\xFE-\0-\0", 6));
    EXPECT_EQ(utf16.size(), 2 + (utf8.size() - 3) * 2);
}

TEST_F(ProgramTest, HalfASurrogatePairIsRefusedInUtf8AndNothingIsWritten) {
    RunOnA(u"INSERT p VALUES (9, N'" + std::u16string(1, 0xD83D) + u"')");
    const Outcome outcome = OnBoth({"script", "--by-server", "--to", "2", "-o", File("a.sql")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "--encoding utf16"));
    EXPECT_FALSE(std::filesystem::exists(folder / "a.sql"));
    EXPECT_EQ(
        OnBoth({"script", "--by-server", "--to", "2", "-o", File("a.sql"), "--encoding", "utf16"})
            .exitCode,
        0);
}

TEST_F(ProgramTest, TemplatesAreMadePickedShownAndRemoved) {
    EXPECT_EQ(Template({"new", "nightly", "s/a", "s/b"}).exitCode, 0);
    EXPECT_EQ(Template({"new", "NIGHTLY", "s/a", "s/b"}).exitCode, 2);
    EXPECT_EQ(Template({"pick", "table", "p"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "column", "p", "n"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "index", "p", "PK_p"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "column", "p"}).exitCode, 2);
    EXPECT_EQ(Template({"list"}).out, "  Default\n* nightly\n");
    EXPECT_EQ(
        Template({"show", "nightly"}).out,
        "Database 1: s/a\nDatabase 2: s/b\nDatabase 3: s/a\n[dbo].[p]\n  key: PK_p\n  column: n\n");
    EXPECT_EQ(Template({"drop", "column", "p", "n"}).exitCode, 0);
    EXPECT_EQ(Template({"drop", "index", "p", "PK_p"}).exitCode, 0);
    const std::string dropped = Template({"show", "nightly"}).out;
    EXPECT_EQ(dropped, "Database 1: s/a\nDatabase 2: s/b\nDatabase 3: s/a\n[dbo].[p]\n");
    EXPECT_EQ(Template({"use", "Default"}).exitCode, 0);
    EXPECT_EQ(Template({"list"}).out, "* Default\n  nightly\n");
    EXPECT_EQ(Template({"remove", "Default"}).exitCode, 2);
    EXPECT_EQ(Template({"remove", "nightly"}).exitCode, 0);
    EXPECT_EQ(Template({"show", "nightly"}).exitCode, 2);
}

TEST_F(ProgramTest, CompareTakesDatabasesAndPicksFromATemplate) {
    EXPECT_EQ(Template({"new", "nightly", one, two}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "table", "p"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "column", "p", "id"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "index", "p", "PK_p"}).exitCode, 0);
    const Outcome outcome = Call({"compare", "--by-server", "--template", "nightly", "--templates",
                                  File("t.xml"), "--user", "sa"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_EQ(outcome.out,
              "Table      Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[p]          2          2          1          0          1          1  "
              "different\n"
              "\n"
              "[dbo].[p]\n"
              "  not compared: column [n]: it is not among the columns chosen\n"
              "\n"
              "1 table: 0 identical, 1 different; left out: 1 column\n");
    EXPECT_EQ(Call({"compare", "--by-server", "--template", "no such", "--templates", File("t.xml"),
                    "--user", "sa"})
                  .exitCode,
              2);
}

TEST_F(ProgramTest, DatabasesAreListed) {
    const Outcome outcome =
        Call({"databases", QuillonLib::ToUtf8(server.Address()), "--user", "sa"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out.substr(0, 4), "a\nb\n");
}

TEST_F(ProgramTest, SplitWritesAFileForEachBatch) {
    std::ofstream(folder / "s.sql", std::ios::binary) << "A\r\nGO\r\nB";
    EXPECT_EQ(Call({"split", File("s.sql"), "--out", File("out")}).exitCode, 0);
    EXPECT_EQ(Read("out/1.sql"),
              "\xEF\xBB\xBF"
              "A");
    EXPECT_EQ(Read("out/2.sql"),
              "\xEF\xBB\xBF"
              "B");
    EXPECT_EQ(Call({"split", File("missing.sql")}).exitCode, 2);
}

TEST_F(ProgramTest, SplitCarriesHalfAPairInUtf16Alone) {
    std::ofstream file(folder / "s.sql", std::ios::binary);
    for (const char16_t unit : std::u16string(u"\xFEFF"
                                              u"A\r\nGO\r\n\xD800"))
        file << static_cast<char>(unit & 0xFF) << static_cast<char>(unit >> 8);
    file.close();
    const std::string told =
        "quillon: the data holds half a surrogate pair, which UTF-8 cannot carry; use --encoding "
        "utf16\n";
    EXPECT_EQ(Call({"split", File("s.sql"), "--out", File("out")}).err, told);
    EXPECT_FALSE(std::filesystem::exists(folder / "out"));
    EXPECT_EQ(Call({"split", File("s.sql")}).err,
              "quillon: the data holds half a surrogate pair, which UTF-8 cannot carry; use --out "
              "and --encoding utf16\n");
    EXPECT_EQ(Call({"split", File("s.sql"), "--out", File("out"), "--encoding", "utf16"}).exitCode,
              0);
    EXPECT_EQ(Read("out/1.sql"), std::string("\xFF\xFE"
                                             "A\0",
                                             4));
    EXPECT_EQ(Read("out/2.sql"), std::string("\xFF\xFE\x00\xD8", 4));
}

TEST_F(ProgramTest, SplitReadsUtf16AndRefusesWhatIsNoText) {
    const auto written = [&](std::string_view bytes) {
        std::ofstream(folder / "s.sql", std::ios::binary) << bytes;
        return Call({"split", File("s.sql")});
    };
    EXPECT_EQ(written({"\xFF\xFE\xE9\0", 4}).out, "-- batch 1\n\u00e9\n");
    EXPECT_EQ(written("\xEF\xBB\xBF\u00e9").out, "-- batch 1\n\u00e9\n");
    EXPECT_EQ(written({"\xFF\xFE\xE9", 3}).err,
              "quillon: " + File("s.sql") + " ends within a character\n");
    EXPECT_EQ(written("\xE9").err,
              "quillon: " + File("s.sql") + " is neither UTF-8 nor marked as UTF-16\n");
}

// Calls the program with a text as its standard input.
class EncryptionTest : public ProgramTest {
  protected:
    EncryptionTest() { setenv("QUILLON_PASSPHRASE", "secret", 1); }
    ~EncryptionTest() override { unsetenv("QUILLON_PASSPHRASE"); }
    Outcome CallWith(const std::string& input, const char* command) const {
        std::ofstream(folder / "input", std::ios::binary) << input;
        const int own = dup(STDIN_FILENO);
        const int file = open(File("input").c_str(), O_RDONLY);
        dup2(file, STDIN_FILENO);
        Outcome outcome = Call({command});
        dup2(own, STDIN_FILENO);
        close(file);
        close(own);
        return outcome;
    }
};

// The digits come from another implementation of MD5 and RC4.
TEST_F(EncryptionTest, EncryptsStandardInputToHexadecimalDigitsAndBack) {
    EXPECT_EQ(CallWith("Hello\n", "encrypt").out, "de1c9ddfd77fc3861215\n");
    EXPECT_EQ(CallWith("Hello", "encrypt").out, "de1c9ddfd77fc3861215\n");
    EXPECT_EQ(CallWith("de1c9ddfd77fc3861215\n", "decrypt").out, "Hello\n");
    EXPECT_EQ(CallWith("DE1C9DDFD77FC3861215", "decrypt").out, "Hello\n");
    EXPECT_EQ(CallWith("\u00e9\U0001F600", "decrypt").exitCode, 2);
}

TEST_F(EncryptionTest, NamesWhatItCannotTake) {
    EXPECT_EQ(CallWith("d", "decrypt").err, "quillon: an odd number of hexadecimal digits\n");
    EXPECT_EQ(CallWith("dx", "decrypt").err, "quillon: 'x' is not a hexadecimal digit\n");
    EXPECT_EQ(CallWith("\xE9", "encrypt").err, "quillon: the text is not UTF-8\n");
    EXPECT_EQ(CallWith("", "encrypt").exitCode, 2);
    EXPECT_EQ(CallWith("", "decrypt").exitCode, 2);
    setenv("QUILLON_PASSPHRASE", "\xE9", 1);
    EXPECT_EQ(CallWith("x", "encrypt").err, "quillon: QUILLON_PASSPHRASE is not UTF-8\n");
}

}  // namespace
}  // namespace quillon
