// Cuts a synchronization script into batches, and tells what stands in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

// The batches of a script, cut at its lines that hold "GO", but not at such a line inside a
// literal, a comment or a name in brackets: rows may hold anything. Long runs of EXEC lines are cut
// further, between lines, so that no batch has many more than `linesInBatch`. Two things stand in
// batches of their own: a run of EXEC lines that the driver would not send as it stands (see
// data/BatchText.h), for such a batch has a scope of its own; and the COMMIT, which a server would
// come to after an error in the same batch. Takes time in proportion to the script's length.
std::vector<std::u16string> CutIntoBatches(std::u16string_view script, std::size_t linesInBatch);

// The call lines of a batch, whatever stands in its data, by what their procedures do.
struct CallCounts {
    std::uint64_t deletes = 0;
    std::uint64_t updates = 0;
    std::uint64_t inserts = 0;

    std::uint64_t All() const { return deletes + updates + inserts; }
};
CallCounts CountCalls(std::u16string_view batch);

// Whether a line of the batch begins with COMMIT, blanks aside, outside of all data.
bool HoldsCommit(std::u16string_view batch);

}  // namespace quillon
