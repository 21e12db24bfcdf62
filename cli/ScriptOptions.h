// What the commands that make scripts share.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "QuillonLib.h"
#include "cli/ComparisonOptions.h"
#include "cli/Console.h"

namespace quillon {

struct ScriptOptions {
    bool noComments = false;
    bool ignoreReplication = false;

    void AddTo(CLI::App& command);
    QuillonLib::enShowOptions Flags() const;
};

// `right` is to be run on database 2, `left` on database 1.
struct Scripts {
    std::u16string left;
    std::u16string right;
};
Scripts MakeScripts(const Comparison& comparison,
                    const std::shared_ptr<QuillonLib::TableDifferences>& results,
                    const ScriptOptions& options, Console& console);

// Names the tables that could not be compared, and so are in no script. 2 if there is one, else 0.
int NoteFailures(const QuillonLib::TableDifferences& results, Console& console);

}  // namespace quillon
