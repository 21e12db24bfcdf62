// Runs VBScript files as one script: ScriptHost [--sandbox SQL-FILE] FILE... The last one is the
// test, those before it are what it uses; with the option there is a server to work on. Exit code 0
// when it came to its end, and the library holds no object then; 1 after a check that failed, where
// nothing was checked, and after an uncaught error, which is printed with file and line; 2 when the
// host itself failed. ScriptHost --register | --unregister DLL does that.
#include "automation/AutomationTypes.h"

#include <activscp.h>
#include <initguid.h>

#include <process.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "EventConnection.h"
#include "HostObject.h"
#include "TestGround.h"
#include "automation/ComPtr.h"

DEFINE_GUID(CLSID_VBScript, 0xb54f3741, 0x5b07, 0x11cf, 0xa4, 0xb0, 0x00, 0xaa, 0x00, 0x4a, 0x55,
            0xe8);

namespace scripthost {

namespace {

#ifdef _WIN64
using ScriptParser = IActiveScriptParse64;
using SourceContext = DWORDLONG;
#else
using ScriptParser = IActiveScriptParse32;
using SourceContext = DWORD;
#endif

// Gives the engine the host's object, and hears of errors.
class Site final : public IActiveScriptSite {
  public:
    Site(ComPtr<HostObject> host, const std::vector<std::wstring>& files)
        : host_(std::move(host)), files_(files) {}
    bool Failed() const { return failed_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IActiveScriptSite) return E_NOINTERFACE;
        *object = static_cast<IActiveScriptSite*>(this);
        return S_OK;
    }
    // Lives as long as main.
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetLCID(LCID* locale) override {
        *locale = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);
        return S_OK;
    }
    STDMETHODIMP GetItemInfo(LPCOLESTR, DWORD mask, IUnknown** item, ITypeInfo**) override {
        if ((mask & SCRIPTINFO_IUNKNOWN) == 0) return E_FAIL;
        *item = ComPtr<IUnknown>(host_.Get()).Detach();
        return S_OK;
    }
    STDMETHODIMP GetDocVersionString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP OnScriptTerminate(const VARIANT*, const EXCEPINFO*) override { return S_OK; }
    STDMETHODIMP OnStateChange(SCRIPTSTATE) override { return S_OK; }
    STDMETHODIMP OnScriptError(IActiveScriptError* error) override {
        failed_ = true;
        EXCEPINFO info{};
        DWORD context = 0;
        ULONG line = 0;
        LONG column = 0;
        error->GetExceptionInfo(&info);
        error->GetSourcePosition(&context, &line, &column);
        const std::wstring name = context < files_.size() ? files_[context] : L"?";
        Print(name + L":" + std::to_wstring(line + 1) + L": error " + Number(info) + L": " +
              Text(info.bstrDescription) + L" (" + Text(info.bstrSource) + L")");
        SysFreeString(info.bstrSource);
        SysFreeString(info.bstrDescription);
        SysFreeString(info.bstrHelpFile);
        return S_OK;
    }
    STDMETHODIMP OnEnterScript() override { return S_OK; }
    STDMETHODIMP OnLeaveScript() override { return S_OK; }

  private:
    static std::wstring Text(BSTR text) { return text == nullptr ? L"" : text; }
    static std::wstring Number(const EXCEPINFO& info) {
        const bool runTime = (static_cast<DWORD>(info.scode) & 0xFFFF0000) == 0x800A0000;
        return std::to_wstring(runTime ? info.scode & 0xFFFF : info.scode);
    }

    ComPtr<HostObject> host_;
    const std::vector<std::wstring>& files_;
    bool failed_ = false;
};

bool Ran(const wchar_t* what, HRESULT result) {
    if (SUCCEEDED(result)) return true;
    std::fprintf(stderr, "%ls failed: %08lx\n", what, static_cast<unsigned long>(result));
    return false;
}

