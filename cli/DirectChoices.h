// Comparing directly: the rows of both sides are read and compared here.
#pragma once

#include <string>
#include <vector>

#include "cli/ComparisonOptions.h"
#include "cli/Console.h"
#include "direct/DirectComparison.h"

namespace CLI {
class App;
}

namespace quillon {

// --direct, and what it alone takes.
class DirectRoadOptions {
  public:
    void AddTo(CLI::App& command);
    bool Asked() const { return direct_; }
    // Throws CLI::ValidationError for options that make no sense, or not with each other.
    void Check(const ComparisonOptions& comparison) const;

    // The tables in their order, each with what is chosen for it. Throws CLI::ValidationError for
    // a choice of a table that is not among them.
    std::vector<QuillonLib::DirectTable> Tables(const std::vector<std::u16string>& entries) const;
    // Throws CLI::ValidationError for a column to ignore that none of the tables has.
    void RequireIgnored(const DatabaseOptions::Databases& databases,
                        const std::vector<std::u16string>& entries) const;
    QuillonLib::DirectOptions Options() const;
    // "without regard to case and blanks at the end"; empty where equality is exact.
    std::string Loosened() const;

  private:
    bool direct_ = false;
    std::vector<std::string> keys_;
    std::vector<std::string> conditions_;
    std::vector<std::string> ignored_;
    bool ignoreCase_ = false;
    bool ignoreTrailingBlanks_ = false;
    int floatDigits_ = 0;
    bool snapshot_ = false;
    int jobs_ = 2;
};

// Compares, prints the results, and returns the exit code.
int CompareDirect(const ComparisonOptions& comparison, const DirectRoadOptions& options,
                  Console& console);

}  // namespace quillon
