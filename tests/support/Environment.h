#pragma once

#ifdef _WIN32
#include <windows.h>

#include <string>

#include "core/Text.h"
#else
#include <cstdlib>
#endif

namespace QuillonLib::test {

// Sets a variable of this process's environment, in UTF-8.
inline void SetVariable(const char* name, const char* value) {
#ifdef _WIN32
    const std::u16string wideName = FromUtf8(name);
    const std::u16string wideValue = FromUtf8(value);
    SetEnvironmentVariableW(reinterpret_cast<const wchar_t*>(wideName.c_str()),
                            reinterpret_cast<const wchar_t*>(wideValue.c_str()));
#else
    setenv(name, value, 1);
#endif
}

inline void RemoveVariable(const char* name) {
#ifdef _WIN32
    SetEnvironmentVariableW(reinterpret_cast<const wchar_t*>(FromUtf8(name).c_str()), nullptr);
#else
    unsetenv(name);
#endif
}

}  // namespace QuillonLib::test
