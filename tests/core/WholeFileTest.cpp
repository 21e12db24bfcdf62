// Files that take their names together.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "core/Error.h"
#include "core/Text.h"
#include "tests/support/FailingFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace QuillonLib {
namespace {

namespace fs = std::filesystem;

class WholeFileTest : public ::testing::Test {
  protected:
    WholeFileTest() : folder(test::MakeTemporaryFolder()) {}
    ~WholeFileTest() override { fs::remove_all(folder); }

    // "a=old, b=new": every file in the folder with what is in it.
    std::string Content() const {
        std::string text;
        for (const char* name : {"a", "b", "c"}) {
            if (!fs::exists(folder / name)) continue;
            std::ifstream stream(folder / name, std::ios::binary);
            text += std::string(text.empty() ? "" : ", ") + name + "=" +
                    std::string(std::istreambuf_iterator<char>(stream), {});
        }
        const auto files = std::distance(fs::directory_iterator(folder), fs::directory_iterator());
        return text + " (" + std::to_string(files) + ")";
    }
    void Put(const char* name, const char* content) const {
        std::ofstream(folder / name, std::ios::binary | std::ios::trunc) << content;
    }
    // Writes three files together with the call of that number failing; what was told.
    std::string Write(int failing, int call = 1) {
        test::FailingFiles files;
        std::string told;
        {
            WholeFile a(folder / "a", files);
            WholeFile b(folder / "b", files);
            WholeFile c(folder / "c", files);
            for (WholeFile* file : {&a, &b, &c})
                file->Write("new");
            files.callsLeft = failing;
            files.callsThatFail = call;
            try {
                FinishTogether({&a, &b, &c});
            } catch (const Error& error) {
                EXPECT_EQ(error.Number(), ErrorNumber::FileAccess);
                told = ToUtf8(error.Description());
            }
            calls = files.calls;
        }
        return told;
    }

    fs::path folder;
    int calls = 0;
};

TEST_F(WholeFileTest, AllTakeTheirNames) {
    Put("b", "old");
    EXPECT_EQ(Write(-1), "");
    EXPECT_EQ(Content(), "a=new, b=new, c=new (3)");
}

// Two of the files have been there before.
TEST_F(WholeFileTest, WhereOneCannotNoneDoes) {
    EXPECT_EQ(Write(-1), "");
    const int all = calls;
    ASSERT_GT(all, 8);
    int failures = 0;
    for (int failing = 0; failing < all; ++failing) {
        fs::remove(folder / "b");
        Put("a", "old a");
        Put("c", "old c");
        const std::string told = Write(failing);
        // A second name that cannot be had does not hinder the first.
        if (told.empty()) {
            EXPECT_EQ(Content(), "a=new, b=new, c=new (3)") << failing;
            continue;
        }
        ++failures;
        EXPECT_NE(told.find("Cannot write the file '" + folder.string()), std::string::npos);
        EXPECT_EQ(told.find("stays"), std::string::npos) << told;
        EXPECT_EQ(Content(), "a=old a, c=old c (2)") << failing;
    }
    EXPECT_GE(failures, 9);  // to store, to close and to name each of the three
}

TEST_F(WholeFileTest, WhatCannotBeTakenBackIsNamed) {
    Put("a", "old a");
    Put("b", "old b");
    // Two calls store each of three files; two give a and b their names. That of c fails, and so
    // does what follows.
    const std::string told = Write(10, 100);
    EXPECT_EQ(told, "Cannot write the file '" + (folder / "c").string() +
                        "': No space left on device; '" + (folder / "a").string() +
                        "' is written, and stays; '" + (folder / "b").string() +
                        "' is written, and stays");
    EXPECT_EQ(Content(), "a=new, b=new (2)");
}

}  // namespace
}  // namespace QuillonLib
