#include "sandbox/text/CodePages.h"

#include <iconv.h>

#include <array>
#include <map>
#include <mutex>
#include <stdexcept>

namespace sandbox {

namespace {

struct PageName {
    const char* name;  // as the C library calls it
    int number;
    char16_t unknown = u'?';
    std::uint8_t firstLead = 0;  // of double bytes; 0: all bytes are single
};

constexpr PageName kPages[] = {
    {"CP437", 437},
    {"CP850", 850},
    {"CP874", 874},
    {"CP1250", 1250},
    {"CP1251", 1251},
    {"CP1252", 1252},
    {"CP1253", 1253},
    {"CP1254", 1254},
    {"CP1255", 1255},
    {"CP1256", 1256},
    {"CP1257", 1257},
    {"CP1258", 1258},
    {"CP932", 932, 0x30FB, 0x81},
    {"GBK", 936, u'?', 0x81},
    {"UHC", 949, u'?', 0x81},
    {"CP950", 950, u'?', 0x81},
};

// Windows gives every byte a character. Those to which the standards give none have the control
// character of their number, or one of the private use area: first byte, last byte, first unit.
struct Private {
    int page;
    std::uint8_t first, last;
    char16_t unit;
};
constexpr Private kPrivate[] = {
    {874, 0xDB, 0xDE, 0xF8C1},  {874, 0xFC, 0xFF, 0xF8C5},  {1253, 0xAA, 0xAA, 0xF8F9},
    {1253, 0xD2, 0xD2, 0xF8FA}, {1253, 0xFF, 0xFF, 0xF8FB}, {1255, 0xCA, 0xCA, 0x05BA},
    {1255, 0xD9, 0xDF, 0xF88D}, {1255, 0xFB, 0xFC, 0xF894}, {1255, 0xFF, 0xFF, 0xF896},
    {1257, 0xA1, 0xA1, 0xF8FC}, {1257, 0xA5, 0xA5, 0xF8FD}, {932, 0xA0, 0xA0, 0xF8F0},
    {932, 0xFD, 0xFF, 0xF8F1},  {936, 0x80, 0x80, 0x20AC},  {936, 0xFF, 0xFF, 0xF8F5},
    {949, 0xFF, 0xFF, 0xF8F7},  {950, 0xFF, 0xFF, 0xF8F8},
};

constexpr int kWestern = 1252;
constexpr char16_t kKeptByte = 0xDC00;

bool IsKeptByte(char16_t unit) {
    return unit >= kKeptByte && unit < kKeptByte + 0x100;
}
bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLow(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

char16_t PrivateUnit(int page, std::uint8_t byte) {
    for (const Private& p : kPrivate) {
        if (p.page == page && byte >= p.first && byte <= p.last)
            return static_cast<char16_t>(p.unit + (byte - p.first));
    }
    return byte;
}

// The C library's conversion, one character at a time.
class Converter {
  public:
    Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {
        if (reinterpret_cast<std::intptr_t>(handle_) == -1) {
            throw std::runtime_error(std::string("the C library has no converter for ") + from);
        }
    }
    ~Converter() { iconv_close(handle_); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // Empty when there is no such character.
    std::string Convert(std::string text) {
        std::array<char, 32> out{};
        char* from = text.data();
        char* to = out.data();
        std::size_t left = text.size();
        std::size_t room = out.size();
        iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(handle_, &from, &left, &to, &room) != 0) return {};  // or not exactly
        if (iconv(handle_, nullptr, nullptr, &to, &room) != 0) return {};
        return {out.data(), out.size() - room};
    }

  private:
    iconv_t handle_;
};

// The one unit of two bytes of UTF-16LE; 0 for anything else.
char16_t OnlyUnit(const std::string& utf16) {
    if (utf16.size() != 2) return 0;
    return static_cast<char16_t>(static_cast<std::uint8_t>(utf16[0]) |
                                 static_cast<std::uint8_t>(utf16[1]) << 8);
}

}  // namespace

const CodePage& CodePage::Of(int number) {
    static const CodePage& western = Find(kWestern);
    return number == kWestern ? western : Find(number);
}

const CodePage& CodePage::Find(int number) {
    static std::mutex mutex;
    static std::map<int, std::unique_ptr<const CodePage>> pages;
    bool known = number == 65001;
    for (const PageName& p : kPages)
        known = known || p.number == number;
    const std::lock_guard<std::mutex> lock(mutex);
    if (!known) number = kWestern;
    auto& page = pages[number];
    if (page == nullptr) page.reset(new CodePage(number));
    return *page;
}

CodePage::CodePage(int number) : utf8_(number == 65001) {
    if (!utf8_) ReadTables(number);
}

void CodePage::Define(std::uint32_t code, char16_t unit) {
    codes_[unit] = static_cast<std::uint16_t>(code);
}

void CodePage::ReadTables(int number) {
    const PageName* name = kPages;
    while (name->number != number)
        ++name;
    unknown_ = name->unknown;
    units_.resize(256);
    codes_.resize(0x10000);
    leads_.resize(256);
    Converter decode("UTF-16LE", name->name);
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto b = static_cast<std::uint8_t>(byte);
        const bool kana = number == 932 && byte >= 0xA0 && byte <= 0xDF;
        const bool tail = byte == 0xFF || (number == 932 && byte > 0xFC);
        leads_[byte] = name->firstLead != 0 && byte >= name->firstLead && !kana && !tail;
        if (leads_[byte] != 0) continue;
        char16_t unit = PrivateUnit(number, b);
        if (byte < 0x80) {
            unit = b;
        } else if (unit == b) {
            const char16_t defined = OnlyUnit(decode.Convert(std::string(1, static_cast<char>(b))));
            if (defined != 0) unit = defined;
        }
        units_[byte] = unit;
        Define(byte, unit);
    }
    if (name->firstLead == 0) return;
    pairs_.resize(0x10000);
    shown_.resize(0x10000);
    Converter encode(name->name, "UTF-16LE");
    for (unsigned code = name->firstLead * 256U; code < 0xFF00; ++code) {
        if (leads_[code >> 8] == 0) continue;
        const std::string bytes{static_cast<char>(code >> 8), static_cast<char>(code)};
        const std::string utf16 = decode.Convert(bytes);
        shown_[code] = OnlyUnit(utf16);
        if (shown_[code] == 0 || encode.Convert(utf16) != bytes) continue;
        pairs_[code] = shown_[code];
        Define(code, shown_[code]);
    }
}

// A well-formed sequence, as Unicode defines it, to its units; 0 for any other byte.
std::size_t CodePage::KeepUtf8(std::string_view bytes, std::u16string& kept) const {
    const auto at = [&](std::size_t i) -> std::uint32_t {
        return i < bytes.size() ? static_cast<std::uint8_t>(bytes[i]) : 0;
    };
    const auto tail = [&](std::size_t i) { return (at(i) & 0xC0) == 0x80; };
    const std::uint32_t lead = at(0);
    if (lead >= 0xC2 && lead <= 0xDF && tail(1)) {
        kept += static_cast<char16_t>((lead & 0x1F) << 6 | (at(1) & 0x3F));
        return 2;
    }
    if ((lead & 0xF0) == 0xE0 && tail(1) && tail(2)) {
        const std::uint32_t c = (lead & 0xF) << 12 | (at(1) & 0x3F) << 6 | (at(2) & 0x3F);
        if (c < 0x800 || (c >= 0xD800 && c < 0xE000)) return 0;
        kept += static_cast<char16_t>(c);
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4 && tail(1) && tail(2) && tail(3)) {
        const std::uint32_t c =
            (lead & 0x7) << 18 | (at(1) & 0x3F) << 12 | (at(2) & 0x3F) << 6 | (at(3) & 0x3F);
        if (c < 0x10000 || c > 0x10FFFF) return 0;
        kept += static_cast<char16_t>(0xD7C0 + (c >> 10));
        kept += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        return 4;
    }
    return 0;
}

// Keeps the first character; returns how many bytes it had, 0 when they have none.
std::size_t CodePage::KeepOne(std::string_view bytes, std::u16string& kept) const {
    const auto first = static_cast<std::uint8_t>(bytes[0]);
    if (utf8_) {
        if (first >= 0x80) return KeepUtf8(bytes, kept);
        kept += first;
        return 1;
    }
    if (leads_[first] == 0) {
        kept += units_[first];
        return 1;
    }
    if (bytes.size() < 2) return 0;
    const char16_t unit = pairs_[first * 256U + static_cast<std::uint8_t>(bytes[1])];
    if (unit == 0) return 0;
    kept += unit;
    return 2;
}

std::u16string CodePage::Keep(std::string_view bytes) const {
    std::u16string kept;
    kept.reserve(bytes.size());
    while (!bytes.empty()) {
        std::size_t taken = KeepOne(bytes, kept);
        if (taken == 0) {
            // A double byte without a character stays together, so that its second byte is not
            // taken for a character of its own.
            taken = !utf8_ && bytes.size() > 1 ? 2 : 1;
            for (std::size_t i = 0; i < taken; ++i)
                kept += static_cast<char16_t>(kKeptByte + static_cast<std::uint8_t>(bytes[i]));
        }
        bytes.remove_prefix(taken);
    }
    return kept;
}

// The bytes of the character at `at`, which moves behind it.
void CodePage::AppendBytes(std::u16string_view kept, std::size_t& at, std::string& out) const {
    const char16_t unit = kept[at++];
    if (IsKeptByte(unit)) {
        out += static_cast<char>(unit);
        return;
    }
    if (!utf8_) {
        const std::uint16_t code = codes_[unit];
        if (code == 0 && unit != 0) {
            out += '?';
            return;
        }
        if (code > 0xFF) out += static_cast<char>(code >> 8);
        out += static_cast<char>(code);
        return;
    }
    std::uint32_t c = unit;
    if (IsHigh(unit) && at < kept.size() && IsLow(kept[at])) {
        c = 0x10000 + ((c - 0xD800) << 10) + (kept[at++] - 0xDC00U);
    }
    const auto tail = [&](int shift) { out += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        tail(0);
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        tail(6);
        tail(0);
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

std::string CodePage::Bytes(std::u16string_view kept) const {
    std::string out;
    out.reserve(kept.size());
    for (std::size_t at = 0; at < kept.size();)
        AppendBytes(kept, at, out);
    return out;
}

std::size_t CodePage::ByteCount(std::u16string_view kept) const {
    return IsSingleByte() ? kept.size() : Bytes(kept).size();
}

std::u16string CodePage::FromNational(std::u16string_view text) const {
    std::u16string kept;
    kept.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        const bool pair = IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1]);
        if (utf8_) {
            kept += (IsHigh(unit) || IsLow(unit)) && !pair ? u'\uFFFD' : unit;
            if (pair) kept += text[++i];
            continue;
        }
        if (IsHigh(unit) || IsLow(unit)) {
            kept += u'?';
        } else {
            kept += codes_[unit] == 0 && unit != 0 ? u'?' : unit;
        }
    }
    return kept;
}

std::u16string CodePage::ToNational(std::u16string_view kept) const {
    if (IsSingleByte()) return std::u16string(kept);
    std::u16string text;
    text.reserve(kept.size());
    for (std::size_t i = 0; i < kept.size(); ++i) {
        const char16_t unit = kept[i];
        const bool pair = IsHigh(unit) && i + 1 < kept.size();
        if (pair || !IsKeptByte(unit)) {
            text += unit;
            if (pair) text += kept[++i];
            continue;
        }
        if (utf8_) {
            text += u'\uFFFD';
            continue;
        }
        if (i + 1 >= kept.size() || !IsKeptByte(kept[i + 1])) {
            text += unknown_;
            continue;
        }
        const unsigned code = (unit & 0xFFU) << 8 | (kept[++i] & 0xFFU);
        text += shown_[code] != 0 ? shown_[code] : unknown_;
    }
    return text;
}

}  // namespace sandbox