// 0, 1 or 2, as the program returns.
int RunScripts(const std::vector<std::wstring>& files) {
    const ComPtr<HostObject> host(new HostObject);
    Site site(host, files);
    ComPtr<IActiveScript> engine;
    ComPtr<ScriptParser> parser;
    if (!Ran(L"The engine", CoCreateInstance(CLSID_VBScript, nullptr, CLSCTX_INPROC_SERVER,
                                             IID_IActiveScript, engine.PutVoid())) ||
        !Ran(L"The parser", engine->QueryInterface(__uuidof(ScriptParser), parser.PutVoid())) ||
        !Ran(L"The site", engine->SetScriptSite(&site)) || !Ran(L"InitNew", parser->InitNew()) ||
        !Ran(L"The item", engine->AddNamedItem(L"Host", SCRIPTITEM_ISVISIBLE)) ||
        !Ran(L"The start", engine->SetScriptState(SCRIPTSTATE_CONNECTED))) {
        return 2;
    }
    ComPtr<IDispatch> script;
    if (!Ran(L"The script", engine->GetScriptDispatch(nullptr, script.Put()))) return 2;
    host->Script(script);
    bool ended = true;
    for (std::size_t i = 0; i < files.size() && ended && !site.Failed(); ++i) {
        const std::wstring text = ReadFile(files[i]);
        ended = SUCCEEDED(parser->ParseScriptText(text.c_str(), nullptr, nullptr, nullptr,
                                                  static_cast<SourceContext>(i), 0, 0, nullptr,
                                                  nullptr));
    }
    host->Close();
    script = nullptr;
    parser = nullptr;
    engine->Close();
    if (ended && host->ChecksPassed() == 0) {
        Print(L"The script checked nothing");
        return 1;
    }
    return ended && !site.Failed() && !host->Failed() ? 0 : 1;
}

int Run(const std::vector<std::wstring>& files) {
    int result = RunScripts(files);
    CoFreeUnusedLibrariesEx(0, 0);
    if (result == 0 && LibraryInUse()) {
        Print(L"The script left objects of the library behind");
        result = 1;
    }
    return result;
}

// What regsvr32 does.
int CallLibrary(const wchar_t* path, const char* function) {
    HMODULE library = LoadLibraryW(path);
    if (library == nullptr) return 2;
    using Call = HRESULT(WINAPI*)();
    const auto call =
        reinterpret_cast<Call>(reinterpret_cast<void*>(GetProcAddress(library, function)));
    const bool done = call != nullptr && Ran(L"The registration", call());
    FreeLibrary(library);
    return done ? 0 : 2;
}

// "--run", a program, and what follows the server's address on its command line.
int RunProgram(const std::vector<std::wstring>& arguments) {
    std::vector<const wchar_t*> line = {arguments[1].c_str(), _wgetenv(L"QUILLON_TEST_SERVER")};
    for (std::size_t i = 2; i < arguments.size(); ++i)
        line.push_back(arguments[i].c_str());
    line.push_back(nullptr);
    return static_cast<int>(_wspawnv(_P_WAIT, arguments[1].c_str(), line.data()));
}

int Main(std::vector<std::wstring> arguments) {
    if (arguments.size() == 2 && arguments[0] == L"--register") {
        return CallLibrary(arguments[1].c_str(), "DllRegisterServer");
    }
    if (arguments.size() == 2 && arguments[0] == L"--unregister") {
        return CallLibrary(arguments[1].c_str(), "DllUnregisterServer");
    }
    std::unique_ptr<TestGround> ground;
    if (arguments.size() > 2 && arguments[0] == L"--sandbox") {
        ground = std::make_unique<TestGround>(arguments[1]);
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    if (arguments.size() > 1 && arguments[0] == L"--run") return RunProgram(arguments);
    return arguments.empty() ? 2 : Run(arguments);
}

}  // namespace

}  // namespace scripthost

extern "C" int wmain(int count, wchar_t** arguments) {
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return 2;
    int result = 2;
    try {
        result = scripthost::Main(std::vector<std::wstring>(arguments + 1, arguments + count));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    CoUninitialize();
    return result;
}
