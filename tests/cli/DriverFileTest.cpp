// Another ODBC driver: which one it is, and what it is told.
#include "cli/DriverFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/DatabaseOptions.h"
#include "tests/cli/ProgramFixture.h"

namespace quillon {
namespace {

std::string Refusal(DriverKind kind, Encryption encryption) {
    try {
        (void)DriverKeywords(kind, encryption, false);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

TEST(DriverKeywords, AreThoseOfTheDriver) {
    using enum DriverKind;
    EXPECT_EQ(DriverKeywords(FreeTds, std::nullopt, true), "");
    EXPECT_EQ(DriverKeywords(FreeTds, Encryption::Off, false), "encryption=off");
    EXPECT_EQ(DriverKeywords(FreeTds, Encryption::Request, false), "encryption=request");
    EXPECT_EQ(DriverKeywords(FreeTds, Encryption::Require, false), "encryption=require");
    EXPECT_EQ(DriverKeywords(Microsoft, std::nullopt, false), "");
    EXPECT_EQ(DriverKeywords(Microsoft, std::nullopt, true), "Trusted_Connection=yes");
    EXPECT_EQ(DriverKeywords(Microsoft, Encryption::Request, false), "Encrypt=no");
    EXPECT_EQ(DriverKeywords(Microsoft, Encryption::Require, true),
              "Encrypt=yes;TrustServerCertificate=no;Trusted_Connection=yes");
    EXPECT_EQ(DriverKeywords(Other, std::nullopt, true), "");
}

// A driver passes over words that it does not know, and would encrypt nothing.
TEST(DriverKeywords, RefuseWhatADriverIsNotKnownToDo) {
    EXPECT_EQ(Refusal(DriverKind::Microsoft, Encryption::Off),
              "--encryption off: this driver encrypts the login wherever the server can; request "
              "is the least that it does");
    EXPECT_EQ(Refusal(DriverKind::Other, Encryption::Require),
              "--encryption: how this driver is told of it is not known; it is known of FreeTDS "
              "and of Microsoft's, by the names of their files");
}

TEST(DriverKeywords, NothingIsSaidOfAnEncryptionThatIsNotKnown) {
    EXPECT_EQ(EncryptionText(DriverKind::Other, std::nullopt), "as the driver does it");
    EXPECT_EQ(EncryptionText(DriverKind::Microsoft, std::nullopt), "as the driver does it");
    EXPECT_EQ(EncryptionText(DriverKind::Microsoft, Encryption::Require),
              "everything; the certificate is checked");
}

TEST(ConnectionValue, BracesAreDoubledForDriversThatTakeThemSo) {
    EXPECT_EQ(ConnectionValue("a}b", "password", DriverKind::Microsoft), "a}b");
    EXPECT_EQ(ConnectionValue("a};b}", "password", DriverKind::Microsoft), "{a}};b}}}");
    EXPECT_EQ(ConnectionValue(" a", "password", DriverKind::Other), "{ a}");
    EXPECT_EQ(ConnectionValue(" a", "password", DriverKind::FreeTds), " a");
}

class DriverFileTest : public ProgramTest {
  protected:
    DriverFileTest() {
        QuillonLib::test::SetVariable("QUILLON_TEST_ECHO", File("told.txt").c_str());
    }
    ~DriverFileTest() override { QuillonLib::test::RemoveVariable("QUILLON_TEST_ECHO"); }
    // The driver that writes down what it is told, by that name.
    std::string Echo(const std::string& name) const {
        std::filesystem::copy_file(QUILLON_ECHO_DRIVER, folder / name);
        return File(name.c_str());
    }
    // The first connection string that the driver gets.
    std::string Told(const std::string& driver, std::vector<std::string> options) const {
        options.insert(options.begin(), {"compare", "h,1/a", "h,1/b", "--driver", driver});
        const Outcome outcome = Call(options);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_NE(outcome.err.find("this driver connects to nothing"), std::string::npos)
            << outcome.err;
        const std::string told = Read("told.txt");
        std::filesystem::remove(folder / "told.txt");
        return told.substr(0, told.find('\n'));
    }
    std::string ErrorOf(const std::vector<std::string>& options) const {
        std::vector<std::string> call{"compare"};
        call.insert(call.end(), options.begin(), options.end());
        const Outcome outcome = OnBoth(call);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err.substr(0, outcome.err.find('\n'));
    }
};

TEST_F(DriverFileTest, FreeTdsByItsFileIsFreeTds) {
    const Outcome outcome = OnBoth({"compare", "--driver", QUILLON_TDSODBC, "--encryption", "off"});
    EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
    EXPECT_EQ(outcome.out, OnBoth({"compare"}).out);
    EXPECT_EQ(OnBoth({"compare", "--by-server", "--driver", QUILLON_TDSODBC}).exitCode, 1);
}

TEST_F(DriverFileTest, EachDriverIsToldInItsOwnWords) {
    QuillonLib::test::SetVariable("QUILLON_PASSWORD", "a;b}");
    const std::string microsoft = Echo("libmsodbcsql-18.so");
    const std::string begin = "driver={" + microsoft + "};server=h,1;";
    EXPECT_EQ(Told(microsoft, {"--user", "sa"}), begin + "database=;uid=sa;pwd={a;b}}}");
    EXPECT_EQ(Told(microsoft, {"--user", "sa", "--encryption", "require"}),
              begin + "database=;uid=sa;pwd={a;b}}};Encrypt=yes;TrustServerCertificate=no");
    EXPECT_EQ(Told(microsoft, {"--integrated", "--encryption", "request"}),
              begin + "database=;Encrypt=no;Trusted_Connection=yes");
    const std::string other = Echo("libother.so");
    EXPECT_EQ(Told(other, {"--integrated"}), "driver={" + other + "};server=h,1;database=");
    QuillonLib::test::SetVariable("QUILLON_PASSWORD", "p");
    const std::string freeTds = Echo("libtdsodbc.so");
    EXPECT_EQ(Told(freeTds, {"--user", "sa", "--encryption", "require"}),
              "TDS_Version=7.4;PacketSize=16000;driver={" + freeTds +
                  "};server=h,1;database=;uid=sa;pwd=p;encryption=require");
}

TEST_F(DriverFileTest, WhatIsNoDriverIsToldBeforeAnythingBegins) {
    EXPECT_EQ(ErrorOf({"--driver", File("no.so")}),
              "quillon: --driver: the ODBC driver cannot be loaded: " + File("no.so") +
                  ": cannot open shared object file: No such file or directory");
    std::ofstream(File("text.so")) << "not a library";
    EXPECT_EQ(
        ErrorOf({"--driver", File("text.so")})
            .rfind("quillon: --driver: the ODBC driver cannot be loaded: " + File("text.so") + ": ",
                   0),
        0U);
    EXPECT_EQ(ErrorOf({"--driver", QUILLON_SOME_LIBRARY}),
              "quillon: --driver: " QUILLON_SOME_LIBRARY " is a library, but no ODBC driver");
    EXPECT_EQ(ErrorOf({"--driver", Echo("lib{x}.so")}),
              "quillon: --driver: '" + File("lib{x}.so") +
                  "' holds a brace, which no connection string can carry there");
}

TEST_F(DriverFileTest, AnEncryptionThatCannotBeHadIsRefused) {
    EXPECT_EQ(ErrorOf({"--driver", Echo("libother.so"), "--encryption", "require"}),
              "quillon: " + Refusal(DriverKind::Other, Encryption::Require));
    EXPECT_EQ(ErrorOf({"--driver", Echo("libmsodbcsql-17.so"), "--encryption", "off"}),
              "quillon: " + Refusal(DriverKind::Microsoft, Encryption::Off));
}

}  // namespace
}  // namespace quillon
