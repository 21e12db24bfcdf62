// The rows of one query, read whole and kept by the client.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/Export.h"
#include "data/Connection.h"
#include "data/PackedRows.h"
#include "data/Value.h"

namespace QuillonLib {

// One column's name and type.
struct FieldInfo {
    std::u16string name;
    std::u16string typeName;  // as the driver declares it: "int", "nvarchar", "datetime" ...
    ValueKind kind = ValueKind::Empty;
};

// Windows' numbers of the code pages of char, varchar and text columns (65001: UTF-8), by the exact
// names of the fields. A field that is not there, or has 0, is one whose code page is not known.
using FieldCodePages = std::unordered_map<std::u16string, std::int32_t>;

class Recordset;

// A field of the current row: a view that follows the cursor, valid as long as its Recordset.
class QUILLON_API Field {
  public:
    const std::u16string& Name() const noexcept;
    const std::u16string& TypeName() const noexcept;
    // The kind that every non-null value of the column has.
    ValueKind Kind() const noexcept;

    // Throws Error NoCurrentRecord when the cursor is past the last row.
    QuillonLib::Value Value() const;
    bool IsNull() const;

  private:
    friend class Recordset;
    Field(const Recordset& recordset, std::size_t index) noexcept
        : recordset_(&recordset), index_(index) {}

    const Recordset* recordset_;
    std::size_t index_;
};

// Client-side and read-only: Open reads every row before it returns, and the rows stay readable
// when the connection is closed. Can be closed and opened again. After a failed Open it is closed,
// and the connection is ready for the next statement unless the server has gone away.
//
// Except for Open and IsOpen, every operation throws Error ObjectClosed when it is not open.
class QUILLON_API Recordset {
  public:
    Recordset();
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    // Runs a batch, keeps its first row set, and reads the rest of its results for their errors:
    // an error anywhere in the batch is thrown. A batch without a row set gives no fields and no
    // rows. Throws Error ObjectOpen when already open.
    //
    // The text of char, varchar and text columns, and of such values in a sql_variant, is what the
    // driver makes of it: a byte to which its tables give no character, as 81 in Windows-1252, is
    // "?" then, like a question mark. To read such text exactly, give the code pages.
    void Open(std::u16string_view sql, const std::shared_ptr<Connection>& connection);
    // The same, with the code pages of the fields: their bytes are read as the server holds them,
    // and become the text from which, as N'...', the server makes the same bytes. Throws Error
    // DataAccess, with the column in its text, where that cannot be had: bytes that the code page
    // spells two ways or not at all, a byte above 7F where the code page is not known, a "?" in
    // text of a code page in a sql_variant, U+FFFD where the server sends UTF-8 as UTF-16.
    void Open(std::u16string_view sql, const std::shared_ptr<Connection>& connection,
              const FieldCodePages& codePages);
    void Close();
    bool IsOpen() const noexcept;

    std::size_t RecordCount() const;

    std::size_t FieldCount() const;
    const FieldInfo& Info(std::size_t index) const;
    // The field of exactly that name, else of that name in another case; of several the first.
    // Throws Error ItemNotFound.
    std::size_t FieldIndex(std::u16string_view name) const;
    Field Fields(std::size_t index) const;
    Field Fields(std::u16string_view name) const;

    // The cursor stands on the first row after Open, past the last one when there is none.
    void MoveFirst();
    // Throws Error NoCurrentRecord when already past the last row.
    void MoveNext();
    bool EndOfSet() const;

    // The packed rows, in order.
    std::size_t BlockCount() const;
    std::size_t RowsInBlock(std::size_t block) const;
    PackedColumn Column(std::size_t block, std::size_t field) const;
    // Gives back the memory of a block whose cells will not be read again. It still counts;
    // reading it throws Error ObjectClosed.
    void ReleaseBlock(std::size_t block);
    // One cell of any row, wherever the cursor stands.
    QuillonLib::Value ValueAt(std::size_t row, std::size_t field) const;
    // Memory held by the rows, in bytes.
    std::size_t MemoryUsed() const;

  private:
    friend class Field;
    class Rows;
    void Open(std::u16string_view sql, const std::shared_ptr<Connection>& connection,
              const FieldCodePages* codePages);
    const Rows& Opened() const;
    Rows& Opened();

    std::unique_ptr<Rows> rows_;
};

}  // namespace QuillonLib
