#include <windows.h>

#include <array>

#include "core/SystemError.h"
#include "core/Text.h"

namespace QuillonLib {

// The standard library would give the text in the code page of the system.
std::u16string TextOf(const std::error_code& error) {
    if (error.category() != std::system_category()) return FromUtf8(error.message());
    std::array<wchar_t, 1024> buffer{};
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, static_cast<DWORD>(error.value()), 0,
                                        buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
    std::u16string text(buffer.begin(), buffer.begin() + length);
    while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' '))
        text.pop_back();
    return text.empty() ? u"system error " + ToText(error.value()) : text;
}

}  // namespace QuillonLib
