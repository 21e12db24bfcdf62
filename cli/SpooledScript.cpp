#include "cli/SpooledScript.h"

#include <memory>

namespace quillon {

namespace {

using namespace QuillonLib;

ByteArray MarkOf(Connection& connection) {
    // A Recordset shares its connection; this one is gone before the caller's.
    const std::shared_ptr<Connection> borrowed(std::shared_ptr<void>(), &connection);
    Recordset rows;
    rows.Open(u"SELECT CONTEXT_INFO()", borrowed);
    const Value mark = rows.Fields(std::size_t{0}).Value();
    return mark.IsNull() ? ByteArray() : mark.Get<ByteArray>();
}

}  // namespace

void SpooledScript::Add(std::u16string_view piece) {
    if (piece == u"GO") return EndBatch();
    if (open_.empty() && piece == CrLf) return;
    open_ += piece;
}

void SpooledScript::EndBatch() {
    const std::string_view bytes(reinterpret_cast<const char*>(open_.data()),
                                 open_.size() * sizeof(char16_t));
    batches_.push_back({file_.Append(bytes), bytes.size()});
    open_.clear();
}

std::u16string SpooledScript::Batch(std::size_t number) {
    if (number == batches_.size()) return open_;
    const Place& place = batches_[number];
    std::u16string batch(place.size / sizeof(char16_t), u'\0');
    file_.Read(place.from, reinterpret_cast<char*>(batch.data()), place.size);
    return batch;
}

void SpooledScript::Look(Connection& connection, std::size_t number) {
    if (progress) progress(number, Count());
    ByteArray mark = MarkOf(connection);
    if (number > 0 && mark == mark_) {
        throw Error(ErrorNumber::DataAccess,
                    u"Batch " + ToText(static_cast<std::int64_t>(number)) +
                        u" did not come to its end, and the server gave no reason.");
    }
    mark_ = std::move(mark);
}

}  // namespace quillon
