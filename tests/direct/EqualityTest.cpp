// What counts as equal: types of all kinds, types that differ, and what a caller may loosen.
#include <gtest/gtest.h>

#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

class Equality : public DirectFixture {
  protected:
    // Whether a value in a column of side 1 equals one in a column of side 2; no answer where the
    // columns cannot be compared.
    std::optional<bool> Equal(const std::u16string& type1, const std::u16string& value1,
                              const std::u16string& type2, const std::u16string& value2) {
        DropOnBoth(u"t");
        RunOn1(u"CREATE TABLE t (id int PRIMARY KEY, v " + type1 + u")\nGO\nINSERT t VALUES (1, " +
               value1 + u")");
        RunOn2(u"CREATE TABLE t (id int PRIMARY KEY, v " + type2 + u")\nGO\nINSERT t VALUES (1, " +
               value2 + u")");
        const DirectTableResult result = CompareOne();
        if (result.error) throw *result.error;
        if (result.shape.columns.size() != 2) {
            reason = result.shape.omitted.at(0).reason;
            return std::nullopt;
        }
        return result.Same();
    }
    std::optional<bool> Equal(const std::u16string& type, const std::u16string& value1,
                              const std::u16string& value2) {
        return Equal(type, value1, type, value2);
    }

    std::u16string reason;
};

