// Tables whose old rows the server keeps.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

constexpr const char16_t* Versioned =
    u"CREATE TABLE t (id int PRIMARY KEY, a int UNIQUE,"
    u" f datetime2(7) GENERATED ALWAYS AS ROW START NOT NULL,"
    u" u datetime2(7) GENERATED ALWAYS AS ROW END NOT NULL, PERIOD FOR SYSTEM_TIME (f, u))"
    u" WITH (SYSTEM_VERSIONING = ON (HISTORY_TABLE = dbo.h))";

TEST(TemporalTables, KeepOldRows) {
    Box box("13.0.7000.1");
    EXPECT_EQ(box.Text(Versioned), "");
    EXPECT_EQ(box.Text(u"INSERT t (id, a) VALUES (1, 10), (2, 20)"), "#2\n");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (3, 30, DEFAULT, DEFAULT)"), "#1\n");
    EXPECT_EQ(box.Text(u"SELECT CAST(u AS varchar(30)), CASE WHEN f > '20200101' AND f < u THEN 1"
                       u" END FROM t WHERE id = 3"),
              "9999-12-31 23:59:59.9999999|1\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM h"), "0\n");
    EXPECT_EQ(box.Text(u"UPDATE t SET a = 11 WHERE id = 1"), "#1\n");
    EXPECT_EQ(box.Text(u"DELETE t WHERE id = 2"), "#1\n");
    EXPECT_EQ(box.Text(u"SELECT h.id, h.a, CASE WHEN h.u = t.f THEN 1 END FROM h LEFT JOIN t"
                       u" ON t.id = h.id ORDER BY h.id"),
              "1|10|1\n2|20|NULL\n");
    // keys that swap
    EXPECT_EQ(box.Text(u"UPDATE t SET a = 41 - a"), "#2\n");
    EXPECT_EQ(box.Text(u"SELECT id, a FROM h ORDER BY id, a"), "1|10\n1|11\n2|20\n3|30\n");
}

TEST(TemporalTables, AreWrittenByTheServerOnly) {
    Box box("13.0.7000.1");
    box.Text(Versioned);
    const std::string explicitly =
        "!13536 Cannot insert an explicit value into a GENERATED ALWAYS column in table "
        "'w.dbo.t'. Use INSERT with a column list to exclude the GENERATED ALWAYS column, or "
        "insert a DEFAULT into GENERATED ALWAYS column.\n";
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1, 1, '20200101', DEFAULT)"), explicitly);
    EXPECT_EQ(box.Text(u"INSERT t (id, u) SELECT 1, '20200101'"), explicitly);
    EXPECT_EQ(box.Text(u"UPDATE t SET f = '20200101'"),
              "!13537 Cannot update GENERATED ALWAYS columns in table 'w.dbo.t'.\n");
    EXPECT_EQ(box.Text(u"INSERT h VALUES (1, 1, '20200101', '20200102')"),
              "!13559 Cannot insert rows in a temporal history table 'w.dbo.h'.\n");
    EXPECT_EQ(box.Text(u"UPDATE h SET a = 1"),
              "!13561 Cannot update rows in a temporal history table 'w.dbo.h'.\n");
    EXPECT_EQ(box.Text(u"DELETE h"),
              "!13560 Cannot delete rows from a temporal history table 'w.dbo.h'.\n");
    EXPECT_EQ(box.ErrorOf(u"TRUNCATE TABLE t"), 13545);
    EXPECT_EQ(box.ErrorOf(u"DROP TABLE t"), 13552);
    EXPECT_EQ(box.ErrorOf(u"DROP TABLE h"), 13552);
}

TEST(TemporalTables, AreInTheCatalog) {
    Box box("13.0.7000.1");
    box.Text(Versioned);
    EXPECT_EQ(box.Text(u"SELECT name, generated_always_type FROM sys.columns"
                       u" WHERE object_id IN (OBJECT_ID('t'), OBJECT_ID('h')) AND"
                       u" generated_always_type > 0 ORDER BY column_id"),
              "f|1\nu|2\n");
    EXPECT_EQ(box.Text(u"SELECT name, temporal_type, OBJECT_NAME(history_table_id) FROM sys.tables"
                       u" WHERE name IN ('t', 'h') ORDER BY name"),
              "h|1|NULL\nt|2|h\n");
}

TEST(TemporalTables, CameWithServer2016) {
    Box old;
    EXPECT_EQ(old.ErrorOf(Versioned), 102);
    EXPECT_EQ(old.ErrorOf(u"SELECT generated_always_type FROM sys.columns"), 207);
    EXPECT_EQ(old.ErrorOf(u"SELECT temporal_type FROM sys.tables"), 207);
    Box older("9.00.5000");
    EXPECT_EQ(older.ErrorOf(u"SELECT has_filter FROM sys.indexes"), 207);
    Box box("13.0.7000.1");
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE x (a int, f datetime2 GENERATED ALWAYS AS ROW START)"),
              102);
}

}  // namespace
}  // namespace sandbox::testing
