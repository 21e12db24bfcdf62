#include "HostObject.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <optional>

#include "EventConnection.h"

namespace scripthost {

namespace {

enum Member : DISPID {
    EchoMember = 1,
    ConnectMember,
    DisconnectMember,
    EnvironmentMember,
    LibraryInUseMember,
    HeapBytesMember,
    HandleCountMember,
    FailMember,
    PassMember,
    OpenSqlMember,
    RunSqlMember,
    CloseSqlMember,
    CreateObjectMember,
    StartSqlMember,
    NextSqlMember,
};

struct MemberName {
    const wchar_t* name;
    Member id;
};

constexpr MemberName Members[] = {
    {L"Echo", EchoMember},
    {L"Connect", ConnectMember},
    {L"Disconnect", DisconnectMember},
    {L"Environment", EnvironmentMember},
    {L"LibraryInUse", LibraryInUseMember},
    {L"HeapBytes", HeapBytesMember},
    {L"HandleCount", HandleCountMember},
    {L"Fail", FailMember},
    {L"Pass", PassMember},
    {L"OpenSql", OpenSqlMember},
    {L"RunSql", RunSqlMember},
    {L"StartSql", StartSqlMember},
    {L"NextSql", NextSqlMember},
    {L"CloseSql", CloseSqlMember},
    {L"CreateObject", CreateObjectMember},
};

std::wstring TextOf(const VARIANT& value) {
    VARIANT text;
    VariantInit(&text);
    std::wstring result;
    if (SUCCEEDED(
            VariantChangeType(&text, const_cast<VARIANT*>(&value), VARIANT_ALPHABOOL, VT_BSTR))) {
        result.assign(text.bstrVal, SysStringLen(text.bstrVal));
    }
    VariantClear(&text);
    return result;
}

ComPtr<IUnknown> ObjectIn(const VARIANT& value) {
    const VARIANT* held = value.vt == (VT_BYREF | VT_VARIANT) ? value.pvarVal : &value;
    if (held->vt != VT_DISPATCH && held->vt != VT_UNKNOWN) return nullptr;
    return ComPtr<IUnknown>(held->punkVal).As<IUnknown>();
}

double LiveBytes(HANDLE heap) {
    double bytes = 0;
    HeapLock(heap);
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
    }
    HeapUnlock(heap);
    return bytes;
}

// What has been allocated and not been freed in all heaps of the process. More exact than what the
// process has from the system, which not every system tells.
double HeapBytes() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    double bytes = 0;
    for (DWORD i = 0; i < count && i < 64; ++i)
        bytes += LiveBytes(heaps[i]);
    return bytes;
}

// Counted one by one: not every system tells the number.
double HandleCount() {
    constexpr ULONG_PTR Highest = 0x4000;
    double count = 0;
    for (ULONG_PTR value = 4; value < Highest; value += 4) {
        DWORD flags = 0;
        if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE) ++count;
    }
    return count;
}

void SetNumber(VARIANT* result, double number) {
    if (result == nullptr) return;
    result->vt = VT_R8;
    result->dblVal = number;
}

void SetFlag(VARIANT* result, bool flag) {
    if (result == nullptr) return;
    result->vt = VT_BOOL;
    result->boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
}

void SetText(VARIANT* result, const std::wstring& text) {
    if (result == nullptr) return;
    result->vt = VT_BSTR;
    result->bstrVal = SysAllocStringLen(text.c_str(), static_cast<UINT>(text.size()));
}

void SetTextOrNull(VARIANT* result, const std::optional<std::wstring>& text) {
    if (text) return SetText(result, *text);
    if (result != nullptr) result->vt = VT_NULL;
}

std::wstring Environment(const std::wstring& name) {
    const wchar_t* value = _wgetenv(name.c_str());
    return value == nullptr ? L"" : value;
}

HRESULT CreateObject(const std::wstring& name, VARIANT* result) {
    CLSID id;
    HRESULT created = CLSIDFromProgID(name.c_str(), &id);
    ComPtr<IDispatch> object;
    if (SUCCEEDED(created)) {
        created =
            CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.PutVoid());
    }
    if (FAILED(created) || result == nullptr) return created;
    result->vt = VT_DISPATCH;
    result->pdispVal = object.Detach();
    return S_OK;
}

