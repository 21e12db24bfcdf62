#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>

#include "catalog/Login.h"
#include "cli/CommandOptions.h"
#include "cli/ForeignKeys.h"
#include "cli/ResultTable.h"
#include "cli/Roads.h"
#include "cli/ScriptRunner.h"
#include "cli/SyncEnding.h"

namespace quillon {

namespace {

using namespace QuillonLib;

constexpr std::size_t LinesInBatch = 2000;

// The name in quotes behind "constraint", as the server's messages have it.
std::string ConstraintIn(const std::string& message) {
    const std::size_t word = message.find("constraint ");
    const std::size_t begin = message.find_first_of("\"'", word);
    if (word == std::string::npos || begin == std::string::npos) return {};
    const std::size_t end = message.find(message[begin], begin + 1);
    return end == std::string::npos ? std::string() : message.substr(begin + 1, end - begin - 1);
}

// The table that a batch is about: the one that the procedures write to which were made last.
std::string TableOf(const std::vector<std::u16string>& batches, std::size_t batch,
                    const std::vector<std::u16string>& tables) {
    constexpr std::u16string_view Create = u"CREATE PROCEDURE prcTmp_QVX_";
    if (batches[batch - 1].find(u"prcTmp_QVX_") == std::u16string::npos) return {};
    for (std::size_t i = batch; i-- > 0;) {
        if (!batches[i].starts_with(Create)) continue;
        const std::u16string_view definition = batches[i];
        const std::size_t body = definition.rfind(CrLf, definition.size() - CrLf.size() - 1);
        if (body == std::u16string_view::npos) return {};
        for (const std::u16string& table : tables) {
            if (definition.substr(body).find(u" " + table + u" ") != std::u16string_view::npos) {
                return ToUtf8(table);
            }
        }
    }
    return {};
}

// What the calls in the batches do to the tables of the plan.
std::vector<TableChanges> Planned(const ScriptPlan& plan,
                                  const std::vector<std::u16string>& batches) {
    std::vector<TableChanges> changes;
    const auto add = [&](const TableDifference& result) {
        TableChanges& table = changes.emplace_back();
        table.table = ToUtf8(result.Name());
        table.rows = static_cast<std::uint64_t>(std::max(result.RecordsIn1(), result.RecordsIn2()));
    };
    for (const auto& result : *plan.ordered)
        add(*result);
    for (const auto& result : plan.cyclic)
        add(*result);
    const std::vector<std::u16string> tables = plan.Tables();
    for (std::size_t i = 0; i < batches.size(); ++i) {
        const CallCounts calls = CountCalls(batches[i]);
        if (calls.All() == 0) continue;
        const std::string name = TableOf(batches, i + 1, tables);
        const auto table = std::find_if(changes.begin(), changes.end(),
                                        [&](const auto& each) { return each.table == name; });
        if (table == changes.end()) throw std::logic_error("a call is about no table");
        table->deletes += calls.deletes;
        table->updates += calls.updates;
        table->inserts += calls.inserts;
    }
    return changes;
}

// What a failure of a script means, and what can be done.
class FailureText {
  public:
    FailureText(const Comparison& comparison, const ScriptPlan& plan, const Database& target,
                bool suspended)
        : comparison_(comparison), plan_(plan), target_(target), suspended_(suspended) {}

    std::string Of(const BatchFailure& failure, const std::vector<std::u16string>& batches) const {
        std::string cause = failure.what();
        std::erase(cause, '\r');
        const std::string table = TableOf(batches, failure.batch, plan_.Tables());
        return "batch " + std::to_string(failure.batch) + " of " + std::to_string(failure.batches) +
               (table.empty() ? "" : ", about " + table + ",") + " failed in " +
               ToUtf8(target_.Description()) + ", and everything was rolled back:\n" + cause +
               Advice(cause);
    }

