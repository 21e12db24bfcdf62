#include "cli/ConnectionFile.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace quillon {
namespace {

using namespace std::chrono_literals;

std::string Failure(const std::string& text) {
    try {
        ConnectionFile::Parse(text, "c.ini");
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

TEST(ConnectionFileTest, HoldsWhatIsWritten) {
    const ConnectionFile file = ConnectionFile::Parse(
        "# mine\n"
        "; and theirs\n"
        "\n"
        "[sales]\r\n"
        "server = db1.example.org,1433\r\n"
        "\tdatabase=  sales ; 2026 \n"
        "user = o'neill = me\n"
        "password-command = pass show \"db1#reader\"\n"
        "encryption = require\n"
        "login-timeout = 5\n"
        "statement-timeout = 0\n"
        "description = Umsätze\n"
        "[ night copy ]\n"
        "integrated = yes\n"
        "database = a\n"
        "server = b\n"
        "encryption = off",
        "c.ini");
    ASSERT_EQ(file.Connections().size(), 2u);
    const NamedConnection& sales = file.Find("sales");
    EXPECT_EQ(sales.server, "db1.example.org,1433");
    EXPECT_EQ(sales.database, "sales ; 2026");
    EXPECT_EQ(sales.user, "o'neill = me");
    EXPECT_FALSE(sales.integrated);
    EXPECT_EQ(sales.passwordCommand, "pass show \"db1#reader\"");
    EXPECT_EQ(sales.passwordVariable, "");
    EXPECT_EQ(sales.encryption, Encryption::Require);
    EXPECT_EQ(sales.loginTimeout, 5s);
    EXPECT_EQ(sales.statementTimeout, 0s);
    EXPECT_EQ(sales.description, "Umsätze");
    const NamedConnection& copy = file.Find("night copy");
    EXPECT_TRUE(copy.integrated);
    EXPECT_EQ(copy.server, "b");
    EXPECT_EQ(copy.encryption, Encryption::Off);
    EXPECT_EQ(copy.loginTimeout, std::nullopt);
}

TEST(ConnectionFileTest, MayBeEmpty) {
    EXPECT_TRUE(ConnectionFile::Parse("", "c.ini").Connections().empty());
    EXPECT_TRUE(ConnectionFile::Parse("\n# nothing\n", "c.ini").Connections().empty());
}

TEST(ConnectionFileTest, NamesTheLineThatIsWrong) {
    const std::string begin = "[a]\nserver = s\ndatabase = d\n";
    const std::pair<std::string, std::string> failures[] = {
        {"server = s", "c.ini, line 1: 'server' stands before the first [NAME]"},
        {"[a\n", "c.ini, line 1: '[a' is not [NAME]; a name holds no /"},
        {"\n[]\n", "c.ini, line 2: '[]' is not [NAME]; a name holds no /"},
        {"[s/d]\n", "c.ini, line 1: '[s/d]' is not [NAME]; a name holds no /"},
        {"[", "c.ini, line 1: '[' is not [NAME]; a name holds no /"},
        {begin + "[a]\n", "c.ini, line 4: [a] is there already"},
        {begin + "user reader\n", "c.ini, line 4: 'user reader' is not SETTING = VALUE"},
        {begin + "usre = x\n", "c.ini, line 4: there is no setting 'usre'; did you mean user?"},
        {begin + "colour = x\n", "c.ini, line 4: there is no setting 'colour'"},
        {begin + "server = t\n", "c.ini, line 4: 'server' is set twice"},
        {begin + "user =\n", "c.ini, line 4: 'user' has no value"},
        {begin + "password = geheim\n",
         "c.ini, line 4: passwords do not belong here; write password-command or "
         "password-variable"},
        {begin + "integrated = 1\n", "c.ini, line 4: '1' is neither yes nor no"},
        {begin + "encryption = on\n", "c.ini, line 4: 'on' is none of off, request and require"},
        {begin + "login-timeout = 5s\n", "c.ini, line 4: '5s' is no number of seconds"},
        {begin + "login-timeout = -1\n", "c.ini, line 4: '-1' is no number of seconds"},
        {begin + "statement-timeout = 99999999999\n",
         "c.ini, line 4: '99999999999' is no number of seconds"},
        {"[a]\nserver = s\ndatabase = a/b\n",
         "c.ini, line 3: [a]: no server or database is named with /"},
        {"[a]\nserver = s/a\ndatabase = b\n",
         "c.ini, line 3: [a]: no server or database is named with /"},
        {"[a]\ndatabase = d\n", "c.ini, line 2: [a] has no server"},
        {"[a]\nserver = s\n[b]\n", "c.ini, line 3: [a] has no database"},
        {begin + "user = u\nintegrated = yes\n",
         "c.ini, line 5: [a] has both a user and an integrated login"},
        {begin + "password-command = c\npassword-variable = V\n",
         "c.ini, line 5: [a] has both a password-command and a password-variable"},
    };
    for (const auto& [text, failure] : failures)
        EXPECT_EQ(Failure(text), failure) << text;
}

TEST(ConnectionFileTest, NamesWhatIsNear) {
    const ConnectionFile file =
        ConnectionFile::Parse("[sales]\nserver = s\ndatabase = d\n", "c.ini");
    try {
        file.Find("salse");
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "'salse' is neither SERVER/DATABASE nor a connection in c.ini; did you mean "
                     "sales?");
    }
}

}  // namespace
}  // namespace quillon