UINT ArgumentCount(DISPID member) {
    switch (member) {
        case ConnectMember:
            return 2;
        case EchoMember:
        case OpenSqlMember:
        case RunSqlMember:
        case StartSqlMember:
        case CreateObjectMember:
        case FailMember:
        case DisconnectMember:
        case EnvironmentMember:
            return 1;
        default:
            return 0;
    }
}

}  // namespace

void Print(const std::wstring& text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()),
                                         nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.c_str(), static_cast<int>(text.size()), bytes.data(), size,
                        nullptr, nullptr);
    std::printf("%s\n", bytes.c_str());
    std::fflush(stdout);
}

bool LibraryInUse() {
    HMODULE library = GetModuleHandleW(L"QuillonLib.dll");
    if (library == nullptr) return false;
    using CanUnload = HRESULT(WINAPI*)();
    const auto canUnload = reinterpret_cast<CanUnload>(
        reinterpret_cast<void*>(GetProcAddress(library, "DllCanUnloadNow")));
    return canUnload() != S_OK;
}

void HostObject::Close() {
    for (const auto& connection : connections_)
        connection->Close();
    connections_.clear();
    session_ = nullptr;
    script_ = nullptr;
}

HRESULT HostObject::Connect(const VARIANT& source, const VARIANT& prefix) {
    ComPtr<EventConnection> connection;
    const HRESULT result =
        EventConnection::Open(ObjectIn(source), TextOf(prefix), script_, connection);
    if (SUCCEEDED(result)) connections_.push_back(connection);
    return result;
}

HRESULT HostObject::Disconnect(const VARIANT& source) {
    const auto object = ObjectIn(source);
    const auto first = std::stable_partition(
        connections_.begin(), connections_.end(),
        [&](const auto& connection) { return !connection->IsOf(object.Get()); });
    if (first == connections_.end()) return CONNECT_E_NOCONNECTION;
    for (auto closed = first; closed != connections_.end(); ++closed)
        (*closed)->Close();
    connections_.erase(first, connections_.end());
    return S_OK;
}

STDMETHODIMP HostObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) {
    const auto* found =
        std::find_if(std::begin(Members), std::end(Members),
                     [&](const MemberName& one) { return _wcsicmp(one.name, names[0]) == 0; });
    ids[0] = found == std::end(Members) ? DISPID_UNKNOWN : static_cast<DISPID>(found->id);
    return found == std::end(Members) ? DISP_E_UNKNOWNNAME : S_OK;
}

STDMETHODIMP HostObject::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS* arguments,
                                VARIANT* result, EXCEPINFO*, UINT*) {
    if (arguments->cArgs != ArgumentCount(member)) return DISP_E_BADPARAMCOUNT;
    const VARIANT* given = arguments->rgvarg;  // the last one first
    switch (member) {
        case EchoMember:
            Print(TextOf(given[0]));
            return S_OK;
        case ConnectMember:
            return Connect(given[1], given[0]);
        case DisconnectMember:
            return Disconnect(given[0]);
        case EnvironmentMember:
            SetText(result, Environment(TextOf(given[0])));
            return S_OK;
        case LibraryInUseMember:
            SetFlag(result, LibraryInUse());
            return S_OK;
        case HeapBytesMember:
            SetNumber(result, HeapBytes());
            return S_OK;
        case HandleCountMember:
            SetNumber(result, HandleCount());
            return S_OK;
        case FailMember:
            failed_ = true;
            Print(TextOf(given[0]));
            return S_OK;
        case PassMember:
            ++passed_;
            return S_OK;
        case RunSqlMember:
            if (session_ == nullptr) return E_UNEXPECTED;
            SetText(result, session_->Run(TextOf(given[0])));
            return S_OK;
        case StartSqlMember:
            if (session_ == nullptr) return E_UNEXPECTED;
            SetText(result, session_->Start(TextOf(given[0])));
            return S_OK;
        case NextSqlMember:
            if (session_ == nullptr) return E_UNEXPECTED;
            SetTextOrNull(result, session_->Next());
            return S_OK;
        case CreateObjectMember:
            return CreateObject(TextOf(given[0]), result);
        case OpenSqlMember:
            session_ = std::make_unique<SqlSession>(TextOf(given[0]));
            return S_OK;
        case CloseSqlMember:
            session_ = nullptr;
            return S_OK;
        default:
            return DISP_E_MEMBERNOTFOUND;
    }
}

}  // namespace scripthost
