// Calls to objects of which only the names of their members are known.
#pragma once

#include <initializer_list>

#include "automation/AutomationTypes.h"
#include "automation/Variant.h"

namespace QuillonLib::Automation {

class LateBound {
  public:
    // Error 13 for an object that cannot be called by name, 91 for null.
    explicit LateBound(const ComPtr<IUnknown>& object);

    bool Has(const wchar_t* member) const noexcept;
    // Calls a method or reads a property. A failure of the member is thrown as an Error with what
    // it told, or a ComError; error 438 where there is no such member.
    Variant Call(const wchar_t* member, std::initializer_list<Variant> arguments = {}) const;
    Variant Call(DISPID member, std::initializer_list<Variant> arguments = {}) const;

  private:
    bool Find(const wchar_t* member, DISPID& id) const noexcept;

    ComPtr<IDispatch> object_;
};

}  // namespace QuillonLib::Automation
