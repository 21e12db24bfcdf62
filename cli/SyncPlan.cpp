#include "cli/SyncPlan.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>
#include <stdexcept>
#include <system_error>

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

// The whole text as a number; the parser of options takes "-1" for the largest there is, and "nan"
// for one between any two.
template <class Number>
Number Parse(const char* option, const std::string& text, Number most) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || !(number >= 0 && number <= most)) {
        throw CLI::ValidationError(std::string(option) + ": \"" + text +
                                   "\" is no number from 0 to " +
                                   (most == 100 ? "100" : std::to_string(most)));
    }
    return number;
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
    const auto add = [&](const char* name, auto& limit, auto most, const char* what) {
        return command.add_option_function<std::string>(
            name,
            [name, &limit, most](const std::string& text) { limit = Parse(name, text, most); },
            what);
    };
    add("--max-changes", changes, std::numeric_limits<std::uint64_t>::max(),
        "Refuse to change more rows than this, of all tables together")
        ->type_name("N");
    add("--max-percent", percent, 100.0,
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
