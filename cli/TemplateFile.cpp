#include "cli/TemplateFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "core/LibraryFolder.h"

namespace quillon {

namespace {

using namespace QuillonLib;
namespace fs = std::filesystem;

constexpr const char16_t* DefaultTemplate = u"Default";

std::string FullPath(const std::string& path) {
    return path.empty() ? ToUtf8((LibraryFolder() / "Templates.xml").u16string()) : path;
}

// Whether there is one. Throws when it cannot be told.
bool Exists(const std::string& path) {
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (status.type() == fs::file_type::not_found) return false;
    if (failure) throw std::runtime_error("cannot read " + path + ": " + failure.message());
    return true;
}

// Why a file that is there was not taken.
std::string Reason(const std::string& path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (fs::is_directory(status)) return "it is a folder";
    if (!fs::is_regular_file(status)) return "it is no regular file";
    errno = 0;
    if (!std::ifstream(path, std::ios::binary)) {
        return std::error_code(errno, std::generic_category()).message();
    }
    return "it is not well-formed XML";
}

std::unique_ptr<ComparisonTemplates> LoadStore(const std::string& path) {
    auto store = std::make_unique<ComparisonTemplates>();
    if (!store->Load(FromUtf8(path)) && Exists(path)) {
        throw std::runtime_error("cannot read the template file " + path + ": " + Reason(path));
    }
    return store;
}

// The store refuses names that its list cannot hold side by side.
std::shared_ptr<NameList> NamesIn(ComparisonTemplates& store, const std::string& path) {
    try {
        return store.Templates();
    } catch (const Error& error) {
        if (error.Number() != ErrorNumber::DuplicateKey) throw;
        throw std::runtime_error(path + " has two templates whose names differ in case only");
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
    inUse_ = store->CurrentTemplate().empty() ? DefaultTemplate : store->CurrentTemplate();
}

bool TemplateFile::Has(const std::u16string& name) const {
    return std::find(names_.begin(), names_.end(), name) != names_.end();
}

void TemplateFile::Require(const std::u16string& name) const {
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
std::unique_ptr<ComparisonTemplates> TemplateFile::Open(const std::u16string& name) const {
    auto store = LoadStore(path_);
    store->LoadTemplate(name);
    return store;
}

TemplateContents TemplateFile::Read(const std::u16string& name) const {
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
