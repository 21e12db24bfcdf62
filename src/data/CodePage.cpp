#include "data/CodePage.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unicode/ucnv.h>
#endif

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

namespace QuillonLib {

namespace {

constexpr std::int32_t Utf8 = 65001;
// No code page has it: half of a surrogate pair.
constexpr char16_t None = 0xDC00;

using Bytes = std::span<const std::uint8_t>;

struct PageFacts {
    std::int32_t number;
    const char* converter;     // ICU's table of the code page
    std::uint8_t leads[2][2];  // first and last of the bytes that begin a double byte
};

constexpr PageFacts Pages[] = {
    {437, "ibm-437_P100-1995", {}},
    {850, "ibm-850_P100-1995", {}},
    {874, "windows-874-2000", {}},
    {932, "ibm-943_P15A-2003", {{0x81, 0x9F}, {0xE0, 0xFC}}},
    {936, "windows-936-2000", {{0x81, 0xFE}}},
    {949, "windows-949-2000", {{0x81, 0xFE}}},
    {950, "windows-950-2000", {{0x81, 0xFE}}},
    {1250, "ibm-5346_P100-1998", {}},
    {1251, "ibm-5347_P100-1998", {}},
    {1252, "ibm-5348_P100-1997", {}},
    {1253, "ibm-5349_P100-1998", {}},
    {1254, "ibm-5350_P100-1998", {}},
    {1255, "ibm-9447_P100-2002", {}},
    {1256, "ibm-9448_X100-2005", {}},
    {1257, "ibm-9449_P100-2002", {}},
    {1258, "ibm-5354_P100-1998", {}},
};

bool IsLead(const PageFacts& page, std::uint32_t byte) {
    return byte >= 0x80 && ((byte >= page.leads[0][0] && byte <= page.leads[0][1]) ||
                            (byte >= page.leads[1][0] && byte <= page.leads[1][1]));
}

#ifdef _WIN32

// One character at a time between a code page and UTF-16, as the system converts.
class Converter {
  public:
    explicit Converter(const PageFacts& page) : page_(static_cast<UINT>(page.number)) {}

    bool IsOpen() const { return IsValidCodePage(page_) != 0; }

    // The character that comes back as the same bytes, else None.
    char16_t Carried(Bytes bytes) const {
        std::array<wchar_t, 4> wide{};
        const int units = MultiByteToWideChar(page_, 0, reinterpret_cast<const char*>(bytes.data()),
                                              static_cast<int>(bytes.size()), wide.data(), 4);
        if (units != 1) return None;
        std::array<char, 4> back{};
        BOOL replaced = FALSE;
        const int size =
            WideCharToMultiByte(page_, 0, wide.data(), 1, back.data(), 4, nullptr, &replaced);
        const bool same = replaced == FALSE && size == static_cast<int>(bytes.size()) &&
                          std::memcmp(back.data(), bytes.data(), bytes.size()) == 0;
        return same ? static_cast<char16_t>(wide[0]) : None;
    }

  private:
    UINT page_;
};

#else

// Where Windows departs from ICU's tables, which leave these bytes out or spell them otherwise:
// first byte, last byte, first character. All of them come back.
struct Departure {
    std::int32_t page;
    std::uint8_t first, last;
    char16_t unit;
};
constexpr Departure Departures[] = {
    {437, 0xE6, 0xE6, 0x00B5},  {932, 0x80, 0x80, 0x0080},  {932, 0xA0, 0xA0, 0xF8F0},
    {932, 0xFD, 0xFF, 0xF8F1},  {1253, 0xAA, 0xAA, 0xF8F9}, {1253, 0xD2, 0xD2, 0xF8FA},
    {1253, 0xFF, 0xFF, 0xF8FB}, {1255, 0xCA, 0xCA, 0x05BA}, {1255, 0xD9, 0xDF, 0xF88D},
    {1255, 0xFB, 0xFC, 0xF894}, {1255, 0xFF, 0xFF, 0xF896}, {1257, 0xA1, 0xA1, 0xF8FC},
    {1257, 0xA5, 0xA5, 0xF8FD},
};

class Converter {
  public:
    explicit Converter(const PageFacts& page) : page_(page.number) {
        UErrorCode error = U_ZERO_ERROR;
        converter_.reset(ucnv_open(page.converter, &error));
        if (converter_ == nullptr) return;
        ucnv_setToUCallBack(converter_.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &error);
        ucnv_setFromUCallBack(converter_.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr,
                              nullptr, &error);
        ucnv_setFallback(converter_.get(), false);
        if (U_FAILURE(error)) converter_.reset();
    }

