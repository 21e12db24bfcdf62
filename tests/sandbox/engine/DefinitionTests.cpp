// CREATE, ALTER and DROP.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

TEST(Definitions, DatabasesComeAndGo) {
    Box box;
    EXPECT_EQ(box.Text(u"CREATE DATABASE [my db]"), "");
    EXPECT_EQ(box.Text(u"CREATE DATABASE [MY DB]"),
              "!1801 Database 'MY DB' already exists. Choose a different database name.\n");
    EXPECT_EQ(box.Text(u"USE [my db] CREATE TABLE t (a int) SELECT COUNT(*) FROM [my db]..t"),
              "@my db\n0\n");
    EXPECT_EQ(box.Text(u"DROP DATABASE [my db]"),
              "!3702 Cannot drop database \"my db\" because it is currently in use.\n");
    EXPECT_EQ(box.Text(u"USE w DROP DATABASE [my db] SELECT * FROM [my db]..t"),
              "@w\n!208 Invalid object name 'my db..t'.\n");
    EXPECT_EQ(
        box.Text(u"DROP DATABASE [my db]"),
        "!3701 Cannot drop the database 'my db', because it does not exist or you do not have "
        "permission.\n");
    EXPECT_EQ(box.ErrorOf(u"DROP DATABASE master"), 3708);
    EXPECT_EQ(box.ErrorOf(u"BEGIN TRAN CREATE DATABASE x"), 226);
    // A new database of the same name is empty.
    EXPECT_EQ(
        box.Text(u"ROLLBACK CREATE DATABASE [my db] SELECT COUNT(*) FROM [my db]..sysobjects WHERE "
                 u"xtype='U'"),
        "0\n");
}

TEST(Definitions, MoreDatabasesThanCanBeAttached) {
    Box box;
    std::u16string sum = u"SELECT 0";
    for (int i = 0; i < 25; ++i) {
        const std::string n = std::to_string(i);
        const std::u16string name = u"m" + std::u16string(n.begin(), n.end());
        ASSERT_EQ(box.Text(u"CREATE DATABASE " + name), "");
        ASSERT_EQ(
            box.Text(u"CREATE TABLE " + name + u"..t (a int) INSERT " + name + u"..t VALUES (1)"),
            "#1\n");
    }
    for (int i = 0; i < 25; ++i) {
        const std::string n = std::to_string(i);
        EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM m" + std::u16string(n.begin(), n.end()) + u"..t"),
                  "1\n");
    }
}

TEST(Definitions, CompatibilityLevel) {
    Box box;
    EXPECT_EQ(box.Text(u"ALTER DATABASE w SET COMPATIBILITY_LEVEL = 80 SELECT cmptlevel FROM "
                       u"master..sysdatabases WHERE name='w'"),
              "80\n");
    EXPECT_EQ(
        box.Text(u"EXEC sp_dbcmptlevel 'w', 90 SELECT compatibility_level FROM sys.databases WHERE "
                 u"name='w'"),
        "90\n");
    EXPECT_EQ(box.ErrorOf(u"ALTER DATABASE w SET COMPATIBILITY_LEVEL = 110"), 15048);
}

TEST(Definitions, NamesAreTakenOnce) {
    Box box;
    box.Text(u"CREATE TABLE t (a int CONSTRAINT c PRIMARY KEY)");
    EXPECT_EQ(box.Text(u"CREATE TABLE T (a int)"),
              "!2714 There is already an object named 'T' in the database.\n");
    EXPECT_EQ(box.ErrorOf(u"CREATE PROCEDURE t AS SELECT 1"), 2714);
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE u (a int CONSTRAINT c PRIMARY KEY)"), 2714);
    // The failed table is not there.
    EXPECT_EQ(box.Text(u"SELECT OBJECT_ID('u')"), "NULL\n");
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE v (a int, A int)"), 2705);
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE v (a nosuch)"), 2715);
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE nosuch.v (a int)"), 2760);
}

