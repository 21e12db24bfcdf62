#include "direct/TableShape.h"

#include <algorithm>
#include <utility>

#include "catalog/Identifiers.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "direct/Drift.h"

namespace QuillonLib {

namespace {

using Names = std::vector<std::u16string>;

bool Contains(const Names& names, std::u16string_view name) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::u16string& each) { return EqualIgnoringCase(each, name); });
}

const ColumnFacts* FindByName(const std::vector<ColumnFacts>& columns, std::u16string_view name) {
    const ColumnFacts* alike = nullptr;
    for (const ColumnFacts& column : columns) {
        if (column.Name == name) return &column;
        if (alike == nullptr && EqualIgnoringCase(column.Name, name)) alike = &column;
    }
    return alike;
}

bool SameSet(const Names& a, const Names& b) {
    return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&](const std::u16string& name) {
               return Contains(b, name);
           });
}

bool IsUnique(const IndexFacts& index) {
    return index.Has(IndexType::PrimaryKey) || index.Has(IndexType::UniqueConstraint) ||
           index.Has(IndexType::Unique);
}

class Planner {
  public:
    Planner(const ObjectFacts& side1, const ObjectFacts& side2, const DirectTable& table,
            const Names& ignored)
        : side1_(side1), side2_(side2), table_(table), ignored_(ignored) {}

    TablePlan Plan() {
        plan_.shape.table = side1_.Object;
        plan_.shape.table2 = side2_.Object;
        plan_.shape.view = side1_.IsView || side2_.IsView;
        RequireDistinctNames(side1_);
        RequireDistinctNames(side2_);
        plan_.shape.drift = FindDrift(side1_, side2_);
        RequireNamed(table_.keyColumns);
        RequireNamed(table_.comparedColumns);
        const Names key = ChooseKey();
        for (const ColumnFacts& column : side1_.Columns)
            Take(column, Contains(key, column.Name));
        for (const ColumnFacts& column : side2_.Columns) {
            if (FindByName(side1_.Columns, column.Name) == nullptr) {
                Omit(column.Name,
                     IsIgnored(column.Name) ? DirectOmission::Ignored : DirectOmission::OnlyIn2);
            }
        }
        for (const std::u16string& name : key) {
            const auto& columns = plan_.shape.columns;
            const auto found = std::find_if(
                columns.begin(), columns.end(),
                [&](const auto& column) { return EqualIgnoringCase(column.side1.Name, name); });
            plan_.shape.key.push_back(static_cast<std::size_t>(found - columns.begin()));
        }
        return std::move(plan_);
    }

  private:
    bool IsIgnored(std::u16string_view name) const {
        return Contains(ignored_, name) || Contains(table_.ignoredColumns, name);
    }

    bool IsChosen(std::u16string_view name) const {
        return table_.comparedColumns.empty() || Contains(table_.comparedColumns, name);
    }

    // Columns are matched whatever the case of their names. Of two such columns one would be
    // matched with the wrong one, or with none.
    void RequireDistinctNames(const ObjectFacts& side) const {
        for (auto one = side.Columns.begin(); one != side.Columns.end(); ++one) {
            const auto twin = std::find_if(one + 1, side.Columns.end(), [&](const auto& column) {
                return EqualIgnoringCase(column.Name, one->Name);
            });
            if (twin == side.Columns.end()) continue;
            throw Error(ErrorNumber::Comparison, u"Table " + Entry() +
                                                     u" has columns whose names differ in case "
                                                     u"only: " +
                                                     one->Name + u" and " + twin->Name + u".");
        }
    }

    void RequireNamed(const Names& names) const {
        for (const std::u16string& name : names) {
            if (FindByName(side1_.Columns, name) != nullptr &&
                FindByName(side2_.Columns, name) != nullptr) {
                continue;
            }
            throw Error(ErrorNumber::ItemNotFound,
                        u"Table " + Entry() + u" has no column " + name + u" on both sides.");
        }
    }

    std::u16string Entry() const { return MakeTableEntry(side1_.Object.Owner, side1_.Object.Name); }

