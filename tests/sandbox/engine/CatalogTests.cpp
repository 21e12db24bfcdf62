// The system tables and catalog views of both generations.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

void Fill(Box& box) {
    box.Text(
        u"CREATE TABLE parent (id int NOT NULL CONSTRAINT PK_parent PRIMARY KEY, name "
        u"nvarchar(30), price "
        u"money)");
    box.Text(
        u"CREATE TABLE child (id int IDENTITY NOT NULL, pid int NOT NULL CONSTRAINT FK_child "
        u"REFERENCES "
        u"parent (id), note text, twice AS id * 2, CONSTRAINT UQ_child UNIQUE (pid, id))");
    box.Text(u"CREATE INDEX IX_note ON parent (price DESC, name)");
    box.Text(u"CREATE VIEW v AS SELECT id, name FROM parent");
    box.Text(u"CREATE VIEW vv AS SELECT v.id FROM v JOIN child ON child.pid = v.id");
    box.Text(u"CREATE PROCEDURE p AS SELECT 1");
}

constexpr const char16_t* kDependencies =
    u"SELECT DISTINCT '[' + u.name + '].[' + o.name + ']' AS Name, \r\n"
    u"Type = CASE WHEN objectproperty (o.id, 'IsUserTable')=1 THEN 1 \r\n"
    u"WHEN objectproperty (o.id, 'IsView')=1 THEN 2 \r\n"
    u"ELSE 0 END, '[' + u1.name + '].[' + o1.name + ']' AS DepName, \r\n"
    u"DepType = CASE WHEN objectproperty (o.id, 'IsUserTable')=1 THEN 1 \r\n"
    u"WHEN objectproperty (o1.id, 'IsView')=1 THEN 2 \r\n"
    u"ELSE 0 END \r\n"
    u"FROM sysdepends d \r\n"
    u"INNER JOIN sysobjects o ON d.id=o.id \r\n"
    u"INNER JOIN sysusers u ON o.uid=u.uid \r\n"
    u"INNER JOIN sysobjects o1 ON d.depid=o1.id \r\n"
    u"INNER JOIN sysusers u1 ON o1.uid=u1.uid \r\n"
    u"WHERE (OBJECTPROPERTY (o.id, 'IsUserTable')=1 \r\n"
    u"OR OBJECTPROPERTY (o.id, 'IsView')=1) \r\n"
    u"AND (OBJECTPROPERTY (o1.id, 'IsUserTable')=1 \r\n"
    u"OR OBJECTPROPERTY (o1.id, 'IsView')=1) \r\n"
    u"AND OBJECTPROPERTY (o.id, 'IsMSShipped')=0 AND OBJECTPROPERTY (o1.id, 'IsMSShipped')=0";

class LegacyCatalog : public ::testing::TestWithParam<const char*> {
  protected:
    LegacyCatalog() : box(GetParam()) { Fill(box); }
    Box box;
};

TEST_P(LegacyCatalog, ListsObjects) {
    EXPECT_EQ(
        box.Text(
            u"SELECT u.name, o.name, o.xtype FROM sysobjects o JOIN sysusers u ON u.uid=o.uid "
            u"WHERE "
            u"o.xtype IN ('U','V','P') AND OBJECTPROPERTY(o.id, 'IsMSShipped')=0 ORDER BY o.name"),
        "dbo|child|U \ndbo|p|P \ndbo|parent|U \ndbo|v|V \ndbo|vv|V \n");
    EXPECT_EQ(
        box.Text(
            u"SELECT name, xtype FROM dbo.sysobjects WHERE parent_obj=OBJECT_ID('child') ORDER BY "
            u"name"),
        "FK_child|F \nUQ_child|UQ\n");
    EXPECT_EQ(box.Text(u"SELECT OBJECTPROPERTY(id,'IsMSShipped'), xtype FROM sysobjects WHERE "
                       u"name='sysobjects'"),
              "1|S \n");
    EXPECT_EQ(box.Text(u"USE master SELECT COUNT(*) FROM w..sysobjects WHERE name='child' SELECT "
                       u"COUNT(*) FROM "
                       u"w.dbo.sysobjects WHERE name='child'"),
              "@master\n1\n1\n");
}

