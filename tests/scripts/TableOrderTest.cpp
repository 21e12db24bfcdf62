// The order in which tables are placed.
#include "scripts/TableOrder.h"

#include <gtest/gtest.h>

#include "ScriptsFixture.h"

namespace QuillonLib {

inline bool operator==(const PlacedTable& a, const PlacedTable& b) {
    return a.Name == b.Name && a.HasIdentity == b.HasIdentity && a.Sequence == b.Sequence;
}
inline std::ostream& operator<<(std::ostream& out, const PlacedTable& table) {
    return out << ToUtf8(table.Name) << " in pass " << table.Sequence;
}

namespace {

class TableOrderTest : public ScriptsFixture {
  protected:
    std::vector<PlacedTable> Order(const Texts& tables) {
        utils.SuppressCompareProcessErrors(true);
        one->CheckDependencies(true);
        return OrderTablesByDependency(*one, *Compare(tables));
    }
    // a, then b that refers to a, then c that refers to b.
    void MakeChain() {
        RunInBoth(
            u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY)\nGO\n"
            u"CREATE TABLE b (id int IDENTITY NOT NULL CONSTRAINT PK_b PRIMARY KEY, "
            u"a int REFERENCES a)\nGO\n"
            u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY, b int REFERENCES b)");
    }
    void MakeViews() {
        RunInBoth(
            u"CREATE TABLE base (id int NOT NULL CONSTRAINT PK_base PRIMARY KEY)\nGO\n"
            u"CREATE VIEW v WITH SCHEMABINDING AS SELECT id FROM dbo.base\nGO\n"
            u"CREATE UNIQUE CLUSTERED INDEX ix ON v (id)\nGO\n"
            u"CREATE VIEW w WITH SCHEMABINDING AS SELECT id FROM dbo.base\nGO\n"
            u"CREATE UNIQUE CLUSTERED INDEX ix ON w (id)");
    }
};

using Placed = std::vector<PlacedTable>;

TEST_F(TableOrderTest, NoTables) {
    EXPECT_EQ(Order({}), Placed{});
}

TEST_F(TableOrderTest, AChainInItsOwnOrderIsPlacedInOnePass) {
    MakeChain();
    EXPECT_EQ(
        Order({u"[dbo].[a]", u"[dbo].[b]", u"[dbo].[c]"}),
        (Placed{{u"[dbo].[a]", false, 1}, {u"[dbo].[b]", true, 1}, {u"[dbo].[c]", false, 1}}));
}

TEST_F(TableOrderTest, AChainInReverseOrderNeedsAPassForEach) {
    MakeChain();
    EXPECT_EQ(
        Order({u"[dbo].[c]", u"[dbo].[b]", u"[dbo].[a]"}),
        (Placed{{u"[dbo].[a]", false, 1}, {u"[dbo].[b]", true, 2}, {u"[dbo].[c]", false, 3}}));
}

TEST_F(TableOrderTest, ATableThatIsNotComparedDoesNotCount) {
    MakeChain();
    EXPECT_EQ(Order({u"[dbo].[c]", u"[dbo].[a]"}),
              (Placed{{u"[dbo].[c]", false, 1}, {u"[dbo].[a]", false, 1}}));
}

// The views are counted in each of the two passes, and the count is reached before c is placed.
TEST_F(TableOrderTest, TwoViewsEndThePassesBeforeAChainOfThreeIsPlaced) {
    MakeChain();
    MakeViews();
    EXPECT_EQ(Order({u"[dbo].[v]", u"[dbo].[w]", u"[dbo].[c]", u"[dbo].[b]", u"[dbo].[a]"}),
              (Placed{{u"[dbo].[a]", false, 1}, {u"[dbo].[b]", true, 2}}));
}

TEST_F(TableOrderTest, TablesOfACycleAreLeftOut) {
    RunInBoth(
        u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY, b int NULL)\nGO\n"
        u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY, a int REFERENCES a)\nGO\n"
        u"ALTER TABLE a ADD CONSTRAINT FK_a FOREIGN KEY (b) REFERENCES b (id)\nGO\n"
        u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY)");
    EXPECT_EQ(Order({u"[dbo].[a]", u"[dbo].[b]", u"[dbo].[c]"}),
              (Placed{{u"[dbo].[c]", false, 1}}));
}

