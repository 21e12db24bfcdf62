#include "util/SystemErrorText.h"

#include <algorithm>

#include "core/Text.h"

namespace QuillonLib {

namespace {

constexpr std::size_t LongestMessage = 1024;

}  // namespace

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
