// Differences that wait until the order of their tables is known. Not installed.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "direct/DirectResult.h"
#include "direct/Outlet.h"
#include "direct/SpillFile.h"

namespace QuillonLib {

class DifferenceSpool {
  public:
    void Add(const DirectDifference& difference);

    // How many there are of the table.
    std::uint64_t Count(std::size_t table) const;
    // Each difference of the table, in order; as often as wanted.
    void Visit(std::size_t table, const std::function<void(const FoundDifference&)>& visit);

  private:
    struct Segment {
        std::uint64_t from = 0;
        std::size_t size = 0;
    };
    void Spill();

    std::vector<std::vector<Segment>> tables_;  // by table
    std::vector<std::uint64_t> counts_;         // by table
    std::size_t table_ = 0;                     // whose differences are in `bytes_`
    std::string bytes_;
    SpillFile file_;
};

}  // namespace QuillonLib
