#include "automation/Catalog.h"
#include "automation/PropertyBags.h"

namespace QuillonLib::Automation {

// An interface that is the base of another one that the object has.
STDMETHODIMP ComDatabase::QueryInterface(REFIID iid, void** object) {
    return Wrapper::QueryInterface(iid == IID_IPersist ? IID_IPersistPropertyBag : iid, object);
}

STDMETHODIMP ComDatabase::get_Server(BSTR* value) {
    return Answer(value, [&] { return core_->Server(); });
}

STDMETHODIMP ComDatabase::put_Server(BSTR sServer) {
    return Do([&] { core_->Server(TextOf(sServer)); });
}

STDMETHODIMP ComDatabase::get_Database(BSTR* value) {
    return Answer(value, [&] { return core_->DatabaseName(); });
}

STDMETHODIMP ComDatabase::put_Database(BSTR sDatabase) {
    return Do([&] { core_->DatabaseName(TextOf(sDatabase)); });
}

STDMETHODIMP ComDatabase::get_Username(BSTR* value) {
    return Answer(value, [&] { return core_->Username(); });
}

STDMETHODIMP ComDatabase::put_Username(BSTR sUsername) {
    return Do([&] { core_->Username(TextOf(sUsername)); });
}

STDMETHODIMP ComDatabase::get_Password(BSTR* value) {
    return Answer(value, [&] { return core_->Password(); });
}

STDMETHODIMP ComDatabase::put_Password(BSTR sPassword) {
    return Do([&] { core_->Password(TextOf(sPassword)); });
}

STDMETHODIMP ComDatabase::get_NTSecurity(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->NTSecurity(); });
}

STDMETHODIMP ComDatabase::put_NTSecurity(VARIANT_BOOL bNTSecurity) {
    return Do([&] { core_->NTSecurity(bNTSecurity != VARIANT_FALSE); });
}

STDMETHODIMP ComDatabase::get_Description(BSTR* value) {
    return Answer(value, [&] { return core_->Description(); });
}

STDMETHODIMP ComDatabase::put_Description(BSTR sDescription) {
    return Do([&] { core_->Description(TextOf(sDescription)); });
}

STDMETHODIMP ComDatabase::get_LinkedServer(BSTR* value) {
    return Answer(value, [&] { return core_->LinkedServer(); });
}

STDMETHODIMP ComDatabase::put_LinkedServer(BSTR sLinkedServer) {
    return Do([&] { core_->LinkedServer(TextOf(sLinkedServer)); });
}

STDMETHODIMP ComDatabase::get_CheckDependencies(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->CheckDependencies(); });
}

STDMETHODIMP ComDatabase::put_CheckDependencies(VARIANT_BOOL* bCheckDependencies) {
    return Do([&] { core_->CheckDependencies(Target(bCheckDependencies) != VARIANT_FALSE); });
}

STDMETHODIMP ComDatabase::get_ID(LONG* value) {
    return Answer(value, [&] { return core_->ID(); });
}

STDMETHODIMP ComDatabase::get_LastError(BSTR* value) {
    return Answer(value, [&] { return core_->LastError(); });
}

STDMETHODIMP ComDatabase::get_Tables(ITableObjects** value) {
    return Answer(value, [&] { return ComTableObjects::Of(core_->Tables()); });
}

STDMETHODIMP ComDatabase::Load(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Load(); });
}

STDMETHODIMP ComDatabase::Refresh(VARIANT* value) {
    return Answer(value, [&] {
        core_->Refresh();
        return Variant();
    });
}

STDMETHODIMP ComDatabase::ReadProperties(IUnknown* bag) {
    return Do([&] { core_->ReadProperties(ReadBag(*SettingsIn(bag))); });
}

STDMETHODIMP ComDatabase::WriteProperties(IUnknown* bag) {
    return Do([&] {
        PropertyBag properties;
        core_->WriteProperties(properties);
        WriteBag(properties, *SettingsIn(bag));
    });
}

STDMETHODIMP ComDatabase::GetClassID(CLSID* id) {
    return Answer(id, [&] { return ClassId(); });
}

// A new object has its defaults already.
STDMETHODIMP ComDatabase::InitNew() {
    return S_OK;
}

STDMETHODIMP ComDatabase::Load(IPropertyBag* bag, IErrorLog*) {
    return ReadProperties(bag);
}

STDMETHODIMP ComDatabase::Save(IPropertyBag* bag, BOOL, BOOL) {
    return WriteProperties(bag);
}

}  // namespace QuillonLib::Automation
