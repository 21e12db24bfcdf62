// Databases on several servers.
#include <gtest/gtest.h>

#include "ComparisonFixture.h"
#include "compare/LinkedServers.h"

namespace QuillonLib {
namespace {

class LinkedServersTest : public ComparisonFixture {
  protected:
    LinkedServersTest() : second(box.AddServer({u"SECOND"})), third(box.AddServer({u"THIRD"})) {
        const std::u16string table =
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n nvarchar(10) "
            u"NULL)\nGO\n";
        RunIn(u"one", table + u"INSERT t VALUES (1,N'x'),(2,N'y'),(3,N'z')");
        second.Run(u"CREATE DATABASE two\nGO\nUSE two\nGO\n" + table +
                   u"INSERT t VALUES (1,N'x'),(2,N'changed'),(4,N'w'),(5,N'v')");
        third.Run(u"CREATE DATABASE three");
        two = MakeDatabase(second, u"two");
        three = MakeDatabase(third, u"three");
        for (sandbox::Server* each : {&server, &second, &third})
            each->ClearLog();
    }

    std::shared_ptr<TableDifference> CompareOn(const std::shared_ptr<Database>& obDB3) {
        return utils.CompareContents(one, two, obDB3, TextArray({u"[dbo].[t]"}), indexes, columns)
            ->Item(1);
    }
    static void ExpectCounts(const TableDifference& result) {
        EXPECT_EQ(result.RecordsIn1(), 3);
        EXPECT_EQ(result.RecordsIn2(), 4);
        EXPECT_EQ(result.RecordsInUnion(), 6);
        EXPECT_EQ(result.RecordsDiffering(), 1);
    }
    Texts Definition(const std::u16string& name, const std::u16string& address) {
        return {u"sp_addlinkedserver '" + name + u"','" + address + u"', 'SQLOLEDB', '" + address +
                    u"'",
                u"sp_serveroption '" + name + u"', 'data access','true'",
                u"sp_addlinkedsrvlogin '" + name + u"','false',NULL,'sa','sandbox'"};
    }
    static Texts Joined(std::initializer_list<Texts> lists) {
        Texts all;
        for (const Texts& list : lists)
            all.insert(all.end(), list.begin(), list.end());
        return all;
    }

