#include "data/CodePage.h"

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "data/CodePageConverter.h"

namespace QuillonLib {

namespace {

constexpr char16_t None = CodePageConverter::None;

using Bytes = std::span<const std::uint8_t>;

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
        if (number == Utf8CodePage || page->ReadTables()) at->second = std::move(page);
    }
    return at->second.get();
}

void CodePage::Carry(std::uint32_t code, std::uint8_t bytes, char16_t unit) {
    if (unit == None) return;
    (bytes == 1 ? units_ : pairs_)[code] = unit;
    sizes_[unit] = bytes;
}

bool CodePage::ReadTables() {
    const CodePageFacts* page = FindCodePageFacts(number_);
    if (page == nullptr) return false;
    const CodePageConverter converter(*page);
    if (!converter.IsOpen()) return false;
    units_.assign(0x100, None);
    sizes_.assign(0x10000, 0);
    leads_.assign(0x100, false);
    if (page->HasDoubleBytes()) pairs_.assign(0x10000, None);
    for (std::uint32_t byte = 0; byte < 0x100; ++byte) {
        const std::array<std::uint8_t, 1> one{static_cast<std::uint8_t>(byte)};
        leads_[byte] = page->IsLead(byte);
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
    if (number_ != Utf8CodePage && pairs_.empty()) return bytes.size();
    std::size_t at = AsciiRun(bytes);
    std::size_t units = at;
    while (at < bytes.size()) {
        const std::uint8_t byte = bytes[at];
        if (number_ == Utf8CodePage) {
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
    return number_ == Utf8CodePage ? DecodeUtf8(bytes, out) : DecodeTables(bytes, out);
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
    if (number_ == Utf8CodePage) return CountUtf8Bytes(text);
    std::size_t bytes = 0;
    for (const char16_t unit : text) {
        if (sizes_[unit] == 0) return std::nullopt;
        bytes += sizes_[unit];
    }
    return bytes;
}

}  // namespace QuillonLib
