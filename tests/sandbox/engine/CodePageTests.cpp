// char, varchar and text in the code pages of their collations.
#include <gtest/gtest.h>

#include "EngineBox.h"
#include "sandbox/text/CodePages.h"
#include "sandbox/text/Collations.h"

namespace sandbox::testing {
namespace {

// One column for each code page; "u8" only where the server knows UTF-8.
constexpr const char16_t* kTable =
    u"CREATE TABLE t (id int, c1252 varchar(20), c1250 varchar(20) COLLATE Czech_CI_AS, "
    u"c1251 varchar(20) COLLATE Cyrillic_General_CI_AS, c1253 varchar(20) COLLATE Greek_CI_AS, "
    u"c1254 varchar(20) COLLATE Turkish_CI_AS, c1255 varchar(20) COLLATE Hebrew_CI_AS, "
    u"c1256 varchar(20) COLLATE Arabic_CI_AS, c1257 varchar(20) COLLATE Latvian_CI_AS, "
    u"c1258 varchar(20) COLLATE Vietnamese_CI_AS, c874 varchar(20) COLLATE Thai_CI_AS, "
    u"c437 varchar(20) COLLATE SQL_Latin1_General_CP437_CI_AS, "
    u"c850 varchar(20) COLLATE SQL_Latin1_General_CP850_CI_AS, "
    u"c932 varchar(20) COLLATE Japanese_CI_AS, c936 varchar(20) COLLATE Chinese_PRC_CI_AS, "
    u"c949 varchar(20) COLLATE Korean_90_CI_AS, c950 varchar(20) COLLATE "
    u"Chinese_Taiwan_Stroke_CI_AS, "
    u"u8 varchar(20) COLLATE Latin1_General_100_CI_AS_SC_UTF8)";

class CodePages : public ::testing::Test {
  protected:
    CodePages() : box("15.0.2000") { EXPECT_EQ(box.Text(kTable), ""); }

