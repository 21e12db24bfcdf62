// RegistrationTest DLL: what registering the DLL adds to the registry goes again when it is
// unregistered, for everybody and for one user. Exit code 0 when that is so. Nothing else may be
// registering classes meanwhile.
#include "automation/AutomationTypes.h"
// The next header defines its identifiers here.
#include <initguid.h>

#include "QuillonLib_h.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <map>
#include <string>
#include <vector>

namespace {

bool failed = false;

void Expect(bool holds, const char* what, const std::wstring& detail = {}) {
    if (holds) return;
    std::printf("Not so: %s %ls\n", what, detail.c_str());
    failed = true;
}

// The registry tells names in any case.
struct NameOrder {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return _wcsicmp(a.c_str(), b.c_str()) < 0;
    }
};

// "Hive\path" and, for each of its values, "Hive\path:name", with what it holds.
using Registry = std::map<std::wstring, std::vector<BYTE>, NameOrder>;

void ReadValue(HKEY key, DWORD index, const std::wstring& path, Registry& registry) {
    wchar_t name[16384];
    BYTE data[1024];
    DWORD length = 16384;
    DWORD size = sizeof(data);
    DWORD type = 0;
    const LSTATUS status = RegEnumValueW(key, index, name, &length, nullptr, &type, data, &size);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA) return;
    std::vector<BYTE>& held = registry[path + L":" + name];
    held.assign(data, data + std::min<DWORD>(size, sizeof(data)));
    if (status == ERROR_MORE_DATA) {
        held.resize(size);
        RegQueryValueExW(key, name, nullptr, &type, held.data(), &size);
    }
    held.push_back(static_cast<BYTE>(type));
}

void ReadKey(HKEY key, const std::wstring& path, Registry& registry) {
    DWORD keys = 0;
    DWORD values = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                     nullptr, nullptr, nullptr);
    for (DWORD i = 0; i < values; ++i)
        ReadValue(key, i, path, registry);
    wchar_t name[256];
    for (DWORD i = 0; i < keys; ++i) {
        DWORD length = 256;
        RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        const std::wstring below = path + L"\\" + name;
        registry[below];
        HKEY child = nullptr;
        if (RegOpenKeyExW(key, name, 0, KEY_READ, &child) != ERROR_SUCCESS) continue;
        ReadKey(child, below, registry);
        RegCloseKey(child);
    }
}

void ReadClasses(HKEY hive, const wchar_t* name, Registry& registry) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(hive, L"Software\\Classes", 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    ReadKey(key, name, registry);
    RegCloseKey(key);
}

// All classes, of everybody and of the user.
Registry ReadRegistry() {
    Registry registry;
    ReadClasses(HKEY_LOCAL_MACHINE, L"Machine", registry);
    ReadClasses(HKEY_CURRENT_USER, L"User", registry);
    return registry;
}

// What `after` has that `before` has not, or has otherwise.
std::vector<std::wstring> Added(const Registry& before, const Registry& after) {
    std::vector<std::wstring> added;
    for (const auto& [path, data] : after) {
        const auto found = before.find(path);
        if (found == before.end() || found->second != data) added.push_back(path);
    }
    return added;
}

void ExpectSame(const Registry& before, const Registry& after, const char* what) {
    const auto more = Added(before, after);
    const auto less = Added(after, before);
    Expect(more.empty(), what, more.empty() ? L"" : L"(left: " + more.front() + L")");
    Expect(less.empty(), what, less.empty() ? L"" : L"(lost: " + less.front() + L")");
}

bool Has(const Registry& registry, const std::wstring& path) {
    return registry.count(path) != 0;
}

