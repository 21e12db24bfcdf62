#include "cli/TemplateFile.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "cli/Paths.h"
#include "core/LibraryFolder.h"
#include "core/SystemError.h"
#include "templates/LoadFailure.h"

namespace quillon {

namespace {

using namespace QuillonLib;
namespace fs = std::filesystem;

std::string FullPath(const std::string& path) {
    return path.empty() ? ToUtf8((LibraryFolder() / "Templates.xml").u16string()) : path;
}

// Whether there is one. Throws when it cannot be told.
bool Exists(const std::string& path) {
    std::error_code failure;
    const fs::file_status status = fs::status(PathOf(path), failure);
    if (status.type() == fs::file_type::not_found) return false;
    if (failure) throw std::runtime_error("cannot read " + path + ": " + ToUtf8(TextOf(failure)));
    return true;
}

std::unique_ptr<ComparisonTemplates> LoadStore(const std::string& path) {
    auto store = std::make_unique<ComparisonTemplates>();
    const std::u16string file = FromUtf8(path);
    if (!store->Load(file) && Exists(path)) {
        throw std::runtime_error("cannot read the template file " + path + ": " +
                                 WhyNotLoaded(file));
    }
    return store;
}

// The names in the file. Those that differ in case only the store cannot hold side by side.
std::shared_ptr<NameList> NamesIn(ComparisonTemplates& store, const std::string& path) {
    try {
        return store.Templates();
    } catch (const Error& error) {
        if (error.Number() == ErrorNumber::DuplicateKey) {
            throw std::runtime_error(path +
                                     " has two templates whose names are equal, in any case");
        }
        if (error.Number() == ErrorNumber::InvalidUseOfNull) {
            throw std::runtime_error(path + " has an element without its name or id");
        }
        throw;
    }
}

}  // namespace

TemplateFile TemplateFile::Existing(const std::string& path) {
    const std::string full = FullPath(path);
    if (!Exists(full)) throw std::runtime_error("there is no template file " + full);
    return TemplateFile(full);
}

TemplateFile TemplateFile::ExistingOrNew(const std::string& path) {
    return TemplateFile(FullPath(path));
}

TemplateFile::TemplateFile(std::string path) : path_(std::move(path)) {
    const auto store = LoadStore(path_);
    const auto names = NamesIn(*store, path_);
    names_.assign(names->begin(), names->end());
    const std::u16string& last = store->CurrentTemplate();
    inUse_ = last.empty() ? std::u16string(DefaultTemplate) : last;
}

void TemplateFile::RequireUsableName(std::u16string_view name) {
    if (name.empty()) throw std::runtime_error("the name of a template cannot be empty");
    if (name.find(u'\'') != std::u16string::npos) {
        throw std::runtime_error("the name of a template cannot hold an apostrophe: " +
                                 ToUtf8(name));
    }
}

bool TemplateFile::Has(std::u16string_view name) const {
    return std::find(names_.begin(), names_.end(), name) != names_.end();
}

void TemplateFile::Require(std::u16string_view name) const {
    if (Has(name)) return;
    std::string text = path_ + " has no template named " + ToUtf8(name) + "; it has";
    if (names_.empty()) throw std::runtime_error(text + " none");
    const char* separator = ": ";
    for (const std::u16string& other : names_) {
        text += separator + ToUtf8(other);
        separator = ", ";
    }
    throw std::runtime_error(text);
}

// A name that is stored as the last one would be current without being bound once the file is open,
// so it is loaded before anything else.
std::unique_ptr<ComparisonTemplates> TemplateFile::Open(std::u16string_view name) const {
    RequireUsableName(name);
    auto store = LoadStore(path_);
    store->LoadTemplate(name);
    NamesIn(*store, path_);  // one that stands inside another element has been made a second time
    return store;
}

TemplateContents TemplateFile::Read(std::u16string_view name) const {
    Require(name);
    const auto store = Open(name);
    return {store->Database1(),
            store->Database2(),
            store->Database3(),
            std::get<TextArray>(store->Items(tmpTable)),
            std::get<std::shared_ptr<NameList>>(store->Items(tmpIndex)),
            std::get<std::shared_ptr<ColumnLists>>(store->Items(tmpColumn))};
}

}  // namespace quillon
