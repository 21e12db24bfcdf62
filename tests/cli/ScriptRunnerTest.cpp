#include "cli/ScriptRunner.h"

#include <gtest/gtest.h>

namespace quillon {
namespace {

using Batches = std::vector<std::u16string>;

Batches Cut(std::u16string_view script, std::size_t lines = 1000) {
    return CutIntoBatches(script, lines);
}

TEST(CutIntoBatches, CutsAtGoLines) {
    EXPECT_EQ(Cut(u"A\r\nGO\r\nB\r\nGO\r\n"), (Batches{u"A\r\n", u"B\r\n"}));
}

TEST(CutIntoBatches, LeavesEmptyBatchesOut) {
    EXPECT_EQ(Cut(u"\r\nGO\r\n \r\nGO\r\nA"), Batches{u"A"});
    EXPECT_EQ(Cut(u""), Batches{});
}

TEST(CutIntoBatches, AGoLineInDataIsData) {
    const std::u16string line = u"EXEC p N'x\r\nGO\r\ny''\r\nGO\r\n'\r\n";
    EXPECT_EQ(Cut(line + u"GO\r\nB"), (Batches{line, u"B"}));
}

TEST(CutIntoBatches, AGoLineInACommentOrANameIsNone) {
    const std::u16string comment = u"/* a /* b\r\nGO\r\n*/ \r\nGO\r\n*/ A\r\n";
    EXPECT_EQ(Cut(comment), Batches{comment});
    const std::u16string name = u"SELECT [x\r\nGO\r\n]\r\n";
    EXPECT_EQ(Cut(name), Batches{name});
    const std::u16string bracket = u"SELECT [x]]'\r\nGO\r\n]\r\n";
    EXPECT_EQ(Cut(bracket + u"GO\r\nB"), (Batches{bracket, u"B"}));
    const std::u16string quoted = u"SELECT \"x\r\nGO\r\n\"\r\n";
    EXPECT_EQ(Cut(quoted), Batches{quoted});
    EXPECT_EQ(Cut(u"-- it's\r\nGO\r\nB"), (Batches{u"-- it's\r\n", u"B"}));
}

TEST(CutIntoBatches, LongRunsOfCallsAreCutBetweenLines) {
    EXPECT_EQ(Cut(u"EXEC p 1\r\nEXEC p N'a\r\nEXEC b'\r\nEXEC p 3\r\nPRINT 'x'", 2),
              (Batches{u"EXEC p 1\r\nEXEC p N'a\r\nEXEC b'\r\n", u"EXEC p 3\r\nPRINT 'x'"}));
}

// The driver would cut this line at its NUL, and so the batch that holds it.
const std::u16string cut{u"EXEC p N'\0'\r\n", 13};

TEST(CutIntoBatches, RunsWithALineThatTheDriverWouldChangeStandAlone) {
    const std::u16string head = u"SET IDENTITY_INSERT t ON\r\n";
    const std::u16string tail = u"SET IDENTITY_INSERT t OFF\r\nDROP PROCEDURE p\r\n";
    const std::u16string run = u"EXEC p 1\r\n" + cut + u"EXEC p 2\r\n" + cut + u"\r\n";
    EXPECT_EQ(Cut(head + run + tail), (Batches{head, run, tail}));
    EXPECT_EQ(Cut(run), Batches{run});
    EXPECT_EQ(Cut(head + u"\r\n" + cut), (Batches{head + u"\r\n", cut}));
    EXPECT_EQ(Cut(cut + tail), (Batches{cut, tail}));
}

TEST(CutIntoBatches, EveryKindOfLineThatTheDriverWouldChangeIsSeen) {
    for (const std::u16string line :
         {u"EXEC p N'\xD800'\r\n", u"EXEC p N'\xDC00\xD800'\r\n", u"EXEC p 1 /* /* */ ? */\r\n"}) {
        EXPECT_EQ(Cut(u"PRINT 'x'\r\n" + line), (Batches{u"PRINT 'x'\r\n", line}));
    }
    const std::u16string pair = u"PRINT 'x'\r\nEXEC p N'\xD83D\xDE00 ? {'\r\n";
    EXPECT_EQ(Cut(pair), Batches{pair});
}

TEST(CutIntoBatches, OtherRunsStayWithWhatTheyStandWith) {
    const std::u16string plain = u"SET x ON\r\nEXEC p 1\r\nSET x OFF\r\nSET y ON\r\n";
    EXPECT_EQ(Cut(plain + cut), (Batches{plain, cut}));
    EXPECT_EQ(Cut(cut + plain), (Batches{cut, plain}));
}

TEST(CutIntoBatches, ARunThatIsCutOffIsCountedFromItsBeginning) {
    const std::u16string plain = u"EXEC p 1\r\n";
    EXPECT_EQ(Cut(plain + u"SET x ON\r\n" + plain + cut + plain + plain + plain, 4),
              (Batches{plain + u"SET x ON\r\n", plain + cut + plain + plain, plain}));
    EXPECT_EQ(Cut(u"SET x ON\r\n" + plain + plain + cut + u"SET x OFF\r\n", 2),
              (Batches{u"SET x ON\r\n" + plain + plain, cut, u"SET x OFF\r\n"}));
}

TEST(CutIntoBatches, TheCommitStandsAlone) {
    EXPECT_EQ(Cut(u"DROP PROCEDURE p\r\n\r\nCOMMIT\r\n"),
              (Batches{u"DROP PROCEDURE p\r\n\r\n", u"COMMIT\r\n"}));
    EXPECT_EQ(Cut(cut + u"COMMIT\r\n"), (Batches{cut, u"COMMIT\r\n"}));
    const std::u16string data = u"EXEC p N'\r\nCOMMIT\r\n'\r\n";
    EXPECT_EQ(Cut(data), Batches{data});
}

}  // namespace
}  // namespace quillon
