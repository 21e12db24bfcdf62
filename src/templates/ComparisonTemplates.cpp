#include "templates/ComparisonTemplates.h"

#include <utility>

#include "core/WholeFile.h"
#include "templates/TemplateStore.h"

namespace QuillonLib {

ComparisonTemplates::ComparisonTemplates() : ComparisonTemplates(SystemFiles()) {
}
ComparisonTemplates::ComparisonTemplates(FileOperations& files)
    : store_(std::make_unique<Store>(files)) {
}
ComparisonTemplates::~ComparisonTemplates() = default;

bool ComparisonTemplates::Load(std::u16string_view sXMLFile) {
    return store_->Load(sXMLFile);
}
void ComparisonTemplates::LoadTemplate(std::u16string_view sTemplate) {
    store_->LoadTemplate(sTemplate);
}
bool ComparisonTemplates::NewTemplate(std::u16string_view sTemplate) {
    return store_->NewTemplate(sTemplate);
}
bool ComparisonTemplates::RemoveTemplate(std::u16string_view sTemplate) {
    // The name may be the store's own, which changes on the way.
    return store_->RemoveTemplate(std::u16string(sTemplate));
}
std::shared_ptr<NameList> ComparisonTemplates::Templates() {
    return store_->Templates();
}
const std::u16string& ComparisonTemplates::CurrentTemplate() const {
    return store_->currentTemplate;
}
void ComparisonTemplates::Flush() {
    store_->Flush();
}
bool ComparisonTemplates::Persist() {
    return store_->Persist();
}
bool ComparisonTemplates::Dirty() const {
    return store_->dirty;
}

void ComparisonTemplates::Add(enItemTypes enItemType, std::u16string_view sTableName,
                              std::u16string_view sElementName) {
    store_->Add(enItemType, sTableName, sElementName);
}
void ComparisonTemplates::Remove(enItemTypes enItemType, std::u16string_view sTableName,
                                 std::u16string_view sElementName) {
    store_->Remove(enItemType, sTableName, sElementName);
}
bool ComparisonTemplates::ItemExists(enItemTypes enItemType, std::u16string_view sTableName,
                                     std::u16string_view sElementName) {
    return store_->ItemExists(enItemType, sTableName, sElementName);
}
ComparisonTemplates::ItemsResult ComparisonTemplates::Items(enItemTypes enItemType) {
    return store_->Items(enItemType);
}

const std::u16string& ComparisonTemplates::Database1() {
    return store_->DatabaseName(0);
}
const std::u16string& ComparisonTemplates::Database2() {
    return store_->DatabaseName(1);
}
const std::u16string& ComparisonTemplates::Database3() {
    return store_->DatabaseName(2);
}
void ComparisonTemplates::Database1(std::u16string_view sDatabase1) {
    store_->DatabaseName(0, sDatabase1);
}
void ComparisonTemplates::Database2(std::u16string_view sDatabase2) {
    store_->DatabaseName(1, sDatabase2);
}
void ComparisonTemplates::Database3(std::u16string_view sDatabase3) {
    store_->DatabaseName(2, sDatabase3);
}

std::shared_ptr<Databases> ComparisonTemplates::DatabasesObject() const {
    return store_->databasesObject;
}
void ComparisonTemplates::DatabasesObject(std::shared_ptr<Databases> obDatabasesObject) {
    store_->databasesObject = std::move(obDatabasesObject);
}

}  // namespace QuillonLib
