// What a sync is about to do, table by table, and how much of it its user allows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/Console.h"

namespace CLI {
class App;
}

namespace quillon {

struct TableChanges {
    std::string table;
    std::uint64_t deletes = 0;
    std::uint64_t updates = 0;
    std::uint64_t inserts = 0;
    std::uint64_t rows = 0;  // of the table, on the side that has more of them

    std::uint64_t All() const { return deletes + updates + inserts; }
};

std::uint64_t AllChanges(const std::vector<TableChanges>& plan);

// A line for each table.
void PrintPlan(const std::vector<TableChanges>& plan, Console& console);

struct ChangeLimits {
    std::optional<std::uint64_t> changes;  // of all tables together
    std::optional<double> percent;         // of the rows of each table

    void AddTo(CLI::App& command);
    // Throws std::runtime_error that names what would be more.
    void Require(const std::vector<TableChanges>& plan) const;
};

}  // namespace quillon
