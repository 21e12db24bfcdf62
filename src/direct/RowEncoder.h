// Rows as bytes that can be compared: for equality, and for the order of keys. Not installed.
#pragma once

#include <string>
#include <vector>

#include "direct/CellValue.h"
#include "direct/DirectOptions.h"

namespace QuillonLib {

// Equality of cells. There is one notion of it for all tables: two cells are equal where their
// encodings are the same bytes.
class CellEncoder {
  public:
    explicit CellEncoder(const DirectEquality& equality) : equality_(equality) {}

    bool Equal(const ColumnPair& pair, const RowAt& row1, const RowAt& row2);

    // Appends the cell of that side; no encoding is the beginning of another.
    void Append(std::string& out, const ColumnPair& pair, const RowAt& row, int side);

  private:
    void AppendText(std::string& out, const ColumnPair& pair, const RowAt& row, int side);
    void AppendFloat(std::string& out, double number) const;
    bool IsLoose(const ColumnPair& pair) const;

    DirectEquality equality_;
    std::string digits_, first_, second_;
    std::u16string text_;
};

// Keys in the order of the server's ORDER BY (see TableQuery.h): bytes that compare as the keys do.
class KeyEncoder {
  public:
    KeyEncoder(const std::vector<ColumnPair>& pairs, const std::vector<std::size_t>& key)
        : pairs_(pairs), key_(key) {}

    void Encode(std::string& out, const RowAt& row, int side);

  private:
    void Append(std::string& out, const ColumnPair& pair, const RowAt& row, int side);
    void AppendText(std::string& out, const ColumnPair& pair, const RowAt& row, int side);

    const std::vector<ColumnPair>& pairs_;
    const std::vector<std::size_t>& key_;
    std::string digits_;
    std::u16string text_;
};

}  // namespace QuillonLib
