// ManifestTest MANIFEST FOLDER: creates every class that the manifest tells of, from the DLL in the
// folder, without a look at the registry; and none where the manifest is not in force. Exit code 0
// when that is so.
#include "automation/AutomationTypes.h"

#include <cstdio>
#include <iterator>

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

bool CanCreate(const wchar_t* name) {
    CLSID id;
    ComPtr<IDispatch> object;
    return SUCCEEDED(CLSIDFromProgID(name, &id)) &&
           SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                      object.PutVoid()));
}

int Count(bool (*test)(const wchar_t*)) {
    int count = 0;
    for (const wchar_t* name : Names)
        count += test(name) ? 1 : 0;
    return count;
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count != 3 || FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    const int registered = Count(CanCreate);
    ACTCTXW description{};
    description.cbSize = sizeof(description);
    description.lpSource = arguments[1];
    description.lpAssemblyDirectory = arguments[2];
    description.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
    HANDLE context = CreateActCtxW(&description);
    ULONG_PTR cookie = 0;
    if (context == INVALID_HANDLE_VALUE || ActivateActCtx(context, &cookie) == FALSE) {
        std::fprintf(stderr, "The manifest is refused: %lu\n", GetLastError());
        return 2;
    }
    const int told = Count(CanCreate);
    DeactivateActCtx(0, cookie);
    ReleaseActCtx(context);
    CoUninitialize();
    std::printf("%d without the manifest, %d with it\n", registered, told);
    return registered == 0 && told == static_cast<int>(std::size(Names)) ? 0 : 1;
}
