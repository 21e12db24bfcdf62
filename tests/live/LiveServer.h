// What the tests against any server share. The server is told by the environment:
// QUILLON_LIVE_SERVER, QUILLON_LIVE_USER (empty: integrated), QUILLON_PASSWORD.
//
// Databases are made anew for each test, under QUILLON_LIVE_PREFIX, and dropped behind it; what a
// broken-off run left behind, --drop-leftovers drops.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "QuillonLib.h"

namespace QuillonLib::live {

inline constexpr const char16_t* Prefix = u"quillon_live_";

inline std::u16string Setting(const char* name, std::u16string otherwise = {}) {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::move(otherwise) : FromUtf8(text);
}

inline std::shared_ptr<Database> Described(const std::u16string& name) {
    auto database = std::make_shared<Database>();
    database->Server(Setting("QUILLON_LIVE_SERVER"));
    database->DatabaseName(name);
    database->Username(Setting("QUILLON_LIVE_USER"));
    database->Password(Setting("QUILLON_PASSWORD"));
    database->NTSecurity(database->Username().empty());
    database->Description(name);
    database->CheckDependencies(true);
    return database;
}
inline std::shared_ptr<Connection> Open(const std::u16string& name) {
    const auto database = Described(name);
    auto connection = std::make_shared<Connection>();
    connection->Open(u"driver={SQL Server};server=" + database->Server() + u";database=" + name +
                     (database->NTSecurity()
                          ? u";trusted_connection=yes"
                          : u";uid=" + database->Username() + u";pwd=" + database->Password()));
    return connection;
}

// A session of the test's own may still be on its way out, and keeps its database for a moment.
inline void Drop(Connection& server, const std::u16string& name) {
    for (int tries = 1;; ++tries) {
        try {
            server.Execute(u"ALTER DATABASE [" + name +
                           u"] SET SINGLE_USER WITH ROLLBACK IMMEDIATE");
        } catch (const Error&) {  // not every server knows it
        }
        try {
            server.Execute(u"DROP DATABASE [" + name + u"]");
            return;
        } catch (const Error&) {
            if (tries == 50) throw;
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }
}

class LiveServer : public ::testing::Test {
  protected:
    void SetUp() override {
        server_ = Open(u"master");
        version_ = std::atoi(ToUtf8(Scalar(u"SELECT CAST(SERVERPROPERTY('ProductVersion') "
                                           u"AS nvarchar(60))"))
                                 .c_str());
        one = Make(u"one");
        two = Make(u"two");
    }

    void TearDown() override { DropMade(); }

    void DropMade() {
        for (const std::u16string& name : made_)
            Drop(*server_, name);
        made_.clear();
    }

    // Whether the server is at least SQL Server 2008, and so on: 10, 11 ...
    bool Since(int version) const { return version_ >= version; }

    std::shared_ptr<Database> Make(const std::u16string& suffix) {
        const std::u16string name = Named(suffix);
        Run(u"CREATE DATABASE [" + name + u"]");
        return Described(name);
    }
    // The name of a database that is about to be made: it is dropped at the end.
    const std::u16string& Named(const std::u16string& suffix) {
        return made_.emplace_back(Setting("QUILLON_LIVE_PREFIX", Prefix) + suffix);
    }

    void Run(const std::u16string& batch) { server_->Execute(batch); }
    static void Run(const Database& database, const std::vector<std::u16string>& batches) {
        const auto connection = Open(database.DatabaseName());
        for (const std::u16string& batch : batches)
            connection->Execute(batch);
    }
    // The first field of the first row as text, "NULL" for NULL.
    std::u16string Scalar(const std::u16string& query) const { return Scalar(server_, query); }
    static std::u16string Scalar(const Database& database, const std::u16string& query) {
        return Scalar(Open(database.DatabaseName()), query);
    }
    static std::u16string Scalar(const std::shared_ptr<Connection>& connection,
                                 const std::u16string& query) {
        Recordset rows;
        rows.Open(query, connection);
        const Value value = rows.Fields(0).Value();
        return value.IsNull() ? u"NULL" : DefaultText(value);
    }

    std::shared_ptr<Database> one, two;

  private:
    std::shared_ptr<Connection> server_;
    std::vector<std::u16string> made_;
    int version_ = 0;
};

}  // namespace QuillonLib::live
