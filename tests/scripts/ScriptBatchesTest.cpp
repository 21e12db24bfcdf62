#include "ScriptBatches.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

using Texts = std::vector<std::u16string>;

TEST(ScriptBatchesTest, CutsAtSeparators) {
    EXPECT_EQ(BatchesOf(u"a\r\nGO\r\nb\r\nGO\r\n"), (Texts{u"a", u"\r\nb"}));
    EXPECT_EQ(BatchesOf(u"a\r\nGO\r\nGO\r\nb"), (Texts{u"a", u"\r\nb"}));
}

TEST(ScriptBatchesTest, LeavesDataNamesAndCommentsWhole) {
    for (const char16_t* text :
         {u"EXEC p N'x\r\nGO\r\ny'", u"EXEC p N'it''s\r\nGO\r\n'", u"SELECT [a\r\nGO\r\nb]"}) {
        EXPECT_EQ(BatchesOf(text), Texts{text});
    }
    EXPECT_EQ(BatchesOf(u"-- don't\r\nGO\r\nb"), (Texts{u"-- don't", u"\r\nb"}));
}

}  // namespace
}  // namespace QuillonLib
