// Writes CSV (RFC 4180): UTF-8, lines that end in CR LF.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

class CsvWriter {
  public:
    // A field with nothing between its commas: NULL, or what is not known.
    CsvWriter& Nothing();
    // In quotes where they are needed, and where the text is empty. Throws std::runtime_error for
    // half a surrogate pair, which UTF-8 cannot carry.
    CsvWriter& Text(std::u16string_view text);
    CsvWriter& Text(std::string_view utf8);
    CsvWriter& Number(std::int64_t number);
    void EndLine();

    // What has been written since the last call.
    std::string Take();
    std::size_t Size() const { return out_.size(); }

  private:
    void Separate();

    std::string out_;
    bool first_ = true;
};

}  // namespace quillon
