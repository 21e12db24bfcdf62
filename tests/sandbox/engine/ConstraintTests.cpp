// Keys, checks, identity, defaults, computed columns and rowversion refuse what the server refuses.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

TEST(Constraints, PrimaryAndUniqueKeys) {
    Box box;
    box.Text(
        u"CREATE TABLE t (a int CONSTRAINT PK_t PRIMARY KEY, b int CONSTRAINT UQ_t UNIQUE, c int)");
    box.Text(u"INSERT t VALUES (1, 1, 1)");
    const std::string text = ". Cannot insert duplicate key in object 'dbo.t'.\n";
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1, 2, 2)"),
              "!2627 Violation of PRIMARY KEY constraint 'PK_t'" + text);
    EXPECT_EQ(box.Text(u"INSERT t VALUES (2, 1, 2)"),
              "!2627 Violation of UNIQUE KEY constraint 'UQ_t'" + text);
    box.Text(u"CREATE UNIQUE INDEX IX_t ON t (c)");
    EXPECT_EQ(
        box.Text(u"INSERT t VALUES (2, 2, 1)"),
        "!2601 Cannot insert duplicate key row in object 'dbo.t' with unique index 'IX_t'.\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "1\n");
}

TEST(Constraints, UniqueKeysTakeOneNull) {
    Box box;
    box.Text(u"CREATE TABLE t (a int NULL CONSTRAINT UQ_t UNIQUE, b varchar(5) NULL UNIQUE)");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (NULL, 'x')"), "#1\n");
    EXPECT_EQ(box.ErrorOf(u"INSERT t VALUES (NULL, 'y')"), 2627);
    EXPECT_EQ(box.ErrorOf(u"INSERT t VALUES (1, 'X ')"), 2627);
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1, NULL)"), "#1\n");
}

TEST(Constraints, NotNull) {
    Box box;
    box.Text(u"CREATE TABLE t (a int NOT NULL, b int)");
    const std::string text =
        "!515 Cannot insert the value NULL into column 'a', table 'w.dbo.t'; column does not allow "
        "nulls. ";
    EXPECT_EQ(box.Text(u"INSERT t (b) VALUES (1)"), text + "INSERT fails.\n");
    box.Text(u"INSERT t VALUES (1, 1)");
    EXPECT_EQ(box.Text(u"UPDATE t SET a = NULL"), text + "UPDATE fails.\n");
}

class ForeignKeys : public ::testing::Test {
  protected:
    ForeignKeys() {
        box.Text(u"CREATE TABLE p (id int PRIMARY KEY)");
        box.Text(u"CREATE TABLE c (id int PRIMARY KEY, pid int CONSTRAINT FK_c REFERENCES p (id))");
        box.Text(u"INSERT p VALUES (1), (2)");
        box.Text(u"INSERT c VALUES (1, 1), (2, NULL)");
    }
    Box box;
};

TEST_F(ForeignKeys, ChildrenNeedParents) {
    const std::string text =
        " statement conflicted with the FOREIGN KEY constraint \"FK_c\". The conflict occurred in "
        "database \"w\", table \"dbo.p\", column 'id'.\n";
    EXPECT_EQ(box.Text(u"INSERT c VALUES (3, 9)"), "!547 The INSERT" + text);
    EXPECT_EQ(box.Text(u"UPDATE c SET pid = 9 WHERE id = 1"), "!547 The UPDATE" + text);
    EXPECT_EQ(box.Text(u"SELECT id, pid FROM c ORDER BY id"), "1|1\n2|NULL\n");
}

TEST_F(ForeignKeys, ParentsStayWhileReferenced) {
    const std::string text =
        " statement conflicted with the REFERENCE constraint \"FK_c\". The conflict occurred in "
        "database \"w\", table \"dbo.c\", column 'pid'.\n";
    EXPECT_EQ(box.Text(u"DELETE FROM p"), "!547 The DELETE" + text);
    EXPECT_EQ(box.Text(u"UPDATE p SET id = 3 WHERE id = 1"), "!547 The UPDATE" + text);
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM p"), "2\n");
    EXPECT_EQ(box.Text(u"DELETE FROM p WHERE id = 2"), "#1\n");
}

TEST_F(ForeignKeys, StatementEndDecides) {
    // The order of rows within one statement does not matter.
    box.Text(u"CREATE TABLE s (id int PRIMARY KEY, up int REFERENCES s (id))");
    EXPECT_EQ(box.Text(u"INSERT s VALUES (1, 2), (2, 3), (3, NULL)"), "#3\n");
    EXPECT_EQ(box.Text(u"DELETE FROM s WHERE id > 1").substr(0, 4), "!547");
    EXPECT_EQ(box.Text(u"DELETE FROM s"), "#3\n");
}

