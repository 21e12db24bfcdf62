#include "automation/Failure.h"

#include <new>
#include <string_view>

#include "automation/ComPtr.h"
#include "automation/Text.h"
#include "automation/Variant.h"
#include "core/Error.h"
#include "core/Text.h"

namespace QuillonLib::Automation {

namespace {

constexpr std::u16string_view DefaultSource = u"QuillonLib";
constexpr std::uint32_t RunTimeErrors = 0x800A0000;
constexpr std::uint32_t LastRunTimeError = 0xFFFF;
constexpr std::uint32_t Failed = 0x80000000;

// Automation's own functions for error objects take texts that end at a NUL.
LPOLESTR Characters(const std::u16string& text) {
    return reinterpret_cast<LPOLESTR>(const_cast<char16_t*>(text.c_str()));
}

void SetError(const IID& source, const std::u16string& description, const std::u16string& name) {
    ComPtr<ICreateErrorInfo> error;
    if (FAILED(CreateErrorInfo(error.Put()))) return;
    error->SetGUID(source);
    error->SetDescription(Characters(description));
    error->SetSource(Characters(name));
    if (const auto info = error.As<IErrorInfo>()) SetErrorInfo(0, info.Get());
}

HRESULT Report(const IID& source, const Error& error) {
    SetError(source, error.Description(),
             error.Source().empty() ? std::u16string(DefaultSource) : error.Source());
    return ToResult(error.Number());
}

}  // namespace

void ForgetFailure() noexcept {
    SetErrorInfo(0, nullptr);
}

void ThrowTold(HRESULT failure) {
    ComPtr<IErrorInfo> told;
    if (GetErrorInfo(0, told.Put()) != S_OK) throw ComError(failure);
    Variant description;
    Variant source;
    description.InPlace()->vt = VT_BSTR;
    source.InPlace()->vt = VT_BSTR;
    told->GetDescription(&description.InPlace()->bstrVal);
    told->GetSource(&source.InPlace()->bstrVal);
    throw Error(failure, TextOf(description.Get().bstrVal), TextOf(source.Get().bstrVal));
}

void ThrowTypeMismatch() {
    throw Error(ErrorNumber::TypeMismatch, u"Type mismatch");
}

HRESULT ToResult(std::int32_t errorNumber) noexcept {
    const auto number = static_cast<std::uint32_t>(errorNumber);
    return static_cast<HRESULT>(number | (number <= LastRunTimeError ? RunTimeErrors : Failed));
}

HRESULT ReportFailure(const IID& source) noexcept {
    ForgetFailure();
    try {
        throw;
    } catch (const Error& error) {
        try {
            return Report(source, error);
        } catch (...) {
            return ToResult(error.Number());
        }
    } catch (const ComError& error) {
        return error.Number();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::exception& error) {
        try {
            SetError(source, FromUtf8(error.what()), std::u16string(DefaultSource));
        } catch (...) {
        }
        return E_FAIL;
    } catch (...) {
        return E_FAIL;
    }
}

}  // namespace QuillonLib::Automation
