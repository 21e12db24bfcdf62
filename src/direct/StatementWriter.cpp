#include "direct/StatementWriter.h"

#include <algorithm>

#include "catalog/Identifiers.h"
#include "core/TableEntry.h"
#include "core/Text.h"
#include "direct/StatementText.h"

namespace QuillonLib {

namespace {

constexpr std::size_t MaxGatheredText = std::size_t{1} << 20;  // of all groups
constexpr std::size_t MaxShownKey = 200;

// "key (5)"
std::u16string Which(std::u16string_view what, std::u16string_view values) {
    return std::u16string(what)
        .append(u" (")
        .append(Beginning(values, MaxShownKey))
        .append(values.size() > MaxShownKey ? u"...)" : u")");
}

}  // namespace

bool StatementWriter::Shape::operator<(const Shape& other) const {
    return std::tie(kind, conditions, columns, some) <
           std::tie(other.kind, other.conditions, other.columns, other.some);
}

StatementWriter::StatementWriter(const DirectShape& shape, int target, const StatementStyle& style,
                                 BatchWriter& batches)
    : shape_(shape), target_(target), style_(style), batches_(batches) {
    const ObjectName& name = target == 1 ? shape.table : shape.table2;
    table_ = QuoteIdentifier(name.Owner) + u"." + QuoteIdentifier(name.Name);
    for (const DirectColumn& column : shape.columns) {
        const ColumnFacts& to = target == 1 ? column.side1 : column.side2;
        const ColumnFacts& from = target == 1 ? column.side2 : column.side1;
        ofSource_.emplace_back(name, from, to);
        ofTarget_.emplace_back(name, to, to);
    }
    MakeInserts();
}

void StatementWriter::MakeInserts() {
    InsertLists::Table table{
        table_, {}, {}, WritesIdentity(), style_.lists && !style_.dropsDuplicates, {}};
    for (std::size_t i = 0; i < shape_.columns.size(); ++i) {
        table.columns.push_back(QuoteIdentifier(TargetFacts(i).Name));
        table.nulls.push_back(TypedNull(i));
    }
    table.check = [this](std::size_t rows, const InsertLists::Row& first) {
        std::vector<std::u16string> key;
        for (const std::size_t column : shape_.key)
            key.push_back(first[column]);
        const std::u16string which =
            shape_.key.empty() ? Which(u"row", Joined(first)) : Which(u"key", Joined(key));
        return Check(rows, which,
                     rows == 1 ? u"the row was not inserted." : u"not every row was inserted.");
    };
    inserts_.emplace(std::move(table), ToBatches());
}

std::function<void(std::u16string_view)> StatementWriter::ToBatches() const {
    return [&batches = batches_](std::u16string_view statement) { batches.Add(statement); };
}

const ColumnFacts& StatementWriter::TargetFacts(std::size_t column) const {
    const DirectColumn& both = shape_.columns[column];
    return target_ == 1 ? both.side1 : both.side2;
}

bool StatementWriter::WritesIdentity() const {
    for (std::size_t i = 0; i < shape_.columns.size(); ++i) {
        if (TargetFacts(i).Identity) return true;
    }
    return false;
}

namespace {

DirectRow Without(const DirectRow& row, const std::vector<std::size_t>& columns) {
    DirectRow without = row;
    for (const std::size_t column : columns)
        without[column] = Value::Null();
    return without;
}

}  // namespace

// ---- rows --------------------------------------------------------------------------------------

void StatementWriter::Insert(const DirectRow& source,
                             const std::vector<std::size_t>& withoutValue) {
    std::vector<std::u16string> values;
    bool alone = false;
    for (std::size_t i = 0; i < source.size(); ++i) {
        const bool without = Contains(withoutValue, i);
        values.push_back(without ? ofSource_[i].Of(Value::Null()) : ofSource_[i].Of(source[i]));
        alone = alone || (!without && ofSource_[i].StandsAlone(source[i]));
    }
    inserts_->Add(std::move(values), alone);
}

void StatementWriter::Delete(const DirectRow& row, const std::vector<std::size_t>& emptied) {
    if (shape_.key.empty()) return DeleteWhole(row);
    Shape shape;
    std::vector<std::size_t> guarded;
    for (std::size_t i = 0; i < row.size(); ++i) {
        // A key that the server takes for the same may have become another: 'ABC' is 'abc' now.
        if (!shape_.columns[i].key || (shape_.keyIsUnique && ByBytes(i))) guarded.push_back(i);
    }
    const DirectRow now = Without(row, emptied);
    AddConditions(shape, now, true, guarded);
    Line line = MakeLine(shape, now, true);
    Take(shape, std::move(line), false);
}

void StatementWriter::Update(const DirectRow& row, const DirectRow& source,
                             const std::vector<std::size_t>& columns) {
    if (columns.empty()) return;
    bool alone = false;
    Shape shape{Kind::Update, {}, columns, {}};
    AddConditions(shape, row, true, columns);
    Line line =
        MakeUpdate(shape, row, source, std::vector<bool>(shape_.columns.size(), true), alone);
    Take(shape, std::move(line), alone);
}

// What a row does not change is NULL in the list: the row's mark has nobody look at it.
StatementWriter::Line StatementWriter::MakeUpdate(const Shape& shape, const DirectRow& row,
                                                  const DirectRow& source,
                                                  const std::vector<bool>& changed,
                                                  bool& alone) const {
    Line line;
    for (const Condition& condition : shape.conditions) {
        const bool holds = condition.mark == 0 || changed[condition.column];
        line.conditions.push_back(holds ? ConditionCell(condition, row, true)
                                        : Cell{u"NULL", false, false});
    }
    for (const std::size_t column : shape.columns)
        line.values.push_back(NewValue(column, source, changed, alone));
    if (HasMarks(shape)) line.values.push_back(Marks(shape, changed));
    return line;
}

std::u16string StatementWriter::NewValue(std::size_t column, const DirectRow& source,
                                         const std::vector<bool>& changed, bool& alone) const {
    const ColumnLiterals& literals = ofSource_[column];
    if (!changed[column]) return literals.Of(Value::Null());
    alone = alone || literals.StandsAlone(source[column]);
    return literals.Of(source[column]);
}

void StatementWriter::Empty(const DirectRow& row, const std::vector<std::size_t>& columns) {
    Shape shape{Kind::Empty, {}, columns, {}};
    AddConditions(shape, row, true, columns);
    Line line = MakeLine(shape, row, true);
    Take(shape, std::move(line), false);
}

void StatementWriter::Complete(const DirectRow& source, const std::vector<std::size_t>& columns) {
    Shape shape{Kind::Update, {}, columns, {}};
    const DirectRow now = Without(source, columns);
    AddConditions(shape, now, false, columns);
    Line line = MakeLine(shape, now, false);
    bool alone = false;
    for (const std::size_t column : columns) {
        line.values.push_back(ofSource_[column].Of(source[column]));
        alone = alone || ofSource_[column].StandsAlone(source[column]);
    }
    Take(shape, std::move(line), alone);
}

bool StatementWriter::HasAlone(const Line& line) {
    return std::any_of(line.conditions.begin(), line.conditions.end(),
                       [](const Cell& cell) { return cell.alone; });
}

void StatementWriter::Take(const Shape& shape, Line line, bool alone) {
    if (alone || HasAlone(line) || !style_.lists) return WriteSingle(shape, line);
    gathered_ += Size(line.values);
    for (const Cell& cell : line.conditions)
        gathered_ += cell.literal.size();
    std::vector<Line>& lines = groups_[shape];
    lines.push_back(std::move(line));
    if (gathered_ >= MaxGatheredText) Flush();
}

void StatementWriter::Flush() {
    for (const auto& [shape, lines] : groups_)
        Write(shape, lines);
    groups_.clear();
    gathered_ = 0;
    FlushTogether();
    inserts_->Flush();
}

// ---- statements --------------------------------------------------------------------------------

std::u16string StatementWriter::Check(std::size_t expected, const Line& first) const {
    std::vector<std::u16string> key;
    for (std::size_t i = 0; i < shape_.key.size(); ++i)
        key.push_back(first.conditions[i].literal);
    const std::u16string which = Which(u"key", Joined(key));
    return Check(expected, which, Failure());
}

std::u16string_view StatementWriter::Failure() const {
    return style_.guard ? u"a row is not as it was compared."
                        : u"a row is missing, or there more than once.";
}

std::u16string StatementWriter::Check(std::size_t expected, std::u16string_view which,
                                      std::u16string_view failure) const {
    std::u16string where = u"Table " + table_;
    where += expected > 1 ? u", among the rows from " : u", ";
    return u"\r\nIF @@ROWCOUNT <> " + ToText(static_cast<std::int64_t>(expected)) +
           u"\r\nBEGIN\r\n    RAISERROR(N'" +
           MessageText(where.append(which).append(u": ").append(failure)) +
           u"', 16, 1)\r\n    IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION\r\n    RETURN\r\nEND";
}

void StatementWriter::Write(const Shape& shape, const std::vector<Line>& lines) {
    std::vector<Line> part;
    std::size_t size = 0;
    const std::size_t cells = shape.conditions.size() + shape.columns.size();
    // A row that is missing and one that is there twice would make up for each other in a list.
    const std::size_t most = shape_.keyIsUnique || style_.guard ? MaxListRows : 1;
    const std::size_t rows = std::clamp<std::size_t>(MaxListCells / cells, 1, most);
    for (const Line& line : lines) {
        size += Size(line.values);
        for (const Cell& cell : line.conditions)
            size += cell.literal.size();
        part.push_back(line);
        if (part.size() < rows && size < MaxListText) continue;
        WriteList(shape, part);
        part.clear();
        size = 0;
    }
    if (!part.empty()) WriteList(shape, part);
}

void StatementWriter::WriteList(const Shape& shape, const std::vector<Line>& lines) {
    if (lines.size() == 1 && !HasMarks(shape)) return WriteSingle(shape, lines.front());
    std::u16string names;
    std::vector<bool> anyNull;
    for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
        AppendTerm(names, u", ", Numbered(u'k', i));
        anyNull.push_back(std::any_of(lines.begin(), lines.end(),
                                      [&](const Line& line) { return line.conditions[i].null; }));
    }
    if (NotesMet() || HasMarks(shape)) return WriteDeclaredList(shape, lines, anyNull);
    for (std::size_t i = 0; shape.kind == Kind::Update && i < shape.columns.size(); ++i)
        AppendTerm(names, u", ", Numbered(u'n', i));
    std::u16string text =
        shape.kind == Kind::Delete ? std::u16string(u"DELETE t") : u"UPDATE t SET " + Sets(shape);
    text += u"\r\nFROM " + table_ + u" AS t INNER JOIN (VALUES";
    for (std::size_t row = 0; row < lines.size(); ++row) {
        std::vector<std::u16string> cells;
        for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
            const Cell& cell = lines[row].conditions[i];
            const Condition& condition = shape.conditions[i];
            const bool typed = row == 0 && cell.literal == u"NULL";
            cells.push_back(typed ? TypedNull(condition) : cell.literal);
        }
        for (std::size_t i = 0; i < lines[row].values.size(); ++i) {
            const std::u16string& literal = lines[row].values[i];
            cells.push_back(row == 0 && literal == u"NULL" ? TypedNull(shape.columns[i]) : literal);
        }
        text += (row == 0 ? u"\r\n(" : u",\r\n(") + Joined(cells) + u")";
    }
    text += u"\r\n) AS v (" + names + u") ON " + Join(shape, anyNull);
    batches_.Add(text + Check(lines.size(), lines.front()));
}

