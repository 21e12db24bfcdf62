#include "sandbox/engine/Collation.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

namespace sandbox::engine {
namespace {

struct CaseRun {
    std::uint16_t first, last, stride;
    std::int32_t distance;
};

#include "sandbox/engine/CaseTable.inc"

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

constexpr char16_t kHighHalf[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                    0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

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

std::u16string FoldName(std::u16string_view name) {
    const auto& upper = UpperTable();
    std::u16string out(name);
    while (!out.empty() && out.back() == u' ')
        out.pop_back();
    for (char16_t& c : out)
        c = upper[c];
    return out;
}

char16_t FromCodePage(unsigned char byte) {
    return byte >= 0x80 && byte < 0xA0 ? kHighHalf[byte - 0x80] : static_cast<char16_t>(byte);
}

unsigned char ToCodePage(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit < 0x100)) return static_cast<unsigned char>(unit);
    for (unsigned i = 0; i < 32; ++i) {
        if (kHighHalf[i] == unit) return static_cast<unsigned char>(0x80 + i);
    }
    return '?';
}

}  // namespace sandbox::engine
