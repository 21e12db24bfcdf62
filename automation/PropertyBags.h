// The settings of a Database in property bags of other makers.
#pragma once

#include <memory>
#include <string_view>

#include "automation/AutomationTypes.h"
#include "automation/Variant.h"
#include "data/PropertyBag.h"

namespace QuillonLib::Automation {

// Named values that somebody else keeps.
class Settings {
  public:
    virtual ~Settings() = default;
    // Empty where there is no value of that name.
    virtual Variant Read(std::u16string_view name) = 0;
    virtual void Write(std::u16string_view name, const Variant& value) = 0;
};

// An IPropertyBag, or an object with ReadProperty and WriteProperty. Error 13 for any other, 91 for
// null. The result is not to outlive the bag.
std::unique_ptr<Settings> SettingsIn(IUnknown* bag);

// Between the library's bag and another: the keys that a Database has. Reading throws error 94 for
// Null, 13 for a value that is no text or flag, and what the bag itself fails with.
PropertyBag ReadBag(Settings& settings);
void WriteBag(const PropertyBag& bag, Settings& settings);

}  // namespace QuillonLib::Automation
