// The comparison of one table, from its catalog to its last row. Not installed.
#pragma once

#include <memory>

#include "direct/DirectOptions.h"
#include "direct/Outlet.h"

namespace QuillonLib {

class Connection;
class Database;

// Two connections, one for each side, used for one table after another.
class TableRunner {
  public:
    // Logs in; throws the Error of a login that fails.
    TableRunner(const Database& database1, const Database& database2, const DirectOptions& options);

    // The outcome, an error included: only what `outlet` throws that is no Error is thrown.
    void Run(const DirectTable& table, DirectTableResult& result, Outlet& outlet);

  private:
    void Compare(const DirectTable& table, DirectTableResult& result, Outlet& outlet);

    const Database& database1_;
    const Database& database2_;
    const DirectOptions& options_;
    std::shared_ptr<Connection> connection1_;
    std::shared_ptr<Connection> connection2_;
};

}  // namespace QuillonLib
