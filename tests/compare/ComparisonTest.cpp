// A whole comparison: its events, its choices, what it leaves behind, and its batches as one list.
#include <gtest/gtest.h>
#ifndef _WIN32
#include <unistd.h>
#endif

#include "ComparisonFixture.h"
#include "core/Error.h"

namespace QuillonLib {
namespace {

class ComparisonTest : public ComparisonFixture {
  protected:
    ComparisonTest() {
        for (const char16_t* table : {u"a", u"b"}) {
            RunInBoth(std::u16string(u"CREATE TABLE ") + table +
                      u" (id int NOT NULL CONSTRAINT PK_" + table +
                      u" PRIMARY KEY, n nvarchar(10) NULL)");
        }
        RunIn(u"one", u"INSERT a VALUES (1,N'x'),(2,N'y')\nGO\nINSERT b VALUES (1,N'x')");
        RunIn(u"two", u"INSERT a VALUES (1,N'x'),(2,N'z'),(3,N'w')\nGO\nINSERT b VALUES (1,N'x')");
        RunIn(u"one", u"INSERT a VALUES (4,N'only here')");
        server.ClearLog();
    }
};

constexpr const char16_t* FactsOf1 =
    u"SELECT @@MICROSOFTVERSION / 16777216, cmptlevel, name, CASE WHEN DB_NAME() = name THEN 1 "
    u"ELSE 0 END FROM master..sysdatabases WHERE name = N'one'";
constexpr const char16_t* FactsOf2 =
    u"SELECT @@MICROSOFTVERSION / 16777216, cmptlevel, name, CASE WHEN DB_NAME() = name THEN 1 "
    u"ELSE 0 END FROM master..sysdatabases WHERE name = N'two'";
constexpr const char16_t* Columns =
    u"SELECT s.name, o.name, o.type, c.name, t.name, c.max_length, c.precision, c.scale, "
    u"c.is_computed, c.is_identity, c.is_nullable, c.collation_name, CASE WHEN c.system_type_id IN "
    u"(35, 167, 175) THEN CAST(COLLATIONPROPERTY(c.collation_name, 'CodePage') AS int) END, "
    u"CAST(COLLATIONPROPERTY(t.collation_name, 'CodePage') AS int), 0, 0, "
    u"c.is_column_set "
    u"FROM sys.objects o INNER JOIN sys.schemas s ON "
    u"s.schema_id = o.schema_id INNER JOIN sys.columns c ON c.object_id = o.object_id LEFT JOIN "
    u"sys.types t ON t.user_type_id = CASE c.system_type_id WHEN 240 THEN c.user_type_id ELSE "
    u"c.system_type_id END WHERE o.type IN ('U', 'V') AND o.object_id IN "
    u"(OBJECT_ID(N'[dbo].[a]'), OBJECT_ID(N'[dbo].[b]')) ORDER BY o.object_id, c.column_id";
constexpr const char16_t* Indexes =
    u"SELECT s.name, o.name, i.name, i.index_id, i.is_primary_key, i.is_unique_constraint, "
    u"i.is_unique, c.name FROM sys.objects o INNER JOIN sys.schemas s ON s.schema_id = o.schema_id "
    u"INNER JOIN sys.indexes i ON i.object_id = o.object_id INNER JOIN sys.index_columns k ON "
    u"k.object_id = i.object_id AND k.index_id = i.index_id INNER JOIN sys.columns c ON "
    u"c.object_id = k.object_id AND c.column_id = k.column_id WHERE i.type IN (1, 2, 7) AND "
    u"i.is_hypothetical = 0 AND i.is_disabled = 0 AND k.key_ordinal > 0 AND o.object_id IN "
    u"(OBJECT_ID(N'[dbo].[a]'), OBJECT_ID(N'[dbo].[b]')) AND i.has_filter = 0 ORDER BY "
    u"o.object_id, i.index_id, k.key_ordinal";

TEST_F(ComparisonTest, SendsTheseBatchesAndNoOthers) {
    Compare({u"[dbo].[a]", u"[dbo].[b]"});
    EXPECT_EQ(
        Batches(server),
        (Texts{FactsOf1, FactsOf2,
               // what the catalogs say of the first twenty tables
               Columns, Indexes, Columns, Indexes,
               // the first table
               u"SELECT COUNT(*) FROM [dbo].[a]", u"SELECT COUNT(*) FROM [dbo].[a]",
               u"SELECT COUNT(*) FROM (SELECT [id], [n] FROM [one].[dbo].[a] UNION SELECT [id], "
               u"[n] FROM [two].[dbo].[a]) t1",
               u"SELECT COUNT(*) FROM [one].[dbo].[a] T1 INNER JOIN [two].[dbo].[a] T2 ON "
               u"T1.[id]=T2.[id]  WHERE (T1.[n]<>T2.[n]) OR (T1.[n] IS NULL AND T2.[n] IS NOT "
               u"NULL) OR (T1.[n] IS NOT NULL AND T2.[n] IS NULL) ",
               // the second
               u"SELECT COUNT(*) FROM [dbo].[b]", u"SELECT COUNT(*) FROM [dbo].[b]",
               u"SELECT COUNT(*) FROM (SELECT [id], [n] FROM [one].[dbo].[b] UNION SELECT [id], "
               u"[n] FROM [two].[dbo].[b]) t1"}));
    EXPECT_EQ(Logins(server), 3);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(ComparisonTest, RaisesStatusForEveryStep) {
    Compare({u"[dbo].[a]", u"[dbo].[b]"});
    EXPECT_EQ(statuses, (std::vector<StatusEvent>{{u"Connecting to the one", 0},
                                                  {u"Connecting to the two", 0},
                                                  {u"Connecting to the one", 0},
                                                  {u"Comparing a", 0},
                                                  {u"Comparing a", 12},
                                                  {u"Comparing a", 25},
                                                  {u"Comparing a", 38},
                                                  {u"Comparing a", 50},
                                                  {u"Comparing b", 50},
                                                  {u"Comparing b", 62},
                                                  {u"Comparing b", 75},
                                                  {u"Comparing b", 88},
                                                  {u"Comparing b", 100}}));
}

TEST_F(ComparisonTest, AnEmptyListConnectsAndReturnsNoResults) {
    const auto results = Compare({});
    ASSERT_NE(results, nullptr);
    EXPECT_EQ(results->Count(), 0);
    EXPECT_EQ(Logins(server), 3);
    EXPECT_EQ(Told(server), Texts{});
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(ComparisonTest, CancellingDuringTheFirstTableFinishesItAndReturnsNothing) {
    onStatus = [](const std::u16string& message, bool& cancel) {
        if (message == u"Comparing a") cancel = true;
    };
    EXPECT_EQ(Compare({u"[dbo].[a]", u"[dbo].[b]"}), nullptr);
    EXPECT_EQ(statuses.back(), (StatusEvent{u"Comparing a", 50}));
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(ComparisonTest, CancellingAtTheEndOfTheLastTableReturnsNothing) {
    onStatus = [](const std::u16string& message, bool& cancel) {
        cancel = message == u"Comparing b";
    };
    EXPECT_EQ(Compare({u"[dbo].[a]", u"[dbo].[b]"}), nullptr);
    EXPECT_EQ(statuses.back(), (StatusEvent{u"Comparing b", 100}));
    onStatus = [this](const std::u16string&, bool& cancel) {
        cancel = statuses.back().percent == 100;
    };
    EXPECT_EQ(Compare({u"[dbo].[a]"}), nullptr);
    EXPECT_EQ(ConnectionsLeft(server), 0);
}

TEST_F(ComparisonTest, AHandlerMayTakeACancelBack) {
    onStatus = [this](const std::u16string&, bool& cancel) { cancel = statuses.size() == 4; };
    EXPECT_NE(Compare({u"[dbo].[a]"}), nullptr);
}

TEST_F(ComparisonTest, CancellingWhileConnectingHasNoEffect) {
    onStatus = [](const std::u16string& message, bool& cancel) {
        if (message.starts_with(u"Connecting")) cancel = true;
    };
    EXPECT_NE(Compare({u"[dbo].[a]"}), nullptr);
}

TEST_F(ComparisonTest, WithoutASinkItWorksSilently) {
    utils.EventSink(nullptr);
    EXPECT_EQ(Compare({u"[dbo].[a]"})->Item(1)->RecordsDiffering(), 1);
    utils.EventSink(std::make_shared<EventSink>());  // one without handlers
    EXPECT_EQ(Compare({u"[dbo].[a]"})->Item(1)->RecordsDiffering(), 1);
}

TEST_F(ComparisonTest, AHandlerMaySetAnotherSink) {
    std::vector<StatusEvent> toOther;
    const auto other = std::make_shared<EventSink>();
    other->Status = [&](const std::u16string& message, std::int16_t percent, bool&) {
        toOther.push_back({message, percent});
    };
    onStatus = [&](const std::u16string& message, bool&) {
        if (message == u"Comparing a") utils.EventSink(other);
    };
    Compare({u"[dbo].[a]"});
    EXPECT_EQ(statuses.back(), (StatusEvent{u"Comparing a", 0}));
    EXPECT_EQ(toOther, (std::vector<StatusEvent>{{u"Comparing a", 25},
                                                 {u"Comparing a", 50},
                                                 {u"Comparing a", 75},
                                                 {u"Comparing a", 100}}));
}

TEST_F(ComparisonTest, ASinkThatItsOwnHandlerReleasesLivesUntilTheHandlerReturns) {
    auto last = std::make_shared<EventSink>();
    const std::weak_ptr<EventSink> watched = last;
    bool aliveAfterRelease = false;
    int calls = 0;
    last->Status = [&](const std::u16string&, std::int16_t, bool&) {
        utils.EventSink(nullptr);
        aliveAfterRelease = !watched.expired();
        ++calls;
    };
    utils.EventSink(std::move(last));
    EXPECT_NE(Compare({u"[dbo].[a]"}), nullptr);
    EXPECT_TRUE(aliveAfterRelease);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(watched.expired());
}

TEST_F(ComparisonTest, AHandlerMayPutAnotherInItsOwnPlace) {
    auto sink = std::make_shared<EventSink>();
    // Owned by the handler alone, as what a lambda captures is.
    auto text = std::make_shared<std::u16string>(u"captured");
    const std::weak_ptr<std::u16string> watched = text;
    bool aliveAfterwards = false;
    int others = 0;
    sink->Status = [&, sink = sink.get(), text = std::move(text)](const std::u16string&,
                                                                  std::int16_t, bool&) {
        sink->Status = [&others](const std::u16string&, std::int16_t, bool&) { ++others; };
        aliveAfterwards = !watched.expired();
    };
    utils.EventSink(sink);
    EXPECT_NE(Compare({u"[dbo].[a]"}), nullptr);
    EXPECT_TRUE(aliveAfterwards);
    EXPECT_GT(others, 0);
    EXPECT_TRUE(watched.expired());
}

TEST_F(ComparisonTest, ALowerBoundOtherThanZeroIsFine) {
    const auto results = utils.CompareContents(
        one, two, one, TextArray({u"[dbo].[a]", u"[dbo].[b]"}, 19), indexes, columns);
    EXPECT_EQ(results->Count(), 2);
    EXPECT_EQ(results->Item(u"[dbo].[b]")->RecordsIn1(), 1);
    EXPECT_EQ(statuses.back(), (StatusEvent{u"Comparing b", 100}));
    // the list's own index is what blocks are counted by: 19 ends one, 20 begins the next
    int columnQueries = 0;
    for (const auto& batch : Batches(server)) {
        if (batch.find(u"sys.columns c ON c.object_id = o.object_id") != std::u16string::npos) {
            ++columnQueries;
        }
    }
    EXPECT_EQ(columnQueries, 4);
}

TEST_F(ComparisonTest, CatalogQueriesGrowWithBlocksOfTwentyTables) {
    Texts tables;
    std::u16string script;
    for (int i = 0; i < 45; ++i) {
        const std::u16string name = u"t" + ToText(i);
        script += u"CREATE TABLE " + name + u" (id int NOT NULL CONSTRAINT PK_" + name +
                  u" PRIMARY KEY)\n";
        tables.push_back(u"[dbo].[" + name + u"]");
    }
    RunInBoth(script);
    server.ClearLog();
    EXPECT_EQ(Compare(tables)->Count(), 45);
    EXPECT_EQ(Batches(server).size() - Told(server).size(), 2 * (1 + 3 * 2U));
}

TEST_F(ComparisonTest, EveryTableHasItsOwnChoices) {
    RunInBoth(u"CREATE INDEX ix_a ON a (n)");
    RunInBoth(u"CREATE INDEX ix_b ON b (n)");
    indexes.Add(u"ix_b", u"[dbo].[b]");
    indexes.Add(u"ix_a", u"[dbo].[a]");
    ChooseColumns(u"[dbo].[b]", {u"id"});
    ChooseColumns(u"[dbo].[a]", {u"n"});
    const auto results = Compare({u"[dbo].[a]", u"[dbo].[b]"});
    const auto& a = *results->Item(1)->Columns();
    EXPECT_TRUE(a.Item(u"n")->PrimaryKey());
    EXPECT_FALSE(a.Item(u"n")->CannotCompare());
    EXPECT_TRUE(a.Item(u"id")->CannotCompare());
    const auto& b = *results->Item(2)->Columns();
    EXPECT_TRUE(b.Item(u"n")->PrimaryKey());
    EXPECT_TRUE(b.Item(u"n")->CannotCompare());
    EXPECT_FALSE(b.Item(u"id")->CannotCompare());
}

TEST_F(ComparisonTest, DictionariesAreTakenLikeCollections) {
    RunInBoth(u"CREATE UNIQUE INDEX ix ON a (n)");
    auto choice = std::make_shared<ColumnChoice>();
    choice->Add(u"n");
    const auto results =
        utils.CompareContentsEx(one, two, one, TextArray({u"[dbo].[a]"}),
                                IndexDictionary{{std::u16string(u"[dbo].[a]"), u"ix"}},
                                ColumnDictionary{{std::u16string(u"[DBO].[a]"), choice}});
    const auto result = results->Item(1);
    EXPECT_TRUE(result->Columns()->Item(u"n")->PrimaryKey());
    EXPECT_TRUE(result->Columns()->Item(u"id")->CannotCompare());
}

TEST_F(ComparisonTest, DictionaryKeysAreTakenAsText) {
    IndexDictionary numbers{{std::int64_t{42}, u"ix"}};
    EXPECT_EQ(ToKeyedList(numbers).Item(u"42"), u"ix");
    const IndexDictionary twice{{std::u16string(u"[dbo].[a]"), u"x"},
                                {std::u16string(u"[DBO].[A]"), u"y"}};
    EXPECT_EQ(RaisedBy([&] {
                  utils.CompareContentsEx(one, two, one, TextArray(), twice, ColumnDictionary());
              }).number,
              457);
}

TEST_F(ComparisonTest, ATableThatIsListedTwiceFailsTheSecondTime) {
    utils.SuppressCompareProcessErrors(true);
    const auto results = Compare({u"[dbo].[a]", u"[dbo].[A]"});
    EXPECT_EQ(results->Count(), 1);
    ASSERT_EQ(processErrors.size(), 1U);
    EXPECT_EQ(processErrors[0].number, 3704);
    // the first result is left as it was
    EXPECT_EQ(results->Item(1)->Name(), u"[dbo].[a]");
    EXPECT_EQ(results->Item(1)->Error(), u"");
    EXPECT_EQ(results->Item(1)->RecordsIn1(), 3);
    EXPECT_EQ(results->Item(1)->RecordsIn2(), 3);
    EXPECT_EQ(results->Item(1)->RecordsDiffering(), 1);
}

TEST_F(ComparisonTest, ADatabaseThatIsMissingIsError91) {
    RaisedBy([&] { Compare({u"[dbo].[missing]"}); });
    ASSERT_NE(utils.LastError(), u"");
    EXPECT_EQ(RaisedBy([&] {
                  utils.CompareContents(one, nullptr, one, TextArray(), indexes, columns);
              }).number,
              91);
    EXPECT_EQ(utils.LastError(), u"");
}

// The names of this computer: tried through the seam, for nothing listens on the real name.
class LocalServerTest : public ComparisonTest,
                        public ::testing::WithParamInterface<std::pair<const char16_t*, bool>> {};

TEST_P(LocalServerTest, IsReplacedByTheNameOfTheComputer) {
    const auto [name, replaced] = GetParam();
    two->Server(name);
    const TextArray tables({u"[dbo].[a]"});
    std::u16string lastError;
    int asked = 0;
    const ComparisonSurroundings surroundings{Events(),
                                              [&] {
                                                  ++asked;
                                                  return one->Server();
                                              },
                                              [](std::u16string_view) {}};
    const auto failure = RaisedBy([&] {
        CompareContents({*one, *two, *one, tables, indexes, columns, false}, surroundings,
                        lastError);
    });
    EXPECT_EQ(asked, replaced ? 1 : 0);
    EXPECT_EQ(two->Server(), replaced ? one->Server() : std::u16string(name));
    EXPECT_EQ(failure.number == 0, replaced);
}

TEST_F(ComparisonTest, AllThreeDatabasesMayBeOnThisComputer) {
    const std::u16string address = one->Server();
    const auto three = MakeDatabase(u"one");
    for (const auto& database : {one, two, three})
        database->Server(u".");
    const TextArray tables({u"[dbo].[a]"});
    std::u16string lastError;
    const ComparisonSurroundings surroundings{Events(), [&] { return address; },
                                              [](std::u16string_view) {}};
    const auto results = CompareContents({*one, *two, *three, tables, indexes, columns, false},
                                         surroundings, lastError);
    EXPECT_EQ(results->Item(1)->RecordsDiffering(), 1);
    EXPECT_EQ(one->Server(), address);
    EXPECT_EQ(two->Server(), address);
    EXPECT_EQ(three->Server(), address);
}

// Nothing listens where database 1 is said to be, so no other server is asked for.
TEST_F(ComparisonTest, OnlyTheWholeNameStandsForThisComputer) {
    const auto three = MakeDatabase(u"one");
    one->Server(u"127.0.0.1,1");
    two->Server(u".,1");
    three->Server(u"(local),1");
    RaisedBy([&] {
        utils.CompareContents(one, two, three, TextArray({u"[dbo].[a]"}), indexes, columns);
    });
    EXPECT_EQ(two->Server(), u".,1");
    EXPECT_EQ(three->Server(), u"(local),1");
}

#ifndef _WIN32
TEST_F(ComparisonTest, TheNameOfThisComputerIsItsHostName) {
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
    one->Server(u"127.0.0.1,1");
    two->Server(u".");
    RaisedBy([&] { Compare({u"[dbo].[a]"}); });
    EXPECT_EQ(ToUtf8(two->Server()), name);
}
#endif

INSTANTIATE_TEST_SUITE_P(Names, LocalServerTest,
                         ::testing::Values(std::pair(u".", true), std::pair(u"(local)", true),
                                           std::pair(u"(LOCAL)", true), std::pair(u"(Local)", true),
                                           std::pair(u"127.0.0.1,1", false)));

}  // namespace
}  // namespace QuillonLib
