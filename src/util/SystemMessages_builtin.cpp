#include <algorithm>
#include <array>

#include "core/Text.h"
#include "util/SystemErrorText.h"

namespace QuillonLib {

namespace {

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

}  // namespace

std::unique_ptr<SystemMessages> PlatformMessages() {
    return std::make_unique<BuiltInMessages>();
}

}  // namespace QuillonLib
