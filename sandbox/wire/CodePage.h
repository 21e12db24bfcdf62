// Character values between the UTF-16LE of a cell and the bytes of their code page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "../Backend.h"
#include "Bytes.h"
#include "sandbox/text/CodePages.h"
#include "sandbox/text/Collations.h"

namespace sandbox::wire {

inline const CodePage& PageOf(const SqlType& type) {
    return CodePage::Of(FactsOf(type.collation).codePage);
}

// Stores one byte for each of the `units` UTF-16LE units at `text`, which need not be aligned, and
// returns the end of what was stored. Of a page of single bytes.
std::uint8_t* PutCodePage(std::uint8_t* p, const CodePage& page, const std::uint8_t* text,
                          std::size_t units);

std::u16string UnitsOf(const Cell& cell);

// The bytes of a cell in any code page.
std::string BytesOf(const CodePage& page, const Cell& cell);

// Text of the server's own code page.
std::u16string FromCodePage(Bytes bytes);

}  // namespace sandbox::wire
