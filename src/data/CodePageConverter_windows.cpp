#include <windows.h>

#include <array>
#include <cstring>

#include "data/CodePageConverter.h"

namespace QuillonLib {

namespace {

using Bytes = std::span<const std::uint8_t>;

}  // namespace

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
