#include "catalog/ColumnObject.h"

#include <gtest/gtest.h>

#include "catalog/CatalogBuilder.h"
#include "tests/support/SandboxTest.h"

namespace QuillonLib {
namespace {

class ColumnObjectsTest : public ::testing::Test {
  protected:
    std::shared_ptr<ColumnObject> Add(const std::u16string& name) {
        ColumnFacts facts;
        facts.Name = name;
        return CatalogBuilder::AddFullColumn(columns, facts);
    }
    ColumnObjects columns;
};

TEST_F(ColumnObjectsTest, ListsTheColumnsThatAreComparedOrKeys) {
    Add(u"a");
    Add(u"b")->CannotCompare(true);
    const auto key = Add(u"c");
    key->PrimaryKey(true);
    key->CannotCompare(true);
    Add(u"d]");
    EXPECT_EQ(columns.ColumnList(), u"[a], [c], [d]]");
}

TEST_F(ColumnObjectsTest, TheListOfThreeColumns) {
    Add(u"a");
    Add(u"b");
    Add(u"c");
    EXPECT_EQ(columns.ColumnList(), u"[a], [b], [c]");
}

TEST_F(ColumnObjectsTest, TheListOfOneColumn) {
    Add(u"id");
    EXPECT_EQ(columns.ColumnList(), u"[id]");
}

TEST_F(ColumnObjectsTest, TheListIsEmptyWhereNoColumnQualifies) {
    EXPECT_EQ(columns.ColumnList(), u"");
    Add(u"a")->CannotCompare(true);
    EXPECT_EQ(columns.ColumnList(), u"");
}

TEST_F(ColumnObjectsTest, ItemExistsIgnoresCaseAndNeverFails) {
    Add(u"Name");
    EXPECT_TRUE(columns.ItemExists(u"NAME"));
    EXPECT_TRUE(columns.ItemExists(1));
    EXPECT_FALSE(columns.ItemExists(u"x"));
    EXPECT_FALSE(columns.ItemExists(2));
}

TEST_F(ColumnObjectsTest, WhatIsAbsentIsError5) {
    Add(u"id");
    EXPECT_EQ(columns.Item(u"ID")->Name(), u"id");
    EXPECT_EQ(columns.Item(1)->Name(), u"id");
    EXPECT_EQ(RaisedBy([&] { (void)columns.Item(u"name"); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)columns.Item(u"1"); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)columns.Item(0); }).number, 5);
    EXPECT_EQ(RaisedBy([&] { (void)columns.Item(2); }).number, 5);
}

TEST_F(ColumnObjectsTest, NamesThatDifferInCaseOnlyAreError457) {
    Add(u"Name");
    EXPECT_EQ(RaisedBy([&] { Add(u"nAME"); }).number, 457);
    ASSERT_EQ(columns.Count(), 1);
    EXPECT_EQ(columns.Item(1)->Name(), u"Name");
}

TEST(ColumnObject, BeginsWithNothingSet) {
    const ColumnObject column;
    EXPECT_EQ(column.Name(), u"");
    EXPECT_FALSE(column.PrimaryKey());
    EXPECT_FALSE(column.CannotCompare());
    EXPECT_EQ(column.DataType(), u"");
    EXPECT_EQ(column.Length(), 0);
    EXPECT_FALSE(column.Computed());
    EXPECT_EQ(column.NumericScale(), 0);
    EXPECT_EQ(column.NumericPrecision(), 0);
    EXPECT_FALSE(column.AllowNulls());
}

}  // namespace
}  // namespace QuillonLib
