// What a login may do that is not an administrator's.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

class Permissions : public ::testing::Test {
  protected:
    Permissions() {
        EXPECT_EQ(box.Text(u"CREATE TABLE t (a int NOT NULL PRIMARY KEY, b int NULL)"
                           u" CREATE TABLE u (a int NOT NULL CONSTRAINT fk REFERENCES t)"
                           u" INSERT t VALUES (1, 10)"
                           u" CREATE LOGIN mia WITH PASSWORD = 'm', CHECK_POLICY = OFF"
                           u" CREATE USER mia FOR LOGIN mia"),
                  "#1\n");
    }

    std::string AsMia(std::u16string_view batch) {
        return Client(*box.backend, u"w", u"mia", u"m").Text(batch);
    }
    static std::string Denied(const std::string& permission, const std::string& object) {
        return "!229 The " + permission + " permission was denied on the object '" + object +
               "', database 'w', schema 'dbo'.\n";
    }

    Box box;
};

TEST_F(Permissions, NothingIsAllowedBeforeItIsGranted) {
    EXPECT_EQ(AsMia(u"SELECT a FROM t"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"INSERT t VALUES (2, 2)"), Denied("INSERT", "t"));
    EXPECT_EQ(AsMia(u"UPDATE t SET b = 1"), Denied("UPDATE", "t"));
    EXPECT_EQ(AsMia(u"DELETE t"), Denied("DELETE", "t"));
    EXPECT_EQ(box.Text(u"SELECT b FROM t"), "10\n");
}

TEST_F(Permissions, EachIsGrantedByItself) {
    box.Text(u"GRANT SELECT ON t TO mia");
    EXPECT_EQ(AsMia(u"SELECT a FROM t"), "1\n");
    EXPECT_EQ(AsMia(u"INSERT t VALUES (2, 2)"), Denied("INSERT", "t"));
    box.Text(u"GRANT INSERT, UPDATE ON OBJECT::dbo.t TO mia");
    EXPECT_EQ(AsMia(u"INSERT t VALUES (2, 2) UPDATE t SET b = b + 1"), "#1\n#2\n");
    EXPECT_EQ(AsMia(u"DELETE t WHERE a = 2"), Denied("DELETE", "t"));
}

TEST_F(Permissions, OfASchemaAndOfTheDatabaseReachEveryTable) {
    box.Text(u"GRANT SELECT ON SCHEMA::dbo TO mia");
    EXPECT_EQ(AsMia(u"SELECT COUNT(*) FROM t SELECT COUNT(*) FROM u"), "1\n0\n");
    box.Text(u"REVOKE SELECT ON SCHEMA::dbo FROM mia GRANT SELECT TO public");
    EXPECT_EQ(AsMia(u"SELECT COUNT(*) FROM t"), "1\n");
}

TEST_F(Permissions, DenyWinsWhateverIsGranted) {
    box.Text(u"GRANT SELECT TO mia DENY SELECT ON t TO mia");
    EXPECT_EQ(AsMia(u"SELECT a FROM t"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"SELECT COUNT(*) FROM u"), "0\n");
    box.Text(u"REVOKE SELECT ON t FROM mia");
    EXPECT_EQ(AsMia(u"SELECT a FROM t"), "1\n");
}

TEST_F(Permissions, AreAskedAgainInAnOpenSession) {
    Client mia(*box.backend, u"w", u"mia", u"m");
    box.Text(u"GRANT SELECT ON t TO mia");
    EXPECT_EQ(mia.Text(u"SELECT a FROM t"), "1\n");
    box.Text(u"DENY SELECT ON t TO mia");
    EXPECT_EQ(mia.Text(u"SELECT a FROM t"), Denied("SELECT", "t"));
}

// To look at what the rows hold takes SELECT, too.
TEST_F(Permissions, WritesThatReadNeedSelect) {
    box.Text(u"GRANT UPDATE, DELETE ON t TO mia GRANT INSERT ON u TO mia");
    EXPECT_EQ(AsMia(u"UPDATE t SET b = 5"), "#1\n");
    EXPECT_EQ(AsMia(u"UPDATE t SET b = b + 1"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"UPDATE t SET b = 1 WHERE a = 1"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"DELETE t WHERE a = 1"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"DELETE x FROM t AS x"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"INSERT u SELECT a FROM t"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"DELETE t"), "#1\n");
}

