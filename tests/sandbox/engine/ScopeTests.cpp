// What ends with a procedure or a dynamic text: SET options, USE, the count of transactions.
#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

// The ways to run a text in a scope of its own.
enum class Way { Procedure, Execute, ExecuteSql, Call };

class Scopes : public ::testing::TestWithParam<Way> {
  protected:
    Scopes() { box.Text(u"CREATE TABLE t (a int IDENTITY NOT NULL, b int NULL)"); }

    // What the text answers, in its scope.
    Result Run(std::u16string_view text) {
        if (GetParam() == Way::Call) return box.client->RunInScope(text);
        if (GetParam() == Way::Procedure) {
            box.Text(u"IF OBJECT_ID('p') IS NOT NULL DROP PROCEDURE p");
            EXPECT_EQ(box.Text(u"CREATE PROCEDURE p AS " + std::u16string(text)), "");
            return box.Run(u"EXEC p");
        }
        std::u16string literal = u"N'";
        for (const char16_t c : text)
            literal += c == u'\'' ? std::u16string(u"''") : std::u16string(1, c);
        literal += u"'";
        return box.Run(GetParam() == Way::Execute ? u"EXEC(" + literal + u")"
                                                  : u"EXEC sp_executesql " + literal);
    }
    std::string Text(std::u16string_view text) { return Run(text).text; }

    // What tells of error 266.
    static std::string Mismatch(int before, int now) {
        return "!266 Transaction count after EXECUTE indicates a mismatching number of BEGIN and "
               "COMMIT statements. Previous count = " +
               std::to_string(before) + ", current count = " + std::to_string(now) + ".\n";
    }

    Box box;
};

