// The program as it is called, against two databases of the sandbox.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/cli/ProgramCall.h"
#include "tests/support/Environment.h"
#include "tests/support/Holds.h"
#include "tests/support/SandboxTest.h"
#include "tests/support/TemporaryFolder.h"

namespace quillon {

using QuillonLib::Holds;

class ProgramTest : public QuillonLib::SandboxTest {
  protected:
    ProgramTest() {
        QuillonLib::test::SetVariable("QUILLON_PASSWORD", "sandbox");
        folder = QuillonLib::test::MakeTemporaryFolder();
        // No choice of whoever runs the tests is theirs.
        for (const char* place : {"XDG_CONFIG_HOME", "APPDATA"})
            QuillonLib::test::SetVariable(place, folder.string().c_str());
        const std::u16string tables =
            u"CREATE TABLE p (id int NOT NULL CONSTRAINT PK_p PRIMARY KEY, n nvarchar(20) "
            u"NULL)\nGO\n"
            u"CREATE TABLE c (id int NOT NULL CONSTRAINT PK_c PRIMARY KEY, "
            u"pid int NULL CONSTRAINT FK_c REFERENCES p (id))\nGO\n";
        server.Run(u"CREATE DATABASE a\nGO\nUSE a\nGO\n" + tables +
                   u"INSERT p VALUES (1, N'one'), (2, NULL)\nGO\nINSERT c VALUES (1, 1), (2, 2)");
        server.Run(
            u"CREATE DATABASE b\nGO\nUSE b\nGO\n" + tables +
            u"INSERT p VALUES (1, N'uno'), (3, N'three')\nGO\nINSERT c VALUES (1, 1), (2, 3)");
        one = QuillonLib::ToUtf8(server.Address()) + "/a";
        two = QuillonLib::ToUtf8(server.Address()) + "/b";
    }
    ~ProgramTest() override { std::filesystem::remove_all(folder); }

    static Outcome Call(const std::vector<std::string>& arguments) {
        return CallProgram(arguments);
    }
    Outcome OnBoth(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {one, two, "--user", "sa"});
        return Call(arguments);
    }
    // The command "template" with these words, on the test's own file "t.xml".
    Outcome Template(std::vector<std::string> words) const {
        words.insert(words.begin(), {"template", "--templates", File("t.xml")});
        return Call(words);
    }
    void RunOnA(const std::u16string& sql) { server.Run(u"USE a\nGO\n" + sql); }
    void RunOnB(const std::u16string& sql) { server.Run(u"USE b\nGO\n" + sql); }
    void RunOnBoth(const std::u16string& sql) {
        RunOnA(sql);
        RunOnB(sql);
    }
    std::u16string InB(const std::u16string& query) { return server.Scalar(u"USE b " + query); }
    std::string Read(const char* name) const {
        std::ifstream stream(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::string File(const char* name) const { return (folder / name).string(); }
    std::u16string RowsOfB() {
        return server.Scalar(u"USE b SELECT CAST(COUNT(*) AS nvarchar(9)) + ' ' + MIN(n) FROM p");
    }

    std::filesystem::path folder;
    std::string one;
    std::string two;
};

}  // namespace quillon
