#include "direct/NumberText.h"

#include <cmath>

#include "core/Error.h"
#include "data/Value.h"

namespace QuillonLib {

namespace {

template <class Number>
std::u16string Literal(Number number) {
    if (!std::isfinite(number)) {
        throw Error(ErrorNumber::Overflow, u"The server has no literal for what is no number.");
    }
    // a sign in front of zero is lost, a product keeps it
    if (number == 0) return std::signbit(number) ? u"(0E0 * -1)" : u"0E0";
    char text[MaxNumberText];
    const char* const end = WriteText(text, number);
    std::u16string literal(static_cast<const char*>(text), end);
    if (literal.find_first_of(u"eE") == std::u16string::npos) literal += u"E0";
    return literal;
}

}  // namespace

std::u16string FloatText(float number) {
    return Literal(number);
}
std::u16string FloatText(double number) {
    return Literal(number);
}

}  // namespace QuillonLib
