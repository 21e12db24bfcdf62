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
    // A second table with a key, which holds one row in database 1.
    void AddTableB() {
        const std::u16string table =
            u"CREATE TABLE b (id int NOT NULL CONSTRAINT PK_b PRIMARY KEY)\nGO\n";
        RunIn(u"one", table + u"INSERT b VALUES (1)");
        second.Run(u"USE two\nGO\n" + table);
        server.ClearLog();
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

TEST_F(LinkedServersTest, TheServerOfDatabase2LinksOnlyDatabase1) {
    ExpectCounts(*CompareOn(two));
    EXPECT_EQ(one->LinkedServer(), u"KARNOBE_1");
    EXPECT_EQ(two->LinkedServer(), u"");
    EXPECT_EQ(
        Told(second),
        Joined({{u"SELECT COUNT(*) FROM [dbo].[t]",
                 u"SELECT COUNT(*) FROM master..sysservers WHERE srvname='KARNOBE_1'"},
                Definition(u"KARNOBE_1", server.Address()),
                {u"SELECT COUNT(*) FROM (SELECT [id], [n] FROM [KARNOBE_1].[one].[dbo].[t] UNION "
                 u"SELECT [id], [n] FROM [two].[dbo].[t]) t1",
                 u"SELECT COUNT(*) FROM [KARNOBE_1].[one].[dbo].[t] T1 INNER JOIN "
                 u"[two].[dbo].[t] T2 ON T1.[id]=T2.[id]  WHERE (T1.[n]<>T2.[n]) OR (T1.[n] IS "
                 u"NULL AND T2.[n] IS NOT NULL) OR (T1.[n] IS NOT NULL AND T2.[n] IS NULL) "}}));
    EXPECT_EQ(Told(server), Texts{u"SELECT COUNT(*) FROM [dbo].[t]"});
}

TEST_F(LinkedServersTest, EveryTableWithAKeyDefinesTheLinkedServerAnew) {
    AddTableB();
    utils.CompareContents(one, two, one, TextArray({u"[dbo].[t]", u"[dbo].[b]"}), indexes, columns);
    const Texts definition = Definition(u"KARNOBE_2", second.Address());
    Texts definitions;
    for (const auto& batch : Told(server)) {
        if (batch.starts_with(u"sp_")) definitions.push_back(batch);
    }
    EXPECT_EQ(definitions,
              Joined({definition, {u"sp_dropserver 'KARNOBE_2', 'droplogins'"}, definition}));
}

TEST_F(LinkedServersTest, ADefinitionThatFailsLeavesTheNextTableAlone) {
    AddTableB();
    server.AddFault(ErrorIn(u"sp_serveroption"));
    utils.SuppressCompareProcessErrors(true);
    const auto results = utils.CompareContents(
        one, two, one, TextArray({u"[dbo].[t]", u"[dbo].[b]"}), indexes, columns);
    EXPECT_EQ(results->Item(1)->Error(),
              u"Error comparing [dbo].[t]\r\n[FreeTDS][SQL Server]made to fail");
    EXPECT_EQ(results->Item(2)->Error(), u"");
    EXPECT_EQ(results->Item(2)->RecordsInUnion(), 1);
    EXPECT_EQ(processErrors.size(), 1U);
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

TEST_F(LinkedServersTest, UserAndPasswordAreWrittenAsTheyAre) {
    const auto connection = std::make_shared<Connection>();
    connection->Open(u"driver={SQL Server};server=" + server.Address() +
                     u";database=one;uid=sa;pwd=sandbox");
    two->Username(u"O'Brien");
    two->Password(u"it''s 'quoted'");
    Recordset probe;
    server.ClearLog();
    RaisedBy([&] { DefineLinkedServer(*two, *one, LinkedServerOfDatabase2, connection, probe); });
    EXPECT_EQ(Batches(server).back(),
              u"sp_addlinkedsrvlogin 'KARNOBE_2','false',NULL,'O'Brien','it''s 'quoted''");
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

// Every database has a server of its own here, so that the text tells which one is meant.
TEST_F(LinkedServersTest, ALoginThatIsRefusedNamesTheServerOfItsDatabase) {
    const std::u16string cause =
        u"\r\n[FreeTDS][SQL Server]Login failed for user 'sa'.\r\n"
        u"[FreeTDS][SQL Server]Unable to connect to data source";
    two->Password(u"wrong");
    RaisedBy([&] { CompareOn(three); });
    EXPECT_EQ(utils.LastError(),
              u"Error comparing databases one And two\r\nError connecting to server " +
                  second.Address() + cause + u" (0)");
    EXPECT_EQ(statuses, (std::vector<StatusEvent>{{u"Connecting to the one", 0},
                                                  {u"Connecting to the two", 0}}));

    two->Password(u"sandbox");
    three->Password(u"wrong");
    statuses.clear();
    RaisedBy([&] { CompareOn(three); });
    EXPECT_EQ(utils.LastError(),
              u"Error comparing databases one And two\r\nError connecting to server " +
                  third.Address() + cause + cause + u" (0)");
    EXPECT_EQ(statuses, (std::vector<StatusEvent>{{u"Connecting to the one", 0},
                                                  {u"Connecting to the two", 0},
                                                  {u"Connecting to the three", 0}}));
}

TEST_F(LinkedServersTest, AQueryThatCannotReachTheLinkedServerFailsTheTable) {
    sandbox::Fault fault = ErrorIn(u" UNION ");
    fault.message.number = 7399;
    fault.message.text = u"OLE DB provider 'SQLOLEDB' reported an error.";
    server.AddFault(fault);
    const auto raised = RaisedBy([&] { CompareOn(one); });
    EXPECT_EQ(raised.description,
              u"Error comparing databases one And two\r\n\r\n"
              u"Error comparing [dbo].[t]\r\n"
              u"[FreeTDS][SQL Server]OLE DB provider 'SQLOLEDB' reported an error.\r\n"
              u"[FreeTDS][SQL Server]OLE DB provider 'SQLOLEDB' reported an error. (0)");
    ExpectCounts(*CompareOn(one));
}

}  // namespace
}  // namespace QuillonLib
