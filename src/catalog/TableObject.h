// One user table or indexed view of a database, and the catalog of them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "catalog/ColumnObject.h"
#include "catalog/Dependencies.h"
#include "catalog/IndexObject.h"
#include "catalog/LoginData.h"
#include "core/Export.h"
#include "core/ObjectCollection.h"

namespace QuillonLib {

class QUILLON_API TableObject {
  public:
    const std::u16string& Name() const { return name_; }
    const std::u16string& Owner() const { return owner_; }
    // The table entry, "[owner].[name]".
    std::u16string Description() const;
    bool IsView() const { return isView_; }

    // The first read of either asks the server for both, with a login of its own and the login
    // data that the Database had when its catalog was loaded. An Error of that read reaches the
    // caller; what had been read by then stays, and later reads do not ask again.
    std::shared_ptr<ColumnObjects> Columns();
    std::shared_ptr<IndexObjects> Indexes();

    // Empty unless the Database was told to CheckDependencies. Never null.
    std::shared_ptr<Dependencies> ParentDependencies() const { return parents_; }
    std::shared_ptr<Dependencies> ChildDependencies() const { return children_; }

  private:
    friend class TableObjects;
    friend struct CatalogBuilder;
    void LoadDetails();

    std::u16string name_;
    std::u16string owner_;
    bool isView_ = false;
    LoginData login_;
    std::u16string database_;
    std::shared_ptr<ColumnObjects> columns_;
    std::shared_ptr<IndexObjects> indexes_;
    std::shared_ptr<Dependencies> parents_ = std::make_shared<Dependencies>();
    std::shared_ptr<Dependencies> children_ = std::make_shared<Dependencies>();
};

// Tables and views in the order of the catalog; the key of each is its table entry.
class QUILLON_API TableObjects : public ObjectCollection<TableObject> {
  public:
    using ObjectCollection::ItemExists;
    bool ItemExists(std::u16string_view sOwner, std::u16string_view sName) const;

  private:
    friend struct CatalogBuilder;
    std::shared_ptr<TableObject> AddTable(std::u16string_view sOwner, std::u16string_view sName);
};

}  // namespace QuillonLib
