// Points in time as counts that have their order. Not installed.
#pragma once

#include <cstdint>
#include <string_view>

#include "data/DateTime.h"

namespace QuillonLib {

// A unit in which ticks of 1/300 s and of 100 ns are both whole.
inline constexpr std::int64_t MomentsPerSecond = 30'000'000;

struct Moment {
    std::int64_t count = 0;    // since 1899-12-30, the offset taken off; a time: since midnight
    std::int32_t minutes = 0;  // the offset from UTC
};

Moment ToMoment(DateTicks ticks);

// "yyyy-mm-dd", "hh:mm:ss", both, each with a fraction of up to seven digits, and "+hh:mm" behind:
// the forms in which date, time, datetime2 and datetimeoffset arrive. Throws Error DataAccess for
// any other text.
Moment ParseMoment(std::u16string_view text);

}  // namespace QuillonLib
