// What the commands that show rows, write scripts and run them are asked for, whichever road they
// take.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/CompareRun.h"
#include "cli/ComparisonOptions.h"
#include "cli/OutputFormat.h"
#include "cli/RowOutput.h"
#include "cli/ScriptFile.h"
#include "cli/ScriptOptions.h"
#include "cli/SyncPlan.h"

namespace quillon {

// --no-pager.
class PagerOption {
  public:
    void AddTo(CLI::App& command);
    // The result that is to come is shown by the person's pager, unless that is not wanted.
    void Apply(Console& console) const;

  private:
    bool none_ = false;
};

struct CompareOptions {
    ComparisonOptions comparison;
    FormatOption format;
    ReportChoice report;
    PagerOption pager;
};

struct RowsOptions {
    ComparisonOptions comparison;
    std::string table;
    std::string index;
    bool identical = false;
    bool different = false;
    bool here = false;
    bool there = false;
    int limit = 0;  // of each kind; 0: none
    FormatOption format;
    RowLayout layout;
    PagerOption pager;

    // Throws CLI::ValidationError for options that do not go with each other.
    void RequireSense() const;
    // Those that are named; where none is, all but the identical rows.
    std::vector<RowKind> Kinds() const;
};

struct ScriptFileOptions {
    ComparisonOptions comparison;
    ScriptOptions script;
    bool guard = false;
    std::string to = "2";
    std::string file;
    std::string encoding = "utf8";

    // Throws CLI::ValidationError for options that do not go with each other.
    void RequireSense() const;
    std::vector<int> Sides() const;  // the databases that scripts are for
    std::string FileFor(int side) const;
    ScriptEncoding Encoding() const {
        return encoding == "utf16" ? ScriptEncoding::Utf16 : ScriptEncoding::Utf8;
    }
};

struct SyncOptions {
    ComparisonOptions comparison;
    ScriptOptions script;
    bool guard = true;
    ChangeLimits limits;
    std::string to;
    bool dryRun = false;
    bool yes = false;

    int Side() const { return to == "1" ? 1 : 2; }
};

// --guard and --no-guard. `otherwise`: what goes where neither is given.
void AddGuardTo(CLI::App& command, bool& guard, const char* otherwise);

}  // namespace quillon
