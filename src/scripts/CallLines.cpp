#include "scripts/CallLines.h"

#include <algorithm>
#include <span>

#include "core/HugePages.h"
#include "core/Text.h"
#include "scripts/SqlLiteral.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view Separator = u", ";

// Longest line that is put together in the line buffer. A longer one has a long cell, whose worst
// case (every character a quote) is not worth the room.
constexpr std::size_t MaxBufferedLine = std::size_t{64} << 10;

char16_t* Copy(char16_t* out, std::u16string_view text) {
    return std::copy(text.begin(), text.end(), out);
}

// Puts one line together after the other, in a buffer that stays in the cache.
class LineWriter {
  public:
    LineWriter(std::u16string_view command, const Recordset& rows,
               std::span<const std::size_t> fields)
        : command_(command),
          rows_(rows),
          fields_(fields),
          columns_(fields.size()),
          starts_(fields.size() + 1),
          line_(4096, u'\0') {}

    void SelectBlock(std::size_t block) {
        variable_.clear();
        fixedRoom_ = CrLf.size() + command_.size() + fields_.size() * Separator.size();
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            columns_[i] = rows_.Column(block, fields_[i]);
            if (HasVariableLiteral(columns_[i].Kind())) {
                variable_.push_back(i);
            } else {
                fixedRoom_ += MaxFixedLiteral;
            }
        }
    }

    // The line of a row, with the line end of the one before it in front. Valid until the next.
    std::u16string_view Line(std::size_t row) {
        return Line(row, [&](char16_t* end) {
            for (std::size_t i = 0; i < columns_.size(); ++i)
                end = WriteCell(end, i, row);
            return end;
        });
    }

    // The same, where `other` has just written its line of the row from the same number of fields.
    std::u16string_view LineBeside(const LineWriter& other, std::size_t row) {
        if (other.isLong_) return Line(row);
        return Line(row, [&](char16_t* end) {
            const std::size_t count = columns_.size();
            for (std::size_t i = 0; i < count;) {
                std::size_t same = i;
                while (same < count && columns_[same].IsSame(other.columns_[same], row))
                    ++same;
                if (same == i) {
                    end = WriteCell(end, i, row);
                    ++i;
                } else {
                    end = Copy(end, other.Cells(i, same));
                    i = same;
                }
            }
            return end;
        });
    }

  private:
    template <typename WriteCells>
    std::u16string_view Line(std::size_t row, WriteCells writeCells) {
        std::size_t room = fixedRoom_;
        for (const std::size_t i : variable_)
            room += MaxSqlLiteral(columns_[i], row);
        isLong_ = room > MaxBufferedLine;
        if (isLong_) return LongLine(row);
        if (room > line_.size()) line_.resize(room);
        char16_t* end = line_.data();
        if (!first_) end = Copy(end, CrLf);
        first_ = false;
        end = writeCells(Copy(end, command_));
        // every cell has a separator behind it
        if (!columns_.empty()) end -= Separator.size();
        return {line_.data(), static_cast<std::size_t>(end - line_.data())};
    }

    char16_t* WriteCell(char16_t* out, std::size_t i, std::size_t row) {
        starts_[i] = static_cast<std::size_t>(out - line_.data());
        out = Copy(WriteSqlLiteral(out, columns_[i], row), Separator);
        starts_[i + 1] = static_cast<std::size_t>(out - line_.data());
        return out;
    }

    // What a line that wrote all of its cells itself holds from one cell to before another.
    std::u16string_view Cells(std::size_t from, std::size_t to) const {
        return {line_.data() + starts_[from], starts_[to] - starts_[from]};
    }

    std::u16string_view LongLine(std::size_t row) {
        long_.clear();
        if (!first_) long_ += CrLf;
        first_ = false;
        long_ += command_;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            if (i > 0) long_ += Separator;
            AppendSqlLiteral(long_, columns_[i], row);
        }
        return long_;
    }

    std::u16string_view command_;
    const Recordset& rows_;
    std::span<const std::size_t> fields_;
    std::vector<PackedColumn> columns_;
    // Room that a line of the block takes, but for the columns whose literals are as long as
    // values.
    std::size_t fixedRoom_ = 0;
    std::vector<std::size_t> variable_;
    std::vector<std::size_t> starts_;  // of the cells in the line, and its end
    std::u16string line_;
    std::u16string long_;
    bool isLong_ = false;
    bool first_ = true;
};

// Calls `write` for each block, and lets go of it where it is not used again.
template <typename WriteBlock>
void ForEachBlock(Recordset& rows, RowUse use, WriteBlock write) {
    for (std::size_t block = 0; block < rows.BlockCount(); ++block) {
        write(block);
        if (use == RowUse::Release) rows.ReleaseBlock(block);
    }
}

}  // namespace

bool CallLines::Empty() const {
    return Rows == nullptr || Rows->RecordCount() == 0;
}

std::size_t CallLines::ExpectedLength(std::u16string_view command) const {
    if (Empty()) return 0;
    std::size_t length = Rows->RecordCount() * (CrLf.size() + command.size());
    for (std::size_t block = 0; block < Rows->BlockCount(); ++block) {
        const std::size_t count = Rows->RowsInBlock(block);
        for (const std::size_t field : Fields) {
            length +=
                ExpectedSqlLiterals(Rows->Column(block, field), count) + count * Separator.size();
        }
    }
    return length;
}

void AppendCallLines(std::u16string& out, std::u16string_view command, const CallLines& lines,
                     RowUse use) {
    if (lines.Empty()) return;
    LineWriter writer(command, *lines.Rows, lines.Fields);
    ForEachBlock(*lines.Rows, use, [&](std::size_t block) {
        writer.SelectBlock(block);
        const std::size_t count = lines.Rows->RowsInBlock(block);
        for (std::size_t row = 0; row < count; ++row)
            out += writer.Line(row);
    });
}

void AppendCallLinePairs(std::u16string& firstOut, std::u16string& secondOut,
                         std::u16string_view command, const CallLines& first,
                         const CallLines& second, RowUse use) {
    if (first.Empty()) return;
    LineWriter firstWriter(command, *first.Rows, first.Fields);
    LineWriter secondWriter(command, *second.Rows, second.Fields);
    ForEachBlock(*first.Rows, use, [&](std::size_t block) {
        firstWriter.SelectBlock(block);
        secondWriter.SelectBlock(block);
        const std::size_t count = first.Rows->RowsInBlock(block);
        for (std::size_t row = 0; row < count; ++row) {
            firstOut += firstWriter.Line(row);
            secondOut += secondWriter.LineBeside(firstWriter, row);
        }
    });
}

void ReserveScript(std::u16string& script, std::size_t length) {
    script.reserve(length);
    PreferHugePages(script.data(), script.capacity() * sizeof(char16_t));
}

}  // namespace QuillonLib
