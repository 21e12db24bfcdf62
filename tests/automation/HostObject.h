// What the script host offers to scripts under the name "Host".
#pragma once

#include "HostDispatch.h"

#include <memory>
#include <string>
#include <vector>

#include "OdbcScript.h"
#include "automation/ComPtr.h"

namespace scripthost {

using QuillonLib::Automation::ComPtr;

class EventConnection;

// Echo text; Pass, for a check that holds; Fail text, for one that does not; Connect object, prefix
// and Disconnect object, for events; OpenSql connection string,
// RunSql(batch), which gives the server's messages, CloseSql; StartSql(batch), which gives those of
// the first result, NextSql, which gives those of the next, Null behind the last one;
// CreateObject(name); Environment(name); LibraryInUse; HeapBytes; HandleCount.
class HostObject final : public HostDispatch {
  public:
    // `script`: where the handlers of events are found; set before any event is connected.
    void Script(ComPtr<IDispatch> script) { script_ = std::move(script); }
    bool Failed() const { return failed_; }
    int ChecksPassed() const { return passed_; }
    // Ends all connections and lets go of the script.
    void Close();

    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                               DISPID* ids) override;
    STDMETHODIMP Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;

  private:
    HRESULT Connect(const VARIANT& source, const VARIANT& prefix);
    HRESULT Disconnect(const VARIANT& source);

    bool failed_ = false;
    int passed_ = 0;
    ComPtr<IDispatch> script_;
    std::vector<ComPtr<EventConnection>> connections_;
    std::unique_ptr<SqlSession> session_;
};

// Whether the library says that it is in use; false when it is not loaded.
bool LibraryInUse();

// UTF-8 on standard output.
void Print(const std::wstring& text);

}  // namespace scripthost
