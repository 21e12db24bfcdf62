// The DLL: what the system asks of it, and that it goes when nobody needs it.
#include <string>

#include "Client.h"

namespace client {

namespace {

std::wstring RegistryText(const std::wstring& path, const wchar_t* name = nullptr) {
    wchar_t text[1024];
    DWORD size = sizeof(text);
    if (RegGetValueW(HKEY_CLASSES_ROOT, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) !=
        ERROR_SUCCESS) {
        return L"(nothing)";
    }
    return text;
}

std::wstring ToText(const GUID& id) {
    wchar_t text[64];
    StringFromGUID2(id, text, 64);
    return text;
}

struct NamedClass {
    const wchar_t* name;
    const CLSID& id;
};

const NamedClass Creatable[] = {
    {L"Utils", __uuidof(Utils)},
    {L"Databases", __uuidof(Databases)},
    {L"Database", __uuidof(Database)},
    {L"TableDifferences", __uuidof(TableDifferences)},
    {L"ComparisonTemplates", __uuidof(ComparisonTemplates)},
    {L"EventSink", __uuidof(EventSink)},
    {L"KeyedList", __uuidof(KeyedList)},
};

// In a process that has not loaded the DLL otherwise.
class Library : public ::testing::Test {
  protected:
    void SetUp() override { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    void TearDown() override {
        CoFreeUnusedLibrariesEx(0, 0);
        CoUninitialize();
    }
};

TEST_F(Library, EveryClassIsRegistered) {
    for (const NamedClass& one : Creatable) {
        const std::wstring name = std::wstring(L"QuillonLib.") + one.name;
        const std::wstring id = ToText(one.id);
        EXPECT_EQ(RegistryText(name + L"\\CLSID"), id);
        EXPECT_EQ(RegistryText(name + L"\\CurVer"), name + L".1");
        EXPECT_EQ(RegistryText(name + L".1\\CLSID"), id);
        EXPECT_EQ(RegistryText(L"CLSID\\" + id + L"\\ProgID"), name + L".1");
        EXPECT_EQ(RegistryText(L"CLSID\\" + id + L"\\VersionIndependentProgID"), name);
        EXPECT_EQ(RegistryText(L"CLSID\\" + id + L"\\InprocServer32", L"ThreadingModel"),
                  L"Apartment");
        const std::wstring path = RegistryText(L"CLSID\\" + id + L"\\InprocServer32");
        EXPECT_NE(GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES);
        CLSID found;
        EXPECT_EQ(CLSIDFromProgID(name.c_str(), &found), S_OK);
        EXPECT_EQ(found, one.id);
        ComPtr<IDispatch> object;
        EXPECT_EQ(
            CoCreateInstance(found, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.PutVoid()),
            S_OK);
    }
}

TEST_F(Library, IsUnloadedWhenNobodyNeedsIt) {
    CoFreeUnusedLibrariesEx(0, 0);
    ASSERT_EQ(GetModuleHandleW(L"QuillonLib.dll"), nullptr);
    for (int round = 0; round < 3; ++round) {
        auto databases = Create<IDatabases>(__uuidof(Databases));
        LONG count = 99;
        EXPECT_EQ(databases->get_Count(&count), S_OK);
        ComPtr<ITypeInfo> info;
        EXPECT_EQ(databases->GetTypeInfo(0, 0, info.Put()), S_OK);
        info = nullptr;
        CoFreeUnusedLibrariesEx(0, 0);
        EXPECT_NE(GetModuleHandleW(L"QuillonLib.dll"), nullptr) << "in use";
        databases = nullptr;
        CoFreeUnusedLibrariesEx(0, 0);
        EXPECT_EQ(GetModuleHandleW(L"QuillonLib.dll"), nullptr) << "not in use";
    }
}

TEST_F(Library, FactoryMakesOneClassAndKeepsTheLibrary) {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(CoGetClassObject(__uuidof(Utils), CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                               factory.PutVoid()),
              S_OK);
    EXPECT_FALSE(LibraryIsUnused());
    ComPtr<IUnknown> object;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, object.PutVoid()),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IDatabase), object.PutVoid()),
              E_NOINTERFACE);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    ComPtr<IClassFactory> again = std::move(factory);
    EXPECT_EQ(again->LockServer(FALSE), S_OK);
    again = nullptr;
    EXPECT_TRUE(LibraryIsUnused());
}

TEST_F(Library, OnlyItsOwnClasses) {
    const auto keep = Create<IUtils>(__uuidof(Utils));
    using GetClass = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    const auto getClass = reinterpret_cast<GetClass>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"QuillonLib.dll"), "DllGetClassObject")));
    void* object = this;
    EXPECT_EQ(getClass(__uuidof(TableObject), IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(getClass(__uuidof(Utils), IID_IDispatch, &object), E_NOINTERFACE);
}

TEST_F(Library, HasAVersion) {
    const std::wstring path =
        RegistryText(L"CLSID\\" + ToText(__uuidof(Utils)) + L"\\InprocServer32");
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    ASSERT_GT(size, 0u);
    std::vector<BYTE> block(size);
    ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, size, block.data()));
    void* text = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\ProductVersion", &text,
                               &length));
    EXPECT_EQ(std::wstring(static_cast<const wchar_t*>(text)), QUILLON_VERSION);
}

}  // namespace

}  // namespace client
