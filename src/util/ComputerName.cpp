#include "util/ComputerName.h"

#include "core/Text.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>

#include <array>
#include <cstring>
#endif

namespace QuillonLib {

#ifdef _WIN32

std::u16string GetLocalComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(name, &length)) return u".";
    return {name, name + length};
}

#else

std::u16string GetLocalComputerName() {
    std::array<char, 256> name{};  // longer than any host name; the last byte stays zero
    if (gethostname(name.data(), name.size() - 1) != 0 || name.front() == '\0') return u".";
    return FromUtf8(name.data());
}

#endif

}  // namespace QuillonLib
