#include <windows.h>

#include <string>

#include "util/SystemErrorText.h"

namespace QuillonLib {

namespace {

class WindowsMessages final : public SystemMessages {
  public:
    Module LoadModule(std::u16string_view name) override {
        const std::wstring wide(name.begin(), name.end());
        return reinterpret_cast<Module>(
            LoadLibraryExW(wide.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    }
    std::size_t Format(Module module, std::int32_t code, std::size_t capacity,
                       std::u16string& text) override {
        std::wstring buffer(capacity, L'\0');
        // A message with inserts reads its arguments: one zero, as an array.
        DWORD_PTR arguments[] = {0};
        const DWORD length = FormatMessageW(
            FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM |
                FORMAT_MESSAGE_ARGUMENT_ARRAY,
            reinterpret_cast<HMODULE>(module), static_cast<DWORD>(code), 0, buffer.data(),
            static_cast<DWORD>(buffer.size()), reinterpret_cast<va_list*>(arguments));
        lastError_ = static_cast<std::int32_t>(GetLastError());
        text.assign(buffer.begin(), buffer.begin() + length);
        return length;
    }
    void ReleaseModule(Module module) override { FreeLibrary(reinterpret_cast<HMODULE>(module)); }
    std::int32_t LastError() const override { return lastError_; }

  private:
    std::int32_t lastError_ = 0;
};

}  // namespace

std::unique_ptr<SystemMessages> PlatformMessages() {
    return std::make_unique<WindowsMessages>();
}

}  // namespace QuillonLib
