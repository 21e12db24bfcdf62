#include "direct/WriteOrder.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

// A key of "child" that refers to a column of `parent` and acts by itself.
ForeignKeyFacts KeyTo(const ObjectName& parent, const std::u16string& column) {
    ForeignKeyFacts key;
    key.Name = u"key";
    key.Table = {u"dbo", u"child"};
    key.Referenced = parent;
    key.Columns = {{u"own", column}};
    key.ActsOnDelete = true;
    key.ActsOnUpdate = true;
    return key;
}

WrittenTable Table(const std::u16string& name) {
    WrittenTable table;
    table.name = {u"dbo", name};
    table.columns = {u"id", u"a"};
    table.changed = {false, false};
    table.mayBeNull = {false, false};
    table.key = {u"id"};
    return table;
}

// A database whose collation tells case apart.
TEST(WriteOrder, TellsTablesApartWhoseNamesDifferInCase) {
    WrittenTable first = Table(u"Orders");
    WrittenTable second = Table(u"orders");
    second.deletes = true;
    const auto suspended = [&](const std::u16string& parent) {
        return OrderWrites({first, second}, {KeyTo({u"dbo", parent}, u"id")}).suspended.size();
    };
    EXPECT_EQ(suspended(u"Orders"), 0U);
    EXPECT_EQ(suspended(u"orders"), 1U);
}

TEST(WriteOrder, TakesAComputedColumnForChangedWhereAnyIs) {
    WrittenTable parent = Table(u"parent");
    parent.computed = {u"c"};
    const std::vector<ForeignKeyFacts> keys = {KeyTo({u"dbo", u"parent"}, u"C")};
    EXPECT_EQ(OrderWrites({parent}, keys).suspended.size(), 0U);
    parent.changed = {false, true};
    EXPECT_EQ(OrderWrites({parent}, keys).suspended.size(), 1U);
}

// What a deleted row gives up an inserted one may take.
TEST(WriteOrder, TakesAComputedColumnForWritten) {
    WrittenTable parent = Table(u"parent");
    parent.inserts = true;
    parent.deletes = true;
    ForeignKeyFacts key = KeyTo({u"dbo", u"parent"}, u"c");
    key.ActsOnDelete = false;
    key.ActsOnUpdate = false;
    EXPECT_EQ(OrderWrites({parent}, {key}).suspended.size(), 0U);
    parent.computed = {u"c"};
    EXPECT_EQ(OrderWrites({parent}, {key}).suspended.size(), 1U);
}

}  // namespace
}  // namespace QuillonLib
