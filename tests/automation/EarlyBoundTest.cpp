// The interfaces as a compiled client calls them.
#include "Calls.h"

namespace client {

namespace {

class EarlyBound : public ClientTest {};

TEST_F(EarlyBound, CollectionGivesItemsAndEnumerator) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    ComPtr<IDatabase> first;
    ComPtr<IDatabase> second;
    ASSERT_EQ(databases->Add(Value::Missing(), first.Put()), S_OK);
    ASSERT_EQ(databases->Add(Value(L"two"), second.Put()), S_OK);

    ComPtr<IDatabase> found;
    ASSERT_EQ(databases->get_Item(Value(L"TWO"), found.Put()), S_OK);
    EXPECT_EQ(found.Get(), second.Get());

    ComPtr<IUnknown> unknown;
    ASSERT_EQ(databases->get_NewEnum(unknown.Put()), S_OK);
    const auto enumerator = unknown.As<IEnumVARIANT>();
    ASSERT_TRUE(enumerator);
    VARIANT values[3];
    ULONG fetched = 99;
    EXPECT_EQ(enumerator->Next(3, values, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 2u);
    EXPECT_EQ(values[0].vt, VT_DISPATCH);
    EXPECT_EQ(values[0].pdispVal, static_cast<IDispatch*>(first.Get()));
    VariantClear(&values[0]);
    VariantClear(&values[1]);
    EXPECT_EQ(enumerator->Skip(1), S_FALSE);
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Skip(1), S_OK);
    ComPtr<IEnumVARIANT> copy;
    ASSERT_EQ(enumerator->Clone(copy.Put()), S_OK);
    Value last;
    EXPECT_EQ(copy->Next(1, &last, nullptr), S_OK);
    EXPECT_EQ(last.pdispVal, static_cast<IDispatch*>(second.Get()));
    EXPECT_EQ(enumerator->Next(2, values, nullptr), E_POINTER);
}

TEST_F(EarlyBound, OneObjectHasOneIdentity) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    ComPtr<IDatabase> first;
    ASSERT_EQ(databases->Add(Value::Missing(), first.Put()), S_OK);
    IDatabase* address = first.Get();
    first->put_Description(Bstr(L"kept"));
    first = nullptr;
    ComPtr<IDatabase> again;
    ASSERT_EQ(databases->get_Item(Value(1), again.Put()), S_OK);
    Bstr description;
    again->get_Description(description.Put());
    EXPECT_EQ(description.Text(), L"kept");
    static_cast<void>(address);

    ComPtr<IUnknown> one;
    ComPtr<IUnknown> other;
    again->QueryInterface(IID_IUnknown, one.PutVoid());
    again.As<IPersistPropertyBag>()->QueryInterface(IID_IUnknown, other.PutVoid());
    EXPECT_EQ(one.Get(), other.Get());
}

TEST_F(EarlyBound, FailureIsAnErrorObject) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    ComPtr<IDatabase> found;
    EXPECT_EQ(databases->get_Item(Value(L"nothing"), found.Put()),
              static_cast<HRESULT>(0x800A0005));
    const ErrorText error = LastErrorText();
    EXPECT_EQ(error.description, L"Invalid procedure call or argument");
    EXPECT_EQ(error.source, L"QuillonLib");

    const auto support = databases.As<ISupportErrorInfo>();
    ASSERT_TRUE(support);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(IDatabases)), S_OK);
    EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(IUtils)), S_FALSE);
}

TEST_F(EarlyBound, NullPointersAreRefused) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    EXPECT_EQ(databases->get_Count(nullptr), E_POINTER);
    EXPECT_EQ(databases->get_Item(Value(1), nullptr), E_POINTER);
    EXPECT_EQ(databases->get_NewEnum(nullptr), E_POINTER);
    EXPECT_EQ(databases->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    const auto database = Create<IDatabase>(__uuidof(Database));
    EXPECT_EQ(database->put_CheckDependencies(nullptr), E_POINTER);
    EXPECT_EQ(database->put_Server(nullptr), S_OK) << "a null string is the empty one";
}

