// SELECT in all its parts, and the errors of names and syntax.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

std::u16string Widened(int number) {
    const std::string text = std::to_string(number);
    return {text.begin(), text.end()};
}

class Queries : public ::testing::Test {
  protected:
    Queries() {
        box.Text(u"CREATE TABLE a (id int PRIMARY KEY, x nvarchar(10))");
        box.Text(u"CREATE TABLE b (id int PRIMARY KEY, y nvarchar(10))");
        box.Text(u"INSERT a VALUES (1,'a1'),(2,'a2'),(3,'a3')");
        box.Text(u"INSERT b VALUES (2,'b2'),(3,'b3'),(4,'b4')");
    }
    Box box;
};

TEST_F(Queries, Joins) {
    EXPECT_EQ(box.Text(u"SELECT * FROM a LEFT JOIN b ON a.id=b.id ORDER BY a.id"),
              "1|a1|NULL|NULL\n2|a2|2|b2\n3|a3|3|b3\n");
    EXPECT_EQ(box.Text(u"SELECT a.id, b.id FROM a RIGHT OUTER JOIN b ON a.id=b.id ORDER BY b.id"),
              "2|2\n3|3\nNULL|4\n");
    EXPECT_EQ(box.Text(u"SELECT a.id, b.id FROM a FULL JOIN b ON a.id=b.id ORDER BY 1, 2"),
              "NULL|4\n1|NULL\n2|2\n3|3\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM a CROSS JOIN b"), "9\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM a, b WHERE a.id=b.id"), "2\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM a x JOIN (b y JOIN a z ON y.id=z.id) ON x.id=y.id"),
              "2\n");
    EXPECT_EQ(
        box.Text(u"SELECT * FROM a WITH (NOLOCK) JOIN b (nolock) ON a.id=b.id WHERE a.id=2 OPTION "
                 u"(MAXDOP 1)"),
        "2|a2|2|b2\n");
}

TEST_F(Queries, Subqueries) {
    EXPECT_EQ(box.Text(u"SELECT id FROM a WHERE id IN (SELECT id FROM b) ORDER BY id"), "2\n3\n");
    EXPECT_EQ(box.Text(u"SELECT id FROM a WHERE id NOT IN (SELECT id FROM b)"), "1\n");
    EXPECT_EQ(
        box.Text(u"SELECT id, (SELECT y FROM b WHERE b.id=a.id) FROM a WHERE EXISTS (SELECT * FROM "
                 u"b WHERE b.id=a.id+1) ORDER BY id"),
        "1|NULL\n2|b2\n3|b3\n");
    EXPECT_EQ(box.Text(u"SELECT id FROM a WHERE id > ALL (SELECT id-2 FROM b)"), "3\n");
    EXPECT_EQ(box.Text(u"SELECT id FROM a WHERE id = ANY (SELECT id FROM b WHERE id < 3)"), "2\n");
    EXPECT_EQ(box.ErrorOf(u"SELECT (SELECT id FROM b)"), 512);
    EXPECT_EQ(box.Text(u"SELECT id FROM a WHERE ((SELECT COUNT(*) FROM b) > 2) AND id = 1"), "1\n");
}

TEST_F(Queries, SetOperations) {
    EXPECT_EQ(box.Text(u"SELECT id FROM a UNION SELECT id FROM b ORDER BY id DESC"),
              "4\n3\n2\n1\n");
    EXPECT_EQ(box.Text(u"SELECT id FROM a EXCEPT SELECT id FROM b"), "1\n");
    EXPECT_EQ(box.Text(u"SELECT id FROM a INTERSECT SELECT id FROM b ORDER BY 1"), "2\n3\n");
    EXPECT_EQ(box.Text(u"SELECT 1 AS n UNION ALL SELECT 1 UNION ALL SELECT 2.5"),
              "1.0\n1.0\n2.5\n");
    EXPECT_EQ(box.Text(u"SELECT N'a' AS s UNION SELECT 'A ' UNION SELECT NULL"), "NULL\nA \n");
    EXPECT_EQ(box.ErrorOf(u"SELECT 1, 2 UNION SELECT 1"), 205);
    EXPECT_EQ(
        box.Text(u"SELECT * FROM (SELECT TOP 1 id FROM a ORDER BY id DESC) q UNION ALL SELECT TOP "
                 u"1 id FROM b"),
        "3\n2\n");
}

