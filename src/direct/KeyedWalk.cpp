#include "direct/KeyedWalk.h"

#include <algorithm>
#include <utility>

#include "core/Error.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "direct/KeyText.h"
#include "direct/SideFailure.h"

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
        throw SideFailure(
            Error(ErrorNumber::Comparison,
                  u"Table " + MakeTableEntry(table.Owner, table.Name) + u", side " + ToText(side_) +
                      u": key " + KeyText(plan_, cursor_.Current(), side_) +
                      (key_ == previous_ ? u" came twice." : u" came out of order.")),
            side_);
    }
    return true;
}

namespace {

// Looks ahead, a short run of rows and a whole column at a time, whether the sides hold the same
// bits: that of most rows, which are the same, takes much less time than row by row.
class SameRows {
  public:
    explicit SameRows(const std::vector<ColumnPair>& pairs) : pairs_(pairs) {
        for (const ColumnPair& pair : pairs)
            bitsTell_ = bitsTell_ && pair.sameBitsAreEqual;
    }

    // Asked of each two rows of one key. True: they are the same. False: they may be all the same.
    bool operator()(const KeyedSide& side1, const KeyedSide& side2) {
        if (!bitsTell_) return false;
        if (left_ == 0) Look(side1, side2);
        --left_;
        return same_;
    }

  private:
    static constexpr std::size_t Run = 32;

    // Where a whole run is the same, so are its keys: both sides step through it together.
    void Look(const KeyedSide& side1, const KeyedSide& side2) {
        left_ = std::min({Run, side1.RowsInHand(), side2.RowsInHand()});
        const RowAt row1 = side1.Row(), row2 = side2.Row();
        same_ = std::all_of(pairs_.begin(), pairs_.end(), [&](const ColumnPair& pair) {
            return row1.Column(pair.field)
                .IsSameRun(row1.row, row2.Column(pair.field), row2.row, left_);
        });
    }

    const std::vector<ColumnPair>& pairs_;
    bool bitsTell_ = true;
    bool same_ = false;
    std::size_t left_ = 0;
};

class Merge {
  public:
    Merge(const TablePlan& plan, const DirectEquality& equality, DirectTableResult& result,
          Outlet& outlet)
        : plan_(plan), encoder_(equality), same_(plan.pairs), result_(result), outlet_(outlet) {}

    void OnlyIn1(const RowAt& row) {
        ++result_.onlyIn1;
        outlet_.Found({DirectChange::OnlyIn1, MakeRow(plan_.pairs, row), std::nullopt, {}});
    }
    void OnlyIn2(const RowAt& row) {
        ++result_.onlyIn2;
        outlet_.Found({DirectChange::OnlyIn2, std::nullopt, MakeRow(plan_.pairs, row), {}});
    }
    void Both(const KeyedSide& side1, const KeyedSide& side2) {
        const RowAt row1 = side1.Row(), row2 = side2.Row();
        if (same_(side1, side2)) return Same(row2);
        std::vector<bool> changed;
        for (std::size_t i = 0; i < plan_.pairs.size(); ++i) {
            if (encoder_.Equal(plan_.pairs[i], row1, row2)) continue;
            changed.resize(plan_.pairs.size());
            changed[i] = true;
            ++result_.changedCells[i];
        }
        if (changed.empty()) return Same(row2);
        ++result_.differing;
        outlet_.Found({DirectChange::Differs, MakeRow(plan_.pairs, row1),
                       MakeRow(plan_.pairs, row2), std::move(changed)});
    }

  private:
    void Same(const RowAt& row) {
        ++result_.identical;
        if (!outlet_.WantsSame()) return;
        outlet_.Found({DirectChange::Same, std::nullopt, MakeRow(plan_.pairs, row), {}});
    }

    const TablePlan& plan_;
    CellEncoder encoder_;
    SameRows same_;
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
            merge.Both(side1, side2);
        }
        if (order <= 0) step(side1, result.rows1);
        if (order >= 0) step(side2, result.rows2);
    }
}

}  // namespace QuillonLib
