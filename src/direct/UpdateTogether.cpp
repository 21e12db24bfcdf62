// Updates of rows that may swap values which have to be unique. A server looks at unique indexes
// when a statement has ended, so one statement has to change all of them: with a list, as long as
// they fit into one, else from a temporary table of the session, which holds any number. It sets
// all that these rows change, for a constraint over several columns, and a trigger, would see what
// stands in between. A row keeps what it does not change: its marks tell that.
#include <algorithm>
#include <utility>

#include "catalog/Identifiers.h"
#include "core/Text.h"
#include "direct/StatementText.h"
#include "direct/StatementWriter.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view WaitingTable = u"#quillon_rows";

// A row of a table has 8,060 bytes. Of a column that holds more, 24 and an offset of 2 have to stay
// in them; those that cannot leave them are shorter.
constexpr std::size_t MaxWaitingColumns = 300;

std::u16string Part(std::size_t number) {
    return u"p" + ToText(static_cast<std::int64_t>(number) + 1);
}

}  // namespace

void StatementWriter::UpdateTogether(const DirectRow& row, const DirectRow& source,
                                     const TogetherColumns& together,
                                     const std::vector<bool>& changed) {
    if (waiting_) return AddWaiting(row, source, changed);
    Shape shape{Kind::Update, {}, together.columns, together.some};
    AddConditions(shape, row, true, together.columns);
    Pending& last = pending_.emplace_back(Pending{row, source, changed, std::move(shape), {}});
    last.line = MakeUpdate(last.shape, row, source, changed, last.alone);
    if (FitsOneList()) return;
    MakeWaiting(together);
    for (const Pending& pending : pending_)
        AddWaiting(pending.row, pending.source, pending.changed);
    pending_.clear();
}

bool StatementWriter::FitsOneList() const {
    if (pending_.size() == 1) return true;
    const Shape& shape = pending_.front().shape;
    std::size_t size = 0, cells = 0;
    for (const Pending& pending : pending_) {
        if (pending.alone || HasAlone(pending.line)) return false;
        if (pending.shape < shape || shape < pending.shape) return false;
        cells += pending.line.conditions.size() + pending.line.values.size();
        size += Size(pending.line.values);
        for (const Cell& cell : pending.line.conditions)
            size += cell.literal.size();
    }
    return style_.lists && cells <= MaxListCells && size <= MaxListText;
}

void StatementWriter::MakeWaiting(const TogetherColumns& together) {
    Shape shape{Kind::Update, {}, together.columns, together.some};
    for (const std::size_t column : shape_.key)
        shape.conditions.push_back({column, !shape_.keyIsUnique && ByBytes(column)});
    for (const std::size_t column : together.columns) {
        if (!style_.guard) break;
        shape.conditions.push_back({column, ByBytes(column), MarkOf(shape, column)});
    }
    const std::vector<ListColumn> columns = ListColumns(shape);
    std::vector<bool> anyNull(shape.conditions.size(), false);
    waiting_.emplace(Waiting{std::move(shape), {}, {}, std::move(anyNull), {}, {}});
    MakeTables(columns);
}

// As many as the columns need, which a number for each row brings together.
void StatementWriter::MakeTables(const std::vector<ListColumn>& columns) {
    const bool several = columns.size() > MaxWaitingColumns;
    std::u16string names = Part(0) + u".n", tables;
    for (std::size_t from = 0; from < columns.size(); from += MaxWaitingColumns) {
        const std::size_t number = waiting_->tables.size();
        std::u16string name(WaitingTable);
        if (number > 0) name += ToText(static_cast<std::int64_t>(number) + 1);
        InsertLists::Table table{name, {}, {}, false, style_.lists, {}};
        std::u16string declared;
        if (several) {
            declared = u"n int NOT NULL PRIMARY KEY";
            table.columns.emplace_back(u"n");
            table.nulls.emplace_back(u"NULL");
        } else if (NotesMet()) {
            declared = u"n int IDENTITY";
        }
        const std::size_t to = std::min(columns.size(), from + MaxWaitingColumns);
        for (std::size_t i = from; i < to; ++i) {
            AppendTerm(declared, u", ", columns[i].name + u" " + columns[i].type + u" NULL");
            table.columns.push_back(columns[i].name);
            table.nulls.push_back(columns[i].null);
            names += u", " + Part(number) + u"." + columns[i].name;
        }
        batches_.AddAlone(u"CREATE TABLE " + name + u" (" + declared + u")");
        AppendTerm(tables, u" INNER JOIN ", name + u" AS " + Part(number));
        if (number > 0) tables += u" ON " + Part(number) + u".n = " + Part(0) + u".n";
        waiting_->rows.emplace_back(std::move(table), ToBatches());
        waiting_->tables.push_back(std::move(name));
    }
    waiting_->list.many = true;
    waiting_->list.source =
        several ? u"(SELECT " + names + u" FROM " + tables + u")" : std::u16string(WaitingTable);
}

void StatementWriter::AddWaiting(const DirectRow& row, const DirectRow& source,
                                 const std::vector<bool>& changed) {
    bool alone = false;
    Line line = MakeUpdate(waiting_->shape, row, source, changed, alone);
    alone = alone || HasAlone(line);
    InsertLists::Row cells;
    for (std::size_t i = 0; i < line.conditions.size(); ++i) {
        const Cell& cell = line.conditions[i];
        if (cell.null) waiting_->anyNull[i] = true;
        cells.push_back(cell.literal);
    }
    cells.insert(cells.end(), line.values.begin(), line.values.end());
    if (waiting_->list.count++ == 0) waiting_->first = std::move(line);
    if (waiting_->rows.size() == 1) return waiting_->rows.front().Add(std::move(cells), alone);
    const std::u16string number = ToText(static_cast<std::int64_t>(waiting_->list.count));
    auto from = cells.begin();
    for (InsertLists& rows : waiting_->rows) {
        const auto to = from + std::min<std::ptrdiff_t>(cells.end() - from, MaxWaitingColumns);
        InsertLists::Row part{number};
        part.insert(part.end(), from, to);
        rows.Add(std::move(part), alone);
        from = to;
    }
}

void StatementWriter::FlushTogether() {
    if (waiting_) {
        for (InsertLists& rows : waiting_->rows)
            rows.Flush();
        batches_.Add(
            WriteFrom(waiting_->shape, waiting_->list, waiting_->anyNull, waiting_->first));
        for (const std::u16string& table : waiting_->tables)
            batches_.AddAlone(u"DROP TABLE " + table);
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