    bool IsOpen() const { return converter_ != nullptr; }

    // The character that comes back as the same bytes, else None.
    char16_t Carried(Bytes bytes) const {
        if (bytes.size() == 1 && bytes[0] < 0x80) return bytes[0];
        for (const Departure& d : Departures) {
            if (bytes.size() == 1 && d.page == page_ && bytes[0] >= d.first && bytes[0] <= d.last) {
                return static_cast<char16_t>(d.unit + (bytes[0] - d.first));
            }
        }
        UErrorCode error = U_ZERO_ERROR;
        std::array<UChar, 4> wide{};
        const std::int32_t units = ucnv_toUChars(converter_.get(), wide.data(), 4,
                                                 reinterpret_cast<const char*>(bytes.data()),
                                                 static_cast<std::int32_t>(bytes.size()), &error);
        if (U_FAILURE(error) || units != 1) return None;
        std::array<char, 4> back{};
        const std::int32_t size =
            ucnv_fromUChars(converter_.get(), back.data(), 4, wide.data(), 1, &error);
        const bool same = U_SUCCESS(error) && size == static_cast<std::int32_t>(bytes.size()) &&
                          std::memcmp(back.data(), bytes.data(), bytes.size()) == 0;
        return same ? wide[0] : None;
    }

  private:
    struct Close {
        void operator()(UConverter* converter) const { ucnv_close(converter); }
    };

    std::int32_t page_;
    std::unique_ptr<UConverter, Close> converter_;
};

#endif

bool IsHigh(std::uint32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLow(std::uint32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// Bytes below 80 from the front on.
std::size_t AsciiRun(Bytes bytes) {
    std::size_t run = 0;
    for (std::uint64_t eight = 0; run + sizeof eight <= bytes.size(); run += sizeof eight) {
        std::memcpy(&eight, bytes.data() + run, sizeof eight);
        if ((eight & 0x8080808080808080U) != 0) break;
    }
    while (run < bytes.size() && bytes[run] < 0x80)
        ++run;
    return run;
}

char16_t* Widen(Bytes ascii, char16_t* out) {
    for (const std::uint8_t byte : ascii)
        *out++ = byte;
    return out;
}

// The first sequence, if it is well-formed as Unicode defines it: no longer than it need be, no
// half of a surrogate pair, nothing past U+10FFFF. `size` becomes its bytes.
std::optional<std::uint32_t> Utf8Character(Bytes bytes, std::size_t& size) {
    const std::uint32_t lead = bytes[0];
    size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < size) return std::nullopt;
    std::uint32_t character = lead & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((bytes[i] & 0xC0) != 0x80) return std::nullopt;
        character = character << 6 | (bytes[i] & 0x3FU);
    }
    constexpr std::uint32_t Shortest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < Shortest[size] || character > 0x10FFFF) return std::nullopt;
    if (IsHigh(character) || IsLow(character)) return std::nullopt;
    return character;
}

char16_t* DecodeUtf8(Bytes bytes, char16_t* out) {
    while (!bytes.empty()) {
        const std::size_t ascii = AsciiRun(bytes);
        out = Widen(bytes.first(ascii), out);
        bytes = bytes.subspan(ascii);
        if (bytes.empty()) break;
        std::size_t size = 0;
        const auto character = Utf8Character(bytes, size);
        if (!character) return nullptr;
        if (*character >= 0x10000) {
            *out++ = static_cast<char16_t>(0xD7C0 + (*character >> 10));
            *out++ = static_cast<char16_t>(0xDC00 + (*character & 0x3FF));
        } else {
            *out++ = static_cast<char16_t>(*character);
        }
        bytes = bytes.subspan(size);
    }
    return out;
}

std::optional<std::size_t> CountUtf8Bytes(std::u16string_view text) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (!IsHigh(unit) && !IsLow(unit)) {
            bytes += unit < 0x80 ? 1U : unit < 0x800 ? 2U : 3U;
            continue;
        }
        if (!IsHigh(unit) || i + 1 == text.size() || !IsLow(text[i + 1])) return std::nullopt;
        bytes += 4;
        ++i;
    }
    return bytes;
}

}  // namespace