TEST_P(LegacyCatalog, ListsColumns) {
    EXPECT_EQ(
        box.Text(
            u"SELECT c.name, t.name, c.length, c.isnullable, c.iscomputed, c.status & 0x80 FROM "
            u"syscolumns c JOIN systypes t ON t.xusertype=c.xusertype WHERE "
            u"c.id=OBJECT_ID('child') ORDER BY c.colid"),
        "id|int|4|0|0|128\npid|int|4|0|0|0\nnote|text|16|1|0|0\ntwice|int|4|0|1|0\n");
    EXPECT_EQ(box.Text(u"SELECT name, prec FROM syscolumns WHERE id=OBJECT_ID('v') ORDER BY colid"),
              "id|10\nname|30\n");
}

TEST_P(LegacyCatalog, ListsIndexes) {
    // 2 unique, 16 clustered, 2048 primary key, 4096 unique constraint; 0 a heap
    EXPECT_EQ(
        box.Text(
            u"SELECT o.name, i.name, i.indid, i.status, i.keycnt FROM sysindexes i JOIN sysobjects "
            u"o ON o.id=i.id WHERE o.name IN ('parent','child') ORDER BY o.name, i.indid"),
        "child|child|0|0|0\nchild|UQ_child|2|4098|2\n"
        "parent|PK_parent|1|2066|1\nparent|IX_note|2|0|2\n");
    EXPECT_EQ(box.Text(u"SELECT k.indid, k.keyno, c.name FROM sysindexkeys k JOIN syscolumns c ON "
                       u"c.id=k.id AND "
                       u"c.colid=k.colid WHERE k.id=OBJECT_ID('parent') ORDER BY 1, 2"),
              "1|1|id\n2|1|price\n2|2|name\n");
    EXPECT_EQ(
        box.Text(u"SELECT INDEX_COL('parent',2,1), INDEXKEY_PROPERTY(OBJECT_ID('parent'),2,1,"
                 u"'IsDescending'), INDEXPROPERTY(OBJECT_ID('parent'),'PK_parent','IsClustered')"),
        "price|1|1\n");
}

TEST_P(LegacyCatalog, KnowsDependencies) {
    EXPECT_EQ(
        box.Text(
            u"SELECT '[' + u.name + '].[' + o.name + ']' AS Name, 'T' AS Type, '[' + u1.name + "
            u"'].[' + o1.name + ']' AS DepName, 'T' AS DepType \r\nFROM sysreferences r \r\nINNER "
            u"JOIN sysobjects o ON r.fkeyid = o.id \r\nINNER JOIN sysusers u ON o.uid = u.uid "
            u"\r\nINNER JOIN sysobjects o1 ON r.rkeyid = o1.id \r\nINNER JOIN sysusers u1 ON "
            u"o1.uid "
            u"= u1.uid"),
        "[dbo].[child]|T|[dbo].[parent]|T\n");
    const Result r = box.Run(kDependencies);
    EXPECT_EQ(r.rows, 3);
    EXPECT_EQ(r.columns.at(1).name, u"Type");
    for (const char* row : {"[dbo].[v]|2|[dbo].[parent]|0\n", "[dbo].[vv]|2|[dbo].[v]|2\n",
                            "[dbo].[vv]|2|[dbo].[child]|0\n"}) {
        EXPECT_NE(r.text.find(row), std::string::npos) << r.text;
    }
}

TEST_P(LegacyCatalog, ListsDatabasesAndServers) {
    EXPECT_EQ(box.Text(u"SELECT name FROM master..sysdatabases WHERE dbid > 4"), "w\n");
    EXPECT_EQ(box.Text(u"SELECT srvname FROM master..sysservers"), "SANDBOX\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM dbo.sysdatabases"),
              "!208 Invalid object name 'dbo.sysdatabases'.\n");
}

TEST(SqlServer7, KnowsNoCollations) {
    Box box("7.00.623");
    EXPECT_EQ(box.Text(u"SELECT collation FROM syscolumns"),
              "!207 Invalid column name 'collation'.\n");
    EXPECT_EQ(box.Text(u"SELECT COLLATIONPROPERTY('Czech_CI_AS', 'CodePage')"),
              "!195 'COLLATIONPROPERTY' is not a recognized function name.\n");
}

