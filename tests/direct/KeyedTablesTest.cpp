// Tables with a key, read from two servers that cannot see each other.
#include <gtest/gtest.h>

#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

class KeyedTables : public DirectFixture {};

TEST_F(KeyedTables, CountsAndTellsEveryDifference) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(20), b int)");
    RunOn1(u"INSERT t VALUES (1,N'same',1),(2,N'one',2),(3,N'gone',3),(5,NULL,NULL)");
    RunOn2(u"INSERT t VALUES (1,N'same',1),(2,N'two',20),(4,N'new',4),(5,NULL,0)");
    const DirectTableResult result = CompareOne();
    EXPECT_FALSE(result.error.has_value());
    EXPECT_EQ(result.rows1, 4U);
    EXPECT_EQ(result.rows2, 4U);
    EXPECT_EQ(result.identical, 1U);
    EXPECT_EQ(result.differing, 2U);
    EXPECT_EQ(result.onlyIn1, 1U);
    EXPECT_EQ(result.onlyIn2, 1U);
    EXPECT_EQ(result.changedCells, (std::vector<std::uint64_t>{0, 1, 2}));
    EXPECT_EQ(differences, (Texts{u"2|one|2 -> 2|two|20 (2,3)", u"1: 3|gone|3", u"2: 4|new|4",
                                  u"5|NULL|NULL -> 5|NULL|0 (3)"}));
}

TEST_F(KeyedTables, SaysOfEqualTablesThatTheyAreTheSame) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, a varchar(9)) INSERT t VALUES (1,'x'),(2,NULL)");
    const DirectTableResult result = CompareOne();
    EXPECT_TRUE(result.Same());
    EXPECT_EQ(result.identical, 2U);
    EXPECT_EQ(differences, Texts{});
}

TEST_F(KeyedTables, TellsApartWhatTheServersTakeForEqual) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a nvarchar(20), c varchar(20), f float)");
    RunOn1(
        u"INSERT t VALUES (1,N'a','a',0e0),(2,N'A','A',0e0),(3,N'a','a',0e0),"
        u"(4,N'e\u0301','e',0e0)");
    RunOn2(
        u"INSERT t VALUES (1,N'A','a',0e0),(2,N'A','A ',0e0),(3,N'a','a',-0e0),"
        u"(4,N'\u00E9','e',0e0)");
    RunOn2(u"UPDATE t SET f = -0e0 WHERE id = 3");
    const DirectTableResult result = CompareOne();
    EXPECT_EQ(result.changedCells, (std::vector<std::uint64_t>{0, 2, 1, 1}));
    EXPECT_EQ(result.differing, 4U);
}

TEST_F(KeyedTables, ReadsBytesThatACodePageLeavesUndefined) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a varchar(5))");
    RunOn1(u"INSERT t SELECT 1, CAST(0x418190 AS varchar(5))");
    RunOn2(u"INSERT t SELECT 1, CAST(0x41818F AS varchar(5))");
    EXPECT_EQ(CompareOne().differing, 1U);
    EXPECT_EQ(differences, Texts{u"1|0x418190 -> 1|0x41818F (2)"});
}

TEST_F(KeyedTables, FindsThePrimaryKeyByItsColumns) {
    RunOn1(
        u"CREATE TABLE t (a int, b int, c int, CONSTRAINT k1 PRIMARY KEY (b, a))"
        u" INSERT t VALUES (1,2,3)");
    RunOn2(
        u"CREATE TABLE t (a int, b int, c int, CONSTRAINT k2 PRIMARY KEY (a, b))"
        u" INSERT t VALUES (1,2,4)");
    const DirectTableResult result = CompareOne();
    EXPECT_EQ(result.shape.key, (std::vector<std::size_t>{1, 0}));
    EXPECT_TRUE(result.shape.keyIsUnique);
    EXPECT_EQ(result.differing, 1U);
}

TEST_F(KeyedTables, TakesAUniqueIndexThatBothHave) {
    RunOn1(
        u"CREATE TABLE t (id int PRIMARY KEY, code int NULL, a int)"
        u" CREATE UNIQUE INDEX u1 ON t (code) INSERT t VALUES (1,NULL,1),(2,7,2)");
    RunOn2(
        u"CREATE TABLE t (id int, code int NULL, a int) CREATE UNIQUE INDEX u2 ON t (code)"
        u" INSERT t VALUES (1,NULL,1),(2,7,3)");
    const DirectTableResult result = CompareOne();
    EXPECT_EQ(result.shape.key, std::vector<std::size_t>{1});
    EXPECT_EQ(result.identical, 1U);
    EXPECT_EQ(differences, Texts{u"2|7|2 -> 2|7|3 (3)"});
}

