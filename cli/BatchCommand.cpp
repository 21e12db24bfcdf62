#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/BatchRun.h"
#include "cli/Commands.h"
#include "cli/ParsedOption.h"

namespace quillon {

void AddBatchCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("batch", "Compare a list of pairs of databases");
    command->footer(
        "FILE has a section for each pair, with options of quillon compare as settings:\n"
        "  [sales]\n"
        "  database1 = sales\n"
        "  database2 = sales-copy\n"
        "  exclude = dbo.log*\n"
        "A pair that fails is told, and the others go on. Exit codes: 0 all that was asked for was "
        "compared\nwhole and is identical; 1 differences; 2 a pair or a table failed, whatever "
        "else was found; 3 no\ndifference found, but not everything could be compared.\n"
        "Example:\n"
        "  quillon batch nightly.ini --reports reports --jobs 8 --slice 1/2");
    auto options = std::make_shared<BatchOptions>();
    command->add_option("file", options->file, "The list of pairs: docs/batch.md")
        ->required()
        ->type_name("FILE");
    command
        ->add_option("--config", options->config,
                     "File of named connections (default: quillon/connections.ini in the user's "
                     "folder for configurations)")
        ->type_name("FILE");
    AddNumber(*command, "--jobs", options->jobs, "Pairs that are compared at once", 1, 64)
        ->default_str(std::to_string(options->jobs));
    AddNumber(*command, "--per-server", options->perServer,
              "Comparisons at once that one server takes part in", 1, 64)
        ->default_str(std::to_string(options->perServer));
    AddParsed(*command, "--slice", options->slice, ParseBatchSlice,
              "Every COUNT-th pair from the PART-th on: slices 1/3, 2/3 and 3/3 are the whole list")
        ->type_name("PART/COUNT");
    command
        ->add_option("--reports", options->reports,
                     "Write a report of each pair, one HTML file, and an index page into a folder")
        ->type_name("FOLDER");
    AddNumber(*command, "--report-limit", options->reportLimit,
              "Rows of each table that a report shows (0: all)", std::uint64_t{0})
        ->default_str(std::to_string(options->reportLimit));
    auto format = std::make_shared<std::string>("table");
    command->add_option("--format", *format, "As text for people, or a line of JSON for each pair")
        ->check(OneOf({"table", "json"}))
        ->type_name("FORMAT")
        ->capture_default_str();
    options->telling.AddTo(*command);
    command->callback([options, format, &program] {
        options->json = *format == "json";
        program.exitCode = RunBatch(*options, program.console);
    });
}

}  // namespace quillon