    void Omit(std::u16string_view name, DirectOmission why, std::u16string reason = {}) {
        plan_.shape.omitted.push_back({std::u16string(name), why, std::move(reason)});
    }

    void Take(const ColumnFacts& column, bool key) {
        if (!key && IsIgnored(column.Name)) return Omit(column.Name, DirectOmission::Ignored);
        const ColumnFacts* const other = FindByName(side2_.Columns, column.Name);
        if (other == nullptr) return Omit(column.Name, DirectOmission::OnlyIn1);
        if (column.DataType == u"timestamp" || other->DataType == u"timestamp") {
            return Omit(column.Name, DirectOmission::RowVersion);
        }
        if (column.Computed || other->Computed) return Omit(column.Name, DirectOmission::Computed);
        if (column.Generated || other->Generated) {
            return Omit(column.Name, DirectOmission::Generated);
        }
        if (column.ColumnSet || other->ColumnSet) {
            return Omit(column.Name, DirectOmission::ColumnSet);
        }
        if (!key && !IsChosen(column.Name)) return Omit(column.Name, DirectOmission::NotChosen);
        auto pair = PairColumns(column, *other);
        if (auto* const reason = std::get_if<std::u16string>(&pair)) {
            return Omit(column.Name, DirectOmission::NotComparable, std::move(*reason));
        }
        auto& taken = plan_.pairs.emplace_back(std::get<ColumnPair>(std::move(pair)));
        taken.field = fields_;
        fields_ += taken.Fields();
        plan_.shape.columns.push_back({column, *other, key});
    }

    // Why the column cannot be part of a key; empty where it can.
    std::u16string KeyHindrance(std::u16string_view name) const {
        const ColumnFacts& one = *FindByName(side1_.Columns, name);
        const ColumnFacts& two = *FindByName(side2_.Columns, name);
        if (one.Computed || two.Computed) return u"it is computed";
        if (one.Generated || two.Generated) return u"the server writes it itself";
        const auto pair = PairColumns(one, two);
        if (const auto* const reason = std::get_if<std::u16string>(&pair)) return *reason;
        if (CanBeKey(std::get<ColumnPair>(pair))) return {};
        return u"rows cannot be ordered by its type";
    }

    bool CanServe(const IndexFacts& index) const {
        return std::all_of(index.Columns.begin(), index.Columns.end(), [&](const auto& name) {
            return FindByName(side2_.Columns, name) != nullptr && KeyHindrance(name).empty();
        });
    }

    Names ChooseKey() {
        if (!table_.keyColumns.empty()) {
            for (const std::u16string& name : table_.keyColumns) {
                const std::u16string hindrance = KeyHindrance(name);
                if (hindrance.empty()) continue;
                throw Error(ErrorNumber::Comparison, u"Column " + name + u" of table " + Entry() +
                                                         u" cannot be a key: " + hindrance + u".");
            }
            plan_.shape.keyIsUnique =
                HasUnique(side1_, table_.keyColumns) && HasUnique(side2_, table_.keyColumns);
            return table_.keyColumns;
        }
        for (const bool primary : {true, false}) {
            for (const IndexFacts& index : side1_.Indexes) {
                if (index.Has(IndexType::PrimaryKey) != primary || !IsUnique(index)) continue;
                if (!HasUnique(side2_, index.Columns) || !CanServe(index)) continue;
                plan_.shape.keyIsUnique = true;
                return index.Columns;
            }
        }
        return {};
    }

    static bool HasUnique(const ObjectFacts& table, const Names& columns) {
        return std::any_of(table.Indexes.begin(), table.Indexes.end(),
                           [&](const IndexFacts& index) {
                               return IsUnique(index) && SameSet(index.Columns, columns);
                           });
    }

    const ObjectFacts& side1_;
    const ObjectFacts& side2_;
    const DirectTable& table_;
    const Names& ignored_;
    TablePlan plan_;
    std::size_t fields_ = 0;
};

}  // namespace

TablePlan PlanTable(const ObjectFacts& side1, const ObjectFacts& side2, const DirectTable& table,
                    const std::vector<std::u16string>& ignoredColumns) {
    return Planner(side1, side2, table, ignoredColumns).Plan();
}

}  // namespace QuillonLib
