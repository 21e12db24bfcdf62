// What the operations of the library raise their events through. Not installed.
#pragma once

#include <memory>
#include <string>

#include "compare/EventSink.h"

namespace QuillonLib {

// Does nothing where no sink is set.
class Events {
  public:
    Events() = default;
    // Raises through the sink that `sink` leads to at that moment: a handler may set another one.
    // `sink` must outlive the object.
    explicit Events(const std::shared_ptr<EventSink>& sink) : sink_(&sink) {}
    explicit Events(std::shared_ptr<EventSink>&&) = delete;

    void RaiseStatus(const std::u16string& sMessage, std::int16_t iPercent, bool& bCancel) const {
        if (const auto sink = Sink()) sink->RaiseStatus(sMessage, iPercent, bCancel);
    }
    void RaiseProcessError(std::int32_t lErrNum, const std::u16string& sError,
                           bool& bCancelProcess) const {
        if (const auto sink = Sink()) sink->RaiseProcessError(lErrNum, sError, bCancelProcess);
    }

  private:
    // A copy, which keeps the sink alive while its own handler replaces it.
    std::shared_ptr<EventSink> Sink() const { return sink_ != nullptr ? *sink_ : nullptr; }

    const std::shared_ptr<EventSink>* sink_ = nullptr;
};

// A percentage as events carry it: the nearest whole number, halves to even.
std::int16_t RoundPercent(double percent);

}  // namespace QuillonLib
