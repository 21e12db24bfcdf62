#include "core/Options.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

// Callers on the other side of an automation interface hold the numbers, not the names.
TEST(Options, HaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(cpoShowIdentical), 1);
    EXPECT_EQ(static_cast<int>(cpoShowDifferent), 2);
    EXPECT_EQ(static_cast<int>(cpoShowMissing), 4);
    EXPECT_EQ(static_cast<int>(cpoShowAdditional), 8);
    EXPECT_EQ(static_cast<int>(cpoIgnoreReplCols), 16);
    EXPECT_EQ(static_cast<int>(cpoCheckDependencies), 32);
    EXPECT_EQ(static_cast<int>(cpoCompareViewAutoRefresh), 64);
    EXPECT_EQ(static_cast<int>(cpoLimitRecordsReturned), 128);
    EXPECT_EQ(static_cast<int>(cpoNoScriptComments), 256);
}

TEST(Options, CombineAndAreFoundAgain) {
    const enShowOptions both = cpoShowDifferent | cpoNoScriptComments;
    EXPECT_EQ(static_cast<int>(both), 258);
    EXPECT_TRUE(HasOption(both, cpoShowDifferent));
    EXPECT_TRUE(HasOption(both, cpoNoScriptComments));
    EXPECT_FALSE(HasOption(both, cpoShowIdentical));
}

TEST(ItemTypes, HaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(tmpTable), 0);
    EXPECT_EQ(static_cast<int>(tmpColumn), 1);
    EXPECT_EQ(static_cast<int>(tmpIndex), 2);
}

}  // namespace
}  // namespace QuillonLib
