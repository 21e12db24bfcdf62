// Floating numbers as literals. Not installed.
#pragma once

#include <string>

namespace QuillonLib {

// A literal of type float that the server reads back to the same bits, also as real; the sign of
// zero is kept. Throws Error Overflow for what is no finite number: the server has no literal for
// it.
std::u16string FloatText(float number);
std::u16string FloatText(double number);

}  // namespace QuillonLib
