// What a terminal changes: the layout of rows, and the person's pager.
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "cli/Pager.h"
#include "tests/cli/Process.h"
#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

using QuillonLib::test::RemoveVariable;
using QuillonLib::test::SetVariable;

TEST(PagerCommand, IsThePersonsOwnChoice) {
    for (const char* name : {"QUILLON_PAGER", "PAGER"})
        RemoveVariable(name);
    EXPECT_EQ(PagerCommand(), "");
    SetVariable("PAGER", "less");
    EXPECT_EQ(PagerCommand(), "less");
    SetVariable("QUILLON_PAGER", "more -s");
    EXPECT_EQ(PagerCommand(), "more -s");
    SetVariable("QUILLON_PAGER", "");
    EXPECT_EQ(PagerCommand(), "");
    SetVariable("QUILLON_PAGER", "cat");
    EXPECT_EQ(PagerCommand(), "");
    for (const char* name : {"QUILLON_PAGER", "PAGER"})
        RemoveVariable(name);
}

class TerminalTest : public TwoServers {
  protected:
    using Variables = std::map<std::string, std::string>;

    // What a command shows on a terminal of that width.
    std::string Shown(std::vector<std::string> arguments, const Variables& variables = {},
                      unsigned short columns = 80) {
        arguments.insert(arguments.end(), {first, second, "--user", "sa"});
        Terminal terminal;
        terminal.Resize(columns);
        Variables all{{"PAGER", ""}, {"QUILLON_PAGER", ""}, {"NO_COLOR", "1"}, {"TERM", "xterm"}};
        for (const auto& [name, value] : variables)
            all[name] = value;
        Process process(folder, arguments,
                        {.in = terminal.Path(), .out = terminal.Path(), .err = File("err")}, all);
        exitCode = process.Wait();
        terminal.Drain();
        std::string shown = terminal.Shown();
        std::erase(shown, '\r');
        return shown;
    }
    // So many rows that a pipe does not hold them.
    void AddMany() {
        for (int block = 1; block <= 4; ++block) {
            std::string insert = "INSERT t VALUES ";
            for (int row = 0; row < 1000; ++row) {
                insert += (row == 0 ? "(" : ", (") + std::to_string(block * 1000 + row) +
                          ", 'a name', NULL)";
            }
            RunOnFirst(QuillonLib::FromUtf8(insert));
        }
    }
    // A pager that keeps what it gets.
    Variables Keeping() const { return {{"QUILLON_PAGER", "cat > " + File("paged")}}; }

    int exitCode = 0;
};

TEST_F(TerminalTest, RowsThatAreTooWideAreListsOfColumns) {
    const std::string wide = Shown({"rows", "t", "--different"}, {}, 80);
    EXPECT_TRUE(Holds(wide, "   id  name")) << wide;
    const std::string narrow = Shown({"rows", "t", "--different"}, {}, 20);
    EXPECT_TRUE(Holds(narrow, "-- 1 --\nid       2\n")) << narrow;
    EXPECT_TRUE(Holds(Shown({"rows", "t", "--different", "--no-vertical"}, {}, 20), "   id  name"));
}

TEST_F(TerminalTest, LongValuesAreCutToItsWidth) {
    RunOnFirst(u"INSERT t VALUES (5, 'x', REPLICATE(N'y', 500))");
    const std::string cut = Shown({"rows", "t", "--here", "--vertical"}, {}, 60);
    EXPECT_TRUE(Holds(cut, "yyy...(500)...yyy")) << cut;
    std::istringstream lines(cut);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 60U) << line;
    EXPECT_TRUE(Holds(Shown({"rows", "t", "--here", "--vertical", "--full"}, {}, 60),
                      std::string(500, 'y')));
}

TEST_F(TerminalTest, APagerGetsTheResultAndTheExitCodeStays) {
    const std::string shown = Shown({"compare"}, Keeping());
    EXPECT_EQ(exitCode, 1);
    EXPECT_EQ(shown, "");
    EXPECT_TRUE(Holds(Read("paged"), "1 table: 0 identical, 1 different\n"));
    EXPECT_EQ(Shown({"rows", "t"}, Keeping()), "");
    EXPECT_TRUE(Holds(Read("paged"), "Different: 1"));
}

TEST_F(TerminalTest, NoPagerRunsWhereNoneIsWanted) {
    for (const std::vector<std::string>& call :
         {std::vector<std::string>{"compare", "--no-pager"}, {"rows", "t", "--no-pager"}}) {
        EXPECT_NE(Shown(call, Keeping()), "");
        EXPECT_FALSE(std::filesystem::exists(folder / "paged"));
    }
    EXPECT_TRUE(Holds(Shown({"compare"}), "1 table: 0 identical, 1 different\n"));
}

