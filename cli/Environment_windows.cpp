#include "cli/Environment.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "core/Text.h"

namespace quillon {

std::optional<std::string> Environment(const char* name) {
    const std::u16string wideName = QuillonLib::FromUtf8(name);
    const auto* const asked = reinterpret_cast<const wchar_t*>(wideName.c_str());
    std::u16string text(256, u'\0');
    for (;;) {
        SetLastError(ERROR_SUCCESS);
        const DWORD size = GetEnvironmentVariableW(asked, reinterpret_cast<wchar_t*>(text.data()),
                                                   static_cast<DWORD>(text.size()));
        if (size == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;
        const bool whole = size < text.size();
        text.resize(size);
        if (whole) return QuillonLib::ToUtf8(text);
    }
}

std::string FirstLineOf(const std::string& command) {
    const std::u16string wide = QuillonLib::FromUtf8(command);
    std::FILE* const output = _wpopen(reinterpret_cast<const wchar_t*>(wide.c_str()), L"r");
    if (output == nullptr) throw std::runtime_error("it could not be started");
    std::string text;
    for (int unit = std::fgetc(output); unit != EOF; unit = std::fgetc(output))
        text += static_cast<char>(unit);
    if (_pclose(output) != 0) throw std::runtime_error("it failed");
    text.erase(std::min(text.find_first_of("\r\n"), text.size()));
    if (text.empty()) throw std::runtime_error("it printed nothing");
    return text;
}

}  // namespace quillon
