// INSERT statements of as many rows as a list may have. Not installed.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QuillonLib {

// Of a list of rows. Servers compile one with more than 1,000 literals many times as long for each
// row as a shorter one.
inline constexpr std::size_t MaxListRows = 500;
inline constexpr std::size_t MaxListCells = 500;
inline constexpr std::size_t MaxListText = std::size_t{32} << 10;  // characters

class InsertLists {
  public:
    using Row = std::vector<std::u16string>;  // a literal for each column

    struct Table {
        std::u16string name;  // quoted
        std::vector<std::u16string> columns;
        // NULL with a type, which the first row has to give a list.
        std::vector<std::u16string> nulls;
        bool identity = false;  // one of the columns is
        bool lists = true;      // the server knows lists of rows
        // What follows a statement of so many rows that begins with the row; may be empty.
        std::function<std::u16string(std::size_t rows, const Row& first)> check;
    };

    // `out` gets each statement, of whole lines without the last line end.
    InsertLists(Table table, std::function<void(std::u16string_view)> out)
        : table_(std::move(table)), out_(std::move(out)) {}

    // `alone`: the row must not share a list with others.
    void Add(Row row, bool alone);
    void Flush();

  private:
    Table table_;
    std::function<void(std::u16string_view)> out_;
    std::vector<Row> rows_;
    std::size_t gathered_ = 0;  // characters
};

}  // namespace QuillonLib
