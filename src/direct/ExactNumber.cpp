#include "direct/ExactNumber.h"

#include <algorithm>
#include <cstddef>

namespace QuillonLib {

ExactDigits Normalize(std::string_view text) {
    ExactDigits number;
    number.negative = text.starts_with('-');
    if (number.negative) text.remove_prefix(1);
    const std::size_t point = text.find('.');
    number.whole = text.substr(0, point);
    if (point != std::string_view::npos) number.fraction = text.substr(point + 1);
    number.whole.remove_prefix(std::min(number.whole.find_first_not_of('0'), number.whole.size()));
    const std::size_t last = number.fraction.find_last_not_of('0');
    number.fraction = number.fraction.substr(0, last == std::string_view::npos ? 0 : last + 1);
    if (number.whole.empty() && number.fraction.empty()) number.negative = false;
    return number;
}

void AppendValue(std::string& out, const ExactDigits& number) {
    if (number.negative) out.push_back('-');
    out.append(number.whole).push_back('.');
    out.append(number.fraction);
}

// The count of whole digits decides before the digits do; the end of the fraction stands below
// every digit. A negative number is the complement of its magnitude.
void AppendOrdered(std::string& out, const ExactDigits& number) {
    out.push_back(number.negative ? '\x01' : '\x02');
    const std::size_t begin = out.size();
    out.push_back(static_cast<char>(number.whole.size()));
    out.append(number.whole).append(number.fraction).push_back('\0');
    if (!number.negative) return;
    for (std::size_t i = begin; i < out.size(); ++i)
        out[i] = static_cast<char>(~static_cast<unsigned char>(out[i]));
}

}  // namespace QuillonLib
