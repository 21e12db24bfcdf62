// The code pages of char, varchar and text: their bytes, and the UTF-16 in which the engine keeps
// such values.
//
// A value is kept as the text that its bytes mean. Bytes that no character gives back (half of a
// double byte, the second of two spellings of one character, invalid UTF-8) stay what they are:
// each stands as an unpaired low surrogate, U+DC00 plus the byte, which no text of a code page can
// hold. So bytes come back as they were put in, for every code page.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

class CodePage {
  public:
    // 1250 to 1258, 437, 850, 874, 932, 936, 949, 950 or 65001; any other number counts as 1252.
    static const CodePage& Of(int number);

    // One byte for each unit of what is kept.
    bool IsSingleByte() const { return pairs_.empty() && !utf8_; }

    // Between bytes and what is kept of them.
    std::u16string Keep(std::string_view bytes) const;
    std::string Bytes(std::u16string_view kept) const;
    std::size_t ByteCount(std::u16string_view kept) const;
    // Of a page of single bytes: "?" for a unit that it does not have.
    std::uint8_t Byte(char16_t unit) const {
        const std::uint16_t code = codes_[unit];
        return code == 0 && unit != 0 ? std::uint8_t{'?'} : static_cast<std::uint8_t>(code);
    }

    // From text of nchar and nvarchar to what is kept: a character that the page does not have
    // becomes "?". (A server tries a similar character first, "a" for "\u0101"; none is tried
    // here.)
    std::u16string FromNational(std::u16string_view text) const;
    // What the server shows for a value in nchar and nvarchar.
    std::u16string ToNational(std::u16string_view kept) const;

  private:
    explicit CodePage(int number);
    static const CodePage& Find(int number);
    void ReadTables(int number);
    void Define(std::uint32_t code, char16_t unit);
    std::size_t KeepOne(std::string_view bytes, std::u16string& kept) const;
    std::size_t KeepUtf8(std::string_view bytes, std::u16string& kept) const;
    void AppendBytes(std::u16string_view kept, std::size_t& at, std::string& out) const;

    bool utf8_ = false;
    char16_t unknown_ = u'?';           // what a double byte without a character is shown as
    std::vector<char16_t> units_;       // by byte
    std::vector<char16_t> pairs_;       // by double byte; 0: none, or not the one that comes back
    std::vector<char16_t> shown_;       // by double byte: also those that do not come back
    std::vector<std::uint16_t> codes_;  // by unit; 0 but for U+0000: the page does not have it
    std::vector<std::uint8_t> leads_;   // by byte: begins a double byte
};

}  // namespace sandbox
