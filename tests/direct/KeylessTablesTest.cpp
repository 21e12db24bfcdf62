// Tables without a key: bags of whole rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "catalog/CatalogReader.h"
#include "catalog/Login.h"
#include "data/Connection.h"
#include "direct/KeylessWalk.h"
#include "direct/RowBag.h"
#include "direct/RowHash.h"
#include "direct/TableQuery.h"
#include "direct/VariantCell.h"
#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

std::string Hex(const RowHash& hash) {
    std::string text;
    for (const std::uint8_t byte : hash) {
        for (const int digit : {byte / 16, byte % 16})
            text.push_back("0123456789abcdef"[digit]);
    }
    return text;
}

// The published values of SHA-256.
TEST(RowHashes, AreTheFirstHalfOfSha256) {
    EXPECT_EQ(Hex(HashRow("")), "e3b0c44298fc1c149afbf4c8996fb924");
    EXPECT_EQ(Hex(HashRow("abc")), "ba7816bf8f01cfea414140de5dae2223");
    EXPECT_EQ(Hex(HashRow("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
              "248d6a61d20638b8e5c026930c3e6039");
    EXPECT_EQ(Hex(HashRow(std::string(1000000, 'a'))), "cdc76e5c9914fb9281a1c7e284d73e67");
}

TEST(RowBags, GiveBackFromFilesWhatDoesNotFit) {
    for (const std::size_t room : {std::size_t{0}, std::size_t{500}, std::size_t{1} << 20}) {
        RowBag bag(room);
        for (int i = 0; i < 1000; ++i)
            bag.Add(HashRow(std::to_string(i)), std::string(static_cast<std::size_t>(i % 40), 'x'));
        std::size_t rows = 0, bytes = 0;
        for (std::size_t partition = 0; partition < RowBag::Partitions; ++partition) {
            bag.Visit(partition, [&](const RowHash& hash, std::string_view row) {
                EXPECT_EQ(hash.front(), partition);
                EXPECT_EQ(row.find_first_not_of('x'), std::string_view::npos);
                ++rows;
                bytes += row.size();
            });
        }
        EXPECT_EQ(rows, 1000U);
        EXPECT_EQ(bytes, 25U * 780U);
    }
}

class KeylessTables : public DirectFixture {};

TEST_F(KeylessTables, CountEqualRowsByTheirNumber) {
    RunOnBoth(u"CREATE TABLE t (a int, b nvarchar(9), c float)");
    RunOn1(u"INSERT t VALUES (1,N'x',1),(1,N'x',1),(1,N'x',1),(2,NULL,2),(3,N'y',NULL)");
    RunOn2(u"INSERT t VALUES (2,NULL,2),(1,N'x',1),(3,N'Y',NULL),(2,NULL,2)");
    const DirectTableResult result = CompareOne();
    ASSERT_TRUE(result.complete);
    EXPECT_TRUE(result.shape.key.empty());
    EXPECT_EQ(result.rows1, 5U);
    EXPECT_EQ(result.rows2, 4U);
    EXPECT_EQ(result.identical, 2U);
    EXPECT_EQ(result.onlyIn1, 3U);
    EXPECT_EQ(result.onlyIn2, 2U);
    EXPECT_EQ(result.differing, 0U);
    std::sort(differences.begin(), differences.end());
    EXPECT_EQ(differences,
              (Texts{u"1: 1|x|1", u"1: 1|x|1", u"1: 3|y|NULL", u"2: 2|NULL|2", u"2: 3|Y|NULL"}));
}

TEST_F(KeylessTables, CompareByValueWhereTypesDiffer) {
    RunOn1(
        u"CREATE TABLE t (a int, b varchar(9), c decimal(9,2), d real, e date)"
        u" INSERT t VALUES (1,'\u00E9',1.50,0.5,'20240101'),(2,'x',2,2,NULL)");
    RunOn2(
        u"CREATE TABLE t (a bigint, b nvarchar(9), c decimal(12,4), d float, e datetime)"
        u" INSERT t VALUES (2,N'x',2,2,NULL),(1,N'\u00E9',1.5,0.5,'20240101')");
    const DirectTableResult result = CompareOne();
    EXPECT_TRUE(result.Same());
    EXPECT_EQ(result.identical, 2U);
}

TEST_F(KeylessTables, TakeTheCallersLooserWord) {
    RunOnBoth(u"CREATE TABLE t (a varchar(9), f float)");
    RunOn1(u"INSERT t VALUES ('abc', 1.00001),('x', 2)");
    RunOn2(u"INSERT t VALUES ('ABC  ', 1.00002),('x', 2)");
    EXPECT_EQ(CompareOne().onlyIn1, 1U);
    options.equality = {true, true, 4};
    EXPECT_TRUE(CompareOne().Same());
}

// Every kind of value goes to a file and comes back.
TEST_F(KeylessTables, BringRowsBackFromFiles) {
    const std::u16string columns =
        u"a bit, b tinyint, c smallint, d int, e bigint, f real, g float, h money, i decimal(20,5),"
        u" j datetime, k date, l varchar(9), m nvarchar(max), n varbinary(9), o uniqueidentifier,"
        u" p sql_variant";
    RunOnBoth(u"CREATE TABLE t (" + columns + u")");
    RunOn1(
        u"INSERT t VALUES (1,2,3,4,5,1.5,2.5,3.25,4.12345,'20240101 10:00:00.003','20240102',"
        u"'v',N'w',0x01FF,'01234567-89AB-CDEF-0123-456789ABCDEF',CAST(7 AS int))");
    RunOn1(u"INSERT t (a) VALUES (NULL)");
    auto connection1 = OpenConnection(*one);
    auto connection2 = OpenConnection(*two);
    CatalogReader reader1(connection1), reader2(connection2);
    reader1.UseDatabase(u"w");
    reader2.UseDatabase(u"w");
    const DirectTable table{{u"dbo", u"t"}, {}, {}, {}};
    const TablePlan plan = PlanTable(reader1.Objects(std::array{table.name}).at(0),
                                     reader2.Objects(std::array{table.name}).at(0), table, {});
    SideReader side1, side2;
    RowCursor rows1(side1, TableQuery(plan, 1, u""), connection1);
    RowCursor rows2(side2, TableQuery(plan, 2, u""), connection2);
    DirectTableResult result;
    class Rows : public Outlet {
      public:
        bool WantsSame() const override { return false; }
        void Found(FoundDifference difference) override {
            EXPECT_EQ(difference.change, DirectChange::OnlyIn1);
            found.push_back(std::move(*difference.row1));
        }
        void Read(const DirectTableResult&) override {}
        std::vector<DirectRow> found;
    } rows;
    WalkKeyless(plan, {}, rows1, rows2, result, rows, 0);
    ASSERT_EQ(rows.found.size(), 2U);
    const DirectRow& full = rows.found[rows.found[0][0].IsNull() ? 1 : 0];
    const DirectRow& empty = rows.found[rows.found[0][0].IsNull() ? 0 : 1];
    EXPECT_TRUE(std::all_of(empty.begin(), empty.end(), [](const Value& v) { return v.IsNull(); }));
    EXPECT_EQ(ShownRow({full.begin(), full.end() - 1}),
              u"True|2|3|4|5|1.5|2.5|3.25|4.12345|2024-01-01 10:00:00.003|2024-01-02|0x76|w|"
              u"0x01FF|{01234567-89AB-CDEF-0123-456789ABCDEF}");
    const VariantCell variant(full.back());
    EXPECT_EQ(variant.BaseType(), u"int");
    EXPECT_EQ(ByteArray(variant.Bytes().begin(), variant.Bytes().end()), (ByteArray{0, 0, 0, 7}));
}

TEST_F(KeylessTables, RowsThatAreTheSameAreToldWhereTheyAreWanted) {
    RunOnBoth(u"CREATE TABLE t (a int, b varchar(5))");
    RunOn1(u"INSERT t VALUES (1, 'x'), (1, 'x'), (2, NULL)");
    RunOn2(u"INSERT t VALUES (2, NULL), (1, 'x'), (3, 'y')");
    options.sameRows = true;
    const DirectTableResult result = CompareOne();
    std::sort(differences.begin(), differences.end());
    EXPECT_EQ(differences, (Texts{u"1: 1|0x78", u"2: 3|0x79", u"= 1|0x78", u"= 2|NULL"}));
    EXPECT_EQ(result.identical, 2U);
}

}  // namespace
}  // namespace QuillonLib
