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
    const std::string swallowed =
        " needs a value, and --quiet is an option: such a value is written behind a \"=\"";
    EXPECT_EQ(AnswerTo("compare", {"--report", "--quiet"}), "quillon: --report" + swallowed);
    EXPECT_EQ(AnswerTo("compare", {"-t", "--quiet=x"}), "quillon: -t" + swallowed);
    EXPECT_EQ(AnswerTo("compare", {"-t", "--", "--quiet"}).find(swallowed), std::string::npos);
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

TEST_F(WrongInput, ALogAndAResultHaveFilesOfTheirOwn) {
    const std::string file = File("one.txt");
    const std::string same = (folder / "." / "one.txt").string();
    EXPECT_EQ(AnswerTo("compare", {"--log", file, "--report", same}),
              "quillon: --report and --log name the same file, " + same);
    EXPECT_EQ(AnswerTo("script", {"--log", file, "-o", file}),
              "quillon: -o and --log name the same file, " + file);
    EXPECT_EQ(AnswerTo("script", {"--log", File("u.1.sql"), "-o", File("u.sql"), "--to", "both"}),
              "quillon: -o and --log name the same file, " + File("u.1.sql"));
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(WrongInput, AFolderIsNoNameForAScript) {
    const std::string slash = folder.string() + "/";
    EXPECT_EQ(AnswerTo("script", {"--to", "both", "-o", slash}),
              "quillon: -o names a folder, " + slash + ", and no file");
    EXPECT_EQ(AnswerTo("script", {"-o", ".."}), "quillon: -o names a folder, .., and no file");
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(WrongInput, AFileOfConnectionsThatIsNamedMustBeThere) {
    EXPECT_EQ(AnswerTo("compare", {"--config", File("none.ini")}),
              "quillon: cannot read " + File("none.ini") + ": No such file or directory");
    std::ofstream(File("list.ini")) << "[a]\ndatabase1 = s/a\ndatabase2 = s/b\nuser = sa\n";
    EXPECT_EQ(Answer({"batch", File("list.ini"), "--config", File("none.ini")}),
              "quillon: cannot read " + File("none.ini") + ": No such file or directory");
    std::ofstream(File("huge.ini")) << std::string((16 << 20) + 1, '#');
    EXPECT_EQ(AnswerTo("compare", {"--config", File("huge.ini")}),
              "quillon: cannot read " + File("huge.ini") + ": it is longer than 16777216 bytes");
}

TEST_F(WrongInput, APortIsANumberFrom1To65535) {
    for (const char* wrong : {"host,", "host,0", "host,65536", "host,abc", "host,1,2", ",1433",
                              "host,-1", "host:65536"}) {
        const std::string place = wrong;
        EXPECT_EQ(Answer({"compare", place + "/a", second, "--user", "sa"}),
                  "quillon: '" + place +
                      "' is not a server: HOST, HOST\\INSTANCE or HOST,PORT, with a port from 1 "
                      "to 65535");
    }
}

TEST_F(WrongInput, AChoiceIsToldWithItsOption) {
    EXPECT_EQ(AnswerTo("compare", {"--key", "id"}),
              "quillon: --key: 'id' is not TABLE=NAME,NAME,...");
    EXPECT_EQ(AnswerTo("compare", {"--where", "id>1"}),
              "quillon: --where: 'id>1' is not TABLE=CONDITION");
    EXPECT_EQ(AnswerTo("rows", {"t", "--columns", "name,"}),
              "quillon: --columns: 'name,' is not NAME,NAME,... or TABLE=NAME,NAME,...");
    EXPECT_EQ(AnswerTo("rows", {"t", "--index", "[PK"}),
              "quillon: --index: '[PK' is not NAME or TABLE=NAME");
}

TEST_F(WrongInput, ATableThatIsNotThereIsToldWithTheNearest) {
    RunOnSecond(u"CREATE TABLE Customer (id int)");
    EXPECT_EQ(AnswerTo("compare", {"-t", "custmer"}),
              "quillon: neither " + first + " nor " + second +
                  " has a table [dbo].[custmer]; did you mean [dbo].[Customer]?");
    for (int i = 10; i < 40; ++i)
        RunOnFirst(u"CREATE TABLE n" + QuillonLib::FromUtf8(std::to_string(i)) + u" (id int)");
    const std::string many = AnswerTo("compare", {"-t", "*nothing*"});
    EXPECT_TRUE(Holds(many, "; tables of the first: [dbo].[n10] [dbo].[n11]")) << many;
    EXPECT_TRUE(Holds(many, " [dbo].[n29] and more")) << many;
    EXPECT_FALSE(Holds(many, "n30")) << many;
}

TEST_F(WrongInput, AServerIsNoDatabase) {
    EXPECT_EQ(Answer({"databases", first, "--user", "sa"}),
              "quillon: '" + first + "' is a database; name its server alone, or a connection");
    EXPECT_EQ(Answer({"databases", "host,x", "--user", "sa"}).substr(0, 37),
              "quillon: 'host,x' is not a server: HO");
}

TEST(Help, ShowsOptionsAsTheyAreWritten) {
    const std::string sync = CallProgram({"sync", "--help"}).out;
    for (const char* line : {"\n  --to 1|2 ", "\n  --jobs N ", "\n  --verbose  ",
                             "\n  --guard, --no-guard  ", "\n  -t, --table TABLE "}) {
        EXPECT_NE(sync.find(line), std::string::npos) << line << sync;
    }
    EXPECT_NE(sync.find(" Database that is changed (required)\n"), std::string::npos) << sync;
    const std::string compare = CallProgram({"compare", "--help"}).out;
    EXPECT_NE(compare.find("\n  --report-limit N            Rows of each table that the report "
                           "shows (0: all) (default: 1000)\n"),
              std::string::npos)
        << compare;
    EXPECT_NE(CallProgram({"help", "compare", "--man"}).out.find("(default: 1000)"),
              std::string::npos);
    for (std::size_t at = 0; at < compare.size();) {
        const std::size_t end = compare.find('\n', at);
        EXPECT_LT(end - at, 110U) << compare.substr(at, end - at);
        at = end + 1;
    }
}

TEST(Help, TellsOfACommandOfACommand) {
    const Outcome outcome = CallProgram({"help", "template", "pick"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.out.find("\nUsage: quillon template pick [OPTIONS] kind table [element]\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_EQ(CallProgram({"help", "template", "pik"}).err.substr(0, 67),
              "quillon: quillon template has no command pik; did you mean pick?\nRu");
    EXPECT_EQ(CallProgram({"help", "compare", "rows"}).err.substr(0, 51),
              "quillon: quillon compare has no commands of its own");
}

}  // namespace
}  // namespace quillon
