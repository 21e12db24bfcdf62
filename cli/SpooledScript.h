// A script that waits in a temporary file until it is run.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/ScriptRunner.h"
#include "direct/SpillFile.h"

namespace quillon {

// The batches of a script of a direct comparison. Each of them leaves a number with the session
// where it has come to its end (CONTEXT_INFO): before each batch this is looked for, so that no
// batch that ended early, without an error, goes unnoticed.
class SpooledScript : public BatchSource {
  public:
    // A piece of the script: whole lines, or a line end. Throws Error FileAccess.
    void Add(std::u16string_view piece);

    // What comes next is about this table.
    void BeginTable(std::size_t table) { table_ = table; }

    // Called before each batch is run.
    std::function<void(std::size_t number)> progress;
    // The tables that a batch is about.
    std::vector<std::size_t> TablesOf(std::size_t number) const;
    // How much of a table's statements stands in the batches before that one, from 0 to 1, by their
    // length; before a batch is run, so much of the table is done.
    double DoneBefore(std::size_t number, std::size_t table) const;
    // The time that the batches of a table have taken, by table; of one about several tables each
    // has a part, by the length of its statements.
    const std::map<std::size_t, std::chrono::duration<double>>& Times() const { return times_; }

    std::size_t Count() const override { return batches_.size() + (open_.empty() ? 0 : 1); }
    std::u16string Batch(std::size_t number) override;
    void Look(QuillonLib::Connection& connection, std::size_t number) override;

  private:
    struct Part {
        std::size_t table = 0;
        std::size_t size = 0;  // characters
    };
    struct Place {
        std::uint64_t from = 0;
        std::size_t size = 0;  // bytes
        std::vector<Part> parts;
    };
    // Up to and with a batch.
    struct Reached {
        std::size_t batch = 0;
        std::uint64_t size = 0;  // characters
    };
    void EndBatch();
    void AddSizes(const std::vector<Part>& parts);
    void AddTime(const Place& place, std::chrono::duration<double> time);

    std::vector<Place> batches_;
    std::map<std::size_t, std::vector<Reached>> sizes_;  // by table
    std::u16string open_;                                // the last one
    std::vector<Part> parts_;                            // of the open batch
    std::optional<std::size_t> table_;
    QuillonLib::SpillFile file_;
    QuillonLib::ByteArray mark_;
    std::chrono::steady_clock::time_point begin_;  // of the batch that was run last
    std::map<std::size_t, std::chrono::duration<double>> times_;
};

}  // namespace quillon
