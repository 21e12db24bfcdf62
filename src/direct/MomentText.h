// Dates and times as the server reads them whatever its language. Not installed.
#pragma once

#include <cstdint>
#include <string>

#include "direct/Moments.h"

namespace QuillonLib {

struct MomentParts {
    std::int64_t count = 0;    // in moments since 1899-12-30, of the clock that is shown if it is
                               // a Moment's with its offset added
    std::int32_t minutes = 0;  // the offset, added to `count` where it is shown
    bool hasDate = true;
    bool hasTime = true;
    bool hasOffset = false;
    int digits = 0;  // of the fraction; a datetime's third is rounded as the server shows it
};

// "yyyymmdd hh:mm:ss.fff +hh:mm", the parts that it has.
std::u16string MomentText(const MomentParts& parts);

}  // namespace QuillonLib
