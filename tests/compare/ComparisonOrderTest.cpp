// The order of events and statements, the cancel flag, and what a failure leaves of a table.
#include <gtest/gtest.h>

#include "ComparisonFixture.h"

namespace QuillonLib {
namespace {

constexpr std::u16string_view Failed = u"[FreeTDS][SQL Server]made to fail";
constexpr std::u16string_view Closed = u"Operation is not allowed when the object is closed.";

class ComparisonOrderTest : public ComparisonFixture {
  protected:
    ComparisonOrderTest() {
        for (const char16_t* name : {u"t", u"u"}) {
            RunInBoth(std::u16string(u"CREATE TABLE ") + name +
                      u" (id int NOT NULL CONSTRAINT PK_" + name + u" PRIMARY KEY, a int NULL)");
            RunIn(u"one", std::u16string(u"INSERT ") + name + u" VALUES (1,1),(2,2)");
            RunIn(u"two", std::u16string(u"INSERT ") + name + u" VALUES (1,1),(2,3),(4,4)");
        }
        server.ClearLog();
    }
    // The percentages of the events about one table.
    std::vector<int> PercentagesOf(const std::u16string& table) const {
        std::vector<int> percentages;
        for (const StatusEvent& event : statuses) {
            if (event.message == u"Comparing " + table) percentages.push_back(event.percent);
        }
        return percentages;
    }
};

TEST_F(ComparisonOrderTest, EveryStepIsToldBetweenTheStatementsOfItsPlace) {
    std::vector<std::size_t> sent;
    onStatus = [&](const std::u16string& message, bool&) {
        if (message == u"Comparing t") sent.push_back(Told(server).size());
    };
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->RecordsInUnion(), 4);
    EXPECT_EQ(result->RecordsDiffering(), 1);
    EXPECT_EQ(PercentagesOf(u"t"), (std::vector<int>{0, 25, 50, 75, 100}));
    // Two counts, each told when it is done; the third step before the union; the fourth at the
    // end.
    EXPECT_EQ(sent, (std::vector<std::size_t>{0, 1, 2, 2, 4}));
}

struct FailingStep {
    const char16_t* text;
    int nth;
    std::vector<int> percentages;
};

class FailingStepTest : public ComparisonOrderTest,
                        public ::testing::WithParamInterface<FailingStep> {};

TEST_P(FailingStepTest, EndsTheEventsOfItsTable) {
    server.AddFault(ErrorIn(GetParam().text, GetParam().nth));
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->Error(), std::u16string(u"Error comparing [dbo].[t]\r\n").append(Failed));
    EXPECT_EQ(PercentagesOf(u"t"), GetParam().percentages);
}

INSTANTIATE_TEST_SUITE_P(Statements, FailingStepTest,
                         ::testing::Values(FailingStep{u"SELECT COUNT(*) FROM [dbo].[t]", 1, {0}},
                                           FailingStep{
                                               u"SELECT COUNT(*) FROM [dbo].[t]", 2, {0, 25}},
                                           FailingStep{u" UNION ", 1, {0, 25, 50, 75}},
                                           FailingStep{u" T1 INNER JOIN ", 1, {0, 25, 50, 75}}));

TEST_F(ComparisonOrderTest, AFailedTableKeepsTheStepsThatItDid) {
    utils.SuppressCompareProcessErrors(true);
    server.AddFault(ErrorIn(u" UNION "));
    Compare({u"[dbo].[t]", u"[dbo].[u]"});
    EXPECT_EQ(PercentagesOf(u"t"), (std::vector<int>{0, 12, 25, 38}));
    EXPECT_EQ(PercentagesOf(u"u"), (std::vector<int>{38, 50, 62, 75, 88}));
}

