// What the tests share that compare the databases of special.sql.
#pragma once

#include <memory>

#include "Calls.h"
#include "TestGround.h"

namespace client {

class Compared : public ClientTest {
  protected:
    static void SetUpTestSuite() {
        ground_ = std::make_unique<scripthost::TestGround>(QUILLON_TEST_DATABASES);
    }
    static void TearDownTestSuite() { ground_ = nullptr; }

    void SetUp() override {
        ClientTest::SetUp();
        utils_ = Create<IUtils>(__uuidof(Utils));
        source_ = NewDatabase(L"Source", L"QUILLON_TEST_SERVER");
        target_ = NewDatabase(L"Target", L"QUILLON_TEST_SERVER");
    }
    void TearDown() override {
        utils_ = nullptr;
        source_ = nullptr;
        target_ = nullptr;
        ClientTest::TearDown();
    }

    static ComPtr<IDatabase> NewDatabase(const wchar_t* name, const wchar_t* server) {
        auto database = Create<IDatabase>(__uuidof(Database));
        database->put_Server(Bstr(_wgetenv(server)));
        database->put_Database(Bstr(name));
        database->put_Username(Bstr(L"sa"));
        database->put_Password(Bstr(L"sandbox"));
        return database;
    }

    // The queries run on the server of `third`.
    ComPtr<ITableDifference> Compare(IDatabase* second, IDatabase* third) {
        Strings tables({L"[dbo].[Rows]"}, 5);
        ComPtr<ITableDifferences> results;
        EXPECT_EQ(utils_->CompareContents(source_.Get(), second, third, tables.Pointer(), nullptr,
                                          nullptr, results.Put()),
                  S_OK);
        ComPtr<ITableDifference> result;
        if (results) results->get_Item(Value(1), result.Put());
        return result;
    }

    static LONG RowsOf(IRecordset* rows) {
        LONG count = -1;
        if (rows != nullptr) rows->get_RecordCount(&count);
        return count;
    }
    static LONG RowsOf(IUnknown* rows) {
        return RowsOf(ComPtr<IUnknown>(rows).As<IRecordset>().Get());
    }

    ComPtr<IUtils> utils_;
    ComPtr<IDatabase> source_;
    ComPtr<IDatabase> target_;

  private:
    static inline std::unique_ptr<scripthost::TestGround> ground_;
};

}  // namespace client
