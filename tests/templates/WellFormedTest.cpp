// Files that are no XML are not taken for templates, and not touched.
#include "templates/WellFormed.h"

#include <gtest/gtest.h>

#include <string>

#include "TemplateFiles.h"

namespace QuillonLib {
namespace {

using namespace std::string_literals;

class WellFormedTest : public TemplateFiles {
  protected:
    bool Loads(const std::string& content) const {
        Write(content);
        ComparisonTemplates store;
        const bool loaded = store.Load(Path());
        const auto names = store.Templates();
        EXPECT_EQ(names->ItemExists(1), loaded);
        EXPECT_EQ(Read(), content);
        return loaded;
    }
};

std::string Store(const std::string& id) {
    return "<templates><template id=\"" + id + "\"/></templates>";
}

TEST_F(WellFormedTest, WhatIsNoXmlIsNotLoaded) {
    EXPECT_TRUE(Loads(Store("a")));
    EXPECT_FALSE(Loads("junk" + Store("a")));
    EXPECT_FALSE(Loads(Store("a") + "junk"));
    EXPECT_FALSE(Loads(Store("a") + "<?xml version=\"1.0\"?>"));
    EXPECT_FALSE(Loads(Store("a\" id=\"b")));
    EXPECT_FALSE(Loads(Store("<")));
    EXPECT_FALSE(Loads(Store("a & b")));
    EXPECT_FALSE(Loads(Store("&nothing;")));
    EXPECT_FALSE(Loads(Store("\x01")));
    EXPECT_FALSE(Loads(Store("a"s + '\0')));
    EXPECT_FALSE(Loads("<templates><template id=a/></templates>"));
    EXPECT_FALSE(Loads("<templates><template id=\"a\"/></templates >x"));
    EXPECT_FALSE(Loads("<templates><template id=\"a\"/><!-- a -- b --></templates>"));
}

TEST_F(WellFormedTest, EverythingThatXmlAllowsIsLoaded) {
    EXPECT_TRUE(Loads("\xEF\xBB\xBF" + Store("a")));
    EXPECT_TRUE(Loads("<?xml version='1.0'?><!-- c --><?p i?>" + Store("&lt;&amp;&#x41;") +
                      "<!-- end -->\n"));
    EXPECT_TRUE(Loads("<!DOCTYPE templates>" + Store("a")));
    EXPECT_TRUE(Loads("<templates>text<![CDATA[<&]]><template id='a'/></templates>"));
    EXPECT_TRUE(Loads("<?xml version=\"1.0\" encoding=\"windows-1252\"?>" + Store("a")));
    EXPECT_TRUE(Loads("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>" + Store("\xE9")));
}

TEST_F(WellFormedTest, Utf16IsReadInEitherOrder) {
    std::string little = "\xFF\xFE";
    std::string big = "\xFE\xFF";
    for (const char c : Store("a")) {
        little += {c, '\0'};
        big += {'\0', c};
    }
    EXPECT_TRUE(Loads(little));
    EXPECT_TRUE(Loads(big));
    little += {'x', '\0'};
    EXPECT_FALSE(Loads(little));
}

TEST(IsWellFormed, ReadsLongTextsInPieces) {
    const std::string inner(std::size_t{40} << 20, 'x');
    EXPECT_TRUE(IsWellFormed("<a>" + inner + "</a>", "UTF-8"));
    EXPECT_FALSE(IsWellFormed("<a>" + inner + "</b>", "UTF-8"));
    EXPECT_FALSE(IsWellFormed("", "UTF-8"));
}

}  // namespace
}  // namespace QuillonLib
