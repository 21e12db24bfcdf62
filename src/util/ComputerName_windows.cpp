#include <windows.h>

#include "util/ComputerName.h"

namespace QuillonLib {

std::u16string GetLocalComputerName() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(name, &length)) return u".";
    return {name, name + length};
}

}  // namespace QuillonLib
