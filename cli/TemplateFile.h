// A template file as the commands use it: nothing is taken for a template file that is none, no
// template for another, and reading changes nothing.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonLib.h"

namespace quillon {

// The template that there always is, and that cannot be removed.
inline constexpr std::u16string_view DefaultTemplate = u"Default";

// What one template holds.
struct TemplateContents {
    std::u16string database1;
    std::u16string database2;
    std::u16string database3;
    QuillonLib::TextArray tables;
    std::shared_ptr<QuillonLib::NameList> indexes;     // by table
    std::shared_ptr<QuillonLib::ColumnLists> columns;  // by table
};

class TemplateFile {
  public:
    // An empty path means Templates.xml beside the program. Throw std::runtime_error that names
    // the file and the reason when it cannot be read or is no template file; Existing also when
    // there is none.
    static TemplateFile Existing(const std::string& path);
    static TemplateFile ExistingOrNew(const std::string& path);

    const std::string& Path() const { return path_; }
    // In file order; none when the file is still to be made.
    const std::vector<std::u16string>& Names() const { return names_; }
    // The template in use: the one that the file remembers (it need not be there any more), or
    // "Default" when it remembers none.
    const std::u16string& InUse() const { return inUse_; }

    // Throws std::runtime_error for a name that no template can be found by.
    static void RequireUsableName(std::u16string_view name);

    bool Has(std::u16string_view name) const;  // letter for letter
    // Throws std::runtime_error that tells which templates there are when this is not one of them.
    void Require(std::u16string_view name) const;
    TemplateContents Read(std::u16string_view name) const;  // requires it, too

    // A store of its own, with that template current and bound; it is made, in memory, where the
    // file has none.
    std::unique_ptr<QuillonLib::ComparisonTemplates> Open(std::u16string_view name) const;

  private:
    explicit TemplateFile(std::string path);

    std::string path_;
    std::vector<std::u16string> names_;
    std::u16string inUse_;
};

}  // namespace quillon
