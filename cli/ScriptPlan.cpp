#include "cli/ScriptPlan.h"

#include <algorithm>
#include <array>
#include <utility>

#include "catalog/Identifiers.h"
#include "catalog/Login.h"
#include "cli/TableDependencies.h"
#include "cli/Verdict.h"
#include "scripts/ScriptColumns.h"
#include "scripts/TableOrder.h"

namespace quillon {

namespace {

using namespace QuillonLib;

class Planner {
  public:
    Planner(const Comparison& comparison, std::shared_ptr<TableDifferences> results,
            const PlanOptions& options)
        : comparison_(comparison), results_(std::move(results)), options_(options) {}

    ScriptPlan Run() {
        for (const auto& group :
             GroupByDependency(*comparison_.databases.obDB1, comparison_.tables))
            PlanGroup(group);
        JudgeViews();
        for (const auto* side : {&comparison_.onlyIn1, &comparison_.onlyIn2}) {
            for (const std::u16string& table : *side)
                LeaveOut(table, "only one database has it", ExitCode::Different);
        }
        KeepOrdered();
        return std::move(plan_);
    }

  private:
    void PlanGroup(const std::vector<std::u16string>& group) {
        const bool cycle = group.size() > 1;
        for (const std::u16string& table : group) {
            const auto result = results_->Item(table);
            const Verdict verdict = Judge(comparison_, *result);
            if (verdict.kind == Verdict::Kind::Identical) continue;
            if (!CanHaveScript(*result, verdict)) continue;
            if (!cycle) {
                withSection_.push_back(table);
            } else if (options_.suspendConstraints) {
                plan_.cyclic.push_back(result);
            } else {
                LeaveOut(table,
                         "it belongs to a cycle of tables that refer to each other; "
                         "--suspend-constraints brings it over",
                         ExitCode::Different);
            }
        }
    }

    // Notes why, where it cannot.
    bool CanHaveScript(const TableDifference& result, const Verdict& verdict) {
        const std::u16string& table = result.Name();
        if (verdict.kind == Verdict::Kind::Failed) {
            LeaveOut(table, ToUtf8(result.Error()), ExitCode::Failed);
            return false;
        }
        if (result.IsView()) {
            if (!result.Identical()) views_.push_back(table);
            return false;
        }
        if (!result.HasPrimaryKey()) {
            LeaveOut(table, "the databases share no key to match its rows by",
                     quillon::ExitCodeOf(verdict));
            return false;
        }
        NoteColumns(table, verdict);
        if (result.Identical()) return false;
        if (const std::string reason = UnsafeKey(result); !reason.empty()) {
            LeaveOut(table, reason, ExitCode::Different);
            return false;
        }
        return true;
    }

    // Of a table that has a section, too: what the section does not bring over.
    void NoteColumns(const std::u16string& table, const Verdict& verdict) {
        std::string list;
        for (const auto* lines : {&verdict.drift, &verdict.notCompared}) {
            for (const std::string& line : *lines)
                list += (list.empty() ? "" : "; ") + line;
        }
        if (list.empty()) return;
        const TableFacts& facts = comparison_.facts.at(table);
        const ColumnDrift drift = CompareColumns(facts);
        const bool oneSided = drift.onlyIn1 + drift.onlyIn2 > 0;
        if (!oneSided && verdict.notCompared.empty()) return;
        plan_.leftOut.push_back(
            {table, "not whole: " + list, oneSided ? ExitCode::Different : ExitCode::NotWhole});
    }

    // Why call lines could mean other rows than those that differ; empty where they cannot.
    std::string UnsafeKey(const TableDifference& result) {
        const enShowOptions flags =
            options_.ignoreReplicationColumns ? cpoIgnoreReplCols : static_cast<enShowOptions>(0);
        const std::u16string outside = KeyColumnOutsideScripts(*result.Columns(), flags);
        if (!outside.empty()) {
            return "its key column [" + ToUtf8(outside) + "] cannot be written into a script";
        }
        const TableFacts& facts = comparison_.facts.at(result.Name());
        const std::vector<std::u16string> key = comparison_.KeyColumns(result);
        for (std::size_t side = 0; side < 2; ++side) {
            const ObjectFacts& table = side == 0 ? facts.in1 : facts.in2;
            const std::string where = " in database " + std::to_string(side + 1);
            if (HasNullKeys(side, result.Name(), table, key)) {
                return "its key holds NULL" + where + ", which no script can match";
            }
            if (!HasUniqueIndexWithin(table, key) && HasDoubleKeys(side, result.Name(), key)) {
                return "its key is not unique" + where;
            }
        }
        return {};
    }

