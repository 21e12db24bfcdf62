// An error of the server on its way to the sink.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "sandbox/Backend.h"

namespace sandbox::engine {

// How far an error reaches beyond its statement.
enum class ErrorReach {
    Statement,  // the statement is undone, the batch goes on
    Scope,      // the batch, procedure or EXEC('...') that holds the statement ends
    Batch,      // the batch ends, whatever it has called
    Rollback,   // the batch ends and its transaction is rolled back
};

struct SqlError : std::runtime_error {
    SqlError(std::int32_t number, std::u16string text, std::uint8_t severity = 16,
             std::uint8_t state = 1);

    Message message;
    ErrorReach reach;
};

ErrorReach ReachOf(std::int32_t number);

// Replaces %1, %2 ... by the arguments.
std::u16string Format(std::u16string_view pattern, std::initializer_list<std::u16string_view> args);

std::u16string Widen(std::string_view text);   // UTF-8 to UTF-16
std::string Narrow(std::u16string_view text);  // UTF-16 to UTF-8
std::u16string ToText(std::int64_t number);
int LeadingNumber(std::string_view text);  // 0 when there is none

// The errors that many places raise.
[[noreturn]] void ThrowSyntax(std::u16string_view near);         // 102
[[noreturn]] void ThrowInvalidObject(std::u16string_view name);  // 208
[[noreturn]] void ThrowInvalidColumn(std::u16string_view name);  // 207

}  // namespace sandbox::engine
