#include "catalog/Databases.h"

#include <gtest/gtest.h>

#include "core/Error.h"
#include "tests/support/NumberThrown.h"

namespace QuillonLib {
namespace {

TEST(Databases, IdsAreNeverGivenTwice) {
    Databases databases;
    EXPECT_EQ(databases.Add()->ID(), 1);
    EXPECT_EQ(databases.Add()->ID(), 2);
    databases.Remove(1);
    EXPECT_EQ(databases.Add()->ID(), 3);
    EXPECT_EQ(databases.ItemFromID(1), nullptr);
    EXPECT_EQ(databases.ItemFromID(3), databases.Item(2));
}

TEST(Databases, ADuplicateKeyUsesAnIdUp) {
    Databases databases;
    databases.Add(u"a");
    EXPECT_EQ(test::NumberThrown([&] { databases.Add(u"A"); }), 457);
    EXPECT_EQ(databases.Count(), 1);
    EXPECT_EQ(databases.Add(u"b")->ID(), 3);
}

TEST(Databases, DirtyFollowsChangesAndIsNeverCleared) {
    Databases databases;
    EXPECT_FALSE(databases.Dirty());
    databases.Add(u"a");
    EXPECT_TRUE(databases.Dirty());
    databases.Dirty(false);
    EXPECT_TRUE(databases.Dirty());
}

TEST(Databases, AddWithoutAKeyMakesDirtyToo) {
    Databases databases;
    databases.Add();
    EXPECT_TRUE(databases.Dirty());
}

TEST(Databases, ItemsAreFoundAndRemovedByKey) {
    Databases databases;
    const auto a = databases.Add(u"a");
    const auto b = databases.Add(u"b");
    EXPECT_EQ(databases.Item(u"B"), b);
    databases.Remove(u"A");
    EXPECT_EQ(databases.Count(), 1);
    EXPECT_FALSE(databases.ItemExists(u"a"));
    EXPECT_EQ(databases.Item(1), b);
    EXPECT_EQ(a->ID(), 1);
}

TEST(Databases, AssigningDirtySetsItWhateverTheValue) {
    Databases databases;
    databases.Dirty(false);
    EXPECT_TRUE(databases.Dirty());
}

TEST(Databases, RemoveIDMakesDirtyEvenWhenItFindsNothing) {
    Databases databases;
    databases.RemoveID(7);
    EXPECT_TRUE(databases.Dirty());
}

TEST(Databases, RemoveIDRemovesTheItemOfThatId) {
    Databases databases;
    databases.Add(u"a");
    const auto b = databases.Add(u"b");
    databases.RemoveID(1);
    EXPECT_EQ(databases.Count(), 1);
    EXPECT_EQ(databases.Item(1), b);
    EXPECT_FALSE(databases.ItemExists(u"a"));
}

TEST(Databases, RemoveIDGoesByTheIdAndNotThePosition) {
    Databases databases;
    databases.Add();
    const auto second = databases.Add();
    databases.Add();
    databases.Remove(1);
    databases.RemoveID(3);
    EXPECT_EQ(databases.Count(), 1);
    EXPECT_EQ(databases.Item(1), second);
}

TEST(Databases, RemovingWhatIsAbsentIsError5AndChangesNothing) {
    Databases databases;
    EXPECT_EQ(test::NumberThrown([&] { databases.Remove(u"x"); }), 5);
    EXPECT_EQ(test::NumberThrown([&] { databases.Remove(1); }), 5);
    EXPECT_FALSE(databases.Dirty());
}

TEST(Databases, ItemExistsBeyondTheEndIsFalse) {
    Databases databases;
    databases.Add();
    EXPECT_TRUE(databases.ItemExists(1));
    EXPECT_FALSE(databases.ItemExists(2));
    EXPECT_EQ(test::NumberThrown([&] { databases.Item(2); }), 5);
}

TEST(Databases, WalksInListOrder) {
    Databases databases;
    databases.Add(u"b");
    databases.Add(u"a");
    std::vector<std::int32_t> ids;
    for (const auto& database : databases)
        ids.push_back(database->ID());
    EXPECT_EQ(ids, (std::vector<std::int32_t>{1, 2}));
}

TEST(Databases, AListOf32768ItemsCannotBeWalkedById) {
    Databases databases;
    for (int i = 0; i < 32767; ++i)
        databases.Add();
    EXPECT_EQ(databases.ItemFromID(32767)->ID(), 32767);
    databases.Add();
    EXPECT_EQ(test::NumberThrown([&] { databases.ItemFromID(1); }), 6);
    EXPECT_EQ(test::NumberThrown([&] { databases.RemoveID(1); }), 6);
    EXPECT_EQ(databases.Count(), 32768);
}

}  // namespace
}  // namespace QuillonLib