TEST_F(ComparisonOrderTest, TheLastErrorTellsWhatEachConnectionKnows) {
    for (const int connection : {1, 2}) {
        SCOPED_TRACE(connection);
        server.AddFault(ErrorIn(u"SELECT COUNT(*) FROM [dbo].[t]", connection));
        EXPECT_EQ(RaisedBy([&] { Compare({u"[dbo].[t]"}); }).number, 3704);
        EXPECT_EQ(utils.LastError(),
                  std::u16string(u"Error comparing databases one And two\r\n\r\n")
                      .append(Closed)
                      .append(u"\r\n")
                      .append(Failed)
                      .append(u" (0)"));
    }
    server.AddFault(ErrorIn(u" UNION "));
    RaisedBy([&] { Compare({u"[dbo].[t]"}); });
    EXPECT_EQ(utils.LastError(),
              std::u16string(u"Error comparing databases one And two\r\n\r\nError comparing "
                             u"[dbo].[t]\r\n")
                  .append(Failed)
                  .append(u"\r\n")
                  .append(Failed)
                  .append(u" (0)"));
}

TEST_F(ComparisonOrderTest, AFailureLeavesWhatWasKnownBefore) {
    server.AddFault(ErrorIn(u"SELECT COUNT(*) FROM [dbo].[t]", 2));
    const auto counted = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(counted->Columns()->Count(), 2);
    EXPECT_EQ(counted->RecordsIn1(), 0);
    EXPECT_FALSE(counted->HasPrimaryKey());

    server.AddFault(ErrorIn(u" UNION "));
    const auto united = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(united->RecordsIn1(), 2);
    EXPECT_EQ(united->RecordsIn2(), 3);
    EXPECT_TRUE(united->HasPrimaryKey());
    EXPECT_EQ(united->RecordsInUnion(), 0);

    server.AddFault(ErrorIn(u" T1 INNER JOIN "));
    const auto differing = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(differing->RecordsInUnion(), 4);
    EXPECT_EQ(differing->RecordsDiffering(), 0);
    EXPECT_FALSE(differing->Identical());

    RunIn(u"one", u"CREATE TABLE k (a int, Id int NOT NULL CONSTRAINT PK_k PRIMARY KEY, b int)");
    RunIn(u"two", u"CREATE TABLE k (a int, ID int NOT NULL CONSTRAINT PK_k PRIMARY KEY, b int)");
    const auto keyless = CompareOne(u"[dbo].[k]");
    EXPECT_EQ(keyless->Error(), u"Error comparing [dbo].[k]\r\nKey columns differ");
    ASSERT_EQ(keyless->Columns()->Count(), 1);
    EXPECT_EQ(keyless->Columns()->Item(1)->Name(), u"a");
}

TEST_F(ComparisonOrderTest, TheCancelFlagIsOneForAllEvents) {
    std::vector<bool> found;
    onStatus = [&](const std::u16string& message, bool& cancel) {
        if (!message.starts_with(u"Comparing")) return;
        found.push_back(cancel);
        if (found.size() == 1) cancel = true;
    };
    EXPECT_EQ(Compare({u"[dbo].[t]", u"[dbo].[u]"}), nullptr);
    EXPECT_EQ(found, (std::vector<bool>{false, true, true, true, true}));
}

TEST_F(ComparisonOrderTest, ProcessErrorSeesWhatStatusSet) {
    utils.SuppressCompareProcessErrors(true);
    server.AddFault(ErrorIn(u" UNION "));
    bool found = false;
    onStatus = [](const std::u16string& message, bool& cancel) {
        if (message == u"Comparing t") cancel = true;
    };
    onProcessError = [&](bool& cancel) { found = cancel; };
    EXPECT_EQ(Compare({u"[dbo].[t]", u"[dbo].[u]"}), nullptr);
    EXPECT_TRUE(found);
    EXPECT_TRUE(PercentagesOf(u"u").empty());
}

TEST_F(ComparisonOrderTest, ProcessErrorMayTakeACancelBack) {
    utils.SuppressCompareProcessErrors(true);
    server.AddFault(ErrorIn(u" UNION "));
    onStatus = [](const std::u16string& message, bool& cancel) {
        if (message == u"Comparing t") cancel = true;
    };
    onProcessError = [](bool& cancel) { cancel = false; };
    const auto results = Compare({u"[dbo].[t]", u"[dbo].[u]"});
    ASSERT_NE(results, nullptr);
    EXPECT_EQ(results->Count(), 2);
}