TEST(Definitions, DropRefusesWhatIsNotThere) {
    Box box;
    EXPECT_EQ(box.Text(u"DROP TABLE nosuch"),
              "!3701 Cannot drop the table 'nosuch', because it does not exist or you do not have "
              "permission.\n");
    EXPECT_EQ(box.Text(u"DROP TABLE IF EXISTS nosuch DROP VIEW IF EXISTS nosuch"), "");
    box.Text(u"CREATE VIEW v AS SELECT 1 AS a");
    EXPECT_EQ(box.Text(u"DROP TABLE v"),
              "!3705 Cannot use DROP TABLE with 'v' because 'v' is a view. Use DROP VIEW.\n");
    EXPECT_EQ(box.Text(u"DROP VIEW v SELECT * FROM v"), "!208 Invalid object name 'v'.\n");
}

TEST(Definitions, ColumnsAreAddedChangedAndDropped) {
    Box box;
    box.Text(u"CREATE TABLE t (a int PRIMARY KEY, b varchar(5)) INSERT t VALUES (1,'x'),(2,NULL)");
    EXPECT_EQ(
        box.Text(
            u"ALTER TABLE t ADD c int NOT NULL DEFAULT (7), d AS (a+1), e int NULL SELECT * FROM "
            u"t ORDER BY a"),
        "1|x|7|2|NULL\n2|NULL|7|3|NULL\n");
    EXPECT_EQ(box.ErrorOf(u"ALTER TABLE t ADD f int NOT NULL"), 4901);
    EXPECT_EQ(box.ErrorOf(u"ALTER TABLE t ALTER COLUMN b varchar(5) NOT NULL"), 515);
    EXPECT_EQ(
        box.Text(u"ALTER TABLE t ALTER COLUMN b nvarchar(50) UPDATE t SET b=N'\u20ac long enough' "
                 u"WHERE a=1 SELECT b FROM t ORDER BY a"),
        "#1\n\xE2\x82\xAC long enough\nNULL\n");
    EXPECT_EQ(box.Text(u"ALTER TABLE t DROP COLUMN a").substr(0, 5), "!5074");
    EXPECT_EQ(box.Text(u"ALTER TABLE t DROP COLUMN d, e SELECT * FROM t WHERE a=2"), "2|NULL|7\n");
    EXPECT_EQ(box.ErrorOf(u"ALTER TABLE t DROP COLUMN zz"), 4924);
    EXPECT_EQ(box.ErrorOf(u"INSERT t VALUES (1,'y',1)"), 2627);
    EXPECT_EQ(
        box.Text(u"ALTER TABLE nosuch ADD a int"),
        "!4902 Cannot find the object \"nosuch\" because it does not exist or you do not have "
        "permissions.\n");
}

TEST(Definitions, ConstraintsAreAddedAndDropped) {
    Box box;
    box.Text(u"CREATE TABLE t (a int NOT NULL, b int) INSERT t VALUES (1,1),(1,2)");
    EXPECT_EQ(box.Text(u"ALTER TABLE t ADD CONSTRAINT PK_t PRIMARY KEY (a)").substr(0, 5), "!1505");
    EXPECT_EQ(box.Text(u"ALTER TABLE t ADD CONSTRAINT PK_t PRIMARY KEY (a, b)").substr(0, 5),
              "!8111");
    EXPECT_EQ(box.Text(u"ALTER TABLE t ADD CONSTRAINT CK CHECK (b < 2)").substr(0, 4), "!547");
    EXPECT_EQ(
        box.Text(
               u"ALTER TABLE t WITH NOCHECK ADD CONSTRAINT CK CHECK (b < 2) INSERT t VALUES (3,3)")
            .substr(0, 4),
        "!547");
    EXPECT_EQ(box.Text(u"ALTER TABLE t DROP CONSTRAINT CK INSERT t VALUES (3,3)"), "#1\n");
    EXPECT_EQ(box.Text(u"ALTER TABLE t DROP CONSTRAINT CK"), "!3728 'CK' is not a constraint.\n");
    box.Text(u"CREATE TABLE p (a int CONSTRAINT PK_p PRIMARY KEY)");
    box.Text(u"CREATE TABLE c (a int CONSTRAINT FK_c REFERENCES p (a))");
    EXPECT_EQ(box.ErrorOf(u"ALTER TABLE p DROP CONSTRAINT PK_p"), 3725);
    EXPECT_EQ(box.ErrorOf(u"DROP TABLE p"), 3726);
    EXPECT_EQ(box.ErrorOf(u"TRUNCATE TABLE p"), 4712);
    EXPECT_EQ(box.Text(u"ALTER TABLE c DROP CONSTRAINT FK_c DROP TABLE p"), "");
}

