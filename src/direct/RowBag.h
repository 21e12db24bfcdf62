// The rows of one side of a table without a key, by their hashes. Not installed.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "direct/RowHash.h"
#include "direct/SpillFile.h"

namespace QuillonLib {

// Rows lie in partitions by the first byte of their hash. What exceeds the room in memory goes to a
// file, and is read back partition by partition.
class RowBag {
  public:
    static constexpr std::size_t Partitions = 256;

    // `room`: bytes of rows in memory, at most.
    explicit RowBag(std::size_t room) : room_(room) {}

    void Add(const RowHash& hash, std::string_view row);

    // Bytes of rows in memory; the others are in the file.
    std::size_t Held() const noexcept { return held_; }

    // Each row of the partition, in the order in which they were added.
    void Visit(std::size_t partition,
               const std::function<void(const RowHash& hash, std::string_view row)>& visit);

  private:
    struct Segment {
        std::uint64_t from = 0;
        std::size_t size = 0;
    };
    struct Partition {
        std::vector<Segment> spilled;
        std::string bytes;
    };

    void Spill();

    std::size_t room_;
    std::size_t held_ = 0;
    std::array<Partition, Partitions> partitions_;
    SpillFile file_;
};

}  // namespace QuillonLib
