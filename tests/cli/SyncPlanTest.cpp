// What sync tells before it changes anything, and what it refuses to change.
#include "cli/SyncPlan.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/cli/TwoServers.h"

namespace quillon {
namespace {

std::string Refusal(const ChangeLimits& limits, const std::vector<TableChanges>& plan) {
    try {
        limits.Require(plan);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

ChangeLimits AtMost(std::uint64_t changes) {
    ChangeLimits limits;
    limits.changes = changes;
    return limits;
}

ChangeLimits AtMostPercent(double percent) {
    ChangeLimits limits;
    limits.percent = percent;
    return limits;
}

TableChanges Changes(std::uint64_t deletes, std::uint64_t updates, std::uint64_t inserts,
                     std::uint64_t rows) {
    return {"[dbo].[t]", deletes, updates, inserts, rows};
}

TEST(ChangeLimitsTest, WithoutALimitEverythingMayChange) {
    EXPECT_EQ(Refusal({}, {Changes(10, 10, 10, 10)}), "");
}

TEST(ChangeLimitsTest, CountsTheRowsOfAllTables) {
    EXPECT_EQ(Refusal(AtMost(12), {Changes(1, 2, 3, 100), Changes(1, 2, 3, 100)}), "");
    EXPECT_EQ(Refusal(AtMost(11), {Changes(1, 2, 3, 100), Changes(1, 2, 3, 100)}),
              "12 rows would change, more than --max-changes 11 allows; nothing was changed");
    EXPECT_NE(Refusal(AtMost(0), {Changes(0, 0, 1, 100)}), "");
}

TEST(ChangeLimitsTest, TakesPartsTableByTable) {
    EXPECT_EQ(Refusal(AtMostPercent(6), {Changes(1, 2, 3, 100)}), "");
    EXPECT_EQ(
        Refusal(AtMostPercent(5.5), {Changes(1, 2, 2, 100), Changes(1, 2, 3, 100)}),
        "[dbo].[t]: 6 of 100 rows would change, more than --max-percent 5.5 allows; nothing was "
        "changed");
    EXPECT_EQ(
        Refusal(AtMostPercent(0), {Changes(0, 1, 0, 1000000)}),
        "[dbo].[t]: 1 of 1000000 rows would change, more than --max-percent 0 allows; nothing was "
        "changed");
    EXPECT_EQ(Refusal(AtMostPercent(0), {Changes(0, 0, 0, 0)}), "");
    EXPECT_EQ(Refusal(AtMostPercent(100), {Changes(0, 0, 10, 10)}), "");
    EXPECT_NE(Refusal(AtMostPercent(99.9), {Changes(10, 0, 0, 10)}), "");
}

// One row is the same; of the others one goes, one changes, one comes.
class SyncPlanTest : public TwoServers {
  protected:
    Outcome Sync(std::vector<std::string> options) const {
        options.insert(options.end(), {"--to", "2"});
        return Direct("sync", std::move(options));
    }
    void ExpectNothingChanged() { EXPECT_EQ(RowsOfT(other), "1 same|2 case |4 new|"); }
};

TEST_F(SyncPlanTest, ADryRunTellsAndChangesNothing) {
    const Outcome outcome = Sync({"--dry-run"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "\n[dbo].[t]: to delete 1, to update 1, to insert 1\n"))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "\nA dry run: nothing was changed in " + second + ".\n"))
        << outcome.out;
    EXPECT_EQ(outcome.err, "");
    ExpectNothingChanged();
}

TEST_F(SyncPlanTest, ADryRunOfNothingEndsWith0) {
    EXPECT_EQ(Sync({"--yes"}).exitCode, 0);
    const Outcome outcome = Sync({"--dry-run"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_TRUE(Holds(outcome.out, "Nothing to do.\n")) << outcome.out;
}

TEST_F(SyncPlanTest, ADryRunThatMayDoEverythingIsRefused) {
    const Outcome outcome = Sync({"--dry-run", "--yes"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(FirstLine(outcome.err), "quillon: --yes excludes --dry-run");
    ExpectNothingChanged();
}

TEST_F(SyncPlanTest, MoreChangesThanAllowedAreRefused) {
    for (const bool dry : {false, true}) {
        const Outcome outcome =
            Sync({"--max-changes", "2", dry ? std::string("--dry-run") : std::string("--yes")});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_TRUE(Holds(outcome.out, "[dbo].[t]: to delete 1, to update 1, to insert 1\n"));
        EXPECT_EQ(outcome.err,
                  "quillon: 3 rows would change, more than --max-changes 2 allows; nothing was "
                  "changed\n");
    }
    ExpectNothingChanged();
    EXPECT_EQ(Sync({"--max-changes", "3", "--yes"}).exitCode, 0);
    EXPECT_EQ(RowsOfT(other), "1 same|2 Case|3 gone|");
}

// Eight rows in 1 and six in 2: one goes, one changes, three come.
TEST_F(SyncPlanTest, ALargerPartThanAllowedIsRefused) {
    RunOnBothServers(u"INSERT t VALUES (10, 'a', NULL), (11, 'b', NULL), (12, 'c', NULL)");
    RunOnFirst(u"INSERT t VALUES (13, 'd', NULL), (14, 'e', NULL)");
    const Outcome outcome = Sync({"--max-percent", "62.4", "--yes"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err,
              "quillon: [dbo].[t]: 5 of 8 rows would change, more than --max-percent 62.4 allows; "
              "nothing was changed\n");
    ExpectNothingChanged();
    EXPECT_EQ(Sync({"--max-percent", "62.5", "--yes"}).exitCode, 0);
}

TEST_F(SyncPlanTest, LimitsThatAreNoneAreRefused) {
    for (const auto& [option, value] : std::vector<std::pair<std::string, std::string>>{
             {"--max-changes", "-1"},
             {"--max-changes", "many"},
             {"--max-changes", "1.5"},
             {"--max-percent", "101"},
             {"--max-percent", "-0.1"},
             {"--max-percent", "half"},
             {"--max-percent", "nan"},
             {"--max-percent", "5,5"},
             {"--max-percent", "."},
             {"--max-changes", ""},
             {"--max-changes", "99999999999999999999999"}}) {
        const Outcome outcome = Sync({option, value, "--yes"});
        EXPECT_EQ(outcome.exitCode, 2) << option << " " << value;
        EXPECT_TRUE(Holds(FirstLine(outcome.err), option)) << outcome.err;
    }
    ExpectNothingChanged();
}

class SyncPlanByServer : public ProgramTest {
  protected:
    Outcome Sync(std::vector<std::string> options) {
        options.insert(options.begin(),
                       {"sync", "--by-server", "--to", "2", "--suspend-constraints"});
        return OnBoth(options);
    }
};

TEST_F(SyncPlanByServer, TellsWhatItIsAboutToDo) {
    const Outcome outcome = Sync({"--dry-run"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_NE(outcome.out.find("\n[dbo].[p]: to delete 1, to update 1, to insert 1\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("\n[dbo].[c]: to delete 0, to update 1, to insert 0\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("\nA dry run: nothing was changed in "), std::string::npos);
    EXPECT_EQ(RowsOfB(), u"2 three");
}

TEST_F(SyncPlanByServer, RefusesMoreThanAllowed) {
    const Outcome outcome = Sync({"--max-changes", "3", "--yes"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err,
              "quillon: 4 rows would change, more than --max-changes 3 allows; nothing was "
              "changed\n");
    EXPECT_EQ(RowsOfB(), u"2 three");
    EXPECT_EQ(Sync({"--max-changes", "4", "--yes"}).exitCode, 0);
    EXPECT_EQ(RowsOfB(), u"2 one");
}

}  // namespace
}  // namespace quillon
