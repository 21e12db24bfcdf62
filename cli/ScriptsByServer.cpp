#include <memory>
#include <string>
#include <vector>

#include "cli/AbandonOnInterrupt.h"
#include "cli/CommandOptions.h"
#include "cli/Roads.h"
#include "cli/ScriptFile.h"
#include "cli/ScriptPlan.h"

namespace quillon {

int WriteScriptsByServer(const ScriptFileOptions& options, Console& console) {
    options.script.RequireWholeRows(options.comparison);
    const auto comparison = Prepare(options.comparison.Request(console), console);
    options.script.RequireWholeRows(*comparison);
    const LinkedServerCleanup cleanup(*comparison, console);
    const ScriptPlan plan =
        PlanScripts(*comparison, Run(*comparison, console), options.script.Plan(options.to != "2"));
    const ScriptMaker maker(*comparison, plan, options.script, console);
    std::vector<std::unique_ptr<ScriptSink>> files;
    for (const int side : options.Sides()) {
        std::u16string script;
        {
            const AbandonOnInterrupt silent([&] { files.clear(); });
            script = maker.ScriptFor(side == 1 ? Target::Database1 : Target::Database2);
        }
        files.push_back(ScriptSink::Open(options.FileFor(side), options.Encoding(), console));
        files.back()->Write(script);
    }
    ScriptSink::FinishAll(files);
    const auto tables = plan.Tables();
    if (options.to != "2") NoteCascades(tables, *comparison->databases.obDB1, console);
    if (options.to != "1") NoteCascades(tables, *comparison->databases.obDB2, console);
    NoteLeftOut(plan.leftOut, console);
    return options.comparison.Accepted(GravestCode(plan.leftOut));
}

}  // namespace quillon
