#include "data/ConnectionString.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

TEST(ConnectionString, NamesUserAndPasswordForASqlLogin) {
    EXPECT_EQ(BuildConnectionString(u"SRV", u"world", false, u"sa", u"secret"),
              u"driver={SQL Server};server=SRV;database=world;uid=sa;pwd=secret");
}

TEST(ConnectionString, KeepsAnEmptyUserAndPassword) {
    EXPECT_EQ(BuildConnectionString(u"SRV", u"world", false, u"", u""),
              u"driver={SQL Server};server=SRV;database=world;uid=;pwd=");
}

TEST(ConnectionString, LeavesUserAndPasswordOutForNtSecurity) {
    EXPECT_EQ(BuildConnectionString(u"SRV", u"world", true, u"sa", u"secret"),
              u"driver={SQL Server};server=SRV;database=world");
}

TEST(ConnectionString, PlacesValuesAsTheyStand) {
    EXPECT_EQ(BuildConnectionString(u"a;b", u"{d}", false, u"u=1", u"p;}{"),
              u"driver={SQL Server};server=a;b;database={d};uid=u=1;pwd=p;}{");
}

TEST(ConnectionString, GivesTheDriverTheStandardPort) {
    EXPECT_EQ(AdaptConnectionString(u"driver={SQL Server};server=SRV;database=d;uid=u;pwd=p"),
              u"driver={SQL Server};server=SRV;port=1433;database=d;uid=u;pwd=p");
}

TEST(ConnectionString, LeavesThePortToAnInstanceOrAPort) {
    const std::u16string_view withPort = u"driver={SQL Server};server=127.0.0.1,5000;database=d";
    EXPECT_EQ(AdaptConnectionString(withPort), withPort);
    const std::u16string_view withInstance = u"driver={SQL Server};server=SRV\\EXPRESS;database=d";
    EXPECT_EQ(AdaptConnectionString(withInstance), withInstance);
    const std::u16string_view explicitly = u"driver={SQL Server};server=SRV;database=d;PORT=5000";
    EXPECT_EQ(AdaptConnectionString(explicitly), explicitly);
}

TEST(ConnectionString, ReadsAServerInBracesAsTheDriverDoes) {
    EXPECT_EQ(AdaptConnectionString(u"driver={SQL Server};Server={S;R};database=d"),
              u"driver={SQL Server};Server={S;R};port=1433;database=d");
}

// The driver ends the server's name at its ";": the port goes behind what it takes for the name.
TEST(ConnectionString, KeepsAServerNameWithASemicolonAsItStands) {
    EXPECT_EQ(AdaptConnectionString(u"driver={SQL Server};server=a;b;database=d;uid=u;pwd=p"),
              u"driver={SQL Server};server=a;port=1433;b;database=d;uid=u;pwd=p");
}

TEST(ConnectionString, EndsAValueInBraces) {
    EXPECT_EQ(AdaptConnectionString(u"driver={SQL Server};server=S,1;uid=u;pwd={p}"),
              u"driver={SQL Server};server=S,1;uid=u;pwd={p};");
}

TEST(ConnectionString, LeavesAnythingElseAlone) {
    EXPECT_EQ(AdaptConnectionString(u""), u"");
    EXPECT_EQ(AdaptConnectionString(u"nonsense"), u"nonsense");
    EXPECT_EQ(AdaptConnectionString(u"DSN=mine;uid=u"), u"DSN=mine;uid=u");
}

TEST(ConnectionString, TellsItsDriver) {
    EXPECT_EQ(DriverOf(BuildConnectionString(u"S", u"D", true, u"", u"")), u"SQL Server");
    EXPECT_EQ(DriverOf(u"server=driver={x};DRIVER=FreeTDS;uid=sa"), u"FreeTDS");
    EXPECT_EQ(DriverOf(u"pwd={;driver=a};Driver={a;b}"), u"a;b");
    EXPECT_EQ(DriverOf(u"dsn=driver"), u"");
    EXPECT_EQ(DriverOf(u""), u"");
}

}  // namespace
}  // namespace QuillonLib