    sandbox::Server& second;
    sandbox::Server& third;
    std::shared_ptr<Database> three;
};

TEST_F(LinkedServersTest, OnlyTheDatabaseOnAnotherServerIsLinked) {
    ExpectCounts(*CompareOn(one));
    EXPECT_EQ(one->LinkedServer(), u"");
    EXPECT_EQ(two->LinkedServer(), u"KARNOBE_2");
    EXPECT_EQ(
        Told(server),
        Joined({{u"SELECT COUNT(*) FROM [dbo].[t]",
                 u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='KARNOBE_2'"},
                Definition(u"KARNOBE_2", second.Address()),
                {u"SELECT COUNT(*) FROM (SELECT [id], [n] FROM [one].[dbo].[t] UNION SELECT [id], "
                 u"[n] FROM [KARNOBE_2].[two].[dbo].[t]) t1",
                 u"SELECT COUNT(*) FROM [one].[dbo].[t] T1 INNER JOIN [KARNOBE_2].[two].[dbo].[t] "
                 u"T2 ON T1.[id]=T2.[id]  WHERE (T1.[n]<>T2.[n]) OR (T1.[n] IS NULL AND T2.[n] IS "
                 u"NOT NULL) OR (T1.[n] IS NOT NULL AND T2.[n] IS NULL) "}}));
    EXPECT_EQ(Told(second), Texts{u"SELECT COUNT(*) FROM [dbo].[t]"});
}

TEST_F(LinkedServersTest, AThirdServerLinksBothDatabase2First) {
    ExpectCounts(*CompareOn(three));
    EXPECT_EQ(one->LinkedServer(), u"KARNOBE_1");
    EXPECT_EQ(two->LinkedServer(), u"KARNOBE_2");
    EXPECT_EQ(
        Told(third),
        Joined({{u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='KARNOBE_2'"},
                Definition(u"KARNOBE_2", second.Address()),
                {u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='KARNOBE_1'"},
                Definition(u"KARNOBE_1", server.Address()),
                {u"SELECT COUNT(*) FROM (SELECT [id], [n] FROM [KARNOBE_1].[one].[dbo].[t] UNION "
                 u"SELECT [id], [n] FROM [KARNOBE_2].[two].[dbo].[t]) t1",
                 u"SELECT COUNT(*) FROM [KARNOBE_1].[one].[dbo].[t] T1 INNER JOIN "
                 u"[KARNOBE_2].[two].[dbo].[t] T2 ON T1.[id]=T2.[id]  WHERE (T1.[n]<>T2.[n]) OR "
                 u"(T1.[n] IS NULL AND T2.[n] IS NOT NULL) OR (T1.[n] IS NOT NULL AND T2.[n] IS "
                 u"NULL) "}}));
}

TEST_F(LinkedServersTest, AnExistingLinkedServerIsDroppedAndDefinedAnew) {
    CompareOn(one);
    server.ClearLog();
    ExpectCounts(*CompareOn(one));
    const Texts told = Told(server);
    ASSERT_GT(told.size(), 3U);
    EXPECT_EQ(told[1], u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='KARNOBE_2'");
    EXPECT_EQ(told[2], u"sp_dropserver 'KARNOBE_2', 'droplogins'");
    EXPECT_EQ(told[3], Definition(u"KARNOBE_2", second.Address())[0]);
    // and it stays after the comparison
    EXPECT_EQ(server.Scalar(u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='KARNOBE_2'"),
              u"1");
}

TEST_F(LinkedServersTest, ATableWithoutAKeyNeedsNoLinkedServer) {
    RunIn(u"one", u"CREATE TABLE k (a int)");
    second.Run(u"USE two\nGO\nCREATE TABLE k (a int)");
    server.ClearLog();
    utils.CompareContents(one, two, one, TextArray({u"[dbo].[k]"}), indexes, columns);
    EXPECT_EQ(Told(server), Texts{u"SELECT COUNT(*) FROM [dbo].[k]"});
    EXPECT_EQ(two->LinkedServer(), u"");
}

TEST_F(LinkedServersTest, IntegratedLoginsAreMappedAsTheyAre) {
    Connection connection;
    const auto shared = std::make_shared<Connection>();
    shared->Open(u"driver={SQL Server};server=" + server.Address() +
                 u";database=one;uid=sa;pwd=sandbox");
    two->NTSecurity(true);
    Recordset probe;
    server.ClearLog();
    DefineLinkedServer(*two, *one, LinkedServerOfDatabase2, shared, probe);
    EXPECT_EQ(Batches(server).back(), u"sp_addlinkedsrvlogin 'KARNOBE_2','true'");
    EXPECT_FALSE(probe.IsOpen());
}

TEST_F(LinkedServersTest, ServersAreTheSameInAnyCase) {
    Database a;
    Database b;
    a.Server(u"Stra\u00dfe,1433");
    b.Server(u"STRA\u00dfE,1433");
    a.DatabaseName(u"db]1");
    a.LinkedServer(u"KARNOBE_1");
    EXPECT_TRUE(IsOnServerOf(a, b));
    EXPECT_EQ(QualifiedName(a, b, u"[dbo].[t]"), u"[db]1].[dbo].[t]");
    b.Server(u"other");
    EXPECT_FALSE(IsOnServerOf(a, b));
    EXPECT_EQ(QualifiedName(a, b, u"[dbo].[t]"), u"[KARNOBE_1].[db]1].[dbo].[t]");
}

TEST_F(LinkedServersTest, ADatabaseOnTheServerKeepsItsLinkedServerAndIsNamedWithout) {
    one->LinkedServer(u"left over");
    CompareOn(one);
    EXPECT_EQ(one->LinkedServer(), u"left over");
    EXPECT_NE(Told(server).back().find(u"FROM [one].[dbo].[t] T1"), std::u16string::npos);
}

TEST_F(LinkedServersTest, ALinkedServerThatCannotBeReachedFailsTheTable) {
    second.AddFault(ErrorIn(u"nothing", 1));
    server.AddFault(ErrorIn(u"sp_serveroption"));
    const auto raised = RaisedBy([&] { CompareOn(one); });
    EXPECT_NE(raised.description.find(u"Error comparing [dbo].[t]\r\n"), std::u16string::npos);
    EXPECT_NE(raised.description.find(u"made to fail"), std::u16string::npos);
    server.ClearFaults();
    ExpectCounts(*CompareOn(one));
}

}  // namespace
}  // namespace QuillonLib