    // What a column makes of a value.
    std::string Bytes(std::u16string_view column, std::u16string_view value) {
        return Stored(column, value, u"CAST(" + std::u16string(column) + u" AS varbinary(max))");
    }
    std::string National(std::u16string_view column, std::u16string_view value) {
        return Stored(column, value, u"CAST(" + std::u16string(column) + u" AS nvarchar(20))");
    }
    std::string Stored(std::u16string_view column, std::u16string_view value,
                       const std::u16string& shown) {
        box.Text(u"DELETE FROM t");
        const std::string stored = box.Text(u"INSERT INTO t (" + std::u16string(column) +
                                            u") VALUES (" + std::u16string(value) + u")");
        if (stored != "#1\n") return stored;
        std::string text = box.Text(u"SELECT " + shown + u" FROM t");
        text.pop_back();
        return text;
    }
    Box box;
};

TEST_F(CodePages, EveryByteComesBackAsItWasPutIn) {
    for (const char16_t* column :
         {u"c1252", u"c1250", u"c1251", u"c1253", u"c1254", u"c1255", u"c1256", u"c1257", u"c1258",
          u"c874", u"c437", u"c850", u"c932", u"c936", u"c949", u"c950", u"u8"}) {
        for (int high = 0; high < 16; ++high) {
            std::u16string literal = u"0x";
            for (int low = 0; low < 16; ++low) {
                literal += u"0123456789ABCDEF"[high];
                literal += u"0123456789ABCDEF"[low];
            }
            EXPECT_EQ(Bytes(column, literal), Utf8(literal)) << Utf8(column);
        }
    }
}

TEST_F(CodePages, BytesWithoutACharacterAreShownAsWindowsShowsThem) {
    EXPECT_EQ(National(u"c1252", u"0x818D8F909D"), "\u0081\u008D\u008F\u0090\u009D");
    EXPECT_EQ(National(u"c1250", u"0x8183889098"), "\u0081\u0083\u0088\u0090\u0098");
    EXPECT_EQ(National(u"c1251", u"0x98"), "\u0098");
    EXPECT_EQ(National(u"c1253", u"0xAAD2FF"), "\uF8F9\uF8FA\uF8FB");
    EXPECT_EQ(National(u"c1255", u"0xCAD9FF"), "\u05BA\uF88D\uF896");
    EXPECT_EQ(National(u"c1257", u"0xA1A5"), "\uF8FC\uF8FD");
    EXPECT_EQ(National(u"c874", u"0x81DBFF"), "\u0081\uF8C1\uF8C8");
    EXPECT_EQ(National(u"c932", u"0x80A0FDFEFF"), "\u0080\uF8F0\uF8F1\uF8F2\uF8F3");
    EXPECT_EQ(National(u"c936", u"0x80FF"), "\u20AC\uF8F5");
}

TEST_F(CodePages, AnUndefinedByteComesBackFromItsCharacter) {
    EXPECT_EQ(Bytes(u"c1252", u"N'\u0081\u009D'"), "0x819D");
    EXPECT_EQ(Bytes(u"c1253", u"N'\uF8F9'"), "0xAA");
    EXPECT_EQ(Bytes(u"c932", u"N'\uF8F1\u0080'"), "0xFD80");
}

TEST_F(CodePages, NationalTextTakesTheCodePageOfTheColumn) {
    EXPECT_EQ(Bytes(u"c1250", u"N'\u0105\u017E\u20AC'"), "0xB99E80");
    EXPECT_EQ(Bytes(u"c1251", u"N'\u0416\u044F'"), "0xC6FF");
    EXPECT_EQ(Bytes(u"c437", u"N'\u00DF\u2591'"), "0xE1B0");
    EXPECT_EQ(Bytes(u"c932", u"N'\u65E5a\uFF71'"), "0x93FA61B1");
    EXPECT_EQ(Bytes(u"u8", u"N'\u00E9\u65E5\U0001F600'"), "0xC3A9E697A5F09F9880");
    // What the page does not have.
    EXPECT_EQ(Bytes(u"c1250", u"N'\u0416\u65E5'"), "0x3F3F");
    EXPECT_EQ(Bytes(u"c932", u"N'\u00E9\U0001F600'"), "0x3F3F3F");
}

TEST_F(CodePages, OfTwoSpellingsOneComesBack) {
    EXPECT_EQ(National(u"c932", u"0x879081E0"), "\u2252\u2252");
    EXPECT_EQ(Bytes(u"c932", u"N'\u2252'"), "0x81E0");
    // And of a byte that leads nowhere, or of invalid UTF-8, what Windows shows.
    EXPECT_EQ(National(u"c932", u"0x6181"), "a\u30FB");
    EXPECT_EQ(National(u"u8", u"0x61C3"), "a\uFFFD");
}

TEST_F(CodePages, TextWithoutNIsOfTheDatabasesCodePage) {
    EXPECT_EQ(Bytes(u"c1251", u"'\u0416'"), "0x3F");
    EXPECT_EQ(Bytes(u"c1250", u"'\u00E9'"), "0xE9");
    EXPECT_EQ(Bytes(u"c1251", u"CAST(0xE9 AS varchar(10))"), "0x3F");
    EXPECT_EQ(box.Text(u"CREATE DATABASE ru COLLATE Cyrillic_General_CI_AS"), "");
    box.Text(u"USE ru");
    box.Text(kTable);
    EXPECT_EQ(Bytes(u"c1251", u"'\u0416'"), "0xC6");
    EXPECT_EQ(Bytes(u"c1252", u"'\u0416'"), "0xC6");  // which has no collation of its own
    EXPECT_EQ(box.Text(u"SELECT DATABASEPROPERTYEX('ru', 'Collation'), collation_name FROM "
                       u"sys.databases WHERE name = 'ru'"),
              "Cyrillic_General_CI_AS|Cyrillic_General_CI_AS\n");
    EXPECT_EQ(box.Text(u"SELECT collation_name FROM sys.types WHERE name = 'varchar'"),
              "Cyrillic_General_CI_AS\n");
    EXPECT_EQ(box.Text(u"CREATE DATABASE x COLLATE nosuch"), "!448 Invalid collation 'nosuch'.\n");
}

TEST_F(CodePages, AParameterIsOfTheDatabasesCodePage) {
    box.Text(u"CREATE PROCEDURE p (@v varchar(20)) AS INSERT INTO t (c1251) VALUES (@v)");
    box.Text(u"EXEC p N'\u0416'");
    EXPECT_EQ(box.Text(u"SELECT CAST(c1251 AS varbinary(9)) FROM t"), "0x3F\n");
}

TEST_F(CodePages, LengthsCountBytes) {
    box.Text(
        u"CREATE TABLE n (a varchar(4) COLLATE Japanese_CI_AS, b char(5) COLLATE "
        u"Japanese_CI_AS, c varchar(3) COLLATE Latin1_General_100_CI_AS_SC_UTF8)");
    EXPECT_EQ(box.Text(u"INSERT INTO n (a) VALUES (N'\u65E5\u65E5a')"),
              "!8152 String or binary data would be truncated.\n");
    EXPECT_EQ(box.Text(u"INSERT INTO n (c) VALUES (N'\u65E5a')"),
              "!8152 String or binary data would be truncated.\n");
    EXPECT_EQ(box.Text(u"INSERT INTO n VALUES (N'\u65E5\u65E5', N'\u65E5', N'\u65E5')"), "#1\n");
    EXPECT_EQ(box.Text(u"SELECT DATALENGTH(a), LEN(a), DATALENGTH(b), DATALENGTH(c), CAST(b AS "
                       u"varbinary(9)) FROM n"),
              "4|2|5|3|0x93FA202020\n");
    // A cast cuts, but no character in two.
    EXPECT_EQ(box.Text(u"SELECT CAST(CAST(N'\u65E5\u65E5' COLLATE Japanese_CI_AS AS varchar(3)) AS "
                       u"varbinary(9))"),
              "0x93FA\n");
}

TEST_F(CodePages, Utf8IsNotForTheOldLongTypes) {
    EXPECT_EQ(box.ErrorOf(u"CREATE TABLE l (a text COLLATE Latin1_General_100_CI_AS_SC_UTF8)"),
              4189);
}

TEST_F(CodePages, OfColumnsThatDifferInCollationNoneWins) {
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t WHERE c1250 = c1251"),
              "!468 Cannot resolve the collation conflict between \"Cyrillic_General_CI_AS\" and "
              "\"Czech_CI_AS\" in the equal to operation.\n");
    EXPECT_EQ(box.Text(u"SELECT c1250 FROM t UNION SELECT c1251 FROM t"),
              "!468 Cannot resolve the collation conflict between \"Cyrillic_General_CI_AS\" and "
              "\"Czech_CI_AS\" in the UNION operation.\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t a JOIN t b ON a.c1250 <> b.c1252"),
              "!468 Cannot resolve the collation conflict between "
              "\"SQL_Latin1_General_CP1_CI_AS\" and \"Czech_CI_AS\" in the not equal to "
              "operation.\n");
    EXPECT_EQ(box.ErrorOf(u"SELECT c1250 + c1251 FROM t"), 468);
    EXPECT_EQ(box.ErrorOf(u"SELECT 1 FROM t WHERE c1250 LIKE c1251"), 468);
    EXPECT_EQ(box.ErrorOf(u"SELECT 1 FROM t WHERE c1250 IN (c1251)"), 468);
    EXPECT_EQ(box.ErrorOf(u"SELECT 1 FROM t WHERE c1250 IN (SELECT c1251 FROM t)"), 468);
    // A literal has none of its own, and COLLATE settles it.
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t WHERE c1250 = 'a' OR c1251 = N'a'"), "0\n");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t WHERE c1250 = c1251 COLLATE Czech_CI_AS"), "0\n");
}

