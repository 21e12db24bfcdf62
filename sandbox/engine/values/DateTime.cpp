#include "sandbox/engine/values/DateTime.h"

#include <chrono>

namespace sandbox::engine {
namespace {

using std::chrono::sys_days;

constexpr sys_days kYearOne = std::chrono::year(1) / 1 / 1;

std::chrono::year_month_day Calendar(const Date& date) {
    return std::chrono::year(date.year) / std::chrono::month(static_cast<unsigned>(date.month)) /
           std::chrono::day(static_cast<unsigned>(date.day));
}

constexpr std::u16string_view kMonths[] = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                           u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};

std::u16string Digits(std::int64_t value, int width, char16_t fill = u'0') {
    std::u16string out;
    for (; value > 0 || width > 0; value /= 10, --width) {
        const bool blank = value == 0 && fill != u'0' && !out.empty();
        out.insert(out.begin(), blank ? fill : static_cast<char16_t>(u'0' + value % 10));
    }
    return out;
}

std::u16string TimeText(std::int64_t ticks, int scale) {
    const std::int64_t seconds = ticks / kTicksPerSecond;
    std::u16string out = Digits(seconds / 3600, 2) + u":" + Digits(seconds / 60 % 60, 2) + u":" +
                         Digits(seconds % 60, 2);
    if (scale > 0) {
        std::int64_t fraction = ticks % kTicksPerSecond;
        for (int i = scale; i < 7; ++i)
            fraction /= 10;
        out += u"." + Digits(fraction, scale);
    }
    return out;
}

std::u16string OffsetText(int offset) {
    const int m = offset < 0 ? -offset : offset;
    return (offset < 0 ? u"-" : u"+") + Digits(m / 60, 2) + u":" + Digits(m % 60, 2);
}

// Jan 15 2024  1:45PM
std::u16string ClassicText(const Date& d, std::int64_t ticks, bool milliseconds) {
    const std::int64_t seconds = ticks / kTicksPerSecond;
    const auto hour = static_cast<int>(seconds / 3600);
    const int twelve = hour % 12 == 0 ? 12 : hour % 12;
    std::u16string out(kMonths[d.month - 1]);
    out += u" " + Digits(d.day, 2, u' ') + u" " + Digits(d.year, 4) + u" " +
           Digits(twelve, 2, u' ') + u":" + Digits(seconds / 60 % 60, 2);
    if (milliseconds) {
        out += u":" + Digits(seconds % 60, 2) + u":" + Digits(ticks % kTicksPerSecond / 10'000, 3);
    }
    return out + (hour < 12 ? u"AM" : u"PM");
}

}  // namespace

std::int64_t DaysFromDate(const Date& date) {
    return (sys_days(Calendar(date)) - kYearOne).count();
}

Date DateFromDays(std::int64_t days) {
    const std::chrono::year_month_day d(
        kYearOne + std::chrono::days(static_cast<std::chrono::days::rep>(days)));
    return {static_cast<int>(d.year()), static_cast<int>(static_cast<unsigned>(d.month())),
            static_cast<int>(static_cast<unsigned>(d.day()))};
}

int DaysInMonth(int year, int month) {
    const auto last = std::chrono::year(year) / std::chrono::month(static_cast<unsigned>(month)) /
                      std::chrono::last;
    return static_cast<int>(static_cast<unsigned>(last.day()));
}

bool ValidDate(int year, int month, int day) {
    return year >= 1 && year <= 9999 && month >= 1 && day >= 1 && Calendar({year, month, day}).ok();
}

std::optional<std::int64_t> FromMoment(const Moment& moment, const SqlType& type) {
    const auto rounded = [](std::int64_t ticks, int scale) {
        std::int64_t unit = 1;
        for (int i = scale; i < 7; ++i)
            unit *= 10;
        return (ticks + unit / 2) / unit * unit;
    };
    switch (type.id) {
        case TypeId::Date:
            return moment.days;
        case TypeId::Time: {
            const std::int64_t t = rounded(moment.ticks, type.scale);
            return t >= kTicksPerDay ? 0 : t;
        }
        case TypeId::DateTime2:
        case TypeId::DateTimeOffset: {
            const std::int64_t t = rounded(moment.days * kTicksPerDay + moment.ticks, type.scale);
            if (t >= 3'652'059LL * kTicksPerDay) return std::nullopt;
            return t;
        }
        case TypeId::DateTime: {
            const std::int64_t thirds =
                (moment.ticks * 300 + kTicksPerSecond / 2) / kTicksPerSecond;
            const std::int64_t v = (moment.days - kDays1900) * kThirdsPerDay + thirds;
            if (moment.days < 639'905 || v >= (3'652'059 - kDays1900) * kThirdsPerDay) {
                return std::nullopt;  // before 1753 or past 9999
            }
            return v;
        }
        case TypeId::SmallDateTime: {
            // The server rounds to milliseconds first: 29.998 s rounds down, 29.999 s up.
            const std::int64_t thirds =
                (moment.ticks * 300 + kTicksPerSecond / 2) / kTicksPerSecond;
            const std::int64_t v = (moment.days - kDays1900) * 1440 + (thirds + 9000) / 18000;
            if (v < 0 || v > 94'672'799) return std::nullopt;  // 1900 to 2079-06-06 23:59
            return v;
        }
        default:
            return std::nullopt;
    }
}

Moment ToMoment(std::int64_t value, const SqlType& type) {
    const auto floorDiv = [](std::int64_t a, std::int64_t b) {
        return a / b - (a % b < 0 ? 1 : 0);
    };
    Moment m;
    switch (type.id) {
        case TypeId::Date:
            m.days = value;
            break;
        case TypeId::Time:
            m.ticks = value;
            break;
        case TypeId::DateTime: {
            const std::int64_t days = floorDiv(value, kThirdsPerDay);
            const std::int64_t thirds = value - days * kThirdsPerDay;
            m.days = days + kDays1900;
            // Shown with the milliseconds .000, .003, .007.
            m.ticks = (thirds * 10 + 1) / 3 * 10'000;
            break;
        }
        case TypeId::SmallDateTime: {
            const std::int64_t days = floorDiv(value, 1440);
            m.days = days + kDays1900;
            m.ticks = (value - days * 1440) * 60 * kTicksPerSecond;
            break;
        }
        default: {
            m.days = value / kTicksPerDay;
            m.ticks = value % kTicksPerDay;
            break;
        }
    }
    return m;
}

std::u16string MomentText(const Moment& moment, const SqlType& type, int style) {
    const Date d = DateFromDays(moment.days);
    std::u16string iso = Digits(d.year, 4) + u"-" + Digits(d.month, 2) + u"-" + Digits(d.day, 2);
    const bool legacy = type.id == TypeId::DateTime || type.id == TypeId::SmallDateTime;
    const int scale = legacy ? 3 : type.id == TypeId::Date ? 0 : type.scale;
    const auto slashed = [&](int a, int b, char16_t separator, bool century) {
        std::u16string s = Digits(a, 2);
        s += separator;
        s += Digits(b, 2);
        s += separator;
        return s + (century ? Digits(d.year, 4) : Digits(d.year % 100, 2));
    };
    switch (style) {
        case 112:
            return Digits(d.year, 4) + Digits(d.month, 2) + Digits(d.day, 2);
        case 12:
            return Digits(d.year % 100, 2) + Digits(d.month, 2) + Digits(d.day, 2);
        case 1:
        case 101:
            return slashed(d.month, d.day, u'/', style > 100);
        case 3:
        case 103:
            return slashed(d.day, d.month, u'/', style > 100);
        case 4:
        case 104:
            return slashed(d.day, d.month, u'.', style > 100);
        case 5:
        case 105:
            return slashed(d.day, d.month, u'-', style > 100);
        case 102:
            return Digits(d.year, 4) + u"." + Digits(d.month, 2) + u"." + Digits(d.day, 2);
        case 111:
            return Digits(d.year, 4) + u"/" + Digits(d.month, 2) + u"/" + Digits(d.day, 2);
        case 8:
        case 108:
            return TimeText(moment.ticks, legacy ? 0 : scale);
        case 14:
        case 114: {
            std::u16string s = TimeText(moment.ticks, 3);
            s[8] = u':';
            return s;
        }
        case 9:
        case 109:
            return ClassicText(d, moment.ticks, true);
        case 23:
            return iso;
        case 20:
        case 120:
            return type.id == TypeId::Date   ? iso
                   : type.id == TypeId::Time ? TimeText(moment.ticks, 0)
                                             : iso + u" " + TimeText(moment.ticks, 0);
        case 126:
        case 127: {
            if (type.id == TypeId::Date) return iso;
            if (type.id == TypeId::Time) return TimeText(moment.ticks, scale);
            const bool cut = legacy && moment.ticks % kTicksPerSecond == 0;
            return iso + u"T" + TimeText(moment.ticks, cut ? 0 : scale);
        }
        default:
            break;
    }
    if (style != 21 && style != 25 && style != 121 && legacy) {
        return ClassicText(d, moment.ticks, false);
    }
    if (type.id == TypeId::Date) return iso;
    if (type.id == TypeId::Time) return TimeText(moment.ticks, scale);
    std::u16string out = iso + u" " + TimeText(moment.ticks, scale);
    if (type.id == TypeId::DateTimeOffset) out += u" " + OffsetText(moment.offset);
    return out;
}

std::u16string EncodeOffset(std::int64_t utcTicks, int offset) {
    const std::uint64_t biased = static_cast<std::uint64_t>(utcTicks) ^ (1ULL << 63);
    std::u16string out(5, u'\0');
    for (std::size_t i = 0; i < 4; ++i)
        out[i] = static_cast<char16_t>(biased >> (48 - 16 * i));
    out[4] = static_cast<char16_t>(offset);
    return out;
}

void DecodeOffset(std::u16string_view text, std::int64_t& utcTicks, int& offset) {
    std::uint64_t biased = 0;
    for (std::size_t i = 0; i < 4; ++i)
        biased = biased << 16 | text[i];
    utcTicks = static_cast<std::int64_t>(biased ^ (1ULL << 63));
    offset = static_cast<std::int16_t>(text[4]);
}

}  // namespace sandbox::engine
