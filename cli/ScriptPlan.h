// Which tables of a comparison a script brings over, and which it does not, and why.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "cli/Comparison.h"
#include "cli/Console.h"
#include "cli/LeftOut.h"

namespace quillon {

struct ScriptPlan {
    // The results that have sections in the multi-table script.
    std::shared_ptr<QuillonLib::TableDifferences> ordered;
    // The tables of cycles, to be brought over by scripts of their own while foreign keys are off.
    std::vector<std::shared_ptr<QuillonLib::TableDifference>> cyclic;
    std::vector<LeftOut> leftOut;

    // Every table that the script writes to.
    std::vector<std::u16string> Tables() const;
};

struct PlanOptions {
    bool to1 = false;  // a script for database 1 is wanted, too
    bool suspendConstraints = false;
    bool ignoreReplicationColumns = false;
};

// Takes the results apart: they hold only those of `ordered` afterwards. Asks the databases for
// rows that a script could not tell apart. Throws the library's Error.
ScriptPlan PlanScripts(const Comparison& comparison,
                       std::shared_ptr<QuillonLib::TableDifferences> results,
                       const PlanOptions& options);

// Names the foreign keys by which a script that writes to these tables of its target reaches rows
// of others: what it deletes or changes cascades. Throws the library's Error.
void NoteCascades(const std::vector<std::u16string>& tables, const QuillonLib::Database& target,
                  Console& console);

}  // namespace quillon
