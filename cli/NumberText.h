// Numbers that a user writes.
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace quillon {

// The whole text as a number; absent for any other text, and for what the type does not hold.
template <class Number>
std::optional<Number> ParseNumber(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end) return std::nullopt;
    return number;
}

}  // namespace quillon
