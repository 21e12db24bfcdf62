// Calls the handlers of a script for the events of an object.
#pragma once

#include "HostDispatch.h"

#include <map>
#include <string>

#include "automation/ComPtr.h"

namespace scripthost {

using QuillonLib::Automation::ComPtr;

// The handler of an event is the script's procedure of the prefix and the event's name; an event
// without one is passed over.
class EventConnection final : public HostDispatch {
  public:
    // Finds the default source interface of the object and connects to it.
    static HRESULT Open(const ComPtr<IUnknown>& source, const std::wstring& prefix,
                        const ComPtr<IDispatch>& script, ComPtr<EventConnection>& connection);
    void Close();
    bool IsOf(IUnknown* source) const { return source_.Get() == source; }

    STDMETHODIMP Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override;

  private:
    bool AnswersTo(REFIID iid) const override { return iid == events_; }
    HRESULT Describe();

    ComPtr<IUnknown> source_;
    ComPtr<IConnectionPoint> point_;
    ComPtr<IDispatch> script_;
    std::wstring prefix_;
    IID events_ = IID_NULL;
    std::map<DISPID, std::wstring> names_;
    DWORD cookie_ = 0;
};

}  // namespace scripthost
