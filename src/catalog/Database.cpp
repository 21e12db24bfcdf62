#include "catalog/Database.h"

#include <utility>

#include "catalog/CatalogBuilder.h"
#include "catalog/CatalogReader.h"
#include "catalog/DependencyLoader.h"
#include "catalog/Login.h"
#include "core/Error.h"
#include "data/Connection.h"
#include "data/PropertyBag.h"

namespace QuillonLib {

namespace {

constexpr std::int32_t LastLevelWithoutIndexedViews = 70;

}  // namespace

bool Database::Load() {
    lastError_.clear();
    try {
        LogIn(login_);
    } catch (const Error& error) {
        lastError_ = error.Description();
        throw;
    }
    return true;
}

std::shared_ptr<TableObjects> Database::Tables() {
    lastError_.clear();
    if (tables_ == nullptr) {
        try {
            tables_ = LoadCatalog();
        } catch (const Error& error) {
            lastError_ = error.Description();
            throw;
        }
    }
    return tables_;
}

std::shared_ptr<TableObjects> Database::LoadCatalog() {
    auto tables = std::make_shared<TableObjects>();
    CatalogReader reader(LogIn(login_));
    reader.UseDatabase(database_);
    for (const ObjectName& name : reader.UserTables()) {
        CatalogBuilder::AddTable(*tables, name, /*isView=*/false, login_, database_);
    }
    if (reader.CompatibilityLevel() > LastLevelWithoutIndexedViews) {
        for (const ObjectName& name : reader.IndexedViews()) {
            CatalogBuilder::AddTable(*tables, name, /*isView=*/true, login_, database_);
        }
    }
    if (checkDependencies_) LoadDependencies(*this, *tables);
    return tables;
}

void Database::WriteSettings(PropertyBag& bag) const {
    bag.Write(u"NTSecurity", login_.NTSecurity);
    bag.Write(u"Username", login_.Username);
    bag.Write(u"Database", database_);
    bag.Write(u"Server", login_.Server);
    bag.Write(u"Description", description_);
}

void Database::ReadSettings(const PropertyBag& bag) {
    login_.NTSecurity = bag.ReadBool(u"NTSecurity");
    login_.Username = bag.ReadText(u"Username");
    login_.Password.clear();
    database_ = bag.ReadText(u"Database");
    login_.Server = bag.ReadText(u"Server");
    description_ = bag.ReadText(u"Description");
}

void Database::WriteProperties(PropertyBag& bag) const {
    WriteSettings(bag);
    bag.Write(u"Tables", tables_);
}

void Database::ReadProperties(const PropertyBag& bag) {
    ReadSettings(bag);
    tables_ = bag.ReadObject<TableObjects>(u"Tables");
}

}  // namespace QuillonLib