TEST_F(TerminalTest, NoPagerRunsWithoutATerminal) {
    Process process(folder, {"compare", first, second, "--user", "sa"}, {}, Keeping());
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_TRUE(Holds(process.Out(), "1 table: 0 identical, 1 different\n"));
    EXPECT_FALSE(std::filesystem::exists(folder / "paged"));
}

TEST_F(TerminalTest, APagerThatCannotBeRunIsToldAndNothingPassesForShown) {
    EXPECT_EQ(Shown({"compare"}, {{"QUILLON_PAGER", "no-such-pager-anywhere"}}), "");
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(Holds(Read("err"),
                      "quillon: the pager 'no-such-pager-anywhere' could not be run, and nothing "
                      "was shown; --no-pager does without\n"))
        << Read("err");
}

// However the race between the result and the shell's refusal ends.
TEST_F(TerminalTest, APagerThatCannotBeRunIsToldThoughItsEndComesFirst) {
    AddMany();
    EXPECT_EQ(Shown({"rows", "t", "--format", "json"}, {{"QUILLON_PAGER", "exit 127"}}), "");
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(Holds(Read("err"), "quillon: the pager 'exit 127' could not be run"))
        << Read("err");
}

// The rows that are written, on a terminal; nothing where there is none.
TEST_F(TerminalTest, ASyncTellsHowFarItHasCome) {
    AddMany();
    for (const int batch : {1, 2, 3}) {
        other.AddFault({.kind = sandbox::FaultKind::Delay,
                        .contains = u"INSERT",
                        .nth = batch,
                        .delay = std::chrono::milliseconds(700)});
    }
    Terminal terminal;
    Process process(folder, {"sync", first, second, "--user", "sa", "--to", "2", "--yes"},
                    {.in = "", .out = "", .err = terminal.Path()}, {{"TERM", "xterm"}});
    EXPECT_TRUE(terminal.Shows("0 rows written"));
    EXPECT_TRUE(terminal.Shows(" rows/s, 0:0"));
    EXPECT_EQ(process.Wait(), 0);
    terminal.Drain();
    EXPECT_TRUE(Holds(terminal.Shown(), " of ")) << terminal.Shown();
    RunOnSecond(u"DELETE t");
    Process silent(folder, {"sync", first, second, "--user", "sa", "--to", "2", "--yes"});
    EXPECT_EQ(silent.Wait(), 0);
    EXPECT_EQ(silent.Err(), "");
}

TEST_F(TerminalTest, APasswordThatIsTypedIsToldNowhere) {
    Terminal terminal;
    Process process(
        folder, {"compare", first, second, "--user", "sa", "--verbose", "--log", File("l.txt")},
        {.in = terminal.Path(), .out = "", .err = terminal.Path()}, {{"QUILLON_PASSWORD", ""}});
    EXPECT_TRUE(terminal.Shows("Password of sa for " + first + ": "));
    terminal.Type("g3h31m\n");
    EXPECT_TRUE(terminal.Shows("quillon: cannot read"));
    EXPECT_EQ(process.Wait(), 2);
    terminal.Drain();
    EXPECT_TRUE(Holds(terminal.Shown(), "failed after ")) << terminal.Shown();
    EXPECT_FALSE(Holds(terminal.Shown(), "g3h31m"));
    EXPECT_TRUE(Holds(Read("l.txt"), "logging in as sa"));
    EXPECT_FALSE(Holds(Read("l.txt"), "g3h31m"));
}

// Whoever has seen enough ends the command, and nothing spills onto the terminal.
TEST_F(TerminalTest, APagerThatIsLeftEndsTheCommand) {
    AddMany();
    const std::string shown = Shown({"rows", "t", "--format", "json"},
                                    {{"QUILLON_PAGER", "head -c 10; echo; echo left"}});
    EXPECT_TRUE(Holds(shown, "left\n")) << shown;
    EXPECT_EQ(Read("err"), "");
}

TEST_F(TerminalTest, ErrorsComeWhenThePagerIsGone) {
    const std::string shown = Shown({"compare", "--where", "t=nowhere = 1"}, Keeping());
    EXPECT_EQ(exitCode, 2);
    EXPECT_TRUE(Holds(Read("paged"), "Invalid column name 'nowhere'"));
    EXPECT_EQ(Shown({"compare", "--key", "x=id"}, Keeping()), "");
    EXPECT_TRUE(Holds(Read("err"), "is not among the tables that are compared"));
}

}  // namespace
}  // namespace quillon
