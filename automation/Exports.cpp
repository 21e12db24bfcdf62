// The functions by which the system reaches the DLL.
#include <windows.h>

#include <cwchar>

#include "automation/ClassFactory.h"
#include "automation/Failure.h"
#include "automation/Module.h"
#include "automation/Registration.h"
#include "automation/TypeLibrary.h"

using namespace QuillonLib::Automation;

extern "C" {

BOOL WINAPI DllMain(HINSTANCE handle, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        Module::SetHandle(handle);
        DisableThreadLibraryCalls(handle);
    }
    return TRUE;
}

HRESULT WINAPI DllGetClassObject(REFCLSID id, REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return Guarded(IID_IClassFactory, [&] {
        for (const Class& one : Classes()) {
            if (one.id == id) {
                const ComPtr<IClassFactory> factory(new ClassFactory(one));
                return Check(factory->QueryInterface(iid, object));
            }
        }
        throw ComError(CLASS_E_CLASSNOTAVAILABLE);
    });
}

HRESULT WINAPI DllCanUnloadNow() {
    if (Module::InUse()) return S_FALSE;
    TypeLibrary::Release();
    return S_OK;
}

HRESULT WINAPI DllRegisterServer() {
    return Guarded(IID_IUnknown, [] { Register(Scope::Machine); });
}

HRESULT WINAPI DllUnregisterServer() {
    return Guarded(IID_IUnknown, [] { Unregister(Scope::Machine); });
}

// regsvr32 /n /i:user: for the user alone, who needs no rights of an administrator; /n /i: for
// everybody.
HRESULT WINAPI DllInstall(BOOL install, LPCWSTR commandLine) {
    const bool everybody = commandLine == nullptr || *commandLine == L'\0';
    if (!everybody && _wcsicmp(commandLine, L"user") != 0) return E_INVALIDARG;
    const Scope scope = everybody ? Scope::Machine : Scope::User;
    return Guarded(IID_IUnknown, [&] { install != FALSE ? Register(scope) : Unregister(scope); });
}
}
