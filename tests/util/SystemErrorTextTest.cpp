#include "util/SystemErrorText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QuillonLib {
namespace {

// Notes what is asked of it and answers with `message`.
class ScriptedMessages final : public SystemMessages {
  public:
    Module LoadModule(std::u16string_view name) override {
        moduleName = name;
        return module;
    }
    std::size_t Format(Module handle, std::int32_t code, std::size_t capacity,
                       std::u16string& text) override {
        formatModule = handle;
        formatCode = code;
        if (message.size() > capacity) return 0;
        text = message;
        return message.size();
    }
    void ReleaseModule(Module handle) override { freed.push_back(handle); }
    std::int32_t LastError() const override { return lastError; }

    Module module = 7;
    std::u16string message;
    std::int32_t lastError = 0;
    std::u16string moduleName;
    Module formatModule = 99;
    std::int32_t formatCode = 0;
    std::vector<Module> freed;
};

TEST(SystemErrorText, LooksInTheNamedModuleAndLetsItGo) {
    ScriptedMessages messages;
    messages.message = u"The parameter is incorrect.\r\n";
    EXPECT_EQ(GetSystemErrorText(messages, 87, u"advapi32.dll"),
              u"The parameter is incorrect.\r\n");
    EXPECT_EQ(messages.moduleName, u"advapi32.dll");
    EXPECT_EQ(messages.formatModule, 7U);
    EXPECT_EQ(messages.formatCode, 87);
    EXPECT_EQ(messages.freed, std::vector<SystemMessages::Module>{7});
}

TEST(SystemErrorText, UnknownCodeGivesTheCodeAndTheReason) {
    ScriptedMessages messages;
    messages.lastError = 317;
    EXPECT_EQ(GetSystemErrorText(messages, 123456, u"advapi32.dll"),
              u"Error not found (error 123456 / 317)");
    EXPECT_EQ(messages.freed.size(), 1U);
}

TEST(SystemErrorText, CodesAreSignedDecimals) {
    ScriptedMessages messages;
    messages.lastError = -2;
    EXPECT_EQ(GetSystemErrorText(messages, static_cast<std::int32_t>(0x8009FFFF), u"x"),
              u"Error not found (error -2146828289 / -2)");
}

TEST(SystemErrorText, AMissingModuleIsUsedAndFreedAsItIs) {
    ScriptedMessages messages;
    messages.module = 0;
    messages.message = u"Text\r\n";
    EXPECT_EQ(GetSystemErrorText(messages, 1, u"nothing.dll"), u"Text\r\n");
    EXPECT_EQ(messages.formatModule, 0U);
    EXPECT_EQ(messages.freed, std::vector<SystemMessages::Module>{0});
}

TEST(SystemErrorText, AMessageOfMoreThan1024CharactersIsNotFound) {
    ScriptedMessages messages;
    messages.lastError = 122;
    messages.message = std::u16string(1024, u'x');
    EXPECT_EQ(GetSystemErrorText(messages, 5, u"m"), std::u16string(1024, u'x'));
    messages.message.push_back(u'x');
    EXPECT_EQ(GetSystemErrorText(messages, 5, u"m"), u"Error not found (error 5 / 122)");
}

#ifndef _WIN32

TEST(SystemErrorText, ThePlatformKnowsTheCodesOfTheEncryption) {
    const auto messages = PlatformMessages();
    EXPECT_EQ(GetSystemErrorText(*messages, static_cast<std::int32_t>(0x80090008), u"ADVAPI32.dll"),
              u"Invalid algorithm specified.\r\n");
    EXPECT_EQ(GetSystemErrorText(*messages, 87, u"no such module"),
              u"The parameter is incorrect.\r\n");
    EXPECT_EQ(GetSystemErrorText(*messages, static_cast<std::int32_t>(0x80090008), u"other.dll"),
              u"Error not found (error -2146893816 / 317)");
    EXPECT_EQ(GetSystemErrorText(*messages, 424242, u"advapi32.dll"),
              u"Error not found (error 424242 / 317)");
}

#endif

}  // namespace
}  // namespace QuillonLib
