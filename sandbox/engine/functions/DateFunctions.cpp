// GETDATE, DATEADD, DATEDIFF, DATEPART, DATENAME.
#include <algorithm>
#include <cmath>

#include "sandbox/engine/functions/SqlFunctions.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/DateTime.h"

namespace sandbox::engine {
namespace {

// The parts by number, as TranslateFunctions passes them (see DatePartNumber).
enum Part {
    kYear,
    kQuarter,
    kMonth,
    kDayOfYear,
    kDay,
    kWeek,
    kWeekday,
    kHour,
    kMinute,
    kSecond,
    kMilli,
    kMicro,
    kNano
};

constexpr std::int64_t kPartTicks[] = {0,
                                       0,
                                       0,
                                       kTicksPerDay,
                                       kTicksPerDay,
                                       7 * kTicksPerDay,
                                       kTicksPerDay,
                                       36'000'000'000,
                                       600'000'000,
                                       10'000'000,
                                       10'000,
                                       10,
                                       0};

void Now(Context& context, sqlite3_context* c, sqlite3_value** a) {
    std::int64_t& now = Int(a[0]) != 0 ? context.statementUtcNow : context.statementNow;
    if (now == 0) now = NowAsDateTime(Int(a[0]) != 0);
    sqlite3_result_int64(c, now);
}

Moment Read(sqlite3_value* v, const SqlType& type) {
    if (type.id != TypeId::DateTimeOffset) return ToMoment(Int(v), type);
    std::int64_t ticks = 0;
    int offset = 0;
    DecodeOffset(ReadText(v), ticks, offset);
    Moment m = ToMoment(ticks + static_cast<std::int64_t>(offset) * 60 * kTicksPerSecond,
                        Plain(TypeId::DateTime2));
    m.offset = offset;
    return m;
}

void DateAdd(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const SqlType type = Unpack(Int(a[3]));
    const auto part = static_cast<Part>(Int(a[0]));
    const std::int64_t n = Int(a[1]);
    Moment m = Read(a[2], type);
    const auto overflow = [&] {
        throw SqlError(517, Format(u"Adding a value to a '%1' column caused an overflow.",
                                   {TypeName(type.id)}));
    };
    if (part <= kMonth) {
        const Date d = DateFromDays(m.days);
        const std::int64_t months = n * (part == kYear ? 12 : part == kQuarter ? 3 : 1);
        if (std::llabs(months) > 130'000) overflow();
        const std::int64_t total = d.year * 12LL + d.month - 1 + months;
        const auto year = static_cast<int>(total / 12);
        const auto month = static_cast<int>(total % 12) + 1;
        if (year < 1 || year > 9999) overflow();
        m.days = DaysFromDate({year, month, std::min(d.day, DaysInMonth(year, month))});
    } else {
        const Int128 delta = part == kNano ? Int128{n} / 100 : Int128{n} * kPartTicks[part];
        Int128 total = Int128{m.days} * kTicksPerDay + m.ticks + delta;
        if (type.id == TypeId::Time) {
            total %= kTicksPerDay;
            if (total < 0) total += kTicksPerDay;
        }
        if (total < 0 || total >= Int128{3'652'059} * kTicksPerDay) overflow();
        m.days = static_cast<std::int64_t>(total / kTicksPerDay);
        m.ticks = static_cast<std::int64_t>(total % kTicksPerDay);
    }
    if (type.id == TypeId::DateTimeOffset) {
        const std::int64_t local = m.days * kTicksPerDay + m.ticks;
        return ReturnText(
            c, EncodeOffset(local - static_cast<std::int64_t>(m.offset) * 60 * kTicksPerSecond,
                            m.offset));
    }
    const auto out = FromMoment(m, type);
    if (!out) overflow();
    sqlite3_result_int64(c, *out);
}

// Boundaries crossed between two moments.
std::int64_t Boundary(const Moment& m, Part part) {
    const Date d = DateFromDays(m.days);
    switch (part) {
        case kYear:
            return d.year;
        case kQuarter:
            return d.year * 4LL + (d.month - 1) / 3;
        case kMonth:
            return d.year * 12LL + d.month;
        case kWeek:
            return (m.days + 1) / 7;  // weeks begin on Sunday; 0001-01-01 was a Monday
        case kDayOfYear:
        case kDay:
        case kWeekday:
            return m.days;
        default:
            return m.days * (kTicksPerDay / kPartTicks[part]) + m.ticks / kPartTicks[part];
    }
}

void DateDiff(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const auto part = static_cast<Part>(Int(a[0]));
    const Moment x = Read(a[1], Unpack(Int(a[3])));
    const Moment y = Read(a[2], Unpack(Int(a[4])));
    Int128 diff = 0;
    if (part == kNano) {
        diff = (Int128{y.days - x.days} * kTicksPerDay + (y.ticks - x.ticks)) * 100;
    } else {
        diff = Int128{Boundary(y, part)} - Boundary(x, part);
    }
    if (diff < IntegerMin(TypeId::Int) || diff > IntegerMax(TypeId::Int)) {
        throw SqlError(
            535,
            u"The datediff function resulted in an overflow. The number of dateparts "
            u"separating two date/time instances is too large. Try to use datediff with a "
            u"less precise datepart.");
    }
    sqlite3_result_int64(c, static_cast<std::int64_t>(diff));
}

std::int64_t PartOf(const Moment& m, Part part) {
    const Date d = DateFromDays(m.days);
    const std::int64_t january = DaysFromDate({d.year, 1, 1});
    switch (part) {
        case kYear:
            return d.year;
        case kQuarter:
            return (d.month + 2) / 3;
        case kMonth:
            return d.month;
        case kDayOfYear:
            return m.days - january + 1;
        case kDay:
            return d.day;
        case kWeek:
            return (m.days - january + (january + 1) % 7) / 7 + 1;
        case kWeekday:
            return (m.days + 1) % 7 + 1;
        case kHour:
            return m.ticks / 36'000'000'000;
        case kMinute:
            return m.ticks / 600'000'000 % 60;
        case kSecond:
            return m.ticks / kTicksPerSecond % 60;
        case kMilli:
            return m.ticks % kTicksPerSecond / 10'000;
        case kMicro:
            return m.ticks % kTicksPerSecond / 10;
        default:
            return m.ticks % kTicksPerSecond * 100;
    }
}

void DatePart(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1])) return sqlite3_result_null(c);
    sqlite3_result_int64(c, PartOf(Read(a[1], Unpack(Int(a[2]))), static_cast<Part>(Int(a[0]))));
}

