// The code pages in which a server keeps char, varchar and text, as Windows defines them. Not
// installed.
//
// Only what comes back is carried: bytes whose characters the server, given them in a literal
// N'...', would turn into the very same bytes again. That leaves out the second of two spellings of
// one character, double bytes without a character, and what is no UTF-8. Windows gives a character
// to every byte of its single-byte code pages, so those are carried whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "data/Diagnostic.h"

namespace QuillonLib {

inline constexpr std::int32_t Utf8CodePage = 65001;

// What cannot be carried, in a column that the text names.
class NotCarried : public Error {
  public:
    explicit NotCarried(std::u16string description)
        : Error(ErrorNumber::DataAccess, std::move(description)) {}
};

class CodePage {
  public:
    // 437, 850, 874, 932, 936, 949, 950, 1250 to 1258 and 65001 (UTF-8). Null for any other number,
    // 0 among them, and where the system lacks the code page. Lives as long as the process.
    static const CodePage* Find(std::int32_t number);

    std::int32_t Number() const noexcept { return number_; }

    // UTF-16 units of the text of `bytes`, never more than there are bytes. Without meaning where
    // Decode fails.
    std::size_t CountUnits(std::span<const std::uint8_t> bytes) const noexcept;

    // Writes CountUnits units at `out` and returns their end; null where a byte is not carried.
    char16_t* Decode(std::span<const std::uint8_t> bytes, char16_t* out) const noexcept;

    // Bytes of the text in this code page; absent where it lacks a character.
    std::optional<std::size_t> CountBytes(std::u16string_view text) const noexcept;

  private:
    explicit CodePage(std::int32_t number) : number_(number) {}
    bool ReadTables();
    void Carry(std::uint32_t code, std::uint8_t bytes, char16_t unit);
    char16_t* DecodeTables(std::span<const std::uint8_t> bytes, char16_t* out) const noexcept;

    std::int32_t number_;
    // By byte; None for one that begins a double byte, and for one that is not carried.
    std::vector<char16_t> units_;
    std::vector<bool> leads_;
    std::vector<char16_t> pairs_;  // by double byte; None: not carried. Empty: single bytes only
    std::vector<std::uint8_t> sizes_;  // by unit: bytes of its character, 0 where there is none
};

// The text of bytes below 80, which are the same in every code page. Null where there is another.
char16_t* DecodeAscii(std::span<const std::uint8_t> bytes, char16_t* out) noexcept;

}  // namespace QuillonLib
