#include <unicode/ucnv.h>

#include <array>
#include <cstring>

#include "data/CodePageConverter.h"

namespace QuillonLib {

namespace {

using Bytes = std::span<const std::uint8_t>;

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
