#include "direct/RowBag.h"

#include <cstring>

namespace QuillonLib {

namespace {

// A record: the hash, the length of the row, the row.
constexpr std::size_t HeadSize = sizeof(RowHash) + sizeof(std::uint64_t);

void VisitRecords(std::string_view bytes,
                  const std::function<void(const RowHash&, std::string_view)>& visit) {
    while (!bytes.empty()) {
        RowHash hash;
        std::uint64_t length = 0;
        std::memcpy(hash.data(), bytes.data(), sizeof hash);
        std::memcpy(&length, bytes.data() + sizeof hash, sizeof length);
        visit(hash, bytes.substr(HeadSize, length));
        bytes.remove_prefix(HeadSize + length);
    }
}

}  // namespace

void RowBag::Add(const RowHash& hash, std::string_view row) {
    std::string& bytes = partitions_[hash.front()].bytes;
    const std::uint64_t length = row.size();
    bytes.append(reinterpret_cast<const char*>(hash.data()), sizeof hash)
        .append(reinterpret_cast<const char*>(&length), sizeof length)
        .append(row);
    held_ += HeadSize + row.size();
    if (held_ > room_) Spill();
}

// Segments hold whole records.
void RowBag::Spill() {
    for (Partition& partition : partitions_) {
        if (partition.bytes.empty()) continue;
        partition.spilled.push_back({file_.Append(partition.bytes), partition.bytes.size()});
        partition.bytes.clear();
        partition.bytes.shrink_to_fit();
    }
    held_ = 0;
}

void RowBag::Visit(std::size_t index,
                   const std::function<void(const RowHash&, std::string_view)>& visit) {
    const Partition& partition = partitions_[index];
    std::string bytes;
    for (const Segment& segment : partition.spilled) {
        bytes.resize(segment.size);
        file_.Read(segment.from, bytes.data(), bytes.size());
        VisitRecords(bytes, visit);
    }
    VisitRecords(partition.bytes, visit);
}

}  // namespace QuillonLib
