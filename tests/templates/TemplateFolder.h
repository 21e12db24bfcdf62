// A folder with a template file for each test, and the picks that a template holds.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/Text.h"
#include "templates/ComparisonTemplates.h"
#include "tests/support/TemporaryFolder.h"

namespace QuillonLib {

using Texts = std::vector<std::u16string>;

// Templates of a file that is loaded from the beginning.
class LoadedTemplates : public ComparisonTemplates {
  public:
    explicit LoadedTemplates(const std::filesystem::path& file) { Load(file.u16string()); }
};

class TemplateFolder {
  protected:
    TemplateFolder() : folder(test::MakeTemporaryFolder()), file(folder / "Templates.xml") {}
    ~TemplateFolder() {
        using std::filesystem::perms;
        std::filesystem::permissions(folder, perms::owner_all);
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::error_code ignored;  // a file that only may be read cannot be removed on Windows
            std::filesystem::permissions(entry, perms::owner_all, ignored);
        }
        std::filesystem::remove_all(folder);
    }

    void Write(const std::string& content) const {
        std::ofstream(file, std::ios::binary) << content;
    }
    std::string Read() const {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::u16string Path() const { return file.u16string(); }
    LoadedTemplates Loaded(const std::string& content) const {
        Write(content);
        return LoadedTemplates(file);
    }
    static Texts Tables(ComparisonTemplates& of) {
        return std::get<TextArray>(of.Items(tmpTable)).Items;
    }

    std::filesystem::path folder;
    std::filesystem::path file;
};

// What a caller picks: a table, a column of it, or an index for it.
struct Pick {
    enItemTypes kind;
    std::u16string table;
    std::u16string name = {};
};
using Picks = std::vector<Pick>;

inline void Add(ComparisonTemplates& store, const Picks& picks) {
    for (const Pick& pick : picks)
        store.Add(pick.kind, pick.table, pick.name);
}

// A failure names every pick that is not as it should be.
inline testing::AssertionResult HoldsEach(ComparisonTemplates& store, const Picks& picks,
                                          bool held) {
    std::string others;
    for (const Pick& pick : picks) {
        if (store.ItemExists(pick.kind, pick.table, pick.name) == held) continue;
        others += "\nkind " + std::to_string(pick.kind) + ", " + ToUtf8(pick.table) + " " +
                  ToUtf8(pick.name) + (held ? " is missing" : " is there");
    }
    return others.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << others;
}
inline testing::AssertionResult HoldsAll(ComparisonTemplates& store, const Picks& picks) {
    return HoldsEach(store, picks, true);
}
inline testing::AssertionResult HoldsNone(ComparisonTemplates& store, const Picks& picks) {
    return HoldsEach(store, picks, false);
}

}  // namespace QuillonLib
