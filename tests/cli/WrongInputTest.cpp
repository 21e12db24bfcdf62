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

}  // namespace
}  // namespace quillon
