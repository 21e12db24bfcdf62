// What a command compares, and how: shared by every command that begins with a comparison.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "cli/Console.h"
#include "cli/DatabaseOptions.h"

namespace quillon {

// A comparison that is ready to run.
struct Comparison {
    DatabaseOptions::Databases databases;
    QuillonLib::TextArray tables;
    bool tablesLeftOut = false;  // for only one of the databases has them
    QuillonLib::IndexChoices indexes;
    QuillonLib::ColumnChoices columns;
};

class ComparisonOptions {
  public:
    void AddTo(CLI::App& command);
    // Adds --template and --templates: databases and picks from a template.
    void AddTemplateTo(CLI::App& command);

    // Reads the catalogs where no tables were named: all tables and indexed views of both. Says
    // which ones only one of them has. Throws the library's Error, CLI::ValidationError for options
    // that make no sense, or std::runtime_error when there is nothing to compare.
    std::unique_ptr<Comparison> Make(Console& console) const;

  private:
    DatabaseOptions databases_;
    std::vector<std::string> tables_;
    std::vector<std::string> indexes_;
    std::vector<std::string> columns_;
    std::string template_;
    std::string templates_;
};

// Runs it with a progress line. Tables that fail are in the results with their error.
std::shared_ptr<QuillonLib::TableDifferences> Run(const Comparison& comparison, Console& console);

// The tables and indexed views of two databases, by their entries.
struct TableLists {
    QuillonLib::TextArray common;  // in the order of the first database
    QuillonLib::TextArray onlyIn1;
    QuillonLib::TextArray onlyIn2;
};
TableLists ListTables(const DatabaseOptions::Databases& databases);

// A table as people write it, "name" or "owner.name" or with brackets, as a table entry.
std::u16string ToTableEntry(const std::string& text);

// A sink that shows Status as the console's progress line.
std::shared_ptr<QuillonLib::EventSink> ProgressSink(Console& console);

}  // namespace quillon