void DateName(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1])) return sqlite3_result_null(c);
    static constexpr std::u16string_view kMonths[] = {
        u"January", u"February", u"March",     u"April",   u"May",      u"June",
        u"July",    u"August",   u"September", u"October", u"November", u"December"};
    static constexpr std::u16string_view kDays[] = {
        u"Sunday", u"Monday", u"Tuesday", u"Wednesday", u"Thursday", u"Friday", u"Saturday"};
    const auto part = static_cast<Part>(Int(a[0]));
    const std::int64_t value = PartOf(Read(a[1], Unpack(Int(a[2]))), part);
    if (part == kMonth) return ReturnText(c, kMonths[value - 1]);
    if (part == kWeekday) return ReturnText(c, kDays[value - 1]);
    ReturnText(c, ToText(value));
}

// datetime plus or minus datetime: the second one counts as a span since 1900.
void Arithmetic(Context&, sqlite3_context* c, sqlite3_value** a) {
    if (IsNull(a[1]) || IsNull(a[2])) return sqlite3_result_null(c);
    const std::int64_t r = Int(a[1]) + Int(a[0]) * Int(a[2]);
    constexpr std::int64_t kLeast = (639'905 - kDays1900) * kThirdsPerDay;
    constexpr std::int64_t kMost = (3'652'059 - kDays1900) * kThirdsPerDay;
    if (r < kLeast || r >= kMost) {
        throw SqlError(8115,
                       u"Arithmetic overflow error converting expression to data type datetime.");
    }
    sqlite3_result_int64(c, r);
}

constexpr FunctionEntry kDateFunctions[] = {
    {"ms_now", 1, Purity::Pure, Now},           {"ms_dateadd", 4, Purity::Pure, DateAdd},
    {"ms_datediff", 5, Purity::Pure, DateDiff}, {"ms_datepart", 3, Purity::Pure, DatePart},
    {"ms_datename", 3, Purity::Pure, DateName}, {"ms_dtarith", 3, Purity::Pure, Arithmetic},
};

}  // namespace

void RegisterDateFunctions(Context& context) {
    RegisterTable(context, kDateFunctions, std::size(kDateFunctions));
}

}  // namespace sandbox::engine
