// What the operations of the library raise their events through. Not installed.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "compare/EventSink.h"

namespace QuillonLib {

// Does nothing where no sink is set.
class Events {
  public:
    Events() = default;
    explicit Events(std::shared_ptr<EventSink> sink) : sink_(std::move(sink)) {}

    void RaiseStatus(const std::u16string& sMessage, std::int16_t iPercent, bool& bCancel) const {
        if (sink_ != nullptr) sink_->RaiseStatus(sMessage, iPercent, bCancel);
    }
    void RaiseProcessError(std::int32_t lErrNum, const std::u16string& sError,
                           bool& bCancelProcess) const {
        if (sink_ != nullptr) sink_->RaiseProcessError(lErrNum, sError, bCancelProcess);
    }

  private:
    std::shared_ptr<EventSink> sink_;
};

// A percentage as events carry it: the nearest whole number, halves to even.
std::int16_t RoundPercent(double percent);

}  // namespace QuillonLib
