#include "cli/SyncPlan.h"

#include <limits>
#include <stdexcept>

#include "cli/NumberText.h"
#include "cli/ParsedOption.h"
#include "cli/Printable.h"

namespace quillon {

namespace {

// "2.5", not "2.500000".
std::string PercentText(double percent) {
    std::string text = std::to_string(percent);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

// Never true of a table without changes, and true of any change where no row may change.
bool IsMoreThan(double percent, const TableChanges& table) {
    return 100 * static_cast<long double>(table.All()) >
           static_cast<long double>(percent) * static_cast<long double>(table.rows);
}

// The parser of options takes "-1" for the largest number there is, and "nan" for one between any
// two.
template <class Number>
Number ParseLimit(const std::string& text, Number most) {
    const auto number = ParseNumber<Number>(text);
    if (!number || !(*number >= 0 && *number <= most)) {
        throw std::runtime_error("\"" + text + "\" is no number from 0 to " +
                                 (most == 100 ? "100" : std::to_string(most)));
    }
    return *number;
}

}  // namespace

std::uint64_t AllChanges(const std::vector<TableChanges>& plan) {
    std::uint64_t all = 0;
    for (const TableChanges& table : plan)
        all += table.All();
    return all;
}

void PrintPlan(const std::vector<TableChanges>& plan, Console& console) {
    console.Print();
    for (const TableChanges& table : plan) {
        console.Print(table.table + ": to delete " + std::to_string(table.deletes) +
                      ", to update " + std::to_string(table.updates) + ", to insert " +
                      std::to_string(table.inserts));
    }
    console.Flush();
}

void ChangeLimits::AddTo(CLI::App& command) {
    AddParsed(
        command, "--max-changes", changes,
        [](const std::string& text) {
            return ParseLimit(text, std::numeric_limits<std::uint64_t>::max());
        },
        "Refuse to change more rows than this, of all tables together")
        ->type_name("N");
    AddParsed(
        command, "--max-percent", percent,
        [](const std::string& text) { return ParseLimit(text, 100.0); },
        "Refuse to change more than this part of any table's rows: of those that it has on the "
        "side where it has more")
        ->type_name("P");
}

void ChangeLimits::Require(const std::vector<TableChanges>& plan) const {
    const std::uint64_t all = AllChanges(plan);
    if (changes && all > *changes) {
        throw std::runtime_error(std::to_string(all) +
                                 " rows would change, more than --max-changes " +
                                 std::to_string(*changes) + " allows; nothing was changed");
    }
    if (!percent) return;
    for (const TableChanges& table : plan) {
        if (!IsMoreThan(*percent, table)) continue;
        throw std::runtime_error(Printable(table.table) + ": " + std::to_string(table.All()) +
                                 " of " + std::to_string(table.rows) +
                                 " rows would change, more than --max-percent " +
                                 PercentText(*percent) + " allows; nothing was changed");
    }
}

}  // namespace quillon
