#include "templates/TemplateStore.h"

#include <vector>

#include "core/Error.h"
#include "core/LibraryFolder.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view DefaultTemplate = u"Default";
constexpr std::array DatabaseElementNames{"database1", "database2", "database3"};

std::u16string DefaultFileName() {
    return (LibraryFolder() / "Templates.xml").u16string();
}

// The names of a list as they are now, for walks that take names out of it.
std::vector<std::u16string> NamesOf(const NameList& list) {
    return {list.begin(), list.end()};
}

}  // namespace

bool ComparisonTemplates::Store::Load(std::u16string_view sXMLFile) {
    const std::u16string path = sXMLFile.empty() ? DefaultFileName() : std::u16string(sXMLFile);
    if (path == fileName_) return false;
    auto document = std::make_shared<TemplateDocument>();
    const bool loaded = document->Load(path);
    document_ = std::move(document);
    root_ = {};
    templateCache_ = nullptr;
    fileName_ = path;
    dirty = false;
    return loaded;
}

void ComparisonTemplates::Store::OpenTemplateRoot() {
    if (root_) return;
    Load(std::u16string(fileName_));
    root_ = document_->Root();
    if (!root_) root_ = document_->CreateRoot(u"templates");
    lastTemplateElement_ = root_.Child("lasttemplate");
    if (lastTemplateElement_) {
        currentTemplate = lastTemplateElement_.Attribute("name");
    } else {
        lastTemplateElement_ = root_.AppendChild("lasttemplate", "name", u"");
        currentTemplate.clear();
    }
    templateCache_ = nullptr;
}

TemplateElement ComparisonTemplates::Store::FindTemplate(std::u16string_view sTemplate) const {
    return root_.Select(std::u16string(u"template[@id='").append(sTemplate).append(u"']"));
}

void ComparisonTemplates::Store::GetTemplateElement() {
    TemplateElement found = FindTemplate(currentTemplate);
    if (!found) {
        found = root_.AppendChild("template", "id", currentTemplate);
        templateCache_ = nullptr;
    }
    bound_.Template = found;
}

void ComparisonTemplates::Store::GetDatabaseElements() {
    for (std::size_t number = 0; number < DatabaseElementNames.size(); ++number) {
        TemplateElement element = bound_.Template.Child(DatabaseElementNames[number]);
        if (!element) {
            element = bound_.Template.AppendChild(DatabaseElementNames[number], "name",
                                                  databaseNames_[number]);
        }
        bound_.Databases[number] = element;
    }
}

TemplateElement ComparisonTemplates::Store::GetListElement(const char* name) {
    TemplateElement element = bound_.Template.Child(name);
    return element ? element : bound_.Template.AppendChild(name);
}

// The lists in memory stay, and so become those of the template that is selected.
void ComparisonTemplates::Store::SelectTemplate(std::u16string_view sTemplate) {
    currentTemplate = sTemplate;
    GetTemplateElement();
    GetDatabaseElements();
    bound_.Tables = GetListElement("tables");
    bound_.Columns = GetListElement("columns");
    bound_.Indexes = GetListElement("indexes");
}

void ComparisonTemplates::Store::LoadTemplate(std::u16string_view sTemplate) {
    const std::u16string name(sTemplate.empty() ? DefaultTemplate : sTemplate);
    if (name == currentTemplate) return;
    OpenTemplateRoot();
    currentTemplate = name;
    Flush();
    GetTemplateElement();
    dirty = false;
}

std::shared_ptr<NameList> ComparisonTemplates::Store::Templates() {
    if (templateCache_ == nullptr) {
        OpenTemplateRoot();
        auto names = std::make_shared<NameList>();
        root_.ForEachDescendant("template", [&](const TemplateElement& element) {
            const std::u16string id = element.Attribute("id");
            names->Add(id, id);
        });
        templateCache_ = std::move(names);
    }
    return templateCache_;
}

bool ComparisonTemplates::Store::NewTemplate(std::u16string_view sTemplate) {
    if (Templates()->ItemExists(sTemplate)) return false;
    SelectTemplate(std::u16string(sTemplate));
    templateCache_ = nullptr;
    Persist();
    return true;
}

bool ComparisonTemplates::Store::RemoveTemplate(std::u16string_view sTemplate) {
    if (ToLower(sTemplate) == u"default") return false;
    LoadTemplate(std::u16string(currentTemplate));
    OpenTemplateRoot();  // where a name was current, but its file is another one's now
    if (currentTemplate == sTemplate) SelectTemplate(DefaultTemplate);
    if (const TemplateElement found = FindTemplate(sTemplate)) {
        root_.RemoveChild(found);
        templateCache_ = nullptr;
        dirty = true;
    }
    return true;
}

void ComparisonTemplates::Store::Flush() {
    const TemplateElement current = bound_.Template;
    bound_ = {};
    bound_.Template = current;
    ResetItemLists();
    dirty = false;
}

bool ComparisonTemplates::Store::Persist() {
    if (document_ == nullptr) return false;
    LoadDatabaseNames();
    LoadTableItems();
    LoadColumnItems();
    LoadIndexItems();

    lastTemplateElement_.SetAttribute("name", currentTemplate);
    for (std::size_t number = 0; number < databaseNames_.size(); ++number) {
        bound_.Databases[number].SetAttribute("name", databaseNames_[number]);
    }
    PersistTables();
    PersistColumns();
    PersistIndexes();
    document_->Save(fileName_, files_);
    dirty = false;
    return true;
}

void ComparisonTemplates::Store::PersistTables() {
    bound_.Tables.RemoveChildren();
    for (const std::u16string& table : NamesOf(*tableList_)) {
        if (ItemIsValid(tmpTable, table, {})) {
            bound_.Tables.AppendChild("table", "id", table);
        } else {
            tableList_->Remove(table);
            columnTableList_->Remove(table);
            indexTableList_->Remove(table);
        }
    }
}

void ComparisonTemplates::Store::PersistColumns() {
    bound_.Columns.RemoveChildren();
    for (const std::u16string& table : *columnTableList_) {
        TemplateElement element = bound_.Columns.AppendChild("table", "id", table);
        const std::shared_ptr<NameList> columns = ColumnsOf(table);
        for (const std::u16string& column : NamesOf(*columns)) {
            if (ItemIsValid(tmpColumn, table, column)) {
                element.AppendChild("column", "id", column);
            } else {
                columns->Remove(column);
            }
        }
    }
}

void ComparisonTemplates::Store::PersistIndexes() {
    bound_.Indexes.RemoveChildren();
    for (const std::u16string& table : *indexTableList_) {
        bound_.Indexes.AppendChild("table", "id", table)
            .AppendChild("index", "id", indexList_->Item(table));
    }
}

}  // namespace QuillonLib
