// Compares the tables that two databases share, through the interfaces of the type library.
//
//     compare SERVER DATABASE1 DATABASE2 USER PASSWORD
//
//     x86_64-w64-mingw32-g++ -municode -std=c++17 compare.cpp -lole32 -loleaut32 -luuid
//     cl /std:c++17 /EHsc compare.cpp ole32.lib oleaut32.lib
//
// QuillonLib_h.h and AutomationTypes.h come with the library.
#include <windows.h>
// <windows.h> comes first.
#include <oleauto.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "QuillonLib_h.h"

namespace {

// Owns a reference, as ATL's CComPtr does.
template <class T>
class Pointer {
  public:
    Pointer() = default;
    Pointer(const Pointer&) = delete;
    Pointer& operator=(const Pointer&) = delete;
    ~Pointer() {
        if (object_ != nullptr) object_->Release();
    }
    T* operator->() const { return object_; }
    T* Get() const { return object_; }
    T** Put() { return &object_; }

  private:
    T* object_ = nullptr;
};

class Text {
  public:
    explicit Text(const wchar_t* text = L"") : text_(SysAllocString(text)) {}
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(text_); }
    operator BSTR() const { return text_; }
    BSTR* Reference() { return &text_; }
    BSTR* Put() {
        SysFreeString(text_);
        text_ = nullptr;
        return &text_;
    }

  private:
    BSTR text_;
};

// Ends the program with the text of the error object.
void Check(HRESULT result) {
    if (SUCCEEDED(result)) return;
    Pointer<IErrorInfo> error;
    Text description;
    if (GetErrorInfo(0, error.Put()) == S_OK) error->GetDescription(description.Put());
    std::fprintf(stderr, "Error %08lx: %ls\n", static_cast<unsigned long>(result),
                 static_cast<BSTR>(description));
    std::exit(1);
}

VARIANT Number(LONG number) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

VARIANT Missing() {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_ERROR;
    value.scode = DISP_E_PARAMNOTFOUND;
    return value;
}

void AddDatabase(IDatabases* databases, wchar_t** arguments, const wchar_t* name,
                 Pointer<IDatabase>& database) {
    VARIANT_BOOL loaded = VARIANT_FALSE;
    Check(databases->Add(Missing(), database.Put()));
    Check(database->put_Server(Text(arguments[1])));
    Check(database->put_Database(Text(name)));
    Check(database->put_Username(Text(arguments[4])));
    Check(database->put_Password(Text(arguments[5])));
    Check(database->Load(&loaded));
}

// The entries of the tables that both databases have, as an array that the caller destroys.
SAFEARRAY* SharedTables(IDatabase* first, IDatabase* second) {
    Pointer<ITableObjects> ours;
    Pointer<ITableObjects> theirs;
    Check(first->get_Tables(ours.Put()));
    Check(second->get_Tables(theirs.Put()));
    LONG count = 0;
    Check(ours->get_Count(&count));
    std::vector<BSTR> entries;
    for (LONG i = 1; i <= count; ++i) {
        Pointer<ITableObject> table;
        Text owner;
        Text name;
        VARIANT_BOOL shared = VARIANT_FALSE;
        Check(ours->get_Item(Number(i), table.Put()));
        Check(table->get_Owner(owner.Put()));
        Check(table->get_Name(name.Put()));
        Check(theirs->ItemExists(owner, name, &shared));
        if (shared == VARIANT_FALSE) continue;
        entries.push_back(nullptr);
        Check(table->get_Description(&entries.back()));
    }
    SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(entries.size()));
    for (LONG i = 0; i < static_cast<LONG>(entries.size()); ++i) {
        Check(SafeArrayPutElement(array, &i, entries[static_cast<std::size_t>(i)]));
        SysFreeString(entries[static_cast<std::size_t>(i)]);
    }
    return array;
}

void ShowResults(ITableDifferences* results) {
    LONG count = 0;
    Check(results->get_Count(&count));
    for (LONG i = 1; i <= count; ++i) {
        Pointer<ITableDifference> result;
        Text name;
        Text error;
        LONG differing = 0;
        VARIANT_BOOL identical = VARIANT_FALSE;
        Check(results->get_Item(Number(i), result.Put()));
        Check(result->get_Name(name.Put()));
        Check(result->get_Error(error.Put()));
        Check(result->get_RecordsDiffering(&differing));
        Check(result->get_Identical(&identical));
        std::printf("%ls: %s, %ld rows differ %ls\n", static_cast<BSTR>(name),
                    identical != VARIANT_FALSE ? "identical" : "not identical",
                    static_cast<long>(differing), static_cast<BSTR>(error));
    }
}

void Compare(wchar_t** arguments) {
    Pointer<IDatabases> databases;
    Pointer<IUtils> utils;
    Check(CoCreateInstance(__uuidof(Databases), nullptr, CLSCTX_INPROC_SERVER, __uuidof(IDatabases),
                           reinterpret_cast<void**>(databases.Put())));
    Check(CoCreateInstance(__uuidof(Utils), nullptr, CLSCTX_INPROC_SERVER, __uuidof(IUtils),
                           reinterpret_cast<void**>(utils.Put())));
    Pointer<IDatabase> first;
    Pointer<IDatabase> second;
    AddDatabase(databases.Get(), arguments, arguments[2], first);
    AddDatabase(databases.Get(), arguments, arguments[3], second);

    SAFEARRAY* tables = SharedTables(first.Get(), second.Get());
    Pointer<ITableDifferences> results;
    Check(utils->CompareContents(first.Get(), second.Get(), second.Get(), &tables, nullptr, nullptr,
                                 results.Put()));
    SafeArrayDestroy(tables);
    ShowResults(results.Get());

    Text left;
    Text right;
    Check(utils->GetUpdateScripts(
        first.Get(), second.Get(), second.Get(), results.Get(), left.Reference(), right.Reference(),
        static_cast<enShowOptions>(cpoShowDifferent | cpoShowMissing | cpoShowAdditional), 0));
    std::printf("The script for %ls has %u characters.\n", arguments[3], SysStringLen(right));
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count != 6) {
        std::fprintf(stderr, "compare SERVER DATABASE1 DATABASE2 USER PASSWORD\n");
        return 2;
    }
    Check(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    Compare(arguments);
    CoUninitialize();
    return 0;
}
