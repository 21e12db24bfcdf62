// Statement scripts of tables without a key, whose rows are found as wholes.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class KeylessScripts : public GuardedOrNot {};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, KeylessScripts, ::testing::Bool());

TEST_P(KeylessScripts, TablesWithoutAKey) {
    RunOnBoth(
        u"CREATE TABLE t (a int, b nvarchar(9), f float, d datetimeoffset, x xml, v"
        u" sql_variant)");
    const std::u16string rest = u", 1.5, '2024-01-01 10:00 +02:00', '<a/>', CAST(1 AS int))";
    RunOn1(u"INSERT t VALUES (1,N'a'" + rest + u" INSERT t VALUES (1,N'a'" + rest +
           u" INSERT t VALUES (2,NULL,0e0,NULL,NULL,NULL)");
    RunOn2(u"INSERT t VALUES (1,N'A'" + rest + u" INSERT t VALUES (3,N'c'" + rest +
           u" INSERT t VALUES (3,N'c'" + rest +
           u" INSERT t VALUES (2,NULL,0e0 * -1,NULL,NULL,NULL)"
           u" INSERT t VALUES (2,NULL,0e0,NULL,NULL,NULL)");
    ExpectToConverge({u"t"});
}

TEST_P(KeylessScripts, RowsWithoutAKeyThatTheServerTakesForEqual) {
    RunOnBoth(u"CREATE TABLE t (a varbinary(9), b nvarchar(9), v sql_variant)");
    RunOn1(u"INSERT t VALUES (0x01, N'a', CAST(1 AS smallint))");
    RunOn2(
        u"INSERT t VALUES (0x0100, N'a', 0x0001) INSERT t VALUES (0x01, N'a', 0x0001)"
        u" INSERT t VALUES (0x01, N'a', CAST(1 AS smallint))");
    const std::u16string script = Script({u"t"});
    EXPECT_TRUE(Holds(script,
                      u"WHERE CAST([a] AS varbinary(max)) + 0x01 = 0x010001 AND CAST([b] AS"
                      u" varbinary(max)) + 0x01 = 0x610001 AND CAST(CAST([v] AS"
                      u" varbinary(8000)) AS varbinary(max)) + 0x01 +"
                      u" CAST(CAST(SQL_VARIANT_PROPERTY([v], 'BaseType') AS nvarchar(128)) AS"
                      u" varbinary(256)) = 0x000101760061007200620069006E00610072007900\r\n"));
    ExpectToConverge({u"t"});
}

// Whatever the other side has in their place, and however it spells them.
TEST_P(KeylessScripts, RowsWithoutAKeyKeepWhatOnlyTheTargetHolds) {
    RunOn1(u"CREATE TABLE t (a int, Note varchar(9)) CREATE TABLE s (a int, b AS a * 2)");
    RunOn2(u"CREATE TABLE t (a int, note varchar(9)) CREATE TABLE s (a int, b int)");
    RunOn1(u"INSERT t VALUES (1, 'x') INSERT s VALUES (1)");
    RunOn2(u"INSERT t VALUES (2, 'y') INSERT s VALUES (2, 7)");
    options.ignoredColumns = {u"NOTE"};
    for (const auto* table : {u"t", u"s"}) {
        const std::u16string script = Script({table});
        EXPECT_TRUE(Holds(script, u"-- Left out, rows without a key"));
        EXPECT_EQ(Run(script), Texts{});
    }
    EXPECT_EQ(On2(u"SELECT note FROM t"), u"y");
    EXPECT_EQ(On2(u"SELECT b FROM s"), u"7");
}

// A row that goes and comes again would come without them.
TEST_P(KeylessScripts, RowsWithoutAKeyKeepWhatIsNotCompared) {
    RunOn1(u"CREATE TABLE t (a int, twice AS a * 2)");
    RunOn2(u"CREATE TABLE t (a int, twice AS a * 2, note varchar(9))");
    RunOn1(u"INSERT t VALUES (1), (2), (3)");
    RunOn2(u"INSERT t VALUES (1, 'one'), (2, 'two'), (4, 'four')");
    const std::u16string script = Script({u"t"});
    EXPECT_TRUE(Holds(script,
                      u"-- Left out, rows without a key, some of whose columns are not compared "
                      u"and would lose their values: [dbo].[t]\r\n"));
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(On2(u"SELECT note FROM t WHERE a = 4"), u"four");
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"3");
    // nothing is lost where nothing goes
    RunOn2(u"DELETE t WHERE a = 4");
    EXPECT_EQ(Run(Script({u"t"})), Texts{});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM t"), u"3");
    EXPECT_EQ(On2(u"SELECT note FROM t WHERE a = 1"), u"one");
}

// The key is the target's alone, so that rows are matched as wholes.
TEST_P(KeylessScripts, RowsWithoutAKeyThatReferToTheirOwnTable) {
    RunOn1(u"CREATE TABLE t (id int, parent int)");
    RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, parent int CONSTRAINT FK_t REFERENCES t (id))");
    RunOn1(u"INSERT t VALUES (1, 2), (2, 3), (3, NULL), (6, 6)");
    RunOn2(u"INSERT t VALUES (4, NULL), (5, 5), (1, 4)\nGO\nUPDATE t SET parent = 1 WHERE id = 4");
    ExpectToConverge({u"t"});
    EXPECT_EQ(On2(u"SELECT COUNT(*) FROM sys.foreign_keys WHERE is_disabled = 1 OR "
                  u"is_not_trusted = 1"),
              u"0");
}

}  // namespace
}  // namespace QuillonLib
