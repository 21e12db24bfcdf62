#include "core/KeyedList.h"
#include "tests/support/NumberThrown.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace QuillonLib {
namespace {

std::vector<std::u16string> Values(const KeyedList<std::u16string>& list) {
    return {list.begin(), list.end()};
}

class KeyedListTest : public ::testing::Test {
  protected:
    void SetUp() override {
        list.Add(u"one", u"Alpha");
        list.Add(u"two");
        list.Add(u"three", u"Gamma");
    }
    KeyedList<std::u16string> list;
};

TEST_F(KeyedListTest, KeepsTheOrderOfInsertion) {
    EXPECT_EQ(Values(list), (std::vector<std::u16string>{u"one", u"two", u"three"}));
    EXPECT_EQ(list.Count(), 3);
}

TEST_F(KeyedListTest, FindsByPositionFromOne) {
    EXPECT_EQ(list.Item(1), u"one");
    EXPECT_EQ(list.Item(3), u"three");
}

TEST_F(KeyedListTest, FindsByKeyWithoutRegardToCase) {
    EXPECT_EQ(list.Item(u"ALPHA"), u"one");
    EXPECT_EQ(list.Item(u"gamma"), u"three");
    EXPECT_TRUE(list.ItemExists(u"gAMMA"));
}

TEST_F(KeyedListTest, KeysFoldAllOfUnicode) {
    list.Add(u"four", u"\u0394\u03AD\u03BB\u03C4\u03B1");  // Greek
    list.Add(u"five", u"\U00010400");                      // Deseret, outside the first plane
    EXPECT_EQ(list.Item(u"\u03B4\u03AD\u03BB\u03C4\u03B1"), u"four");
    EXPECT_EQ(list.Item(u"\U00010428"), u"five");
}

TEST_F(KeyedListTest, DuplicateKeyIsError457AndChangesNothing) {
    EXPECT_EQ(test::NumberThrown([&] { list.Add(u"x", u"ALPHA"); }), 457);
    EXPECT_EQ(list.Count(), 3);
    EXPECT_EQ(list.Item(u"Alpha"), u"one");
}

TEST_F(KeyedListTest, AbsentKeyOrPositionIsError5) {
    EXPECT_EQ(test::NumberThrown([&] { list.Item(u"Beta"); }), 5);
    EXPECT_EQ(test::NumberThrown([&] { list.Item(0); }), 5);
    EXPECT_EQ(test::NumberThrown([&] { list.Item(4); }), 5);
    EXPECT_EQ(test::NumberThrown([&] { list.Remove(u"Beta"); }), 5);
    EXPECT_EQ(test::NumberThrown([&] { list.Remove(-1); }), 5);
    EXPECT_EQ(list.Count(), 3);
}

TEST_F(KeyedListTest, RemovingByKeyClosesTheGap) {
    list.Remove(u"alpha");
    EXPECT_EQ(Values(list), (std::vector<std::u16string>{u"two", u"three"}));
    EXPECT_EQ(list.Item(2), u"three");
    EXPECT_FALSE(list.ItemExists(u"Alpha"));
}

TEST_F(KeyedListTest, RemovingByPositionFreesTheKey) {
    list.Remove(3);
    EXPECT_FALSE(list.ItemExists(u"Gamma"));
    list.Add(u"again", u"GAMMA");
    EXPECT_EQ(list.Item(3), u"again");
}

TEST_F(KeyedListTest, AnEmptyTextIsAKeyLikeAnyOther) {
    list.Add(u"empty", u"");
    EXPECT_EQ(list.Item(u""), u"empty");
    EXPECT_EQ(test::NumberThrown([&] { list.Add(u"x", u""); }), 457);
}

TEST_F(KeyedListTest, ItemExistsNeverFails) {
    EXPECT_TRUE(list.ItemExists(1));
    EXPECT_FALSE(list.ItemExists(0));
    EXPECT_FALSE(list.ItemExists(INT64_MAX));
    EXPECT_FALSE(list.ItemExists(u"nothing"));
}

// Looks at the list that it stands in when it goes.
struct Witness {
    ~Witness() {
        if (list == nullptr) return;
        count = list->Count();
        exists = list->ItemExists(u"witness");
    }
    KeyedList<std::shared_ptr<Witness>>* list = nullptr;
    std::int32_t& count;
    bool& exists;
};

TEST(KeyedListOfObjects, IsWholeWhenAValueGoes) {
    std::int32_t count = 99;
    bool exists = true;
    KeyedList<std::shared_ptr<Witness>> list;
    list.Add(std::shared_ptr<Witness>(new Witness{&list, count, exists}), u"witness");
    list.Add(nullptr, u"other");
    list.Remove(u"Witness");
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(exists);
    EXPECT_TRUE(list.ItemExists(u"other"));
}

}  // namespace
}  // namespace QuillonLib
