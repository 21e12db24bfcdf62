#include "data/Diagnostic.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

Diagnostic Record(const char* sqlState, std::int32_t nativeError, std::u16string description) {
    return {NumberOfSqlState(sqlState), sqlState, nativeError, std::move(description)};
}

TEST(Diagnostic, HasTheNumberOfItsSqlState) {
    EXPECT_EQ(NumberOfSqlState("42000"), static_cast<std::int32_t>(0x80040E14));
    EXPECT_EQ(NumberOfSqlState("42S02"), static_cast<std::int32_t>(0x80040E37));
    EXPECT_EQ(NumberOfSqlState("28000"), static_cast<std::int32_t>(0x80040E4D));
    EXPECT_EQ(NumberOfSqlState("23000"), static_cast<std::int32_t>(0x80040E2F));
    EXPECT_EQ(NumberOfSqlState("08S01"), static_cast<std::int32_t>(0x80004005));
}

TEST(DataError, JoinsAllDescriptions) {
    const DataError error({Record("42000", 102, u"one"), Record("42000", 156, u"two")});
    EXPECT_EQ(error.Description(), u"one\r\ntwo");
    EXPECT_EQ(error.Diagnostics().size(), 2U);
}

TEST(DataError, TakesItsNumberFromTheCauseInALaterRecord) {
    const DataError error(
        {Record("08001", 20002, u"connection failed"), Record("28000", 18456, u"login")});
    EXPECT_EQ(error.Number(), static_cast<std::int32_t>(0x80040E4D));
    EXPECT_TRUE(error.HasNativeError(18456));
    EXPECT_FALSE(error.HasNativeError(547));
}

TEST(DataError, HasTheGeneralNumberWithoutAKnownSqlState) {
    EXPECT_EQ(DataError({Record("22012", 8134, u"divide")}).Number(),
              static_cast<std::int32_t>(0x80004005));
}

}  // namespace
}  // namespace QuillonLib
