// A folder of its own for each test, and files in it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "core/Error.h"
#include "templates/ComparisonTemplates.h"
#include "tests/support/TemporaryFolder.h"

namespace QuillonLib {

class TemplateFiles : public ::testing::Test {
  protected:
    TemplateFiles() {
        folder = test::MakeTemporaryFolder();
        file = folder / "Templates.xml";
    }
    ~TemplateFiles() override {
        using std::filesystem::perms;
        std::filesystem::permissions(folder, perms::owner_all);
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::error_code ignored;  // a file that only may be read cannot be removed on Windows
            std::filesystem::permissions(entry, perms::owner_all, ignored);
        }
        std::filesystem::remove_all(folder);
    }

    void Write(const std::string& content) const {
        std::ofstream(file, std::ios::binary) << content;
    }
    std::string Read() const {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::u16string Path() const { return file.u16string(); }

    static std::int32_t NumberOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const Error& error) {
            return error.Number();
        }
        return 0;
    }
    static void ExpectError(std::int32_t number, std::u16string_view description,
                            const std::function<void()>& action) {
        try {
            action();
            ADD_FAILURE() << "no error " << number;
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), number);
            EXPECT_EQ(error.Description(), description);
        }
    }
    static std::vector<std::u16string> Names(const std::shared_ptr<NameList>& list) {
        return {list->begin(), list->end()};
    }
    static std::vector<std::u16string> Tables(ComparisonTemplates& store) {
        return std::get<TextArray>(store.Items(tmpTable)).Items;
    }

    std::filesystem::path folder;
    std::filesystem::path file;
};

using Texts = std::vector<std::u16string>;

// "Nightly" is the stored one.
inline constexpr const char* TwoTemplates =
    "<templates><lasttemplate name=\"Nightly\"/>"
    "<template id=\"Default\"><database1 name=\"a\"/><database2 name=\"b\"/><database3 name=\"c\"/>"
    "<tables><table id=\"[dbo].[T]\"/></tables><columns/><indexes/></template>"
    "<template id=\"Nightly\"><database1 name=\"x\"/><database2 name=\"y\"/><database3 name=\"z\"/>"
    "<tables/><columns><table id=\"[dbo].[U]\"><column id=\"c1\"/><column "
    "id=\"c2\"/></table></columns>"
    "<indexes><table id=\"[dbo].[U]\"><index id=\"PK_U\"/></table></indexes></template>"
    "</templates>";

}  // namespace QuillonLib
