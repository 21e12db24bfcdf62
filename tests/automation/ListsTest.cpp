// Lists that hold objects of other makers, whose code may look at the list or change it.
#include <functional>

#include "Calls.h"

namespace client {

namespace {

class Lists : public ClientTest {};

// An object with a text as its default value, which does something when it is read.
class ForeignText final : public ForeignObject {
  public:
    explicit ForeignText(const wchar_t* text) : text_(text) {}
    STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                        UINT*) override {
        if (member != DISPID_VALUE) return DISP_E_MEMBERNOTFOUND;
        if (onRead) onRead();
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(text_);
        return S_OK;
    }
    std::function<void()> onRead;

  private:
    const wchar_t* text_;
};

// The column lists of a template store, to which a caller's list can be added.
ComPtr<IKeyedList> NewColumnLists() {
    const auto store = Create<IComparisonTemplates>(__uuidof(ComparisonTemplates));
    Value ignored;
    EXPECT_EQ(store->LoadTemplate(Bstr(L"T"), &ignored), S_OK);
    Value lists;
    EXPECT_EQ(store->get_Items(tmpColumn, &lists), S_OK);
    return ComPtr<IUnknown>(lists.punkVal).As<IKeyedList>();
}

// A value that goes may look at the list: it finds it without the value.
TEST_F(Lists, AreWholeWhenAValueGoes) {
    const auto list = Create<IKeyedList>(__uuidof(KeyedList));
    ForeignObject object;
    ASSERT_EQ(list->Add(ObjectValue(&object), Value(L"object")), S_OK);
    ASSERT_EQ(list->Add(Value(L"other"), Value(L"other")), S_OK);
    LONG count = 99;
    VARIANT_BOOL exists = VARIANT_TRUE;
    HRESULT again = E_FAIL;
    object.onLastRelease = [&] {
        list->get_Count(&count);
        list->ItemExists(Value(L"object"), &exists);
        again = list->Add(Value(5), Value(L"object"));
    };
    EXPECT_EQ(list->Remove(Value(L"object")), S_OK);
    EXPECT_EQ(object.References(), 0u);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(exists, VARIANT_FALSE);
    EXPECT_EQ(again, S_OK);
    Value found;
    EXPECT_EQ(list->get_Item(Value(2), &found), S_OK);
    EXPECT_EQ(found.lVal, 5);
}

TEST_F(Lists, AreReadAsTheyWereWhenReadingBegan) {
    const auto columns = NewColumnLists();
    const auto list = Create<IKeyedList>(__uuidof(KeyedList));
    ForeignText first(L"first");
    first.onRead = [&] {
        for (int i = 0; i < 1000; ++i)
            list->Add(Value(L"more"), Value::Missing());
    };
    ASSERT_EQ(list->Add(ObjectValue(&first), Value(L"key")), S_OK);
    ASSERT_EQ(list->Add(Value(L"second"), Value::Missing()), S_OK);
    ASSERT_EQ(columns->Add(ObjectValue(list.Get()), Value(L"T")), S_OK);
    LONG count = 0;
    list->get_Count(&count);
    EXPECT_EQ(count, 2) << "what the store has of it";
    Value text;
    EXPECT_EQ(list->get_Item(Value(L"key"), &text), S_OK);
    ASSERT_EQ(text.vt, VT_BSTR);
    EXPECT_EQ(std::wstring(text.bstrVal), L"first");
}

TEST_F(Lists, KeyIsReadBeforeTheList) {
    const auto columns = NewColumnLists();
    const auto list = Create<IKeyedList>(__uuidof(KeyedList));
    ASSERT_EQ(list->Add(Value(L"text"), Value(L"key")), S_OK);
    ForeignText key(L"key");
    // From then on the list is another one, shared with the store.
    key.onRead = [&] { columns->Add(ObjectValue(list.Get()), Value(L"T")); };
    Value text;
    EXPECT_EQ(list->get_Item(ObjectValue(&key), &text), S_OK);
    ASSERT_EQ(text.vt, VT_BSTR);
    EXPECT_EQ(std::wstring(text.bstrVal), L"text");
    key.onRead = nullptr;
    EXPECT_EQ(list->Remove(ObjectValue(&key)), S_OK);
    LONG count = 9;
    list->get_Count(&count);
    EXPECT_EQ(count, 0);
}

}  // namespace

}  // namespace client
