#include "direct/ReadableCell.h"

#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

class ReadableCells : public DirectFixture {
  protected:
    // The one row of t, which is on side 1 only, without its key.
    Texts Row(const std::u16string& type, const std::u16string& value) {
        RunOnBoth(u"CREATE TABLE t (id int PRIMARY KEY, a " + type + u")");
        RunOn1(u"INSERT t VALUES (1, " + value + u")");
        Texts cells;
        sink.Difference = [&](const DirectDifference& difference, bool&) {
            const Value cell =
                ReadableCell(difference.shape.columns[1].side1, difference.row1->at(1));
            cells.push_back((cell.Kind() == ValueKind::String ? u"text " : u"") + ShownCell(cell));
        };
        CompareOne();
        RunOnBoth(u"DROP TABLE t");
        return cells;
    }
};

TEST_F(ReadableCells, BytesOfACodePageAreText) {
    EXPECT_EQ(Row(u"varchar(5)", u"N'\u20ACa'"), (Texts{u"text \u20ACa"}));
    EXPECT_EQ(Row(u"char(3)", u"'a'"), (Texts{u"text a  "}));
    EXPECT_EQ(Row(u"varchar(5)", u"NULL"), (Texts{u"NULL"}));
}

TEST_F(ReadableCells, BytesThatAreNoTextStayBytes) {
    EXPECT_EQ(Row(u"varchar(5) COLLATE Japanese_CI_AS", u"CAST(0x81 AS varbinary(1))"),
              (Texts{u"0x81"}));
    EXPECT_EQ(Row(u"varbinary(5)", u"0x6162"), (Texts{u"0x6162"}));
}

TEST_F(ReadableCells, AVariantIsToldWithItsType) {
    EXPECT_EQ(Row(u"sql_variant", u"CAST(5 AS smallint)"), (Texts{u"text CAST(5 AS smallint)"}));
    EXPECT_EQ(Row(u"sql_variant", u"N'a'"), (Texts{u"text CAST(N'a' AS nvarchar(1))"}));
}

TEST_F(ReadableCells, OthersAreHandedOn) {
    EXPECT_EQ(Row(u"int", u"5"), (Texts{u"5"}));
    EXPECT_EQ(Row(u"nvarchar(5)", u"N'x'"), (Texts{u"text x"}));
}

}  // namespace
}  // namespace QuillonLib