TEST(Definitions, SchemaBoundViewsCanBeIndexed) {
    Box box;
    box.Text(u"CREATE TABLE t (a int PRIMARY KEY, b int) INSERT t VALUES (1,5)");
    box.Text(u"CREATE VIEW dbo.plain AS SELECT a, b FROM dbo.t");
    EXPECT_EQ(box.ErrorOf(u"CREATE UNIQUE CLUSTERED INDEX i ON dbo.plain (a)"), 1939);
    box.Text(u"CREATE VIEW dbo.v WITH SCHEMABINDING AS SELECT a, b FROM dbo.t");
    EXPECT_EQ(box.ErrorOf(u"CREATE INDEX i ON dbo.v (a)"), 1940);
    EXPECT_EQ(box.Text(u"CREATE UNIQUE CLUSTERED INDEX i ON dbo.v (a)"), "");
    EXPECT_EQ(box.Text(u"SELECT name, indid, status FROM sysindexes WHERE id=OBJECT_ID('v')"),
              "i|1|18\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM v"), "1|5\n");
    EXPECT_EQ(box.ErrorOf(u"DROP TABLE t"), 3729);
}

TEST(Definitions, SchemasHoldObjects) {
    Box box;
    box.Text(u"CREATE SCHEMA sales");
    box.Text(u"CREATE TABLE sales.t (a int) INSERT sales.t VALUES (1)");
    box.Text(u"CREATE TABLE t (b int)");
    EXPECT_EQ(box.Text(u"SELECT a FROM sales.t SELECT b FROM t SELECT sales.t.a FROM sales.t"),
              "1\n1\n");
    EXPECT_EQ(box.Text(u"DROP SCHEMA sales").substr(0, 5), "!3729");
    EXPECT_EQ(box.Text(u"DROP TABLE sales.t DROP SCHEMA sales SELECT SCHEMA_ID('sales')"),
              "NULL\n");
}

TEST(Definitions, EveryFormOfACreateTableScript) {
    Box box;
    EXPECT_EQ(
        box.Text(
            u"CREATE TABLE [dbo].[all] (\n"
            u"  [id] [int] IDENTITY (1, 1) NOT FOR REPLICATION NOT NULL,\n"
            u"  [g] uniqueidentifier ROWGUIDCOL NOT NULL CONSTRAINT DF_g DEFAULT (newid()),\n"
            u"  [s] varchar(20) COLLATE SQL_Latin1_General_CP1_CI_AS NULL,\n"
            u"  [n] national character varying(20),\n"
            u"  [f] double precision, [r] float(24), [d] dec(9,2), timestamp,\n"
            u"  CONSTRAINT [PK_all] PRIMARY KEY NONCLUSTERED ([id] DESC) WITH FILLFACTOR = 90 ON "
            u"[PRIMARY],\n"
            u"  UNIQUE CLUSTERED ([s], [n])\n"
            u") ON [PRIMARY]"),
        "");
    EXPECT_EQ(box.Text(u"SELECT c.name, t.name, c.length, c.prec, c.scale FROM syscolumns c JOIN "
                       u"systypes t ON "
                       u"t.xusertype=c.xusertype WHERE c.id=OBJECT_ID('[all]') ORDER BY c.colid"),
              "id|int|4|10|0\ng|uniqueidentifier|16|0|NULL\ns|varchar|20|20|NULL\n"
              "n|nvarchar|40|20|NULL\nf|float|8|53|NULL\nr|real|4|24|NULL\nd|decimal|5|9|2\n"
              "timestamp|timestamp|8|0|NULL\n");
    EXPECT_EQ(
        box.Text(
            u"SELECT indid, status FROM sysindexes WHERE id=OBJECT_ID('[all]') ORDER BY indid"),
        "1|4114\n2|2050\n");
}

}  // namespace
}  // namespace sandbox::testing
