// Scripts whose queries run on a third server, neither that of database 1 nor that of database 2.
#include <gtest/gtest.h>

#include "ScriptsFixture.h"

namespace QuillonLib {
namespace {

class ThirdDatabaseTest : public ScriptsFixture {
  protected:
    ThirdDatabaseTest() : second(box.AddServer({u"SECOND"})), third(box.AddServer({u"THIRD"})) {
        const std::u16string table =
            u"CREATE TABLE t (id int NOT NULL CONSTRAINT PK_t PRIMARY KEY, n int NULL)\nGO\n";
        RunIn(u"one", table + u"INSERT t VALUES (1,1),(2,2),(3,3)");
        second.Run(u"CREATE DATABASE two\nGO\nUSE two\nGO\n" + table +
                   u"INSERT t VALUES (1,1),(2,20),(4,4)");
        third.Run(u"CREATE DATABASE three");
        two = MakeDatabase(second, u"two");
        three = MakeDatabase(third, u"three");
        // Leaves the linked servers on the third server.
        results =
            utils.CompareContents(one, two, three, TextArray({u"[dbo].[t]"}), indexes, columns);
        for (sandbox::Server* each : {&server, &second, &third})
            each->ClearLog();
    }

    sandbox::Server& second;
    sandbox::Server& third;
    std::shared_ptr<Database> three;
    std::shared_ptr<TableDifferences> results;
};

constexpr const char16_t* Different =
    u"SELECT T1.[id] AS [id_1], T2.[id] AS [id_2], T1.[n] AS [n_1], T2.[n] AS [n_2] FROM "
    u"[KARNOBE_1].[one].[dbo].[t] T1 INNER JOIN [KARNOBE_2].[two].[dbo].[t] T2 ON "
    u"T1.[id]=T2.[id]  WHERE (T1.[n]<>T2.[n]) OR (T1.[n] IS NULL AND T2.[n] IS NOT NULL) OR "
    u"(T1.[n] IS NOT NULL AND T2.[n] IS NULL) ";
constexpr const char16_t* Equal =
    u"SELECT T1.* FROM [KARNOBE_1].[one].[dbo].[t] T1 INNER JOIN [KARNOBE_2].[two].[dbo].[t] T2 ON "
    u"T1.[id]=T2.[id]  WHERE  (T1.[n]=T2.[n] OR (T1.[n] IS NULL AND T2.[n] IS NULL)) ";
constexpr const char16_t* Right =
    u"SELECT T1.* FROM [KARNOBE_1].[one].[dbo].[t] T1 WHERE NOT EXISTS (SELECT * FROM "
    u"[KARNOBE_2].[two].[dbo].[t] T2 WHERE T1.[id]=T2.[id] )";
constexpr const char16_t* Left =
    u"SELECT T2.* FROM [KARNOBE_2].[two].[dbo].[t] T2 WHERE NOT EXISTS (SELECT * FROM "
    u"[KARNOBE_1].[one].[dbo].[t] T1 WHERE T1.[id]=T2.[id] )";

TEST_F(ThirdDatabaseTest, TheRowSetsOfATableAreReadOnItsServer) {
    TableOutputs outputs;
    utils.GetRecordsets(one, two, three, results->Item(1), outputs.equal, outputs.different,
                        outputs.right, outputs.left, outputs.sRight, outputs.sLeft, EverythingShown,
                        0);
    EXPECT_EQ(Batches(third), (Texts{Different, Equal, Right, Left}));
    EXPECT_EQ(Batches(server), Texts{});
    EXPECT_EQ(Batches(second), Texts{});
    EXPECT_EQ(CallsIn(outputs.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 4", u"EXEC prcTmp_QVX_Update 2, 2",
                     u"EXEC prcTmp_QVX_Insert 3, 3"}));
    EXPECT_EQ(CallsIn(outputs.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Update 2, 20",
                     u"EXEC prcTmp_QVX_Insert 4, 4"}));
    EXPECT_EQ(ConnectionsLeft(third), 0);
}

TEST_F(ThirdDatabaseTest, TheRowsOfAWholeComparisonAreReadOnItsServer) {
    Scripts scripts;
    utils.GetUpdateScripts(one, two, three, results, scripts.sLeft, scripts.sRight, EverythingShown,
                           0);
    EXPECT_EQ(Batches(third), (Texts{Different, Right, Left}));
    // Its catalog was read for the order of the tables.
    EXPECT_EQ(Told(server), Texts{u"USE [one]"});
    EXPECT_EQ(Batches(second), Texts{});
    EXPECT_EQ(CallsIn(scripts.sRight),
              (Texts{u"EXEC prcTmp_QVX_Delete 4", u"EXEC prcTmp_QVX_Insert 3, 3",
                     u"EXEC prcTmp_QVX_Update 2, 2"}));
    EXPECT_EQ(CallsIn(scripts.sLeft),
              (Texts{u"EXEC prcTmp_QVX_Delete 3", u"EXEC prcTmp_QVX_Insert 4, 4",
                     u"EXEC prcTmp_QVX_Update 2, 20"}));
    EXPECT_EQ(ConnectionsLeft(third), 0);
}

}  // namespace
}  // namespace QuillonLib
