// Text between the library and automation: the same units on both sides, NUL included.
#pragma once

#include <new>
#include <string>
#include <string_view>

#include "automation/AutomationTypes.h"

namespace QuillonLib::Automation {

static_assert(sizeof(OLECHAR) == sizeof(char16_t));

// A null BSTR is the empty text.
inline std::u16string_view ViewOf(BSTR text) noexcept {
    if (text == nullptr) return {};
    return {reinterpret_cast<const char16_t*>(text), SysStringLen(text)};
}

inline std::u16string TextOf(BSTR text) {
    return std::u16string(ViewOf(text));
}

// The caller owns the result.
inline BSTR NewBstr(std::u16string_view text) {
    BSTR result = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                    static_cast<UINT>(text.size()));
    if (result == nullptr) throw std::bad_alloc();
    return result;
}

}  // namespace QuillonLib::Automation