char16_t* DecodeAscii(std::span<const std::uint8_t> bytes, char16_t* out) noexcept {
    return AsciiRun(bytes) == bytes.size() ? Widen(bytes, out) : nullptr;
}

const CodePage* CodePage::Find(std::int32_t number) {
    static std::mutex mutex;
    static std::map<std::int32_t, std::unique_ptr<const CodePage>> known;
    const std::lock_guard<std::mutex> lock(mutex);
    const auto [at, isNew] = known.try_emplace(number);
    if (isNew) {
        std::unique_ptr<CodePage> page(new CodePage(number));
        if (number == Utf8 || page->ReadTables()) at->second = std::move(page);
    }
    return at->second.get();
}

void CodePage::Carry(std::uint32_t code, std::uint8_t bytes, char16_t unit) {
    if (unit == None) return;
    (bytes == 1 ? units_ : pairs_)[code] = unit;
    sizes_[unit] = bytes;
}

bool CodePage::ReadTables() {
    const PageFacts* page = nullptr;
    for (const PageFacts& one : Pages) {
        if (one.number == number_) page = &one;
    }
    if (page == nullptr) return false;
    const Converter converter(*page);
    if (!converter.IsOpen()) return false;
    units_.assign(0x100, None);
    sizes_.assign(0x10000, 0);
    leads_.assign(0x100, false);
    if (page->leads[0][0] != 0) pairs_.assign(0x10000, None);
    for (std::uint32_t byte = 0; byte < 0x100; ++byte) {
        const std::array<std::uint8_t, 1> one{static_cast<std::uint8_t>(byte)};
        leads_[byte] = IsLead(*page, byte);
        if (!leads_[byte]) {
            Carry(byte, 1, converter.Carried(one));
            continue;
        }
        for (std::uint32_t trail = 0; trail < 0x100; ++trail) {
            const std::array<std::uint8_t, 2> two{one[0], static_cast<std::uint8_t>(trail)};
            Carry(byte << 8 | trail, 2, converter.Carried(two));
        }
    }
    return true;
}

std::size_t CodePage::CountUnits(std::span<const std::uint8_t> bytes) const noexcept {
    if (number_ != Utf8 && pairs_.empty()) return bytes.size();
    std::size_t at = AsciiRun(bytes);
    std::size_t units = at;
    while (at < bytes.size()) {
        const std::uint8_t byte = bytes[at];
        if (number_ == Utf8) {
            at += byte < 0x80 ? 1U : byte < 0xE0 ? 2U : byte < 0xF0 ? 3U : 4U;
            units += byte < 0xF0 ? 1U : 2U;
        } else {
            at += leads_[byte] ? 2U : 1U;
            ++units;
        }
    }
    return units;
}

char16_t* CodePage::Decode(std::span<const std::uint8_t> bytes, char16_t* out) const noexcept {
    const std::size_t ascii = AsciiRun(bytes);
    out = Widen(bytes.first(ascii), out);
    bytes = bytes.subspan(ascii);
    if (bytes.empty()) return out;
    return number_ == Utf8 ? DecodeUtf8(bytes, out) : DecodeTables(bytes, out);
}

char16_t* CodePage::DecodeTables(std::span<const std::uint8_t> bytes,
                                 char16_t* out) const noexcept {
    bool carried = true;
    if (pairs_.empty()) {
        for (const std::uint8_t byte : bytes) {
            carried = carried && units_[byte] != None;
            *out++ = units_[byte];
        }
        return carried ? out : nullptr;
    }
    for (std::size_t at = 0; at < bytes.size();) {
        char16_t unit = units_[bytes[at]];
        if (!leads_[bytes[at]]) {
            ++at;
        } else {
            if (at + 1 == bytes.size()) return nullptr;
            unit = pairs_[static_cast<std::size_t>(bytes[at]) << 8 | bytes[at + 1]];
            at += 2;
        }
        if (unit == None) return nullptr;
        *out++ = unit;
    }
    return out;
}

std::optional<std::size_t> CodePage::CountBytes(std::u16string_view text) const noexcept {
    if (number_ == Utf8) return CountUtf8Bytes(text);
    std::size_t bytes = 0;
    for (const char16_t unit : text) {
        if (sizes_[unit] == 0) return std::nullopt;
        bytes += sizes_[unit];
    }
    return bytes;
}

}  // namespace QuillonLib
