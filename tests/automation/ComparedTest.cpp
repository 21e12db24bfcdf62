// Comparisons and their row sets as a compiled client has them, against servers of the test's own.
#include "ComparedFixture.h"

namespace client {

namespace {

TEST_F(Compared, OptionsAndLimit) {
    const auto result = Compare(target_.Get(), target_.Get());
    ASSERT_TRUE(result);
    ComPtr<IRecordset> rows[4];
    Bstr right;
    Bstr left;
    const auto read = [&](int options, LONG limit) {
        return utils_->GetRecordsets(source_.Get(), target_.Get(), target_.Get(), result.Get(),
                                     rows[0].InOut(), rows[1].InOut(), rows[2].InOut(),
                                     rows[3].InOut(), right.InOut(), left.InOut(),
                                     static_cast<enShowOptions>(options), limit);
    };
    ASSERT_EQ(read(15, 2), S_OK);
    EXPECT_EQ(RowsOf(rows[0].Get()), 3);
    EXPECT_EQ(RowsOf(rows[1].Get()), 5);
    EXPECT_EQ(RowsOf(rows[2].Get()), 5);
    EXPECT_EQ(RowsOf(rows[3].Get()), 4);
    EXPECT_NE(right.Text().find(L"EXEC prcTmp_QVX_Insert 11, 100"), std::wstring::npos);
    EXPECT_NE(left.Text().find(L"EXEC prcTmp_QVX_Insert 21, 200"), std::wstring::npos);
    EXPECT_EQ(right.Text().find(L"EXEC prcTmp_QVX_Insert 21, 200"), std::wstring::npos);

    const ComPtr<IRecordset> kept = rows[1];
    ASSERT_EQ(read(cpoShowMissing | cpoLimitRecordsReturned | cpoNoScriptComments, 2), S_OK);
    EXPECT_FALSE(rows[0]);
    EXPECT_FALSE(rows[1]);
    EXPECT_EQ(RowsOf(rows[2].Get()), 2);
    EXPECT_EQ(RowsOf(kept.Get()), 5) << "an earlier row set is its holder's";
    EXPECT_EQ(right.Text().find(L"--"), std::wstring::npos);
}

TEST_F(Compared, OutputsGoToReferencesOfEveryKind) {
    const auto result = Compare(target_.Get(), target_.Get());
    ASSERT_TRUE(result);
    ComPtr<IUnknown> same;
    ComPtr<IDispatch> different;
    Value missing;
    Bstr right;
    VARIANT rightVariable =
        Reference(VT_BSTR, right.InOut());  // a typed variable, seen as a VARIANT
    Value left(5);
    const auto late = utils_.As<IDispatch>();
    const VARIANT second = ObjectValue(target_.Get());
    const auto call = [&](const VARIANT& toRight, UINT* bad) {
        return Call(late.Get(), IdOf(late.Get(), L"GetRecordsets"), DISPATCH_METHOD,
                    {Value(0), Value(15), Reference(VT_VARIANT, &left), toRight,
                     ObjectValue(nullptr), Reference(VT_VARIANT, &missing),
                     Reference(VT_DISPATCH, different.InOut()), Reference(VT_UNKNOWN, same.InOut()),
                     ObjectValue(result.Get()), second, second, ObjectValue(source_.Get())},
                    nullptr, {}, bad);
    };
    ASSERT_EQ(call(Reference(VT_VARIANT, &rightVariable), nullptr), S_OK);
    EXPECT_EQ(RowsOf(same.Get()), 3);
    EXPECT_EQ(RowsOf(different.Get()), 5);
    ASSERT_EQ(missing.vt, VT_DISPATCH);
    EXPECT_EQ(RowsOf(missing.pdispVal), 5);
    EXPECT_EQ(rightVariable.vt, VT_BYREF | VT_BSTR) << "the variable keeps its type";
    EXPECT_NE(right.Text().find(L"BEGIN TRANSACTION"), std::wstring::npos);
    EXPECT_EQ(left.vt, VT_BSTR);

    double number = 1.5;
    UINT bad = 99;
    const auto before = same;
    EXPECT_EQ(call(Reference(VT_R8, &number), &bad), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(bad, 3u);
    EXPECT_EQ(number, 1.5);
    EXPECT_NE(same.Get(), before.Get()) << "what fits arrives all the same";
    EXPECT_EQ(RowsOf(same.Get()), 3);
}

TEST_F(Compared, FailedOperationLeavesOutputsAlone) {
    const auto result = Compare(target_.Get(), target_.Get());
    ASSERT_TRUE(result);
    ComPtr<IRecordset> rows[4];
    Bstr right(L"right");
    Bstr left(L"left");
    const BSTR before[] = {right, left};
    target_->put_Password(Bstr(L"wrong"));
    EXPECT_EQ(
        utils_->GetRecordsets(source_.Get(), target_.Get(), target_.Get(), result.Get(),
                              rows[0].InOut(), rows[1].InOut(), rows[2].InOut(), rows[3].InOut(),
                              right.InOut(), left.InOut(), static_cast<enShowOptions>(15), 0),
        static_cast<HRESULT>(0x80040E4D));
    EXPECT_EQ(static_cast<BSTR>(right), before[0]);
    EXPECT_EQ(static_cast<BSTR>(left), before[1]);
    EXPECT_FALSE(rows[0]);
}

TEST_F(Compared, DatabasesOnOtherServers) {
    const auto other = NewDatabase(L"Target", L"QUILLON_TEST_OTHER");
    for (IDatabase* third : {other.Get(), source_.Get()}) {
        const auto result = Compare(other.Get(), third);
        ASSERT_TRUE(result);
        LONG differing = 0;
        result->get_RecordsDiffering(&differing);
        EXPECT_EQ(differing, 5);
    }
    Bstr linked;
    source_->get_LinkedServer(linked.Put());
    EXPECT_EQ(linked.Text(), L"KARNOBE_1");
    other->get_LinkedServer(linked.Put());
    EXPECT_EQ(linked.Text(), L"KARNOBE_2");
}

TEST_F(Compared, DatabasesOfAServerAreAnArrayOfStringsFromOne) {
    Bstr user(L"sa");
    Bstr password(L"sandbox");
    Value names;
    ASSERT_EQ(utils_->get_AvailableDatabases(Bstr(_wgetenv(L"QUILLON_TEST_SERVER")), user.InOut(),
                                             password.InOut(), &names),
              S_OK);
    ASSERT_EQ(names.vt, VT_ARRAY | VT_BSTR);
    LONG lower = 99;
    SafeArrayGetLBound(names.parray, 1, &lower);
    EXPECT_EQ(lower, 1);
    EXPECT_EQ(utils_->get_AvailableDatabases(Bstr(_wgetenv(L"QUILLON_TEST_SERVER")), nullptr,
                                             nullptr, nullptr),
              E_POINTER);
}

// Gives one name, and fails then; told through the thread's error object.
class TornWalk final : public IEnumVARIANT {
  public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IEnumVARIANT;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Next(ULONG, VARIANT* value, ULONG* fetched) override {
        if (walked_++ == 0) return GiveName(value, fetched);
        SetErrorText(L"the walk is torn", L"List");
        return E_UNEXPECTED;
    }
    STDMETHODIMP Skip(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumVARIANT**) override { return E_NOTIMPL; }

    static HRESULT GiveName(VARIANT* value, ULONG* fetched) {
        value->vt = VT_BSTR;
        value->bstrVal = SysAllocString(L"id");
        *fetched = 1;
        return S_OK;
    }

  private:
    int walked_ = 0;
};

// The same as a list: to be walked, or by position.
class TornList final : public ForeignObject {
  public:
    explicit TornList(bool walkable) : walkable_(walkable) {}
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* id) override {
        *id = std::wstring(names[0]) == L"Count" ? 1 : 2;
        return S_OK;
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT* result,
                        EXCEPINFO* exception, UINT*) override {
        ULONG fetched = 0;
        if (id == DISPID_NEWENUM && walkable_) {
            result->vt = VT_UNKNOWN;
            result->punkVal = &walk_;
            return S_OK;
        }
        if (id == 1) {
            result->vt = VT_I4;
            result->lVal = 2;
            return S_OK;
        }
        if (id != 2) return DISP_E_MEMBERNOTFOUND;
        if (arguments->rgvarg[0].lVal == 1) return TornWalk::GiveName(result, &fetched);
        exception->scode = E_UNEXPECTED;
        exception->bstrDescription = SysAllocString(L"the list is torn");
        return DISP_E_EXCEPTION;
    }

  private:
    const bool walkable_;
    TornWalk walk_;
};

// Never compared by more columns than were chosen.
TEST_F(Compared, ListThatCannotBeReadToItsEndFailsItsTable) {
    utils_->put_SuppressCompareProcessErrors(VARIANT_TRUE);
    for (const bool walkable : {true, false}) {
        TornList list(walkable);
        list.AddRef();
        const auto columns = Create<IKeyedList>(__uuidof(KeyedList));
        ASSERT_EQ(columns->Add(ObjectValue(&list), Value(L"[dbo].[Rows]")), S_OK);
        Strings tables({L"[dbo].[Rows]"});
        ComPtr<ITableDifferences> results;
        ASSERT_EQ(
            utils_->CompareContents(source_.Get(), target_.Get(), target_.Get(), tables.Pointer(),
                                    nullptr, columns.As<IDispatch>().Get(), results.Put()),
            S_OK);
        ComPtr<ITableDifference> result;
        ASSERT_EQ(results->get_Item(Value(1), result.Put()), S_OK);
        Bstr error;
        result->get_Error(error.Put());
        EXPECT_EQ(error.Text(), std::wstring(L"Error comparing [dbo].[Rows]\r\n") +
                                    (walkable ? L"the walk is torn" : L"the list is torn"));
    }
}

// A list is walked with 16 bits.
TEST_F(Compared, TooManyDatabasesToWalk) {
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    for (int i = 0; i < 32768; ++i) {
        ComPtr<IDatabase> added;
        ASSERT_EQ(databases->Add(Value::Missing(), added.Put()), S_OK);
    }
    EXPECT_EQ(databases->RemoveID(1), static_cast<HRESULT>(0x800A0006));
    EXPECT_EQ(LastErrorText().description, L"Overflow");
    ASSERT_EQ(databases->Remove(Value(32768)), S_OK);
    EXPECT_EQ(databases->RemoveID(1), S_OK);
}

}  // namespace

}  // namespace client
