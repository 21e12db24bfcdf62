// The program as Windows starts it: its command line, its environment, its streams.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "core/Text.h"
#include "tests/support/Environment.h"
#include "tests/support/TemporaryFolder.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

struct Ended {
    DWORD exitCode = 0;
    std::string out;
    std::string err;
};

class ProcessTest : public ::testing::Test {
  protected:
    ~ProcessTest() override { fs::remove_all(folder); }

    static std::string Read(const fs::path& path) {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    void Write(const fs::path& path, const std::string& bytes) const {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    // `arguments` in UTF-8, as they stand on the command line; streams are files.
    Ended Run(const std::string& arguments, const std::string& input = {}) const {
        Write(folder / "in", input);
        std::u16string line = QuillonLib::FromUtf8("quillon " + arguments);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = Inherited(folder / "in", GENERIC_READ, OPEN_EXISTING);
        start.hStdOutput = Inherited(folder / "out", GENERIC_WRITE, CREATE_ALWAYS);
        start.hStdError = Inherited(folder / "err", GENERIC_WRITE, CREATE_ALWAYS);
        PROCESS_INFORMATION process{};
        const std::wstring program = fs::path("Z:" QUILLON_PROGRAM).wstring();
        EXPECT_TRUE(CreateProcessW(program.c_str(), reinterpret_cast<wchar_t*>(line.data()),
                                   nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process))
            << GetLastError();
        for (const HANDLE stream : {start.hStdInput, start.hStdOutput, start.hStdError})
            CloseHandle(stream);
        Ended ended;
        EXPECT_EQ(WaitForSingleObject(process.hProcess, 30000), WAIT_OBJECT_0);
        GetExitCodeProcess(process.hProcess, &ended.exitCode);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        ended.out = Read(folder / "out");
        ended.err = Read(folder / "err");
        return ended;
    }

    fs::path folder = QuillonLib::test::MakeTemporaryFolder();

  private:
    static HANDLE Inherited(const fs::path& path, DWORD access, DWORD how) {
        SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
        return CreateFileW(path.c_str(), access, FILE_SHARE_READ, &inherit, how, 0, nullptr);
    }
};

TEST_F(ProcessTest, ArgumentsNameFilesInAnyLetters) {
    Write(folder / L"T\u00E9 \u65E5.sql", "SELECT 1\r\nGO\r\nSELECT N'\xC3\xA9'\r\nGO\r\n");
    const std::string name = QuillonLib::ToUtf8((folder / L"T\u00E9 \u65E5.sql").u16string());
    const std::string pieces = QuillonLib::ToUtf8((folder / L"st\u00FCcke").u16string());
    const Ended ended = Run("split \"" + name + "\" --out \"" + pieces + "\"");
    EXPECT_EQ(ended.exitCode, 0U) << ended.err;
    EXPECT_EQ(ended.err, "3 batches\n");
    EXPECT_EQ(Read(folder / L"st\u00FCcke" / "2.sql"), "\xEF\xBB\xBFSELECT N'\xC3\xA9'");
}

TEST_F(ProcessTest, DataComesOutByteForByteAndErrorsInUtf8) {
    Write(folder / "s.sql", "a\r\nb\nc");
    const std::string name = QuillonLib::ToUtf8((folder / "s.sql").u16string());
    EXPECT_EQ(Run("split \"" + name + "\"").out, "-- batch 1\na\r\nb\nc\n");
    const Ended missing = Run("split \"Z:\\n\u00F6t \u65E5.sql\"");
    EXPECT_EQ(missing.exitCode, 2U);
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(missing.err,
              "quillon: cannot read Z:\\n\u00F6t \u65E5.sql: No such file or directory\n");
}

// The bytes are those that another implementation of both algorithms gives.
TEST_F(ProcessTest, ThePassPhraseIsReadInUnicodeAndALineOfInputEndsAsWindowsEndsIt) {
    QuillonLib::test::SetVariable("QUILLON_PASSPHRASE", "p\u20acss");
    const Ended ended = Run("encrypt", "caf\u00e9 \U0001F600\r\n");
    EXPECT_EQ(ended.exitCode, 0U) << ended.err;
    EXPECT_EQ(ended.out, "b4f12af32729845ce1a375a1d88c\n");
    EXPECT_EQ(Run("decrypt", ended.out).out, "caf\u00e9 \U0001F600\n");
}

TEST_F(ProcessTest, HalfASurrogatePairIsNoArgument) {
    const std::u16string half{u's', u'p', u'l', u'i', u't', u' ', 0xD83D};
    std::wstring line = L"quillon " + std::wstring(half.begin(), half.end());
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    const std::wstring program = fs::path("Z:" QUILLON_PROGRAM).wstring();
    ASSERT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &start, &process));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 30000), WAIT_OBJECT_0);
    DWORD exitCode = 0;
    GetExitCodeProcess(process.hProcess, &exitCode);
    EXPECT_EQ(exitCode, 2U);
}

TEST_F(ProcessTest, WhatNeedsTheSandboxSaysSo) {
    for (const char* command : {"demo", "sandbox --port 1"}) {
        const Ended ended = Run(command);
        EXPECT_EQ(ended.exitCode, 2U);
        EXPECT_EQ(ended.err, "quillon: the sandbox, which this needs, runs on Linux only\n");
    }
}

TEST_F(ProcessTest, AQuestionWithoutATerminalIsAnError) {
    SetEnvironmentVariableW(L"QUILLON_PASSWORD", nullptr);
    const Ended ended = Run("databases 127.0.0.1,1 --user sa");
    EXPECT_EQ(ended.exitCode, 2U);
    EXPECT_EQ(ended.err, "quillon: no password for sa: set QUILLON_PASSWORD in the environment\n");
}

}  // namespace
}  // namespace quillon
