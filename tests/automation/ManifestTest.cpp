// ManifestTest MANIFEST FOLDER: what the manifest tells of the DLL in the folder holds without a
// look at the registry, and nothing of it where the manifest is not in force. Exit code 0 when that
// is so.
#include "automation/AutomationTypes.h"
// The next header defines its identifiers here.
#include <initguid.h>

#include "QuillonLib_h.h"

#include <cstdio>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "automation/ComPtr.h"

namespace {

using QuillonLib::Automation::ComPtr;

const wchar_t* const Names[] = {
    L"QuillonLib.Utils",
    L"QuillonLib.Databases",
    L"QuillonLib.Database",
    L"QuillonLib.TableDifferences",
    L"QuillonLib.EventSink",
    L"QuillonLib.ComparisonTemplates",
    L"QuillonLib.ComparisonTemplates.1",
    L"QuillonLib.KeyedList",
};

// The system's marshallers by type library.
constexpr CLSID DualMarshaller = {
    0x00020424, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr CLSID EventMarshaller = {
    0x00020420, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

bool failed = false;

void Expect(bool holds, const char* what) {
    if (holds) return;
    std::printf("Not so: %s\n", what);
    failed = true;
}

bool CanCreate(const wchar_t* name) {
    CLSID id;
    ComPtr<IDispatch> object;
    return SUCCEEDED(CLSIDFromProgID(name, &id)) &&
           SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                      object.PutVoid()));
}

struct Interface {
    IID id;
    CLSID marshaller;
};

// Of the type library in the DLL.
std::vector<Interface> InterfacesOf(const std::wstring& file) {
    std::vector<Interface> interfaces;
    ComPtr<ITypeLib> library;
    if (FAILED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.Put()))) return interfaces;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        library->GetTypeInfo(i, info.Put());
        info->GetTypeAttr(&attributes);
        const bool dual = (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
        if (attributes->typekind == TKIND_DISPATCH || attributes->typekind == TKIND_INTERFACE) {
            interfaces.push_back({attributes->guid, dual ? DualMarshaller : EventMarshaller});
        }
        info->ReleaseTypeAttr(attributes);
    }
    return interfaces;
}

// How many interfaces have the marshaller that they should have.
std::size_t Marshalled(const std::vector<Interface>& interfaces) {
    std::size_t count = 0;
    for (const Interface& one : interfaces) {
        CLSID marshaller;
        const bool found = SUCCEEDED(CoGetPSClsid(one.id, &marshaller));
        if (found && marshaller == one.marshaller) ++count;
    }
    return count;
}

int Created() {
    int count = 0;
    for (const wchar_t* name : Names)
        count += CanCreate(name) ? 1 : 0;
    return count;
}

// Adds a database from another thread, whose calls come through a marshaller.
HRESULT AddFromAnotherThread(IStream* stream) {
    HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (FAILED(result)) return result;
    {
        ComPtr<IDatabases> databases;
        result = CoGetInterfaceAndReleaseStream(stream, __uuidof(IDatabases), databases.PutVoid());
        VARIANT key;
        VariantInit(&key);
        key.vt = VT_BSTR;
        key.bstrVal = SysAllocString(L"of another thread");
        ComPtr<IDatabase> added;
        if (SUCCEEDED(result)) result = databases->Add(key, added.Put());
        LONG id = 0;
        if (SUCCEEDED(result)) result = added->get_ID(&id);
        if (SUCCEEDED(result) && id != 1) result = E_UNEXPECTED;
        VariantClear(&key);
    }
    CoUninitialize();
    return result;
}

// What arrives at this thread while the other one runs are its calls.
void AnswerCallsUntil(HANDLE ended) {
    while (MsgWaitForMultipleObjects(1, &ended, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
            DispatchMessageW(&message);
        }
    }
}

HRESULT CallFromAnotherThread() {
    ComPtr<IDatabases> databases;
    IStream* stream = nullptr;
    HRESULT result = CoCreateInstance(__uuidof(Databases), nullptr, CLSCTX_INPROC_SERVER,
                                      __uuidof(IDatabases), databases.PutVoid());
    if (FAILED(result)) return result;
    result = CoMarshalInterThreadInterfaceInStream(__uuidof(IDatabases), databases.Get(), &stream);
    if (FAILED(result)) return result;
    HANDLE ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HRESULT called = E_FAIL;
    std::thread other([&] {
        called = AddFromAnotherThread(stream);
        SetEvent(ended);
    });
    AnswerCallsUntil(ended);
    other.join();
    CloseHandle(ended);
    return called;
}

HANDLE Read(const wchar_t* manifest, const wchar_t* folder) {
    ACTCTXW description{};
    description.cbSize = sizeof(description);
    description.lpSource = manifest;
    description.lpAssemblyDirectory = folder;
    description.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
    return CreateActCtxW(&description);
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count != 3 || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const auto interfaces = InterfacesOf(std::wstring(arguments[2]) + L"\\QuillonLib.dll");
    Expect(interfaces.size() == 20, "19 interfaces of classes and one of events");
    Expect(Created() == 0, "no class without the manifest");
    Expect(Marshalled(interfaces) == 0, "no marshaller without the manifest");

    HANDLE context = Read(arguments[1], arguments[2]);
    ULONG_PTR cookie = 0;
    if (context == INVALID_HANDLE_VALUE || ActivateActCtx(context, &cookie) == FALSE) {
        std::fprintf(stderr, "The manifest is refused: %lu\n", GetLastError());
        return 2;
    }
    Expect(Created() == static_cast<int>(std::size(Names)), "every class with the manifest");
    Expect(Marshalled(interfaces) == interfaces.size(), "every marshaller with the manifest");
    const HRESULT called = CallFromAnotherThread();
    if (FAILED(called)) std::printf("Failure %08lx\n", static_cast<unsigned long>(called));
    Expect(SUCCEEDED(called), "a call from another thread");
    DeactivateActCtx(0, cookie);
    ReleaseActCtx(context);
    CoUninitialize();
    return failed ? 1 : 0;
}
