// The options that every command takes which begins with a comparison.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/Comparison.h"
#include "cli/Console.h"
#include "cli/DatabaseOptions.h"
#include "cli/DirectChoices.h"
#include "cli/TellingOptions.h"

namespace CLI {
class App;
}

namespace quillon {

class ComparisonOptions {
  public:
    // The databases, the road, and what belongs to one road alone; every command has these.
    void AddDatabasesTo(CLI::App& command);
    // --table and --exclude, --index and --columns.
    void AddTablesTo(CLI::App& command);
    // --columns alone.
    void AddColumnsTo(CLI::App& command);
    // --template and --templates: databases and picks from a template.
    void AddTemplateTo(CLI::App& command);
    // --only-different, --sort and --limit: of the list of tables.
    void AddListTo(CLI::App& command);
    // --accept-uncompared.
    void AddAcceptTo(CLI::App& command);

    const TellingOptions& Telling() const { return telling_; }
    // For a command that is about one table: choices need not name it.
    void OfTable(const std::string& table) {
        table_ = table;
        direct_.OfTable(table);
    }

    bool ByServer() const { return byServer_; }
    const DirectChoices& Direct() const { return direct_; }
    bool ChoosesColumns() const { return !columns_.empty(); }
    // What the options ask for. Throws the library's Error or CLI::ValidationError for options
    // that make no sense, std::runtime_error for a template that cannot be read.
    ComparisonRequest Request(Console& console) const;

    // The code to exit with where the results ask for `exitCode`.
    int Accepted(int exitCode) const;

  private:
    DatabaseOptions databases_;
    DirectChoices direct_;
    std::vector<std::string> tables_;
    std::vector<std::string> excluded_;
    std::vector<std::string> indexes_;
    std::vector<std::string> columns_;
    std::string template_;
    std::string templates_;
    bool byServer_ = false;
    TellingOptions telling_;
    std::string table_;  // the only one, as it was typed; empty where there may be more
    bool dropLinkedServers_ = false;
    TableListing listing_;
    bool acceptUncompared_ = false;
};

// What an exit code means, for the footer of a command's help.
inline constexpr const char* ExitCodesOfComparisons =
    "Exit codes: 0 all that was asked for was compared whole and is identical; 1 differences "
    "(rows, "
    "row\ncounts, tables or columns of one database alone); 2 failed; 3 no difference found, but "
    "not everything\ncould be compared (what was left out, and why, is told for each table).";

}  // namespace quillon
