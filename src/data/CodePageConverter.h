// What the system, or ICU where that is not Windows, makes of the bytes of one character in a code
// page. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace QuillonLib {

// What is known of a code page of Windows besides its characters.
struct CodePageFacts {
    const char* Converter;  // ICU's table of the code page
    std::int32_t Number;
    std::uint8_t Leads[2][2];  // first and last of the bytes that begin a double byte

    bool IsLead(std::uint32_t byte) const noexcept {
        return byte >= 0x80 && ((byte >= Leads[0][0] && byte <= Leads[0][1]) ||
                                (byte >= Leads[1][0] && byte <= Leads[1][1]));
    }
    bool HasDoubleBytes() const noexcept { return Leads[0][0] != 0; }
};

// Null for a number that is none of a server's code pages, and for UTF-8, which has no table.
const CodePageFacts* FindCodePageFacts(std::int32_t number);

class CodePageConverter {
  public:
    // Stands for no character: half of a surrogate pair, which no code page has.
    static constexpr char16_t None = 0xDC00;

    explicit CodePageConverter(const CodePageFacts& page);
    ~CodePageConverter();
    CodePageConverter(const CodePageConverter&) = delete;
    CodePageConverter& operator=(const CodePageConverter&) = delete;

    // Whether there are tables of the code page here.
    bool IsOpen() const;

    // The character of one or two bytes that comes back as the same bytes, else None.
    char16_t Carried(std::span<const std::uint8_t> bytes) const;

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace QuillonLib
