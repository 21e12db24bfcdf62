// The state behind ComparisonTemplates, and what its operations are made of. Not installed.
//
// A store moves through these states, each visible in one member:
//
//   document        none, until the first use or Load; then one file's
//   root            absent after each Load, found or created by the next use
//   bound           the elements of the current template:
//     .Template       absent until a template is loaded by LoadTemplate or SelectTemplate
//     .Databases[n]   absent: the database names are still to be read
//     .Tables         absent: the list of tables is still to be read; the same for
//     .Columns        the column picks and
//     .Indexes        the index picks
//
// Flush takes the template back to "everything still to be read" and keeps it bound.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "templates/ComparisonTemplates.h"
#include "templates/TemplateDocument.h"

namespace QuillonLib {

class ComparisonTemplates::Store {
  public:
    explicit Store(FileOperations& files) : files_(files) {}

    bool Load(std::u16string_view sXMLFile);
    void LoadTemplate(std::u16string_view sTemplate);
    bool NewTemplate(std::u16string_view sTemplate);
    bool RemoveTemplate(std::u16string_view sTemplate);
    std::shared_ptr<NameList> Templates();
    void Flush();
    bool Persist();

    void Add(enItemTypes enItemType, std::u16string_view sTableName,
             std::u16string_view sElementName);
    void Remove(enItemTypes enItemType, std::u16string_view sTableName,
                std::u16string_view sElementName);
    bool ItemExists(enItemTypes enItemType, std::u16string_view sTableName,
                    std::u16string_view sElementName);
    ItemsResult Items(enItemTypes enItemType);

    // `number`: 0, 1 or 2.
    const std::u16string& DatabaseName(std::size_t number);
    void DatabaseName(std::size_t number, std::u16string_view value);

    std::u16string currentTemplate;
    std::shared_ptr<Databases> databasesObject;
    bool dirty = false;

  private:
    struct BoundElements {
        TemplateElement Template;
        std::array<TemplateElement, 3> Databases;
        TemplateElement Tables;
        TemplateElement Columns;
        TemplateElement Indexes;
    };

    // TemplateStore.cpp: the file and the template
    void OpenTemplateRoot();
    void SelectTemplate(std::u16string_view sTemplate);
    void GetTemplateElement();
    void GetDatabaseElements();
    TemplateElement FindTemplate(std::u16string_view sTemplate) const;
    TemplateElement GetListElement(const char* name);
    void PersistTables();
    void PersistColumns();
    void PersistIndexes();

    // TemplateItems.cpp: the picks
    bool ItemIsValid(enItemTypes enItemType, std::u16string_view sTableName,
                     std::u16string_view sElementName) const;
    void AddTable(std::u16string_view sTableName);
    void AddColumn(std::u16string_view sTableName, std::u16string_view sColumn);
    void AddIndex(std::u16string_view sTableName, std::u16string_view sIndex);
    std::shared_ptr<NameList> ColumnsOf(std::u16string_view sTableName) const;
    void RemoveColumn(std::u16string_view sTableName, std::u16string_view sColumn);
    void LoadTableItems();
    void LoadColumnItems();
    void LoadIndexItems();
    void LoadDatabaseNames();
    void ResetItemLists();
    std::shared_ptr<Database> FindDatabase(std::u16string_view description) const;

    FileOperations& files_;
    std::u16string fileName_;
    std::shared_ptr<TemplateDocument> document_;
    TemplateElement root_;
    TemplateElement lastTemplateElement_;
    BoundElements bound_;
    std::shared_ptr<NameList> templateCache_;

    // Tables by their own name; columns by table; tables with columns; indexes by table; tables
    // with an index.
    std::shared_ptr<NameList> tableList_ = std::make_shared<NameList>();
    std::shared_ptr<ColumnLists> columnLists_ = std::make_shared<ColumnLists>();
    std::shared_ptr<NameList> columnTableList_ = std::make_shared<NameList>();
    std::shared_ptr<NameList> indexList_ = std::make_shared<NameList>();
    std::shared_ptr<NameList> indexTableList_ = std::make_shared<NameList>();

    std::array<std::u16string, 3> databaseNames_;
    std::array<std::shared_ptr<Database>, 3> databaseObjects_;
};

}  // namespace QuillonLib