  private:
    std::string Advice(const std::string& cause) const {
        const std::string constraint = ConstraintIn(cause);
        if (constraint.empty()) return {};
        const bool foreignKey = cause.find("FOREIGN KEY") != std::string::npos ||
                                cause.find("REFERENCE constraint") != std::string::npos;
        if (!foreignKey || suspended_) {
            return "\nThe constraint " + constraint +
                   " does not hold at every step, or not for the rows that are brought over; "
                   "--suspend-constraints suspends foreign keys only.";
        }
        if (const auto other = MissingTable(constraint)) return *other;
        return "\nThe order in which a script deletes, inserts and updates cannot satisfy the "
               "foreign key " +
               constraint + " at every step; run it again with --suspend-constraints.";
    }

    // Where rows refer to a table that is not brought over, no order of statements helps; and rows
    // of such a table may refer to those that go.
    std::optional<std::string> MissingTable(const std::string& constraint) const {
        std::vector<ForeignKey> keys;
        try {
            keys = ReadForeignKeys(OpenConnection(target_));
        } catch (const Error&) {
            return std::nullopt;
        }
        const auto key = std::find_if(keys.begin(), keys.end(), [&](const ForeignKey& each) {
            return ToUtf8(each.name) == constraint;
        });
        if (key == keys.end()) return std::nullopt;
        const std::string parent = ToUtf8(key->referenced);
        const std::string begin =
            "\nThe foreign key " + constraint + " refers to " + parent + ", which ";
        if (!comparison_.facts.contains(key->referenced)) {
            return begin + "was not among the tables compared: bring it over, too.";
        }
        for (const LeftOut& table : plan_.leftOut) {
            if (EqualIgnoringCase(table.table, key->referenced)) {
                return begin + "is not brought over: " + table.reason;
            }
        }
        if (comparison_.facts.contains(key->table)) return std::nullopt;
        return "\nRows of " + ToUtf8(key->table) +
               ", which was not among the tables compared, refer by the foreign key " + constraint +
               " to rows that go: bring it over, too; or, if what they refer to comes back in the "
               "same transaction, use --suspend-constraints.";
    }

    const Comparison& comparison_;
    const ScriptPlan& plan_;
    const Database& target_;
    const bool suspended_;
};

}  // namespace

int SyncByServer(const SyncOptions& options, Console& console) {
    options.script.RequireWholeRows(options.comparison);
    const auto comparison = Prepare(options.comparison.Request(console), console);
    options.script.RequireWholeRows(*comparison);
    const LinkedServerCleanup cleanup(*comparison, console);
    const auto results = Run(*comparison, console);
    const int before = PrintResults(console, *comparison, *results);
    if (NothingToDo(before, console)) return options.comparison.Accepted(before);
    const ScriptPlan plan =
        PlanScripts(*comparison, results, options.script.Plan(options.Side() == 1));
    NoteLeftOut(plan.leftOut, console);
    const Target to = options.Side() == 1 ? Target::Database1 : Target::Database2;
    const auto& target =
        *(to == Target::Database1 ? comparison->databases.obDB1 : comparison->databases.obDB2);
    NoteCascades(plan.Tables(), target, console);
    const auto batches = CutIntoBatches(
        ScriptMaker(*comparison, plan, options.script, console).ScriptFor(to), LinesInBatch);
    const std::vector<TableChanges> changes = Planned(plan, batches);
    const std::uint64_t lines = AllChanges(changes);
    if (lines == 0) {
        console.Print("Nothing that a script can do.");
        return before;
    }
    PrintPlan(changes, console);
    options.limits.Require(changes);
    SyncEnding ending(target, lines, console, [&] {
        return PrintResults(console, *comparison, *Run(*comparison, console));
    });
    if (options.dryRun) return options.comparison.Accepted(ending.EndDryRun());
    if (!ending.MayChange(options.yes)) return ExitCode::Failed;
    const auto connection = LogInToChange(target);
    try {
        RunBatches(*connection, batches);
    } catch (const BatchFailure& failure) {
        const FailureText text(*comparison, plan, target, options.script.suspendConstraints);
        throw std::runtime_error(text.Of(failure, batches));
    } catch (const OutcomeUnknown& unknown) {
        return ending.LookAgain(unknown);
    }
    connection->Close();
    return options.comparison.Accepted(ending.Committed({}));
}

}  // namespace quillon