TEST_F(Equality, OfEveryType) {
    const struct {
        const char16_t* type;
        const char16_t* value;
        const char16_t* other;
    } cases[] = {
        {u"bit", u"1", u"0"},
        {u"tinyint", u"255", u"254"},
        {u"smallint", u"-1", u"1"},
        {u"int", u"2147483647", u"2147483646"},
        {u"bigint", u"9223372036854775807", u"9223372036854775806"},
        {u"decimal(38,10)", u"1234567890123456789012345678.0000000001",
         u"1234567890123456789012345678.0000000002"},
        {u"money", u"922337203685477.5807", u"922337203685477.5806"},
        {u"smallmoney", u"0.0001", u"-0.0001"},
        {u"real", u"1.1", u"1.1000001"},
        {u"float", u"1.1e0", u"1.1000000000000003e0"},
        {u"datetime", u"'20240101 00:00:00.003'", u"'20240101 00:00:00.007'"},
        {u"smalldatetime", u"'20240101 00:01'", u"'20240101 00:02'"},
        {u"date", u"'00010101'", u"'00010102'"},
        {u"time(7)", u"'23:59:59.9999999'", u"'23:59:59.9999998'"},
        {u"datetime2(7)", u"'2024-01-01 00:00:00.0000001'", u"'2024-01-01 00:00:00.0000002'"},
        {u"datetimeoffset(7)", u"'2024-01-01 10:00 +02:00'", u"'2024-01-01 08:00 +00:00'"},
        {u"char(5)", u"'a'", u"'A'"},
        {u"varchar(5)", u"'a'", u"'a '"},
        {u"varchar(max)", u"'a'", u"''"},
        {u"text", u"'a'", u"'b'"},
        {u"nchar(5)", u"N'\u0100'", u"N'\u0101'"},
        {u"nvarchar(5)", u"N'a'", u"N'\uFF41'"},
        {u"nvarchar(max)", u"N'x' + NCHAR(0)", u"N'x'"},
        {u"ntext", u"N'a'", u"N'A'"},
        {u"binary(3)", u"0x01", u"0x02"},
        {u"varbinary(9)", u"0x01", u"0x0100"},
        {u"varbinary(max)", u"0x", u"0x00"},
        {u"image", u"0x01", u"0x0100"},
        {u"uniqueidentifier", u"'01234567-89AB-CDEF-0123-456789ABCDEF'",
         u"'01234567-89AB-CDEF-0123-456789ABCDEE'"},
        {u"xml", u"'<a>1</a>'", u"'<a>2</a>'"},
        {u"sql_variant", u"CAST(1 AS int)", u"CAST(2 AS int)"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(ToUtf8(each.type));
        EXPECT_EQ(Equal(each.type, each.value, each.value), true);
        EXPECT_EQ(Equal(each.type, each.value, each.other), false);
        EXPECT_EQ(Equal(each.type, each.value, u"NULL"), false);
        EXPECT_EQ(Equal(each.type, u"NULL", each.other), false);
        EXPECT_EQ(Equal(each.type, u"NULL", u"NULL"), true);
    }
}

TEST_F(Equality, OfTypesThatHoldTheSameValues) {
    EXPECT_EQ(Equal(u"int", u"5", u"bigint", u"5"), true);
    EXPECT_EQ(Equal(u"int", u"5", u"bigint", u"4294967301"), false);
    EXPECT_EQ(Equal(u"bit", u"1", u"tinyint", u"1"), true);
    EXPECT_EQ(Equal(u"int", u"5", u"decimal(9,2)", u"5"), true);
    EXPECT_EQ(Equal(u"int", u"5", u"decimal(9,2)", u"5.01"), false);
    EXPECT_EQ(Equal(u"decimal(9,1)", u"-1.5", u"numeric(20,6)", u"-1.5"), true);
    EXPECT_EQ(Equal(u"money", u"1.5", u"decimal(9,1)", u"1.5"), true);
    EXPECT_EQ(Equal(u"real", u"0.5", u"float", u"0.5"), true);
    EXPECT_EQ(Equal(u"real", u"0.1", u"float", u"0.1"), false);
    EXPECT_EQ(Equal(u"varchar(9)", u"'\u20AC'", u"nvarchar(9)", u"N'\u20AC'"), true);
    EXPECT_EQ(Equal(u"text", u"'abc'", u"nvarchar(max)", u"N'abc'"), true);
    EXPECT_EQ(Equal(u"char(3)", u"'a'", u"varchar(3)", u"'a  '"), true);
    EXPECT_EQ(Equal(u"char(3)", u"'a'", u"varchar(3)", u"'a'"), false);
    EXPECT_EQ(Equal(u"varbinary(9)", u"0x0102", u"image", u"0x0102"), true);
    EXPECT_EQ(Equal(u"date", u"'20240101'", u"datetime", u"'20240101'"), true);
    EXPECT_EQ(Equal(u"date", u"'20240101'", u"datetime", u"'20240101 00:00:00.003'"), false);
    EXPECT_EQ(Equal(u"smalldatetime", u"'20240101 10:01'", u"datetime2(3)", u"'20240101 10:01'"),
              true);
    EXPECT_EQ(Equal(u"datetime2(0)", u"'20240101'", u"datetime2(7)", u"'20240101'"), true);
    EXPECT_EQ(Equal(u"datetimeoffset(3)", u"'2024-01-01 10:00 +02:00'", u"datetimeoffset(7)",
                    u"'2024-01-01 10:00 +02:00'"),
              true);
    EXPECT_EQ(Equal(u"datetimeoffset(3)", u"'2024-01-01 10:00 +02:00'", u"datetimeoffset(7)",
                    u"'2024-01-01 08:00 +00:00'"),
              false);
    EXPECT_EQ(Equal(u"time(3)", u"'10:00:00.5'", u"time(7)", u"'10:00:00.5000001'"), false);
    EXPECT_EQ(Equal(u"varchar(9) COLLATE Cyrillic_General_CI_AS", u"N'\u0416'",
                    u"varchar(9) COLLATE Latin1_General_CI_AS", u"N'\u00C6'"),
              false);  // the same byte
}

TEST_F(Equality, OfTypesThatDoNotIsNotJudged) {
    EXPECT_EQ(Equal(u"int", u"5", u"varchar(9)", u"'5'"), std::nullopt);
    EXPECT_EQ(reason, u"int and varchar(9) do not hold the same values without loss");
    EXPECT_EQ(Equal(u"float", u"5", u"decimal(9,2)", u"5"), std::nullopt);
    EXPECT_EQ(Equal(u"datetime", u"'20240101'", u"datetime2(3)", u"'20240101'"), std::nullopt);
    EXPECT_EQ(Equal(u"datetime2(3)", u"'20240101'", u"datetimeoffset(3)", u"'20240101'"),
              std::nullopt);
    EXPECT_EQ(Equal(u"uniqueidentifier", u"NULL", u"binary(16)", u"NULL"), std::nullopt);
    EXPECT_EQ(Equal(u"xml", u"NULL", u"nvarchar(max)", u"NULL"), std::nullopt);
}

TEST_F(Equality, OfVariantsIsThatOfTheirTypesToo) {
    const auto equal = [this](const std::u16string& a, const std::u16string& b) {
        return Equal(u"sql_variant", a, b);
    };
    EXPECT_EQ(equal(u"CAST(1 AS int)", u"CAST(1 AS bigint)"), false);
    EXPECT_EQ(equal(u"CAST(1.5 AS decimal(9,1))", u"CAST(1.5 AS decimal(9,2))"), false);
    EXPECT_EQ(equal(u"'abc'", u"N'abc'"), false);
    EXPECT_EQ(equal(u"'abc'", u"'ABC'"), false);
    EXPECT_EQ(equal(u"CAST(1 AS smallint)", u"0x0001"), false);
    EXPECT_EQ(equal(u"CAST('abc' AS char(3))", u"'abc'"), false);
    const std::u16string cyrillic = u"CAST(N'\u0416' COLLATE Cyrillic_General_CI_AS AS varchar(9))";
    EXPECT_EQ(equal(cyrillic, cyrillic), true);
    EXPECT_EQ(equal(cyrillic, u"CAST(N'\u00C6' COLLATE Latin1_General_CI_AS AS varchar(9))"),
              false);  // the same byte
    for (const auto* value :
         {u"CAST(1 AS bit)", u"CAST(-5 AS smallint)", u"CAST(1.25 AS decimal(20,4))",
          u"CAST(1.5 AS money)", u"CAST(1.5 AS real)", u"CAST(1.5 AS float)",
          u"CAST('20240101 10:00:00.003' AS datetime)", u"CAST('20240101 10:01' AS smalldatetime)",
          u"CAST('20240101' AS date)", u"CAST('10:00:00.1234567' AS time)",
          u"CAST('2024-01-01 10:00' AS datetime2(3))",
          u"CAST('2024-01-01 10:00 +02:00' AS datetimeoffset)", u"'caf\u00E9'", u"N'\u0416'",
          u"0x0102", u"CAST('01234567-89AB-CDEF-0123-456789ABCDEF' AS uniqueidentifier)"}) {
        SCOPED_TRACE(ToUtf8(value));
        EXPECT_EQ(equal(value, value), true);
        EXPECT_EQ(equal(value, u"CAST(1 AS tinyint)"), false);
    }
    EXPECT_EQ(equal(u"CAST('2024-01-01 10:00 +02:00' AS datetimeoffset)",
                    u"CAST('2024-01-01 08:00 +00:00' AS datetimeoffset)"),
              false);
}

TEST_F(Equality, OfLongValuesToTheLastUnit) {
    const auto text = [](const std::u16string& last) {
        return u"REPLICATE(CAST(N'xyz' AS nvarchar(max)), 20000) + N'" + last + u"'";
    };
    EXPECT_EQ(Equal(u"nvarchar(max)", text(u"a"), text(u"a")), true);
    EXPECT_EQ(Equal(u"nvarchar(max)", text(u"a"), text(u"A")), false);
    EXPECT_EQ(Equal(u"varchar(max)", text(u"a"), u"nvarchar(max)", text(u"a")), true);
}

TEST_F(Equality, MayIgnoreCase) {
    options.equality.ignoreCase = true;
    EXPECT_EQ(Equal(u"varchar(9)", u"'\u00C4b'", u"'\u00E4B'"), true);
    EXPECT_EQ(Equal(u"nvarchar(9)", u"N'\u0416'", u"N'\u0436'"), true);
    EXPECT_EQ(Equal(u"nvarchar(9)", u"N'a'", u"varchar(9)", u"'A'"), true);
    EXPECT_EQ(Equal(u"nvarchar(9)", u"N'a'", u"N'b'"), false);
    EXPECT_EQ(Equal(u"nvarchar(9)", u"N'a'", u"N'a '"), false);
    EXPECT_EQ(Equal(u"varbinary(9)", u"0x61", u"0x41"), false);
}

TEST_F(Equality, MayIgnoreTrailingBlanks) {
    options.equality.ignoreTrailingBlanks = true;
    EXPECT_EQ(Equal(u"varchar(9)", u"'a'", u"'a  '"), true);
    EXPECT_EQ(Equal(u"char(9)", u"'a'", u"varchar(9)", u"'a'"), true);
    EXPECT_EQ(Equal(u"nvarchar(9)", u"N' a'", u"N'a'"), false);
    EXPECT_EQ(Equal(u"nvarchar(9)", u"N'a' + NCHAR(9)", u"N'a'"), false);
}

TEST_F(Equality, MayRoundFloats) {
    options.equality.floatDigits = 3;
    EXPECT_EQ(Equal(u"float", u"1.2341e0", u"1.2339e0"), true);
    EXPECT_EQ(Equal(u"float", u"1.23e5", u"1.24e5"), false);
    EXPECT_EQ(Equal(u"real", u"0.1", u"float", u"0.1"), true);
    EXPECT_EQ(Equal(u"float", u"1e0", u"-1e0"), false);
    EXPECT_EQ(Equal(u"float", u"0e0", u"0e0 * -1"), true);
    EXPECT_EQ(Equal(u"decimal(9,5)", u"1.23410", u"1.23390"), false);
}

TEST_F(Equality, KeysStayExactWhateverIsIgnored) {
    options.equality = {true, true, 3};
    RunOnBoth(u"CREATE TABLE t (k varchar(9) COLLATE Latin1_General_BIN PRIMARY KEY)");
    RunOn1(u"INSERT t VALUES ('a')");
    RunOn2(u"INSERT t VALUES ('A')");
    const DirectTableResult result = CompareOne();
    EXPECT_EQ(result.onlyIn1, 1U);
    EXPECT_EQ(result.onlyIn2, 1U);
}

TEST_F(Equality, RefusesDigitsThatNoFloatHas) {
    options.equality.floatDigits = 18;
    EXPECT_EQ(RaisedBy([this] { CompareOne(); }).number, ErrorNumber::InvalidArgument);
}

TEST_F(Equality, TellsHowDeclarationsDiffer) {
    RunOn1(
        u"CREATE TABLE t (id int NOT NULL PRIMARY KEY, a varchar(9) COLLATE Latin1_General_BIN"
        u" NOT NULL, b decimal(9,2), c int IDENTITY)");
    RunOn2(
        u"CREATE TABLE t (id bigint NOT NULL, a varchar(9) COLLATE Latin1_General_CI_AS"
        u" NULL, b decimal(12,4), c int, PRIMARY KEY (id, c))");
    std::vector<std::u16string> drift;
    for (const DirectDrift& each : CompareOne().shape.drift)
        drift.push_back(each.column + u": " + each.side1 + u" / " + each.side2);
    EXPECT_EQ(drift, (Texts{u"id: int / bigint", u"a: NOT NULL / NULL",
                            u"a: Latin1_General_BIN / Latin1_General_CI_AS",
                            u"b: decimal(9, 2) / decimal(12, 4)", u"c: IDENTITY / ",
                            u": [id] / [id], [c]"}));
}

}  // namespace
}  // namespace QuillonLib