TEST_F(ForeignKeys, CanBeDisabledAndValidated) {
    EXPECT_EQ(box.Text(u"ALTER TABLE c NOCHECK CONSTRAINT ALL INSERT c VALUES (3, 9)"), "#1\n");
    EXPECT_EQ(box.Text(u"SELECT is_disabled, is_not_trusted FROM sys.foreign_keys"), "1|1\n");
    EXPECT_EQ(
        box.Text(u"ALTER TABLE c WITH CHECK CHECK CONSTRAINT ALL"),
        "!547 The ALTER TABLE statement conflicted with the FOREIGN KEY constraint \"FK_c\". The "
        "conflict occurred in database \"w\", table \"dbo.p\", column 'id'.\n");
    EXPECT_EQ(box.Text(u"ALTER TABLE c CHECK CONSTRAINT FK_c"), "");
    EXPECT_EQ(box.Text(u"SELECT is_disabled, is_not_trusted FROM sys.foreign_keys"), "0|1\n");
    box.Text(u"DELETE FROM c WHERE id = 3 ALTER TABLE c WITH CHECK CHECK CONSTRAINT FK_c");
    EXPECT_EQ(box.Text(u"SELECT is_disabled, is_not_trusted FROM sys.foreign_keys"), "0|0\n");
}

TEST(Constraints, CascadesFollow) {
    Box box;
    box.Text(u"CREATE TABLE p (id int PRIMARY KEY)");
    box.Text(
        u"CREATE TABLE c (id int PRIMARY KEY, pid int REFERENCES p (id) ON DELETE CASCADE ON "
        u"UPDATE CASCADE)");
    box.Text(u"CREATE TABLE g (cid int REFERENCES c (id) ON DELETE CASCADE)");
    box.Text(
        u"INSERT p VALUES (1), (2) INSERT c VALUES (10, 1), (20, 2) INSERT g VALUES (10), (20)");
    EXPECT_EQ(box.Text(u"UPDATE p SET id = 7 WHERE id = 1 SELECT * FROM c ORDER BY id"),
              "#1\n10|7\n20|2\n");
    EXPECT_EQ(box.Text(u"DELETE FROM p WHERE id = 7 SELECT * FROM c SELECT * FROM g"),
              "#1\n20|2\n20\n");
}

TEST(Constraints, CascadesSetNullOrTheDefault) {
    Box box;
    box.Text(u"CREATE TABLE p (id int PRIMARY KEY) INSERT p VALUES (0), (1), (2), (3)");
    box.Text(
        u"CREATE TABLE n (pid int NULL REFERENCES p (id) ON DELETE SET NULL ON UPDATE SET NULL)");
    box.Text(
        u"CREATE TABLE d (pid int DEFAULT (0) CONSTRAINT FK_d REFERENCES p (id) ON DELETE SET"
        u" DEFAULT ON UPDATE SET DEFAULT)");
    box.Text(u"INSERT n VALUES (1), (2), (3) INSERT d VALUES (1), (2), (3)");
    EXPECT_EQ(box.Text(u"DELETE p WHERE id = 1 UPDATE p SET id = 9 WHERE id = 2"
                       u" SELECT pid FROM n ORDER BY pid SELECT pid FROM d ORDER BY pid"),
              "#1\n#1\nNULL\nNULL\n3\n0\n0\n3\n");
    EXPECT_EQ(box.Text(u"SELECT delete_referential_action, update_referential_action_desc FROM"
                       u" sys.foreign_keys WHERE name = 'FK_d'"),
              "3|SET_DEFAULT\n");
    // which has to be there
    EXPECT_EQ(box.Text(u"DELETE d WHERE pid = 0 DELETE p WHERE id = 0 DELETE p WHERE id = 3")
                  .substr(0, 10),
              "#2\n#1\n!547");
    box.Text(u"ALTER TABLE d NOCHECK CONSTRAINT FK_d DELETE p WHERE id = 3");
    EXPECT_EQ(box.Text(u"SELECT pid FROM d"), "3\n");
}

TEST(Constraints, ChecksLetUnknownPass) {
    Box box;
    box.Text(
        u"CREATE TABLE t (a int CONSTRAINT CK_a CHECK (a > 0), b int, CONSTRAINT CK_ab CHECK (b "
        u"> a))");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (NULL, NULL)"), "#1\n");
    EXPECT_EQ(
        box.Text(u"INSERT t VALUES (0, 5)"),
        "!547 The INSERT statement conflicted with the CHECK constraint \"CK_a\". The conflict "
        "occurred in database \"w\", table \"dbo.t\", column 'a'.\n");
    EXPECT_EQ(
        box.Text(u"UPDATE t SET a = 5, b = 4"),
        "!547 The UPDATE statement conflicted with the CHECK constraint \"CK_ab\". The conflict "
        "occurred in database \"w\", table \"dbo.t\".\n");
}

