// A comparison as one HTML file, which needs nothing but a browser.
//
// The file is written as the rows come, so that memory does not grow with them: a head, the rows of
// each table in elements of JSON, and at the end the results and the script that shows it all
// (cli/report/). It takes its name when it is whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/CompareResults.h"
#include "cli/JsonWriter.h"
#include "cli/ReportScripts.h"
#include "core/WholeFile.h"
#include "direct/DirectResult.h"

namespace quillon {

class Report {
  public:
    // `limit`: rows of a table that are shown; 0: all. Each operation throws the library's Error
    // where the file cannot be written.
    Report(const std::string& file, std::uint64_t limit);

    // The next difference of a direct comparison; tables come one behind the other.
    void Take(const QuillonLib::DirectDifference& found);
    // The last call.
    void Finish(const CompareResults& results, const std::vector<PageScript>& scripts);

  private:
    struct Rows {
        std::uint64_t found = 0;
        std::uint64_t shown = 0;
    };

    void WriteScripts(const std::vector<PageScript>& scripts);
    void WriteRow(const QuillonLib::DirectDifference& found);
    void EndElement();
    void Write(std::string_view text);

    QuillonLib::WholeFile file_;
    std::uint64_t limit_;
    std::vector<Rows> tables_;  // by position in the list of tables
    JsonWriter json_{JsonWriter::Layout::Line, JsonWriter::Target::Html};
    // The element that is being filled: rows of one table.
    std::size_t table_ = 0;
    std::string kinds_;  // a letter for each row
    std::string rows_;
    std::string out_;
};

}  // namespace quillon
