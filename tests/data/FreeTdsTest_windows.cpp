// Which driver is taken for FreeTDS. Besides "SQL Server" the tests register "Another", whose file
// is none.
#include "data/FreeTds.h"

#include <gtest/gtest.h>

namespace QuillonLib::odbc {
namespace {

TEST(FreeTds, IsKnownByTheFileOfTheDriverThatTheTextNames) {
    const Environment environment(SQL_NULL_HANDLE);
    SQLSetEnvAttr(environment.Get(), SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0);
    const auto isFreeTds = [&](const char16_t* text) { return IsFreeTds(environment.Get(), text); };
    EXPECT_TRUE(isFreeTds(u"driver={SQL Server};server=s"));
    EXPECT_TRUE(isFreeTds(u"DRIVER=sql server;server=s"));
    EXPECT_FALSE(isFreeTds(u"driver={Another};server=s"));
    EXPECT_FALSE(isFreeTds(u"driver={Not registered};server=s"));
    EXPECT_FALSE(isFreeTds(u"server=s"));
    EXPECT_FALSE(isFreeTds(u""));
}

}  // namespace
}  // namespace QuillonLib::odbc
