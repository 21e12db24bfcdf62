#include "cli/SpooledScript.h"

#include "catalog/Login.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

class SpooledScriptTest : public ProgramTest {
  protected:
    SpooledScriptTest() { RunOnBoth(u"DROP TABLE c"); }
    // As a script comes: a piece for each line, and one for its end.
    void Add(std::initializer_list<std::u16string_view> lines) {
        for (const std::u16string_view line : lines) {
            script.Add(line);
            script.Add(QuillonLib::CrLf);
        }
    }
    void Run() {
        const auto connection = QuillonLib::OpenConnection(*MakeDatabase(u"b"));
        RunBatches(*connection, script);
    }
    SpooledScript script;
};

TEST_F(SpooledScriptTest, IsCutAtTheLinesThatHoldGo) {
    Add({u"a", u"b", u"GO", u"c GO", u"GO", u"d"});
    ASSERT_EQ(script.Count(), 3U);
    EXPECT_EQ(script.Batch(2), u"d\r\n");
    EXPECT_EQ(script.Batch(0), u"a\r\nb\r\n");
    EXPECT_EQ(script.Batch(1), u"c GO\r\n");
}

TEST_F(SpooledScriptTest, RunsBatchesThatLeaveTheirNumber) {
    Add({u"BEGIN TRANSACTION", u"SET CONTEXT_INFO 0x01", u"GO", u"DELETE p WHERE id = 1",
         u"SET CONTEXT_INFO 0x02", u"GO", u"    COMMIT TRANSACTION"});
    std::vector<std::size_t> done;
    script.progress = [&](std::size_t number) { done.push_back(number); };
    Run();
    EXPECT_EQ(done, (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(RowsOfB(), u"1 three");
}

TEST_F(SpooledScriptTest, KnowsWhatItsBatchesAreAboutAndHowLongTheyTook) {
    Add({u"BEGIN TRANSACTION", u"SET CONTEXT_INFO 0x01", u"GO"});
    script.BeginTable(7);
    Add({u"DELETE p WHERE id = 1", u"SET CONTEXT_INFO 0x02", u"GO", u"DELETE p WHERE id = 9"});
    script.BeginTable(3);
    Add({u"DELETE p WHERE id = 8", u"SET CONTEXT_INFO 0x03", u"GO", u"    COMMIT TRANSACTION"});
    EXPECT_EQ(script.TablesOf(0), std::vector<std::size_t>{});
    EXPECT_EQ(script.TablesOf(1), std::vector<std::size_t>{7});
    EXPECT_EQ(script.TablesOf(2), (std::vector<std::size_t>{7, 3}));
    server.AddFault({.kind = sandbox::FaultKind::Delay,
                     .contains = u"id = 1",
                     .delay = std::chrono::milliseconds(300)});
    Run();
    ASSERT_EQ(script.Times().size(), 2U);
    EXPECT_GE(script.Times().at(7).count(), 0.3);
    EXPECT_LT(script.Times().at(3).count(), script.Times().at(7).count());
}

TEST_F(SpooledScriptTest, KnowsHowMuchOfATableIsDoneBeforeABatch) {
    Add({u"BEGIN TRANSACTION", u"GO"});
    script.BeginTable(7);
    Add({u"1234", u"GO", u"12345678", u"12", u"GO"});
    script.BeginTable(3);
    Add({u"1234", u"GO", u"    COMMIT TRANSACTION"});
    const auto done = [&](std::size_t table) {
        std::vector<double> parts;
        for (std::size_t batch = 0; batch <= 4; ++batch)
            parts.push_back(script.DoneBefore(batch, table));
        return parts;
    };
    // With the two units of each line's end.
    EXPECT_EQ(done(7), (std::vector<double>{0, 0, 6.0 / 20, 1, 1}));
    EXPECT_EQ(done(3), (std::vector<double>{0, 0, 0, 0, 1}));
    EXPECT_EQ(done(5), (std::vector<double>(5, 0)));
}

// Its statements may not all have run, and nobody has told of an error.
TEST_F(SpooledScriptTest, ABatchThatEndsEarlyIsRolledBack) {
    Add({u"BEGIN TRANSACTION", u"SET CONTEXT_INFO 0x01", u"GO", u"DELETE p WHERE id = 1", u"RETURN",
         u"SET CONTEXT_INFO 0x02", u"GO", u"    COMMIT TRANSACTION"});
    try {
        Run();
        FAIL();
    } catch (const BatchFailure& failure) {
        EXPECT_STREQ(failure.what(),
                     "Batch 2 did not come to its end, and the server gave no reason.");
    }
    EXPECT_EQ(RowsOfB(), u"2 three");
}

}  // namespace
}  // namespace quillon
