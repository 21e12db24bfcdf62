// How the rows of a statement are found, and what their columns are set to: the conditions, the
// marks and the names of a list's columns.
#include <algorithm>

#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "direct/StatementText.h"
#include "direct/StatementWriter.h"
#include "direct/VariantCell.h"

namespace QuillonLib {

namespace {

// Behind bytes that are compared: the server takes bytes for equal where only zeros follow.
constexpr std::u16string_view Terminator = u"01";

}  // namespace

// Values that "=" does not tell apart, or cannot compare, are compared by their bytes.
bool StatementWriter::ByBytes(std::size_t column) const {
    switch (ClassifyType(TargetFacts(column)).value().cells) {
        case CellClass::PageText:
        case CellClass::WideText:
        case CellClass::Xml:
        case CellClass::Bytes:
        case CellClass::Float:
        case CellClass::Offset:
        case CellClass::Variant:
            return true;
        default:
            return false;
    }
}

// ---- conditions --------------------------------------------------------------------------------

// The key as the server compares it, where the server keeps it unique: an index can find the row.
// A literal of Unicode has a key of a code page compared by the rules of Unicode, which need not
// tell apart what those of the index do: then the bytes decide, too.
void StatementWriter::AddConditions(Shape& shape, const DirectRow& row, bool ofTarget,
                                    const std::vector<std::size_t>& guarded) const {
    for (const std::size_t column : shape_.key)
        shape.conditions.push_back({column, !shape_.keyIsUnique && ByBytes(column)});
    for (const std::size_t column : shape_.key) {
        const bool ofPage = ClassifyType(TargetFacts(column)).value().cells == CellClass::PageText;
        if (!shape_.keyIsUnique || !ofPage || row[column].IsNull()) continue;
        const ColumnLiterals& literals = (ofTarget ? ofTarget_ : ofSource_)[column];
        if (literals.Of(row[column]).front() != u'\'') shape.conditions.push_back({column, true});
    }
    if (!style_.guard) return;
    for (const std::size_t column : guarded)
        shape.conditions.push_back({column, ByBytes(column), MarkOf(shape, column)});
}

// ---- marks -------------------------------------------------------------------------------------

// A text of the list: "1" for each column that the row changes, "0" for the others.

bool StatementWriter::HasMarks(const Shape& shape) {
    return std::find(shape.some.begin(), shape.some.end(), true) != shape.some.end();
}

std::size_t StatementWriter::MarkOf(const Shape& shape, std::size_t column) {
    for (std::size_t i = 0; i < shape.some.size(); ++i) {
        if (shape.some[i] && shape.columns[i] == column) return i + 1;
    }
    return 0;
}

std::u16string StatementWriter::Marks(const Shape& shape, const std::vector<bool>& changed) {
    std::u16string marks = u"'";
    for (const std::size_t column : shape.columns)
        marks.push_back(changed[column] ? u'1' : u'0');
    return marks + u"'";
}

namespace {

std::u16string IsMarked(std::size_t mark, char16_t as) {
    return u"SUBSTRING(v.c, " + ToText(static_cast<std::int64_t>(mark)) + u", 1) = '" + as + u"'";
}

}  // namespace

// ---- left sides and cells ----------------------------------------------------------------------

std::u16string StatementWriter::LeftSide(const Condition& condition,
                                         const std::u16string& prefix) const {
    const ColumnFacts& facts = TargetFacts(condition.column);
    std::u16string name = prefix + QuoteIdentifier(facts.Name);
    if (!condition.exact) return name;
    const CellClass cells = ClassifyType(facts).value().cells;
    if (cells == CellClass::Float || cells == CellClass::Offset) {
        return u"CAST(" + name + u" AS varbinary(20))";
    }
    if (cells == CellClass::Variant) {
        return u"CAST(CAST(" + name + u" AS varbinary(8000)) AS varbinary(max)) + 0x" +
               std::u16string(Terminator) + u" + CAST(CAST(SQL_VARIANT_PROPERTY(" + name +
               u", 'BaseType') AS nvarchar(128)) AS varbinary(256))";
    }
    if (facts.DataType == u"text") name = u"CAST(" + name + u" AS varchar(max))";
    if (facts.DataType == u"ntext" || facts.DataType == u"xml") {
        name = u"CAST(" + name + u" AS nvarchar(max))";
    }
    return u"CAST(" + name + u" AS varbinary(max)) + 0x" + std::u16string(Terminator);
}

StatementWriter::Cell StatementWriter::ConditionCell(const Condition& condition,
                                                     const DirectRow& row, bool ofTarget) const {
    const Value& value = row[condition.column];
    const ColumnLiterals& literals = (ofTarget ? ofTarget_ : ofSource_)[condition.column];
    if (value.IsNull()) return {condition.exact ? u"NULL" : literals.Of(value), true, false};
    const ColumnFacts& facts = TargetFacts(condition.column);
    if (!condition.exact) {
        // which is a float by itself
        const bool real = facts.DataType == u"real";
        return {real ? u"CAST(" + literals.Of(value) + u" AS real)" : literals.Of(value), false,
                literals.StandsAlone(value)};
    }
    switch (ClassifyType(facts).value().cells) {
        case CellClass::Float:
        case CellClass::Offset:
            return {u"CAST(CAST(" + literals.Of(value) + u" AS " + DeclaredType(facts) +
                        u") AS varbinary(20))",
                    false, false};
        case CellClass::Variant: {
            const VariantCell cell(value);
            return {HexText(cell.Bytes()).append(Terminator).append(HexDigits(cell.BaseType())),
                    false, false};
        }
        default:
            break;
    }
    if (ofTarget) return {BytesText(value).append(Terminator), false, false};
    return {literals.BytesOf(value).append(u" + 0x").append(Terminator), false, false};
}

StatementWriter::Line StatementWriter::MakeLine(const Shape& shape, const DirectRow& row,
                                                bool ofTarget) const {
    Line line;
    for (const Condition& condition : shape.conditions)
        line.conditions.push_back(ConditionCell(condition, row, ofTarget));
    return line;
}

// ---- lists --------------------------------------------------------------------------------------

std::u16string StatementWriter::TypedNull(std::size_t column) const {
    return u"CAST(NULL AS " + ofSource_[column].ListType() + u")";
}

std::u16string StatementWriter::TypedNull(const Condition& condition) const {
    if (condition.exact) return u"CAST(NULL AS varbinary(max))";
    return u"CAST(NULL AS " + ofTarget_[condition.column].ListType() + u")";
}

std::u16string StatementWriter::Sets(const Shape& shape) const {
    std::u16string sets;
    for (std::size_t i = 0; i < shape.columns.size(); ++i) {
        const std::u16string name = QuoteIdentifier(TargetFacts(shape.columns[i]).Name);
        std::u16string value = shape.kind == Kind::Empty ? u"NULL" : u"v." + Numbered(u'n', i);
        if (const std::size_t mark = MarkOf(shape, shape.columns[i])) {
            value = u"CASE WHEN " + IsMarked(mark, u'1') + u" THEN " + value + u" ELSE " +
                    OwnValue(shape.columns[i]) + u" END";
        }
        AppendTerm(sets, u", ", name + u" = " + value);
    }
    return sets;
}

// What a row has in the column, in the type that the list declares.
std::u16string StatementWriter::OwnValue(std::size_t column) const {
    const ColumnFacts& facts = TargetFacts(column);
    const std::u16string name = u"t." + QuoteIdentifier(facts.Name);
    const std::u16string type = ListedType(facts);
    const bool converts = ClassifyType(facts).value().legacyLong || facts.DataType == u"xml";
    return converts ? u"CAST(" + name + u" AS " + type + u")" : name;
}

std::u16string StatementWriter::Join(const Shape& shape, const std::vector<bool>& anyNull) const {
    std::u16string join;
    for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
        std::u16string own = u"v." + Numbered(u'k', i);
        // that of the list is the database's
        const ColumnFacts& facts = TargetFacts(shape.conditions[i].column);
        if (!shape.conditions[i].exact && !facts.Collation.empty()) {
            own += u" COLLATE " + facts.Collation;
        }
        const std::u16string column = LeftSide(shape.conditions[i], u"t.");
        const std::size_t mark = shape.conditions[i].mark;
        std::u16string holds = column + u" = " + own;
        if (anyNull[i]) holds += u" OR " + column + u" IS NULL AND " + own + u" IS NULL";
        if (mark > 0) holds = IsMarked(mark, u'0') + u" OR " + holds;
        AppendTerm(join, u" AND ", anyNull[i] || mark > 0 ? u"(" + holds + u")" : holds);
    }
    return join;
}

}  // namespace QuillonLib
