// EventSink as a source of events.
#include <olectl.h>

#include "Calls.h"

namespace client {

namespace {

// Counts the events of an operation.
class Listener final : public ForeignObject {
  public:
    explicit Listener(const IID& knows = __uuidof(IEventSinkEvents)) : ForeignObject(knows) {}
    int Events() const { return events_; }
    VARTYPE FlagType() const { return flagType_; }

    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                        UINT*) override {
        ++events_;
        flagType_ = arguments->rgvarg[0].vt;
        if (onEvent) onEvent();
        return DISP_E_EXCEPTION;  // a handler that fails ends nothing
    }

    std::function<void()> onEvent;

  private:
    int events_ = 0;
    VARTYPE flagType_ = VT_EMPTY;
};

class Events : public ClientTest {
  protected:
    void SetUp() override {
        ClientTest::SetUp();
        sink_ = Create<IEventSink>(__uuidof(EventSink));
        const auto container = sink_.As<IConnectionPointContainer>();
        ASSERT_TRUE(container);
        ASSERT_EQ(container->FindConnectionPoint(__uuidof(IEventSinkEvents), point_.Put()), S_OK);
    }
    void TearDown() override {
        point_ = nullptr;
        sink_ = nullptr;
        ClientTest::TearDown();
    }

    // The scripts of an empty comparison: an operation with events that needs no server.
    void RaiseEvents() {
        const auto utils = Create<IUtils>(__uuidof(Utils));
        ASSERT_EQ(utils->putref_EventSink(sink_.Get()), S_OK);
        const auto database = Create<IDatabase>(__uuidof(Database));
        const auto results = Create<ITableDifferences>(__uuidof(TableDifferences));
        Bstr left;
        Bstr right;
        ASSERT_EQ(
            utils->GetUpdateScripts(database.Get(), database.Get(), database.Get(), results.Get(),
                                    left.InOut(), right.InOut(), static_cast<enShowOptions>(0), 0),
            S_OK);
    }

    // The connection's cookie.
    DWORD Connect(Listener& listener) {
        DWORD cookie = 0;
        EXPECT_EQ(point_->Advise(&listener, &cookie), S_OK);
        return cookie;
    }

    ULONG Connections() {
        ComPtr<IEnumConnections> connections;
        EXPECT_EQ(point_->EnumConnections(connections.Put()), S_OK);
        ULONG count = 0;
        for (CONNECTDATA one; connections->Next(1, &one, nullptr) == S_OK; ++count) {
            if (one.pUnk != nullptr) one.pUnk->Release();
        }
        return count;
    }

    ComPtr<IEventSink> sink_;
    ComPtr<IConnectionPoint> point_;
};

TEST_F(Events, ListenersComeAndGo) {
    Listener first;
    Listener second(IID_IDispatch);
    const DWORD one = Connect(first);
    const DWORD two = Connect(second);
    EXPECT_NE(one, two);

    ComPtr<IEnumConnections> connections;
    ASSERT_EQ(point_->EnumConnections(connections.Put()), S_OK);
    CONNECTDATA data[3];
    ULONG fetched = 0;
    EXPECT_EQ(connections->Next(3, data, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(data[1].dwCookie, two);
    data[0].pUnk->Release();
    data[1].pUnk->Release();
    connections = nullptr;

    EXPECT_EQ(point_->Unadvise(one), S_OK);
    EXPECT_EQ(point_->Unadvise(one), static_cast<HRESULT>(CONNECT_E_NOCONNECTION));
    EXPECT_EQ(point_->Unadvise(two), S_OK);
    EXPECT_EQ(first.References(), 0u);
    EXPECT_EQ(second.References(), 0u);
}

TEST_F(Events, ContainerTellsItsPoints) {
    const auto container = sink_.As<IConnectionPointContainer>();
    ComPtr<IConnectionPoint> other;
    EXPECT_EQ(container->FindConnectionPoint(IID_IDispatch, other.Put()),
              static_cast<HRESULT>(CONNECT_E_NOCONNECTION));
    ComPtr<IEnumConnectionPoints> points;
    ASSERT_EQ(container->EnumConnectionPoints(points.Put()), S_OK);
    ASSERT_EQ(points->Next(1, other.Put(), nullptr), S_OK);
    EXPECT_EQ(other.Get(), point_.Get());
    EXPECT_EQ(points->Skip(1), S_FALSE);
    IID events;
    ASSERT_EQ(point_->GetConnectionInterface(&events), S_OK);
    EXPECT_EQ(events, __uuidof(IEventSinkEvents));
    ComPtr<IConnectionPointContainer> owner;
    ASSERT_EQ(point_->GetConnectionPointContainer(owner.Put()), S_OK);
    EXPECT_EQ(owner.Get(), container.Get());
}

TEST_F(Events, ListenerNeedsTheEvents) {
    Listener stranger(IID_IUnknown);
    DWORD cookie = 99;
    EXPECT_EQ(point_->Advise(&stranger, &cookie), static_cast<HRESULT>(CONNECT_E_CANNOTCONNECT));
    EXPECT_EQ(cookie, 0u);
    EXPECT_EQ(point_->Advise(nullptr, &cookie), E_POINTER);
}

TEST_F(Events, FailedHandlerEndsNothingAndFlagIsAReference) {
    Listener listener;
    DWORD cookie = 0;
    ASSERT_EQ(point_->Advise(&listener, &cookie), S_OK);
    RaiseEvents();
    EXPECT_GT(listener.Events(), 0);
    EXPECT_EQ(listener.FlagType(), VT_BYREF | VT_BOOL);
    EXPECT_EQ(point_->Unadvise(cookie), S_OK);
}

TEST_F(Events, HandlerMayDisconnectEverybody) {
    Listener first;
    Listener second;
    const DWORD one = Connect(first);
    const DWORD two = Connect(second);
    first.onEvent = [&] {
        point_->Unadvise(one);
        point_->Unadvise(two);
    };
    RaiseEvents();
    EXPECT_EQ(first.Events(), 1);
    EXPECT_EQ(second.Events(), 1) << "it was connected when the event was raised";
    EXPECT_EQ(first.References(), 0u);
    EXPECT_EQ(second.References(), 0u);
}

// A listener that hears of its end finds the list without it, and may be the last to hold the sink.
TEST_F(Events, ListenerThatGoesFindsTheListWhole) {
    Listener first;
    Listener second;
    const DWORD one = Connect(first);
    const DWORD two = Connect(second);
    ULONG left = 99;
    HRESULT again = S_OK;
    HRESULT other = E_FAIL;
    first.onLastRelease = [&] {
        left = Connections();
        again = point_->Unadvise(one);
        other = point_->Unadvise(two);
        sink_ = nullptr;
        point_ = nullptr;
    };
    IConnectionPoint* const point = point_.Get();
    EXPECT_EQ(point->Unadvise(one), S_OK);
    EXPECT_EQ(left, 1u);
    EXPECT_EQ(again, static_cast<HRESULT>(CONNECT_E_NOCONNECTION)) << "it is gone already";
    EXPECT_EQ(other, S_OK);
    EXPECT_EQ(first.References(), 0u);
    EXPECT_EQ(second.References(), 0u);
}

}  // namespace

}  // namespace client
