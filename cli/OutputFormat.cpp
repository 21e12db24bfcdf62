#include "cli/OutputFormat.h"

#include <CLI/App.hpp>

#include "cli/ParsedOption.h"

namespace quillon {

void FormatOption::AddTo(CLI::App& command) {
    command
        .add_option("--format", name_,
                    "How the result is written: table, json, csv or markdown; notes and errors go "
                    "to standard error")
        ->check(OneOf({"table", "json", "csv", "markdown"}))
        ->type_name("FORMAT")
        ->capture_default_str();
}

OutputFormat FormatOption::Format() const {
    if (name_ == "json") return OutputFormat::Json;
    if (name_ == "csv") return OutputFormat::Csv;
    return name_ == "markdown" ? OutputFormat::Markdown : OutputFormat::Table;
}

}  // namespace quillon
