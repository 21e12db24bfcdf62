// The wrapper of EventSink, a source of events.
#pragma once

#include <memory>

#include "QuillonLib.h"
#include "QuillonLib_h.h"
#include "automation/EventListeners.h"
#include "automation/Wrapper.h"

namespace QuillonLib::Automation {

class ComEventSink final
    : public Wrapper<ComEventSink, ::EventSink, IEventSink, EventSink, IConnectionPointContainer> {
  public:
    explicit ComEventSink(std::shared_ptr<EventSink> core);

    static const IID& EventsId() { return __uuidof(IEventSinkEvents); }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  private:
    // A part of the object, with its lifetime.
    class Point final : public IConnectionPoint {
      public:
        explicit Point(ComEventSink& owner) : owner_(owner) {}
        STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
        STDMETHODIMP_(ULONG) AddRef() override { return owner_.AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return owner_.Release(); }
        STDMETHODIMP GetConnectionInterface(IID* iid) override;
        STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override;
        STDMETHODIMP Advise(IUnknown* listener, DWORD* cookie) override;
        STDMETHODIMP Unadvise(DWORD cookie) override;
        STDMETHODIMP EnumConnections(IEnumConnections** connections) override;

      private:
        ComEventSink& owner_;
    };

    // Shared with the library's object, which raises events as long as an operation holds it.
    const std::shared_ptr<EventListeners> listeners_ = std::make_shared<EventListeners>();
    Point point_{*this};
};

}  // namespace QuillonLib::Automation
