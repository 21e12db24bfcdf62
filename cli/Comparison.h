// A comparison by a server, as a command runs it: what is compared, how, and what both catalogs say
// of it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "cli/AbandonOnInterrupt.h"
#include "cli/CatalogSurvey.h"
#include "cli/Console.h"
#include "cli/DatabaseOptions.h"
#include "cli/Names.h"
#include "cli/TableListing.h"
#include "cli/TableSelection.h"
#include "cli/TemplateFile.h"

namespace quillon {

// What the user asks for.
struct ComparisonRequest {
    DatabaseOptions::Databases databases;
    std::vector<TablePattern> tables;  // none: all that the databases have
    std::vector<TablePattern> excluded;
    std::vector<TableChoice> indexes;
    std::vector<ColumnsChoice> columns;
    std::optional<TemplateContents> picks;  // choices for the tables that are compared
    // The third database that a template names, where it is not the first.
    std::optional<std::string> thirdOfTemplate;
    bool dropLinkedServers = false;
    TableListing listing;
    // The form of the result has room for how values were compared; else standard error tells that
    // also to who wants it quiet.
    bool resultTellsEquality = true;
};

// A comparison that is ready to run. Every name in it stands in the catalogs.
struct Comparison : TableLists {
    DatabaseOptions::Databases databases;
    FactsByTable facts;
    QuillonLib::IndexChoices indexes;
    QuillonLib::ColumnChoices columns;
    bool choosesColumns = false;  // somebody has named columns of a table
    bool dropLinkedServers = false;
    TableListing listing;

    bool NeedsLinkedServers() const;
    // The columns of the key by which the rows of a table are matched; none without a key.
    std::vector<std::u16string> KeyColumns(const QuillonLib::TableDifference& result) const;
};

// Reads the catalogs, checks every name that was given against them, and chooses keys that the
// library would not find by itself; tells what the user should know of it. Throws
// CLI::ValidationError for a name that is not there, with those that are; std::runtime_error when a
// catalog cannot be read or there is nothing to compare.
std::unique_ptr<Comparison> Prepare(ComparisonRequest request, Console& console);

// Runs it with a progress line. Tables that fail are in the results with their error. The results
// stand in an order in which tables come before those that they depend on.
// Throws the library's Error when it cannot begin.
std::shared_ptr<QuillonLib::TableDifferences> Run(const Comparison& comparison, Console& console);

// A sink that shows Status as the console's progress line.
std::shared_ptr<QuillonLib::EventSink> ProgressSink(Console& console);

// Removes, when it ends, the linked servers that a comparison of databases on several servers has
// defined, if that was asked for. What goes wrong is told as a note.
class LinkedServerCleanup {
  public:
    LinkedServerCleanup(const Comparison& comparison, Console& console);
    ~LinkedServerCleanup();
    LinkedServerCleanup(const LinkedServerCleanup&) = delete;
    LinkedServerCleanup& operator=(const LinkedServerCleanup&) = delete;

  private:
    const Comparison& comparison_;
    Console& console_;
    std::optional<InOrderFirst> toDo_;  // when there is something to remove
};

}  // namespace quillon
