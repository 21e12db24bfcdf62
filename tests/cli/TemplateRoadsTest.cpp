// Templates, indexes and columns mean the same on both roads, for every command that compares.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class TemplateRoadsTest : public ProgramTest {
  protected:
    TemplateRoadsTest() {
        RunOnBoth(
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, a int NOT NULL, b int "
            u"NOT NULL CONSTRAINT UQ_t UNIQUE)");
        server.Run(u"USE a\nGO\nINSERT t VALUES (1, 2, 3), (2, 5, 6)");
        server.Run(u"USE b\nGO\nINSERT t VALUES (1, 2, 4), (2, 7, 6)");
    }
    Outcome Template(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"template", "--templates", File("t.xml")});
        return Call(arguments);
    }
    void Make(const std::string& name, const std::vector<std::string>& databases) {
        std::vector<std::string> make{"new", name};
        make.insert(make.end(), databases.begin(), databases.end());
        ASSERT_EQ(Template(make).exitCode, 0);
        ASSERT_EQ(Template({"pick", "table", "t"}).exitCode, 0);
    }
    Outcome With(const std::string& name, std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(),
                         {"--template", name, "--templates", File("t.xml"), "--user", "sa"});
        return Call(arguments);
    }
    static std::string FirstLine(const std::string& text) {
        return text.substr(0, text.find('\n'));
    }
};

constexpr const char* Counts =
    "Table      Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  Verdict\n";

TEST_F(TemplateRoadsTest, DatabasesTablesAndColumnsAreTakenOver) {
    Make("x", {one, two});
    ASSERT_EQ(Template({"pick", "column", "t", "A"}).exitCode, 0);
    const std::string told =
        std::string(Counts) +
        "[dbo].[t]          2          2          1          1          0          0  different\n"
        "\n"
        "[dbo].[t]\n";
    const std::string left = "  not compared: column [b]: it is not among the columns chosen\n";
    const Outcome direct = With("x", {"compare"});
    EXPECT_EQ(direct.exitCode, 1) << direct.err;
    EXPECT_EQ(direct.out, told + "  changed cells: [a] 1\n" + left +
                              "\n1 table: 0 identical, 1 different; left out: 1 column\n");
    const Outcome byServer = With("x", {"compare", "--by-server"});
    EXPECT_EQ(byServer.exitCode, 1) << byServer.err;
    EXPECT_EQ(byServer.out,
              told + left + "\n1 table: 0 identical, 1 different; left out: 1 column\n");
}

TEST_F(TemplateRoadsTest, AnIndexOfATemplateIsTheKeyOnBothRoads) {
    Make("x", {one, two});
    ASSERT_EQ(Template({"pick", "index", "t", "UQ_t"}).exitCode, 0);
    const std::string told =
        std::string(Counts) +
        "[dbo].[t]          2          2          0          1          1          1  different\n";
    for (const char* road : {"", "--by-server"}) {
        std::vector<std::string> call{"compare"};
        if (*road != '\0') call.emplace_back(road);
        const Outcome outcome = With("x", call);
        EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
        EXPECT_EQ(outcome.out.substr(0, told.size()), told);
    }
}

TEST_F(TemplateRoadsTest, TheCommandLineGoesBeforeATemplate) {
    Make("x", {"nowhere.invalid/a", "nowhere.invalid/b"});
    ASSERT_EQ(Template({"pick", "index", "t", "UQ_t"}).exitCode, 0);
    ASSERT_EQ(Template({"pick", "column", "t", "a"}).exitCode, 0);
    const std::string byId =
        "[dbo].[t]          2          2          1          1          0          0  different";
    for (const std::vector<std::string>& key :
         {std::vector<std::string>{"--key", "t=id"}, {"--index", "T=PK_t"}}) {
        std::vector<std::string> call{"compare", one, two, "--columns", "t=b"};
        call.insert(call.end(), key.begin(), key.end());
        const Outcome outcome = With("x", call);
        EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
        EXPECT_NE(outcome.out.find(byId), std::string::npos) << outcome.out;
        EXPECT_NE(outcome.out.find("column [a]: it is not among the columns chosen"),
                  std::string::npos)
            << outcome.out;
    }
}

TEST_F(TemplateRoadsTest, RowsTakesTheDatabasesTheKeyAndTheColumns) {
    Make("x", {one, two});
    ASSERT_EQ(Template({"pick", "column", "t", "a"}).exitCode, 0);
    const Outcome direct = With("x", {"rows", "t", "--different"});
    EXPECT_EQ(direct.exitCode, 1) << direct.err;
    EXPECT_EQ(direct.out,
              "Different: 1\n"
              "   id  a\n"
              "1  2   *5\n"
              "2  2   *7\n"
              "\n");
    EXPECT_NE(With("x", {"rows", "t", "--by-server", "--different"}).out.find("1  2   *5"),
              std::string::npos);
    const Outcome byUnique =
        With("x", {"rows", "t", "--index", "UQ_t", "--here", "--columns", "t=b"});
    EXPECT_EQ(byUnique.out, "Only in " + one + ": 1\nb\n3\n\n") << byUnique.err;
}

