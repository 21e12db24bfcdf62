// A hash by which rows without a key are told apart. Not installed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace QuillonLib {

using RowHash = std::array<std::uint8_t, 16>;

// The first half of SHA-256: nobody can make two rows that share one.
RowHash HashRow(std::string_view bytes);

}  // namespace QuillonLib