// Where there is no place for the result, nothing is done.
TEST_F(EarlyBound, NothingIsDoneWithoutAPlaceForTheResult) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    EXPECT_EQ(databases->Add(Value::Missing(), nullptr), E_POINTER);
    LONG count = 99;
    databases->get_Count(&count);
    EXPECT_EQ(count, 0);
    ComPtr<IDatabase> first;
    ASSERT_EQ(databases->Add(Value::Missing(), first.Put()), S_OK);
    LONG id = 0;
    first->get_ID(&id);
    EXPECT_EQ(id, 1) << "no ID was used up";

    const auto store = Create<IComparisonTemplates>(__uuidof(ComparisonTemplates));
    EXPECT_EQ(store->LoadTemplate(Bstr(L"T"), nullptr), E_POINTER);
    Bstr name(L"old");
    store->get_CurrentTemplate(name.Put());
    EXPECT_EQ(name.Text(), L"");
    EXPECT_EQ(store->RemoveTemplate(Bstr(L"T"), nullptr), E_POINTER);
    EXPECT_EQ(store->Persist(nullptr), E_POINTER);

    const auto utils = Create<IUtils>(__uuidof(Utils));
    Strings tables({L"[dbo].[T]"});
    EXPECT_EQ(utils->CompareContents(nullptr, nullptr, nullptr, tables.Pointer(), nullptr, nullptr,
                                     nullptr),
              E_POINTER)
        << "not 91, of the databases";
}

TEST_F(EarlyBound, ResultIsNothingAfterAFailure) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    auto* found = reinterpret_cast<IDatabase*>(this);
    EXPECT_EQ(databases->get_Item(Value(1), &found), static_cast<HRESULT>(0x800A0005));
    EXPECT_EQ(found, nullptr);
    const auto utils = Create<IUtils>(__uuidof(Utils));
    VARIANT bytes;
    bytes.vt = VT_BSTR;
    bytes.bstrVal = reinterpret_cast<BSTR>(this);
    EXPECT_EQ(utils->EncryptText(nullptr, nullptr, &bytes), static_cast<HRESULT>(0x800A0009));
    EXPECT_EQ(bytes.vt, VT_EMPTY);
}

// Of several wrong arguments the first one is told of.
TEST_F(EarlyBound, ArgumentsAreReadInTheirOrder) {
    const auto utils = Create<IUtils>(__uuidof(Utils));
    const auto database = Create<IDatabase>(__uuidof(Database));
    const auto noDictionary = database.As<IDispatch>();
    Strings tables({L"[dbo].[T]"});
    ComPtr<ITableDifferences> results;
    EXPECT_EQ(
        utils->CompareContentsEx(database.Get(), database.Get(), database.Get(), tables.Pointer(),
                                 noDictionary.Get(), nullptr, results.Put()),
        static_cast<HRESULT>(0x800A01B6));
    EXPECT_EQ(
        utils->CompareContentsEx(database.Get(), database.Get(), database.Get(), tables.Pointer(),
                                 nullptr, noDictionary.Get(), results.Put()),
        static_cast<HRESULT>(0x800A005B));
}

TEST_F(EarlyBound, OutputsStayAfterARefusedCall) {
    const auto utils = Create<IUtils>(__uuidof(Utils));
    const auto database = Create<IDatabase>(__uuidof(Database));
    Bstr right(L"right");
    Bstr left;
    BSTR const before = right;
    IRecordset* rows[4] = {};
    EXPECT_EQ(utils->GetRecordsets(database.Get(), database.Get(), database.Get(), nullptr,
                                   &rows[0], &rows[1], &rows[2], &rows[3], right.InOut(),
                                   left.InOut(), static_cast<enShowOptions>(15), 0),
              static_cast<HRESULT>(0x800A005B));
    EXPECT_EQ(static_cast<BSTR>(right), before) << "the very same string";
    EXPECT_EQ(static_cast<BSTR>(left), nullptr);
}