TEST_F(Queries, Grouping) {
    box.Text(
        u"CREATE TABLE g (k char(1), v int) INSERT g VALUES ('a',1),('A',2),('b',3),('b',NULL)");
    EXPECT_EQ(
        box.Text(
            u"SELECT UPPER(k), COUNT(*), COUNT(v), SUM(v), AVG(v), MIN(v), MAX(v) FROM g GROUP "
            u"BY UPPER(k) HAVING COUNT(*) > 1 ORDER BY 1"),
        "A|2|2|3|1|1|2\nB|2|1|3|3|3|3\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(DISTINCT k), COUNT(*) FROM g"), "2|4\n");
    EXPECT_EQ(
        box.Text(
            u"SELECT v % 2 + 1, COUNT(*) FROM g WHERE v > 0 GROUP BY v % 2 + 1 ORDER BY v % 2 + "
            u"1"),
        "1|1\n2|2\n");
    EXPECT_EQ(
        box.Text(u"SELECT k, v FROM g GROUP BY k"),
        "!8120 Column 'g.v' is invalid in the select list because it is not contained in either an "
        "aggregate function or the GROUP BY clause.\n");
    EXPECT_EQ(box.Text(u"SELECT SUM(v) FROM g WHERE v > 100"), "NULL\n");
    EXPECT_EQ(box.Text(u"SELECT SUM(2147483647) FROM g"),
              "!8115 Arithmetic overflow error converting expression to data type int.\n");
}

TEST_F(Queries, AliasesAndStars) {
    const Result r =
        box.Run(u"SELECT a.id AS [x y], t = 1, 'lit' AS 'q', a.*, 5 FROM a WHERE id = 1");
    EXPECT_EQ(r.text, "1|1|lit|1|a1|5\n");
    ASSERT_EQ(r.columns.size(), 6U);
    EXPECT_EQ(r.columns[0].name, u"x y");
    EXPECT_EQ(r.columns[1].name, u"t");
    EXPECT_EQ(r.columns[2].name, u"q");
    EXPECT_EQ(r.columns[3].name, u"id");
    EXPECT_EQ(r.columns[5].name, u"");
    EXPECT_EQ(box.Text(u"SELECT v.s FROM (VALUES (1,'x'),(2,'yy')) AS v(n,s) WHERE v.n=2"), "yy\n");
}

TEST_F(Queries, UpdatesAndDeletesWithJoins) {
    EXPECT_EQ(box.Text(u"UPDATE a SET x=b.y FROM a INNER JOIN b ON a.id=b.id"), "#2\n");
    EXPECT_EQ(box.Text(u"UPDATE t SET x='z' FROM a t WHERE t.id=1 SELECT x FROM a ORDER BY id"),
              "#1\nz\nb2\nb3\n");
    EXPECT_EQ(box.Text(u"DELETE a FROM a INNER JOIN b ON a.id=b.id WHERE b.id=3"), "#1\n");
    EXPECT_EQ(box.Text(u"DELETE FROM t FROM a t WHERE t.id=1 SELECT id FROM a"), "#1\n2\n");
    EXPECT_EQ(box.Text(u"DELETE TOP (1) FROM b UPDATE TOP (1) b SET y='u' SELECT COUNT(*) FROM b"),
              "#1\n#1\n2\n");
}

TEST_F(Queries, InsertsFromQueries) {
    EXPECT_EQ(box.Text(u"INSERT INTO a SELECT id+10, x FROM a INSERT a (id) SELECT 99"),
              "#3\n#1\n");
    EXPECT_EQ(box.Text(u"SELECT id, x INTO c FROM a WHERE id > 11 SELECT * FROM c ORDER BY id"),
              "#3\n12|a2\n13|a3\n99|NULL\n");
    EXPECT_EQ(box.ErrorOf(u"INSERT a SELECT 1"), 120);
    EXPECT_EQ(box.ErrorOf(u"INSERT a VALUES (1, 2, 3)"), 213);
    EXPECT_EQ(box.ErrorOf(u"INSERT a (id) VALUES (1, 2)"), 110);
    EXPECT_EQ(box.ErrorOf(u"INSERT a (id, x) VALUES (1)"), 109);
    EXPECT_EQ(box.ErrorOf(u"INSERT a (id, id) VALUES (1, 2)"), 264);
}