    bool HasNullKeys(std::size_t side, const std::u16string& entry, const ObjectFacts& table,
                     const std::vector<std::u16string>& key) {
        std::u16string condition;
        for (const std::u16string& name : key) {
            const ColumnFacts* column = table.FindColumn(name);
            if (column == nullptr || !column->AllowNulls) continue;
            condition += (condition.empty() ? u"" : u" OR ") + QuoteIdentifier(name) + u" IS NULL";
        }
        if (condition.empty()) return false;
        return Count(side, u"SELECT COUNT(*) FROM " + Quoted(entry) + u" WHERE " + condition) > 0;
    }

    bool HasDoubleKeys(std::size_t side, const std::u16string& entry,
                       const std::vector<std::u16string>& key) {
        std::u16string list;
        for (const std::u16string& name : key)
            list += (list.empty() ? u"" : u", ") + QuoteIdentifier(name);
        return Count(side, u"SELECT COUNT(*) FROM (SELECT " + list + u" FROM " + Quoted(entry) +
                               u" GROUP BY " + list + u" HAVING COUNT(*) > 1) d") > 0;
    }

    static std::u16string Quoted(const std::u16string& entry) {
        return QuoteIdentifier(GetTableOwner(entry)) + u"." + QuoteIdentifier(GetTableName(entry));
    }

    std::int64_t Count(std::size_t side, const std::u16string& sql) {
        auto& connection = connections_[side];
        if (connection == nullptr) {
            const auto& databases = comparison_.databases;
            connection = OpenConnection(side == 0 ? *databases.obDB1 : *databases.obDB2);
        }
        Recordset rows;
        rows.Open(sql, connection);
        return ToInt64(rows.Fields(std::size_t{0}).Value());
    }

    // The rows of a view follow from those of its tables.
    void JudgeViews() {
        const auto catalog = comparison_.databases.obDB1->Tables();
        for (const std::u16string& view : views_) {
            const auto parents = catalog->Item(view)->ParentDependencies();
            const bool follows =
                std::any_of(parents->begin(), parents->end(), [&](const auto& parent) {
                    return std::any_of(withSection_.begin(), withSection_.end(),
                                       [&](const std::u16string& table) {
                                           return EqualIgnoringCase(table, parent->Name());
                                       });
                });
            LeaveOut(view, "it is a view: its rows follow from its tables",
                     follows ? ExitCode::Identical : ExitCode::Different);
        }
    }

    // What the results hold from here on is what the library writes sections for; it says itself
    // which tables it finds a place for.
    void KeepOrdered() {
        const auto remove = [&](const auto& isWanted) {
            for (const std::u16string& table : comparison_.tables) {
                if (results_->ItemExists(table) && !isWanted(table)) results_->Remove(table);
            }
        };
        const auto holds = [](const std::vector<std::u16string>& list,
                              const std::u16string& table) {
            return std::find(list.begin(), list.end(), table) != list.end();
        };
        remove([&](const std::u16string& table) { return holds(withSection_, table); });
        std::vector<std::u16string> placed;
        for (const PlacedTable& table :
             OrderTablesByDependency(*comparison_.databases.obDB1, *results_)) {
            placed.push_back(table.Name);
        }
        for (const std::u16string& table : withSection_) {
            if (!holds(placed, table)) {
                LeaveOut(table, "no place was found for it among the tables it depends on",
                         ExitCode::Different);
            }
        }
        remove([&](const std::u16string& table) { return holds(placed, table); });
        plan_.ordered = results_;
    }

    void LeaveOut(const std::u16string& table, std::string reason, int exitCode) {
        plan_.leftOut.push_back({table, std::move(reason), exitCode});
    }

    const Comparison& comparison_;
    const std::shared_ptr<TableDifferences> results_;
    const PlanOptions& options_;
    ScriptPlan plan_;
    std::vector<std::u16string> withSection_;
    std::vector<std::u16string> views_;
    std::array<std::shared_ptr<Connection>, 2> connections_;
};

}  // namespace

ScriptPlan PlanScripts(const Comparison& comparison, std::shared_ptr<TableDifferences> results,
                       const PlanOptions& options) {
    return Planner(comparison, std::move(results), options).Run();
}

void NoteLeftOut(const ScriptPlan& plan, Console& console) {
    for (const LeftOut& table : plan.leftOut) {
        std::string reason = table.reason;
        std::erase(reason, '\r');
        console.Note("quillon: left out: " + ToUtf8(table.table) + ": " + reason);
    }
}

std::vector<std::u16string> ScriptPlan::Tables() const {
    std::vector<std::u16string> tables;
    for (const auto& result : *ordered)
        tables.push_back(result->Name());
    for (const auto& result : cyclic)
        tables.push_back(result->Name());
    return tables;
}

int ScriptPlan::GravestCode() const {
    constexpr std::array Gravest{ExitCode::Failed, ExitCode::Different, ExitCode::NotWhole};
    for (const int code : Gravest) {
        for (const LeftOut& table : leftOut) {
            if (table.exitCode == code) return code;
        }
    }
    return ExitCode::Identical;
}

}  // namespace quillon
