#include "automation/Catalog.h"

namespace QuillonLib::Automation {

STDMETHODIMP ComColumnObject::get_Name(BSTR* value) {
    return Answer(value, [&] { return core_->Name(); });
}

STDMETHODIMP ComColumnObject::get_PrimaryKey(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->PrimaryKey(); });
}

STDMETHODIMP ComColumnObject::put_PrimaryKey(VARIANT_BOOL bPrimaryKey) {
    return Do([&] { core_->PrimaryKey(bPrimaryKey != VARIANT_FALSE); });
}

STDMETHODIMP ComColumnObject::get_CannotCompare(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->CannotCompare(); });
}

STDMETHODIMP ComColumnObject::put_CannotCompare(VARIANT_BOOL bCannotCompare) {
    return Do([&] { core_->CannotCompare(bCannotCompare != VARIANT_FALSE); });
}

STDMETHODIMP ComColumnObject::get_DataType(BSTR* value) {
    return Answer(value, [&] { return core_->DataType(); });
}

STDMETHODIMP ComColumnObject::get_Length(LONG* value) {
    return Answer(value, [&] { return core_->Length(); });
}

STDMETHODIMP ComColumnObject::get_Computed(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Computed(); });
}

STDMETHODIMP ComColumnObject::get_NumericScale(LONG* value) {
    return Answer(value, [&] { return core_->NumericScale(); });
}

STDMETHODIMP ComColumnObject::get_NumericPrecision(LONG* value) {
    return Answer(value, [&] { return core_->NumericPrecision(); });
}

STDMETHODIMP ComColumnObject::get_AllowNulls(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->AllowNulls(); });
}

STDMETHODIMP ComColumnObjects::get_ColumnList(BSTR* value) {
    return Answer(value, [&] { return core_->ColumnList(); });
}

STDMETHODIMP ComIndexObject::get_Name(BSTR* value) {
    return Answer(value, [&] { return core_->Name(); });
}

STDMETHODIMP ComIndexObject::get_PrimaryKey(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->PrimaryKey(); });
}

STDMETHODIMP ComDependency::get_Name(BSTR* value) {
    return Answer(value, [&] { return core_->Name(); });
}

STDMETHODIMP ComDependencies::ItemExists(BSTR sName, VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->ItemExists(ViewOf(sName)); });
}

STDMETHODIMP ComDependencies::get_AbsoluteItem(LONG lIndex, IDependency** value) {
    return Answer(value, [&] { return ComDependency::Of(core_->AbsoluteItem(lIndex)); });
}

STDMETHODIMP ComDependencies::get_Item(BSTR sName, IDependency** value) {
    return Answer(value, [&] { return ComDependency::Of(core_->Item(ViewOf(sName))); });
}

STDMETHODIMP ComTableObject::get_Name(BSTR* value) {
    return Answer(value, [&] { return core_->Name(); });
}

STDMETHODIMP ComTableObject::get_Owner(BSTR* value) {
    return Answer(value, [&] { return core_->Owner(); });
}

STDMETHODIMP ComTableObject::get_Description(BSTR* value) {
    return Answer(value, [&] { return core_->Description(); });
}

STDMETHODIMP ComTableObject::get_IsView(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->IsView(); });
}

STDMETHODIMP ComTableObject::get_Columns(IColumnObjects** value) {
    return Answer(value, [&] { return ComColumnObjects::Of(core_->Columns()); });
}

STDMETHODIMP ComTableObject::get_Indexes(IIndexObjects** value) {
    return Answer(value, [&] { return ComIndexObjects::Of(core_->Indexes()); });
}

STDMETHODIMP ComTableObject::get_ParentDependencies(IDependencies** value) {
    return Answer(value, [&] { return ComDependencies::Of(core_->ParentDependencies()); });
}

STDMETHODIMP ComTableObject::get_ChildDependencies(IDependencies** value) {
    return Answer(value, [&] { return ComDependencies::Of(core_->ChildDependencies()); });
}

STDMETHODIMP ComTableObjects::ItemExists(BSTR sOwner, BSTR sName, VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->ItemExists(ViewOf(sOwner), ViewOf(sName)); });
}

STDMETHODIMP ComDatabases::RemoveID(LONG lID) {
    return Do([&] { core_->RemoveID(lID); });
}

STDMETHODIMP ComDatabases::ItemFromID(LONG lID, IDatabase** value) {
    return Answer(value, [&] { return ComDatabase::Of(core_->ItemFromID(lID)); });
}

STDMETHODIMP ComDatabases::get_Dirty(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Dirty(); });
}

STDMETHODIMP ComDatabases::put_Dirty(VARIANT_BOOL bValue) {
    return Do([&] { core_->Dirty(bValue != VARIANT_FALSE); });
}

}  // namespace QuillonLib::Automation