// regsvr32 with those options; its exit code.
DWORD Regsvr32(const std::wstring& options, const std::wstring& file) {
    std::wstring line = L"regsvr32 /s " + options + L" \"" + file + L"\"";
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                       &process) == FALSE) {
        return 99;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 99;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

HRESULT Unregister(const std::wstring& file) {
    HMODULE library = LoadLibraryW(file.c_str());
    if (library == nullptr) return E_FAIL;
    using Call = HRESULT(WINAPI*)();
    const auto call = reinterpret_cast<Call>(
        reinterpret_cast<void*>(GetProcAddress(library, "DllUnregisterServer")));
    const HRESULT result = call();
    FreeLibrary(library);
    return result;
}

std::wstring ToText(const GUID& id) {
    wchar_t text[64];
    StringFromGUID2(id, text, 64);
    return text;
}

std::wstring TypesKey() {
    return L"TypeLib\\" + ToText(LIBID_QuillonLib) +
           (sizeof(void*) == 8 ? L"\\1.0\\0\\win64" : L"\\1.0\\0\\win32");
}

void ForEverybody(const std::wstring& file, const Registry& before) {
    Expect(Regsvr32(L"", file) == 0, "registered");
    Expect(Regsvr32(L"", file) == 0, "registered again");
    const Registry registered = ReadRegistry();
    Expect(Added(registered, before).empty(), "nothing of others is changed");
    Expect(Has(registered, L"Machine\\CLSID\\" + ToText(CLSID_Utils)), "the class is registered");
    Expect(Has(registered, L"Machine\\QuillonLib.Utils.1"), "the name is registered");
    Expect(Has(registered, L"Machine\\" + TypesKey()), "the types are registered");
    Expect(!Has(registered, L"User\\QuillonLib.Utils"), "nothing for the user alone");

    Expect(Regsvr32(L"/u", file) == 0, "unregistered");
    Expect(Regsvr32(L"/u", file) == 0, "what is not registered can be unregistered");
    ExpectSame(before, ReadRegistry(), "nothing is left behind");
}

void ForOneUser(const std::wstring& file, const Registry& before) {
    Expect(Regsvr32(L"/n /i:user", file) == 0, "registered for the user");
    const Registry registered = ReadRegistry();
    Expect(Added(registered, before).empty(), "nothing of others is changed");
    Expect(Has(registered, L"User\\CLSID\\" + ToText(CLSID_Utils)), "the user's class");
    Expect(Has(registered, L"User\\QuillonLib.Utils.1"), "the user's name");
    Expect(!Has(registered, L"Machine\\QuillonLib.Utils"), "nothing for everybody");
    Expect(Regsvr32(L"/u /n /i:user", file) == 0, "unregistered for the user");
    Expect(Regsvr32(L"/u /n /i:user", file) == 0, "a second time");
    ExpectSame(before, ReadRegistry(), "nothing of the user's is left behind");
}

// What is meant for whom has to be told in words that are known.
void UnknownScopeIsRefused(const std::wstring& file, const Registry& before) {
    Expect(Regsvr32(L"/n /i:everyone", file) != 0, "a scope that there is not");
    ExpectSame(before, ReadRegistry(), "nothing is registered for it");
    Expect(Regsvr32(L"/n /i", file) == 0, "registered for everybody");
    Expect(Has(ReadRegistry(), L"Machine\\QuillonLib.Utils.1"), "the name for everybody");
    Expect(Regsvr32(L"/u /n /i:users", file) != 0, "another one");
    Expect(Has(ReadRegistry(), L"Machine\\QuillonLib.Utils.1"), "nothing is taken away for it");
    Expect(Regsvr32(L"/u /n /i", file) == 0, "unregistered for everybody");
    ExpectSame(before, ReadRegistry(), "nothing is left behind of them");
}

// Types that the system cannot take away: it no longer finds the file that describes them.
void FailureIsTold(const std::wstring& file, const Registry& before) {
    Expect(Regsvr32(L"", file) == 0, "registered");
    const std::wstring key = L"Software\\Classes\\" + TypesKey();
    const wchar_t nowhere[] = L"Z:\\nowhere\\QuillonLib.dll";
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, nowhere, sizeof(nowhere));
    Expect(FAILED(Unregister(file)), "types that stay are told of");
    Expect(Regsvr32(L"", file) == 0, "registered anew");
    Expect(Regsvr32(L"/u", file) == 0, "unregistered");
    ExpectSame(before, ReadRegistry(), "nothing is left behind of the failure");
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count != 2) return 2;
    const std::wstring file = arguments[1];
    // from nothing, whatever earlier tests have left
    Expect(Regsvr32(L"", file) == 0 && Regsvr32(L"/u", file) == 0, "a round to begin with");
    const Registry before = ReadRegistry();
    Expect(!before.empty(), "there are classes of others");
    ForEverybody(file, before);
    ForOneUser(file, before);
    UnknownScopeIsRefused(file, before);
    FailureIsTold(file, before);
    return failed ? 1 : 0;
}
