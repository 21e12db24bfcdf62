#include "data/RowsetReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "core/Text.h"
#include "data/CodePage.h"

namespace QuillonLib {

static_assert(sizeof(StagedTimestamp) == sizeof(SQL_TIMESTAMP_STRUCT));
static_assert(sizeof(StagedGuid) == sizeof(SQLGUID));
static_assert(sizeof(std::ptrdiff_t) == sizeof(SQLLEN));
static_assert(StagedColumn::NullIndicator == SQL_NULL_DATA);

namespace {

// Types of the server that ODBC's own headers do not name.
constexpr SQLSMALLINT SqlVariant = -150;
constexpr SQLSMALLINT SqlUserDefined = -151;
constexpr SQLSMALLINT SqlXml = -152;
constexpr SQLSMALLINT SqlTime = -154;
constexpr SQLSMALLINT SqlDateTimeOffset = -155;

constexpr SQLULEN MaxBoundedSize = 8000;  // longest column that is not a long one
constexpr std::size_t TextWidth = 48;     // of a number or a date as text
constexpr std::size_t BufferLimit = 4 << 20;
constexpr std::size_t MaxRowsPerBlock = 1024;
constexpr std::size_t MaxLongRowsPerBlock = 256;
constexpr std::size_t MaxPendingBytes = 1 << 20;  // of long cells that wait to be packed
constexpr std::size_t FirstPiece = 8 << 10;
constexpr std::size_t MaxPiece = 16 << 20;

bool IsLong(const ColumnDescription& column) {
    // The max types and xml report size 0.
    return column.size == 0 || column.size > MaxBoundedSize || column.type == SQL_LONGVARCHAR ||
           column.type == SQL_WLONGVARCHAR || column.type == SQL_LONGVARBINARY ||
           column.type == SqlXml || column.type == SqlUserDefined;
}

FetchPlan Native(ValueKind kind, SQLSMALLINT cType, std::size_t width) {
    return {kind, StagedForm::Native, cType, width, 0};
}

FetchPlan Ascii(ValueKind kind, StagedForm form) {
    return {kind, form, SQL_C_CHAR, TextWidth, 1};
}

// The server's code page becomes UTF-16 in the driver. A byte to which the driver's tables give no
// character (five of them in 1252) becomes "?" there, and nothing tells.
FetchPlan ConvertedText(const ColumnDescription& column) {
    const std::size_t width = IsLong(column) ? 0 : (column.size + 1) * sizeof(char16_t);
    return {ValueKind::String, StagedForm::Utf16, SQL_C_WCHAR, width, sizeof(char16_t)};
}

// As bytes, the server's text arrives as it was sent.
FetchPlan CodePageText(const ColumnDescription& column) {
    return {ValueKind::String, StagedForm::CodePage, SQL_C_BINARY, IsLong(column) ? 0 : column.size,
            0};
}

// The server's text is UTF-16 already. As bytes it arrives as it was sent, halves of surrogate
// pairs included, whatever the driver's conversion makes of them.
FetchPlan UnicodeText(const ColumnDescription& column) {
    const std::size_t width = IsLong(column) ? 0 : column.size * sizeof(char16_t);
    return {ValueKind::String, StagedForm::Utf16, SQL_C_BINARY, width, 0};
}

FetchPlan BinaryData(const ColumnDescription& column) {
    return {ValueKind::Bytes, StagedForm::Binary, SQL_C_BINARY, IsLong(column) ? 0 : column.size,
            0};
}

bool IsMoney(const ColumnDescription& column) {
    return column.typeName.ends_with(u"money");
}

}  // namespace

FetchPlan PlanFetch(const ColumnDescription& column, PageText pageText) {
    switch (column.type) {
        case SQL_BIT:
            return Native(ValueKind::Boolean, SQL_C_BIT, 1);
        case SQL_TINYINT:
            return Native(ValueKind::Byte, SQL_C_UTINYINT, 1);
        case SQL_SMALLINT:
            return Native(ValueKind::Integer, SQL_C_SSHORT, 2);
        case SQL_INTEGER:
            return Native(ValueKind::Long, SQL_C_SLONG, 4);
        case SQL_BIGINT:
            return Native(ValueKind::LongLong, SQL_C_SBIGINT, 8);
        case SQL_REAL:
            return Native(ValueKind::Single, SQL_C_FLOAT, 4);
        case SQL_FLOAT:
        case SQL_DOUBLE:
            return Native(ValueKind::Double, SQL_C_DOUBLE, 8);
        case SQL_GUID:
            return {ValueKind::Guid, StagedForm::Guid, SQL_C_GUID, sizeof(StagedGuid), 0};

        // As text: asked for in ODBC's binary form, a decimal loses its fraction.
        case SQL_DECIMAL:
        case SQL_NUMERIC:
            return IsMoney(column) ? Ascii(ValueKind::Currency, StagedForm::Money)
                                   : Ascii(ValueKind::Decimal, StagedForm::Digits);

        // As text: in ODBC's structures a time loses its fraction and an offset its zone.
        case SQL_TYPE_DATE:
        case SQL_TYPE_TIME:
        case SqlTime:
        case SqlDateTimeOffset:
            return Ascii(ValueKind::String, StagedForm::Temporal);
        case SQL_TYPE_TIMESTAMP:
            if (column.typeName == u"datetime2")
                return Ascii(ValueKind::String, StagedForm::Temporal);
            return {ValueKind::Date, StagedForm::Timestamp, SQL_C_TYPE_TIMESTAMP,
                    sizeof(StagedTimestamp), 0};

        case SQL_CHAR:
        case SQL_VARCHAR:
        case SQL_LONGVARCHAR:
            if (pageText == PageText::Bytes) return BinaryData(column);
            return pageText == PageText::Carried ? CodePageText(column) : ConvertedText(column);
        case SQL_WCHAR:
        case SQL_WVARCHAR:
        case SQL_WLONGVARCHAR:
        case SqlXml:
            return UnicodeText(column);
        case SQL_BINARY:
        case SQL_VARBINARY:
        case SQL_LONGVARBINARY:
        case SqlUserDefined:
            return BinaryData(column);
        case SqlVariant:
        default:
            return {ValueKind::String, StagedForm::Utf16,
                    SQL_C_WCHAR,       0,
                    sizeof(char16_t),  pageText != PageText::Converted};
    }
}

RowsetReader::RowsetReader(odbc::Statement& statement, const FieldCodePages* codePages)
    : RowsetReader(statement, codePages,
                   codePages == nullptr ? PageText::Converted : PageText::Carried) {
}

RowsetReader::RowsetReader(odbc::Statement& statement)
    : RowsetReader(statement, nullptr, PageText::Bytes) {
}

RowsetReader::RowsetReader(odbc::Statement& statement, const FieldCodePages* codePages,
                           PageText pageText)
    : statement_(statement) {
    SQLSMALLINT count = 0;
    statement_.Require(SQLNumResultCols(statement_.Get(), &count));
    for (SQLUSMALLINT i = 1; i <= static_cast<SQLUSMALLINT>(count); ++i) {
        ColumnDescription column = Describe(i);
        const FetchPlan plan = PlanFetch(column, pageText);
        plans_.push_back(plan);
        StagedColumn& staged = staged_.emplace_back();
        staged.name = column.name;
        staged.kind = plan.kind;
        staged.form = plan.form;
        staged.width = plan.width;
        staged.capacity = plan.width - std::min(plan.width, plan.terminator);
        if (codePages != nullptr) {
            const auto page = codePages->find(column.name);
            const std::int32_t number = page == codePages->end() ? 0 : page->second;
            staged.page = CodePage::Find(number);
            // A driver that did not ask for UTF-8 is sent UTF-16.
            staged.fromUtf8 = plan.form == StagedForm::Utf16 && number == Utf8CodePage;
        }
        fields_.push_back({std::move(column.name), std::move(column.typeName), plan.kind});
    }
}

ColumnDescription RowsetReader::Describe(SQLUSMALLINT index) {
    ColumnDescription column;
    std::array<char16_t, 512> name{};
    SQLSMALLINT nameLength = 0, digits = 0, nullable = 0;
    statement_.Require(SQLDescribeColW(statement_.Get(), index,
                                       reinterpret_cast<SQLWCHAR*>(name.data()),
                                       static_cast<SQLSMALLINT>(name.size()), &nameLength,
                                       &column.type, &column.size, &digits, &nullable));
    column.name.assign(name.data(), std::min<std::size_t>(nameLength, name.size() - 1));

    std::array<char16_t, 128> type{};
    SQLSMALLINT bytes = 0;
    statement_.Require(SQLColAttributeW(statement_.Get(), index, SQL_DESC_TYPE_NAME, type.data(),
                                        static_cast<SQLSMALLINT>(sizeof type), &bytes, nullptr));
    column.typeName = type.data();
    return column;
}

std::vector<RowBlock> RowsetReader::ReadRows() {
    RowMemory memory;
    std::vector<RowBlock> blocks;
    while (std::optional<RowBlock> block = ReadBlock(memory))
        blocks.push_back(std::move(*block));
    return blocks;
}

std::optional<RowBlock> RowsetReader::ReadBlock(RowMemory& memory) {
    if (!prepared_) Prepare();
    if (ended_) return std::nullopt;
    std::optional<RowBlock> block = anyLong_ ? ReadOneByOne(memory) : ReadNarrow(memory);
    if (block) firstRow_ += block->RowCount();
    return block;
}

void RowsetReader::Prepare() {
    anyLong_ = std::any_of(staged_.begin(), staged_.end(),
                           [](const StagedColumn& column) { return column.IsLong(); });
    slots_ = RowsPerBlock();
    if (anyLong_) {
        slots_ = std::min(MaxLongRowsPerBlock, slots_);
        Stage(slots_ + 1);
        Bind(slots_);
    } else {
        Stage(slots_);
        const SQLHSTMT handle = statement_.Get();
        statement_.Require(
            SQLSetStmtAttr(handle, SQL_ATTR_ROW_ARRAY_SIZE, odbc::AsPointer(slots_), 0));
        statement_.Require(SQLSetStmtAttr(handle, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0));
        Bind(0);
    }
    prepared_ = true;
}

void RowsetReader::Stage(std::size_t slots) {
    for (StagedColumn& column : staged_) {
        column.indicators.resize(slots);
        if (!column.IsLong()) {
            column.cells = std::make_unique_for_overwrite<std::uint8_t[]>(slots * column.width);
        }
    }
}

// Binds every column that is not long to its buffer from `slot` on.
void RowsetReader::Bind(std::size_t slot) {
    for (std::size_t i = 0; i < staged_.size(); ++i) {
        StagedColumn& column = staged_[i];
        if (column.IsLong()) continue;
        statement_.Require(SQLBindCol(statement_.Get(), static_cast<SQLUSMALLINT>(i + 1),
                                      plans_[i].cType, column.cells.get() + slot * column.width,
                                      static_cast<SQLLEN>(column.width),
                                      reinterpret_cast<SQLLEN*>(&column.indicators[slot])));
    }
}

// As many rows as the buffers may hold in all; narrow rows come in larger blocks.
std::size_t RowsetReader::RowsPerBlock() const {
    std::size_t rowWidth = 0;
    for (const StagedColumn& column : staged_)
        rowWidth += column.width + sizeof(SQLLEN);
    return std::clamp<std::size_t>(BufferLimit / std::max<std::size_t>(rowWidth, 1), 1,
                                   MaxRowsPerBlock);
}

// An error that ends the rows comes with a part of them; the next fetch then says that there are
// no more.
std::optional<RowBlock> RowsetReader::ReadNarrow(RowMemory& memory) {
    if (!statement_.Fetch() || fetched_ == 0) {
        ended_ = true;
        return std::nullopt;
    }
    return RowBlock(staged_, firstRow_, static_cast<std::size_t>(fetched_), memory);
}

// Long cells can only be read from a rowset of one row. The others of its row are bound to a slot
// past the last, from which each row is copied to its own.
std::optional<RowBlock> RowsetReader::ReadOneByOne(RowMemory& memory) {
    for (StagedColumn& column : staged_)
        column.pool.clear();
    std::size_t rows = 0, pending = 0;
    while (rows < slots_ && pending < MaxPendingBytes) {
        if (!statement_.Fetch()) {
            ended_ = true;
            break;
        }
        KeepRow(slots_, rows);
        if (statement_.Failed()) {
            ended_ = true;
            return std::nullopt;
        }
        ++rows;
        pending = 0;
        for (const StagedColumn& column : staged_)
            pending += column.pool.size();
    }
    if (rows == 0) return std::nullopt;
    return RowBlock(staged_, firstRow_, rows, memory);
}

void RowsetReader::KeepRow(std::size_t slot, std::size_t row) {
    for (std::size_t i = 0; i < staged_.size(); ++i) {
        StagedColumn& column = staged_[i];
        if (column.IsLong()) {
            ReadLongCell(i, row);
            continue;
        }
        column.indicators[row] = column.indicators[slot];
        std::memcpy(column.cells.get() + row * column.width,
                    column.cells.get() + slot * column.width, column.width);
    }
}

void RowsetReader::ReadLongCell(std::size_t index, std::size_t row) {
    StagedColumn& column = staged_[index];
    const FetchPlan& plan = plans_[index];
    const std::size_t begin = column.pool.size();
    const bool guarded = plan.guarded && IsCodePageVariant(index);
    column.indicators[row] = StagedColumn::NullIndicator;
    for (std::size_t piece = FirstPiece;;) {
        const std::size_t at = column.pool.size();
        column.pool.resize(at + piece);
        SQLLEN indicator = SQL_NULL_DATA;
        if (!statement_.GetData(static_cast<SQLUSMALLINT>(index + 1), plan.cType,
                                column.pool.data() + at, piece, indicator)) {
            column.pool.resize(at);  // an error, or the last piece filled its buffer
            if (at == begin) return;
            break;
        }
        if (indicator == SQL_NULL_DATA) {
            column.pool.resize(begin);
            return;
        }
        const std::size_t room = piece - plan.terminator;
        if (indicator != SQL_NO_TOTAL && static_cast<std::size_t>(indicator) <= room) {
            column.pool.resize(at + static_cast<std::size_t>(indicator));
            break;
        }
        // The piece is full. The driver tells how much is left, or that it does not know.
        column.pool.resize(at + room);
        piece = indicator == SQL_NO_TOTAL
                    ? std::min(piece * 2, MaxPiece)
                    : static_cast<std::size_t>(indicator) - room + plan.terminator;
    }
    column.indicators[row] = static_cast<std::ptrdiff_t>(column.pool.size() - begin);
    if (guarded) RequireNoSubstitute(index, begin);
}

// Whether the driver has to convert the value of a sql_variant from a code page: of such a value
// alone it cannot tell the length of the text beforehand. Takes nothing of the value.
bool RowsetReader::IsCodePageVariant(std::size_t index) {
    std::uint8_t none = 0;
    SQLLEN indicator = 0;
    return statement_.GetData(static_cast<SQLUSMALLINT>(index + 1), SQL_C_WCHAR, &none, 0,
                              indicator) &&
           indicator == SQL_NO_TOTAL;
}

// The value is read once, as text or as bytes: whether a "?" in its text is the server's cannot be
// looked up.
void RowsetReader::RequireNoSubstitute(std::size_t index, std::size_t begin) const {
    const StagedColumn& column = staged_[index];
    for (std::size_t at = begin; at + 1 < column.pool.size(); at += sizeof(char16_t)) {
        if (column.pool[at] != u'?' || column.pool[at + 1] != 0) continue;
        throw NotCarried(
            u"Column " + column.name +
            u" holds, in a sql_variant, text of a code page with a question mark, or a "
            u"byte without a character, which the driver delivers as one; it cannot be "
            u"carried over.");
    }
}

}  // namespace QuillonLib