TEST_F(KeyedTables, TakesTheColumnsThatTheCallerNames) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, code varchar(5), a int)");
    RunOn1(u"INSERT t VALUES (1,'x',1),(2,'y',2)");
    RunOn2(u"INSERT t VALUES (8,'y',2),(9,'x',1)");
    const DirectTableResult result = CompareOne({{u"dbo", u"t"}, {}, {u"CODE"}, {u"id"}});
    EXPECT_TRUE(result.Same());
    EXPECT_FALSE(result.shape.keyIsUnique);
    EXPECT_EQ(result.identical, 2U);
}

TEST_F(KeyedTables, TellsOfAKeyThatComesTwice) {
    RunOnBoth(u"CREATE TABLE t (code varchar(5), a int) INSERT t VALUES ('x',1)");
    RunOn2(u"INSERT t VALUES ('x',1)");
    const DirectTableResult result = CompareOne({{u"dbo", u"t"}, {}, {u"code"}, {}});
    ASSERT_TRUE(result.error.has_value());
    EXPECT_EQ(result.error->Number(), ErrorNumber::Comparison);
    EXPECT_EQ(result.error->Description(), u"Table [dbo].[t], side 2: key ('x') came twice.");
    EXPECT_EQ(result.failedSide, 2);
    EXPECT_FALSE(result.Same());
}

TEST_F(KeyedTables, LeavesOutByNameWhatCannotDifferOrCannotBeCompared) {
    RunOn1(
        u"CREATE TABLE t (id int PRIMARY KEY, v rowversion, c AS id * 2, mine int, kind int,"
        u" skipped int)");
    RunOn2(
        u"CREATE TABLE t (ID int PRIMARY KEY, v rowversion, c AS id * 3, yours int,"
        u" kind nvarchar(9), skipped int)");
    options.ignoredColumns = {u"SKIPPED"};
    const DirectTableResult result = CompareOne();
    ASSERT_FALSE(result.error.has_value());
    std::vector<std::pair<std::u16string, DirectOmission>> omitted;
    for (const DirectOmitted& column : result.shape.omitted)
        omitted.emplace_back(column.name, column.why);
    EXPECT_EQ(omitted, (std::vector<std::pair<std::u16string, DirectOmission>>{
                           {u"v", DirectOmission::RowVersion},
                           {u"c", DirectOmission::Computed},
                           {u"mine", DirectOmission::OnlyIn1},
                           {u"kind", DirectOmission::NotComparable},
                           {u"skipped", DirectOmission::Ignored},
                           {u"yours", DirectOmission::OnlyIn2}}));
    EXPECT_EQ(result.shape.omitted.at(3).reason,
              u"int and nvarchar(9) do not hold the same values without loss");
}

TEST_F(KeyedTables, ComparesOnlyTheRowsThatMeetTheCondition) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int)");
    RunOn1(u"INSERT t VALUES (1,1),(2,2),(3,3)");
    RunOn2(u"INSERT t VALUES (1,9),(2,2)");
    const DirectTableResult result =
        CompareOne({{u"dbo", u"t"}, u"id = 2 OR id = 3 -- not the first", {}, {}});
    EXPECT_EQ(differences, Texts{u"1: 3|3"});
    EXPECT_EQ(result.identical, 1U);
}

TEST_F(KeyedTables, NamesWhatIsMissing) {
    RunOn1(u"CREATE TABLE t (id int PRIMARY KEY)");
    EXPECT_EQ(CompareOne().error->Number(), ErrorNumber::ItemNotFound);
    RunOn2(u"CREATE TABLE t (id int PRIMARY KEY)");
    EXPECT_EQ(CompareOne({{u"dbo", u"t"}, {}, {u"no"}, {}}).error->Number(),
              ErrorNumber::ItemNotFound);
    EXPECT_FALSE(CompareOne().error.has_value());
}

