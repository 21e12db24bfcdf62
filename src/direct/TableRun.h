// The comparison of one table, from its catalog to its last row. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "catalog/CatalogFacts.h"
#include "core/Error.h"
#include "direct/DirectOptions.h"
#include "direct/Outlet.h"
#include "direct/SideReader.h"

namespace QuillonLib {

class Connection;
class Database;

// Two connections, one for each side, used for one table after another by one thread at a time.
class TableRunner {
  public:
    // Sends nothing yet. All three must outlive the object.
    TableRunner(const Database& database1, const Database& database2, const DirectOptions& options);

    // Logs in where a connection is not open. Throws the Error of the login.
    void Connect();

    // An Error goes into the result; what `outlet` throws that is no Error is thrown. Connections
    // that were lost are made again for the next table; where that fails, all later tables have the
    // Error of that login.
    void Run(const DirectTable& table, DirectTableResult& result, Outlet& outlet);

    // From any thread: cancels what either connection is at; see Connection::Cancel.
    void Cancel() noexcept;

  private:
    struct Side {
        explicit Side(const Database& of) : database(of) {}

        const Database& database;
        std::shared_ptr<Connection> connection;
        std::int32_t version = 0;
        bool snapshot = false;  // the database allows it, and the caller wants it
        std::mutex taken;       // while `connection` is set, or used by another thread
        SideReader reader;

        void Connect(bool wantSnapshot);
        ObjectFacts ReadFacts(const ObjectName& name) const;
        void Cancel() noexcept;
        DirectReading Begin() const;
        void End() const;
    };

    void Compare(const DirectTable& table, DirectTableResult& result, Outlet& outlet);

    const DirectOptions& options_;
    Side side1_;
    Side side2_;
    std::optional<Error> unreachable_;
};

}  // namespace QuillonLib
