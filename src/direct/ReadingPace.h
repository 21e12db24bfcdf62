// How fast rows are read, and how long it may take yet.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

#include "core/Export.h"

namespace QuillonLib {

// Says nothing that it does not know: no rate before rows have been read for a second, no time
// without a rate or without knowing how many rows there are.
class QUILLON_API ReadingPace {
  public:
    using Clock = std::chrono::steady_clock;

    struct Reading {
        std::optional<std::uint64_t> rowsPerSecond;  // over the last ten seconds, about
        std::optional<std::chrono::seconds> left;    // rounded up
    };

    // `now` tells the time; the first reading begins at zero rows when the object is made.
    explicit ReadingPace(std::function<Clock::time_point()> now = Clock::now);

    // `read`: rows so far, never fewer than before; `expected`: of all rows, absent where that is
    // not known.
    Reading At(std::uint64_t read, std::optional<std::uint64_t> expected);

  private:
    struct Sample {
        Clock::time_point time;
        std::uint64_t read = 0;
    };

    std::function<Clock::time_point()> now_;
    std::deque<Sample> samples_;  // the oldest is as old as the window, or the first
};

}  // namespace QuillonLib
