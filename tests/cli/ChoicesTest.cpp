// Names of tables, columns and indexes on the command line.
#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include "cli/Names.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

TEST(Names, TablesAreWrittenWithOrWithoutOwnerAndBrackets) {
    EXPECT_EQ(ToTableEntry("t"), u"[dbo].[t]");
    EXPECT_EQ(ToTableEntry("o.t"), u"[o].[t]");
    EXPECT_EQ(ToTableEntry("[o].[t]"), u"[o].[t]");
    EXPECT_EQ(ToTableEntry("[my table]"), u"[dbo].[my table]");
    EXPECT_EQ(ToTableEntry("o.[a.b]"), u"[o].[a.b]");
    EXPECT_EQ(ToTableEntry("[a]]b]"), u"[dbo].[a]b]");
    EXPECT_EQ(ToTableEntry("[a]].[b]"), u"[dbo].[a].[b]");
    for (const char* bad : {"", ".", "o.", ".t", "a.b.c", "[a", "[a]b", "[]"}) {
        EXPECT_THROW(ToTableEntry(bad), CLI::ValidationError) << bad;
    }
}

TEST(Names, ColumnsAreCutAtCommasOutsideBrackets) {
    const ColumnsChoice choice = ParseColumnsChoice("[a=b]=x,[y,z],[q]]r]", "--key");
    EXPECT_EQ(choice.table, u"[dbo].[a=b]");
    EXPECT_EQ(choice.columns, (std::vector<std::u16string>{u"x", u"y,z", u"q]r"}));
    for (const char* bad : {"t", "t=", "=x", "t=x,", "t=,x", "t=[x"}) {
        EXPECT_THROW(ParseColumnsChoice(bad, "--key"), CLI::ValidationError) << bad;
    }
}

class ChoicesTest : public ProgramTest {
  protected:
    ChoicesTest() {
        RunOnBoth(
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, a int NOT NULL, b int "
            u"NOT NULL CONSTRAINT UQ_t UNIQUE)\nGO\nCREATE INDEX plain ON t (a)");
    }
    std::string ErrorOf(std::vector<std::string> options) const {
        options.insert(options.begin(), {"compare", "--by-server", "-t", "t"});
        const Outcome outcome = OnBoth(std::move(options));
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err.substr(0, outcome.err.find('\n'));
    }
};

TEST_F(ChoicesTest, AColumnThatIsNotThereIsNamedWithThoseThatAre) {
    EXPECT_EQ(ErrorOf({"--columns", "t=a,bb"}),
              "quillon: --columns: [dbo].[t] has no column [bb] in both databases; it has: [id], "
              "[a] and [b]");
}

TEST_F(ChoicesTest, ColumnsOfATableThatIsNotComparedAreRefused) {
    EXPECT_EQ(ErrorOf({"--columns", "p=n"}),
              "quillon: --columns: [dbo].[p] is not among the tables that are compared: [dbo].[t]");
}

TEST_F(ChoicesTest, AnIndexThatIsNotThereIsNamedWithThoseThatAre) {
    EXPECT_EQ(ErrorOf({"--index", "t=UQ_x"}),
              "quillon: --index: [dbo].[t] in " + one +
                  " has no index [UQ_x] (disabled and filtered ones not counted); its unique "
                  "indexes: [PK_t] and [UQ_t]");
    EXPECT_EQ(ErrorOf({"--index", "t=plain"}),
              "quillon: --index: [dbo].[t] in " + one +
                  " has no unique index [plain]; its unique indexes: [PK_t] and [UQ_t]");
}

TEST_F(ChoicesTest, AnIndexOfATableThatIsNotComparedIsRefused) {
    EXPECT_EQ(ErrorOf({"--index", "q=PK_q"}),
              "quillon: --index: [dbo].[q] is not among the tables that are compared: [dbo].[t]");
}

TEST_F(ChoicesTest, TwoChoicesForOneTableAreRefused) {
    EXPECT_EQ(ErrorOf({"--columns", "t=a", "--columns", "T=b"}),
              "quillon: --columns: [dbo].[T] has two choices");
    EXPECT_EQ(ErrorOf({"--index", "t=PK_t", "--index", "t=UQ_t"}),
              "quillon: --index: [dbo].[t] has two choices");
}