std::string NameOf(const ::testing::TestParamInfo<Way>& info) {
    constexpr std::array kNames{"Procedure", "Execute", "ExecuteSql", "Call"};
    return kNames.at(static_cast<std::size_t>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Ways, Scopes,
                         ::testing::Values(Way::Procedure, Way::Execute, Way::ExecuteSql,
                                           Way::Call),
                         NameOf);

TEST_P(Scopes, MayBalanceTheirTransactions) {
    EXPECT_EQ(Text(u"BEGIN TRAN INSERT t (b) VALUES (1) COMMIT"), "#1\n");
    EXPECT_EQ(Text(u"BEGIN TRAN INSERT t (b) VALUES (1) ROLLBACK"), "#1\n");
    box.Text(u"BEGIN TRAN");
    EXPECT_EQ(Text(u"COMMIT BEGIN TRAN"), "");
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT, COUNT(*) FROM t"), "1|1\n");
}

TEST_P(Scopes, TellOfATransactionThatTheyLeaveOpen) {
    const Result result = Run(u"BEGIN TRAN");
    EXPECT_EQ(result.text, Mismatch(0, 1));
    EXPECT_EQ(result.errors.at(0).severity, 16);
    EXPECT_EQ(result.errors.at(0).state, 2);
    EXPECT_EQ(result.errors.at(0).line, 0);
    EXPECT_EQ(result.errors.at(0).procedure, GetParam() == Way::Procedure ? u"p" : u"");
    EXPECT_EQ(box.Text(u"SELECT @@ERROR, @@TRANCOUNT"), "266|1\n");
}

TEST_P(Scopes, TellOfATransactionThatTheyEnd) {
    box.Text(u"BEGIN TRAN INSERT t (b) VALUES (1)");
    EXPECT_EQ(Text(u"COMMIT"), Mismatch(1, 0));
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT, COUNT(*) FROM t"), "0|1\n");
    box.Text(u"BEGIN TRAN BEGIN TRAN INSERT t (b) VALUES (1)");
    EXPECT_EQ(Text(u"COMMIT"), Mismatch(2, 1));
    EXPECT_EQ(Text(u"ROLLBACK"), Mismatch(1, 0));
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT, COUNT(*) FROM t"), "0|1\n");
}

TEST_P(Scopes, TellOfItAfterAnErrorThatEndsThem) {
    EXPECT_EQ(Text(u"BEGIN TRAN SELECT * FROM nosuch"),
              "!208 Invalid object name 'nosuch'.\n" + Mismatch(0, 1));
    EXPECT_EQ(box.Text(u"SELECT @@TRANCOUNT"), "1\n");
}

TEST_P(Scopes, RestoreWhetherIdentitiesAreWritten) {
    const std::string refused =
        "!544 Cannot insert explicit value for identity column in table 't' when IDENTITY_INSERT "
        "is set to OFF.\n";
    EXPECT_EQ(Text(u"SET IDENTITY_INSERT t ON INSERT t (a) VALUES (5)"), "#1\n");
    EXPECT_EQ(box.Text(u"INSERT t (a) VALUES (6)"), refused);
    // It reaches into scopes, which can switch it off for themselves.
    EXPECT_EQ(box.Text(u"SET IDENTITY_INSERT t ON"), "");
    EXPECT_EQ(Text(u"INSERT t (a) VALUES (7) SET IDENTITY_INSERT t OFF INSERT t (a) VALUES (8)"),
              "#1\n" + refused);
    EXPECT_EQ(box.Text(u"INSERT t (a) VALUES (9) SET IDENTITY_INSERT t OFF SELECT a FROM t"),
              "#1\n5\n7\n9\n");
}

TEST_P(Scopes, RestoreWhichTableHasItsIdentitiesWritten) {
    box.Text(u"CREATE TABLE u (a int IDENTITY NOT NULL) SET IDENTITY_INSERT t ON");
    EXPECT_EQ(Text(u"SET IDENTITY_INSERT t OFF SET IDENTITY_INSERT u ON INSERT u (a) VALUES (1)"),
              "#1\n");
    EXPECT_EQ(box.Text(u"INSERT t (a) VALUES (1)"), "#1\n");
    EXPECT_EQ(box.ErrorOf(u"INSERT u (a) VALUES (2)"), 544);
}

TEST_P(Scopes, RestoreSwitches) {
    EXPECT_EQ(Text(u"SET NOCOUNT ON INSERT t (b) VALUES (1)"), "");
    EXPECT_EQ(box.Text(u"DELETE t"), "#1\n");
    EXPECT_EQ(Text(u"SET XACT_ABORT ON"), "");
    EXPECT_EQ(box.Text(u"BEGIN TRAN SELECT 1/0 SELECT @@TRANCOUNT ROLLBACK"),
              "!8134 Divide by zero error encountered.\n1\n");
    EXPECT_EQ(Text(u"SET ROWCOUNT 1 SELECT 1 UNION SELECT 2"), "1\n");
    EXPECT_EQ(box.Text(u"SELECT 1 UNION SELECT 2"), "1\n2\n");
    EXPECT_EQ(Text(u"SET DATEFORMAT dmy SELECT ISDATE('13/02/2024')"), "1\n");
    EXPECT_EQ(box.Text(u"SELECT ISDATE('13/02/2024')"), "0\n");
    EXPECT_EQ(Text(u"SET FMTONLY ON SELECT 1"), "");
    EXPECT_EQ(box.Text(u"SELECT 1"), "1\n");
}

TEST_P(Scopes, RestoreTheWaitForLocks) {
    EXPECT_EQ(Text(u"SET LOCK_TIMEOUT 5000"), "");
    box.Text(u"SET LOCK_TIMEOUT 20");
    EXPECT_EQ(Text(u"SET LOCK_TIMEOUT 5000"), "");
    Client other(*box.backend, u"w");
    other.Text(u"BEGIN TRAN INSERT t (b) VALUES (1)");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(box.ErrorOf(u"INSERT t (b) VALUES (2)"), 1222);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST_P(Scopes, RestoreSwitchesAfterAnErrorToo) {
    EXPECT_EQ(Text(u"SET NOCOUNT ON SELECT * FROM nosuch"), "!208 Invalid object name 'nosuch'.\n");
    EXPECT_EQ(box.Text(u"INSERT t (b) VALUES (1)"), "#1\n");
}

TEST(Scope, OfAProcedureThatRollsBackIsToldInTheMiddle) {
    Box box;
    box.Text(u"CREATE PROCEDURE q AS BEGIN TRAN ROLLBACK");
    EXPECT_EQ(box.Text(u"BEGIN TRAN EXEC q SELECT @@ERROR, @@TRANCOUNT"),
              "!266 Transaction count after EXECUTE indicates a mismatching number of BEGIN and "
              "COMMIT statements. Previous count = 1, current count = 0.\n266|0\n");
}

TEST(Scope, EachOneThatIsLeftTellsOfIt) {
    Box box;
    box.Text(u"CREATE PROCEDURE q AS BEGIN TRAN");
    box.Text(u"CREATE PROCEDURE p AS EXEC q SELECT 'on'");
    const Result result = box.Run(u"EXEC p ROLLBACK");
    ASSERT_EQ(result.errors.size(), 2U);
    EXPECT_EQ(result.errors[0].procedure, u"q");
    EXPECT_EQ(result.errors[1].procedure, u"p");
    EXPECT_NE(result.text.find("\non\n"), std::string::npos);
}

TEST(Scope, ItsErrorCanBeCaughtByTheCaller) {
    Box box;
    EXPECT_EQ(box.Text(u"BEGIN TRY EXEC('BEGIN TRAN') SELECT 'no' END TRY BEGIN CATCH SELECT "
                       u"ERROR_NUMBER(), @@TRANCOUNT END CATCH"),
              "266|1\n");
}

TEST(Scope, ItsErrorEndsNothing) {
    Box box;
    box.Text(u"CREATE TABLE t (a int) SET XACT_ABORT ON");
    EXPECT_EQ(box.Text(u"BEGIN TRAN INSERT t VALUES (1) EXEC('BEGIN TRAN') SELECT @@TRANCOUNT"),
              "#1\n!266 Transaction count after EXECUTE indicates a mismatching number of BEGIN "
              "and COMMIT statements. Previous count = 1, current count = 2.\n2\n");
}

TEST(Scope, OldServersWordTheErrorOtherwise) {
    for (const char* version : {"8.00.2039", "9.00.5000"}) {
        Box box(version);
        EXPECT_EQ(box.Text(u"EXEC('BEGIN TRAN')"),
                  "!266 Transaction count after EXECUTE indicates that a COMMIT or ROLLBACK "
                  "TRANSACTION statement is missing. Previous count = 0, current count = 1.\n");
    }
}

TEST(Scope, OfACallEndsItsUse) {
    Box box;
    box.Text(u"CREATE DATABASE d2");
    EXPECT_EQ(box.client->TextInScope(u"USE d2 SELECT DB_NAME()"), "@d2\nd2\n@w\n");
    EXPECT_EQ(box.Text(u"SELECT DB_NAME()"), "w\n");
}

TEST(Scope, OfAProcedureElsewhereIsLeftSilently) {
    Box box;
    box.Text(u"CREATE DATABASE d2");
    box.Text(u"USE d2");
    box.Text(u"CREATE PROCEDURE p AS SELECT DB_NAME() BEGIN TRAN");
    box.Text(u"USE w");
    EXPECT_EQ(box.Text(u"EXEC d2.dbo.p SELECT DB_NAME()"),
              "d2\n!266 Transaction count after EXECUTE indicates a mismatching number of BEGIN "
              "and COMMIT statements. Previous count = 0, current count = 1.\nw\n");
}

TEST(Scope, OfADynamicTextReturnsNoValue) {
    Box box;
    EXPECT_EQ(box.Text(u"EXEC sp_executesql N'RETURN 5' EXEC sp_executesql N'RETURN'"),
              "!178 A RETURN statement with a return value cannot be used in this context.\n");
}

// Not of SET @variable, which counts one row.
TEST(Scope, StatementsThatCountNoRowsResetTheCount) {
    Box box;
    box.Text(u"CREATE TABLE t (a int)");
    for (const char16_t* statement : {u"SET NOCOUNT OFF", u"PRINT ''", u"USE w", u"BEGIN TRAN",
                                      u"COMMIT", u"RAISERROR('x', 0, 1)"}) {
        const std::string text = box.Text(std::u16string(u"INSERT t VALUES (1), (2) ") + statement +
                                          u" SELECT @@ROWCOUNT");
        EXPECT_TRUE(text.ends_with("\n0\n")) << Utf8(statement) << ": " << text;
    }
}

TEST(Scope, OfACallHasSyntaxErrorsOfItsOwn) {
    Box box;
    EXPECT_EQ(box.client->TextInScope(u"SELECT 1 1"), "!102 Incorrect syntax near '1'.\n");
    EXPECT_EQ(box.Text(u"SELECT 1"), "1\n");
}

}  // namespace
}  // namespace sandbox::testing
