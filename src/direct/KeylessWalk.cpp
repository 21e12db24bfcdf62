#include "direct/KeylessWalk.h"

#include <cstring>
#include <unordered_map>

#include "direct/RowBag.h"
#include "direct/StoredRow.h"

namespace QuillonLib {

namespace {

struct FirstBytes {
    std::size_t operator()(const RowHash& hash) const noexcept {
        std::size_t bytes = 0;
        std::memcpy(&bytes, hash.data() + 1, sizeof bytes);
        return bytes;
    }
};
using Counts = std::unordered_map<RowHash, std::uint64_t, FirstBytes>;

}  // namespace

void WalkKeyless(const TablePlan& plan, const DirectEquality& equality, RowCursor& rows1,
                 RowCursor& rows2, DirectTableResult& result, Outlet& outlet, std::size_t room) {
    CellEncoder encoder(equality);
    RowBag bag1(room), bag2(room);
    std::string encoded, stored;
    const auto add = [&](RowBag& bag, const RowAt& row, int side) {
        encoded.clear();
        for (const ColumnPair& pair : plan.pairs)
            encoder.Append(encoded, pair, row, side);
        stored.clear();
        AppendStored(stored, MakeRow(plan.pairs, row));
        bag.Add(HashRow(encoded), stored);
        outlet.Read(result);
    };
    // by turns, so that neither server waits for the whole of the other
    for (bool more1 = true, more2 = true; more1 || more2;) {
        if (more1 && (more1 = rows1.Next())) {
            ++result.rows1;
            add(bag1, rows1.Current(), 1);
        }
        if (more2 && (more2 = rows2.Next())) {
            ++result.rows2;
            add(bag2, rows2.Current(), 2);
        }
    }

    for (std::size_t partition = 0; partition < RowBag::Partitions; ++partition) {
        outlet.Look();
        Counts unmatched;
        bag1.Visit(partition, [&](const RowHash& hash, std::string_view) { ++unmatched[hash]; });
        bag2.Visit(partition, [&](const RowHash& hash, std::string_view row) {
            const auto found = unmatched.find(hash);
            if (found != unmatched.end() && found->second > 0) {
                --found->second;
                ++result.identical;
                if (!outlet.WantsSame()) return;
                outlet.Found({DirectChange::Same, std::nullopt, ReadStored(row), {}});
                return;
            }
            ++result.onlyIn2;
            outlet.Found({DirectChange::OnlyIn2, std::nullopt, ReadStored(row), {}});
        });
        bag1.Visit(partition, [&](const RowHash& hash, std::string_view row) {
            std::uint64_t& left = unmatched[hash];
            if (left == 0) return;
            --left;
            ++result.onlyIn1;
            outlet.Found({DirectChange::OnlyIn1, ReadStored(row), std::nullopt, {}});
        });
    }
}

}  // namespace QuillonLib
