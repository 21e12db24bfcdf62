#include <windows.h>

#include <numeric>
#include <string>

#include "core/CaseMapping.h"

namespace QuillonLib {

namespace {

constexpr std::size_t UnitCount = 0x10000;

// The system maps whole texts, and takes a while to begin with each: it is asked once for all
// units. Surrogates would be taken for pairs where they meet; none is part of the question.
class UnitTable {
  public:
    explicit UnitTable(DWORD mapping) : units_(UnitCount, L'\0') {
        std::iota(units_.begin(), units_.end(), L'\0');
        Map(mapping, 1, 0xD800);
        Map(mapping, 0xE000, UnitCount);
    }
    char32_t operator[](char32_t unit) const { return static_cast<char16_t>(units_[unit]); }

  private:
    void Map(DWORD mapping, std::size_t begin, std::size_t end) {
        const auto count = static_cast<int>(end - begin);
        const std::wstring asked = units_.substr(begin, end - begin);
        std::wstring answer(asked.size(), L'\0');
        const int size = LCMapStringEx(LOCALE_NAME_INVARIANT, mapping, asked.data(), count,
                                       answer.data(), count, nullptr, nullptr, 0);
        if (size == count) units_.replace(begin, answer.size(), answer);
    }

    std::wstring units_;
};

char32_t MapPair(DWORD mapping, char32_t point) {
    const wchar_t pair[] = {static_cast<wchar_t>(0xD7C0 + (point >> 10)),
                            static_cast<wchar_t>(0xDC00 + (point & 0x3FF))};
    wchar_t mapped[2] = {};
    if (LCMapStringEx(LOCALE_NAME_INVARIANT, mapping, pair, 2, mapped, 2, nullptr, nullptr, 0) != 2)
        return point;
    return 0x10000 + ((char32_t{mapped[0]} - 0xD800) << 10) + (char32_t{mapped[1]} - 0xDC00);
}

}  // namespace

char32_t UpperCase(char32_t point) {
    static const UnitTable table(LCMAP_UPPERCASE);
    return point < UnitCount ? table[point] : MapPair(LCMAP_UPPERCASE, point);
}

char32_t LowerCase(char32_t point) {
    static const UnitTable table(LCMAP_LOWERCASE);
    return point < UnitCount ? table[point] : MapPair(LCMAP_LOWERCASE, point);
}

// Up first: some letters have two small forms and one capital. The two letters of Turkish that meet
// "i" and "I" under another capital or small form are only themselves.
char32_t FoldedCase(char32_t point) {
    constexpr char32_t CapitalWithDot = 0x0130;
    constexpr char32_t SmallWithoutDot = 0x0131;
    if (point == CapitalWithDot || point == SmallWithoutDot) return point;
    return LowerCase(UpperCase(point));
}

}  // namespace QuillonLib
