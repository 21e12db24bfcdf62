// How a command writes its result.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace quillon {

enum class OutputFormat {
    Table,     // for people at a terminal
    Json,      // docs/results.md, docs/results.schema.json
    Csv,       // RFC 4180
    Markdown,  // tables, for people who read them rendered
};

class FormatOption {
  public:
    // --format. A name that is none is refused with those that are.
    void AddTo(CLI::App& command);
    OutputFormat Format() const;

  private:
    std::string name_ = "table";
};

}  // namespace quillon