INSTANTIATE_TEST_SUITE_P(Versions, LegacyCatalog, ::testing::Values("8.00.2039", "10.50.6000"));

TEST(OldServers, KnowNoModernCatalog) {
    Box box("8.00.2039");
    EXPECT_EQ(box.Text(u"SELECT * FROM sys.objects"), "!208 Invalid object name 'sys.objects'.\n");
    EXPECT_EQ(box.Text(u"SELECT * FROM w.sys.tables"),
              "!208 Invalid object name 'w.sys.tables'.\n");
    // Types and errors of that age.
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE t (a date)"), 2715);
    EXPECT_EQ(box.Text(u"SELECT @x"), "!137 Must declare the variable '@x'.\n");
    EXPECT_EQ(box.Text(u"SELECT cmptlevel FROM master..sysdatabases WHERE name='w'"), "80\n");
    EXPECT_EQ(box.Text(u"SELECT xtype, OBJECTPROPERTY(id,'IsMSShipped') FROM sysobjects WHERE "
                       u"name='dtproperties'"),
              "U |1\n");
    EXPECT_EQ(box.Text(u"EXEC sp_addlogin 'bob' EXEC sp_adduser 'bob' EXEC('CREATE TABLE bob.t (a "
                       u"int)') SELECT u.name FROM "
                       u"sysobjects o JOIN sysusers u ON u.uid=o.uid WHERE o.name='t'"),
              "bob\n");
}

class ModernViews : public ::testing::Test {
  protected:
    ModernViews() { Fill(box); }
    Box box;
};

TEST_F(ModernViews, Objects) {
    EXPECT_EQ(box.Text(u"SELECT s.name, t.name FROM sys.tables t JOIN sys.schemas s ON "
                       u"s.schema_id=t.schema_id "
                       u"ORDER BY t.name"),
              "dbo|child\ndbo|parent\n");
    EXPECT_EQ(box.Text(u"SELECT name, type, type_desc FROM sys.objects WHERE is_ms_shipped=0 AND "
                       u"parent_object_id=0 ORDER BY name"),
              "child|U |USER_TABLE\np|P |SQL_STORED_PROCEDURE\nparent|U |USER_TABLE\nv|V "
              "|VIEW\nvv|V |VIEW\n");
    EXPECT_EQ(box.Text(u"USE master SELECT COUNT(*) FROM w.sys.views"), "@master\n2\n");
}

TEST_F(ModernViews, Columns) {
    EXPECT_EQ(box.Text(u"SELECT c.name, c.column_id, t.name, c.max_length, c.precision, c.scale, "
                       u"c.is_nullable, "
                       u"c.is_identity, c.is_computed FROM sys.columns c JOIN sys.types t ON "
                       u"t.user_type_id=c.user_type_id WHERE c.object_id IN (OBJECT_ID('parent'), "
                       u"OBJECT_ID('child')) ORDER BY OBJECT_NAME(c.object_id), c.column_id"),
              "id|1|int|4|10|0|0|1|0\npid|2|int|4|10|0|0|0|0\nnote|3|text|16|0|0|1|0|0\n"
              "twice|4|int|4|10|0|0|0|1\nid|1|int|4|10|0|0|0|0\nname|2|nvarchar|60|0|0|1|0|0\n"
              "price|3|money|8|19|4|1|0|0\n");
}

TEST_F(ModernViews, Indexes) {
    EXPECT_EQ(box.Text(u"SELECT i.name, i.index_id, i.type, i.is_unique, i.is_primary_key, "
                       u"i.is_unique_constraint FROM sys.indexes i JOIN sys.tables t ON "
                       u"t.object_id=i.object_id ORDER BY t.name, i.index_id"),
              "NULL|0|0|0|0|0\nUQ_child|2|2|1|0|1\nPK_parent|1|1|1|1|0\nIX_note|2|2|0|0|0\n");
    EXPECT_EQ(
        box.Text(u"SELECT index_id, index_column_id, key_ordinal, column_id, is_descending_key, "
                 u"is_included_column FROM sys.index_columns WHERE object_id=OBJECT_ID('parent') "
                 u"ORDER BY "
                 u"1, 2"),
        "1|1|1|1|0|0\n2|1|1|3|1|0\n2|2|2|2|0|0\n");
    EXPECT_EQ(box.Text(u"SELECT name, type FROM sys.key_constraints ORDER BY name"),
              "PK_parent|PK\nUQ_child|UQ\n");
}

