#include "ResultWriter.h"

namespace sandbox::wire {

namespace {

constexpr std::uint16_t kSelect = 0xC1;
constexpr std::uint16_t kInsert = 0xC3;  // stands for every statement that counts rows
constexpr std::uint16_t kNoCommand = 0;

Message TooLong(const ColumnInfo& column) {
    Message message;
    message.number = 8152;
    message.text = u"A value of the column '" + column.name + u"' is longer than its type allows.";
    return message;
}

}  // namespace

void ResultWriter::Columns(const std::vector<ColumnInfo>& columns) {
    Release(true);
    rows_.Describe(columns);
}

bool ResultWriter::Row(const Cell* cells) {
    if (cancelled_.load(std::memory_order_relaxed) || tokens_.Out().Broken()) return false;
    if (const ColumnInfo* overlong = rows_.Encode(cells)) {
        Say(TooLong(*overlong));
        return false;
    }
    return true;
}

void ResultWriter::StatementDone(std::optional<std::int64_t> count, bool isSelect, bool error) {
    Release(true);
    HeldDone done;
    if (error || failedSinceDone_) done.status |= done_status::Error;
    if (count) {
        done.status |= done_status::Count;
        done.count = *count;
    }
    done.command = isSelect ? kSelect : count ? kInsert : kNoCommand;
    held_ = done;
    failedSinceDone_ = false;
}

void ResultWriter::Say(const Message& message) {
    Release(true);
    tokens_.Say(message);
    if (message.severity > 10) failed_ = failedSinceDone_ = true;
}

void ResultWriter::DatabaseChanged(const std::u16string& from, const std::u16string& to) {
    Release(true);
    tokens_.EnvironmentText(Environment::Database, to, from);
    Message changed;
    changed.number = 5701;
    changed.severity = 0;
    changed.state = 2;
    changed.text = u"Changed database context to '" + to + u"'.";
    tokens_.Say(changed);
}

void ResultWriter::End(bool last) {
    if (!held_ && (last || failedSinceDone_)) StatementDone(std::nullopt, false, failedSinceDone_);
    Release(!last);
}

void ResultWriter::Release(bool more) {
    if (!held_) return;
    if (more) held_->status |= done_status::More;
    tokens_.Done(inProcedure_ ? Token::DoneInProcedure : Token::Done, held_->status, held_->command,
                 held_->count);
    held_.reset();
}

}  // namespace sandbox::wire
