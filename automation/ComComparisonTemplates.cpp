#include "automation/ComComparisonTemplates.h"

#include <variant>

#include "automation/Arrays.h"
#include "automation/ComKeyedList.h"
#include "automation/Enumerations.h"

namespace QuillonLib::Automation {

namespace {

struct ItemsToVariant {
    Variant operator()(std::monostate) const { return {}; }
    Variant operator()(const TextArray& names) const { return ToVariant(names); }
    template <class List>
    Variant operator()(const std::shared_ptr<List>& list) const {
        return Variant::Object(ComKeyedList::Of(list).Get());
    }
};

}  // namespace

STDMETHODIMP ComComparisonTemplates::Load(BSTR sXMLFile, VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Load(ViewOf(sXMLFile)); });
}

STDMETHODIMP ComComparisonTemplates::LoadTemplate(BSTR sTemplate, VARIANT* value) {
    return Answer(value, [&] {
        core_->LoadTemplate(ViewOf(sTemplate));
        return Variant();
    });
}

STDMETHODIMP ComComparisonTemplates::NewTemplate(BSTR sTemplate, VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->NewTemplate(ViewOf(sTemplate)); });
}

STDMETHODIMP ComComparisonTemplates::RemoveTemplate(BSTR sTemplate, VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->RemoveTemplate(ViewOf(sTemplate)); });
}

STDMETHODIMP ComComparisonTemplates::get_Templates(IKeyedList** value) {
    return Answer(value, [&] { return ComKeyedList::Of(core_->Templates()); });
}

STDMETHODIMP ComComparisonTemplates::get_CurrentTemplate(BSTR* value) {
    return Answer(value, [&] { return core_->CurrentTemplate(); });
}

STDMETHODIMP ComComparisonTemplates::Flush() {
    return Do([&] { core_->Flush(); });
}

STDMETHODIMP ComComparisonTemplates::Persist(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Persist(); });
}

STDMETHODIMP ComComparisonTemplates::get_Dirty(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Dirty(); });
}

STDMETHODIMP ComComparisonTemplates::Add(::enItemTypes enItemType, BSTR sTableName,
                                         BSTR sElementName) {
    return Do(
        [&] { core_->Add(ToItemType(enItemType), ViewOf(sTableName), ViewOf(sElementName)); });
}

STDMETHODIMP ComComparisonTemplates::Remove(::enItemTypes enItemType, BSTR sTableName,
                                            BSTR sElementName) {
    return Do(
        [&] { core_->Remove(ToItemType(enItemType), ViewOf(sTableName), ViewOf(sElementName)); });
}

STDMETHODIMP ComComparisonTemplates::ItemExists(::enItemTypes enItemType, BSTR sTableName,
                                                BSTR sElementName, VARIANT_BOOL* value) {
    return Answer(value, [&] {
        return core_->ItemExists(ToItemType(enItemType), ViewOf(sTableName), ViewOf(sElementName));
    });
}

STDMETHODIMP ComComparisonTemplates::get_Items(::enItemTypes enItemType, VARIANT* value) {
    return Answer(
        value, [&] { return std::visit(ItemsToVariant{}, core_->Items(ToItemType(enItemType))); });
}

STDMETHODIMP ComComparisonTemplates::get_Database1(BSTR* value) {
    return Answer(value, [&] { return core_->Database1(); });
}

STDMETHODIMP ComComparisonTemplates::put_Database1(BSTR sDatabase1) {
    return Do([&] { core_->Database1(ViewOf(sDatabase1)); });
}

STDMETHODIMP ComComparisonTemplates::get_Database2(BSTR* value) {
    return Answer(value, [&] { return core_->Database2(); });
}

STDMETHODIMP ComComparisonTemplates::put_Database2(BSTR sDatabase2) {
    return Do([&] { core_->Database2(ViewOf(sDatabase2)); });
}

STDMETHODIMP ComComparisonTemplates::get_Database3(BSTR* value) {
    return Answer(value, [&] { return core_->Database3(); });
}

STDMETHODIMP ComComparisonTemplates::put_Database3(BSTR sDatabase3) {
    return Do([&] { core_->Database3(ViewOf(sDatabase3)); });
}

STDMETHODIMP ComComparisonTemplates::get_DatabasesObject(IDispatch** value) {
    return Answer(value,
                  [&] { return ComDatabases::Of(core_->DatabasesObject()).As<IDispatch>(); });
}

STDMETHODIMP ComComparisonTemplates::putref_DatabasesObject(IDispatch* obDatabasesObject) {
    return Do([&] { core_->DatabasesObject(ComDatabases::CoreOf(obDatabasesObject)); });
}

}  // namespace QuillonLib::Automation
