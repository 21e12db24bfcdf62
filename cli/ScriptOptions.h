// What the commands share that make scripts of procedures, for comparisons by a server.
#pragma once

#include <memory>
#include <string>

#include "QuillonLib.h"
#include "cli/ComparisonOptions.h"
#include "cli/Console.h"
#include "cli/ScriptPlan.h"

namespace CLI {
class App;
}

namespace quillon {

struct ScriptOptions {
    bool noComments = false;
    bool ignoreReplication = false;
    bool suspendConstraints = false;
    bool wholeRows = false;

    void AddTo(CLI::App& command);
    QuillonLib::enShowOptions Flags() const;
    // `to1`: whether a script for database 1 is wanted.
    PlanOptions Plan(bool to1) const { return {to1, suspendConstraints, ignoreReplication}; }
    // A script writes whole rows. Throws CLI::ValidationError where only some columns are compared
    // and nobody has said that this is meant.
    void RequireWholeRows(const ComparisonOptions& comparison) const;
    // The same where a template may choose columns, too.
    void RequireWholeRows(const Comparison& comparison) const;
};

// The script to be run on database 1 or 2.
enum class Target { Database1, Database2 };

// With constraints suspended, foreign keys are read from the target. Throws the library's Error.
class ScriptMaker {
  public:
    ScriptMaker(const Comparison& comparison, const ScriptPlan& plan, const ScriptOptions& options,
                Console& console);
    std::u16string ScriptFor(Target target) const;

  private:
    std::u16string Suspending(Target target) const;

    const Comparison& comparison_;
    const ScriptPlan& plan_;
    const ScriptOptions& options_;
    std::u16string left_;                                            // to be run on database 1
    std::u16string right_;                                           // on database 2
    std::vector<std::pair<std::u16string, std::u16string>> cyclic_;  // the same for each table
};

}  // namespace quillon
