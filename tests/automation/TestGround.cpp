#include "TestGround.h"

#include <windows.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/TemporaryFolder.h"

namespace scripthost {

TestGround::TestGround(const std::filesystem::path& script)
    : folder_(QuillonLib::test::MakeTemporaryFolder()) {
    const std::wstring text = ReadFile(script);
    const std::u16string sql(text.begin(), text.end());
    AddServer(u"SANDBOX", sql, L"QUILLON_TEST_SERVER");
    AddServer(u"OTHER", sql, L"QUILLON_TEST_OTHER");
    _wputenv_s(L"QUILLON_TEST_FOLDER", folder_.c_str());
}

void TestGround::AddServer(const char16_t* name, const std::u16string& sql,
                           const wchar_t* variable) {
    sandbox::ServerSettings settings;
    settings.name = name;
    sandbox::Server& server = box_.AddServer(settings);
    server.Run(sql);
    const std::u16string address = server.Address();
    _wputenv_s(variable, std::wstring(address.begin(), address.end()).c_str());
}

TestGround::~TestGround() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::wstring ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file || bytes.empty()) throw std::runtime_error(path.string() + " cannot be read");
    const auto length = static_cast<int>(bytes.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), size);
    return text;
}

}  // namespace scripthost
