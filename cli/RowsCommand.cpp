#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/CommandOptions.h"
#include "cli/Commands.h"
#include "cli/ParsedOption.h"
#include "cli/Roads.h"

namespace quillon {

void AddRowsCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("rows", "Show the rows behind one table's result");
    command->footer(
        std::string(
            "A differing row is shown as two lines, one for each database; * in front of a value "
            "marks\n"
            "a cell that differs. NULL is the database's NULL, 0x... is binary, and text stands as "
            "it\n"
            "is. Text that could be taken for one of these or for something else ('NULL', '*x', "
            "'0x00',\n"
            "'', blanks at its ends or several in a row) stands in quotes, and so does text with\n"
            "characters that a terminal does not show. In quotes, and only there, \\n \\r \\t "
            "\\xNN\n"
            "\\uNNNN \\UNNNNNNNN are such characters, and a quote and a backslash are doubled.\n") +
        "TABLE= may be left out of --key and --columns.\n" + ExitCodesOfComparisons +
        "\nExample:\n  quillon rows dbo.customer db1/sales db2/sales --user reader --limit 20");
    auto options = std::make_shared<RowsOptions>();
    command->add_option("table", options->table, "Table, as name or owner.name")->required();
    options->comparison.AddDatabasesTo(*command);
    options->comparison.AddAcceptTo(*command);
    options->comparison.AddColumnsTo(*command);
    options->comparison.AddTemplateTo(*command);
    command->add_option("--index", options->index, "Unique index whose columns are the key")
        ->type_name("INDEX");
    command->add_flag("--identical", options->identical, "Show identical rows");
    command->add_flag("--different", options->different, "Show differing rows");
    command->add_flag("--here", options->here, "Show rows only in the first database");
    command->add_flag("--there", options->there, "Show rows only in the second database");
    AddNumber(*command, "--limit", options->limit,
              "Show at most so many of each kind; without --by-server no more rows are read than "
              "that takes",
              1);
    options->format.AddTo(*command);
    auto* const vertical = command->add_flag_callback(
        "--vertical", [options] { options->layout.vertical = true; },
        "Show a line for each column (default: where a table would be wider than the terminal); of "
        "a row that differs the key and what differs");
    command
        ->add_flag_callback(
            "--no-vertical", [options] { options->layout.vertical = false; },
            "Show a table, however wide")
        ->excludes(vertical);
    command->add_flag("--full", options->layout.full,
                      "With a line for each column: show all of them, and values whole, which are "
                      "cut to the width of the terminal otherwise");
    options->pager.AddTo(*command);
    command->callback([options, command, &program] {
        const bool byServer = options->comparison.ByServer();
        options->comparison.OfTable(options->table);
        RequireRoad(*command, byServer);
        options->RequireSense();
        program.exitCode = byServer ? ShowRowsByServer(*options, program.console)
                                    : ShowRowsDirect(*options, program.console);
    });
}

}  // namespace quillon