TEST(OldCodePages, TheConflictHasItsOldError) {
    Box box("8.00.2039");
    box.Text(u"CREATE TABLE t (a varchar(9), b varchar(9) COLLATE Czech_CI_AS)");
    EXPECT_EQ(box.Text(u"SELECT COUNT(*) FROM t WHERE a = b"),
              "!446 Cannot resolve collation conflict for equal to operation.\n");
}

TEST(CaseSensitivity, IsThatOfTheCollation) {
    Box box;
    box.Text(
        u"CREATE TABLE t (ci varchar(9), cs varchar(9) COLLATE Latin1_General_CS_AS, b "
        u"varchar(9) COLLATE Latin1_General_BIN, n nvarchar(9) COLLATE Latin1_General_BIN2)");
    box.Text(u"INSERT INTO t VALUES ('ab ', 'ab ', 'ab ', 'ab ')");
    const auto count = [&](std::u16string_view condition) {
        return box.Text(u"SELECT COUNT(*) FROM t WHERE " + std::u16string(condition));
    };
    for (const char16_t* sensitive : {u"cs", u"b", u"n"}) {
        const std::u16string c = sensitive;
        EXPECT_EQ(count(c + u" = 'ab'"), "1\n") << Utf8(c);
        EXPECT_EQ(count(u"'AB' = " + c), "0\n") << Utf8(c);
        EXPECT_EQ(count(c + u" IN ('AB', 'Ab')"), "0\n") << Utf8(c);
        EXPECT_EQ(count(c + u" LIKE 'A%'"), "0\n") << Utf8(c);
        EXPECT_EQ(count(c + u" LIKE 'a%'"), "1\n") << Utf8(c);
        EXPECT_EQ(count(u"CHARINDEX('B', " + c + u") = 0"), "1\n") << Utf8(c);
        EXPECT_EQ(count(c + u" COLLATE Latin1_General_CI_AS = 'AB'"), "1\n") << Utf8(c);
    }
    EXPECT_EQ(count(u"ci = 'AB'"), "1\n");
    EXPECT_EQ(count(u"ci COLLATE Latin1_General_CS_AS = 'AB'"), "0\n");
    EXPECT_EQ(box.Text(u"SELECT v FROM (SELECT 'a' COLLATE Latin1_General_CS_AS AS v UNION SELECT "
                       u"'A' COLLATE Latin1_General_CS_AS) x ORDER BY v"),
              "a\nA\n");
}

