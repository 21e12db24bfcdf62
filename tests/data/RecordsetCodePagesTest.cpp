// Columns of char, varchar and text, with the code pages of their collations.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sandbox/text/Collations.h"
#include "tests/data/RecordsetFixture.h"

namespace QuillonLib {
namespace {

using sandbox::ResultSink;
using sandbox::TypeId;
using test::Column;
using test::IntegerCell;
using test::NullCell;
using test::SendRows;
using test::TextCell;
using test::Type;

class RecordsetCodePages : public RecordsetOfOneType {
  protected:
    static sandbox::SqlType Collated(TypeId id, int length, std::u16string_view collation) {
        sandbox::SqlType type = Type(id, length);
        EXPECT_TRUE(sandbox::FindCollation(collation, 15, type.collation));
        return type;
    }
    // Text of the first cell of column "c"; of an Error its description.
    std::u16string Read(const sandbox::SqlType& type, std::u16string_view kept,
                        const FieldCodePages& pages) {
        server.On(u"page", [&](ResultSink& sink) {
            SendRows(sink, {Column(u"n", Type(TypeId::Int)), Column(u"c", type)},
                     {{IntegerCell(1), TextCell(kept)}, {IntegerCell(2), NullCell()}});
        });
        Recordset read;
        try {
            read.Open(u"page", connection, pages);
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), ErrorNumber::DataAccess);
            return error.Description();
        }
        EXPECT_EQ(read.ValueAt(0, 0), Value(1));
        EXPECT_EQ(read.ValueAt(1, 0), Value(2));
        EXPECT_TRUE(read.ValueAt(1, 1).IsNull());
        return read.ValueAt(0, 1).Get<std::u16string>();
    }

    struct ColumnOfText {
        TypeId type;
        int length;
        const char16_t* collation;
        std::int32_t codePage;
        const char16_t* text;
    };
    // Every text arrives as the server keeps it.
    void ExpectAsKept(const std::vector<ColumnOfText>& cases) {
        for (const ColumnOfText& each : cases) {
            SCOPED_TRACE(ToUtf8(each.text));
            EXPECT_EQ(Read(Collated(each.type, each.length, each.collation), each.text,
                           {{u"c", each.codePage}}),
                      each.text);
        }
    }

    static constexpr const char16_t* Czech = u"Czech_CI_AS";
    static constexpr const char16_t* Japanese = u"Japanese_CI_AS";
    static constexpr const char16_t* Utf8 = u"Latin1_General_100_CI_AS_SC_UTF8";
    const FieldCodePages none;
};

TEST_F(RecordsetCodePages, BytesWithoutACharacterArriveExactly) {
    const std::u16string_view all(u"a?\x81\0\x8D\x8F\x90\x9D\x20ACz", 10);
    for (const sandbox::SqlType& type :
         {Type(TypeId::VarChar, 10), Type(TypeId::Char, 10), Type(TypeId::VarChar, -1),
          Type(TypeId::Text), Type(TypeId::VarChar, 8000)}) {
        EXPECT_EQ(Read(type, all, {{u"c", 1252}}), all);
    }
    EXPECT_EQ(Read(Type(TypeId::VarChar, 10), u"", {{u"c", 1252}}), u"");
    EXPECT_EQ(Read(Type(TypeId::Text), u"", {{u"c", 1252}}), u"");
}

TEST_F(RecordsetCodePages, WithoutThemTheDriverConverts) {
    EXPECT_EQ(Arrives(Type(TypeId::VarChar, 10), TextCell(u"a\x81\x20AC")), Value(u"a?\x20AC"));
}

TEST_F(RecordsetCodePages, EachColumnHasItsOwn) {
    ExpectAsKept({
        {TypeId::VarChar, 9, Czech, 1250, u"\x0105\x81"},
        {TypeId::Text, 0, u"Cyrillic_General_BIN", 1251, u"\x0416\x98"},
        {TypeId::VarChar, -1, Japanese, 932, u"\x65E5z\xFF71\xF8F1"},
        {TypeId::Char, 4, u"Chinese_PRC_CI_AS", 936, u"\x4E2D  "},
    });
}

TEST_F(RecordsetCodePages, Utf8ComesAsUtf16) {
    ExpectAsKept({
        {TypeId::VarChar, 9, Utf8, 65001, u"\xE9\x65E5"},
        {TypeId::VarChar, -1, Utf8, 65001, u"\xD83D\xDE00"},
        {TypeId::Char, 3, Utf8, 65001, u"\x65E5"},
    });
}

TEST_F(RecordsetCodePages, LongTextOfDoubleBytesArrivesWhole) {
    std::u16string text;
    for (int i = 0; i < 50000; ++i)
        text += i % 3 == 0 ? u"\x65E5" : u"ab";
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Japanese), text, {{u"c", 932}}), text);
}

