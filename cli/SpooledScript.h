// A script that waits in a temporary file until it is run.
#pragma once

#include <cstdint>
#include <functional>
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

    // Called before each batch is run: how many there are, and how many have been run.
    std::function<void(std::size_t done, std::size_t count)> progress;

    std::size_t Count() const override { return batches_.size() + (open_.empty() ? 0 : 1); }
    std::u16string Batch(std::size_t number) override;
    void Look(QuillonLib::Connection& connection, std::size_t number) override;

  private:
    struct Place {
        std::uint64_t from = 0;
        std::size_t size = 0;  // bytes
    };
    void EndBatch();

    std::vector<Place> batches_;
    std::u16string open_;  // the last one
    QuillonLib::SpillFile file_;
    QuillonLib::ByteArray mark_;
};

}  // namespace quillon