TEST_F(EarlyBound, ArraysOfTextsAreArraysOfStrings) {
    const auto utils = Create<IUtils>(__uuidof(Utils));
    Value batches;
    ASSERT_EQ(utils->GetSQLStatementsFromScript(Bstr(L"A\r\nGO\r\nB"), &batches), S_OK);
    ASSERT_EQ(batches.vt, VT_ARRAY | VT_BSTR);
    LONG lower = 99;
    LONG upper = 99;
    SafeArrayGetLBound(batches.parray, 1, &lower);
    SafeArrayGetUBound(batches.parray, 1, &upper);
    EXPECT_EQ(lower, 0);
    EXPECT_EQ(upper, 1);
    Value none;
    ASSERT_EQ(utils->GetSQLStatementsFromScript(nullptr, &none), S_OK);
    ASSERT_EQ(none.vt, VT_ARRAY | VT_BSTR);
    SafeArrayGetUBound(none.parray, 1, &upper);
    EXPECT_EQ(upper, -1);
}

TEST_F(EarlyBound, PicksOfTablesAreAnArrayOfStrings) {
    const auto store = Create<IComparisonTemplates>(__uuidof(ComparisonTemplates));
    Value ignored;
    ASSERT_EQ(store->LoadTemplate(Bstr(L"T"), &ignored), S_OK);
    ASSERT_EQ(store->Add(tmpTable, Bstr(L"[dbo].[T]"), nullptr), S_OK);
    Value tables;
    ASSERT_EQ(store->get_Items(tmpTable, &tables), S_OK);
    EXPECT_EQ(tables.vt, VT_ARRAY | VT_BSTR);
    const auto late = store.As<IDispatch>();
    Value shown;
    ASSERT_EQ(
        Call(late.Get(), IdOf(late.Get(), L"Items"), DISPATCH_PROPERTYGET, {Value(0)}, &shown),
        S_OK);
    EXPECT_EQ(shown.vt, VT_ARRAY | VT_VARIANT);
}

TEST_F(EarlyBound, BytesBeginAtZero) {
    const auto utils = Create<IUtils>(__uuidof(Utils));
    Value bytes;
    ASSERT_EQ(utils->EncryptText(Bstr(L"text"), Bstr(L"key"), &bytes), S_OK);
    ASSERT_EQ(bytes.vt, VT_ARRAY | VT_UI1);
    Bstr text;
    ASSERT_EQ(utils->DecryptText(bytes, Bstr(L"key"), text.Put()), S_OK);
    EXPECT_EQ(text.Text(), L"text");

    SAFEARRAYBOUND bound{8, 1};
    bytes.parray->rgsabound[0] = bound;
    EXPECT_EQ(utils->DecryptText(bytes, Bstr(L"key"), text.Put()),
              static_cast<HRESULT>(0x800A0009));
    EXPECT_EQ(LastErrorText().description, L"Subscript out of range");
}

// An object of another maker with the interface of ours.
class Stranger final : public IUnknown {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == __uuidof(IDatabase);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

TEST_F(EarlyBound, ObjectsOfOthersAreOfAnotherType) {
    const auto utils = Create<IUtils>(__uuidof(Utils));
    Stranger stranger;
    auto* database = reinterpret_cast<IDatabase*>(&stranger);
    Strings tables({L"[dbo].[T]"});
    ComPtr<ITableDifferences> results;
    EXPECT_EQ(utils->CompareContents(database, database, database, tables.Pointer(), nullptr,
                                     nullptr, results.Put()),
              static_cast<HRESULT>(0x800A000D));
    EXPECT_EQ(LastErrorText().description, L"Type mismatch");
}

TEST_F(EarlyBound, ClassTellsOfItself) {
    const auto sink = Create<IEventSink>(__uuidof(EventSink));
    const auto provider = sink.As<IProvideClassInfo2>();
    ASSERT_TRUE(provider);
    GUID events;
    ASSERT_EQ(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events), S_OK);
    EXPECT_EQ(events, __uuidof(IEventSinkEvents));
    EXPECT_EQ(provider->GetGUID(99, &events), E_INVALIDARG);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(provider->GetClassInfo(info.Put()), S_OK);
    Bstr name;
    info->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr);
    EXPECT_EQ(name.Text(), L"EventSink");

    const auto utils = Create<IUtils>(__uuidof(Utils));
    EXPECT_EQ(utils.As<IProvideClassInfo2>()->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events),
              E_FAIL)
        << "a class without events";
}

}  // namespace

}  // namespace client
