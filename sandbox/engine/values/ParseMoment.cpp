// Dates and times that people write.

#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/DateTime.h"

namespace sandbox::engine {

namespace {

bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}

bool IsLetter(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

int MonthByName(std::u16string_view word) {
    constexpr std::u16string_view kFull[] = {u"january",   u"february", u"march",    u"april",
                                             u"may",       u"june",     u"july",     u"august",
                                             u"september", u"october",  u"november", u"december"};
    for (int i = 0; i < 12; ++i) {
        if (SameName(word, kFull[i]) || SameName(word, kFull[i].substr(0, 3))) return i + 1;
    }
    return 0;
}

int FullYear(int year, std::size_t digits) {
    return digits <= 2 ? year + (year < 50 ? 2000 : 1900) : year;
}

// One reading of a text, from left to right.
class Reader {
  public:
    Reader(std::u16string_view text, bool dmy) : s_(text), dmy_(dmy) {}

    ParseResult Read(Moment& out) {
        Blanks();
        if (s_.empty()) {
            out = Moment{};
            return ParseResult::Ok;
        }
        if (!DatePart()) return ParseResult::Syntax;
        Blanks();
        if (!s_.empty() && !TimePart()) return ParseResult::Syntax;
        Blanks();
        if (!s_.empty()) return ParseResult::Syntax;
        if (!ValidDate(date_.year, date_.month, date_.day) || badTime_) return ParseResult::Range;
        out.days = DaysFromDate(date_);
        out.ticks = ticks_;
        out.offset = offset_;
        if (out.ticks >= kTicksPerDay) {
            out.ticks -= kTicksPerDay;
            ++out.days;
        }
        return ParseResult::Ok;
    }

  private:
    void Blanks() {
        while (!s_.empty() && s_.front() == u' ')
            s_.remove_prefix(1);
    }

    std::optional<int> Number(std::size_t& digits, std::size_t most = 9) {
        digits = 0;
        int value = 0;
        while (digits < s_.size() && digits < most && IsDigit(s_[digits])) {
            value = value * 10 + (s_[digits++] - u'0');
        }
        if (digits == 0) return std::nullopt;
        s_.remove_prefix(digits);
        return value;
    }

    bool Take(char16_t c) {
        if (s_.empty() || s_.front() != c) return false;
        s_.remove_prefix(1);
        return true;
    }

    std::u16string_view Word() {
        std::size_t n = 0;
        while (n < s_.size() && IsLetter(s_[n]))
            ++n;
        const std::u16string_view word = s_.substr(0, n);
        s_.remove_prefix(n);
        return word;
    }

    bool DatePart() {
        if (IsLetter(s_.front())) return NamedMonthFirst();
        // A time alone: the date is the base date.
        std::size_t n = 0;
        while (n < s_.size() && IsDigit(s_[n]))
            ++n;
        if (n > 0 && n < s_.size() && (s_[n] == u':' || (n <= 2 && IsMeridian(s_.substr(n))))) {
            date_ = Date{};
            return true;
        }
        std::size_t digits = 0;
        const auto first = Number(digits);
        if (!first) return false;
        if (digits == 8) return Compact(*first);
        if (digits == 6) {
            date_ = {FullYear(*first / 10000, 2), *first / 100 % 100, *first % 100};
            return true;
        }
        if (digits == 4 && (s_.empty() || s_.front() == u' ')) {
            date_ = {*first, 1, 1};
            return true;
        }
        return Separated(*first, digits);
    }

    static bool IsMeridian(std::u16string_view s) {
        while (!s.empty() && s.front() == u' ')
            s.remove_prefix(1);
        return s.size() >= 2 && (UpperUnit(s[0]) == u'A' || UpperUnit(s[0]) == u'P') &&
               UpperUnit(s[1]) == u'M';
    }

    bool Compact(int value) {
        date_ = {value / 10000, value / 100 % 100, value % 100};
        return true;
    }

    bool Separated(int first, std::size_t digits) {
        Blanks();
        if (!s_.empty() && IsLetter(s_.front())) {  // 15 Jan 2024
            date_.month = MonthByName(Word());
            date_.day = first;
            Blanks();
            Take(u',');
            Blanks();
            const auto year = Number(digits);
            if (!year || date_.month == 0) return false;
            date_.year = FullYear(*year, digits);
            return true;
        }
        if (s_.empty()) return false;
        const char16_t separator = s_.front();
        if (separator != u'-' && separator != u'/' && separator != u'.') return false;
        s_.remove_prefix(1);
        std::size_t n = 0;
        const auto second = Number(n);
        if (!second || !Take(separator)) return false;
        std::size_t lastDigits = 0;
        const auto third = Number(lastDigits);
        if (!third) return false;
        if (digits == 4) {
            date_ = {first, *second, *third};
            // The old types read yyyy-dd-mm under dmy; only with blanks after, never with "T".
            if (dmy_ && separator == u'-' && !s_.empty() && s_.front() == u' ') {
                date_ = {first, *third, *second};
            }
        } else {
            date_.year = FullYear(*third, lastDigits);
            date_.month = dmy_ ? *second : first;
            date_.day = dmy_ ? first : *second;
        }
        return true;
    }

    bool NamedMonthFirst() {
        date_.month = MonthByName(Word());
        if (date_.month == 0) return false;
        Blanks();
        std::size_t digits = 0;
        const auto day = Number(digits);
        if (!day) return false;
        Blanks();
        Take(u',');
        Blanks();
        const auto year = Number(digits);
        if (!year) return false;
        date_.day = *day;
        date_.year = FullYear(*year, digits);
        return true;
    }

    bool TimePart() {
        if (!s_.empty() && (s_.front() == u'T' || s_.front() == u't')) s_.remove_prefix(1);
        std::size_t digits = 0;
        const auto hour = Number(digits, 2);
        if (!hour) return false;
        int h = *hour;
        int minute = 0;
        int second = 0;
        std::int64_t fraction = 0;
        if (Take(u':')) {
            const auto m = Number(digits, 2);
            if (!m) return false;
            minute = *m;
            if (Take(u':')) {
                const auto sec = Number(digits, 2);
                if (!sec) return false;
                second = *sec;
                if (Take(u'.')) {
                    if (!Fraction(fraction)) return false;
                } else if (Take(u':')) {  // hh:mm:ss:mmm
                    const auto ms = Number(digits, 3);
                    if (!ms) return false;
                    fraction = static_cast<std::int64_t>(*ms) * 10'000;
                }
            }
        } else if (!IsMeridian(s_)) {
            return false;
        }
        Blanks();
        if (IsMeridian(s_)) {
            const bool pm = UpperUnit(s_[0]) == u'P';
            s_.remove_prefix(2);
            if (h < 1 || h > 12) badTime_ = true;
            h = h % 12 + (pm ? 12 : 0);
        }
        if (h > 23 || minute > 59 || second > 59) badTime_ = true;
        ticks_ = (h * 3600LL + minute * 60LL + second) * kTicksPerSecond + fraction;
        Blanks();
        return Offset();
    }

    bool Fraction(std::int64_t& ticks) {
        std::size_t n = 0;
        std::int64_t value = 0;
        int roundUp = 0;
        while (n < s_.size() && IsDigit(s_[n])) {
            if (n < 7) value = value * 10 + (s_[n] - u'0');
            if (n == 7 && s_[n] >= u'5') roundUp = 1;
            ++n;
        }
        if (n == 0) return false;
        for (std::size_t k = n; k < 7; ++k)
            value *= 10;
        s_.remove_prefix(n);
        ticks = value + roundUp;
        return true;
    }

    bool Offset() {
        if (s_.empty()) return true;
        if (s_.front() == u'Z' || s_.front() == u'z') {
            s_.remove_prefix(1);
            return true;
        }
        if (s_.front() != u'+' && s_.front() != u'-') return false;
        const int sign = s_.front() == u'-' ? -1 : 1;
        s_.remove_prefix(1);
        std::size_t digits = 0;
        const auto h = Number(digits, 2);
        if (!h || !Take(u':')) return false;
        const auto m = Number(digits, 2);
        if (!m) return false;
        if (*h > 14 || *m > 59 || (*h == 14 && *m != 0)) badTime_ = true;
        offset_ = sign * (*h * 60 + *m);
        return true;
    }

    std::u16string_view s_;
    bool dmy_;
    Date date_;
    std::int64_t ticks_ = 0;
    int offset_ = 0;
    bool badTime_ = false;
};

}  // namespace

ParseResult ParseMoment(std::u16string_view text, bool dmy, Moment& out) {
    while (!text.empty() && text.back() == u' ')
        text.remove_suffix(1);
    return Reader(text, dmy).Read(out);
}

}  // namespace sandbox::engine
