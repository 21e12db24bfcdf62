// What rows shows where no server compares.
#include <gtest/gtest.h>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

class DirectRowsTest : public TwoServers {
  protected:
    Outcome Rows(std::vector<std::string> options) const {
        return TwoServers::Direct("rows", std::move(options));
    }
};

TEST_F(DirectRowsTest, ShowsWhatDiffersAndMarksTheCells) {
    const Outcome outcome = Rows({"t"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.out,
              "Different: 1\n"
              "   id  name      note\n"
              "1  2   *Case     *long\n"
              "2  2   *'case '  *LONG\n"
              "\n"
              "Only in " +
                  first +
                  ": 1\n"
                  "id  name  note\n"
                  "3   gone  NULL\n"
                  "\n"
                  "Only in " +
                  second +
                  ": 1\n"
                  "id  name  note\n"
                  "4   new   NULL\n"
                  "\n");
    EXPECT_EQ(outcome.err, "quillon: changed cells: [name] 1, [note] 1\n");
}

TEST_F(DirectRowsTest, ShowsTheKindsThatAreNamed) {
    EXPECT_EQ(Rows({"t", "--identical"}).out, "Identical: 1\nid  name  note\n1   same  long\n\n");
    EXPECT_EQ(Rows({"t", "--there"}).out,
              "Only in " + second + ": 1\nid  name  note\n4   new   NULL\n\n");
    EXPECT_EQ(Rows({"t", "--here", "--there"}).out.find("Different"), std::string::npos);
}

TEST_F(DirectRowsTest, ALimitCountsEachKindAndKnowsTheRest) {
    RunOnFirst(u"INSERT t VALUES (5, 'a', NULL), (6, 'b', NULL), (7, 'c', NULL)");
    const Outcome outcome = Rows({"t", "--limit", "2"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_TRUE(Holds(outcome.out, "Only in " + first + ": 2 of 4\n")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "Only in " + second + ": 1\n"));
    EXPECT_FALSE(Holds(outcome.err, "the limit was reached"));
}

TEST_F(DirectRowsTest, ReadingEndsWhenNothingMoreWouldBeShown) {
    std::u16string rows;
    for (int i = 10; i < 3000; ++i) {
        rows += (i % 500 == 10 ? u"\nGO\nINSERT t VALUES (" : u", (") + QuillonLib::ToText(i) +
                u", NULL, NULL)";
    }
    RunOnBothServers(rows);
    RunOnSecond(u"UPDATE t SET name = 'x' WHERE id > 10");
    // who reads on comes to it
    server.AddFault({.kind = sandbox::FaultKind::ErrorAfterRows,
                     .contains = u"FROM [dbo].[t]",
                     .message = {.number = 50000, .text = u"made to fail"},
                     .rows = 2900});
    const Outcome outcome = Rows({"t", "--different", "--limit", "2"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "Different: 2 or more\n")) << outcome.out;
    EXPECT_EQ(outcome.err, "quillon: the limit was reached: the rows behind those were not read\n");
}

TEST_F(DirectRowsTest, RowsThatWereNotReadAreNotCalledIdentical) {
    RunOnBothServers(u"DELETE t WHERE id > 1\nGO\nINSERT t VALUES (9, 'x', NULL)");
    EXPECT_EQ(Rows({"t", "--identical"}).exitCode, 0);
    const Outcome outcome = Rows({"t", "--identical", "--limit", "1"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_TRUE(Holds(outcome.out, "Identical: 1 or more\n")) << outcome.out;
    EXPECT_EQ(Rows({"t", "--identical", "--limit", "1", "--accept-uncompared"}).exitCode, 0);
}

// What the rows that were read cannot show is not left to whoever reads on.
TEST_F(DirectRowsTest, ALimitHidesNothingThatIsKnown) {
    RunOnFirst(u"ALTER TABLE t ADD extra int NULL");
    const std::vector<std::string> call = {"t",       "--identical", "--limit",  "1",
                                           "--where", "t=id < 10",   "--ignore", "note"};
    const Outcome outcome = Rows(call);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err,
              "quillon: the limit was reached: the rows behind those were not read\n"
              "quillon: column [extra] only in 1\n"
              "quillon: not compared: column [note]: it is ignored, as asked for\n"
              "quillon: not compared: rows that do not meet id < 10\n");
    std::vector<std::string> json = call;
    json.insert(json.end(), {"--format", "json"});
    const std::string out = Rows(json).out;
    EXPECT_TRUE(Holds(out, R"("verdict":null,"notes":["column [extra] only in 1"],)"
                           R"("notCompared":["column [note]: it is ignored, as asked for",)"
                           R"("rows that do not meet id < 10"],"exitCode":1})"))
        << out;
    // Read to its end it says the same.
    EXPECT_EQ(Rows({"t", "--identical", "--ignore", "note"}).exitCode, 1);
}

TEST_F(DirectRowsTest, LooserEqualityIsToldWithTheRows) {
    const std::string told = "Compared without regard to case, without blanks at the end\n";
    const auto rows = [&](const char* format) {
        return Rows({"t", "--there", "--ignore-case", "--ignore-trailing-blanks", "--ignore",
                     "note", "--quiet", "--format", format});
    };
    const Outcome table = rows("table");
    EXPECT_TRUE(table.out.ends_with("\n\n" + told)) << table.out;
    EXPECT_FALSE(Holds(table.err, "without regard to case"));
    EXPECT_TRUE(rows("markdown").out.ends_with("\n\n" + told));
    EXPECT_TRUE(Holds(rows("json").out,
                      R"("loosened":"without regard to case, without blanks at the end")"));
    EXPECT_TRUE(Holds(rows("csv").err,
                      "quillon: values are compared without regard to case, without blanks at the "
                      "end\n"))
        << rows("csv").err;
}

TEST_F(DirectRowsTest, RowsOfATableWithoutAKeyAreOfOneSideOrTheOther) {
    RunOnBothServers(u"CREATE TABLE bag (a int, b varchar(5))\nGO\nINSERT bag VALUES (1, 'x')");
    RunOnFirst(u"INSERT bag VALUES (1, 'x')");
    RunOnSecond(u"INSERT bag VALUES (2, NULL)");
    const Outcome outcome = Rows({"bag", "--here", "--there", "--identical"});
    EXPECT_EQ(outcome.out, "Identical: 1\na  b\n1  x\n\nOnly in " + first +
                               ": 1\na  b\n1  x\n\nOnly in " + second + ": 1\na  b\n2  NULL\n\n");
    EXPECT_TRUE(Holds(outcome.err, "no key: whole rows are compared")) << outcome.err;
}

TEST_F(DirectRowsTest, TakesTheChoicesOfOtherCommands) {
    const Outcome outcome = Rows({"t", "--where", "t=id = 2", "--ignore", "note", "--ignore-case",
                                  "--ignore-trailing-blanks"});
    EXPECT_EQ(outcome.exitCode, 3) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "Different: 0\n")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.err, "quillon: not compared: rows that do not meet id = 2\n"));
    EXPECT_TRUE(Holds(outcome.err, "quillon: not compared: column [note]: it is ignored"));
}

