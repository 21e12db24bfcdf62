#include "cli/TellingOptions.h"

#include <CLI/App.hpp>
#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/Paths.h"
#include "cli/StatementLog.h"

namespace quillon {

void TellingOptions::AddTo(CLI::App& command) {
    auto* const verbose = command.add_flag(
        "--verbose", verbose_,
        "Tell on standard error each statement that is sent, and how long it took; never a "
        "password");
    command
        .add_option("--log", log_,
                    "Write the same into a file, behind what it holds; values of rows are in it")
        ->type_name("FILE");
    command.add_flag("--quiet", quiet_, "Tell nothing but results and errors")->excludes(verbose);
}

void TellingOptions::Apply(Console& console) const {
    if (quiet_) console.BeQuiet();
    if (verbose_ || !log_.empty())
        console.LogTo(std::make_shared<StatementLog>(log_, verbose_, console), verbose_);
}

namespace {

bool IsSameFile(const std::string& one, const std::string& two) {
    const auto place = [](const std::string& name) {
        std::error_code failure;
        const std::filesystem::path path =
            std::filesystem::weakly_canonical(std::filesystem::absolute(PathOf(name)), failure);
        return failure ? PathOf(name) : path;
    };
    return place(one) == place(two);
}

}  // namespace

void TellingOptions::RequireApartFromLog(const char* option, const std::string& file) const {
    if (log_.empty() || file.empty() || file == "-" || !IsSameFile(log_, file)) return;
    throw CLI::ValidationError(std::string(option) + " and --log name the same file, " + file);
}

}  // namespace quillon
