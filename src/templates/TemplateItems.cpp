// The picks of the current template: how they are held, read, checked and changed.
#include <limits>
#include <vector>

#include "core/Error.h"
#include "templates/TemplateStore.h"

namespace QuillonLib {

namespace {

// Error 5 means that the catalog has no such table; every other error goes on to the caller.
std::shared_ptr<TableObject> FindTable(Database& database, std::u16string_view sTableName) {
    const std::shared_ptr<TableObjects> tables = database.Tables();
    return tables->ItemExists(sTableName) ? tables->Item(sTableName) : nullptr;
}

}  // namespace

bool ComparisonTemplates::Store::ItemIsValid(enItemTypes enItemType, std::u16string_view sTableName,
                                             std::u16string_view sElementName) const {
    if (databasesObject == nullptr) return true;
    // The third database takes no part.
    if (databaseObjects_[0] == nullptr || databaseObjects_[1] == nullptr) return false;
    const auto table1 = FindTable(*databaseObjects_[0], sTableName);
    const auto table2 = FindTable(*databaseObjects_[1], sTableName);
    if (table1 == nullptr || table2 == nullptr) return false;
    switch (enItemType) {
        case tmpTable:
            return true;
        case tmpColumn:
            return table1->Columns()->ItemExists(sElementName) &&
                   table2->Columns()->ItemExists(sElementName);
        case tmpIndex:
            return table1->Indexes()->ItemExists(sElementName) &&
                   table2->Indexes()->ItemExists(sElementName);
    }
    return false;
}

void ComparisonTemplates::Store::Add(enItemTypes enItemType, std::u16string_view sTableName,
                                     std::u16string_view sElementName) {
    switch (enItemType) {
        case tmpTable:
            LoadTableItems();
            return AddTable(sTableName);
        case tmpColumn:
            LoadColumnItems();
            return AddColumn(sTableName, sElementName);
        case tmpIndex:
            LoadIndexItems();
            return AddIndex(sTableName, sElementName);
    }
}

void ComparisonTemplates::Store::AddTable(std::u16string_view sTableName) {
    if (!ItemIsValid(tmpTable, sTableName, {})) return;
    tableList_->Add(std::u16string(sTableName), sTableName);
    dirty = true;
}

void ComparisonTemplates::Store::AddColumn(std::u16string_view sTableName,
                                           std::u16string_view sColumn) {
    if (!ItemIsValid(tmpColumn, sTableName, sColumn)) return;
    if (!columnLists_->ItemExists(sTableName)) {
        columnLists_->Add(std::make_shared<NameList>(), sTableName);
        columnTableList_->Add(std::u16string(sTableName), sTableName);
    }
    ColumnsOf(sTableName)->Add(std::u16string(sColumn), sColumn);
    dirty = true;
}

void ComparisonTemplates::Store::AddIndex(std::u16string_view sTableName,
                                          std::u16string_view sIndex) {
    if (!ItemIsValid(tmpIndex, sTableName, sIndex)) return;
    indexList_->Add(std::u16string(sIndex), sTableName);
    indexTableList_->Add(std::u16string(sTableName), sTableName);
    dirty = true;
}

void ComparisonTemplates::Store::Remove(enItemTypes enItemType, std::u16string_view sTableName,
                                        std::u16string_view sElementName) {
    switch (enItemType) {
        case tmpTable:
            LoadTableItems();
            tableList_->Remove(sTableName);
            break;
        case tmpColumn:
            LoadColumnItems();
            RemoveColumn(sTableName, sElementName);
            break;
        case tmpIndex:
            LoadIndexItems();
            indexList_->Remove(sTableName);
            indexTableList_->Remove(sTableName);
            break;
    }
    dirty = true;  // for unknown kinds too
}

// The lists are handed out, and so may hold what a caller put in. Error 5 where there is no list.
std::shared_ptr<NameList> ComparisonTemplates::Store::ColumnsOf(
    std::u16string_view sTableName) const {
    std::shared_ptr<NameList> columns = columnLists_->Item(sTableName);
    if (columns == nullptr) {
        throw Error(ErrorNumber::ObjectNotSet, u"Object variable or With block variable not set");
    }
    return columns;
}

void ComparisonTemplates::Store::RemoveColumn(std::u16string_view sTableName,
                                              std::u16string_view sColumn) {
    bool tableIsDone = sColumn.empty();
    if (!tableIsDone) {
        const std::shared_ptr<NameList> columns = ColumnsOf(sTableName);
        columns->Remove(sColumn);
        tableIsDone = columns->Count() == 0;
    }
    if (tableIsDone) {
        columnLists_->Remove(sTableName);
        columnTableList_->Remove(sTableName);
    }
}

bool ComparisonTemplates::Store::ItemExists(enItemTypes enItemType, std::u16string_view sTableName,
                                            std::u16string_view sElementName) {
    switch (enItemType) {
        case tmpTable:
            LoadTableItems();
            return tableList_->ItemExists(sTableName);
        case tmpColumn:
            LoadColumnItems();
            return columnLists_->ItemExists(sTableName) &&
                   ColumnsOf(sTableName)->ItemExists(sElementName);
        case tmpIndex:
            LoadIndexItems();
            return indexList_->ItemExists(sTableName) &&
                   indexList_->Item(sTableName) == sElementName;
    }
    return true;
}

ComparisonTemplates::ItemsResult ComparisonTemplates::Store::Items(enItemTypes enItemType) {
    switch (enItemType) {
        case tmpTable: {
            LoadTableItems();
            // The names are counted in 16 bits.
            if (tableList_->Count() > std::numeric_limits<std::int16_t>::max()) {
                throw Error(ErrorNumber::Overflow, u"Overflow");
            }
            return TextArray(std::vector<std::u16string>(tableList_->begin(), tableList_->end()));
        }
        case tmpColumn:
            LoadColumnItems();
            return columnLists_;
        case tmpIndex:
            LoadIndexItems();
            return indexList_;
    }
    return std::monostate();
}

void ComparisonTemplates::Store::LoadTableItems() {
    if (bound_.Tables) return;
    LoadTemplate(std::u16string(currentTemplate));
    bound_.Tables = GetListElement("tables");
    tableList_ = std::make_shared<NameList>();
    // Whatever their name: only the list of columns asks for it.
    bound_.Tables.ForEachChild([this](const TemplateElement& table) {
        Add(tmpTable, table.Attribute("id"), {});
        dirty = false;
    });
}

void ComparisonTemplates::Store::LoadColumnItems() {
    if (bound_.Columns) return;
    LoadTemplate(std::u16string(currentTemplate));
    bound_.Columns = GetListElement("columns");
    columnLists_ = std::make_shared<ColumnLists>();
    columnTableList_ = std::make_shared<NameList>();
    bound_.Columns.ForEachChild("table", [this](const TemplateElement& table) {
        table.ForEachChild("column", [&](const TemplateElement& column) {
            Add(tmpColumn, table.Attribute("id"), column.Attribute("id"));
            dirty = false;
        });
    });
}

void ComparisonTemplates::Store::LoadIndexItems() {
    if (bound_.Indexes) return;
    LoadTemplate(std::u16string(currentTemplate));
    bound_.Indexes = GetListElement("indexes");
    indexList_ = std::make_shared<NameList>();
    indexTableList_ = std::make_shared<NameList>();
    bound_.Indexes.ForEachChild("table", [this](const TemplateElement& table) {
        const TemplateElement index = table.FirstChild();
        if (!index) return;
        Add(tmpIndex, table.Attribute("id"), index.Attribute("id"));
        dirty = false;
    });
}

void ComparisonTemplates::Store::LoadDatabaseNames() {
    if (bound_.Databases[0] && bound_.Databases[1] && bound_.Databases[2]) return;
    LoadTemplate(std::u16string(currentTemplate));
    GetDatabaseElements();
    for (std::size_t number = 0; number < databaseNames_.size(); ++number) {
        databaseNames_[number] = bound_.Databases[number].Attribute("name");
    }
    for (std::size_t number = 0; number < databaseNames_.size(); ++number) {
        databaseObjects_[number] = FindDatabase(databaseNames_[number]);
    }
}

// The index names stay on purpose: they are seen by Items, written by no Persist, and stand in the
// way of picking an index of the same table again until they are read anew.
void ComparisonTemplates::Store::ResetItemLists() {
    tableList_ = std::make_shared<NameList>();
    columnLists_ = std::make_shared<ColumnLists>();
    columnTableList_ = std::make_shared<NameList>();
    indexTableList_ = std::make_shared<NameList>();
}

std::shared_ptr<Database> ComparisonTemplates::Store::FindDatabase(
    std::u16string_view description) const {
    if (databasesObject == nullptr) return nullptr;
    for (const auto& database : *databasesObject) {
        if (database->Description() == description) return database;
    }
    return nullptr;
}

const std::u16string& ComparisonTemplates::Store::DatabaseName(std::size_t number) {
    LoadDatabaseNames();
    return databaseNames_[number];
}

void ComparisonTemplates::Store::DatabaseName(std::size_t number, std::u16string_view value) {
    if (databaseNames_[number] == value) return;
    ResetItemLists();
    databaseNames_[number] = value;
    databaseObjects_[number] = FindDatabase(value);
    dirty = true;
}

}  // namespace QuillonLib
