#include "util/SystemErrorText.h"

#include <algorithm>
#include <array>

#include "core/Text.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace QuillonLib {

namespace {

constexpr std::size_t LongestMessage = 1024;

#ifdef _WIN32

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

using NativeMessages = WindowsMessages;

#else

struct KnownMessage {
    std::uint32_t code;
    std::u16string_view text;
};

// Codes below 0x80000000 are the system's, the others belong to advapi32.dll.
constexpr std::array KnownMessages{
    KnownMessage{8, u"Not enough memory resources are available to process this command.\r\n"},
    KnownMessage{87, u"The parameter is incorrect.\r\n"},
    KnownMessage{234, u"More data is available.\r\n"},
    KnownMessage{0x80090001, u"Bad UID.\r\n"},
    KnownMessage{0x80090002, u"Bad Hash.\r\n"},
    KnownMessage{0x80090003, u"Bad Key.\r\n"},
    KnownMessage{0x80090004, u"Bad Length.\r\n"},
    KnownMessage{0x80090005, u"Bad Data.\r\n"},
    KnownMessage{0x80090008, u"Invalid algorithm specified.\r\n"},
    KnownMessage{0x80090009, u"Invalid flags specified.\r\n"},
};

class BuiltInMessages final : public SystemMessages {
  public:
    Module LoadModule(std::u16string_view name) override {
        return EqualIgnoringCase(name, u"advapi32.dll") ? Advapi32 : 0;
    }
    std::size_t Format(Module module, std::int32_t code, std::size_t capacity,
                       std::u16string& text) override {
        constexpr std::int32_t MessageNotFound = 317;
        constexpr std::int32_t InsufficientBuffer = 122;
        const auto wanted = static_cast<std::uint32_t>(code);
        const auto known = std::find_if(KnownMessages.begin(), KnownMessages.end(),
                                        [&](const auto& entry) { return entry.code == wanted; });
        const bool visible = wanted < 0x80000000U || module == Advapi32;
        if (known == KnownMessages.end() || !visible) return Fail(MessageNotFound);
        if (known->text.size() > capacity) return Fail(InsufficientBuffer);
        text = known->text;
        return text.size();
    }
    void ReleaseModule(Module /*module*/) override {}
    std::int32_t LastError() const override { return lastError_; }

  private:
    static constexpr Module Advapi32 = 1;

    std::size_t Fail(std::int32_t reason) {
        lastError_ = reason;
        return 0;
    }

    std::int32_t lastError_ = 0;
};

using NativeMessages = BuiltInMessages;

#endif

}  // namespace

std::unique_ptr<SystemMessages> PlatformMessages() {
    return std::make_unique<NativeMessages>();
}

std::u16string GetSystemErrorText(SystemMessages& messages, std::int32_t code,
                                  std::u16string_view module) {
    const SystemMessages::Module handle = messages.LoadModule(module);
    std::u16string text;
    const std::size_t length = messages.Format(handle, code, LongestMessage, text);
    if (length > 0) {
        text.resize(std::min(length, text.size()));
    } else {
        text = u"Error not found (error " + ToText(code) + u" / " + ToText(messages.LastError()) +
               u")";
    }
    messages.ReleaseModule(handle);
    return text;
}

}  // namespace QuillonLib
