#include "cli/ScriptPlan.h"

#include <algorithm>
#include <array>
#include <utility>

#include "catalog/Identifiers.h"
#include "catalog/Login.h"
#include "cli/AbandonOnInterrupt.h"
#include "cli/ForeignKeys.h"
#include "cli/Printable.h"
#include "cli/ResultTable.h"
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
        for (const auto* side : {&comparison_.onlyIn1, &comparison_.onlyIn2}) {
            for (const std::u16string& table : *side)
                LeaveOut(table, "only one database has it", ExitCode::Different);
        }
        KeepOrdered();
        JudgeViews();
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
            LeaveOut(table, ErrorText(result), ExitCode::Failed);
            return false;
        }
        if (result.IsView()) {
            NoteColumns(table, verdict);
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
        for (const std::string& reason : {UnsafeKey(result), UnsafeColumn(result)}) {
            if (reason.empty()) continue;
            LeaveOut(table, reason, ExitCode::Different);
            return false;
        }
        return true;
    }

    // The parameters of a script are declared as database 1 has its columns, and a server cuts a
    // value that is longer than its parameter without a word. Rows of database 2 give keys to
    // deletes in any script, and all their values to a script for database 1.
    std::string UnsafeColumn(const TableDifference& result) {
        const TableFacts* facts = FactsOf(result.Name());
        if (facts == nullptr) return {};
        for (const auto& column : *result.Columns()) {
            const ColumnFacts* in1 = facts->in1.FindColumn(column->Name());
            const ColumnFacts* in2 = facts->in2.FindColumn(column->Name());
            if (in1 == nullptr || in2 == nullptr) continue;
            const std::string name = "its column [" + ToUtf8(column->Name()) + "] is ";
            if (in1->Identity != in2->Identity) {
                return name + "an identity column in one database only";
            }
            if (in1->Computed != in2->Computed) return name + "computed in one database only";
            if (!IsScriptColumn(*column, Flags())) continue;
            if ((column->PrimaryKey() || options_.to1) && !Fits(*in2, *in1)) {
                return name + TypeText(*in1) + " in 1 and " + TypeText(*in2) +
                       " in 2: a script would change values that do not fit";
            }
        }
        return {};
    }

    // Of a table that has a section, too: what the section does not bring over.
    void NoteColumns(const std::u16string& table, const Verdict& verdict) {
        std::string list;
        for (const auto* lines : {&verdict.drift, &verdict.notCompared}) {
            for (const std::string& line : *lines)
                list += (list.empty() ? "" : "; ") + Printable(line);
        }
        if (list.empty()) return;
        const TableFacts* facts = FactsOf(table);
        const ColumnDrift drift = facts == nullptr ? ColumnDrift() : CompareColumns(*facts);
        const bool oneSided = !drift.onlyIn1.empty() || !drift.onlyIn2.empty();
        if (!oneSided && verdict.notCompared.empty()) return;
        plan_.leftOut.push_back(
            {table, "not whole: " + list, oneSided ? ExitCode::Different : ExitCode::NotWhole});
    }

    // Why call lines could mean other rows than those that differ; empty where they cannot.
    std::string UnsafeKey(const TableDifference& result) {
        const std::u16string outside = KeyColumnOutsideScripts(*result.Columns(), Flags());
        if (!outside.empty()) {
            return "its key column [" + ToUtf8(outside) + "] cannot be written into a script";
        }
        const TableFacts* facts = FactsOf(result.Name());
        if (facts == nullptr) return "it was not there when the catalogs were read";
        const std::vector<std::u16string> key = comparison_.KeyColumns(result);
        for (std::size_t side = 0; side < 2; ++side) {
            const ObjectFacts& table = side == 0 ? facts->in1 : facts->in2;
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
                std::any_of(parents->begin(), parents->end(),
                            [&](const auto& parent) { return IsBroughtOver(parent->Name()); });
            LeaveOut(view, "it is a view: its rows follow from its tables",
                     follows ? ExitCode::Identical : ExitCode::Different);
        }
    }

    bool IsBroughtOver(const std::u16string& name) const {
        const std::vector<std::u16string> tables = plan_.Tables();
        return std::any_of(tables.begin(), tables.end(), [&](const std::u16string& table) {
            return EqualIgnoringCase(table, name);
        });
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

    const TableFacts* FactsOf(const std::u16string& table) const {
        const auto found = comparison_.facts.find(table);
        return found == comparison_.facts.end() ? nullptr : &found->second;
    }

    enShowOptions Flags() const {
        return options_.ignoreReplicationColumns ? cpoIgnoreReplCols
                                                 : static_cast<enShowOptions>(0);
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
    const AbandonOnInterrupt silent;
    return Planner(comparison, std::move(results), options).Run();
}

void NoteCascades(const std::vector<std::u16string>& tables, const Database& target,
                  Console& console) {
    const AbandonOnInterrupt silent;
    const auto isWritten = [&](const std::u16string& entry) {
        return std::any_of(tables.begin(), tables.end(), [&](const std::u16string& table) {
            return EqualIgnoringCase(table, entry);
        });
    };
    for (const ForeignKey& key : ReadForeignKeys(OpenConnection(target))) {
        if (!key.cascades || !key.enabled || !isWritten(key.referenced)) continue;
        console.Hint("quillon: foreign key " + Printable(key.name) + " in " +
                     Printable(target.Description()) + " cascades: what is deleted or changed in " +
                     Printable(key.referenced) + " reaches rows of " + Printable(key.table));
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

}  // namespace quillon
