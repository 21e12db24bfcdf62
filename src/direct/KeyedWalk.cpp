#include "direct/KeyedWalk.h"

#include <utility>

#include "core/Error.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "direct/KeyText.h"

namespace QuillonLib {

KeyedSide::KeyedSide(const TablePlan& plan, int side, RowCursor& cursor)
    : plan_(plan), side_(side), cursor_(cursor), encoder_(plan.pairs, plan.shape.key) {
}

bool KeyedSide::Next() {
    if (!cursor_.Next()) {
        atEnd_ = true;
        return false;
    }
    std::swap(key_, previous_);
    encoder_.Encode(key_, cursor_.Current(), side_);
    if (!std::exchange(first_, false) && key_ <= previous_) {
        const ObjectName& table = side_ == 1 ? plan_.shape.table : plan_.shape.table2;
        throw Error(ErrorNumber::Comparison,
                    u"Table " + MakeTableEntry(table.Owner, table.Name) + u", side " +
                        ToText(side_) + u": key " + KeyText(plan_, cursor_.Current(), side_) +
                        (key_ == previous_ ? u" came twice." : u" came out of order."));
    }
    return true;
}

namespace {

class Merge {
  public:
    Merge(const TablePlan& plan, const DirectEquality& equality, DirectTableResult& result,
          Outlet& outlet)
        : plan_(plan), encoder_(equality), result_(result), outlet_(outlet) {}

    void OnlyIn1(const RowAt& row) {
        ++result_.onlyIn1;
        outlet_.Found({DirectChange::OnlyIn1, MakeRow(plan_.pairs, row), std::nullopt, {}});
    }
    void OnlyIn2(const RowAt& row) {
        ++result_.onlyIn2;
        outlet_.Found({DirectChange::OnlyIn2, std::nullopt, MakeRow(plan_.pairs, row), {}});
    }
    void Both(const RowAt& row1, const RowAt& row2) {
        std::vector<bool> changed;
        for (std::size_t i = 0; i < plan_.pairs.size(); ++i) {
            if (encoder_.Equal(plan_.pairs[i], row1, row2)) continue;
            changed.resize(plan_.pairs.size());
            changed[i] = true;
            ++result_.changedCells[i];
        }
        if (changed.empty()) {
            ++result_.identical;
            if (!outlet_.WantsSame()) return;
            outlet_.Found({DirectChange::Same, std::nullopt, MakeRow(plan_.pairs, row2), {}});
            return;
        }
        ++result_.differing;
        outlet_.Found({DirectChange::Differs, MakeRow(plan_.pairs, row1),
                       MakeRow(plan_.pairs, row2), std::move(changed)});
    }

  private:
    const TablePlan& plan_;
    CellEncoder encoder_;
    DirectTableResult& result_;
    Outlet& outlet_;
};

}  // namespace

void WalkKeyed(const TablePlan& plan, const DirectEquality& equality, RowCursor& rows1,
               RowCursor& rows2, DirectTableResult& result, Outlet& outlet) {
    KeyedSide side1(plan, 1, rows1);
    KeyedSide side2(plan, 2, rows2);
    Merge merge(plan, equality, result, outlet);
    const auto step = [&](KeyedSide& side, std::uint64_t& rows) {
        if (!side.Next()) return;
        ++rows;
        outlet.Read(result);
    };
    step(side1, result.rows1);
    step(side2, result.rows2);
    while (!side1.AtEnd() || !side2.AtEnd()) {
        const int order = side1.AtEnd() ? 1 : side2.AtEnd() ? -1 : side1.Key().compare(side2.Key());
        if (order < 0) {
            merge.OnlyIn1(side1.Row());
        } else if (order > 0) {
            merge.OnlyIn2(side2.Row());
        } else {
            merge.Both(side1.Row(), side2.Row());
        }
        if (order <= 0) step(side1, result.rows1);
        if (order >= 0) step(side2, result.rows2);
    }
}

}  // namespace QuillonLib