// The unpaired units stand for the bytes 87 90, which spell U+2252 a second time.
TEST_F(RecordsetCodePages, BytesThatDoNotComeBackAreRefusedByName) {
    const std::u16string refused =
        u"Column c holds bytes to which code page 932 gives no character of their own; they "
        u"cannot be carried over.";
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Japanese), u"a\xDC87\xDC90", {{u"c", 932}}),
              refused);
    EXPECT_EQ(Read(Collated(TypeId::Text, 0, Japanese), u"a\xDC81", {{u"c", 932}}), refused);
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Japanese), u"\xDC87\xDC90", {{u"c", 932}}),
              refused);
    // The connection serves the next statement.
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Japanese), u"\x65E5", {{u"c", 932}}), u"\x65E5");
}

TEST_F(RecordsetCodePages, OfAnUnknownOneOnlyAsciiIsRead) {
    const std::u16string refused =
        u"Column c holds characters beyond ASCII, and its code page is not known.";
    for (const FieldCodePages& pages : {none, {{u"c", 0}}, {{u"C", 1252}}, {{u"c", 12345}}}) {
        EXPECT_EQ(Read(Type(TypeId::VarChar, 10), u"What?", pages), u"What?");
        EXPECT_EQ(Read(Type(TypeId::VarChar, 10), u"\xE9", pages), refused);
        EXPECT_EQ(Read(Type(TypeId::Text), u"\xE9", pages), refused);
    }
    // What is UTF-16 on the server has no code page.
    EXPECT_EQ(Read(Type(TypeId::NVarChar, 10), u"\xE9\x65E5\xFFFD", none), u"\xE9\x65E5\xFFFD");
}

TEST_F(RecordsetCodePages, InPlaceOfWhatIsNoUtf8TheServerSendsACharacterThatIsRefused) {
    const std::u16string refused =
        u"Column c holds U+FFFD, or bytes that are no UTF-8, for which the server sends the same; "
        u"they cannot be carried over.";
    // The unpaired unit stands for a byte FF.
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Utf8), u"a\xDCFF", {{u"c", 65001}}), refused);
    EXPECT_EQ(Read(Collated(TypeId::VarChar, -1, Utf8), u"a\xDCFF", {{u"c", 65001}}), refused);
    EXPECT_EQ(Read(Collated(TypeId::VarChar, 9, Utf8), u"\xFFFD", {{u"c", 65001}}), refused);
}

TEST_F(RecordsetCodePages, InAVariantAQuestionMarkOfACodePageIsRefused) {
    const auto variant = [&](std::u16string_view text, const sandbox::SqlType& base) {
        server.On(u"variant", [&](ResultSink& sink) {
            sandbox::Cell cell = TextCell(text);
            cell.variantType = base;
            sandbox::Cell number = IntegerCell(5);
            number.variantType = Type(TypeId::Int);
            SendRows(sink, {Column(u"v", Type(TypeId::SqlVariant))},
                     {{number}, {cell}, {NullCell()}});
        });
        Recordset read;
        try {
            read.Open(u"variant", connection, none);
        } catch (const Error& error) {
            return error.Description();
        }
        EXPECT_EQ(read.ValueAt(0, 0), Value(u"5"));
        EXPECT_TRUE(read.ValueAt(2, 0).IsNull());
        return read.ValueAt(1, 0).Get<std::u16string>();
    };
    const std::u16string refused =
        u"Column v holds, in a sql_variant, text of a code page with a question mark, or a byte "
        u"without a character, which the driver delivers as one; it cannot be carried over.";
    EXPECT_EQ(variant(u"a\x81", Type(TypeId::VarChar, 9)), refused);
    EXPECT_EQ(variant(u"a\x81", Type(TypeId::Char, 2)), refused);
    EXPECT_EQ(variant(u"\xDC87\xDC90\xDC85\xDC40", Collated(TypeId::VarChar, 9, Japanese)),
              refused);
    EXPECT_EQ(variant(u"What?", Type(TypeId::VarChar, 9)), refused);
    EXPECT_EQ(variant(u"What", Type(TypeId::VarChar, 9)), u"What");
    EXPECT_EQ(variant(u"\xE9\x20AC", Type(TypeId::VarChar, 9)), u"\xE9\x20AC");
    EXPECT_EQ(variant(u"", Type(TypeId::VarChar, 9)), u"");
    EXPECT_EQ(variant(u"What?\x81", Type(TypeId::NVarChar, 9)), u"What?\x81");
}

}  // namespace
}  // namespace QuillonLib
