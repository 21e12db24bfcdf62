// The message text of a system error code.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace QuillonLib {

// Where message texts come from: the message tables of modules, then those of the system. On
// Windows these are the system's own calls; elsewhere a table of the codes that the encryption
// can report, under the module that defines them.
class SystemMessages {
  public:
    using Module = std::uintptr_t;  // 0: none

    virtual ~SystemMessages() = default;

    // 0 where there is no such module.
    virtual Module LoadModule(std::u16string_view name) = 0;
    // Writes the message with its line break to `text` and returns its length in characters; 0
    // when there is none or when it is longer than `capacity`, and LastError() then tells why.
    virtual std::size_t Format(Module module, std::int32_t code, std::size_t capacity,
                               std::u16string& text) = 0;
    virtual void ReleaseModule(Module module) = 0;
    virtual std::int32_t LastError() const = 0;
};

std::unique_ptr<SystemMessages> PlatformMessages();

// The message as the system wrote it, its line break included; "Error not found (error <code> /
// <why>)" where there is none. Messages of more than 1,024 characters count as none.
std::u16string GetSystemErrorText(SystemMessages& messages, std::int32_t code,
                                  std::u16string_view module);

}  // namespace QuillonLib
