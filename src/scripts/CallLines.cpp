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
constexpr std::size_t MaxBufferedLine = 64 * 1024;

class LineWriter {
  public:
    LineWriter(std::u16string& out, std::u16string_view command)
        : out_(out), command_(command), line_(4096, u'\0') {}

    void Write(std::span<const PackedColumn> columns, std::size_t row) {
        if (!first_) out_ += CrLf;
        first_ = false;
        std::size_t room = command_.size();
        for (const PackedColumn& column : columns)
            room += MaxSqlLiteral(column, row) + Separator.size();
        if (room > MaxBufferedLine) {
            AppendDirectly(columns, row);
            return;
        }
        if (room > line_.size()) line_.resize(room);
        // A line is put together in a buffer that stays in the cache, and copied once.
        char16_t* end = std::copy(command_.begin(), command_.end(), line_.data());
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) end = std::copy(Separator.begin(), Separator.end(), end);
            end = WriteSqlLiteral(end, columns[i], row);
        }
        out_.append(line_.data(), end);
    }

  private:
    void AppendDirectly(std::span<const PackedColumn> columns, std::size_t row) {
        out_ += command_;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) out_ += Separator;
            AppendSqlLiteral(out_, columns[i], row);
        }
    }

    std::u16string& out_;
    std::u16string_view command_;
    std::u16string line_;
    bool first_ = true;
};

}  // namespace

void AppendCallLines(std::u16string& out, std::u16string_view command, const Recordset& rows,
                     std::span<const std::size_t> fields) {
    LineWriter writer(out, command);
    std::vector<PackedColumn> columns(fields.size());
    const std::size_t begin = out.size();
    std::size_t written = 0;
    for (std::size_t block = 0; block < rows.BlockCount(); ++block) {
        for (std::size_t i = 0; i < fields.size(); ++i)
            columns[i] = rows.Column(block, fields[i]);
        const std::size_t count = rows.RowsInBlock(block);
        for (std::size_t row = 0; row < count; ++row)
            writer.Write(columns, row);
        if (written == 0) {
            // The first block tells how long a line is; a tenth is kept for longer ones.
            const std::size_t length = (out.size() - begin) / count + CrLf.size();
            out.reserve(begin + length * rows.RecordCount() / 10 * 11);
        }
        written += count;
    }
}

}  // namespace QuillonLib
