// What the library makes of Windows' own calls.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "core/Error.h"
#include "core/SystemError.h"
#include "core/Text.h"
#include "core/WholeFile.h"
#include "templates/EncodedText.h"
#include "tests/support/TemporaryFolder.h"
#include "util/ComputerName.h"
#include "util/SystemErrorText.h"

namespace QuillonLib {
namespace {

namespace fs = std::filesystem;

class SystemTest : public ::testing::Test {
  protected:
    ~SystemTest() override { fs::remove_all(folder); }

    static std::string Read(const fs::path& path) {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
    static std::u16string WhyNotWritten(const fs::path& path) {
        try {
            WriteWholeFile(path, "new");
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), 75);
            return error.Description();
        }
        return {};
    }

    fs::path folder = test::MakeTemporaryFolder();
    fs::path file = folder / L"T\u00E9mplates \u65E5.xml";
};

TEST_F(SystemTest, AFileIsReplacedWhole) {
    WriteWholeFile(file, "old");
    EXPECT_EQ(Read(file), "old");
    const std::string large(std::size_t{3} << 20, 'x');
    WriteWholeFile(file, large);
    EXPECT_EQ(Read(file), large);
    EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(SystemTest, AttributesOfTheReplacedFileStay) {
    WriteWholeFile(file, "old");
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_HIDDEN));
    WriteWholeFile(file, "new");
    EXPECT_EQ(Read(file), "new");
    EXPECT_NE(GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0U);
}

TEST_F(SystemTest, AFileThatAnotherHoldsStaysAsItIs) {
    WriteWholeFile(file, "old");
    const HANDLE held = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_NE(WhyNotWritten(file), u"");
    CloseHandle(held);
    EXPECT_EQ(Read(file), "old");
    EXPECT_EQ(FilesInFolder(), 1U);
}

TEST_F(SystemTest, ADeviceIsNoFile) {
    EXPECT_EQ(WhyNotWritten(L"NUL"), u"Cannot write the file 'NUL': it is no regular file");
}

TEST_F(SystemTest, TheComputerHasTheNameThatTheSystemTells) {
    std::array<wchar_t, 256> name{};
    auto length = static_cast<DWORD>(name.size());
    ASSERT_TRUE(GetComputerNameExW(ComputerNameNetBIOS, name.data(), &length));
    EXPECT_EQ(GetLocalComputerName(), std::u16string(name.begin(), name.begin() + length));
}

TEST_F(SystemTest, MessagesEndWithTheirLineBreak) {
    const auto messages = PlatformMessages();
    for (const std::int32_t code : {5, 87, 234}) {
        const std::u16string text = GetSystemErrorText(*messages, code, u"advapi32.dll");
        EXPECT_TRUE(text.ends_with(CrLf)) << code;
        EXPECT_GT(text.size(), 5U) << code;
        EXPECT_FALSE(text.starts_with(u"Error not found")) << code;
        EXPECT_EQ(GetSystemErrorText(*messages, code, u"no such module.dll"), text);
        const std::u16string plain = TextOf({code, std::system_category()});
        EXPECT_EQ(plain + std::u16string(CrLf), text);
    }
}

TEST_F(SystemTest, AnUnknownCodeHasNoMessage) {
    const auto messages = PlatformMessages();
    EXPECT_EQ(GetSystemErrorText(*messages, 424242, u"advapi32.dll"),
              u"Error not found (error 424242 / 317)");
    EXPECT_EQ(TextOf({424242, std::system_category()}), u"system error 424242");
}

TEST_F(SystemTest, EncodingsAreKnownByTheirNames) {
    EXPECT_EQ(KindOfEncoding("UTF-16"), EncodingKind::Unicode);
    for (const char* name : {"Windows-1252", "cp850", "IBM437", "ISO-8859-15", "Shift_JIS",
                             "EUC-KR", "Big5", "gb2312", "koi8-r", "US-ASCII"}) {
        EXPECT_EQ(KindOfEncoding(name), EncodingKind::Bytes) << name;
    }
    for (const char* name : {"", "windows-", "windows-65001", "cp65000", "windows-1252x", "cp-1",
                             "iso-8859-1200", "x-none", "windows-99999999999"}) {
        EXPECT_EQ(KindOfEncoding(name), EncodingKind::Unknown) << name;
    }
    EXPECT_EQ(DecodeText("\x80\xE9", "windows-1252"), u"\u20AC\u00E9");
    EXPECT_EQ(DecodeText("", "windows-1252"), u"");
    EXPECT_EQ(DecodeText("\xFF", "windows-1253"), std::nullopt);
}

TEST_F(SystemTest, TheFolderOfALibraryIsItsOwnNotThatOfTheProgram) {
    const fs::path copy = folder / L"library.dll";
    fs::copy_file(QUILLON_FOLDER_OF_LIBRARY, copy);
    const HMODULE library = LoadLibraryW(copy.c_str());
    ASSERT_NE(library, nullptr);
    const auto ask = reinterpret_cast<void (*)(wchar_t*, unsigned)>(
        reinterpret_cast<void*>(GetProcAddress(library, "FolderOfLibrary")));
    ASSERT_NE(ask, nullptr);
    std::array<wchar_t, 1024> told{};
    ask(told.data(), static_cast<unsigned>(told.size()));
    EXPECT_TRUE(fs::equivalent(told.data(), folder)) << ToUtf8(fs::path(told.data()).u16string());
    FreeLibrary(library);
}

}  // namespace
}  // namespace QuillonLib
