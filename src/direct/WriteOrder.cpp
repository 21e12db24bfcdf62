#include "direct/WriteOrder.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "core/Text.h"

namespace QuillonLib {

namespace {

constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

struct Edge {
    const ForeignKeyFacts* key;
    std::size_t child;
    std::size_t parent;
};

bool SameName(const ObjectName& a, const ObjectName& b) {
    return EqualIgnoringCase(a.Owner, b.Owner) && EqualIgnoringCase(a.Name, b.Name);
}

std::size_t FindTable(const std::vector<WrittenTable>& tables, const ObjectName& name) {
    // Two names may differ in case alone.
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (tables[i].name.Owner == name.Owner && tables[i].name.Name == name.Name) return i;
    }
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (SameName(tables[i].name, name)) return i;
    }
    return None;
}

std::size_t FindColumn(const WrittenTable& table, const std::u16string& name) {
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        if (EqualIgnoringCase(table.columns[i], name)) return i;
    }
    return None;
}

bool IsComputed(const WrittenTable& table, const std::u16string& name) {
    return std::any_of(
        table.computed.begin(), table.computed.end(),
        [&](const std::u16string& computed) { return EqualIgnoringCase(computed, name); });
}

// Takes tables whose parents are all taken, again and again. Where none is left that can be taken,
// there is a cycle, which the table with the fewest open parents breaks.
std::vector<std::size_t> Sorted(std::size_t count, const std::vector<Edge>& edges) {
    std::vector<std::size_t> open(count, 0);
    std::vector<std::vector<std::size_t>> children(count);
    for (const Edge& edge : edges) {
        if (edge.child == edge.parent) continue;
        ++open[edge.child];
        children[edge.parent].push_back(edge.child);
    }
    std::vector<std::size_t> order;
    std::vector<bool> taken(count, false);
    while (order.size() < count) {
        std::size_t best = None;
        for (std::size_t i = 0; i < count && (best == None || open[best] > 0); ++i) {
            if (!taken[i] && (best == None || open[i] < open[best])) best = i;
        }
        taken[best] = true;
        order.push_back(best);
        for (const std::size_t child : children[best])
            --open[child];
    }
    return order;
}

class WritePlanner {
  public:
    WritePlanner(const std::vector<WrittenTable>& tables, const std::vector<ForeignKeyFacts>& keys)
        : tables_(tables) {
        for (const ForeignKeyFacts& key : keys) {
            const std::size_t child = FindTable(tables, key.Table);
            const std::size_t parent = FindTable(tables, key.Referenced);
            if (!key.Enabled || parent == None) continue;
            if (Acts(key, parent) || PassesOn(key, parent)) {
                unheld_.push_back(&key);
            } else if (child != None) {
                edges_.push_back({&key, child, parent});
            }
        }
    }

    WriteOrder Plan() {
        WriteOrder plan;
        plan.order = Sorted(tables_.size(), edges_);
        plan.deferred.resize(tables_.size());
        for (const ForeignKeyFacts* const key : unheld_)
            plan.suspended.push_back(*key);
        std::vector<std::size_t> place(tables_.size());
        for (std::size_t i = 0; i < plan.order.size(); ++i)
            place[plan.order[i]] = i;
        for (const Edge& edge : edges_) {
            if (!IsInTheWay(edge, place[edge.child] <= place[edge.parent])) continue;
            const std::optional<std::size_t> column = ColumnToDefer(edge);
            if (!column || ReferredIsChanged(edge)) {
                plan.suspended.push_back(*edge.key);
                continue;
            }
            std::vector<std::size_t>& deferred = plan.deferred[edge.child];
            if (std::find(deferred.begin(), deferred.end(), *column) == deferred.end()) {
                deferred.push_back(*column);
            }
        }
        return plan;
    }

  private:
    // `against`: the child is written before its parent, or is its own.
    bool IsInTheWay(const Edge& edge, bool against) const {
        const WrittenTable& child = tables_[edge.child];
        const bool refers = IsChanged(edge, false);
        if (against && (child.inserts || child.deletes || refers)) return true;
        return (refers && tables_[edge.parent].deletes) || ReferredIsChanged(edge);
    }

    // Whether the server would delete or change referring rows by itself, of tables that are not
    // written, too.
    bool Acts(const ForeignKeyFacts& key, std::size_t parent) const {
        return (key.ActsOnDelete && tables_[parent].deletes) ||
               (key.ActsOnUpdate && IsChanged({&key, None, parent}, true));
    }

    // Whether what is referred to may be given up by one row, and taken by another, in statements
    // of their own: rows that are updated pass it on at once, those of one key have the same.
    bool PassesOn(const ForeignKeyFacts& key, std::size_t parent) const {
        const WrittenTable& table = tables_[parent];
        if (IsChanged({&key, None, parent}, true)) return table.inserts || table.deletes;
        return table.inserts && table.deletes && !SettlesKey(key, table) && IsWritten(key, table);
    }

    // Whether rows with the same referred values are one row to the comparison.
    static bool SettlesKey(const ForeignKeyFacts& key, const WrittenTable& table) {
        return !table.key.empty() &&
               std::all_of(table.key.begin(), table.key.end(), [&](const std::u16string& name) {
                   return std::any_of(key.Columns.begin(), key.Columns.end(),
                                      [&](const auto& columns) {
                                          return EqualIgnoringCase(columns.second, name);
                                      });
               });
    }

    static bool IsWritten(const ForeignKeyFacts& key, const WrittenTable& table) {
        return std::all_of(key.Columns.begin(), key.Columns.end(), [&](const auto& columns) {
            return FindColumn(table, columns.second) != None || IsComputed(table, columns.second);
        });
    }

    bool ReferredIsChanged(const Edge& edge) const { return IsChanged(edge, true); }

    bool IsChanged(const Edge& edge, bool referred) const {
        const WrittenTable& table = tables_[referred ? edge.parent : edge.child];
        return std::any_of(
            edge.key->Columns.begin(), edge.key->Columns.end(), [&](const auto& columns) {
                const std::u16string& name = referred ? columns.second : columns.first;
                const std::size_t at = FindColumn(table, name);
                if (at != None) return bool{table.changed[at]};
                // what it is computed from is not known: any column
                return IsComputed(table, name) &&
                       std::find(table.changed.begin(), table.changed.end(), true) !=
                           table.changed.end();
            });
    }

    // With one column NULL, a foreign key is not checked.
    std::optional<std::size_t> ColumnToDefer(const Edge& edge) const {
        const WrittenTable& table = tables_[edge.child];
        for (const auto& columns : edge.key->Columns) {
            const std::size_t at = FindColumn(table, columns.first);
            if (at != None && table.mayBeNull[at]) return at;
        }
        return std::nullopt;
    }

    const std::vector<WrittenTable>& tables_;
    std::vector<Edge> edges_;
    std::vector<const ForeignKeyFacts*> unheld_;  // that no order of the tables would keep
};

}  // namespace

WriteOrder OrderWrites(const std::vector<WrittenTable>& tables,
                       const std::vector<ForeignKeyFacts>& keys) {
    return WritePlanner(tables, keys).Plan();
}

}  // namespace QuillonLib
