#include "cli/ComparisonOptions.h"

#include <CLI/App.hpp>
#include <map>
#include <utility>

#include "cli/ParsedOption.h"
#include "cli/Roads.h"
#include "cli/TemplateFile.h"
#include "cli/Verdict.h"

namespace quillon {

using QuillonLib::FromUtf8;
using QuillonLib::ToUtf8;

void ComparisonOptions::AddDatabasesTo(CLI::App& command) {
    databases_.AddTo(command);
    command.add_flag("--by-server", byServer_,
                     "Let a server compare, by its own rules of equality, in place of reading the "
                     "rows of both databases and comparing them here");
    direct_.AddTo(command);
    databases_.AddThirdTo(command);
    command
        .add_flag("--drop-linked-servers", dropLinkedServers_,
                  "Remove the linked servers KARNOBE_1 and KARNOBE_2 afterwards, which a "
                  "comparison across servers defines and leaves behind, login and password "
                  "included")
        ->group(ByServerGroup);
    telling_.AddTo(command);
}

void ComparisonOptions::AddTablesTo(CLI::App& command) {
    command
        .add_option("--table,-t", tables_,
                    "Table or indexed view to compare, as name or owner.name, * and ? for any "
                    "characters and any one; may be given again (default: all that the databases "
                    "have)")
        ->allow_extra_args(false)
        ->type_name("TABLE");
    command
        .add_option("--exclude", excluded_, "Tables that are not compared; written as for --table")
        ->allow_extra_args(false)
        ->type_name("TABLE");
    command.add_option("--index", indexes_, "Unique index whose columns are a table's key")
        ->allow_extra_args(false)
        ->type_name("TABLE=INDEX");
    AddColumnsTo(command);
}

void ComparisonOptions::AddColumnsTo(CLI::App& command) {
    command
        .add_option("--columns", columns_, "Columns of a table that are compared (default: all)")
        ->allow_extra_args(false)
        ->type_name("TABLE=A,B,...");
}

void ComparisonOptions::AddTemplateTo(CLI::App& command) {
    command
        .add_option(
            "--template", template_,
            "Template whose databases (as SERVER/DATABASE, or the names of connections) and "
            "picks are compared; what the command line names goes before")
        ->type_name("NAME");
    command
        .add_option("--templates", templates_,
                    "Template file (default: Templates.xml beside the program)")
        ->type_name("FILE");
}

void ComparisonOptions::AddListTo(CLI::App& command) {
    command.add_flag("--only-different", listing_.onlyDifferent,
                     "List no tables that are identical");
    const std::map<std::string, TableOrder> orders{{"name", TableOrder::Name},
                                                   {"differences", TableOrder::Differences},
                                                   {"rows", TableOrder::Rows}};
    command
        .add_option_function<std::string>(
            "--sort", [this, orders](const std::string& name) { listing_.order = orders.at(name); },
            "List the tables by name, or those with the most differences or rows first (default: "
            "as they are compared)")
        ->check(OneOf({"name", "differences", "rows"}))
        ->type_name("ORDER");
    AddNumber(command, "--limit", listing_.limit, "List at most so many tables", std::size_t{1});
}

void ComparisonOptions::AddAcceptTo(CLI::App& command) {
    command.add_flag("--accept-uncompared", acceptUncompared_,
                     "Exit with 0 in place of 3: what could not be compared does not count");
}

ComparisonRequest ComparisonOptions::Request(Console& console) const {
    ComparisonRequest request;
    telling_.Apply(console);
    DatabaseOptions databases = databases_;
    if (!template_.empty()) {
        TemplateContents contents = TemplateFile::Existing(templates_).Read(FromUtf8(template_));
        if (contents.database1.empty() && !databases.Given()) {
            throw CLI::ValidationError("The template '" + template_ + "' names no databases");
        }
        if (databases.Take(ToUtf8(contents.database1), ToUtf8(contents.database2),
                           ToUtf8(contents.database3)) &&
            !contents.database3.empty() && contents.database3 != contents.database1) {
            request.thirdOfTemplate = ToUtf8(contents.database3);
        }
        for (const std::u16string& entry : contents.tables.Items)
            request.tables.push_back(TablePattern::Exactly(entry));
        request.picks = std::move(contents);
    }
    if (!tables_.empty()) request.tables.clear();
    for (const std::string& table : tables_)
        request.tables.emplace_back(table);
    for (const std::string& table : excluded_)
        request.excluded.emplace_back(table);
    for (const std::string& text : indexes_)
        request.indexes.push_back(ParseTableChoice(text, "--index"));
    for (const std::string& text : columns_)
        request.columns.push_back(ParseColumnsChoice(text, "--columns", table_));
    request.dropLinkedServers = dropLinkedServers_;
    request.listing = listing_;
    request.databases = databases.Make(console);
    return request;
}

int ComparisonOptions::Accepted(int exitCode) const {
    return exitCode == ExitCode::NotWhole && acceptUncompared_ ? ExitCode::Identical : exitCode;
}

}  // namespace quillon
