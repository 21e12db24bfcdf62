// What the direct road asks a server besides its catalog. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "catalog/CatalogFacts.h"

namespace QuillonLib {

class Connection;

// 7, 8 (2000), 9 (2005), 10 (2008) ...
std::int32_t ServerVersion(const std::shared_ptr<Connection>& connection);

// Whether the current database lets readers ask for snapshot isolation.
bool AllowsSnapshot(const std::shared_ptr<Connection>& connection, std::int32_t version);

// The server's own counts of the rows of tables, which may lag behind; absent where it has none.
// One query, however many they are.
std::vector<std::optional<std::uint64_t>> CountedRows(const std::shared_ptr<Connection>& connection,
                                                      std::int32_t version,
                                                      std::span<const ObjectFacts> objects);

}  // namespace QuillonLib
