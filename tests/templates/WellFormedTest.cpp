// Files that are no XML are not taken for templates, and not touched.
#include "templates/WellFormed.h"

#include <gtest/gtest.h>

#include <string>

#include "TemplateFiles.h"
#include "templates/LoadFailure.h"

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

TEST_F(WellFormedTest, ATextIsReadAsItsDeclarationSays) {
    const auto name = [&](const std::string& encoding, const std::string& id) {
        EXPECT_TRUE(Loads("<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + Store(id)))
            << encoding;
        ComparisonTemplates store;
        store.Load(Path());
        return store.Templates()->Item(1);
    };
    EXPECT_EQ(name("windows-1252", "\x80\xE9"), u"\u20AC\u00E9");
    EXPECT_EQ(name("Windows-1252", "\xC3\xA9"), u"\u00C3\u00A9");  // valid UTF-8 as well
    EXPECT_EQ(name("windows-1251", "\xC6"), u"\u0416");
    EXPECT_EQ(name("koi8-r", "\xF6"), u"\u0416");
    EXPECT_EQ(name("iso-8859-1", "\x80\xE9"), u"\u0080\u00E9");
    EXPECT_EQ(name("ISO-8859-15", "\xA4"), u"\u20AC");
    EXPECT_EQ(name("shift_jis", "\x83\x65"), u"\u30C6");
    EXPECT_EQ(name("us-ascii", "a"), u"a");
    EXPECT_EQ(name("utf-8", "\u00e9"), u"\u00e9");
    // Saved again by a program that left the declaration as it was.
    EXPECT_EQ(name("utf-16", "\u00e9"), u"\u00e9");
}

TEST_F(WellFormedTest, WhatAnEncodingHasNoMeaningForIsNotLoaded) {
    const auto loads = [&](const std::string& encoding, const std::string& id) {
        return Loads("<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>" + Store(id));
    };
    EXPECT_FALSE(loads("x-nothing-of-that-name", "a"));
    EXPECT_FALSE(loads("us-ascii", "\xE9"));
    EXPECT_FALSE(loads("windows-1253", "\xFF"));
    EXPECT_FALSE(loads("shift_jis", "\x83"));
    EXPECT_FALSE(loads("utf-8", "\xE9"));
    EXPECT_FALSE(loads("ibm-037", "a"));
    EXPECT_FALSE(Loads("\xFF\xFE<\0\x00\xD8/\0>\0"s));  // half a surrogate pair
    EXPECT_FALSE(Loads("\xFF\xFE\0\0<\0\0\0"s));
}

// The mark counts more than what the text declares.
TEST_F(WellFormedTest, AMarkOfUtf8IsBelieved) {
    EXPECT_TRUE(
        Loads("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"windows-1252\"?>" + Store("\xC3\xA9")));
    ComparisonTemplates store;
    store.Load(Path());
    EXPECT_EQ(store.Templates()->Item(1), u"\u00e9");
}

TEST_F(WellFormedTest, AFileOfAnotherEncodingIsSavedInUtf8AndSaysSo) {
    Write("<?xml version='1.0' encoding='windows-1252'?>" + Store("\x80\xE9"));
    ComparisonTemplates store;
    store.Load(Path());
    store.LoadTemplate(u"\u20AC\u00E9");
    EXPECT_TRUE(store.Persist());
    EXPECT_EQ(Read(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><templates><template "
              "id=\"\xE2\x82\xAC\xC3\xA9\"><database1 name=\"\"/><database2 name=\"\"/>"
              "<database3 name=\"\"/><tables/><columns/><indexes/></template>"
              "<lasttemplate name=\"\xE2\x82\xAC\xC3\xA9\"/></templates>");
}

// They would be kept as "&amp;e;".
TEST_F(WellFormedTest, EntitiesOfItsOwnAreNotLoaded) {
    EXPECT_FALSE(Loads("<!DOCTYPE templates [<!ENTITY e \"a\">]>" + Store("&e;")));
    EXPECT_FALSE(Loads("<!DOCTYPE templates [<!ENTITY % e \"a\">]>" + Store("a")));
    EXPECT_FALSE(Loads("<!DOCTYPE templates SYSTEM \"templates.dtd\">" + Store("&e;")));
    EXPECT_TRUE(Loads("<!DOCTYPE templates [<!ELEMENT templates ANY>]>" + Store("a")));
}

std::string Nested(std::size_t depth) {
    std::string text = "<templates><template id=\"Default\"><tables>";
    for (std::size_t level = 3; level < depth; ++level)
        text += "<table id=\"t\">";
    for (std::size_t level = 3; level < depth; ++level)
        text += "</table>";
    return text + "</tables></template></templates>";
}

TEST_F(WellFormedTest, ElementsMayBeNestedToALimit) {
    EXPECT_TRUE(Loads(Nested(256)));
    EXPECT_FALSE(Loads(Nested(257)));
    EXPECT_FALSE(Loads(Nested(200'000)));
    EXPECT_TRUE(Loads("<templates>" + [] {
        std::string flat;
        for (int i = 0; i < 1000; ++i)
            flat += "<template id=\"" + std::to_string(i) + "\"><tables/></template>";
        return flat;
    }() + "</templates>"));
}

TEST_F(WellFormedTest, EveryOperationWorksOnAFileAtTheLimit) {
    Write(Nested(256));
    ComparisonTemplates store;
    store.Load(Path());
    store.LoadTemplate(u"Default");
    EXPECT_EQ(Tables(store), Texts{u"t"});
    EXPECT_TRUE(store.NewTemplate(u"copy"));
    EXPECT_TRUE(Loads(Read()));
    EXPECT_TRUE(store.Persist());
}

TEST_F(WellFormedTest, TheReasonIsTold) {
    const auto why = [&](const std::string& content) {
        Write(content);
        return WhyNotLoaded(Path());
    };
    EXPECT_EQ(WhyNotLoaded(Path()), "there is no such file");
    EXPECT_EQ(WhyNotLoaded(folder.u16string()), "it is a folder");
    EXPECT_EQ(WhyNotLoaded(Path() + u'\xD83D'), "it has no valid name");
    EXPECT_EQ(why(Store("a")), "");
    EXPECT_EQ(why("<templates>\n</template>"), "it is not well-formed XML: line 2, mismatched tag");
    EXPECT_EQ(why(""), "it is not well-formed XML: line 1, no element found");
    EXPECT_EQ(why(Nested(257)), "its elements are nested more than 256 deep");
    EXPECT_EQ(why("<!DOCTYPE templates [<!ENTITY e \"a\">]>" + Store("&e;")),
              "it has entities of its own, which are not supported");
    EXPECT_EQ(why(Store("\xE9")), "it is not UTF-8, and declares nothing else");
    EXPECT_EQ(why("<?xml version=\"1.0\" encoding=\"x-none\"?>" + Store("a")),
              "its encoding x-none is not known");
    EXPECT_EQ(why("<?xml version=\"1.0\" encoding=\"us-ascii\"?>" + Store("\xE9")),
              "it holds what is not us-ascii");
#ifdef __linux__
    EXPECT_EQ(WhyNotLoaded(u"/dev/null"), "it is no regular file");
    EXPECT_EQ(WhyNotLoaded(u"/proc/self/mem"), "Input/output error");
#endif
}

TEST(WhyNotXml, ReadsLongTextsInPieces) {
    const std::string inner(std::size_t{40} << 20, 'x');
    EXPECT_EQ(WhyNotXml("<a>" + inner + "</a>"), "");
    EXPECT_NE(WhyNotXml("<a>" + inner + "</b>"), "");
    EXPECT_NE(WhyNotXml(""), "");
}

}  // namespace
}  // namespace QuillonLib
