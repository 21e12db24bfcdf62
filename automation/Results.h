// The wrappers of a comparison's results.
#pragma once

#include "automation/Catalog.h"

namespace QuillonLib::Automation {

class ComTableDifference final
    : public Wrapper<ComTableDifference, ::TableDifference, ITableDifference, TableDifference> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP get_Columns(IColumnObjects** value) override;
    STDMETHODIMP get_Name(BSTR* value) override;
    STDMETHODIMP get_HasPrimaryKey(VARIANT_BOOL* value) override;
    STDMETHODIMP get_HasDodgyColumns(VARIANT_BOOL* value) override;
    STDMETHODIMP get_Identical(VARIANT_BOOL* value) override;
    STDMETHODIMP get_RecordsIn1(LONG* value) override;
    STDMETHODIMP get_RecordsIn2(LONG* value) override;
    STDMETHODIMP get_RecordsInUnion(LONG* value) override;
    STDMETHODIMP get_RecordsDiffering(LONG* value) override;
    STDMETHODIMP get_HasIdentity(VARIANT_BOOL* value) override;
    STDMETHODIMP get_Error(BSTR* value) override;
    STDMETHODIMP get_IsView(VARIANT_BOOL* value) override;
};

class ComTableDifferences final
    : public ChangeableCollection<ComTableDifferences, ::TableDifferences, ITableDifferences,
                                  TableDifferences, ComTableDifference> {
  public:
    using ChangeableCollection::ChangeableCollection;
};

}  // namespace QuillonLib::Automation
