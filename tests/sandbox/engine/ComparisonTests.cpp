// The workload of a data comparison: counts, unions, joins, differences between two databases.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

class Comparison : public ::testing::Test {
  protected:
    Comparison() {
        box.Text(u"CREATE DATABASE db1");
        box.Text(u"CREATE DATABASE db2");
        for (const char16_t* database : {u"db1", u"db2"}) {
            box.Text(u"USE " + std::u16string(database));
            box.Text(u"CREATE TABLE t (k int NOT NULL PRIMARY KEY, a nvarchar(20) NULL, b money)");
        }
        box.Text(u"INSERT db1..t VALUES (1,N'one',1),(2,N'two',2),(3,NULL,3),(4,N'four',4)");
        box.Text(u"INSERT db2..t VALUES (1,N'ONE ',1),(2,N'zwei',2),(3,N'x',3),(5,N'five',5)");
        box.Text(u"USE db1");
    }

    Box box;
};

TEST_F(Comparison, CountsRows) {
    const Result r = box.Run(u"SELECT COUNT(*) FROM [dbo].[t]");
    EXPECT_EQ(r.text, "4\n");
    EXPECT_EQ(r.columns.at(0).type.id, TypeId::Int);
    EXPECT_EQ(r.columns.at(0).name, u"");
}

TEST_F(Comparison, UnionCountsEqualRowsOnce) {
    // 1 is equal but for case and trailing blanks; 2, 3 differ; 4, 5 are alone.
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM (SELECT [k], [a], [b] FROM [db1].[dbo].[t] UNION "
                       u"SELECT [k], [a], [b] FROM [db2].[dbo].[t]) t1"),
              "7\n");
}

TEST_F(Comparison, UnionTreatsNullsAsEqual) {
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM (SELECT a FROM t WHERE k=3 UNION SELECT NULL UNION "
                       u"SELECT a FROM t WHERE k=3) q"),
              "1\n");
}

TEST_F(Comparison, DifferencePredicateFindsChangedRows) {
    EXPECT_EQ(
        box.Text(u"SELECT COUNT(*) FROM [db1].[dbo].[t] T1 INNER JOIN [db2].[dbo].[t] T2 ON "
                 u"T1.[k]=T2.[k]  WHERE (T1.[a]<>T2.[a]) OR (T1.[a] IS NULL AND T2.[a] IS "
                 u"NOT NULL) OR (T1.[a] IS NOT NULL AND T2.[a] IS NULL) OR (T1.[b]<>T2.[b]) "),
        "2\n");
}

TEST_F(Comparison, RowsOfOneSideOnly) {
    EXPECT_EQ(
        box.Text(u"SELECT TOP 50 T1.* FROM [db1].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
                 u"[db2].[dbo].[t] T2 WHERE T1.[k]=T2.[k] )"),
        "4|four|4.0000\n");
}

TEST_F(Comparison, PairsOfColumnsCarryTheirAliases) {
    const Result r = box.Run(
        u"SELECT T1.[a] AS [a_1], T2.[a] AS [a_2] FROM [db1].[dbo].[t] T1 INNER "
        u"JOIN [db2].[dbo].[t] T2 ON T1.[k]=T2.[k] WHERE T1.[k]=2");
    EXPECT_EQ(r.text, "two|zwei\n");
    EXPECT_EQ(r.columns.at(0).name, u"a_1");
    EXPECT_EQ(r.columns.at(1).name, u"a_2");
}

TEST_F(Comparison, WidePredicatesAreNotTooDeep) {
    std::u16string columns;
    std::u16string predicate;
    for (int i = 0; i < 300; ++i) {
        const std::string number = std::to_string(i);
        const std::u16string c = u"c" + std::u16string(number.begin(), number.end());
        columns += u", " + c + u" int";
        predicate += u"(T1." + c + u"<>T2." + c + u") OR (T1." + c + u" IS NULL AND T2." + c +
                     u" IS NOT NULL) OR (T1." + c + u" IS NOT NULL AND T2." + c + u" IS NULL) OR ";
    }
    predicate.resize(predicate.size() - 3);
    box.Text(u"CREATE TABLE wide (k int PRIMARY KEY" + columns + u")");
    box.Text(u"INSERT wide (k, c299) VALUES (1, 1)");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM wide T1 INNER JOIN wide T2 ON T1.k=T2.k WHERE " +
                       predicate),
              "0\n");
}

