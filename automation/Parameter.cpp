#include "automation/Parameter.h"

#include "automation/Arrays.h"
#include "automation/Failure.h"
#include "automation/Reference.h"

namespace QuillonLib::Automation {

namespace {

// The kind of a named type: an enumeration is a number, any other an interface.
void DescribeNamed(ITypeInfo* owner, HREFTYPE reference, ParameterType& type) {
    ComPtr<ITypeInfo> named;
    Check(owner->GetRefTypeInfo(reference, named.Put()));
    TYPEATTR* attributes = nullptr;
    Check(named->GetTypeAttr(&attributes));
    if (attributes->typekind == TKIND_ENUM) {
        type.type = VT_I4;
    } else {
        type.type = VT_DISPATCH;
        type.interfaceId = attributes->guid;
    }
    named->ReleaseTypeAttr(attributes);
}

void DescribeType(ITypeInfo* owner, const TYPEDESC& description, ParameterType& type) {
    if (description.vt == VT_PTR) {
        const TYPEDESC& target = *description.lptdesc;
        if (target.vt == VT_USERDEFINED) return DescribeNamed(owner, target.hreftype, type);
        type.byReference = true;
        return DescribeType(owner, target, type);
    }
    if (description.vt == VT_USERDEFINED) return DescribeNamed(owner, description.hreftype, type);
    if (description.vt == VT_SAFEARRAY) {
        type.type = static_cast<VARTYPE>(VT_ARRAY | description.lptdesc->vt);
        return;
    }
    type.type = description.vt;
    // Told apart from other interfaces in nothing that a caller could see.
    if (type.type == VT_UNKNOWN) type.interfaceId = IID_IUnknown;
}

// A reference of an object to another interface of it.
ComPtr<IUnknown> Interface(const ComPtr<IUnknown>& object, const GUID& id) {
    if (!object) return nullptr;
    ComPtr<IUnknown> result;
    if (FAILED(object->QueryInterface(id == IID_NULL ? IID_IDispatch : id, result.PutVoid()))) {
        throw ComError(DISP_E_TYPEMISMATCH);
    }
    return result;
}

// Languages without a Nothing of their own (PowerShell, .NET, Python) hand Empty or Null for one.
Variant HeldObject(const VARIANT& value, const GUID& id, VARTYPE type) {
    Variant result;
    result.InPlace()->vt = type;
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return result;
    if (value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN) throw ComError(DISP_E_TYPEMISMATCH);
    result.InPlace()->punkVal = Interface(ComPtr<IUnknown>(value.punkVal), id).Detach();
    return result;
}

}  // namespace

ParameterType ParameterType::Of(ITypeInfo* owner, const ELEMDESC& description) {
    ParameterType type;
    DescribeType(owner, description.tdesc, type);
    const USHORT flags = description.paramdesc.wParamFlags;
    type.isOptional = (flags & PARAMFLAG_FOPT) != 0;
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
        type.isOptional = true;
        type.absent = &description.paramdesc.pparamdescex->varDefaultValue;
    }
    return type;
}

Parameter::Parameter(const ParameterType& type, VARIANT* given, LCID locale)
    : type_(type), given_(given), locale_(locale) {
    if (given == nullptr || IsMissing(*given)) {
        given_ = nullptr;
        FillIn();
    } else if (type.byReference && given->vt == (VT_BYREF | type.type) &&
               type.interfaceId == IID_NULL) {
        passThrough_ = true;
    } else {
        Convert(*given);
    }
}

void Parameter::FillIn() {
    if (!type_.isOptional) throw ComError(DISP_E_PARAMNOTOPTIONAL);
    if (type_.absent != nullptr) {
        Convert(*type_.absent);
    } else if (type_.type == VT_VARIANT) {
        held_ = Variant::Missing();
    } else {
        held_.InPlace()->vt = type_.type;
    }
}

void Parameter::Convert(const VARIANT& given) {
    const Variant value(given);
    if (type_.type == VT_VARIANT) {
        held_ = value;
    } else if ((type_.type & VT_ARRAY) != 0) {
        held_ = ToVariant(ToTextArray(ArrayIn(value.Get())));
    } else if (type_.type == VT_DISPATCH || type_.type == VT_UNKNOWN) {
        // A variable that was never set can receive an object, but is none.
        if (type_.byReference && value.Type() == VT_EMPTY) {
            held_.InPlace()->vt = type_.type;
        } else {
            held_ = HeldObject(value.Get(), type_.interfaceId, type_.type);
        }
    } else {
        held_ = PlainValue(value.Get()).As(type_.type, locale_);
    }
}

VARIANT Parameter::Argument() {
    if (passThrough_) return *given_;
    if (!type_.byReference) return held_.Get();
    VARIANT reference;
    VariantInit(&reference);
    reference.vt = static_cast<VARTYPE>(VT_BYREF | type_.type);
    reference.byref = &held_.InPlace()->byref;  // where every kind of value lies
    before_ = held_.Get().byref;
    return reference;
}

HRESULT Parameter::HandBack(const Outputs& outputs) noexcept {
    if (passThrough_ || !type_.byReference || given_ == nullptr) return S_OK;
    if (!IsSet(outputs)) return S_OK;
    VARIANT& variable = Variable(*given_);
    if ((variable.vt & VT_BYREF) == 0) {
        // The value of an expression is nobody's variable.
        if (&variable != given_) Assign(variable, std::move(held_));
        return S_OK;
    }
    try {
        AssignBehind(variable, held_, locale_);
        return S_OK;
    } catch (const ComError& error) {
        return error.Number();
    } catch (...) {
        return E_FAIL;
    }
}

// A variable that held no object before may be set to Nothing.
bool Parameter::IsSet(const Outputs& outputs) const noexcept {
    const void* const& place = held_.Get().byref;
    return place != before_ || outputs.WasSet(&place);
}

}  // namespace QuillonLib::Automation