TEST_F(DirectRowsTest, ATableOfOneSideIsADifferenceAndAFailureIsOne) {
    RunOnFirst(u"CREATE TABLE mine (a int)");
    EXPECT_EQ(Rows({"mine"}).exitCode, 1);
    EXPECT_EQ(Rows({"nothing"}).exitCode, 2);
    server.AddFault(ErrorIn(u"FROM [dbo].[t]"));
    const Outcome outcome = Rows({"t"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(Holds(outcome.err, "Error comparing [dbo].[t]\n")) << outcome.err;
}

TEST_F(DirectRowsTest, ChoicesNeedNotNameTheTable) {
    const std::string whole = Direct("rows", {"t", "--key", "t=id", "--columns", "t=note"}).out;
    EXPECT_TRUE(Holds(whole, "*LONG")) << whole;
    EXPECT_EQ(Direct("rows", {"t", "--key", "id", "--columns", "note"}).out, whole);
    const std::string byIndex = Direct("rows", {"t", "--index", "t=PK_t"}).out;
    EXPECT_TRUE(Holds(byIndex, "Different: 1\n")) << byIndex;
    EXPECT_EQ(Direct("rows", {"t", "--index", "[PK_t]"}).out, byIndex);
    EXPECT_EQ(Direct("rows", {"t", "--index", "PK_t"}).out, byIndex);
}

}  // namespace
}  // namespace quillon
