#include "automation/Module.h"

#include <atomic>

#include "core/Error.h"

namespace QuillonLib::Automation {

namespace {

std::atomic<long> uses = 0;
HMODULE handle = nullptr;

constexpr std::size_t LongestPath = 32768;

}  // namespace

void Module::AddUse() noexcept {
    ++uses;
}
void Module::RemoveUse() noexcept {
    --uses;
}
bool Module::InUse() noexcept {
    return uses != 0;
}

void Module::SetHandle(HMODULE value) noexcept {
    handle = value;
}
HMODULE Module::Handle() noexcept {
    return handle;
}

std::wstring Module::Path() {
    std::wstring path(LongestPath, L'\0');
    path.resize(GetModuleFileNameW(handle, path.data(), static_cast<DWORD>(path.size())));
    if (path.empty()) {
        throw Error(ErrorNumber::FileNotFound, u"The file of the library itself cannot be found");
    }
    return path;
}

}  // namespace QuillonLib::Automation
