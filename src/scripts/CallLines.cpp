#include "scripts/CallLines.h"

#include <algorithm>
#include <vector>

#include "core/Text.h"
#include "scripts/SqlLiteral.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view Separator = u", ";

// Longest line that is put together in the line buffer. A longer one has a long cell, whose worst
// case (every character a quote) is not worth the room.
constexpr std::size_t MaxBufferedLine = std::size_t{64} << 10;

// Puts one line together after the other, in a buffer that stays in the cache.
class LineWriter {
  public:
    explicit LineWriter(std::u16string_view command) : command_(command), line_(4096, u'\0') {}

    // The line of a row, with the line end of the one before it in front. Valid until the next.
    std::u16string_view Line(std::span<const PackedColumn> columns, std::size_t row) {
        std::size_t room = CrLf.size() + command_.size();
        for (const PackedColumn& column : columns)
            room += MaxSqlLiteral(column, row) + Separator.size();
        if (room > MaxBufferedLine) return LongLine(columns, row);
        if (room > line_.size()) line_.resize(room);
        char16_t* end = line_.data();
        if (!first_) end = std::copy(CrLf.begin(), CrLf.end(), end);
        first_ = false;
        end = std::copy(command_.begin(), command_.end(), end);
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) end = std::copy(Separator.begin(), Separator.end(), end);
            end = WriteSqlLiteral(end, columns[i], row);
        }
        return {line_.data(), static_cast<std::size_t>(end - line_.data())};
    }

  private:
    std::u16string_view LongLine(std::span<const PackedColumn> columns, std::size_t row) {
        long_.clear();
        if (!first_) long_ += CrLf;
        first_ = false;
        long_ += command_;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) long_ += Separator;
            AppendSqlLiteral(long_, columns[i], row);
        }
        return long_;
    }

    std::u16string_view command_;
    std::u16string line_;
    std::u16string long_;
    bool first_ = true;
};

// Calls `append` with every line and `afterFirstBlock` with the number of rows that it held.
template <typename Append, typename AfterFirstBlock>
void ForEachLine(std::u16string_view command, const Recordset& rows,
                 std::span<const std::size_t> fields, Append append,
                 AfterFirstBlock afterFirstBlock) {
    LineWriter writer(command);
    std::vector<PackedColumn> columns(fields.size());
    for (std::size_t block = 0; block < rows.BlockCount(); ++block) {
        for (std::size_t i = 0; i < fields.size(); ++i)
            columns[i] = rows.Column(block, fields[i]);
        const std::size_t count = rows.RowsInBlock(block);
        for (std::size_t row = 0; row < count; ++row)
            append(writer.Line(columns, row));
        if (block == 0) afterFirstBlock(count);
    }
}

}  // namespace

void AppendCallLines(std::u16string& out, std::u16string_view command, const Recordset& rows,
                     std::span<const std::size_t> fields) {
    const std::size_t begin = out.size();
    ForEachLine(
        command, rows, fields, [&](std::u16string_view line) { out += line; },
        [&](std::size_t count) {
            if (count == 0) return;
            // The first block tells how long a line is; a tenth is kept for longer ones.
            const std::size_t length = (out.size() - begin) / count + CrLf.size();
            out.reserve(begin + length * rows.RecordCount() / 10 * 11);
        });
}

void AppendCallLines(TextRun& out, std::u16string_view command, const Recordset& rows,
                     std::span<const std::size_t> fields) {
    ForEachLine(
        command, rows, fields, [&](std::u16string_view line) { out.Append(line); },
        [](std::size_t /*count*/) {});
}

}  // namespace QuillonLib
