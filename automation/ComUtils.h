// The wrapper of the entry class.
#pragma once

#include "automation/ComEventSink.h"
#include "automation/Results.h"

namespace QuillonLib::Automation {

class ComUtils final : public Wrapper<ComUtils, ::Utils, IUtils, Utils> {
  public:
    using Wrapper::Wrapper;
    STDMETHODIMP get_LastError(BSTR* value) override;
    STDMETHODIMP putref_EventSink(IEventSink* obEventSink) override;
    STDMETHODIMP get_SuppressCompareProcessErrors(VARIANT_BOOL* value) override;
    STDMETHODIMP put_SuppressCompareProcessErrors(VARIANT_BOOL bValue) override;
    STDMETHODIMP CompareContents(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                 SAFEARRAY** sTables, IDispatch* obIndexCollection,
                                 IDispatch* obColumnCollection, ITableDifferences** value) override;
    STDMETHODIMP CompareContentsEx(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                   SAFEARRAY** sTables, IDispatch* obIndexes, IDispatch* obColumns,
                                   ITableDifferences** value) override;
    STDMETHODIMP GetRecordsets(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                               ITableDifference* obTableDifference, IRecordset** rsEqual,
                               IRecordset** rsDifferent, IRecordset** rsRight, IRecordset** rsLeft,
                               BSTR* sRight, BSTR* sLeft, ::enShowOptions enOptions,
                               LONG lRecords) override;
    STDMETHODIMP GetUpdateScripts(IDatabase* obDB1, IDatabase* obDB2, IDatabase* obDB3,
                                  ITableDifferences* obTableDifferences, BSTR* sLeft, BSTR* sRight,
                                  ::enShowOptions enOptions, LONG lRecords) override;
    STDMETHODIMP get_AvailableServers(VARIANT* value) override;
    STDMETHODIMP get_AvailableDatabases(BSTR sServer, BSTR* sUser, BSTR* sPassword,
                                        VARIANT* value) override;
    STDMETHODIMP GetSQLStatementsFromScript(BSTR sScript, VARIANT* value) override;
    STDMETHODIMP EncryptText(BSTR sText, BSTR sPassword, VARIANT* value) override;
    STDMETHODIMP DecryptText(VARIANT vBytes, BSTR sPassword, BSTR* value) override;

  private:
    ComPtr<IEventSink> eventSink_;  // keeps its listeners' source alive, as a caller expects
};

}  // namespace QuillonLib::Automation
