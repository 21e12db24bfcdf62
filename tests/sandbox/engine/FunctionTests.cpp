// Built-in functions and conversions.
#include <gtest/gtest.h>

#include "EngineBox.h"

namespace sandbox::testing {
namespace {

std::string Value(std::u16string_view expression) {
    static Box box;
    const std::string text = box.Text(u"SELECT " + std::u16string(expression));
    return text.empty() ? text : text.substr(0, text.size() - 1);
}

TEST(Functions, Strings) {
    EXPECT_EQ(Value(u"LEN('ab  '), DATALENGTH('ab  '), DATALENGTH(N'ab')"), "2|4|4");
    EXPECT_EQ(Value(u"SUBSTRING('hello',2,3), LEFT('abc',2), RIGHT('abc',2)"), "ell|ab|bc");
    EXPECT_EQ(Value(u"SUBSTRING('hello',0,3), SUBSTRING('hello',9,3)"), "he|");
    EXPECT_EQ(Value(u"UPPER(N'stra\u00dfe \u00e9'), LOWER('ABC')"),
              "STRA\xC3\x9F"
              "E \xC3\x89|abc");
    EXPECT_EQ(Value(u"LTRIM('  x')+'|', RTRIM('x  ')+'|'"), "x||x|");
    EXPECT_EQ(Value(u"REPLACE('aXbx','x','--'), REPLICATE('ab',3), SPACE(2)+'|'"),
              "a--b--|ababab|  |");
    EXPECT_EQ(Value(u"CHARINDEX('L','hello'), CHARINDEX('l','hello',4), CHARINDEX('z','hello')"),
              "3|4|0");
    EXPECT_EQ(Value(u"CHAR(65), NCHAR(8364), ASCII('A'), UNICODE(N'\u20ac')"),
              "A|\xE2\x82\xAC|65|8364");
    EXPECT_EQ(Value(u"STR(3.14159,6,2), STR(123), STR(123,2)"), "  3.14|       123|**");
    EXPECT_EQ(Value(u"STUFF('abcdef',2,3,'X'), REVERSE('abc'), QUOTENAME('a]b')"),
              "aXef|cba|[a]]b]");
    EXPECT_EQ(Value(u"'a' + NULL, ISNULL(NULL,'x'), COALESCE(NULL,NULL,3), NULLIF(1,1)"),
              "NULL|x|3|NULL");
}

TEST(Functions, Like) {
    const auto like = [](const char16_t* text, const char16_t* pattern) {
        return Value(u"CASE WHEN N'" + std::u16string(text) + u"' LIKE N'" + pattern +
                     u"' THEN 1 ELSE 0 END");
    };
    EXPECT_EQ(like(u"hello", u"h%o"), "1");
    EXPECT_EQ(like(u"hello", u"H_L%"), "1");
    EXPECT_EQ(like(u"hello", u"h%x"), "0");
    EXPECT_EQ(like(u"b", u"[a-c]"), "1");
    EXPECT_EQ(like(u"b", u"[^a-c]"), "0");
    EXPECT_EQ(like(u"5%", u"_[%]"), "1");
    EXPECT_EQ(like(u"]", u"[]]"), "1");
    EXPECT_EQ(like(u"ab  ", u"ab"), "1");
    EXPECT_EQ(like(u"ab", u"ab "), "0");
    EXPECT_EQ(like(u"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaab", u"%a%a%a%a%a%a%a%a%c"), "0");
    EXPECT_EQ(Value(u"CASE WHEN '50%' LIKE '50!%' ESCAPE '!' THEN 1 END"), "1");
    EXPECT_EQ(Value(u"CASE WHEN '50x' LIKE '50!%' ESCAPE '!' THEN 1 END"), "NULL");
    EXPECT_EQ(Value(u"PATINDEX('%b_%', 'aabcd')"), "3");
}

TEST(Functions, Numbers) {
    EXPECT_EQ(Value(u"7/2, -7/2, 7%3, 7.0/2, 1e0/4"), "3|-3|1|3.500000|0.25");
    EXPECT_EQ(Value(u"~5, 5^1, 5&4, 5|2, -(-5)"), "-6|4|4|7|5");
    EXPECT_EQ(Value(u"ABS(-3), ABS(-1.5), FLOOR(-1.5), CEILING(1.2), SIGN(-2), ROUND(12.345,2), "
                    u"ROUND(1250,-2), ROUND(12.345,2,1)"),
              "3|1.5|-2|2|-1|12.350|1300|12.340");
    EXPECT_EQ(Value(u"POWER(2,10), SQRT(16), 2147483647 + CAST(0 AS bigint)"), "1024|4|2147483647");
    EXPECT_EQ(Value(u"2147483647 + 1"),
              "!8115 Arithmetic overflow error converting expression to data type int.");
    EXPECT_EQ(Value(u"CAST(1.5 AS decimal(5,2)) * CAST(2.25 AS decimal(5,2))"), "3.3750");
    EXPECT_EQ(Value(u"CAST(10 AS decimal(10,2)) / CAST(3 AS decimal(10,2))"), "3.3333333333333");
    EXPECT_EQ(Value(u"CAST(99999999999999999999999999999999999999 AS decimal(38,0)) + 1"),
              "!8115 Arithmetic overflow error converting expression to data type numeric.");
    EXPECT_EQ(Value(u"CAST(1.2345 AS money) * 2, $5 / 2"), "2.4690|2.5000");
    EXPECT_EQ(Value(u"1 + '2', '3' + 4"), "3|7");
}

TEST(Functions, ConversionsToText) {
    EXPECT_EQ(Value(u"CAST(1.50 AS varchar(10)), CAST(CAST(1.5 AS money) AS varchar(10)), "
                    u"CONVERT(varchar(20), CAST(1234567.891 AS money), 1)"),
              "1.50|1.50|1,234,567.89");
    EXPECT_EQ(Value(u"CAST(1e10 AS varchar(30)), CAST(0.1e0 AS varchar(30)), "
                    u"CONVERT(varchar(30), 1e0/3, 2)"),
              "1e+010|0.1|3.333333333333333e-001");
    EXPECT_EQ(Value(u"CAST(CAST('6F9619FF-8B86-D011-B42D-00C04FC964FF' AS uniqueidentifier) AS "
                    u"varchar(50))"),
              "6F9619FF-8B86-D011-B42D-00C04FC964FF");
    EXPECT_EQ(Value(u"CONVERT(varchar(10), 0x4142), CONVERT(varchar(10), 0x4142, 1)"), "AB|0x4142");
    EXPECT_EQ(Value(u"CAST(12345 AS varchar(3))"), "*");
    EXPECT_EQ(Value(u"CAST(12345.6 AS varchar(3))"),
              "!8115 Arithmetic overflow error converting numeric to data type varchar.");
    EXPECT_EQ(Value(u"CAST('abcdef' AS varchar(3)), DATALENGTH(CAST('x' AS char))"), "abc|30");
}

TEST(Functions, DatesAsText) {
    const std::u16string d = u"CAST('20240115 13:45:30.123' AS datetime)";
    EXPECT_EQ(Value(u"CONVERT(varchar(30)," + d + u")"), "Jan 15 2024  1:45PM");
    EXPECT_EQ(Value(u"CONVERT(varchar(30)," + d + u",112)"), "20240115");
    EXPECT_EQ(Value(u"CONVERT(varchar(30)," + d + u",120)"), "2024-01-15 13:45:30");
    EXPECT_EQ(Value(u"CONVERT(varchar(30)," + d + u",121)"), "2024-01-15 13:45:30.123");
    EXPECT_EQ(Value(u"CONVERT(varchar(30)," + d + u",126)"), "2024-01-15T13:45:30.123");
    EXPECT_EQ(Value(u"CONVERT(varchar(30)," + d + u",108)"), "13:45:30");
    EXPECT_EQ(
        Value(u"CAST(CAST('2024-01-15 13:45:30.1234567 +02:00' AS datetimeoffset) AS varchar(40))"),
        "2024-01-15 13:45:30.1234567 +02:00");
    EXPECT_EQ(Value(u"CAST(CAST('0009-01-15' AS date) AS varchar(20)), CAST(CAST('1:02:03.4' AS "
                    u"time(2)) AS "
                    u"varchar(20))"),
              "0009-01-15|01:02:03.40");
}

TEST(Functions, DatesFromText) {
    const auto text = [](const char16_t* s) {
        return Value(u"CONVERT(varchar(30), CAST('" + std::u16string(s) + u"' AS datetime), 121)");
    };
    EXPECT_EQ(text(u"20240115"), "2024-01-15 00:00:00.000");
    EXPECT_EQ(text(u"2024-01-15T13:45:30"), "2024-01-15 13:45:30.000");
    EXPECT_EQ(text(u"1/15/2024"), "2024-01-15 00:00:00.000");
    EXPECT_EQ(text(u"Jan 15 2024 1:45PM"), "2024-01-15 13:45:00.000");
    EXPECT_EQ(text(u"15 January 2024"), "2024-01-15 00:00:00.000");
    EXPECT_EQ(text(u"13:45"), "1900-01-01 13:45:00.000");
    EXPECT_EQ(text(u""), "1900-01-01 00:00:00.000");
    EXPECT_EQ(text(u"20240115 23:59:59.999"), "2024-01-16 00:00:00.000");
    EXPECT_EQ(text(u"20240115 00:00:00.001"), "2024-01-15 00:00:00.000");
    EXPECT_EQ(text(u"20240115 00:00:00.002"), "2024-01-15 00:00:00.003");
    EXPECT_EQ(text(u"20240115 00:00:00.005"), "2024-01-15 00:00:00.007");
    EXPECT_EQ(text(u"20240230").substr(0, 4), "!242");
    EXPECT_EQ(text(u"nonsense"),
              "!241 Conversion failed when converting date and/or time from character string.");
}

TEST(Functions, DateArithmetic) {
    EXPECT_EQ(Value(u"CONVERT(char(10), DATEADD(month,1,'20240131'), 120), CONVERT(char(10), "
                    u"DATEADD(dd,-1,'20240301'), 120)"),
              "2024-02-29|2024-02-29");
    EXPECT_EQ(Value(u"DATEDIFF(day,'20240101','20240301'), DATEDIFF(year,'20231231','20240101'), "
                    u"DATEDIFF(ss,'10:00','10:01')"),
              "60|1|60");
    EXPECT_EQ(
        Value(
            u"YEAR('20240115'), MONTH('20240115'), DAY('20240115'), DATEPART(weekday,'20240115'), "
            u"DATEPART(dayofyear,'20240301'), DATENAME(month,'20240115')"),
        "2024|1|15|2|61|January");
    EXPECT_EQ(
        Value(u"CAST(CAST('19000103 12:00' AS datetime) AS float), CONVERT(char(10), CAST(45304 AS "
              u"datetime), 120)"),
        "2.5|2024-01-15");
    EXPECT_EQ(Value(u"CONVERT(char(10), CAST('20240101' AS datetime) + 31, 120)"), "2024-02-01");
}

TEST(Functions, ImplicitConversionsThatAreRefused) {
    EXPECT_EQ(Value(u"CAST(5 AS date)"),
              "!529 Explicit conversion from data type int to date is not allowed.");
    EXPECT_EQ(Value(u"CAST('20240101' AS date) + 1"),
              "!206 Operand type clash: date is incompatible with int");
    EXPECT_EQ(Value(u"CAST('x' AS uniqueidentifier)").substr(0, 5), "!8169");
    EXPECT_EQ(Value(u"CASE WHEN 1 = 'x' THEN 1 END"),
              "!245 Conversion failed when converting the varchar value 'x' to data type int.");
    EXPECT_EQ(Value(u"CAST('99999999999' AS int)"),
              "!248 The conversion of the varchar value '99999999999' overflowed an int column.");
    EXPECT_EQ(Value(u"CAST('1.5' AS int)").substr(0, 4), "!245");
    EXPECT_EQ(Value(u"CAST('x' AS decimal(5,2))"),
              "!8114 Error converting data type varchar to numeric.");
}

TEST(Functions, SystemFacts) {
    EXPECT_EQ(Value(u"DB_NAME(), SCHEMA_NAME(1), USER_NAME(), SUSER_SNAME(), @@SERVERNAME"),
              "w|dbo|dbo|sa|SANDBOX");
    EXPECT_EQ(Value(u"SERVERPROPERTY('ProductVersion'), @@MICROSOFTVERSION"),
              "10.50.6000|171054960");
    EXPECT_EQ(
        Value(u"DATABASEPROPERTYEX('w','Collation'), DATABASEPROPERTYEX('nosuch','Collation')"),
        "SQL_Latin1_General_CP1_CI_AS|NULL");
    EXPECT_EQ(Value(u"OBJECT_ID('nosuch'), DB_ID('nosuch'), TYPE_NAME(231)"), "NULL|NULL|nvarchar");
}

}  // namespace
}  // namespace sandbox::testing
