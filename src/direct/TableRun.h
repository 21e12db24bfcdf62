// The comparison of one table, from its catalog to its last row. Not installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "catalog/CatalogReader.h"
#include "core/Error.h"
#include "direct/DirectOptions.h"
#include "direct/FactsAhead.h"
#include "direct/Outlet.h"
#include "direct/SideFailure.h"
#include "direct/SideReader.h"

namespace QuillonLib {

class Connection;
class Database;

// What a comparison is asked to do.
struct DirectJob {
    const Database& database1;
    const Database& database2;
    const std::vector<DirectTable>& tables;
    const DirectOptions& options;
};

// Two connections, one for each side, used for one table after another by one thread at a time.
class TableRunner {
  public:
    // Sends nothing yet. All must outlive the object.
    TableRunner(const DirectJob& job, FactsAhead& facts1, FactsAhead& facts2);

    // Logs in where a connection is not open. Throws the Error of the login.
    void Connect();

    // Connect, if it can; false from the first failure on, which tables get as their error.
    bool TryConnect() noexcept;

    // An Error goes into the result; what `outlet` throws that is no Error is thrown. Connections
    // that were lost are made again for the next table; where that fails, all later tables have the
    // Error of that login.
    void Run(std::size_t table, DirectTableResult& result, Outlet& outlet);

    // From any thread: cancels what either connection is at; see Connection::Cancel.
    void Cancel() noexcept;

  private:
    struct Side {
        Side(int of, const Database& where, FactsAhead& ahead)
            : number(of), database(where), facts(ahead), reader(of) {}

        const int number;  // 1 or 2
        const Database& database;
        FactsAhead& facts;
        std::shared_ptr<Connection> connection;
        std::optional<CatalogReader> catalog;  // of the connection, when it was first needed
        std::int32_t version = 0;
        bool snapshot = false;  // the database allows it, and the caller wants it
        std::mutex taken;       // while `connection` is set, or used by another thread
        SideReader reader;

        void Connect(bool wantSnapshot);
        void Cancel() noexcept;
        // Throw SideFailure.
        TableFacts ReadFacts(std::size_t table);
        DirectReading Begin() const;
        void End() const;
    };

    std::pair<TableFacts, TableFacts> ReadFacts(std::size_t table);
    void Compare(std::size_t table, DirectTableResult& result, Outlet& outlet);

    const DirectJob& job_;
    Side side1_;
    Side side2_;
    std::optional<SideFailure> unreachable_;
};

}  // namespace QuillonLib
