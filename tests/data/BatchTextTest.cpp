#include "data/BatchText.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

using namespace std::string_view_literals;

TEST(BatchText, LeavesPlainBatchesAlone) {
    EXPECT_FALSE(DriverWouldChange(u""));
    EXPECT_FALSE(DriverWouldChange(u"SELECT 'é', N'\xD83D\xDE00' FROM [t]"));
}

TEST(BatchText, FindsANulAndHalfASurrogatePair) {
    EXPECT_TRUE(DriverWouldChange(u"SELECT N'a\0b'"sv));
    EXPECT_TRUE(DriverWouldChange(u"SELECT N'\xD83D'"));
    EXPECT_TRUE(DriverWouldChange(u"SELECT N'\xDE00'"));
    EXPECT_TRUE(DriverWouldChange(u"SELECT N'\xD83D\xD83D\xDE00'"));
    EXPECT_TRUE(DriverWouldChange(u"\xD83D"));
}

TEST(BatchText, IgnoresMarkersInQuotesNamesAndComments) {
    EXPECT_FALSE(DriverWouldChange(u"SELECT 'a''?{', \"b?{\", [c?{]]?] -- ?{\nFROM t /* ?{ */"));
    EXPECT_FALSE(DriverWouldChange(u"SELECT 'never ended ?"));
    EXPECT_FALSE(DriverWouldChange(u"SELECT 1 /* never ended ?"));
}

TEST(BatchText, FindsMarkersWhereTheDriverLooksForThem) {
    EXPECT_TRUE(DriverWouldChange(u"SELECT ?"));
    EXPECT_TRUE(DriverWouldChange(u"SELECT {fn NOW()}"));
    EXPECT_TRUE(DriverWouldChange(u"SELECT 1 /* a /* b */ c? */"));
    EXPECT_TRUE(DriverWouldChange(u"SELECT 'a' ?"));
}

}  // namespace
}  // namespace QuillonLib
