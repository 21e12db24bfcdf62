// What there is to be read, through the functions of the interfaces themselves.
#include "ComparedFixture.h"

namespace client {

namespace {

// A property in a form that can be compared.
template <class Interface>
std::wstring Text(const ComPtr<Interface>& object, HRESULT (__stdcall Interface::*get)(BSTR*)) {
    Bstr text;
    EXPECT_EQ((object.Get()->*get)(text.Put()), S_OK);
    return text.Text();
}

template <class Interface>
LONG Number(const ComPtr<Interface>& object, HRESULT (__stdcall Interface::*get)(LONG*)) {
    LONG number = -99;
    EXPECT_EQ((object.Get()->*get)(&number), S_OK);
    return number;
}

template <class Interface>
bool Flag(const ComPtr<Interface>& object, HRESULT (__stdcall Interface::*get)(VARIANT_BOOL*)) {
    VARIANT_BOOL flag = 99;
    EXPECT_EQ((object.Get()->*get)(&flag), S_OK);
    EXPECT_TRUE(flag == VARIANT_TRUE || flag == VARIANT_FALSE);
    return flag == VARIANT_TRUE;
}

template <class Interface, class Part>
ComPtr<Part> PartOf(const ComPtr<Interface>& object, HRESULT (__stdcall Interface::*get)(Part**)) {
    ComPtr<Part> part;
    EXPECT_EQ((object.Get()->*get)(part.Put()), S_OK);
    return part;
}

template <class Collection, class Item>
ComPtr<Item> ItemOf(const ComPtr<Collection>& collection, const wchar_t* key,
                    HRESULT (__stdcall Collection::*get)(VARIANT, Item**)) {
    ComPtr<Item> item;
    EXPECT_EQ((collection.Get()->*get)(Value(key), item.Put()), S_OK);
    return item;
}

class Reading : public Compared {
  protected:
    // The rows that only database 1 has.
    ComPtr<IRecordset> MissingRows() {
        const auto result = Compare(target_.Get(), target_.Get());
        ComPtr<IRecordset> rows[4];
        Bstr right;
        Bstr left;
        EXPECT_EQ(
            utils_->GetRecordsets(source_.Get(), target_.Get(), target_.Get(), result.Get(),
                                  rows[0].InOut(), rows[1].InOut(), rows[2].InOut(),
                                  rows[3].InOut(), right.InOut(), left.InOut(), cpoShowMissing, 0),
            S_OK);
        return rows[2];
    }
};

TEST_F(Reading, Catalog) {
    EXPECT_EQ(Text(source_, &IDatabase::get_Database), L"Source");
    EXPECT_EQ(Text(source_, &IDatabase::get_Username), L"sa");
    VARIANT_BOOL check = VARIANT_TRUE;
    ASSERT_EQ(source_->put_CheckDependencies(&check), S_OK);
    EXPECT_TRUE(Flag(source_, &IDatabase::get_CheckDependencies));
    const auto tables = PartOf(source_, &IDatabase::get_Tables);
    EXPECT_EQ(Text(source_, &IDatabase::get_LastError), L"");

    const auto view = ItemOf(tables, L"[dbo].[Indexed]", &ITableObjects::get_Item);
    const auto rows = ItemOf(tables, L"[dbo].[Rows]", &ITableObjects::get_Item);
    EXPECT_TRUE(Flag(view, &ITableObject::get_IsView));
    EXPECT_FALSE(Flag(rows, &ITableObject::get_IsView));
    const auto parents = PartOf(view, &ITableObject::get_ParentDependencies);
    const auto children = PartOf(rows, &ITableObject::get_ChildDependencies);
    EXPECT_EQ(Number(parents, &IDependencies::get_Count), 1);
    ComPtr<IDependency> child;
    ASSERT_EQ(children->get_AbsoluteItem(1, child.Put()), S_OK);
    EXPECT_EQ(Text(child, &IDependency::get_Name), L"[dbo].[Indexed]");

    const auto index =
        ItemOf(PartOf(rows, &ITableObject::get_Indexes), L"PK_Rows", &IIndexObjects::get_Item);
    EXPECT_TRUE(Flag(index, &IIndexObject::get_PrimaryKey));
    const auto columns = PartOf(rows, &ITableObject::get_Columns);
    EXPECT_EQ(Text(columns, &IColumnObjects::get_ColumnList), L"[id], [n]");
    const auto column = ItemOf(columns, L"n", &IColumnObjects::get_Item);
    ASSERT_EQ(column->put_CannotCompare(VARIANT_TRUE), S_OK);
    EXPECT_TRUE(Flag(column, &IColumnObject::get_CannotCompare));
    EXPECT_EQ(Text(columns, &IColumnObjects::get_ColumnList), L"[id]");
    ASSERT_EQ(column->put_PrimaryKey(VARIANT_TRUE), S_OK);
    EXPECT_TRUE(Flag(column, &IColumnObject::get_PrimaryKey));

    Value nothing;
    ASSERT_EQ(source_->Refresh(&nothing), S_OK);
    EXPECT_EQ(nothing.vt, VT_EMPTY);
    EXPECT_NE(PartOf(source_, &IDatabase::get_Tables).Get(), tables.Get());
}

TEST_F(Reading, Result) {
    const auto result = Compare(target_.Get(), target_.Get());
    ASSERT_TRUE(result);
    EXPECT_EQ(Text(result, &ITableDifference::get_Name), L"[dbo].[Rows]");
    EXPECT_TRUE(Flag(result, &ITableDifference::get_HasPrimaryKey));
    EXPECT_FALSE(Flag(result, &ITableDifference::get_HasDodgyColumns));
    EXPECT_FALSE(Flag(result, &ITableDifference::get_Identical));
    EXPECT_EQ(Number(result, &ITableDifference::get_RecordsIn1), 13);
    EXPECT_EQ(Number(result, &ITableDifference::get_RecordsIn2), 12);
    EXPECT_EQ(Number(result, &ITableDifference::get_RecordsInUnion), 22);
    EXPECT_EQ(Number(result, &ITableDifference::get_RecordsDiffering), 5);
    EXPECT_FALSE(Flag(result, &ITableDifference::get_HasIdentity));
    EXPECT_FALSE(Flag(result, &ITableDifference::get_IsView));
    EXPECT_EQ(Text(result, &ITableDifference::get_Error), L"");
    const auto columns = PartOf(result, &ITableDifference::get_Columns);
    const auto key = ItemOf(columns, L"id", &IColumnObjects::get_Item);
    const auto column = ItemOf(columns, L"n", &IColumnObjects::get_Item);
    EXPECT_TRUE(Flag(key, &IColumnObject::get_PrimaryKey));
    EXPECT_EQ(Text(column, &IColumnObject::get_DataType), L"int");
    EXPECT_EQ(Number(column, &IColumnObject::get_Length), 4);
    EXPECT_EQ(Number(column, &IColumnObject::get_NumericPrecision), 10);
    EXPECT_EQ(Number(column, &IColumnObject::get_NumericScale), 0);
    EXPECT_TRUE(Flag(column, &IColumnObject::get_AllowNulls));
    EXPECT_FALSE(Flag(key, &IColumnObject::get_AllowNulls));
    EXPECT_FALSE(Flag(column, &IColumnObject::get_Computed));
}

TEST_F(Reading, Rows) {
    const auto rows = MissingRows();
    ASSERT_TRUE(rows);
    EXPECT_EQ(Number(rows, &IRecordset::get_RecordCount), 5);
    EXPECT_EQ(Number(rows, &IRecordset::get_State), 1);
    const auto fields = PartOf(rows, &IRecordset::get_Fields);
    EXPECT_EQ(Number(fields, &IFields::get_Count), 2);
    const auto id = ItemOf(fields, L"id", &IFields::get_Item);
    EXPECT_EQ(Text(id, &IField::get_Name), L"id");
    EXPECT_EQ(Number(id, &IField::get_Type), 3);
    const auto current = [&] {
        Value value;
        EXPECT_EQ(id->get_Value(&value), S_OK);
        EXPECT_EQ(value.vt, VT_I4);
        return value.lVal;
    };
    EXPECT_EQ(current(), 11);
    EXPECT_EQ(rows->MoveNext(), S_OK);
    EXPECT_EQ(current(), 12);
    EXPECT_EQ(Number(rows, &IRecordset::get_AbsolutePosition), 2);
    EXPECT_EQ(rows->MoveLast(), S_OK);
    EXPECT_EQ(current(), 15);
    EXPECT_EQ(rows->MovePrevious(), S_OK);
    EXPECT_EQ(current(), 14);
    EXPECT_EQ(rows->put_AbsolutePosition(3), S_OK);
    EXPECT_EQ(current(), 13);
    Value block;
    ASSERT_EQ(rows->GetRows(-1, Value::Missing(), Value::Missing(), &block), S_OK);
    ASSERT_EQ(block.vt, VT_ARRAY | VT_VARIANT);
    LONG last = 0;
    SafeArrayGetUBound(block.parray, 2, &last);
    EXPECT_EQ(last, 2);
    EXPECT_TRUE(Flag(rows, &IRecordset::get_EOF));
    EXPECT_EQ(rows->MoveFirst(), S_OK);
    EXPECT_FALSE(Flag(rows, &IRecordset::get_BOF));
    EXPECT_EQ(rows->Close(), S_OK);
    EXPECT_EQ(Number(rows, &IRecordset::get_State), 0);
    EXPECT_EQ(rows->Close(), static_cast<HRESULT>(0x800A0E78));
}

TEST_F(Reading, Settings) {
    ASSERT_EQ(utils_->put_SuppressCompareProcessErrors(VARIANT_TRUE), S_OK);
    EXPECT_TRUE(Flag(utils_, &IUtils::get_SuppressCompareProcessErrors));
    EXPECT_EQ(Text(utils_, &IUtils::get_LastError), L"");
    const auto databases = Create<IDatabases>(__uuidof(Databases));
    EXPECT_FALSE(Flag(databases, &IDatabases::get_Dirty));
    ASSERT_EQ(databases->put_Dirty(VARIANT_FALSE), S_OK);
    EXPECT_TRUE(Flag(databases, &IDatabases::get_Dirty)) << "whatever the value";
    ComPtr<IDatabase> database;
    EXPECT_EQ(databases->ItemFromID(1, database.Put()), S_OK);
    EXPECT_FALSE(database);
    ASSERT_EQ(source_->put_LinkedServer(Bstr(L"LINK")), S_OK);
    EXPECT_EQ(Text(source_, &IDatabase::get_LinkedServer), L"LINK");
}

TEST_F(Reading, Templates) {
    const auto store = Create<IComparisonTemplates>(__uuidof(ComparisonTemplates));
    const std::wstring file = std::wstring(_wgetenv(L"QUILLON_TEST_FOLDER")) + L"\\client.xml";
    VARIANT_BOOL done = VARIANT_TRUE;
    ASSERT_EQ(store->Load(Bstr(file.c_str()), &done), S_OK);
    EXPECT_EQ(done, VARIANT_FALSE) << "there is none yet";
    Value nothing;
    ASSERT_EQ(store->LoadTemplate(Bstr(L"T"), &nothing), S_OK);
    ASSERT_EQ(store->put_Database1(Bstr(L"one")), S_OK);
    ASSERT_EQ(store->put_Database2(Bstr(L"two")), S_OK);
    ASSERT_EQ(store->put_Database3(Bstr(L"three")), S_OK);
    EXPECT_TRUE(Flag(store, &IComparisonTemplates::get_Dirty));
    ASSERT_EQ(store->NewTemplate(Bstr(L"U"), &done), S_OK);
    EXPECT_EQ(done, VARIANT_TRUE);
    EXPECT_EQ(Text(store, &IComparisonTemplates::get_CurrentTemplate), L"U");
    ASSERT_EQ(store->put_Database3(Bstr(L"four")), S_OK);
    ASSERT_EQ(store->Flush(), S_OK);
    EXPECT_EQ(Text(store, &IComparisonTemplates::get_Database1), L"one");
    EXPECT_EQ(Text(store, &IComparisonTemplates::get_Database2), L"two");
    EXPECT_EQ(Text(store, &IComparisonTemplates::get_Database3), L"three");
    EXPECT_EQ(Number(PartOf(store, &IComparisonTemplates::get_Templates), &IKeyedList::get_Count),
              2);
    const auto databases = Create<IDispatch>(__uuidof(Databases));
    ASSERT_EQ(store->putref_DatabasesObject(databases.Get()), S_OK);
    EXPECT_EQ(PartOf(store, &IComparisonTemplates::get_DatabasesObject).Get(), databases.Get());
}

}  // namespace

}  // namespace client
