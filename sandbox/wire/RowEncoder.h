// A row set on the wire: its description and its rows, for the version that the client speaks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "../Backend.h"
#include "CodePage.h"
#include "Packets.h"
#include "Version.h"

namespace sandbox::wire {

struct WireColumn;

// What the encoders of one row share.
struct RowContext {
    ResponseStream& out;
    TdsVersion version;
    // Room that the short values of a row need at most. It is reserved once for the row; a long
    // value, which reserves for itself, reserves it again for what follows.
    std::size_t shortBound = 0;
    // A value longer than its column allows; it was cut.
    const WireColumn* overlong = nullptr;
};

// Stores one value at `p`, inside of the room reserved, and returns where the next one goes.
using EncodeCell = std::uint8_t* (*)(const WireColumn&, const Cell&, std::uint8_t* p, RowContext&);

struct WireColumn {
    ColumnInfo info;
    EncodeCell encode = nullptr;
    std::uint8_t size = 0;           // bytes of a fixed-size value
    std::uint8_t timeSize = 0;       // bytes of the time of day in time, datetime2, datetimeoffset
    std::int64_t timeUnit = 1;       // 100 ns in one unit of the time's scale
    std::size_t limit = 0;           // bytes of a short value of varying size
    std::size_t bound = 0;           // room that a short value needs at most
    const CodePage* page = nullptr;  // of char, varchar, text
};

class RowEncoder {
  public:
    RowEncoder(ResponseStream& out, TdsVersion version) : context_{out, version} {}

    // Writes the description of a row set; what follows are its rows.
    void Describe(const std::vector<ColumnInfo>& columns);

    // Writes one row. Returns the column whose value had to be cut, or null.
    const ColumnInfo* Encode(const Cell* cells);

  private:
    RowContext context_;
    std::vector<WireColumn> columns_;
};

}  // namespace sandbox::wire
