// The wrappers of the catalog: databases, tables, columns, indexes, dependencies.
#pragma once

#include "QuillonLib.h"
#include "QuillonLib_h.h"
#include "automation/Collection.h"

namespace QuillonLib::Automation {

class ComColumnObject final
    : public Wrapper<ComColumnObject, ::ColumnObject, IColumnObject, ColumnObject> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP get_Name(BSTR* value) override;
    STDMETHODIMP get_PrimaryKey(VARIANT_BOOL* value) override;
    STDMETHODIMP put_PrimaryKey(VARIANT_BOOL bPrimaryKey) override;
    STDMETHODIMP get_CannotCompare(VARIANT_BOOL* value) override;
    STDMETHODIMP put_CannotCompare(VARIANT_BOOL bCannotCompare) override;
    STDMETHODIMP get_DataType(BSTR* value) override;
    STDMETHODIMP get_Length(LONG* value) override;
    STDMETHODIMP get_Computed(VARIANT_BOOL* value) override;
    STDMETHODIMP get_NumericScale(LONG* value) override;
    STDMETHODIMP get_NumericPrecision(LONG* value) override;
    STDMETHODIMP get_AllowNulls(VARIANT_BOOL* value) override;
};

class ComColumnObjects final
    : public SearchableCollection<ComColumnObjects, ::ColumnObjects, IColumnObjects, ColumnObjects,
                                  ComColumnObject> {
  public:
    using SearchableCollection::SearchableCollection;
    STDMETHODIMP get_ColumnList(BSTR* value) override;
};

class ComIndexObject final
    : public Wrapper<ComIndexObject, ::IndexObject, IIndexObject, IndexObject> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP get_Name(BSTR* value) override;
    STDMETHODIMP get_PrimaryKey(VARIANT_BOOL* value) override;
};

class ComIndexObjects final
    : public SearchableCollection<ComIndexObjects, ::IndexObjects, IIndexObjects, IndexObjects,
                                  ComIndexObject> {
  public:
    using SearchableCollection::SearchableCollection;
};

class ComDependency final : public Wrapper<ComDependency, ::Dependency, IDependency, Dependency> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP get_Name(BSTR* value) override;
};

class ComDependencies final : public Collection<ComDependencies, ::Dependencies, IDependencies,
                                                Dependencies, ComDependency> {
  public:
    using Collection::Collection;
    STDMETHODIMP ItemExists(BSTR sName, VARIANT_BOOL* value) override;
    STDMETHODIMP get_AbsoluteItem(LONG lIndex, IDependency** value) override;
    STDMETHODIMP get_Item(BSTR sName, IDependency** value) override;
};

class ComTableObject final
    : public Wrapper<ComTableObject, ::TableObject, ITableObject, TableObject> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP get_Name(BSTR* value) override;
    STDMETHODIMP get_Owner(BSTR* value) override;
    STDMETHODIMP get_Description(BSTR* value) override;
    STDMETHODIMP get_IsView(VARIANT_BOOL* value) override;
    STDMETHODIMP get_Columns(IColumnObjects** value) override;
    STDMETHODIMP get_Indexes(IIndexObjects** value) override;
    STDMETHODIMP get_ParentDependencies(IDependencies** value) override;
    STDMETHODIMP get_ChildDependencies(IDependencies** value) override;
};

class ComTableObjects final : public KeyedCollection<ComTableObjects, ::TableObjects, ITableObjects,
                                                     TableObjects, ComTableObject> {
  public:
    using KeyedCollection::KeyedCollection;
    STDMETHODIMP ItemExists(BSTR sOwner, BSTR sName, VARIANT_BOOL* value) override;
};

class ComDatabase final
    : public Wrapper<ComDatabase, ::Database, IDatabase, Database, IPersistPropertyBag> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;

    STDMETHODIMP get_Server(BSTR* value) override;
    STDMETHODIMP put_Server(BSTR sServer) override;
    STDMETHODIMP get_Database(BSTR* value) override;
    STDMETHODIMP put_Database(BSTR sDatabase) override;
    STDMETHODIMP get_Username(BSTR* value) override;
    STDMETHODIMP put_Username(BSTR sUsername) override;
    STDMETHODIMP get_Password(BSTR* value) override;
    STDMETHODIMP put_Password(BSTR sPassword) override;
    STDMETHODIMP get_NTSecurity(VARIANT_BOOL* value) override;
    STDMETHODIMP put_NTSecurity(VARIANT_BOOL bNTSecurity) override;
    STDMETHODIMP get_Description(BSTR* value) override;
    STDMETHODIMP put_Description(BSTR sDescription) override;
    STDMETHODIMP get_LinkedServer(BSTR* value) override;
    STDMETHODIMP put_LinkedServer(BSTR sLinkedServer) override;
    STDMETHODIMP get_CheckDependencies(VARIANT_BOOL* value) override;
    STDMETHODIMP put_CheckDependencies(VARIANT_BOOL* bCheckDependencies) override;
    STDMETHODIMP get_ID(LONG* value) override;
    STDMETHODIMP get_LastError(BSTR* value) override;
    STDMETHODIMP get_Tables(ITableObjects** value) override;
    STDMETHODIMP Load(VARIANT_BOOL* value) override;
    STDMETHODIMP Refresh(VARIANT* value) override;
    STDMETHODIMP ReadProperties(IUnknown* bag) override;
    STDMETHODIMP WriteProperties(IUnknown* bag) override;

    STDMETHODIMP GetClassID(CLSID* id) override;
    STDMETHODIMP InitNew() override;
    STDMETHODIMP Load(IPropertyBag* bag, IErrorLog* log) override;
    STDMETHODIMP Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) override;
};

class ComDatabases final
    : public ChangeableCollection<ComDatabases, ::Databases, IDatabases, Databases, ComDatabase> {
  public:
    using ChangeableCollection::ChangeableCollection;
    STDMETHODIMP RemoveID(LONG lID) override;
    STDMETHODIMP ItemFromID(LONG lID, IDatabase** value) override;
    STDMETHODIMP get_Dirty(VARIANT_BOOL* value) override;
    STDMETHODIMP put_Dirty(VARIANT_BOOL bValue) override;
};

}  // namespace QuillonLib::Automation
