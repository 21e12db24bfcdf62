// Scripts run in process, and values as text.
#include "sandbox/wire/Script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Days.h"
#include "FakeBackend.h"
#include "sandbox/wire/TextForms.h"

namespace sandbox::wire {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SplitScript, AtLinesThatHoldOnlyGo) {
    EXPECT_THAT(SplitScript(u"one\nGO\ntwo\r\n  go \r\nthree\nGo"),
                ElementsAre(u"one\n", u"two\r\n", u"three\n"));
}

TEST(SplitScript, NotWhereGoIsPartOfALine) {
    EXPECT_THAT(SplitScript(u"GOTO x\nSELECT GO\nGO;\nGOing\nG O\nGO5\ngo home"),
                ElementsAre(u"GOTO x\nSELECT GO\nGO;\nGOing\nG O\nGO5\ngo home"));
}

TEST(SplitScript, LeavesEmptyBatchesOut) {
    EXPECT_THAT(SplitScript(u""), IsEmpty());
    EXPECT_THAT(SplitScript(u"GO\n\r\n \t\nGO\nGO"), IsEmpty());
    EXPECT_THAT(SplitScript(u"GO\na\nGO\n\n"), ElementsAre(u"a\n"));
}

TEST(SplitScript, RepeatsACountedBatch) {
    EXPECT_THAT(SplitScript(u"a\nGO 3\nb"), ElementsAre(u"a\n", u"a\n", u"a\n", u"b"));
    EXPECT_THAT(SplitScript(u"a\nGO 0\nb"), ElementsAre(u"b"));
}

LoginRequest Sa() {
    LoginRequest login;
    login.user = u"sa";
    login.password = u"sandbox";
    return login;
}

TEST(RunScript, RunsEveryBatchOnOneSession) {
    FakeBackend backend;
    RunScript(backend, Sa(), u"SET a\nGO\nSET b\nGO\n");
    EXPECT_THAT(backend.Batches(), ElementsAre(u"SET a\n", u"SET b\n"));
    EXPECT_EQ(backend.Logins().size(), 1U);
    EXPECT_EQ(backend.Sessions(), 0);
}

TEST(RunScript, StopsAtTheFirstErrorAndTellsIt) {
    FakeBackend backend;
    backend.On(u"bad \u20ac\n", [](ResultSink& sink, const auto&) {
        Message information;
        information.severity = 10;
        information.text = u"not an error";
        sink.Say(information);
        sink.Say(Error(208, u"Invalid object name 't'."));
        sink.Say(Error(207, u"Invalid column name 'c'."));
    });
    try {
        RunScript(backend, Sa(), u"bad \u20ac\nGO\nSET b");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(
            error.what(),
            "Msg 208, Level 16, State 1, Line 1: Invalid object name 't'.\nbad \xE2\x82\xAC\n");
    }
    EXPECT_EQ(backend.Batches().size(), 1U);
}

TEST(RunScript, TellsARefusedLogin) {
    FakeBackend backend;
    LoginRequest login = Sa();
    login.password = u"wrong";
    try {
        RunScript(backend, login, u"SET a");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "Msg 18456, Level 14, State 1, Line 1: Login failed for user 'sa'.");
    }
}

TEST(RunScalar, IsTheFirstFieldOfTheFirstRow) {
    FakeBackend backend;
    backend.On(u"rows", [](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"a", {TypeId::Int}), Column(u"b", {TypeId::Int})});
        const Cell first[] = {Integer(-7), Integer(8)};
        sink.Row(first);
        const Cell second[] = {Integer(9), Integer(10)};
        sink.Row(second);
        sink.StatementDone(2, true, false);
    });
    EXPECT_EQ(RunScalar(backend, Sa(), u"rows"), u"-7");
    EXPECT_EQ(RunScalar(backend, Sa(), u"SET x"), u"");
    EXPECT_THROW(RunScalar(backend, Sa(), u"nonsense"), std::runtime_error);
}

TEST(CellText, OfEveryKind) {
    EXPECT_EQ(CellText({TypeId::Int}, Null()), u"");
    EXPECT_EQ(CellText({TypeId::Bit}, Integer(1)), u"1");
    EXPECT_EQ(CellText({TypeId::BigInt}, Integer(INT64_MIN)), u"-9223372036854775808");
    EXPECT_EQ(CellText({TypeId::Decimal, 0, 5, 2}, Big(-5)), u"-0.05");
    EXPECT_EQ(CellText({TypeId::Numeric, 0, 5, 0}, Big(0)), u"0");
    EXPECT_EQ(CellText({TypeId::Money}, Integer(INT64_MIN)), u"-922337203685477.5808");
    EXPECT_EQ(CellText({TypeId::SmallMoney}, Integer(12345)), u"1.2345");
    EXPECT_EQ(CellText({TypeId::Float}, Number(0.1)), u"0.1");
    EXPECT_EQ(CellText({TypeId::Real}, Number(0.1F)), u"0.1");
    EXPECT_EQ(CellText({TypeId::DateTime}, Integer(0)), u"1900-01-01 00:00:00.000");
    EXPECT_EQ(CellText({TypeId::DateTime}, Integer(-1)), u"1899-12-31 23:59:59.997");
    EXPECT_EQ(CellText({TypeId::DateTime}, Integer(-53690LL * 25'920'000)),
              u"1753-01-01 00:00:00.000");
    EXPECT_EQ(CellText({TypeId::SmallDateTime}, Integer(1441)), u"1900-01-02 00:01:00");
    EXPECT_EQ(CellText({TypeId::Date}, Integer(0)), u"0001-01-01");
    EXPECT_EQ(CellText({TypeId::Date}, Integer(58)), u"0001-02-28");
    EXPECT_EQ(CellText({TypeId::Date}, Integer(59)), u"0001-03-01");
    EXPECT_EQ(CellText({TypeId::Date}, Integer(730178)), u"2000-02-29");
    EXPECT_EQ(CellText({TypeId::Time, 0, 0, 2}, Integer(12'300'000)), u"00:00:01.23");
    EXPECT_EQ(CellText({TypeId::DateTime2, 0, 0, 1}, Integer(kDay - 1)), u"0001-01-01 23:59:59.9");
    EXPECT_EQ(CellText({TypeId::DateTimeOffset, 0, 0, 0}, WithOffset(Integer(kDay), -840)),
              u"0001-01-01 10:00:00 -14:00");
    EXPECT_EQ(CellText({TypeId::NVarChar, 5}, Text(u"\xd800 a")), u"\xd800 a");
    EXPECT_EQ(CellText({TypeId::VarBinary, 5}, Binary("\xAB\x01")), u"0xAB01");
    EXPECT_EQ(CellText({TypeId::UniqueIdentifier}, Binary("0123456789abcdef")),
              u"33323130-3534-3736-3839-616263646566");
    EXPECT_EQ(CellText({TypeId::SqlVariant}, As(Integer(3), {TypeId::Int})), u"3");
}

}  // namespace
}  // namespace sandbox::wire
