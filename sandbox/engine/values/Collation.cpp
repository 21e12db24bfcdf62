#include "sandbox/engine/values/Collation.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

namespace sandbox::engine {
namespace {

struct CaseRun {
    std::uint16_t first, last, stride;
    std::int32_t distance;
};

#include "sandbox/engine/values/CaseTable.inc"

template <std::size_t N>
std::unique_ptr<std::array<char16_t, 0x10000>> Expand(const CaseRun (&runs)[N]) {
    auto table = std::make_unique<std::array<char16_t, 0x10000>>();
    for (std::uint32_t c = 0; c < 0x10000; ++c)
        (*table)[c] = static_cast<char16_t>(c);
    for (const CaseRun& run : runs) {
        for (std::uint32_t c = run.first; c <= run.last; c += run.stride) {
            (*table)[c] = static_cast<char16_t>(static_cast<std::int32_t>(c) + run.distance);
        }
    }
    return table;
}

const std::array<char16_t, 0x10000>& UpperTable() {
    static const auto table = Expand(kToUpper);
    return *table;
}

const std::array<char16_t, 0x10000>& LowerTable() {
    static const auto table = Expand(kToLower);
    return *table;
}

}  // namespace

char16_t UpperUnit(char16_t unit) {
    return UpperTable()[unit];
}
char16_t LowerUnit(char16_t unit) {
    return LowerTable()[unit];
}

namespace {

// UTF-16 units in bytes that need not be aligned, as SQLite's pages hold them.
struct LooseUnits {
    const unsigned char* bytes;
    std::size_t count;

    std::size_t size() const { return count; }
    char16_t operator[](std::size_t i) const {
        char16_t unit;
        std::memcpy(&unit, bytes + i * 2, 2);
        return unit;
    }
};

template <typename Units>
int Compare(const Units& a, const Units& b) {
    const auto& upper = UpperTable();
    const std::size_t common = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] == b[i]) continue;
        const char16_t x = upper[a[i]];
        const char16_t y = upper[b[i]];
        if (x != y) return x < y ? -1 : 1;
    }
    // The longer one is compared with blanks.
    for (std::size_t i = common; i < a.size(); ++i) {
        if (a[i] != u' ') return a[i] < u' ' ? -1 : 1;
    }
    for (std::size_t i = common; i < b.size(); ++i) {
        if (b[i] != u' ') return b[i] < u' ' ? 1 : -1;
    }
    return 0;
}

}  // namespace

int CompareText(std::u16string_view a, std::u16string_view b) {
    return Compare(a, b);
}

int CompareTextBytes(const void* a, std::size_t sizeA, const void* b, std::size_t sizeB) {
    return Compare(LooseUnits{static_cast<const unsigned char*>(a), sizeA / 2},
                   LooseUnits{static_cast<const unsigned char*>(b), sizeB / 2});
}

int CompareTextCase(std::u16string_view a, std::u16string_view b) {
    if (const int order = CompareText(a, b); order != 0) return order;
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] == b[i]) continue;
        return UpperUnit(a[i]) == a[i] ? 1 : -1;  // the small letter comes first
    }
    return 0;
}

namespace {

// The texts without their blanks at the end, which no collation minds.
std::u16string_view WithoutBlanks(std::u16string_view text) {
    const std::size_t last = text.find_last_not_of(u' ');
    return last == std::u16string_view::npos ? std::u16string_view() : text.substr(0, last + 1);
}

// The shorter text goes on in blanks.
template <typename Text>
int ComparePadded(Text a, Text b) {
    using Unit = std::make_unsigned_t<
        std::conditional_t<sizeof(typename Text::value_type) == 1, char, std::uint16_t>>;
    for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
        const auto x = static_cast<Unit>(i < a.size() ? a[i] : ' ');
        const auto y = static_cast<Unit>(i < b.size() ? b[i] : ' ');
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

}  // namespace

int CompareTextUnits(std::u16string_view a, std::u16string_view b) {
    return ComparePadded(WithoutBlanks(a), WithoutBlanks(b));
}

int CompareTextFirstUnit(std::u16string_view a, std::u16string_view b) {
    a = WithoutBlanks(a);
    b = WithoutBlanks(b);
    if (const int order = ComparePadded(a.substr(0, 1), b.substr(0, 1)); order != 0) return order;
    // The rest byte by byte, the low one of each unit first.
    const std::size_t units = std::max(a.size(), b.size());
    for (std::size_t i = 1; i < units; ++i) {
        const char16_t x = i < a.size() ? a[i] : u' ';
        const char16_t y = i < b.size() ? b[i] : u' ';
        if (x == y) continue;
        if ((x & 0xFF) != (y & 0xFF)) return (x & 0xFF) < (y & 0xFF) ? -1 : 1;
        return x < y ? -1 : 1;
    }
    return 0;
}

int ComparePageBytes(const CodePage& page, std::u16string_view a, std::u16string_view b) {
    const std::string x = page.Bytes(WithoutBlanks(a));
    const std::string y = page.Bytes(WithoutBlanks(b));
    return ComparePadded(std::string_view(x), std::string_view(y));
}

std::u16string FoldName(std::u16string_view name) {
    const auto& upper = UpperTable();
    std::u16string out(name);
    while (!out.empty() && out.back() == u' ')
        out.pop_back();
    for (char16_t& c : out)
        c = upper[c];
    return out;
}

}  // namespace sandbox::engine
