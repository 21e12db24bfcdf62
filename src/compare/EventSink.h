// The events of a running operation.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "core/Export.h"

namespace QuillonLib {

// Assign handlers and hand the sink to Utils. Handlers run on the caller's thread, inside the
// operation that raises the event; an event without a handler is not raised. The flag that a
// handler gets is the operation's own: it may be set (or cleared again) by any handler, and the
// operation stops at the next point where it looks at it.
class QUILLON_API EventSink {
  public:
    // iPercent: 0 to 100.
    std::function<void(const std::u16string& sMessage, std::int16_t iPercent, bool& bCancel)>
        Status;
    // A table could not be compared and the comparison goes on with the next one.
    std::function<void(std::int32_t lErrNum, const std::u16string& sError, bool& bCancelProcess)>
        ProcessError;

  private:
    friend class Events;
    // Copies run, which live on while a handler assigns another in its own place.
    void RaiseStatus(const std::u16string& sMessage, std::int16_t iPercent, bool& bCancel) const {
        if (const auto handler = Status) handler(sMessage, iPercent, bCancel);
    }
    void RaiseProcessError(std::int32_t lErrNum, const std::u16string& sError,
                           bool& bCancelProcess) const {
        if (const auto handler = ProcessError) handler(lErrNum, sError, bCancelProcess);
    }
};

}  // namespace QuillonLib
