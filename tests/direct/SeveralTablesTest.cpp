// Many tables side by side: order, progress, cancelling, failures.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

class SeveralTables : public DirectFixture {
  protected:
    static constexpr int Tables = 7;

    SeveralTables() {
        for (int i = 0; i < Tables; ++i) {
            const std::u16string name = u"t" + ToText(i);
            const bool keyed = i % 3 != 2;
            RunOnBoth(u"CREATE TABLE " + name + u" (id int " + (keyed ? u"PRIMARY KEY" : u"") +
                      u", a int) INSERT " + name + u" VALUES (1," + ToText(i) + u"),(2,2),(3,3)");
            RunOn1(u"UPDATE " + name + u" SET a = 9 WHERE id = 2");
            RunOn2(u"DELETE " + name + u" WHERE id = 3");
            tables.push_back({{u"dbo", name}, {}, {}, {}});
        }
        sink.Difference = [this](const DirectDifference& difference, bool& cancel) {
            Say(difference.table, Shown(difference));
            cancel = --differencesWanted == 0;
        };
        sink.Progress = [this](const DirectProgress& progress, bool& cancel) {
            Say(progress.table, u"rows " + ToText(static_cast<std::int64_t>(progress.rows1)) +
                                    u"+" + ToText(static_cast<std::int64_t>(progress.rows2)) +
                                    u" of " +
                                    ToText(static_cast<std::int64_t>(progress.expected1)) + u"+" +
                                    ToText(static_cast<std::int64_t>(progress.expected2)));
            cancel = --progressWanted == 0;
        };
        sink.Table = [this](std::size_t table, const DirectTableResult& result, bool& cancel) {
            Say(table, result.error ? u"failed" : u"done");
            cancel = --tablesWanted == 0;
        };
    }

    void Say(std::size_t table, const std::u16string& what) {
        told.push_back(ToText(static_cast<std::int64_t>(table)) + u": " + what);
    }
    std::vector<DirectTableResult> Run(int jobs) {
        told.clear();
        options.jobs = jobs;
        return Compare(tables);
    }

    std::vector<DirectTable> tables;
    Texts told;
    int differencesWanted = 0, progressWanted = 0, tablesWanted = 0;  // 0: all
};

TEST_F(SeveralTables, AreToldInOrderHoweverManyAreRead) {
    Run(1);
    const Texts alone = told;
    EXPECT_EQ(alone.at(0), u"0: rows 0+0 of 3+2");
    EXPECT_EQ(alone.at(1), u"0: 2|9 -> 2|2 (2)");
    EXPECT_EQ(alone.at(2), u"0: 1: 3|3");
    EXPECT_EQ(alone.at(3), u"0: done");
    EXPECT_EQ(alone.back(), u"6: done");
    for (const int jobs : {2, 3, 16}) {
        const auto results = Run(jobs);
        EXPECT_EQ(told, alone);
        for (const DirectTableResult& result : results)
            EXPECT_EQ(result.identical, 1U);
    }
}

