// Database as an object that the system's property bags save and restore.
#include <map>

#include "Client.h"

namespace client {

namespace {

class Bag final : public IPropertyBag {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IPropertyBag;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
        const auto found = values.find(name);
        if (found == values.end()) return E_INVALIDARG;
        return VariantCopy(value, &found->second);
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
        if (full) return STG_E_MEDIUMFULL;
        return VariantCopy(&values[name], value);
    }

    std::map<std::wstring, Value> values;
    bool full = false;
};

class Persist : public ClientTest {};

TEST_F(Persist, SavesAllButThePassword) {
    const auto database = Create<IDatabase>(__uuidof(Database));
    database->put_Server(Bstr(L"SRV"));
    database->put_Database(Bstr(L"pubs"));
    database->put_Username(Bstr(L"user"));
    database->put_Password(Bstr(L"secret"));
    database->put_NTSecurity(VARIANT_TRUE);
    database->put_Description(Bstr(L"label"));
    const auto persist = database.As<IPersistPropertyBag>();
    ASSERT_TRUE(persist);
    Bag bag;
    ASSERT_EQ(persist->Save(&bag, TRUE, TRUE), S_OK);
    EXPECT_EQ(bag.values.size(), 6u);
    EXPECT_EQ(bag.values[L"NTSecurity"].vt, VT_BOOL);
    EXPECT_EQ(std::wstring(bag.values[L"Username"].bstrVal), L"user");
    EXPECT_EQ(bag.values[L"Tables"].vt, VT_DISPATCH);
    EXPECT_EQ(bag.values[L"Tables"].pdispVal, nullptr);

    const auto restored = Create<IDatabase>(__uuidof(Database));
    restored->put_Password(Bstr(L"old"));
    ASSERT_EQ(restored.As<IPersistPropertyBag>()->Load(&bag, nullptr), S_OK);
    Bstr text;
    restored->get_Server(text.Put());
    EXPECT_EQ(text.Text(), L"SRV");
    restored->get_Description(text.Put());
    EXPECT_EQ(text.Text(), L"label");
    restored->get_Password(text.Put());
    EXPECT_EQ(text.Text(), L"");
    VARIANT_BOOL integrated = VARIANT_FALSE;
    restored->get_NTSecurity(&integrated);
    EXPECT_EQ(integrated, VARIANT_TRUE);
}

TEST_F(Persist, EmptyBagGivesDefaults) {
    const auto database = Create<IDatabase>(__uuidof(Database));
    database->put_Server(Bstr(L"SRV"));
    Bag bag;
    ASSERT_EQ(database.As<IPersistPropertyBag>()->Load(&bag, nullptr), S_OK);
    Bstr text;
    database->get_Server(text.Put());
    EXPECT_EQ(text.Text(), L"");
}

TEST_F(Persist, BagsFailureReachesTheCaller) {
    Bag bag;
    bag.full = true;
    const auto persist = Create<IPersistPropertyBag>(__uuidof(Database));
    EXPECT_EQ(persist->Save(&bag, FALSE, TRUE), STG_E_MEDIUMFULL);
    EXPECT_EQ(persist->Save(nullptr, FALSE, TRUE), static_cast<HRESULT>(0x800A005B));
}

TEST_F(Persist, NewObjectNeedsNothing) {
    const auto persist = Create<IPersistPropertyBag>(__uuidof(Database));
    EXPECT_EQ(persist->InitNew(), S_OK);
    CLSID id;
    ASSERT_EQ(persist->GetClassID(&id), S_OK);
    EXPECT_EQ(id, __uuidof(Database));
    EXPECT_TRUE(persist.As<IPersist>());
}

}  // namespace

}  // namespace client
