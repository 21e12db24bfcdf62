// Which tables are compared: names, patterns, and what is left out.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "cli/TableSelection.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class TableSelectionTest : public ProgramTest {
  protected:
    TableSelectionTest() {
        RunOnBoth(
            u"CREATE SCHEMA other\nGO\n"
            u"CREATE TABLE Customer (id int NOT NULL CONSTRAINT PK_cu PRIMARY KEY)\nGO\n"
            u"CREATE TABLE CustomerNote (id int NOT NULL CONSTRAINT PK_cn PRIMARY KEY)\nGO\n"
            u"CREATE TABLE [cu*] (id int NOT NULL CONSTRAINT PK_star PRIMARY KEY)\nGO\n"
            u"CREATE TABLE other.Customer (id int NOT NULL CONSTRAINT PK_oc PRIMARY KEY)");
        server.Run(u"USE b\nGO\nCREATE TABLE CustomerOld (id int)");
    }

    // The tables in the list of results, in its order.
    std::vector<std::string> Compared(std::vector<std::string> options) const {
        options.insert(options.begin(), {"compare", "--by-server", "--by-server"});
        const Outcome outcome = OnBoth(std::move(options));
        std::vector<std::string> tables;
        std::size_t at = outcome.out.find('\n');
        while (at != std::string::npos && outcome.out.compare(at, 2, "\n[") == 0) {
            tables.push_back(outcome.out.substr(at + 1, outcome.out.find("  ", at) - at - 1));
            at = outcome.out.find('\n', at + 1);
        }
        return tables;
    }
    std::string ErrorOf(std::vector<std::string> options) const {
        options.insert(options.begin(), {"compare", "--by-server", "--by-server"});
        const Outcome outcome = OnBoth(std::move(options));
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err.substr(0, outcome.err.find(';'));
    }
    using Tables = std::vector<std::string>;
};

TEST_F(TableSelectionTest, AStarStandsForAnyCharactersWithoutRegardToCase) {
    EXPECT_EQ(Compared({"-t", "cust*"}), (Tables{"[dbo].[Customer]", "[dbo].[CustomerNote]"}));
    EXPECT_EQ(Compared({"-t", "*note"}), (Tables{"[dbo].[CustomerNote]"}));
    EXPECT_EQ(Compared({"-t", "c*o*e*"}), (Tables{"[dbo].[Customer]", "[dbo].[CustomerNote]"}));
    EXPECT_EQ(Compared({"-t", "*.customer"}), (Tables{"[dbo].[Customer]", "[other].[Customer]"}));
    EXPECT_EQ(Compared({"-t", "o*.*"}), (Tables{"[other].[Customer]"}));
}

TEST_F(TableSelectionTest, AQuestionMarkStandsForOneCharacter) {
    EXPECT_EQ(Compared({"-t", "custome?"}), (Tables{"[dbo].[Customer]"}));
    EXPECT_EQ(Compared({"-t", "?"}), (Tables{"[dbo].[c]", "[dbo].[p]"}));
}

TEST_F(TableSelectionTest, ACharacterBeyondTheBasicPlaneIsOne) {
    RunOnBoth(u"CREATE TABLE [g\U0001D11E] (id int NOT NULL CONSTRAINT PK_clef PRIMARY KEY)");
    EXPECT_EQ(Compared({"-t", "g?"}), (Tables{"[dbo].[g\U0001D11E]"}));
    EXPECT_EQ(Compared({"-t", "*\U0001D11E"}), (Tables{"[dbo].[g\U0001D11E]"}));
    EXPECT_TRUE(ErrorOf({"-t", "g??"}).starts_with("quillon: neither "));
    EXPECT_TRUE(ErrorOf({"-t", "*?g?"}).starts_with("quillon: neither "));
}

TEST_F(TableSelectionTest, WithinBracketsTheyMeanThemselves) {
    EXPECT_EQ(Compared({"-t", "[cu*]"}), (Tables{"[dbo].[cu*]"}));
    EXPECT_EQ(Compared({"-t", "[*].[customer]", "-t", "p"}), Tables{});
}

TEST_F(TableSelectionTest, NamesAndPatternsStandInTheOrderGivenAndEachTableOnce) {
    EXPECT_EQ(Compared({"-t", "p", "-t", "cust*", "-t", "P", "-t", "customer"}),
              (Tables{"[dbo].[p]", "[dbo].[Customer]", "[dbo].[CustomerNote]"}));
}

TEST_F(TableSelectionTest, ExcludedTablesAreNotCompared) {
    EXPECT_EQ(Compared({"--exclude", "*.cu*"}), (Tables{"[dbo].[c]", "[dbo].[p]"}));
    EXPECT_EQ(Compared({"-t", "cust*", "--exclude", "Customer"}), (Tables{"[dbo].[CustomerNote]"}));
    EXPECT_EQ(Compared({"--exclude", "c*", "--exclude", "other.*"}), (Tables{"[dbo].[p]"}));
}

// A table of one database alone counts as a difference unless it is excluded.
TEST_F(TableSelectionTest, ExcludedTablesOfOneDatabaseDoNotCount) {
    const auto lastLine = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"compare", "--by-server", "-t", "cust*"});
        return OnBoth(std::move(options));
    };
    EXPECT_EQ(lastLine({}).exitCode, 1);
    EXPECT_EQ(lastLine({"--exclude", "CustomerOld"}).exitCode, 0);
}

TEST_F(TableSelectionTest, WhatNamesNoTableIsAnError) {
    EXPECT_EQ(ErrorOf({"-t", "x*"}),
              "quillon: neither " + one + " nor " + two + " has a table like x*");
    EXPECT_EQ(ErrorOf({"-t", "xyz"}),
              "quillon: neither " + one + " nor " + two + " has a table [dbo].[xyz]");
    EXPECT_EQ(ErrorOf({"--exclude", "x?z"}),
              "quillon: --exclude: neither " + one + " nor " + two + " has a table like x?z");
}

TEST_F(TableSelectionTest, NothingLeftIsAnError) {
    const Outcome outcome = OnBoth({"compare", "--by-server", "--exclude", "*.*"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "quillon: --exclude leaves no table to compare\n");
}

TEST(TablePattern, BadNamesAreRefused) {
    for (const char* bad : {"", "*.", "a.b.*", "[*"})
        EXPECT_THROW(TablePattern{bad}, CLI::ValidationError) << bad;
}

}  // namespace
}  // namespace quillon