TEST_F(Permissions, DefinitionsAreForAdministrators) {
    box.Text(u"GRANT SELECT, INSERT, UPDATE, DELETE, EXECUTE TO mia");
    EXPECT_EQ(AsMia(u"CREATE TABLE x (a int)"),
              "!262 CREATE TABLE permission denied in database 'w'.\n");
    EXPECT_EQ(AsMia(u"CREATE PROCEDURE p AS SELECT 1"),
              "!262 CREATE PROCEDURE permission denied in database 'w'.\n");
    EXPECT_EQ(AsMia(u"CREATE VIEW v AS SELECT 1 AS a"),
              "!262 CREATE VIEW permission denied in database 'w'.\n");
    EXPECT_EQ(AsMia(u"CREATE DATABASE x"),
              "!262 CREATE DATABASE permission denied in database 'master'.\n");
    const std::string unseen =
        "!1088 Cannot find the object \"t\" because it does not exist or you do not have "
        "permissions.\n";
    EXPECT_EQ(AsMia(u"ALTER TABLE t ADD c int NULL"), unseen);
    EXPECT_EQ(AsMia(u"ALTER TABLE t NOCHECK CONSTRAINT ALL"), unseen);
    EXPECT_EQ(AsMia(u"TRUNCATE TABLE t"), unseen);
    EXPECT_EQ(AsMia(u"CREATE INDEX x ON t (b)"), unseen);
    EXPECT_EQ(AsMia(u"SET IDENTITY_INSERT t ON"), unseen);
    EXPECT_EQ(AsMia(u"DROP TABLE t"),
              "!3701 Cannot drop the table 't', because it does not exist "
              "or you do not have permission.\n");
    EXPECT_EQ(AsMia(u"DROP DATABASE w"),
              "!3701 Cannot drop the database 'w', because it does not exist "
              "or you do not have permission.\n");
    EXPECT_EQ(AsMia(u"ALTER DATABASE w SET ALLOW_SNAPSHOT_ISOLATION ON"),
              "!5011 User does not have permission to alter database 'w', the database does not "
              "exist, or the database is not in a state that allows access checks.\n");
    EXPECT_EQ(AsMia(u"EXEC sp_addlinkedserver 'x'"),
              "!15247 User does not have permission to perform this action.\n");
    EXPECT_EQ(AsMia(u"GRANT ALTER ON t TO mia"),
              "!15151 Cannot find the object 't', because it does not exist or you do not have "
              "permission.\n");
}

TEST_F(Permissions, AlterAllowsWhatChangesTheTable) {
    box.Text(u"CREATE TABLE i (a int IDENTITY NOT NULL) GRANT ALTER, INSERT ON i TO mia");
    EXPECT_EQ(AsMia(u"SET IDENTITY_INSERT i ON INSERT i (a) VALUES (7)"), "#1\n");
    EXPECT_EQ(AsMia(u"ALTER TABLE i NOCHECK CONSTRAINT ALL"), "");
}

// A view and a procedure lend what their owner may do, in their own database only.
TEST_F(Permissions, ViewsAndProceduresLendTheirOwners) {
    box.Text(u"CREATE DATABASE x");
    box.Text(u"USE x EXEC('CREATE TABLE far (a int)') INSERT far VALUES (9) CREATE USER mia USE w");
    box.Text(u"CREATE VIEW near AS SELECT a FROM t");
    box.Text(u"CREATE VIEW beyond AS SELECT a FROM x.dbo.far");
    box.Text(u"CREATE PROCEDURE p AS SELECT a FROM t");
    box.Text(u"CREATE PROCEDURE q AS EXEC('SELECT a FROM t')");
    EXPECT_EQ(AsMia(u"SELECT a FROM near"), Denied("SELECT", "near"));
    EXPECT_EQ(AsMia(u"EXEC p"), Denied("EXECUTE", "p"));
    box.Text(
        u"GRANT SELECT ON near TO mia GRANT SELECT ON beyond TO mia"
        u" GRANT EXECUTE ON p TO mia GRANT EXEC ON q TO mia");
    EXPECT_EQ(AsMia(u"SELECT a FROM near"), "1\n");
    EXPECT_EQ(AsMia(u"EXEC p"), "1\n");
    EXPECT_EQ(AsMia(u"EXEC q"), Denied("SELECT", "t"));
    EXPECT_EQ(AsMia(u"SELECT a FROM beyond"),
              "!229 The SELECT permission was denied on the object 'far', database 'x', schema "
              "'dbo'.\n");
}

TEST_F(Permissions, TheCatalogShowsWhatOneHasSomePermissionOn) {
    const std::u16string_view tables = u"SELECT name FROM sys.tables ORDER BY name";
    const std::u16string_view keys = u"SELECT name FROM sys.foreign_keys";
    const std::u16string_view columns =
        u"SELECT c.name FROM sys.columns c JOIN sys.objects o ON o.object_id = c.object_id WHERE"
        u" o.type = 'U' ORDER BY c.name";
    EXPECT_EQ(AsMia(tables), "");
    EXPECT_EQ(AsMia(columns), "");
    EXPECT_EQ(AsMia(u"SELECT COUNT(*) FROM INFORMATION_SCHEMA.TABLES"), "0\n");
    EXPECT_EQ(AsMia(u"SELECT OBJECT_ID('t')"), "NULL\n");
    box.Text(u"GRANT INSERT ON t TO mia");
    EXPECT_EQ(AsMia(tables), "t\n");
    EXPECT_EQ(AsMia(columns), "a\nb\n");
    EXPECT_EQ(AsMia(keys), "");
    EXPECT_EQ(AsMia(u"SELECT COUNT(*) FROM sys.indexes i JOIN sys.tables t"
                    u" ON t.object_id = i.object_id WHERE i.is_primary_key = 1"),
              "1\n");
    EXPECT_EQ(AsMia(u"SELECT rows FROM sys.partitions WHERE object_id = OBJECT_ID('t')"), "1\n");
    box.Text(u"GRANT SELECT ON u TO mia");
    EXPECT_EQ(AsMia(tables), "t\nu\n");
    EXPECT_EQ(AsMia(keys), "fk\n");
    box.Text(u"DENY SELECT ON u TO mia");
    EXPECT_EQ(AsMia(tables), "t\n");
}

