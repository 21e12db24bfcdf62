// Reads one row set from the driver into packed rows: the part of Recordset that deals with ODBC.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "data/Odbc.h"
#include "data/Recordset.h"
#include "data/RowPacker.h"

namespace QuillonLib {

// How a column is asked for: what its cells become, and the C type to ask the driver for.
struct FetchPlan {
    ValueKind kind = ValueKind::Null;
    StagedForm form = StagedForm::Native;
    SQLSMALLINT cType = SQL_C_CHAR;
    std::size_t width = 0;       // bytes of a cell's buffer; 0: a long column
    std::size_t terminator = 0;  // bytes of the buffer that the driver keeps for its NUL
    // A sql_variant whose text must be told from what the driver put in its place.
    bool guarded = false;
};

// What the driver says of a column.
struct ColumnDescription {
    std::u16string name;
    std::u16string typeName;
    SQLSMALLINT type = 0;
    SQLULEN size = 0;
};

// What becomes of char, varchar and text.
enum class PageText : std::uint8_t {
    Converted,  // text, as the driver makes it
    Carried,    // text, from the bytes that the server holds
    Bytes,      // those bytes
};

FetchPlan PlanFetch(const ColumnDescription& column, PageText pageText);

class RowsetReader {
  public:
    // On the statement's current result, which has columns. `codePages`, if not null, are those of
    // its fields.
    RowsetReader(odbc::Statement& statement, const FieldCodePages* codePages);
    // The same for a reader who knows the code pages: text comes as bytes.
    explicit RowsetReader(odbc::Statement& statement);

    const std::vector<FieldInfo>& Fields() const noexcept { return fields_; }

    // Reads up to the last row, or up to an error, which the statement keeps.
    std::vector<RowBlock> ReadRows();

    // The next rows into memory of `memory`; absent after the last one, or at an error, which the
    // statement keeps.
    std::optional<RowBlock> ReadBlock(RowMemory& memory);

  private:
    RowsetReader(odbc::Statement& statement, const FieldCodePages* codePages, PageText pageText);
    void Prepare();
    std::optional<RowBlock> ReadNarrow(RowMemory& memory);
    std::optional<RowBlock> ReadOneByOne(RowMemory& memory);
    ColumnDescription Describe(SQLUSMALLINT column);
    std::size_t RowsPerBlock() const;
    void Stage(std::size_t slots);
    void Bind(std::size_t slot);
    void KeepRow(std::size_t slot, std::size_t row);
    void ReadLongCell(std::size_t column, std::size_t row);
    bool IsCodePageVariant(std::size_t column);
    void RequireNoSubstitute(std::size_t column, std::size_t begin) const;

    odbc::Statement& statement_;
    std::vector<FieldInfo> fields_;
    std::vector<FetchPlan> plans_;
    std::vector<StagedColumn> staged_;
    bool anyLong_ = false;
    bool prepared_ = false;
    bool ended_ = false;
    std::size_t slots_ = 0;  // rows that the buffers hold
    std::size_t firstRow_ = 0;
    SQLULEN fetched_ = 0;
};

}  // namespace QuillonLib
