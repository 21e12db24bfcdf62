// Scripts in a client that sends each batch, and goes on whatever comes back.
#include <gtest/gtest.h>

#include "tests/direct/ScriptFixture.h"
#include "tests/direct/TsqlClient.h"

namespace QuillonLib {
namespace {

class ClientTest : public ScriptFixture {
  protected:
    ClientTest() {
        RunOnBoth(
            u"CREATE TABLE parent (id int PRIMARY KEY, t nvarchar(max), b varbinary(20))\n"
            u"CREATE TABLE child (id int PRIMARY KEY, p int REFERENCES parent (id))");
        RunOn1(
            u"DECLARE @i int SET @i = 0 WHILE @i < 3000 BEGIN INSERT parent VALUES (@i,"
            u" N'one ' + NCHAR(0x20AC) + NCHAR(0x4E2D) + CHAR(39) + CAST(@i AS nvarchar(9)),"
            u" 0x00FF) INSERT child VALUES (@i, @i) SET @i = @i + 1 END");
        RunOn2(
            u"DECLARE @i int SET @i = 0 WHILE @i < 3000 BEGIN INSERT parent VALUES (@i * 2,"
            u" N'two', NULL) INSERT child VALUES (@i, @i * 2) SET @i = @i + 1 END");
    }
    std::string Tsql(const std::u16string& script) { return RunInTsql(script, server2.Port()); }

    // Counts and sums that no two states of the test share.
    std::u16string State() {
        return On2(u"SELECT CAST(COUNT(*) AS varchar(9)) + ' ' + CAST(SUM(id) AS varchar(9)) + ' '"
                   u" + CAST(SUM(LEN(t)) AS varchar(9)) FROM parent") +
               u"; " +
               On2(u"SELECT CAST(COUNT(*) AS varchar(9)) + ' ' + CAST(SUM(p) AS varchar(9)) FROM"
                   u" child");
    }
};

TEST_F(ClientTest, AWholeScriptMakesTheSidesEqual) {
    const std::string output = Tsql(Script({u"parent", u"child"}));
    EXPECT_NE(output.find("The script ran to its end: its changes are committed."),
              std::string::npos)
        << output.substr(0, 2000);
    for (const DirectTableResult& result :
         Compare({{{u"dbo", u"parent"}, {}, {}, {}}, {{u"dbo", u"child"}, {}, {}, {}}})) {
        EXPECT_TRUE(result.Same()) << result.differing << " " << result.onlyIn1;
    }
}

TEST_F(ClientTest, ABatchThatFailsChangesNothing) {
    const std::u16string before = State();
    for (const bool guard : {false, true}) {
        scripted.guard = guard;
        const std::u16string script = Script({u"parent", u"child"});
        const int batches = static_cast<int>(BatchesOf(script).size());
        ASSERT_GT(batches, 4);
        for (int nth = 1; nth <= batches; ++nth) {
            server2.AddFault(ErrorIn(u"CONTEXT_INFO", nth));
            const std::string output = Tsql(script);
            server2.ClearFaults();
            EXPECT_NE(output.find("made to fail"), std::string::npos);
            EXPECT_EQ(output.find("its changes are committed"), std::string::npos);
            EXPECT_EQ(ConnectionsLeft(server2), 0);
            EXPECT_EQ(State(), before) << "batch " << nth;
        }
    }
}

TEST_F(ClientTest, ARowThatTheServerRefusesChangesNothing) {
    const std::u16string script = Script({u"parent", u"child"});
    RunOn2(u"ALTER TABLE child WITH NOCHECK ADD CONSTRAINT few CHECK (p <> 1501)");
    const std::u16string before = State();
    const std::string output = Tsql(script);
    EXPECT_NE(output.find("The script did not run to its end: nothing has been changed."),
              std::string::npos)
        << output.substr(0, 2000);
    EXPECT_EQ(State(), before);
}

// Whoever stops the client leaves a transaction open, which ends with the connection.
TEST_F(ClientTest, AScriptThatIsCutOffChangesNothing) {
    const std::u16string script = Script({u"parent", u"child"});
    const std::u16string before = State();
    const std::size_t last = BatchesOf(script).size() - 1;
    std::size_t to = 0;
    for (std::size_t batch = 0; batch < last; ++batch) {
        to = script.find(u"\r\nGO\r\n", to) + 6;
        Tsql(script.substr(0, to));
        EXPECT_EQ(ConnectionsLeft(server2), 0);
        EXPECT_EQ(State(), before) << "after batch " << batch;
    }
    Tsql(script);
    EXPECT_NE(State(), before);
}

}  // namespace
}  // namespace QuillonLib