TEST_F(TableOrderTest, ATableThatRefersToItselfIsPlaced) {
    RunInBoth(u"CREATE TABLE a (id int NOT NULL CONSTRAINT PK_a PRIMARY KEY, up int REFERENCES a)");
    EXPECT_EQ(Order({u"[dbo].[a]"}), (Placed{{u"[dbo].[a]", false, 1}}));
}

TEST_F(TableOrderTest, TablesWithoutAKeyOrWithAnErrorAreNotPlaced) {
    MakeChain();
    RunInBoth(u"CREATE TABLE keyless (a int)");
    server.AddFault(ErrorIn(u"[one].[dbo].[b] UNION"));
    EXPECT_EQ(Order({u"[dbo].[keyless]", u"[dbo].[a]", u"[dbo].[b]"}),
              (Placed{{u"[dbo].[a]", false, 1}}));
}

// They are counted in each pass, as views are.
TEST_F(TableOrderTest, TwoTablesWithoutAKeyEndThePassesToo) {
    MakeChain();
    RunInBoth(u"CREATE TABLE k1 (a int)\nGO\nCREATE TABLE k2 (a int)");
    EXPECT_EQ(Order({u"[dbo].[k1]", u"[dbo].[k2]", u"[dbo].[c]", u"[dbo].[b]", u"[dbo].[a]"}),
              (Placed{{u"[dbo].[a]", false, 1}, {u"[dbo].[b]", true, 2}}));
}

TEST_F(TableOrderTest, TwoTablesWithAnErrorEndThePassesToo) {
    MakeChain();
    for (const char16_t* name : {u"e1", u"e2"}) {
        RunInBoth(std::u16string(u"CREATE TABLE ") + name + u" (id int NOT NULL PRIMARY KEY)");
        server.AddFault(ErrorIn(std::u16string(u"[one].[dbo].[") + name + u"] UNION"));
    }
    EXPECT_EQ(Order({u"[dbo].[e1]", u"[dbo].[e2]", u"[dbo].[c]", u"[dbo].[b]", u"[dbo].[a]"}),
              (Placed{{u"[dbo].[a]", false, 1}, {u"[dbo].[b]", true, 2}}));
}

// A table that is compared but never placed holds back those that depend on it.
TEST_F(TableOrderTest, ATableThatDependsOnOneWithAnErrorIsLeftOut) {
    MakeChain();
    server.AddFault(ErrorIn(u"[one].[dbo].[a] UNION"));
    EXPECT_EQ(Order({u"[dbo].[a]", u"[dbo].[b]", u"[dbo].[c]"}), Placed{});
}

// The name of a dependency is looked for anywhere in the list of the compared names.
TEST_F(TableOrderTest, ADependencyCountsWhereverItsNameEndsACompared) {
    MakeChain();
    RunInBoth(u"CREATE TABLE [x]].[dbo]].[a] (id int NOT NULL CONSTRAINT PK_x PRIMARY KEY)");
    EXPECT_EQ(Order({u"[dbo].[x].[dbo].[a]", u"[dbo].[b]"}), Placed{});
    EXPECT_EQ(Order({u"[dbo].[b]"}), (Placed{{u"[dbo].[b]", true, 1}}));
}

TEST_F(TableOrderTest, WithoutDependenciesTheOrderIsThatOfTheResults) {
    MakeChain();
    EXPECT_EQ(OrderTablesByDependency(*one, *Compare({u"[dbo].[c]", u"[dbo].[b]"})),
              (Placed{{u"[dbo].[c]", false, 1}, {u"[dbo].[b]", true, 1}}));
}

TEST_F(TableOrderTest, ATableThatHasGoneIsError5) {
    MakeChain();
    const auto results = Compare({u"[dbo].[a]", u"[dbo].[c]"});
    RunIn(u"one", u"DROP TABLE c");
    EXPECT_EQ(RaisedBy([&] { OrderTablesByDependency(*one, *results); }).number, 5);
}

TEST(CountOfPlacedTest, IsInSixteenBits) {
    EXPECT_EQ(CountOfPlaced(std::vector<PlacedTable>(32767)), 32767);
    const Raised raised = RaisedBy([] { CountOfPlaced(std::vector<PlacedTable>(32768)); });
    EXPECT_EQ(raised.number, 6);
    EXPECT_EQ(raised.description, u"Overflow");
}

}  // namespace
}  // namespace QuillonLib
