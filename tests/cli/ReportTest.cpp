// The report as a file: what it holds, and when it is there. What a browser makes of it is in
// tests/formats.
#include <gtest/gtest.h>

#include "cli/CommandLine.h"
#include "cli/ReportCell.h"
#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

using namespace QuillonLib;

class ReportTest : public TwoServers {
  protected:
    Outcome Report(std::vector<std::string> options = {}) {
        options.insert(options.end(), {"--report", File("r.html")});
        return Direct("compare", std::move(options));
    }
    // What stands between a text and the next end of an element of script.
    std::string Element(const std::string& begin) const {
        const std::string html = Read("r.html");
        const std::size_t at = html.find(begin);
        if (at == std::string::npos) return "";
        const std::size_t from = at + begin.size();
        return html.substr(from, html.find("</script>", from) - from);
    }
    std::string Rows(const std::string& kinds, int table = 0) const {
        return Element(R"(<script type="application/json" class="rows" data-table=")" +
                       std::to_string(table) + R"(" data-kinds=")" + kinds + R"(">)");
    }
    std::string Results() const {
        return Element(R"(<script type="application/json" id="results">)");
    }
};

TEST_F(ReportTest, HoldsTheRowsThatDifferAndTheResults) {
    const Outcome outcome = Report();
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "Written: " + File("r.html") + "\n");
    EXPECT_TRUE(Holds(outcome.out, "1 table: 0 identical, 1 different"));
    EXPECT_EQ(Rows("d12"), R"([[[1,2],["2","Case","long"],["2","case ","LONG"]],)"
                           "\n"
                           R"([["3","gone",null]],)"
                           "\n"
                           R"([["4","new",null]]])");
    EXPECT_TRUE(Holds(Results(), R"({"limit":1000,"results":{"schema":"quillon.compare",)"));
    EXPECT_TRUE(Holds(Results(), R"("rows":[{"found":3,"shown":3}]})"));
    EXPECT_EQ(Read("r.html").find("<!DOCTYPE html>\n"), 0U);
    EXPECT_TRUE(Read("r.html").ends_with("</script>\n</body>\n</html>\n"));
}

TEST_F(ReportTest, RowsBelongToTheirTables) {
    RunOnBothServers(
        u"CREATE TABLE u (id int NOT NULL CONSTRAINT PK_u PRIMARY KEY)\nGO\n"
        u"CREATE TABLE s (id int NOT NULL CONSTRAINT PK_s PRIMARY KEY)");
    RunOnSecond(u"INSERT u VALUES (9)");
    Report();
    EXPECT_EQ(Rows("d12", 0), "");
    EXPECT_FALSE(Rows("d12", 1).empty());
    EXPECT_EQ(Rows("2", 2), R"([[["9"]]])");
    EXPECT_TRUE(Holds(Results(), R"("rows":[{"found":0,"shown":0},{"found":3,"shown":3},)"
                                 R"({"found":1,"shown":1}]})"));
}

TEST_F(ReportTest, DataNeverEndsAnElement) {
    RunOnFirst(u"UPDATE t SET note = N'</script><!--' + NCHAR(8232) + NCHAR(55296) WHERE id = 3");
    RunOnBothServers(u"ALTER TABLE t ADD [</script>] int NULL");
    Report();
    EXPECT_TRUE(Holds(Rows("d12"), R"(["3","gone","\u003c/script>\u003c!--\u2028\ud800",null])"))
        << Read("r.html");
    const std::string html = Read("r.html");
    std::size_t ends = 0;
    for (std::size_t at = html.find("</script"); at != std::string::npos;
         at = html.find("</script", at + 1)) {
        ++ends;
    }
    EXPECT_EQ(ends, 5U);  // rows, two scripts in SQL, results, the script itself
}

TEST_F(ReportTest, ALimitCountsWhatItLeavesOut) {
    Report({"--report-limit", "2"});
    EXPECT_FALSE(Rows("d1").empty());
    EXPECT_TRUE(Holds(Results(), R"("rows":[{"found":3,"shown":2}]})"));
    Report({"--report-limit", "0"});
    EXPECT_FALSE(Rows("d12").empty());
}

