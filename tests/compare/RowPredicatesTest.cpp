#include "compare/RowPredicates.h"

#include <gtest/gtest.h>

#include "catalog/CatalogBuilder.h"
#include "compare/Events.h"

namespace QuillonLib {
namespace {

class RowPredicatesTest : public ::testing::Test {
  protected:
    void Add(const std::u16string& name, bool allowNulls, bool key, bool cannotCompare = false) {
        ColumnFacts facts;
        facts.Name = name;
        facts.AllowNulls = allowNulls;
        const auto column = CatalogBuilder::AddFullColumn(columns, facts);
        column->PrimaryKey(key);
        column->CannotCompare(cannotCompare);
    }
    ColumnObjects columns;
};

TEST_F(RowPredicatesTest, JoinsOnTheKeyColumns) {
    Add(u"a", false, true);
    Add(u"b", false, false);
    Add(u"c]", true, true, true);
    EXPECT_EQ(JoinPredicate(columns), u"T1.[a]=T2.[a] AND T1.[c]]=T2.[c]] ");
}

TEST_F(RowPredicatesTest, ComparesTheOtherColumns) {
    Add(u"id", false, true);
    Add(u"a", false, false);
    Add(u"b", true, false);
    Add(u"t", true, false, true);
    EXPECT_EQ(DifferencePredicate(columns),
              u"(T1.[a]<>T2.[a]) OR (T1.[b]<>T2.[b]) OR "
              u"(T1.[b] IS NULL AND T2.[b] IS NOT NULL) OR "
              u"(T1.[b] IS NOT NULL AND T2.[b] IS NULL) ");
}

TEST_F(RowPredicatesTest, WithoutColumnsOfTheirKindBothAreEmpty) {
    EXPECT_EQ(JoinPredicate(columns), u"");
    EXPECT_EQ(DifferencePredicate(columns), u"");
    Add(u"id", false, true);
    Add(u"t", true, false, true);
    EXPECT_EQ(DifferencePredicate(columns), u"");
}

TEST(RoundPercent, RoundsToTheNearestWholeNumberHalvesToEven) {
    EXPECT_EQ(RoundPercent(0.0), 0);
    EXPECT_EQ(RoundPercent(12.5), 12);
    EXPECT_EQ(RoundPercent(37.5), 38);
    EXPECT_EQ(RoundPercent(62.5), 62);
    EXPECT_EQ(RoundPercent(33.34), 33);
    EXPECT_EQ(RoundPercent(66.67), 67);
    EXPECT_EQ(RoundPercent(100.0), 100);
}

}  // namespace
}  // namespace QuillonLib
