#include "automation/Registration.h"
#include "automation/AutomationTypes.h"

#include <string>

#include "automation/Classes.h"
#include "automation/Failure.h"
#include "automation/Module.h"
#include "automation/TypeLibrary.h"
// The next header defines its identifiers here.
#include <initguid.h>

#include "QuillonLib_h.h"

// Exported by the system, but not declared by every compiler's headers.
extern "C" HRESULT WINAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* file, OLECHAR* help);
extern "C" HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID id, WORD major, WORD minor, LCID locale,
                                                   SYSKIND system);

namespace QuillonLib::Automation {

namespace {

constexpr wchar_t LibraryName[] = L"QuillonLib.";
constexpr wchar_t ClassVersion[] = L".1";
constexpr WORD MajorVersion = 1;
constexpr WORD MinorVersion = 0;

void CheckSystem(LSTATUS status) {
    Check(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
}

std::wstring ToText(const GUID& id) {
    wchar_t text[64];
    StringFromGUID2(id, text, static_cast<int>(std::size(text)));
    return text;
}

// The part of the registry where classes stand, for everybody or for the user.
class ClassesKey {
  public:
    explicit ClassesKey(Scope scope) {
        CheckSystem(RegCreateKeyExW(
            scope == Scope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, L"Software\\Classes",
            0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr));
    }
    ClassesKey(const ClassesKey&) = delete;
    ClassesKey& operator=(const ClassesKey&) = delete;
    ~ClassesKey() { RegCloseKey(key_); }

    void Set(const std::wstring& path, const wchar_t* name, const std::wstring& text) const {
        HKEY key = nullptr;
        CheckSystem(
            RegCreateKeyExW(key_, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr));
        const LSTATUS status =
            RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
        CheckSystem(status);
    }
    bool Has(const std::wstring& path) const {
        HKEY key = nullptr;
        if (RegOpenKeyExW(key_, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
        RegCloseKey(key);
        return true;
    }
    void Remove(const std::wstring& path) const {
        const LSTATUS status = RegDeleteTreeW(key_, path.c_str());
        if (status == ERROR_FILE_NOT_FOUND) return;
        CheckSystem(status);
        RegDeleteKeyW(key_, path.c_str());
    }

    // A key that stands there only because something was below it.
    void RemoveIfEmpty(const wchar_t* path) const {
        HKEY key = nullptr;
        if (RegOpenKeyExW(key_, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
        DWORD keys = 0;
        DWORD values = 0;
        const LSTATUS status =
            RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values,
                             nullptr, nullptr, nullptr, nullptr);
        RegCloseKey(key);
        if (status == ERROR_SUCCESS && keys == 0 && values == 0) RegDeleteKeyW(key_, path);
    }

  private:
    HKEY key_ = nullptr;
};

void RegisterName(const ClassesKey& classes, const std::wstring& name, const Class& one) {
    classes.Set(name, nullptr, std::wstring(LibraryName) + one.name);
    classes.Set(name + L"\\CLSID", nullptr, ToText(one.id));
}

void RegisterClass(const ClassesKey& classes, const Class& one, const std::wstring& path) {
    const std::wstring name = std::wstring(LibraryName) + one.name;
    RegisterName(classes, name, one);
    classes.Set(name + L"\\CurVer", nullptr, name + ClassVersion);
    RegisterName(classes, name + ClassVersion, one);

    const std::wstring key = L"CLSID\\" + ToText(one.id);
    classes.Set(key, nullptr, name);
    classes.Set(key + L"\\InprocServer32", nullptr, path);
    classes.Set(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment");
    classes.Set(key + L"\\ProgID", nullptr, name + ClassVersion);
    classes.Set(key + L"\\VersionIndependentProgID", nullptr, name);
    classes.Set(key + L"\\TypeLib", nullptr, ToText(LIBID_QuillonLib));
    classes.Set(key + L"\\Version", nullptr, L"1.0");
    classes.Set(key + L"\\Programmable", nullptr, L"");
}

void UnregisterClass(const ClassesKey& classes, const Class& one) {
    const std::wstring name = std::wstring(LibraryName) + one.name;
    classes.Remove(name);
    classes.Remove(name + ClassVersion);
    classes.Remove(L"CLSID\\" + ToText(one.id));
}

void RegisterTypes(Scope scope, const std::wstring& path) {
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.Put()));
    auto* file = const_cast<LPOLESTR>(path.c_str());
    Check(scope == Scope::Machine ? RegisterTypeLib(library.Get(), file, nullptr)
                                  : RegisterTypeLibForUser(library.Get(), file, nullptr));
}

// The system has one failure for types that are not registered, which is none here, and for those
// that cannot be taken away.
void UnregisterTypes(Scope scope) {
    constexpr bool Wide = sizeof(void*) == 8;
    const auto remove = scope == Scope::Machine ? UnRegisterTypeLib : UnRegisterTypeLibForUser;
    const HRESULT result = remove(LIBID_QuillonLib, MajorVersion, MinorVersion, LOCALE_NEUTRAL,
                                  Wide ? SYS_WIN64 : SYS_WIN32);
    const std::wstring place =
        L"TypeLib\\" + ToText(LIBID_QuillonLib) + L"\\1.0\\0\\" + (Wide ? L"win64" : L"win32");
    if (ClassesKey(scope).Has(place)) Check(result);
}

}  // namespace

void Register(Scope scope) {
    const std::wstring path = Module::Path();
    RegisterTypes(scope, path);
    const ClassesKey classes(scope);
    for (const Class& one : Classes())
        RegisterClass(classes, one, path);
}

void Unregister(Scope scope) {
    const ClassesKey classes(scope);
    for (const Class& one : Classes())
        UnregisterClass(classes, one);
    if (scope == Scope::User) classes.RemoveIfEmpty(L"CLSID");  // a new user has none
    UnregisterTypes(scope);
}

}  // namespace QuillonLib::Automation