TEST_F(KeyedTables, NeverCallsRowsWholeThatAnErrorCutShort) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY) INSERT t VALUES (1),(2),(3)");
    server2.AddFault({.kind = sandbox::FaultKind::ErrorAfterRows,
                      .contains = u"FROM [dbo].[t]",
                      .message = {.number = 8134, .text = u"made to fail"},
                      .rows = 2});
    const DirectTableResult result = CompareOne();
    ASSERT_TRUE(result.error.has_value());
    EXPECT_EQ(differences, Texts{});
    EXPECT_TRUE(CompareOne().Same());
}

// Among many rows that are the same: at the borders of the runs and of the blocks in which they are
// read, and where only the place of a cell's end differs.
TEST_F(KeyedTables, FindsTheOneThatDiffersAmongMany) {
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, a int, b varchar(20), c nvarchar(20), d datetime)"
        u" DECLARE @i int SET @i = 0 WHILE @i < 2200 BEGIN INSERT t VALUES (@i, @i % 3,"
        u" 'b' + CAST(@i % 7 AS varchar(9)), N'c' + CAST(@i % 5 AS nvarchar(9)), '20240101')"
        u" SET @i = @i + 1 END UPDATE t SET a = NULL, b = NULL WHERE id % 50 = 7");
    RunOn1(
        u"UPDATE t SET a = 0, b = '' WHERE id = 207 UPDATE t SET b = 'xy' WHERE id = 100"
        u" UPDATE t SET b = 'z' WHERE id = 101 UPDATE t SET c = N'' WHERE id = 1500");
    RunOn2(
        u"UPDATE t SET a = NULL, b = NULL WHERE id = 207 UPDATE t SET b = 'x' WHERE id = 100"
        u" UPDATE t SET b = 'yz' WHERE id = 101 UPDATE t SET c = NULL WHERE id = 1500"
        u" UPDATE t SET d = DATEADD(ms, 3, d) WHERE id IN (31, 32, 1023, 1024, 2199)"
        u" DELETE t WHERE id IN (64, 2047)");
    const DirectTableResult result = CompareOne();
    EXPECT_EQ(result.rows1, 2200U);
    EXPECT_EQ(result.differing, 9U);
    EXPECT_EQ(result.onlyIn1, 2U);
    EXPECT_EQ(result.identical, 2189U);
    EXPECT_EQ(result.changedCells, (std::vector<std::uint64_t>{0, 1, 3, 1, 5}));
}

TEST_F(KeyedTables, LetsTheHandlersFailurePass) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY)");
    RunOn1(u"INSERT t VALUES (1)");
    sink.Difference = [](const DirectDifference&, bool&) { throw Error(1234, u"mine"); };
    EXPECT_EQ(RaisedBy([this] { CompareOne(); }).number, 1234);
}

TEST_F(KeyedTables, ReadsWithSelectAlone) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a xml) INSERT t VALUES (1, '<a/>')");
    server.ClearLog();
    CompareOne();
    for (const std::u16string& batch : Batches(server))
        EXPECT_TRUE(batch.starts_with(u"SELECT ")) << ToUtf8(batch);
}

TEST_F(KeyedTables, RowsThatAreTheSameAreToldWhereTheyAreWanted) {
    RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a int)");
    RunOn1(u"INSERT t VALUES (1, 1), (2, 2), (3, 3)");
    RunOn2(u"INSERT t VALUES (1, 1), (2, 0), (4, 4)");
    options.sameRows = true;
    CompareOne();
    EXPECT_EQ(differences, (Texts{u"= 1|1", u"2|2 -> 2|0 (2)", u"1: 3|3", u"2: 4|4"}));
}

// However many of them come one behind the other.
TEST_F(KeyedTables, EachOfManyRowsThatAreTheSameIsTold) {
    constexpr int Rows = 1000;
    RunOnBoth(
        u"CREATE TABLE t (id int PRIMARY KEY, a int)\n"
        u"DECLARE @i int SET @i = 0 WHILE @i < " +
        ToText(Rows) + u" BEGIN INSERT t VALUES (@i, @i * 2) SET @i = @i + 1 END");
    RunOn2(u"UPDATE t SET a = 7 WHERE id = 500");
    options.sameRows = true;
    EXPECT_EQ(CompareOne().identical, Rows - 1U);
    ASSERT_EQ(differences.size(), std::size_t{Rows});
    EXPECT_EQ(differences[0], u"= 0|0");
    EXPECT_EQ(differences[499], u"= 499|998");
    EXPECT_EQ(differences[500], u"500|1000 -> 500|7 (2)");
    EXPECT_EQ(differences[999], u"= 999|1998");
}

}  // namespace
}  // namespace QuillonLib