TEST_F(ComparisonOrderTest, SuppressedErrorsNeedNoSinkAndNoHandler) {
    utils.SuppressCompareProcessErrors(true);
    for (const auto& quiet : {std::shared_ptr<EventSink>(), std::make_shared<EventSink>()}) {
        utils.EventSink(quiet);
        const auto results = Compare({u"[dbo].[missing]", u"[dbo].[t]"});
        ASSERT_EQ(results->Count(), 2);
        EXPECT_NE(results->Item(1)->Error(), u"");
        EXPECT_EQ(results->Item(2)->RecordsDiffering(), 1);
    }
}

TEST_F(ComparisonOrderTest, WhereDatabase1HoldsEveryRowNothingCanDiffer) {
    RunIn(u"two", u"DELETE FROM t WHERE id > 1");
    server.ClearLog();
    const auto result = CompareOne(u"[dbo].[t]");
    EXPECT_EQ(result->RecordsIn2(), 1);
    EXPECT_EQ(result->RecordsInUnion(), 2);
    EXPECT_FALSE(result->Identical());
    EXPECT_EQ(Told(server).size(), 3U);
}

// Counts take owner and name out of the entry, references take the entry.
TEST_F(ComparisonOrderTest, AnEntryInQuotationMarksIsTakenAsItStands) {
    const auto result = CompareOne(u"\"dbo\".\"t\"");
    EXPECT_EQ(result->Error(), u"");
    EXPECT_EQ(result->Name(), u"\"dbo\".\"t\"");
    EXPECT_EQ(Told(server),
              (Texts{u"SELECT COUNT(*) FROM [dbo].[t]", u"SELECT COUNT(*) FROM [dbo].[t]",
                     u"SELECT COUNT(*) FROM (SELECT [id], [a] FROM [one].\"dbo\".\"t\" UNION "
                     u"SELECT [id], [a] FROM [two].\"dbo\".\"t\") t1",
                     u"SELECT COUNT(*) FROM [one].\"dbo\".\"t\" T1 INNER JOIN "
                     u"[two].\"dbo\".\"t\" T2 ON T1.[id]=T2.[id]  WHERE (T1.[a]<>T2.[a]) OR "
                     u"(T1.[a] IS NULL AND T2.[a] IS NOT NULL) OR (T1.[a] IS NOT NULL AND T2.[a] "
                     u"IS NULL) "}));
}

TEST_F(ComparisonOrderTest, AComputedKeyColumnStaysTheKey) {
    RunInBoth(
        u"CREATE TABLE c (a int NOT NULL, twice AS a * 2, b int NOT NULL)\nGO\n"
        u"CREATE UNIQUE INDEX ux ON c (twice)");
    const auto result = CompareOne(u"[dbo].[c]");
    EXPECT_EQ(result->Error(), u"");
    const auto key = result->Columns()->Item(u"twice");
    EXPECT_TRUE(key->PrimaryKey());
    EXPECT_TRUE(key->CannotCompare());
    EXPECT_TRUE(key->Computed());
    EXPECT_TRUE(result->HasDodgyColumns());
    EXPECT_EQ(result->Columns()->ColumnList(), u"[a], [twice], [b]");
}

TEST_F(ComparisonOrderTest, OnlyDatabase1TellsWhatIsComputed) {
    RunIn(u"one",
          u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY, x int, y AS id + 1)");
    RunIn(u"two",
          u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY, x AS id + 1, y int)");
    const auto result = CompareOne(u"[dbo].[c]");
    EXPECT_FALSE(result->Columns()->Item(u"x")->Computed());
    EXPECT_FALSE(result->Columns()->Item(u"x")->CannotCompare());
    EXPECT_TRUE(result->Columns()->Item(u"y")->Computed());
    EXPECT_TRUE(result->Columns()->Item(u"y")->CannotCompare());
}

}  // namespace
}  // namespace QuillonLib
