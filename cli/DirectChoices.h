// The options of direct comparisons: how rows are matched, what of them is compared, and when two
// values are equal.
#pragma once

#include <string>
#include <vector>

#include "cli/Comparison.h"
#include "cli/DatabaseOptions.h"
#include "cli/TableSelection.h"
#include "direct/DirectOptions.h"

namespace CLI {
class App;
}

namespace quillon {

class DirectChoices {
  public:
    void AddTo(CLI::App& command);

    // For a command that is about one table: choices need not name it.
    void OfTable(const std::string& table) { table_ = table; }

    // The tables of both databases in their order, each with what is chosen for it; choices of
    // tables that one database has are left aside. Indexes and columns are those of the request,
    // which gets what its template chooses where the options do not. Throws CLI::ValidationError
    // for a choice of a table that is not among them, and of an index or column that is not there.
    std::vector<QuillonLib::DirectTable> Tables(const TableLists& lists,
                                                ComparisonRequest& request) const;
    // Throws CLI::ValidationError for a column to ignore that none of the tables has.
    void RequireIgnored(const DatabaseOptions::Databases& databases,
                        const std::vector<std::u16string>& entries) const;
    QuillonLib::DirectOptions Options() const;
    // "without regard to case, without blanks at the end"; empty where equality is exact.
    std::string Loosened() const;

  private:
    std::vector<std::string> keys_;
    std::vector<std::string> conditions_;
    std::vector<std::string> ignored_;
    bool ignoreCase_ = false;
    bool ignoreTrailingBlanks_ = false;
    int floatDigits_ = 0;
    bool snapshot_ = false;
    int jobs_ = 2;
    std::string table_;  // the only one, as it was typed; empty where there may be more
};

}  // namespace quillon