TEST_F(TemplateRoadsTest, ScriptsCarryTheColumnsOfATemplateAndNameTheOthers) {
    Make("x", {one, two});
    ASSERT_EQ(Template({"pick", "column", "t", "a"}).exitCode, 0);
    const Outcome script = With("x", {"script", "-o", File("u.sql")});
    EXPECT_EQ(script.exitCode, 3) << script.err;
    EXPECT_NE(script.err.find("[b]"), std::string::npos) << script.err;
    const Outcome sync = With("x", {"sync", "--to", "2", "--yes"});
    EXPECT_EQ(sync.exitCode, 3) << sync.out << sync.err;
    EXPECT_EQ(server.Scalar(u"USE b SELECT a FROM t WHERE id = 2"), u"5");
    EXPECT_EQ(server.Scalar(u"USE b SELECT b FROM t WHERE id = 1"), u"4");
}

TEST_F(TemplateRoadsTest, AScriptOfWholeRowsIsRefusedWhereATemplateChoosesColumns) {
    Make("x", {one, two});
    ASSERT_EQ(Template({"pick", "column", "t", "a"}).exitCode, 0);
    for (std::vector<std::string> call :
         {std::vector<std::string>{"script", "--by-server", "-o", File("u.sql")},
          std::vector<std::string>{"sync", "--by-server", "--to", "2", "--yes"}}) {
        const Outcome refused = With("x", call);
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_EQ(FirstLine(refused.err),
                  "quillon: the template compares few columns, but a script writes whole rows; say "
                  "--whole-rows if that is meant");
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "u.sql"));
    EXPECT_EQ(With("x", {"sync", "--by-server", "--to", "2", "--yes", "--whole-rows"}).exitCode, 3);
    EXPECT_EQ(server.Scalar(u"USE b SELECT a FROM t WHERE id = 2"), u"5");
}

TEST_F(TemplateRoadsTest, AThirdDatabaseMeansNothingWithoutAServerThatCompares) {
    Make("x", {one, two, "--via", two});
    for (const std::vector<std::string>& call : {std::vector<std::string>{"compare"},
                                                 {"rows", "t"},
                                                 {"script", "-o", "-"},
                                                 {"sync", "--to", "2", "--yes"}}) {
        const Outcome refused = With("x", call);
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_EQ(refused.out, "");
        EXPECT_EQ(FirstLine(refused.err),
                  "quillon: the template has the queries across both databases run in " + two +
                      ": without --by-server there are none; name both databases on the command "
                      "line if they are to be compared directly");
    }
    EXPECT_EQ(With("x", {"compare", one, two}).exitCode, 1);
    EXPECT_EQ(With("x", {"compare", "--by-server"}).exitCode, 1);
}

TEST_F(TemplateRoadsTest, PicksThatAreNotThereAreNamed) {
    Make("x", {one, two});
    ASSERT_EQ(Template({"pick", "column", "t", "c"}).exitCode, 0);
    EXPECT_EQ(
        FirstLine(With("x", {"compare"}).err),
        "quillon: --columns: [dbo].[t] has no column [c] in both databases; it has: [id], [a] "
        "and [b]");
    EXPECT_EQ(FirstLine(With("x", {"compare", "--columns", "t=a", "--columns", "T=b"}).err),
              "quillon: --columns: [dbo].[T] has two choices");
    EXPECT_EQ(FirstLine(With("x", {"compare", "--columns", "t=a", "--index", "t=none"}).err),
              "quillon: --index: [dbo].[t] in " + one +
                  " has no index [none] (disabled and filtered ones not counted); its unique "
                  "indexes: [PK_t] and [UQ_t]");
    EXPECT_EQ(
        FirstLine(
            With("x", {"compare", "--columns", "t=a", "--key", "t=id", "--index", "t=UQ_t"}).err),
        "quillon: --index: [dbo].[t] has two choices");
    EXPECT_EQ(FirstLine(With("x", {"compare", "--columns", "p=n"}).err),
              "quillon: --columns: [dbo].[p] is not among the tables that are compared: [dbo].[t]");
    EXPECT_EQ(FirstLine(With("y", {"compare"}).err),
              "quillon: " + File("t.xml") + " has no template named y; it has: Default, x");
}

}  // namespace
}  // namespace quillon
