// Every type as it lies on the wire, in every version. The bytes are written out here.
#include <gtest/gtest.h>

#include "Days.h"
#include "FakeBackend.h"
#include "TdsClient.h"
#include "sandbox/text/Collations.h"
#include "sandbox/wire/WireServer.h"

namespace sandbox::wire {
namespace {

constexpr std::int64_t kAfternoon = 495'301'234'567;  // 13:45:30.1234567
constexpr Int128 kLargestDecimal =
    static_cast<Int128>(10'000'000'000'000'000'000ULL) * 10'000'000'000'000'000'000ULL - 1;

struct TypeCase {
    const char* name;
    SqlType type;
    Cell cell;
    std::string description;
    std::string value;
};

// Sends one row of `type` with `cell`, and one with NULL, to a client of `version`.
ClientRows Ask(const SqlType& type, const Cell& cell, std::uint32_t version) {
    FakeBackend backend;
    backend.On(u"ask", [&](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"c", type)});
        sink.Row(&cell);
        const Cell null;
        sink.Row(&null);
        sink.StatementDone(2, true, false);
    });
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    ClientLogin login;
    login.version = version;
    client.Login(login);
    const ClientResponse response = client.Query(u"ask");
    return response.sets.at(0);
}

void Expect(const TypeCase& expected, std::uint32_t version) {
    const ClientRows set = Ask(expected.type, expected.cell, version);
    EXPECT_EQ(set.columns.at(0).name, u"c");
    EXPECT_EQ(set.columns.at(0).type, expected.description);
    ASSERT_EQ(set.rows.size(), 2U);
    EXPECT_EQ(set.rows[0][0], expected.value);
    EXPECT_EQ(set.rows[1][0], std::nullopt);
}

std::string PrintName(const ::testing::TestParamInfo<TypeCase>& info) {
    return info.param.name;
}

// Types that are the same for every client.
class PlainTypes : public ::testing::TestWithParam<TypeCase> {};

TEST_P(PlainTypes, In71) {
    Expect(GetParam(), 0x71000001);
}
TEST_P(PlainTypes, In72) {
    Expect(GetParam(), 0x72090002);
}
TEST_P(PlainTypes, In73A) {
    Expect(GetParam(), 0x730A0003);
}
TEST_P(PlainTypes, In73B) {
    Expect(GetParam(), 0x730B0003);
}
TEST_P(PlainTypes, In74) {
    Expect(GetParam(), 0x74000004);
}

