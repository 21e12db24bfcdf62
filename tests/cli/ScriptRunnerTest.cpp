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

}  // namespace
}  // namespace quillon
