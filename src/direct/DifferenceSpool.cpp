#include "direct/DifferenceSpool.h"

#include <cstring>

#include "direct/StoredRow.h"

namespace QuillonLib {

namespace {

constexpr std::size_t MaxHeldBytes = std::size_t{1} << 20;

void AppendSize(std::string& out, std::uint64_t size) {
    out.append(reinterpret_cast<const char*>(&size), sizeof size);
}

std::string_view TakeSized(std::string_view& bytes) {
    std::uint64_t size = 0;
    std::memcpy(&size, bytes.data(), sizeof size);
    const std::string_view taken = bytes.substr(sizeof size, size);
    bytes.remove_prefix(sizeof size + size);
    return taken;
}

void AppendRow(std::string& out, const DirectRow* row) {
    std::string stored;
    if (row != nullptr) AppendStored(stored, *row);
    AppendSize(out, stored.size());
    out += stored;
}

FoundDifference TakeDifference(std::string_view& bytes) {
    FoundDifference found;
    found.change = static_cast<DirectChange>(bytes.front());
    bytes.remove_prefix(1);
    for (const char flag : TakeSized(bytes))
        found.changed.push_back(flag != '\0');
    const std::string_view row1 = TakeSized(bytes);
    const std::string_view row2 = TakeSized(bytes);
    if (found.change != DirectChange::OnlyIn2) found.row1 = ReadStored(row1);
    if (found.change != DirectChange::OnlyIn1) found.row2 = ReadStored(row2);
    return found;
}

}  // namespace

void DifferenceSpool::Add(const DirectDifference& difference) {
    if (difference.table != table_) {
        Spill();
        table_ = difference.table;
    }
    bytes_.push_back(static_cast<char>(difference.change));
    AppendSize(bytes_, difference.changed.size());
    for (const bool changed : difference.changed)
        bytes_.push_back(changed ? '\1' : '\0');
    AppendRow(bytes_, difference.row1);
    AppendRow(bytes_, difference.row2);
    if (counts_.size() <= table_) counts_.resize(table_ + 1);
    ++counts_[table_];
    if (bytes_.size() > MaxHeldBytes) Spill();
}

std::uint64_t DifferenceSpool::Count(std::size_t table) const {
    return table < counts_.size() ? counts_[table] : 0;
}

// Segments hold whole differences.
void DifferenceSpool::Spill() {
    if (bytes_.empty()) return;
    if (tables_.size() <= table_) tables_.resize(table_ + 1);
    tables_[table_].push_back({file_.Append(bytes_), bytes_.size()});
    bytes_.clear();
}

void DifferenceSpool::Visit(std::size_t table,
                            const std::function<void(const FoundDifference&)>& visit) {
    Spill();
    if (table >= tables_.size()) return;
    std::string bytes;
    for (const Segment& segment : tables_[table]) {
        bytes.resize(segment.size);
        file_.Read(segment.from, bytes.data(), bytes.size());
        for (std::string_view rest = bytes; !rest.empty();)
            visit(TakeDifference(rest));
    }
}

}  // namespace QuillonLib
