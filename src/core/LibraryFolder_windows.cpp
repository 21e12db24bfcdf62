#include <windows.h>

#include <string>

#include "core/Error.h"
#include "core/LibraryFolder.h"

namespace QuillonLib {

namespace {

[[noreturn]] void ThrowNotFound() {
    throw Error(ErrorNumber::FileNotFound, u"The file of the library itself cannot be found");
}

}  // namespace

std::filesystem::path LibraryFolder() {
    HMODULE module = nullptr;
    const auto* inside = reinterpret_cast<const wchar_t*>(&LibraryFolder);
    if (!GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            inside, &module)) {
        ThrowNotFound();
    }
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    if (path.empty()) ThrowNotFound();
    return std::filesystem::path(path).parent_path();
}

}  // namespace QuillonLib
