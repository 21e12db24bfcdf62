#include "compare/Events.h"

#include <cmath>

namespace QuillonLib {

std::int16_t RoundPercent(double percent) {
    // std::remainder rounds halves to even whatever the process's rounding mode is.
    return static_cast<std::int16_t>(percent - std::remainder(percent, 1.0));
}

}  // namespace QuillonLib
