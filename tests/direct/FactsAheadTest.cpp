// The catalog, read for many tables at a time; and tables that change behind its back.
#include "direct/FactsAhead.h"

#include <gtest/gtest.h>

#include "catalog/CatalogReader.h"
#include "catalog/Login.h"
#include "core/Error.h"
#include "direct/RowCursor.h"
#include "direct/ServerFacts.h"
#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

class FactsAheadTest : public DirectFixture {
  protected:
    static constexpr int Tables = 130;

    FactsAheadTest() {
        std::u16string create;
        for (int i = 0; i < Tables; ++i) {
            const std::u16string name = u"t" + ToText(i);
            create += u"CREATE TABLE " + name + u" (id int PRIMARY KEY, a int) INSERT " + name +
                      u" VALUES (1,1),(2," + ToText(i) + u") ";
            tables.push_back({{u"dbo", u"T" + ToText(i)}, {}, {}, {}});
        }
        RunOnBoth(create);
        reader.UseDatabase(u"w");
        server.ClearLog();
    }

    TableFacts Of(FactsAhead& facts, std::size_t index) {
        return facts.Of(index, reader, connection, ServerVersion(connection));
    }
    // Without those of the test itself for the version.
    std::ptrdiff_t Queries() const {
        const Texts batches = Batches(server);
        return std::count_if(batches.begin(), batches.end(), [](const std::u16string& batch) {
            return batch.find(u"sys.") != std::u16string::npos;
        });
    }

    std::vector<DirectTable> tables;
    std::shared_ptr<Connection> connection = OpenConnection(*one);
    CatalogReader reader{connection};
};

TEST_F(FactsAheadTest, AskOnceForManyTables) {
    FactsAhead facts(tables, u"w", std::chrono::hours(1));
    EXPECT_FALSE(facts.Knows(0));
    for (std::size_t i = 0; i < 100; ++i) {
        const TableFacts table = Of(facts, i);
        EXPECT_EQ(table.object.Object.Name, u"t" + ToText(static_cast<std::int64_t>(i)));
        EXPECT_EQ(table.object.Columns.size(), 2U);
        EXPECT_EQ(table.rows, 2U);
    }
    EXPECT_EQ(Queries(), 3);
    EXPECT_TRUE(facts.Knows(99));
    EXPECT_FALSE(facts.Knows(100));
    Of(facts, 100);
    Of(facts, 129);
    EXPECT_EQ(Queries(), 6);
    Of(facts, 5);  // a worker that is behind
    EXPECT_EQ(Queries(), 9);
}

TEST_F(FactsAheadTest, AreNewsForAShortTimeOnly) {
    FactsAhead facts(tables, u"w", std::chrono::seconds(0));
    Of(facts, 0);
    RunOn1(u"ALTER TABLE t1 ADD b int");
    EXPECT_EQ(Of(facts, 1).object.Columns.size(), 3U);
}

TEST_F(FactsAheadTest, NameTheTableThatIsNotThere) {
    tables[1].name.Name = u"gone";
    FactsAhead facts(tables, u"w");
    Of(facts, 0);
    EXPECT_EQ(RaisedBy([&] { Of(facts, 1); }).number, ErrorNumber::ItemNotFound);
    EXPECT_EQ(Of(facts, 2).rows, 2U);
}

TEST_F(FactsAheadTest, CountOnOlderServersToo) {
    sandbox::ServerSettings settings;
    settings.name = u"OLD";
    settings.version = "8.00.2039";
    sandbox::Server& old = box.AddServer(settings);
    old.Run(u"CREATE DATABASE w\nGO\nUSE w\nGO\nCREATE TABLE t0 (a int) INSERT t0 VALUES (1)");
    connection = OpenConnection(*MakeDatabase(old, u"w"));
    reader = CatalogReader(connection);
    reader.UseDatabase(u"w");
    FactsAhead facts(tables, u"w");
    EXPECT_EQ(Of(facts, 0).rows, 1U);
}