void StatementWriter::WriteSingle(const Shape& shape, const Line& line) {
    std::u16string where, sets;
    for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
        const std::u16string column = LeftSide(shape.conditions[i], u"");
        AppendTerm(where, u" AND ",
                   line.conditions[i].null ? column + u" IS NULL"
                                           : column + u" = " + line.conditions[i].literal);
    }
    for (std::size_t i = 0; i < shape.columns.size(); ++i) {
        const std::u16string value = shape.kind == Kind::Empty ? u"NULL" : line.values[i];
        AppendTerm(sets, u", ",
                   QuoteIdentifier(TargetFacts(shape.columns[i]).Name) + u" = " + value);
    }
    const std::u16string text = shape.kind == Kind::Delete ? u"DELETE FROM " + table_
                                                           : u"UPDATE " + table_ + u" SET " + sets;
    batches_.Add(text + u"\r\nWHERE " + where + Check(1, line));
}

// One of the rows that are exactly this.
void StatementWriter::DeleteWhole(const DirectRow& row) {
    Shape shape;
    for (std::size_t i = 0; i < row.size(); ++i)
        shape.conditions.push_back({i, ByBytes(i)});
    const Line line = MakeLine(shape, row, true);
    std::u16string where;
    for (std::size_t i = 0; i < shape.conditions.size(); ++i) {
        const std::u16string column = LeftSide(shape.conditions[i], u"");
        AppendTerm(where, u" AND ",
                   line.conditions[i].null ? column + u" IS NULL"
                                           : column + u" = " + line.conditions[i].literal);
    }
    std::vector<std::u16string> values;
    for (std::size_t i = 0; i < row.size(); ++i)
        values.push_back(ofTarget_[i].Of(row[i]));
    batches_.Add(u"DELETE TOP (1) FROM " + table_ + u"\r\nWHERE " + where +
                 Check(1, Which(u"row", Joined(values)), u"it is not there any more."));
}

}  // namespace QuillonLib
