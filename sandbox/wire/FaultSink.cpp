#include "FaultSink.h"

namespace sandbox::wire {

void FaultSink::Columns(const std::vector<ColumnInfo>& columns) {
    if (!struck_) inner_.Columns(columns);
}

bool FaultSink::Row(const Cell* cells) {
    if (struck_) return false;
    if (rows_ >= fault_.rows) {
        StrikeNow();
        return false;
    }
    ++rows_;
    return inner_.Row(cells);
}

void FaultSink::StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) {
    if (struck_) return;
    if (isSelect && rows_ >= fault_.rows) {
        StrikeNow();
    } else {
        inner_.StatementDone(count, isSelect, error);
    }
}

void FaultSink::Say(const Message& message) {
    if (!struck_) inner_.Say(message);
}

void FaultSink::DatabaseChanged(const std::u16string& from, const std::u16string& to) {
    inner_.DatabaseChanged(from, to);
}

void FaultSink::End() {
    if (!struck_) StrikeNow();
}

void FaultSink::StrikeNow() {
    struck_ = true;
    if (fault_.kind == FaultKind::ErrorAfterRows) {
        inner_.Say(fault_.message);
        inner_.StatementDone(std::nullopt, true, true);
    }
}

}  // namespace sandbox::wire