TEST_F(Comparison, EveryComparableTypeEqualsItself) {
    const std::u16string columns =
        u"k int PRIMARY KEY, a bit, b tinyint, c bigint, d decimal(38,10), e money, f float, g "
        u"real, "
        u"h datetime, i smalldatetime, j date, l time, m datetime2, n datetimeoffset, o char(5), "
        u"p varchar(9), q nchar(5), r nvarchar(9), s binary(3), t varbinary(9), u "
        u"uniqueidentifier, "
        u"v sql_variant";
    const std::u16string values =
        u"1, 1, 2, 3, 4.5, 6, 7e0, 8e0, '20240101', '20240101', '20240101', '10:00', '20240101', "
        u"'2024-01-01 00:00:00 +01:00', 'a', 'b', N'c', N'd', 0x01, 0x02, "
        u"'6F9619FF-8B86-D011-B42D-00C04FC964FF', 5";
    for (const char16_t* database : {u"db1", u"db2"}) {
        box.Text(u"USE " + std::u16string(database));
        box.Text(u"CREATE TABLE all_types (" + columns + u")");
        ASSERT_EQ(box.Text(u"INSERT all_types VALUES (" + values + u")"), "#1\n");
    }
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM (SELECT * FROM db1..all_types UNION SELECT * FROM "
                       u"db2..all_types) q"),
              "1\n");
    for (const char16_t c : std::u16string(u"abcdefghijlmnopqrstuv")) {
        const std::u16string join =
            u"SELECT COUNT(*) FROM db1..all_types x JOIN db2..all_types y ON x." +
            std::u16string(1, c) + u"=y." + std::u16string(1, c);
        EXPECT_EQ(box.Text(join), "1\n") << static_cast<char>(c);
    }
}

TEST_F(Comparison, LongTypesCannotBeCompared) {
    box.Text(u"CREATE TABLE l (k int PRIMARY KEY, a text, b ntext, c image, d xml)");
    EXPECT_EQ(box.Text(u"SELECT 1 FROM l x JOIN l y ON x.a=y.a"),
              "!402 The data types text and text are incompatible in the equal to operator.\n");
    EXPECT_EQ(
        box.Text(u"SELECT 1 FROM l WHERE b<>b"),
        "!402 The data types ntext and ntext are incompatible in the not equal to operator.\n");
    EXPECT_EQ(box.Text(u"SELECT 1 FROM l WHERE d=d"),
              "!305 The XML data type cannot be compared or sorted, except when using the IS NULL "
              "operator.\n");
    EXPECT_EQ(
        box.Text(u"SELECT k FROM l ORDER BY c"),
        "!306 The text, ntext, and image data types cannot be compared or sorted, except when "
        "using IS NULL or LIKE operator.\n");
    EXPECT_EQ(box.Text(u"SELECT DISTINCT c FROM l"),
              "!421 The image data type cannot be selected as DISTINCT because it is not "
              "comparable.\n");
    EXPECT_EQ(
        box.Text(u"SELECT a FROM l UNION SELECT a FROM l"),
        "!5335 The data type text cannot be used as an operand to the UNION, INTERSECT or EXCEPT "
        "operators because it is not comparable.\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM l WHERE a IS NULL OR b LIKE N'x%'"), "0\n");
    EXPECT_EQ(box.Text(u"SELECT a FROM l UNION ALL SELECT a FROM l"), "");
}

TEST_F(Comparison, ShiftedKeysAreUpdatedAtOnce) {
    EXPECT_EQ(box.Text(u"UPDATE t SET k=k+1 SELECT k FROM t ORDER BY k"), "#4\n2\n3\n4\n5\n");
    EXPECT_EQ(box.Text(u"UPDATE t SET k=7-k SELECT k, b FROM t ORDER BY k"),
              "#4\n2|4.0000\n3|3.0000\n4|2.0000\n5|1.0000\n");
    EXPECT_EQ(box.ErrorOf(u"UPDATE t SET k=1"), 2627);
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t"), "4\n");
}

