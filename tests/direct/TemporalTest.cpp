// Tables whose old rows the server keeps: what only the server writes is left out, and told.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"

namespace QuillonLib {
namespace {

class TemporalTables : public ScriptFixture, public ::testing::WithParamInterface<bool> {
  protected:
    TemporalTables() {
        scripted.guard = GetParam();
        for (auto* database : {&one, &two}) {
            sandbox::ServerSettings settings;
            settings.name = database == &one ? u"NEW1" : u"NEW2";
            settings.version = "13.0.7000.1";
            auto& server = newer_.AddServer(settings);
            server.Run(u"CREATE DATABASE w");
            *database = MakeDatabase(server, u"w");
            (database == &one ? first : second) = &server;
        }
    }

    static std::u16string Table(const std::u16string& name) {
        return u"CREATE TABLE " + name +
               u" (id int PRIMARY KEY, a int UNIQUE,"
               u" f datetime2 GENERATED ALWAYS AS ROW START NOT NULL,"
               u" u datetime2 GENERATED ALWAYS AS ROW END NOT NULL,"
               u" PERIOD FOR SYSTEM_TIME (f, u)) WITH (SYSTEM_VERSIONING = ON"
               u" (HISTORY_TABLE = dbo." +
               name + u"_history))\n";
    }

    sandbox::Server* first = nullptr;
    sandbox::Server* second = nullptr;

  private:
    sandbox::Sandbox newer_;
};
INSTANTIATE_TEST_SUITE_P(WithAndWithoutGuard, TemporalTables, ::testing::Bool());

TEST_P(TemporalTables, AreBroughtOverWithoutTheirPeriods) {
    first->Run(u"USE w\nGO\n" + Table(u"t") + u"INSERT t (id, a) VALUES (1, 1), (2, 2), (3, 3)");
    second->Run(u"USE w\nGO\n" + Table(u"t") + u"INSERT t (id, a) VALUES (1, 2), (2, 1), (4, 4)");
    EXPECT_NE(Script({u"t"}).find(u"-- [dbo].[t]: 1 deleted, 2 updated, 1 inserted\r\n"
                                  u"--     without column f\r\n"
                                  u"--     without column u\r\n"),
              std::u16string::npos);
    ExpectToConverge({u"t"});
    EXPECT_EQ(second->Scalar(u"USE w SELECT COUNT(*) FROM t_history"), u"3");
    const DirectTableResult result = CompareOne();
    ASSERT_EQ(result.shape.omitted.size(), 2U);
    EXPECT_EQ(result.shape.omitted[0].name, u"f");
    EXPECT_EQ(result.shape.omitted[0].why, DirectOmission::Generated);
    EXPECT_EQ(result.shape.omitted[1].name, u"u");
    EXPECT_EQ(result.shape.omitted[1].why, DirectOmission::Generated);
    EXPECT_TRUE(result.Same());
}

// A column that only one of the servers writes cannot be brought over in one direction, and is
// compared in none.
TEST_P(TemporalTables, BesidePlainOnes) {
    first->Run(
        u"USE w\nGO\nCREATE TABLE t (id int PRIMARY KEY, a int, f datetime2, u datetime2)"
        u" INSERT t VALUES (1, 1, '20200101', '20210101'), (2, 2, NULL, NULL)");
    second->Run(u"USE w\nGO\n" + Table(u"t") + u"INSERT t (id, a) VALUES (1, 5)");
    ExpectToConverge({u"t"});
    EXPECT_EQ(CompareOne().shape.omitted.size(), 2U);
}

TEST_P(TemporalTables, AreNoKey) {
    first->Run(u"USE w\nGO\n" + Table(u"t"));
    second->Run(u"USE w\nGO\n" + Table(u"t"));
    DirectTable table{{u"dbo", u"t"}, {}, {u"f"}, {}};
    EXPECT_EQ(CompareOne(table).error->Description(),
              u"Column f of table [dbo].[t] cannot be a key: the server writes it itself.");
}

TEST_P(TemporalTables, HaveHistoriesThatNoScriptWrites) {
    first->Run(u"USE w\nGO\n" + Table(u"t") + u"INSERT t (id, a) VALUES (1, 1) UPDATE t SET a = 2");
    second->Run(u"USE w\nGO\n" + Table(u"t") + u"INSERT t (id, a) VALUES (1, 3)");
    const std::u16string script = Script({u"t", u"t_history"});
    EXPECT_NE(script.find(u"-- Left out, the history of another table: [dbo].[t_history]\r\n"),
              std::u16string::npos)
        << ToUtf8(script);
    EXPECT_EQ(Run(script), Texts{});
    EXPECT_EQ(second->Scalar(u"USE w SELECT a FROM t"), u"2");

    DirectScriptWriter writer(*two, scripted);
    sink.Difference = [&](const DirectDifference& difference, bool&) { writer.Add(difference); };
    const auto results = Compare({{{u"dbo", u"t_history"}, {}, {}, {}}});
    const auto told = writer.Write(results, [](std::u16string_view) {});
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].leftOut, DirectLeftOut::History);
    EXPECT_TRUE(told[0].LeftOut());
}

}  // namespace
}  // namespace QuillonLib
