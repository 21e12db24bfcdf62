#include "cli/SpooledScript.h"

#include <algorithm>
#include <memory>
#include <utility>

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
    if (!table_) return;
    if (parts_.empty() || parts_.back().table != *table_) parts_.push_back({*table_, 0});
    parts_.back().size += piece.size();
}

void SpooledScript::EndBatch() {
    const std::string_view bytes(reinterpret_cast<const char*>(open_.data()),
                                 open_.size() * sizeof(char16_t));
    AddSizes(parts_);
    batches_.push_back({file_.Append(bytes), bytes.size(), std::move(parts_)});
    open_.clear();
    parts_.clear();
}

std::vector<std::size_t> SpooledScript::TablesOf(std::size_t number) const {
    std::vector<std::size_t> tables;
    if (number >= batches_.size()) return tables;
    for (const Part& part : batches_[number].parts) {
        if (std::find(tables.begin(), tables.end(), part.table) == tables.end()) {
            tables.push_back(part.table);
        }
    }
    return tables;
}

// The parts of a batch are few, so that sums that grow from batch to batch cost nothing to keep.
void SpooledScript::AddSizes(const std::vector<Part>& parts) {
    for (const Part& part : parts) {
        std::vector<Reached>& reached = sizes_[part.table];
        const std::uint64_t before = reached.empty() ? 0 : reached.back().size;
        if (reached.empty() || reached.back().batch != batches_.size()) {
            reached.push_back({batches_.size(), before + part.size});
        } else {
            reached.back().size += part.size;
        }
    }
}

double SpooledScript::DoneBefore(std::size_t number, std::size_t table) const {
    const auto found = sizes_.find(table);
    if (found == sizes_.end()) return 0;
    const std::vector<Reached>& reached = found->second;
    const auto next = std::partition_point(
        reached.begin(), reached.end(), [&](const Reached& each) { return each.batch < number; });
    if (next == reached.begin()) return 0;
    return static_cast<double>((next - 1)->size) / static_cast<double>(reached.back().size);
}

void SpooledScript::AddTime(const Place& place, std::chrono::duration<double> time) {
    std::size_t all = 0;
    for (const Part& part : place.parts)
        all += part.size;
    for (const Part& part : place.parts)
        times_[part.table] += time * part.size / all;
}

std::u16string SpooledScript::Batch(std::size_t number) {
    if (number == batches_.size()) return open_;
    const Place& place = batches_[number];
    std::u16string batch(place.size / sizeof(char16_t), u'\0');
    file_.Read(place.from, reinterpret_cast<char*>(batch.data()), place.size);
    return batch;
}

void SpooledScript::Look(Connection& connection, std::size_t number) {
    const auto now = std::chrono::steady_clock::now();
    if (number > 0) AddTime(batches_[number - 1], now - begin_);
    if (progress) progress(number);
    ByteArray mark = MarkOf(connection);
    if (number > 0 && mark == mark_) {
        throw Error(ErrorNumber::DataAccess,
                    u"Batch " + ToText(static_cast<std::int64_t>(number)) +
                        u" did not come to its end, and the server gave no reason.");
    }
    mark_ = std::move(mark);
    begin_ = std::chrono::steady_clock::now();
}

}  // namespace quillon