TEST_F(ModernViews, ARowThatAnOuterJoinMakesUpIsNullInAllColumns) {
    EXPECT_EQ(box.Text(u"SELECT s.name, o.type_desc, o.is_published, o.name FROM sys.schemas s "
                       u"LEFT JOIN sys.objects o ON o.schema_id = s.schema_id AND o.name = 'v' "
                       u"WHERE s.name IN ('dbo', 'guest') ORDER BY s.name"),
              "dbo|VIEW|0|v\nguest|NULL|NULL|NULL\n");
    EXPECT_EQ(box.Text(u"SELECT o.is_published, s.name FROM sys.objects o RIGHT JOIN sys.schemas s "
                       u"ON o.schema_id = s.schema_id AND o.name = 'v' WHERE s.name = 'guest'"),
              "NULL|guest\n");
}

TEST_F(ModernViews, ATableIsAHeapAgainWithoutItsClusteredIndex) {
    const auto indexes = [&] {
        return box.Text(
            u"SELECT index_id, type_desc, name FROM sys.indexes WHERE object_id = "
            u"OBJECT_ID('heap') ORDER BY index_id");
    };
    box.Text(u"CREATE TABLE heap (a int)");
    EXPECT_EQ(indexes(), "0|HEAP|NULL\n");
    box.Text(u"CREATE CLUSTERED INDEX cx ON heap (a)");
    EXPECT_EQ(indexes(), "1|CLUSTERED|cx\n");
    box.Text(u"DROP INDEX cx ON heap");
    EXPECT_EQ(indexes(), "0|HEAP|NULL\n");
}

TEST(Collations, AreThoseOfTheirColumns) {
    Box box("15.0.2000");
    box.Text(
        u"CREATE TABLE t (a varchar(9), b nchar(9) COLLATE czech_cs_as, c int, d text COLLATE "
        u"DATABASE_DEFAULT, e varchar(9) COLLATE latin1_general_100_ci_as_sc_utf8)");
    EXPECT_EQ(box.Text(u"SELECT name, collation_name FROM sys.columns WHERE object_id = "
                       u"OBJECT_ID('t') ORDER BY column_id"),
              "a|SQL_Latin1_General_CP1_CI_AS\nb|Czech_CS_AS\nc|NULL\n"
              "d|SQL_Latin1_General_CP1_CI_AS\ne|Latin1_General_100_CI_AS_SC_UTF8\n");
    box.Text(u"ALTER TABLE t ALTER COLUMN a varchar(9) COLLATE Thai_BIN");
    EXPECT_EQ(box.Text(u"SELECT collation FROM syscolumns WHERE id = OBJECT_ID('t') AND "
                       u"name = 'a'"),
              "Thai_BIN\n");
}

TEST(Collations, OfUnknownNamesAreRefused) {
    Box box;
    const auto create = [&](std::u16string_view column) {
        return box.Text(u"CREATE TABLE t (a " + std::u16string(column) + u")");
    };
    EXPECT_EQ(create(u"varchar(9) COLLATE Nosuch_CI_AS"),
              "!448 Invalid collation 'Nosuch_CI_AS'.\n");
    EXPECT_EQ(create(u"varchar(9) COLLATE Czech_CI"), "!448 Invalid collation 'Czech_CI'.\n");
    // Of later versions than this server's.
    EXPECT_EQ(create(u"varchar(9) COLLATE Latin1_General_100_BIN2_UTF8"),
              "!448 Invalid collation 'Latin1_General_100_BIN2_UTF8'.\n");
    EXPECT_EQ(create(u"int COLLATE Czech_CI_AS"),
              "!447 Expression type int is invalid for COLLATE clause.\n");
    EXPECT_EQ(create(u"varchar(9) COLLATE Indic_General_90_CI_AS"),
              "!459 Collation 'Indic_General_90_CI_AS' is supported on Unicode data types only and "
              "cannot be applied to char, varchar or text data types.\n");
}