TEST_F(ChoicesTest, NamesAreFoundInAnyCaseAndTablesOnce) {
    const Outcome outcome = OnBoth({"compare", "--by-server", "-t", "T", "-t", "dbo.t", "--columns",
                                    "T=A,a,B", "--index", "T=pk_T"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("\n1 table: 1 identical, 0 different\n"), std::string::npos)
        << outcome.out;
}

TEST_F(ChoicesTest, AColumnThatTheServerRefusesToCompareCannotBeChosen) {
    RunOnBoth(u"ALTER TABLE t ADD x xml NULL");
    EXPECT_EQ(ErrorOf({"--columns", "t=a,x"}),
              "quillon: --columns: the server cannot compare the values of [x] in [dbo].[t]");
}

TEST_F(ChoicesTest, ATableThatNoDatabaseHasIsNamedWithThoseThatAre) {
    const Outcome outcome = OnBoth({"compare", "--by-server", "-t", "nothing"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("quillon: neither " + one + " nor " + two +
                               " has a table [dbo].[nothing]; tables of the first: [dbo].[c] "
                               "[dbo].[p] [dbo].[t]\n"),
              std::string::npos)
        << outcome.err;
}

TEST_F(ChoicesTest, ScriptsOfFewColumnsAreRefusedUnlessWholeRowsAreMeant) {
    server.Run(u"USE a\nGO\nINSERT t VALUES (1, 2, 3)");
    server.Run(u"USE b\nGO\nINSERT t VALUES (1, 5, 6)");
    for (std::vector<std::string> call :
         {std::vector<std::string>{"script", "--by-server", "-o", File("u.sql")},
          std::vector<std::string>{"sync", "--by-server", "--to", "2", "--yes"}}) {
        call.insert(call.end(), {"-t", "t", "--columns", "t=a"});
        const Outcome refused = OnBoth(call);
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_NE(refused.err.find("quillon: --columns compares few columns, but a script writes "
                                   "whole rows; say --whole-rows if that is meant\n"),
                  std::string::npos)
            << refused.err;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "u.sql"));
    EXPECT_EQ(server.Scalar(u"USE b SELECT b FROM t"), u"6");
    EXPECT_EQ(OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "t", "--columns", "t=a",
                      "--whole-rows"})
                  .exitCode,
              3);
    EXPECT_EQ(server.Scalar(u"USE b SELECT b FROM t"), u"3");
}

TEST_F(ChoicesTest, PicksOfATemplateWithoutTablesHoldForAllTables) {
    EXPECT_EQ(Template({"new", "x", one, two}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "column", "t", "a"}).exitCode, 0);
    EXPECT_EQ(Template({"pick", "index", "t", "UQ_t"}).exitCode, 0);
    server.Run(u"USE a\nGO\nINSERT t VALUES (1, 2, 3)");
    server.Run(u"USE b\nGO\nINSERT t VALUES (2, 2, 3)");
    const std::vector<std::string> compare{"compare",     "--by-server", "--template", "x",
                                           "--templates", File("t.xml"), "--user",     "sa"};
    const Outcome picked = Call(compare);
    EXPECT_NE(picked.out.find("[dbo].[t]          1          1          1          0          0  "),
              std::string::npos)
        << picked.out << picked.err;
    std::vector<std::string> named = compare;
    named.insert(named.end(), {"--columns", "t=id"});
    const Outcome other = Call(named);
    EXPECT_NE(other.out.find("[dbo].[t]          1          1          0          1          0  "),
              std::string::npos)
        << other.out << other.err;
}

// Server-made names of constraints differ from database to database.
TEST_F(ChoicesTest, UnnamedPrimaryKeysOfTheSameColumnsAreOneKey) {
    const std::u16string table =
        u"CREATE TABLE u (a int NOT NULL, b int NOT NULL, n int, PRIMARY KEY (a, b))\nGO\n"
        u"CREATE TABLE v (a int NOT NULL PRIMARY KEY)\nGO\n";
    server.Run(u"USE a\nGO\nCREATE TABLE filler (a int NOT NULL PRIMARY KEY)\nGO\n" + table +
               u"INSERT u VALUES (1, 2, 3)");
    server.Run(u"USE b\nGO\n" + table + u"INSERT u VALUES (1, 2, 4)");
    ASSERT_NE(
        server.Scalar(u"USE a SELECT name FROM sys.indexes WHERE object_id = OBJECT_ID('u')"),
        server.Scalar(u"USE b SELECT name FROM sys.indexes WHERE object_id = OBJECT_ID('u')"));
    const Outcome outcome = OnBoth({"compare", "--by-server", "-t", "u", "-t", "v"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_NE(outcome.out.find("2 tables: 1 identical, 1 different\n"), std::string::npos)
        << outcome.out;
    EXPECT_EQ(outcome.err,
              "quillon: primary keys of other names but the same columns are taken for the same "
              "key: [dbo].[u] [dbo].[v]\n");
    EXPECT_EQ(OnBoth({"sync", "--by-server", "--to", "2", "--yes", "-t", "u"}).exitCode, 0);
    EXPECT_EQ(server.Scalar(u"USE b SELECT n FROM u"), u"3");
}

TEST_F(ChoicesTest, PrimaryKeysOfOtherColumnsOrAnotherOrderAreNotOneKey) {
    server.Run(
        u"USE a\nGO\nCREATE TABLE u (a int NOT NULL, b int NOT NULL, CONSTRAINT PK1 PRIMARY "
        u"KEY (a, b))\nGO\nINSERT u VALUES (1, 2)");
    server.Run(
        u"USE b\nGO\nCREATE TABLE u (a int NOT NULL, b int NOT NULL, CONSTRAINT PK2 PRIMARY "
        u"KEY (b, a))\nGO\nINSERT u VALUES (1, 2)");
    const Outcome outcome = OnBoth({"compare", "--by-server", "-t", "u"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.err, "");
}

}  // namespace
}  // namespace quillon