TEST_F(SeveralTables, EachWorkerHasTwoConnectionsOfItsOwn) {
    server.ClearLog();
    server2.ClearLog();
    Run(3);
    EXPECT_EQ(Logins(server), 3);
    EXPECT_EQ(Logins(server2), 3);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(SeveralTables, OneThatFailsLeavesTheOthersAlone) {
    RunOn2(u"DROP TABLE t2");
    const auto results = Run(2);
    EXPECT_EQ(results.at(2).error->Number(), ErrorNumber::ItemNotFound);
    EXPECT_EQ(results.at(2).shape.table.Name, u"t2");
    EXPECT_TRUE(results.at(1).complete);
    EXPECT_TRUE(results.at(6).complete);
}

TEST_F(SeveralTables, ALostConnectionIsMadeAgain) {
    server2.AddFault(
        {.kind = sandbox::FaultKind::DropAfterRows, .contains = u"FROM [dbo].[t1]", .rows = 1});
    const auto results = Run(1);
    ASSERT_TRUE(results.at(1).error.has_value());
    EXPECT_FALSE(results.at(1).complete);
    EXPECT_TRUE(results.at(2).complete);
    EXPECT_TRUE(results.at(6).complete);
}

TEST_F(SeveralTables, AServerThatIsGoneFailsTheTablesThatAreLeft) {
    // so that the server is gone before this table is read
    server2.AddFault({.kind = sandbox::FaultKind::Delay,
                      .contains = u"FROM [dbo].[t5]",
                      .delay = std::chrono::seconds(60)});
    sink.Table = [this](std::size_t table, const DirectTableResult&, bool&) {
        if (table == 4) server2.Kill();
    };
    const auto results = Run(1);
    EXPECT_TRUE(results.at(4).complete);
    EXPECT_TRUE(results.at(0).complete);
    EXPECT_TRUE(results.at(6).error.has_value());
    EXPECT_FALSE(results.at(6).complete);
}

// Its tables are compared by those that have connections.
TEST_F(SeveralTables, AWorkerThatCannotLogInLeavesItsTablesToTheOthers) {
    options.snapshot = true;  // which is asked for with each login
    for (int nth = 2; nth <= 3; ++nth) {
        server2.AddFault(ErrorIn(u"snapshot_isolation_state", nth));
        const auto results = Run(3);
        server2.ClearFaults();
        for (const DirectTableResult& result : results)
            EXPECT_TRUE(result.complete) << ToUtf8(result.error->Description());
    }
    server2.AddFault(ErrorIn(u"snapshot_isolation_state", 2));
    server2.AddFault(ErrorIn(u"snapshot_isolation_state", 3));
    for (const DirectTableResult& result : Run(3))
        EXPECT_TRUE(result.complete) << ToUtf8(result.error->Description());
}

TEST_F(SeveralTables, ASilentServerIsCancelled) {
    const sandbox::Fault silent{.kind = sandbox::FaultKind::Delay,
                                .contains = u"FROM [dbo].[t1]",
                                .delay = std::chrono::seconds(60)};
    server.AddFault(silent);
    server2.AddFault(silent);
    int asked = 0;
    sink.Waiting = [&](bool& cancel) { cancel = ++asked == 3; };
    const auto begin = std::chrono::steady_clock::now();
    const auto results = Run(2);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_EQ(asked, 3);
    EXPECT_TRUE(results.at(0).complete);
    EXPECT_FALSE(results.at(1).complete);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(SeveralTables, ALoginThatFailsIsThrown) {
    two->Password(u"wrong");
    EXPECT_NE(RaisedBy([this] { Run(2); }).number, 0);
    EXPECT_EQ(told, Texts{});
}

TEST_F(SeveralTables, AnyHandlerCanCancel) {
    for (const int jobs : {1, 4}) {
        differencesWanted = 3;
        auto results = Run(jobs);
        EXPECT_EQ(told.back(), u"1: 2|9 -> 2|2 (2)");
        EXPECT_TRUE(results.at(0).complete);
        EXPECT_FALSE(results.at(6).Same());
        differencesWanted = 0;
        progressWanted = 2;
        Run(jobs);
        EXPECT_EQ(told.back(), u"1: rows 0+0 of 3+2");
        progressWanted = 0;
        tablesWanted = 2;
        Run(jobs);
        EXPECT_EQ(told.back(), u"1: done");
        tablesWanted = 0;
        EXPECT_EQ(ConnectionsLeft(server), 0);
    }
}

TEST_F(SeveralTables, AHandlerThatThrowsEndsThemAll) {
    sink.Difference = [](const DirectDifference&, bool&) { throw std::runtime_error("mine"); };
    EXPECT_THROW(Run(4), std::runtime_error);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(SeveralTables, WithManyDifferencesWaitForTheirTurn) {
    std::u16string insert = u"INSERT t6 VALUES ";
    RunOn1(u"CREATE TABLE big (id int PRIMARY KEY, a nvarchar(max))");
    RunOn2(u"CREATE TABLE big (id int PRIMARY KEY, a nvarchar(max))");
    RunOn1(
        u"DECLARE @i int SET @i = 0 WHILE @i < 400 BEGIN INSERT big VALUES (@i,"
        u" REPLICATE(CAST(N'x' AS nvarchar(max)), 50000)) SET @i = @i + 1 END");
    tables.push_back({{u"dbo", u"big"}, {}, {}, {}});
    std::size_t rows = 0;
    sink.Difference = [&](const DirectDifference& difference, bool&) {
        if (difference.table == 7) ++rows;
    };
    const auto results = Run(8);
    EXPECT_EQ(results.at(7).onlyIn1, 400U);
    EXPECT_EQ(rows, 400U);
}

TEST_F(SeveralTables, ProgressComesByRows) {
    RunOnBoth(u"CREATE TABLE many (id int PRIMARY KEY)");
    RunOnBoth(
        u"DECLARE @i int SET @i = 0 WHILE @i < 12000 BEGIN INSERT many VALUES (@i)"
        u" SET @i = @i + 1 END");
    tables = {{{u"dbo", u"many"}, {}, {}, {}}};
    Run(2);
    EXPECT_EQ(told, (Texts{u"0: rows 0+0 of 12000+12000", u"0: rows 5000+5000 of 12000+12000",
                           u"0: rows 10000+10000 of 12000+12000", u"0: done"}));
}

TEST_F(SeveralTables, NumbersOfJobsOutOfRangeAreRefused) {
    EXPECT_EQ(RaisedBy([this] { Run(0); }).number, ErrorNumber::InvalidArgument);
    EXPECT_EQ(RaisedBy([this] { Run(65); }).number, ErrorNumber::InvalidArgument);
}

TEST_F(SeveralTables, NoTablesAreNothingToTell) {
    tables.clear();
    EXPECT_TRUE(Run(2).empty());
    EXPECT_EQ(told, Texts{});
}

TEST_F(SeveralTables, ReadSnapshotsWhereTheDatabaseAllowsThem) {
    RunOn1(u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON");
    options.snapshot = true;
    const auto results = Run(2);
    for (const DirectTableResult& result : results) {
        ASSERT_TRUE(result.complete) << ToUtf8(result.error->Description());
        EXPECT_EQ(result.reading1, DirectReading::Snapshot);
        EXPECT_EQ(result.reading2, DirectReading::Committed);
    }
    options.snapshot = false;
    EXPECT_EQ(Run(2).at(0).reading1, DirectReading::Committed);
}

// Three rows on the one side and two on the other, in each of them.
TEST_F(SeveralTables, TellHowFarAllTogetherHaveCome) {
    std::vector<std::uint64_t> read;
    std::vector<std::optional<std::uint64_t>> expected;
    sink.Progress = [&](const DirectProgress& progress, bool&) {
        read.push_back(progress.allRead);
        expected.push_back(progress.allExpected);
        // those before are read, and what is ahead may be
        EXPECT_GE(progress.allRead, 5 * progress.table);
    };
    for (const int jobs : {1, 4}) {
        read.clear();
        expected.clear();
        Run(jobs);
        ASSERT_EQ(read.size(), std::size_t{Tables});
        EXPECT_TRUE(std::is_sorted(read.begin(), read.end()));
        EXPECT_LE(read.back(), 5U * Tables);
        EXPECT_EQ(std::count(expected.begin(), expected.end(), 5U * Tables), Tables);
    }
    // nobody knows how many rows meet a condition before they are read
    tables[3].where = u"id > 0";
    Run(1);
    EXPECT_FALSE(expected.at(Tables));
}

TEST_F(SeveralTables, ASnapshotKeepsWhatIsChangedMeanwhile) {
    RunOn1(u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON");
    options.snapshot = true;
    server.ClearLog();
    Run(1);
    const Texts batches = Batches(server);
    const auto begins = std::count(batches.begin(), batches.end(),
                                   u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT BEGIN TRANSACTION");
    EXPECT_EQ(begins, Tables);
    EXPECT_EQ(std::count(batches.begin(), batches.end(), u"COMMIT TRANSACTION"), Tables);
}

}  // namespace
}  // namespace QuillonLib