TEST(Collations, HaveProperties) {
    Box box("15.0.2000");
    const auto of = [&](std::u16string_view name) {
        std::u16string sql;
        for (const auto property : {u"CodePage", u"LCID", u"ComparisonStyle", u"Version"}) {
            sql += (sql.empty() ? u"SELECT " : u", ") +
                   std::u16string(u"CAST(COLLATIONPROPERTY('") + std::u16string(name) + u"', '" +
                   property + u"') AS int)";
        }
        return box.Text(sql);
    };
    EXPECT_EQ(of(u"SQL_Latin1_General_CP1_CI_AS"), "1252|1033|196609|0\n");
    EXPECT_EQ(of(u"Latin1_General_CS_AS_KS_WS"), "1252|1033|0|0\n");
    EXPECT_EQ(of(u"Japanese_90_BIN2"), "932|1041|0|1\n");
    EXPECT_EQ(of(u"Chinese_PRC_Stroke_CI_AS"), "936|133124|196609|0\n");
    EXPECT_EQ(of(u"Latin1_General_100_CI_AS_SC_UTF8"), "65001|1033|196609|2\n");
    EXPECT_EQ(of(u"nosuch"), "NULL|NULL|NULL|NULL\n");
}

TEST_F(ModernViews, ForeignKeys) {
    EXPECT_EQ(
        box.Text(
            u"SELECT f.name, OBJECT_NAME(f.parent_object_id), OBJECT_NAME(f.referenced_object_id), "
            u"k.parent_column_id, k.referenced_column_id, f.is_disabled FROM sys.foreign_keys f "
            u"JOIN "
            u"sys.foreign_key_columns k ON k.constraint_object_id=f.object_id"),
        "FK_child|child|parent|2|1|0\n");
}

TEST_F(ModernViews, Rest) {
    EXPECT_EQ(
        box.Text(
            u"SELECT name, state, compatibility_level FROM sys.databases WHERE database_id > 4"),
        "w|0|100\n");
    EXPECT_EQ(box.Text(u"SELECT TABLE_NAME, TABLE_TYPE FROM INFORMATION_SCHEMA.TABLES ORDER BY 1"),
              "child|BASE TABLE\nparent|BASE TABLE\nv|VIEW\nvv|VIEW\n");
    EXPECT_EQ(box.Text(u"SELECT COLUMN_NAME, DATA_TYPE, CHARACTER_MAXIMUM_LENGTH FROM "
                       u"INFORMATION_SCHEMA.COLUMNS WHERE TABLE_NAME='parent'"),
              "id|int|NULL\nname|nvarchar|30\nprice|money|NULL\n");
    EXPECT_EQ(box.Text(u"SELECT definition FROM sys.sql_modules WHERE object_id=OBJECT_ID('v')"),
              "CREATE VIEW v AS SELECT id, name FROM parent\n");
}

TEST(Login, ChecksUserAndDatabase) {
    EngineHost host;
    const auto backend = host.AddServer({});
    LoginRequest request;
    request.user = u"sa";
    request.password = u"wrong";
    try {
        backend->Login(request);
        FAIL();
    } catch (const LoginRefused& e) {
        EXPECT_EQ(e.message.number, 18456);
        EXPECT_EQ(Utf8(e.message.text), "Login failed for user 'sa'.");
    }
    request.password = u"sandbox";
    request.database = u"nosuch";
    try {
        backend->Login(request);
        FAIL();
    } catch (const LoginRefused& e) {
        EXPECT_EQ(e.message.number, 4060);
    }
    request.integrated = true;
    request.database = u"";
    EXPECT_EQ(Utf8(backend->Login(request)->Database()), "master");
    EXPECT_THROW(host.AddServer({}), std::invalid_argument);
}

TEST(Catalog, HasNoSparseColumns) {
    Box box;
    box.Run(u"CREATE TABLE t (id int, x xml)");
    EXPECT_EQ(box.Text(u"SELECT name, is_sparse, is_column_set FROM sys.columns WHERE object_id ="
                       u" OBJECT_ID('t') ORDER BY column_id"),
              "id|0|0\nx|0|0\n");
    // they came with SQL Server 2008
    Box older("9.00.5000");
    EXPECT_EQ(older.ErrorOf(u"SELECT is_sparse FROM sys.columns"), 207);
    EXPECT_EQ(older.ErrorOf(u"SELECT is_column_set FROM sys.columns"), 207);
}

}  // namespace
}  // namespace sandbox::testing
