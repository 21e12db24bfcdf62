#include "data/CodePageConverter.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unicode/ucnv.h>
#endif

#include <algorithm>
#include <array>
#include <cstring>

namespace QuillonLib {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr CodePageFacts Pages[] = {
    {"ibm-437_P100-1995", 437, {}},
    {"ibm-850_P100-1995", 850, {}},
    {"windows-874-2000", 874, {}},
    {"ibm-943_P15A-2003", 932, {{0x81, 0x9F}, {0xE0, 0xFC}}},
    {"windows-936-2000", 936, {{0x81, 0xFE}}},
    {"windows-949-2000", 949, {{0x81, 0xFE}}},
    {"windows-950-2000", 950, {{0x81, 0xFE}}},
    {"ibm-5346_P100-1998", 1250, {}},
    {"ibm-5347_P100-1998", 1251, {}},
    {"ibm-5348_P100-1997", 1252, {}},
    {"ibm-5349_P100-1998", 1253, {}},
    {"ibm-5350_P100-1998", 1254, {}},
    {"ibm-9447_P100-2002", 1255, {}},
    {"ibm-9448_X100-2005", 1256, {}},
    {"ibm-9449_P100-2002", 1257, {}},
    {"ibm-5354_P100-1998", 1258, {}},
};

}  // namespace

const CodePageFacts* FindCodePageFacts(std::int32_t number) {
    const auto* found = std::find_if(std::begin(Pages), std::end(Pages),
                                     [number](const auto& page) { return page.Number == number; });
    return found == std::end(Pages) ? nullptr : found;
}

#ifdef _WIN32

// As the system converts.
class CodePageConverter::Impl {
  public:
    explicit Impl(const CodePageFacts& page) : page_(static_cast<UINT>(page.Number)) {}

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

namespace {

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

}  // namespace

class CodePageConverter::Impl {
  public:
    explicit Impl(const CodePageFacts& page) : page_(page.Number) {
        UErrorCode error = U_ZERO_ERROR;
        converter_.reset(ucnv_open(page.Converter, &error));
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

CodePageConverter::CodePageConverter(const CodePageFacts& page)
    : impl_(std::make_unique<Impl>(page)) {
}

CodePageConverter::~CodePageConverter() = default;

bool CodePageConverter::IsOpen() const {
    return impl_->IsOpen();
}

char16_t CodePageConverter::Carried(Bytes bytes) const {
    return impl_->Carried(bytes);
}

}  // namespace QuillonLib
