// Comparisons that fail: at every statement, at every login, and with the server gone.
#include <gtest/gtest.h>

#include "ComparisonFixture.h"

namespace QuillonLib {
namespace {

class ComparisonFailureTest : public ComparisonFixture {
  protected:
    ComparisonFailureTest() {
        RunInBoth(u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY, n int NULL)");
        RunInBoth(u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY, n int NULL)");
        RunIn(u"one", u"INSERT a VALUES (1,1),(2,2)");
        RunIn(u"two", u"INSERT a VALUES (1,2),(3,3)");
        server.ClearLog();
    }

    Raised CompareBoth() {
        return RaisedBy([&] { results = Compare({u"[dbo].[a]", u"[dbo].[b]"}); });
    }
    void ExpectThatTheNextComparisonWorks() {
        server.ClearFaults();
        EXPECT_EQ(ConnectionsLeft(server), 0);
        ASSERT_EQ(CompareBoth().number, 0);
        EXPECT_EQ(results->Item(1)->RecordsDiffering(), 1);
        EXPECT_EQ(utils.LastError(), u"");
    }

    std::shared_ptr<TableDifferences> results;
};

TEST_F(ComparisonFailureTest, AMissingTableReachesTheCallerAsTheErrorOfClosing) {
    const Raised raised = RaisedBy([&] { Compare({u"[dbo].[nothing]"}); });
    EXPECT_EQ(raised.number, 3704);
    EXPECT_EQ(raised.description, std::u16string(u"Error comparing databases one And two\r\n\r\n") +
                                      ClosedText + u" (0)");
    EXPECT_EQ(utils.LastError(), raised.description);
    ExpectThatTheNextComparisonWorks();
}

TEST_F(ComparisonFailureTest, TheResultKeepsTheTextOfAFailureBeforeTheCounts) {
    utils.SuppressCompareProcessErrors(true);
    const auto result = Compare({u"[dbo].[nothing]"})->Item(1);
    EXPECT_EQ(result->Error(),
              u"Error comparing [dbo].[nothing]\r\n"
              u"The database 'one' has no table or view [dbo].[nothing].");
    ExpectOneProcessError(3704, ClosedText);
    EXPECT_EQ(utils.LastError(), u"");
}

TEST_F(ComparisonFailureTest, ATableThatDatabase2LacksFails) {
    RunIn(u"one", u"CREATE TABLE only1 (id int NOT NULL)");
    EXPECT_EQ(CompareOne(u"[dbo].[only1]")->Error(),
              u"Error comparing [dbo].[only1]\r\n"
              u"The database 'two' has no table or view [dbo].[only1].");
}

TEST_F(ComparisonFailureTest, AFailureFromTheCountsOnReachesTheCallerWithItsCause) {
    RunIn(u"one", u"CREATE TABLE c (x int)");
    RunIn(u"two", u"CREATE TABLE c (y int)");
    const Raised raised = RaisedBy([&] { Compare({u"[dbo].[c]"}); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040002));
    EXPECT_EQ(raised.description,
              u"Error comparing databases one And two\r\n\r\n"
              u"Error comparing [dbo].[c]\r\nAll columns differ (0)");
    EXPECT_EQ(raised.source, u"CompareTable");
}

TEST_F(ComparisonFailureTest, WithoutSuppressionProcessErrorIsNeverRaised) {
    RaisedBy([&] { Compare({u"[dbo].[nothing]"}); });
    EXPECT_TRUE(processErrors.empty());
}

TEST_F(ComparisonFailureTest, WithSuppressionTheOtherTablesAreCompared) {
    utils.SuppressCompareProcessErrors(true);
    EXPECT_TRUE(utils.SuppressCompareProcessErrors());
    const auto all = Compare({u"[dbo].[nothing]", u"[dbo].[a]"});
    EXPECT_EQ(all->Count(), 2);
    EXPECT_EQ(all->Item(2)->RecordsDiffering(), 1);
    EXPECT_EQ(processErrors.size(), 1U);
}

TEST_F(ComparisonFailureTest, StepsOfAFailedTableAreNotCounted) {
    utils.SuppressCompareProcessErrors(true);
    Compare({u"[dbo].[nothing]", u"[dbo].[a]"});
    EXPECT_EQ((std::vector<StatusEvent>(statuses.begin() + 3, statuses.end())),
              (std::vector<StatusEvent>{{u"Comparing nothing", 0},
                                        {u"Comparing a", 0},
                                        {u"Comparing a", 12},
                                        {u"Comparing a", 25},
                                        {u"Comparing a", 38},
                                        {u"Comparing a", 50}}));
}

TEST_F(ComparisonFailureTest, ErrorsAreNotSuppressedUnlessAskedFor) {
    EXPECT_FALSE(Utils().SuppressCompareProcessErrors());
    EXPECT_EQ(RaisedBy([&] { Compare({u"[dbo].[nothing]"}); }).number, 3704);
}

TEST_F(ComparisonFailureTest, AHandlerMayBeginToSuppressTheErrorsOfTheNextTables) {
    EXPECT_FALSE(utils.SuppressCompareProcessErrors());
    onStatus = [this](const std::u16string& message, bool&) {
        if (message == u"Comparing a") utils.SuppressCompareProcessErrors(true);
    };
    const auto all = Compare({u"[dbo].[a]", u"[dbo].[nothing]", u"[dbo].[b]"});
    EXPECT_EQ(all->Count(), 3);
    EXPECT_EQ(processErrors.size(), 1U);
}

TEST_F(ComparisonFailureTest, AHandlerMayEndTheSuppressionOfErrors) {
    utils.SuppressCompareProcessErrors(true);
    sink->ProcessError = [this](std::int32_t, const std::u16string&, bool&) {
        utils.SuppressCompareProcessErrors(false);
    };
    const Raised raised = RaisedBy([&] {
        Compare({u"[dbo].[nothing]", u"[dbo].[nowhere]", u"[dbo].[a]"});
    });
    EXPECT_EQ(raised.number, 3704);
    EXPECT_EQ(raised.description, std::u16string(u"Error comparing databases one And two\r\n\r\n") +
                                      ClosedText + u" (0)");
    EXPECT_EQ(statuses.back(), (StatusEvent{u"Comparing nowhere", 0}));
}

TEST_F(ComparisonFailureTest, AnErrorWithTheNumberZeroIsNotReported) {
    utils.SuppressCompareProcessErrors(true);
    onStatus = [this](const std::u16string& message, bool&) {
        if (message == u"Comparing a" && statuses.back().percent == 25) {
            throw Error(0, u"of no number");
        }
    };
    const auto all = Compare({u"[dbo].[a]", u"[dbo].[b]"});
    EXPECT_EQ(all->Item(1)->Error(), u"Error comparing [dbo].[a]\r\nof no number");
    EXPECT_EQ(all->Item(2)->Error(), u"");
    EXPECT_TRUE(processErrors.empty());
}

TEST_F(ComparisonFailureTest, AnErrorTellsNothingOfEarlierTables) {
    // one fault on the connection of each database
    for (const auto& fault : {ErrorIn(u"SELECT COUNT(*) FROM [dbo].[a]", 1),
                              ErrorIn(u"SELECT COUNT(*) FROM [dbo].[a]", 2), ErrorIn(u"UNION")}) {
        server.AddFault(fault);
        utils.SuppressCompareProcessErrors(true);
        Compare({u"[dbo].[a]", u"[dbo].[nothing]"});
        ASSERT_EQ(processErrors.size(), 2U);
        EXPECT_TRUE(Holds(processErrors[0].description, u"made to fail"));
        EXPECT_EQ(processErrors[1].description, ClosedText);
        processErrors.clear();
        server.ClearFaults();
    }
}

TEST_F(ComparisonFailureTest, AHandlerOfProcessErrorMayEndTheComparison) {
    utils.SuppressCompareProcessErrors(true);
    onProcessError = [](bool& cancel) { cancel = true; };
    EXPECT_EQ(Compare({u"[dbo].[nothing]", u"[dbo].[a]"}), nullptr);
    EXPECT_EQ(statuses.back().message, u"Comparing nothing");
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(ComparisonFailureTest, ColumnsTheServerCannotCompareFailTheTableOnly) {
    RunInBoth(u"CREATE TABLE x (id int NOT NULL CONSTRAINT PK_x PRIMARY KEY, doc xml NULL)");
    utils.SuppressCompareProcessErrors(true);
    const auto all = Compare({u"[dbo].[x]", u"[dbo].[a]"});
    EXPECT_EQ(all->Item(1)->Error().substr(0, 27), u"Error comparing [dbo].[x]\r\n");
    EXPECT_EQ(all->Item(1)->RecordsIn1(), 0);
    EXPECT_TRUE(all->Item(1)->HasPrimaryKey());
    EXPECT_EQ(all->Item(2)->Error(), u"");
}

// The statements of one table, each made to fail in its turn.
struct FailingStatement {
    const char16_t* text;
    int nth;
    bool beforeTheCounts;  // the failure then reaches the caller as that of closing
};

class FailingStatementTest : public ComparisonFailureTest,
                             public ::testing::WithParamInterface<FailingStatement> {};

TEST_P(FailingStatementTest, FailsAsTold) {
    const auto [text, nth, beforeTheCounts] = GetParam();
    server.AddFault(ErrorIn(text, nth));
    utils.SuppressCompareProcessErrors(true);
    const auto result = Compare({u"[dbo].[a]"})->Item(1);
    EXPECT_EQ(result->Error(), u"Error comparing [dbo].[a]\r\n[FreeTDS][SQL Server]made to fail");
    ASSERT_EQ(processErrors.size(), 1U);
    const std::u16string errors = u"\r\n[FreeTDS][SQL Server]made to fail";
    if (beforeTheCounts) {
        EXPECT_EQ(processErrors[0].number, 3704);
        EXPECT_EQ(processErrors[0].description, ClosedText + errors);
    } else {
        EXPECT_EQ(processErrors[0].description, result->Error() + errors);
    }
    utils.SuppressCompareProcessErrors(false);
    ExpectThatTheNextComparisonWorks();
}

INSTANTIATE_TEST_SUITE_P(
    Statements, FailingStatementTest,
    ::testing::Values(FailingStatement{u"sys.columns c ON c.object_id = o", 1, true},
                      FailingStatement{u"sys.columns c ON c.object_id = o", 2, true},
                      FailingStatement{u"sys.index_columns", 1, true},
                      FailingStatement{u"sys.index_columns", 2, true},
                      FailingStatement{u"SELECT COUNT(*) FROM [dbo].[a]", 1, true},
                      FailingStatement{u"SELECT COUNT(*) FROM [dbo].[a]", 2, true},
                      FailingStatement{u" UNION ", 1, false},
                      FailingStatement{u"INNER JOIN [two].[dbo].[a] T2", 1, false}));

TEST_F(ComparisonFailureTest, ALoginThatIsRefusedIsToldWithTheServer) {
    one->Password(u"wrong");
    const Raised raised = RaisedBy([&] { Compare({u"[dbo].[a]"}); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(raised.description,
              u"Error comparing databases one And two\r\n"
              u"Error connecting to server " +
                  server.Address() +
                  u"\r\n[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
                  u"[FreeTDS][SQL Server]Unable to connect to data source (0)");
    EXPECT_EQ(utils.LastError(), raised.description);
    EXPECT_FALSE(Holds(raised.description, u"wrong"));
    one->Password(u"sandbox");
    ExpectThatTheNextComparisonWorks();
}

TEST_F(ComparisonFailureTest, ALoginOfDatabase3TellsTheErrorsOfItsConnectionToo) {
    const auto three = MakeDatabase(u"one");
    three->Password(u"wrong");
    const Raised raised = RaisedBy([&] {
        utils.CompareContents(one, two, three, TextArray({u"[dbo].[a]"}), indexes, columns);
    });
    const std::u16string cause =
        u"\r\n[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
        u"[FreeTDS][SQL Server]Unable to connect to data source";
    EXPECT_EQ(raised.description,
              u"Error comparing databases one And two\r\nError connecting to server " +
                  server.Address() + cause + cause + u" (0)");
    ExpectThatTheNextComparisonWorks();
}

TEST_F(ComparisonFailureTest, AMissingDatabaseIsAFailureOfConnecting) {
    two->DatabaseName(u"nowhere");
    const Raised raised = RaisedBy([&] { Compare({u"[dbo].[a]"}); });
    EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E4D));
    EXPECT_TRUE(Holds(raised.description,
                      u"Error comparing databases one And nowhere\r\n"
                      u"Error connecting to server "));
    EXPECT_TRUE(Holds(raised.description, u"Cannot open database \"nowhere\""));
    two->DatabaseName(u"two");
    ExpectThatTheNextComparisonWorks();
}

TEST_F(ComparisonFailureTest, ADatabaseWhoseFactsCannotBeReadIsAFailureOfConnecting) {
    for (const int side : {1, 2}) {
        server.AddFault(ErrorIn(u"master..sysdatabases", side));
        const Raised raised = RaisedBy([&] { Compare({u"[dbo].[a]"}); });
        EXPECT_EQ(raised.number, static_cast<std::int32_t>(0x80040E14));
        EXPECT_EQ(raised.description,
                  u"Error comparing databases one And two\r\nError connecting to server " +
                      server.Address() + u"\r\n[FreeTDS][SQL Server]made to fail (0)");
        EXPECT_EQ(statuses.size(), static_cast<std::size_t>(side));
        ExpectThatTheNextComparisonWorks();
        statuses.clear();
    }
}

TEST_F(ComparisonFailureTest, AFailureIsWrittenToTheEventLog) {
    std::vector<std::u16string> entries;
    const TextArray tables({u"[dbo].[nothing]"});
    std::u16string lastError = u"from before";
    const ComparisonSurroundings surroundings{
        Events(), [] { return u"."; },
        [&](std::u16string_view text) { entries.emplace_back(text); }};
    const Raised raised = RaisedBy([&] {
        CompareContents({*one, *two, *one, tables, indexes, columns, false}, surroundings,
                        lastError);
    });
    EXPECT_EQ(entries, Texts{raised.description});
    EXPECT_EQ(lastError, raised.description);
}

TEST_F(ComparisonFailureTest, TheServerDiesInTheMiddle) {
    bool killed = false;
    onStatus = [&](const std::u16string& message, bool&) {
        if (message == u"Comparing b" && !killed) {
            killed = true;
            server.Kill();
        }
    };
    const Raised raised = CompareBoth();
    EXPECT_NE(raised.number, 0);
    EXPECT_EQ(raised.description.substr(0, 39), u"Error comparing databases one And two\r\n");
    onStatus = nullptr;
    server.Restart();
    ExpectThatTheNextComparisonWorks();
}

TEST_F(ComparisonFailureTest, ADroppedConnectionFailsTheTablesThatNeedIt) {
    server.AddFault({.kind = sandbox::FaultKind::Drop, .contains = u" UNION "});
    utils.SuppressCompareProcessErrors(true);
    const auto all = Compare({u"[dbo].[a]", u"[dbo].[b]"});
    EXPECT_EQ(all->Item(1)->RecordsIn1(), 2);
    EXPECT_NE(all->Item(1)->Error(), u"");
    EXPECT_NE(all->Item(2)->Error(), u"");
    EXPECT_EQ(processErrors.size(), 2U);
    utils.SuppressCompareProcessErrors(false);
    ExpectThatTheNextComparisonWorks();
}

TEST_F(ComparisonFailureTest, NoServerAtAll) {
    one->Server(u"127.0.0.1,1");
    const Raised raised = CompareBoth();
    EXPECT_TRUE(Holds(raised.description, u"Error connecting to server 127.0.0.1,1\r\n"));
}

}  // namespace
}  // namespace QuillonLib
