#include "scripts/TableOrder.h"

#include <limits>
#include <unordered_set>
#include <utility>

#include "catalog/Database.h"
#include "compare/TableDifference.h"
#include "core/Error.h"

namespace QuillonLib {

namespace {

class TablePlacement {
  public:
    TablePlacement(Database& obDB1, const TableDifferences& obTableDifferences)
        : obDB1_(obDB1), differences_(obTableDifferences) {
        for (const auto& difference : differences_) {
            comparedNames_.append(difference->Name()).append(u"|");
        }
    }

    std::vector<PlacedTable> Run() {
        for (std::int16_t level = 1; counter_ < differences_.Count(); ++level) {
            if (!PlaceTables(level)) break;
        }
        return std::move(placed_);
    }

  private:
    // One pass; false when it placed nothing.
    bool PlaceTables(std::int16_t level) {
        const std::size_t before = placed_.size();
        for (const auto& difference : differences_) {
            if (!difference->Error().empty() || difference->IsView() ||
                !difference->HasPrimaryKey()) {
                ++counter_;  // in every pass anew
                continue;
            }
            if (IsPlaced(difference->Name()) || !CanBePlaced(difference->Name())) continue;
            ++counter_;
            placed_.push_back({difference->Name(), difference->HasIdentity(), level});
            placedNames_.insert(difference->Name());
        }
        return placed_.size() > before;
    }

    bool CanBePlaced(const std::u16string& sTable) const {
        const auto parents = obDB1_.Tables()->Item(sTable)->ParentDependencies();
        for (const auto& parent : *parents) {
            if (Counts(parent->Name()) && !IsPlaced(parent->Name())) return false;
        }
        return true;
    }

    bool Counts(const std::u16string& name) const {
        return comparedNames_.find(name + u"|") != std::u16string::npos;
    }
    bool IsPlaced(const std::u16string& name) const { return placedNames_.contains(name); }

    Database& obDB1_;
    const TableDifferences& differences_;
    std::u16string comparedNames_;
    std::vector<PlacedTable> placed_;
    std::unordered_set<std::u16string> placedNames_;
    std::int32_t counter_ = 0;
};

}  // namespace

std::vector<PlacedTable> OrderTablesByDependency(Database& obDB1,
                                                 const TableDifferences& obTableDifferences) {
    return TablePlacement(obDB1, obTableDifferences).Run();
}

std::int16_t CountOfPlaced(const std::vector<PlacedTable>& order) {
    if (order.size() > std::numeric_limits<std::int16_t>::max()) {
        throw Error(ErrorNumber::Overflow, u"Overflow");
    }
    return static_cast<std::int16_t>(order.size());
}

}  // namespace QuillonLib