INSTANTIATE_TEST_SUITE_P(
    All, PlainTypes,
    ::testing::Values(
        TypeCase{"Bit", {TypeId::Bit}, Integer(1), "6801", "01"},
        TypeCase{"TinyInt", {TypeId::TinyInt}, Integer(255), "2601", "FF"},
        TypeCase{"SmallInt", {TypeId::SmallInt}, Integer(-2), "2602", "FEFF"},
        TypeCase{"Int", {TypeId::Int}, Integer(0x01020304), "2604", "04030201"},
        TypeCase{"IntLowest", {TypeId::Int}, Integer(-2147483648LL), "2604", "00000080"},
        TypeCase{"BigInt", {TypeId::BigInt}, Integer(-2), "2608", "FEFFFFFFFFFFFFFF"},
        TypeCase{"Decimal9", {TypeId::Decimal, 0, 5, 2}, Big(12345), "6A050502", "0139300000"},
        TypeCase{
            "DecimalNegative", {TypeId::Decimal, 0, 5, 2}, Big(-12345), "6A050502", "0039300000"},
        TypeCase{
            "Numeric19", {TypeId::Numeric, 0, 19, 4}, Big(-1), "6C091304", "000100000000000000"},
        TypeCase{"Numeric28",
                 {TypeId::Numeric, 0, 28, 0},
                 Big(1),
                 "6C0D1C00",
                 "01010000000000000000000000"},
        TypeCase{"Decimal38",
                 {TypeId::Decimal, 0, 38, 0},
                 Big(kLargestDecimal),
                 "6A112600",
                 "01FFFFFFFF3F228A097AC4865AA84C3B4B"},
        TypeCase{"Money", {TypeId::Money}, Integer(15000), "6E08", "00000000983A0000"},
        TypeCase{"MoneyNegative", {TypeId::Money}, Integer(-1), "6E08", "FFFFFFFFFFFFFFFF"},
        TypeCase{
            "MoneyLarge", {TypeId::Money}, Integer(0x0102030405060708), "6E08", "0403020108070605"},
        TypeCase{"SmallMoney", {TypeId::SmallMoney}, Integer(15000), "6E04", "983A0000"},
        TypeCase{"Float", {TypeId::Float}, Number(1.5), "6D08", "000000000000F83F"},
        TypeCase{"Real", {TypeId::Real}, Number(1.5), "6D04", "0000C03F"},
        TypeCase{"DateTime",
                 {TypeId::DateTime},
                 Integer(45304LL * 25'920'000 + 14'859'037),
                 "6F08",
                 "F8B000001DBBE200"},
        TypeCase{"DateTimeBefore1900", {TypeId::DateTime}, Integer(-1), "6F08", "FFFFFFFFFF818B01"},
        TypeCase{"SmallDateTime",
                 {TypeId::SmallDateTime},
                 Integer(45304 * 1440 + 825),
                 "6F04",
                 "F8B03903"},
        TypeCase{"UniqueIdentifier",
                 {TypeId::UniqueIdentifier},
                 Binary("0123456789abcdef"),
                 "2410",
                 "30313233343536373839616263646566"},
        TypeCase{"Char", {TypeId::Char, 5}, Text(u"a\u20acb  "), "AF05000904D00034", "6180622020"},
        TypeCase{"VarChar",
                 {TypeId::VarChar, 10},
                 Text(u"\u00e9\u6f22\u0178"),
                 "A70A000904D00034",
                 "E93F9F"},
        TypeCase{"VarCharEmpty", {TypeId::VarChar, 10}, Text(u""), "A70A000904D00034", ""},
        TypeCase{"NChar", {TypeId::NChar, 3}, Text(u"a  "), "EF06000904D00034", "610020002000"},
        TypeCase{"NVarChar",
                 {TypeId::NVarChar, 4000},
                 Text(u"\u6f22\xd800"),
                 "E7401F0904D00034",
                 "226F00D8"},
        TypeCase{"Binary", {TypeId::Binary, 2}, Binary("ab"), "AD0200", "6162"},
        TypeCase{"VarBinary", {TypeId::VarBinary, 8000}, Binary("a"), "A5401F", "61"},
        TypeCase{
            "Timestamp", {TypeId::Timestamp}, Binary("12345678"), "AD0800", "3132333435363738"},
        TypeCase{"VariantInt",
                 {TypeId::SqlVariant},
                 As(Integer(5), {TypeId::Int}),
                 "62491F0000",
                 "380005000000"},
        TypeCase{"VariantBit",
                 {TypeId::SqlVariant},
                 As(Integer(1), {TypeId::Bit}),
                 "62491F0000",
                 "320001"},
        TypeCase{"VariantTinyInt",
                 {TypeId::SqlVariant},
                 As(Integer(7), {TypeId::TinyInt}),
                 "62491F0000",
                 "300007"},
        TypeCase{"VariantSmallInt",
                 {TypeId::SqlVariant},
                 As(Integer(-2), {TypeId::SmallInt}),
                 "62491F0000",
                 "3400FEFF"},
        TypeCase{"VariantBigInt",
                 {TypeId::SqlVariant},
                 As(Integer(1), {TypeId::BigInt}),
                 "62491F0000",
                 "7F000100000000000000"},
        TypeCase{"VariantDecimal",
                 {TypeId::SqlVariant},
                 As(Big(12345), {TypeId::Decimal, 0, 5, 2}),
                 "62491F0000",
                 "6A0205020139300000"},
        TypeCase{"VariantNumeric",
                 {TypeId::SqlVariant},
                 As(Big(-1), {TypeId::Numeric, 0, 19, 0}),
                 "62491F0000",
                 "6C021300000100000000000000"},
        TypeCase{"VariantMoney",
                 {TypeId::SqlVariant},
                 As(Integer(15000), {TypeId::Money}),
                 "62491F0000",
                 "3C0000000000983A0000"},
        TypeCase{"VariantSmallMoney",
                 {TypeId::SqlVariant},
                 As(Integer(15000), {TypeId::SmallMoney}),
                 "62491F0000",
                 "7A00983A0000"},
        TypeCase{"VariantFloat",
                 {TypeId::SqlVariant},
                 As(Number(1.5), {TypeId::Float}),
                 "62491F0000",
                 "3E00000000000000F83F"},
        TypeCase{"VariantReal",
                 {TypeId::SqlVariant},
                 As(Number(1.5), {TypeId::Real}),
                 "62491F0000",
                 "3B000000C03F"},
        TypeCase{"VariantDateTime",
                 {TypeId::SqlVariant},
                 As(Integer(-1), {TypeId::DateTime}),
                 "62491F0000",
                 "3D00FFFFFFFFFF818B01"},
        TypeCase{"VariantSmallDateTime",
                 {TypeId::SqlVariant},
                 As(Integer(45304 * 1440 + 825), {TypeId::SmallDateTime}),
                 "62491F0000",
                 "3A00F8B03903"},
        TypeCase{"VariantVarChar",
                 {TypeId::SqlVariant},
                 As(Text(u"\u20ac"), {TypeId::VarChar, 3}),
                 "62491F0000",
                 "A7070904D00034030080"},
        TypeCase{"VariantChar",
                 {TypeId::SqlVariant},
                 As(Text(u"a "), {TypeId::Char, 2}),
                 "62491F0000",
                 "AF070904D0003402006120"},
        TypeCase{"VariantNVarChar",
                 {TypeId::SqlVariant},
                 As(Text(u"hi"), {TypeId::NVarChar, 10}),
                 "62491F0000",
                 "E7070904D0003414006800"
                 "6900"},
        TypeCase{"VariantNChar",
                 {TypeId::SqlVariant},
                 As(Text(u"h "), {TypeId::NChar, 2}),
                 "62491F0000",
                 "EF070904D00034040068002000"},
        TypeCase{"VariantVarBinary",
                 {TypeId::SqlVariant},
                 As(Binary("a"), {TypeId::VarBinary, 4}),
                 "62491F0000",
                 "A502040061"},
        TypeCase{"VariantBinary",
                 {TypeId::SqlVariant},
                 As(Binary("ab"), {TypeId::Binary, 2}),
                 "62491F0000",
                 "AD0202006162"},
        TypeCase{"VariantGuid",
                 {TypeId::SqlVariant},
                 As(Binary("0123456789abcdef"), {TypeId::UniqueIdentifier}),
                 "62491F0000",
                 "240030313233343536373839616263646566"}),
    PrintName);

