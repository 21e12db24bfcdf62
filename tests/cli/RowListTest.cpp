// Rows as lists of columns, and texts that are cut to a width.
#include "cli/RowList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

TEST(CutToWidth, KeepsWhatFits) {
    EXPECT_EQ(CutToWidth("", 30), "");
    EXPECT_EQ(CutToWidth(std::string(30, 'a'), 30), std::string(30, 'a'));
}

TEST(CutToWidth, TakesTheMiddleOutAndTellsTheLength) {
    EXPECT_EQ(CutToWidth("abcdefghijklmnopqrstuvwxyz0123456789", 30),
              "abcdefghij...(36)...0123456789");
    // Never so narrow that nothing is left.
    EXPECT_EQ(CutToWidth("abcdefghijklmnopqrstuvwxyz0123456789", 3), "abcdefg...(36)...3456789");
}

TEST(CutToWidth, ShowsWhatSomebodyWantsToSee) {
    const std::string text = std::string(100, 'a') + "CHANGE" + std::string(100, 'b');
    EXPECT_EQ(CutToWidth(text, 40, 100), "...(206)...aaaaaaaCHANGEbbbbbbbbbbbbb...");
    // It is at an end: the middle goes.
    EXPECT_EQ(CutToWidth(text, 40, 5), CutToWidth(text, 40));
    EXPECT_EQ(CutToWidth(text, 40, 205), CutToWidth(text, 40));
    const std::string late = std::string(100, 'a') + std::string(20, 'b');
    EXPECT_EQ(CutToWidth(late, 40, 103), "...(120)...aaaabbbbbbbbbbbbbbbbbbbb");
}

// A character may take two places, or two units, or none.
TEST(CutToWidth, CountsPlacesAndCutsNoCharacter) {
    std::string wide;
    for (int i = 0; i < 30; ++i)
        wide += "漢";
    const std::string cut = CutToWidth(wide, 31);
    EXPECT_LE(DisplayWidth(cut), 31U);
    EXPECT_EQ(cut, "漢漢漢漢漢...(30)...漢漢漢漢漢");
    std::string pairs;
    for (int i = 0; i < 30; ++i)
        pairs += "\U0001F600";
    EXPECT_EQ(CutToWidth(pairs, 31),
              "\U0001F600\U0001F600\U0001F600\U0001F600\U0001F600...(30)..."
              "\U0001F600\U0001F600\U0001F600\U0001F600\U0001F600");
}

class VerticalRows : public TwoServers {
  protected:
    VerticalRows() {
        RunOnBothServers(
            u"CREATE TABLE w (id int NOT NULL CONSTRAINT PK_w PRIMARY KEY, same int, name "
            u"nvarchar(20), long_text nvarchar(max))");
        RunOnFirst(
            u"INSERT w VALUES (1, 7, N'one', REPLICATE(N'x', 60) + N'A' + REPLICATE(N'y', 60)), "
            u"(2, 8, N'here', NULL)");
        RunOnSecond(
            u"INSERT w VALUES (1, 7, N'ONE', REPLICATE(N'x', 60) + N'B' + REPLICATE(N'y', 60)), "
            u"(3, 9, N'there', N'')");
    }
    Outcome Rows(std::vector<std::string> options) const {
        options.insert(options.begin(), "w");
        return Direct("rows", std::move(options));
    }
};

const std::string Xs(60, 'x');
const std::string Ys(60, 'y');

TEST_F(VerticalRows, ShowTheKeyAndWhatDiffersAndAllOfOneSide) {
    const std::string expected =
        "Different: 1\n"
        "-- 1 --\n"
        "id            1\n"
        "name       1  *one\n"
        "           2  *ONE\n"
        "long_text  1  *" +
        Xs + "A" + Ys +
        "\n"
        "           2  *" +
        Xs + "B" + Ys +
        "\n"
        "\n"
        "Only in " +
        first +
        ": 1\n"
        "-- 1 --\n"
        "id         2\n"
        "same       8\n"
        "name       here\n"
        "long_text  NULL\n"
        "\n"
        "Only in " +
        second +
        ": 1\n"
        "-- 1 --\n"
        "id         3\n"
        "same       9\n"
        "name       there\n"
        "long_text  ''\n"
        "\n";
    const Outcome direct = Rows({"--vertical"});
    EXPECT_EQ(direct.exitCode, 1);
    EXPECT_EQ(direct.out, expected);
}

TEST_F(VerticalRows, ShowAllColumnsWhereThatIsAskedFor) {
    const Outcome outcome = Rows({"--vertical", "--full", "--different"});
    EXPECT_TRUE(Holds(outcome.out,
                      "-- 1 --\n"
                      "id            1\n"
                      "same          7\n"
                      "name       1  *one\n"))
        << outcome.out;
}

