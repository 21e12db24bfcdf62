#include "data/Recordset.h"

#include <algorithm>
#include <utility>

#include "core/Text.h"
#include "data/Odbc.h"
#include "data/RowsetReader.h"

namespace QuillonLib {

class Recordset::Rows {
  public:
    std::vector<FieldInfo> fields;
    std::vector<RowBlock> blocks;
    std::size_t count = 0;
    // The cursor; past the last row when `block` is blocks.size().
    std::size_t block = 0;
    std::size_t rowInBlock = 0;

    bool AtEnd() const noexcept { return block == blocks.size(); }
    void RequireCurrentRow() const {
        if (!AtEnd()) return;
        throw Error(ErrorNumber::NoCurrentRecord,
                    u"Either BOF or EOF is True, or the current record has been deleted. Requested "
                    u"operation requires a current record.");
    }
    PackedColumn Current(std::size_t field) const { return blocks[block].Column(field); }
};

namespace {

[[noreturn]] void ThrowItemNotFound() {
    throw Error(ErrorNumber::ItemNotFound,
                u"Item cannot be found in the collection corresponding to the requested name or "
                u"ordinal.");
}

}  // namespace

const std::u16string& Field::Name() const noexcept {
    return recordset_->rows_->fields[index_].name;
}
const std::u16string& Field::TypeName() const noexcept {
    return recordset_->rows_->fields[index_].typeName;
}
ValueKind Field::Kind() const noexcept {
    return recordset_->rows_->fields[index_].kind;
}

Value Field::Value() const {
    const Recordset::Rows& rows = recordset_->Opened();
    rows.RequireCurrentRow();
    return rows.Current(index_).Value(rows.rowInBlock);
}

bool Field::IsNull() const {
    const Recordset::Rows& rows = recordset_->Opened();
    rows.RequireCurrentRow();
    return rows.Current(index_).IsNull(rows.rowInBlock);
}

Recordset::Recordset() = default;
Recordset::~Recordset() = default;

void Recordset::Open(std::u16string_view sql, const std::shared_ptr<Connection>& connection) {
    Open(sql, connection, nullptr);
}

void Recordset::Open(std::u16string_view sql, const std::shared_ptr<Connection>& connection,
                     const FieldCodePages& codePages) {
    Open(sql, connection, &codePages);
}

void Recordset::Open(std::u16string_view sql, const std::shared_ptr<Connection>& connection,
                     const FieldCodePages* codePages) {
    if (IsOpen()) {
        throw Error(ErrorNumber::ObjectOpen, u"Operation is not allowed when the object is open.");
    }
    if (connection == nullptr) {
        throw Error(ErrorNumber::ObjectNotSet, u"Object variable or With block variable not set");
    }
    auto rows = std::make_unique<Rows>();
    odbc::Statement statement(*connection->impl_);
    if (statement.FindRowSet(sql)) {
        RowsetReader reader(statement, codePages);
        rows->blocks = reader.ReadRows();
        rows->fields = reader.Fields();
        statement.Unbind();
    }
    statement.Finish();
    for (const RowBlock& block : rows->blocks)
        rows->count += block.RowCount();
    rows_ = std::move(rows);
}

void Recordset::Close() {
    Opened();
    rows_.reset();
}

bool Recordset::IsOpen() const noexcept {
    return rows_ != nullptr;
}

const Recordset::Rows& Recordset::Opened() const {
    if (rows_ == nullptr) {
        throw Error(ErrorNumber::ObjectClosed,
                    u"Operation is not allowed when the object is closed.");
    }
    return *rows_;
}

Recordset::Rows& Recordset::Opened() {
    return const_cast<Rows&>(std::as_const(*this).Opened());
}

std::size_t Recordset::RecordCount() const {
    return Opened().count;
}
std::size_t Recordset::FieldCount() const {
    return Opened().fields.size();
}

const FieldInfo& Recordset::Info(std::size_t index) const {
    const Rows& rows = Opened();
    if (index >= rows.fields.size()) ThrowItemNotFound();
    return rows.fields[index];
}

std::size_t Recordset::FieldIndex(std::u16string_view name) const {
    const Rows& rows = Opened();
    auto found = std::find_if(rows.fields.begin(), rows.fields.end(),
                              [&](const FieldInfo& field) { return field.name == name; });
    if (found == rows.fields.end()) {
        found = std::find_if(rows.fields.begin(), rows.fields.end(), [&](const FieldInfo& field) {
            return EqualIgnoringCase(field.name, name);
        });
    }
    if (found == rows.fields.end()) ThrowItemNotFound();
    return static_cast<std::size_t>(found - rows.fields.begin());
}

Field Recordset::Fields(std::size_t index) const {
    Info(index);
    return {*this, index};
}

Field Recordset::Fields(std::u16string_view name) const {
    return {*this, FieldIndex(name)};
}

void Recordset::MoveFirst() {
    Rows& rows = Opened();
    rows.block = 0;
    rows.rowInBlock = 0;
}

void Recordset::MoveNext() {
    Rows& rows = Opened();
    rows.RequireCurrentRow();
    if (++rows.rowInBlock < rows.blocks[rows.block].RowCount()) return;
    ++rows.block;
    rows.rowInBlock = 0;
}

bool Recordset::EndOfSet() const {
    return Opened().AtEnd();
}

std::size_t Recordset::BlockCount() const {
    return Opened().blocks.size();
}
std::size_t Recordset::RowsInBlock(std::size_t block) const {
    return Opened().blocks.at(block).RowCount();
}

PackedColumn Recordset::Column(std::size_t block, std::size_t field) const {
    Info(field);
    return Opened().blocks.at(block).Column(field);
}

void Recordset::ReleaseBlock(std::size_t block) {
    Opened().blocks.at(block).ReleaseCells();
}

Value Recordset::ValueAt(std::size_t row, std::size_t field) const {
    const Rows& rows = Opened();
    Info(field);
    if (row >= rows.count) throw Error(ErrorNumber::SubscriptOutOfRange, u"Subscript out of range");
    const auto after = std::upper_bound(
        rows.blocks.begin(), rows.blocks.end(), row,
        [](std::size_t wanted, const RowBlock& block) { return wanted < block.FirstRow(); });
    const RowBlock& block = *std::prev(after);
    return block.Column(field).Value(row - block.FirstRow());
}

std::size_t Recordset::MemoryUsed() const {
    const Rows& rows = Opened();
    std::size_t bytes =
        sizeof(Rows) + (rows.blocks.capacity() - rows.blocks.size()) * sizeof(RowBlock);
    for (const RowBlock& block : rows.blocks)
        bytes += block.MemoryUsed();
    return bytes;
}

}  // namespace QuillonLib
