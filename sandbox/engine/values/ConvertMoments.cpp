// Conversions into and out of dates and times.
#include <cmath>

#include "sandbox/engine/values/ConversionParts.h"
#include "sandbox/engine/values/DateTime.h"
#include "sandbox/engine/values/Decimal.h"

namespace sandbox::engine {
namespace {

Value MomentToValue(const Moment& moment, const SqlType& from, const SqlType& to) {
    if (to.id == TypeId::DateTimeOffset) {
        Moment utc = moment;
        const auto local = FromMoment(utc, to);
        const std::int64_t ticks =
            local ? *local - static_cast<std::int64_t>(moment.offset) * 60 * kTicksPerSecond : -1;
        if (ticks < 0) {
            throw SqlError(242,
                           Format(u"The conversion of a %1 data type to a %2 data type resulted "
                                  u"in an out-of-range value.",
                                  {TypeName(from.id), TypeName(to.id)}));
        }
        return Value::Text(EncodeOffset(ticks, moment.offset));
    }
    const auto v = FromMoment(moment, to);
    if (!v) {
        throw SqlError(242,
                       Format(u"The conversion of a %1 data type to a %2 data type resulted in "
                              u"an out-of-range value.",
                              {TypeName(from.id), TypeName(to.id)}));
    }
    return Value::Int(*v);
}

Value TextToMoment(std::u16string_view text, const SqlType& from, const SqlType& to, int style) {
    Moment m;
    const bool dmy = style == 103 || style == 3 || style == 104 || style == 105;
    switch (ParseMoment(text, dmy, m)) {
        case ParseResult::Ok:
            break;
        case ParseResult::Range:
            if (to.id == TypeId::DateTime || to.id == TypeId::SmallDateTime) {
                throw SqlError(242, Format(u"The conversion of a %1 data type to a %2 data type "
                                           u"resulted in an out-of-range value.",
                                           {TypeName(from.id), TypeName(to.id)}));
            }
            [[fallthrough]];
        case ParseResult::Syntax:
            throw SqlError(241,
                           u"Conversion failed when converting date and/or time from character "
                           u"string.");
    }
    return MomentToValue(m, from, to);
}

}  // namespace

Moment MomentOf(const Value& v, const SqlType& from) {
    if (from.id != TypeId::DateTimeOffset) return ToMoment(v.i, from);
    std::int64_t ticks = 0;
    int offset = 0;
    DecodeOffset(v.text, ticks, offset);
    ticks += static_cast<std::int64_t>(offset) * 60 * kTicksPerSecond;
    Moment m = ToMoment(ticks, Plain(TypeId::DateTime2));
    m.offset = offset;
    return m;
}

Value ToDateTime(const Value& v, const SqlType& from, const SqlType& to, int style) {
    if (IsCharacter(from.id)) return TextToMoment(v.text, from, to, style);
    if (IsDateTime(from.id)) {
        Moment m = MomentOf(v, from);
        if (from.id == TypeId::Time) m.days = kDays1900;
        if (to.id == TypeId::DateTimeOffset && from.id != TypeId::DateTimeOffset) m.offset = 0;
        return MomentToValue(m, from, to);
    }
    if (IsNumber(from.id)) {  // days since 1900
        const Number n = NumberOf(v, from);
        const double days = n.real ? n.d : DecimalToDouble(n.value, n.scale);
        if (!(std::fabs(days) < 4e6)) FailOverflow(SourceWord(from), to);
        const double whole = std::floor(days);
        Moment m;
        m.days = kDays1900 + static_cast<std::int64_t>(whole);
        const double ticks = (days - whole) * static_cast<double>(kTicksPerDay);
        m.ticks = std::llround(ticks);
        if (m.ticks >= kTicksPerDay) {
            m.ticks -= kTicksPerDay;
            ++m.days;
        }
        const auto out = FromMoment(m, to);
        if (!out) FailOverflow(SourceWord(from), to);
        return Value::Int(*out);
    }
    if (IsBinary(from.id) && to.id == TypeId::DateTime && v.bytes.size() == 8) {
        const Value days = BinaryToInteger(v.bytes.substr(0, 4), Plain(TypeId::Int));
        const Value thirds = BinaryToInteger(v.bytes.substr(4), Plain(TypeId::Int));
        return Value::Int(days.i * kThirdsPerDay + thirds.i);
    }
    Fail8114(from, to);
}

Value DateTimeToNumber(const Value& v, const SqlType& from, const SqlType& to) {
    const Moment m = MomentOf(v, from);
    Number n;
    n.real = true;
    n.d = static_cast<double>(m.days - kDays1900) +
          static_cast<double>(m.ticks) / static_cast<double>(kTicksPerDay);
    if (IsInteger(to.id)) n.d = std::floor(n.d + 0.5);
    return FromNumber(n, from, to);
}

}  // namespace sandbox::engine
