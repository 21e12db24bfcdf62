// Collations by name: what a server says of each, and how it lies on the wire.
//
// Known are the Windows collations of the designators in Collations.cpp, with their versions and
// suffixes, and the SQL collations. Comparisons have one rule with three grades (see Sensitivity);
// what needs another rule, the accent-insensitive collations, is not known.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace sandbox {

enum class Sensitivity : std::uint8_t {
    IgnoreCase,  // ..._CI_AS
    Case,        // ..._CS_AS
    Binary,      // ..._BIN, ..._BIN2
};

// Of a collation, within this process. 0 is that of the server.
using CollationId = std::uint16_t;
inline constexpr CollationId kServerCollation = 0;

struct CollationFacts {
    std::u16string name;
    int codePage = 1252;     // 65001: UTF-8; 0: for national types only
    std::uint32_t lcid = 0;  // 20 bits
    int version = 0;         // 0; 1: _90, 2: _100, 3: _140
    int sortId = 0;          // of SQL collations
    Sensitivity sensitivity = Sensitivity::IgnoreCase;
    bool kanaSensitive = false, widthSensitive = false, bin2 = false, utf8 = false;
    bool supplementary = false;  // _SC, and all of version 140

    // COLLATIONPROPERTY(name, 'ComparisonStyle')
    int ComparisonStyle() const;
    // As MS-TDS lays a collation out.
    std::array<std::uint8_t, 5> WireBytes() const;
};

// The collation of that name (in any case) that a server of the major version knows; false when
// there is none.
bool FindCollation(std::u16string_view name, int serverVersion, CollationId& id);
// Of an id that FindCollation gave. The reference stays good.
const CollationFacts& FactsOf(CollationId id);

}  // namespace sandbox
