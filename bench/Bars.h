// What a benchmark prints of a figure that has a bar.
#pragma once

#include <cstdio>

namespace bench {

inline constexpr double Mebibyte = 1024.0 * 1024.0;

// Prints the figure beside its bar; whether it was held.
inline bool Bar(const char* name, double value, double limit, bool atMost) {
    const bool held = atMost ? value <= limit : value >= limit;
    std::printf("%-44s %10.2f  (%s %.2f)  %s\n", name, value, atMost ? "at most" : "at least",
                limit, held ? "held" : "MISSED");
    std::fflush(stdout);
    return held;
}
inline bool AtMost(const char* name, double value, double limit) {
    return Bar(name, value, limit, true);
}
inline bool AtLeast(const char* name, double value, double limit) {
    return Bar(name, value, limit, false);
}

}  // namespace bench