TEST_F(Queries, NamesThatAreNotThere) {
    EXPECT_EQ(box.Text(u"SELECT * FROM nosuch"), "!208 Invalid object name 'nosuch'.\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM x.dbo.nosuch"),
              "!208 Invalid object name 'x.dbo.nosuch'.\n");
    EXPECT_EQ(box.Text(u"SELECT nosuch FROM a"), "!207 Invalid column name 'nosuch'.\n");
    EXPECT_EQ(box.Text(u"SELECT z.id FROM a"),
              "!4104 The multi-part identifier \"z.id\" could not be bound.\n");
    EXPECT_EQ(box.Text(u"SELECT id FROM a, b"), "!209 Ambiguous column name 'id'.\n");
    EXPECT_EQ(box.Text(u"SELECT @x"), "!137 Must declare the scalar variable \"@x\".\n");
    EXPECT_EQ(box.Text(u"SELECT nosuch(1)"),
              "!195 'nosuch' is not a recognized built-in function name.\n");
    EXPECT_EQ(
        box.Text(u"USE nosuch"),
        "!911 Database 'nosuch' does not exist. Make sure that the name is entered correctly.\n");
    EXPECT_EQ(box.Text(u"EXEC nosuch"), "!2812 Could not find stored procedure 'nosuch'.\n");
    EXPECT_EQ(box.Text(u"SET NOSUCH ON"), "!195 'NOSUCH' is not a recognized SET option.\n");
}

TEST_F(Queries, SyntaxErrorsStopTheWholeBatch) {
    EXPECT_EQ(box.Text(u"DELETE FROM a SELECT 1 FROM WHERE"),
              "!156 Incorrect syntax near the keyword 'WHERE'.\n");
    EXPECT_EQ(box.Text(u"DELETE FROM a SELECT (1"), "!102 Incorrect syntax near '1'.\n");
    EXPECT_EQ(box.Text(u"SELECT 'abc"),
              "!105 Unclosed quotation mark after the character string 'abc'.\n");
    EXPECT_EQ(box.Text(u"SELECT 1 /* open"), "!113 Missing end comment mark '*/'.\n");
    EXPECT_EQ(box.Text(u"SELECT 1 1"), "!102 Incorrect syntax near '1'.\n");
    EXPECT_EQ(box.Text(u"DELETE FROM a CREATE PROCEDURE p AS SELECT 1"),
              "!111 'CREATE/ALTER PROCEDURE' must be the first statement in a query batch.\n");
    EXPECT_EQ(box.Text(u"CREATE PROCEDURE p AS"), "!156 Incorrect syntax near the keyword 'AS'.\n");
    EXPECT_EQ(box.Text(u"MERGE a USING b ON 1=1"), "!102 Incorrect syntax near 'USING'.\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM a"), "3\n");
}

TEST_F(Queries, HostileNestingIsRefused) {
    const std::u16string open(5000, u'(');
    EXPECT_EQ(box.ErrorOf(u"SELECT " + open), 191);
    std::u16string blocks;
    for (int i = 0; i < 1000; ++i)
        blocks += u"BEGIN ";
    EXPECT_EQ(box.ErrorOf(blocks + u"SELECT 1"), 191);
    std::u16string minus(9999, u'~');
    EXPECT_EQ(box.ErrorOf(u"SELECT " + minus + u"1"), 191);
}

TEST_F(Queries, ErrorsOfDataStopOrContinueAsTheServerDoes) {
    EXPECT_EQ(box.Text(u"SELECT 1/0 SELECT 'next'"),
              "!8134 Divide by zero error encountered.\nnext\n");
    EXPECT_EQ(box.Text(u"SELECT CAST('x' AS int) SELECT 'next'"),
              "!245 Conversion failed when converting the varchar value 'x' to data type int.\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM nosuch SELECT 'next'"),
              "!208 Invalid object name 'nosuch'.\n");
}

TEST_F(Queries, RowsAlreadySentStaySent) {
    // The error comes after the rows before it, as on the wire.
    EXPECT_EQ(box.Text(u"SELECT 10 / (3 - id) FROM a"),
              "5\n10\n!8134 Divide by zero error encountered.\n");
}