TEST_F(ReportTest, ALongTextIsCutInFrontOfWhatDiffers) {
    RunOnBothServers(
        u"CREATE TABLE l (id int NOT NULL CONSTRAINT PK_l PRIMARY KEY, t nvarchar(max))");
    const std::u16string alike(30000, u'x');
    const std::u16string behind(30000, u'z');
    RunOnFirst(u"INSERT l VALUES (1, N'" + alike + u"a" + behind + u"')");
    RunOnSecond(u"INSERT l VALUES (1, N'" + alike + u"b" + behind + u"')");
    Report({"-t", "l"});
    const std::string shown1 = std::string(500, 'x') + "a" + std::string(19499, 'z');
    const std::string shown2 = std::string(500, 'x') + "b" + std::string(19499, 'z');
    EXPECT_EQ(Rows("d"), R"([[[1],["1",{"t":")" + shown1 +
                             R"(","from":29500,"of":60001}],["1",{"t":")" + shown2 +
                             R"(","from":29500,"of":60001}]]])");
}

TEST(ShellWord, IsQuotedWhereAShellWouldReadIt) {
    EXPECT_EQ(ShellWord("db1.example.org,1433/sales"), "db1.example.org,1433/sales");
    EXPECT_EQ(ShellWord(""), "''");
    EXPECT_EQ(ShellWord("a b$(c)"), "'a b$(c)'");
    EXPECT_EQ(ShellWord("it's"), R"('it'\''s')");
}

// Neither in front nor behind.
TEST(ReportCellTest, NoSurrogatePairIsCut) {
    DirectColumn column;
    column.side1.DataType = column.side2.DataType = u"nvarchar";
    const std::u16string front =
        std::u16string(100, u'y') + u"\U0001F600" + std::u16string(499, u'x');
    const std::u16string behind =
        std::u16string(19497, u'z') + u"\U0001F601" + std::u16string(30000, u'z');
    JsonWriter json1;
    JsonWriter json2;
    WriteCells(json1, json2, column, Value(front + u"a" + behind), Value(front + u"b" + behind));
    const std::string shown = "\U0001F600" + std::string(499, 'x') + "a" + std::string(19497, 'z');
    EXPECT_EQ(json1.Take(), R"({"t":")" + shown + R"(","from":100,"of":50101})");
    WriteCell(json1, column.side1, Value(std::u16string(19999, u'z') + u"\U0001F601"));
    EXPECT_EQ(json1.Take(), R"({"t":")" + std::string(19999, 'z') + R"(","from":0,"of":20001})");
    WriteCell(json1, column.side1, Value(std::u16string(19998, u'z') + u"\U0001F601z"));
    EXPECT_EQ(json1.Take(),
              R"({"t":")" + std::string(19998, 'z') + "\U0001F601" + R"(","from":0,"of":20001})");
}

TEST_F(ReportTest, HoldsTheScriptsOfBothDirections) {
    Report({"--key", "t=id", "--where", "t=name <> 'it''s'", "--limit", "1"});
    for (const int side : {1, 2}) {
        const std::string to = std::to_string(side);
        const std::string script =
            Element(R"(<script type="application/json" class="sql">{"to":)" + to + ",");
        EXPECT_TRUE(Holds(script, R"("state":"whole","rows":3,"text":")")) << script;
        EXPECT_TRUE(Holds(script, side == 1 ? "N'LONG'" : "N'long'"));
        // Who logs in is in no report.
        EXPECT_TRUE(Holds(script, R"("command":"quillon script )" + first + " " + second +
                                      R"( --user NAME --key t=id --where )"
                                      R"('t=name \u003c> '\\''it'\\'''\\''s'\\''' --guard --to )" +
                                      to + " -o to" + to + R"(.sql")"))
            << script;
    }
    Report({"--where", "t=id=1"});
    EXPECT_TRUE(Holds(Read("r.html"), R"({"to":2,"state":"nothing","rows":0,"text":"")"));
}

// Where there is no script whose head could name them.
TEST_F(ReportTest, TablesThatNoScriptBringsOverAreNamedWhereThereIsNothingToDo) {
    RunOnBothServers(
        u"CREATE TABLE bag (a int, b int)\nGO\n"
        u"CREATE TABLE u (id int NOT NULL CONSTRAINT PK_u PRIMARY KEY)");
    RunOnFirst(u"INSERT bag VALUES (1, 1)");
    RunOnSecond(u"INSERT bag VALUES (2, 1)");
    server.AddFault(ErrorIn(u"FROM [dbo].[u]"));
    Report({"--where", "t=id=1", "--ignore", "b"});
    for (const int side : {1, 2}) {
        const std::string script =
            Element(R"(<script type="application/json" class="sql">{"to":)" + std::to_string(side));
        EXPECT_TRUE(Holds(script, R"("state":"nothing","rows":0,"text":"")")) << script;
        EXPECT_TRUE(Holds(script,
                          R"("leftOut":["[dbo].[bag]: its rows have no key, and columns that are )"
                          R"(not compared would lose their values; --key names columns that match )"
                          R"(rows","[dbo].[u]: it was not compared to its end"]})"))
            << script;
    }
}

