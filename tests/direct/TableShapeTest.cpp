// Columns that a case-sensitive database may have, and that no one server here has.
#include "direct/TableShape.h"

#include <gtest/gtest.h>

namespace QuillonLib {
namespace {

ObjectFacts TableOf(std::initializer_list<const char16_t*> columns) {
    ObjectFacts table;
    table.Object = {u"dbo", u"t"};
    for (const char16_t* name : columns) {
        ColumnFacts column;
        column.Name = name;
        column.DataType = u"int";
        table.Columns.push_back(column);
    }
    return table;
}

// Matched by name whatever the case, one of the two would go uncompared, and nobody be told.
TEST(TableShape, ColumnsWhoseNamesDifferInCaseOnlyAreAnError) {
    const ObjectFacts plain = TableOf({u"id", u"a"});
    const ObjectFacts twins = TableOf({u"id", u"a", u"b", u"A"});
    for (const auto& [one, two] : {std::pair(plain, twins), std::pair(twins, plain)}) {
        try {
            PlanTable(one, two, DirectTable{}, {});
            FAIL();
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), ErrorNumber::Comparison);
            EXPECT_EQ(error.Description(),
                      u"Table [dbo].[t] has columns whose names differ in case only: a and A.");
        }
    }
}

TEST(TableShape, AColumnOfAnotherCaseOnTheOtherSideIsTheSame) {
    const TablePlan plan =
        PlanTable(TableOf({u"id", u"name"}), TableOf({u"ID", u"Name"}), DirectTable{}, {});
    EXPECT_EQ(plan.shape.columns.size(), 2U);
    EXPECT_TRUE(plan.shape.omitted.empty());
}

TEST(TableShape, AColumnOfOneSideCanBeIgnored) {
    const DirectTable table{{u"dbo", u"t"}, {}, {}, {u"MINE", u"yours"}};
    const TablePlan plan =
        PlanTable(TableOf({u"id", u"mine", u"a"}), TableOf({u"id", u"Yours", u"b"}), table, {});
    std::vector<std::pair<std::u16string, DirectOmission>> omitted;
    for (const DirectOmitted& column : plan.shape.omitted)
        omitted.emplace_back(column.name, column.why);
    EXPECT_EQ(omitted, (std::vector<std::pair<std::u16string, DirectOmission>>{
                           {u"mine", DirectOmission::Ignored},
                           {u"a", DirectOmission::OnlyIn1},
                           {u"Yours", DirectOmission::Ignored},
                           {u"b", DirectOmission::OnlyIn2}}));
}

TEST(TableShape, AViewOnEitherSideMakesItAView) {
    ObjectFacts view = TableOf({u"id"});
    view.IsView = true;
    const ObjectFacts table = TableOf({u"id"});
    EXPECT_FALSE(PlanTable(table, table, DirectTable{}, {}).shape.view);
    EXPECT_TRUE(PlanTable(view, table, DirectTable{}, {}).shape.view);
    EXPECT_TRUE(PlanTable(table, view, DirectTable{}, {}).shape.view);
}

TEST(TableShape, ColumnsThatAreNotAmongTheChosenAreLeftOutButForTheKey) {
    DirectTable choice;
    choice.keyColumns = {u"id"};
    choice.comparedColumns = {u"NAME"};
    const TablePlan plan = PlanTable(TableOf({u"id", u"name", u"rest", u"mine"}),
                                     TableOf({u"id", u"Name", u"rest"}), choice, {});
    ASSERT_EQ(plan.shape.columns.size(), 2U);
    EXPECT_EQ(plan.shape.columns[0].side1.Name, u"id");
    EXPECT_EQ(plan.shape.columns[1].side1.Name, u"name");
    ASSERT_EQ(plan.shape.omitted.size(), 2U);
    EXPECT_EQ(plan.shape.omitted[0].name, u"rest");
    EXPECT_EQ(plan.shape.omitted[0].why, DirectOmission::NotChosen);
    EXPECT_EQ(plan.shape.omitted[1].why, DirectOmission::OnlyIn1);
}

// It would be written beside the columns that it shows, and no statement may do that.
TEST(TableShape, AColumnSetIsLeftOutAndItsColumnsAreNot) {
    ObjectFacts sparse = TableOf({u"id", u"a", u"all"});
    const ObjectFacts plain = sparse;
    sparse.Columns[2].ColumnSet = true;
    for (const auto& [one, two] :
         {std::pair(sparse, sparse), std::pair(sparse, plain), std::pair(plain, sparse)}) {
        const TablePlan plan = PlanTable(one, two, DirectTable{}, {});
        EXPECT_EQ(plan.shape.columns.size(), 2U);
        ASSERT_EQ(plan.shape.omitted.size(), 1U);
        EXPECT_EQ(plan.shape.omitted[0].name, u"all");
        EXPECT_EQ(plan.shape.omitted[0].why, DirectOmission::ColumnSet);
    }
}

TEST(TableShape, AChosenColumnThatIsNotThereIsAnError) {
    DirectTable choice;
    choice.comparedColumns = {u"nmae"};
    EXPECT_THROW(PlanTable(TableOf({u"id", u"name"}), TableOf({u"id", u"name"}), choice, {}),
                 Error);
}

}  // namespace
}  // namespace QuillonLib
