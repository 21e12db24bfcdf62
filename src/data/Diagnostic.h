// What the driver and the server say about a call that failed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/Error.h"
#include "core/Export.h"

namespace QuillonLib {

namespace ErrorNumber {

// What automation data access gives for a SQLSTATE.
inline constexpr std::int32_t DataAccess = static_cast<std::int32_t>(0x80004005);      // the rest
inline constexpr std::int32_t SyntaxOrAccess = static_cast<std::int32_t>(0x80040E14);  // 42000
inline constexpr std::int32_t NoSuchTable = static_cast<std::int32_t>(0x80040E37);     // 42S02
inline constexpr std::int32_t LoginRefused = static_cast<std::int32_t>(0x80040E4D);    // 28000
inline constexpr std::int32_t ConstraintViolation = static_cast<std::int32_t>(0x80040E2F);  // 23000

inline constexpr std::int32_t NoCurrentRecord = 3021;
inline constexpr std::int32_t ObjectOpen = 3705;

}  // namespace ErrorNumber

struct Diagnostic {
    std::int32_t number = 0;  // as Error::Number
    std::string sqlState;     // five characters
    std::int32_t nativeError =
        0;  // the server's message number (547, 2627 ...) or the driver's own
    std::u16string description;
};

// An Error that the driver or the server reported. Description() joins the descriptions of all
// diagnostics with CR LF; Number() is that of the first diagnostic whose SQLSTATE has a number of
// its own, for the cause is not always the first record.
class QUILLON_API DataError : public Error {
  public:
    // `diagnostics` must not be empty.
    explicit DataError(std::vector<Diagnostic> diagnostics);

    const std::vector<Diagnostic>& Diagnostics() const noexcept { return diagnostics_; }
    // True when one of the diagnostics carries this server message number.
    bool HasNativeError(std::int32_t nativeError) const noexcept;

  private:
    std::vector<Diagnostic> diagnostics_;
};

// The number for a SQLSTATE.
QUILLON_API std::int32_t NumberOfSqlState(std::string_view sqlState) noexcept;

}  // namespace QuillonLib