SqlType Collated(TypeId id, int length, std::u16string_view collation) {
    SqlType type{id, length};
    EXPECT_TRUE(FindCollation(collation, 15, type.collation));
    return type;
}

// The collation of a column lies behind its type, and its values are in the code page of that.
INSTANTIATE_TEST_SUITE_P(
    Collations, PlainTypes,
    ::testing::Values(
        TypeCase{"Czech", Collated(TypeId::VarChar, 9, u"Czech_CI_AS"), Text(u"\u0105\u0081"),
                 "A709000504D00000", "B981"},
        TypeCase{"CyrillicBinary", Collated(TypeId::Char, 2, u"Cyrillic_General_BIN"),
                 Text(u"\u0416\u0098"), "AF02001904000100", "C698"},
        TypeCase{"Binary2", Collated(TypeId::VarChar, 2, u"Latin1_General_100_BIN2"), Text(u"a"),
                 "A702000904002200", "61"},
        TypeCase{"JapaneseSensitive", Collated(TypeId::VarChar, 8, u"Japanese_90_CS_AS_KS_WS"),
                 // The last two units stand for bytes that are no character.
                 Text(u"\u65E5a\xDC87\xDC90"), "A708001104001000", "93FA618790"},
        TypeCase{"JapaneseCut", Collated(TypeId::VarChar, 4, u"Japanese_CI_AS"), Text(u"\u65E5"),
                 "A704001104D00000", "93FA"},
        TypeCase{"OfDos", Collated(TypeId::VarChar, 4, u"SQL_Latin1_General_CP437_CI_AS"),
                 Text(u"\u00DF"), "A704000904D00020", "E1"},
        TypeCase{"National", Collated(TypeId::NVarChar, 4, u"Thai_CI_AS"), Text(u"a"),
                 "E708001E04D00000", "6100"},
        // A client that has not asked for UTF-8 is sent UTF-16.
        TypeCase{"Utf8", Collated(TypeId::VarChar, 4, u"Latin1_General_100_CI_AS_SC_UTF8"),
                 Text(u"\u65E5\xDCFF"), "E708000904D02400", "E565FDFF"},
        TypeCase{"Utf8Fixed", Collated(TypeId::Char, 3, u"Latin1_General_100_BIN2_UTF8"),
                 Text(u"\u65E5"), "E706000904002600", "E565"},
        TypeCase{"VariantCzech",
                 {TypeId::SqlVariant},
                 As(Text(u"\u0105"), Collated(TypeId::VarChar, 3, u"Czech_CI_AS")),
                 "62491F0000",
                 "A7070504D000000300B9"}),
    PrintName);

