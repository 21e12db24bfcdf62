// Turns what a Session reports into tokens.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "../Backend.h"
#include "RowEncoder.h"
#include "Tokens.h"

namespace sandbox::wire {

class ResultWriter : public ResultSink {
  public:
    // `inProcedure`: the statements are those of a called procedure, and the caller of this class
    // ends the response itself with End().
    ResultWriter(TokenWriter& tokens, const std::atomic<bool>& cancelled, bool inProcedure)
        : tokens_(tokens),
          rows_(tokens.Out(), tokens.Version()),
          cancelled_(cancelled),
          inProcedure_(inProcedure) {}

    void Columns(const std::vector<ColumnInfo>& columns) override;
    bool Row(const Cell* cells) override;
    void StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) override;
    void Say(const Message& message) override;
    void DatabaseChanged(const std::u16string& from, const std::u16string& to) override;

    // Whether an error was reported.
    bool Failed() const { return failed_; }

    // Writes what is still held back. What it writes is the last token of the response when
    // `last` is set; then there is always one.
    void End(bool last);

  private:
    // The end of a statement is held back until it is known whether anything follows.
    struct HeldDone {
        std::uint16_t status = 0;
        std::uint16_t command = 0;
        std::int64_t count = 0;
    };

    void Release(bool more);

    TokenWriter& tokens_;
    RowEncoder rows_;
    const std::atomic<bool>& cancelled_;
    bool inProcedure_;
    bool failed_ = false;
    bool failedSinceDone_ = false;
    std::optional<HeldDone> held_;
};

}  // namespace sandbox::wire
