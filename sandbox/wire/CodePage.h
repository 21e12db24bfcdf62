// Windows-1252, the code page of char, varchar and text on the wire.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Bytes.h"

namespace sandbox::wire {

// Stores one byte for each of the `units` UTF-16LE units at `text` ("?" where the code page has
// no such character) and returns the end of what was stored.
std::uint8_t* PutCodePage(std::uint8_t* p, const std::uint8_t* text, std::size_t units);

std::u16string FromCodePage(Bytes bytes);

}  // namespace sandbox::wire
