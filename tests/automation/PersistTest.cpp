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
        if (readFailure != S_OK && unreadable == name) {
            TellWhy();
            return readFailure;
        }
        const auto found = values.find(name);
        if (found == values.end()) return E_INVALIDARG;
        return VariantCopy(value, &found->second);
    }
    STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
        if (full) {
            TellWhy();
            return STG_E_MEDIUMFULL;
        }
        return VariantCopy(&values[name], value);
    }

    std::map<std::wstring, Value> values;
    bool full = false;
    std::wstring unreadable;
    HRESULT readFailure = S_OK;
    const wchar_t* reason = nullptr;  // null where it tells no reason

  private:
    void TellWhy() const {
        if (reason != nullptr) SetErrorText(reason, L"Bag");
    }
};

std::wstring ServerOf(IDatabase* database) {
    Bstr text;
    database->get_Server(text.Put());
    return text.Text();
}

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

TEST_F(Persist, WhatTheBagTellsReachesTheCaller) {
    const auto persist = Create<IPersistPropertyBag>(__uuidof(Database));
    Bag bag;
    bag.full = true;
    bag.unreadable = L"Server";
    bag.readFailure = STG_E_READFAULT;
    bag.reason = L"the bag is torn";
    EXPECT_EQ(persist->Save(&bag, FALSE, TRUE), STG_E_MEDIUMFULL);
    ErrorText error = LastErrorText();
    EXPECT_EQ(error.description, L"the bag is torn");
    EXPECT_EQ(error.source, L"Bag");
    EXPECT_EQ(persist->Load(&bag, nullptr), STG_E_READFAULT);
    error = LastErrorText();
    EXPECT_EQ(error.description, L"the bag is torn");
    EXPECT_EQ(error.source, L"Bag");

    bag.reason = nullptr;
    SetErrorText(L"an earlier failure", L"Another");
    EXPECT_EQ(persist->Load(&bag, nullptr), STG_E_READFAULT);
    EXPECT_EQ(LastErrorText().description, L"") << "not what another call told";
}

// Only E_INVALIDARG says that there is no such value.
TEST_F(Persist, UnreadableValueIsAFailure) {
    const auto database = Create<IDatabase>(__uuidof(Database));
    database->put_Server(Bstr(L"SRV"));
    const auto persist = database.As<IPersistPropertyBag>();
    Bag bag;
    for (const wchar_t* name : {L"NTSecurity", L"Username", L"Description", L"Tables"}) {
        bag.unreadable = name;
        bag.readFailure = STG_E_READFAULT;
        EXPECT_EQ(persist->Load(&bag, nullptr), STG_E_READFAULT);
        EXPECT_EQ(ServerOf(database.Get()), L"SRV") << "the object stays as it was";
        bag.readFailure = E_INVALIDARG;
        database->put_Server(Bstr(L"SRV"));
        EXPECT_EQ(persist->Load(&bag, nullptr), S_OK);
        EXPECT_EQ(ServerOf(database.Get()), L"");
        database->put_Server(Bstr(L"SRV"));
    }
}

TEST_F(Persist, WrongValueChangesNothing) {
    const auto database = Create<IDatabase>(__uuidof(Database));
    database->put_Server(Bstr(L"SRV"));
    database->put_Password(Bstr(L"secret"));
    const auto persist = database.As<IPersistPropertyBag>();
    Bag bag;
    bag.values[L"Server"].vt = VT_BSTR;
    bag.values[L"Server"].bstrVal = SysAllocString(L"OTHER");
    const struct {
        const wchar_t* name;
        VARTYPE type;
        HRESULT failure;
        const wchar_t* text;
    } cases[] = {
        {L"NTSecurity", VT_NULL, static_cast<HRESULT>(0x800A005E), L"Invalid use of Null"},
        {L"Username", VT_NULL, static_cast<HRESULT>(0x800A005E), L"Invalid use of Null"},
        {L"Description", VT_NULL, static_cast<HRESULT>(0x800A005E), L"Invalid use of Null"},
        {L"Description", VT_DISPATCH, static_cast<HRESULT>(0x800A000D), L"Type mismatch"},
        {L"Tables", VT_BOOL, static_cast<HRESULT>(0x800A000D), L"Type mismatch"},
    };
    for (const auto& one : cases) {
        VARIANT& value = bag.values[one.name];
        value.vt = one.type;
        value.llVal = 0;
        EXPECT_EQ(persist->Load(&bag, nullptr), one.failure) << one.type;
        EXPECT_EQ(LastErrorText().description, one.text);
        EXPECT_EQ(ServerOf(database.Get()), L"SRV");
        Bstr password;
        database->get_Password(password.Put());
        EXPECT_EQ(password.Text(), L"secret");
        bag.values.erase(one.name);
    }
    bag.values[L"Tables"].vt = VT_NULL;
    EXPECT_EQ(persist->Load(&bag, nullptr), S_OK) << "Null is no catalog";
    EXPECT_EQ(ServerOf(database.Get()), L"OTHER");
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
