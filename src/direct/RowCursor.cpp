#include "direct/RowCursor.h"

#include <utility>

#include "core/Error.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "data/CodePage.h"
#include "direct/SideFailure.h"
#include "direct/TableQuery.h"
#include "direct/VariantCell.h"

namespace QuillonLib {

namespace {

bool IsInteger(ValueKind kind) {
    return kind == ValueKind::Boolean || kind == ValueKind::Byte || kind == ValueKind::Integer ||
           kind == ValueKind::Long || kind == ValueKind::LongLong;
}

// Whether the driver delivers columns of that type as such cells.
bool ComesAs(const TypeClass& type, ValueKind kind) {
    switch (type.cells) {
        case CellClass::Exact:
            if (type.integer) return IsInteger(kind);
            return kind == (type.money ? ValueKind::Currency : ValueKind::Decimal);
        case CellClass::Float:
            return kind == ValueKind::Single || kind == ValueKind::Double;
        case CellClass::Moment:
            return kind == ValueKind::Date || kind == ValueKind::String;
        case CellClass::Guid:
            return kind == ValueKind::Guid;
        case CellClass::Bytes:
        case CellClass::PageText:
            return kind == ValueKind::Bytes;
        case CellClass::Time:
        case CellClass::Offset:
        case CellClass::WideText:
        case CellClass::Xml:
        case CellClass::Variant:
            return kind == ValueKind::String;
    }
    return false;
}

// Text in UTF-8 comes as binary of a length of its own: see FieldOf.
bool FitsDeclared(const PackedColumn& cells, std::size_t rows, const ColumnFacts& facts) {
    if (facts.CodePage != Utf8CodePage || cells.Kind() != ValueKind::Bytes ||
        facts.DataType == u"text" || facts.Length < 0) {
        return true;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        if (cells.Bytes(row).size() > static_cast<std::size_t>(facts.Length)) return false;
    }
    return true;
}

}  // namespace

RowCursor::RowCursor(const TablePlan& plan, int side, std::u16string_view where, SideReader& reader,
                     std::shared_ptr<Connection> connection)
    : plan_(plan), side_(side), reader_(reader) {
    reader_.Start(TableQuery(plan, side, where), std::move(connection));
}

bool RowCursor::NextBlock() {
    block_ = reader_.Next();
    row_ = 0;
    rows_ = block_ == nullptr ? 0 : block_->RowCount();
    if (block_ == nullptr) return false;
    RequirePlannedKinds();
    return true;
}

// The catalog was read before: cells of another kind must not be taken for those that were planned.
void RowCursor::RequirePlannedKinds() const {
    for (std::size_t i = 0; i < plan_.pairs.size(); ++i) {
        const ColumnPair& pair = plan_.pairs[i];
        const PackedColumn& cells = block_->Columns()[pair.field];
        const DirectColumn& column = plan_.shape.columns[i];
        if (ComesAs(pair.Type(side_), cells.Kind()) &&
            FitsDeclared(cells, rows_, side_ == 1 ? column.side1 : column.side2)) {
            continue;
        }
        const ObjectName& table = side_ == 1 ? plan_.shape.table : plan_.shape.table2;
        throw SideFailure(
            Error(ErrorNumber::Comparison,
                  u"Column " + pair.name + u" of table " + MakeTableEntry(table.Owner, table.Name) +
                      u", side " + ToText(side_) + u", has been given another type meanwhile."),
            side_);
    }
}

DirectRow MakeRow(const std::vector<ColumnPair>& pairs, const RowAt& row) {
    DirectRow values;
    values.reserve(pairs.size());
    for (const ColumnPair& pair : pairs) {
        if (pair.type1.cells == CellClass::Variant && !row.IsNull(pair.field)) {
            values.push_back(VariantCell(row, pair.field).ToValue());
        } else {
            values.push_back(row.Column(pair.field).Value(row.row));
        }
    }
    return values;
}

}  // namespace QuillonLib
