// The order in which both servers deliver rows, and in which the client expects them.
#include <gtest/gtest.h>

#include "tests/direct/DirectFixture.h"

namespace QuillonLib {
namespace {

class RowOrder : public DirectFixture {
  protected:
    // Side 1 holds all keys, side 2 every other one: the merge goes wrong unless the client orders
    // keys as both servers do.
    void Expect(const std::u16string& type, const Texts& keys, const std::u16string& type2 = {}) {
        SCOPED_TRACE(ToUtf8(type));
        RunOnBoth(u"IF OBJECT_ID('t') IS NOT NULL DROP TABLE t");
        RunOn1(u"CREATE TABLE t (k " + type + u", n int)");
        RunOn2(u"CREATE TABLE t (k " + (type2.empty() ? type : type2) + u", n int)");
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const std::u16string insert = u"INSERT t VALUES (" + keys[i] + u", " +
                                          ToText(static_cast<std::int64_t>(i)) + u")";
            RunOn1(insert);
            if (i % 2 == 0) RunOn2(insert);
        }
        const DirectTableResult result = CompareOne({{u"dbo", u"t"}, {}, {u"k"}, {}});
        ASSERT_FALSE(result.error.has_value()) << ToUtf8(result.error->Description());
        EXPECT_EQ(result.identical, (keys.size() + 1) / 2);
        EXPECT_EQ(result.onlyIn1, keys.size() / 2);
        EXPECT_EQ(result.onlyIn2, 0U);
    }
};

TEST_F(RowOrder, Numbers) {
    Expect(u"int", {u"NULL", u"-5", u"0", u"3", u"2147483647", u"-2147483648"});
    Expect(u"bigint", {u"-9223372036854775807", u"5", u"9223372036854775807", u"0"});
    Expect(u"tinyint", {u"255", u"0", u"128", u"127"});
    Expect(u"bit", {u"1", u"0"});
    Expect(u"decimal(20, 3)", {u"-10.5", u"-9.5", u"0", u"0.005", u"10", u"9", u"NULL", u"-100"});
    Expect(u"money", {u"-1.5", u"0", u"922337203685477.5807", u"1", u"-922337203685477.5808"});
    Expect(u"float", {u"-1e300", u"-1e-300", u"0", u"1e-300", u"2e10", u"1e10", u"-2"});
    Expect(u"real", {u"-1e30", u"1.5", u"0", u"-0.5"});
}

TEST_F(RowOrder, NumbersOfDifferentTypes) {
    Expect(u"int", {u"-5", u"0", u"30", u"4"}, u"bigint");
    Expect(u"int", {u"-5", u"0", u"30", u"4"}, u"decimal(12, 2)");
    Expect(u"decimal(9, 1)", {u"-5.5", u"0.5", u"30.1", u"4"}, u"decimal(20, 5)");
    Expect(u"smallint", {u"-5", u"0", u"30", u"4"}, u"money");
    Expect(u"real", {u"-5", u"0", u"0.5", u"4"}, u"float");
}

TEST_F(RowOrder, Dates) {
    Expect(u"datetime", {u"'17530101'", u"'19000101 00:00:00.003'", u"'19000101'", u"NULL",
                         u"'99991231 23:59:59.997'", u"'18991231 12:00'"});
    Expect(u"smalldatetime", {u"'20240101 10:01'", u"'20240101 10:00'", u"'19000101'"});
    Expect(u"date", {u"'00010101'", u"'99991231'", u"'20240229'", u"'20240301'"});
    Expect(u"datetime2(7)",
           {u"'0001-01-01 00:00:00.0000001'", u"'0001-01-01'", u"'9999-12-31 23:59:59.9999999'"});
    Expect(u"time(4)", {u"'10:00:00.0001'", u"'10:00'", u"'00:00'", u"'23:59:59.9999'"});
    Expect(u"datetimeoffset", {u"'2024-01-01 10:00 +05:00'", u"'2024-01-01 06:00 +00:00'",
                               u"'2024-01-01 01:00 -02:00'", u"'2024-01-01 10:00 +10:00'"});
    Expect(u"date", {u"'20240101'", u"'20230101'", u"'19000101'"}, u"datetime2(3)");
}

TEST_F(RowOrder, Identifiers) {
    Expect(u"uniqueidentifier",
           {u"'01000000-0000-0000-0000-000000000000'", u"'00010000-0000-0000-0000-000000000000'",
            u"'00000001-0000-0000-0000-000000000000'", u"'00000000-0100-0000-0000-000000000000'",
            u"'00000000-0001-0000-0000-000000000000'", u"'00000000-0000-0100-0000-000000000000'",
            u"'00000000-0000-0001-0000-000000000000'", u"'00000000-0000-0000-0100-000000000000'",
            u"'00000000-0000-0000-0001-000000000000'", u"'00000000-0000-0000-0000-010000000000'",
            u"'00000000-0000-0000-0000-000100000000'", u"'00000000-0000-0000-0000-000000000001'",
            u"'FFFFFFFF-FFFF-FFFF-0000-000000000000'", u"NULL"});
}

TEST_F(RowOrder, BytesAndText) {
    Expect(u"varbinary(9)", {u"0x", u"0x01", u"0xFF", u"0x0001", u"0x010001", u"NULL", u"0x7F"});
    Expect(u"binary(3)", {u"0x000001", u"0x010000", u"0xFF0000"});
    Expect(u"varchar(9)", {u"'b'", u"'B'", u"'a'", u"'A'", u"''", u"'\u00E9'", u"'e'", u"'z'",
                           u"'aa'", u"'_'", u"NULL"});
    Expect(u"nvarchar(9)", {u"N'b'", u"N'B'", u"N'\u0100'", u"N'\u4E00'", u"N''", u"N'z'",
                            u"N'\u00FF'", u"N'za'", u"N'\U0001F600'", u"N'\uFF21'"});
    Expect(u"nvarchar(max)", {u"N'b'", u"N'B'", u"N'\u0100'", u"N'a'"});
    Expect(u"char(4)", {u"'b'", u"'B'", u"'a'"});
}

TEST_F(RowOrder, BytesThatDifferByZerosAlone) {
    Expect(u"varbinary(9)", {u"0x0100", u"0x01", u"0x010000", u"0x", u"0x00"});
    Expect(u"nvarchar(9) COLLATE Latin1_General_BIN",
           {u"N'a' + NCHAR(0)", u"N'a'", u"N'a' + NCHAR(0) + NCHAR(0)", u"N''"});
}

TEST_F(RowOrder, TextOfDifferentKinds) {
    Expect(u"varchar(9)", {u"'b'", u"'B'", u"'\u00E9'", u"'z'", u"'\u20AC'"}, u"nvarchar(9)");
    Expect(u"varchar(9) COLLATE Cyrillic_General_CI_AS", {u"N'\u0416'", u"N'a'", u"N'\u044F'"},
           u"nvarchar(9)");
    Expect(u"varchar(9) COLLATE Cyrillic_General_CI_AS", {u"N'\u00A9'", u"N'a'", u"N'\u20AC'"},
           u"varchar(9) COLLATE Latin1_General_CI_AS");
}

TEST_F(RowOrder, KeysOfSeveralColumns) {
    RunOnBoth(u"CREATE TABLE t (a varbinary(4), b nvarchar(4), c int, PRIMARY KEY (a, b, c))");
    RunOnBoth(u"INSERT t VALUES (0x01,N'b',2),(0x01,N'b',1),(0x01,N'a',9),(0x0001,N'z',5)");
    RunOn1(u"INSERT t VALUES (0x01,N'b',3)");
    RunOn2(u"INSERT t VALUES (0x00,N'b',3)");
    const DirectTableResult result = CompareOne();
    ASSERT_FALSE(result.error.has_value()) << ToUtf8(result.error->Description());
    EXPECT_EQ(differences, (Texts{u"2: 0x00|b|3", u"1: 0x01|b|3"}));
    EXPECT_EQ(result.identical, 4U);
}

}  // namespace
}  // namespace QuillonLib
