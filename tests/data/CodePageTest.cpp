#include "data/CodePage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#ifndef _WIN32
#include <iconv.h>
#endif

namespace QuillonLib {
namespace {

using namespace std::string_view_literals;

std::span<const std::uint8_t> Bytes(std::string_view bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// The text of the bytes; "-" where they are not carried.
std::u16string Text(std::int32_t page, std::string_view bytes) {
    const CodePage* codePage = CodePage::Find(page);
    if (codePage == nullptr) return u"no such page";
    std::u16string text(bytes.size() + 1, u'\xFFFF');
    const char16_t* end = codePage->Decode(Bytes(bytes), text.data());
    if (end == nullptr) return u"-";
    text.resize(static_cast<std::size_t>(end - text.data()));
    EXPECT_EQ(codePage->CountUnits(Bytes(bytes)), text.size());
    EXPECT_EQ(codePage->CountBytes(text), bytes.size());
    return text;
}

std::string EveryByte() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

constexpr std::array SingleBytePages{437,  850,  874,  1250, 1251, 1252,
                                     1253, 1254, 1255, 1256, 1257, 1258};
constexpr std::array DoubleBytePages{932, 936, 949, 950};

TEST(CodePage, OthersAreNotKnown) {
    EXPECT_EQ(CodePage::Find(0), nullptr);
    EXPECT_EQ(CodePage::Find(1200), nullptr);
    EXPECT_EQ(CodePage::Find(54936), nullptr);
    ASSERT_NE(CodePage::Find(1252), nullptr);
    EXPECT_EQ(CodePage::Find(1252), CodePage::Find(1252));
    EXPECT_EQ(CodePage::Find(1252)->Number(), 1252);
}

TEST(CodePage, AsciiIsTheSameInAll) {
    const std::string ascii = EveryByte().substr(0, 128);
    const std::u16string text(ascii.begin(), ascii.end());
    for (const std::int32_t page : SingleBytePages)
        EXPECT_EQ(Text(page, ascii), text) << page;
    for (const std::int32_t page : DoubleBytePages)
        EXPECT_EQ(Text(page, ascii), text) << page;
    EXPECT_EQ(Text(65001, ascii), text);
}

TEST(CodePage, OfSingleBytesEachIsCarriedAndNoTwoAlike) {
    for (const std::int32_t page : SingleBytePages) {
        const std::u16string text = Text(page, EveryByte());
        ASSERT_EQ(text.size(), 256U) << page;
        for (std::size_t i = 0; i < text.size(); ++i)
            EXPECT_EQ(text.find(text[i]), i) << page;
    }
}

TEST(CodePage, BytesThatTheStandardsLeaveOutAreAsInWindows) {
    EXPECT_EQ(Text(1252, "\x81\x8D\x8F\x90\x9D\x80"), u"\x81\x8D\x8F\x90\x9D\x20AC");
    EXPECT_EQ(Text(1250, "\x81\x83\x88\x90\x98"), u"\x81\x83\x88\x90\x98");
    EXPECT_EQ(Text(1251, "\x98"), u"\x98");
    EXPECT_EQ(Text(1253, "\x81\xAA\xD2\xFF"), u"\x81\xF8F9\xF8FA\xF8FB");
    EXPECT_EQ(Text(1254, "\x8E\x9E"), u"\x8E\x9E");
    EXPECT_EQ(Text(1255, "\xCA\xD9\xDF\xFB\xFC\xFF"), u"\x05BA\xF88D\xF893\xF894\xF895\xF896");
    EXPECT_EQ(Text(1257, "\xA1\xA5"), u"\xF8FC\xF8FD");
    EXPECT_EQ(Text(1258, "\x8A\xD2"), u"\x8A\x0309");
    EXPECT_EQ(Text(874, "\x81\xDB\xFC\xFF"), u"\x81\xF8C1\xF8C5\xF8C8");
    EXPECT_EQ(Text(437, "\x1A\x1C\x7F\xE6\xE1"), u"\x1A\x1C\x7F\xB5\xDF");
    EXPECT_EQ(Text(932, "\x80\xA0\xFD\xFE\xFF\x5C\x7E"), u"\x80\xF8F0\xF8F1\xF8F2\xF8F3\\~");
    EXPECT_EQ(Text(936, "\x80\xFF"), u"\x20AC\xF8F5");
    EXPECT_EQ(Text(949, "\x80\xFF"), u"\x80\xF8F7");
    EXPECT_EQ(Text(950, "\x80\xFF"), u"\x80\xF8F8");
}

TEST(CodePage, DoubleBytesAreCharacters) {
    EXPECT_EQ(Text(932, "a\x93\xFA\xB1\x81\x5C\x81\x60\x81\x7C"),
              u"a\x65E5\xFF71\x2015\xFF5E\xFF0D");
    EXPECT_EQ(Text(936, "\xD6\xD0\x81\x40"), u"\x4E2D\x4E02");
    EXPECT_EQ(Text(949, "\xC7\xD1\x81\x41"), u"\xD55C\xAC02");
    EXPECT_EQ(Text(950, "\xA4\xA4\xF9\xFE"), u"\x4E2D\x2593");
    // What users define for themselves.
    EXPECT_EQ(Text(932, "\xF0\x40\xF9\xFC"), u"\xE000\xE757");
    EXPECT_EQ(Text(936, "\xAA\xA1\xA1\x40"), u"\xE000\xE4C6");
    EXPECT_EQ(Text(949, "\xC9\xA1"), u"\xE000");
    EXPECT_EQ(Text(950, "\xFA\x40\x81\x40"), u"\xE000\xEEB8");
}

TEST(CodePage, OfTwoSpellingsOnlyTheOneThatComesBackIsCarried) {
    EXPECT_EQ(Text(932, "\x81\xE0"), u"\x2252");
    EXPECT_EQ(Text(932, "\x87\x90"), u"-");
    EXPECT_EQ(Text(932, "\xFA\x40"), u"\x2170");
    EXPECT_EQ(Text(932, "\xEE\xEF"), u"-");
    EXPECT_EQ(Text(950, "\xF9\xF9"), u"\x2550");
    EXPECT_EQ(Text(950, "\xA2\xA4"), u"-");
}

TEST(CodePage, DoubleBytesWithoutACharacterAreNot) {
    for (const std::int32_t page : DoubleBytePages) {
        EXPECT_EQ(Text(page, "ab\x81"), u"-") << page;     // its second byte is missing
        EXPECT_EQ(Text(page, "\x81\x20"), u"-") << page;   // is none
        EXPECT_EQ(Text(page, "\x81\0z"sv), u"-") << page;  // is a NUL
    }
    EXPECT_EQ(Text(932, "\x85\x40"), u"-");
}

TEST(CodePage, Utf8IsCarriedWhereItIsWellFormed) {
    EXPECT_EQ(Text(65001, "a\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80z\0"sv),
              u"a\xE9\x65E5\xD83D\xDE00z\0"sv);
    EXPECT_EQ(
        Text(65001, "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
        u"\x80\x7FF\x800\xFFFF\xD800\xDC00\xDBFF\xDFFF");
    EXPECT_EQ(Text(65001, "\xEF\xBF\xBD"), u"\xFFFD");
    for (const std::string_view bad :
         {"\x80"sv, "\xC3"sv, "\xC3z"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xE0\x9F\xBF"sv,
          "\xED\xA0\x80"sv, "\xED\xBF\xBF"sv, "\xF0\x8F\xBF\xBF"sv, "\xF4\x90\x80\x80"sv,
          "\xF5\x80\x80\x80"sv, "\xE6\x97"sv, "\xF0\x9F\x98"sv, "\xFF"sv, "abcdefgh\xFE"sv}) {
        EXPECT_EQ(Text(65001, bad), u"-");
    }
}

// Runs of eight bytes are looked at together.
TEST(CodePage, ABytePastAnyNumberOfAsciiIsSeen) {
    for (std::size_t length = 0; length < 20; ++length) {
        const std::string ascii(length, 'a');
        const std::u16string wide(length, u'a');
        EXPECT_EQ(Text(1252, ascii + "\xE9z"), wide + u"\xE9z");
        EXPECT_EQ(Text(932, ascii + "\x93\xFAz"), wide + u"\x65E5z");
        EXPECT_EQ(Text(65001, ascii + "\xC3\xA9z"), wide + u"\xE9z");
        EXPECT_EQ(Text(65001, ascii + "\xC3"), u"-");
    }
}

TEST(CodePage, CountsTheBytesOfATextThatItHas) {
    EXPECT_EQ(CodePage::Find(1250)->CountBytes(u"a\x0105"), 2U);
    EXPECT_EQ(CodePage::Find(1252)->CountBytes(u"a\x0105"), std::nullopt);
    EXPECT_EQ(CodePage::Find(1252)->CountBytes(u"\x81"), 1U);
    EXPECT_EQ(CodePage::Find(1250)->CountBytes(u"\x82"), std::nullopt);
    EXPECT_EQ(CodePage::Find(932)->CountBytes(u"a\x65E5\xFF71"), 4U);
    EXPECT_EQ(CodePage::Find(932)->CountBytes(u"\xE9"), std::nullopt);
    EXPECT_EQ(CodePage::Find(65001)->CountBytes(u"a\xE9\x65E5\xD83D\xDE00"), 10U);
    for (const std::u16string_view half : {u"\xD83D"sv, u"\xDE00"sv, u"\xDE00\xD83D"sv}) {
        EXPECT_EQ(CodePage::Find(65001)->CountBytes(half), std::nullopt);
        EXPECT_EQ(CodePage::Find(1252)->CountBytes(half), std::nullopt);
    }
    // A server takes a similar letter for one that is missing: another text.
    EXPECT_EQ(CodePage::Find(1252)->CountBytes(u"\x0101"), std::nullopt);
}

TEST(CodePage, AsciiAloneNeedsNoPage) {
    std::u16string text(4, u'x');
    EXPECT_EQ(DecodeAscii(Bytes("a?\0"sv), text.data()), text.data() + 3);
    EXPECT_EQ(text, u"a?\0x"sv);
    EXPECT_EQ(DecodeAscii(Bytes("abc\x80"), text.data()), nullptr);
}

#ifndef _WIN32
// The C library's tables are another's work. Where they give bytes a character and take it back,
// the character is the same.
class AgainstTheCLibrary : public ::testing::TestWithParam<std::pair<int, const char*>> {};

TEST_P(AgainstTheCLibrary, TheSameBytesHaveTheSameCharacter) {
    const auto& [number, name] = GetParam();
    const iconv_t decode = iconv_open("UTF-16LE", name);
    const iconv_t encode = iconv_open(name, "UTF-16LE");
    ASSERT_NE(decode, reinterpret_cast<iconv_t>(-1));
    const auto convert = [](iconv_t converter, std::string from) {
        std::array<char, 16> out{};
        char* read = from.data();
        char* write = out.data();
        std::size_t left = from.size();
        std::size_t room = out.size();
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        const bool exact = iconv(converter, &read, &left, &write, &room) == 0;
        if (!exact || iconv(converter, nullptr, nullptr, &write, &room) != 0) return std::string();
        return std::string(out.data(), out.size() - room);
    };
    int compared = 0;
    const bool doubleBytes = number > 900 && number < 1000;
    for (int code = 0x80; code < (doubleBytes ? 0x10000 : 0x100); ++code) {
        // Windows takes the other spelling of these four.
        if (number == 950 && code >= 0xA2A4 && code <= 0xA2A7) continue;
        std::string bytes;
        if (code > 0xFF) bytes += static_cast<char>(code >> 8);
        bytes += static_cast<char>(code);
        const std::string utf16 = convert(decode, bytes);
        if (utf16.size() != 2 || convert(encode, utf16) != bytes) continue;
        char16_t unit = 0;
        std::memcpy(&unit, utf16.data(), 2);
        ++compared;
        EXPECT_EQ(Text(number, bytes), std::u16string(1, unit)) << number << ' ' << code;
    }
    EXPECT_GT(compared, doubleBytes ? 9000 : 80);
    iconv_close(decode);
    iconv_close(encode);
}

INSTANTIATE_TEST_SUITE_P(Pages, AgainstTheCLibrary,
                         ::testing::Values(std::pair{437, "CP437"}, std::pair{850, "CP850"},
                                           std::pair{874, "CP874"}, std::pair{932, "CP932"},
                                           std::pair{936, "GBK"}, std::pair{949, "UHC"},
                                           std::pair{950, "CP950"}, std::pair{1250, "CP1250"},
                                           std::pair{1251, "CP1251"}, std::pair{1252, "CP1252"},
                                           std::pair{1253, "CP1253"}, std::pair{1254, "CP1254"},
                                           std::pair{1255, "CP1255"}, std::pair{1256, "CP1256"},
                                           std::pair{1257, "CP1257"}, std::pair{1258, "CP1258"}));
#endif

}  // namespace
}  // namespace QuillonLib