TEST_F(Queries, ViewsShowTheirQuery) {
    box.Text(u"CREATE VIEW v AS SELECT id, x AS name FROM a WHERE id > 1");
    EXPECT_EQ(box.Text(u"SELECT * FROM v ORDER BY id DESC"), "3|a3\n2|a2\n");
    box.Text(u"CREATE VIEW v2 (k) AS SELECT id FROM v UNION SELECT id FROM b");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*), MAX(k) FROM v2"), "3|4\n");
    box.Text(u"CREATE DATABASE other");
    EXPECT_EQ(box.Text(u"USE other SELECT COUNT(*) FROM w..v2"), "@other\n3\n");
}

TEST_F(Queries, TopAndRowcountLimit) {
    EXPECT_EQ(box.Text(u"SELECT TOP 2 id FROM a ORDER BY id DESC"), "3\n2\n");
    EXPECT_EQ(box.Text(u"DECLARE @n int SET @n = 1 SELECT TOP (@n) id FROM a ORDER BY id"), "1\n");
    EXPECT_EQ(box.Text(u"SET ROWCOUNT 1 SELECT id FROM a SET ROWCOUNT 0 SELECT COUNT(*) FROM a"),
              "1\n3\n");
}

TEST_F(Queries, BytesAreOrderedByWhatIsNotTrailingZeros) {
    box.Text(
        u"CREATE TABLE v (b varbinary(9), n int) SET NOCOUNT ON INSERT v VALUES (0x0100, 1)"
        u" INSERT v VALUES (0x01, 2) INSERT v VALUES (0x, 4) INSERT v VALUES (0x00, 3)");
    EXPECT_EQ(box.Text(u"SELECT n FROM v ORDER BY b, n"), "3\n4\n1\n2\n");
    EXPECT_EQ(box.Text(u"SELECT n FROM v ORDER BY b, DATALENGTH(b)"), "4\n3\n2\n1\n");
    EXPECT_EQ(box.Text(u"SELECT n FROM v ORDER BY CAST(b AS varbinary(20)), n DESC"),
              "4\n3\n2\n1\n");
}

TEST_F(Queries, BytesAreEqualWhereOnlyZerosFollow) {
    EXPECT_EQ(box.Text(u"SELECT CASE WHEN 0x41 = 0x4100 THEN 1 END,"
                       u" CASE WHEN 0x4100 <> 0x41 THEN 1 END, CASE WHEN 0x41 = 0x4101 THEN 1 END,"
                       u" CASE WHEN 0x = 0x00 THEN 1 END, CASE WHEN 0x41 < 0x4101 THEN 1 END"),
              "1|NULL|NULL|1|1\n");
    box.Text(u"CREATE TABLE v (b varbinary(max)) SET NOCOUNT ON INSERT v VALUES (0x0100)");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM v WHERE b = 0x01 SELECT COUNT(*) FROM v WHERE"
                       u" b + 0x01 = 0x0101"),
              "1\n0\n");
}

TEST_F(Queries, ManyRowsOfValues) {
    std::u16string rows = u"(0, N'x')";
    for (int i = 1; i < 1000; ++i)
        rows += u",(" + Widened(i) + u", N'x')";
    EXPECT_EQ(box.Text(u"SELECT COUNT(*), SUM(n) FROM (VALUES " + rows + u") AS v (n, t)"),
              "1000|499500\n");
    box.Text(u"DELETE a");
    EXPECT_EQ(box.Text(u"INSERT a VALUES " + rows), "#1000\n");
    EXPECT_EQ(box.Text(u"INSERT a VALUES " + rows + u",(1000, N'x')"),
              "!10738 The number of row value expressions in the INSERT statement exceeds the "
              "maximum allowed number of 1000 row values.\n");
}

TEST_F(Queries, PartitionsCountTheRows) {
    EXPECT_EQ(box.Text(u"SELECT index_id, rows FROM sys.partitions WHERE object_id = "
                       u"OBJECT_ID('a')"),
              "1|3\n");
    box.Text(u"DELETE a WHERE id = 1");
    EXPECT_EQ(box.Text(u"SELECT rows FROM sys.partitions WHERE object_id = OBJECT_ID('a')"), "2\n");
    EXPECT_EQ(box.Text(u"SELECT rows FROM sysindexes WHERE id = OBJECT_ID('a')"), "2\n");
}

}  // namespace
}  // namespace sandbox::testing
