#include "cli/Environment.h"

#include <windows.h>

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

}  // namespace quillon
