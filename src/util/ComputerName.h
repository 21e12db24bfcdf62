// The name of the computer that the library runs on.
#pragma once

#include <string>

namespace QuillonLib {

// "." where the system does not tell.
std::u16string GetLocalComputerName();

}  // namespace QuillonLib