class Linked : public Comparison {
  protected:
    Linked() {
        EngineSettings settings;
        settings.name = u"FAR";
        settings.address = u"127.0.0.1,5000";
        settings.password = u"secret";
        far = box.host.AddServer(settings);
        LoginRequest request;
        request.user = u"sa";
        request.password = u"secret";
        session = far->Login(request);
        Execute(u"CREATE DATABASE db2");
        Execute(u"USE db2 CREATE TABLE t (k int NOT NULL PRIMARY KEY, a nvarchar(20) NULL)");
        Execute(u"INSERT t VALUES (1,N'one'),(9,N'nine')");
    }

    void Execute(std::u16string_view batch) {
        struct Silent : ResultSink {
            void Columns(const std::vector<ColumnInfo>&) override {}
            bool Row(const Cell*) override { return true; }
            void StatementDone(std::optional<std::int64_t>, bool, bool) override {}
            void Say(const Message& m) override { EXPECT_LE(m.severity, 10) << Utf8(m.text); }
            void DatabaseChanged(const std::u16string&, const std::u16string&) override {}
        } sink;
        const std::atomic<bool> cancelled{false};
        session->Execute(batch, sink, cancelled);
    }

    void Link() {
        box.Text(u"sp_addlinkedserver 'LINK', '127.0.0.1,5000', 'SQLOLEDB', '127.0.0.1,5000'");
        box.Text(u"sp_serveroption 'LINK', 'data access','true'");
        box.Text(u"sp_addlinkedsrvlogin 'LINK','false',NULL,'sa','secret'");
    }

    std::unique_ptr<Backend> far;
    std::unique_ptr<Session> session;
};

TEST_F(Linked, FourPartNamesReachTheOtherServer) {
    Link();
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='LINK'"), "1\n");
    EXPECT_EQ(
        box.Text(u"SELECT COUNT(*) FROM (SELECT [k], [a] FROM [db1].[dbo].[t] UNION SELECT [k], "
                 u"[a] FROM [LINK].[db2].[dbo].[t]) t1"),
        "5\n");
}

TEST_F(Linked, ServersComeAndGo) {
    EXPECT_EQ(
        box.Text(u"SELECT * FROM LINK.db2.dbo.t"),
        "!7202 Could not find server 'LINK' in sysservers. Execute sp_addlinkedserver to add the "
        "server to sysservers.\n");
    Link();
    EXPECT_EQ(box.Text(u"sp_addlinkedserver 'link', 'x', 'SQLOLEDB', 'x'"),
              "!15028 The server 'link' already exists.\n");
    EXPECT_EQ(box.Text(u"sp_dropserver 'LINK', 'droplogins'"), "");
    EXPECT_EQ(box.Text(u"sp_dropserver 'LINK', 'droplogins'"),
              "!15015 The server 'LINK' does not exist. Use sp_helpserver to show available "
              "servers.\n");
}

TEST_F(Linked, UnknownAddressesAndLoginsFailWhenUsed) {
    box.Text(u"sp_addlinkedserver 'LOST', 'nowhere', 'SQLOLEDB', 'nowhere'");
    EXPECT_EQ(
        box.Text(u"SELECT * FROM LOST.db2.dbo.t"),
        "!7399 The OLE DB provider \"SQLOLEDB\" for linked server \"LOST\" reported an error. The "
        "server was not found or is not accessible.\n");
    Link();
    box.Text(u"sp_addlinkedsrvlogin 'LINK','false',NULL,'sa','wrong'");
    EXPECT_EQ(box.Text(u"SELECT * FROM LINK.db2.dbo.t"), "!18456 Login failed for user 'sa'.\n");
    box.Text(u"sp_addlinkedsrvlogin 'LINK','false',NULL,'sa','secret'");
    box.Text(u"sp_serveroption 'LINK', 'data access', 'false'");
    EXPECT_EQ(box.Text(u"SELECT * FROM LINK.db2.dbo.t"),
              "!7411 Server 'LINK' is not configured for DATA ACCESS.\n");
}

}  // namespace
}  // namespace sandbox::testing
