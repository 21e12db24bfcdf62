// Large memory at less cost for the system. Not installed.
#pragma once

#include <cstddef>

namespace QuillonLib {

// Asks for huge pages under memory that will be filled from its begin on: filling a gigabyte of
// ordinary pages costs more than what is written there. A wish, no more: what lies outside whole
// huge pages, and a system without them, stay as they are.
void PreferHugePages(void* memory, std::size_t bytes) noexcept;

}  // namespace QuillonLib