// date, time, datetime2, datetimeoffset: types of their own from 7.3 on, text before.
class DateTypes : public ::testing::TestWithParam<TypeCase> {};

TEST_P(DateTypes, In73A) {
    Expect(GetParam(), 0x730A0003);
}
TEST_P(DateTypes, In73B) {
    Expect(GetParam(), 0x730B0003);
}
TEST_P(DateTypes, In74) {
    Expect(GetParam(), 0x74000004);
}

INSTANTIATE_TEST_SUITE_P(
    All, DateTypes,
    ::testing::Values(
        TypeCase{"Date", {TypeId::Date}, Integer(kJanuary), "28", "53460B"},
        TypeCase{"DateFirst", {TypeId::Date}, Integer(0), "28", "000000"},
        TypeCase{"DateLast", {TypeId::Date}, Integer(3652058), "28", "DAB937"},
        TypeCase{"Time7", {TypeId::Time, 0, 0, 7}, Integer(kAfternoon), "2907", "870F415273"},
        TypeCase{"Time3", {TypeId::Time, 0, 0, 3}, Integer(495'301'230'000), "2903", "0BC5F302"},
        TypeCase{"Time0", {TypeId::Time, 0, 0, 0}, Integer(495'300'000'000), "2900", "7AC100"},
        TypeCase{"DateTime2",
                 {TypeId::DateTime2, 0, 0, 7},
                 Integer(kJanuary* kDay + kAfternoon),
                 "2A07",
                 "870F41527353460B"},
        TypeCase{"DateTimeOffset",
                 {TypeId::DateTimeOffset, 0, 0, 3},
                 WithOffset(Integer(kJanuary* kDay + 423'301'230'000), 120),
                 "2B03",
                 "0BE8850253460B7800"},
        TypeCase{"DateTimeOffsetWest",
                 {TypeId::DateTimeOffset, 0, 0, 3},
                 WithOffset(Integer(kJanuary* kDay + 423'301'230'000), -90),
                 "2B03",
                 "0BE8850253460BA6FF"},
        TypeCase{"VariantDate",
                 {TypeId::SqlVariant},
                 As(Integer(kJanuary), {TypeId::Date}),
                 "62491F0000",
                 "280053460B"},
        TypeCase{"VariantTime",
                 {TypeId::SqlVariant},
                 As(Integer(kAfternoon), {TypeId::Time, 0, 0, 7}),
                 "62491F0000",
                 "290107870F415273"},
        TypeCase{"VariantDateTime2",
                 {TypeId::SqlVariant},
                 As(Integer(kJanuary* kDay + kAfternoon), {TypeId::DateTime2, 0, 0, 7}),
                 "62491F0000",
                 "2A0107870F41527353460B"},
        TypeCase{"VariantDateTimeOffset",
                 {TypeId::SqlVariant},
                 As(WithOffset(Integer(kJanuary* kDay + 423'301'230'000), 120),
                    {TypeId::DateTimeOffset, 0, 0, 3}),
                 "62491F0000",
                 "2B01030BE8850253460B7800"}),
    PrintName);

class DateTexts : public ::testing::TestWithParam<TypeCase> {};

TEST_P(DateTexts, In71) {
    Expect(GetParam(), 0x71000001);
}
TEST_P(DateTexts, In72) {
    Expect(GetParam(), 0x72090002);
}

std::string TextHex(std::u16string_view text) {
    return Hex(Utf16Bytes(text));
}

INSTANTIATE_TEST_SUITE_P(
    All, DateTexts,
    ::testing::Values(
        TypeCase{
            "Date", {TypeId::Date}, Integer(kJanuary), "E714000904D00034", TextHex(u"2024-01-15")},
        TypeCase{
            "DateFirst", {TypeId::Date}, Integer(0), "E714000904D00034", TextHex(u"0001-01-01")},
        TypeCase{"DateLast",
                 {TypeId::Date},
                 Integer(3652058),
                 "E714000904D00034",
                 TextHex(u"9999-12-31")},
        TypeCase{"DateLeapDay",
                 {TypeId::Date},
                 Integer(738944),
                 "E714000904D00034",
                 TextHex(u"2024-02-29")},
        TypeCase{"Time7",
                 {TypeId::Time, 0, 0, 7},
                 Integer(kAfternoon),
                 "E720000904D00034",
                 TextHex(u"13:45:30.1234567")},
        TypeCase{"Time3",
                 {TypeId::Time, 0, 0, 3},
                 Integer(50'000),
                 "E718000904D00034",
                 TextHex(u"00:00:00.005")},
        TypeCase{"Time0",
                 {TypeId::Time, 0, 0, 0},
                 Integer(863'990'000'000),
                 "E710000904D00034",
                 TextHex(u"23:59:59")},
        TypeCase{"DateTime2",
                 {TypeId::DateTime2, 0, 0, 7},
                 Integer(kJanuary* kDay + kAfternoon),
                 "E736000904D00034",
                 TextHex(u"2024-01-15 13:45:30.1234567")},
        TypeCase{"DateTimeOffset",
                 {TypeId::DateTimeOffset, 0, 0, 7},
                 WithOffset(Integer(kJanuary* kDay + 423'301'234'567), 120),
                 "E744000904D00034",
                 TextHex(u"2024-01-15 13:45:30.1234567 +02:00")},
        TypeCase{"DateTimeOffsetWest",
                 {TypeId::DateTimeOffset, 0, 0, 0},
                 WithOffset(Integer(kJanuary* kDay), -90),
                 "E734000904D00034",
                 TextHex(u"2024-01-14 22:30:00 -01:30")},
        TypeCase{"VariantDate",
                 {TypeId::SqlVariant},
                 As(Integer(kJanuary), {TypeId::Date}),
                 "62491F0000",
                 "E7070904D000341400" + TextHex(u"2024-01-15")},
        TypeCase{"VariantTime",
                 {TypeId::SqlVariant},
                 As(Integer(kAfternoon), {TypeId::Time, 0, 0, 7}),
                 "62491F0000",
                 "E7070904D000342000" + TextHex(u"13:45:30.1234567")}),
    PrintName);

// text, ntext, image, xml and the max types.
class LongTypesIn71 : public ::testing::TestWithParam<TypeCase> {};
class LongTypesFrom72 : public ::testing::TestWithParam<TypeCase> {};

TEST_P(LongTypesIn71, AreText) {
    Expect(GetParam(), 0x71000001);
}
TEST_P(LongTypesFrom72, In72) {
    Expect(GetParam(), 0x72090002);
}
TEST_P(LongTypesFrom72, In74) {
    Expect(GetParam(), 0x74000004);
}

INSTANTIATE_TEST_SUITE_P(
    All, LongTypesIn71,
    ::testing::Values(
        TypeCase{"Text", {TypeId::Text}, Text(u"\u20aca"), "23FFFFFF7F0904D000340000", "8061"},
        TypeCase{"NText", {TypeId::NText}, Text(u"a"), "63FEFFFF7F0904D000340000", "6100"},
        TypeCase{"Image", {TypeId::Image}, Binary("a"), "22FFFFFF7F0000", "61"},
        TypeCase{"ImageEmpty", {TypeId::Image}, Binary(""), "22FFFFFF7F0000", ""},
        TypeCase{
            "VarCharMax", {TypeId::VarChar, -1}, Text(u"\u20ac"), "23FFFFFF7F0904D000340000", "80"},
        TypeCase{
            "NVarCharMax", {TypeId::NVarChar, -1}, Text(u"a"), "63FEFFFF7F0904D000340000", "6100"},
        TypeCase{"VarBinaryMax", {TypeId::VarBinary, -1}, Binary("a"), "22FFFFFF7F0000", "61"},
        TypeCase{
            "Xml", {TypeId::Xml}, Text(u"<a/>"), "63FEFFFF7F0904D000340000", "3C0061002F003E00"}),
    PrintName);

INSTANTIATE_TEST_SUITE_P(
    All, LongTypesFrom72,
    ::testing::Values(
        TypeCase{"Text", {TypeId::Text}, Text(u"\u20aca"), "23FFFFFF7F0904D00034010000", "8061"},
        TypeCase{"NText", {TypeId::NText}, Text(u"a"), "63FEFFFF7F0904D00034010000", "6100"},
        TypeCase{"Image", {TypeId::Image}, Binary("a"), "22FFFFFF7F010000", "61"},
        TypeCase{"VarCharMax", {TypeId::VarChar, -1}, Text(u"\u20ac"), "A7FFFF0904D00034", "80"},
        TypeCase{"NVarCharMax", {TypeId::NVarChar, -1}, Text(u"a"), "E7FFFF0904D00034", "6100"},
        TypeCase{"TextOfAnotherPage", Collated(TypeId::Text, 0, u"Greek_CI_AS"), Text(u"\u03B1"),
                 "23FFFFFF7F0804D00000010000", "E1"},
        TypeCase{"VarCharMaxOfDoubleBytes", Collated(TypeId::VarChar, -1, u"Japanese_CI_AS"),
                 Text(u"a\u65E5"), "A7FFFF1104D00000", "6193FA"},
        TypeCase{"Utf8Max", Collated(TypeId::VarChar, -1, u"Latin1_General_100_CI_AS_SC_UTF8"),
                 Text(u"\u65E5"), "E7FFFF0904D02400", "E565"},
        TypeCase{"Utf8LongerThanNational",
                 Collated(TypeId::VarChar, 4001, u"Latin1_General_100_CI_AS_SC_UTF8"), Text(u"a"),
                 "E7FFFF0904D02400", "6100"},
        TypeCase{"NVarCharMaxEmpty", {TypeId::NVarChar, -1}, Text(u""), "E7FFFF0904D00034", ""},
        TypeCase{"VarBinaryMax", {TypeId::VarBinary, -1}, Binary("a"), "A5FFFF", "61"},
        TypeCase{"Xml", {TypeId::Xml}, Text(u"<a/>"), "F100", "3C0061002F003E00"}),
    PrintName);

// Values larger than the server's own buffers, with short ones around them.
TEST(LongValues, PassWholeWithTheirNeighbours) {
    constexpr std::size_t kUnits = 700'001;
    std::u16string text(kUnits, u'\u20ac');
    text[0] = u'a';
    text[kUnits - 1] = u'z';
    FakeBackend backend;
    backend.On(u"ask", [&](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"a", {TypeId::Int}), Column(u"b", {TypeId::VarChar, -1}),
                      Column(u"c", {TypeId::NText}), Column(u"d", {TypeId::Int})});
        for (int n = 0; n < 3; ++n) {
            const Cell row[] = {Integer(n), Text(text), Text(text), Integer(-n)};
            sink.Row(row);
        }
        sink.StatementDone(3, true, false);
    });
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();
    const ClientRows set = client.Query(u"ask").sets.at(0);

    std::string narrow(kUnits, '\x80');
    narrow.front() = 'a';
    narrow.back() = 'z';
    ASSERT_EQ(set.rows.size(), 3U);
    EXPECT_EQ(set.rows[2][0], "02000000");
    EXPECT_TRUE(set.rows[2][1] == Hex(narrow));
    EXPECT_TRUE(set.rows[2][2] == Hex(Utf16Bytes(text)));
    EXPECT_EQ(set.rows[2][3], "FEFFFFFF");
}

TEST(Columns, CarryTheirFlags) {
    FakeBackend backend;
    backend.On(u"ask", [](ResultSink& sink, const auto&) {
        std::vector<ColumnInfo> columns(5, Column(u"c", {TypeId::Int}));
        columns[1].nullable = false;
        columns[2].nullable = false;
        columns[2].identity = true;
        columns[3].computed = true;
        columns[4].type.id = TypeId::Timestamp;
        sink.Columns(columns);
        sink.StatementDone(0, true, false);
    });
    WireServer server;
    server.Serve(backend);
    const auto flags = [&server](std::uint32_t version) {
        TdsClient client(server.Port());
        ClientLogin login;
        login.version = version;
        client.Login(login);
        std::vector<std::uint32_t> all;
        const ClientRows set = client.Query(u"ask").sets.at(0);
        for (const ClientColumn& column : set.columns) {
            all.push_back(column.flags);
            all.push_back(column.userType);
        }
        return all;
    };
    // Nullable 1, updatable perhaps 8, identity 16, computed 32; the user type of timestamp is 80.
    EXPECT_EQ(flags(0x74000004), (std::vector<std::uint32_t>{9, 0, 8, 0, 16, 0, 33, 0, 9, 80}));
    EXPECT_EQ(flags(0x71000001), (std::vector<std::uint32_t>{9, 0, 8, 0, 16, 0, 1, 0, 9, 80}));
}

TEST(Columns, ANameIsCutAtWhatItsLengthCanSay) {
    FakeBackend backend;
    backend.On(u"ask", [](ResultSink& sink, const auto&) {
        sink.Columns({Column(std::u16string(300, u'n'), {TypeId::Int})});
        sink.StatementDone(0, true, false);
    });
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();
    EXPECT_EQ(client.Query(u"ask").sets.at(0).columns.at(0).name, std::u16string(255, u'n'));
}

TEST(Columns, AValueLongerThanItsTypeIsAnError) {
    FakeBackend backend;
    backend.On(u"ask", [](ResultSink& sink, const auto&) {
        sink.Columns({Column(u"c", {TypeId::NVarChar, 2})});
        const Cell cell = Text(u"abc");
        EXPECT_FALSE(sink.Row(&cell));
    });
    WireServer server;
    server.Serve(backend);
    TdsClient client(server.Port());
    client.Login();
    const ClientResponse response = client.Query(u"ask");
    ASSERT_EQ(response.messages.size(), 1U);
    EXPECT_EQ(response.messages[0].number, 8152);
    EXPECT_EQ(response.messages[0].text,
              u"A value of the column 'c' is longer than its type allows.");
}

}  // namespace
}  // namespace sandbox::wire
