// Tables of a session: "#name".
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

TEST(TemporaryTables, BelongToTheirSession) {
    Box box;
    EXPECT_EQ(box.Text(u"CREATE TABLE #t (a int PRIMARY KEY, b varchar(5))"), "");
    EXPECT_EQ(box.Text(u"INSERT #t VALUES (1, 'x'), (2, 'y')"), "#2\n");
    Client second(*box.backend, u"w");
    EXPECT_EQ(second.Text(u"SELECT * FROM #t"), "!208 Invalid object name '#t'.\n");
    EXPECT_EQ(second.Text(u"CREATE TABLE #t (c int) SELECT * FROM #t"), "");
    EXPECT_EQ(box.Text(u"SELECT * FROM #t ORDER BY a"), "1|x\n2|y\n");
    EXPECT_EQ(box.Text(u"SELECT name FROM sys.objects WHERE name LIKE '#%'"), "");
}

TEST(TemporaryTables, JoinTheTablesOfADatabase) {
    Box box;
    box.Text(u"CREATE TABLE t (a int PRIMARY KEY, b int CONSTRAINT UQ_t UNIQUE)");
    box.Text(u"INSERT t VALUES (1, 10), (2, 20), (3, 30)");
    box.Text(u"CREATE TABLE #n (k int, v int)");
    box.Text(u"INSERT #n VALUES (1, 20), (2, 30), (3, 10)");
    EXPECT_EQ(box.Text(u"UPDATE t SET b = n.v FROM t INNER JOIN #n AS n ON t.a = n.k"), "#3\n");
    EXPECT_EQ(box.Text(u"SELECT a, b FROM t ORDER BY a"), "1|20\n2|30\n3|10\n");
    box.Text(u"UPDATE #n SET v = 10 WHERE k = 1");
    EXPECT_EQ(box.ErrorOf(u"UPDATE t SET b = n.v FROM t INNER JOIN #n AS n ON t.a = n.k"), 2627);
}

TEST(TemporaryTables, GoWithATransactionThatIsRolledBack) {
    Box box;
    box.Text(u"CREATE TABLE #kept (a int)");
    box.Text(u"BEGIN TRAN");
    box.Text(u"CREATE TABLE #t (a int)");
    box.Text(u"INSERT #t VALUES (1) INSERT #kept VALUES (1)");
    box.Text(u"ROLLBACK");
    EXPECT_EQ(box.Text(u"SELECT * FROM #t"), "!208 Invalid object name '#t'.\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM #kept"), "0\n");
}

// The first of a session, made when the transaction has already written.
TEST(TemporaryTables, CanBeMadeInTheMiddleOfATransaction) {
    Box box;
    box.Text(u"CREATE TABLE t (a int)");
    for (const char16_t* end : {u"ROLLBACK", u"COMMIT"}) {
        box.Text(u"BEGIN TRAN INSERT t VALUES (1)");
        EXPECT_EQ(box.Text(u"CREATE TABLE #t (a int)"), "");
        EXPECT_EQ(box.Text(u"INSERT #t VALUES (5) SELECT a FROM #t"), "#1\n5\n");
        EXPECT_EQ(box.Text(end), "");
    }
    EXPECT_EQ(box.Text(u"SELECT a FROM t SELECT a FROM #t"), "1\n5\n");
}

TEST(TemporaryTables, OfADynamicTextGoWithIt) {
    Box box;
    EXPECT_EQ(box.client->TextInScope(u"CREATE TABLE #t (a int) SELECT COUNT(*) FROM #t"), "0\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM #t"), "!208 Invalid object name '#t'.\n");
    box.Text(u"CREATE TABLE #t (a int)");
    EXPECT_EQ(box.client->TextInScope(u"INSERT #t VALUES (1) SELECT COUNT(*) FROM #t"), "#1\n1\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM #t"), "1\n");
}

TEST(TemporaryTables, AreMadeOnceInABatch) {
    Box box;
    EXPECT_EQ(box.Text(u"CREATE TABLE #t (a int) DROP TABLE #t CREATE TABLE #t (b int)"),
              "!2714 There is already an object named '#t' in the database.\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM #t"), "!208 Invalid object name '#t'.\n");
    EXPECT_EQ(box.Text(u"CREATE TABLE #t (a int)"), "");
    EXPECT_EQ(box.Text(u"CREATE TABLE #t (a int)"),
              "!2714 There is already an object named '#t' in the database.\n");
    EXPECT_EQ(box.Text(u"DROP TABLE #t"), "");
    EXPECT_EQ(box.Text(u"CREATE TABLE #t (b int)"), "");
}

TEST(TemporaryTables, NeedNoRight) {
    Box box;
    box.Text(u"CREATE LOGIN reader WITH PASSWORD = 'p' CREATE USER reader FOR LOGIN reader");
    Client reader(*box.backend, u"w", u"reader", u"p");
    EXPECT_EQ(reader.Text(u"CREATE TABLE #t (a int)"), "");
    EXPECT_EQ(reader.Text(u"INSERT #t VALUES (1) SELECT a FROM #t DROP TABLE #t"), "#1\n1\n");
    EXPECT_EQ(reader.ErrorOf(u"CREATE TABLE t (a int)"), 262);
}

// Of all sessions.
TEST(TemporaryTables, OfAllSessionsAreNotKnown) {
    Box box;
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE ##t (a int)"), 2702);
}

}  // namespace
}  // namespace sandbox::testing