TEST_F(FactsAheadTest, ManyTablesTakeFewQueries) {
    CompareDirectly(*one, *two, tables, options, {});
    EXPECT_LE(Queries(), 12);  // two blocks of three queries, one worker ahead of the other perhaps
    const auto results = CompareDirectly(*one, *two, tables, options, {});
    for (const DirectTableResult& result : results) {
        EXPECT_TRUE(result.Same());
        EXPECT_EQ(result.expected2, 2U);
    }
}

// Planned by a catalog that says nothing of it, a column of another type would be read as what it
// is not.
TEST_F(FactsAheadTest, AColumnOfAnotherTypeIsNoticed) {
    const auto connection2 = OpenConnection(*two);
    CatalogReader reader2(connection2);
    reader2.UseDatabase(u"w");
    const std::vector<ObjectName> names{{u"dbo", u"t1"}};
    const TablePlan plan =
        PlanTable(reader.Objects(names).at(0), reader2.Objects(names).at(0), tables[1], {});
    for (const char16_t* type : {u"nvarchar(9)", u"float", u"decimal(9, 2)", u"varbinary(9)"}) {
        RunOn1(u"DROP TABLE t1 CREATE TABLE t1 (id int PRIMARY KEY, a " + std::u16string(type) +
               u") INSERT t1 (id) VALUES (1)");
        SideReader side;
        RowCursor rows(plan, 1, u"", side, connection);
        const auto raised = RaisedBy([&] { rows.Next(); });
        EXPECT_EQ(raised.number, ErrorNumber::Comparison) << ToUtf8(type);
    }
}

// Its values would be cut, without a word, to the length that it had.
TEST_F(FactsAheadTest, AColumnThatHasGrownIsNoticed) {
    sandbox::ServerSettings settings;
    settings.name = u"MODERN";
    settings.version = "15.0.2000";
    sandbox::Server& modern = box.AddServer(settings);
    modern.Run(u"CREATE DATABASE w");
    const auto declare = [&](const char16_t* length, int characters) {
        modern.Run(
            u"USE w IF OBJECT_ID('t1') IS NOT NULL DROP TABLE t1\nGO\nUSE w\nGO\nCREATE TABLE "
            u"t1 (id int PRIMARY KEY, a varchar(" +
            std::u16string(length) +
            u") COLLATE Latin1_General_100_CI_AS_SC_UTF8)\nGO\nINSERT t1 VALUES (1, "
            u"REPLICATE(CAST('x' AS varchar(max)), " +
            ToText(characters) + u"))");
    };
    const auto there = MakeDatabase(modern, u"w");
    struct Case {
        const char16_t* before;
        int characters;
        const char16_t* after;  // absent: it cannot grow
        int more;
    };
    for (const Case& c : {Case{u"4", 4, u"9", 8}, Case{u"7999", 7999, u"8000", 8000},
                          Case{u"8000", 8000, u"max", 8001}, Case{u"max", 9000, nullptr, 0}}) {
        SCOPED_TRACE(ToUtf8(c.before));
        declare(c.before, c.characters);
        CatalogReader catalog(OpenConnection(*there));
        catalog.UseDatabase(u"w");
        const std::vector<ObjectName> names{{u"dbo", u"t1"}};
        const ObjectFacts facts = catalog.Objects(names).at(0);
        const TablePlan plan = PlanTable(facts, facts, tables[1], {});
        std::size_t bytes = 0;
        const auto read = [&] {
            SideReader side;
            RowCursor rows(plan, 1, u"", side, OpenConnection(*there));
            ASSERT_TRUE(rows.Next());
            bytes = MakeRow(plan.pairs, rows.Current()).at(1).Get<ByteArray>().size();
        };
        read();
        EXPECT_EQ(bytes, static_cast<std::size_t>(c.characters));
        if (c.after == nullptr) continue;
        declare(c.after, c.more);
        EXPECT_EQ(RaisedBy(read).number, ErrorNumber::Comparison);
    }
}

}  // namespace
}  // namespace QuillonLib