TEST_F(ReportTest, ItsScriptBringsTheRowsOver) {
    Report();
    std::string text = Element(
        R"(<script type="application/json" class="sql">{"to":2,"state":"whole","rows":3,"text":")");
    text.erase(text.find(R"(","reason")"));
    for (const auto& [escape, plain] : std::vector<std::pair<std::string, std::string>>{
             {R"(\r)", "\r"}, {R"(\n)", "\n"}, {R"(\u003c)", "<"}, {R"(\")", "\""}}) {
        for (std::size_t at = text.find(escape); at != std::string::npos; at = text.find(escape))
            text.replace(at, escape.size(), plain);
    }
    other.Run(u"USE d\nGO\n" + FromUtf8(text));
    EXPECT_EQ(Direct("compare").exitCode, 0);
}

TEST_F(ReportTest, AScriptThatIsTooLongIsLeftToTheCommandThatWritesIt) {
    RunOnFirst(u"INSERT t VALUES (5, 'x', N'" + std::u16string(250'000, u'y') + u"')");
    EXPECT_EQ(Report().exitCode, 1);
    EXPECT_TRUE(
        Holds(Read("r.html"), R"({"to":2,"state":"too-long","rows":0,"text":"","reason":"",)"
                              R"("command":"quillon script )" +
                                  first + " " + second +
                                  R"( --user NAME --guard --to 2 -o to2.sql","leftOut":[]})"));
}

TEST_F(ReportTest, AScriptThatCannotBeWrittenIsToldWithTheReason) {
    const std::u16string create =
        u"CREATE TABLE w (id int NOT NULL CONSTRAINT PK_w PRIMARY KEY, n ";
    RunOnFirst(create + u"nvarchar(20))\nGO\nINSERT w VALUES (1, NCHAR(28450))");
    RunOnSecond(create + u"varchar(20))");
    EXPECT_EQ(Report({"-t", "w"}).exitCode, 1);
    EXPECT_TRUE(Holds(Read("r.html"), R"({"to":2,"state":"failed","rows":0,"text":"","reason":")"))
        << Element(R"(class="sql">)");
    EXPECT_TRUE(Holds(Read("r.html"), R"({"to":1,"state":"whole","rows":1,)"));
}

TEST_F(ReportTest, ATableThatFailedIsInIt) {
    server.AddFault(ErrorIn(u"FROM [dbo].[t]"));
    EXPECT_EQ(Report().exitCode, 2);
    EXPECT_TRUE(Holds(Results(), R"("verdict":"failed")"));
    EXPECT_TRUE(Holds(Results(), "made to fail"));
}

// The head of the page is about what was found; the code of the command is another matter.
TEST_F(ReportTest, WhatIsAcceptedIsNotCalledIdentical) {
    EXPECT_EQ(Report({"--where", "t=id=1", "--accept-uncompared"}).exitCode, 0);
    EXPECT_TRUE(Holds(Results(), R"("exitCode":0},"found":3,"rows":[)")) << Results();
    EXPECT_EQ(Report({"--where", "t=id=1"}).exitCode, 3);
    EXPECT_TRUE(Holds(Results(), R"("exitCode":3},"found":3,"rows":[)")) << Results();
}

TEST_F(ReportTest, AComparisonThatCannotBeginLeavesTheOldOne) {
    EXPECT_EQ(Report().exitCode, 1);
    const std::string old = Read("r.html");
    server.AddFault(ErrorIn(u""));
    EXPECT_EQ(Report().exitCode, 2);
    EXPECT_EQ(Read("r.html"), old);
    for (const auto& file : std::filesystem::directory_iterator(folder))
        EXPECT_EQ(file.path().filename(), "r.html");
}

TEST_F(ReportTest, AFileThatCannotBeWrittenIsToldBeforeTheRowsAreRead) {
    server.ClearLog();
    const Outcome outcome = Direct("compare", {"--report", File("none/r.html")});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "none")) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    for (const std::u16string& batch : Batches(server))
        EXPECT_EQ(batch.find(u"FROM [dbo].[t]"), std::u16string::npos);
}

TEST_F(ReportTest, GoesWithTheDirectRoadOnly) {
    const Outcome outcome = Report({"--by-server"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_TRUE(Holds(outcome.err, "--report does not go with --by-server")) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder / "r.html"));
}

}  // namespace
}  // namespace quillon
