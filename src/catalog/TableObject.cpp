#include "catalog/TableObject.h"

#include "catalog/CatalogBuilder.h"
#include "catalog/CatalogReader.h"
#include "catalog/Login.h"
#include "core/TableEntry.h"
#include "data/Connection.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t KeyCandidate = static_cast<std::int32_t>(IndexType::Unique) |
                                      static_cast<std::int32_t>(IndexType::PrimaryKey) |
                                      static_cast<std::int32_t>(IndexType::UniqueConstraint);

}  // namespace

std::u16string TableObject::Description() const {
    return MakeTableEntry(owner_, name_);
}

std::shared_ptr<ColumnObjects> TableObject::Columns() {
    LoadDetails();
    return columns_;
}

std::shared_ptr<IndexObjects> TableObject::Indexes() {
    LoadDetails();
    return indexes_;
}

void TableObject::LoadDetails() {
    if (columns_ != nullptr && indexes_ != nullptr) return;
    columns_ = std::make_shared<ColumnObjects>();
    indexes_ = std::make_shared<IndexObjects>();

    CatalogReader reader(LogIn(login_));
    reader.UseDatabase(database_);
    const ObjectName name{owner_, name_};
    std::vector<ObjectFacts> objects = reader.ObjectsWithColumns({&name, 1});
    const ObjectFacts* facts = FindObject(objects, name);
    if (facts == nullptr || facts->IsView != isView_) ThrowObjectNotFound(name, database_);
    for (const ColumnFacts& column : facts->Columns) {
        CatalogBuilder::AddCatalogColumn(*columns_, column);
    }

    // Only now, so that the columns stay where the indexes cannot be read.
    reader.AddIndexes({&name, 1}, objects);
    for (const IndexFacts& index : FindObject(objects, name)->Indexes) {
        if ((index.Type & KeyCandidate) != 0) CatalogBuilder::AddIndex(*indexes_, index);
    }
}

bool TableObjects::ItemExists(std::u16string_view sOwner, std::u16string_view sName) const {
    return ItemExists(MakeTableEntry(sOwner, sName));
}

std::shared_ptr<TableObject> TableObjects::AddTable(std::u16string_view sOwner,
                                                    std::u16string_view sName) {
    auto table = AddItem(std::make_shared<TableObject>(), MakeTableEntry(sOwner, sName));
    table->name_ = sName;
    table->owner_ = sOwner;
    return table;
}

}  // namespace QuillonLib
