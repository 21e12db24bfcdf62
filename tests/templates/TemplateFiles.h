// A folder of its own for each test, and files in it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "TemplateFolder.h"
#include "core/Error.h"
#include "tests/support/Holds.h"

namespace QuillonLib {

class TemplateFiles : public ::testing::Test, protected TemplateFolder {
  protected:
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
    static Texts Names(const std::shared_ptr<NameList>& list) {
        return {list->begin(), list->end()};
    }
};

// A file whose only template, "Default", holds this.
inline std::string InDefault(const std::string& content) {
    return "<templates><template id=\"Default\">" + content + "</template></templates>";
}

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
