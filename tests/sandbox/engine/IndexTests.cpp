// Unique indexes that look at some rows only, and those that drop duplicates.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

TEST(FilteredIndexes, KeepTheRowsUniqueThatTheyHold) {
    Box box;
    box.Text(u"CREATE TABLE t (a int PRIMARY KEY, code varchar(5) NULL, active bit NOT NULL)");
    EXPECT_EQ(box.Text(u"CREATE UNIQUE INDEX ux ON t (code) WHERE active = 1 AND code IS NOT NULL"),
              "");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1, 'x', 1), (2, 'x', 0), (3, NULL, 1), (4, NULL, 1)"),
              "#4\n");
    const std::string refused =
        "!2601 Cannot insert duplicate key row in object 'dbo.t' with unique index 'ux'.\n";
    EXPECT_EQ(box.Text(u"INSERT t VALUES (5, 'X', 1)"), refused);
    EXPECT_EQ(box.Text(u"UPDATE t SET active = 1 WHERE a = 2"), refused);
    EXPECT_EQ(box.Text(u"UPDATE t SET active = 1 - active WHERE a < 3"), "#2\n");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (5, 'x', 1)"), refused);
    EXPECT_EQ(box.Text(u"DELETE t WHERE a = 2 INSERT t VALUES (5, 'x', 1)"), "#1\n#1\n");
}

TEST(FilteredIndexes, AreInTheCatalog) {
    Box box;
    box.Text(u"CREATE TABLE t (a int, [b]]c] varchar(5), d int)");
    box.Text(
        u"CREATE UNIQUE INDEX ux ON t (a) INCLUDE (d)"
        u" WHERE ([b]]c] <> 'x' AND (d > -1)) AND a IN (1, 2)");
    box.Text(u"CREATE UNIQUE INDEX uy ON t (d)");
    EXPECT_EQ(box.Text(u"SELECT name, has_filter, filter_definition FROM sys.indexes"
                       u" WHERE object_id = OBJECT_ID('t') AND index_id > 0 ORDER BY name"),
              "ux|1|([b]]c]<>'x' AND [d]>(-1) AND [a] IN ((1), (2)))\nuy|0|NULL\n");
}

TEST(FilteredIndexes, TakeConjunctionsOfComparisonsWithConstants) {
    Box box;
    box.Text(u"CREATE TABLE t (a int, b int)");
    for (const char16_t* filter : {u"a = 1 OR b = 1", u"a = b", u"a = ABS(1)"}) {
        EXPECT_EQ(box.ErrorOf(std::u16string(u"CREATE INDEX ux ON t (a) WHERE ") + filter), 10735)
            << Utf8(filter);
    }
    EXPECT_EQ(box.ErrorOf(u"CREATE INDEX ux ON t (a) WHERE c = 1"), 207);
    Box old("9.00.5000");
    old.Text(u"CREATE TABLE t (a int, b int)");
    EXPECT_EQ(old.ErrorOf(u"CREATE INDEX ux ON t (a) WHERE b = 1"), 102);
}

TEST(FilteredIndexes, AreNoKeyForAForeignKey) {
    Box box;
    box.Text(u"CREATE TABLE t (a int, b int) CREATE UNIQUE INDEX ux ON t (a) WHERE b = 1");
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE c (a int REFERENCES t (a))"), 1776);
}

TEST(FilteredIndexes, AskForTheOptionsOfTheSession) {
    Box box;
    box.Text(u"CREATE TABLE t (a int, b int) CREATE UNIQUE INDEX ux ON t (a) WHERE b = 1");
    EXPECT_EQ(box.ErrorOf(u"SET QUOTED_IDENTIFIER OFF INSERT t VALUES (1, 1)"), 1934);
    EXPECT_EQ(box.Text(u"SET QUOTED_IDENTIFIER ON INSERT t VALUES (1, 1)"), "#1\n");
}

TEST(IgnoredDuplicates, AreNotInserted) {
    Box box;
    box.Text(u"CREATE TABLE t (a int PRIMARY KEY WITH (IGNORE_DUP_KEY = ON), b int NULL)");
    box.Text(u"CREATE UNIQUE INDEX ux ON t (b) WITH (IGNORE_DUP_KEY = ON)");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1, 1), (1, 2), (2, 1), (3, NULL), (4, NULL)"
                       u" SELECT @@ROWCOUNT"),
              ">Duplicate key was ignored.\n#2\n2\n");
    EXPECT_EQ(box.Text(u"INSERT t SELECT a + 1, b + 10 FROM t"),
              ">Duplicate key was ignored.\n#1\n");
    EXPECT_EQ(box.Text(u"SELECT a, b FROM t ORDER BY a"), "1|1\n2|11\n3|NULL\n");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (6, 6)"), "#1\n");
    EXPECT_EQ(box.ErrorOf(u"UPDATE t SET a = 1 WHERE a = 3"), 2627);
    EXPECT_EQ(box.Text(u"SELECT ignore_dup_key FROM sys.indexes WHERE name = 'ux'"), "1\n");
    EXPECT_EQ(box.ErrorOf(u"CREATE INDEX uz ON t (b) WITH (IGNORE_DUP_KEY = ON)"), 1916);
}

}  // namespace
}  // namespace sandbox::testing
