#include "automation/ComEventSink.h"

#include "automation/ListEnumerator.h"

namespace QuillonLib::Automation {

namespace {

struct PointCopies {
    using Element = ComPtr<IConnectionPoint>;
    using Given = IConnectionPoint*;
    static Given Give(Element point) { return point.Detach(); }
    static void Take(Given point) noexcept { point->Release(); }
};

struct ConnectionCopies {
    using Element = EventListeners::Listener;
    using Given = CONNECTDATA;
    static Given Give(Element listener) { return {listener.object.Detach(), listener.cookie}; }
    static void Take(const Given& connection) noexcept { connection.pUnk->Release(); }
};

}  // namespace

ComEventSink::ComEventSink(std::shared_ptr<EventSink> core) : Wrapper(std::move(core)) {
    core_->Status = [listeners = listeners_](const std::u16string& sMessage, std::int16_t iPercent,
                                             bool& bCancel) {
        listeners->RaiseStatus(sMessage, iPercent, bCancel);
    };
    core_->ProcessError = [listeners = listeners_](std::int32_t lErrNum,
                                                   const std::u16string& sError,
                                                   bool& bCancelProcess) {
        listeners->RaiseProcessError(lErrNum, sError, bCancelProcess);
    };
}

STDMETHODIMP ComEventSink::EnumConnectionPoints(IEnumConnectionPoints** points) {
    return Answer(points, [&] {
        const std::vector<ComPtr<IConnectionPoint>> all = {ComPtr<IConnectionPoint>(&point_)};
        return ComPtr<IEnumConnectionPoints>(
            new ListEnumerator<IEnumConnectionPoints, PointCopies>(all));
    });
}

STDMETHODIMP ComEventSink::FindConnectionPoint(REFIID iid, IConnectionPoint** point) {
    if (point == nullptr) return E_POINTER;
    *point = nullptr;
    if (iid != EventsId()) return CONNECT_E_NOCONNECTION;
    *point = ComPtr<IConnectionPoint>(&point_).Detach();
    return S_OK;
}

STDMETHODIMP ComEventSink::Point::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IConnectionPoint) return E_NOINTERFACE;
    *object = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
}

STDMETHODIMP ComEventSink::Point::GetConnectionInterface(IID* iid) {
    if (iid == nullptr) return E_POINTER;
    *iid = EventsId();
    return S_OK;
}

STDMETHODIMP ComEventSink::Point::GetConnectionPointContainer(
    IConnectionPointContainer** container) {
    if (container == nullptr) return E_POINTER;
    *container = ComPtr<IConnectionPointContainer>(&owner_).Detach();
    return S_OK;
}

STDMETHODIMP ComEventSink::Point::Advise(IUnknown* listener, DWORD* cookie) {
    if (listener == nullptr || cookie == nullptr) return E_POINTER;
    *cookie = 0;
    ComPtr<IDispatch> object;
    if (FAILED(listener->QueryInterface(EventsId(), object.PutVoid())) &&
        FAILED(listener->QueryInterface(IID_IDispatch, object.PutVoid()))) {
        return CONNECT_E_CANNOTCONNECT;
    }
    return Guarded(IID_IConnectionPoint, [&] { *cookie = owner_.listeners_->Add(object); });
}

STDMETHODIMP ComEventSink::Point::Unadvise(DWORD cookie) {
    const auto listeners = owner_.listeners_;  // a listener that goes may take the object with it
    return listeners->Remove(cookie) ? S_OK : CONNECT_E_NOCONNECTION;
}

STDMETHODIMP ComEventSink::Point::EnumConnections(IEnumConnections** connections) {
    return Guarded(IID_IConnectionPoint, [&] {
        Clear(connections);
        Give(connections,
             ComPtr<IEnumConnections>(
                 new ListEnumerator<IEnumConnections, ConnectionCopies>(owner_.listeners_->All())));
    });
}

}  // namespace QuillonLib::Automation
