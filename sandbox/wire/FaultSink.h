// Lets a batch run until it has returned so many rows, and ends it there.
#pragma once

#include "../Backend.h"
#include "../Sandbox.h"

namespace sandbox::wire {

class FaultSink : public ResultSink {
  public:
    // `fault` is of a kind that strikes after rows.
    FaultSink(ResultSink& inner, const Fault& fault) : inner_(inner), fault_(fault) {}

    void Columns(const std::vector<ColumnInfo>& columns) override;
    bool Row(const Cell* cells) override;
    void StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) override;
    void Say(const Message& message) override;
    void DatabaseChanged(const std::u16string& from, const std::u16string& to) override;

    // The batch is over. A fault that found too few rows strikes now.
    void End();

  private:
    void StrikeNow();

    ResultSink& inner_;
    const Fault& fault_;
    int rows_ = 0;
    bool struck_ = false;
};

}  // namespace sandbox::wire
