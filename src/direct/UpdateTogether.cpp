// Updates of rows that may swap values which have to be unique. A server looks at unique indexes
// when a statement has ended, so one statement has to change all of them: with a list, as long as
// they fit into one, else from a temporary table of the session, which holds any number.
#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "direct/StatementText.h"
#include "direct/StatementWriter.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view WaitingTable = u"#quillon_rows";

}  // namespace

void StatementWriter::UpdateTogether(const DirectRow& row, const DirectRow& source,
                                     const std::vector<std::size_t>& columns,
                                     const std::vector<bool>& changed) {
    if (waiting_) return AddWaiting(row, source, changed);
    Pending& last =
        pending_.emplace_back(Pending{row, source, changed, {Kind::Update, {}, columns}, {}});
    last.line = MakeUpdate(last.shape, row, source, changed, last.alone);
    if (FitsOneList()) return;
    MakeWaiting(columns);
    for (const Pending& pending : pending_)
        AddWaiting(pending.row, pending.source, pending.changed);
    pending_.clear();
}

bool StatementWriter::FitsOneList() const {
    if (pending_.size() == 1) return true;
    const Shape& shape = pending_.front().shape;
    std::size_t size = 0;
    for (const Pending& pending : pending_) {
        if (pending.alone || pending.shape < shape || shape < pending.shape) return false;
        size += Size(pending.line.values);
        for (const Cell& cell : pending.line.conditions)
            size += cell.literal.size();
    }
    const std::size_t cells = pending_.size() * (shape.conditions.size() + shape.columns.size());
    return style_.lists && cells <= MaxListCells && size <= MaxListText;
}

void StatementWriter::MakeWaiting(const std::vector<std::size_t>& columns) {
    Shape shape{Kind::Update, {}, columns};
    for (const std::size_t column : shape_.key)
        shape.conditions.push_back({column, !shape_.keyIsUnique && ByBytes(column)});
    for (const std::size_t column : columns) {
        if (style_.guard) shape.conditions.push_back({column, ByBytes(column)});
    }
    std::u16string declared;
    InsertLists::Table table = LinesTable(shape, std::u16string(WaitingTable), declared);
    batches_.AddAlone(u"CREATE TABLE " + std::u16string(WaitingTable) + u" (" + declared + u")");
    std::vector<bool> anyNull(shape.conditions.size(), false);
    waiting_.emplace(Waiting{
        std::move(shape), InsertLists(std::move(table), ToBatches()), std::move(anyNull), {}});
}

void StatementWriter::AddWaiting(const DirectRow& row, const DirectRow& source,
                                 const std::vector<bool>& changed) {
    Line line = MakeLine(waiting_->shape, row, true);
    InsertLists::Row cells;
    bool alone = false;
    for (std::size_t i = 0; i < line.conditions.size(); ++i) {
        const Cell& cell = line.conditions[i];
        if (cell.null) waiting_->anyNull[i] = true;
        alone = alone || cell.alone;
        cells.push_back(cell.literal);
    }
    for (const std::size_t column : waiting_->shape.columns)
        cells.push_back(NewValue(column, row, source, changed, alone));
    if (waiting_->count++ == 0) waiting_->first = std::move(line);
    waiting_->rows.Add(std::move(cells), alone);
}

void StatementWriter::FlushTogether() {
    if (waiting_) {
        waiting_->rows.Flush();
        const std::u16string table(WaitingTable);
        batches_.Add(style_.guard ? GuardedWrite(waiting_->shape, table, waiting_->anyNull,
                                                 waiting_->count, true)
                                  : u"UPDATE t SET " + Sets(waiting_->shape) + u"\r\nFROM " +
                                        table_ + u" AS t INNER JOIN " + table + u" AS v ON " +
                                        Join(waiting_->shape, waiting_->anyNull) +
                                        Check(waiting_->count, waiting_->first));
        batches_.AddAlone(u"DROP TABLE " + std::u16string(WaitingTable));
        waiting_.reset();
    }
    if (pending_.empty()) return;
    std::vector<Line> lines;
    for (Pending& pending : pending_)
        lines.push_back(std::move(pending.line));
    WriteList(pending_.front().shape, lines);
    pending_.clear();
}

}  // namespace QuillonLib
