// The one exception type of the library.
//
// Every failure but a lack of memory (std::bad_alloc), and what a caller's own handler throws,
// reaches the caller as an Error, thrown and caught by reference. `Number` says what a program may
// act on, `Description` is for people, `Source` names the operation that raised it (often empty). A
// subsystem that adds context throws a new Error with the same Number.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "core/Export.h"

namespace QuillonLib {

// Numbers that the library itself raises, besides those that Connection gives for a SQLSTATE
// (see data/Connection.h).
namespace ErrorNumber {

inline constexpr std::int32_t InvalidArgument = 5;      // also: absent key or position
inline constexpr std::int32_t Overflow = 6;             // a 16-bit count; a Date out of range
inline constexpr std::int32_t SubscriptOutOfRange = 9;  // empty, or not zero-based, array
inline constexpr std::int32_t TypeMismatch = 13;
inline constexpr std::int32_t FileNotFound = 53;
inline constexpr std::int32_t FileAccess = 75;  // a file that cannot be written
inline constexpr std::int32_t ObjectNotSet = 91;
inline constexpr std::int32_t InvalidUseOfNull = 94;
inline constexpr std::int32_t DuplicateKey = 457;
inline constexpr std::int32_t ItemNotFound =
    3265;  // no field, database, table or index of that name
inline constexpr std::int32_t ObjectClosed = 3704;  // closing a row set that is not open
inline constexpr std::int32_t Encryption = static_cast<std::int32_t>(0x80040001);
inline constexpr std::int32_t Comparison = static_cast<std::int32_t>(0x80040002);

}  // namespace ErrorNumber

class QUILLON_API Error : public std::exception {
  public:
    Error(std::int32_t number, std::u16string description, std::u16string source = {});

    std::int32_t Number() const noexcept { return number_; }
    const std::u16string& Source() const noexcept { return source_; }
    const std::u16string& Description() const noexcept { return description_; }

    // The description in UTF-8; valid as long as the Error.
    const char* what() const noexcept override { return what_.c_str(); }

  private:
    std::int32_t number_;
    std::u16string source_;
    std::u16string description_;
    std::string what_;
};

}  // namespace QuillonLib
