// Calls through IDispatch, as they come from engines and languages of many kinds.
#include "Calls.h"

namespace client {

namespace {

class LateBound : public ClientTest {};

TEST_F(LateBound, NumbersOfMembersAreFixed) {
    const auto databases = Create<IDispatch>(__uuidof(Databases));
    EXPECT_EQ(IdOf(databases.Get(), L"Item"), DISPID_VALUE);
    EXPECT_EQ(IdOf(databases.Get(), L"newenum"), DISPID_NEWENUM);
    EXPECT_EQ(IdOf(databases.Get(), L"Add"), 1);
    auto* name = const_cast<LPOLESTR>(L"Nothing");
    DISPID id = 0;
    EXPECT_EQ(databases->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), DISP_E_UNKNOWNNAME);
}

TEST_F(LateBound, PropertyIsReadByWhoeverCallsItAMethod) {
    const auto databases = Create<IDispatch>(__uuidof(Databases));
    Value count;
    EXPECT_EQ(Call(databases.Get(), IdOf(databases.Get(), L"Count"), DISPATCH_METHOD, {}, &count),
              S_OK);
    EXPECT_EQ(count.vt, VT_I4);
    Value walker;
    EXPECT_EQ(Call(databases.Get(), DISPID_NEWENUM, DISPATCH_METHOD, {}, &walker), S_OK);
    EXPECT_EQ(walker.vt, VT_UNKNOWN);
}

TEST_F(LateBound, ArgumentsByName) {
    const auto store = Create<IDispatch>(__uuidof(ComparisonTemplates));
    wchar_t add[] = L"Add";
    wchar_t kind[] = L"enItemType";
    wchar_t element[] = L"sElementName";
    wchar_t table[] = L"sTableName";
    LPOLESTR names[] = {add, kind, element, table};
    DISPID ids[4];
    ASSERT_EQ(store->GetIDsOfNames(IID_NULL, names, 4, LOCALE_USER_DEFAULT, ids), S_OK);
    EXPECT_EQ(Call(store.Get(), IdOf(store.Get(), L"LoadTemplate"), DISPATCH_METHOD, {Value(L"T")}),
              S_OK);
    Value elementName(L"id");
    Value tableName(L"T");
    EXPECT_EQ(Call(store.Get(), ids[0], DISPATCH_METHOD, {elementName, tableName, Value(1)},
                   nullptr, {ids[2], ids[3]}),
              S_OK);
    Value exists;
    EXPECT_EQ(Call(store.Get(), IdOf(store.Get(), L"ItemExists"), DISPATCH_METHOD,
                   {elementName, tableName, Value(1)}, &exists),
              S_OK);
    EXPECT_EQ(exists.boolVal, VARIANT_TRUE);
    EXPECT_EQ(
        Call(store.Get(), ids[0], DISPATCH_METHOD, {elementName, Value(1)}, nullptr, {ids[2]}),
        DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(Call(store.Get(), ids[0], DISPATCH_METHOD, {elementName, tableName, Value(1)},
                   nullptr, {7}),
              DISP_E_PARAMNOTFOUND);
}

TEST_F(LateBound, TypedReferencesGoThrough) {
    const auto utils = Create<IDispatch>(__uuidof(Utils));
    const auto results = Create<IDispatch>(__uuidof(TableDifferences));
    const auto database = Create<IDispatch>(__uuidof(Database));
    VARIANT object;
    VariantInit(&object);
    object.vt = VT_DISPATCH;
    object.pdispVal = database.Get();
    VARIANT collection = object;
    collection.pdispVal = results.Get();
    Bstr left(L"old");
    Bstr right;
    EXPECT_EQ(Call(utils.Get(), IdOf(utils.Get(), L"GetUpdateScripts"), DISPATCH_METHOD,
                   {Value(0), Value(0), Reference(VT_BSTR, right.InOut()),
                    Reference(VT_BSTR, left.InOut()), collection, object, object, object}),
              S_OK);
    EXPECT_NE(left.Text(), L"old");
    EXPECT_NE(right.Text().find(L"BEGIN TRANSACTION"), std::wstring::npos);
}

TEST_F(LateBound, BadArgumentIsTold) {
    const auto databases = Create<IDispatch>(__uuidof(Databases));
    UINT bad = 99;
    Value text(L"text");
    EXPECT_EQ(Call(databases.Get(), IdOf(databases.Get(), L"RemoveID"), DISPATCH_METHOD, {text},
                   nullptr, {}, &bad),
              DISP_E_TYPEMISMATCH);
    EXPECT_EQ(bad, 0u);
    EXPECT_EQ(Call(databases.Get(), IdOf(databases.Get(), L"RemoveID"), DISPATCH_METHOD, {}),
              DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(Call(databases.Get(), 4711, DISPATCH_METHOD, {}), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(Call(databases.Get(), IdOf(databases.Get(), L"Count"), DISPATCH_PROPERTYPUT,
                   {Value(1)}, nullptr, {DISPID_PROPERTYPUT}),
              DISP_E_MEMBERNOTFOUND);
}

TEST_F(LateBound, FailureTellsNumberTextAndSource) {
    const auto databases = Create<IDispatch>(__uuidof(Databases));
    Value key(L"nothing");
    DISPPARAMS arguments{&key, nullptr, 1, 0};
    EXCEPINFO exception{};
    Value result;
    EXPECT_EQ(databases->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                &arguments, &result, &exception, nullptr),
              DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, static_cast<SCODE>(0x800A0005));
    EXPECT_EQ(std::wstring(exception.bstrDescription), L"Invalid procedure call or argument");
    EXPECT_EQ(std::wstring(exception.bstrSource), L"QuillonLib");
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
}

// Property with an argument that belongs to the object that it gives.
TEST_F(LateBound, ArgumentsGoToTheDefaultMember) {
    const auto store = Create<IDispatch>(__uuidof(ComparisonTemplates));
    ASSERT_EQ(Call(store.Get(), IdOf(store.Get(), L"LoadTemplate"), DISPATCH_METHOD, {Value(L"T")}),
              S_OK);
    Value name;
    EXPECT_EQ(Call(store.Get(), IdOf(store.Get(), L"Templates"),
                   DISPATCH_PROPERTYGET | DISPATCH_METHOD, {Value(1)}, &name),
              S_OK);
    ASSERT_EQ(name.vt, VT_BSTR);
    EXPECT_EQ(std::wstring(name.bstrVal), L"T");
    EXPECT_EQ(Call(store.Get(), IdOf(store.Get(), L"Templates"),
                   DISPATCH_PROPERTYGET | DISPATCH_METHOD, {Value(9)}, &name),
              static_cast<HRESULT>(0x800A0005));
}

// Scripts can read the elements of an array of variants only.
TEST_F(LateBound, ArraysOfStringsComeAsArraysOfVariants) {
    const auto utils = Create<IUtils>(__uuidof(Utils));
    Value typed;
    ASSERT_EQ(utils->GetSQLStatementsFromScript(Bstr(L"A\r\nGO\r\nB"), &typed), S_OK);
    EXPECT_EQ(typed.vt, VT_ARRAY | VT_BSTR) << "through the interface";

    const auto late = utils.As<IDispatch>();
    Value script(L"A\r\nGO\r\nB");
    Value shown;
    ASSERT_EQ(Call(late.Get(), IdOf(late.Get(), L"GetSQLStatementsFromScript"), DISPATCH_METHOD,
                   {script}, &shown),
              S_OK);
    ASSERT_EQ(shown.vt, VT_ARRAY | VT_VARIANT) << "by name";
    LONG lower = 99;
    LONG upper = 99;
    SafeArrayGetLBound(shown.parray, 1, &lower);
    SafeArrayGetUBound(shown.parray, 1, &upper);
    EXPECT_EQ(lower, 0);
    EXPECT_EQ(upper, 1);
    Value element;
    ASSERT_EQ(SafeArrayGetElement(shown.parray, &upper, &element), S_OK);
    ASSERT_EQ(element.vt, VT_BSTR);
    EXPECT_EQ(std::wstring(element.bstrVal), L"B");

    Value bytes;
    Value text(L"text");
    ASSERT_EQ(
        Call(late.Get(), IdOf(late.Get(), L"EncryptText"), DISPATCH_METHOD, {text, text}, &bytes),
        S_OK);
    EXPECT_EQ(bytes.vt, VT_ARRAY | VT_UI1) << "bytes stay bytes";
}

// What a caller put into a list comes out as it went in.
TEST_F(LateBound, ArraysOfCallersStayAsTheyAre) {
    const auto list = Create<IKeyedList>(__uuidof(KeyedList));
    Value one;
    one.vt = VT_ARRAY | VT_BSTR;
    one.parray = SafeArrayCreateVector(VT_BSTR, 3, 2);
    SAFEARRAYBOUND bounds[] = {{2, 0}, {3, 1}};
    Value table;
    table.vt = VT_ARRAY | VT_BSTR;
    table.parray = SafeArrayCreate(VT_BSTR, 2, bounds);
    Value none;  // a variable of an array without elements
    none.vt = VT_ARRAY | VT_BSTR;
    const auto late = list.As<IDispatch>();
    for (const Value* given : {&one, &table, &none}) {
        ASSERT_EQ(list->Add(*given, Value::Missing()), S_OK);
        LONG count = 0;
        list->get_Count(&count);
        Value found;
        ASSERT_EQ(Call(late.Get(), DISPID_VALUE, DISPATCH_PROPERTYGET, {Value(count)}, &found),
                  S_OK);
        ASSERT_EQ(found.vt, VT_ARRAY | VT_BSTR);
        ASSERT_EQ(found.parray == nullptr, given->parray == nullptr);
        if (found.parray == nullptr) continue;
        EXPECT_EQ(SafeArrayGetDim(found.parray), SafeArrayGetDim(given->parray));
        LONG upper = 99;
        SafeArrayGetUBound(found.parray, 1, &upper);
        EXPECT_EQ(upper, given == &one ? 4 : 1);
    }
}

TEST_F(LateBound, MoreNamesThanArgumentsAreRefused) {
    const auto databases = Create<IDispatch>(__uuidof(Databases));
    Value key(L"key");
    DISPID names[] = {0, 0};
    DISPPARAMS arguments{&key, names, 1, 2};
    EXPECT_EQ(databases->Invoke(IdOf(databases.Get(), L"Add"), IID_NULL, 0, DISPATCH_METHOD,
                                &arguments, nullptr, nullptr, nullptr),
              E_INVALIDARG);
    Value count;
    Call(databases.Get(), IdOf(databases.Get(), L"Count"), DISPATCH_PROPERTYGET, {}, &count);
    EXPECT_EQ(count.lVal, 0);
}

// As a procedure hands on an optional argument of its own that its caller left out.
TEST_F(LateBound, ForwardedMissingArgumentIsMissing) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    VARIANT missing = Value::Missing();
    SCODE code = DISP_E_PARAMNOTFOUND;
    const VARIANT forwarded = Reference(VT_VARIANT, &missing);
    const auto late = databases.As<IDispatch>();
    const DISPID add = IdOf(late.Get(), L"Add");
    EXPECT_EQ(Call(late.Get(), add, DISPATCH_METHOD, {forwarded}), S_OK);
    EXPECT_EQ(Call(late.Get(), add, DISPATCH_METHOD, {Reference(VT_ERROR, &code)}), S_OK);
    ComPtr<IDatabase> third;
    EXPECT_EQ(databases->Add(forwarded, third.Put()), S_OK) << "through the interface";

    const auto store = Create<IDispatch>(__uuidof(ComparisonTemplates));
    Value name(L"T");
    ASSERT_EQ(Call(store.Get(), IdOf(store.Get(), L"LoadTemplate"), DISPATCH_METHOD, {name}), S_OK);
    EXPECT_EQ(
        Call(store.Get(), IdOf(store.Get(), L"Add"), DISPATCH_METHOD, {forwarded, name, Value(0)}),
        S_OK)
        << "a parameter of a type of its own";
    EXPECT_EQ(Call(store.Get(), IdOf(store.Get(), L"LoadTemplate"), DISPATCH_METHOD, {forwarded}),
              DISP_E_PARAMNOTOPTIONAL);
}

TEST_F(LateBound, OutputThatAReferenceCannotTakeIsAMismatch) {
    const auto utils = Create<IDispatch>(__uuidof(Utils));
    const auto results = Create<IDispatch>(__uuidof(TableDifferences));
    const auto database = Create<IDispatch>(__uuidof(Database));
    const VARIANT object = ObjectValue(database.Get());
    LONG left = 7;
    Bstr right;
    UINT bad = 99;
    EXPECT_EQ(Call(utils.Get(), IdOf(utils.Get(), L"GetUpdateScripts"), DISPATCH_METHOD,
                   {Value(0), Value(0), Reference(VT_BSTR, right.InOut()), Reference(VT_I4, &left),
                    ObjectValue(results.Get()), object, object, object},
                   nullptr, {}, &bad),
              DISP_E_TYPEMISMATCH);
    EXPECT_EQ(bad, 3u);
    EXPECT_EQ(left, 7);
}

// What a property bag of a caller's own tells of its failure.
class FailingBag final : public ForeignObject {
  public:
    explicit FailingBag(SCODE code) : code_(code) {}
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID* id) override {
        *id = 1;
        return S_OK;
    }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO* exception,
                        UINT*) override {
        exception->scode = code_;
        exception->bstrDescription = SysAllocString(L"the bag is torn");
        exception->bstrSource = SysAllocString(L"Bag");
        return DISP_E_EXCEPTION;
    }

  private:
    SCODE code_;
};

TEST_F(LateBound, NumberOfAnotherFacilityPasses) {
    const auto database = Create<IDatabase>(__uuidof(Database));
    const struct {
        SCODE told;
        HRESULT given;
    } cases[] = {
        {static_cast<SCODE>(0x80030102), static_cast<HRESULT>(0x80030102)},
        {static_cast<SCODE>(0x800A0035), static_cast<HRESULT>(0x800A0035)},
        {0xFFFF, static_cast<HRESULT>(0x800AFFFF)},
        {0x10000, static_cast<HRESULT>(0x80010000)},  // a failure all the same
        {0x00040210, static_cast<HRESULT>(0x80040210)},
    };
    for (const auto& one : cases) {
        FailingBag bag(one.told);
        EXPECT_EQ(database->ReadProperties(&bag), one.given);
        const ErrorText error = LastErrorText();
        EXPECT_EQ(error.description, L"the bag is torn");
        EXPECT_EQ(error.source, L"Bag");
    }
}

}  // namespace

}  // namespace client
