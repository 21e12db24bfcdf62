#include "data/PropertyBag.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

TEST(PropertyBag, GivesBackWhatWasWritten) {
    PropertyBag bag;
    const auto object = std::make_shared<int>(7);
    bag.Write(u"NTSecurity", true);
    bag.Write(u"Server", u"SRV");
    bag.Write(u"Tables", object);
    EXPECT_TRUE(bag.ReadBool(u"NTSecurity"));
    EXPECT_EQ(bag.ReadText(u"Server"), u"SRV");
    EXPECT_EQ(bag.ReadObject<int>(u"Tables"), object);
}

TEST(PropertyBag, GivesTheDefaultForAnAbsentName) {
    const PropertyBag bag;
    EXPECT_FALSE(bag.ReadBool(u"x"));
    EXPECT_TRUE(bag.ReadBool(u"x", true));
    EXPECT_EQ(bag.ReadText(u"x", u"none"), u"none");
    EXPECT_EQ(bag.ReadObject<int>(u"x"), nullptr);
    EXPECT_FALSE(bag.Contains(u"x"));
}

TEST(PropertyBag, GivesTheDefaultForAnotherType) {
    PropertyBag bag;
    bag.Write(u"Tables", std::make_shared<int>(7));
    EXPECT_EQ(bag.ReadObject<double>(u"Tables"), nullptr);
    EXPECT_EQ(bag.ReadText(u"Tables", u"none"), u"none");
    EXPECT_TRUE(bag.Contains(u"Tables"));
}

TEST(PropertyBag, ReplacesAValue) {
    PropertyBag bag;
    bag.Write(u"Server", u"A");
    bag.Write(u"Server", u"B");
    EXPECT_EQ(bag.ReadText(u"Server"), u"B");
}

}  // namespace
}  // namespace QuillonLib
