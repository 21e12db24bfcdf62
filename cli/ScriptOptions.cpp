#include "cli/ScriptOptions.h"

#include <CLI/App.hpp>
#include <utility>

#include "catalog/Login.h"
#include "cli/AbandonOnInterrupt.h"
#include "cli/ForeignKeys.h"
#include "cli/Interrupt.h"
#include "cli/Roads.h"

namespace quillon {

using namespace QuillonLib;

void ScriptOptions::AddTo(CLI::App& command) {
    const auto add = [&](const char* name, bool& flag, const char* what) {
        command.add_flag(name, flag, what)->group(ByServerGroup);
    };
    add("--no-comments", noComments, "Leave the comment lines out");
    add("--ignore-replication-columns", ignoreReplication,
        "Leave columns named msrepl_tran_version out");
    add("--suspend-constraints", suspendConstraints,
        "Switch foreign keys off inside the transaction, and check every row before its end; "
        "brings over tables that refer to each other, too");
    add("--whole-rows", wholeRows,
        "With --columns: write whole rows although only these columns are compared");
}

enShowOptions ScriptOptions::Flags() const {
    enShowOptions flags = cpoShowDifferent | cpoShowMissing | cpoShowAdditional;
    if (noComments) flags = flags | cpoNoScriptComments;
    if (ignoreReplication) flags = flags | cpoIgnoreReplCols;
    return flags;
}

namespace {

[[noreturn]] void ThrowFewColumns(const std::string& who) {
    throw CLI::ValidationError(who +
                               " compares few columns, but a script writes whole rows; say "
                               "--whole-rows if that is meant");
}

}  // namespace

void ScriptOptions::RequireWholeRows(const ComparisonOptions& comparison) const {
    if (!wholeRows && comparison.ChoosesColumns()) ThrowFewColumns("--columns");
}

void ScriptOptions::RequireWholeRows(const Comparison& comparison) const {
    if (!wholeRows && comparison.choosesColumns) ThrowFewColumns("the template");
}

ScriptMaker::ScriptMaker(const Comparison& comparison, const ScriptPlan& plan,
                         const ScriptOptions& options, Console& console)
    : comparison_(comparison), plan_(plan), options_(options) {
    const AbandonOnInterrupt silent;
    Utils utils;
    utils.EventSink(ProgressSink(console));
    const auto& [obDB1, obDB2, obDB3] = comparison.databases;
    utils.GetUpdateScripts(obDB1, obDB2, obDB3, plan.ordered, left_, right_, options.Flags(), 0);
    for (const auto& result : plan.cyclic) {
        std::shared_ptr<Recordset> equal;
        std::shared_ptr<Recordset> different;
        std::shared_ptr<Recordset> rsRight;
        std::shared_ptr<Recordset> rsLeft;
        auto& [left, right] = cyclic_.emplace_back();
        utils.GetRecordsets(obDB1, obDB2, obDB3, result, equal, different, rsRight, rsLeft, right,
                            left, options.Flags(), 0);
    }
    console.ClearProgress();
    StopIfInterrupted();
}

std::u16string ScriptMaker::ScriptFor(Target target) const {
    if (options_.suspendConstraints) return Suspending(target);
    return target == Target::Database1 ? left_ : right_;
}

// Transactions within the outer one: what each of them commits, the outer one decides. A row that
// breaks a foreign key does not end a batch on the server, so each check stands in a batch of its
// own with a look at what came of it: no client commits past it.
std::u16string ScriptMaker::Suspending(Target target) const {
    const bool on1 = target == Target::Database1;
    const auto connection =
        OpenConnection(on1 ? *comparison_.databases.obDB1 : *comparison_.databases.obDB2);
    const auto keys = KeysToSuspend(ReadForeignKeys(connection), plan_.Tables());
    std::u16string script;
    if (!options_.noComments) {
        script.append(
            u"-- Foreign keys are switched off inside the transaction; every row is checked before "
            u"its end\r\n");
    }
    script.append(u"BEGIN TRANSACTION\r\n");
    for (const std::u16string& statement : SwitchedOff(keys))
        script.append(statement).append(CrLf);
    script.append(on1 ? left_ : right_);
    for (const auto& [left, right] : cyclic_)
        script.append(on1 ? left : right);
    for (const std::u16string& statement : SwitchedOn(keys)) {
        script.append(u"GO\r\n" + statement +
                      u"\r\n"
                      u"IF @@ERROR <> 0 AND @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n");
    }
    return script.append(
        u"GO\r\n"
        u"COMMIT TRANSACTION\r\n");
}

}  // namespace quillon
