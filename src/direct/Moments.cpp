#include "direct/Moments.h"

#include <cstddef>
#include <string>

#include "core/Error.h"
#include "data/Diagnostic.h"

namespace QuillonLib {

namespace {

constexpr std::int64_t SecondsPerDay = 86400;
constexpr std::int64_t DaysFromEpochTo1900 = 2;

class MomentReader {
  public:
    explicit MomentReader(std::u16string_view text) : text_(text) {}

    Moment Read() {
        Moment moment;
        std::int64_t seconds = 0;
        if (text_.size() > 4 && text_[4] == u'-') {
            const auto year = static_cast<int>(Digits(4));
            Expect(u'-');
            const auto month = static_cast<int>(Digits(2));
            Expect(u'-');
            const auto day = static_cast<int>(Digits(2));
            seconds = DayFromCalendar({year, month, day}) * SecondsPerDay;
            if (AtEnd()) return {seconds * MomentsPerSecond, 0};
            Expect(u' ');
        }
        seconds += Clock();
        moment.count = seconds * MomentsPerSecond + Fraction();
        if (!AtEnd()) {
            Expect(u' ');
            moment.minutes = Offset();
            moment.count -= std::int64_t{moment.minutes} * 60 * MomentsPerSecond;
        }
        if (!AtEnd()) Fail();
        return moment;
    }

  private:
    bool AtEnd() const { return at_ == text_.size(); }
    bool Take(char16_t unit) {
        if (AtEnd() || text_[at_] != unit) return false;
        ++at_;
        return true;
    }
    void Expect(char16_t unit) {
        if (!Take(unit)) Fail();
    }
    std::int64_t Digits(int count) {
        std::int64_t number = 0;
        for (int i = 0; i < count; ++i) {
            if (AtEnd() || text_[at_] < u'0' || text_[at_] > u'9') Fail();
            number = number * 10 + (text_[at_++] - u'0');
        }
        return number;
    }
    std::int64_t Clock() {
        const std::int64_t hours = Digits(2);
        Expect(u':');
        const std::int64_t minutes = Digits(2);
        Expect(u':');
        return (hours * 60 + minutes) * 60 + Digits(2);
    }
    std::int64_t Fraction() {
        if (!Take(u'.')) return 0;
        std::int64_t unit = MomentsPerSecond;
        std::int64_t fraction = 0;
        for (int i = 0; i < 7 && !AtEnd() && text_[at_] != u' '; ++i) {
            unit /= 10;
            fraction += Digits(1) * unit;
        }
        return fraction;
    }
    std::int32_t Offset() {
        const bool west = Take(u'-');
        if (!west) Expect(u'+');
        const std::int64_t hours = Digits(2);
        Expect(u':');
        const auto minutes = static_cast<std::int32_t>(hours * 60 + Digits(2));
        return west ? -minutes : minutes;
    }
    [[noreturn]] void Fail() const {
        throw Error(ErrorNumber::DataAccess,
                    u"The driver delivered a date or time in an unknown form: '" +
                        std::u16string(text_) + u"'.");
    }

    std::u16string_view text_;
    std::size_t at_ = 0;
};

}  // namespace

Moment ToMoment(DateTicks ticks) {
    return {ticks.count * (MomentsPerSecond / 300) +
                DaysFromEpochTo1900 * SecondsPerDay * MomentsPerSecond,
            0};
}

Moment ParseMoment(std::u16string_view text) {
    return MomentReader(text).Read();
}

}  // namespace QuillonLib
