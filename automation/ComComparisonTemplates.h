// The wrapper of the template store.
#pragma once

#include "automation/Catalog.h"

namespace QuillonLib::Automation {

class ComComparisonTemplates final : public Wrapper<ComComparisonTemplates, ::ComparisonTemplates,
                                                    IComparisonTemplates, ComparisonTemplates> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP Load(BSTR sXMLFile, VARIANT_BOOL* value) override;
    STDMETHODIMP LoadTemplate(BSTR sTemplate, VARIANT* value) override;
    STDMETHODIMP NewTemplate(BSTR sTemplate, VARIANT_BOOL* value) override;
    STDMETHODIMP RemoveTemplate(BSTR sTemplate, VARIANT_BOOL* value) override;
    STDMETHODIMP get_Templates(IKeyedList** value) override;
    STDMETHODIMP get_CurrentTemplate(BSTR* value) override;
    STDMETHODIMP Flush() override;
    STDMETHODIMP Persist(VARIANT_BOOL* value) override;
    STDMETHODIMP get_Dirty(VARIANT_BOOL* value) override;
    STDMETHODIMP Add(::enItemTypes enItemType, BSTR sTableName, BSTR sElementName) override;
    STDMETHODIMP Remove(::enItemTypes enItemType, BSTR sTableName, BSTR sElementName) override;
    STDMETHODIMP ItemExists(::enItemTypes enItemType, BSTR sTableName, BSTR sElementName,
                            VARIANT_BOOL* value) override;
    STDMETHODIMP get_Items(::enItemTypes enItemType, VARIANT* value) override;
    STDMETHODIMP get_Database1(BSTR* value) override;
    STDMETHODIMP put_Database1(BSTR sDatabase1) override;
    STDMETHODIMP get_Database2(BSTR* value) override;
    STDMETHODIMP put_Database2(BSTR sDatabase2) override;
    STDMETHODIMP get_Database3(BSTR* value) override;
    STDMETHODIMP put_Database3(BSTR sDatabase3) override;
    STDMETHODIMP get_DatabasesObject(IDispatch** value) override;
    STDMETHODIMP putref_DatabasesObject(IDispatch* obDatabasesObject) override;
};

}  // namespace QuillonLib::Automation
