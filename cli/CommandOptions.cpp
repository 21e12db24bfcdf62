#include "cli/CommandOptions.h"

#include <CLI/App.hpp>
#include <filesystem>
#include <system_error>

#include "cli/Paths.h"
#include "cli/Roads.h"

namespace quillon {

std::vector<RowKind> RowsOptions::Kinds() const {
    const bool all = !identical && !different && !here && !there;
    std::vector<RowKind> kinds;
    if (identical) kinds.push_back(RowKind::Identical);
    if (different || all) kinds.push_back(RowKind::Different);
    if (here || all) kinds.push_back(RowKind::OnlyIn1);
    if (there || all) kinds.push_back(RowKind::OnlyIn2);
    return kinds;
}

void RowsOptions::RequireSense() const {
    if (format.Format() == OutputFormat::Table) return;
    if (layout.vertical || layout.full) {
        throw CLI::ValidationError(
            "--vertical, --no-vertical and --full go with --format table only");
    }
}

void PagerOption::AddTo(CLI::App& command) {
    command.add_flag("--no-pager", none_,
                     "Show the result on the terminal itself, and not by the program that "
                     "QUILLON_PAGER, or else PAGER, names");
}

void PagerOption::Apply(Console& console) const {
    if (!none_) console.PageResult();
}

void ScriptFileOptions::RequireSense() const {
    if (to == "both" && file == "-") throw CLI::ValidationError("--to both needs a file (-o)");
    std::error_code ignored;
    const std::filesystem::path path = PathOf(file);
    if (!path.has_filename() || std::filesystem::is_directory(path, ignored))
        throw CLI::ValidationError("-o names a folder, " + file + ", and no file");
    for (const int side : Sides())
        comparison.Telling().RequireApartFromLog("-o", FileFor(side));
}

std::vector<int> ScriptFileOptions::Sides() const {
    if (to == "both") return {1, 2};
    return {to == "1" ? 1 : 2};
}

std::string ScriptFileOptions::FileFor(int side) const {
    return to == "both" ? WithSide(file, side) : file;
}

void AddGuardTo(CLI::App& command, bool& guard, const char* otherwise) {
    command
        .add_flag("--guard,!--no-guard", guard,
                  std::string("The script ends, and changes nothing, where a row is not as it was "
                              "compared ") +
                      otherwise)
        ->group(DirectGroup);
}

}  // namespace quillon
