#include "compare/TableCatalog.h"

#include <utility>

#include "catalog/Database.h"
#include "core/TableEntry.h"
#include "data/Connection.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t LastLevelWithoutIndexedViews = 70;

ObjectName NameOf(const std::u16string& sTable) {
    return {GetTableOwner(sTable), GetTableName(sTable)};
}

}  // namespace

TableCatalog::TableCatalog(std::shared_ptr<Connection> connection, const Database& database,
                           const TextArray& sTables)
    : reader_(std::move(connection)), database_(database.DatabaseName()), sTables_(sTables) {
    reader_.UseDatabase(database_);
}

const ObjectFacts& TableCatalog::Find(std::int32_t index) {
    if (!known_) LoadBlock(index);
    const ObjectName name =
        NameOf(sTables_.Items[static_cast<std::size_t>(index - sTables_.LowerBound)]);
    const ObjectFacts* found = FindObject(block_, name);
    const bool viewsCount = reader_.CompatibilityLevel() > LastLevelWithoutIndexedViews;
    if (found == nullptr || (found->IsView && !viewsCount)) ThrowObjectNotFound(name, database_);
    return *found;
}

// From the entry at `index` to the end of its block: blocks begin where a comparison releases.
void TableCatalog::LoadBlock(std::int32_t index) {
    std::vector<ObjectName> names;
    do {
        names.push_back(
            NameOf(sTables_.Items[static_cast<std::size_t>(index - sTables_.LowerBound)]));
        ++index;
    } while (index <= sTables_.UpperBound() && index % BlockSize != 0);
    block_ = reader_.Objects(names);
    known_ = true;
}

}  // namespace QuillonLib
