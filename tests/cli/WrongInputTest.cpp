// What a call that makes no sense is answered with: one sentence that names what is wrong, the exit
// code 2, and nothing on standard output.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

class WrongInput : public TwoServers {
  protected:
    // The first line of the answer, which is the whole of it but for the advice to ask for help.
    std::string Answer(const std::vector<std::string>& arguments) const {
        const Outcome outcome = Call(arguments);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return FirstLine(outcome.err);
    }
    // The same of a comparison that is sound otherwise.
    std::string AnswerTo(const std::string& command, const std::vector<std::string>& options) {
        const Outcome outcome = Direct(command, options);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return FirstLine(outcome.err);
    }
};

TEST_F(WrongInput, ANumberThatIsNoneIsToldWithThoseThatAre) {
    EXPECT_EQ(AnswerTo("rows", {"t", "--limit", "0"}),
              "quillon: --limit: '0' is no number from 1 to 2147483647");
    EXPECT_EQ(AnswerTo("rows", {"t", "--limit", "1.5"}),
              "quillon: --limit: '1.5' is no number from 1 to 2147483647");
    EXPECT_EQ(AnswerTo("compare", {"--limit", "99999999999999999999"}),
              "quillon: --limit: '99999999999999999999' is no number from 1 to " +
                  std::to_string(SIZE_MAX));
    EXPECT_EQ(AnswerTo("compare", {"--jobs", "65"}),
              "quillon: --jobs: '65' is no number from 1 to 64");
    EXPECT_EQ(AnswerTo("compare", {"--float-digits", "x"}),
              "quillon: --float-digits: 'x' is no number from 1 to 17");
}

TEST_F(WrongInput, ANegativeNumberIsNotALargeOne) {
    EXPECT_EQ(AnswerTo("compare", {"--report", File("r.html"), "--report-limit", "-1"}),
              "quillon: --report-limit: '-1' is no number from 0 to 18446744073709551615");
    EXPECT_FALSE(std::filesystem::exists(folder / "r.html"));
    EXPECT_EQ(Answer({"batch", "list.ini", "--report-limit", "-1"}),
              "quillon: --report-limit: '-1' is no number from 0 to 18446744073709551615");
    EXPECT_EQ(Answer({"batch", "list.ini", "--per-server", "-1"}),
              "quillon: --per-server: '-1' is no number from 1 to 64");
}

TEST_F(WrongInput, AWordThatIsNoChoiceIsToldWithTheChoices) {
    EXPECT_EQ(AnswerTo("compare", {"--format", "jsn"}),
              "quillon: --format: 'jsn' is none of table, json, csv and markdown; did you mean "
              "json?");
    EXPECT_EQ(AnswerTo("compare", {"--sort", "name,rows"}),
              "quillon: --sort: 'name,rows' is none of name, differences and rows");
    EXPECT_EQ(AnswerTo("sync", {"--to", "3", "--yes"}), "quillon: --to: '3' is none of 1 and 2");
}

TEST_F(WrongInput, AnEmptyValueIsNotAValueThatIsLeftOut) {
    for (const char* option : {"--report", "--log", "--config", "--template", "--user2", "--driver",
                               "--exclude", "--ignore", "--format"}) {
        const Outcome outcome = Direct("compare", {option, ""});
        EXPECT_EQ(outcome.exitCode, 2) << option;
        EXPECT_EQ(outcome.out, "") << option;
    }
    EXPECT_EQ(AnswerTo("compare", {"--report", ""}), "quillon: --report: its value is empty");
    EXPECT_EQ(AnswerTo("compare", {"--report="}), "quillon: --report: its value is empty");
    EXPECT_EQ(AnswerTo("sync", {"--to", "2", "--yes", "--template", ""}),
              "quillon: --template: its value is empty");
    EXPECT_EQ(AnswerTo("rows", {"t", "--index", ""}), "quillon: --index: its value is empty");
    EXPECT_EQ(Answer({"batch", "list.ini", "--reports", ""}),
              "quillon: --reports: its value is empty");
    EXPECT_EQ(Answer({"compare", first, "", "--user", "sa"}),
              "quillon: database2: its value is empty");
    EXPECT_EQ(RowsOfT(other), "1 same|2 case |4 new|");
}

TEST_F(WrongInput, AnOptionThatIsThereTooOftenOrWithoutItsValueIsNamed) {
    EXPECT_EQ(AnswerTo("compare", {"--sort", "name", "--sort", "rows"}),
              "quillon: --sort can be given only once");
    EXPECT_EQ(Answer({"compare", first, second, "--user"}), "quillon: --user needs a value");
    EXPECT_EQ(Answer({"compare", first, second, "-t"}), "quillon: -t needs a value");
}

TEST_F(WrongInput, ACommandThatIsNotThereIsToldWithTheNearest) {
    EXPECT_EQ(Answer({"template", "lst"}),
              "quillon: quillon template has no command lst; did you mean list?");
    EXPECT_EQ(Answer({"template", "--templates", "list", "lst"}),
              "quillon: quillon template has no command lst; did you mean list?");
    EXPECT_EQ(Answer({"template"}),
              "quillon: quillon template needs a command: one of list, show, new, use, remove, "
              "pick, drop");
    EXPECT_EQ(Answer({}).substr(0, 46), "quillon: a command is missing: one of demo, co");
    EXPECT_EQ(Answer({"--versoin"}),
              "quillon: quillon has no option --versoin; did you mean --version?");
    EXPECT_EQ(Answer({"-x"}), "quillon: quillon has no option -x");
    EXPECT_EQ(Answer({"--quiet", "compare", first, second}),
              "quillon: quillon has no option --quiet; options of a command stand behind it");
}

TEST(Help, TellsOfACommandOfACommand) {
    const Outcome outcome = CallProgram({"help", "template", "pick"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out.substr(0, 78),
              "Add a pick to the template in use\nUsage: quillon template pick [OPTIONS] kind t");
    EXPECT_EQ(CallProgram({"help", "template", "pik"}).err.substr(0, 67),
              "quillon: quillon template has no command pik; did you mean pick?\nRu");
    EXPECT_EQ(CallProgram({"help", "compare", "rows"}).err.substr(0, 51),
              "quillon: quillon compare has no commands of its own");
}

}  // namespace
}  // namespace quillon
