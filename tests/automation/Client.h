// What the tests of a C++ client share.
#pragma once

#include "automation/AutomationTypes.h"
// <windows.h> comes first.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "QuillonLib_h.h"
#include "automation/ComPtr.h"

namespace client {

using QuillonLib::Automation::ComPtr;

// A BSTR that frees itself.
class Bstr {
  public:
    Bstr(const wchar_t* text = nullptr) : text_(SysAllocString(text)) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(text_); }
    operator BSTR() const { return text_; }
    BSTR* Put() {
        SysFreeString(text_);
        text_ = nullptr;
        return &text_;
    }
    BSTR* InOut() { return &text_; }
    std::wstring Text() const { return {text_ == nullptr ? L"" : text_, SysStringLen(text_)}; }

  private:
    BSTR text_;
};

class Value : public VARIANT {
  public:
    Value() { VariantInit(this); }
    explicit Value(const wchar_t* text) : Value() {
        vt = VT_BSTR;
        bstrVal = SysAllocString(text);
    }
    explicit Value(int number) : Value() {
        vt = VT_I4;
        lVal = number;
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    ~Value() { VariantClear(this); }
    static VARIANT Missing() {
        VARIANT missing;
        VariantInit(&missing);
        missing.vt = VT_ERROR;
        missing.scode = DISP_E_PARAMNOTFOUND;
        return missing;
    }
};

// An array of strings.
class Strings {
  public:
    Strings(std::initializer_list<const wchar_t*> texts, LONG lowerBound = 0) {
        array_ = SafeArrayCreateVector(VT_BSTR, lowerBound, static_cast<ULONG>(texts.size()));
        for (const wchar_t* text : texts) {
            SafeArrayPutElement(array_, &lowerBound, Bstr(text));
            ++lowerBound;
        }
    }
    Strings(const Strings&) = delete;
    Strings& operator=(const Strings&) = delete;
    ~Strings() { SafeArrayDestroy(array_); }
    SAFEARRAY** Pointer() { return &array_; }

  private:
    SAFEARRAY* array_;
};

template <class Interface>
ComPtr<Interface> Create(const CLSID& id) {
    ComPtr<Interface> object;
    EXPECT_HRESULT_SUCCEEDED(
        CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), object.PutVoid()));
    return object;
}

struct ErrorText {
    std::wstring description;
    std::wstring source;
};

// The thread's error object, which is gone afterwards.
inline ErrorText LastErrorText() {
    ComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, error.Put()) != S_OK) return {};
    Bstr description;
    Bstr source;
    error->GetDescription(description.Put());
    error->GetSource(source.Put());
    return {description.Text(), source.Text()};
}

// Makes the thread's error object.
inline void SetErrorText(const wchar_t* description, const wchar_t* source) {
    ComPtr<ICreateErrorInfo> error;
    CreateErrorInfo(error.Put());
    error->SetDescription(const_cast<LPOLESTR>(description));
    error->SetSource(const_cast<LPOLESTR>(source));
    SetErrorInfo(0, error.As<IErrorInfo>().Get());
}

// Whether the DLL could be unloaded.
inline bool LibraryIsUnused() {
    HMODULE library = GetModuleHandleW(L"QuillonLib.dll");
    using CanUnload = HRESULT(WINAPI*)();
    const auto canUnload = reinterpret_cast<CanUnload>(
        reinterpret_cast<void*>(GetProcAddress(library, "DllCanUnloadNow")));
    return canUnload() == S_OK;
}

// Calls with COM, and leaves no object behind.
class ClientTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    }
    void TearDown() override {
        if (GetModuleHandleW(L"QuillonLib.dll") != nullptr) {
            EXPECT_TRUE(LibraryIsUnused());
        }
        CoUninitialize();
    }
};

}  // namespace client