TEST_F(Permissions, DefinitionsAreHiddenFromReaders) {
    box.Text(u"CREATE VIEW v AS SELECT a FROM t");
    box.Text(u"GRANT SELECT TO mia");
    EXPECT_EQ(AsMia(u"SELECT definition FROM sys.sql_modules"), "NULL\n");
    EXPECT_EQ(box.Text(u"SELECT definition FROM sys.sql_modules"),
              "CREATE VIEW v AS SELECT a FROM t\n");
}

TEST_F(Permissions, ADatabaseIsOpenToItsUsers) {
    box.Text(u"CREATE DATABASE x");
    const std::string outside =
        "!916 The server principal \"mia\" is not able to access the database \"x\" under the "
        "current security context.\n";
    EXPECT_EQ(AsMia(u"USE x"), outside);
    EXPECT_EQ(AsMia(u"SELECT HAS_DBACCESS('w'), HAS_DBACCESS('x'), HAS_DBACCESS('none')"),
              "1|0|NULL\n");
    EXPECT_EQ(AsMia(u"SELECT * FROM x.dbo.t"), outside);
    try {
        Client(*box.backend, u"x", u"mia", u"m");
        FAIL() << "logged in";
    } catch (const LoginRefused& refused) {
        EXPECT_EQ(refused.message.number, 4060);
    }
    try {
        Client(*box.backend, u"w", u"mia", u"wrong");
        FAIL() << "logged in";
    } catch (const LoginRefused& refused) {
        EXPECT_EQ(refused.message.number, 18456);
    }
    EXPECT_EQ(AsMia(u"USE master SELECT USER_NAME(), SUSER_SNAME()"), "@master\nguest|mia\n");
}

TEST_F(Permissions, TheSessionTellsWhoItIs) {
    EXPECT_EQ(AsMia(u"SELECT USER_NAME(), SUSER_SNAME(), IS_SRVROLEMEMBER('sysadmin'),"
                    u" IS_MEMBER('public')"),
              "mia|mia|0|1\n");
    EXPECT_EQ(box.Text(u"SELECT USER_NAME(), IS_SRVROLEMEMBER('sysadmin')"), "dbo|1\n");
}

TEST_F(Permissions, LinkedServersNeedAMapping) {
    box.Text(u"EXEC sp_addlinkedserver 'far', '', 'SQLNCLI', 'TEST'");
    EXPECT_EQ(AsMia(u"SELECT * FROM far.w.dbo.t"),
              "!7416 Access to the remote server is denied because no login-mapping exists.\n");
}

TEST_F(Permissions, UsersNeedALogin) {
    EXPECT_EQ(box.Text(u"CREATE USER tom"),
              "!15007 'tom' is not a valid login or you do not have permission.\n");
    EXPECT_EQ(box.Text(u"CREATE LOGIN mia WITH PASSWORD = 'm'"),
              "!15025 The server principal 'mia' already exists.\n");
    EXPECT_EQ(box.Text(u"GRANT SELECT ON t TO tom"),
              "!15151 Cannot find the user 'tom', because it does not exist or you do not have "
              "permission.\n");
    EXPECT_EQ(box.Text(u"GRANT SELECT ON nothing TO mia"),
              "!15151 Cannot find the object 'nothing', because it does not exist or you do not "
              "have permission.\n");
}

TEST(OldPermissions, SayItInTheirWords) {
    Box box("8.00.2039");
    box.Text(u"CREATE TABLE t (a int) EXEC sp_addlogin 'mia', 'm' EXEC sp_grantdbaccess 'mia'");
    Client mia(*box.backend, u"w", u"mia", u"m");
    EXPECT_EQ(mia.Text(u"SELECT a FROM t"),
              "!229 SELECT permission denied on object 't', database 'w', owner 'dbo'.\n");
    EXPECT_EQ(mia.Text(u"SELECT name FROM sysobjects WHERE name = 't'"), "t\n");
    box.Text(u"GRANT SELECT ON t TO mia");
    EXPECT_EQ(mia.Text(u"SELECT COUNT(*) FROM t"), "0\n");
}

}  // namespace
}  // namespace sandbox::testing
