// What the catalog of one side says of the tables of a list, read some at a time. Not installed.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "catalog/CatalogFacts.h"
#include "direct/DirectOptions.h"

namespace QuillonLib {

class CatalogReader;
class Connection;

struct TableFacts {
    ObjectFacts object;
    std::uint64_t rows = 0;  // as the server counts them; 0: not known, or none
};

// Many small tables must not cost queries of the catalog each. What is known is old news soon: it
// is used for a short time only, so that large tables are read as they are declared now. For all
// workers at once, who take the tables in their order.
class FactsAhead {
  public:
    using Clock = std::chrono::steady_clock;

    // Many small tables are read within it, and it is nothing beside a large one.
    static constexpr std::chrono::seconds GoodFor{2};

    // `tables` must outlive the object. `goodFor`: how long facts are used.
    FactsAhead(const std::vector<DirectTable>& tables, std::u16string database,
               Clock::duration goodFor = GoodFor)
        : tables_(tables),
          database_(std::move(database)),
          goodFor_(goodFor),
          counted_(tables.size()) {}

    // Whether Of need not ask, as far as can be told now.
    bool Knows(std::size_t index);

    // The table at `index`; what is not known is read by `reader`, which is in the database and
    // logged in through `connection`. Throws Error ItemNotFound where there is none, and the Error
    // of a query.
    TableFacts Of(std::size_t index, CatalogReader& reader,
                  const std::shared_ptr<Connection>& connection, std::int32_t version);

    // How many rows the server has counted, when it was last asked; absent where it was not, or did
    // not know.
    std::optional<std::uint64_t> Counted(std::size_t index);

  private:
    bool IsFresh(std::size_t index) const;
    void Read(std::size_t begin, CatalogReader& reader,
              const std::shared_ptr<Connection>& connection, std::int32_t version);

    const std::vector<DirectTable>& tables_;
    std::u16string database_;
    Clock::duration goodFor_;
    std::mutex mutex_;
    std::size_t begin_ = 0, end_ = 0;  // of the known entries of `tables_`
    std::vector<ObjectFacts> objects_;
    std::vector<std::optional<std::uint64_t>> rows_;
    std::vector<std::optional<std::uint64_t>> counted_;  // of all tables
    Clock::time_point read_;
};

}  // namespace QuillonLib
