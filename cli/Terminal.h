// The terminal behind the standard streams, as the system has it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quillon {

enum class Stream { Input, Result, Notes };

bool IsTerminal(Stream stream) noexcept;

// A terminal that colours, and goes back in a line, when it is told to by escape sequences.
bool ObeysEscapes(Stream stream) noexcept;

// The places of a line; absent for what is no terminal, 80 where it does not tell.
std::optional<std::size_t> WidthOf(Stream stream) noexcept;

// A line from the terminal, in UTF-8; none when the input ends before one. Throws Interruption when
// a signal comes first.
std::optional<std::string> ReadAnswer();

// The same without echo, which comes back whatever ends the program. `prompt` is shown first.
std::optional<std::string> ReadUnseenAnswer(const std::string& prompt);

}  // namespace quillon