TEST(Constraints, IdentityIsTheServersOwn) {
    Box box;
    box.Text(u"CREATE TABLE t (id int IDENTITY(10,5), a int)");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (1) INSERT t (a) VALUES (2), (3) SELECT * FROM t"),
              "#1\n#2\n10|1\n15|2\n20|3\n");
    EXPECT_EQ(box.Text(u"SELECT @@IDENTITY, SCOPE_IDENTITY(), IDENT_CURRENT('t')"), "20|NULL|20\n");
    EXPECT_EQ(box.Text(u"INSERT t (id, a) VALUES (1, 1)"),
              "!544 Cannot insert explicit value for identity column in table 't' when "
              "IDENTITY_INSERT is set to OFF.\n");
    EXPECT_EQ(box.Text(u"UPDATE t SET id = 1"), "!8102 Cannot update identity column 'id'.\n");
    EXPECT_EQ(box.Text(u"SET IDENTITY_INSERT [dbo].[t] ON INSERT t (id, a) VALUES (100, 4)"),
              "#1\n");
    EXPECT_EQ(box.Text(u"INSERT t (a) VALUES (1)"),
              "!545 Explicit value must be specified for identity column in table 't' either when "
              "IDENTITY_INSERT is set to ON or when a replication user is inserting into a NOT FOR "
              "REPLICATION identity column.\n");
    EXPECT_EQ(
        box.Text(u"INSERT t VALUES (1)"),
        "!8101 An explicit value for the identity column in table 't' can only be specified when "
        "a column list is used and IDENTITY_INSERT is ON.\n");
    box.Text(u"CREATE TABLE u (id int IDENTITY, a int)");
    EXPECT_EQ(
        box.Text(u"SET IDENTITY_INSERT u ON"),
        "!8107 IDENTITY_INSERT is already ON for table 'w.dbo.t'. Cannot perform SET operation "
        "for table 'u'.\n");
    EXPECT_EQ(box.Text(u"SET IDENTITY_INSERT t OFF INSERT t VALUES (5) SELECT MAX(id) FROM t"),
              "#1\n105\n");
}

TEST(Constraints, IdentityIsNotRolledBack) {
    Box box;
    box.Text(u"CREATE TABLE t (id int IDENTITY, a int)");
    box.Text(u"BEGIN TRAN INSERT t VALUES (1) ROLLBACK INSERT t VALUES (2)");
    EXPECT_EQ(box.Text(u"SELECT id FROM t"), "2\n");
}

TEST(Constraints, RowversionChangesWithEveryWrite) {
    Box box;
    box.Text(u"CREATE TABLE t (a int, v rowversion)");
    box.Text(u"INSERT t (a) VALUES (1)");
    const std::string first = box.Text(u"SELECT v FROM t");
    EXPECT_EQ(first, "0x00000000000007D1\n");
    box.Text(u"UPDATE t SET a = 2");
    EXPECT_EQ(box.Text(u"SELECT v FROM t"), "0x00000000000007D2\n");
    EXPECT_EQ(box.ErrorOf(u"INSERT t (a, v) VALUES (1, 0x01)"), 273);
    EXPECT_EQ(box.Text(u"UPDATE t SET v = 0x01"), "!272 Cannot update a timestamp column.\n");
}

TEST(Constraints, ComputedColumnsCannotBeWritten) {
    Box box;
    box.Text(
        u"CREATE TABLE t (a int, b AS a * 2 + 1, c AS (N'<' + CAST(a AS nvarchar(5)) + N'>'))");
    EXPECT_EQ(box.Text(u"INSERT t VALUES (5) SELECT * FROM t"), "#1\n5|11|<5>\n");
    const std::string refused =
        "!271 The column \"b\" cannot be modified because it is either a computed column or is the "
        "result of a UNION operator.\n";
    EXPECT_EQ(box.Text(u"INSERT t (a, b) VALUES (1, 2)"), refused);
    EXPECT_EQ(box.Text(u"UPDATE t SET b = 1"), refused);
}

TEST(Constraints, DefaultsFillIn) {
    Box box;
    box.Text(
        u"CREATE TABLE t (a int DEFAULT 5, b nvarchar(10) NOT NULL CONSTRAINT DF_b DEFAULT (N'x' "
        u"+ N'y'), c datetime DEFAULT GETDATE(), d int)");
    EXPECT_EQ(
        box.Text(u"INSERT t DEFAULT VALUES INSERT t (a, b) VALUES (DEFAULT, N'z') SELECT a, b, d, "
                 u"CASE WHEN c > '20200101' THEN 1 END FROM t"),
        "#1\n#1\n5|xy|NULL|1\n5|z|NULL|1\n");
}

TEST(Constraints, FailingStatementUndoesItself) {
    Box box;
    box.Text(u"CREATE TABLE t (a int PRIMARY KEY)");
    const Result r = box.Run(u"INSERT t VALUES (1), (2), (1) SELECT COUNT(*) FROM t");
    EXPECT_EQ(r.errors.at(0).number, 2627);
    EXPECT_EQ(r.text.substr(r.text.size() - 3), "\n0\n");
}

}  // namespace
}  // namespace sandbox::testing
