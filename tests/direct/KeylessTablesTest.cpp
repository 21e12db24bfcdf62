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

TEST(RowBags, GoToTheFileWhenTheRoomIsFull) {
    constexpr std::size_t Room = 1000, RowSize = 100;
    RowBag bag(Room);
    std::size_t most = 0;
    int spills = 0;
    for (int i = 0; i < 100; ++i) {
        const std::size_t before = bag.Held();
        bag.Add(HashRow(std::to_string(i)), std::string(RowSize, 'x'));
        if (bag.Held() < before) {
            ++spills;
            EXPECT_EQ(bag.Held(), 0U);
        }
        most = std::max(most, bag.Held());
    }
    EXPECT_GE(most, Room - 2 * RowSize);
    EXPECT_LE(most, Room);
    EXPECT_GE(spills, 10);  // of 10,000 bytes and more
}

class KeylessTables : public DirectFixture {
  protected:
    struct Walked {
        DirectTableResult result;
        Texts found;  // in order of text
    };

    // Compares table t with so much room for each side.
    Walked Walk(std::size_t room) {
        auto connection1 = OpenConnection(*one);
        auto connection2 = OpenConnection(*two);
        const DirectTable table{{u"dbo", u"t"}, {}, {}, {}};
        const TablePlan plan = PlanTable(Facts(connection1), Facts(connection2), table, {});
        SideReader side1, side2;
        RowCursor rows1(plan, 1, u"", side1, connection1);
        RowCursor rows2(plan, 2, u"", side2, connection2);
        Walked walked;
        class Rows : public Outlet {
          public:
            explicit Rows(Texts& found) : found_(found) {}
            void Found(FoundDifference difference) override {
                const bool first = difference.change == DirectChange::OnlyIn1;
                found_.push_back((first ? u"1: " : u"2: ") +
                                 ShownRow(first ? *difference.row1 : *difference.row2));
            }
            bool WantsSame() const override { return false; }
            void Look() const override {}
            void Read(const DirectTableResult&) override {}

          private:
            Texts& found_;
        } rows(walked.found);
        WalkKeyless(plan, {}, rows1, rows2, walked.result, rows, room);
        std::sort(walked.found.begin(), walked.found.end());
        return walked;
    }

  private:
    static ObjectFacts Facts(const std::shared_ptr<Connection>& connection) {
        CatalogReader reader(connection);
        reader.UseDatabase(u"w");
        return reader.Objects(std::array{ObjectName{u"dbo", u"t"}}).at(0);
    }
};

// The same from memory, from files, and from both.
TEST_F(KeylessTables, AreTheSameHoweverMuchRoomThereIs) {
    RunOnBoth(u"CREATE TABLE t (a int, b nvarchar(20))");
    const auto fill = [](int from, int to) {
        return u"DECLARE @i int SET @i = " + ToText(from) + u" WHILE @i < " + ToText(to) +
               u" BEGIN INSERT t VALUES (@i % 70, N'row ' + CAST(@i % 9 AS nvarchar(9)))"
               u" SET @i = @i + 1 END";
    };
    RunOn1(fill(0, 900));
    RunOn2(fill(100, 1200));
    const Walked inMemory = Walk(KeylessRoom);
    EXPECT_EQ(inMemory.result.rows1, 900U);
    EXPECT_EQ(inMemory.result.rows2, 1100U);
    EXPECT_GT(inMemory.result.identical, 500U);
    EXPECT_GT(inMemory.found.size(), 100U);
    EXPECT_EQ(inMemory.result.identical * 2 + inMemory.found.size(), 2000U);
    for (const std::size_t room : {0, 1000, 20000}) {
        const Walked walked = Walk(room);
        EXPECT_EQ(walked.result.identical, inMemory.result.identical) << room;
        EXPECT_EQ(walked.found, inMemory.found) << room;
    }
}

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
    RowCursor rows1(plan, 1, u"", side1, connection1);
    RowCursor rows2(plan, 2, u"", side2, connection2);
    DirectTableResult result;
    class Rows : public Outlet {
      public:
        bool WantsSame() const override { return false; }
        void Look() const override {}
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
