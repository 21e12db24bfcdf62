#include "direct/MomentText.h"

#include <cstdlib>

namespace QuillonLib {

namespace {

void AppendDigits(std::u16string& out, std::int64_t number, int width) {
    const std::size_t begin = out.size();
    out.resize(begin + static_cast<std::size_t>(width));
    for (std::size_t i = out.size(); i-- > begin; number /= 10)
        out[i] = static_cast<char16_t>(u'0' + number % 10);
}

void AppendTime(std::u16string& out, std::int64_t moments, int digits) {
    const std::int64_t seconds = moments / MomentsPerSecond;
    AppendDigits(out, seconds / 3600, 2);
    out.push_back(u':');
    AppendDigits(out, seconds / 60 % 60, 2);
    out.push_back(u':');
    AppendDigits(out, seconds % 60, 2);
    if (digits == 0) return;
    std::int64_t unit = MomentsPerSecond;
    for (int i = 0; i < digits; ++i)
        unit /= 10;
    out.push_back(u'.');
    // a tick of 1/300 s lies within half a millisecond of what is shown
    AppendDigits(out, (moments % MomentsPerSecond + unit / 2) / unit, digits);
}

}  // namespace

std::u16string MomentText(const MomentParts& parts) {
    constexpr std::int64_t MomentsPerDay = 86400 * MomentsPerSecond;
    const std::int64_t shown =
        parts.count + (parts.hasOffset ? std::int64_t{parts.minutes} * 60 * MomentsPerSecond : 0);
    std::int64_t day = shown / MomentsPerDay;
    if (shown % MomentsPerDay < 0) --day;
    std::u16string text;
    if (parts.hasDate) {
        const CalendarDate date = CalendarFromDay(day);
        AppendDigits(text, date.year, 4);
        AppendDigits(text, date.month, 2);
        AppendDigits(text, date.day, 2);
        if (parts.hasTime) text.push_back(u' ');
    }
    if (parts.hasTime) AppendTime(text, shown - day * MomentsPerDay, parts.digits);
    if (parts.hasOffset) {
        const int minutes = std::abs(parts.minutes);
        text += parts.minutes < 0 ? u" -" : u" +";
        AppendDigits(text, minutes / 60, 2);
        text.push_back(u':');
        AppendDigits(text, minutes % 60, 2);
    }
    return text;
}

}  // namespace QuillonLib
