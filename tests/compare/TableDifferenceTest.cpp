#include "compare/TableDifference.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "core/Error.h"

namespace QuillonLib {
namespace {

TEST(TableDifference, BeginsEmpty) {
    const auto result = TableDifferences().Add();
    EXPECT_EQ(result->Columns()->Count(), 0);
    EXPECT_EQ(result->Name(), u"");
    EXPECT_FALSE(result->HasDodgyColumns());
    EXPECT_FALSE(result->HasPrimaryKey());
    EXPECT_EQ(result->RecordsIn1(), 0);
    EXPECT_EQ(result->RecordsIn2(), 0);
    EXPECT_FALSE(result->Identical());
    EXPECT_EQ(result->RecordsInUnion(), 0);
    EXPECT_EQ(result->RecordsDiffering(), 0);
    EXPECT_FALSE(result->HasIdentity());
    EXPECT_EQ(result->Error(), u"");
    EXPECT_FALSE(result->IsView());
}

TEST(TableDifferences, KeepsResultsInOrderUnderTheirKeys) {
    TableDifferences results;
    const auto b = results.Add(u"[dbo].[b]");
    const auto a = results.Add(u"[dbo].[a]");
    const auto nameless = results.Add();
    EXPECT_EQ(results.Count(), 3);
    EXPECT_EQ(results.Item(1), b);
    EXPECT_EQ(results.Item(u"[DBO].[A]"), a);
    std::vector<std::shared_ptr<TableDifference>> walked(results.begin(), results.end());
    EXPECT_EQ(walked, (std::vector{b, a, nameless}));
}

TEST(TableDifferences, ItemAndRemoveTakePositionsFromOne) {
    TableDifferences results;
    const auto a = results.Add(u"[dbo].[a]");
    results.Add(u"[dbo].[b]");
    const auto c = results.Add(u"[dbo].[c]");
    results.Remove(2);
    EXPECT_EQ(results.Count(), 2);
    EXPECT_EQ(results.Item(1), a);
    EXPECT_EQ(results.Item(2), c);
    EXPECT_FALSE(results.ItemExists(u"[dbo].[b]"));
    EXPECT_EQ(results.Item(u"[dbo].[c]"), c);
    EXPECT_THROW(results.Item(0), Error);
    EXPECT_THROW(results.Item(3), Error);
    EXPECT_THROW(results.Remove(0), Error);
    results.Remove(1);
    EXPECT_EQ(results.Item(1), c);
}

TEST(TableDifferences, ItemExistsNeverFails) {
    TableDifferences results;
    results.Add(u"[dbo].[a]");
    EXPECT_TRUE(results.ItemExists(u"[dbo].[A]"));
    EXPECT_TRUE(results.ItemExists(1));
    EXPECT_FALSE(results.ItemExists(u"unknown"));
    EXPECT_FALSE(results.ItemExists(0));
    EXPECT_FALSE(results.ItemExists(2));
}

TEST(TableDifferences, DuplicateKeyIsError457) {
    TableDifferences results;
    results.Add(u"[dbo].[a]");
    try {
        results.Add(u"[dbo].[A]");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 457);
    }
}

TEST(TableDifferences, RemoveFailsWithError5WhenAbsent) {
    TableDifferences results;
    results.Add(u"[dbo].[a]");
    for (const auto& remove : {std::function<void()>([&] { results.Remove(u"x"); }),
                               std::function<void()>([&] { results.Remove(2); })}) {
        try {
            remove();
            FAIL() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), 5);
        }
    }
    results.Remove(u"[dbo].[a]");
    EXPECT_EQ(results.Count(), 0);
}

}  // namespace
}  // namespace QuillonLib