// A pipe gets a table, however wide, unless it is told otherwise.
TEST_F(VerticalRows, AreNotChosenWithoutATerminal) {
    const Outcome outcome = Rows({"--here"});
    EXPECT_TRUE(Holds(outcome.out, "id  same  name  long_text\n2   8     here  NULL\n"))
        << outcome.out;
}

TEST_F(VerticalRows, AreForPeopleAlone) {
    EXPECT_EQ(Rows({"--format", "json"}).exitCode, 1);
    EXPECT_EQ(Rows({"--vertical", "--no-vertical"}).exitCode, 2);
    for (const char* option : {"--vertical", "--no-vertical", "--full"}) {
        const Outcome outcome = Rows({option, "--format", "json"});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(FirstLine(outcome.err),
                  "quillon: --vertical, --no-vertical and --full go with --format table only");
    }
}

class ListedTables : public ProgramTest {
  protected:
    ListedTables() {
        RunOnBoth(
            u"CREATE TABLE zero (id int NOT NULL CONSTRAINT PK_zero PRIMARY KEY)\nGO\n"
            u"CREATE TABLE Alpha (id int NOT NULL CONSTRAINT PK_alpha PRIMARY KEY)\nGO\n"
            u"INSERT Alpha VALUES (1), (2), (3), (4)");
        server.Run(u"USE a\nGO\nINSERT zero VALUES (1), (2), (3)");
    }
    // The tables in the order of the list.
    std::string Listed(std::vector<std::string> options) const {
        options.insert(options.begin(), "compare");
        const Outcome outcome = OnBoth(std::move(options));
        EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
        EXPECT_NE(outcome.out.find("\n4 tables: 1 identical, 3 different\n"), std::string::npos)
            << outcome.out;
        const std::string list = outcome.out.substr(0, outcome.out.find("\n\n"));
        std::string tables;
        for (std::size_t at = list.find("\n[dbo]."); at != std::string::npos;
             at = list.find("\n[dbo].", at + 1)) {
            const std::size_t end = list.find(']', at + 8);
            tables += (tables.empty() ? "" : " ") + list.substr(at + 8, end - at - 8);
        }
        return tables;
    }
};

TEST_F(ListedTables, AreSortedAsAskedFor) {
    for (const std::string& road : {std::string("--jobs=2"), std::string("--by-server")}) {
        EXPECT_EQ(Listed({road, "--sort", "name"}), "Alpha c p zero") << road;
        EXPECT_EQ(Listed({road, "--sort", "rows"}), "Alpha zero c p") << road;
        EXPECT_EQ(Listed({road, "--sort", "differences", "--only-different"}), "p zero c") << road;
    }
}

TEST_F(ListedTables, AreNoMoreThanAskedFor) {
    const Outcome outcome = OnBoth({"compare", "--sort", "name", "--limit", "1"});
    EXPECT_EQ(outcome.out,
              "Table          Rows in 1  Rows in 2  Identical  Differing  Only in 1  Only in 2  "
              "Verdict\n"
              "[dbo].[Alpha]          4          4          4          0          0          0  "
              "identical\n"
              "\n"
              "3 more tables are not listed (--limit)\n"
              "4 tables: 1 identical, 3 different\n");
    EXPECT_EQ(Listed({"--only-different", "--sort", "rows", "--limit", "2"}), "zero c");
    const Outcome markdown =
        OnBoth({"compare", "--sort", "name", "--limit", "3", "--format", "markdown"});
    EXPECT_NE(markdown.out.find("1 more table is not listed"), std::string::npos) << markdown.out;
    const Outcome sync =
        OnBoth({"sync", "--to", "2", "--dry-run", "--sort", "rows", "--limit", "1"});
    EXPECT_NE(sync.out.find("3 more tables are not listed (--limit)\n"), std::string::npos)
        << sync.out;
}

TEST_F(ListedTables, RowsOfAServersComparisonAreListsOfColumnsToo) {
    for (const std::vector<std::string>& road :
         {std::vector<std::string>{}, std::vector<std::string>{"--by-server"}}) {
        std::vector<std::string> call{"rows", "p", "--different", "--vertical"};
        call.insert(call.end(), road.begin(), road.end());
        const Outcome outcome = OnBoth(call);
        EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
        EXPECT_EQ(outcome.out,
                  "Different: 1\n"
                  "-- 1 --\n"
                  "id     1\n"
                  "n   1  *one\n"
                  "    2  *uno\n"
                  "\n");
    }
}

TEST_F(ListedTables, WrongChoicesAreRefused) {
    for (const std::vector<std::string>& wrong :
         {std::vector<std::string>{"--sort", "size"}, {"--limit", "0"}, {"--limit", "-1"}}) {
        std::vector<std::string> call{"compare"};
        call.insert(call.end(), wrong.begin(), wrong.end());
        const Outcome outcome = OnBoth(call);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err.find(wrong.front()), std::string::npos) << outcome.err;
    }
}

}  // namespace
}  // namespace quillon