TEST(CaseSensitivity, HoldsInKeys) {
    Box box;
    box.Text(u"CREATE TABLE t (cs varchar(9) COLLATE Latin1_General_CS_AS NOT NULL PRIMARY KEY)");
    EXPECT_EQ(box.Text(u"INSERT INTO t VALUES ('a') INSERT INTO t VALUES ('A')"), "#1\n#1\n");
    EXPECT_EQ(box.ErrorOf(u"INSERT INTO t VALUES ('A ')"), 2627);
}

TEST(BinaryCollations, OrderByTheBytesOfTheCodePage) {
    Box box;
    box.Text(
        u"CREATE TABLE t (c varchar(9) COLLATE Cyrillic_General_BIN, n nvarchar(9) COLLATE "
        u"Cyrillic_General_BIN, n2 nvarchar(9) COLLATE Cyrillic_General_BIN2)");
    // U+0452 is byte 90 in 1251, U+0410 is C0.
    box.Text(u"INSERT INTO t VALUES (N'\u0452', N'a\u0452', N'a\u0452')");
    box.Text(u"INSERT INTO t VALUES (N'\u0410', N'a\u01FF', N'a\u01FF')");
    EXPECT_EQ(box.Text(u"SELECT c FROM t ORDER BY c"), "\u0452\n\u0410\n");
    // The second unit byte by byte, the low one first: 52 04 before FF 01.
    EXPECT_EQ(box.Text(u"SELECT c FROM t ORDER BY n"), "\u0452\n\u0410\n");
    EXPECT_EQ(box.Text(u"SELECT c FROM t ORDER BY n2"), "\u0410\n\u0452\n");
}

// Facts of Windows' own tables, which the C library's do not have.
TEST(CodePageTables, CountTheCharactersThatComeBack) {
    const auto count = [](int number) {
        const CodePage& page = CodePage::Of(number);
        int known = 0;
        for (int code = 0; code < 0x10000; ++code) {
            const char bytes[] = {static_cast<char>(code >> 8), static_cast<char>(code)};
            const std::u16string kept = page.Keep({bytes, 2});
            if (kept.size() == 1) ++known;
        }
        return known;
    };
    EXPECT_EQ(count(932), 9206);  // with 196 single bytes 9,402
    EXPECT_EQ(count(1252), 0);
    for (const int page : {437, 850, 874, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258})
        EXPECT_TRUE(CodePage::Of(page).IsSingleByte()) << page;
}

}  // namespace
}  // namespace sandbox::testing
