// Literals of T-SQL that are worth exactly what the cells are. Not installed.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "data/Value.h"
#include "direct/DirectResult.h"
#include "direct/TypeClass.h"

namespace QuillonLib {

// Writes the cells of one column of a table, read on one side, for the column of the other (or the
// same) side.
class ColumnLiterals {
  public:
    // `from`: the side that the cells come from; `to`: the column that they go to. Both must
    // outlive the object.
    ColumnLiterals(const ObjectName& table, const ColumnFacts& from, const ColumnFacts& to);

    // A literal, in any row of any client's script the same: no line break, no end of a batch and
    // no variable of a client stands in it. Throws NotCarried, naming table and column, where the
    // column would not hold the very value.
    std::u16string Of(const Value& value) const;

    // An expression for the bytes that the column will hold of a text or of bytes. Throws
    // NotCarried where the server would have to know another code page than the database's.
    std::u16string BytesOf(const Value& value) const;

    // Whether the literal must not share a list of values with others: text that is written as the
    // bytes of its code page loses them where the list is text of Unicode.
    bool StandsAlone(const Value& value) const;

    // A type, as CAST takes it, that holds every literal of the column: it gives a list of values
    // its type where all are NULL.
    std::u16string ListType() const;

  private:
    std::u16string Exact(const Value& value) const;
    std::u16string Float(const Value& value) const;
    std::u16string Moment(const Value& value) const;
    void RequireRoom(std::size_t length) const;
    std::u16string Text(const Value& value) const;
    std::u16string Variant(const Value& value) const;
    [[noreturn]] void Refuse(std::u16string_view why) const;

    const ObjectName& table_;
    const ColumnFacts& from_;
    const ColumnFacts& to_;
    TypeClass fromType_;
    TypeClass toType_;
};

// The bytes of a cell of text, xml or a binary type as the server holds them: "0x...".
std::u16string BytesText(const Value& value);
// "0x" and two digits for each byte.
std::u16string HexText(std::span<const std::uint8_t> bytes);
// The digits of each byte of a text of UTF-16, without "0x".
std::u16string HexDigits(std::u16string_view text);
// N'...' or, where it has to, CAST(0x... AS nvarchar(...)).
std::u16string NationalText(std::u16string_view text);

}  // namespace QuillonLib
