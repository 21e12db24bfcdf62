// Names that are nearly right, the version, and the help command.
#include "cli/Suggestion.h"

#include <gtest/gtest.h>

#include "tests/cli/ProgramCall.h"

namespace quillon {
namespace {

TEST(NearestName, CountsLettersTooManyMissingWrongAndSwapped) {
    const std::vector<std::string> known{"compare", "script", "sync"};
    EXPECT_EQ(NearestName("comparre", known), "compare");
    EXPECT_EQ(NearestName("comare", known), "compare");
    EXPECT_EQ(NearestName("compore", known), "compare");
    EXPECT_EQ(NearestName("ocmpaer", known), "compare");
    EXPECT_EQ(NearestName("snyc", known), "sync");
    EXPECT_EQ(NearestName("sync", known), "sync");
}

TEST(NearestName, IsNothingWhereEveryNameIsFarAway) {
    EXPECT_EQ(NearestName("merge", {"compare", "script", "sync"}), "");
    EXPECT_EQ(NearestName("yc", {"sync"}), "");
    EXPECT_EQ(NearestName("", {"sync"}), "");
    EXPECT_EQ(NearestName("sync", {}), "");
}

TEST(NearestName, TheFirstOfEquallyNearOnesIsTaken) {
    EXPECT_EQ(NearestName("bat", {"cat", "hat"}), "cat");
}

TEST(Mistyped, CommandsAreNamedWithTheNearest) {
    const Outcome outcome = CallProgram({"compair", "s/a", "s/b"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "quillon: there is no command compair; did you mean compare?\n"
              "Run with --help for more information.\n");
    EXPECT_EQ(CallProgram({"zzzzz"}).err,
              "quillon: there is no command zzzzz\nRun with --help for more information.\n");
}

TEST(Mistyped, OptionsAreNamedWithTheNearestOfTheCommand) {
    EXPECT_EQ(CallProgram({"compare", "s/a", "s/b", "--tabel=x"}).err,
              "quillon: quillon compare has no option --tabel; did you mean --table?\n"
              "Run with --help for more information.\n");
    EXPECT_EQ(CallProgram({"compare", "s/a", "s/b", "--qwertyuiop"}).err,
              "quillon: quillon compare has no option --qwertyuiop\n"
              "Run with --help for more information.\n");
}

TEST(Mistyped, OptionsAreThoseOfTheInnerCommandAndOfTheOneThatHoldsIt) {
    EXPECT_EQ(
        CallProgram({"template", "--templates", "f", "new", "--via", "s/c", "a", "--vai=s/c"}).err,
        "quillon: quillon template new has no option --vai; did you mean --via?\n"
        "Run with --help for more information.\n");
    EXPECT_EQ(CallProgram({"template", "list", "--template", "f"}).err,
              "quillon: quillon template list has no option --template; did you mean --templates?\n"
              "Run with --help for more information.\n");
}

TEST(Mistyped, WhatIsNoOptionIsNamedAsItStands) {
    const Outcome outcome = CallProgram({"compare", "s/a", "s/b", "s/c"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_NE(outcome.err.find("not expected: s/c"), std::string::npos) << outcome.err;
}

TEST(Version, IsPrintedAsData) {
    const Outcome outcome = CallProgram({"--version"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out.rfind("quillon ", 0), 0U);
    EXPECT_NE(outcome.out.find_first_of("0123456789"), std::string::npos);
}

TEST(HelpCommand, IsTheHelpOfACommandOrOfAll) {
    const Outcome compare = CallProgram({"help", "compare"});
    EXPECT_EQ(compare.exitCode, 0);
    EXPECT_EQ(compare.out, CallProgram({"compare", "--help"}).out);
    EXPECT_NE(compare.out.find("Usage: quillon compare"), std::string::npos) << compare.out;
    EXPECT_EQ(CallProgram({"help"}).out, CallProgram({"--help"}).out);
    EXPECT_EQ(CallProgram({"help", "compair"}).err,
              "quillon: there is no command compair; did you mean compare?\n"
              "Run with --help for more information.\n");
}

}  // namespace
}  // namespace quillon
