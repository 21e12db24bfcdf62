// The listeners of one EventSink.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"

namespace QuillonLib::Automation {

// Every listener hears every event, in the order in which they came. The flag of an event is one
// for all of them. A listener that fails, or that is gone, does not end the operation.
class EventListeners {
  public:
    struct Listener {
        DWORD cookie;
        ComPtr<IDispatch> object;
    };

    DWORD Add(ComPtr<IDispatch> listener);
    // False where there is none of that cookie.
    bool Remove(DWORD cookie);
    const std::vector<Listener>& All() const { return listeners_; }

    void RaiseStatus(const std::u16string& sMessage, std::int16_t iPercent, bool& bCancel) const;
    void RaiseProcessError(std::int32_t lErrNum, const std::u16string& sError,
                           bool& bCancelProcess) const;

  private:
    std::vector<Listener> listeners_;
    DWORD lastCookie_ = 0;
};

}  // namespace QuillonLib::Automation
